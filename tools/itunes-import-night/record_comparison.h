#pragma once
// Which records of an items file are not in another one, told apart by the files that they stand for.

#include <cstdint>
#include <string>
#include <vector>

struct RecordDifference {
    uint64_t count = 0;
    std::vector<std::string> examples; // a few of the paths
};

/// The records of the items file at `path` that the one at `other_path` has not. What can not be read has
/// none.
[[nodiscard]] RecordDifference records_missing(const std::string& path, const std::string& other_path);

/// The difference for people: "2 (/music/a.mp3, /music/b.mp3)", escaped.
[[nodiscard]] std::string difference_text(const RecordDifference& difference);
