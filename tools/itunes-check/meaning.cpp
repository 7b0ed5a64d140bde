#include "tools/itunes-check/meaning.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <vector>

#include "tools/shared/descriptor.h"

namespace {

constexpr size_t title_limit = 900; // bytes; the line of a longer one may be too long
constexpr size_t path_limit = 4096; // bytes of a title, of which the import takes fewer

} // namespace

LibraryMeaning::LibraryMeaning(const std::string& path, const HeardTitles& heard) : heard_(heard) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    result_ = read_library(file.number(), this);
    if (tracks_ != heard.size()) {
        other_titles_.clear();
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
    ++tracks_;
}

void LibraryMeaning::track_value(std::string_view key, PlistElement element, std::string_view text) {
    if (key == "Track ID" && element == PlistElement::integer) {
        track_ids_.push_back(library_track_id(text).value_or(0));
    } else if (key == "Name" && element == PlistElement::string) {
        const uint64_t heard = tracks_ > heard_.size() ? 0 : heard_[tracks_ - 1];
        if (heard != 0 && heard != track_title_number(text) && text.size() <= title_limit) {
            other_titles_.emplace_back(text);
        }
    }
}

void LibraryMeaning::begin_playlist() {
    playlists_.emplace_back();
}

void LibraryMeaning::playlist_value(std::string_view key, PlistElement element, std::string_view text) {
    MeantPlaylist& playlist = playlists_.back();
    if (element == PlistElement::string && key == "Name") {
        playlist.name = text;
        playlist.has_name = true;
    } else if (element == PlistElement::string && key == "Playlist Persistent ID") {
        playlist.persistent_id = text;
    } else if (element == PlistElement::string && key == "Parent Persistent ID") {
        playlist.parent_id = text;
    } else if (key == "Distinguished Kind") {
        playlist.is_built_in = true;
    } else if (key == "Smart Info") {
        playlist.is_smart = true;
    } else if (element == PlistElement::boolean_false && key == "Visible") {
        playlist.is_hidden = true;
    } else if (element == PlistElement::boolean_true) {
        playlist.is_hidden = playlist.is_hidden || key == "Podcasts";
        playlist.is_folder = playlist.is_folder || key == "Folder";
        playlist.is_main = playlist.is_main || key == "Master";
    }
}

void LibraryMeaning::end_playlist() {
    if (!playlists_.back().has_name) {
        playlists_.pop_back();
    }
}

uint64_t track_title_number(std::string_view title) {
    return std::max<uint64_t>(std::hash<std::string_view>{}(title), 1);
}
