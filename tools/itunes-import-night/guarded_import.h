#pragma once
// The import's own code, run once into a workspace, with a listener that tells what it decides.

#include <functional>
#include <string>
#include <vector>

#include "tools/itunes-check/tally.h"

struct GuardedImport {
    std::string library_path; // what is read: the user's library or the prepared one
    std::string items_path;   // where the new items file goes; nothing is there yet
    ListenerOptions options;  // who else listens
    // Asked every now and then; ends the process if a signal has come.
    std::function<void()> end_where_ordered;
};

struct ImportResult {
    LibraryTally tally;
    std::vector<std::string> failures; // why what was written is not to be trusted; empty for nothing
};

/// Imports. Throws std::bad_alloc where there is no memory for the tally. The paths of the run, import_run,
/// are the user's but for temp_dir, where the playlists go.
[[nodiscard]] ImportResult run_guarded_import(const GuardedImport& import);
