#pragma once
// The keys of the Playlists section, which the pre-scan for folders and the playlist reader both look for.

#include <cstdint>

enum class PlaylistKey : uint8_t {
    name,
    playlist_id,
    persistent_id,
    parent_persistent_id,
    folder,
    invisible, // Visible, where it is false
    distinguished_kind,
    podcasts,
    videos,
    smart_info,
    items,
    track_id, // of an item
    count,
};

/// Returns whether the line holds the key anywhere, with its value where that is a boolean.
[[nodiscard]] bool itunes_line_holds_key(const char* line, PlaylistKey key);

/// Returns the key's value on the line, as itunes_find_value, or null.
[[nodiscard]] char* itunes_playlist_value(char* line, PlaylistKey key);
