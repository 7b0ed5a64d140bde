#include "tools/itunes-prepare/playlist_writer.h"

#include <algorithm>

#include "common/upnp_text.h"
#include "itunes/playlist_reader.h"
#include "tools/shared/library_keys.h"
#include "tools/shared/library_reader.h"
#include "tools/shared/utf8.h"

namespace {

constexpr size_t id_limit = 127;        // characters of an id that is kept
constexpr size_t shown_name_limit = 60; // characters of a name in the report

} // namespace

void PlaylistMaker::begin() {
    report_->count_playlist();
    values_.clear();
    playlist_.items.clear();
}

void PlaylistMaker::add(std::string_view key, PlistElement element, std::string_view text) {
    const LibraryKey* row = playlist_key_row(key, element);
    if (row != nullptr) {
        values_[row->name] = {element, std::string(text)};
    }
}

std::string_view PlaylistMaker::value(std::string_view key) const {
    const auto place = values_.find(key);
    return place == values_.end() ? std::string_view() : place->second.text;
}

void PlaylistMaker::add_string(std::string_view key, std::string_view text) {
    if (make_string_line(&line_, key, {as_references(text)}, text) == LineReading::too_long) {
        report_->count(PrepareReport::too_long,
                       std::string(key) + " of playlist " +
                           std::string(utf8_first_characters(value("Name"), shown_name_limit)));
    }
    playlist_.head += line_;
}

void PlaylistMaker::add_number(std::string_view key) {
    std::string number;
    if (!library_integer(value(key), &number)) {
        number = "0";
    }
    (void)make_integer_line(&line_, key, number); // the import reads no more than that it is there
    playlist_.head += line_;
}

/// Adds the line of a flag, if the playlist has it.
void PlaylistMaker::add_flag(std::string_view key) {
    const auto place = values_.find(key);
    if (place != values_.end()) {
        make_flag_line(&line_, key, place->second.element == PlistElement::boolean_false ? "false" : "true");
        playlist_.head += line_;
    }
}

/// The persistent id to write: the playlist's own where it has one that no other has. Without one the import
/// would take that of the playlist before it.
std::string PlaylistMaker::new_id() {
    std::string id(value("Playlist Persistent ID"));
    if (id.empty() || ids_.contains(id) || utf8_first_characters(id, id_limit).size() < id.size()) {
        id = "itunes-prepare-" + std::to_string(report_->playlists());
        while (ids_.contains(id)) {
            id += '\'';
        }
    }
    ids_.insert(id);
    return id;
}

const PreparedPlaylist& PlaylistMaker::end() {
    const std::string name(value("Name"));
    const bool is_hidden = has("Visible") || has("Podcasts");
    const bool gets_no_file =
        has("Distinguished Kind") || has("Smart Info") || itunes_playlist_name_is_reserved(name.c_str());
    playlist_.head = "\t\t<dict>\n";
    add_string("Name", name);
    add_number("Playlist ID");
    add_string("Playlist Persistent ID", new_id());
    // A nameless one would be titled as its folder is.
    if (!name.empty() && !value("Parent Persistent ID").empty()) {
        add_string("Parent Persistent ID", value("Parent Persistent ID"));
    }
    // The folder first: what hides or skips the playlist itself keeps no folder out of titles.
    add_flag("Folder");
    if (has("Folder") && is_hidden) {
        playlist_.items.clear();
    }
    add_flag("Visible");
    if (has("Distinguished Kind")) {
        add_number("Distinguished Kind");
    }
    add_flag("Podcasts");
    playlist_.wants_videos = has("Videos") && !gets_no_file;
    playlist_.tail = has("Smart Info") ? "\t\t\t<key>Smart Info</key><data></data>\n" : "";
    return playlist_;
}

void write_playlist(BufferedWriter* output, const PreparedPlaylist& playlist,
                    const PlayableTracks& playable) {
    output->write(playlist.head);
    // Where nothing begins a file, the import would make the next playlist a list of videos.
    if (playlist.wants_videos &&
        std::ranges::any_of(playlist.items, [&playable](int32_t id) { return playable.contains(id); })) {
        output->write("\t\t\t<key>Videos</key><true/>\n");
    }
    output->write(playlist.tail);
    output->write("\t\t\t<key>Playlist Items</key>\n\t\t\t<array>\n");
    for (const int32_t track_id : playlist.items) {
        char number[12];
        upnp_format_number(number, sizeof number, track_id);
        output->write("\t\t\t\t<dict><key>Track ID</key><integer>");
        output->write(number);
        output->write("</integer></dict>\n");
    }
    output->write("\t\t\t</array>\n\t\t</dict>\n");
}
