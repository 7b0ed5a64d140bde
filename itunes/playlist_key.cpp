#include "itunes/playlist_key.h"

#include <array>
#include <cstddef>
#include <string_view>

#include "itunes/library_key.h"
#include "itunes/library_values.h"
#include "itunes/plist_scanner.h"

namespace {

struct PlaylistKeyRow {
    PlaylistKey key;
    std::string_view literal;
    uint8_t elements;
};

// clang-format off
constexpr PlaylistKeyRow playlist_keys[] = {
    {PlaylistKey::name,                 "<key>Name</key>",                   library_element_string},
    {PlaylistKey::playlist_id,          "<key>Playlist ID</key>",            library_element_integer},
    {PlaylistKey::persistent_id,        "<key>Playlist Persistent ID</key>", library_element_string},
    {PlaylistKey::parent_persistent_id, "<key>Parent Persistent ID</key>",   library_element_string},
    {PlaylistKey::folder,               "<key>Folder</key><true/>",          library_element_true},
    {PlaylistKey::invisible,            "<key>Visible</key><false/>",        library_element_false},
    {PlaylistKey::distinguished_kind,   "<key>Distinguished Kind</key>",     library_element_any},
    {PlaylistKey::podcasts,             "<key>Podcasts</key><true/>",        library_element_true},
    {PlaylistKey::videos,               "<key>Videos</key><true/>",          library_element_true},
    {PlaylistKey::smart_info,           "<key>Smart Info</key>",             library_element_any},
    {PlaylistKey::items,                "<key>Playlist Items</key>",         library_element_any},
    {PlaylistKey::track_id,             "<key>Track ID</key>",               library_element_integer},
};
// clang-format on
constexpr size_t key_count = std::size(playlist_keys);
constexpr auto own_key_count = static_cast<size_t>(PlaylistKey::items); // those in front of the items

consteval bool key_table_is_sound() {
    for (size_t index = 0; index < key_count; ++index) {
        const PlaylistKeyRow& row = playlist_keys[index];
        if (static_cast<size_t>(row.key) != index || !library_key_is_sound(row.literal, row.elements)) {
            return false;
        }
    }
    return key_count == static_cast<size_t>(PlaylistKey::count);
}
static_assert(key_table_is_sound());

constexpr auto offered_keys = [] {
    std::array<LibraryKey, own_key_count> keys = {};
    for (size_t index = 0; index < keys.size(); ++index) {
        keys[index] = {library_key_name(playlist_keys[index].literal), playlist_keys[index].elements};
    }
    return keys;
}();

const PlaylistKeyRow& row_of(PlaylistKey key) {
    return playlist_keys[static_cast<size_t>(key)];
}

} // namespace

bool itunes_line_holds_key(const char* line, PlaylistKey key) {
    return itunes_line_holds(line, row_of(key).literal.data());
}

char* itunes_playlist_value(char* line, PlaylistKey key) {
    return itunes_find_value(line, row_of(key).elements);
}

std::span<const LibraryKey> itunes_playlist_keys() {
    return offered_keys;
}
