#pragma once
// The end of a night: what was written and found whole gets to its place, each file with one rename, and the
// directories are flushed, so that a power cut does not undo it. What fails is said on standard error.
// Neither function asks for memory until something has failed.

#include <string>
#include <vector>

struct FileMove {
    std::string from;
    std::string to;
};

/// Moves the files in this order; where the first one fails, the others stay undone. False where any fails:
/// that one is as it was before, and all that are not named are new.
[[nodiscard]] bool move_into_place(const std::vector<FileMove>& moves);

/// Makes the renames in these directories last. False where one can not be flushed.
[[nodiscard]] bool flush_directories(const std::vector<std::string>& directories);
