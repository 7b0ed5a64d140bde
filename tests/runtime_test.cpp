// Numbers, memory, growable texts and the re-entrant lock.

#include "tests/support.h"

#include <thread>

#include "common/upnp_memory.h"
#include "common/upnp_mutex.h"
#include "common/upnp_string.h"
#include "common/upnp_text.h"

TEST(ParseInt32, ReadsAndSaturatesAsA32BitLong) {
    const struct {
        const char* text;
        int32_t number;
    } rows[] = {
        {nullptr, 0},
        {"", 0},
        {"x1", 0},
        {" \t\n-12kg", -12},
        {"+7", 7},
        {"0x10", 0},
        {"2147483647", INT32_MAX},
        {"2147483648", INT32_MAX},
        {"-2147483649", INT32_MIN},
        {"99999999999999999999999", INT32_MAX},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text == nullptr ? "null" : row.text);
        EXPECT_EQ(upnp_parse_int32(row.text), row.number);
    }
}

TEST(Memory, CountsWhatIsInUse) {
    upnp_mem_init();
    const int32_t before = upnp_mem_in_use();
    void* none = upnp_malloc(0);
    void* other = upnp_malloc(0);
    char* text = upnp_strdup("seven..");
    EXPECT_NE(none, other);
    EXPECT_EQ(upnp_mem_in_use(), before + 8);
    EXPECT_GE(upnp_mem_peak(), before + 8);
    upnp_free(none);
    upnp_free(other);
    upnp_free(text);
    EXPECT_EQ(upnp_mem_in_use(), before);
    EXPECT_EQ(upnp_malloc(UINT32_MAX), nullptr) << "the header does not fit beside it in 32 bits";
    EXPECT_EQ(upnp_strdup(nullptr), nullptr);
}

TEST(Memory, NotesWhatItDoesWithoutItsLock) {
    upnp_mem_close();
    void* block = nullptr;
    EXPECT_EQ(stderr_of([&] { block = upnp_malloc(1); }),
              "upnp_malloc: MemCriticalSection not initialized\n");
    EXPECT_EQ(stderr_of([] { upnp_free(upnp_malloc(1)); }), "");
    upnp_mem_close();
    EXPECT_EQ(stderr_of([&] { upnp_free(block); }),
              "upnp_free: MemCriticalSection not initialized when upnp_free called\n");
    EXPECT_EQ(stderr_of([] { upnp_free(nullptr); }), "upnp_free: NULL pointer\n");
    EXPECT_EQ(stderr_of([] { upnp_free_unless_null(nullptr); }), "");
    upnp_mem_init();
}

TEST(String, GrowsByDoublingOrToTheText) {
    const struct {
        const char* name;
        uint32_t capacity;
        size_t first_length;
        size_t added_length;
        uint32_t final_capacity;
    } rows[] = {
        {"fits to the last byte", 10, 4, 5, 10},          {"one byte more doubles", 10, 4, 6, 20},
        {"a long text sets the capacity", 10, 4, 40, 45}, {"nothing changes nothing", 10, 4, 0, 10},
        {"capacity 0 is terminated", 0, 0, 0, 0},         {"capacity 0 grows", 0, 0, 3, 4},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string first(row.first_length, 'a');
        const std::string added(row.added_length, 'b');
        upnp_string_t* text = upnp_string_new(first.c_str(), row.capacity);
        text = upnp_string_append(text, added.c_str());
        EXPECT_EQ(text->data, first + added);
        EXPECT_EQ(text->length, row.first_length + row.added_length);
        EXPECT_EQ(text->capacity, row.final_capacity);
        upnp_string_free(text);
    }
    for (const char* text : {"abc", "", static_cast<const char*>(nullptr)}) {
        const std::string kept = text == nullptr ? "" : text;
        upnp_string_t* buffer = upnp_string_append(nullptr, text);
        EXPECT_EQ(buffer->data, kept);
        EXPECT_EQ(buffer->capacity, kept.size() + 256);
        upnp_string_free(buffer);
    }
}

TEST(String, DropsATextThat32BitsCannotHold) {
    char data[] = "x";
    upnp_string_t huge = {UINT32_MAX - 2, UINT32_MAX - 1, data};
    EXPECT_EQ(upnp_string_append(&huge, "four"), &huge);
    EXPECT_EQ(huge.length, UINT32_MAX - 2);
}

TEST(Mutex, LetsItsOwnerInAgainAndOthersWait) {
    static upnp_mutex_t mutex;
    upnp_mutex_init(&mutex);
    int counter = 0;
    const auto work = [&counter] {
        for (int round = 0; round < 10'000; ++round) {
            const UpnpMutexGuard outer(&mutex);
            const UpnpMutexGuard inner(&mutex);
            ++counter;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(counter, 20'000);
    EXPECT_EQ(mutex.recursion_count, 0);
    EXPECT_EQ(mutex.owner, 0U);
    upnp_mutex_destroy(&mutex);
}
