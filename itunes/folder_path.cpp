#include "itunes/folder_path.h"

#include <algorithm>

#include "common/upnp_text.h"
#include "itunes/folder_list.h"

namespace {

uint32_t path_count = 0; // paths built since the process started; each marks the entries that it passes

/// Looked for once in a list: a chain of folders would otherwise cost the cube of its length.
PlaylistFolder* parent_of(PlaylistFolder* folder) {
    if (folder->parent_version != itunes_folder_list_version()) {
        folder->parent = itunes_folder_list_find(folder->parent_persistent_id);
        folder->parent_version = itunes_folder_list_version();
    }
    return folder->parent;
}

/// Marks the chain from an entry up to its outermost folder, which is returned, and links it downwards.
PlaylistFolder* climb(PlaylistFolder* folder) {
    const uint32_t number = ++path_count;
    folder->last_path = number;
    PlaylistFolder* parent = parent_of(folder);
    while (parent != nullptr && parent->last_path != number) {
        parent->last_path = number;
        parent->below = folder;
        folder = parent;
        parent = parent_of(folder);
    }
    return folder;
}

/// Ends a chain at its lowest entry with a name: an empty name below it takes no slash either.
void end_chain(PlaylistFolder* lowest, const PlaylistFolder* top) {
    while (lowest != top && (lowest->name == nullptr || lowest->name[0] == '\0')) {
        lowest = lowest->parent;
    }
    lowest->below = nullptr;
}

/// Joins the names of a chain from the top down until the path is full.
void join_names(char* path, const PlaylistFolder* top) {
    uint32_t length = 0;
    const char* separator = "";
    for (const PlaylistFolder* folder = top; folder != nullptr && length < itunes_folder_path_size - 1;
         folder = folder->below) {
        if (folder->name != nullptr) {
            const uint32_t room = itunes_folder_path_size - length;
            const int32_t added = upnp_format(path + length, room, "%s%s", separator, folder->name);
            length += std::min(static_cast<uint32_t>(added), room - 1);
            separator = "/";
        }
    }
}

} // namespace

void itunes_folder_path(char* path, char* persistent_id) {
    if (path == nullptr || persistent_id == nullptr) {
        return;
    }
    path[0] = '\0';
    PlaylistFolder* folder = itunes_folder_list_find(persistent_id);
    if (folder == nullptr) {
        return;
    }
    const PlaylistFolder* top = climb(folder);
    end_chain(folder, top);
    join_names(path, top);
    const char* last_id =
        top->parent_persistent_id != nullptr ? top->parent_persistent_id : top->persistent_id;
    upnp_copy_text(persistent_id, itunes_folder_path_size, last_id);
}
