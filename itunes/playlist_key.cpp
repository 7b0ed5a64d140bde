#include "itunes/playlist_key.h"

#include <array>
#include <cstddef>
#include <string_view>

#include "itunes/library_key.h"
#include "itunes/library_values.h"
#include "itunes/plist_scanner.h"

namespace {

struct PlaylistKeyRow {
    std::string_view literal;
    PlaylistKey key;
    uint8_t elements;
};

// clang-format off
constexpr PlaylistKeyRow playlist_keys[] = {
    {"<key>Name</key>",                    PlaylistKey::name,                  library_element_string},
    {"<key>Playlist ID</key>",             PlaylistKey::playlist_id,           library_element_integer},
    {"<key>Playlist Persistent ID</key>",  PlaylistKey::persistent_id,         library_element_string},
    {"<key>Parent Persistent ID</key>",    PlaylistKey::parent_persistent_id,  library_element_string},
    {"<key>Folder</key><true/>",           PlaylistKey::folder,                library_element_true},
    {"<key>Visible</key><false/>",         PlaylistKey::invisible,             library_element_false},
    {"<key>Distinguished Kind</key>",      PlaylistKey::distinguished_kind,    library_element_any},
    {"<key>Podcasts</key><true/>",         PlaylistKey::podcasts,              library_element_true},
    {"<key>Videos</key><true/>",           PlaylistKey::videos,                library_element_true},
    {"<key>Smart Info</key>",              PlaylistKey::smart_info,            library_element_any},
    {"<key>Playlist Items</key>",          PlaylistKey::items,                 library_element_any},
    {"<key>Track ID</key>",                PlaylistKey::track_id,              library_element_integer},
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
        keys[index] = {library_key_name(playlist_keys[index].literal), playlist_keys[index].elements, 0};
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
