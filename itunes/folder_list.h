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
    uint32_t used_in_path; // the last folder path that this entry became part of; 0 for none yet
};

/// Adds an entry in front with copies of the texts, each of which may be null. Without memory for the entry
/// nothing is added.
void itunes_folder_list_add(int32_t playlist_id, const char* name, const char* persistent_id,
                            const char* parent_persistent_id);

/// Returns the newest entry with this persistent id, lent until the list is freed, or null. The caller may
/// change its used_in_path.
[[nodiscard]] PlaylistFolder* itunes_folder_list_find(const char* persistent_id);

/// Returns the number of a folder path about to be built, for the marks of its entries: one that no entry
/// bears.
[[nodiscard]] uint32_t itunes_folder_list_new_path();

/// Frees every entry with its texts and leaves the list empty.
void itunes_folder_list_free();
