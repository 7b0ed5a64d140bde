#include "tools/shared/text_output.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace {

constexpr char replacement_character[] = "\xEF\xBF\xBD"; // U+FFFD

/// The bytes of the valid UTF-8 character at `text`; 0 if there is none. The text's end is no part of any.
uint32_t character_length(const char* text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    const unsigned lead = bytes[0];
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    if (!is_second_byte(lead, bytes[1])) {
        return 0;
    }
    const uint32_t length = 2U + (lead >= 0xE0 ? 1U : 0U) + (lead >= 0xF0 ? 1U : 0U);
    for (uint32_t index = 2; index < length; ++index) {
        if ((bytes[index] & 0xC0U) != 0x80) {
            return 0;
        }
    }
    return length;
}

/// Whether the character at `text` is a control character or one that a JSON string escapes.
bool is_escaped_in_json(const char* text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    const bool is_high_control = bytes[0] == 0xC2 && bytes[1] < 0xA0; // U+0080 to U+009F
    return bytes[0] < 0x20 || bytes[0] == 0x7F || bytes[0] == '"' || bytes[0] == '\\' || is_high_control;
}

void print_json_escape(FILE* stream, const char* text, uint32_t length) {
    switch (text[0]) {
    case '\n': fputs("\\n", stream); break;
    case '\r': fputs("\\r", stream); break;
    case '\t': fputs("\\t", stream); break;
    case '"': fputs("\\\"", stream); break;
    case '\\': fputs("\\\\", stream); break;
    default: // the last byte of the two-byte controls is their number
        fprintf(stream, "\\u%04X", static_cast<unsigned>(static_cast<unsigned char>(text[length - 1])));
    }
}

} // namespace

bool is_second_byte(unsigned lead, unsigned second) {
    const unsigned lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return second >= lowest && second <= highest;
}

void print_escaped(FILE* stream, const char* text) {
    if (stream == nullptr || text == nullptr) {
        return;
    }
    const char* plain = text; // printed up to here
    for (; *text != '\0'; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte >= 0x20 && byte != 0x7F && byte != '\\') {
            continue;
        }
        (void)fwrite(plain, 1, static_cast<size_t>(text - plain), stream);
        if (byte == '\\') {
            fputs("\\\\", stream);
        } else {
            fprintf(stream, "\\x%02X", static_cast<unsigned>(byte));
        }
        plain = text + 1;
    }
    fputs(plain, stream);
}

void print_json_string(FILE* stream, const char* text) {
    if (stream == nullptr) {
        return;
    }
    if (text == nullptr) {
        fputs("null", stream);
        return;
    }
    putc('"', stream);
    const char* plain = text;
    while (*text != '\0') {
        const uint32_t length = character_length(text);
        if (length != 0 && !is_escaped_in_json(text)) {
            text += length;
            continue;
        }
        (void)fwrite(plain, 1, static_cast<size_t>(text - plain), stream);
        if (length == 0) {
            fputs(replacement_character, stream);
            ++text;
        } else {
            print_json_escape(stream, text, length);
            text += length;
        }
        plain = text;
    }
    fputs(plain, stream);
    putc('"', stream);
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
