#pragma once
// A file descriptor that is closed when its owner goes, and how all of many bytes pass through one.

#include <cstddef>
#include <string_view>
#include <unistd.h>
#include <utility>

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { (void)close(); }

    [[nodiscard]] int number() const { return number_; } // -1 for none
    [[nodiscard]] bool is_open() const { return number_ >= 0; }

    /// Closes it now; -1, with errno, where what was written may be lost. Does nothing twice.
    int close() { return number_ >= 0 ? ::close(std::exchange(number_, -1)) : 0; }

private:
    int number_ = -1;
};

/// Reads until `size` bytes are there or the file is at its end, and returns how many are there. `error` gets
/// the number of the error that ended it sooner, else 0.
[[nodiscard]] size_t read_up_to(int descriptor, void* bytes, size_t size, int* error);

/// Writes all bytes; the error's number, or 0.
[[nodiscard]] int write_all(int descriptor, std::string_view bytes);
