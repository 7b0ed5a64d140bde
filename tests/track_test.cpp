// Locations, stamps and the two lists; what becomes of whole tracks is for the command tests.

#include "tests/support.h"

#include "common/upnp_memory.h"
#include "itunes/folder_list.h"
#include "itunes/track_list.h"
#include "itunes/track_reader.h"

TEST(Location, BecomesAPath) {
    const struct {
        const char* location;
        const char* path;
    } rows[] = {
        {"file://localhost/Users/anna/A/01 Song.mp3", "/Users/anna/A/01 Song.mp3"},
        {"file://localhost/C:/Music/a.mp3", "C:/Music/a.mp3"},
        {"file://localhost//nas/music/a.mp3", "/music/a.mp3"},
        {"file://localhost\\\\nas\\music\\a.mp3", "\\music\\a.mp3"},
        {"file://localhost///music/a.mp3", "/music/a.mp3"},
        {"file://localhost/\\nas/a.mp3", "/\\nas/a.mp3"},
        {"file:///share/Music/a.mp3", "/share/Music/a.mp3"},
        {"file://localhost/share/Music/Album/", "/share/Music/Album"},
        {"file:/music/localhost/a.mp3", "lhost/a.mp3"},
        {"file://localhost//nas", ""},
        {"file://localhost/", ""},
        {"file:", ""},
        {"file", ""},
        {"/", ""},
        {"", ""},
        {"localhost", ""},
        {"file:ab:", "b:"},
    };
    for (const auto& row : rows) {
        std::string location = row.location;
        char* path = itunes_location_to_path(location.data());
        EXPECT_STREQ(path, row.path) << row.location;
        upnp_free(path);
    }
    EXPECT_EQ(itunes_location_to_path(nullptr), nullptr);
}

TEST(ModificationStamp, CountsInItsOwnCalendarAndWraps) {
    const struct {
        const char* date;
        int32_t stamp;
    } rows[] = {
        {"2008-03-15T10:20:30Z", 894'795'630},
        {"1980-00-00T00:00:00", 0},
        {"2047-12-31T23:59:59Z", -2'141'360'897},
        {"1980-00-00T00:00:0", -48},
        {"\xFF"
         "980-00-00T00:00:00",
         -1'250'988'032},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(itunes_modification_stamp(row.date), row.stamp) << row.date;
    }
    // Without a character every digit is -48.
    const int64_t nothing = (int64_t{-48 * 1111 - 1980} * 366 - 528 * 31 - 528) * 86400 - 528 * 3661;
    EXPECT_EQ(itunes_modification_stamp(""), static_cast<int32_t>(nothing));
}

TEST(TrackList, StaysSortedWhateverTheOrderOfAdding) {
    const int32_t before = upnp_mem_in_use();
    const int32_t ids[] = {30, 10, 20, 20, -5, 40, 30, INT32_MAX, INT32_MIN, 20};
    for (size_t index = 0; index < std::size(ids); ++index) {
        itunes_track_list_add(std::to_string(index).c_str(), nullptr, ids[index]);
    }
    const TrackPath* first = itunes_track_list_find(INT32_MIN);
    std::string order;
    for (const TrackPath* entry = first; entry != nullptr; entry = entry->next) {
        order += std::string(entry->location) + " ";
    }
    EXPECT_EQ(order, "8 4 1 2 3 9 0 6 5 7 ");
    for (const int32_t id : {20, 40, 10, 20, 30, INT32_MIN}) { // up and down
        const TrackPath* found = itunes_track_list_find(id);
        ASSERT_NE(found, nullptr) << id;
        EXPECT_EQ(found->track_id, id);
        EXPECT_EQ(found->location == std::string("3") || found->location == std::string("9"), false)
            << "the first of equal ids is found";
    }
    for (const int32_t id : {0, 15, 41}) {
        EXPECT_EQ(itunes_track_list_find(id), nullptr) << id;
    }
    itunes_track_list_free();
    EXPECT_EQ(itunes_track_list_find(20), nullptr);
    itunes_track_list_add(nullptr, "title", 7);
    EXPECT_EQ(itunes_track_list_find(7)->location, nullptr);
    EXPECT_STREQ(itunes_track_list_find(7)->title, "title");
    itunes_track_list_free();
    EXPECT_EQ(upnp_mem_in_use(), before);
}

TEST(FolderList, FindsTheNewestOfEqualIds) {
    itunes_folder_list_add(1, "A", "id", nullptr);
    itunes_folder_list_add(2, nullptr, nullptr, "id");
    itunes_folder_list_add(3, "C", "id", "parent");
    EXPECT_EQ(itunes_folder_list_find("id")->playlist_id, 3);
    EXPECT_EQ(itunes_folder_list_find("id")->next->playlist_id, 2);
    EXPECT_EQ(itunes_folder_list_find("parent"), nullptr);
    itunes_folder_list_free();
    EXPECT_EQ(itunes_folder_list_find("id"), nullptr);
}
