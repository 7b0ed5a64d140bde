#pragma once
// Which folders the paths of a library begin with, and how many files of each are there. The table is small
// whatever the library holds: as many leading folders tell two groups apart as it has room for.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

constexpr size_t folder_group_shown = 6;

struct FolderGroup {
    std::string folder; // the longest that all paths of the group lie in, without a closing '/'
    size_t key_length;  // its leading bytes, which tell the group apart
    uint32_t tracks;
    uint32_t existing;
    uint32_t respelled; // that are there under another spelling
};

class FolderTable {
public:
    /// Counts a file's path. One that does not exist may be there under another spelling.
    void add(std::string_view path, bool exists, bool is_respelled);

    /// Merges groups until there are few enough to be shown, and returns them, the most tracks first. More
    /// than folder_group_shown stay where they have no folder in common.
    [[nodiscard]] std::vector<FolderGroup> finish();

private:
    FolderGroup& group_of(std::string_view folder);
    void merge_groups();

    std::vector<FolderGroup> groups_;
    size_t depth_ = 4; // leading folders that tell groups apart, at most
    size_t last_ = 0;  // the group of the last path
};
