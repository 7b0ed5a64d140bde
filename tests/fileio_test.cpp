// The file layer: lines, positions, walks, and the line that each failing call logs.

#include "tests/support.h"

#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

#include "common/upnp_dirwalk.h"
#include "common/upnp_fileio.h"
#include "common/upnp_log.h"

namespace {

/// The pieces that upnp_file_read_line delivers of a file, NUL bytes included up to the text that it ends.
std::vector<std::string> lines_of(const std::string& bytes, uint32_t size) {
    write_file("lines", bytes);
    UpnpFile* file = upnp_file_open_read("lines");
    std::vector<std::string> lines;
    while (upnp_file_at_end(file) == 0) {
        const int64_t position = file->position;
        std::string buffer(size, '?');
        EXPECT_EQ(upnp_file_read_line(buffer.data(), size, file), buffer.data());
        lines.push_back(buffer.substr(0, static_cast<size_t>(file->position - position)));
        if (lines.back().size() < size) {
            EXPECT_EQ(buffer[lines.back().size()], '\0') << "terminated behind the line";
        }
    }
    upnp_file_close(file);
    return lines;
}

class FileLayer : public testing::Test {
protected:
    TempDir folder_;
};

} // namespace

TEST_F(FileLayer, ReadsLinesInPiecesOfTheBuffer) {
    const std::string nul_line = {'a', '\0', 'b', '\n'};
    const struct {
        const char* name;
        std::string bytes;
        std::vector<std::string> lines;
    } rows[] = {
        {"empty file", "", {}},
        {"line feed alone", "\n\nx", {"\n", "\n", "x"}},
        {"carriage returns stay", "a\r\nb", {"a\r\n", "b"}},
        {"line feed below the limit", "123456\nx", {"123456\n", "x"}},
        {"line feed as the last byte", "1234567\nx", {"1234567\n", "x"}},
        {"line feed behind a full piece", "12345678\nx", {"12345678", "\n", "x"}},
        {"long line", "123456781234567812\n", {"12345678", "12345678", "12\n"}},
        {"NUL inside a line", nul_line + "x", {nul_line, "x"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(lines_of(row.bytes, 8), row.lines);
    }
    EXPECT_EQ(upnp_file_read_line(nullptr, 8, nullptr), nullptr);
    EXPECT_EQ(upnp_file_at_end(nullptr), 1);
}

TEST_F(FileLayer, NeverTruncates) {
    write_file("f", "longer text");
    UpnpFile* file = upnp_file_open_write("f");
    EXPECT_EQ(upnp_file_write(file, "new", 3), 3);
    EXPECT_EQ(upnp_file_write(file, nullptr, 3), -1);
    upnp_file_close(file);
    EXPECT_EQ(read_file("f"), "newger text");
    file = upnp_file_open_append("f");
    EXPECT_EQ(file->size, 11);
    EXPECT_EQ(upnp_file_write(file, "!", 1), 1);
    upnp_file_close(file);
    EXPECT_EQ(read_file("f"), "newger text!");
}

TEST_F(FileLayer, ReportsStatusIn64Bits) {
    write_file("f", "");
    const off_t size = off_t{5} << 30;
    ASSERT_EQ(truncate("f", size), 0);
    const timespec times[] = {{4'000'000'000, 0}, {4'100'000'000, 0}}; // accessed and modified after 2038
    ASSERT_EQ(utimensat(AT_FDCWD, "f", times, 0), 0);
    UpnpFileStat status = {};
    status.reserved = 42;
    EXPECT_EQ(upnp_file_stat("f", &status), 0);
    EXPECT_EQ(status.size, size);
    EXPECT_EQ(status.access_time, 4'000'000'000);
    EXPECT_EQ(status.modification_time, 4'100'000'000);
    EXPECT_EQ(status.change_time, 4'100'000'000);
    EXPECT_EQ(status.reserved, 42);
    EXPECT_EQ(upnp_file_exists("f"), 1);
    UpnpFile* file = upnp_file_open_read("f");
    ASSERT_EQ(lseek(file->descriptor, size - 1, SEEK_SET), size - 1);
    EXPECT_EQ(upnp_file_at_end(file), 0) << "beyond 4 GiB, one byte is left";
    char line[8];
    upnp_file_read_line(line, sizeof line, file);
    EXPECT_EQ(upnp_file_at_end(file), 1);
    upnp_file_close(file);
}

TEST_F(FileLayer, MakesWholePaths) {
    write_file("file", "");
    const struct {
        const char* path;
        int32_t result;
    } rows[] = {{"a/b/c", 0}, {"a/b/c", 0},  {"a//d/", 0},       {"C:/e/f", -1},
                {"", -1},     {nullptr, -1}, {"file/below", -1}, {"/", 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(upnp_file_create_path(row.path), row.result) << (row.path == nullptr ? "null" : row.path);
    }
    EXPECT_EQ(read_tree("."), (Tree{{"a/", ""}, {"a/b/", ""}, {"a/b/c/", ""}, {"a/d/", ""}, {"file", ""}}));
}

TEST_F(FileLayer, WalksWhatIsNotHidden) {
    for (const char* name : {"d/plain", "d/.hidden", "d/lost+found", "d/sub/x", "empty/.only", "unseen"}) {
        write_file(name, "");
    }
    ASSERT_EQ(symlink("sub", "d/link"), 0);
    ASSERT_EQ(symlink("nowhere", "d/dangling"), 0);
    std::map<std::string, std::string> seen;
    for (UpnpDirWalk* walk = upnp_dir_open("d/"); walk != nullptr; walk = upnp_dir_next(walk)) {
        EXPECT_EQ(walk->entry_path, std::string("d/") + walk->entry_name);
        seen[walk->entry_name] =
            std::string(walk->is_directory != 0 ? "d" : "-") + (walk->is_link != 0 ? "l" : "-");
    }
    EXPECT_EQ(seen, (std::map<std::string, std::string>{
                        {"dangling", "-l"}, {"link", "dl"}, {"plain", "--"}, {"sub", "d-"}}));
    for (const char* path : {"empty", "missing", "/proc", "/procedures", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(upnp_dir_open(path), nullptr);
    }
}

TEST_F(FileLayer, LogsEachFailureAndLeavesTheResultAndErrno) {
    write_file("file", "x");
    ASSERT_EQ(mkdir("dir", 0700), 0);
    UpnpFile closed = {-1, 9, 0, nullptr};
    char line[8];
    const struct {
        std::function<bool()> fails;
        const char* log;
    } rows[] = {
        {[] { return upnp_file_open_write("no/f") == nullptr; },
         "LOG_SYSTEM:open_write error (errno=2,filename=no/f) \n"
         "TIME LOG_SYSTEM:upnp_file_open_write file open write error \"no/f\"\n"},
        {[] { return upnp_file_open_write(nullptr) == nullptr; },
         "LOG_SYSTEM:upnp_file_open_write file open write error \"(NULL)\"\n"},
        {[] { return upnp_file_open_read("no") == nullptr; },
         "LOG_SYSTEM:open_read error (errno=2,filename=no) \n"},
        {[] { return upnp_file_open_append("no/f") == nullptr; },
         "LOG_SYSTEM:open_append error (errno=2,filename=no/f) \n"},
        {[&] { return upnp_file_write(&closed, "x", 1) == -1; },
         "LOG_SYSTEM:file_write error (errno=9,filedescriptor=-1,bytestoread=1) \n"},
        {[&] { return upnp_file_read_line(line, sizeof line, &closed) == line && line[0] == '\0'; },
         "LOG_SYSTEM:file_read error (errno=9,filedescriptor=-1,bytestoread=8) \n"},
        {[&] { return upnp_file_at_end(&closed) == 0; },
         "LOG_SYSTEM:file_seek error (errno=9,filedescriptor=-1,dest=0,flag=1) \n"},
        {[] { return upnp_file_exists("no") == 0; }, "LOG_SYSTEM:file_stat error (errno=2, filename=no)\n"},
        {[] { return upnp_file_rename("no", "to") == -1; },
         "LOG_SYSTEM:file_rename error (errno=2,oldname=no,newname=to) \n"},
        {[] { return upnp_file_unlink("no") == -1; },
         "LOG_SYSTEM:file_unlink error (errno=2,filename=no) \n"},
        {[] { return upnp_dir_unlink("dir") == -1; }, "LOG_SYSTEM:dir_unlink error (errno=21,dir=dir) \n"},
        {[] { return upnp_file_mkdir("file") == -1; }, "LOG_SYSTEM:file_mkdir error (errno=17,dir=file) \n"},
        {[] { return upnp_file_create_path("file/a") == -1; },
         "LOG_SYSTEM:file_stat error (errno=20, filename=file/a)\n"
         "TIME LOG_SYSTEM:file_mkdir error (errno=20,dir=file/a) \n"
         "TIME LOG_SYSTEM:upnp_file_create_path: error creating directory: file/a\n"},
        {[] {
             auto* file = upnp_file_open_read("file");
             (void)close(file->descriptor);
             file->descriptor = 999; // a descriptor that nothing has
             upnp_file_close(file);
             return errno == EBADF;
         },
         "LOG_SYSTEM:close_file error (errno=9,filedescriptor=999) \n"},
    };
    upnp_log_init(nullptr);
    upnp_log_set_mask(upnp_log_system);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.log);
        errno = 0;
        EXPECT_EQ(mask_times(stdout_of([&] { EXPECT_TRUE(row.fails()); })), std::string("TIME ") + row.log);
    }
    upnp_log_set_mask(0);
    upnp_log_close();
}
