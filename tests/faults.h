#pragma once
// NOLINTBEGIN(misc-definitions-in-headers): each of the two test programs that include it is one source.
// Faults for whole runs of a program inside a test: one system call or allocation fails, or all from one on, or the
// run is killed at one. The linker sends the program's calls through the wrappers below (see tests/CMakeLists.txt),
// so the program itself holds no hooks. For one source of a test program, which defines what calls the program
// makes beside these with WRAP.

#include "tests/support.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

extern "C" int64_t __real_lseek64(int file, int64_t distance, int from);

namespace {

/// The calls and allocations that fail, or the call at which the run is killed or asked to end.
constexpr int no_fault = 0, call_once = 1, calls_onward = 2, allocation_once = 3, allocations_onward = 4,
              a_kill = 5, a_short_write = 6, // the latter counts writes only
    a_signal = 7, a_change = 8;
constexpr int ending_signals[] = {SIGTERM, SIGINT, SIGHUP}; // by turns

/// Shared with the children, which count what they do.
struct Progress {
    long calls, writes, allocations, yields;
    int32_t left_in_use;     // bytes, after a whole run
    bool hit_a_step_back;    // the fault lost the scanner's place: up to a buffer of lines is gone with it
    bool hit_a_look;         // the fault hit a read, a position query or a sync, by which nothing is lost
    bool unsynced[1024];     // by descriptor: what was written has not been synced
    long lost_syncs;         // files that were closed so
    long unsynced_at_commit; // files, when the items file was replaced
    long syncs_since_commit;
    long call_of_commit; // its number
};
Progress* const shared = static_cast<Progress*>(
    mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
Progress* progress = nullptr; // while calls are counted
int fault = no_fault;         // armed in children only
long fault_number = 0;
void (*change)() = nullptr; // what happens beside the run, at a_change
ssize_t failed_read = -1;   // what a read that fails returns

bool is_due(long number, int once, int onward) {
    return (fault == once && number == fault_number) || (fault == onward && number >= fault_number);
}

/// Counts one system call; true, with errno set, if it is to fail. A killed run never comes back.
bool call_fails() {
    if (progress == nullptr) {
        return false;
    }
    ++progress->calls;
    if (fault == a_kill && progress->calls == fault_number) {
        raise(SIGKILL);
    }
    if (fault == a_signal && progress->calls == fault_number) {
        raise(ending_signals[fault_number % 3]);
    }
    if (fault == a_change && progress->calls == fault_number) {
        Progress* const counted = std::exchange(progress, nullptr);
        change();
        progress = counted;
    }
    const bool fails = is_due(progress->calls, call_once, calls_onward);
    errno = fails ? EIO : errno;
    return fails;
}

/// What an earlier run left, files of others, and this library with a track's files.
const std::string old_items = ">>>>\n14003Old\n";
const std::string old_playlist = "an older playlist\n";
const std::string items_file = "db/itunes.import.items";
const std::string top = "playlists/iTunes-playlist-Top##M.wpl";
void lay_out(const std::string& library) {
    write_file("lib/l.xml", library);
    for (const char* path :
         {"lib/iT1.tmp", "lib/other.tmp", "media/one.mp3", "media/two.mp3", "media/three.mp3"}) {
        write_file(path, "");
    }
    write_file(items_file, old_items);
    write_file("db/other", "not ours");
    write_file("playlists/mine.wpl", "not ours");
    write_file(top, old_playlist);
}

/// Runs a program on that in a child, with a fault armed and further arguments; what it says on standard error goes
/// to the file `said`. Returns the wait status.
int run_with(int kind, long number, const char* said, int (*program)(int, char**),
             std::vector<const char*> arguments) {
    *shared = {};
    const pid_t child = fork();
    if (child == 0) {
        alarm(60); // a run that hangs is killed
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        dup2(open(said, O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
        arguments.insert(arguments.begin(), {"program", "-dbdir", "db", "-playlist-dir", "playlists",
                                             "-itunes-lib", "lib/l.xml", "-logfile", "log/log"});
        arguments.push_back(nullptr);
        auto** words = const_cast<char**>(arguments.data());
        const int count = static_cast<int>(arguments.size()) - 1;
        progress = shared;
        fault = kind;
        fault_number = number;
        const int status = program(count, words);
        fault = no_fault;
        progress->left_in_use = upnp_mem_in_use();
        _exit(status);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

/// How often a fault of this kind could have struck in the last run.
long chances(int kind) {
    return kind == a_short_write                                   ? shared->writes
           : kind == allocation_once || kind == allocations_onward ? shared->allocations
                                                                   : shared->calls;
}

/// Notes that a file, and no pipe, is written, synced or closed.
void note_write(int file, bool is_synced, bool is_closed) {
    progress->syncs_since_commit += is_synced ? 1 : 0;
    if (__real_lseek64(file, 0, SEEK_CUR) < 0) {
        return;
    }
    progress->lost_syncs += is_closed && progress->unsynced[file] ? 1 : 0;
    progress->unsynced[file] = !is_synced && !is_closed;
}

/// Notes that something at this path is deleted or replaced.
void note_end_of(const char* path) {
    if (strcmp(path, "db/itunes.import.items") == 0) {
        progress->unsynced_at_commit = std::ranges::count(progress->unsynced, true) + progress->lost_syncs;
        progress->syncs_since_commit = 0;
        progress->call_of_commit = progress->calls + 1;
    }
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
#define WRAP(result, failure, name, parameters, arguments, note)                                             \
    extern "C" result JOIN(__real_, name) parameters;                                                        \
    extern "C" result JOIN(__wrap_, name) parameters {                                                       \
        progress != nullptr ? note : (void)0;                                                                \
        return call_fails() ? (failure) : JOIN(__real_, name) arguments;                                     \
    }

WRAP(int, -1, OPEN, (const char* path, int flags, mode_t mode), (path, flags, mode), (void)0)
WRAP(int, -1, close, (int file), (file), note_write(file, false, true))
// Nothing is flushed in fact: it would take longer than all the rest.
extern "C" int __wrap_fsync(int file) {
    if (progress != nullptr) {
        const bool fails = is_due(progress->calls + 1, call_once, calls_onward);
        note_write(file, !fails, false);
        progress->hit_a_look = progress->hit_a_look || fails;
    }
    return call_fails() ? -1 : 0;
}
WRAP(ssize_t, (progress->hit_a_look = true, failed_read), read, (int file, void* to, size_t n), (file, to, n),
     (void)0)
WRAP(int64_t, ((distance != 0 ? progress->hit_a_step_back : progress->hit_a_look) = true, -1), LSEEK,
     (int file, int64_t distance, int from), (file, distance, from), (void)0)
WRAP(int, -1, STAT, (const char* path, void* status), (path, status), (void)0)
WRAP(int, -1, LSTAT, (const char* path, void* status), (path, status), (void)0)
WRAP(int, -1, rename, (const char* from, const char* to), (from, to), note_end_of(to))
WRAP(int, -1, unlink, (const char* path), (path), note_end_of(path))
WRAP(int, -1, mkdir, (const char* path, mode_t mode), (path, mode), (void)0)
WRAP(DIR*, nullptr, opendir, (const char* path), (path), (void)0)
WRAP(void*, nullptr, READDIR, (DIR * stream), (stream), (void)0)
WRAP(int, -1, closedir, (DIR * stream), (stream), (void)0)
WRAP(int, EAGAIN, pthread_mutex_init, (pthread_mutex_t * mutex, const void* kind), (mutex, kind), (void)0)
extern "C" ssize_t __real_write(int file, const void* bytes, size_t size);
extern "C" ssize_t __wrap_write(int file, const void* bytes, size_t size) {
    if (progress != nullptr) {
        note_write(file, false, false);
        ++progress->writes;
        const bool is_last = fault == a_kill && progress->calls + 1 == fault_number;
        (void)(is_last ? __real_write(file, bytes, size / 2) : 0); // killed in the middle
    }
    if (call_fails()) {
        return -1;
    }
    const bool is_short = progress != nullptr && fault == a_short_write && progress->writes == fault_number;
    return __real_write(file, bytes, is_short ? size / 2 : size);
}
extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
    const bool fails = progress != nullptr && fault != no_fault &&
                       is_due(++progress->allocations, allocation_once, allocations_onward);
    if (fails) {
        errno = ENOMEM; // the C library's own callers, where it is linked in, look at it
        return nullptr;
    }
    return __real_malloc(size);
}
// Costs more than the rest of a run where the machine is busy.
extern "C" int __wrap_sched_yield() {
    progress != nullptr ? ++progress->yields : 0;
    return 0;
}
// The address sanitizer copies a smaller quarantine at each of the many forks three times as fast.
extern "C" const char* __asan_default_options() {
    return "quarantine_size_mb=1";
}
// NOLINTEND(misc-definitions-in-headers)
