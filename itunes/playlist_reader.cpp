#include "itunes/playlist_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/folder_list.h"
#include "itunes/import_run.h"
#include "itunes/playlist_file.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_list.h"
#include "server/common/upnp_wpl.h"

namespace {

constexpr uint32_t text_size = 1024; // a name, a folder path or a persistent id

constexpr char music_type[] = "M";
constexpr char video_type[] = "V";

/// The name given to playlists that are not to be exported.
constexpr char skipped_name[] = "smartplaylist";
/// Playlists of these names are never exported, whoever made them.
constexpr std::string_view skipped_names[] = {skipped_name, "Library", "Recently Added", "Music", "Podcasts"};
constexpr std::string_view video_extensions[] = {".mov", ".mp4", ".m4v"};

enum PlaylistKeyRow : uint32_t {
    row_name,
    row_persistent_id,
    row_videos,
    row_distinguished_kind,
    row_smart_info,
    row_track_id,
};

struct PlaylistKey {
    std::string_view literal;
};

constexpr PlaylistKey playlist_keys[] = {
    {"<key>Name</key>"},                   // row_name
    {"<key>Playlist Persistent ID</key>"}, // row_persistent_id
    {"<key>Videos</key><true/>"},          // row_videos
    {"<key>Distinguished Kind</key>"},     // row_distinguished_kind
    {"<key>Smart Info</key>"},             // row_smart_info
    {"<key>Track ID</key>"},               // row_track_id
};
static_assert(itunes_key_table_is_sound(playlist_keys));
static_assert(sizeof playlist_keys / sizeof playlist_keys[0] == row_track_id + 1);

struct PlaylistState {
    char name[text_size];          // the playlist's name; its folder path once a file has been asked for
    char persistent_id[text_size]; // the playlist's, or the last one that a folder walk reached
    const char* type;              // goes back to music with every attempt to open a file, not before
    bool pending;                  // the next playable track begins a new file
    UpnpFile* output;              // the file being written, or null
};

bool holds(uint32_t keys, PlaylistKeyRow row) {
    return (keys >> row & 1) != 0;
}

/// Copies the line's string into a buffer of the state, which keeps its text where there is none.
void read_text(char* buffer, char* line) {
    char* value = itunes_get_value(line, "string");
    if (value != nullptr) {
        upnp_copy_text(buffer, text_size, value);
        upnp_free(value);
    }
}

bool is_skipped(const PlaylistState* state) {
    return std::ranges::find(skipped_names, state->name) != std::end(skipped_names);
}

bool is_video_file(const char* path) {
    const char* extension = strrchr(path, '.');
    return extension != nullptr &&
           std::ranges::find(video_extensions, extension) != std::end(video_extensions);
}

void put_folder_in_front(PlaylistState* state, const char* folder_name) {
    char path[text_size];
    if (state->name[0] == '\0') {
        upnp_copy_text(path, sizeof path, folder_name);
    } else {
        upnp_format(path, sizeof path, "%s/%s", folder_name, state->name);
    }
    upnp_copy_text(state->name, sizeof state->name, path);
}

/// Makes the state's name the folder path: the names of the folders from the outermost one down to the
/// playlist's own, joined by '/'. Empty where the folder list does not know the playlist. An entry that comes
/// round again in a circle of parents ends the path.
void build_folder_path(PlaylistState* state) {
    const uint32_t path_number = itunes_folder_list_new_path();
    state->name[0] = '\0';
    PlaylistFolder* folder = itunes_folder_list_find(state->persistent_id);
    while (folder != nullptr && folder->used_in_path != path_number) {
        folder->used_in_path = path_number;
        if (folder->name != nullptr) {
            put_folder_in_front(state, folder->name);
        }
        const char* parent = folder->parent_persistent_id;
        if (parent == nullptr || strcmp(parent, state->persistent_id) == 0) {
            break;
        }
        upnp_copy_text(state->persistent_id, sizeof state->persistent_id, parent);
        folder = itunes_folder_list_find(state->persistent_id);
    }
}

void close_output(PlaylistState* state) {
    if (state->output != nullptr) {
        (void)upnp_wpl_write_footer(state->output); // a failed write is logged by the file layer
        upnp_file_close(state->output);
        state->output = nullptr;
    }
}

/// Begins the file of the current playlist, whose first playable track is at `path`.
void open_output(PlaylistState* state, const char* path) {
    if (is_video_file(path)) {
        state->type = video_type;
    }
    build_folder_path(state);
    close_output(state);
    state->output = itunes_playlist_file_open(import_run.temp_dir, 0, state->type, state->name, 0);
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
    state->pending = false;
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
        const uint32_t keys = itunes_keys_in_line(scanner.line, playlist_keys);
        if (holds(keys, row_name)) {
            state.pending = true;
            read_text(state.name, scanner.line);
        } else if (holds(keys, row_persistent_id)) {
            read_text(state.persistent_id, scanner.line);
        } else if (holds(keys, row_videos)) {
            state.type = video_type;
        } else {
            if (holds(keys, row_distinguished_kind) || holds(keys, row_smart_info)) {
                upnp_copy_text(state.name, sizeof state.name, skipped_name);
            }
            if (holds(keys, row_track_id) && !is_skipped(&state)) {
                add_item(&state, scanner.line);
            }
        }
    }
    close_output(&state);
}
