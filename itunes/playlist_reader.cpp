#include "itunes/playlist_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/folder_path.h"
#include "itunes/import_observer.h"
#include "itunes/import_run.h"
#include "itunes/playlist_file.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_list.h"
#include "server/common/upnp_wpl.h"

namespace {

constexpr uint32_t text_size = itunes_folder_path_size; // a name, a folder path or a persistent id

constexpr char music_type[] = "M";
constexpr char video_type[] = "V";

/// The name given to playlists that are not to be exported.
constexpr char skipped_name[] = "smartplaylist";
/// Playlists of these names are never exported, whoever made them.
constexpr std::string_view skipped_names[] = {skipped_name, "Library", "Recently Added", "Music", "Podcasts"};
constexpr std::string_view video_extensions[] = {".mov", ".mp4", ".m4v"};

/// What an observer is told of a playlist, in the making. The reader's own steps do not depend on it.
struct PlaylistTally {
    bool is_begun; // a Name line has been met
    PlaylistOutcome outcome;
    uint32_t items;
    uint32_t entries;
    bool is_over; // its dictionary has ended: keys belong to the next one, whose Name may come late
    char title[text_size];
    char file_path[import_path_size];
};

struct PlaylistState {
    char name[text_size];          // the playlist's name; its folder path once a file has been asked for
    char persistent_id[text_size]; // the playlist's, or the last one that a folder path led to
    const char* type;              // goes back to music with every attempt to open a file, not before
    bool pending;                  // the next playable track begins a new file
    UpnpFile* output;              // the file being written, or null
    PlaylistTally tally;
};

/// Copies the line's string into a buffer of the state, which keeps its text where there is none. Returns
/// whether there is one.
bool read_text(char* buffer, char* line) {
    char* value = itunes_get_value(line, "string");
    if (value == nullptr) {
        return false;
    }
    upnp_copy_text(buffer, text_size, value);
    upnp_free(value);
    return true;
}

bool is_skipped(const PlaylistState* state) {
    return std::ranges::find(skipped_names, state->name) != std::end(skipped_names);
}

bool is_video_file(const char* path) {
    const char* extension = strrchr(path, '.');
    return extension != nullptr &&
           std::ranges::find(video_extensions, extension) != std::end(video_extensions);
}

/// Tells the observer, if there is one, of the playlist that has ended.
void report_playlist(const PlaylistTally* tally) {
    if (import_observer == nullptr || !tally->is_begun) {
        return;
    }
    const PlaylistReport report = {tally->outcome, tally->title, tally->file_path, tally->items,
                                   tally->entries};
    import_observer->on_playlist(import_observer->context, &report);
}

void begin_tally(PlaylistState* state, bool has_name) {
    PlaylistTally* tally = &state->tally;
    report_playlist(tally);
    *tally = {};
    tally->is_begun = true;
    tally->outcome = is_skipped(state) ? PlaylistOutcome::reserved_name : PlaylistOutcome::nothing_to_play;
    upnp_copy_text(tally->title, sizeof tally->title, has_name ? state->name : nullptr);
}

/// Notes why a playlist is not exported: the first key says it, a name only where no key does.
void tally_exclusion(PlaylistTally* tally, PlaylistOutcome outcome) {
    const bool is_undecided = tally->outcome == PlaylistOutcome::reserved_name ||
                              tally->outcome == PlaylistOutcome::nothing_to_play;
    if (is_undecided && tally->items == 0 && !tally->is_over) {
        tally->outcome = outcome;
    }
}

/// Notes where the playlist's dictionary ends. An item's end counts too: after an item nothing is excluded.
void tally_dictionary(PlaylistTally* tally, const char* line) {
    tally->is_over = tally->is_over || itunes_line_holds(line, "</dict>");
}

void tally_file(PlaylistState* state) {
    PlaylistTally* tally = &state->tally;
    tally->outcome = state->output != nullptr ? PlaylistOutcome::file
                     : state->name[0] == '\0' ? PlaylistOutcome::not_listed
                                              : PlaylistOutcome::not_writable;
    if (state->name[0] != '\0') {
        upnp_copy_text(tally->title, sizeof tally->title, state->name);
        itunes_playlist_file_path(tally->file_path, import_run.temp_dir, state->type, state->name);
    }
}

/// Ends a playlist's file; each step ignores null.
void close_output(UpnpFile* output) {
    (void)upnp_wpl_write_footer(output); // a failed write is logged by the file layer
    upnp_file_sync(output);              // before the move unlinks an earlier file of its name
    upnp_file_close(output);
}

/// Begins the file of the current playlist, whose first playable track is at `path`.
void open_output(PlaylistState* state, const char* path) {
    if (is_video_file(path)) {
        state->type = video_type;
    }
    itunes_folder_path(state->name, state->persistent_id);
    close_output(state->output);
    state->output = itunes_playlist_file_open(import_run.temp_dir, 0, state->type, state->name, 0);
    tally_file(state);
    state->type = music_type;
}

/// Adds the track of an item line to the playlist, if the track list knows where it is.
void add_item(PlaylistState* state, char* line) {
    const TrackPath* track = itunes_track_list_find(itunes_get_integer_value(line, "integer"));
    if (track == nullptr || track->location == nullptr) {
        return;
    }
    if (state->pending) {
        open_output(state, track->location);
    }
    (void)upnp_wpl_add_media(state->output, track->location); // dropped where the file could not be opened
    state->tally.entries += state->output != nullptr ? 1 : 0;
    state->pending = false;
}

/// Any line but those that name a playlist or give its id or type.
void read_other_line(PlaylistState* state, char* line) {
    if (itunes_line_holds(line, "<key>Distinguished Kind</key>")) {
        upnp_copy_text(state->name, sizeof state->name, skipped_name);
        tally_exclusion(&state->tally, PlaylistOutcome::built_in);
    }
    if (itunes_line_holds(line, "<key>Smart Info</key>")) {
        upnp_copy_text(state->name, sizeof state->name, skipped_name);
        tally_exclusion(&state->tally, PlaylistOutcome::smart);
    }
    if (itunes_line_holds(line, "<key>Track ID</key>")) {
        ++state->tally.items;
        if (!is_skipped(state)) {
            add_item(state, line);
        }
    }
}

void read_line(PlaylistState* state, char* line) {
    if (itunes_line_holds(line, "<key>Name</key>")) {
        state->pending = true;
        const bool has_name = read_text(state->name, line);
        begin_tally(state, has_name);
    } else if (itunes_line_holds(line, "<key>Playlist Persistent ID</key>")) {
        (void)read_text(state->persistent_id, line);
    } else if (itunes_line_holds(line, "<key>Videos</key><true/>")) {
        state->type = video_type;
    } else {
        read_other_line(state, line);
    }
}

} // namespace

void itunes_playlist_export(UpnpFile* library) {
    if (library == nullptr) {
        return;
    }
    PlaylistState state = {};
    state.type = music_type;
    PlistScanner scanner = {library, 0, {}};
    while (itunes_next_line(&scanner)) {
        if (import_observer != nullptr) {
            tally_dictionary(&state.tally, scanner.line);
        }
        if (itunes_line_holds(scanner.line, "<key>")) { // not so most lines of a playlist's items
            read_line(&state, scanner.line);
        }
    }
    close_output(state.output);
    report_playlist(&state.tally);
}
