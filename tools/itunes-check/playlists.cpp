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

CheckedOutcome checked_outcome(PlaylistOutcome outcome) {
    switch (outcome) {
    case PlaylistOutcome::file: break;
    case PlaylistOutcome::smart: return CheckedOutcome::smart;
    case PlaylistOutcome::built_in: return CheckedOutcome::built_in;
    case PlaylistOutcome::reserved_name: return CheckedOutcome::reserved_name;
    case PlaylistOutcome::nothing_to_play: return CheckedOutcome::nothing_to_play;
    case PlaylistOutcome::not_listed: return CheckedOutcome::not_listed;
    case PlaylistOutcome::not_writable: return CheckedOutcome::not_writable;
    }
    return CheckedOutcome::file;
}

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

} // namespace

const char* checked_outcome_word(CheckedOutcome outcome) {
    return outcome_words[static_cast<size_t>(outcome)];
}

void checked_playlists_add(CheckedPlaylists* playlists, const PlaylistReport* report) {
    const auto title_size = static_cast<uint32_t>(strlen(report->title) + 1);
    const auto size = static_cast<uint32_t>(sizeof(CheckedPlaylist)) + title_size;
    auto* playlist = static_cast<CheckedPlaylist*>(upnp_malloc(size));
    if (playlist == nullptr) {
        playlists->is_short = true;
        return;
    }
    playlist->next = nullptr;
    playlist->items = report->items;
    playlist->entries = report->entries;
    playlist->outcome = checked_outcome(report->outcome);
    playlist->sign = WplSign::none;
    playlist->type = type_in(report->file_path);
    auto* title = reinterpret_cast<char*>(playlist + 1);
    memcpy(title, report->title, title_size);
    playlist->title = title;
    if (playlists->link == nullptr) {
        playlists->link = &playlists->first;
    }
    *playlists->link = playlist;
    playlists->link = &playlist->next;
    ++playlists->count;
}

void checked_playlists_settle(CheckedPlaylists* playlists, const char* directory) {
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
