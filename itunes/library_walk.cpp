#include "itunes/library_walk.h"

#include <cstdint>
#include <sched.h>

#include "common/upnp_memory.h"
#include "itunes/folder_list.h"
#include "itunes/import_observer.h"
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

/// Invisible, smart and podcast playlists stay out of the list where the key comes before their items.
bool keeps_out_of_list(const char* line) {
    return itunes_line_holds(line, "<key>Visible</key><false/>") ||
           itunes_line_holds(line, "<key>Smart Info</key>") ||
           itunes_line_holds(line, "<key>Podcasts</key><true/>");
}

/// Takes what a line tells of a playlist or folder; of several keys on the line the first one here wins.
void scan_folder_line(FolderScan* scan, char* line) {
    if (!itunes_line_holds(line, "<key>")) {
        return; // most lines of a playlist's items
    }
    const bool has_id = scan->persistent_id != nullptr || scan->parent_persistent_id != nullptr;
    if (keeps_out_of_list(line)) {
        discard_texts(scan);
    } else if (itunes_line_holds(line, "<key>Name</key>")) {
        replace_text(&scan->name, line);
    } else if (itunes_line_holds(line, "<key>Playlist ID</key>")) {
        scan->playlist_id = itunes_get_integer_value(line, "integer");
    } else if (itunes_line_holds(line, "<key>Playlist Persistent ID</key>")) {
        replace_text(&scan->persistent_id, line);
    } else if (itunes_line_holds(line, "<key>Parent Persistent ID</key>")) {
        replace_text(&scan->parent_persistent_id, line);
    } else if (itunes_line_holds(line, "<key>Folder</key><true/>")) {
        list_folder(scan, scan->name != nullptr || has_id);
    } else if (itunes_line_holds(line, "<key>Playlist Items</key>")) {
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
