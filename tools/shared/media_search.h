#pragma once
// Finds the files of a library below a folder: by their names at first, then by how much of the paths above
// them is alike. What is left of two paths before their common end makes a map, from the one beginning to the
// other.
//
//     MediaSearch media;
//     for (each file of the library) media.add(path, size, is_there);
//     if (const int error = media.look_through(folder); error != 0) { ... }
//     media.match();
//     media.find(path);    // where the file is
//     media.maps();        // the same, as what --map of itunes-prepare takes
//
// Names are alike that differ in case or in the composition of accents only. The map that brings most files
// comes first, then that which brings most of the rest. None is taken where another one brings as much of the
// same and sizes do not tell which is meant. A file of which nothing but the name agrees is left alone, and
// where one folder agrees besides, the sizes must not say otherwise.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/shared/media_maps.h"
#include "tools/shared/media_trees.h"

struct MediaMap {
    std::string from; // a folder of the library or, if `is_file`, a file
    std::string to;   // where it is on this machine
    uint64_t tracks;  // that it brings
    bool is_file;
};

class MediaSearch {
public:
    /// Adds a file of the library by its decoded path, "/...", "C:/..." or "//HOST/..."; other texts are
    /// passed over, and so are paths that came before. `size` is what the library says, in bytes, 0 for
    /// nothing. One that `is_there` is not looked for, and no map leads it elsewhere.
    void add(std::string_view path, uint64_t size, bool is_there);

    /// Reads the names below a folder, once, after the last file of the library. Returns 0 or the error
    /// number of why the folder itself can not be read. `at_each_folder` is called before each folder.
    [[nodiscard]] int look_through(const std::string& folder,
                                   const std::function<void()>& at_each_folder = nullptr) {
        return trees_.folder.read(folder, at_each_folder);
    }

    /// What was met there: folders that could not be read, whether anything was left out.
    [[nodiscard]] const MediaFolder& folder() const { return trees_.folder; }

    /// Finds the files, once.
    void match();

    /// Where the file is that was added by this path; empty if it was not looked for or not found.
    [[nodiscard]] std::string find(std::string_view path) const;

    /// The maps that bring files, those that bring most first; paths go the way of the longest beginning.
    [[nodiscard]] std::vector<MediaMap> maps() const;

    /// How many files were looked for, and how many of them were found.
    [[nodiscard]] uint64_t wanted_count() const { return wanted_.size(); }
    [[nodiscard]] uint64_t found_count() const { return found_count_; }

private:
    enum class State : uint8_t {
        no_file,
        wanted,
        there
    };

    MediaTrees trees_;
    std::vector<State> states_;   // of each node of the library
    std::vector<uint64_t> sizes_; // likewise
    std::vector<uint32_t> wanted_;
    std::unique_ptr<MediaMaps> maps_; // from match() on
    uint64_t found_count_ = 0;
};
