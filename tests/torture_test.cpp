// Whole imports in which one call or allocation fails, or all from one on, or which are killed at one; for
// every one of them in turn.

#include "tests/faults.h"

#include <algorithm>
#include <set>

#include "common/upnp_dirwalk.h"
#include "common/upnp_fileio.h"
#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "itunes/import_driver.h"
#include "server/common/upnp_items.h"

namespace {

const std::string temp_items = "db/itunes-import-temp/itunes.import.temp.items";

/// Imports with a fault armed; what it says goes nowhere.
int import_with(int kind, long number) {
    return run_with(kind, number, "/dev/null", itunes_import_main, {});
}

std::multiset<std::string> records_of(const std::string& items) {
    std::multiset<std::string> records;
    for (size_t start = 0, end = 0; start < items.size(); start = end) {
        end = std::min(items.find(">>>>\n", start + 1), items.size());
        records.insert(items.substr(start, end - start));
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
        if (same_in(before) || same_in(whole) || path.starts_with("log") ||
            path.starts_with("db/itunes-import-temp")) {
            continue;
        }
        if (path == items_file) {
            std::multiset<std::string> records = records_of(bytes);
            for (const std::string& record : records_of(whole.at(path))) {
                records.erase(record);
            }
            EXPECT_TRUE(bytes.empty() || bytes.starts_with(">>>>\n")) << "a record without its marker";
            EXPECT_FALSE(is_killed);
            damaged.insert(damaged.end(), records.begin(), records.end());
        } else {
            EXPECT_TRUE(path.starts_with("playlists/iTunes-playlist-")) << path << " is none of its own";
            damaged.push_back(path);
        }
    }
    EXPECT_LE(damaged.size(), limit) << testing::PrintToString(damaged);
    if (!is_killed && !after.contains(items_file) && !after.contains(temp_items)) {
        EXPECT_TRUE(after.at(top) == old_playlist) << "playlists without the items that they refer to";
    }
    for (const char* kept :
         {"lib/l.xml", "lib/other.tmp", "db/other", "playlists/mine.wpl", "media/one.mp3"}) {
        EXPECT_TRUE(after.contains(kept)) << kept;
    }
}

/// Whether all results are there, whatever else is.
bool is_whole(const Tree& tree, const Tree& whole) {
    return std::ranges::all_of(whole, [&tree](const auto& file) {
        return file.first == "log/log" || (tree.contains(file.first) && tree.at(file.first) == file.second);
    });
}

} // namespace

TEST(Torture, AReadThatStoresNothingShowsNothingOfTheLineBefore) {
    const TempDir folder;
    write_file("lines", "one\ntwo\n");
    UpnpFile* file = upnp_file_open_read("lines");
    char line[9] = {};
    EXPECT_STREQ(upnp_file_read_line(line, 8, file), "one\n");
    Progress counted = {};
    progress = &counted, fault = calls_onward, failed_read = 8;
    EXPECT_STREQ(upnp_file_read_line(line, 8, file), "");
    EXPECT_EQ(file->position, 4 + 8);
    progress = nullptr, fault = no_fault, failed_read = -1;
    upnp_file_close(file);
}

TEST(Torture, WhatIsMissingIsToldAndNothingIsLost) {
    const TempDir folder;
    write_file("d/f", "12345");
    upnp_mem_init();
    upnp_log_init(nullptr);
    upnp_log_set_mask(UINT32_MAX);
    const int32_t before = upnp_mem_in_use();
    Progress counted = {};
    const auto told = [&counted](int kind, long number, const std::function<void()>& work) {
        counted = {};
        return mask_times(stdout_of([&] {
            progress = &counted;
            fault = kind;
            fault_number = number;
            work();
            progress = nullptr;
        }));
    };
    EXPECT_EQ(told(allocation_once, 1, [] { EXPECT_EQ(upnp_file_open_write("d/f"), nullptr); }),
              "TIME LOG_SYSTEM:upnp_file_open_write Malloc fails on upnp_file_open_write \n"
              "TIME LOG_SYSTEM:upnp_file_open_write file open write error \"d/f\"\n");
    EXPECT_EQ(told(allocation_once, 1, [] { EXPECT_EQ(upnp_log_init("log"), 0); }),
              "upnp_log_init - out of memory ?\n");
    EXPECT_EQ(told(allocation_once, 1,
                   [] { EXPECT_EQ(db_object_createobject_set_numprop(nullptr, 31, 1), nullptr); }),
              "TIME db_object_createobject_set_numprop - out of memory\n");
    const int64_t files = open_files();
    EXPECT_EQ(told(call_once, 2, [] { EXPECT_EQ(upnp_file_open_read("d/f"), nullptr); }),
              "TIME LOG_SYSTEM:file_stat error (errno=5, filename=d/f)\n");
    EXPECT_EQ(open_files(), files + 1) << "is not closed there, on purpose";
    for (const long number : {1, 2, 3}) { // the walk, its path, its entry
        EXPECT_EQ(told(allocations_onward, number, [] { EXPECT_EQ(upnp_dir_open("d"), nullptr); }), "");
    }
    EXPECT_EQ(told(call_once, 3, [] { upnp_dir_close(upnp_dir_open("d")); }), "") << "a failing lstat";
    for (const long number : {1, 2, 3, 4}) { // a value that is read, its property, and copies of both
        EXPECT_EQ(told(allocation_once, number,
                       [] {
                           MediaObject* object = upnp_database_object_create_from_data("14001a", 6);
                           upnp_database_object_free(upnp_database_object_copy(object, nullptr));
                           upnp_database_object_free(object);
                       }),
                  "");
    }
    EXPECT_EQ(open_files(), files + 1);
    upnp_log_set_mask(0);
    EXPECT_EQ(upnp_mem_in_use(), before);
}

TEST(Torture, EachRunEndsAndHarmsNothing) {
    const std::string library = read_file(source_path("tests/corpus/library/torture.xml"));
    Tree whole;
    {
        const TempDir folder;
        lay_out(library);
        ASSERT_EQ(import_with(no_fault, 0), 0);
        EXPECT_EQ(shared->left_in_use, 0);
        EXPECT_EQ(shared->yields, 34 + 13) << "for each line, and for each of a track once more";
        EXPECT_EQ(shared->unsynced_at_commit, 1) << "only the log has not reached the disk by then";
        whole = read_tree(".");
        ASSERT_EQ(records_of(whole[items_file]).size(), 3U);
        ASSERT_NE(whole[top], old_playlist);
    }
    long runs_without_items = 0;
    for (const int kind : {call_once, calls_onward, allocation_once, allocations_onward, a_kill}) {
        for (long number = 1;; ++number) {
            SCOPED_TRACE(std::to_string(kind) + " at " + std::to_string(number));
            const TempDir folder;
            lay_out(library);
            const Tree before = read_tree(".");
            const int status = import_with(kind, number);
            if (chances(kind) < number) {
                break;
            }
            const bool is_killed = kind == a_kill;
            EXPECT_TRUE(is_killed
                            ? WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL
                            : WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 255))
                << status;
            const Tree after = read_tree(".");
            runs_without_items += is_killed && !after.contains(items_file) ? 1 : 0;
            check(before, after, whole, is_killed, shared->hit_a_step_back);
            EXPECT_TRUE(is_whole(after, whole) || kind != call_once || !shared->hit_a_look);
            if (is_killed || kind == calls_onward) { // the next run repairs the rest
                EXPECT_EQ(import_with(no_fault, 0), 0);
                EXPECT_TRUE(is_whole(read_tree("."), whole));
            }
            ASSERT_FALSE(HasFailure());
        }
    }
    EXPECT_EQ(runs_without_items, 1) << "only between the unlink and the rename is there no items file";
}
