#include "itunes/folder_list.h"

#include <cstring>

#include "common/upnp_memory.h"

namespace {

PlaylistFolder* PlaylistFolderList = nullptr;
uint32_t list_version = 0; // entries added since the process started

} // namespace

void itunes_folder_list_add(int32_t playlist_id, const char* name, const char* persistent_id,
                            const char* parent_persistent_id) {
    auto* entry = static_cast<PlaylistFolder*>(upnp_calloc(1, sizeof(PlaylistFolder)));
    if (entry == nullptr) {
        return;
    }
    entry->persistent_id = upnp_strdup(persistent_id);
    entry->parent_persistent_id = upnp_strdup(parent_persistent_id);
    entry->name = upnp_strdup(name);
    entry->playlist_id = playlist_id;
    entry->next = PlaylistFolderList;
    PlaylistFolderList = entry;
    ++list_version;
}

PlaylistFolder* itunes_folder_list_find(const char* persistent_id) {
    if (persistent_id == nullptr) {
        return nullptr;
    }
    PlaylistFolder* entry = PlaylistFolderList;
    while (entry != nullptr &&
           (entry->persistent_id == nullptr || strcmp(entry->persistent_id, persistent_id) != 0)) {
        entry = entry->next;
    }
    return entry;
}

uint32_t itunes_folder_list_version() {
    return list_version;
}

void itunes_folder_list_free() {
    while (PlaylistFolderList != nullptr) {
        PlaylistFolder* next = PlaylistFolderList->next;
        upnp_free_unless_null(PlaylistFolderList->persistent_id);
        upnp_free_unless_null(PlaylistFolderList->parent_persistent_id);
        upnp_free_unless_null(PlaylistFolderList->name);
        upnp_free(PlaylistFolderList);
        PlaylistFolderList = next;
    }
}
