#include "itunes/track_list.h"

#include "common/upnp_memory.h"

namespace {

/// Entries are allocated side by side, so that a walk along the list is seldom a cache miss: with tens of
/// thousands of tracks the walks are what an import does most beside its system calls.
constexpr uint32_t entries_in_block = 256;

struct TrackBlock {
    TrackBlock* next; // the block filled before it
    uint32_t used;
    TrackPath entries[entries_in_block];
};

TrackBlock* blocks = nullptr;          // all memory of the entries, the newest block first
TrackPath* TrackPathList = nullptr;    // sorted by ascending id
TrackPath* last_entry = nullptr;       // where tracks in rising order are appended without a walk
const TrackPath* last_found = nullptr; // the first entry of its id; walks to larger ids start here

/// Returns room for one more entry, or null without memory.
TrackPath* new_entry() {
    if (blocks == nullptr || blocks->used == entries_in_block) {
        auto* block = static_cast<TrackBlock*>(upnp_malloc(sizeof(TrackBlock)));
        if (block == nullptr) {
            return nullptr;
        }
        block->next = blocks;
        block->used = 0;
        blocks = block;
    }
    return &blocks->entries[blocks->used++];
}

} // namespace

void itunes_track_list_add(const char* location, const char* title, int32_t track_id) {
    TrackPath* entry = new_entry();
    if (entry == nullptr) {
        return;
    }
    const bool is_last = last_entry != nullptr && last_entry->track_id <= track_id;
    TrackPath** link = is_last ? &last_entry->next : &TrackPathList;
    while (*link != nullptr && (*link)->track_id <= track_id) {
        link = &(*link)->next;
    }
    *entry = {upnp_strdup(location), upnp_strdup(title), track_id, *link};
    *link = entry;
    if (entry->next == nullptr) {
        last_entry = entry;
    }
}

const TrackPath* itunes_track_list_find(int32_t track_id) {
    const bool is_ahead = last_found != nullptr && last_found->track_id <= track_id;
    const TrackPath* entry = is_ahead ? last_found : TrackPathList;
    while (entry != nullptr && entry->track_id < track_id) {
        // Where the next entry is the one beside this, as in most of a list that was filled in rising order,
        // the walk needs not wait for each link to be read before it looks at the entry behind it.
        const TrackPath* beside = entry + 1;
        while (entry->next == beside && beside->track_id < track_id) {
            entry = beside++;
        }
        entry = entry->next;
    }
    if (entry == nullptr || entry->track_id != track_id) {
        return nullptr;
    }
    last_found = entry;
    return entry;
}

void itunes_track_list_free() {
    for (const TrackPath* entry = TrackPathList; entry != nullptr; entry = entry->next) {
        upnp_free_unless_null(entry->location);
        upnp_free_unless_null(entry->title);
    }
    while (blocks != nullptr) {
        TrackBlock* next = blocks->next;
        upnp_free(blocks);
        blocks = next;
    }
    TrackPathList = nullptr;
    last_entry = nullptr;
    last_found = nullptr;
}
