#pragma once
// Chooses, among all pairs of beginnings that files of a library and files on the disk suggest, those that
// become maps.

#include <cstdint>
#include <vector>

#include "tools/shared/media_maps.h"
#include "tools/shared/media_trees.h"

/// Adds maps for the tracks, as nodes of the library, to `maps`. `sizes` is what the library says, of each
/// node, in bytes, 0 for nothing. Returns how many of the tracks were found.
[[nodiscard]] uint64_t choose_maps(const MediaTrees& trees, const std::vector<uint32_t>& tracks,
                                   const std::vector<uint64_t>& sizes, MediaMaps* maps);
