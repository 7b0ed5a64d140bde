#include "tools/shared/media_candidates.h"

#include <algorithm>

namespace {

constexpr size_t candidates_limit = 8; // of a file: more of them tell nothing

/// Folders of both sides, ranked by their names from the last to the first: those whose paths end alike come
/// to stand together, and so do, by name and rank of the folder, the files that agree furthest from the end.
class Ranking {
public:
    Ranking(const MediaTrees& trees, std::span<const uint32_t> tracks);

    [[nodiscard]] std::vector<MediaCandidate> candidates(std::span<const uint32_t> tracks) const;

private:
    struct Folder {
        uint32_t node;
        bool is_on_disk;
    };
    struct File {
        uint64_t key;
        uint32_t node;
        auto operator<=>(const File&) const = default;
    };

    [[nodiscard]] bool comes_before(Folder one, Folder other) const;
    [[nodiscard]] uint32_t name(Folder at) const;
    [[nodiscard]] Folder above(Folder at) const;
    void rank_folders(std::span<const uint32_t> tracks);
    void rank_files(std::span<const uint32_t> tracks);
    void add_candidates(uint32_t track, std::vector<MediaCandidate>* candidates) const;

    [[nodiscard]] uint64_t key_of_track(uint32_t node) const {
        return uint64_t{trees_.names.folded(trees_.library.name(node))} << 32 |
               library_ranks_[trees_.library.parent(node)];
    }
    [[nodiscard]] uint64_t key_of_file(uint32_t node) const {
        return uint64_t{trees_.names.folded(trees_.folder.name(node))} << 32 |
               disk_ranks_[trees_.folder.parent(node)];
    }

    const MediaTrees& trees_;
    std::vector<uint32_t> library_ranks_; // of each node
    std::vector<uint32_t> disk_ranks_;
    std::vector<File> files_; // sorted by key
};

Ranking::Ranking(const MediaTrees& trees, std::span<const uint32_t> tracks) : trees_(trees) {
    rank_folders(tracks);
    rank_files(tracks);
}

uint32_t Ranking::name(Folder at) const {
    return trees_.names.folded(at.is_on_disk ? trees_.folder.name(at.node) : trees_.library.name(at.node));
}

Ranking::Folder Ranking::above(Folder at) const {
    return {at.is_on_disk ? trees_.folder.parent(at.node) : trees_.library.parent(at.node), at.is_on_disk};
}

bool Ranking::comes_before(Folder one, Folder other) const {
    while (one.node != 0 && other.node != 0) {
        if (name(one) != name(other)) {
            return name(one) < name(other);
        }
        one = above(one);
        other = above(other);
    }
    return one.node == 0 && other.node != 0;
}

void Ranking::rank_folders(std::span<const uint32_t> tracks) {
    std::vector<Folder> folders;
    for (uint32_t node = 0; node < trees_.folder.node_count(); ++node) {
        if (!trees_.folder.is_file(node)) {
            folders.push_back({node, true});
        }
    }
    library_ranks_.resize(trees_.library.node_count());
    for (const uint32_t track : tracks) {
        uint32_t& mark = library_ranks_[trees_.library.parent(track)];
        if (mark == 0) {
            mark = 1;
            folders.push_back({trees_.library.parent(track), false});
        }
    }
    std::ranges::sort(folders, [this](Folder one, Folder other) { return comes_before(one, other); });
    disk_ranks_.resize(trees_.folder.node_count());
    uint32_t rank = 0;
    for (const Folder& each : folders) {
        (each.is_on_disk ? disk_ranks_ : library_ranks_)[each.node] = rank++;
    }
}

/// Files whose names no track has are left out.
void Ranking::rank_files(std::span<const uint32_t> tracks) {
    std::vector<uint32_t> wanted;
    wanted.reserve(tracks.size());
    for (const uint32_t track : tracks) {
        wanted.push_back(trees_.names.folded(trees_.library.name(track)));
    }
    std::ranges::sort(wanted);
    for (uint32_t node = 0; node < trees_.folder.node_count(); ++node) {
        if (trees_.folder.is_file(node) &&
            std::ranges::binary_search(wanted, trees_.names.folded(trees_.folder.name(node)))) {
            files_.push_back({key_of_file(node), node});
        }
    }
    std::ranges::sort(files_);
}

/// Of the files with the track's name, those that agree furthest are next to where the track would stand.
void Ranking::add_candidates(uint32_t track, std::vector<MediaCandidate>* candidates) const {
    const auto place = std::ranges::lower_bound(files_, key_of_track(track), {}, &File::key);
    uint32_t longest = 0;
    std::vector<MediaCandidate> found;
    const auto look_at = [&](const File& file) {
        const CommonEnd end = trees_.common_end(track, file.node);
        if (end.length > longest) {
            longest = end.length;
            found.clear();
        }
        if (end.length == longest && longest > 0) {
            found.push_back({track, file.node, end.beginnings});
        }
        return end.length == longest && longest > 0 && found.size() <= candidates_limit;
    };
    for (auto file = place; file != files_.end() && look_at(*file); ++file) {
    }
    for (auto file = place; file != files_.begin() && look_at(*std::prev(file)); --file) {
    }
    if (found.size() <= candidates_limit) {
        candidates->insert(candidates->end(), found.begin(), found.end());
    }
}

std::vector<MediaCandidate> Ranking::candidates(std::span<const uint32_t> tracks) const {
    std::vector<MediaCandidate> candidates;
    for (const uint32_t track : tracks) {
        add_candidates(track, &candidates);
    }
    return candidates;
}

} // namespace

std::vector<MediaCandidate> media_candidates(const MediaTrees& trees, std::span<const uint32_t> tracks) {
    return Ranking(trees, tracks).candidates(tracks);
}
