// Whole nights in which one call or allocation fails, or all from one on, or a write takes less than it was given,
// or which are killed or asked to end at one call; for every one of them in turn.

#include "tests/faults.h"
#include "tests/import_fixture.h"

#include <new>

#include "tools/itunes-import-night/night.h"

// What a night calls beside what an import does.
#define OPENAT openat64
#define MKOSTEMP mkostemp64
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
WRAP(int, -1, rmdir, (const char* path), (path),
     (void)(progress->syncs_since_commit = 0)) // what goes after a flush may come back
WRAP(int, -1, flock, (int file, int operation), (file, operation), (void)0)
WRAP(int, -1, pipe2, (int* ends, int flags), (ends, flags), (void)0)
WRAP(int, -1, access, (const char* path, int mode), (path, mode), (void)0)
WRAP(char*, nullptr, mkdtemp, (char* path), (path), (void)0)
WRAP(int, -1, MKOSTEMP, (char* path, int flags), (path, flags), (void)0)
WRAP(ssize_t, -1, readlink, (const char* path, char* to, size_t n), (path, to, n), (void)0)
WRAP(int, -1, fchmod, (int file, mode_t mode), (file, mode), (void)0)
WRAP(DIR*, nullptr, fdopendir, (int file), (file), (void)0)
WRAP(char*, nullptr, realpath, (const char* path, char* to), (path, to), (void)0)

[[gnu::noinline]] void* operator new(size_t size) {
    void* block = __wrap_malloc(size);
    return block != nullptr || size == 0 ? block : throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return __wrap_malloc(size);
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
    free(block);
}
[[gnu::noinline]] void operator delete(void* block, size_t /*size*/) noexcept {
    free(block);
}

namespace {

const std::string workspace = ".itunes-import-night-";

/// The tree without what may differ: the log, what was said, the workspaces that a fault has kept from removal, and
/// the path of the folder, which prepared libraries hold.
Tree results() {
    Tree tree = read_tree(".");
    const std::string here = std::filesystem::current_path();
    for (auto& [path, bytes] : tree) {
        bytes = replaced(bytes, here, "HERE");
    }
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

/// Fails each call and allocation of a night with these options, and ends it at each.
void torture(const std::string& library, const std::vector<const char*>& options) {
    const auto night_with = [&options](int kind, long number) {
        return run_with(kind, number, "said", itunes_import_night_main, options);
    };
    const auto lay_out_all = [&library] {
        lay_out(library);
        write_file("D:/two.mp3", "");
        write_file("media/Old/three.mp3", "");
    };
    Tree whole;
    {
        const TempDir folder;
        lay_out_all();
        ASSERT_EQ(night_with(no_fault, 0), 0) << read_file("said");
        EXPECT_EQ(shared->left_in_use, 0);
        EXPECT_EQ(shared->unsynced_at_commit, 1) << "only the log has not reached the disk by then";
        EXPECT_FALSE(has_workspace());
        whole = results();
        ASSERT_EQ(split(whole[items_file], '>').size(), 3 * 4 + 1U);
        ASSERT_NE(whole[top], old_playlist);
    }
    const long call_of_commit = shared->call_of_commit;
    std::string all_said;
    for (const int kind :
         {call_once, calls_onward, a_short_write, allocation_once, allocations_onward, a_kill, a_signal}) {
        for (long number = 1;; number += is_emulated ? 11 : 1) { // a night takes long there
            SCOPED_TRACE(std::to_string(kind) + " at " + std::to_string(number));
            const TempDir folder;
            lay_out_all();
            const Tree before = results();
            const int status = night_with(kind, number);
            if (chances(kind) < number) {
                break;
            }
            const std::string said = read_file("said");
            const Tree after = results();
            if (kind == a_kill) {
                EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
            } else if (kind == a_signal && number < call_of_commit) {
                const int ending = ending_signals[number % 3];
                EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == ending) << status;
                EXPECT_EQ(said, "itunes-import-night: lib/l.xml: ended by a signal (" +
                                    std::string(strsignal(ending)) + "); last night's files stay\n");
                EXPECT_EQ(after, before);
                EXPECT_FALSE(has_workspace());
                EXPECT_LT(shared->calls, number + 100) << "soon";
            } else {
                EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) <= 1) << status;
                EXPECT_NE(said, "") << "also for what went well, as it was asked";
            }
            check_each_file(before, after, whole);
            EXPECT_TRUE(after.at(items_file) != before.at(items_file) || after.at(top) == before.at(top));
            EXPECT_EQ(said.find(workspace), std::string::npos) << said; // which is gone by then
            all_said += said;
            if (status == 0) {
                EXPECT_EQ(shared->syncs_since_commit, 2) << "both directories, behind all else";
                Tree good = whole;
                good.insert(after.begin(), after.lower_bound("m")); // what is beside the library may stay
                EXPECT_EQ(after, good) << said;
            }
            if (kind == a_kill || kind == calls_onward) { // the next night repairs the rest
                EXPECT_EQ(night_with(no_fault, 0), 0) << read_file("said");
                EXPECT_EQ(results(), whole);
                EXPECT_FALSE(has_workspace());
            }
            ASSERT_FALSE(testing::Test::HasFailure()) << said;
        }
    }
    EXPECT_EQ(all_said.find("aborted"), std::string::npos) << "a parser's word for what ended it";
    for (const char* words : {"itunes-import-night: out of memory\n",
                              ": while it was imported, writing failed: not all was taken\n",
                              ": while it was imported, memory was short\n",
                              "log/log: can not be written: No space left on device\n",
                              "db/itunes.import.items: the new items file is not whole: "}) {
        EXPECT_TRUE(is_emulated || all_said.find(words) != std::string::npos) << words;
    }
}

const std::string three_tracks = fixture::track(1, "media/one.mp3") + fixture::track(2, "media/two.mp3") +
                                 fixture::track(3, "media/three.mp3") + "<key>Playlists</key>\n" +
                                 fixture::playlist("Top", "p", {1, 2}) + "</plist>\n";

} // namespace

TEST(NightTorture, OfALibrary) {
    torture(three_tracks, {"--verbose"});
}

TEST(NightTorture, SeesThatTheLibraryChanges) {
    namespace fs = std::filesystem;
    static const std::string path = "lib/l.xml";
    static fs::file_time_type time;
    void (*const changes[])() = {
        [] { write_file("new", three_tracks), fs::last_write_time("new", time), fs::rename("new", path); },
        [] { write_file(path, three_tracks + "\n"), fs::last_write_time(path, time); },
        [] { fs::last_write_time(path, time + std::chrono::nanoseconds(1)); },
    };
    for (void (*const each)() : changes) {
        const TempDir folder;
        lay_out(three_tracks);
        const Tree before = read_tree("db");
        time = fs::last_write_time(path);
        change = each; // while the import reads
        EXPECT_EQ(WEXITSTATUS(run_with(a_change, 130, "said", itunes_import_night_main, {})), 1);
        EXPECT_EQ(split(read_file("said"), '\n').front(),
                  "itunes-import-night: lib/l.xml: has changed while it was imported; run it again");
        EXPECT_EQ(read_tree("db"), before);
    }
}

// Of a path that a map leads to its file, one of another spelling, and one that the search has to find. None has
// anything listed above the folder, where neighbours come and go.
TEST(NightTorture, OfAPreparedLibrary) {
    torture("<plist><dict><key>Tracks</key><dict><key>1</key><dict>" + fixture::track(1, "/C:/one.mp3") +
                "<key>2</key><dict>" + fixture::track(2, "/D:/TWO.mp3") + "<key>3</key><dict>" +
                fixture::track(3, "/E:/Old/three.mp3") + "</dict><key>Playlists</key><array><dict>" +
                fixture::named("Top") + fixture::number("Playlist ID", "7") + fixture::with_id("p") +
                fixture::items_key + "<array>" + fixture::plays(1) +
                "</dict></array></dict></array></dict></plist>",
            {"--verbose", "--map", "C:=media", "--media=media"});
}
