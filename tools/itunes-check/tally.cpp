#include "tools/itunes-check/tally.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/import_run.h"
#include "itunes/import_workspace.h"
#include "itunes/library_values.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"
#include "tools/shared/count_records.h"
#include "tools/shared/spelling.h"

namespace {

constexpr int32_t layout_pass_percent = 40; // of the time, about
constexpr char plist_end[] = "</plist>";
constexpr uint32_t plist_end_length = sizeof plist_end - 1;

/// Keys that the library walk and the playlist reader look for with their values, beside those of tracks; the
/// first two, which iTunes writes first, tell an empty library's layout.
constexpr const char* other_keys[] = {
    "<key>Application Version</key>", "<key>Major Version</key>",          "<key>Track ID</key>",
    "<key>Playlist ID</key>",         "<key>Playlist Persistent ID</key>", "<key>Parent Persistent ID</key>"};

const char* other_key(const char* line) {
    for (const char* key : other_keys) {
        if (itunes_line_holds(line, key)) {
            return key;
        }
    }
    return nullptr;
}

bool holds_element(const char* line, const char* opening, const char* closing) {
    return itunes_line_holds(line, opening) && itunes_line_holds(line, closing);
}

/// Whether a value that the readers could take stands on the key's line.
bool holds_value(const char* line, const char* key) {
    return strchr(strstr(key, "</key>") + 1, '<') != nullptr || // "<true/>" is part of the literal
           holds_element(line, "<string>", "</string>") || holds_element(line, "<integer>", "</integer>") ||
           holds_element(line, "<date>", "</date>");
}

void note_version(LibraryTally* tally, const char* line) {
    char copy[itunes_line_size + 1];
    upnp_copy_text(copy, sizeof copy, line);
    char* version = itunes_get_value(copy, "string");
    upnp_copy_text(tally->version, sizeof tally->version, version);
    upnp_free_unless_null(version);
}

void show_progress(LibraryTally* tally, int64_t percent) {
    if (tally->shows_progress && percent != tally->percent_shown) {
        tally->percent_shown = static_cast<int32_t>(percent);
        fprintf(stderr, "\ritunes-check: %3d %%", tally->percent_shown);
    }
}

void end_progress(const LibraryTally* tally) {
    if (tally->shows_progress) {
        fputs("\r                     \r", stderr);
    }
}

void count_keys(LibraryTally* tally, const char* line) {
    const char* key = itunes_track_key(line);
    key = key != nullptr ? key : other_key(line);
    if (key == nullptr) {
        tally->has_sections = tally->has_sections || itunes_line_holds(line, "<key>Tracks</key>") ||
                              itunes_line_holds(line, "<key>Playlists</key>");
        return;
    }
    ++(holds_value(line, key) ? tally->keys_beside : tally->keys_apart);
    // The readers take one key of a line.
    for (const char* next = strstr(strstr(line, "<key>") + 1, "<key>"); next != nullptr;
         next = strstr(next + 1, "<key>")) {
        ++tally->keys_apart;
    }
    if (key == other_keys[0] && tally->version[0] == '\0') {
        note_version(tally, line);
        tally->version_follows = tally->version[0] == '\0';
    }
}

void on_line(void* context, const char* line) {
    auto* tally = static_cast<LibraryTally*>(context);
    if (tally->shows_progress) {
        tally->bytes_seen += static_cast<int64_t>(strlen(line));
        show_progress(tally, tally->bytes_seen * layout_pass_percent / tally->size);
    }
    if (tally->version_follows) {
        note_version(tally, line); // in another layout
        tally->version_follows = false;
    }
    if (!itunes_line_holds(line, "<key>")) {
        return;
    }
    count_keys(tally, line);
    tally->in_playlists = tally->in_playlists || itunes_line_holds(line, "<key>Playlists</key>");
    if (!tally->in_playlists && itunes_line_holds(line, "<key>Track ID</key>")) {
        ++tally->known_tracks;
    }
}

/// Keeps the track where there is still room; null otherwise.
TrackExample* add_example(TrackExamples* examples, const TrackReport* report) {
    const bool is_nameless = report->title == nullptr && report->location == nullptr;
    if (examples->count == example_limit || is_nameless) {
        return nullptr;
    }
    TrackExample* example = &examples->tracks[examples->count++];
    example->title = upnp_strdup(report->title);
    example->path = upnp_strdup(report->location);
    return example;
}

/// Looks where a missing file may be.
void explain_missing(LibraryTally* tally, const TrackReport* report, TrackExample* example) {
    static SpellingResult result;
    spelling_search(report->location, &result);
    if (example != nullptr) {
        example->existing_length = result.existing_length;
    }
    if (!result.is_known) {
        ++tally->spelling_unknown;
        return;
    }
    if (result.is_found) {
        ++tally->respelled;
        example = add_example(&tally->respelled_examples, report);
        if (example != nullptr) {
            example->found = upnp_strdup(result.found);
            example->differences = result.differences;
        }
    }
}

void explain_track(LibraryTally* tally, const TrackReport* report) {
    const bool exists = report->outcome == TrackOutcome::record;
    const bool is_missing = report->outcome == TrackOutcome::missing;
    TrackExample* example =
        exists ? nullptr : add_example(&tally->examples[static_cast<size_t>(report->outcome)], report);
    if (exists || is_missing) {
        folder_table_add(&tally->folders, report->location, exists);
    }
    if (is_missing) {
        explain_missing(tally, report, example);
    }
}

void on_track(void* context, const TrackReport* report) {
    auto* tally = static_cast<LibraryTally*>(context);
    ++tally->tracks[static_cast<size_t>(report->outcome)];
    if (tally->print_track != nullptr) {
        tally->print_track(report);
    }
    if (tally->explains) {
        explain_track(tally, report);
    }
    if (tally->shows_progress && tally->known_tracks > 0) {
        show_progress(tally, layout_pass_percent + int64_t{library_tally_tracks(tally)} *
                                                       (100 - layout_pass_percent) / tally->known_tracks);
    }
}

void on_playlist(void* context, const PlaylistEvent* event) {
    checked_playlists_hear(&static_cast<LibraryTally*>(context)->playlists, event);
}

/// Whether the last that stands in the file, blanks and line ends aside, is the end of a property list.
bool ends_whole(const char* path) {
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    char block[4096];
    off_t end = lseek(descriptor, 0, SEEK_END);
    bool is_whole = false;
    while (end >= static_cast<off_t>(plist_end_length)) {
        const off_t start =
            end > static_cast<off_t>(sizeof block) ? end - static_cast<off_t>(sizeof block) : 0;
        ssize_t length = pread(descriptor, block, static_cast<size_t>(end - start), start);
        if (length != end - start) {
            break;
        }
        while (length > 0 && strchr(" \t\r\n", block[length - 1]) != nullptr && block[length - 1] != '\0') {
            --length;
        }
        if (length >= static_cast<ssize_t>(plist_end_length) || start == 0) {
            is_whole = length >= static_cast<ssize_t>(plist_end_length) &&
                       memcmp(block + length - plist_end_length, plist_end, plist_end_length) == 0;
            break;
        }
        end = start + length;
    }
    (void)close(descriptor);
    return is_whole;
}

} // namespace

bool library_tally_fill(LibraryTally* tally, const char* directory) {
    tally->is_whole = ends_whole(tally->library_path);
    const ImportOptions options = {directory, nullptr, nullptr, tally->library_path};
    import_run_resolve(options);
    const ImportObserver observer = {tally, on_line, on_track, on_playlist};
    import_observer = &observer;
    import_prepare_temp_dir();
    import_into_temp_dir();
    import_observer = nullptr;
    end_progress(tally);
    folder_table_finish(&tally->folders);
    checked_playlists_settle(&tally->playlists, import_run.temp_dir);
    char items_path[import_path_size];
    import_run_temp_items_path(items_path);
    return count_records(items_path).records == tally->tracks[static_cast<size_t>(TrackOutcome::record)] &&
           !tally->playlists.is_short;
}

LibraryLayout library_tally_layout(const LibraryTally* tally) {
    if (tally->keys_apart > tally->keys_beside) {
        return LibraryLayout::other;
    }
    if (tally->keys_beside == 0 && !tally->has_sections) {
        return LibraryLayout::no_library;
    }
    return tally->keys_apart > 0 ? LibraryLayout::partly : LibraryLayout::as_read;
}

uint32_t library_tally_tracks(const LibraryTally* tally) {
    uint32_t sum = 0;
    for (const uint32_t count : tally->tracks) {
        sum += count;
    }
    return sum;
}
