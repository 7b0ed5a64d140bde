#pragma once
// How far the reading of a library is, in percent of the time that it takes: the first pass, which looks at
// lines only, about 40.

#include <cstddef>
#include <cstdint>
#include <optional>

class LibraryProgress {
public:
    explicit LibraryProgress(int64_t library_size) : size_(library_size) {}

    /// Each returns the percentage where it has changed.
    std::optional<int> after_line(size_t length);
    std::optional<int> after_track(uint32_t tracks_read, uint32_t tracks_in_all);

private:
    std::optional<int> move_to(int64_t percent);

    int64_t size_; // bytes
    int64_t bytes_seen_ = 0;
    int percent_ = 0;
};
