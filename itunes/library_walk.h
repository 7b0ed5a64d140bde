#pragma once
// The reading of one whole library, in two passes: the first learns the folder tree of the playlists, the
// second imports the tracks and then, with both lists filled, exports the playlists.

#include "common/upnp_fileio.h"

/// Reads the library at `library_path`, appends its tracks to `items` (null: none are written) and writes its
/// playlists into the run's temporary directory. Frees the track and folder lists at its end. For a null or
/// empty path and where the library cannot be opened it does nothing; the lists too stay as they are.
void itunes_read_library(const char* library_path, UpnpFile* items);
