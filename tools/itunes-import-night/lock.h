#pragma once
// The lock of a run: on a directory itself, which leaves no file behind, and gone with the process.

#include <string>

#include "tools/shared/descriptor.h"

/// A directory, locked. `error` is the errno of what failed, EWOULDBLOCK where another process has the lock.
struct LockedDirectory {
    Descriptor directory; // closed where it failed
    int error = 0;
};

/// Opens and locks the directory without waiting.
[[nodiscard]] LockedDirectory lock_directory(const std::string& path);
