// The summary of itunes-check for people.

#include <cerrno>
#include <cstdio>
#include <initializer_list>
#include <unistd.h>

#include "common/upnp_text.h"
#include "tools/itunes-check/output.h"
#include "tools/shared/text_output.h"

namespace {

constexpr size_t shown_files = 40;
constexpr size_t shown_titles = 5;

constexpr CheckedOutcome left_out_order[] = {
    CheckedOutcome::replaced,   CheckedOutcome::not_moved,       CheckedOutcome::not_writable,
    CheckedOutcome::not_listed, CheckedOutcome::nothing_to_play, CheckedOutcome::reserved_name,
    CheckedOutcome::smart,      CheckedOutcome::built_in,
};

const char* plural(size_t count) {
    return count == 1 ? "" : "s";
}

void print_library(const CheckSummary& summary) {
    const LibraryTally& tally = summary.tally();
    printf("%s\n  written by ", escaped(summary.library.path).c_str());
    if (tally.version.empty()) {
        fputs("an unknown program", stdout);
    } else {
        // Music began anew with 1; the libraries of iTunes that are still about begin with 4.
        const bool is_music = upnp_parse_int32(tally.version.c_str()) < 3;
        printf("%s %s", is_music ? "Music" : "iTunes", escaped(tally.version).c_str());
    }
    puts(tally.is_whole ? ", whole (ends with </plist>)" : ", CUT SHORT (does not end with </plist>)");
    const uint32_t keys = tally.keys_beside + tally.keys_apart;
    switch (tally.layout) {
    case LibraryLayout::as_read:
        puts("  in the layout that the import reads: each key with its value on a line");
        break;
    case LibraryLayout::partly:
        printf("  PARTLY in another layout: %u of %u keys without their value on their line,\n"
               "  so what they say is lost (itunes-prepare writes the layout anew)\n",
               tally.keys_apart, keys);
        break;
    case LibraryLayout::other:
        printf("  in ANOTHER LAYOUT: %u of %u keys without their value on their line,\n"
               "  so the import can not read them (itunes-prepare writes the layout anew)\n",
               tally.keys_apart, keys);
        break;
    case LibraryLayout::no_library: puts("  NO LIBRARY: no line holds a key of one"); break;
    }
    if (!summary.library.damage.empty()) {
        printf("  DAMAGED, no whole property list: %s\n", summary.library.damage.c_str());
    }
}

void print_losses(const std::vector<LibraryLoss>& losses) {
    if (losses.empty()) {
        return;
    }
    puts("\nWhat the import reads otherwise than the library means it");
    for (const LibraryLoss& loss : losses) {
        printf("  %6zu %s\n", loss.lost.count, loss_text(loss.kind));
        for (const std::string& example : loss.lost.examples) {
            printf("           %s\n", escaped(example).c_str());
        }
    }
}

void print_example(const TrackExample& example) {
    printf("           %s\n", example.title.empty() ? "(no title)" : escaped(example.title).c_str());
    if (example.path) {
        printf("             %s\n", escaped(*example.path).c_str());
    }
}

/// How much of the path of a missing file is there; empty for no more than the root.
std::string existing_part(const TrackExample& example) {
    const std::string part = example.path->substr(0, example.existing_length);
    return part == "/" ? "" : part;
}

void print_existing_part(const TrackExample& example) {
    const std::string part = existing_part(example);
    if (part.empty()) {
        puts("             nothing of this path is there");
        return;
    }
    const bool is_closed = access(part.c_str(), X_OK) != 0 && errno == EACCES;
    printf("             of this path there is %s%s\n", escaped(part).c_str(),
           is_closed ? ",\n             which this user can not enter" : "");
}

void print_tracks_of(const CheckSummary& summary, TrackOutcome outcome, const char* reason) {
    const uint32_t count = summary.tally().tracks_of(outcome);
    if (count == 0) {
        return;
    }
    printf("  %6u %s\n", count, reason);
    const TrackExample* last = nullptr;
    for (const TrackExample& example : summary.explanation.examples(outcome)) {
        print_example(example);
        const bool is_told = last != nullptr && existing_part(*last) == existing_part(example);
        if (outcome == TrackOutcome::missing && !is_told) {
            print_existing_part(example);
        }
        last = &example;
    }
}

void print_tracks(const CheckSummary& summary) {
    const LibraryTally& tally = summary.tally();
    const bool is_well_read = tally.is_whole && tally.layout == LibraryLayout::as_read;
    printf("\nTracks: %u of %u will arrive\n", tally.records(), tally.track_count());
    for (const TrackOutcome outcome : {TrackOutcome::missing, TrackOutcome::copy_protected,
                                       TrackOutcome::no_location, TrackOutcome::stream}) {
        const char* reason = track_outcome_words(outcome).text;
        if (outcome == TrackOutcome::no_location) {
            reason = is_well_read ? "no location, as in the cloud (playlists leave them out)"
                                  : "no location that can be read (playlists leave them out)";
        }
        print_tracks_of(summary, outcome, reason);
    }
}

void print_present_items(const CheckSummary& summary) {
    if (summary.present) {
        printf("\nRecords: %u to come, %llu at present in %s\n", summary.tally().records(),
               static_cast<unsigned long long>(summary.present->records),
               escaped(summary.present->path).c_str());
    }
}

void print_folders(const CheckSummary& summary) {
    if (summary.tally().tracks_of(TrackOutcome::missing) == 0) {
        return;
    }
    puts("\nFolders that the library's paths begin with\n  tracks  there");
    size_t shown = 0;
    for (const FolderGroup& group : summary.folders) {
        if (shown++ == folder_group_shown) {
            const size_t further = summary.folders.size() - folder_group_shown;
            printf("  and %zu more folder%s\n", further, plural(further));
            break;
        }
        printf("  %6u %6u  %s\n", group.tracks, group.existing,
               group.folder.empty() ? "(no folder)" : escaped(group.folder).c_str());
    }
}

const char* differences_text(uint32_t differences) {
    switch (differences) {
    case spelling_accents: return "accents composed otherwise";
    case spelling_case: return "upper and lower case";
    case spelling_plus: return "a plus sign, which the import reads as a blank";
    default: return "more than one difference";
    }
}

void print_spellings(const TrackExplanation& explanation) {
    if (explanation.spelling_unknown() > 0) {
        printf("\nOther spellings were not looked for any more for %u of the missing files: it\n"
               "would take too long\n",
               explanation.spelling_unknown());
    }
    if (explanation.respelled() == 0) {
        return;
    }
    printf("\n%u of the missing files %s there under another spelling\n", explanation.respelled(),
           explanation.respelled() == 1 ? "is" : "are");
    for (const TrackExample& example : explanation.respelled_examples()) {
        print_example(example);
        printf("           on the disk (%s):\n             %s\n", differences_text(example.differences),
               escaped(example.found).c_str());
    }
}

using Playlists = std::vector<CheckedPlaylist>;

/// The playlists of this outcome, and of this sign unless that is none.
std::vector<const CheckedPlaylist*> playlists_of(const Playlists& playlists, CheckedOutcome outcome,
                                                 WplSign sign = WplSign::none) {
    std::vector<const CheckedPlaylist*> chosen;
    for (const CheckedPlaylist& each : playlists) {
        if (each.outcome == outcome && (sign == WplSign::none || each.sign == sign)) {
            chosen.push_back(&each);
        }
    }
    return chosen;
}

/// Prints the first titles.
void print_titles(const std::vector<const CheckedPlaylist*>& playlists) {
    size_t shown = 0;
    for (const CheckedPlaylist* each : playlists) {
        if (!each->title.empty() && shown++ < shown_titles) {
            printf("           %s\n", escaped(each->title).c_str());
        }
    }
}

void print_files(const std::vector<const CheckedPlaylist*>& files) {
    size_t shown = 0;
    for (const CheckedPlaylist* each : files) {
        if (shown++ == shown_files) {
            printf("         and %zu more; --list shows all\n", files.size() - shown_files);
            break;
        }
        printf("         %s\n           %s, %u of %u item%s, %s\n", escaped(each->title).c_str(),
               each->type == "V" ? "video" : "music", each->entries, each->items, plural(each->items),
               escaped(each->file_name).c_str());
    }
}

void print_left_out(const Playlists& playlists, size_t main_lists) {
    for (const CheckedOutcome outcome : left_out_order) {
        const auto left_out = playlists_of(playlists, outcome);
        const bool has_main = outcome == CheckedOutcome::not_listed && main_lists > 0;
        if (!left_out.empty()) {
            printf("  %6zu %s%s\n", left_out.size(), left_out_text(outcome),
                   !has_main                       ? ""
                   : left_out.size() == main_lists ? ": the list of all tracks"
                                                   : ", with the list of all tracks");
            print_titles(left_out);
        }
    }
}

void print_signs(const Playlists& playlists) {
    const char* heading =
        "\nPlaylist files that are not well-formed XML, so that strict players refuse them\n";
    for (const WplSign sign : {WplSign::ampersand, WplSign::less_than, WplSign::quote, WplSign::section_end,
                               WplSign::control, WplSign::encoding, WplSign::cut_short}) {
        const auto files = playlists_of(playlists, CheckedOutcome::file, sign);
        if (files.empty()) {
            continue;
        }
        const bool is_character = sign != WplSign::cut_short;
        printf("%s  %6zu %s%s%s\n", heading, files.size(), is_character ? "by " : "", wpl_sign_text(sign),
               is_character ? " in a title or path" : "");
        heading = "";
        print_titles(files);
    }
}

void print_playlists(const CheckedLibrary& library) {
    const Playlists& playlists = library.tally.playlists;
    const auto files = playlists_of(playlists, CheckedOutcome::file);
    printf("\nPlaylists: %zu of %zu will get a file\n", files.size(), playlists.size());
    print_files(files);
    print_left_out(playlists, library.main_lists);
    print_signs(playlists);
}

} // namespace

const char* left_out_text(CheckedOutcome outcome) {
    switch (outcome) {
    case CheckedOutcome::file: break;
    case CheckedOutcome::replaced: return "overwritten by a later one of the same file name";
    case CheckedOutcome::not_moved: return "%% in the name: the file is made but not put in place";
    case CheckedOutcome::not_writable: return "the name is too long for a file";
    case CheckedOutcome::not_listed: return "not in the folder list";
    case CheckedOutcome::nothing_to_play: return "nothing to play";
    case CheckedOutcome::reserved_name: return "with one of the five names that are never exported";
    case CheckedOutcome::smart: return "smart";
    case CheckedOutcome::built_in: return "built in";
    }
    return "";
}

const char* loss_text(LossKind kind) {
    switch (kind) {
    case LossKind::folders: return "without the folders in front of a playlist's title";
    case LossKind::titles: return "with another title of a playlist";
    case LossKind::replaced: return "overwritten because of that";
    case LossKind::no_file: return "without a file, as if built in, smart, hidden or with nothing to play";
    case LossKind::extra_file: return "with a file, though built in, smart, hidden or with nothing to play";
    case LossKind::entries: return "with fewer or more entries of a playlist";
    case LossKind::tracks: return "not at all, though the library has the track";
    case LossKind::track_titles: return "with another title of a track that arrives";
    case LossKind::track_texts: return "with another artist, album, composer or genre of one";
    case LossKind::values: return "without a value that does not stand whole on its key's line";
    case LossKind::track_ids: return "with an id of several tracks, of which playlists find one";
    }
    return "";
}

void print_summary(const CheckSummary& summary) {
    print_library(summary);
    print_tracks(summary);
    print_present_items(summary);
    print_folders(summary);
    print_spellings(summary.explanation);
    print_playlists(summary.library);
    print_losses(summary.library.losses);
    const std::string advice = what_to_do(summary);
    put_output(advice.empty() ? "" : "\nWhat to do\n" + advice);
}
