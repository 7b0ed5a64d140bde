#pragma once
// Small questions about texts that the standard library leaves open.

#include <algorithm>
#include <cstddef>
#include <string_view>

/// The text without these characters at its beginning and at its end.
[[nodiscard]] inline std::string_view trimmed(std::string_view text, std::string_view characters) {
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
    return text.substr(0, text.find_last_not_of(characters) + 1);
}

/// How often the piece stands in the text, one behind the other.
[[nodiscard]] inline size_t count_of(std::string_view piece, std::string_view text) {
    size_t count = 0;
    for (size_t at = text.find(piece); at != std::string_view::npos;
         at = text.find(piece, at + piece.size())) {
        ++count;
    }
    return count;
}
