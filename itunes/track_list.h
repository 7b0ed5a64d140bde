#pragma once
// What the playlists need to know about the tracks: TrackPathList maps each track's id to its location. One
// list for the process, empty outside a library walk, which frees it at its end.

#include <cstdint>

struct TrackPath {
    char* location; // the local path, whether or not the file exists, or a URL; null for none; owned
    char* title;    // null for none; owned
    int32_t track_id;
    TrackPath* next;
};

/// Adds an entry with copies of both texts, either of which may be null. The list stays sorted by ascending
/// id, equal ids in the order of their adding. Without memory for the entry nothing is added.
void itunes_track_list_add(const char* location, const char* title, int32_t track_id);

/// Returns the first entry with this id, borrowed until the list is freed, or null.
[[nodiscard]] const TrackPath* itunes_track_list_find(int32_t track_id);

/// Frees every entry with its texts and leaves the list empty.
void itunes_track_list_free();
