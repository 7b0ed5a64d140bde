// Memory, texts, the re-entrant lock, and arguments that are null.

#include "tests/support.h"

#include <algorithm>

#include "common/upnp_dirwalk.h"
#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "common/upnp_mutex.h"
#include "common/upnp_string.h"
#include "common/upnp_text.h"
#include "itunes/command_line.h"
#include "itunes/folder_list.h"
#include "itunes/folder_path.h"
#include "itunes/import_commit.h"
#include "itunes/import_driver.h"
#include "itunes/library_setting.h"
#include "itunes/library_values.h"
#include "itunes/library_walk.h"
#include "itunes/playlist_file.h"
#include "itunes/playlist_reader.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"
#include "server/common/upnp_wpl.h"

static const int32_t peak_at_the_start = upnp_mem_peak();

TEST(Memory, CountsWhatIsInUse) {
    EXPECT_EQ(peak_at_the_start, 0);
    upnp_mem_init();
    const int32_t before = upnp_mem_in_use();
    const int32_t peak = std::max(upnp_mem_peak(), before + 50'000'008);
    void* blocks[] = {upnp_malloc(0), upnp_malloc(0), upnp_strdup("seven.."), upnp_malloc(50'000'000)};
    EXPECT_NE(blocks[0], blocks[1]);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[3]) % 8, 0U);
    EXPECT_EQ(upnp_mem_in_use(), before + 50'000'008);
    std::ranges::for_each(blocks, upnp_free);
    EXPECT_EQ(upnp_mem_in_use(), before);
    EXPECT_EQ(upnp_mem_peak(), peak);
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
    EXPECT_EQ(stderr_of([] { upnp_free(upnp_malloc(1)), upnp_free_unless_null(nullptr); }), "");
    upnp_mem_close();
    EXPECT_EQ(stderr_of([&] { upnp_free(block), upnp_free(nullptr); }),
              "upnp_free: MemCriticalSection not initialized when upnp_free called\n"
              "upnp_free: NULL pointer\n");
    EXPECT_EQ(upnp_mem_in_use(), before);
    upnp_mem_init();
}

TEST(String, GrowsToTwiceItsSizeOrMore) {
    const auto appended = [](upnp_string_t* buffer, const char* text) {
        buffer = upnp_string_append(buffer, text);
        const auto numbers = std::to_string(buffer->capacity) + " " + std::to_string(buffer->length) + " ";
        std::string all = numbers + buffer->data;
        upnp_string_free(buffer);
        return all;
    };
    EXPECT_EQ(appended(upnp_string_new("four", 10), "5...."), "10 9 four5....");
    EXPECT_EQ(appended(upnp_string_new("four", 10), "6....."), "20 10 four6.....");
    EXPECT_EQ(appended(upnp_string_new("four", 10), "sets capacity 22."), "22 21 foursets capacity 22.");
    EXPECT_EQ(appended(upnp_string_new("four", 10), nullptr), "10 4 four");
    EXPECT_EQ(appended(upnp_string_new("", 0), "abc"), "4 3 abc");
    EXPECT_EQ(appended(nullptr, "abc"), "259 3 abc");
    EXPECT_EQ(appended(nullptr, nullptr), "256 0 ");
    for (const uint32_t capacity : {5U, 10U}) { // its own text, with and without growth
        upnp_string_t* twice = upnp_string_new("four", capacity);
        EXPECT_EQ(appended(twice, twice->data), "10 8 fourfour");
    }
    char data[] = "x";
    upnp_string_t huge = {UINT32_MAX - 2, UINT32_MAX - 1, data};
    EXPECT_EQ(upnp_string_append(&huge, "more than 32 bits count"), &huge);
    EXPECT_EQ(huge.length, UINT32_MAX - 2);
    upnp_string_t bare = {};
    EXPECT_STREQ(upnp_string_append(&bare, "abc")->data, "abc");
    upnp_free(bare.data);
}

TEST(Text, IsCutAtItsBuffer) {
    using namespace std::string_literals;
    const wchar_t beyond[] = {0x7FFFFFFF, 0};
    const char* no_format = nullptr;
    char buffer[] = "12345678";
    EXPECT_EQ(upnp_format(buffer, 4, "%s", "abcd"), 4);
    EXPECT_EQ(std::string(buffer, 8), "abc\0005678"s);
    upnp_copy_text(buffer, 4, "ABCD"), upnp_copy_text(buffer, 0, "x");
    EXPECT_EQ(std::string(buffer, 8), "ABC\0005678"s);
    EXPECT_EQ(upnp_format(buffer, 8, no_format, 1), 0);
    EXPECT_EQ(std::string(buffer, 8), "\0BC\0005678"s);
    EXPECT_EQ(upnp_format(buffer, 8, "ab%ls", beyond), 0) << "no encoding has such a character";
    EXPECT_STREQ(buffer, "");
    upnp_format_number(buffer, 4, -12);
    EXPECT_EQ(std::string(buffer, 8), "-12\0005678"s);
    upnp_format_number(buffer, 3, -12);
    EXPECT_STREQ(buffer, "");
}

TEST(Mutex, LetsItsOwnerInAgainAndOthersWait) {
    upnp_mutex_t mutex = {{}, 1, 1};
    upnp_mutex_init(&mutex);
    const auto is_free = [&mutex] { // for anybody who does not look at the owner
        return pthread_mutex_trylock(&mutex.mutex) == 0 && pthread_mutex_unlock(&mutex.mutex) == 0;
    };
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(is_free() && mutex.owner == 0);
        for (int entries = 0; entries < 3; ++entries) {
            upnp_mutex_lock(&mutex);
            EXPECT_TRUE(mutex.owner == pthread_self() && mutex.recursion_count == entries);
        }
        for (int entries = 3; entries > 0; --entries) {
            EXPECT_FALSE(is_free());
            upnp_mutex_unlock(&mutex);
        }
    }
    upnp_mutex_destroy(&mutex);
}

TEST(NullArguments, AreRefusedEverywhere) {
    const int32_t before = (upnp_mem_init(), upnp_mem_in_use());
    char t[] = "text";
    char* words[] = {t, t};
    char line[] = "<string>x</string>";
    char path[import_path_size] = "path";
    const char* no_format = nullptr;
    const auto null = nullptr;
    ImportOptions options = {};
    UpnpFileStat status = {};
    UpnpFile file = {-1, 9, 0, null};
    const WplMedia media = {t, null, 0};
    MediaObject no_value = {1, 1, null, null};
    const auto are_all = [](auto what, auto... results) { return ((results == what) && ...); };
    const auto work = [&] {
        EXPECT_TRUE(are_all(
            null, upnp_file_open_write(null), upnp_file_open_read(null), upnp_file_open_append(null),
            upnp_file_read_line(null, 1, &file), upnp_file_read_line(t, 1, null), upnp_dir_open(null),
            upnp_dir_next(null), upnp_strdup(null), upnp_database_object_add_property(null, 1, null, 0),
            upnp_database_object_set_property(null, 1, null, 0),
            upnp_database_object_remove_property(null, 1), upnp_database_object_get_property(null, 1),
            upnp_database_object_get_valid_property(&no_value, 1), upnp_database_object_copy(null, null),
            upnp_database_object_copy(&no_value, null), upnp_database_object_serialize(null),
            upnp_database_object_create_from_data(null, 9),
            upnp_database_object_create_from_data("14001a", 0), itunes_get_value(null, "string"),
            itunes_get_value(line, null), itunes_location_to_path(null), itunes_track_key(null),
            itunes_open_library(null), itunes_folder_list_find(null),
            itunes_playlist_file_open(null, 0, "M", "name", 0),
            itunes_playlist_file_open(".", 0, "M", null, 0),
            itunes_playlist_file_open(".", 0, null, "name", 0)));
        EXPECT_TRUE(are_all(int64_t{0}, upnp_file_exists(null), upnp_format(null, 9, "x"),
                            upnp_format(t, 0, "x"), upnp_format(t, 1, no_format, 1), upnp_parse_int32(null),
                            upnp_parse_int64(null), upnp_database_object_get_long(null, 1, 0),
                            upnp_database_property_id(null), upnp_wpl_write_header(null, "M", "T", "O", 0, 0),
                            upnp_wpl_add_media(null, "s"), upnp_wpl_write_footer(null),
                            upnp_wpl_add_media_params(null, &media), upnp_wpl_add_media_params(&file, null),
                            itunes_get_integer_value(null, "integer"), itunes_next_line(null),
                            upnp_database_record_end(null, 9).length, 1 - upnp_file_at_end(null),
                            itunes_line_holds(null, t), itunes_line_holds(t, null),
                            itunes_modification_stamp(null) - itunes_modification_stamp("")));
        EXPECT_TRUE(are_all(-1, upnp_file_write(null, t, 1), upnp_file_write(&file, null, 1),
                            upnp_file_stat(null, &status), upnp_file_stat(t, null), upnp_file_rename(null, t),
                            upnp_file_rename(t, null), upnp_file_unlink(null), upnp_dir_unlink(null),
                            upnp_file_mkdir(null), upnp_file_create_path(null)));
        EXPECT_EQ(import_scan_command_line(2, null, &options), CommandLineResult::unusable);
        EXPECT_EQ(import_scan_command_line(2, words, null), CommandLineResult::unusable);
        upnp_copy_text(null, 9, t), upnp_copy_text(t, 0, "x"), upnp_copy_text(t, 1, null);
        upnp_format_number(null, 9, 1), upnp_format_number(t, 0, 1);
        upnp_file_close(null), upnp_file_sync(null), upnp_dir_close(null), upnp_string_free(null);
        upnp_database_object_free(null), itunes_url_decode(null), upnp_mutex_init(null);
        upnp_mutex_lock(null), upnp_mutex_unlock(null), upnp_mutex_destroy(null);
        import_write_library_setting(null), import_remove_library_temp_files(null);
        upnp_log_write_raw(null), import_move_source(null, 9, t), import_move_source(t, 0, t),
            import_move_source(t, 9, null), upnp_log_timestamp(null, 9), import_move_files(null, ".", "."),
            import_move_files("x", null, ".");
        import_move_files("x", ".", null), itunes_read_track(1, null, null);
        itunes_playlist_export(null), upnp_database_object_write(null, null);
        itunes_read_library(null, null), itunes_read_library("", null);
        itunes_folder_path(null, t), itunes_folder_path(line, null);
        itunes_playlist_file_path(null, ".", "M", "name"), itunes_playlist_file_path(path, null, "M", "n");
        upnp_log_message(0, no_format, 1);
    };
    std::string noted;
    upnp_log_set_mask(UINT32_MAX); // what is refused is not tried either, which would be logged
    EXPECT_EQ(stdout_of([&] { noted = stderr_of(work); }) + path + line, "<string>x</string>");
    upnp_log_set_mask(0);
    const std::string refused = "upnp_log_message - LogCriticalSection not initialized! (";
    EXPECT_EQ(noted, refused + "LOG_SYSTEM:upnp_file_open_write file open write error \"%s\")\n" + refused +
                         "%s:%d: File not open )\n" + refused + ")\n");
    EXPECT_EQ(upnp_mem_in_use(), before);
}

TEST(NullArguments, OfTheProgramGiveTheUsage) {
    EXPECT_TRUE(
        stdout_of([] { EXPECT_EQ(itunes_import_main(2, nullptr), -1); }).starts_with("usage:  -dbdir"));
}
