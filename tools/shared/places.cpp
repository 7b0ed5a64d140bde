#include "tools/shared/places.h"

#include <algorithm>
#include <utility>

#include "tools/shared/library_location.h"
#include "tools/shared/number_sort.h"

Places::Places(std::vector<PathMap> maps, PlaceSearch search, std::function<void()> at_each_look)
    : maps_(std::move(maps)), search_(search), at_each_look_(std::move(at_each_look)) {
    sort_largest_first(&maps_, [](const PathMap& map) { return map.start().size(); });
}

/// The paths that may be meant. A map may name a network share with its host or without.
Places::Candidates Places::candidates(std::string_view path) const {
    std::vector<std::string> forms = {std::string(path)};
    if (path.starts_with("//")) {
        forms.push_back(path_without_host(path));
    }
    for (const PathMap& map : maps_) {
        std::vector<std::string> mapped;
        for (const std::string& form : forms) {
            std::optional<std::string> target = map.apply(form);
            if (target) {
                mapped.push_back(std::move(*target));
            }
        }
        if (!mapped.empty()) {
            return {std::move(mapped), true};
        }
    }
    forms.erase(forms.begin(), forms.end() - 1);
    return {std::move(forms), false};
}

std::string Places::mapped(std::string_view path) const {
    return candidates(path).paths.front();
}

Place Places::find(std::string_view path) {
    if (at_each_look_) {
        at_each_look_();
    }
    const Candidates candidates = this->candidates(path);
    if (search_ == PlaceSearch::none) {
        return {candidates.paths.front(), Place::State::not_looked_for, candidates.are_mapped};
    }
    const auto there = std::ranges::find_if(
        candidates.paths, [this](const std::string& candidate) { return look_.sees(candidate); });
    if (there != candidates.paths.end()) {
        return {*there, Place::State::found, candidates.are_mapped};
    }
    std::string elsewhere = media_ == nullptr ? "" : media_->find(path);
    if (!elsewhere.empty()) {
        return {std::move(elsewhere), Place::State::elsewhere, false};
    }
    if (search_ == PlaceSearch::spellings) {
        for (const std::string& candidate : candidates.paths) {
            const SpellingAnswer answer = spellings_.find(candidate);
            if (!answer.found.empty()) {
                return {answer.found, Place::State::respelled, candidates.are_mapped};
            }
        }
    }
    return {candidates.paths.front(), Place::State::missing, candidates.are_mapped};
}
