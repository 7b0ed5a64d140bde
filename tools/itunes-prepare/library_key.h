#pragma once
// Until the import offers them: the keys that it reads, with the elements that it takes their values from.

#include <cstdint>
#include <span>
#include <string_view>

constexpr uint8_t library_element_string = 1;
constexpr uint8_t library_element_integer = 2;
constexpr uint8_t library_element_date = 4;
constexpr uint8_t library_element_true = 8;
constexpr uint8_t library_element_false = 16;
constexpr uint8_t library_element_any = 32;

struct LibraryKey {
    std::string_view name;
    uint8_t elements;
};

constexpr LibraryKey track_key_rows[] = {
    {"Name", 1},         {"Artist", 1},        {"Album Artist", 1},  {"Protected", 8},  {"Composer", 1},
    {"Album", 1},        {"Rating", 2},        {"Genre", 1},         {"Size", 2},       {"Total Time", 2},
    {"Track Number", 2}, {"Bit Rate", 2},      {"Sample Rate", 2},   {"Play Count", 2}, {"Disc Count", 2},
    {"Disc Number", 2},  {"Date Modified", 5}, {"Play Date UTC", 5}, {"Track Type", 1}, {"Year", 2},
    {"Has Video", 8},    {"Compilation", 8},   {"Location", 1},
};
constexpr LibraryKey playlist_key_rows[] = {
    {"Name", 1},   {"Playlist ID", 2}, {"Playlist Persistent ID", 1}, {"Parent Persistent ID", 1},
    {"Folder", 8}, {"Visible", 16},    {"Distinguished Kind", 32},    {"Podcasts", 8},
    {"Videos", 8}, {"Smart Info", 32}};

inline std::span<const LibraryKey> itunes_track_keys() {
    return track_key_rows;
}
inline std::span<const LibraryKey> itunes_playlist_keys() {
    return playlist_key_rows;
}
