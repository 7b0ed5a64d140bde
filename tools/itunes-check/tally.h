#pragma once
// What came out of the reading of a library: what becomes of its tracks and playlists, and whether the
// library is whole and in the layout that the import reads. A listener gathers it while the import's own code
// reads:
//
//     TallyListener listener(library_path, {});
//     import_observer = &listener.observer();
//     itunes_read_library(library_path, items);
//     import_observer = nullptr;
//     const LibraryTally tally = listener.finish(import_run.temp_dir);
//
// Its size grows with the playlists, not with the tracks. Without memory it throws std::bad_alloc, through
// the import.

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "itunes/import_observer.h"
#include "tools/itunes-check/layout.h"
#include "tools/itunes-check/playlists.h"
#include "tools/itunes-check/progress.h"

constexpr size_t track_outcome_count = 5;

/// What a track's outcome is called.
struct TrackOutcomeWords {
    const char* word;  // in lists
    const char* field; // of their number, in the object that sums up
    const char* text;  // for people
};
[[nodiscard]] const TrackOutcomeWords& track_outcome_words(TrackOutcome outcome);

struct LibraryTally {
    bool is_whole = false; // the library ends with </plist>
    std::string version;   // of the program that wrote it; empty for none
    LibraryLayout layout = LibraryLayout::no_library;
    uint32_t keys_beside = 0; // see LayoutCounter
    uint32_t keys_apart = 0;
    CountedExamples lost_values;                           // of the keys apart, each by its line and key
    std::array<uint32_t, track_outcome_count> tracks = {}; // by outcome
    std::vector<CheckedPlaylist> playlists;                // all, in the library's order

    [[nodiscard]] uint32_t tracks_of(TrackOutcome outcome) const {
        return tracks[static_cast<size_t>(outcome)];
    }
    /// The records that the items file gets.
    [[nodiscard]] uint32_t records() const { return tracks_of(TrackOutcome::record); }
    [[nodiscard]] uint32_t track_count() const;
    /// The files that the playlists leave, each name once.
    [[nodiscard]] uint32_t playlist_files() const;
};

struct ListenerOptions {
    int64_t library_size = 0;                              // bytes; for the progress
    std::function<void(int percent)> on_progress;          // null: nobody looks
    std::function<void(const TrackReport&)> on_track;      // hears of each track too; null for nobody
    std::function<void(const PlaylistEvent&)> on_playlist; // likewise of what happens to playlists
    bool finds_signs = false;                              // of playlist files that are no well-formed XML
};

class TallyListener {
public:
    /// For the import of the library that is read at `library_path`.
    TallyListener(std::string library_path, ListenerOptions options);
    TallyListener(const TallyListener&) = delete;
    TallyListener& operator=(const TallyListener&) = delete;

    [[nodiscard]] const ImportObserver& observer() const { return observer_; }

    /// What came out. Call it once, after the import, while the playlists' files are in `workspace`, where
    /// signs are wanted.
    [[nodiscard]] LibraryTally finish(const std::string& workspace);

private:
    void add_line(const char* line);
    void add_track(const TrackReport& report);
    void add_event(const PlaylistEvent& event);
    void show(std::optional<int> percent) const;

    const std::string library_path_;
    const ListenerOptions options_;
    const ImportObserver observer_;
    LayoutCounter layout_;
    LibraryProgress progress_;
    PlaylistListener playlists_;
    LibraryTally tally_;
};
