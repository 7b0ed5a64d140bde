#pragma once
// The files below a folder, as a tree in which each folder and file is a node of a few bytes.
//
// Symbolic links are passed over, since what they lead to inside the folder is found there; so are folders
// that were seen before, which ends loops of mounts. Paths longer than the system takes, and names behind some
// millions, count as folders that can not be read. The tree is the same in whatever order the file system lists
// names, unless they are that many.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unordered_set>
#include <vector>

#include "tools/shared/file_look.h"
#include "tools/shared/name_table.h"

/// A folder that could not be read.
struct UnreadableFolder {
    std::string path;
    int error; // an error number
};

class MediaFolder {
public:
    /// The names go to `names`, borrowed.
    explicit MediaFolder(NameTable* names);

    /// Reads all names below the folder, once. Returns 0, or the error number of why the folder itself can
    /// not be read; folders below it that can not are among unreadable(). `at_each_folder` is called first.
    [[nodiscard]] int read(const std::string& folder, const std::function<void()>& at_each_folder = nullptr);

    /// The first of the folders below that could not be read.
    [[nodiscard]] const std::vector<UnreadableFolder>& unreadable() const { return unreadable_; }

    /// The first error that may have hidden a file, or a file's size; 0 for none.
    [[nodiscard]] int error() const { return look_.error(); }

    // Node 0 is "/", and the names that lead to the folder are nodes too. A folder's nodes follow each other.
    [[nodiscard]] uint32_t folder() const { return folder_; }
    [[nodiscard]] uint32_t node_count() const { return static_cast<uint32_t>(nodes_.size()); }
    [[nodiscard]] uint32_t parent(uint32_t node) const { return nodes_[node].parent; }
    [[nodiscard]] uint32_t name(uint32_t node) const { return nodes_[node].name; }
    [[nodiscard]] bool is_file(uint32_t node) const { return nodes_[node].first == a_file; }

    /// Nodes that follow each other, from `first` up to and without `end`.
    struct Nodes {
        uint32_t first;
        uint32_t end;
    };
    /// The nodes in a folder whose names are alike but for accents' composition and case.
    [[nodiscard]] Nodes alike(uint32_t folder, uint32_t name) const;

    [[nodiscard]] std::string path(uint32_t node) const;

    /// How many bytes a file has now; 0 where that is not to be known.
    [[nodiscard]] uint64_t size(uint32_t node) const;

private:
    static constexpr uint32_t a_file = UINT32_MAX;
    struct Node {
        uint32_t parent;
        uint32_t name;
        uint32_t first; // of the nodes in this folder; a_file for a file
        uint32_t count;
    };
    struct Entry {
        uint32_t name;
        bool is_file;
    };

    void add_way_to(std::string_view folder);
    [[nodiscard]] int read_folder(uint32_t node, bool may_be_link);
    void add_entries(uint32_t node, std::vector<std::string>* texts);
    [[nodiscard]] bool is_new(int descriptor);

    NameTable* names_;
    std::vector<Node> nodes_;
    uint32_t folder_ = 0;
    bool is_full_ = false; // as many names as there is room for; the others are passed over
    std::vector<UnreadableFolder> unreadable_;
    mutable FileLook look_;             // sizes are looked at later
    std::unordered_set<uint64_t> seen_; // device and number of each folder
    std::vector<Entry> entries_;        // of the folder under way
};
