#pragma once
// The properties that a media object can hold: one descriptor row for each property id. The id is what
// objects and the items file store; the row order only settles which of several names is found first.

#include <cstdint>

/// Ids that code refers to; the table knows all of them.
constexpr int16_t upnp_property_class = 3;
constexpr int16_t upnp_property_title = 20;
constexpr int16_t upnp_property_artist = 22;
constexpr int16_t upnp_property_author = 24;
constexpr int16_t upnp_property_genre = 25;
constexpr int16_t upnp_property_album = 26;
constexpr int16_t upnp_property_album_artist = 27;
constexpr int16_t upnp_property_track_number = 30;
constexpr int16_t upnp_property_playcount = 31;
constexpr int16_t upnp_property_rating = 32;
constexpr int16_t upnp_property_date = 33;
constexpr int16_t upnp_property_modification_time = 34;
constexpr int16_t upnp_property_last_played_time = 35;
constexpr int16_t upnp_property_compilation = 43;
constexpr int16_t upnp_property_number_of_discs = 46;
constexpr int16_t upnp_property_number_of_this_disc = 47;
constexpr int16_t upnp_property_added_time = 49;
constexpr int16_t upnp_property_added_last_60 = 50;
constexpr int16_t upnp_property_highrated = 51;
constexpr int16_t upnp_property_res = 60;
constexpr int16_t upnp_property_size = 61;
constexpr int16_t upnp_property_duration = 62;
constexpr int16_t upnp_property_bitrate = 63;
constexpr int16_t upnp_property_sample_frequency = 64;
constexpr int16_t upnp_property_protocol = 69;

/// What a property's text stands for. The codes are the server's.
enum class PropertyType : uint32_t {
    text = 0,
    boolean = 1, // "0" or "1"
    protocol = 2,
    date = 3,
    small_number = 4, // track number, rating, channels
    number = 5,       // ids, counters, bit rates, sample rates
    time = 6,         // a time or a duration
    size = 7,         // bytes
    data = 8,         // opaque
};

struct PropertyDescriptor {
    int16_t id; // 0 in the terminating row and in a descriptor that no row fills
    uint16_t flag_a;
    uint16_t flag_b;
    const char* name;   // null for the reserved ids 204 and 205
    uint16_t is_online; // 1 for the properties of online services
    char separator;     // between several values in one text; 0 for none
    PropertyType type;
    const char* default_value; // null for none
};

/// Returns the id of the first property whose name is `name`, else of the first whose whole name begins
/// `name`; 0 if there is none and for a null name. So "upnp:album2" gives that of upnp:album.
[[nodiscard]] int16_t upnp_database_property_id(const char* name);

/// Returns the descriptor of an id, in a cache that lives as long as the process: a cleared one for ids 0 to
/// 254 that the table does not know, null for any other.
[[nodiscard]] const PropertyDescriptor* upnp_database_property_descriptor(int32_t id);
