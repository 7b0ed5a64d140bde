#include "tools/shared/media_choice.h"

#include <algorithm>
#include <queue>
#include <span>

#include "tools/shared/media_candidates.h"

namespace {

constexpr size_t sample_size = 64; // files of a pair whose sizes are asked for
constexpr size_t few_tracks = 3;   // of which names alone are believed
constexpr uint32_t none = UINT32_MAX;

/// The candidates of tracks, in groups with the same pair of beginnings. A pair's live ones are those whose
/// tracks were not found so far.
class Choice {
public:
    Choice(const MediaTrees& trees, const std::vector<uint32_t>& tracks, const std::vector<uint64_t>& sizes,
           MediaMaps* maps);

    [[nodiscard]] uint64_t run();

private:
    struct Pair {
        uint32_t first; // in by_pair_
        uint32_t end;
        uint32_t live; // 0 also for one that was turned down
    };
    /// The pair with most live candidates stands first; of several, that which comes first in the library.
    struct Turn {
        uint32_t live;
        uint32_t pair;
        bool operator<(const Turn& other) const {
            return live != other.live ? live < other.live : pair > other.pair;
        }
    };
    enum class Verdict {
        better,
        worse,
        undecided
    };

    void group_by_pair();
    [[nodiscard]] const PathPair& beginnings(uint32_t pair) const {
        return candidates_[by_pair_[pairs_[pair].first]].beginnings;
    }
    [[nodiscard]] std::span<const MediaCandidate> candidates_of(uint32_t track) const;
    [[nodiscard]] std::vector<MediaCandidate> live_candidates(uint32_t pair) const;
    [[nodiscard]] std::vector<uint32_t> rivals_of(uint32_t pair) const;
    [[nodiscard]] Verdict compare(uint32_t pair, uint32_t rival) const;
    [[nodiscard]] bool wins(uint32_t pair);
    [[nodiscard]] uint32_t agreeing_folders(std::span<const MediaCandidate> candidates) const;
    enum class Trust {
        nothing,
        unless_sizes_tell,
        full
    };
    struct Sizes {
        size_t known = 0;
        size_t equal = 0;
    };
    [[nodiscard]] Sizes sizes_of(std::span<const MediaCandidate> candidates) const;
    [[nodiscard]] Trust trust_in(uint32_t pair) const;
    void decide(uint32_t pair);
    void take(uint32_t pair);
    void take_doubtful();

    const MediaTrees& trees_;
    const std::vector<uint64_t>& library_sizes_;
    MediaMaps* maps_;
    std::vector<MediaCandidate> candidates_; // those of a track behind each other
    std::vector<uint32_t> by_pair_;          // candidates
    std::vector<uint32_t> pair_of_;          // of each candidate
    std::vector<Pair> pairs_;
    std::vector<uint32_t> first_of_;      // of each node of the library: its first candidate
    std::vector<uint32_t> tracks_inside_; // of each node of the library: directly
    std::vector<uint32_t> doubtful_;      // pairs that only sizes speak against
    Sizes sizes_;                         // of what was found beyond doubt
    uint64_t found_ = 0;
    std::vector<bool> is_taken_; // of each node on the disk
};

Choice::Choice(const MediaTrees& trees, const std::vector<uint32_t>& tracks,
               const std::vector<uint64_t>& sizes, MediaMaps* maps)
    : trees_(trees), library_sizes_(sizes), maps_(maps), candidates_(media_candidates(trees, tracks)),
      first_of_(trees.library.node_count(), none), tracks_inside_(trees.library.node_count()),
      is_taken_(trees.folder.node_count()) {
    for (const uint32_t track : tracks) {
        ++tracks_inside_[trees.library.parent(track)];
    }
    for (uint32_t index = 0; index < candidates_.size(); ++index) {
        uint32_t& first = first_of_[candidates_[index].track];
        first = std::min(first, index);
    }
    group_by_pair();
}

void Choice::group_by_pair() {
    const auto key = [this](uint32_t index) {
        const PathPair& pair = candidates_[index].beginnings;
        return uint64_t{pair.from} << 32 | pair.to;
    };
    by_pair_.resize(candidates_.size());
    pair_of_.resize(candidates_.size());
    for (uint32_t index = 0; index < by_pair_.size(); ++index) {
        by_pair_[index] = index;
    }
    std::ranges::sort(by_pair_, {}, [&](uint32_t index) { return std::pair(key(index), index); });
    for (uint32_t place = 0; place < by_pair_.size(); ++place) {
        if (place == 0 || key(by_pair_[place]) != key(by_pair_[place - 1])) {
            pairs_.push_back({place, place, 0});
        }
        pair_of_[by_pair_[place]] = static_cast<uint32_t>(pairs_.size() - 1);
        ++pairs_.back().end;
        ++pairs_.back().live;
    }
}

std::span<const MediaCandidate> Choice::candidates_of(uint32_t track) const {
    const uint32_t first = first_of_[track];
    uint32_t end = first;
    while (end < candidates_.size() && candidates_[end].track == track) {
        ++end;
    }
    return first == none ? std::span<const MediaCandidate>()
                         : std::span<const MediaCandidate>(candidates_).subspan(first, end - first);
}

std::vector<MediaCandidate> Choice::live_candidates(uint32_t pair) const {
    std::vector<MediaCandidate> live;
    for (uint32_t place = pairs_[pair].first; place < pairs_[pair].end; ++place) {
        const MediaCandidate& candidate = candidates_[by_pair_[place]];
        if (maps_->is_waiting(candidate.track)) {
            live.push_back(candidate);
        }
    }
    return live;
}

/// Pairs that have files for the same tracks, and as many of them.
std::vector<uint32_t> Choice::rivals_of(uint32_t pair) const {
    std::vector<uint32_t> rivals;
    for (const MediaCandidate& live : live_candidates(pair)) {
        for (const MediaCandidate& other : candidates_of(live.track)) {
            const uint32_t rival = pair_of_[static_cast<size_t>(&other - candidates_.data())];
            if (rival != pair && pairs_[rival].live == pairs_[pair].live) {
                rivals.push_back(rival);
            }
        }
    }
    std::ranges::sort(rivals);
    rivals.erase(std::unique(rivals.begin(), rivals.end()), rivals.end());
    return rivals;
}

/// Which of two pairs has the files that are as long as the library says. Of copies, which are alike in this,
/// the one with the shorter path is the better; of a single file, there must be no copy.
Choice::Verdict Choice::compare(uint32_t pair, uint32_t rival) const {
    uint32_t hits = 0;
    uint32_t rival_hits = 0;
    bool are_copies = pairs_[pair].live > 1;
    size_t asked = 0;
    for (const MediaCandidate& live : live_candidates(pair)) {
        for (const MediaCandidate& other : candidates_of(live.track)) {
            if (pair_of_[static_cast<size_t>(&other - candidates_.data())] == rival &&
                asked++ < sample_size) {
                const uint64_t size = trees_.folder.size(live.file);
                const uint64_t rival_size = trees_.folder.size(other.file);
                hits += size != 0 && size == library_sizes_[live.track] ? 1 : 0;
                rival_hits += rival_size != 0 && rival_size == library_sizes_[live.track] ? 1 : 0;
                are_copies = are_copies && size == rival_size && size != 0;
            }
        }
    }
    if (hits != rival_hits) {
        return hits > rival_hits ? Verdict::better : Verdict::worse;
    }
    if (!are_copies) {
        return Verdict::undecided;
    }
    const std::string path = trees_.folder.path(beginnings(pair).to);
    const std::string other = trees_.folder.path(beginnings(rival).to);
    return path.size() != other.size() ? (path.size() < other.size() ? Verdict::better : Verdict::worse)
                                       : (path < other ? Verdict::better : Verdict::worse);
}

/// Whether the pair is the best of its rivals. Where nothing tells, they all are turned down.
bool Choice::wins(uint32_t pair) {
    std::vector<uint32_t> equals;
    for (const uint32_t rival : rivals_of(pair)) {
        const Verdict verdict = compare(pair, rival);
        if (verdict == Verdict::worse) {
            return false;
        }
        if (verdict == Verdict::undecided) {
            equals.push_back(rival);
        }
    }
    for (const uint32_t rival : equals) {
        pairs_[rival].live = 0;
    }
    return equals.empty();
}

/// How many different folders of the candidates' paths agree: 0, 1, or 2 for more.
uint32_t Choice::agreeing_folders(std::span<const MediaCandidate> candidates) const {
    uint32_t folder = none;
    for (const MediaCandidate& candidate : candidates) {
        const uint32_t length = trees_.common_end(candidate.track, candidate.file).length;
        const uint32_t inside = trees_.library.parent(candidate.track);
        if (length > 2 || (length == 2 && folder != none && folder != inside)) {
            return 2;
        }
        if (length == 2) {
            folder = inside;
        }
    }
    return folder == none ? 0 : 1;
}

Choice::Sizes Choice::sizes_of(std::span<const MediaCandidate> candidates) const {
    Sizes sizes;
    for (const MediaCandidate& candidate : candidates.first(std::min(candidates.size(), sample_size))) {
        const uint64_t size = library_sizes_[candidate.track] == 0 ? 0 : trees_.folder.size(candidate.file);
        sizes.known += size != 0 ? 1 : 0;
        sizes.equal += size != 0 && size == library_sizes_[candidate.track] ? 1 : 0;
    }
    return sizes;
}

/// Two folders that agree are enough. One is, or the names of most tracks in a folder are, unless the sizes
/// tell otherwise; then no other track may have the file.
Choice::Trust Choice::trust_in(uint32_t pair) const {
    const std::vector<MediaCandidate> live = live_candidates(pair);
    const uint32_t folders = agreeing_folders(live);
    if (folders > 1) {
        return Trust::full;
    }
    const bool are_few = live.size() < few_tracks || 2 * live.size() <= tracks_inside_[beginnings(pair).from];
    const auto is_taken = [this](const MediaCandidate& candidate) { return is_taken_[candidate.file]; };
    return (folders == 0 && are_few) || std::ranges::any_of(live, is_taken) ? Trust::nothing
                                                                            : Trust::unless_sizes_tell;
}

void Choice::take(uint32_t pair) {
    for (const uint32_t track : maps_->bring(beginnings(pair))) {
        ++found_;
        is_taken_[maps_->file(track)] = true;
        for (const MediaCandidate& candidate : candidates_of(track)) {
            Pair& other = pairs_[pair_of_[static_cast<size_t>(&candidate - candidates_.data())]];
            other.live -= other.live > 0 ? 1 : 0;
        }
    }
}

void Choice::decide(uint32_t pair) {
    const Trust trust = wins(pair) ? trust_in(pair) : Trust::nothing;
    if (trust == Trust::nothing) {
        return;
    }
    const Sizes sizes = sizes_of(live_candidates(pair));
    if (trust == Trust::full) {
        sizes_.known += sizes.known;
        sizes_.equal += sizes.equal;
    } else if (2 * sizes.equal < sizes.known) {
        doubtful_.push_back(pair);
        return;
    }
    take(pair);
}

/// Where no file is as long as the library says, of all that were found beyond doubt, sizes tell nothing: the
/// files were tagged anew, or are other copies. Then names count alone.
void Choice::take_doubtful() {
    if (sizes_.known < few_tracks || sizes_.equal > 0) {
        return;
    }
    for (const uint32_t pair : doubtful_) {
        if (trust_in(pair) != Trust::nothing) {
            take(pair);
        }
    }
}

uint64_t Choice::run() {
    std::priority_queue<Turn> turns;
    for (uint32_t pair = 0; pair < pairs_.size(); ++pair) {
        turns.push({pairs_[pair].live, pair});
    }
    while (!turns.empty()) {
        const Turn turn = turns.top();
        turns.pop();
        const uint32_t live = pairs_[turn.pair].live;
        if (live == turn.live && live > 0) {
            decide(turn.pair);
            pairs_[turn.pair].live = 0;
        } else if (live > 0) { // some of its tracks were found meanwhile
            turns.push({live, turn.pair});
        }
    }
    take_doubtful();
    return found_;
}

} // namespace

uint64_t choose_maps(const MediaTrees& trees, const std::vector<uint32_t>& tracks,
                     const std::vector<uint64_t>& sizes, MediaMaps* maps) {
    return Choice(trees, tracks, sizes, maps).run();
}
