// The log and the allocator used by two threads at once, for the thread sanitizer to watch as well.

#include "tests/support.h"

#include <atomic>
#include <set>
#include <thread>

#include "common/upnp_log.h"
#include "common/upnp_memory.h"

namespace {

/// Writes numbered lines beside a thread that repeats `disturb`. Each must come out whole and once, in a file
/// or on standard output, unless it was refused because the log was closed; returns how many were.
size_t lines_refused_beside(void (*disturb)(int round)) {
    const TempDir folder;
    const int64_t files_before = open_files();
    size_t lines = 0;
    std::string printed;
    const std::string noted = stderr_of([&] {
        printed = stdout_of([&] {
            upnp_log_init("one");
            std::atomic<int> rounds = 0;
            std::atomic<bool> done = false;
            std::thread other([&] {
                for (; !done; ++rounds) {
                    disturb(rounds);
                }
            });
            for (; lines < 1000 || rounds < 20; ++lines) {
                upnp_log_message(0, "line %zu of the writer", lines);
            }
            done = true;
            other.join();
            upnp_log_close();
        });
    });
    EXPECT_EQ(open_files(), files_before);

    std::set<std::string> missing;
    for (size_t line = 0; line < lines; ++line) {
        missing.insert("TIME line " + std::to_string(line) + " of the writer");
    }
    for (const std::string& line : split(mask_times(read_file("one") + read_file("two") + printed), '\n')) {
        EXPECT_TRUE(line.empty() || missing.erase(line) == 1) << line;
    }
    size_t refused = 0;
    for (const std::string& note : split(noted, '\n')) {
        refused += note.ends_with("not initialized! (line %zu of the writer)") ? 1 : 0;
    }
    EXPECT_EQ(missing.size(), refused);
    EXPECT_EQ(noted.find("ThreadSanitizer"), std::string::npos) << noted;
    return refused;
}

} // namespace

TEST(Threads, EveryLineIsWholeWhileTheLogFileChanges) {
    const auto begin_again = [](int round) {
        const char* const paths[] = {"two", "one", nullptr};
        upnp_log_init(paths[round % 3]);
    };
    EXPECT_EQ(lines_refused_beside(begin_again), 0U);
}

TEST(Threads, EveryLineIsWholeOrRefusedWhileTheLogEndsAndBegins) {
    lines_refused_beside([](int round) {
        if (round % 4 == 0) {
            upnp_log_flush();
        }
        upnp_log_close();
        upnp_log_init(round % 2 == 0 ? "two" : "one");
    });
}

TEST(Threads, AllocateTogetherFromTheFirst) {
    upnp_mem_close();
    const int32_t before = upnp_mem_in_use();
    const std::string noted = stderr_of([] {
        const auto work = [] {
            for (int round = 0; round < 20'000; ++round) {
                upnp_free(upnp_malloc(1));
            }
            upnp_mem_init(); // changes nothing, and nobody waits for ever
        };
        std::thread other(work);
        work();
        other.join();
    });
    EXPECT_EQ(noted, "upnp_malloc: MemCriticalSection not initialized\n");
    EXPECT_EQ(upnp_mem_in_use(), before);
}
