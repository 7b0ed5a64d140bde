#include "tools/shared/library_location.h"

#include <algorithm>

#include "common/upnp_text.h"
#include "tools/shared/text_pieces.h"
#include "tools/shared/utf8.h"

namespace {

constexpr std::string_view line_blanks = "\r\n\t";

bool is_letter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

bool is_scheme_character(char byte) {
    return is_letter(byte) || (byte >= '0' && byte <= '9') || byte == '+' || byte == '.' || byte == '-';
}

bool is_same_word(std::string_view text, std::string_view word) {
    return std::ranges::equal(text, word, [](char byte, char small) {
        return byte == small || (is_letter(byte) && static_cast<char>(byte | 0x20) == small);
    });
}

/// The length of a scheme without its colon; 0 for none. One letter is a drive's.
size_t scheme_length(std::string_view location) {
    if (location.empty() || !is_letter(location[0])) {
        return 0;
    }
    size_t length = 1;
    while (length < location.size() && is_scheme_character(location[length])) {
        ++length;
    }
    return length > 1 && length < location.size() && location[length] == ':' ? length : 0;
}

bool is_escape(std::string_view text) {
    return text.size() >= 3 && text[0] == '%' && upnp_hex_digit(text[1]) >= 0 && upnp_hex_digit(text[2]) >= 0;
}

std::string unescaped(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        if (!is_escape(text)) {
            bytes += text[0];
            text.remove_prefix(1);
            continue;
        }
        const int value = 16 * upnp_hex_digit(text[1]) + upnp_hex_digit(text[2]);
        if (value == 0) {
            bytes += "%00"; // no path holds a byte of 0; as it stands, the file is just missing
        } else {
            bytes += static_cast<char>(value);
        }
        text.remove_prefix(3);
    }
    return bytes;
}

/// Drops the host of this computer from "//HOST/...".
std::string_view without_this_host(std::string_view path) {
    if (!path.starts_with("//")) {
        return path;
    }
    const std::string_view host = path.substr(2, path.find('/', 2) - 2);
    return host.empty() || is_same_word(host, "localhost") ? path.substr(2 + host.size()) : path;
}

bool is_special(char byte) {
    return std::string_view("%+&<>").find(byte) != std::string_view::npos ||
           static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

void append_escape(std::string* line, char byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    *line += '%';
    *line += digits[value >> 4U];
    *line += digits[value & 0xFU];
}

void append_reference(std::string* line, char byte) {
    line->append("&#").append(std::to_string(static_cast<unsigned char>(byte))) += ';';
}

/// Appends a byte that the import decodes or XML can not hold; `rest` begins with it.
void append_special(std::string* line, std::string_view rest, LocationForm form) {
    const char byte = rest[0];
    // A percent sign before two digits is an escape in any form, so that readers of XML get the same path.
    const bool is_control = static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
    if (form == LocationForm::references && !is_control && !is_escape(rest)) {
        append_reference(line, byte);
    } else {
        append_escape(line, byte);
    }
}

} // namespace

bool has_drive_letter(std::string_view path) {
    if (path.size() < 2 || !is_letter(path[0]) || path[1] != ':') {
        return false;
    }
    return path.size() == 2 || path[2] == '/' || path[2] == '\\';
}

std::optional<std::string> path_of_location(std::string_view location) {
    location = trimmed(location, line_blanks);
    const size_t scheme = scheme_length(location);
    if (scheme > 0 && !is_same_word(location.substr(0, scheme), "file")) {
        return std::nullopt;
    }
    std::string path =
        scheme > 0 ? unescaped(without_this_host(location.substr(scheme + 1))) : std::string(location);
    if (path.starts_with('/') && has_drive_letter(std::string_view(path).substr(1))) {
        path.erase(0, 1);
    }
    if (has_drive_letter(path) || path.starts_with("\\\\")) {
        std::ranges::replace(path, '\\', '/');
    } else if (!path.starts_with('/')) {
        return std::nullopt;
    }
    if (path.starts_with("///")) {
        path.erase(0, std::min(path.find_first_not_of('/'), path.size()) - 1);
    }
    path.erase(path.find_last_not_of('/') + 1);
    return path.empty() ? "/" : path;
}

std::string path_without_host(std::string_view path) {
    if (!path.starts_with("//")) {
        return std::string(path);
    }
    path = path.substr(std::min(path.find('/', 2), path.size()));
    path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    return std::string("/").append(path);
}

void append_location(std::string* line, std::string_view path, LocationForm form) {
    line->append(form == LocationForm::short_prefix ? "file:" : "file://localhost");
    if (!path.starts_with('/')) {
        *line += '/'; // the import drops the slash before a drive letter
    } else if (path.size() > 2 && path[2] == ':') {
        line->append("//"); // and here drops these two, instead of taking the first letter for a drive's
    }
    while (!path.empty()) {
        const size_t length = std::max<size_t>(utf8_first(path).length, 1);
        const std::string_view character = path.substr(0, length);
        const bool is_plain = length > 1 || static_cast<unsigned char>(character[0]) < 0x80;
        if (is_plain &&
            (length > 1 ? character != "\uFFFE" && character != "\uFFFF" : !is_special(character[0]))) {
            line->append(character);
        } else if (length == 1 && is_plain) {
            append_special(line, path, form);
        } else {
            for (const char byte : character) {
                append_escape(line, byte);
            }
        }
        path.remove_prefix(length);
    }
}
