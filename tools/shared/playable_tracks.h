#pragma once
// Which tracks can be played from playlists: those that are not protected and have a location.

#include <cstdint>
#include <vector>

/// Takes eight bytes for each track.
class PlayableTracks {
public:
    /// Adds a track that is not protected.
    void add(int32_t track_id, bool has_location) { tracks_.push_back({track_id, has_location}); }
    /// To be called once all are there.
    void settle();
    [[nodiscard]] bool contains(int32_t track_id) const;

private:
    struct Track {
        int32_t id;
        bool has_location;
    };
    std::vector<Track> tracks_; // sorted by id; of equal ones the first counts, as in the import
};
