#pragma once
// Reads the Playlists section of the library and writes a WPL file for each playlist with a track to play.

#include "common/upnp_fileio.h"

/// Reads `library`, which stands after its "Playlists" line, to its end, and writes the playlists into the
/// run's temporary directory, with the tracks that the track list knows and titles that the folder list
/// gives. Built-in and smart playlists, playlists without a playable track and those that the folder list
/// does not know get no file. The library stays open; null does nothing.
void itunes_playlist_export(UpnpFile* library);

/// Returns whether a playlist of this name never gets a file, whoever made it. False for null.
[[nodiscard]] bool itunes_playlist_name_is_reserved(const char* name);
