#pragma once
// Which files on the disk may be a library's files: those of the same name whose paths agree with the
// library's path furthest from the end.

#include <cstdint>
#include <span>
#include <vector>

#include "tools/shared/media_trees.h"

struct MediaCandidate {
    uint32_t track; // a file in the library
    uint32_t file;  // on the disk
    PathPair beginnings;
};

/// Returns the candidates of these files of the library, those of one file behind each other, in the order of
/// the files. One of which too many agree as far has none.
[[nodiscard]] std::vector<MediaCandidate> media_candidates(const MediaTrees& trees,
                                                           std::span<const uint32_t> tracks);
