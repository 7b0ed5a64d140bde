#pragma once
// Looks for a file that is not at its path under another spelling of the path: accents composed or
// decomposed, upper or lower case, a plus sign where the import reads a blank. Letters are taken as equal
// whatever their case in ASCII, Latin-1, Latin Extended-A, Greek and Cyrillic, with any accent.
//
// Directories are listed, files only asked for (stat). Neighbouring calls for paths of the same directories
// share what they learned, and the work of all calls together is bounded. What they remember stays until the
// process ends.

#include <cstdint>

/// How a spelling differs; bits.
constexpr uint32_t spelling_accents = 1;
constexpr uint32_t spelling_case = 2;
constexpr uint32_t spelling_plus = 4;
constexpr uint32_t spelling_any = spelling_accents | spelling_case | spelling_plus;

constexpr uint32_t spelling_path_size = 4096;
constexpr uint32_t spelling_length_unknown = 0xFFFFFFFF;

struct SpellingResult {
    bool is_known;            // false where the bound on the work or memory is reached
    bool is_found;            // a file is there under another spelling
    uint32_t differences;     // what differs, where it is found
    uint32_t existing_length; // how many bytes of the path as it stands are there; 0 for none, or unknown
    char found[spelling_path_size];
};

/// Looks for the file at `path`, which does not exist, and fills `result`.
void spelling_search(const char* path, SpellingResult* result);
