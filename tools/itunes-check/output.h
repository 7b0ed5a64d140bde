#pragma once
// What itunes-check prints on standard output: lines for programs, objects for programs, a summary for
// people.

#include <optional>
#include <string>
#include <vector>

#include "tools/itunes-check/explanation.h"
#include "tools/itunes-check/judgement.h"
#include "tools/itunes-check/losses.h"
#include "tools/itunes-check/media.h"
#include "tools/itunes-check/tally.h"

/// One line a track or playlist, fields between tabs.
void print_track_line(const TrackReport& report);
void print_playlist_lines(const std::vector<CheckedPlaylist>& playlists);

/// One JSON object a track or playlist, and one at the end.
void print_track_object(const TrackReport& report);
void print_playlist_objects(const std::vector<CheckedPlaylist>& playlists);
void print_loss_lines(const std::vector<LibraryLoss>& losses);
void print_loss_objects(const std::vector<LibraryLoss>& losses);

void print_summary_object(const CheckedLibrary& library, const std::optional<PresentItems>& present);

/// All that the summary tells of; borrowed for the call.
struct CheckSummary {
    const CheckedLibrary& library;
    const TrackExplanation& explanation;
    const std::vector<FolderGroup>& folders;
    const std::optional<PresentItems>& present; // nothing where it was not asked for
    const CheckedMedia* media = nullptr;        // null where it was not asked for

    [[nodiscard]] const LibraryTally& tally() const { return library.tally; }
    /// Whether the import can not read all that the library says.
    [[nodiscard]] bool is_misread() const {
        return tally().layout != LibraryLayout::as_read || !library.losses.empty();
    }
};
void print_summary(const CheckSummary& summary);

/// What the summary's reader can do, as lines; empty where there is nothing to be done.
[[nodiscard]] std::string what_to_do(const CheckSummary& summary);

/// What the import reads otherwise, for people, to go behind a count.
[[nodiscard]] const char* loss_text(LossKind kind);

/// Why a playlist gets no file, for people.
[[nodiscard]] const char* left_out_text(CheckedOutcome outcome);
