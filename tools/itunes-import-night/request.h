#pragma once
// What a night was asked for on its command line.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/itunes-check/judgement.h"
#include "tools/shared/path_map.h"

struct NightRequest {
    std::string database_dir;
    std::string playlist_dir; // the database directory where it was not given
    std::string library_path;
    std::string log_path;                   // empty for none
    uint32_t min_share = default_min_share; // percent of the present records that have to come
    bool prepares = false;                  // the library goes through the preparation first
    std::vector<PathMap> maps;              // for the preparation
    std::string media_dir;                  // a folder that the preparation looks through; empty for none
    std::string page_path;                  // of a page to look at; empty for none
    bool is_verbose = false;                // a good night is told, too
};

/// Reads the command line. Without a result the program ends with `exit_status`: the help or the version was
/// printed, or wrong usage was said.
[[nodiscard]] std::optional<NightRequest> read_night_request(int argc, char** argv, int* exit_status);
