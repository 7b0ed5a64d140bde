#include "tools/itunes-check/playlists.h"

#include <cstring>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "itunes/import_commit.h"
#include "itunes/import_run.h"
#include "itunes/playlist_file.h"

namespace {

bool stays_in_workspace(const std::string& name) {
    char source[import_path_size];
    import_move_source(source, sizeof source, name.c_str());
    return name != source;
}

/// Marks every playlist whose file name a later one has too: that one unlinked the file and made it anew.
void mark_replaced(std::vector<CheckedPlaylist>* playlists) {
    std::unordered_map<std::string_view, CheckedPlaylist*> last_of_name;
    for (CheckedPlaylist& each : *playlists) {
        if (each.outcome != CheckedOutcome::file) {
            continue;
        }
        CheckedPlaylist*& last = last_of_name[each.file_name];
        if (last != nullptr) {
            last->outcome = CheckedOutcome::replaced;
        }
        last = &each;
    }
}

} // namespace

const char* checked_outcome_word(CheckedOutcome outcome) {
    switch (outcome) {
    case CheckedOutcome::file: return "file";
    case CheckedOutcome::replaced: return "replaced";
    case CheckedOutcome::smart: return "smart";
    case CheckedOutcome::built_in: return "built-in";
    case CheckedOutcome::reserved_name: return "reserved-name";
    case CheckedOutcome::nothing_to_play: return "nothing-to-play";
    case CheckedOutcome::not_listed: return "not-listed";
    case CheckedOutcome::not_writable: return "not-writable";
    case CheckedOutcome::not_moved: return "not-moved";
    }
    return "";
}

std::string playlist_file_name(const std::string& title, const std::string& type) {
    char path[import_path_size];
    itunes_playlist_file_path(path, "", type.c_str(), title.c_str());
    return path + 1; // without the '/' behind no directory
}

void PlaylistListener::add_event(const PlaylistEvent& event) {
    if (event.kind == PlaylistEventKind::named) {
        playlists_.emplace_back().title = event.title;
        dictionary_is_over_ = false;
        return;
    }
    if (playlists_.empty()) {
        return; // keys in front of the first name
    }
    CheckedPlaylist& playlist = playlists_.back();
    switch (event.kind) {
    case PlaylistEventKind::named: break;
    case PlaylistEventKind::reserved_name: playlist.outcome = CheckedOutcome::reserved_name; break;
    case PlaylistEventKind::built_in: exclude(CheckedOutcome::built_in); break;
    case PlaylistEventKind::smart: exclude(CheckedOutcome::smart); break;
    case PlaylistEventKind::item: ++playlist.items; break;
    case PlaylistEventKind::file_begun: begin_file(event); break;
    case PlaylistEventKind::not_listed: playlist.outcome = CheckedOutcome::not_listed; break;
    case PlaylistEventKind::not_writable:
        playlist.outcome = CheckedOutcome::not_writable;
        playlist.title = event.title;
        break;
    case PlaylistEventKind::entry:
        ++playlist.entries;
        if (finds_signs_ && playlist.sign == WplSign::none) {
            playlist.sign = wpl_path_sign(event.location);
        }
        break;
    case PlaylistEventKind::dictionary_end: dictionary_is_over_ = true; break;
    }
}

/// Notes why a playlist gets no file: the first key says it, a name only where no key does, and behind the
/// first item or the end of the dictionary nothing says it any more.
void PlaylistListener::exclude(CheckedOutcome outcome) {
    CheckedPlaylist& playlist = playlists_.back();
    const bool is_undecided = playlist.outcome == CheckedOutcome::reserved_name ||
                              playlist.outcome == CheckedOutcome::nothing_to_play;
    if (is_undecided && playlist.items == 0 && !dictionary_is_over_) {
        playlist.outcome = outcome;
    }
}

void PlaylistListener::begin_file(const PlaylistEvent& event) {
    CheckedPlaylist& playlist = playlists_.back();
    playlist.outcome = CheckedOutcome::file;
    playlist.title = event.title;
    playlist.type = event.type;
    playlist.file_name = playlist_file_name(playlist.title, playlist.type);
    if (finds_signs_) {
        const WplSign sign = wpl_path_sign(import_run.library_path); // stands in front of the title
        playlist.sign = sign != WplSign::none ? sign : wpl_title_sign(event.title);
    }
}

std::vector<CheckedPlaylist> PlaylistListener::finish(const std::string& directory) {
    mark_replaced(&playlists_);
    for (CheckedPlaylist& each : playlists_) {
        find_sign(&each, directory);
        if (each.outcome == CheckedOutcome::file && stays_in_workspace(each.file_name)) {
            each.outcome = CheckedOutcome::not_moved;
        }
    }
    return std::move(playlists_);
}

/// Asks a parser whether the file is well-formed; the sign found in the values only says why it is not.
void PlaylistListener::find_sign(CheckedPlaylist* playlist, const std::string& directory) const {
    const bool is_sought = finds_signs_ && playlist->outcome == CheckedOutcome::file;
    if (!is_sought || wpl_is_well_formed(directory + "/" + playlist->file_name)) {
        playlist->sign = WplSign::none;
    } else if (playlist->sign == WplSign::none) {
        playlist->sign = WplSign::cut_short;
    }
}
