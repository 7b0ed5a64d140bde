#pragma once
// Texts as they count where spellings are compared: accents composed or not, upper or lower case. Bytes that
// are no UTF-8 stand for themselves.

#include <cstdint>
#include <string>
#include <string_view>

/// In what two spellings may differ and still be alike; bits.
constexpr uint32_t spelling_accents = 1; // composed or decomposed
constexpr uint32_t spelling_case = 2;    // upper or lower, in all of Unicode: a sharp s is like two
constexpr uint32_t spelling_plus = 4;    // a plus sign or a blank
constexpr uint32_t spelling_any = spelling_accents | spelling_case | spelling_plus;

/// Returns a text that is the same for all texts that differ from this one in these ways only.
[[nodiscard]] std::string folded_text(std::string_view text, uint32_t differences);
