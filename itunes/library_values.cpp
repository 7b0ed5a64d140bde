#include "itunes/library_values.h"

#include <cstddef>
#include <cstring>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/library_key.h"

namespace {

constexpr uint32_t duration_size = 15; // "H:MM:SS.mmm", at most 14 characters
constexpr size_t date_length = 19;     // YYYY-MM-DDTHH:MM:SS

constexpr size_t localhost_prefix_length = 16; // "file://localhost"
constexpr size_t file_prefix_length = 5;       // "file:"

struct ElementTag {
    uint8_t element;
    const char* tag;
};
constexpr ElementTag element_tags[] = {
    {library_element_string, "string"}, {library_element_integer, "integer"}, {library_element_date, "date"}};

/// Finds the opening tag ("<string>") or the closing one ("</string>"). Null if there is none.
char* find_tag(char* text, bool is_closing, const char* tag, size_t tag_length) {
    for (char* found = strchr(text, '<'); found != nullptr; found = strchr(found + 1, '<')) {
        if (is_closing && found[1] != '/') {
            continue;
        }
        const char* name = found + (is_closing ? 2 : 1);
        const bool is_tag = tag_length == 0 || (*name == *tag && strncmp(name, tag, tag_length) == 0);
        if (is_tag && name[tag_length] == '>') {
            return found;
        }
    }
    return nullptr;
}

/// Cuts the line at the value's closing tag and decodes the value where it stands. Null if there is none.
char* decode_value(char* line, const char* tag) {
    if (line == nullptr || tag == nullptr) {
        return nullptr;
    }
    const size_t tag_length = strlen(tag);
    char* opening = find_tag(line, false, tag, tag_length);
    if (opening == nullptr) {
        return nullptr;
    }
    char* value = opening + tag_length + 2;
    char* closing = find_tag(value, true, tag, tag_length);
    if (closing == nullptr) {
        return nullptr;
    }
    *closing = '\0';
    itunes_url_decode(value);
    return value;
}

bool is_separator(char character) {
    return character == '/' || character == '\\';
}

/// Skips the "//HOST" or "\\HOST" of a network share; the path keeps its leading separator.
const char* skip_network_host(const char* path) {
    if (!is_separator(path[0]) || path[1] != path[0]) {
        return path;
    }
    return path + 2 + strcspn(path + 2, "/\\");
}

} // namespace

char* itunes_get_value(char* line, const char* tag) {
    return upnp_strdup(decode_value(line, tag));
}

char* itunes_find_value(char* line, uint8_t elements) {
    for (const ElementTag& row : element_tags) {
        char* value = (elements & row.element) != 0 ? decode_value(line, row.tag) : nullptr;
        if (value != nullptr) {
            return value;
        }
    }
    return nullptr;
}

int32_t itunes_get_integer_value(char* line, const char* tag) {
    return upnp_parse_int32(decode_value(line, tag));
}

void itunes_url_decode(char* text) {
    if (text == nullptr) {
        return;
    }
    // `read` is never behind `write`, so nothing that has been written is read again.
    char* write = text + strcspn(text, "%&+"); // most values hold nothing to decode
    const char* read = write;
    while (*read != '\0') {
        if (read[0] == '%' && upnp_hex_digit(read[1]) >= 0 && upnp_hex_digit(read[2]) >= 0) {
            *write++ = static_cast<char>(16 * upnp_hex_digit(read[1]) + upnp_hex_digit(read[2]));
            read += 3;
        } else if (read[0] == '&' && read[1] == '#') {
            const char* digits = read + 2;
            const auto number = static_cast<uint32_t>(upnp_parse_int32(digits));
            *write++ = static_cast<char>(number & 0xFFU);
            read = digits + strcspn(digits, ";");
            read += *read == ';' ? 1 : 0;
        } else {
            *write++ = *read == '+' ? ' ' : *read;
            ++read;
        }
    }
    *write = '\0';
}

char* itunes_format_duration(int32_t milliseconds) {
    const int32_t hours = milliseconds / 3'600'000;
    const int32_t minutes = milliseconds % 3'600'000 / 60'000;
    const int32_t seconds = milliseconds % 60'000 / 1000;
    char text[duration_size];
    upnp_format(text, sizeof text, "%d:%02d:%02d.%03d", hours, minutes, seconds, milliseconds % 1000);
    return upnp_strdup(text);
}

char* itunes_location_to_path(char* location) {
    if (location == nullptr) {
        return nullptr;
    }
    size_t length = strlen(location);
    if (length > 0 && location[length - 1] == '/') {
        location[--length] = '\0';
    }
    const size_t prefix_length =
        strstr(location, "localhost") != nullptr ? localhost_prefix_length : file_prefix_length;
    const char* path = prefix_length < length ? location + prefix_length : location + length;
    if (strnlen(path, 3) == 3 && path[2] == ':') {
        ++path;
    }
    return upnp_strdup(skip_network_host(path));
}

int32_t itunes_modification_stamp(const char* date) {
    unsigned char text[date_length + 1] = {};
    if (date != nullptr) {
        memcpy(text, date, strnlen(date, date_length));
    }
    // Unsigned arithmetic wraps as 32-bit signed numbers do; nothing checks that the characters are digits.
    const auto digit = [&text](size_t position) { return uint32_t{text[position]} - uint32_t{'0'}; };
    const auto two_digits = [&digit](size_t position) { return digit(position) * 10 + digit(position + 1); };
    const uint32_t year = two_digits(0) * 100 + two_digits(2);
    const uint32_t days = (year - 1980) * 366 + two_digits(5) * 31 + two_digits(8);
    const uint32_t seconds = days * 86400 + two_digits(11) * 3600 + two_digits(14) * 60 + two_digits(17);
    return static_cast<int32_t>(seconds);
}
