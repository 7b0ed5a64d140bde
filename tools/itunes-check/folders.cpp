#include "tools/itunes-check/folders.h"

#include <algorithm>
#include <cstring>

#include "common/upnp_memory.h"

namespace {

constexpr uint32_t worthwhile_tracks = 20; // on average, for a further group to tell something

/// The length of the path's first `depth` folders, a leading '/' included and none behind.
uint32_t leading_length(const char* path, uint32_t length, uint32_t depth) {
    uint32_t end = 0;
    for (uint32_t count = 0; count < depth && end < length; ++count) {
        uint32_t next = end;
        while (next < length && path[next] == '/') {
            ++next;
        }
        while (next < length && path[next] != '/') {
            ++next;
        }
        end = next;
    }
    return end;
}

/// Shortens the group's folder to what it shares with another, at whole names.
void keep_shared(FolderGroup* group, const char* folder, uint32_t length) {
    uint32_t shared = 0;
    while (shared < length && group->folder[shared] == folder[shared] && folder[shared] != '\0') {
        ++shared;
    }
    const bool at_name_end = (shared == length || folder[shared] == '/') &&
                             (group->folder[shared] == '\0' || group->folder[shared] == '/');
    if (!at_name_end) {
        while (shared > 0 && group->folder[--shared] != '/') {
        }
    }
    group->folder[shared] = '\0';
}

/// Tells fewer groups apart.
void merge_groups(FolderTable* table) {
    --table->depth;
    uint32_t kept = 0;
    for (uint32_t index = 0; index < table->count; ++index) {
        FolderGroup group = table->groups[index];
        const auto length = static_cast<uint32_t>(strlen(group.folder));
        group.key_length = leading_length(group.folder, length, table->depth);
        uint32_t other = 0;
        while (other < kept && (table->groups[other].key_length != group.key_length ||
                                memcmp(table->groups[other].folder, group.folder, group.key_length) != 0)) {
            ++other;
        }
        if (other == kept) {
            table->groups[kept++] = group;
            continue;
        }
        keep_shared(&table->groups[other], group.folder, length);
        table->groups[other].tracks += group.tracks;
        table->groups[other].existing += group.existing;
        upnp_free(group.folder);
    }
    table->count = kept;
    table->last = 0;
}

bool is_of_group(const FolderGroup* group, const char* path, uint32_t key_length) {
    return group->key_length == key_length && memcmp(group->folder, path, key_length) == 0;
}

/// Finds or makes the group of a folder; null without memory.
FolderGroup* group_of(FolderTable* table, const char* path, uint32_t length) {
    for (;;) {
        const uint32_t key_length = leading_length(path, length, table->depth);
        if (table->last < table->count && is_of_group(&table->groups[table->last], path, key_length)) {
            return &table->groups[table->last];
        }
        for (uint32_t index = 0; index < table->count; ++index) {
            if (is_of_group(&table->groups[index], path, key_length)) {
                table->last = index;
                return &table->groups[index];
            }
        }
        if (table->count < folder_group_limit) {
            auto* folder = static_cast<char*>(upnp_malloc(length + 1));
            if (folder == nullptr) {
                return nullptr;
            }
            memcpy(folder, path, length);
            folder[length] = '\0';
            table->last = table->count;
            table->groups[table->count++] = {folder, key_length, 0, 0};
            return &table->groups[table->last];
        }
        merge_groups(table);
    }
}

} // namespace

void folder_table_add(FolderTable* table, const char* path, bool exists) {
    if (table->count == 0) {
        table->depth = folder_group_depth;
    }
    const char* name = strrchr(path, '/');
    const auto length = name == nullptr ? 0U : static_cast<uint32_t>(name - path);
    FolderGroup* group = group_of(table, path, length);
    if (group == nullptr) {
        return;
    }
    keep_shared(group, path, length);
    ++group->tracks;
    group->existing += exists ? 1 : 0;
}

void folder_table_finish(FolderTable* table) {
    uint32_t tracks = 0;
    for (uint32_t index = 0; index < table->count; ++index) {
        tracks += table->groups[index].tracks;
    }
    while (table->depth > 1 &&
           (table->count > folder_group_shown || tracks < worthwhile_tracks * (table->count - 1))) {
        merge_groups(table);
    }
    std::sort(table->groups, table->groups + table->count,
              [](const FolderGroup& one, const FolderGroup& other) { return one.tracks > other.tracks; });
}
