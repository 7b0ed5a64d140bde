#pragma once
// The files that playlists are written to: named after the playlist and its type, with sixteen characters
// that file systems or players may refuse replaced by '_'.

#include <cstdint>

#include "common/upnp_fileio.h"

/// Writes the path "<directory>/iTunes-playlist-<name>##<type>.wpl" to `path`, a buffer of import_path_size
/// bytes, with the characters of name and type replaced: the empty text where another argument is null.
void itunes_playlist_file_path(char* path, const char* directory, const char* type, const char* name);

/// Creates the file "iTunes-playlist-<name>##<type>.wpl" in `directory`, in place of one of that name, and
/// writes the WPL header with `name` as its title. `type` is "M" (music) or "V" (video), `reserved` is 0.
/// Returns the open file, which the caller completes and closes; null for a null argument, for an empty name,
/// and where the file cannot be opened (logged). Name and type are cut at 255 characters, the path at 1023.
/// Names that differ in replaced characters only share a file: the last one stays.
[[nodiscard]] UpnpFile* itunes_playlist_file_open(const char* directory, int32_t reserved, const char* type,
                                                  const char* name, uint32_t is_network_feed);
