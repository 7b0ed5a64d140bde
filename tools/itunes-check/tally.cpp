#include "tools/itunes-check/tally.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <numeric>
#include <utility>

namespace {

constexpr TrackOutcomeWords outcome_words[] = {
    {"record", "records", "will arrive"},
    {"protected", "protected", "protected (playlists leave them out)"},
    {"no-location", "no_location", "no location (playlists leave them out)"},
    {"stream", "stream", "stream (playlists keep the address)"},
    {"missing", "missing", "the file is not there (playlists keep the path)"},
};
static_assert(std::size(outcome_words) == track_outcome_count);

} // namespace

const TrackOutcomeWords& track_outcome_words(TrackOutcome outcome) {
    return outcome_words[static_cast<size_t>(outcome)];
}

uint32_t LibraryTally::track_count() const {
    return std::accumulate(tracks.begin(), tracks.end(), 0U);
}

uint32_t LibraryTally::playlist_files() const {
    return static_cast<uint32_t>(
        std::ranges::count(playlists, CheckedOutcome::file, &CheckedPlaylist::outcome));
}

TallyListener::TallyListener(std::string library_path, ListenerOptions options)
    : library_path_(std::move(library_path)),
      options_(std::move(options)), observer_{this,
                                              [](void* self, const char* line) {
                                                  static_cast<TallyListener*>(self)->add_line(line);
                                              },
                                              [](void* self, const TrackReport* report) {
                                                  static_cast<TallyListener*>(self)->add_track(*report);
                                              },
                                              [](void* self, const PlaylistEvent* event) {
                                                  static_cast<TallyListener*>(self)->add_event(*event);
                                              }},
      progress_(options_.library_size), playlists_(options_.finds_signs) {}

void TallyListener::add_line(const char* line) {
    layout_.add_line(line);
    if (options_.on_progress) {
        show(progress_.after_line(strlen(line)));
    }
}

void TallyListener::add_track(const TrackReport& report) {
    ++tally_.tracks[static_cast<size_t>(report.outcome)];
    if (options_.on_track) {
        options_.on_track(report);
    }
    if (options_.on_progress) {
        show(progress_.after_track(tally_.track_count(), layout_.tracks()));
    }
}

void TallyListener::add_event(const PlaylistEvent& event) {
    playlists_.add_event(event);
    if (options_.on_playlist) {
        options_.on_playlist(event);
    }
}

void TallyListener::show(std::optional<int> percent) const {
    if (percent) {
        options_.on_progress(*percent);
    }
}

LibraryTally TallyListener::finish(const std::string& workspace) {
    tally_.is_whole = library_ends_whole(library_path_);
    tally_.version = layout_.version();
    tally_.layout = layout_.layout();
    tally_.keys_beside = layout_.keys_beside();
    tally_.keys_apart = layout_.keys_apart();
    tally_.lost_values = layout_.lost_values();
    tally_.playlists = playlists_.finish(workspace);
    return std::move(tally_);
}
