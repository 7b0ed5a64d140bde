#include "itunes/track_reader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <sched.h>
#include <string_view>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/import_observer.h"
#include "itunes/library_key.h"
#include "itunes/library_values.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_list.h"
#include "server/common/upnp_database.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"

namespace {

constexpr uint32_t number_size = 32;    // the text of a number
constexpr int32_t rating_per_star = 20; // iTunes rates from 0 to 100, the server from 0 to 5 stars

// Borrowed by objects, which take writable texts.
char local_file_protocol[] = "d";
char url_protocol[] = "h";
char music_track_class[] = "object.item.audioItem.musicTrack";
char movie_class[] = "object.item.videoItem.movie";

/// What one call gathers about its track.
struct TrackReaderState {
    MediaObject* object;
    char* title;                    // a copy of the name, or null
    char* location;                 // the path or URL, borrowed by the object, or null
    MediaObject* earlier_locations; // owns those that the object borrows from earlier lines
    bool is_protected;
    bool has_video;
    char* protocol;
    char size_text[number_size];              // borrowed by the object: a second line overwrites it there too
    char modification_time_text[number_size]; // likewise
};

/// Hands a text over. The object does not keep a date that is none in full, such as a year.
void add_owned(TrackReaderState* track, int16_t property, char* value) {
    track->object = upnp_database_object_give_property(track->object, property, value);
}

void add_borrowed(TrackReaderState* track, int16_t property, char* value) {
    track->object = upnp_database_object_add_property(track->object, property, value, 1);
}

void set_number(TrackReaderState* track, int16_t property, int32_t number) {
    track->object = db_object_createobject_set_numprop(track->object, property, number);
}

void read_name(TrackReaderState* track, const char* text) {
    char* value = upnp_strdup(text);
    if (value == nullptr) {
        return;
    }
    upnp_free_unless_null(track->title);
    track->title = upnp_strdup(value); // before the object may drop the value
    add_owned(track, upnp_property_title, value);
}

void read_protected(TrackReaderState* track, const char* /*value*/) {
    track->is_protected = true;
}

void read_rating(TrackReaderState* track, const char* value) {
    if (value != nullptr) {
        set_number(track, upnp_property_rating, upnp_parse_int32(value) / rating_per_star);
    }
}

void read_size(TrackReaderState* track, const char* value) {
    upnp_format_number(track->size_text, sizeof track->size_text, upnp_parse_int32(value));
    add_borrowed(track, upnp_property_size, track->size_text);
}

void read_total_time(TrackReaderState* track, const char* value) {
    add_owned(track, upnp_property_duration, itunes_format_duration(upnp_parse_int32(value)));
}

void read_date_modified(TrackReaderState* track, const char* date) {
    upnp_format_number(track->modification_time_text, sizeof track->modification_time_text,
                       date == nullptr ? 0 : itunes_modification_stamp(date));
    add_borrowed(track, upnp_property_modification_time, track->modification_time_text);
}

void read_last_played(TrackReaderState* track, const char* value) {
    char* date = upnp_strdup(value);
    if (date == nullptr) {
        return;
    }
    date[strcspn(date, "Z")] = '\0';
    add_owned(track, upnp_property_last_played_time, date);
}

void read_track_type(TrackReaderState* track, const char* value) {
    if (value == nullptr) {
        return;
    }
    if (strcmp(value, "File") == 0) {
        track->protocol = local_file_protocol;
    } else if (strcmp(value, "URL") == 0) {
        track->protocol = url_protocol;
    }
}

void read_year(TrackReaderState* track, const char* value) {
    add_owned(track, upnp_property_date, upnp_strdup(value));
}

void read_has_video(TrackReaderState* track, const char* /*value*/) {
    track->has_video = true;
}

void read_compilation(TrackReaderState* track, const char* /*value*/) {
    set_number(track, upnp_property_compilation, 1);
}

void read_location(TrackReaderState* track, const char* text) {
    char* value = upnp_strdup(text);
    if (value == nullptr) {
        return;
    }
    // An earlier one has to live as long as the object that borrowed it.
    track->earlier_locations =
        upnp_database_object_add_property(track->earlier_locations, upnp_property_res, track->location, 0);
    if (track->protocol == local_file_protocol) {
        track->location = itunes_location_to_path(value);
        upnp_free(value);
    } else {
        track->location = value;
    }
    add_borrowed(track, upnp_property_res, track->location);
    add_borrowed(track, upnp_property_protocol, track->protocol);
}

enum class TrackKeyKind : uint8_t {
    text,               // the value goes to the property; nothing without one
    number,             // the value goes to the property as a number; 0 without one
    number_unless_zero, // likewise, unless it is 0 or absent
    own,                // the row's function does it
};

struct TrackKey {
    std::string_view literal;
    uint8_t elements; // that the value is taken from
    TrackKeyKind kind;
    int16_t property;
    void (*read)(TrackReaderState* track, const char* value); // null for none
};

// What the rows call the elements. iTunes writes dates as date elements; a string is taken too.
constexpr uint8_t text_element = library_element_string;
constexpr uint8_t integer_element = library_element_integer;
constexpr uint8_t date_element = library_element_date | library_element_string;
constexpr uint8_t true_element = library_element_true;

// The first row that a line holds wins.
// clang-format off
constexpr TrackKey track_keys[] = {
    {"<key>Name</key>",                text_element,    TrackKeyKind::own,                 upnp_property_title,                read_name},
    {"<key>Artist</key>",              text_element,    TrackKeyKind::text,                upnp_property_artist,               nullptr},
    {"<key>Album Artist</key>",        text_element,    TrackKeyKind::text,                upnp_property_album_artist,         nullptr},
    {"<key>Protected</key><true/>",    true_element,    TrackKeyKind::own,                 0,                                  read_protected},
    {"<key>Composer</key>",            text_element,    TrackKeyKind::text,                upnp_property_author,               nullptr},
    {"<key>Album</key>",               text_element,    TrackKeyKind::text,                upnp_property_album,                nullptr},
    {"<key>Rating</key>",              integer_element, TrackKeyKind::own,                 0,                                  read_rating},
    {"<key>Genre</key>",               text_element,    TrackKeyKind::text,                upnp_property_genre,                nullptr},
    {"<key>Size</key>",                integer_element, TrackKeyKind::own,                 0,                                  read_size},
    {"<key>Total Time</key>",          integer_element, TrackKeyKind::own,                 0,                                  read_total_time},
    {"<key>Track Number</key>",        integer_element, TrackKeyKind::number_unless_zero,  upnp_property_track_number,         nullptr},
    {"<key>Bit Rate</key>",            integer_element, TrackKeyKind::number_unless_zero,  upnp_property_bitrate,              nullptr},
    {"<key>Sample Rate</key>",         integer_element, TrackKeyKind::number_unless_zero,  upnp_property_sample_frequency,     nullptr},
    {"<key>Play Count</key>",          integer_element, TrackKeyKind::number,              upnp_property_playcount,            nullptr},
    {"<key>Disc Count</key>",          integer_element, TrackKeyKind::number,              upnp_property_number_of_discs,      nullptr},
    {"<key>Disc Number</key>",         integer_element, TrackKeyKind::number,              upnp_property_number_of_this_disc,  nullptr},
    {"<key>Date Modified</key>",       date_element,    TrackKeyKind::own,                 0,                                  read_date_modified},
    {"<key>Play Date UTC</key>",       date_element,    TrackKeyKind::own,                 0,                                  read_last_played},
    {"<key>Track Type</key>",          text_element,    TrackKeyKind::own,                 0,                                  read_track_type},
    {"<key>Year</key>",                integer_element, TrackKeyKind::own,                 0,                                  read_year},
    {"<key>Has Video</key><true/>",    true_element,    TrackKeyKind::own,                 0,                                  read_has_video},
    {"<key>Compilation</key><true/>",  true_element,    TrackKeyKind::own,                 0,                                  read_compilation},
    {"<key>Location</key>",            text_element,    TrackKeyKind::own,                 0,                                  read_location},
};
// clang-format on

constexpr std::string_view key_tag = "<key>";

/// Each literal goes with its elements, and none begins another: a place in a line matches one row at most.
consteval bool key_table_is_sound() {
    for (const TrackKey& key : track_keys) {
        if (!library_key_is_sound(key.literal, key.elements)) {
            return false;
        }
        for (const TrackKey& other : track_keys) {
            if (&key != &other && other.literal.starts_with(key.literal)) {
                return false;
            }
        }
    }
    return true;
}
static_assert(key_table_is_sound());

constexpr auto offered_keys = [] {
    std::array<LibraryKey, std::size(track_keys)> keys = {};
    std::ranges::transform(track_keys, keys.begin(), [](const TrackKey& key) {
        return LibraryKey{library_key_name(key.literal), key.elements, key.property};
    });
    return keys;
}();

/// Returns the first row that the line holds, or null. One search for "<key>" serves the whole table.
const TrackKey* find_key(const char* line) {
    const TrackKey* first = nullptr;
    for (const char* place = strstr(line, key_tag.data()); place != nullptr;
         place = strstr(place + key_tag.size(), key_tag.data())) {
        for (const TrackKey& key : track_keys) {
            if (key.literal[key_tag.size()] == place[key_tag.size()] &&
                strncmp(place, key.literal.data(), key.literal.size()) == 0) {
                first = first == nullptr ? &key : std::min(first, &key);
                break;
            }
        }
    }
    return first;
}

void read_key(TrackReaderState* track, const TrackKey& key, char* line) {
    const char* value = itunes_find_value(line, key.elements);
    switch (key.kind) {
    case TrackKeyKind::text: add_owned(track, key.property, upnp_strdup(value)); break;
    case TrackKeyKind::number: set_number(track, key.property, upnp_parse_int32(value)); break;
    case TrackKeyKind::number_unless_zero: {
        const int32_t number = upnp_parse_int32(value);
        if (number != 0) {
            set_number(track, key.property, number);
        }
        break;
    }
    case TrackKeyKind::own: key.read(track, value); break;
    }
}

/// What becomes of a track whose dictionary has ended.
TrackOutcome outcome_of(const TrackReaderState* track) {
    if (track->is_protected) {
        return TrackOutcome::copy_protected;
    }
    if (track->location == nullptr) {
        return TrackOutcome::no_location;
    }
    if (track->protocol != local_file_protocol) {
        return TrackOutcome::stream;
    }
    return upnp_file_exists(track->location) != 0 ? TrackOutcome::record : TrackOutcome::missing;
}

/// Writes the record of a local file that exists, and enters every track but a protected one in the list.
void finish_track(int32_t track_id, TrackReaderState* track, UpnpFile* items) {
    const TrackOutcome outcome = outcome_of(track);
    if (outcome == TrackOutcome::record) {
        add_borrowed(track, upnp_property_class, track->has_video ? movie_class : music_track_class);
        upnp_database_object_write(track->object, items);
    }
    upnp_database_object_free(track->object);
    if (outcome != TrackOutcome::copy_protected) {
        itunes_track_list_add(track->location, track->title, track_id);
    }
    if (import_observer != nullptr && import_observer->on_track != nullptr) {
        const TrackReport report = {track_id, outcome, track->title, track->location};
        import_observer->on_track(import_observer->context, &report);
    }
    upnp_free_unless_null(track->title);
    upnp_free_unless_null(track->location);
    upnp_database_object_free(track->earlier_locations);
}

} // namespace

void itunes_read_track(int32_t track_id, UpnpFile* library, UpnpFile* items) {
    if (library == nullptr) {
        return;
    }
    TrackReaderState track = {};
    track.protocol = local_file_protocol;
    PlistScanner scanner = {library, 0, {}};
    while (itunes_next_line(&scanner)) {
        (void)sched_yield(); // an import in the background leaves the processor to the server
        if (strstr(scanner.line, "</dict>") != nullptr) {
            break;
        }
        const TrackKey* key = find_key(scanner.line);
        if (key != nullptr) {
            read_key(&track, *key, scanner.line);
        }
    }
    finish_track(track_id, &track, items);
}

const char* itunes_track_key(const char* line) {
    const TrackKey* key = line == nullptr ? nullptr : find_key(line);
    return key == nullptr ? nullptr : key->literal.data();
}

std::span<const LibraryKey> itunes_track_keys() {
    return offered_keys;
}
