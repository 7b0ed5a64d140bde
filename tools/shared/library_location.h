#pragma once
// Locations of a library's tracks and the paths in them: "/...", "C:/..." or, on a share, "//HOST/...". Paths
// are bytes.

#include <optional>
#include <string>
#include <string_view>

/// The path in a file URL, or in a bare path; none in anything else, such as the address of a stream. No path
/// ends with a slash but "/", and a byte of 0 stands in it as "%00".
[[nodiscard]] std::optional<std::string> path_of_location(std::string_view location);

/// Whether the path begins with a drive letter.
[[nodiscard]] bool has_drive_letter(std::string_view path);

/// The path as the import takes it, which knows no hosts: "//HOST/music" is "/music".
[[nodiscard]] std::string path_without_host(std::string_view path);

/// How a path is written into a location, from the clearest way to the shortest.
enum class LocationForm {
    references,   // what the import would decode is a reference: "&#43;"
    escapes,      // or an escape: "%2B", which is shorter
    short_prefix, // and "file:" in front; not for a path that holds "localhost", which the import skips over
};

/// Appends a location, as it stands in a line, which the import converts to just this path, "/..." or
/// "C:/...".
void append_location(std::string* line, std::string_view path, LocationForm form);
