#include "tools/shared/text_output.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/shared/utf8.h"

namespace {

constexpr std::string_view replacement_character = "\xEF\xBF\xBD"; // U+FFFD
constexpr std::string_view hex_digits = "0123456789ABCDEF";

bool acts_on_terminal(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

/// Takes the character at the beginning of the text off it, or the byte that belongs to none.
std::string_view take_character(std::string_view* text, Utf8Character* character) {
    *character = utf8_first(*text);
    const std::string_view bytes = text->substr(0, std::max<size_t>(character->length, 1));
    text->remove_prefix(bytes.size());
    return bytes;
}

bool is_active(const Utf8Character& character) {
    return character.length != 0 && acts_on_terminal(character.code);
}

void append_hex(std::string* result, unsigned number, unsigned digits) {
    while (digits-- > 0) {
        *result += hex_digits[number >> 4 * digits & 0xFU];
    }
}

void append_hex_bytes(std::string* result, std::string_view bytes) {
    for (const char byte : bytes) {
        *result += "\\x";
        append_hex(result, static_cast<unsigned char>(byte), 2);
    }
}

void append_json_escape(std::string* result, char32_t code) {
    switch (code) {
    case '\n': *result += "\\n"; break;
    case '\r': *result += "\\r"; break;
    case '\t': *result += "\\t"; break;
    case '"': *result += "\\\""; break;
    case '\\': *result += "\\\\"; break;
    default: *result += "\\u"; append_hex(result, code, 4);
    }
}

bool has_active(std::string_view text) {
    while (!text.empty()) {
        Utf8Character character = {};
        (void)take_character(&text, &character);
        if (is_active(character)) {
            return true;
        }
    }
    return false;
}

} // namespace

std::string escaped(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        Utf8Character character = {};
        const std::string_view bytes = take_character(&text, &character);
        if (is_active(character)) {
            append_hex_bytes(&result, bytes);
        } else {
            result += bytes == "\\" ? "\\\\" : bytes;
        }
    }
    return result;
}

std::string json_string(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        Utf8Character character = {};
        const std::string_view bytes = take_character(&text, &character);
        if (character.length == 0) {
            result += replacement_character;
        } else if (is_active(character) || bytes == "\"" || bytes == "\\") {
            append_json_escape(&result, character.code);
        } else {
            result += bytes;
        }
    }
    return result + '"';
}

std::string shell_word(std::string_view text) {
    const bool has_escapes = has_active(text);
    std::string result = has_escapes ? "$'" : "'";
    while (!text.empty()) {
        Utf8Character character = {};
        const std::string_view bytes = take_character(&text, &character);
        if (is_active(character)) {
            append_hex_bytes(&result, bytes);
        } else if (bytes == "'") {
            result += has_escapes ? "\\'" : "'\\''";
        } else if (bytes == "\\" && has_escapes) {
            result += "\\\\";
        } else {
            result += bytes;
        }
    }
    return result + '\'';
}

bool finish_output(const char* program) {
    const bool lost_before = ferror(stdout) != 0;
    errno = 0;
    if (fclose(stdout) == 0 && !lost_before) { // the last bytes may fail to arrive only when it is closed
        return true;
    }
    fprintf(stderr, "%s: can not write standard output: %s\n", program,
            errno == 0 ? "an earlier write failed" : strerror(errno));
    return false;
}

void print_escaped(FILE* stream, const char* text) {
    if (stream != nullptr && text != nullptr) {
        fputs(escaped(text).c_str(), stream);
    }
}

void print_json_string(FILE* stream, const char* text) {
    if (stream != nullptr) {
        fputs(text == nullptr ? "null" : json_string(text).c_str(), stream);
    }
}
