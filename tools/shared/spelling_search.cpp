#include "tools/shared/spelling_search.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <initializer_list>

#include "tools/shared/directory_stream.h"
#include "tools/shared/text_hash.h"

namespace {

constexpr size_t path_size = 4096;             // what the system takes, with the zero byte
constexpr size_t directory_limit = 100'000;    // names of a directory that is searched
constexpr size_t large_directory = 4096;       // one with more names is not read twice
constexpr size_t paths_limit = 32;             // more than these under way, and none is the only one
constexpr size_t remembered_limit = 16U << 20; // bytes of listings

/// Half a hash: two names that share one are compared, and listings are half as large.
uint32_t hash_of(std::string_view folded) {
    return static_cast<uint32_t>(text_hash(folded));
}

/// The components of a path, without empty ones.
std::vector<std::string_view> names_of(std::string_view path) {
    std::vector<std::string_view> names;
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        if (!name.empty()) {
            names.push_back(name);
        }
        path.remove_prefix(std::min(name.size() + 1, path.size()));
    }
    return names;
}

/// The path of a name in a directory, "" being the working directory.
std::string path_in(const std::string& directory, std::string_view name) {
    std::string path = directory;
    if (!path.empty() && path.back() != '/') {
        path += '/';
    }
    return path.append(name);
}

/// In which ways the paths differ, which are alike in all of them together; the fewest that explain it.
uint32_t differences_of(std::string_view path, std::string_view other) {
    if (path == other) {
        return 0;
    }
    for (const uint32_t differences :
         {spelling_accents, spelling_case, spelling_plus, spelling_accents | spelling_case,
          spelling_accents | spelling_plus, spelling_case | spelling_plus}) {
        if (folded_text(path, differences) == folded_text(other, differences)) {
            return differences;
        }
    }
    return spelling_any;
}

/// Picks the path that is like the wanted one in the fewest ways; empty where several are.
std::string only_one(const std::vector<std::string>& paths, std::string_view wanted) {
    for (const uint32_t differences : {spelling_accents, spelling_accents | spelling_case, spelling_any}) {
        const std::string folded = folded_text(wanted, differences);
        const auto is_alike = [&](const std::string& path) {
            return folded_text(path, differences) == folded;
        };
        const auto first = std::ranges::find_if(paths, is_alike);
        if (first != paths.end()) {
            return std::find_if(first + 1, paths.end(), is_alike) == paths.end() ? *first : "";
        }
    }
    return "";
}

} // namespace

/// Reads the names; false where the directory can not be listed, or not any more.
bool SpellingSearch::read_listing(Listing* listing, int* error) {
    DirectoryStream entries(listing->directory.empty() ? "." : listing->directory.c_str());
    while (const dirent* entry = entries.next()) {
        if (++names_read_ > names_limit_) {
            is_known_ = false;
            return false;
        }
        if (listing->names.size() == directory_limit) {
            listing->is_searched = false;
            listing->names = {};
            listing->texts = {};
            return true;
        }
        listing->names.push_back({hash_of(folded_text(entry->d_name, differences_)),
                                  static_cast<uint32_t>(listing->texts.size())});
        listing->texts.append(entry->d_name).push_back('\0');
    }
    *error = entries.error();
    look_.note(*error);
    std::ranges::sort(listing->names, {}, &Listing::Name::hash);
    return *error == 0;
}

void SpellingSearch::forget_oldest() {
    const Listing& oldest = listings_.back();
    remembered_bytes_ -= oldest.size();
    if (oldest.names.size() > large_directory) {
        not_again_.insert(oldest.directory);
    }
    by_directory_.erase(oldest.directory);
    listings_.pop_back();
}

/// The names in a directory; null where it can not be listed. `is_dead` then says whether nothing can be
/// below it.
const SpellingSearch::Listing* SpellingSearch::listing(const std::string& directory, bool* is_dead) {
    const auto known = by_directory_.find(directory);
    if (known != by_directory_.end()) {
        listings_.splice(listings_.begin(), listings_, known->second);
        return &listings_.front();
    }
    if (names_read_ >= names_limit_ || not_again_.contains(directory)) {
        is_known_ = false;
        return nullptr;
    }
    Listing fresh;
    fresh.directory = directory;
    int error = 0;
    if (!read_listing(&fresh, &error)) { // not remembered: a path may lead through thousands that are none
        *is_dead = error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
        return nullptr;
    }
    fresh.texts.shrink_to_fit();
    fresh.names.shrink_to_fit();
    remembered_bytes_ += fresh.size();
    listings_.push_front(std::move(fresh));
    by_directory_.emplace(listings_.front().directory, listings_.begin());
    while (remembered_bytes_ > remembered_limit && listings_.size() > 1) {
        forget_oldest();
    }
    return &listings_.front();
}

/// Adds the paths of all names in the directory that are like this one.
void SpellingSearch::add_alike(const std::string& directory, std::string_view name,
                               std::vector<std::string>* paths) {
    bool is_dead = false;
    const Listing* names = name == "." || name == ".." ? nullptr : listing(directory, &is_dead);
    if (is_dead) {
        return;
    }
    if (names == nullptr || !names->is_searched) {
        is_known_ = is_known_ && names == nullptr;
        paths->push_back(path_in(directory, name));
        return;
    }
    const std::string folded = folded_text(name, differences_);
    const uint32_t hash = hash_of(folded);
    for (auto place = std::ranges::lower_bound(names->names, hash, {}, &Listing::Name::hash);
         place != names->names.end() && place->hash == hash && paths->size() <= paths_limit; ++place) {
        const char* spelling = names->texts.data() + place->offset;
        if (folded_text(spelling, differences_) == folded) {
            paths->push_back(path_in(directory, spelling));
        }
    }
}

/// All paths that are like the directory's, which neighbours share; none where they are too many.
const std::vector<std::string>& SpellingSearch::all_alike(const std::string& directory) {
    if (is_directory_known_ && directory == directory_) {
        return found_;
    }
    directory_ = directory;
    found_ = {directory.starts_with('/') ? "/" : ""};
    for (const std::string_view name : names_of(directory)) {
        std::vector<std::string> following;
        for (const std::string& start : found_) {
            add_alike(start, name, &following);
        }
        if (following.size() > paths_limit) {
            following.clear();
        }
        found_ = std::move(following);
    }
    is_directory_known_ = is_known_;
    return found_;
}

SpellingAnswer SpellingSearch::find(std::string_view path) {
    const std::vector<std::string_view> names = names_of(path);
    if (path.size() >= path_size || names.empty()) {
        return {};
    }
    std::string directory = path.starts_with('/') ? "/" : "";
    for (size_t index = 0; index + 1 < names.size(); ++index) {
        directory = path_in(directory, names[index]);
    }
    is_known_ = true;
    std::vector<std::string> found;
    for (const std::string& start : all_alike(directory)) {
        add_alike(start, names.back(), &found);
    }
    if (found.size() > paths_limit) {
        found.clear();
    }
    std::erase_if(found, [this](const std::string& each) { return !look_.sees(each); });
    const std::string wanted = path_in(directory, names.back());
    SpellingAnswer answer;
    answer.found = only_one(found, wanted);
    answer.is_known = is_known_ || !answer.found.empty();
    answer.differences = answer.found.empty() ? 0 : differences_of(wanted, answer.found);
    return answer;
}

size_t SpellingSearch::existing_length(std::string_view path) {
    const auto leads_through = [&path](const std::string& start) {
        return !start.empty() && path.starts_with(start) &&
               (path.size() == start.size() || path[start.size()] == '/' || start == "/");
    };
    if (leads_through(not_existing_)) {
        return existing_.size();
    }
    size_t length = leads_through(existing_) ? existing_.size() : 0;
    not_existing_.clear();
    if (length == 0 && path.starts_with('/')) {
        length = 1;
    }
    while (length < path.size()) {
        const size_t start = std::min(path.find_first_not_of('/', length), path.size());
        const size_t end = std::min(path.find('/', start), path.size());
        if (start == path.size() || end >= path_size) {
            break;
        }
        if (!look_.sees(std::string(path.substr(0, end)))) {
            not_existing_ = path.substr(0, end);
            break;
        }
        length = end;
    }
    existing_ = path.substr(0, length);
    return length;
}
