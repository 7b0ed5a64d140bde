// The import with a buffered SAX parser: the library in one pass with large reads, output through stdio.
//
//     import_expat LIBRARY DATABASE_DIRECTORY
//
// Writes itunes.import.items and the playlists straight into the directory, without the tool's workspace. For
// libraries from generate_library the files are those of the tool, byte for byte. It shows the price of
// reading line by line with a system call or three a line; in return it keeps the playlists' items in memory.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <expat.h>
#include <iterator>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

constexpr int read_size = 64 * 1024;
// Dictionaries around a value: the library's own, the list of tracks, the track.
constexpr int library_depth = 1;
constexpr int playlist_depth = 2;
constexpr int item_depth = 3;
constexpr int track_depth = 3;

enum class KeyKind : uint8_t {
    text,
    number,
    number_unless_zero,
    rating,
    duration,
    modification_time,
    last_played,
    track_type,
    location,
    compilation,
    has_video,
    is_protected,
    track_id,
};

struct TrackKey {
    std::string_view name;
    KeyKind kind;
    unsigned property;
};

constexpr TrackKey track_keys[] = {
    {"Track ID", KeyKind::track_id, 0},
    {"Name", KeyKind::text, 20},
    {"Artist", KeyKind::text, 22},
    {"Album Artist", KeyKind::text, 27},
    {"Composer", KeyKind::text, 24},
    {"Album", KeyKind::text, 26},
    {"Genre", KeyKind::text, 25},
    {"Size", KeyKind::number, 61},
    {"Total Time", KeyKind::duration, 62},
    {"Disc Number", KeyKind::number, 47},
    {"Disc Count", KeyKind::number, 46},
    {"Track Number", KeyKind::number_unless_zero, 30},
    {"Date Modified", KeyKind::modification_time, 34},
    {"Bit Rate", KeyKind::number_unless_zero, 63},
    {"Sample Rate", KeyKind::number_unless_zero, 64},
    {"Play Count", KeyKind::number, 31},
    {"Play Date UTC", KeyKind::last_played, 35},
    {"Rating", KeyKind::rating, 32},
    {"Compilation", KeyKind::compilation, 43},
    {"Has Video", KeyKind::has_video, 0},
    {"Protected", KeyKind::is_protected, 0},
    {"Track Type", KeyKind::track_type, 0},
    {"Location", KeyKind::location, 60},
};

constexpr unsigned class_property = 3;
constexpr unsigned protocol_property = 69;

constexpr std::string_view skipped_names[] = {"Library", "Recently Added", "Music", "Podcasts"};
constexpr std::string_view video_extensions[] = {".mov", ".mp4", ".m4v"};

struct Track {
    int32_t id;
    std::string location;
    bool has_location;
    bool is_url;
    bool is_protected;
    bool has_video;
    std::vector<std::string> entries; // of the record, in the order of the keys
};

struct Playlist {
    std::string name;
    std::string persistent_id;
    std::string parent_persistent_id;
    bool is_video;
    bool is_skipped;
    std::vector<int32_t> items;
};

enum class Section : uint8_t {
    none,
    tracks,
    playlists
};

struct Import {
    const char* library_path;
    std::string directory;
    FILE* items;
    Section section;
    int depth; // open dictionaries
    std::string key;
    std::string text; // of the current element
    Track track;
    std::unordered_map<int32_t, std::string> locations;
    std::vector<Playlist> playlists;
};

[[noreturn]] void fail(const char* what, const std::string& path) {
    fprintf(stderr, "import_expat: cannot %s %s\n", what, path.c_str());
    exit(1);
}

bool has_suffix(const std::string& text, std::string_view suffix) {
    return std::string_view(text).ends_with(suffix);
}

int hex_digit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Percent escapes are decoded in every text, and a plus sign is a blank.
std::string decode(const std::string& text) {
    if (text.find_first_of("%+") == std::string::npos) {
        return text;
    }
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '%' && index + 2 < text.size() && hex_digit(text[index + 1]) >= 0 &&
            hex_digit(text[index + 2]) >= 0) {
            decoded += static_cast<char>(16 * hex_digit(text[index + 1]) + hex_digit(text[index + 2]));
            index += 2;
        } else {
            decoded += text[index] == '+' ? ' ' : text[index];
        }
    }
    return decoded;
}

int32_t parse_number(const std::string& text) {
    return static_cast<int32_t>(std::clamp(strtoll(text.c_str(), nullptr, 10), -0x80000000LL, 0x7FFFFFFFLL));
}

std::string modification_stamp(std::string date) {
    date.resize(std::max(date.size(), size_t{19}), '0');
    const auto digit = [&date](size_t position) { return static_cast<uint32_t>(date[position] - '0'); };
    const auto two_digits = [&digit](size_t position) { return digit(position) * 10 + digit(position + 1); };
    const uint32_t year = two_digits(0) * 100 + two_digits(2);
    const uint32_t days = (year - 1980) * 366 + two_digits(5) * 31 + two_digits(8);
    return std::to_string(
        static_cast<int32_t>(days * 86400 + two_digits(11) * 3600 + two_digits(14) * 60 + two_digits(17)));
}

std::string format_duration(int32_t milliseconds) {
    char text[32];
    snprintf(text, sizeof text, "%d:%02d:%02d.%03d", milliseconds / 3'600'000,
             milliseconds % 3'600'000 / 60'000, milliseconds % 60'000 / 1000, milliseconds % 1000);
    return text;
}

std::string location_to_path(std::string location) {
    if (has_suffix(location, "/")) {
        location.pop_back();
    }
    const size_t prefix_length = location.find("localhost") != std::string::npos ? 16 : 5;
    std::string path = location.substr(std::min(prefix_length, location.size()));
    if (path.size() > 2 && path[2] == ':') {
        path.erase(0, 1);
    }
    if (path.starts_with("//")) {
        path.erase(0, std::min(path.find('/', 2), path.size()));
    }
    return path;
}

void add_entry(Track* track, unsigned property, const std::string& value) {
    if (value.empty()) {
        return;
    }
    char header[32];
    snprintf(header, sizeof header, "%02X%03zX", property, value.size());
    track->entries.push_back(header + value + "\n");
}

void read_track_value(Track* track, const std::string& key, const std::string& text, bool is_true) {
    const auto* row = std::ranges::find(track_keys, key, &TrackKey::name);
    if (row == std::end(track_keys)) {
        return;
    }
    switch (row->kind) {
    case KeyKind::track_id: track->id = parse_number(text); break;
    case KeyKind::text: add_entry(track, row->property, decode(text)); break;
    case KeyKind::number: add_entry(track, row->property, std::to_string(parse_number(text))); break;
    case KeyKind::number_unless_zero:
        if (parse_number(text) != 0) {
            add_entry(track, row->property, std::to_string(parse_number(text)));
        }
        break;
    case KeyKind::rating:
        add_entry(track, row->property, std::to_string(std::clamp(parse_number(text) / 20, 0, 5)));
        break;
    case KeyKind::duration: add_entry(track, row->property, format_duration(parse_number(text))); break;
    case KeyKind::modification_time: add_entry(track, row->property, modification_stamp(text)); break;
    case KeyKind::last_played: add_entry(track, row->property, text.substr(0, text.find('Z'))); break;
    case KeyKind::track_type:
        if (text == "File" || text == "URL") {
            track->is_url = text == "URL";
        }
        break;
    case KeyKind::location:
        track->has_location = true;
        track->location = track->is_url ? decode(text) : location_to_path(decode(text));
        add_entry(track, row->property, track->location);
        add_entry(track, protocol_property, track->is_url ? "h" : "d");
        break;
    case KeyKind::compilation:
        if (is_true) {
            add_entry(track, row->property, "1");
        }
        break;
    case KeyKind::has_video: track->has_video = is_true; break;
    case KeyKind::is_protected: track->is_protected = is_true; break;
    }
}

void finish_track(Import* import) {
    Track* track = &import->track;
    if (!track->has_location || track->is_protected) {
        return;
    }
    struct stat status = {};
    if (!track->is_url && stat(track->location.c_str(), &status) == 0) {
        add_entry(track, class_property,
                  track->has_video ? "object.item.videoItem.movie" : "object.item.audioItem.musicTrack");
        fputs(">>>>\n", import->items);
        for (auto entry = track->entries.rbegin(); entry != track->entries.rend(); ++entry) {
            fwrite(entry->data(), 1, entry->size(), import->items);
        }
    }
    import->locations.emplace(track->id, std::move(track->location));
}

void read_playlist_value(Playlist* playlist, const std::string& key, const std::string& text, bool is_true) {
    if (key == "Name") {
        playlist->name = decode(text);
        playlist->is_skipped |= std::ranges::find(skipped_names, playlist->name) != std::end(skipped_names);
    } else if (key == "Playlist Persistent ID") {
        playlist->persistent_id = text;
    } else if (key == "Parent Persistent ID") {
        playlist->parent_persistent_id = text;
    } else if (key == "Videos") {
        playlist->is_video = is_true;
    } else if (key == "Distinguished Kind" || key == "Smart Info") {
        playlist->is_skipped = true;
    }
}

void start_element(void* data, const XML_Char* element, const XML_Char** /*attributes*/) {
    auto* import = static_cast<Import*>(data);
    import->text.clear();
    if (strcmp(element, "dict") != 0) {
        return;
    }
    ++import->depth;
    if (import->section == Section::tracks && import->depth == track_depth) {
        import->track = {};
    } else if (import->section == Section::playlists && import->depth == playlist_depth) {
        import->playlists.emplace_back();
    }
}

void read_text(void* data, const XML_Char* text, int length) {
    static_cast<Import*>(data)->text.append(text, static_cast<size_t>(length));
}

void end_element(void* data, const XML_Char* element) {
    auto* import = static_cast<Import*>(data);
    if (strcmp(element, "key") == 0) {
        import->key.swap(import->text);
        if (import->depth == library_depth) {
            import->section = import->key == "Tracks"      ? Section::tracks
                              : import->key == "Playlists" ? Section::playlists
                                                           : Section::none;
        }
    } else if (strcmp(element, "dict") == 0) {
        if (import->section == Section::tracks && import->depth == track_depth) {
            finish_track(import);
        }
        --import->depth;
    } else if (strcmp(element, "array") != 0) {
        const bool is_true = strcmp(element, "true") == 0;
        if (import->section == Section::tracks && import->depth == track_depth) {
            read_track_value(&import->track, import->key, import->text, is_true);
        } else if (import->section == Section::playlists && import->depth == playlist_depth) {
            read_playlist_value(&import->playlists.back(), import->key, import->text, is_true);
        } else if (import->section == Section::playlists && import->depth == item_depth) {
            import->playlists.back().items.push_back(parse_number(import->text));
        }
    }
}

void parse_library(Import* import) {
    FILE* library = fopen(import->library_path, "rb");
    XML_Parser parser = XML_ParserCreate(nullptr);
    if (library == nullptr || parser == nullptr) {
        fail("open", import->library_path);
    }
    setbuf(library, nullptr); // the parser's buffer is large enough
    XML_SetUserData(parser, import);
    XML_SetElementHandler(parser, start_element, end_element);
    XML_SetCharacterDataHandler(parser, read_text);
    size_t count = 0;
    do {
        void* buffer = XML_GetBuffer(parser, read_size);
        count = buffer == nullptr ? 0 : fread(buffer, 1, read_size, library);
        if (buffer == nullptr ||
            XML_ParseBuffer(parser, static_cast<int>(count), count == 0) != XML_STATUS_OK) {
            fail("parse", import->library_path);
        }
    } while (count > 0);
    XML_ParserFree(parser);
    fclose(library);
}

/// The names from the outermost folder down to the playlist's own; a circle of parents ends it.
std::string folder_path(const Import* import, const Playlist* playlist) {
    std::string path = playlist->name;
    for (size_t steps = 0; steps < import->playlists.size() && !playlist->parent_persistent_id.empty();
         ++steps) {
        const auto parent =
            std::ranges::find(import->playlists, playlist->parent_persistent_id, &Playlist::persistent_id);
        if (parent == import->playlists.end()) {
            break;
        }
        playlist = &*parent;
        path.insert(0, playlist->name + "/");
    }
    return path;
}

void write_playlist(const Import* import, const Playlist* playlist) {
    std::vector<const std::string*> entries;
    for (const int32_t id : playlist->items) {
        const auto found = import->locations.find(id);
        if (found != import->locations.end()) {
            entries.push_back(&found->second);
        }
    }
    if (entries.empty()) {
        return;
    }
    const bool is_video = playlist->is_video || std::ranges::any_of(video_extensions, [&](auto extension) {
                              return has_suffix(*entries.front(), extension);
                          });
    const char* type = is_video ? "V" : "M";
    const std::string title = folder_path(import, playlist);
    std::string name = title + "##" + type;
    std::ranges::replace_if(
        name, [](char character) { return strchr(" \\/+:*<>|@$\"'&?~", character) != nullptr; }, '_');
    const std::string path = import->directory + "/iTunes-playlist-" + name + ".wpl";
    FILE* output = fopen(path.c_str(), "wb");
    if (output == nullptr) {
        fail("create", path);
    }
    fprintf(
        output,
        "<?wpl version=\"1.0\"?>\n<smil>\n <head>\n  <meta name=\"Generator\" content=\"ZembraMedia\"/>\n"
        "  <meta name=\"IsNetworkFeed\" content=\"0\"/>\n  <meta name=\"IsUserGenerated\" content=\"0\"/>\n"
        "  <meta name=\"OrigFilename\" content=\"%s\"/>\n  <meta name=\"Type\" content=\"%s\"/>\n"
        "  <title>%s</title>\n </head>\n <body>\n  <seq>\n",
        import->library_path, type, title.c_str());
    for (const std::string* entry : entries) {
        fprintf(output, "   <media src=\"%s\" />\n", entry->c_str());
    }
    fputs("  </seq>\n </body>\n</smil>\n", output);
    if (fclose(output) != 0) {
        fail("write", path);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        fputs("usage: import_expat LIBRARY DATABASE_DIRECTORY\n", stderr);
        return 2;
    }
    Import import = {};
    import.library_path = argv[1];
    import.directory = argv[2];
    const std::string items_path = import.directory + "/itunes.import.items";
    import.items = fopen(items_path.c_str(), "wb");
    if (import.items == nullptr) {
        fail("create", items_path);
    }
    parse_library(&import);
    if (fclose(import.items) != 0) {
        fail("write", items_path);
    }
    for (const Playlist& playlist : import.playlists) {
        if (!playlist.is_skipped) {
            write_playlist(&import, &playlist);
        }
    }
    return 0;
}
