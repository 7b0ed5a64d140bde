#include "itunes/playlist_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#include "common/upnp_text.h"
#include "itunes/folder_path.h"
#include "itunes/import_observer.h"
#include "itunes/import_run.h"
#include "itunes/playlist_file.h"
#include "itunes/playlist_key.h"
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

struct PlaylistState {
    char name[text_size];          // the playlist's name; its folder path once a file has been asked for
    char persistent_id[text_size]; // the playlist's, or the last one that a folder path led to
    const char* type;              // goes back to music with every attempt to open a file, not before
    bool pending;                  // the next playable track begins a new file
    UpnpFile* output;              // the file being written, or null
};

/// Copies the key's value into a buffer of the state, which keeps its text where there is none. Returns
/// whether there is one.
bool read_text(char* buffer, char* line, PlaylistKey key) {
    const char* value = itunes_playlist_value(line, key);
    if (value == nullptr) {
        return false;
    }
    upnp_copy_text(buffer, text_size, value);
    return true;
}

bool is_skipped(const PlaylistState* state) {
    return itunes_playlist_name_is_reserved(state->name);
}

bool is_video_file(const char* path) {
    const char* extension = strrchr(path, '.');
    return extension != nullptr &&
           std::ranges::find(video_extensions, extension) != std::end(video_extensions);
}

bool is_observed() {
    return import_observer != nullptr && import_observer->on_playlist != nullptr;
}

/// Tells the observer, if there is one.
void tell(const PlaylistEvent& event) {
    if (is_observed()) {
        import_observer->on_playlist(import_observer->context, &event);
    }
}

void tell_name(const PlaylistState* state, bool has_name) {
    tell({.kind = PlaylistEventKind::named, .title = has_name ? state->name : ""});
    if (is_skipped(state)) {
        tell({.kind = PlaylistEventKind::reserved_name});
    }
}

void tell_file(const PlaylistState* state) {
    if (state->name[0] == '\0') {
        tell({.kind = PlaylistEventKind::not_listed});
        return;
    }
    const bool is_open = state->output != nullptr;
    tell({.kind = is_open ? PlaylistEventKind::file_begun : PlaylistEventKind::not_writable,
          .title = state->name,
          .type = state->type});
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
    tell_file(state);
    state->type = music_type;
}

/// Adds a track to the playlist, if the track list knows where it is.
void add_item(PlaylistState* state, int32_t track_id) {
    const TrackPath* track = itunes_track_list_find(track_id);
    if (track == nullptr || track->location == nullptr) {
        return;
    }
    if (state->pending) {
        open_output(state, track->location);
    }
    (void)upnp_wpl_add_media(state->output, track->location); // dropped where the file could not be opened
    if (state->output != nullptr) {
        tell({.kind = PlaylistEventKind::entry, .track_id = track_id, .location = track->location});
    }
    state->pending = false;
}

/// Any line but those that name a playlist or give its id or type.
void read_other_line(PlaylistState* state, char* line) {
    if (itunes_line_holds_key(line, PlaylistKey::distinguished_kind)) {
        upnp_copy_text(state->name, sizeof state->name, skipped_name);
        tell({.kind = PlaylistEventKind::built_in});
    }
    if (itunes_line_holds_key(line, PlaylistKey::smart_info)) {
        upnp_copy_text(state->name, sizeof state->name, skipped_name);
        tell({.kind = PlaylistEventKind::smart});
    }
    if (itunes_line_holds_key(line, PlaylistKey::track_id)) {
        const int32_t track_id = upnp_parse_int32(itunes_playlist_value(line, PlaylistKey::track_id));
        tell({.kind = PlaylistEventKind::item, .track_id = track_id});
        if (!is_skipped(state)) {
            add_item(state, track_id);
        }
    }
}

void read_line(PlaylistState* state, char* line) {
    if (itunes_line_holds_key(line, PlaylistKey::name)) {
        state->pending = true;
        tell_name(state, read_text(state->name, line, PlaylistKey::name));
    } else if (itunes_line_holds_key(line, PlaylistKey::persistent_id)) {
        (void)read_text(state->persistent_id, line, PlaylistKey::persistent_id);
    } else if (itunes_line_holds_key(line, PlaylistKey::videos)) {
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
        if (is_observed() && itunes_line_holds(scanner.line, "</dict>")) {
            tell({.kind = PlaylistEventKind::dictionary_end});
        }
        if (itunes_line_holds(scanner.line, "<key>")) { // not so most lines of a playlist's items
            read_line(&state, scanner.line);
        }
    }
    close_output(state.output);
}

bool itunes_playlist_name_is_reserved(const char* name) {
    return name != nullptr && std::ranges::find(skipped_names, name) != std::end(skipped_names);
}
