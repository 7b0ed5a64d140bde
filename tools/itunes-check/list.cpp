// The forms of itunes-check for programs: lines with fields between tabs, and JSON Lines.

#include <cstdio>

#include "tools/itunes-check/output.h"
#include "tools/shared/text_output.h"

namespace {

std::string escaped_or_empty(const char* text) {
    return text == nullptr ? "" : escaped(text);
}

std::string json_or_null(const char* text) {
    return text == nullptr ? "null" : json_string(text);
}

/// The text as JSON, null where it is empty.
std::string json_unless_empty(const std::string& text) {
    return text.empty() ? "null" : json_string(text);
}

const char* layout_word(LibraryLayout layout) {
    switch (layout) {
    case LibraryLayout::as_read: return "as-read";
    case LibraryLayout::partly: return "partly";
    case LibraryLayout::other: return "other";
    case LibraryLayout::no_library: return "no-library";
    }
    return "";
}

} // namespace

void print_track_line(const TrackReport& report) {
    printf("track\t%s\t%d\t%s\t%s\n", track_outcome_words(report.outcome).word, report.track_id,
           escaped_or_empty(report.title).c_str(), escaped_or_empty(report.location).c_str());
}

void print_playlist_lines(const std::vector<CheckedPlaylist>& playlists) {
    for (const CheckedPlaylist& each : playlists) {
        printf("playlist\t%s\t%s\t%s\n", checked_outcome_word(each.outcome), escaped(each.file_name).c_str(),
               escaped(each.title).c_str());
    }
}

void print_track_object(const TrackReport& report) {
    printf("{\"kind\":\"track\",\"outcome\":\"%s\",\"id\":%d,\"title\":%s,\"path\":%s}\n",
           track_outcome_words(report.outcome).word, report.track_id, json_or_null(report.title).c_str(),
           json_or_null(report.location).c_str());
}

void print_playlist_objects(const std::vector<CheckedPlaylist>& playlists) {
    for (const CheckedPlaylist& each : playlists) {
        printf("{\"kind\":\"playlist\",\"outcome\":\"%s\",\"file\":%s,\"title\":%s,\"type\":%s,\"items\":%u,"
               "\"entries\":%u,\"not_well_formed\":%s}\n",
               checked_outcome_word(each.outcome), json_unless_empty(each.file_name).c_str(),
               json_string(each.title).c_str(), json_unless_empty(each.type).c_str(), each.items,
               each.entries, json_unless_empty(wpl_sign_text(each.sign)).c_str());
    }
}

void print_loss_lines(const std::vector<LibraryLoss>& losses) {
    for (const LibraryLoss& loss : losses) {
        printf("loss\t%s\t%zu\t%s\n", loss_word(loss.kind), loss.lost.count,
               escaped(loss.lost.examples.front()).c_str());
    }
}

void print_loss_objects(const std::vector<LibraryLoss>& losses) {
    for (const LibraryLoss& loss : losses) {
        printf("{\"kind\":\"loss\",\"loss\":\"%s\",\"count\":%zu,\"examples\":[", loss_word(loss.kind),
               loss.lost.count);
        const char* separator = "";
        for (const std::string& example : loss.lost.examples) {
            printf("%s%s", separator, json_string(example).c_str());
            separator = ",";
        }
        puts("]}");
    }
}

void print_summary_object(const CheckedLibrary& library, const std::optional<PresentItems>& present) {
    const LibraryTally& tally = library.tally;
    printf("{\"kind\":\"summary\",\"library\":%s,\"version\":%s,\"whole\":%s,\"damage\":%s,\"layout\":\"%s\","
           "\"keys\":%u,\"keys_apart\":%u,\"tracks\":%u",
           json_string(library.path).c_str(), json_unless_empty(tally.version).c_str(),
           tally.is_whole ? "true" : "false", json_unless_empty(library.damage).c_str(),
           layout_word(tally.layout), tally.keys_beside + tally.keys_apart, tally.keys_apart,
           tally.track_count());
    for (size_t outcome = 0; outcome < track_outcome_count; ++outcome) {
        printf(",\"%s\":%u", track_outcome_words(static_cast<TrackOutcome>(outcome)).field,
               tally.tracks[outcome]);
    }
    printf(",\"playlists\":%zu,\"files\":%u", tally.playlists.size(), tally.playlist_files());
    if (present) {
        printf(",\"present_records\":%llu", static_cast<unsigned long long>(present->records));
    }
    puts("}");
}
