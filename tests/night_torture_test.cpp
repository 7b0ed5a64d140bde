// Whole nights in which one call or allocation fails, or all from one on, or a write takes less than it was given,
// or which are killed at one call; for every one of them in turn.

#include "tests/faults.h"
#include "tests/import_fixture.h"

#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>

#include "common/upnp_memory.h"
#include "tools/itunes-import-night/night.h"

// What a night calls beside what an import does.
#define OPENAT openat64
#if __SIZEOF_POINTER__ == 4
#define FSTAT __fstat64_time64
#define FSTATAT __fstatat64_time64
#else
#define FSTAT fstat64
#define FSTATAT fstatat64
#endif
WRAP(int, -1, OPENAT, (int at, const char* path, int flags, mode_t mode), (at, path, flags, mode), (void)0)
WRAP(int, -1, FSTAT, (int file, void* status), (file, status), (void)0)
WRAP(int, -1, FSTATAT, (int at, const char* path, void* status, int flags), (at, path, status, flags),
     (void)0)
WRAP(int, -1, unlinkat, (int at, const char* path, int flags), (at, path, flags), (void)0)
WRAP(int, -1, rmdir, (const char* path), (path), (void)0)
WRAP(int, -1, flock, (int file, int operation), (file, operation), (void)0)
WRAP(int, -1, pipe2, (int* ends, int flags), (ends, flags), (void)0)
WRAP(int, -1, access, (const char* path, int mode), (path, mode), (void)0)
WRAP(char*, nullptr, mkdtemp, (char* path), (path), (void)0)

[[gnu::noinline]] void* operator new(size_t size) {
    void* block = __wrap_malloc(size);
    return block != nullptr || size == 0 ? block : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
    free(block);
}
[[gnu::noinline]] void operator delete(void* block, size_t /*size*/) noexcept {
    free(block);
}

namespace {

const std::string items = "db/itunes.import.items";
const std::string workspace = ".itunes-import-night-";

void lay_out() {
    fixture::lay_out(fixture::track(1, "media/one.mp3") + fixture::track(2, "media/two.mp3"),
                     fixture::playlist("Top", "p", {1, 2}) + "</plist>\n");
    write_file("lib/l.xml", read_file("l.xml"));
    for (const char* path : {"lib/iT1.tmp", "lib/other.tmp", "media/one.mp3", "media/two.mp3"}) {
        write_file(path, "");
    }
    write_file(items, ">>>>\n14003Old\n");
    write_file("db/other", "not ours");
    write_file("pl/mine.wpl", "not ours");
    write_file("pl/iTunes-playlist-Top##M.wpl", "an older playlist\n");
}

/// Runs a night in a child with a fault armed; what it says goes to "said". Returns the wait status.
int night_with(int kind, long number, Progress* shared) {
    *shared = {};
    const pid_t child = fork();
    if (child == 0) {
        alarm(60); // a night that hangs is killed
        (void)!freopen("/dev/null", "w", stdout);
        dup2(open("said", O_WRONLY | O_CREAT, 0644), STDERR_FILENO);
        const char* words[] = {"night",       "-dbdir",    "db",       "-playlist-dir", "pl",
                               "-itunes-lib", "lib/l.xml", "-logfile", "log/night.log", "--verbose"};
        char* arguments[std::size(words) + 1] = {};
        std::ranges::transform(words, arguments, [](const char* word) { return const_cast<char*>(word); });
        progress = shared;
        fault = kind;
        fault_number = number;
        const int status = itunes_import_night_main(std::size(words), arguments);
        fault = no_fault;
        progress->left_in_use = upnp_mem_in_use();
        _exit(status);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

/// The tree without what may differ: the log, what was said, and the workspaces that a fault has kept from removal.
Tree results() {
    Tree tree = read_tree(".");
    std::erase_if(tree, [](const auto& file) {
        return file.first.starts_with("log") || file.first == "said" ||
               file.first.find(workspace) != std::string::npos;
    });
    return tree;
}

bool has_workspace() {
    const Tree tree = read_tree(".");
    return std::ranges::any_of(
        tree, [](const auto& file) { return file.first.find(workspace) != std::string::npos; });
}

/// Each file is last night's or the new one, and there is no other.
void check_each_file(const Tree& before, const Tree& after, const Tree& whole) {
    for (const auto& [path, bytes] : after) {
        const bool is_old = before.contains(path) && before.at(path) == bytes;
        const bool is_new = whole.contains(path) && whole.at(path) == bytes;
        EXPECT_TRUE(is_old || is_new) << path << ": " << bytes;
    }
    for (const auto& [path, bytes] : before) {
        EXPECT_TRUE(after.contains(path) || path == "lib/iT1.tmp") << path << " is gone";
    }
}

} // namespace

TEST(NightTorture, EachFileIsLastNightsOrTheNewOne) {
    auto* shared = static_cast<Progress*>(
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    Tree whole;
    {
        const TempDir folder;
        lay_out();
        ASSERT_EQ(night_with(no_fault, 0, shared), 0) << read_file("said");
        EXPECT_EQ(shared->left_in_use, 0);
        EXPECT_EQ(shared->unsynced_at_commit, 1) << "only the log has not reached the disk by then";
        EXPECT_EQ(shared->syncs_since_commit, 2) << "both directories";
        EXPECT_FALSE(has_workspace());
        whole = results();
        ASSERT_EQ(split(whole[items], '>').size(), 2 * 4 + 1U);
        ASSERT_NE(whole["pl/iTunes-playlist-Top##M.wpl"], "an older playlist\n");
    }
    for (const int kind :
         {call_once, calls_onward, a_short_write, allocation_once, allocations_onward, a_kill}) {
        const bool counts_calls = kind != allocation_once && kind != allocations_onward;
        for (long number = 1;; ++number) {
            SCOPED_TRACE(std::to_string(kind) + " at " + std::to_string(number));
            const TempDir folder;
            lay_out();
            const Tree before = results();
            const int status = night_with(kind, number, shared);
            if ((kind == a_short_write ? shared->writes
                 : counts_calls        ? shared->calls
                                       : shared->allocations) < number) {
                break;
            }
            const std::string said = read_file("said");
            const Tree after = results();
            if (kind == a_kill) {
                EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
            } else {
                EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) <= 1) << status;
                EXPECT_NE(said, "") << "also for what went well, as it was asked";
            }
            check_each_file(before, after, whole);
            if (status == 0) {
                Tree good = whole;
                good.insert(after.begin(), after.lower_bound("m")); // what is beside the library may stay
                EXPECT_EQ(after, good) << said;
            }
            if (kind == a_kill || kind == calls_onward) { // the next night repairs the rest
                EXPECT_EQ(night_with(no_fault, 0, shared), 0) << read_file("said");
                EXPECT_EQ(results(), whole);
                EXPECT_FALSE(has_workspace());
            }
            ASSERT_FALSE(HasFailure()) << said;
        }
    }
    munmap(shared, sizeof(Progress));
}
