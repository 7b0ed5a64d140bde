#pragma once
// A walk over the entries of one directory, in the order in which the system delivers them. "." and "..",
// "lost+found" and hidden names are passed over. The walk frees itself when it runs to its end:
//
//     UpnpDirWalk* walk = upnp_dir_open(path);
//     while (walk != nullptr) {
//         use(walk->entry_path, walk->entry_name);
//         walk = upnp_dir_next(walk);
//     }

#include <cstdint>
#include <dirent.h>

struct UpnpDirWalk {
    DIR* stream;
    char* directory_path; // as given, one trailing '/' removed; owned, as the other texts
    char* entry_path;     // directory path, '/', entry name; cut at 2047 characters
    char* entry_name;
    int32_t is_directory; // links are followed
    int32_t is_link;      // links are not followed
    uint32_t last_mode;   // of the last status query that succeeded, from which the flags are read
};

/// Opens a walk that stands on its first entry. Null for a null path, a path that begins with "/proc" (a
/// plain prefix test), a directory that cannot be opened or has nothing to report, and without memory; no
/// message.
[[nodiscard]] UpnpDirWalk* upnp_dir_open(const char* path);

/// Moves on to the next entry and returns the walk, or closes it at the end and returns null. An entry for
/// which there is no memory is passed over.
[[nodiscard]] UpnpDirWalk* upnp_dir_next(UpnpDirWalk* walk);

/// Ends a walk early; null is ignored.
void upnp_dir_close(UpnpDirWalk* walk);
