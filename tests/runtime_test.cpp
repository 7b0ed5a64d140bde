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
#include "itunes/import_commit.h"
#include "itunes/library_setting.h"
#include "itunes/library_values.h"
#include "itunes/library_walk.h"
#include "itunes/playlist_file.h"
#include "itunes/playlist_reader.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"
#include "server/common/upnp_items.h"
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
    const uint32_t refused = upnp_mem_refused();
    EXPECT_EQ(upnp_malloc(UINT32_MAX), nullptr) << "the header does not fit beside it in 32 bits";
    EXPECT_EQ(upnp_mem_refused(), refused + 1);
    upnp_free(memset(upnp_malloc(64), 'x', 64));
    auto* cleared = static_cast<char*>(upnp_calloc(4, 16));
    EXPECT_EQ(std::string(cleared, 64), std::string(64, '\0'));
    upnp_free(cleared);
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

#define ROW(check)                                                                                           \
    { #check, check }

TEST(NullArguments, GiveNothingOrAFailure) {
    char t[] = "text";
    UpnpFile file = {-1, 9, 0, nullptr};
    MediaObject no_value = {1, 1, nullptr, nullptr};
    ImportOptions options = {};
    const std::pair<const char*, bool> rows[] = {
        ROW(upnp_file_open_read(nullptr) == nullptr),
        ROW(upnp_file_open_append(nullptr) == nullptr),
        ROW(upnp_file_read_line(nullptr, 1, &file) == nullptr),
        ROW(upnp_file_read_line(t, 1, nullptr) == nullptr),
        ROW(upnp_file_at_end(nullptr) == 1),
        ROW(upnp_file_exists(nullptr) == 0),
        ROW(upnp_file_write(nullptr, t, 1) == -1),
        ROW(upnp_file_write(&file, nullptr, 1) == -1),
        ROW(upnp_file_rename(nullptr, t) == -1),
        ROW(upnp_file_rename(t, nullptr) == -1),
        ROW(upnp_file_create_path(nullptr) == -1),
        ROW(upnp_dir_open(nullptr) == nullptr),
        ROW(upnp_dir_next(nullptr) == nullptr),
        ROW(upnp_database_object_get_property(nullptr, 1) == nullptr),
        ROW(upnp_database_object_get_valid_property(&no_value, 1) == nullptr),
        ROW(upnp_database_object_copy(&no_value, nullptr) == nullptr),
        ROW(upnp_database_object_serialize(nullptr) == nullptr),
        ROW(upnp_database_object_create_from_data(nullptr, 9) == nullptr),
        ROW(upnp_wpl_write_header(nullptr, "M", "T", "O", 0, 0) == 0),
        ROW(upnp_wpl_add_media(nullptr, "s") == 0),
        ROW(upnp_wpl_write_footer(nullptr) == 0),
        ROW(itunes_get_value(nullptr, "string") == nullptr),
        ROW(itunes_location_to_path(nullptr) == nullptr),
        ROW(itunes_open_library(nullptr) == nullptr),
        ROW(itunes_next_line(nullptr) == 0),
        ROW(itunes_line_holds(nullptr, t) == 0),
        ROW(import_scan_command_line(2, nullptr, &options) == CommandLineResult::unusable)};
    for (const auto& [check, holds] : rows) {
        EXPECT_TRUE(holds) << check;
    }
}

TEST(NullArguments, AreFreedClosedAndReadWithoutHarm) {
    upnp_file_close(nullptr);
    upnp_file_sync(nullptr);
    upnp_dir_close(nullptr);
    upnp_string_free(nullptr);
    upnp_database_object_free(nullptr);
    upnp_database_object_write(nullptr, nullptr);
    upnp_log_write_raw(nullptr);
    import_write_library_setting(nullptr);
    import_remove_library_temp_files(nullptr);
    itunes_read_library(nullptr, nullptr);
    itunes_read_track(1, nullptr, nullptr);
    itunes_playlist_export(nullptr);
}
