#include "tools/itunes-check/html_text.h"

#include "tools/shared/text_output.h"
#include "tools/shared/utf8.h"

namespace {

constexpr std::string_view replacement_character = "\xEF\xBF\xBD"; // U+FFFD

/// Characters that neither HTML nor XML may hold, though UTF-8 has them.
bool is_no_character(char32_t code) {
    return (code & 0xFFFEU) == 0xFFFE || (code >= 0xFDD0 && code <= 0xFDEF);
}

} // namespace

std::string html_lines(std::string_view lines) {
    std::string html;
    html.reserve(lines.size());
    while (!lines.empty()) {
        const Utf8Character character = utf8_first(lines);
        const size_t length = character.length == 0 ? 1 : character.length;
        if (character.length == 0 || is_no_character(character.code)) {
            html += replacement_character;
        } else if (character.code == '&') {
            html += "&amp;";
        } else if (character.code == '<') {
            html += "&lt;";
        } else if (character.code == '>') {
            html += "&gt;";
        } else {
            html += lines.substr(0, length);
        }
        lines.remove_prefix(length);
    }
    return html;
}

std::string html_text(std::string_view text) {
    return html_lines(escaped(text));
}
