#pragma once
// What itunes-check prints on standard output: lines for programs, objects for programs, a summary for people.

#include <optional>
#include <string>
#include <vector>

#include "tools/itunes-check/explanation.h"
#include "tools/itunes-check/judgement.h"
#include "tools/itunes-check/tally.h"

/// One line a track or playlist, fields between tabs.
void print_track_line(const TrackReport& report);
void print_playlist_lines(const std::vector<CheckedPlaylist>& playlists);

/// One JSON object a track or playlist, and one at the end.
void print_track_object(const TrackReport& report);
void print_playlist_objects(const std::vector<CheckedPlaylist>& playlists);
void print_summary_object(const std::string& library_path, const LibraryTally& tally,
                          const std::optional<PresentItems>& present);

/// All that the summary tells of; borrowed for the call.
struct CheckSummary {
    const std::string& library_path;
    const LibraryTally& tally;
    const TrackExplanation& explanation;
    const std::vector<FolderGroup>& folders;
    const std::optional<PresentItems>& present; // nothing where it was not asked for

    [[nodiscard]] bool is_in_other_layout() const {
        return tally.layout == LibraryLayout::partly || tally.layout == LibraryLayout::other;
    }
};
void print_summary(const CheckSummary& summary);

/// The part of the summary with what its reader can do; nothing where there is nothing to be done.
void print_what_to_do(const CheckSummary& summary);
