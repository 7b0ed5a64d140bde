#include "tools/itunes-check/output.h"

#include <cstdio>

#include "itunes/import_run.h"
#include "tools/shared/text_output.h"

namespace {

constexpr const char* track_words[] = {"record", "protected", "no-location", "stream", "missing"};
constexpr const char* track_fields[] = {"records", "protected", "no_location", "stream", "missing"};
static_assert(static_cast<size_t>(TrackOutcome::missing) + 1 == track_outcome_count);

/// The file name, empty for a playlist that gets none at all.
void listed_file_name(const CheckedPlaylist* playlist, char* name) {
    name[0] = '\0';
    if (playlist->outcome == CheckedOutcome::file || playlist->outcome == CheckedOutcome::replaced ||
        playlist->outcome == CheckedOutcome::not_moved) {
        checked_playlist_file_name(playlist, name);
    }
}

void print_json_field(const char* name, const char* text) {
    printf(",\"%s\":", name);
    print_json_string(stdout, text);
}

} // namespace

void print_track_line(const TrackReport* report) {
    printf("track\t%s\t%d\t", track_words[static_cast<size_t>(report->outcome)], report->track_id);
    print_escaped(stdout, report->title);
    putchar('\t');
    print_escaped(stdout, report->location);
    putchar('\n');
}

void print_playlist_lines(const CheckedPlaylists* playlists) {
    for (const CheckedPlaylist* each = playlists->first; each != nullptr; each = each->next) {
        char name[import_path_size];
        listed_file_name(each, name);
        printf("playlist\t%s\t", checked_outcome_word(each->outcome));
        print_escaped(stdout, name);
        putchar('\t');
        print_escaped(stdout, each->title);
        putchar('\n');
    }
}

void print_track_object(const TrackReport* report) {
    printf("{\"kind\":\"track\",\"outcome\":\"%s\",\"id\":%d",
           track_words[static_cast<size_t>(report->outcome)], report->track_id);
    print_json_field("title", report->title);
    print_json_field("path", report->location);
    puts("}");
}

void print_playlist_objects(const CheckedPlaylists* playlists) {
    for (const CheckedPlaylist* each = playlists->first; each != nullptr; each = each->next) {
        char name[import_path_size];
        listed_file_name(each, name);
        const char type[] = {each->type, '\0'};
        printf("{\"kind\":\"playlist\",\"outcome\":\"%s\"", checked_outcome_word(each->outcome));
        print_json_field("file", name[0] == '\0' ? nullptr : name);
        print_json_field("title", each->title);
        print_json_field("type", name[0] == '\0' ? nullptr : type);
        printf(",\"items\":%u,\"entries\":%u", each->items, each->entries);
        print_json_field("not_well_formed",
                         each->sign == WplSign::none ? nullptr : wpl_sign_text(each->sign));
        puts("}");
    }
}

void print_summary_object(const LibraryTally* tally, const ItemsComparison* items) {
    constexpr const char* layout_words[] = {"as-read", "partly", "other", "no-library"};
    printf("{\"kind\":\"summary\"");
    print_json_field("library", tally->library_path);
    print_json_field("version", tally->version[0] == '\0' ? nullptr : tally->version);
    printf(",\"whole\":%s,\"layout\":\"%s\",\"keys\":%u,\"keys_apart\":%u",
           tally->is_whole ? "true" : "false", layout_words[static_cast<size_t>(library_tally_layout(tally))],
           tally->keys_beside + tally->keys_apart, tally->keys_apart);
    printf(",\"tracks\":%u", library_tally_tracks(tally));
    for (uint32_t outcome = 0; outcome < track_outcome_count; ++outcome) {
        printf(",\"%s\":%u", track_fields[outcome], tally->tracks[outcome]);
    }
    uint32_t files = 0;
    for (const CheckedPlaylist* each = tally->playlists.first; each != nullptr; each = each->next) {
        files += each->outcome == CheckedOutcome::file ? 1 : 0;
    }
    printf(",\"playlists\":%u,\"files\":%u", tally->playlists.count, files);
    if (items->path != nullptr) {
        printf(",\"present_records\":%llu", static_cast<unsigned long long>(items->records));
    }
    puts("}");
}
