// Media objects, their properties and classes.

#include "tests/support.h"

#include "common/upnp_memory.h"
#include "server/common/upnp_class.h"
#include "server/common/upnp_database.h"
#include "server/common/upnp_property.h"

namespace {

/// The object as "id=value" words, first to last.
std::string listing(const MediaObject* object) {
    std::string text;
    for (; object != nullptr; object = object->next) {
        text += std::to_string(object->id) + "=" + object->value + " ";
    }
    return text;
}

MediaObject* add(MediaObject* object, int16_t id, const char* value) {
    return upnp_database_object_add_property(object, id, upnp_strdup(value), 0);
}

} // namespace

TEST(MediaObject, AddsInFrontByTheRulesOfTheProperty) {
    const struct {
        int16_t id;
        const char* value;
        const char* stored;
    } rows[] = {
        {20, "Title", "20=Title "}, {20, "", ""},        {33, "2008-01-01", "33=2008-01-01 "},
        {32, "7", "32=5 "},         {32, "-2", "32=0 "}, {32, "3", "32=3 "},
        {32, "12", "32=5 "},        {32, "x", "32=x "},  {32, "3000000000", "32=5 "},
        {300, "x", "300=x "},
    };
    for (const auto& row : rows) {
        MediaObject* object = add(nullptr, row.id, row.value);
        EXPECT_EQ(listing(object), row.stored) << row.id << " " << row.value;
        upnp_database_object_free(object);
    }
    char short_date[] = "2008-01-0";
    EXPECT_EQ(upnp_database_object_add_property(nullptr, 33, short_date, 1), nullptr);
    EXPECT_EQ(upnp_database_object_add_property(nullptr, 20, nullptr, 0), nullptr);
    MediaObject* object = add(add(add(nullptr, 20, "A"), 22, "B"), 20, "C");
    EXPECT_EQ(listing(object), "20=C 22=B 20=A ");
    EXPECT_STREQ(upnp_database_object_get_property(object, 20), "C");
    upnp_database_object_free(object);
}

TEST(MediaObject, SetsInPlaceAndRemovesTheFirst) {
    const int32_t before = upnp_mem_in_use();
    char lent[] = "lent";
    char lent_rating[] = "9";
    MediaObject* object = upnp_database_object_add_property(nullptr, 26, lent, 1);
    object = upnp_database_object_add_property(object, 32, lent_rating, 1);
    EXPECT_STREQ(lent_rating, "5") << "clamped in the lender's own text";
    object = db_object_createobject_set_numprop(object, 31, 3);
    object = db_object_createobject_set_numprop(object, 31, INT32_MIN);
    object = db_object_createobject_set_numprop(object, 32, -4);
    object = db_object_createobject_set_numprop_padded(object, 30, 8);
    object = db_object_createobject_set_numprop_padded(object, 46, 9);
    EXPECT_EQ(listing(object), "46=9 30=08 31=-2147483648 32=0 26=lent ");
    object = upnp_database_object_set_property(object, 26, upnp_strdup("owned"), 0);
    object = upnp_database_object_set_property(object, 32, upnp_strdup("6"), 0);
    object = upnp_database_object_set_property(object, 20, lent, 1);
    object = upnp_database_object_set_property(object, 20, nullptr, 0);
    EXPECT_EQ(listing(object), "20=lent 46=9 30=08 31=-2147483648 32=5 26=owned ");
    for (const int16_t id : {int16_t{20}, int16_t{31}, int16_t{26}, int16_t{99}}) {
        object = upnp_database_object_remove_property(object, id);
    }
    EXPECT_EQ(listing(object), "46=9 30=08 32=5 ");
    upnp_database_object_free(object);
    EXPECT_STREQ(lent, "lent");
    EXPECT_EQ(upnp_mem_in_use(), before);
}

TEST(MediaObject, DerivesAndDefaults) {
    const std::string now = std::to_string(time(nullptr) - 5'270'000);
    const std::string long_ago = std::to_string(time(nullptr) - 5'270'400);
    const struct {
        int16_t id;
        const char* value;
        int16_t asked;
        const char* answer; // null for none
    } rows[] = {
        {49, now.c_str(), 50, now.c_str()},
        {49, long_ago.c_str(), 50, nullptr},
        {49, upnp_deleted_marker, 50, nullptr},
        {49, "-9223372036854775808", 50, nullptr},
        {32, "4", 51, "4"},
        {32, "3", 51, nullptr},
        {22, "Artist", 21, nullptr},
        {20, upnp_deleted_marker, 20, nullptr},
        {20, "T", 20, "T"},
    };
    for (const auto& row : rows) {
        MediaObject* object = add(nullptr, row.id, row.value);
        EXPECT_STREQ(upnp_database_object_get_valid_property(object, row.asked), row.answer) << row.value;
        upnp_database_object_free(object);
    }
    MediaObject* object = add(add(nullptr, 31, "12x"), 61, "3000000000");
    EXPECT_EQ(upnp_database_object_get_long(object, 31, 7), 12);
    EXPECT_EQ(upnp_database_object_get_long(object, 61, 7), INT32_MAX);
    EXPECT_EQ(upnp_database_object_get_long(object, 62, 7), 7);
    upnp_database_object_free(object);
}

TEST(MediaObject, CopiesDeeplyInOrder) {
    MediaObject* object = add(add(nullptr, 20, "abc"), 22, upnp_deleted_marker);
    uint32_t size = 0;
    MediaObject* copy = upnp_database_object_copy(object, &size);
    EXPECT_EQ(size, 3 + 16 + strlen(upnp_deleted_marker) + 16);
    const std::string before = listing(object);
    upnp_database_object_free(object);
    EXPECT_EQ(listing(copy), before);
    upnp_database_object_free(copy);
    EXPECT_EQ(upnp_database_object_copy(nullptr, &size), nullptr);
    EXPECT_EQ(size, 0U);
}

TEST(MediaObject, TellsItsClass) {
    const struct {
        const char* text;
        const char* kinds; // of container, online, image, video, audio
    } rows[] = {
        {"object.container.playlistContainer", "c"},
        {"object.item.audioItem.musicTrack", "a"},
        {"object.item.videoItem.movie", "v"},
        {"object.item.imageItem.photo", "i"},
        {"object.container.online.video", "cov"},
        {upnp_deleted_marker, ""},
        {"container", ""},
    };
    for (const auto& row : rows) {
        MediaObject* object = add(nullptr, 3, row.text);
        std::string kinds;
        kinds += upnp_database_object_is_container(object) != 0 ? "c" : "";
        kinds += upnp_database_object_is_online(object) != 0 ? "o" : "";
        kinds += upnp_database_object_is_image(object) != 0 ? "i" : "";
        kinds += upnp_database_object_is_video(object) != 0 ? "v" : "";
        kinds += upnp_database_object_is_audio(object) != 0 ? "a" : "";
        EXPECT_EQ(kinds, row.kinds) << row.text;
        upnp_database_object_free(object);
    }
}

TEST(PropertyTable, FindsNamesAndThenPrefixes) {
    const struct {
        const char* name;
        int16_t id;
    } rows[] = {
        {"upnp:albumArtist", 27},
        {"upnp:albumArtist2", 26},
        {"upnp:albumArtURI", 36},
        {"dlna:cleartextSize", 162},
        {"resonance", 60},
        {"res", 60},
        {"nothing", 0},
        {"", 0},
        {nullptr, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(upnp_database_property_id(row.name), row.id) << (row.name == nullptr ? "null" : row.name);
    }
}

TEST(PropertyTable, DescribesEachIdAndNoOther) {
    const struct {
        int32_t id;
        const char* columns; // A B online type separator default
    } rows[] = {
        {25, "1 1 0 0 , -"},  {18, "0 0 0 0 - +dc:title"}, {34, "1 0 0 6 - -"},  {57, "0 1 0 0 - -"},
        {115, "1 1 1 0 - -"}, {90, "0 0 1 5 - 0"},         {203, "0 0 1 0 - -"}, {69, "0 0 0 2 - -"},
        {139, "0 0 0 0 - -"}, {192, "0 0 0 4 - 0"},        {181, "0 0 0 1 - 0"}, {9, "0 0 0 0 - -"},
    };
    for (const auto& row : rows) {
        const PropertyDescriptor* row_of = upnp_database_property_descriptor(row.id);
        const std::string columns = std::to_string(row_of->flag_a) + " " + std::to_string(row_of->flag_b) +
                                    " " + std::to_string(row_of->is_online) + " " +
                                    std::to_string(static_cast<int>(row_of->type)) + " " +
                                    (row_of->separator == 0 ? '-' : row_of->separator) + " " +
                                    (row_of->default_value == nullptr ? "-" : row_of->default_value);
        EXPECT_EQ(columns, row.columns) << row.id;
    }
    EXPECT_EQ(upnp_database_property_descriptor(9)->id, 0);
    for (const int32_t id : {-1, 255, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(upnp_database_property_descriptor(id), nullptr);
    }
}
