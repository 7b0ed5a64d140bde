#include "itunes/library_walk.h"

#include <cstdint>
#include <cstring>
#include <sched.h>
#include <string_view>

#include "common/upnp_memory.h"
#include "itunes/folder_list.h"
#include "itunes/playlist_reader.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_list.h"
#include "itunes/track_reader.h"

namespace {

constexpr char playlists_key[] = "<key>Playlists</key>";

/// What the pre-scan has gathered of one playlist or folder.
struct FolderScan {
    char* name; // owned, as the other texts; null for none
    char* persistent_id;
    char* parent_persistent_id;
    int32_t playlist_id;
};

enum class FolderKeyKind : uint8_t {
    not_listed, // invisible, smart and podcast playlists
    name,
    playlist_id,
    persistent_id,
    parent_persistent_id,
    folder,
    items,
};

struct FolderKey {
    std::string_view literal;
    FolderKeyKind kind;
};

// The first row that a line holds wins.
constexpr FolderKey folder_keys[] = {
    {"<key>Visible</key><false/>", FolderKeyKind::not_listed},
    {"<key>Smart Info</key>", FolderKeyKind::not_listed},
    {"<key>Podcasts</key><true/>", FolderKeyKind::not_listed},
    {"<key>Name</key>", FolderKeyKind::name},
    {"<key>Playlist ID</key>", FolderKeyKind::playlist_id},
    {"<key>Playlist Persistent ID</key>", FolderKeyKind::persistent_id},
    {"<key>Parent Persistent ID</key>", FolderKeyKind::parent_persistent_id},
    {"<key>Folder</key><true/>", FolderKeyKind::folder},
    {"<key>Playlist Items</key>", FolderKeyKind::items},
};
static_assert(itunes_key_table_is_sound(folder_keys));

/// Replaces a gathered text by the line's string; a key without a value leaves none.
void replace_text(char** text, char* line) {
    upnp_free_unless_null(*text);
    *text = itunes_get_value(line, "string");
}

/// Forgets the gathered texts. The playlist id stays, as does everything at the end of a dictionary: a
/// playlist without items leaves its texts to the next one.
void discard_texts(FolderScan* scan) {
    upnp_free_unless_null(scan->name);
    upnp_free_unless_null(scan->persistent_id);
    upnp_free_unless_null(scan->parent_persistent_id);
    scan->name = nullptr;
    scan->persistent_id = nullptr;
    scan->parent_persistent_id = nullptr;
}

void list_folder(FolderScan* scan, bool is_wanted) {
    if (is_wanted) {
        itunes_folder_list_add(scan->playlist_id, scan->name, scan->persistent_id,
                               scan->parent_persistent_id);
    }
    discard_texts(scan);
}

void scan_folder_line(FolderScan* scan, char* line) {
    const uint32_t keys = itunes_keys_in_line(line, folder_keys);
    if (keys == 0) {
        return;
    }
    const bool has_id = scan->persistent_id != nullptr || scan->parent_persistent_id != nullptr;
    switch (folder_keys[itunes_first_key(keys)].kind) {
    case FolderKeyKind::not_listed: discard_texts(scan); break;
    case FolderKeyKind::name: replace_text(&scan->name, line); break;
    case FolderKeyKind::playlist_id: scan->playlist_id = itunes_get_integer_value(line, "integer"); break;
    case FolderKeyKind::persistent_id: replace_text(&scan->persistent_id, line); break;
    case FolderKeyKind::parent_persistent_id: replace_text(&scan->parent_persistent_id, line); break;
    case FolderKeyKind::folder: list_folder(scan, scan->name != nullptr || has_id); break;
    case FolderKeyKind::items: list_folder(scan, scan->name != nullptr && has_id); break;
    }
}

/// The first pass: fills the folder list from the Playlists section.
void scan_folders(UpnpFile* library) {
    FolderScan scan = {};
    bool in_playlists = false;
    PlistScanner scanner = {library, 0, {}};
    while (itunes_next_line(&scanner)) {
        (void)sched_yield(); // an import in the background leaves the processor to the server
        if (strstr(scanner.line, playlists_key) != nullptr) {
            in_playlists = true;
        } else if (in_playlists) {
            scan_folder_line(&scan, scanner.line);
        }
    }
    discard_texts(&scan);
}

/// The second pass: imports each track, then the playlists. It ends at the Playlists line, since the items of
/// playlists hold track ids too.
void read_tracks_and_playlists(UpnpFile* library, UpnpFile* items) {
    PlistScanner scanner = {library, 0, {}};
    while (itunes_next_line(&scanner)) {
        if (strstr(scanner.line, "<key>Track ID</key>") != nullptr) {
            itunes_read_track(itunes_get_integer_value(scanner.line, "integer"), library, items);
        } else if (strstr(scanner.line, playlists_key) != nullptr) {
            itunes_playlist_export(library);
            return;
        }
    }
}

} // namespace

void itunes_read_library(const char* library_path, UpnpFile* items) {
    if (library_path == nullptr || library_path[0] == '\0') {
        return;
    }
    UpnpFile* library = itunes_open_library(library_path);
    if (library == nullptr) {
        return;
    }
    itunes_track_list_free();
    scan_folders(library);
    upnp_file_close(library);
    library = itunes_open_library(library_path); // null reads as a library at its end
    read_tracks_and_playlists(library, items);
    upnp_file_close(library);
    itunes_track_list_free();
    itunes_folder_list_free();
}
