#include "itunes/track_list.h"

#include "common/upnp_memory.h"

namespace {

constexpr uint32_t entries_in_block = 256;

/// Entries are allocated side by side. Where they came in rising order, as in all that iTunes writes, a block
/// holds a stretch of the list, and a look-up steps over whole blocks by their first id: with tens of
/// thousands of tracks the walks would otherwise be what an import does most beside its system calls.
struct TrackBlock {
    TrackBlock* next; // filled before this one
    uint32_t used;
    TrackPath entries[entries_in_block];
};

struct {
    TrackPath* first; // sorted by ascending id
    TrackPath* last;
    TrackBlock* blocks; // all memory of the entries, the newest block first
} TrackPathList;

/// Returns room for one more entry, or null without memory.
TrackPath* new_entry() {
    if (TrackPathList.blocks == nullptr || TrackPathList.blocks->used == entries_in_block) {
        auto* block = static_cast<TrackBlock*>(upnp_malloc(sizeof(TrackBlock)));
        if (block == nullptr) {
            return nullptr;
        }
        block->next = TrackPathList.blocks;
        block->used = 0;
        TrackPathList.blocks = block;
    }
    return &TrackPathList.blocks->entries[TrackPathList.blocks->used++];
}

/// Where a walk to `track_id` starts: at an entry with a lesser id, if a block begins with one.
const TrackPath* walk_start(int32_t track_id) {
    const TrackBlock* block = TrackPathList.blocks;
    while (block != nullptr && block->entries[0].track_id >= track_id) {
        block = block->next;
    }
    return block == nullptr ? TrackPathList.first : block->entries;
}

} // namespace

void itunes_track_list_add(const char* location, const char* title, int32_t track_id) {
    TrackPath* entry = new_entry();
    if (entry == nullptr) {
        return;
    }
    const bool is_last = TrackPathList.last != nullptr && TrackPathList.last->track_id <= track_id;
    TrackPath** link = is_last ? &TrackPathList.last->next : &TrackPathList.first;
    while (*link != nullptr && (*link)->track_id <= track_id) {
        link = &(*link)->next;
    }
    *entry = {upnp_strdup(location), upnp_strdup(title), track_id, *link};
    *link = entry;
    if (entry->next == nullptr) {
        TrackPathList.last = entry;
    }
}

const TrackPath* itunes_track_list_find(int32_t track_id) {
    const TrackPath* entry = walk_start(track_id);
    while (entry != nullptr && entry->track_id < track_id) {
        entry = entry->next;
    }
    return entry != nullptr && entry->track_id == track_id ? entry : nullptr;
}

void itunes_track_list_free() {
    for (const TrackPath* entry = TrackPathList.first; entry != nullptr; entry = entry->next) {
        upnp_free_unless_null(entry->location);
        upnp_free_unless_null(entry->title);
    }
    while (TrackPathList.blocks != nullptr) {
        TrackBlock* next = TrackPathList.blocks->next;
        upnp_free(TrackPathList.blocks);
        TrackPathList.blocks = next;
    }
    TrackPathList = {};
}
