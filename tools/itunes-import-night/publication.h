#pragma once
// The end of a night: what was written and found whole gets to its place, each file with one rename, and the
// directories are flushed, so that a power cut does not undo it.

#include <string>
#include <vector>

struct FileMove {
    std::string from;
    std::string to;
};

struct Publication {
    std::vector<FileMove> moves; // in this order; where the first one fails, the others stay undone
    std::vector<std::string> directories;
};

/// Does it, and says on standard error which files stay as they were before, and which directories could not be flushed.
/// False where there are any; all other files are new. Asks for no memory until something has failed.
[[nodiscard]] bool publish(const Publication& publication);
