#pragma once
// The keys that the import reads, for programs that write libraries for it or compare them with its records: each
// key's name, the elements that its value is taken from and the property that it goes to. They are the rows that
// the readers themselves go by.

#include <cstdint>
#include <span>
#include <string_view>

/// The elements of a value, as bits.
constexpr uint8_t library_element_string = 1;
constexpr uint8_t library_element_integer = 2;
constexpr uint8_t library_element_date = 4;
constexpr uint8_t library_element_true = 8;   // the key counts where it is followed by <true/>
constexpr uint8_t library_element_false = 16; // by <false/>
constexpr uint8_t library_element_any = 32;   // the key itself counts, whatever its value

struct LibraryKey {
    std::string_view name; // as in "Album Artist"
    uint8_t elements;
    int16_t property; // of a record, which gets the value; 0 where it is used otherwise
};

/// Returns the name in a key's literal, as "Name" for "<key>Name</key>" and "Videos" for
/// "<key>Videos</key><true/>".
constexpr std::string_view library_key_name(std::string_view literal) {
    constexpr std::string_view opening = "<key>";
    return literal.substr(opening.size(), literal.find("</key>") - opening.size());
}

/// Returns whether a literal goes with its elements: a boolean is part of it, any other value is not.
constexpr bool library_key_is_sound(std::string_view literal, uint8_t elements) {
    const std::string_view value = literal.substr(literal.find("</key>") + 6);
    return literal.starts_with("<key>") && value == (elements == library_element_true    ? "<true/>"
                                                     : elements == library_element_false ? "<false/>"
                                                                                         : "");
}

/// The keys of a track's dictionary behind its Track ID, in the order in which one of several on a line wins.
[[nodiscard]] std::span<const LibraryKey> itunes_track_keys();

/// The keys of a playlist's or a folder's dictionary in front of its Playlist Items.
[[nodiscard]] std::span<const LibraryKey> itunes_playlist_keys();
