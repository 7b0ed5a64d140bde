#include "tools/shared/media_maps.h"

#include <algorithm>

namespace {

constexpr uint64_t steps_limit = 100'000'000; // pairs of nodes that are looked at, some ten seconds

} // namespace

MediaMaps::MediaMaps(const MediaTrees& trees, const std::vector<uint32_t>& tracks)
    : trees_(trees), is_wanted_(trees.library.node_count()), files_(trees.library.node_count(), none),
      first_(trees.library.node_count(), none), next_(trees.library.node_count(), none),
      map_at_(trees.library.node_count(), none), led_past_(trees.library.node_count()) {
    for (const uint32_t track : tracks) {
        is_wanted_[track] = true;
    }
    for (uint32_t node = trees.library.node_count() - 1; node > 0; --node) {
        next_[node] = first_[trees.library.parent(node)];
        first_[trees.library.parent(node)] = node;
    }
}

void MediaMaps::keep(uint32_t track) {
    for (uint32_t node = track; node != 0; node = trees_.library.parent(node)) {
        ++led_past_[node];
    }
}

/// All waiting tracks that have files along the pair, with each of these files, by track.
std::vector<MediaMaps::Hit> MediaMaps::hits_of(const PathPair& beginnings) {
    std::vector<Hit> hits;
    std::vector<PathPair> rest = {beginnings};
    while (!rest.empty() && steps_ < steps_limit) {
        const PathPair pair = rest.back();
        rest.pop_back();
        for (uint32_t node = first_[pair.from]; node != none; node = next_[node]) {
            const auto [first, end] = trees_.folder.alike(pair.to, trees_.library.name(node));
            steps_ += 1 + end - first;
            for (uint32_t other = first; other < end; ++other) {
                if (trees_.folder.is_file(other) && is_waiting(node)) {
                    hits.push_back({node, other});
                } else if (!trees_.folder.is_file(other) && first_[node] != none) {
                    rest.push_back({node, other});
                }
            }
        }
    }
    std::ranges::sort(hits);
    return hits;
}

/// Whether the paths behind the beginnings differ in the composition of accents only.
bool MediaMaps::is_spelled_alike(const Hit& hit, const PathPair& beginnings) const {
    uint32_t file = hit.file;
    for (uint32_t node = hit.track; node != beginnings.from; node = trees_.library.parent(node)) {
        if (trees_.names.composed(trees_.library.name(node)) !=
            trees_.names.composed(trees_.folder.name(file))) {
            return false;
        }
        file = trees_.folder.parent(file);
    }
    return true;
}

/// Leaves each track its only file: the only one of all or, of several, the only one in the same case.
void MediaMaps::keep_only_files(const PathPair& beginnings, std::vector<Hit>* hits) const {
    size_t count = 0;
    for (size_t index = 0; index < hits->size();) {
        const size_t first = index;
        size_t chosen = first;
        size_t alike = 0;
        for (; index < hits->size() && (*hits)[index].track == (*hits)[first].track; ++index) {
            if (is_spelled_alike((*hits)[index], beginnings)) {
                chosen = index;
                ++alike;
            }
        }
        if (index - first == 1 || alike == 1) {
            (*hits)[count++] = (*hits)[chosen];
        }
    }
    hits->resize(count);
}

/// The map that a path of the library goes; `none` for none.
uint32_t MediaMaps::map_above(uint32_t node) const {
    while (node != 0 && map_at_[node] == none) {
        node = trees_.library.parent(node);
    }
    return map_at_[node];
}

/// Whether a map brings just this file to its track.
bool MediaMaps::leads_to(uint32_t map, const Hit& hit) const {
    const PathPair& beginnings = maps_[map].beginnings;
    uint32_t file = hit.file;
    for (uint32_t node = hit.track; node != beginnings.from; node = trees_.library.parent(node)) {
        if (file == trees_.folder.folder() || !trees_.are_alike(node, file)) {
            return false;
        }
        file = trees_.folder.parent(file);
    }
    return file == beginnings.to;
}

/// Adds a map that brings a file and stands as high as it may, below the map `outer` that leads elsewhere.
uint32_t MediaMaps::add_map(const PathPair& beginnings, const Hit& hit, uint32_t outer) {
    PathPair highest = {hit.track, hit.file};
    for (PathPair pair = highest; outer == none || map_at_[pair.from] != outer;) {
        if (led_past_[pair.from] == 0) {
            highest = pair;
        }
        if (pair.from == beginnings.from) {
            break;
        }
        pair = {trees_.library.parent(pair.from), trees_.folder.parent(pair.to)};
    }
    map_at_[highest.from] = static_cast<uint32_t>(maps_.size());
    maps_.push_back({highest, 0});
    return map_at_[highest.from];
}

void MediaMaps::lead(const Hit& hit, uint32_t map) {
    files_[hit.track] = hit.file;
    ++maps_[map].tracks;
    for (uint32_t node = hit.track; node != maps_[map].beginnings.from; node = trees_.library.parent(node)) {
        ++led_past_[node];
    }
}

std::vector<uint32_t> MediaMaps::bring(const PathPair& beginnings) {
    std::vector<Hit> hits = hits_of(beginnings);
    keep_only_files(beginnings, &hits);
    std::vector<uint32_t> tracks;
    for (const Hit& hit : hits) {
        const uint32_t outer = map_above(hit.track);
        const bool is_led = outer != none && leads_to(outer, hit);
        lead(hit, is_led ? outer : add_map(beginnings, hit, outer));
        tracks.push_back(hit.track);
    }
    return tracks;
}
