#pragma once
// Maps: paths that begin with FROM begin with TO instead.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class PathMap {
public:
    /// `from` is one or more whole components of a path, or a location; its accents count as the same however
    /// they are composed and, behind a drive letter or a host, upper and lower case too. A relative `to` is
    /// taken from the working directory; without one, there is no map, and errno says why.
    [[nodiscard]] static std::optional<PathMap> make(std::string_view from, std::string_view to);

    /// The mapped path; none where this map does not fit.
    [[nodiscard]] std::optional<std::string> apply(std::string_view path) const;

    /// FROM as it is compared.
    [[nodiscard]] const std::string& start() const { return start_; }

private:
    [[nodiscard]] std::string key(std::string_view path) const;

    bool is_foreign_ = false; // a drive letter or a host
    std::string start_;
    size_t components_ = 1;
    std::string target_;
};

/// Adds the map that is asked for as "FROM=TO", in place of one with the same start. Returns 0, EINVAL for
/// any other text, or the error's number where the working directory is not to be had.
[[nodiscard]] int add_path_map(std::vector<PathMap>* maps, std::string_view text);
