#pragma once
// Maps from folders of a library to folders on the disk, as they are found one after the other. A path goes
// the way of the longest beginning that a map has, so that a map for a folder inside a mapped one leads away
// what the outer one brought. A new map therefore stands as far down as it takes to lead away nothing: at
// single files, if need be.

#include <cstdint>
#include <vector>

#include "tools/shared/media_trees.h"

class MediaMaps {
public:
    static constexpr uint32_t none = NameTable::none;

    struct Map {
        PathPair beginnings;
        uint64_t tracks; // that it brings
    };

    /// Maps for these files of the library, as nodes; `trees` is borrowed, and grows no more.
    MediaMaps(const MediaTrees& trees, const std::vector<uint32_t>& tracks);

    /// Notes that a file of the library is where its path says.
    void keep(uint32_t track);

    /// Leads all tracks that it can along the pair of beginnings: those that were not found so far and of
    /// which there is one file. Returns them.
    [[nodiscard]] std::vector<uint32_t> bring(const PathPair& beginnings);

    /// The file of a node on the disk; `none` for one that was not found.
    [[nodiscard]] uint32_t file(uint32_t node) const { return files_[node]; }

    [[nodiscard]] bool is_waiting(uint32_t node) const { return is_wanted_[node] && files_[node] == none; }
    [[nodiscard]] const std::vector<Map>& maps() const { return maps_; }

private:
    struct Hit {
        uint32_t track;
        uint32_t file;
        auto operator<=>(const Hit&) const = default;
    };

    [[nodiscard]] std::vector<Hit> hits_of(const PathPair& beginnings);
    [[nodiscard]] bool is_spelled_alike(const Hit& hit, const PathPair& beginnings) const;
    void keep_only_files(const PathPair& beginnings, std::vector<Hit>* hits) const;
    [[nodiscard]] uint32_t map_above(uint32_t node) const;
    [[nodiscard]] bool leads_to(uint32_t map, const Hit& hit) const;
    [[nodiscard]] uint32_t add_map(const PathPair& beginnings, const Hit& hit, uint32_t outer);
    void lead(const Hit& hit, uint32_t map);

    const MediaTrees& trees_;
    uint64_t steps_ = 0;
    std::vector<bool> is_wanted_;  // of each node of the library, as all these
    std::vector<uint32_t> files_;  // on the disk
    std::vector<uint32_t> first_;  // the first node inside
    std::vector<uint32_t> next_;   // the next node in the same folder
    std::vector<uint32_t> map_at_; // the map that begins here
    // Files below each that a map from above or none brings: no map may begin there.
    std::vector<uint32_t> led_past_;
    std::vector<Map> maps_;
};
