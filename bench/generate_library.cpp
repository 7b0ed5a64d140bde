// Writes an iTunes library of any size with its media files, for measurements:
//
//     generate_library TRACKS SEED DIRECTORY
//
// DIRECTORY/iTunes Music Library.xml    25 keys and about 1.35 kB a track (playlist items included), rising
// ids DIRECTORY/media/ARTIST/ALBUM/...      an empty file for every tenth track; the others are missing
// DIRECTORY/locations                   the path of each track in order, each ended by a NUL, for `floor`
//
// 20 playlists and folders hold every track once, in shuffled order. The same arguments give the same bytes
// on every machine; the locations hold the absolute path of DIRECTORY.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace {

constexpr uint64_t first_track_id = 1638;
constexpr uint64_t track_id_step = 2;
constexpr uint64_t existing_file_step = 10; // one track in so many has its file
constexpr uint64_t fewest_album_tracks = 8;
constexpr uint64_t album_track_range = 7;
constexpr uint64_t most_artist_albums = 4;

constexpr const char* name_starts[] = {
    "Amber",     "Black",  "Café",  "Captain", "Crystal", "Dancing", "Electric", "Fallen",
    "Günter",    "Hollow", "Iron",  "Jeanne",  "Kaiser",  "Little",  "Márta",    "Northern",
    "Orchestra", "Paper",  "Quiet", "Rubén",   "Silver",  "Tiny",    "Umbra",    "Velvet",
    "Wandering", "Yellow", "Zoë",   "Søren",   "Blind",   "Copper",  "Midnight", "Royal",
};
constexpr const char* name_ends[] = {
    "Arrows",  "& the Cats", "Choir",    "Dreamers", "Ensemble", "Foxes",    "Gardens",   "& Sons",
    "Highway", "Island",     "Jackdaws", "Kings",    "Lanterns", "Martínez", "Nine",      "Orchestra",
    "Parade",  "Quartet",    "Rivers",   "Sisters",  "Trio",     "Union",    "Villagers", "Whisper",
    "Archive", "Band",       "Club",     "District", "Engine",   "Brothers", "Society",   "Trees",
};
constexpr const char* title_words[] = {
    "Love",      "Rain",  "Summer",   "Road",     "Home",    "Lights",  "River",    "Dance",
    "Shadows",   "Heart", "Morning",  "Winter",   "City",    "Océano",  "Fire",     "Letter",
    "Strangers", "Blue",  "Golden",   "Sleep",    "Machine", "Forever", "Señorita", "Window",
    "Train",     "Ghost", "Paradise", "Tomorrow", "Silence", "Sky",
};
constexpr const char* genres[] = {"Alternative", "Blues", "Classical", "Electronic", "Folk", "Hip-Hop/Rap",
                                  "Jazz",        "Pop",   "R&B/Soul",  "Rock",       "World"};
struct Playlist {
    const char* name;
    bool is_folder;
    int parent; // the index of the folder that holds it, which stands before it; -1 for none
};

constexpr Playlist playlists[] = {
    {"By mood", true, -1},        {"Calm", false, 0},           {"Loud", false, 0},
    {"Sunday morning", false, 0}, {"By year", true, -1},        {"Eighties & before", true, 4},
    {"Vinyl", false, 5},          {"Tapes", false, 5},          {"Nineties", false, 4},
    {"2000 to 2009", false, 4},   {"Travel", true, -1},         {"Road trip", false, 10},
    {"Été à la mer", false, 10},  {"Night train", false, 10},   {"Party", false, -1},
    {"Dinner", false, -1},        {"Running 5 km", false, -1},  {"Rock/Best of", false, -1},
    {"Children", false, -1},      {"New & unheard", false, -1},
};

struct Generator {
    uint64_t state;
    std::string directory; // absolute
    FILE* library;
    FILE* locations;
    uint64_t artist_count;
    // The album being filled.
    std::string artist;
    std::string album;
    std::string genre;
    uint64_t album_of_artist;
    uint64_t albums_of_artist;
    uint64_t track_of_album;
    uint64_t tracks_of_album;
    uint64_t year;
};

/// SplitMix64, so that no library's random numbers decide what a seed means.
uint64_t next_random(Generator* generator) {
    generator->state += 0x9E3779B97F4A7C15U;
    uint64_t mixed = generator->state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31);
}

uint64_t random_below(Generator* generator, uint64_t limit) {
    return next_random(generator) % limit;
}

template <size_t count>
const char* random_text(Generator* generator, const char* const (&texts)[count]) {
    return texts[random_below(generator, count)];
}

[[noreturn]] void fail(const std::string& message) {
    fprintf(stderr, "generate_library: %s\n", message.c_str());
    exit(1);
}

FILE* create(const std::string& path) {
    FILE* file = fopen(path.c_str(), "wb");
    if (file == nullptr) {
        fail("cannot create " + path);
    }
    return file;
}

void finish(FILE* file, const char* name) {
    if (ferror(file) != 0 || fclose(file) != 0) {
        fail(std::string("cannot write the ") + name);
    }
}

/// iTunes writes markup characters as decimal references.
std::string escape_markup(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        if (character == '&' || character == '<' || character == '>') {
            escaped += "&#" + std::to_string(static_cast<int>(character)) + ";";
        } else {
            escaped += character;
        }
    }
    return escaped;
}

bool stays_in_url(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string("-_.~/!*'(),:@$;=&").find(character) != std::string::npos;
}

/// As iTunes writes the location of a file: percent escapes, but an ampersand as a reference.
std::string file_url(const std::string& path) {
    std::string url = "file://localhost";
    for (const char character : path) {
        if (stays_in_url(character)) {
            url += character;
        } else {
            char escape[4];
            snprintf(escape, sizeof escape, "%%%02X",
                     static_cast<unsigned>(static_cast<unsigned char>(character)));
            url += escape;
        }
    }
    return escape_markup(url);
}

/// A name in a path: a slash would begin another folder.
std::string file_name(const std::string& text) {
    std::string name = text;
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
}

void write_string(Generator* generator, const char* key, const std::string& value) {
    fprintf(generator->library, "\t\t\t<key>%s</key><string>%s</string>\n", key,
            escape_markup(value).c_str());
}

void write_integer(Generator* generator, const char* key, uint64_t value) {
    fprintf(generator->library, "\t\t\t<key>%s</key><integer>%llu</integer>\n", key,
            static_cast<unsigned long long>(value));
}

void write_date(Generator* generator, const char* key) {
    const auto year = static_cast<unsigned>(2005 + random_below(generator, 9));
    const auto month = static_cast<unsigned>(1 + random_below(generator, 12));
    const auto day = static_cast<unsigned>(1 + random_below(generator, 28));
    const auto hour = static_cast<unsigned>(random_below(generator, 24));
    const auto minute = static_cast<unsigned>(random_below(generator, 60));
    const auto second = static_cast<unsigned>(random_below(generator, 60));
    fprintf(generator->library, "\t\t\t<key>%s</key><date>%04u-%02u-%02uT%02u:%02u:%02uZ</date>\n", key, year,
            month, day, hour, minute, second);
}

std::string persistent_id(uint64_t number) {
    char text[17];
    snprintf(text, sizeof text, "%016llX", static_cast<unsigned long long>(number));
    return text;
}

/// Every artist has a name of its own, and every album of an artist too: no two tracks share a file.
void begin_artist(Generator* generator) {
    const uint64_t number = generator->artist_count++;
    const uint64_t combinations = std::size(name_starts) * std::size(name_ends);
    const uint64_t mixed = number % combinations * 397 % combinations; // odd, so each combination comes once
    generator->artist = std::string(name_starts[mixed / std::size(name_ends)]) + " " +
                        name_ends[mixed % std::size(name_ends)];
    if (number >= combinations) {
        generator->artist += " " + std::to_string(number / combinations + 1);
    }
    generator->album_of_artist = 0;
    generator->albums_of_artist = 1 + random_below(generator, most_artist_albums);
}

void begin_album(Generator* generator) {
    if (generator->album_of_artist == generator->albums_of_artist) {
        begin_artist(generator);
    }
    static constexpr const char* openings[most_artist_albums] = {"The", "Another", "Return of the", "Live:"};
    generator->album =
        std::string(openings[generator->album_of_artist]) + " " + random_text(generator, title_words);
    ++generator->album_of_artist;
    generator->genre = random_text(generator, genres);
    generator->year = 1965 + random_below(generator, 49);
    generator->track_of_album = 0;
    generator->tracks_of_album = fewest_album_tracks + random_below(generator, album_track_range);
}

std::string random_title(Generator* generator) {
    std::string title = random_text(generator, title_words);
    if (random_below(generator, 2) != 0) {
        title += std::string(" ") + random_text(generator, title_words);
    }
    return title;
}

void create_media_file(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error) {
        fail("cannot create the folder of " + path);
    }
    finish(create(path), "media file");
}

void write_track(Generator* generator, uint64_t index) {
    if (generator->track_of_album == generator->tracks_of_album) {
        begin_album(generator);
    }
    const uint64_t number = ++generator->track_of_album;
    const uint64_t id = first_track_id + index * track_id_step;
    const bool is_mp3 = random_below(generator, 4) != 0;
    const std::string title = random_title(generator);
    const std::string composer = random_text(generator, name_starts);
    char prefix[8];
    snprintf(prefix, sizeof prefix, "%02u ", static_cast<unsigned>(number));
    const std::string path = generator->directory + "/media/" + file_name(generator->artist) + "/" +
                             file_name(generator->album) + "/" + prefix + file_name(title) +
                             (is_mp3 ? ".mp3" : ".m4a");

    fprintf(generator->library, "\t\t<key>%llu</key>\n\t\t<dict>\n", static_cast<unsigned long long>(id));
    write_integer(generator, "Track ID", id);
    write_string(generator, "Name", title);
    write_string(generator, "Artist", generator->artist);
    write_string(generator, "Album Artist", generator->artist);
    write_string(generator, "Composer", composer);
    write_string(generator, "Album", generator->album);
    write_string(generator, "Genre", generator->genre);
    write_string(generator, "Kind", is_mp3 ? "MPEG audio file" : "AAC audio file");
    write_integer(generator, "Size", 2'000'000 + random_below(generator, 9'000'000));
    write_integer(generator, "Total Time", 120'000 + random_below(generator, 300'000));
    write_integer(generator, "Disc Number", 1);
    write_integer(generator, "Disc Count", 1);
    write_integer(generator, "Track Number", number);
    write_integer(generator, "Track Count", generator->tracks_of_album);
    write_integer(generator, "Year", generator->year);
    write_integer(generator, "BPM", 60 + random_below(generator, 120));
    write_date(generator, "Date Modified");
    write_date(generator, "Date Added");
    write_integer(generator, "Bit Rate", is_mp3 ? 192 : 256);
    write_integer(generator, "Sample Rate", 44100);
    write_integer(generator, "Play Count", random_below(generator, 60));
    write_date(generator, "Play Date UTC");
    write_integer(generator, "Rating", 20 * random_below(generator, 6));
    write_string(generator, "Track Type", "File");
    fprintf(generator->library, "\t\t\t<key>Location</key><string>%s</string>\n\t\t</dict>\n",
            file_url(path).c_str());

    fwrite(path.c_str(), 1, path.size() + 1, generator->locations);
    if (index % existing_file_step == 0) {
        create_media_file(path);
    }
}

std::vector<uint64_t> shuffled_ids(Generator* generator, uint64_t tracks) {
    std::vector<uint64_t> ids(tracks);
    for (uint64_t index = 0; index < tracks; ++index) {
        ids[index] = first_track_id + index * track_id_step;
    }
    for (uint64_t left = tracks; left > 1; --left) {
        std::swap(ids[left - 1], ids[random_below(generator, left)]);
    }
    return ids;
}

/// Name, ids, flags, items: the order in which iTunes exports a library.
void write_playlist(Generator* generator, size_t index, uint64_t playlist_id, const uint64_t* ids,
                    uint64_t count) {
    const Playlist* playlist = &playlists[index];
    FILE* library = generator->library;
    fputs("\t\t<dict>\n", library);
    write_string(generator, "Name", playlist->name);
    write_integer(generator, "Playlist ID", playlist_id);
    write_string(generator, "Playlist Persistent ID", persistent_id(0x5EED000000000000U + index));
    if (playlist->parent >= 0) {
        write_string(generator, "Parent Persistent ID",
                     persistent_id(0x5EED000000000000U + static_cast<uint64_t>(playlist->parent)));
    }
    fputs("\t\t\t<key>All Items</key><true/>\n", library);
    if (playlist->is_folder) {
        fputs("\t\t\t<key>Folder</key><true/>\n", library);
    }
    fputs("\t\t\t<key>Playlist Items</key>\n\t\t\t<array>\n", library);
    for (uint64_t item = 0; item < count; ++item) {
        fprintf(library,
                "\t\t\t\t<dict>\n\t\t\t\t\t<key>Track ID</key><integer>%llu</integer>\n\t\t\t\t</dict>\n",
                static_cast<unsigned long long>(ids[item]));
    }
    fputs("\t\t\t</array>\n\t\t</dict>\n", library);
}

/// Deals the tracks out to the playlists. With fewer tracks than playlists the last ones are left out: iTunes
/// writes no items for an empty playlist.
void write_playlists(Generator* generator, uint64_t tracks) {
    const std::vector<uint64_t> ids = shuffled_ids(generator, tracks);
    const uint64_t playlist_count = std::size(playlists);
    uint64_t done = 0;
    for (size_t index = 0; index < playlist_count; ++index) {
        const uint64_t count = tracks / playlist_count + (index < tracks % playlist_count ? 1 : 0);
        if (count > 0) {
            write_playlist(generator, index, first_track_id + tracks * track_id_step + index * 3,
                           ids.data() + done, count);
        }
        done += count;
    }
}

void write_library(Generator* generator, uint64_t tracks) {
    FILE* library = generator->library;
    fputs("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
          "<!DOCTYPE plist PUBLIC \"-//Apple Computer//DTD PLIST 1.0//EN\" "
          "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
          "<plist version=\"1.0\">\n"
          "<dict>\n"
          "\t<key>Major Version</key><integer>1</integer>\n"
          "\t<key>Minor Version</key><integer>1</integer>\n"
          "\t<key>Date</key><date>2013-11-25T17:39:21Z</date>\n"
          "\t<key>Application Version</key><string>11.1.3</string>\n"
          "\t<key>Features</key><integer>5</integer>\n"
          "\t<key>Show Content Ratings</key><true/>\n",
          library);
    fprintf(library, "\t<key>Music Folder</key><string>%s</string>\n",
            file_url(generator->directory + "/media/").c_str());
    fputs("\t<key>Library Persistent ID</key><string>608BF56C222CC7C7</string>\n"
          "\t<key>Tracks</key>\n"
          "\t<dict>\n",
          library);
    for (uint64_t index = 0; index < tracks; ++index) {
        write_track(generator, index);
    }
    fputs("\t</dict>\n"
          "\t<key>Playlists</key>\n"
          "\t<array>\n",
          library);
    write_playlists(generator, tracks);
    fputs("\t</array>\n"
          "</dict>\n"
          "</plist>\n",
          library);
}

bool parse_number(const char* text, uint64_t* number) {
    char* end = nullptr;
    *number = strtoull(text, &end, 10);
    return text[0] >= '0' && text[0] <= '9' && *end == '\0';
}

} // namespace

int main(int argc, char** argv) {
    uint64_t tracks = 0;
    uint64_t seed = 0;
    if (argc != 4 || !parse_number(argv[1], &tracks) || !parse_number(argv[2], &seed)) {
        fputs("usage: generate_library TRACKS SEED DIRECTORY\n", stderr);
        return 2;
    }
    std::error_code error;
    std::filesystem::create_directories(argv[3], error);
    const std::filesystem::path directory = std::filesystem::canonical(argv[3], error);
    if (error) {
        fail(std::string("cannot create ") + argv[3]);
    }
    Generator generator = {};
    generator.state = seed;
    generator.directory = directory.string();
    generator.library = create(generator.directory + "/iTunes Music Library.xml");
    generator.locations = create(generator.directory + "/locations");
    write_library(&generator, tracks);
    finish(generator.library, "library");
    finish(generator.locations, "locations");
    return 0;
}
