#include "tools/itunes-check/losses.h"

#include <algorithm>
#include <array>
#include <climits>
#include <optional>
#include <unordered_map>

namespace {

constexpr size_t title_limit = 250; // bytes; a longer one has no file, and may be cut

/// Gathers losses by kind.
class Losses {
public:
    CountedExamples& of(LossKind kind) { return losses_[static_cast<size_t>(kind)]; }

    /// All kinds of which there are any.
    [[nodiscard]] std::vector<LibraryLoss> take() {
        std::vector<LibraryLoss> losses;
        for (size_t kind = 0; kind < loss_kind_count; ++kind) {
            if (losses_[kind].count > 0) {
                losses.push_back({static_cast<LossKind>(kind), std::move(losses_[kind])});
            }
        }
        return losses;
    }

private:
    std::array<CountedExamples, loss_kind_count> losses_;
};

/// Whether the library means a playlist to get no file.
bool is_left_out(const MeantPlaylist& meant) {
    return meant.is_built_in || meant.is_smart || meant.is_hidden || meant.entries == 0;
}

bool has_file(const CheckedPlaylist& heard) {
    return heard.outcome == CheckedOutcome::file || heard.outcome == CheckedOutcome::replaced ||
           heard.outcome == CheckedOutcome::not_moved;
}

/// Whether a playlist is left out for a reason that the library may not mean.
bool is_lost(const CheckedPlaylist& heard) {
    switch (heard.outcome) {
    case CheckedOutcome::not_listed:
    case CheckedOutcome::smart:
    case CheckedOutcome::built_in:
    case CheckedOutcome::nothing_to_play: return true;
    default: return false;
    }
}

/// What is lost of one playlist, but for its being replaced and for its entries.
std::optional<LossKind> loss_of(const MeantPlaylist& meant, const std::string& title,
                                const CheckedPlaylist& heard) {
    if (!has_file(heard)) {
        const bool is_meant =
            !is_left_out(meant) && !meant.name.empty() && playlist_file_name(title, "M").size() <= NAME_MAX;
        return is_meant && is_lost(heard) ? std::optional(LossKind::no_file) : std::nullopt;
    }
    if (is_left_out(meant)) {
        return LossKind::extra_file;
    }
    if (title == heard.title || title.size() > title_limit) {
        return std::nullopt;
    }
    return title.ends_with("/" + heard.title) ? LossKind::folders : LossKind::titles;
}

void compare_playlists(const LibraryMeaning& meaning, const std::vector<CheckedPlaylist>& heard,
                       Losses* losses) {
    const std::vector<MeantPlaylist>& meant = meaning.playlists();
    if (meant.size() != heard.size()) {
        return;
    }
    std::unordered_map<std::string, size_t> last_of_file; // if nothing were lost
    std::vector<std::string> files(meant.size());
    for (size_t index = 0; index < meant.size(); ++index) {
        const std::string title = meaning.full_title(meant[index]);
        const std::optional<LossKind> loss = loss_of(meant[index], title, heard[index]);
        if (loss) {
            losses->of(*loss).add(title);
        }
        if (is_left_out(meant[index])) {
            continue;
        }
        if (has_file(heard[index]) && heard[index].entries != meant[index].entries) {
            losses->of(LossKind::entries).add(title);
        }
        if (has_file(heard[index]) || loss) { // which does not tell the type: most are of music
            files[index] = playlist_file_name(title, has_file(heard[index]) ? heard[index].type : "M");
            last_of_file[files[index]] = index;
        }
    }
    for (size_t index = 0; index < meant.size(); ++index) {
        const bool would_stay = !files[index].empty() && last_of_file[files[index]] == index;
        if (heard[index].outcome == CheckedOutcome::replaced && would_stay) {
            losses->of(LossKind::replaced).add(meaning.full_title(meant[index]));
        }
    }
}

/// All that is lost, in the order of the kinds.
std::vector<LibraryLoss> find_losses(const LibraryMeaning& meaning, const LibraryTally& tally) {
    Losses losses;
    compare_playlists(meaning, tally.playlists, &losses);
    losses.of(LossKind::tracks) = meaning.unheard_tracks();
    losses.of(LossKind::track_titles) = meaning.other_titles();
    losses.of(LossKind::track_texts) = meaning.other_texts();
    losses.of(LossKind::values) = tally.lost_values;
    for (const int32_t id : meaning.doubled_ids()) {
        losses.of(LossKind::track_ids).add(std::to_string(id));
    }
    return losses.take();
}

/// How many of the playlists that are not listed are the library's list of all tracks; 0 where that is not
/// known.
size_t count_unlisted_main(const LibraryMeaning& meaning, const LibraryTally& tally) {
    size_t count = 0;
    for (size_t index = 0;
         meaning.playlists().size() == tally.playlists.size() && index < tally.playlists.size(); ++index) {
        const bool is_unlisted = tally.playlists[index].outcome == CheckedOutcome::not_listed;
        count += is_unlisted && meaning.playlists()[index].is_main ? 1 : 0;
    }
    return count;
}

} // namespace

const char* loss_word(LossKind kind) {
    switch (kind) {
    case LossKind::folders: return "folders";
    case LossKind::titles: return "titles";
    case LossKind::replaced: return "replaced";
    case LossKind::no_file: return "no-file";
    case LossKind::extra_file: return "extra-file";
    case LossKind::entries: return "entries";
    case LossKind::tracks: return "tracks";
    case LossKind::track_titles: return "track-titles";
    case LossKind::track_texts: return "track-texts";
    case LossKind::values: return "values";
    case LossKind::track_ids: return "track-ids";
    }
    return "";
}

void compare_with_meaning(const std::string& source_path, const std::vector<HeardTrack>& tracks,
                          const std::string& items_path, CheckedLibrary* library) {
    const LibraryMeaning meaning(source_path, tracks, items_path);
    library->damage = meaning.damage();
    library->losses = find_losses(meaning, library->tally);
    library->main_lists = count_unlisted_main(meaning, library->tally);
}
