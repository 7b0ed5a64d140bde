#pragma once
// The folder tree of the playlists: PlaylistFolderList records each folder and each ordinary playlist under
// its persistent id, the newest first. One list for the process, empty outside a library walk.

#include <cstdint>

struct PlaylistFolder {
    char* persistent_id;        // null for none; owned, as the other texts
    char* parent_persistent_id; // null at the top level
    char* name;                 // null for none
    int32_t playlist_id;
    PlaylistFolder* next;
    // Kept by the folder paths.
    PlaylistFolder* parent;  // null for none and while it is not known
    uint32_t parent_version; // that of the list in which it was looked for; 0 for never
    PlaylistFolder* below;   // the entry from which the last path came here
    uint32_t last_path;      // the number of that path; 0 for none yet
};

/// Adds an entry in front with copies of the texts, each of which may be null. Without memory for the entry
/// nothing is added.
void itunes_folder_list_add(int32_t playlist_id, const char* name, const char* persistent_id,
                            const char* parent_persistent_id);

/// Returns the newest entry with this persistent id, borrowed until the list is freed, or null.
[[nodiscard]] PlaylistFolder* itunes_folder_list_find(const char* persistent_id);

/// Returns a number that differs from any earlier one and from 0 once an entry has been added.
[[nodiscard]] uint32_t itunes_folder_list_version();

/// Frees every entry with its texts and leaves the list empty.
void itunes_folder_list_free();
