#include "tools/itunes-check/losses.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

namespace {

constexpr size_t example_limit = 5;
constexpr size_t title_limit = 250; // bytes; a longer one has no file, and may be cut

/// Gathers losses by kind.
class Losses {
public:
    void add(LossKind kind, const std::string& example) {
        LibraryLoss& loss = losses_[static_cast<size_t>(kind)];
        ++loss.count;
        if (loss.examples.size() < example_limit) {
            loss.examples.push_back(example);
        }
    }
    std::vector<LibraryLoss> take() {
        std::erase_if(losses_, [](const LibraryLoss& loss) { return loss.count == 0; });
        return std::move(losses_);
    }

private:
    std::vector<LibraryLoss> losses_ = {{LossKind::folders, 0, {}},    {LossKind::titles, 0, {}},
                                        {LossKind::replaced, 0, {}},   {LossKind::no_file, 0, {}},
                                        {LossKind::extra_file, 0, {}}, {LossKind::track_titles, 0, {}},
                                        {LossKind::track_ids, 0, {}}};
};

bool has_file(const CheckedPlaylist& heard) {
    return heard.outcome == CheckedOutcome::file || heard.outcome == CheckedOutcome::replaced ||
           heard.outcome == CheckedOutcome::not_moved;
}

/// What is lost of one playlist, but for its being replaced.
std::optional<LossKind> loss_of(const MeantPlaylist& meant, const std::string& title,
                                const CheckedPlaylist& heard) {
    if (!has_file(heard)) {
        const bool is_taken_for_another = heard.outcome == CheckedOutcome::not_listed ||
                                          heard.outcome == CheckedOutcome::smart ||
                                          heard.outcome == CheckedOutcome::built_in;
        const bool is_lost = is_taken_for_another && !meant.is_left_out() && !meant.name.empty();
        return is_lost ? std::optional(LossKind::no_file) : std::nullopt;
    }
    if (meant.is_left_out()) {
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
            losses->add(*loss, title);
        }
        if (has_file(heard[index]) && !meant[index].is_left_out()) {
            files[index] = playlist_file_name(title, heard[index].type);
            last_of_file[files[index]] = index;
        }
    }
    for (size_t index = 0; index < meant.size(); ++index) {
        const bool would_stay = !files[index].empty() && last_of_file[files[index]] == index;
        if (heard[index].outcome == CheckedOutcome::replaced && would_stay) {
            losses->add(LossKind::replaced, meaning.full_title(meant[index]));
        }
    }
}

} // namespace

const char* loss_word(LossKind kind) {
    switch (kind) {
    case LossKind::folders: return "folders";
    case LossKind::titles: return "titles";
    case LossKind::replaced: return "replaced";
    case LossKind::no_file: return "no-file";
    case LossKind::extra_file: return "extra-file";
    case LossKind::track_titles: return "track-titles";
    case LossKind::track_ids: return "track-ids";
    }
    return "";
}

std::vector<LibraryLoss> find_losses(const LibraryMeaning& meaning, const LibraryTally& tally) {
    Losses losses;
    compare_playlists(meaning, tally.playlists, &losses);
    for (const std::string& title : meaning.other_titles()) {
        losses.add(LossKind::track_titles, title);
    }
    for (const int32_t id : meaning.doubled_ids()) {
        losses.add(LossKind::track_ids, std::to_string(id));
    }
    return losses.take();
}

size_t count_unlisted_main(const LibraryMeaning& meaning, const LibraryTally& tally) {
    size_t count = 0;
    for (size_t index = 0;
         meaning.playlists().size() == tally.playlists.size() && index < tally.playlists.size(); ++index) {
        const bool is_unlisted = tally.playlists[index].outcome == CheckedOutcome::not_listed;
        count += is_unlisted && meaning.playlists()[index].is_main ? 1 : 0;
    }
    return count;
}
