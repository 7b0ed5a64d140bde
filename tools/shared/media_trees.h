#pragma once
// The two sides of a search for a library's files: the paths that the library has, and what lies below a
// folder. They share their names, so that alike names are told by two numbers.

#include <cstdint>

#include "tools/shared/library_paths.h"
#include "tools/shared/media_folder.h"
#include "tools/shared/name_table.h"

/// Two nodes that stand for each other: what is below the one in the library is below the other on the disk.
struct PathPair {
    uint32_t from; // of the library
    uint32_t to;   // on the disk
};

struct CommonEnd {
    uint32_t length;     // names that are alike, the file's own among them
    PathPair beginnings; // what is left before them, never above the folder nor above where paths begin
};

struct MediaTrees {
    NameTable names;
    LibraryPaths library{&names};
    MediaFolder folder{&names};

    MediaTrees() = default;
    MediaTrees(const MediaTrees&) = delete;
    MediaTrees& operator=(const MediaTrees&) = delete;

    /// Whether two nodes' own names are alike, but for accents' composition and case.
    [[nodiscard]] bool are_alike(uint32_t from, uint32_t to) const {
        return names.folded(library.name(from)) == names.folded(folder.name(to));
    }

    /// The longest common end of a file's path in the library and of one on the disk.
    [[nodiscard]] CommonEnd common_end(uint32_t from, uint32_t to) const {
        CommonEnd end = {0, {from, to}};
        for (bool is_inside = true; from != 0 && to != 0 && are_alike(from, to); ++end.length) {
            is_inside = is_inside && !library.begins_paths(from) && to != folder.folder();
            from = library.parent(from);
            to = folder.parent(to);
            if (is_inside) {
                end.beginnings = {from, to};
            }
        }
        return end;
    }
};
