#include "tools/itunes-check/meaning.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>

#include "server/common/upnp_database.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"
#include "tools/shared/library_keys.h"

namespace {

constexpr size_t path_limit = 4096; // bytes of a title, of which the import takes fewer

/// Where the title is among the import's rows, as in `texts_`.
size_t title_row() {
    const std::span<const LibraryKey> rows = itunes_track_keys();
    return static_cast<size_t>(std::ranges::find(rows, upnp_property_title, &LibraryKey::property) -
                               rows.begin());
}

} // namespace

LibraryMeaning::LibraryMeaning(const std::string& path, const std::vector<HeardTrack>& heard,
                               const std::string& items_path)
    : heard_(heard), items_file_(open(items_path.c_str(), O_RDONLY | O_CLOEXEC)),
      items_(items_file_.number()) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    result_ = read_library(file.number(), this);
    if (heard_count_ != heard.size()) {
        unheard_tracks_ = other_titles_ = other_texts_ = {};
    }
    for (size_t index = 0; index < playlists_.size(); ++index) {
        const MeantPlaylist& playlist = playlists_[index];
        if (playlist.is_folder || (!playlist.is_hidden && !playlist.is_smart)) {
            folders_[playlist.persistent_id] = index;
        }
    }
}

std::string LibraryMeaning::damage() const {
    switch (result_.state) {
    case PropertyListState::whole:
    case PropertyListState::stopped: break;
    case PropertyListState::unreadable: return strerror(result_.error);
    case PropertyListState::damaged:
        return "line " + std::to_string(result_.line) + ", column " + std::to_string(result_.column) + ": " +
               result_.reason;
    }
    return {};
}

std::string LibraryMeaning::full_title(const MeantPlaylist& playlist) const {
    std::string title = playlist.name;
    std::vector<const MeantPlaylist*> way = {&playlist}; // ends where it would go in a circle
    while (!way.back()->parent_id.empty()) {
        const auto folder = folders_.find(way.back()->parent_id);
        if (folder == folders_.end() || std::ranges::find(way, &playlists_[folder->second]) != way.end() ||
            title.size() > path_limit) {
            break;
        }
        way.push_back(&playlists_[folder->second]);
        title.insert(0, way.back()->name + "/");
    }
    return title;
}

std::vector<int32_t> LibraryMeaning::doubled_ids() const {
    std::vector<int32_t> ids = track_ids_;
    std::vector<int32_t> doubled;
    std::ranges::sort(ids);
    for (auto at = std::ranges::adjacent_find(ids); at != ids.end(); at = std::adjacent_find(at, ids.end())) {
        doubled.push_back(*at);
        at = std::find_if(at, ids.end(), [&](int32_t id) { return id != doubled.back(); });
    }
    return doubled;
}

void LibraryMeaning::begin_track(std::string_view /*key*/) {
    track_id_ = 0;
    texts_.resize(itunes_track_keys().size());
    std::ranges::for_each(texts_, [](std::string& text) { text.clear(); });
    has_location_ = false;
    is_protected_ = false;
}

void LibraryMeaning::track_value(std::string_view key, PlistElement element, std::string_view text) {
    const LibraryKey* row = track_key_row(key, element);
    if (key == "Track ID" && element == PlistElement::integer) {
        track_id_ = library_track_id(text).value_or(0);
    } else if (row != nullptr) {
        has_location_ = has_location_ || key == "Location";
        is_protected_ = is_protected_ || key == "Protected";
        if (row->property != 0 && element == PlistElement::string) {
            texts_[static_cast<size_t>(row - itunes_track_keys().data())] = text;
        }
    }
}

void LibraryMeaning::end_track() {
    track_ids_.push_back(track_id_);
    if (!is_protected_) {
        playable_.add(track_id_, has_location_);
    }
    const int32_t heard_id =
        heard_count_ == heard_.size() ? 0 : heard_[heard_count_].id; // 0 where it was lost
    if (heard_count_ == heard_.size() || (heard_id != 0 && heard_id != track_id_)) {
        const std::string& title = texts_[title_row()];
        unheard_tracks_.add(title.empty() ? std::to_string(track_id_) : title);
    } else if (heard_[heard_count_++].has_record) {
        compare_record();
    }
}

/// Compares the texts of a track with those of its record. What the record lacks is lost with its line.
void LibraryMeaning::compare_record() {
    const ItemsRecord record = items_.next();
    MediaObject* object =
        upnp_database_object_create_from_data(record.data.data(), static_cast<uint32_t>(record.data.size()));
    for (size_t index = 0; index < texts_.size(); ++index) {
        const LibraryKey& row = itunes_track_keys()[index];
        const char* text =
            texts_[index].empty() ? nullptr : upnp_database_object_get_property(object, row.property);
        if (text != nullptr && texts_[index] != text) {
            const bool is_title = row.property == upnp_property_title;
            (is_title ? other_titles_ : other_texts_)
                .add((is_title ? "" : std::string(row.name) + ": ") + texts_[index]);
        }
    }
    upnp_database_object_free(object);
}

void LibraryMeaning::end_tracks() {
    playable_.settle();
}

void LibraryMeaning::begin_playlist() {
    playlists_.emplace_back();
}

void LibraryMeaning::playlist_value(std::string_view key, PlistElement element, std::string_view text) {
    MeantPlaylist& playlist = playlists_.back();
    if (key == "Master" && element == PlistElement::boolean_true) {
        playlist.is_main = true;
    }
    if (playlist_key_row(key, element) == nullptr) {
        return;
    }
    if (key == "Name") {
        playlist.name = text;
        playlist.has_name = true;
    } else if (key == "Playlist Persistent ID") {
        playlist.persistent_id = text;
    } else if (key == "Parent Persistent ID") {
        playlist.parent_id = text;
    } else if (key == "Distinguished Kind") {
        playlist.is_built_in = true;
    } else if (key == "Smart Info") {
        playlist.is_smart = true;
    } else if (key == "Folder") {
        playlist.is_folder = true;
    } else if (key == "Visible" || key == "Podcasts") {
        playlist.is_hidden = true;
    }
}

void LibraryMeaning::playlist_item(int32_t track_id) {
    playlists_.back().entries += playable_.contains(track_id) ? 1 : 0;
}

void LibraryMeaning::end_playlist() {
    if (!playlists_.back().has_name) {
        playlists_.pop_back();
    }
}
