#include "tools/shared/path_map.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <unistd.h>

#include "tools/shared/folded_text.h"
#include "tools/shared/library_location.h"
#include "tools/shared/text_pieces.h"

namespace {

constexpr std::string_view location_start = "file:";

bool is_location(std::string_view from) {
    return folded_text(from.substr(0, location_start.size()), spelling_case) == location_start ||
           has_drive_letter(from) || (!from.empty() && has_drive_letter(from.substr(1)));
}

} // namespace

std::string PathMap::key(std::string_view path) const {
    return folded_text(path, is_foreign_ ? spelling_accents | spelling_case : spelling_accents);
}

std::optional<PathMap> PathMap::make(std::string_view from, std::string_view to) {
    std::string start =
        is_location(from) ? path_of_location(from).value_or(std::string(from)) : std::string(from);
    if (start.starts_with("\\\\")) {
        std::ranges::replace(start, '\\', '/');
    }
    start.erase(start.find_last_not_of('/') + 1);
    std::string target(to);
    if (!to.starts_with('/')) {
        char here[PATH_MAX];
        if (getcwd(here, sizeof here) == nullptr) {
            return std::nullopt;
        }
        target = std::string(here) + "/" + target;
    }
    PathMap map;
    map.is_foreign_ = has_drive_letter(start) || start.starts_with("//");
    map.start_ = map.key(start);
    map.components_ = static_cast<size_t>(std::ranges::count(start, '/')) + 1;
    target = trimmed(target, "/");
    map.target_ = target.empty() ? "" : "/" + target; // two slashes would begin a host
    return map;
}

std::optional<std::string> PathMap::apply(std::string_view path) const {
    const std::string folded = key(path);
    if (!folded.starts_with(start_) || (folded.size() > start_.size() && folded[start_.size()] != '/')) {
        return std::nullopt;
    }
    for (size_t component = 0; component < components_; ++component) {
        path = path.substr(std::min(path.find('/'), path.size()));
        if (path.empty()) {
            return target_.empty() ? "/" : target_;
        }
        path.remove_prefix(1);
    }
    path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    return std::string(target_).append("/").append(path);
}

int add_path_map(std::vector<PathMap>* maps, std::string_view text) {
    const size_t sign = text.find('=');
    if (sign == std::string_view::npos || sign == 0 || sign + 1 == text.size()) {
        return EINVAL;
    }
    std::optional<PathMap> map = PathMap::make(text.substr(0, sign), text.substr(sign + 1));
    if (!map) {
        return errno;
    }
    const auto same = std::ranges::find(*maps, map->start(), &PathMap::start);
    if (same != maps->end()) {
        *same = std::move(*map);
    } else {
        maps->push_back(std::move(*map));
    }
    return 0;
}
