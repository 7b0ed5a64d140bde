#pragma once
// A private directory for work that is to leave nothing behind, however it ends. The work runs in a child
// process: once that is gone, nothing is created any more, and the directory can be removed for good.

#include <functional>
#include <string>

/// The work: `directory` is empty and private. Its result is the exit status.
using ScratchWork = std::function<int(const std::string& directory)>;

/// Makes a directory below TMPDIR (/tmp without it), runs `work` there and removes the directory with
/// everything in it. Returns the work's exit status; 1 where the directory or the process can not be made or
/// the work runs out of memory, which is said on standard error as a line of `program`. A signal that ends a
/// process (interrupt, hangup, termination, a closed pipe) ends the work and, once the directory is removed,
/// this process too.
[[nodiscard]] int run_in_scratch(const char* program, const ScratchWork& work);
