#include "tools/shared/text_output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/shared/utf8.h"

namespace {

constexpr std::string_view replacement_character = "\xEF\xBF\xBD"; // U+FFFD
constexpr std::string_view hex_digits = "0123456789ABCDEF";

int lost_reason = 0; // errno of the first write to standard output that failed

bool acts_on_terminal(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

bool is_plain(char byte) {
    return byte >= ' ' && byte < 0x7F && byte != '\\' && byte != '"' && byte != '\'';
}

/// What is escaped or not as one: a run of characters that nobody escapes, or else one character or the byte
/// that belongs to none.
struct Piece {
    std::string_view bytes;
    bool is_valid;  // UTF-8
    bool is_active; // acts on a terminal
    char32_t code;  // of one character
};

/// Takes the piece at the beginning of the text off it.
Piece take_piece(std::string_view* text) {
    const auto* plain_end = std::ranges::find_if_not(*text, is_plain);
    Piece piece = {{text->begin(), plain_end}, true, false, 0};
    if (piece.bytes.empty()) {
        const Utf8Character character = utf8_first(*text);
        const bool is_valid = character.length != 0;
        piece = {text->substr(0, is_valid ? character.length : 1), is_valid,
                 is_valid && acts_on_terminal(character.code), character.code};
    }
    text->remove_prefix(piece.bytes.size());
    return piece;
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
        if (take_piece(&text).is_active) {
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
        const Piece piece = take_piece(&text);
        if (piece.is_active) {
            append_hex_bytes(&result, piece.bytes);
        } else {
            result += piece.bytes == "\\" ? "\\\\" : piece.bytes;
        }
    }
    return result;
}

std::string json_string(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const Piece piece = take_piece(&text);
        if (!piece.is_valid) {
            result += replacement_character;
        } else if (piece.is_active || piece.bytes == "\"" || piece.bytes == "\\") {
            append_json_escape(&result, piece.code);
        } else {
            result += piece.bytes;
        }
    }
    return result + '"';
}

std::string shell_word(std::string_view text) {
    const bool has_escapes = has_active(text);
    std::string result = has_escapes ? "$'" : "'";
    while (!text.empty()) {
        const Piece piece = take_piece(&text);
        if (piece.is_active) {
            append_hex_bytes(&result, piece.bytes);
        } else if (piece.bytes == "'") {
            result += has_escapes ? "\\'" : "'\\''";
        } else if (piece.bytes == "\\" && has_escapes) {
            result += "\\\\";
        } else {
            result += piece.bytes;
        }
    }
    return result + '\'';
}

void put_output(std::string_view text) {
    if (fwrite(text.data(), 1, text.size(), stdout) < text.size() && lost_reason == 0) {
        lost_reason = errno;
    }
}

bool finish_output(const char* program) {
    const bool lost_before = ferror(stdout) != 0;
    errno = lost_reason;
    if (fclose(stdout) == 0 && !lost_before) { // the last bytes may fail to arrive only when it is closed
        return true;
    }
    fprintf(stderr, "%s: can not write standard output: %s\n", program,
            errno == 0 ? "an earlier write failed" : strerror(errno));
    return false;
}
