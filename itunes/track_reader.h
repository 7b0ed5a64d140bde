#pragma once
// Turns one track dictionary of the library into a media object, appends it to the items file when the track
// is a local file that exists, and enters the track in the track list for the playlists.

#include <cstdint>

#include "common/upnp_fileio.h"

/// Reads the dictionary of track `track_id` from `library`, which stands after its "Track ID" line, up to and
/// including its "</dict>" line or to the end of the file. The record goes to `items`, null for none.
/// Protected tracks leave no trace; tracks without a location, URL tracks and files that are missing are only
/// listed. Does nothing for a null library. Yields the processor after every line.
void itunes_read_track(int32_t track_id, UpnpFile* library, UpnpFile* items);

/// Returns the key literal that the track reader takes from this line, as "<key>Name</key>"; with its value
/// where that is part of it, as "<key>Protected</key><true/>". Null for none and for a null line.
[[nodiscard]] const char* itunes_track_key(const char* line);
