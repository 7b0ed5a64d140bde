#include "itunes/plist_scanner.h"

#include <cstring>
#include <sys/stat.h>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"

namespace {

/// Reads in a row that may move nothing before the library counts as ended. More than a run of interrupted
/// reads is likely to be, and few enough that a disk on which each read takes seconds to fail ends the pass
/// within minutes.
constexpr uint32_t idle_read_limit = 16;

constexpr uint32_t duration_size = 15; // "H:MM:SS.mmm", at most 14 characters

/// Finds the opening tag ("<string>") or the closing one ("</string>"). Null if there is none.
char* find_tag(char* text, bool is_closing, const char* tag, size_t tag_length) {
    for (char* found = strchr(text, '<'); found != nullptr; found = strchr(found + 1, '<')) {
        if (is_closing && found[1] != '/') {
            continue;
        }
        const char* name = found + (is_closing ? 2 : 1);
        if (*name == *tag && strncmp(name, tag, tag_length) == 0 && name[tag_length] == '>') {
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

} // namespace

bool itunes_next_line(PlistScanner* scanner) {
    if (scanner == nullptr || upnp_file_at_end(scanner->file) != 0) {
        return false;
    }
    UpnpFile* file = scanner->file;
    // Where the position cannot be queried (a pipe), the file layer's own count decides.
    if (file->position >= file->size || scanner->idle_reads >= idle_read_limit) {
        return false;
    }
    const int64_t position = file->position;
    upnp_file_read_line(scanner->line, itunes_line_size, file);
    scanner->idle_reads = file->position == position ? scanner->idle_reads + 1 : 0;
    return true;
}

UpnpFile* itunes_open_library(const char* path) {
    // Asked without the file layer: a library that is not there is reported once, by the open.
    struct stat status = {};
    if (path != nullptr && stat(path, &status) == 0 && S_ISFIFO(status.st_mode)) {
        return nullptr;
    }
    return upnp_file_open_read(path);
}

bool itunes_line_holds(const char* line, const char* literal) {
    return line != nullptr && literal != nullptr && strstr(line, literal) != nullptr;
}

char* itunes_get_value(char* line, const char* tag) {
    return upnp_strdup(decode_value(line, tag));
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
