#include "tools/itunes-check/judgement.h"

#include "tools/shared/text_output.h"

namespace {

bool falls_below_share(uint32_t records, const PresentItems& present) {
    return uint64_t{records} * 100 < present.records * present.min_share;
}

} // namespace

std::vector<LibraryFailure> library_failures(const LibraryTally& tally,
                                             const std::optional<PresentItems>& present) {
    using std::to_string;
    std::vector<LibraryFailure> failures;
    if (!tally.is_whole) {
        failures.push_back({"is cut short: it does not end with </plist>"});
    }
    if (tally.layout == LibraryLayout::no_library) {
        failures.push_back({"is no iTunes library: no line holds a key of one"});
    } else if (tally.layout == LibraryLayout::other) {
        failures.push_back({"has another layout: " + to_string(tally.keys_apart) + " of " +
                            to_string(tally.keys_beside + tally.keys_apart) +
                            " keys without their value on their line"});
    }
    const uint32_t tracks = tally.track_count();
    if (tally.records() == 0 && tracks > 0) {
        failures.push_back({tracks == 1 ? "its only track will not arrive"
                                        : "none of its " + to_string(tracks) + " tracks will arrive"});
    }
    if (present && falls_below_share(tally.records(), *present)) {
        failures.push_back({"records to come: " + to_string(tally.records()) + ", less than " +
                                to_string(present->min_share) + " percent of the " +
                                to_string(present->records) + " in " + escaped(present->path),
                            true});
    }
    return failures;
}
