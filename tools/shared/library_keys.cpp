#include "tools/shared/library_keys.h"

#include <algorithm>

namespace {

uint8_t element_bit(PlistElement element) {
    switch (element) {
    case PlistElement::string: return library_element_string;
    case PlistElement::integer: return library_element_integer;
    case PlistElement::date: return library_element_date;
    case PlistElement::boolean_true: return library_element_true;
    case PlistElement::boolean_false: return library_element_false;
    default: return library_element_any;
    }
}

const LibraryKey* row_of(std::span<const LibraryKey> rows, std::string_view key, PlistElement element) {
    const auto row = std::ranges::find(rows, key, &LibraryKey::name);
    const bool is_taken =
        row != rows.end() && (row->elements & (element_bit(element) | library_element_any)) != 0;
    return is_taken ? &*row : nullptr;
}

} // namespace

const LibraryKey* track_key_row(std::string_view key, PlistElement element) {
    return row_of(itunes_track_keys(), key, element);
}

const LibraryKey* playlist_key_row(std::string_view key, PlistElement element) {
    return row_of(itunes_playlist_keys(), key, element);
}
