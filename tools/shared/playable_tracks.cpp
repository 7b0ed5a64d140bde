#include "tools/shared/playable_tracks.h"

#include <algorithm>

void PlayableTracks::settle() {
    std::ranges::stable_sort(tracks_, {}, &Track::id);
}

bool PlayableTracks::contains(int32_t track_id) const {
    const auto first = std::ranges::lower_bound(tracks_, track_id, {}, &Track::id);
    return first != tracks_.end() && first->id == track_id && first->has_location;
}
