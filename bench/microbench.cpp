// Micro-benchmarks of what is done for every line and every record: recognising the key, taking the value,
// building the object, writing the record. Run it with --benchmark_repetitions=5 and look at the medians.
// What goes to DoNotOptimize is const: GCC may corrupt a variable that it is allowed to change.

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#include "common/upnp_fileio.h"
#include "common/upnp_memory.h"
#include "common/upnp_string.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"
#include "server/common/upnp_database.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"

namespace {

constexpr std::string_view location_line =
    "\t\t\t<key>Location</key><string>file://localhost/Users/anna/Music/iTunes/Caf%C3%A9%20&#38;%20Sons/"
    "Another%20Summer/04%20Golden%20Forever.mp3</string>\n";

/// The lines of a track dictionary between its "Track ID" line and its end, as iTunes writes them.
constexpr std::string_view track_lines[] = {
    "\t\t\t<key>Name</key><string>Golden Forever</string>\n",
    "\t\t\t<key>Artist</key><string>Café &#38; Sons</string>\n",
    "\t\t\t<key>Album Artist</key><string>Café &#38; Sons</string>\n",
    "\t\t\t<key>Composer</key><string>Günter</string>\n",
    "\t\t\t<key>Album</key><string>Another Summer</string>\n",
    "\t\t\t<key>Genre</key><string>Alternative</string>\n",
    "\t\t\t<key>Kind</key><string>MPEG audio file</string>\n",
    "\t\t\t<key>Size</key><integer>5504425</integer>\n",
    "\t\t\t<key>Total Time</key><integer>191083</integer>\n",
    "\t\t\t<key>Disc Number</key><integer>1</integer>\n",
    "\t\t\t<key>Disc Count</key><integer>1</integer>\n",
    "\t\t\t<key>Track Number</key><integer>4</integer>\n",
    "\t\t\t<key>Track Count</key><integer>13</integer>\n",
    "\t\t\t<key>Year</key><integer>1982</integer>\n",
    "\t\t\t<key>BPM</key><integer>136</integer>\n",
    "\t\t\t<key>Date Modified</key><date>2008-05-19T00:07:11Z</date>\n",
    "\t\t\t<key>Date Added</key><date>2007-05-24T05:53:55Z</date>\n",
    "\t\t\t<key>Bit Rate</key><integer>192</integer>\n",
    "\t\t\t<key>Sample Rate</key><integer>44100</integer>\n",
    "\t\t\t<key>Play Count</key><integer>20</integer>\n",
    "\t\t\t<key>Play Date UTC</key><date>2008-07-04T15:05:52Z</date>\n",
    "\t\t\t<key>Rating</key><integer>40</integer>\n",
    "\t\t\t<key>Track Type</key><string>File</string>\n",
    location_line,
};
constexpr std::string_view name_line = track_lines[0];
constexpr std::string_view number_line = track_lines[7];

struct Key {
    std::string_view literal;
};

/// The literals of the track reader's table, in its order.
constexpr Key track_keys[] = {
    {"<key>Name</key>"},
    {"<key>Artist</key>"},
    {"<key>Album Artist</key>"},
    {"<key>Protected</key><true/>"},
    {"<key>Composer</key>"},
    {"<key>Album</key>"},
    {"<key>Rating</key>"},
    {"<key>Genre</key>"},
    {"<key>Size</key>"},
    {"<key>Total Time</key>"},
    {"<key>Track Number</key>"},
    {"<key>Bit Rate</key>"},
    {"<key>Sample Rate</key>"},
    {"<key>Play Count</key>"},
    {"<key>Disc Count</key>"},
    {"<key>Disc Number</key>"},
    {"<key>Date Modified</key>"},
    {"<key>Play Date UTC</key>"},
    {"<key>Track Type</key>"},
    {"<key>Year</key>"},
    {"<key>Has Video</key><true/>"},
    {"<key>Compilation</key><true/>"},
    {"<key>Location</key>"},
};

/// The scanner cuts the line that it takes a value from, so each round works on a fresh copy.
void copy_line(char* buffer, std::string_view line) {
    memcpy(buffer, line.data(), line.size() + 1);
}

void take_value(benchmark::State& state, std::string_view line, const char* tag) {
    char buffer[itunes_line_size + 1];
    for (auto round : state) {
        (void)round;
        copy_line(buffer, line);
        char* const value = itunes_get_value(buffer, tag);
        benchmark::DoNotOptimize(value);
        upnp_free(value);
    }
}

void value_of_name(benchmark::State& state) {
    take_value(state, name_line, "string");
}
BENCHMARK(value_of_name);

void value_of_number(benchmark::State& state) {
    take_value(state, number_line, "integer");
}
BENCHMARK(value_of_number);

void value_of_location(benchmark::State& state) {
    take_value(state, location_line, "string");
}
BENCHMARK(value_of_location);

void values_of_a_track(benchmark::State& state) {
    char buffer[itunes_line_size + 1];
    for (auto round : state) {
        (void)round;
        for (const std::string_view line : track_lines) {
            copy_line(buffer, line);
            const char* tag = strstr(buffer, "<string>") != nullptr    ? "string"
                              : strstr(buffer, "<integer>") != nullptr ? "integer"
                                                                       : "date";
            char* const value = itunes_get_value(buffer, tag);
            benchmark::DoNotOptimize(value);
            upnp_free(value);
        }
    }
}
BENCHMARK(values_of_a_track);

/// The tool's way: one search for "<key>", then a comparison with the rows.
void keys_of_a_track(benchmark::State& state) {
    for (auto round : state) {
        (void)round;
        for (const std::string_view line : track_lines) {
            benchmark::DoNotOptimize(itunes_keys_in_line(line.data(), track_keys));
        }
    }
}
BENCHMARK(keys_of_a_track);

/// The plain way, to compare: a search of the line for each row until one is found.
void keys_of_a_track_by_search(benchmark::State& state) {
    for (auto round : state) {
        (void)round;
        for (const std::string_view line : track_lines) {
            for (const Key& key : track_keys) {
                const char* const found = strstr(line.data(), key.literal.data());
                benchmark::DoNotOptimize(found);
                if (found != nullptr) {
                    break;
                }
            }
        }
    }
}
BENCHMARK(keys_of_a_track_by_search);

/// What the track reader makes of the lines above.
MediaObject* make_object() {
    constexpr struct {
        int16_t id;
        const char* text;
    } texts[] = {
        {upnp_property_title, "Golden Forever"},
        {upnp_property_artist, "Café & Sons"},
        {upnp_property_album_artist, "Café & Sons"},
        {upnp_property_author, "Günter"},
        {upnp_property_album, "Another Summer"},
        {upnp_property_genre, "Alternative"},
        {upnp_property_size, "5504425"},
        {upnp_property_duration, "0:03:11.083"},
        {upnp_property_modification_time, "900461231"},
        {upnp_property_last_played_time, "2008-07-04T15:05:52"},
        {upnp_property_res, "/Users/anna/Music/iTunes/Café & Sons/Another Summer/04 Golden Forever.mp3"},
        {upnp_property_protocol, "d"},
        {upnp_property_class, "object.item.audioItem.musicTrack"}};
    constexpr struct {
        int16_t id;
        int32_t number;
    } numbers[] = {{upnp_property_number_of_this_disc, 1},
                   {upnp_property_number_of_discs, 1},
                   {upnp_property_track_number, 4},
                   {upnp_property_bitrate, 192},
                   {upnp_property_sample_frequency, 44100},
                   {upnp_property_playcount, 20},
                   {upnp_property_rating, 2}};
    MediaObject* object = nullptr;
    for (const auto& text : texts) {
        object = upnp_database_object_add_property(object, text.id, upnp_strdup(text.text), 0);
    }
    for (const auto& number : numbers) {
        object = db_object_createobject_set_numprop(object, number.id, number.number);
    }
    return object;
}

void build_object(benchmark::State& state) {
    for (auto round : state) {
        (void)round;
        MediaObject* const object = make_object();
        benchmark::DoNotOptimize(object);
        upnp_database_object_free(object);
    }
}
BENCHMARK(build_object);

void serialize_object(benchmark::State& state) {
    MediaObject* const object = make_object();
    for (auto round : state) {
        (void)round;
        upnp_string_t* const record = upnp_database_object_serialize(object);
        benchmark::DoNotOptimize(record);
        upnp_string_free(record);
    }
    upnp_database_object_free(object);
}
BENCHMARK(serialize_object);

/// With the write call, into a device that takes everything.
void write_object(benchmark::State& state) {
    MediaObject* const object = make_object();
    UpnpFile* file = upnp_file_open_write("/dev/null");
    for (auto round : state) {
        (void)round;
        upnp_database_object_write(object, file);
    }
    upnp_file_close(file);
    upnp_database_object_free(object);
}
BENCHMARK(write_object);

} // namespace

int main(int argc, char** argv) {
    upnp_mem_init(); // else the first allocation notes its absence
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
