#pragma once
// Which folders the paths of a library begin with, and how many files of each are there. The table is small
// whatever the library holds: as many leading folders tell two groups apart as it has room for.

#include <cstdint>

constexpr uint32_t folder_group_limit = 48; // while paths are added
constexpr uint32_t folder_group_depth = 4;  // leading folders that tell groups apart, at most
constexpr uint32_t folder_group_shown = 6;

struct FolderGroup {
    char* folder;        // the longest that all paths of the group lie in; owned; without a closing '/'
    uint32_t key_length; // the leading bytes that tell the group apart
    uint32_t tracks;
    uint32_t existing;
};

struct FolderTable {
    FolderGroup groups[folder_group_limit];
    uint32_t count;
    uint32_t depth;
    uint32_t last; // the group of the last path
};

/// Counts a file's path.
void folder_table_add(FolderTable* table, const char* path, bool exists);

/// Merges groups until there are few enough to be shown, and sorts them, the most tracks first. More than
/// folder_group_shown stay where they have no folder in common.
void folder_table_finish(FolderTable* table);
