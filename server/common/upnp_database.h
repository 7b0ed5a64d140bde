#pragma once
// Media objects: the entries of the server's database, each a bag of text-valued properties. The handle of an
// object is its first property node; the empty object is null. Every operation that may add or remove a node
// returns the handle to use from then on:
//
//     MediaObject* object = nullptr;
//     object = upnp_database_object_add_property(object, upnp_property_title, title, 0);
//     object = db_object_createobject_set_numprop(object, upnp_property_playcount, 3);
//     upnp_database_object_free(object);
//
// Where memory is missing the property in question is not set and the object stays valid.

#include <cstdint>

struct MediaProperty {
    int16_t id;
    uint32_t borrowed; // not 0: the value belongs to somebody else and is never freed here
    char* value;       // writable: a rating is clamped in place
    MediaProperty* next;
};

/// New nodes go to the front, so an object lists its properties newest first.
using MediaObject = MediaProperty;

/// The value that stands for a deleted property.
inline constexpr char upnp_deleted_marker[] = ".D.E.L.E.T.E.D.";

/// Adds a property in front, also where one with the id exists. An owned value (`borrowed` 0) comes from
/// upnp_malloc and belongs to the object from here on. Null and empty values are not stored (an owned empty
/// one is freed), and a dc:date needs 10 characters: a shorter one is dropped, and lost where it was owned,
/// as is an owned value without memory for its node. A qx:rating outside 0 to 5 is overwritten in place.
[[nodiscard]] MediaObject* upnp_database_object_add_property(MediaObject* object, int16_t id, char* value,
                                                             uint32_t borrowed);

/// Adds an owned text in the same way, and frees it where the object does not take it.
[[nodiscard]] MediaObject* upnp_database_object_give_property(MediaObject* object, int16_t id, char* value);

/// Sets a numeric property as decimal text, in place of the first one with the id or else as a new one, with
/// the rules of upnp_database_object_add_property for ratings and, where new, for dates. Missing memory for
/// the text is logged at level 3.
[[nodiscard]] MediaObject* db_object_createobject_set_numprop(MediaObject* object, int16_t id,
                                                              int32_t number);

/// The same with the numbers 1 to 8 padded to two digits: "01" to "08".
[[nodiscard]] MediaObject* db_object_createobject_set_numprop_padded(MediaObject* object, int16_t id,
                                                                     int32_t number);

/// Sets a text property in place of the first one with the id, whose value is freed unless borrowed; else
/// adds it. A null value changes nothing. A qx:rating is clamped as when adding.
[[nodiscard]] MediaObject* upnp_database_object_set_property(MediaObject* object, int16_t id, char* value,
                                                             uint32_t borrowed);

/// Removes the first property with the id, if there is one.
[[nodiscard]] MediaObject* upnp_database_object_remove_property(MediaObject* object, int16_t id);

/// Returns the value of the first property with the id, borrowed until the object changes, or null. Two ids
/// are derived: qx:addedLast60 yields qx:addedTime where that is less than 61 days ago, and qx:highrated
/// yields qx:rating where its first character is above '3'. dc:creator has no fallback to the artist.
[[nodiscard]] const char* upnp_database_object_get_property(const MediaObject* object, int16_t id);

/// The same, with null for a deleted property.
[[nodiscard]] const char* upnp_database_object_get_valid_property(const MediaObject* object, int16_t id);

/// Returns the value as a decimal number of 32 bits, or `default_value` if it is absent, deleted or empty.
[[nodiscard]] int32_t upnp_database_object_get_long(const MediaObject* object, int16_t id,
                                                    int32_t default_value);

/// Returns a deep copy in the same order, whose values the copy owns; a property for which there is no memory
/// is missing from it. `size`, unless null, is set to the sum over all properties of value length plus 16.
[[nodiscard]] MediaObject* upnp_database_object_copy(const MediaObject* object, uint32_t* size);

/// Releases the nodes and the values that the object owns; null is ignored.
void upnp_database_object_free(MediaObject* object);
