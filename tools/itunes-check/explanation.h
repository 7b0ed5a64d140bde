#pragma once
// Why tracks will not arrive, for people: a few examples, the folders that their paths lie in, and files that
// are there under another spelling. Its size does not depend on the number of tracks.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "itunes/import_observer.h"
#include "tools/itunes-check/folders.h"
#include "tools/itunes-check/tally.h"
#include "tools/shared/spelling_search.h"

constexpr size_t example_limit = 5;

/// A track that is shown.
struct TrackExample {
    std::string title;               // empty for none
    std::optional<std::string> path; // or the address
    size_t existing_length = 0;      // of a missing file: how much of its path is there
    std::string found;               // of a file with another spelling
    uint32_t differences = 0;        // of that
};

class TrackExplanation {
public:
    /// Looks at a track that an import has told of; for a missing file it searches the disk.
    void add_track(const TrackReport& report);

    [[nodiscard]] const std::vector<TrackExample>& examples(TrackOutcome outcome) const {
        return examples_[static_cast<size_t>(outcome)];
    }
    /// Missing files that are there under another spelling, with the first few, and those that were not
    /// looked for any more.
    [[nodiscard]] uint32_t respelled() const { return respelled_; }
    [[nodiscard]] const std::vector<TrackExample>& respelled_examples() const { return respelled_examples_; }
    [[nodiscard]] uint32_t spelling_unknown() const { return spelling_unknown_; }
    /// The folders, the most tracks first. Call it once, when all tracks are there.
    [[nodiscard]] std::vector<FolderGroup> finish_folders() { return folders_.finish(); }

private:
    [[nodiscard]] bool explain_missing(const TrackExample& track);

    std::array<std::vector<TrackExample>, track_outcome_count> examples_;
    std::vector<TrackExample> respelled_examples_;
    uint32_t respelled_ = 0;
    uint32_t spelling_unknown_ = 0;
    FolderTable folders_;
    SpellingSearch search_{spelling_any};
};
