#include "tools/shared/media_search.h"

#include "tools/shared/media_choice.h"
#include "tools/shared/number_sort.h"

void MediaSearch::add(std::string_view path, uint64_t size, bool is_there) {
    const uint32_t node = trees_.library.add(path);
    states_.resize(trees_.library.node_count());
    sizes_.resize(trees_.library.node_count());
    if (node == LibraryPaths::none || states_[node] != State::no_file) {
        return;
    }
    states_[node] = is_there ? State::there : State::wanted;
    sizes_[node] = size;
    if (!is_there) {
        wanted_.push_back(node);
    }
}

void MediaSearch::match() {
    maps_ = std::make_unique<MediaMaps>(trees_, wanted_);
    for (uint32_t node = 0; node < states_.size(); ++node) {
        if (states_[node] == State::there) {
            maps_->keep(node);
        }
    }
    found_count_ = choose_maps(trees_, wanted_, sizes_, maps_.get());
}

std::string MediaSearch::find(std::string_view path) const {
    const uint32_t node = maps_ == nullptr ? LibraryPaths::none : trees_.library.find(path);
    const uint32_t file = node == LibraryPaths::none ? MediaMaps::none : maps_->file(node);
    return file == MediaMaps::none ? "" : trees_.folder.path(file);
}

std::vector<MediaMap> MediaSearch::maps() const {
    std::vector<MediaMap> maps;
    for (const MediaMaps::Map& map : maps_ == nullptr ? std::vector<MediaMaps::Map>() : maps_->maps()) {
        maps.push_back({trees_.library.path(map.beginnings.from), trees_.folder.path(map.beginnings.to),
                        map.tracks, trees_.folder.is_file(map.beginnings.to)});
    }
    sort_largest_first(&maps, &MediaMap::tracks);
    return maps;
}
