#pragma once
// Writes texts to a descriptor in large pieces. The first error stays, and all behind it is dropped.

#include <string>
#include <string_view>

class BufferedWriter {
public:
    explicit BufferedWriter(int descriptor) : descriptor_(descriptor) {} // borrowed
    BufferedWriter(const BufferedWriter&) = delete;
    BufferedWriter& operator=(const BufferedWriter&) = delete;

    void write(std::string_view text);
    /// Writes what is still kept. Returns the number of the first error, 0 for none; what is not flushed is
    /// lost.
    [[nodiscard]] int flush();
    [[nodiscard]] int error() const { return error_; }

private:
    int descriptor_;
    int error_ = 0;
    std::string kept_;
};
