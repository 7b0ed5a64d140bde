// Memory, growable texts and the re-entrant lock.

#include "tests/support.h"

#include <thread>

#include "common/upnp_memory.h"
#include "common/upnp_mutex.h"
#include "common/upnp_string.h"

TEST(Memory, CountsWhatIsInUse) {
    upnp_mem_init();
    const int32_t before = upnp_mem_in_use();
    void* none = upnp_malloc(0);
    void* other = upnp_malloc(0);
    char* text = upnp_strdup("seven..");
    EXPECT_NE(none, other);
    EXPECT_EQ(upnp_mem_in_use(), before + 8);
    EXPECT_GE(upnp_mem_peak(), before + 8);
    for (void* block : {none, other, static_cast<void*>(text)}) { upnp_free(block); }
    EXPECT_EQ(upnp_mem_in_use(), before);
    EXPECT_EQ(upnp_malloc(UINT32_MAX), nullptr) << "the header does not fit beside it in 32 bits";
}

TEST(Memory, NotesWhatItDoesWithoutItsLock) {
    upnp_mem_close();
    void* block = nullptr;
    EXPECT_EQ(stderr_of([&] { block = upnp_malloc(1); }), "upnp_malloc: MemCriticalSection not initialized\n");
    EXPECT_EQ(stderr_of([] { upnp_free(upnp_malloc(1)); }), "");
    upnp_mem_close();
    EXPECT_EQ(stderr_of([&] { upnp_free(block); }),
              "upnp_free: MemCriticalSection not initialized when upnp_free called\n");
    EXPECT_EQ(stderr_of([] { upnp_free(nullptr); }), "upnp_free: NULL pointer\n");
    upnp_mem_init();
}

TEST(String, DropsATextThat32BitsCannotCount) {
    char data[] = "x";
    upnp_string_t huge = {UINT32_MAX - 2, UINT32_MAX - 1, data};
    EXPECT_EQ(upnp_string_append(&huge, "more than 32 bits count"), &huge);
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
    EXPECT_EQ(mutex.owner, 0U);
    upnp_mutex_destroy(&mutex);
}
