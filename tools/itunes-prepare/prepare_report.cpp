#include "tools/itunes-prepare/prepare_report.h"

#include <cinttypes>
#include <cstdio>
#include <iterator>

#include "tools/shared/text_output.h"

namespace {

constexpr size_t example_limit = 5;

struct Row {
    PrepareReport::Kind kind;
    bool is_amiss; // told even where not the whole report is wanted
    bool is_rare;  // left out of the whole report, too, where there is none
    const char* words;
};

// clang-format off
constexpr Row rows[] = {
    {PrepareReport::missing,        true,  false, "missing"},
    {PrepareReport::too_long,       true,  false, "lines longer than 1023 bytes, lost to the import"},
    {PrepareReport::read_otherwise, false, true,  "values that the import reads otherwise"},
    {PrepareReport::found,          false, false, "found"},
    {PrepareReport::respelled,      false, false, "found under another spelling"},
    {PrepareReport::other,          false, false, "without a file here (protected, streams, in the cloud)"},
    {PrepareReport::mapped,         false, false, "mapped"},
    {PrepareReport::elsewhere,      false, true,  "found below the folder of --media"},
    {PrepareReport::unreadable,     true,  true,  "folders below it that can not be read"},
};
// clang-format on

} // namespace

void PrepareReport::count(Kind kind, std::string example) {
    count(kind);
    if (examples_[kind].size() < example_limit) {
        examples_[kind].push_back(std::move(example));
    }
}

std::string PrepareReport::text(bool is_whole) const {
    static_assert(std::size(rows) == kinds);
    std::string lines;
    for (const Row& row : rows) {
        const uint64_t number = counts_[row.kind];
        const bool is_told = is_whole ? number > 0 || !row.is_rare : number > 0 && row.is_amiss;
        if (!is_told) {
            continue;
        }
        char text[32];
        (void)snprintf(text, sizeof text, "%8" PRIu64 " ", number);
        lines.append(text).append(row.words) += '\n';
        for (const std::string& example : examples_[row.kind]) {
            lines.append("           ").append(escaped(example)) += '\n';
        }
    }
    if (lines.empty()) {
        return lines;
    }
    return "itunes-prepare: " + std::to_string(tracks_) + " tracks, " + std::to_string(playlists_) +
           " playlists\n" + lines;
}
