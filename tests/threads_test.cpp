// The log and the allocator used by several threads at once, for the thread sanitizer to watch as well.

#include "tests/support.h"

#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

#include "common/upnp_log.h"
#include "common/upnp_memory.h"

// A line comes out once, in a file or on standard output, unless it was refused because the log was closed.
TEST(Threads, EveryLineIsWholeOrRefusedWhileTheLogEndsAndBegins) {
    const TempDir folder;
    const int64_t files_before = open_files();
    std::set<std::string> missing;
    std::string printed;
    const std::string noted = stderr_of([&] {
        printed = stdout_of([&] {
            const auto disturb = [] {
                const char* const paths[] = {"two", "one", nullptr};
                for (int round = 0; round < 200; ++round) {
                    upnp_log_init(paths[round % 3]);
                    if (round % 4 == 0) {
                        upnp_log_flush();
                        upnp_log_close();
                    }
                }
            };
            std::thread one(disturb);
            std::thread other(disturb);
            const auto write = [](char writer) {
                for (int line = 0; line < 2000; ++line) {
                    upnp_log_message(0, "line %d of %c", line, writer);
                }
            };
            std::thread second(write, '2');
            write('1');
            for (std::thread* thread : {&one, &other, &second}) {
                thread->join();
            }
            upnp_log_close();
        });
    });
    EXPECT_EQ(open_files(), files_before);
    for (int line = 0; line < 2000; ++line) {
        missing.insert("TIME line " + std::to_string(line) + " of 1");
        missing.insert("TIME line " + std::to_string(line) + " of 2");
    }
    for (const std::string& line : split(mask_times(read_file("one") + read_file("two") + printed), '\n')) {
        EXPECT_TRUE(line.empty() || missing.erase(line) == 1) << line;
    }
    const auto is_refused = [](const std::string& note) {
        return note.ends_with("not initialized! (line %d of %c)");
    };
    EXPECT_EQ(std::ranges::count_if(split(noted, '\n'), is_refused), std::ssize(missing));
    EXPECT_EQ(noted.find("ThreadSanitizer"), std::string::npos) << noted;
}

TEST(Threads, AllocateTogetherFromTheFirst) {
    upnp_mem_init();
    upnp_mem_close(); // what comes is a second beginning
    const int32_t before = upnp_mem_in_use();
    const std::string noted = stderr_of([] {
        std::atomic<int> ready = 0;
        const auto work = [&ready] {
            for (++ready; ready < 2;) {
            }
            for (int round = 0; round < 100'000; ++round) {
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
