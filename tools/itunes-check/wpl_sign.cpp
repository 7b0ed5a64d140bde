#include "tools/itunes-check/wpl_sign.h"

#include <algorithm>
#include <expat.h>
#include <fcntl.h>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <unistd.h>

#include "tools/shared/descriptor.h"
#include "tools/shared/utf8.h"

namespace {

constexpr int block_size = 1 << 16;

using Parser = std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)>;

/// A parser of documents without a declaration, as playlists are.
Parser new_parser() {
    Parser parser(XML_ParserCreate("UTF-8"), XML_ParserFree);
    if (parser == nullptr) {
        throw std::bad_alloc();
    }
    return parser;
}

/// Whether the parser went on.
bool went_well(const Parser& parser, XML_Status status) {
    if (status == XML_STATUS_ERROR && XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY) {
        throw std::bad_alloc();
    }
    return status == XML_STATUS_OK;
}

/// The place of a value in the import's documents.
struct Place {
    std::string_view before;
    std::string_view behind;
    bool is_attribute;
};
constexpr Place path_place = {"<media src=\"", "\" />", true};
constexpr Place title_place = {"<title>", "</title>", false};

/// What may be wrong with the character at the beginning of the text.
WplSign sign_of_first(std::string_view text, Utf8Character character, bool is_attribute) {
    if (character.length == 0) {
        return WplSign::encoding;
    }
    switch (character.code) {
    case '&': return WplSign::ampersand;
    case '<': return WplSign::less_than;
    case '"': return is_attribute ? WplSign::quote : WplSign::none;
    case ']': return text.starts_with("]]>") && !is_attribute ? WplSign::section_end : WplSign::none;
    case '\t':
    case '\n':
    case '\r': return WplSign::none;
    default: break;
    }
    const bool is_no_character =
        character.code < 0x20 || character.code == 0xFFFE || character.code == 0xFFFF;
    return is_no_character ? WplSign::control : WplSign::none;
}

/// The last sign in the value that begins at `limit` or before.
WplSign last_sign(std::string_view value, size_t limit, bool is_attribute) {
    WplSign last = WplSign::none;
    for (size_t at = 0; at < value.size() && at <= limit;) {
        const std::string_view rest = value.substr(at);
        const Utf8Character character = utf8_first(rest);
        const WplSign sign = sign_of_first(rest, character, is_attribute);
        last = sign == WplSign::none ? last : sign;
        at += std::max<size_t>(character.length, 1);
    }
    return last;
}

/// Where a parser stops inside the value in its place; nothing where it does not.
std::optional<size_t> fault_position(std::string_view value, const Place& place) {
    const Parser parser = new_parser();
    std::string document(place.before);
    document.append(value).append(place.behind);
    const auto length = static_cast<int>(document.size());
    if (went_well(parser, XML_Parse(parser.get(), document.data(), length, XML_TRUE))) {
        return std::nullopt;
    }
    const auto position = static_cast<size_t>(std::max<XML_Index>(XML_GetCurrentByteIndex(parser.get()), 0));
    return position - std::min(position, place.before.size());
}

WplSign value_sign(std::string_view value, const Place& place) {
    const WplSign sign = last_sign(value, value.size(), place.is_attribute);
    if (sign == WplSign::none) {
        return sign; // as in most values: nothing to ask a parser
    }
    const std::optional<size_t> position = fault_position(value, place);
    if (!position) {
        return WplSign::none;
    }
    const WplSign nearest = last_sign(value, *position, place.is_attribute);
    return nearest == WplSign::none ? sign : nearest;
}

} // namespace

bool wpl_is_well_formed(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const Parser parser = new_parser();
    bool is_good = file.is_open();
    bool is_over = false;
    while (is_good && !is_over) {
        void* block = XML_GetBuffer(parser.get(), block_size);
        const ssize_t length = block == nullptr ? -1 : read(file.number(), block, block_size);
        is_over = length == 0;
        is_good = length >= 0 &&
                  went_well(parser, XML_ParseBuffer(parser.get(), static_cast<int>(length), is_over));
    }
    return is_good;
}

WplSign wpl_path_sign(const char* path) {
    return value_sign(path, path_place);
}

WplSign wpl_title_sign(const char* title) {
    return value_sign(title, title_place);
}

const char* wpl_sign_text(WplSign sign) {
    switch (sign) {
    case WplSign::none: return "";
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
