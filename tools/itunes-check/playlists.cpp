#include "tools/itunes-check/playlists.h"

#include <algorithm>
#include <cstring>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/import_commit.h"
#include "itunes/import_run.h"
#include "itunes/playlist_file.h"

namespace {

constexpr const char* outcome_words[] = {"file",       "replaced",      "smart",
                                         "built-in",   "reserved-name", "nothing-to-play",
                                         "not-listed", "not-writable",  "not-moved"};
static_assert(sizeof outcome_words / sizeof *outcome_words == static_cast<size_t>(CheckedOutcome::count));

/// The type in the path "...##V.wpl"; a name so long that its type was cut off does not depend on it.
char type_in(const char* path) {
    const size_t length = strlen(path);
    return length == 0 ? '\0' : length > 7 && strncmp(path + length - 7, "##V", 3) == 0 ? 'V' : 'M';
}

/// A playlist whose file was written, with what its file name hashes to.
struct WrittenFile {
    uint64_t name_hash;
    uint32_t number; // its place in the list
    CheckedPlaylist* playlist;
};

uint64_t hash_text(const char* text) {
    uint64_t hash = 0xCBF29CE484222325U;
    for (; *text != '\0'; ++text) {
        hash = (hash ^ static_cast<unsigned char>(*text)) * 0x100000001B3U;
    }
    return hash;
}

/// Marks every playlist whose file name a later one has too: that one unlinked the file and made it anew.
void mark_replaced(CheckedPlaylists* playlists) {
    auto* files = static_cast<WrittenFile*>(upnp_calloc(playlists->count, sizeof(WrittenFile)));
    if (files == nullptr) {
        playlists->is_short = true;
        return;
    }
    uint32_t count = 0;
    for (CheckedPlaylist* each = playlists->first; each != nullptr; each = each->next) {
        if (each->outcome == CheckedOutcome::file) {
            char name[import_path_size];
            checked_playlist_file_name(each, name);
            files[count] = {hash_text(name), count, each};
            ++count;
        }
    }
    std::sort(files, files + count, [](const WrittenFile& one, const WrittenFile& other) {
        return one.name_hash != other.name_hash ? one.name_hash < other.name_hash : one.number < other.number;
    });
    for (uint32_t index = 0; index + 1 < count; ++index) {
        if (files[index].name_hash == files[index + 1].name_hash) {
            files[index].playlist->outcome = CheckedOutcome::replaced;
        }
    }
    upnp_free(files);
}

bool stays_in_workspace(const char* name) {
    char source[import_path_size];
    import_move_source(source, sizeof source, name);
    return strcmp(source, name) != 0;
}

/// Adds the playlist that has ended.
void add_current(CheckedPlaylists* playlists) {
    const CurrentPlaylist& current = playlists->current;
    if (!current.is_begun) {
        return;
    }
    const auto title_size = static_cast<uint32_t>(strlen(current.title) + 1);
    auto* playlist = static_cast<CheckedPlaylist*>(upnp_malloc(sizeof(CheckedPlaylist) + title_size));
    if (playlist == nullptr) {
        playlists->is_short = true;
        return;
    }
    auto* title = reinterpret_cast<char*>(playlist + 1);
    memcpy(title, current.title, title_size);
    *playlist = {nullptr,      current.items, current.entries, current.outcome, WplSign::none,
                 current.type, title};
    if (playlists->link == nullptr) {
        playlists->link = &playlists->first;
    }
    *playlists->link = playlist;
    playlists->link = &playlist->next;
    ++playlists->count;
}

void begin_playlist(CheckedPlaylists* playlists, const char* name) {
    add_current(playlists);
    playlists->current = {};
    playlists->current.is_begun = true;
    playlists->current.outcome = CheckedOutcome::nothing_to_play;
    upnp_copy_text(playlists->current.title, import_path_size, name);
}

/// Notes why a playlist is not exported: the first key says it, a name only where no key does. After an item,
/// whose dictionary ends as well, nothing is excluded.
void exclude(CurrentPlaylist* current, CheckedOutcome outcome) {
    const bool is_undecided = current->outcome == CheckedOutcome::reserved_name ||
                              current->outcome == CheckedOutcome::nothing_to_play;
    if (is_undecided && current->items == 0 && !current->is_over) {
        current->outcome = outcome;
    }
}

void note_file(CurrentPlaylist* current, const PlaylistEvent* event, CheckedOutcome outcome) {
    char path[import_path_size];
    itunes_playlist_file_path(path, import_run.temp_dir, event->type, event->title);
    current->outcome = outcome;
    current->type = type_in(path);
    upnp_copy_text(current->title, import_path_size, event->title);
}

} // namespace

const char* checked_outcome_word(CheckedOutcome outcome) {
    return outcome_words[static_cast<size_t>(outcome)];
}

void checked_playlists_hear(CheckedPlaylists* playlists, const PlaylistEvent* event) {
    CurrentPlaylist* current = &playlists->current;
    switch (event->kind) {
    case PlaylistEventKind::named: begin_playlist(playlists, event->title); break;
    case PlaylistEventKind::reserved_name: current->outcome = CheckedOutcome::reserved_name; break;
    case PlaylistEventKind::built_in: exclude(current, CheckedOutcome::built_in); break;
    case PlaylistEventKind::smart: exclude(current, CheckedOutcome::smart); break;
    case PlaylistEventKind::item: ++current->items; break;
    case PlaylistEventKind::file_begun: note_file(current, event, CheckedOutcome::file); break;
    case PlaylistEventKind::not_listed: current->outcome = CheckedOutcome::not_listed; break;
    case PlaylistEventKind::not_writable: note_file(current, event, CheckedOutcome::not_writable); break;
    case PlaylistEventKind::entry: ++current->entries; break;
    case PlaylistEventKind::dictionary_end: current->is_over = true; break;
    }
}

void checked_playlists_settle(CheckedPlaylists* playlists, const char* directory) {
    add_current(playlists);
    playlists->current = {};
    if (playlists->count > 0) {
        mark_replaced(playlists);
    }
    for (CheckedPlaylist* each = playlists->first; each != nullptr; each = each->next) {
        if (each->outcome != CheckedOutcome::file) {
            continue;
        }
        char name[import_path_size];
        char path[2 * import_path_size];
        checked_playlist_file_name(each, name);
        upnp_format(path, sizeof path, "%s/%s", directory, name);
        each->sign = wpl_find_sign(path);
        if (stays_in_workspace(name)) {
            each->outcome = CheckedOutcome::not_moved;
        }
    }
}

void checked_playlist_file_name(const CheckedPlaylist* playlist, char* name) {
    const char type[] = {playlist->type, '\0'};
    char path[import_path_size];
    itunes_playlist_file_path(path, "", type, playlist->title);
    upnp_copy_text(name, import_path_size, path + 1); // without the '/' behind no directory
}
