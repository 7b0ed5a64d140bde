#include "tools/itunes-check/explanation.h"

#include <utility>

namespace {

/// Whether there is room for one more, and something to be shown of it.
bool is_wanted(const std::vector<TrackExample>& examples, const TrackReport& report) {
    return examples.size() < example_limit && (report.title != nullptr || report.location != nullptr);
}

} // namespace

void TrackExplanation::add_track(const TrackReport& report) {
    const bool is_missing = report.outcome == TrackOutcome::missing;
    if (report.outcome == TrackOutcome::record) {
        folders_.add(report.location, true, false);
        return;
    }
    TrackExample track;
    track.title = report.title == nullptr ? "" : report.title;
    if (report.location != nullptr) {
        track.path = report.location;
    }
    if (is_missing) {
        folders_.add(*track.path, false, explain_missing(track));
    }
    std::vector<TrackExample>& examples = examples_[static_cast<size_t>(report.outcome)];
    if (is_wanted(examples, report)) {
        track.existing_length = is_missing ? search_.existing_length(*track.path) : 0;
        examples.push_back(std::move(track));
    }
}

/// Looks where a missing file may be; returns whether it is there under another spelling.
bool TrackExplanation::explain_missing(const TrackExample& track) {
    SpellingAnswer answer = search_.find(*track.path);
    const bool is_respelled = !answer.found.empty();
    if (is_respelled) {
        ++respelled_;
        if (respelled_examples_.size() < example_limit) {
            respelled_examples_.push_back(track);
            respelled_examples_.back().found = std::move(answer.found);
            respelled_examples_.back().differences = answer.differences;
        }
    } else if (!answer.is_known) {
        ++spelling_unknown_;
    }
    return is_respelled;
}
