// Whole nights in which one call or allocation fails, or all from one on, or a write takes less than it was given,
// or which are killed at one call; for every one of them in turn.

#include "tests/faults.h"
#include "tests/import_fixture.h"

#include <new>

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

const std::string workspace = ".itunes-import-night-";

/// Runs a night with a fault armed; what it says goes to "said".
int night_with(int kind, long number) {
    return run_with(kind, number, "said", itunes_import_night_main, {"--verbose"});
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
    const std::string library = fixture::track(1, "media/one.mp3") + fixture::track(2, "media/two.mp3") +
                                "<key>Playlists</key>\n" + fixture::playlist("Top", "p", {1, 2}) +
                                "</plist>\n";
    Tree whole;
    {
        const TempDir folder;
        lay_out(library);
        ASSERT_EQ(night_with(no_fault, 0), 0) << read_file("said");
        EXPECT_EQ(shared->left_in_use, 0);
        EXPECT_EQ(shared->unsynced_at_commit, 1) << "only the log has not reached the disk by then";
        EXPECT_EQ(shared->syncs_since_commit, 2) << "both directories";
        EXPECT_FALSE(has_workspace());
        whole = results();
        ASSERT_EQ(split(whole[items_file], '>').size(), 2 * 4 + 1U);
        ASSERT_NE(whole[top], old_playlist);
    }
    for (const int kind :
         {call_once, calls_onward, a_short_write, allocation_once, allocations_onward, a_kill}) {
        for (long number = 1;; ++number) {
            SCOPED_TRACE(std::to_string(kind) + " at " + std::to_string(number));
            const TempDir folder;
            lay_out(library);
            const Tree before = results();
            const int status = night_with(kind, number);
            if (chances(kind) < number) {
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
                EXPECT_EQ(night_with(no_fault, 0), 0) << read_file("said");
                EXPECT_EQ(results(), whole);
                EXPECT_FALSE(has_workspace());
            }
            ASSERT_FALSE(HasFailure()) << said;
        }
    }
}
