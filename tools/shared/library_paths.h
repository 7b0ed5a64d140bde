#pragma once
// The paths of a library's files as one tree, in which each folder and file is a node of a few bytes.
//
// Node 0 stands above all. Below it are the places where paths begin: "/", drives as "C:", and hosts as
// "//HOST". Below a drive or a host, paths that differ in case are one; below "/", only those that differ in
// the composition of accents are.

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/shared/name_table.h"

class LibraryPaths {
public:
    static constexpr uint32_t none = NameTable::none;

    /// The names go to `names`, borrowed.
    explicit LibraryPaths(NameTable* names);

    /// Adds a path: "/...", "C:/..." or "//HOST/...". Returns its node; `none` for any other text, for a
    /// place where paths begin, and for a path with ".." in it or one that no system takes.
    uint32_t add(std::string_view path);

    /// Returns the node of a path; `none` for one that was not added.
    [[nodiscard]] uint32_t find(std::string_view path) const;

    [[nodiscard]] uint32_t node_count() const { return static_cast<uint32_t>(nodes_.size()); }
    [[nodiscard]] uint32_t parent(uint32_t node) const { return nodes_[node].parent; }
    [[nodiscard]] uint32_t name(uint32_t node) const { return nodes_[node].name; }
    [[nodiscard]] bool begins_paths(uint32_t node) const { return nodes_[node].parent == 0; }

    /// The path of a node, spelled as it first came.
    [[nodiscard]] std::string path(uint32_t node) const;

private:
    struct Node {
        uint32_t parent;
        uint32_t name;
    };

    [[nodiscard]] uint32_t child(uint32_t parent, uint32_t name) const;
    [[nodiscard]] uint64_t key_of(uint32_t parent, uint32_t name) const;

    NameTable* names_;
    std::vector<Node> nodes_;
    std::vector<bool> is_foreign_;                  // of each node: below a drive or a host
    std::unordered_map<uint64_t, uint32_t> by_key_; // nodes by parent and name
};
