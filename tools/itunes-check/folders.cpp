#include "tools/itunes-check/folders.h"

#include <algorithm>
#include <utility>

#include "tools/shared/number_sort.h"

namespace {

constexpr size_t group_limit = 48;         // while paths are added
constexpr uint32_t worthwhile_tracks = 20; // on average, for a further group to tell something

/// The length of the folder's first `depth` names, a leading '/' included and none behind.
size_t leading_length(std::string_view folder, size_t depth) {
    size_t end = 0;
    for (size_t count = 0; count < depth && end < folder.size(); ++count) {
        const size_t name = std::min(folder.find_first_not_of('/', end), folder.size());
        end = std::min(folder.find('/', name), folder.size());
    }
    return end;
}

bool ends_name(std::string_view folder, size_t length) {
    return length == folder.size() || folder[length] == '/';
}

/// Shortens the group's folder to what it shares with another, at whole names.
void keep_shared(FolderGroup* group, std::string_view folder) {
    const auto [own, other] = std::ranges::mismatch(group->folder, folder);
    auto shared = static_cast<size_t>(own - group->folder.begin());
    if (!ends_name(group->folder, shared) || !ends_name(folder, shared)) {
        const size_t slash = group->folder.rfind('/', shared - std::min<size_t>(shared, 1));
        shared = shared == 0 || slash == std::string::npos ? 0 : slash;
    }
    group->folder.resize(shared);
}

} // namespace

/// Tells fewer groups apart.
void FolderTable::merge_groups() {
    --depth_;
    std::vector<FolderGroup> kept;
    for (FolderGroup& group : groups_) {
        group.key_length = leading_length(group.folder, depth_);
        const std::string_view key = std::string_view(group.folder).substr(0, group.key_length);
        const auto same = std::ranges::find_if(kept, [key](const FolderGroup& other) {
            return std::string_view(other.folder).substr(0, other.key_length) == key;
        });
        if (same == kept.end()) {
            kept.push_back(std::move(group));
            continue;
        }
        keep_shared(&*same, group.folder);
        same->tracks += group.tracks;
        same->existing += group.existing;
        same->respelled += group.respelled;
    }
    groups_ = std::move(kept);
    last_ = 0;
}

/// Finds or makes the group of a folder.
FolderGroup& FolderTable::group_of(std::string_view folder) {
    for (;;) {
        const std::string_view key = folder.substr(0, leading_length(folder, depth_));
        const auto is_of_key = [key](const FolderGroup& group) {
            return std::string_view(group.folder).substr(0, group.key_length) == key;
        };
        if (last_ < groups_.size() && is_of_key(groups_[last_])) {
            return groups_[last_];
        }
        const auto known = std::ranges::find_if(groups_, is_of_key);
        last_ = static_cast<size_t>(known - groups_.begin());
        if (known != groups_.end()) {
            return *known;
        }
        if (groups_.size() < group_limit) {
            return groups_.emplace_back(FolderGroup{std::string(folder), key.size(), 0, 0, 0});
        }
        merge_groups();
    }
}

void FolderTable::add(std::string_view path, bool exists, bool is_respelled) {
    const size_t slash = path.rfind('/');
    const std::string_view folder = path.substr(0, slash == std::string_view::npos ? 0 : slash);
    FolderGroup& group = group_of(folder);
    keep_shared(&group, folder);
    ++group.tracks;
    group.existing += exists ? 1 : 0;
    group.respelled += is_respelled ? 1 : 0;
}

std::vector<FolderGroup> FolderTable::finish() {
    size_t tracks = 0;
    for (const FolderGroup& group : groups_) {
        tracks += group.tracks;
    }
    while (depth_ > 1 && (groups_.size() > folder_group_shown ||
                          tracks + worthwhile_tracks < worthwhile_tracks * groups_.size())) {
        merge_groups();
    }
    sort_largest_first(&groups_, &FolderGroup::tracks);
    return std::move(groups_);
}
