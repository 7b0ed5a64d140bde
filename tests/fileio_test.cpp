// The file layer on real files: what it keeps, how wide its numbers are, where walks and scans end.

#include "tests/support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/upnp_dirwalk.h"
#include "common/upnp_fileio.h"
#include "itunes/plist_scanner.h"

namespace {

class FileLayer : public testing::Test {
protected:
    TempDir folder_;
};

size_t count_lines(UpnpFile* library) {
    PlistScanner scanner = {library, 0, {}};
    size_t lines = 0;
    while (itunes_next_line(&scanner)) { ++lines; }
    upnp_file_close(library);
    return lines;
}

} // namespace

TEST_F(FileLayer, ReportsSizesOffsetsAndTimesIn64Bits) {
    const off_t size = off_t{5} << 30;
    const timespec times[] = {{4'000'000'000, 0}, {4'100'000'000, 0}}; // accessed and modified after 2038
    write_file("f", "");
    ASSERT_EQ(truncate("f", size), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, "f", times, 0), 0);
    UpnpFileStat status = {0, 0, 0, 42, 0, 0};
    EXPECT_EQ(upnp_file_stat("f", &status), 0);
    EXPECT_EQ(status.size, size);
    EXPECT_EQ(status.access_time, 4'000'000'000);
    EXPECT_EQ(status.modification_time, 4'100'000'000);
    EXPECT_EQ(status.change_time, 4'100'000'000);
    EXPECT_EQ(status.reserved, 42);
    UpnpFile* file = upnp_file_open_read("f");
    ASSERT_EQ(lseek(file->descriptor, size - 1, SEEK_SET), size - 1);
    EXPECT_EQ(count_lines(file), 1U) << "one byte is left";
}

TEST_F(FileLayer, WalksWhatIsNotHidden) {
    for (const char* name : {"d/plain", "d/.hidden", "d/lost+found", "d/sub/x", "empty/.only", "unseen"}) {
        write_file(name, "");
    }
    ASSERT_EQ(symlink("sub", "d/link") | symlink("nowhere", "d/dangling"), 0);
    std::map<std::string, int> seen;
    for (UpnpDirWalk* walk = upnp_dir_open("d/"); walk != nullptr; walk = upnp_dir_next(walk)) {
        seen[walk->entry_path] = 10 * walk->is_directory + walk->is_link;
    }
    EXPECT_EQ(seen, (std::map<std::string, int>{{"d/dangling", 1}, {"d/link", 11}, {"d/plain", 0}, {"d/sub", 10}}));
    for (const char* path : {"empty", "missing", "/proc", "/procedures", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(upnp_dir_open(path), nullptr);
    }
}

TEST_F(FileLayer, ScanningEndsWhereReadingMovesNothing) {
    write_file("three", "a\nb\nc");
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const std::map<const char*, size_t> rows = {{"three", 3}, {"missing", 0}, {"fifo", 0}, {"/dev/zero", 0}};
    for (const auto& [path, lines] : rows) { EXPECT_EQ(count_lines(itunes_open_library(path)), lines) << path; }
    EXPECT_LE(count_lines(itunes_open_library(".")), 16U) << "a directory opens, but never reads";
    UpnpFile* file = itunes_open_library("three");
    ASSERT_EQ(truncate("three", 2), 0);
    EXPECT_LE(count_lines(file), 17U) << "a library that shrinks ends";
}
