#include "tools/shared/folded_text.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <utf8proc.h>

#include "tools/shared/utf8.h"

namespace {

struct FreeText {
    void operator()(utf8proc_uint8_t* text) const { free(text); } // NOLINT: utf8proc took it by malloc
};

bool is_ascii(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

char small_ascii_letter(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
}

const utf8proc_uint8_t* bytes_of(std::string_view text) {
    return reinterpret_cast<const utf8proc_uint8_t*>(text.data());
}

/// How many bytes at the beginning are characters.
size_t valid_length(std::string_view text) {
    size_t length = 0;
    while (const size_t size = utf8_first(text.substr(length)).length) {
        length += size;
    }
    return length;
}

/// Appends characters as they count.
void append_folded(std::string* folded, std::string_view characters, uint32_t differences) {
    unsigned options = UTF8PROC_STABLE;
    if ((differences & spelling_accents) != 0) {
        options |= UTF8PROC_COMPOSE;
    }
    if ((differences & spelling_case) != 0) {
        options |= UTF8PROC_CASEFOLD;
    }
    utf8proc_uint8_t* mapped = nullptr;
    const utf8proc_ssize_t size =
        utf8proc_map(bytes_of(characters), static_cast<utf8proc_ssize_t>(characters.size()), &mapped,
                     static_cast<utf8proc_option_t>(options));
    const std::unique_ptr<utf8proc_uint8_t, FreeText> owner(mapped);
    if (size < 0) {
        throw std::bad_alloc(); // the only way for characters to fail
    }
    folded->append(reinterpret_cast<const char*>(mapped), static_cast<size_t>(size));
}

} // namespace

std::string folded_text(std::string_view text, uint32_t differences) {
    std::string folded;
    if (is_ascii(text)) { // as most are
        folded = text;
        if ((differences & spelling_case) != 0) {
            std::ranges::transform(folded, folded.begin(), small_ascii_letter);
        }
    } else {
        while (!text.empty()) {
            const size_t length = valid_length(text);
            if (length > 0) {
                append_folded(&folded, text.substr(0, length), differences);
            }
            folded.append(text.substr(length, 1)); // a byte of no character, if any is left
            text.remove_prefix(std::min(length + 1, text.size()));
        }
    }
    if ((differences & spelling_plus) != 0) {
        std::ranges::replace(folded, '+', ' ');
    }
    return folded;
}
