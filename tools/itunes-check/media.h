#pragma once
// What --media found of a library's files: the maps that lead to them, as advice for people and as rows for
// programs.

#include <string>

#include "tools/shared/media_search.h"

struct CheckedMedia {
    std::string folder; // that was looked through
    MediaSearch search;
};

/// Looks below the folder for the library's files that are not in their places, as itunes-prepare does.
/// Returns 0, or the error's number, with what can not be read in `path`.
[[nodiscard]] int find_media(const std::string& library_path, CheckedMedia* media, std::string* path);

/// One itunes-prepare command that leads to what was found, as lines; empty where nothing was. `library` is
/// the library's path as a word of the shell.
[[nodiscard]] std::string media_advice(const CheckedMedia& media, const std::string& library);

/// One line, or one JSON object, a map.
void print_map_lines(const CheckedMedia& media);
void print_map_objects(const CheckedMedia& media);

/// FROM as a word of the shell in front of the '=' of --map: as an address where it holds that sign itself.
[[nodiscard]] std::string map_start_word(const std::string& folder);
