#include "tools/itunes-check/wpl_sign.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "tools/shared/utf8.h"

namespace {

constexpr uint32_t depth_limit = 64; // elements inside one another; the import writes five
constexpr uint32_t name_size = 128;  // of a reference

constexpr uint64_t hash_start = 0xCBF29CE484222325U;

constexpr uint64_t hash_byte(uint64_t hash, int byte) {
    return (hash ^ static_cast<uint64_t>(byte)) * 0x100000001B3U;
}

consteval uint64_t hash_of(const char* name) {
    uint64_t hash = hash_start;
    for (; *name != '\0'; ++name) {
        hash = hash_byte(hash, *name);
    }
    return hash;
}

/// A file being read, one byte ahead.
struct WplReader {
    FILE* stream;
    int next;                    // the byte to come, EOF at the end
    uint32_t trail_bytes;        // still to come of the current character
    uint32_t brackets;           // those that close, just before the byte to come, in text
    WplSign sign;                // the first found
    uint32_t depth;              // open elements
    uint64_t names[depth_limit]; // what their names hash to
};

void set_sign(WplReader* reader, WplSign sign) {
    if (reader->sign == WplSign::none) {
        reader->sign = reader->next == EOF ? WplSign::cut_short : sign;
    }
}

bool is_good(const WplReader* reader) {
    return reader->sign == WplSign::none;
}

bool is_blank(int byte) {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

bool is_name_byte(int byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           byte == '_' || byte == '-' || byte == '.' || byte == ':' || byte >= 0x80;
}

/// Moves to the next byte and tests whether it may stand in UTF-8 text.
int take(WplReader* reader) {
    const int taken = reader->next;
    reader->next = getc_unlocked(reader->stream);
    const int byte = reader->next;
    const bool is_trail = byte >= 0x80 && byte < 0xC0;
    if (is_trail != (reader->trail_bytes > 0) ||
        (is_trail && !is_second_byte(static_cast<unsigned>(taken), static_cast<unsigned>(byte)))) {
        set_sign(reader, WplSign::encoding);
    }
    if (is_trail) {
        reader->trail_bytes -= reader->trail_bytes > 0 ? 1 : 0;
    } else if (byte >= 0xC2 && byte < 0xF5) {
        reader->trail_bytes = byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
    } else if (byte >= 0x80) {
        set_sign(reader, WplSign::encoding);
    } else if (byte >= 0 && byte < 0x20 && !is_blank(byte)) {
        set_sign(reader, WplSign::control);
    }
    return taken;
}

void skip_blanks(WplReader* reader) {
    while (is_good(reader) && is_blank(reader->next)) {
        (void)take(reader);
    }
}

/// Takes a name and returns its hash; 0 where none begins here.
uint64_t take_name(WplReader* reader) {
    const int first = reader->next;
    if (!is_name_byte(first) || first == '-' || first == '.' || (first >= '0' && first <= '9')) {
        return 0;
    }
    uint64_t hash = hash_start;
    while (is_good(reader) && is_name_byte(reader->next)) {
        hash = hash_byte(hash, take(reader));
    }
    return hash;
}

/// Whether a document may refer to the character.
bool is_character(unsigned long number) {
    return number == '\t' || number == '\n' || number == '\r' || (number >= 0x20 && number < 0xD800) ||
           (number >= 0xE000 && number < 0xFFFE) || (number >= 0x10000 && number < 0x110000);
}

/// Takes a reference, of which only the five names that need no declaration and numbers are good.
void take_reference(WplReader* reader) {
    char name[name_size] = {};
    uint32_t length = 0;
    (void)take(reader); // '&'
    while (is_good(reader) && length + 1 < name_size && (is_name_byte(reader->next) || reader->next == '#')) {
        name[length++] = static_cast<char>(take(reader));
    }
    bool is_known = false;
    for (const char* entity : {"amp", "lt", "gt", "quot", "apos"}) {
        is_known = is_known || strcmp(name, entity) == 0;
    }
    if (name[0] == '#') {
        const bool is_hex = name[1] == 'x';
        const char* digits = name + (is_hex ? 2 : 1);
        const char* allowed = is_hex ? "0123456789abcdefABCDEF" : "0123456789";
        is_known = digits[strspn(digits, allowed)] == '\0' &&
                   is_character(strtoul(digits, nullptr, is_hex ? 16 : 10));
    }
    if (!is_known || reader->next != ';') {
        set_sign(reader, WplSign::ampersand);
    }
}

/// Takes ATTRIBUTE="VALUE" and tests that it ends there.
void take_attribute(WplReader* reader, WplSign otherwise) {
    if (take_name(reader) == 0 || reader->next != '=') {
        set_sign(reader, otherwise);
        return;
    }
    (void)take(reader);
    const int quote = reader->next;
    if (quote != '"' && quote != '\'') {
        set_sign(reader, otherwise);
        return;
    }
    (void)take(reader);
    while (is_good(reader) && reader->next != quote && reader->next != EOF) {
        if (reader->next == '<') {
            set_sign(reader, WplSign::less_than);
        } else if (reader->next == '&') {
            take_reference(reader);
        } else {
            (void)take(reader);
        }
    }
    (void)take(reader);
    if (!is_blank(reader->next) && reader->next != '/' && reader->next != '>' && reader->next != '?') {
        set_sign(reader, otherwise);
    }
}

void open_element(WplReader* reader, uint64_t name) {
    if (reader->depth == depth_limit) {
        set_sign(reader, WplSign::less_than);
        return;
    }
    reader->names[reader->depth++] = name;
}

void close_element(WplReader* reader, uint64_t name) {
    if (reader->depth == 0 || reader->names[reader->depth - 1] != name) {
        set_sign(reader, WplSign::less_than);
        return;
    }
    --reader->depth;
}

/// Takes a byte of text, where "]]>" may not stand.
void take_text(WplReader* reader) {
    if (reader->next == '>' && reader->brackets >= 2) {
        set_sign(reader, WplSign::section_end);
    }
    reader->brackets = reader->next == ']' ? reader->brackets + 1 : 0;
    (void)take(reader);
}

/// Takes a tag, from its '<' on. Inside the text of a title whatever goes wrong is the '<' that stands there;
/// elsewhere the tag is the import's own, and only a quote in a value can break it.
void take_tag(WplReader* reader) {
    (void)take(reader);
    const bool is_end = reader->next == '/';
    const bool is_instruction = reader->next == '?';
    if (is_end || is_instruction) {
        (void)take(reader);
    }
    const bool in_title = reader->depth > 0 && reader->names[reader->depth - 1] == hash_of("title");
    const WplSign otherwise = in_title ? WplSign::less_than : WplSign::quote;
    const uint64_t name = take_name(reader);
    if (name == 0) {
        set_sign(reader, otherwise);
    }
    skip_blanks(reader);
    while (is_good(reader) && !is_end && reader->next != '>' && reader->next != '/' && reader->next != '?') {
        take_attribute(reader, otherwise);
        skip_blanks(reader);
    }
    const bool is_empty = reader->next == '/' || reader->next == '?';
    if (is_empty) {
        (void)take(reader);
    }
    if (reader->next != '>') {
        set_sign(reader, otherwise);
    } else if (is_end) {
        close_element(reader, name);
    } else if (!is_empty) {
        open_element(reader, name);
    }
}

} // namespace

WplSign wpl_find_sign(const char* path) {
    WplReader reader = {};
    reader.stream = fopen(path, "rb");
    if (reader.stream == nullptr) {
        return WplSign::cut_short;
    }
    reader.next = ' ';
    (void)take(&reader);
    while (is_good(&reader) && reader.next != EOF) {
        if (reader.next != '<' && reader.next != '&') {
            take_text(&reader);
            continue;
        }
        reader.brackets = 0;
        reader.next == '<' ? take_tag(&reader) : take_reference(&reader);
    }
    if (reader.depth != 0) {
        set_sign(&reader, WplSign::cut_short);
    }
    (void)fclose(reader.stream);
    return reader.sign;
}

const char* wpl_sign_text(WplSign sign) {
    switch (sign) {
    case WplSign::none: break;
    case WplSign::ampersand: return "&";
    case WplSign::less_than: return "<";
    case WplSign::quote: return "\"";
    case WplSign::section_end: return "]]>";
    case WplSign::control: return "a control character";
    case WplSign::encoding: return "bytes that are not UTF-8";
    case WplSign::cut_short: return "cut short";
    }
    return "";
}
