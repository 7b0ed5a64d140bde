#include "itunes/track_list.h"

#include "common/upnp_memory.h"

namespace {

TrackPath* TrackPathList = nullptr;

} // namespace

void itunes_track_list_add(const char* location, const char* title, int32_t track_id) {
    auto* entry = static_cast<TrackPath*>(upnp_malloc(sizeof(TrackPath)));
    if (entry == nullptr) {
        return;
    }
    TrackPath** link = &TrackPathList;
    while (*link != nullptr && (*link)->track_id <= track_id) {
        link = &(*link)->next;
    }
    *entry = {upnp_strdup(location), upnp_strdup(title), track_id, *link};
    *link = entry;
}

const TrackPath* itunes_track_list_find(int32_t track_id) {
    const TrackPath* entry = TrackPathList;
    while (entry != nullptr && entry->track_id < track_id) {
        entry = entry->next;
    }
    return entry != nullptr && entry->track_id == track_id ? entry : nullptr;
}

void itunes_track_list_free() {
    while (TrackPathList != nullptr) {
        TrackPath* next = TrackPathList->next;
        upnp_free_unless_null(TrackPathList->location);
        upnp_free_unless_null(TrackPathList->title);
        upnp_free(TrackPathList);
        TrackPathList = next;
    }
}
