#pragma once
// Paths that are only asked for: eight bytes each, up to sixteen while they come, whatever their length. Two that
// share a hash of 64 bits are taken for one, which nobody will live to see.

#include <cstdint>
#include <string_view>
#include <vector>

class PathSet {
public:
    void add(std::string_view path);
    /// To be called once all are there.
    void settle();
    [[nodiscard]] bool contains(std::string_view path) const;

private:
    std::vector<uint64_t> hashes_; // sorted
};
