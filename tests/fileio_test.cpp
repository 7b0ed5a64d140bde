// The file layer on real files: what it keeps, returns and logs, how wide its numbers are, where walks end.

#include "tests/support.h"

#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "common/upnp_dirwalk.h"
#include "common/upnp_fileio.h"
#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "itunes/library_setting.h"
#include "itunes/library_walk.h"
#include "itunes/plist_scanner.h"
#include "server/common/upnp_items.h"

namespace {

class FileLayer : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(std::pair(upnp_mem_in_use(), open_files()), before_); }

    TempDir folder_;
    const std::pair<int32_t, int64_t> before_ = (upnp_mem_init(), std::pair(upnp_mem_in_use(), open_files()));
};

/// What `work` logs, of every category and level.
std::string logged(const std::function<void()>& work) {
    upnp_log_init(nullptr);
    upnp_log_set_mask(upnp_log_system | upnp_log_db);
    std::string log = mask_times(stdout_of(work));
    upnp_log_set_mask(0);
    upnp_log_close();
    return log;
}

size_t count_lines(UpnpFile* library) {
    PlistScanner scanner = {library, 0, {}};
    size_t lines = 0;
    for (; itunes_next_line(&scanner); ++lines) {
    }
    upnp_file_close(library);
    return lines;
}

} // namespace

TEST_F(FileLayer, TellsAListenerWhatFailed) {
    static std::vector<std::pair<UpnpFileCall, int>> told;
    upnp_file_failure_listener = [](UpnpFileCall call, int error) { told.emplace_back(call, error); };
    UpnpFile* full = upnp_file_open_write("/dev/full");
    EXPECT_EQ(upnp_file_write(full, "text", 4), -1);
    upnp_file_sync(full);
    upnp_file_close(full);
    (void)upnp_file_exists("absent");
    upnp_file_failure_listener = nullptr;
    (void)upnp_file_exists("absent");
    EXPECT_EQ(told, (std::vector<std::pair<UpnpFileCall, int>>{{UpnpFileCall::write, ENOSPC},
                                                               {UpnpFileCall::sync, EINVAL},
                                                               {UpnpFileCall::stat, ENOENT}}));
}

TEST_F(FileLayer, WorksWithoutAWord) {
    const mode_t mask = umask(0);
    const auto write = [](UpnpFile* file, int access, int64_t size, const char* text) {
        EXPECT_EQ(file->size, size);
        EXPECT_EQ(fcntl(file->descriptor, F_GETFL) & O_ACCMODE, access);
        const auto length = static_cast<uint32_t>(strlen(text));
        EXPECT_EQ(upnp_file_write(file, text, length), static_cast<int32_t>(length));
        upnp_file_sync(file);
        upnp_file_close(file);
    };
    EXPECT_EQ(logged([&] {
                  EXPECT_EQ(upnp_file_mkdir("d") | upnp_file_create_path("d/"), 0);
                  write(upnp_file_open_write("d/f"), O_WRONLY, 0, "long\n");
                  write(upnp_file_open_write("d/f"), O_WRONLY, 0, "s"); // from the start, cutting nothing
                  write(upnp_file_open_append("d/f"), O_RDWR, 5, "end");
                  write(upnp_file_open_append("new"), O_RDWR, 0, "");
                  EXPECT_EQ(upnp_file_exists("d/f"), 1);
                  EXPECT_EQ(upnp_file_rename("d/f", "f") | upnp_file_rename("new", "d/f"), 0);
                  import_write_library_setting("d/f");
                  EXPECT_EQ(upnp_file_unlink("d/f") | upnp_file_create_path("/"), 0);
              }),
              "");
    upnp_file_close(upnp_file_open_append("new"));
    EXPECT_EQ(read_tree("."), (Tree{{"d/", ""}, {"f", "song\nend"}, {"new", ""}}));
    for (const auto& [path, mode] : std::map<const char*, mode_t>{{"d", 0777}, {"new", 0644}, {"f", 0644}}) {
        UpnpFileStat status = {};
        EXPECT_EQ(upnp_file_stat(path, &status), 0);
        EXPECT_EQ(status.mode & 07777U, mode) << path;
    }
    umask(mask);
}

TEST_F(FileLayer, ReturnsAndLogsWhatFails) {
    write_file("file", "x");
    write_file("dir/file", "");
    UpnpFile stale = {999, 9, 0, nullptr}; // a descriptor that nothing has
    auto* owned = static_cast<UpnpFile*>(upnp_calloc(1, sizeof stale));
    owned->descriptor = 999;
    UpnpFileStat status = {};
    char line[8] = "";
    std::string all;
    const auto show = [&](const char* operation, const std::function<int64_t()>& work) {
        int64_t result = 0;
        const std::string log = logged([&] { result = work(); });
        all += operation + (" = " + std::to_string(result)) + "\n" + log;
    };
#define SHOW(operation) show(#operation, [&] { return int64_t{operation}; })
    SHOW(upnp_file_open_write("no/f") != nullptr);
    SHOW(upnp_file_open_write(nullptr) != nullptr);
    SHOW(upnp_file_open_read("no") != nullptr);
    SHOW(upnp_file_open_append("no/f") != nullptr);
    SHOW(upnp_file_exists("no"));
    SHOW(upnp_file_stat("no", &status));
    SHOW(upnp_file_rename("no", "to"));
    SHOW(upnp_file_unlink("no"));
    SHOW(upnp_dir_unlink("dir"));
    SHOW(upnp_file_mkdir("file"));
    for (const char* path : {"file/a/b", "C:/e/f", "x:e", "", "a/b/c/d/"}) {
        show(path, [&] { return upnp_file_create_path(path); });
    }
    SHOW(upnp_file_write(&stale, "abc", 3));
    SHOW(*upnp_file_read_line(line, 5, &stale));
    SHOW(upnp_file_at_end(&stale));
    SHOW((upnp_file_close(owned), 0));
    SHOW((itunes_read_library("no", nullptr), 0));
    SHOW(upnp_database_object_create_from_data("16FFFx", 6) != nullptr);
    SHOW(upnp_database_object_create_from_data("16", 2) != nullptr);
    SHOW(upnp_database_object_create_from_data(">>>>\n16FFF", 10) != nullptr);
    SHOW(upnp_database_object_create_from_data(">>>>\n16000\n16FFF", 16) != nullptr);
    for (const auto& [path, bytes] : read_tree(".")) {
        all += "left: " + path + " " + bytes + "\n";
    }
    expect_golden(all, "failures.txt");
}

TEST_F(FileLayer, ReportsSizesOffsetsAndTimesIn64Bits) {
    const off_t size = off_t{5} << 30;
    const timespec times[] = {{4'000'000'000, 0}, {4'100'000'000, 0}}; // accessed and modified after 2038
    write_file("f", "");
    ASSERT_EQ(truncate("f", size) | utimensat(AT_FDCWD, "f", times, 0), 0);
    UpnpFileStat status = {0, 0, 0, 42, 0, 0};
    EXPECT_EQ(upnp_file_stat("f", &status), 0);
    EXPECT_EQ(status.size, size);
    EXPECT_EQ(status.access_time, 4'000'000'000);
    EXPECT_EQ(std::pair(status.modification_time, status.change_time),
              std::pair(times[1].tv_sec, times[1].tv_sec));
    EXPECT_EQ(status.reserved, 42);
    UpnpFile* file = upnp_file_open_read("f");
    EXPECT_EQ(fcntl(file->descriptor, F_GETFL) & O_ACCMODE, O_RDONLY);
    ASSERT_EQ(lseek(file->descriptor, size - 1, SEEK_SET), size - 1);
    EXPECT_EQ(std::pair(upnp_file_at_end(file), file->position), std::pair(0, size - 1));
    EXPECT_EQ(count_lines(file), 1U) << "one byte is left";
}

TEST_F(FileLayer, ReadsLinesThatFitABufferOfEightBytes) {
    using namespace std::string_literals;
    write_file("lines", "\n\na\r\n123456\n1234567\n12345678\n123456781234567812\na\0b\nx"s);
    UpnpFile* file = upnp_file_open_read("lines");
    std::string lines;
    std::string buffer(9, '?');
    const auto read_all = [&] {
        while (upnp_file_at_end(file) == 0) {
            const int64_t start = file->position;
            std::ranges::fill(buffer, '?');
            EXPECT_EQ(upnp_file_read_line(buffer.data(), 8, file), buffer.data());
            const auto length = static_cast<size_t>(file->position - start);
            EXPECT_EQ(buffer[length], length == 8 ? '?' : '\0') << "what stands behind the line";
            EXPECT_EQ(buffer[8], '?') << "what stands behind the buffer";
            lines += "[" + buffer.substr(0, length) + "]";
        }
        EXPECT_STREQ(upnp_file_read_line(buffer.data(), 8, file), "");
        EXPECT_EQ(upnp_file_at_end(file), 1);
    };
    EXPECT_EQ(logged(read_all), "");
    EXPECT_EQ(lines,
              "[\n][\n][a\r\n][123456\n][1234567\n][12345678][\n][12345678][12345678][12\n][a\0b\n][x]"s);
    upnp_file_close(file);
}

TEST_F(FileLayer, WalksWhatIsNotHidden) {
    for (const char* name :
         {"d/plain", "d/.hidden", "d/lost+found", "d/Lost+Found", "d/sub/x", "empty/.only", "unseen"}) {
        write_file(name, "");
    }
    ASSERT_EQ(symlink("sub", "d/link") | symlink("nowhere", "d/dangling"), 0);
    for (const char* path : {"d", "d/"}) {
        std::map<std::string, int> seen;
        for (UpnpDirWalk* walk = upnp_dir_open(path); walk != nullptr; walk = upnp_dir_next(walk)) {
            EXPECT_EQ(walk->entry_path, std::string("d/") + walk->entry_name);
            seen[walk->entry_name] = 10 * walk->is_directory + walk->is_link;
        }
        EXPECT_EQ(seen, (std::map<std::string, int>{
                            {"Lost+Found", 0}, {"dangling", 1}, {"link", 11}, {"plain", 0}, {"sub", 10}}));
    }
    std::string longest = "d";
    while (longest.size() < 2045) {
        longest += "/.";
    }
    UpnpDirWalk* walk = upnp_dir_open(longest.c_str());
    EXPECT_EQ(walk->entry_path, (longest + "/" + walk->entry_name).substr(0, 2047));
    upnp_dir_close(walk);
    for (const char* path : {"empty", "missing", "/proc", "/proc/self"}) {
        EXPECT_EQ(upnp_dir_open(path), nullptr);
    }
}

TEST_F(FileLayer, ScanningEndsWhereReadingMovesNothing) {
    write_file("three", "a\nb\nc");
    ASSERT_EQ(mkfifo("real", 0600) | symlink("real", "fifo"), 0);
    const std::map<const char*, size_t> rows = {{"three", 3}, {"missing", 0}, {"fifo", 0}, {"/dev/zero", 0}};
    for (const auto& [path, lines] : rows) {
        EXPECT_EQ(count_lines(itunes_open_library(path)), lines) << path;
    }
    EXPECT_EQ(count_lines(itunes_open_library(".")), 16U) << "a directory opens, but never reads";
    UpnpFile* file = itunes_open_library("three");
    ASSERT_EQ(truncate("three", 2), 0);
    EXPECT_EQ(count_lines(file), 17U) << "a library that shrinks ends";
}
