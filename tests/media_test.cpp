// Media objects, records and WPL documents, where a table of questions and answers does not say enough.

#include "tests/support.h"

#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "itunes/folder_list.h"
#include "itunes/playlist_file.h"
#include "itunes/track_list.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_wpl.h"

namespace {

MediaObject* add(MediaObject* object, int16_t id, const std::string& value) {
    return upnp_database_object_add_property(object, id, upnp_strdup(value.c_str()), 0);
}

std::string record_of(const MediaObject* object) {
    upnp_string_t* record = upnp_database_object_serialize(object);
    const std::string text = record == nullptr ? "none" : std::string(record->data, record->length);
    upnp_string_free(record);
    return text;
}

} // namespace

TEST(MediaObject, ClampsALentRatingInPlaceAndCountsItsCopy) {
    char lent_rating[] = "9";
    MediaObject* object = upnp_database_object_add_property(add(nullptr, 20, "Title"), 32, lent_rating, 1);
    EXPECT_STREQ(lent_rating, "5");
    uint32_t size = 0;
    MediaObject* copy = upnp_database_object_copy(object, &size);
    upnp_database_object_free(object);
    EXPECT_EQ(size, 5U + 1 + 2 * 16);
    EXPECT_EQ(take_listing(copy), "32=5 20=Title ");
}

TEST(Record, HoldsWhatIsStoredAndReadsBackReversed) {
    const int32_t before = upnp_mem_in_use();
    char value[] = "xy";
    char empty[] = "";
    MediaProperty property = {22, 1, empty, nullptr};
    EXPECT_EQ(record_of(nullptr), "none");
    EXPECT_EQ(record_of(&property), ">>>>\n");
    property.value = nullptr;
    EXPECT_EQ(record_of(&property), ">>>>\n");
    property = {-1, 1, value, nullptr};
    EXPECT_EQ(record_of(&property), ">>>>\nFFFFFFFF0xy\n") << "the header is cut at nine characters";
    for (const size_t length : {4095, 4096}) {
        const std::string longest(length, 'L');
        MediaObject* object =
            add(add(add(add(nullptr, 207, "44"), 22, upnp_deleted_marker), 1, "%n\n>>>>\n"), 20, longest);
        const std::string record = record_of(object);
        const bool fits = length == 4095;
        EXPECT_EQ(record, ">>>>\n14" + std::string(fits ? "FFF" : "1000") + longest + "\n01008%n\n>>>>\n\nCF00244\n");
        EXPECT_EQ(
            take_listing(upnp_database_object_create_from_data(record.data(), static_cast<uint32_t>(record.size()))) ==
                "207=44 1=%n\n>>>>\n 20=" + longest + " ",
            fits);
        upnp_database_object_free(object);
    }
    EXPECT_EQ(upnp_database_object_create_from_data(nullptr, 5), nullptr);
    EXPECT_EQ(upnp_database_object_create_from_data("x", 0), nullptr);
    upnp_log_init(nullptr);
    upnp_log_set_mask(upnp_log_db);
    EXPECT_EQ(mask_times(stdout_of([] { EXPECT_EQ(upnp_database_object_create_from_data("16FFFx\n", 7), nullptr); })),
              "TIME LOG_DB:(upnp_database_object_create_from_data) database corrupted, value size 4095\n");
    upnp_log_set_mask(0);
    upnp_log_close();
    EXPECT_EQ(upnp_mem_in_use(), before);
}

TEST(Wpl, FailsOnANullFileAndAFullDisk) {
    const WplMedia media = {"s", nullptr, 0};
    UpnpFile* full = upnp_file_open_write("/dev/full");
    upnp_log_init(nullptr);
    upnp_log_set_mask(upnp_log_plugin);
    EXPECT_EQ(mask_times(stdout_of([&] {
                  for (UpnpFile* file : {full, static_cast<UpnpFile*>(nullptr)}) {
                      EXPECT_EQ(upnp_wpl_write_header(file, "M", "T", "O", 0, 0), 0U);
                      EXPECT_EQ(upnp_wpl_add_media(file, "s"), 0U);
                      EXPECT_EQ(upnp_wpl_write_footer(file), 0U);
                      EXPECT_EQ(upnp_wpl_add_media_params(file, &media), file == full ? 1U : 0U);
                  }
              })),
              "TIME server/common/upnp_wpl.cpp:29: File not open \n");
    upnp_log_set_mask(0);
    upnp_log_close();
    upnp_file_close(full);
}

TEST(Lists, FindTheFirstOfEqualIdsAndFreeAll) {
    const int32_t before = upnp_mem_in_use();
    for (const int32_t id : {30, 10, 20, 20, 40}) { itunes_track_list_add("x", id == 10 ? "title" : nullptr, id); }
    for (const int32_t id : {20, 40, 10, 20, 30, 10}) { // up and down
        ASSERT_NE(itunes_track_list_find(id), nullptr) << id;
        EXPECT_EQ(itunes_track_list_find(id)->track_id, id);
    }
    EXPECT_EQ(itunes_track_list_find(20)->next->track_id, 20) << "the first of the two";
    EXPECT_STREQ(itunes_track_list_find(10)->title, "title");
    for (const int32_t id : {INT32_MIN, 15, 41}) { EXPECT_EQ(itunes_track_list_find(id), nullptr) << id; }
    itunes_track_list_free();
    EXPECT_EQ(itunes_track_list_find(20), nullptr);
    itunes_folder_list_add(1, "A", "id", nullptr);
    itunes_folder_list_add(2, nullptr, nullptr, "id");
    itunes_folder_list_add(3, "C", "id", "parent");
    EXPECT_EQ(itunes_folder_list_find("id")->playlist_id, 3) << "the newest";
    EXPECT_EQ(itunes_folder_list_find("parent"), nullptr);
    itunes_folder_list_free();
    EXPECT_EQ(itunes_folder_list_find("id"), nullptr);
    EXPECT_EQ(upnp_mem_in_use(), before);
}

TEST(PlaylistFile, ReplacesTheOneOfItsName) {
    const TempDir folder;
    write_file("iTunes-playlist-A_B##M.wpl", std::string(3000, 'o'));
    upnp_file_close(itunes_playlist_file_open(".", 0, "M", "A/B", 1));
    const std::string text = read_file("iTunes-playlist-A_B##M.wpl");
    EXPECT_EQ(text.size(), 295U);
    EXPECT_NE(text.find("IsNetworkFeed\" content=\"1\""), std::string::npos);
    EXPECT_EQ(itunes_playlist_file_open("missing", 0, "M", "name", 0), nullptr);
    EXPECT_EQ(itunes_playlist_file_open(nullptr, 0, "M", "name", 0), nullptr);
}
