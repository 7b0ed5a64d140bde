#include "tools/shared/utf8.h"

namespace {

/// Whether UTF-8 may have the byte `second` behind the byte `lead`, which begins a character: narrower where
/// it would make an overlong form, a surrogate or more than U+10FFFF.
bool is_second_byte(unsigned lead, unsigned second) {
    const unsigned lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return second >= lowest && second <= highest;
}

} // namespace

Utf8Character utf8_first(std::string_view text) {
    if (text.empty()) {
        return {0, 0};
    }
    const unsigned lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return {lead, 1};
    }
    if (lead < 0xC2 || lead > 0xF4 || text.size() < 2 ||
        !is_second_byte(lead, static_cast<unsigned char>(text[1]))) {
        return {0, 0};
    }
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t code = lead & (0x7FU >> length);
    for (size_t index = 1; index < length; ++index) {
        const unsigned byte = index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
        if ((byte & 0xC0U) != 0x80) {
            return {0, 0};
        }
        code = code << 6U | (byte & 0x3FU);
    }
    return {code, length};
}

std::string_view utf8_first_characters(std::string_view text, size_t count) {
    size_t length = 0;
    while (length < text.size()) {
        const bool begins_character = (static_cast<unsigned char>(text[length]) & 0xC0U) != 0x80U;
        if (begins_character && count-- == 0) {
            break;
        }
        ++length;
    }
    return text.substr(0, length);
}
