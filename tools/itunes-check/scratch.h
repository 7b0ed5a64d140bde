#pragma once
// A private directory for work that is to leave nothing behind, however it ends. The work runs in a child
// process: once that is gone, nothing is created any more, and the directory can be removed for good.

/// The work: `directory` is empty and private. Its result is the exit status.
using ScratchWork = int (*)(const char* directory, void* context);

/// The longest path of a scratch directory, with room for what the import puts below it in its path buffers.
constexpr unsigned scratch_path_limit = 512;

/// Makes a directory below TMPDIR (/tmp without it), runs `work` there and removes the directory with
/// everything in it. Returns the work's exit status, or -1 where the directory or the process can not be
/// made, which is said on standard error as a line of `program`. A signal that ends a process (interrupt,
/// hangup, termination, a closed pipe) ends the work and, once the directory is removed, this process too.
[[nodiscard]] int scratch_run(const char* program, ScratchWork work, void* context);
