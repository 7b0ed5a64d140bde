#include "server/common/upnp_database.h"

#include <cstring>
#include <ctime>

#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "server/common/upnp_property.h"

namespace {

constexpr uint32_t number_size = 32;                  // the text of a number
constexpr size_t date_min_length = 10;                // year, month and day: YYYY-MM-DD
constexpr uint32_t copy_overhead = 16;                // counted for each copied property beside its value
constexpr int64_t recently_added_seconds = 5'270'400; // 61 days, although the property's name says 60
constexpr int32_t rating_max = 5;

/// The first node with the id, or null; as constant as the object.
template <typename Object>
Object* find_property(Object* object, int16_t id) {
    while (object != nullptr && object->id != id) {
        object = object->next;
    }
    return object;
}

bool is_deleted(const char* value) {
    return strcmp(value, upnp_deleted_marker) == 0;
}

void free_value(MediaProperty* property) {
    if (property->borrowed == 0) {
        upnp_free_unless_null(property->value);
    }
}

/// Overwrites a rating outside 0 to 5 with the nearer limit: one digit, for which such a text has room.
void clamp_rating(char* value) {
    const int32_t rating = upnp_parse_int32(value);
    if (rating < 0 || rating > rating_max) {
        value[0] = rating < 0 ? '0' : '5';
        value[1] = '\0';
    }
}

MediaObject* set_decimal(MediaObject* object, int16_t id, int32_t number, bool padded) {
    auto* text = static_cast<char*>(upnp_malloc(number_size));
    if (text == nullptr) {
        if (upnp_log_check(upnp_log_system, 3) != 0) {
            upnp_log_message(0, "db_object_createobject_set_numprop - out of memory");
        }
        return object;
    }
    text[0] = '0';
    const uint32_t zeros = padded && number >= 1 && number <= 8 ? 1 : 0;
    upnp_format_number(text + zeros, number_size - zeros, number);
    if (id == upnp_property_rating) {
        clamp_rating(text);
    }
    MediaProperty* property = find_property(object, id);
    if (property == nullptr) {
        return upnp_database_object_add_property(object, id, text, 0);
    }
    free_value(property);
    property->borrowed = 0;
    property->value = text;
    return object;
}

const char* recently_added(const MediaObject* object) {
    const char* added_time = upnp_database_object_get_valid_property(object, upnp_property_added_time);
    if (added_time == nullptr) {
        return nullptr;
    }
    // Compared without subtracting the stored time, which may hold any number.
    return upnp_parse_int64(added_time) > int64_t{time(nullptr)} - recently_added_seconds ? added_time
                                                                                          : nullptr;
}

const char* high_rating(const MediaObject* object) {
    const char* rating = upnp_database_object_get_valid_property(object, upnp_property_rating);
    return rating != nullptr && static_cast<unsigned char>(rating[0]) > '3' ? rating : nullptr;
}

} // namespace

MediaObject* upnp_database_object_add_property(MediaObject* object, int16_t id, char* value,
                                               uint32_t borrowed) {
    if (value == nullptr) {
        return object;
    }
    if (value[0] == '\0') {
        if (borrowed == 0) {
            upnp_free(value);
        }
        return object;
    }
    auto* property = static_cast<MediaProperty*>(upnp_malloc(sizeof(MediaProperty)));
    if (property == nullptr) {
        return object;
    }
    if (id == upnp_property_date && strlen(value) < date_min_length) {
        upnp_free(property); // the value stays with nobody: see the header
        return object;
    }
    if (id == upnp_property_rating) {
        clamp_rating(value);
    }
    *property = {id, borrowed, value, object};
    return property;
}

MediaObject* upnp_database_object_give_property(MediaObject* object, int16_t id, char* value) {
    const bool is_empty = value == nullptr || value[0] == '\0'; // adding frees it
    MediaObject* added = upnp_database_object_add_property(object, id, value, 0);
    if (added == object && !is_empty) {
        upnp_free(value);
    }
    return added;
}

MediaObject* db_object_createobject_set_numprop(MediaObject* object, int16_t id, int32_t number) {
    return set_decimal(object, id, number, false);
}

MediaObject* db_object_createobject_set_numprop_padded(MediaObject* object, int16_t id, int32_t number) {
    return set_decimal(object, id, number, true);
}

MediaObject* upnp_database_object_set_property(MediaObject* object, int16_t id, char* value,
                                               uint32_t borrowed) {
    if (value == nullptr) {
        return object;
    }
    if (id == upnp_property_rating) {
        clamp_rating(value);
    }
    MediaProperty* property = find_property(object, id);
    if (property == nullptr) {
        return upnp_database_object_add_property(object, id, value, borrowed);
    }
    if (property->value != value) {
        free_value(property);
    }
    property->borrowed = borrowed;
    property->value = value;
    return object;
}

MediaObject* upnp_database_object_remove_property(MediaObject* object, int16_t id) {
    MediaObject** link = &object;
    while (*link != nullptr && (*link)->id != id) {
        link = &(*link)->next;
    }
    MediaProperty* property = *link;
    if (property != nullptr) {
        *link = property->next;
        free_value(property);
        upnp_free(property);
    }
    return object;
}

const char* upnp_database_object_get_property(const MediaObject* object, int16_t id) {
    if (id == upnp_property_added_last_60) {
        return recently_added(object);
    }
    if (id == upnp_property_highrated) {
        return high_rating(object);
    }
    // dc:creator looks nowhere else: objects without one are listed without a creator, not under the artist.
    const MediaProperty* property = find_property(object, id);
    return property == nullptr ? nullptr : property->value;
}

const char* upnp_database_object_get_valid_property(const MediaObject* object, int16_t id) {
    const char* value = upnp_database_object_get_property(object, id);
    return value == nullptr || is_deleted(value) ? nullptr : value;
}

int32_t upnp_database_object_get_long(const MediaObject* object, int16_t id, int32_t default_value) {
    const char* value = upnp_database_object_get_valid_property(object, id);
    return value == nullptr || value[0] == '\0' ? default_value : upnp_parse_int32(value);
}

MediaObject* upnp_database_object_copy(const MediaObject* object, uint32_t* size) {
    MediaObject* copy = nullptr;
    MediaObject** link = &copy;
    uint32_t total = 0;
    for (; object != nullptr; object = object->next) {
        total += static_cast<uint32_t>(object->value == nullptr ? 0 : strlen(object->value)) + copy_overhead;
        char* value = upnp_strdup(object->value);
        auto* property =
            value == nullptr ? nullptr : static_cast<MediaProperty*>(upnp_malloc(sizeof(MediaProperty)));
        if (property != nullptr) {
            *property = {object->id, 0, value, nullptr};
            *link = property;
            link = &property->next;
        } else {
            upnp_free_unless_null(value);
        }
    }
    if (size != nullptr) {
        *size = total;
    }
    return copy;
}

void upnp_database_object_free(MediaObject* object) {
    while (object != nullptr) {
        MediaProperty* next = object->next;
        free_value(object);
        upnp_free(object);
        object = next;
    }
}
