#pragma once
// What itunes-check was asked for on its command line.

#include <cstdint>
#include <optional>
#include <string>

enum class OutputForm : uint8_t {
    summary, // for people
    list,    // lines for programs
    json,
};

struct CheckRequest {
    OutputForm form = OutputForm::summary;
    std::string library_path;
    std::optional<std::string> items_path; // of the present items file
    std::optional<std::string> media_path; // of a folder to look through
    std::optional<std::string> page_path;  // of a page to write
    std::optional<uint32_t> min_share;     // percent; with an items file only
};

/// Takes a whole number of percent from 0 to 100, of at most three digits; nothing for any other text.
[[nodiscard]] std::optional<uint32_t> parse_min_share(const char* text);

/// Reads the command line. Without a result the program ends with `exit_status`: the help or the version was
/// printed, or wrong usage was said.
[[nodiscard]] std::optional<CheckRequest> read_check_request(int argc, char** argv, int* exit_status);
