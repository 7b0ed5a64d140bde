// Memory, texts, the re-entrant lock, and arguments that are null.

#include "tests/support.h"

#include "common/upnp_dirwalk.h"
#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "common/upnp_mutex.h"
#include "common/upnp_string.h"
#include "common/upnp_text.h"
#include "itunes/command_line.h"
#include "itunes/folder_list.h"
#include "itunes/import_commit.h"
#include "itunes/library_setting.h"
#include "itunes/library_walk.h"
#include "itunes/playlist_file.h"
#include "itunes/playlist_reader.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"
#include "server/common/upnp_wpl.h"

TEST(Memory, CountsWhatIsInUse) {
    upnp_mem_init();
    const int32_t before = upnp_mem_in_use();
    const int32_t peak_before = upnp_mem_peak();
    void* none = upnp_malloc(0);
    void* other = upnp_malloc(0);
    char* text = upnp_strdup("seven..");
    EXPECT_NE(none, other);
    EXPECT_EQ(upnp_mem_in_use(), before + 8);
    void* large = upnp_malloc(50'000'000);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(large) % 8, 0U);
    const int32_t peak = std::max(peak_before, before + 8 + 50'000'000);
    for (void* block : {none, other, static_cast<void*>(text), large}) {
        upnp_free(block);
        EXPECT_EQ(upnp_mem_peak(), peak);
    }
    EXPECT_EQ(upnp_mem_in_use(), before);
    EXPECT_EQ(upnp_malloc(UINT32_MAX), nullptr) << "the header does not fit beside it in 32 bits";
    upnp_free(memset(upnp_malloc(64), 'x', 64));
    auto* cleared = static_cast<char*>(upnp_calloc(4, 16));
    EXPECT_EQ(std::string(cleared, 64), std::string(64, '\0'));
    upnp_free(cleared);
}

TEST(Memory, NotesWhatItDoesWithoutItsLock) {
    upnp_mem_close();
    const int32_t before = upnp_mem_in_use();
    void* block = nullptr;
    EXPECT_EQ(stderr_of([&] { block = upnp_malloc(1); }),
              "upnp_malloc: MemCriticalSection not initialized\n");
    EXPECT_EQ(stderr_of([] { upnp_free(upnp_malloc(1)); }), "");
    upnp_mem_close();
    EXPECT_EQ(stderr_of([&] { upnp_free(block); }),
              "upnp_free: MemCriticalSection not initialized when upnp_free called\n");
    EXPECT_EQ(stderr_of([] { upnp_free(nullptr); }), "upnp_free: NULL pointer\n");
    EXPECT_EQ(stderr_of([] { upnp_free_unless_null(nullptr); }), "");
    EXPECT_EQ(upnp_mem_in_use(), before);
    upnp_mem_init();
}

TEST(String, GrowsToTwiceItsSizeOrMore) {
    const auto appended = [](upnp_string_t* buffer, const char* text) {
        buffer = upnp_string_append(buffer, text);
        std::string all =
            std::to_string(buffer->capacity) + " " + std::to_string(buffer->length) + " " + buffer->data;
        upnp_string_free(buffer);
        return all;
    };
    EXPECT_EQ(appended(upnp_string_new("four", 10), "5...."), "10 9 four5....");
    EXPECT_EQ(appended(upnp_string_new("four", 10), "6....."), "20 10 four6.....");
    EXPECT_EQ(appended(upnp_string_new("four", 10), "sets capacity 22."), "22 21 foursets capacity 22.");
    EXPECT_EQ(appended(upnp_string_new("four", 10), nullptr), "10 4 four");
    EXPECT_EQ(appended(upnp_string_new(nullptr, 0), ""), "0 0 ");
    EXPECT_EQ(appended(upnp_string_new("", 0), "abc"), "4 3 abc");
    EXPECT_EQ(appended(nullptr, "abc"), "259 3 abc");
    EXPECT_EQ(appended(nullptr, nullptr), "256 0 ");
    for (const uint32_t capacity : {5U, 10U}) { // with and without growth
        upnp_string_t* twice = upnp_string_new("four", capacity);
        EXPECT_EQ(appended(twice, twice->data), "10 8 fourfour");
    }
    char data[] = "x";
    upnp_string_t huge = {UINT32_MAX - 2, UINT32_MAX - 1, data};
    EXPECT_EQ(upnp_string_append(&huge, "more than 32 bits count"), &huge);
    EXPECT_EQ(huge.length, UINT32_MAX - 2);
}

TEST(Text, IsCutAtItsBuffer) {
    char buffer[] = "12345678";
    EXPECT_EQ(upnp_format(buffer, 4, "%s", "abcd"), 4);
    EXPECT_EQ(std::string(buffer, 8), std::string("abc\0"
                                                  "5678",
                                                  8));
    upnp_copy_text(buffer, 8, "abcdefgh");
    EXPECT_EQ(std::string(buffer, 9), std::string("abcdefg\0\0", 9));
    const wchar_t beyond[] = {0x7FFFFFFF, 0};
    EXPECT_EQ(upnp_format(buffer, 8, "ab%ls", beyond), 0) << "no encoding has such a character";
    EXPECT_STREQ(buffer, "");
}

TEST(Mutex, LetsItsOwnerInAgainAndOthersWait) {
    static upnp_mutex_t mutex;
    upnp_mutex_init(&mutex);
    const auto is_free = [] { // for anybody who does not look at the owner
        const bool taken = pthread_mutex_trylock(&mutex.mutex) == 0;
        return taken && pthread_mutex_unlock(&mutex.mutex) == 0;
    };
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(is_free());
        EXPECT_EQ(mutex.owner, 0U);
        for (int entries = 0; entries < 3; ++entries) {
            upnp_mutex_lock(&mutex);
            EXPECT_EQ(mutex.owner, pthread_self());
            EXPECT_EQ(mutex.recursion_count, entries);
        }
        for (int entries = 3; entries > 0; --entries) {
            EXPECT_FALSE(is_free());
            upnp_mutex_unlock(&mutex);
        }
    }
    upnp_mutex_destroy(&mutex);
}

TEST(NullArguments, AreRefusedEverywhere) {
    const int32_t before = upnp_mem_in_use();
    char t[] = "text";
    ImportOptions options = {};
    UpnpFileStat status = {};
    UpnpFile file = {-1, 9, 0, nullptr};
    const WplMedia no_source = {nullptr, nullptr, 0};
    MediaObject none = {1, 1, nullptr, nullptr};
    const void* nulls[] = {upnp_file_open_write(nullptr),
                           upnp_file_open_read(nullptr),
                           upnp_file_open_append(nullptr),
                           upnp_file_read_line(nullptr, 1, &file),
                           upnp_file_read_line(t, sizeof t, nullptr),
                           upnp_dir_open(nullptr),
                           upnp_dir_next(nullptr),
                           upnp_strdup(nullptr),
                           upnp_database_object_add_property(nullptr, 1, nullptr, 0),
                           upnp_database_object_set_property(nullptr, 1, nullptr, 0),
                           upnp_database_object_remove_property(nullptr, 1),
                           upnp_database_object_get_property(nullptr, 1),
                           upnp_database_object_get_valid_property(&none, 1),
                           upnp_database_object_copy(nullptr, nullptr),
                           upnp_database_object_copy(&none, nullptr),
                           upnp_database_object_serialize(nullptr),
                           upnp_database_object_create_from_data(nullptr, 9),
                           upnp_database_object_create_from_data("14001a", 0),
                           itunes_get_value(nullptr, "string"),
                           itunes_get_value(t, nullptr),
                           itunes_location_to_path(nullptr),
                           itunes_open_library(nullptr),
                           itunes_folder_list_find(nullptr),
                           itunes_playlist_file_open(nullptr, 0, "M", "name", 0),
                           itunes_playlist_file_open(".", 0, "M", nullptr, 0),
                           itunes_playlist_file_open(".", 0, nullptr, "name", 0)};
    for (size_t index = 0; index < std::size(nulls); ++index) {
        EXPECT_EQ(nulls[index], nullptr) << index;
    }
    const int64_t zeros[] = {upnp_file_exists(nullptr),
                             upnp_format(nullptr, 9, "x"),
                             upnp_format(t, 0, "x"),
                             upnp_parse_int32(nullptr),
                             upnp_parse_int64(nullptr),
                             upnp_database_object_get_long(nullptr, 1, 0),
                             upnp_database_property_id(nullptr),
                             upnp_wpl_write_header(nullptr, "M", "T", "O", 0, 0),
                             upnp_wpl_add_media(nullptr, "s"),
                             upnp_wpl_add_media(&file, nullptr),
                             upnp_wpl_add_media_params(nullptr, &no_source),
                             upnp_wpl_add_media_params(&file, nullptr),
                             upnp_wpl_add_media_params(&file, &no_source),
                             upnp_wpl_write_footer(nullptr),
                             itunes_get_integer_value(nullptr, "integer"),
                             itunes_next_line(nullptr)};
    for (size_t index = 0; index < std::size(zeros); ++index) {
        EXPECT_EQ(zeros[index], 0) << index;
    }
    EXPECT_EQ(upnp_file_at_end(nullptr), 1);
    const int32_t failures[] = {upnp_file_write(nullptr, t, 1),   upnp_file_write(&file, nullptr, 1),
                                upnp_file_stat(nullptr, &status), upnp_file_stat(t, nullptr),
                                upnp_file_rename(nullptr, t),     upnp_file_rename(t, nullptr),
                                upnp_file_unlink(nullptr),        upnp_dir_unlink(nullptr),
                                upnp_file_mkdir(nullptr),         upnp_file_create_path(nullptr)};
    for (size_t index = 0; index < std::size(failures); ++index) {
        EXPECT_EQ(failures[index], -1) << index;
    }
    EXPECT_EQ(import_scan_command_line(2, nullptr, &options), CommandLineResult::unusable);
    EXPECT_EQ(import_scan_command_line(0, nullptr, nullptr), CommandLineResult::unusable);
    const auto prints = [](auto... calls) {
        return stdout_of([&] { (calls(), ...); }) + stderr_of([&] { (calls(), ...); });
    };
    upnp_copy_text(nullptr, 9, t);
    upnp_copy_text(t, 0, "x");
    EXPECT_STREQ(t, "text");
    EXPECT_EQ(prints([] { upnp_file_close(nullptr), upnp_file_sync(nullptr), upnp_dir_close(nullptr); },
                     [] {
                         upnp_string_free(nullptr), upnp_database_object_free(nullptr),
                             itunes_url_decode(nullptr);
                     },
                     [] { upnp_mutex_init(nullptr), upnp_mutex_lock(nullptr), upnp_mutex_unlock(nullptr); },
                     [] { upnp_mutex_destroy(nullptr), import_write_library_setting(nullptr); },
                     [] { upnp_log_write_raw(nullptr), import_remove_library_temp_files(nullptr); },
                     [] { import_move_files(nullptr, ".", "."), import_move_files("x", nullptr, "."); },
                     [] { import_move_files("x", ".", nullptr), itunes_read_track(1, nullptr, nullptr); },
                     [] { itunes_playlist_export(nullptr), upnp_database_object_write(nullptr, nullptr); },
                     [] { itunes_read_library(nullptr, nullptr), itunes_read_library("", nullptr); }),
              "");
    upnp_copy_text(t, sizeof t, nullptr);
    EXPECT_STREQ(t, "");
    EXPECT_EQ(upnp_mem_in_use(), before);
}
