#include "itunes/library_walk.h"

#include <cstdint>
#include <sched.h>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/folder_list.h"
#include "itunes/import_observer.h"
#include "itunes/library_values.h"
#include "itunes/playlist_key.h"
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

/// Replaces a gathered text by a line's value; a key without one leaves none.
void replace_text(char** text, const char* value) {
    upnp_free_unless_null(*text);
    *text = upnp_strdup(value);
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

/// Invisible, smart and podcast playlists stay out of the list where the key comes before their items.
bool keeps_out_of_list(const char* line) {
    return itunes_line_holds_key(line, PlaylistKey::invisible) ||
           itunes_line_holds_key(line, PlaylistKey::smart_info) ||
           itunes_line_holds_key(line, PlaylistKey::podcasts);
}

/// Takes what a line tells of a playlist or folder; of several keys on the line the first one here wins.
void scan_folder_line(FolderScan* scan, char* line) {
    if (!itunes_line_holds(line, "<key>")) {
        return; // most lines of a playlist's items
    }
    const bool has_id = scan->persistent_id != nullptr || scan->parent_persistent_id != nullptr;
    if (keeps_out_of_list(line)) {
        discard_texts(scan);
    } else if (itunes_line_holds_key(line, PlaylistKey::name)) {
        replace_text(&scan->name, itunes_playlist_value(line, PlaylistKey::name));
    } else if (itunes_line_holds_key(line, PlaylistKey::playlist_id)) {
        scan->playlist_id = upnp_parse_int32(itunes_playlist_value(line, PlaylistKey::playlist_id));
    } else if (itunes_line_holds_key(line, PlaylistKey::persistent_id)) {
        replace_text(&scan->persistent_id, itunes_playlist_value(line, PlaylistKey::persistent_id));
    } else if (itunes_line_holds_key(line, PlaylistKey::parent_persistent_id)) {
        replace_text(&scan->parent_persistent_id,
                     itunes_playlist_value(line, PlaylistKey::parent_persistent_id));
    } else if (itunes_line_holds_key(line, PlaylistKey::folder)) {
        list_folder(scan, scan->name != nullptr || has_id);
    } else if (itunes_line_holds_key(line, PlaylistKey::items)) {
        list_folder(scan, scan->name != nullptr && has_id);
    }
}

/// The first pass: fills the folder list from the Playlists section.
void scan_folders(UpnpFile* library) {
    FolderScan scan = {};
    bool in_playlists = false;
    PlistScanner scanner = {library, 0, {}};
    while (itunes_next_line(&scanner)) {
        (void)sched_yield(); // an import in the background leaves the processor to the server
        if (import_observer != nullptr && import_observer->on_line != nullptr) {
            import_observer->on_line(import_observer->context, scanner.line);
        }
        if (itunes_line_holds(scanner.line, playlists_key)) {
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
        if (itunes_line_holds(scanner.line, "<key>Track ID</key>")) {
            itunes_read_track(itunes_get_integer_value(scanner.line, "integer"), library, items);
        } else if (itunes_line_holds(scanner.line, playlists_key)) {
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
