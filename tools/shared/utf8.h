#pragma once
// The one decoder of UTF-8. What it takes for a character is what Unicode takes for one: no overlong form, no
// surrogate, nothing above U+10FFFF.

#include <cstddef>
#include <string_view>

struct Utf8Character {
    char32_t code;
    size_t length; // bytes; 0 where no valid character begins
};

/// The character at the beginning of the text; of length 0 for an empty text, too.
[[nodiscard]] Utf8Character utf8_first(std::string_view text);

/// The first `count` characters of a text that is UTF-8; the whole text where it has no more.
[[nodiscard]] std::string_view utf8_first_characters(std::string_view text, size_t count);
