#include "tools/shared/playable_tracks.h"

#include <algorithm>

#include "tools/shared/number_sort.h"

void PlayableTracks::settle() {
    sort_by_number(&tracks_, &Track::id);
}

bool PlayableTracks::contains(int32_t track_id) const {
    const auto first = std::ranges::lower_bound(tracks_, track_id, {}, &Track::id);
    return first != tracks_.end() && first->id == track_id && first->has_location;
}
