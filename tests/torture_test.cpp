// Whole imports in which one call or allocation fails, or all from one on, or which are killed at one; for
// every one of them in turn. The linker sends the program's calls through the wrappers below, so the program
// itself holds no hooks.

#include "tests/support.h"

#include <algorithm>
#include <csignal>
#include <dirent.h>
#include <set>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/upnp_memory.h"
#include "itunes/import_driver.h"
#include "server/common/upnp_items.h"

namespace {

enum class Fault { none, call_once, calls_onward, allocation_once, allocations_onward, kill };

/// Shared with the children, which count what they do.
struct Progress {
    long calls, allocations;
    int32_t left_in_use;  // bytes, after a whole run
    bool hit_a_step_back; // the fault lost the scanner's place: up to a buffer of lines is gone with it
    bool hit_a_look;      // the fault hit a read or a position query, by which nothing is lost
};
Progress* progress = nullptr;
Fault fault = Fault::none; // armed in children only
long fault_number = 0;

bool is_due(long number, Fault once, Fault onward) {
    return (fault == once && number == fault_number) || (fault == onward && number >= fault_number);
}

/// Counts one system call; true if it is to fail. A killed run never comes back.
bool call_fails() {
    if (progress == nullptr) { return false; }
    ++progress->calls;
    if (fault == Fault::kill && progress->calls == fault_number) { (void)raise(SIGKILL); }
    errno = EIO;
    return is_due(progress->calls, Fault::call_once, Fault::calls_onward);
}

} // namespace

// The names that the calls have in the object files, where offsets and times of 64 bits are asked for.
#define OPEN open64
#define LSEEK lseek64
#define READDIR readdir64
#if __SIZEOF_POINTER__ == 4
#define STAT __stat64_time64
#define LSTAT __lstat64_time64
#else
#define STAT stat64
#define LSTAT lstat64
#endif
#define JOIN_EXPANDED(prefix, name) prefix##name
#define JOIN(prefix, name) JOIN_EXPANDED(prefix, name)
#define WRAP(result, failure, name, parameters, arguments)                                                             \
    extern "C" result JOIN(__real_, name) parameters;                                                                  \
    extern "C" result JOIN(__wrap_, name) parameters {                                                                 \
        return call_fails() ? (failure) : JOIN(__real_, name) arguments;                                               \
    }

WRAP(int, -1, OPEN, (const char* path, int flags, mode_t mode), (path, flags, mode))
WRAP(int, -1, close, (int file), (file))
WRAP(ssize_t, (progress->hit_a_look = true, -1), read, (int file, void* bytes, size_t size), (file, bytes, size))
WRAP(int, -1, STAT, (const char* path, void* status), (path, status))
WRAP(int, -1, LSTAT, (const char* path, void* status), (path, status))
WRAP(int, -1, rename, (const char* from, const char* to), (from, to))
WRAP(int, -1, unlink, (const char* path), (path))
WRAP(int, -1, mkdir, (const char* path, mode_t mode), (path, mode))
WRAP(DIR*, nullptr, opendir, (const char* path), (path))
WRAP(void*, nullptr, READDIR, (DIR * stream), (stream))
WRAP(int, -1, closedir, (DIR * stream), (stream))
// The address sanitizer copies a smaller quarantine at each of the many forks three times as fast.
extern "C" const char* __asan_default_options() { return "quarantine_size_mb=1"; }
extern "C" int __wrap_sched_yield() { return 0; } // costs more than the rest of a run where the machine is busy
extern "C" ssize_t __real_write(int file, const void* bytes, size_t size);
extern "C" ssize_t __wrap_write(int file, const void* bytes, size_t size) {
    if (fault == Fault::kill && progress != nullptr && progress->calls + 1 == fault_number) {
        (void)__real_write(file, bytes, size / 2); // killed in the middle
    }
    return call_fails() ? -1 : __real_write(file, bytes, size);
}
extern "C" int64_t JOIN(__real_, LSEEK)(int file, int64_t distance, int from);
extern "C" int64_t JOIN(__wrap_, LSEEK)(int file, int64_t distance, int from) {
    if (!call_fails()) { return JOIN(__real_, LSEEK)(file, distance, from); }
    (distance != 0 ? progress->hit_a_step_back : progress->hit_a_look) = true;
    return -1;
}
extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
    const bool fails = progress != nullptr && fault != Fault::none &&
                       is_due(++progress->allocations, Fault::allocation_once, Fault::allocations_onward);
    return fails ? nullptr : __real_malloc(size);
}

namespace {

const std::string old_items = ">>>>\n14003Old\n";
const std::string old_playlist = "an older playlist\n";
const std::string temp_items = "db/itunes-import-temp/itunes.import.temp.items";
const std::string top = "playlists/iTunes-playlist-Top##M.wpl";

void lay_out() {
    write_file("lib/l.xml", read_file(source_path("tests/torture.xml")));
    for (const char* path : {"lib/iT1.tmp", "lib/other.tmp", "media/one.mp3", "media/two.mp3", "media/three.mp3"}) {
        write_file(path, "");
    }
    write_file("db/itunes.import.items", old_items);
    write_file("db/other", "not ours");
    write_file("playlists/mine.wpl", "not ours");
    write_file(top, old_playlist);
}

/// Imports in a child with a fault armed; what it says goes nowhere. Returns the wait status.
int import_with(Fault kind, long number, Progress* shared) {
    *shared = {};
    const pid_t child = fork();
    if (child == 0) {
        alarm(60); // a run that hangs is killed
        (void)!freopen("/dev/null", "w", stdout);
        (void)!freopen("/dev/null", "w", stderr);
        const char* words[] = {"itunes-import", "-dbdir",    "db",       "-playlist-dir", "playlists",
                               "-itunes-lib",   "lib/l.xml", "-logfile", "log/import.log"};
        progress = shared;
        fault = kind;
        fault_number = number;
        const int status = itunes_import_main(std::size(words), const_cast<char**>(words));
        fault = Fault::none;
        progress->left_in_use = upnp_mem_in_use();
        _exit(status);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

std::multiset<std::string> records_of(const std::string& items) {
    std::multiset<std::string> records;
    for (size_t start = 0; start < items.size();) {
        const auto [length, kind] =
            upnp_database_record_end(items.data() + start, static_cast<uint32_t>(items.size() - start));
        size_t end = start + length;
        if (kind != UpnpRecordEndKind::marker && kind != UpnpRecordEndKind::data_end) { // up to what looks whole
            const size_t next = items.find("\n>>>>\n", end);
            end = next == std::string::npos ? items.size() : next + 1;
        }
        records.insert(items.substr(start, end - start));
        start = end;
    }
    return records;
}

/// What a faulted run may leave: everything that is not its own as it was, at most one record and one playlist
/// damaged by the fault itself (more where it lost lines), all others whole; none damaged by a kill.
void check(const Tree& before, const Tree& after, const Tree& whole, bool is_killed, bool lost_lines) {
    std::vector<std::string> damaged;
    const size_t limit = is_killed ? 0 : lost_lines ? 4 : 2;
    for (const auto& [path, bytes] : after) {
        const auto same_in = [&path = path, &bytes = bytes](const Tree& tree) {
            return tree.contains(path) && tree.at(path) == bytes;
        };
        if (same_in(before) || same_in(whole) || path.starts_with("log") || path.starts_with("db/itunes-import-temp")) {
            continue;
        }
        if (path == "db/itunes.import.items") {
            std::multiset<std::string> records = records_of(bytes);
            for (const std::string& record : records_of(whole.at(path))) { records.erase(record); }
            EXPECT_TRUE(bytes.empty() || bytes.starts_with(">>>>\n")) << "a record without its marker";
            EXPECT_FALSE(is_killed);
            damaged.insert(damaged.end(), records.begin(), records.end());
        } else {
            EXPECT_TRUE(path.starts_with("playlists/iTunes-playlist-")) << path << " is none of its own";
            damaged.push_back(path);
        }
    }
    EXPECT_LE(damaged.size(), limit) << testing::PrintToString(damaged);
    if (!is_killed && !after.contains("db/itunes.import.items") && !after.contains(temp_items)) {
        EXPECT_TRUE(after.at(top) == old_playlist) << "playlists without the items that they refer to";
    }
    for (const char* kept : {"lib/l.xml", "lib/other.tmp", "db/other", "playlists/mine.wpl", "media/one.mp3"}) {
        EXPECT_TRUE(after.contains(kept)) << kept;
    }
}

/// Whether all results are there, whatever else is.
bool is_whole(const Tree& tree, const Tree& whole) {
    return std::ranges::all_of(whole, [&tree](const auto& file) {
        return file.first == "log/import.log" || (tree.contains(file.first) && tree.at(file.first) == file.second);
    });
}

} // namespace

TEST(Torture, EachRunEndsAndHarmsNothing) {
    auto* shared = static_cast<Progress*>(
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    Tree whole;
    {
        const TempDir folder;
        lay_out();
        ASSERT_EQ(import_with(Fault::none, 0, shared), 0);
        EXPECT_EQ(shared->left_in_use, 5) << "the text of one year is lost, and nothing else";
        whole = read_tree(".");
        ASSERT_EQ(records_of(whole["db/itunes.import.items"]).size(), 3U);
        ASSERT_NE(whole[top], old_playlist);
    }
    std::map<Fault, long> tried;
    long runs_without_items = 0;
    for (const Fault kind :
         {Fault::call_once, Fault::calls_onward, Fault::allocation_once, Fault::allocations_onward, Fault::kill}) {
        const bool counts_calls = kind != Fault::allocation_once && kind != Fault::allocations_onward;
        for (long number = 1;; ++number) {
            SCOPED_TRACE(std::to_string(static_cast<int>(kind)) + " at " + std::to_string(number));
            const TempDir folder;
            lay_out();
            const Tree before = read_tree(".");
            const int status = import_with(kind, number, shared);
            if ((counts_calls ? shared->calls : shared->allocations) < number) { break; }
            ++tried[kind];
            const bool is_killed = kind == Fault::kill;
            EXPECT_TRUE(is_killed ? WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL
                                  : WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 255))
                << status;
            const Tree after = read_tree(".");
            runs_without_items += is_killed && !after.contains("db/itunes.import.items") ? 1 : 0;
            check(before, after, whole, is_killed, shared->hit_a_step_back);
            EXPECT_TRUE(is_whole(after, whole) || kind != Fault::call_once || !shared->hit_a_look);
            if (is_killed || kind == Fault::calls_onward) { // the next run repairs the rest
                EXPECT_EQ(import_with(Fault::none, 0, shared), 0);
                EXPECT_TRUE(is_whole(read_tree("."), whole));
            }
            ASSERT_FALSE(HasFailure());
        }
    }
    EXPECT_EQ(runs_without_items, 1) << "only between the unlink and the rename is there no items file";
    munmap(shared, sizeof(Progress));
    printf("tried %ld failing calls (%ld once, %ld from then on), %ld failing allocations, %ld kills\n",
           tried[Fault::call_once] + tried[Fault::calls_onward], tried[Fault::call_once], tried[Fault::calls_onward],
           tried[Fault::allocation_once] + tried[Fault::allocations_onward], tried[Fault::kill]);
}
