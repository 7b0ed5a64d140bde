// The file layer on real files: what it keeps, returns and logs, how wide its numbers are, where walks end.

#include "tests/support.h"

#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

#include "common/upnp_dirwalk.h"
#include "common/upnp_fileio.h"
#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "itunes/plist_scanner.h"

namespace {

class FileLayer : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(upnp_mem_in_use(), bytes_before_);
        EXPECT_EQ(open_files(), files_before_);
    }

    TempDir folder_;

private:
    int32_t bytes_before_ = (upnp_mem_init(), upnp_mem_in_use());
    int64_t files_before_ = open_files();
};

size_t count_lines(UpnpFile* library) {
    PlistScanner scanner = {library, 0, {}};
    size_t lines = 0;
    while (itunes_next_line(&scanner)) {
        ++lines;
    }
    upnp_file_close(library);
    return lines;
}

/// What `work` logs, of every category and level.
std::string logged(const std::function<void()>& work) {
    upnp_log_init(nullptr);
    upnp_log_set_mask(UINT32_MAX);
    const std::string log = mask_times(stdout_of(work));
    upnp_log_set_mask(0);
    upnp_log_close();
    return log;
}

} // namespace

TEST_F(FileLayer, WorksWithoutAWord) {
    const mode_t mask = umask(0);
    EXPECT_EQ(logged([] {
                  EXPECT_EQ(upnp_file_mkdir("d"), 0);
                  UpnpFile* file = upnp_file_open_write("d/f");
                  EXPECT_EQ(file->size, 0);
                  EXPECT_EQ(upnp_file_write(file, "long\n", 5), 5);
                  upnp_file_sync(file);
                  upnp_file_close(file);
                  file = upnp_file_open_write("d/f"); // from the start, without cutting what was there
                  EXPECT_EQ(upnp_file_write(file, "s", 1), 1);
                  file->blocks = static_cast<UpnpFileBlock*>(upnp_calloc(1, sizeof(UpnpFileBlock)));
                  file->blocks->data = upnp_malloc(1);
                  upnp_file_close(file);
                  file = upnp_file_open_append("d/f");
                  EXPECT_EQ(file->size, 5);
                  EXPECT_EQ(upnp_file_write(file, "end", 3), 3);
                  upnp_file_close(file);
                  upnp_file_close(upnp_file_open_append("d/new"));
                  EXPECT_EQ(read_file("d/f"), "song\nend");
                  EXPECT_EQ(upnp_file_exists("d/f"), 1);
                  EXPECT_EQ(upnp_file_rename("d/f", "f"), 0);
                  EXPECT_EQ(upnp_file_create_path("d/"), 0);
                  EXPECT_EQ(upnp_file_create_path("/"), 0);
              }),
              "");
    for (const auto& [path, mode] :
         std::map<const char*, mode_t>{{"d", 0777}, {"d/new", 0644}, {"f", 0644}}) {
        UpnpFileStat status = {};
        EXPECT_EQ(upnp_file_stat(path, &status), 0);
        EXPECT_EQ(status.mode & 07777U, mode) << path;
    }
    EXPECT_EQ(logged([] { EXPECT_EQ(upnp_file_unlink("f") | upnp_file_unlink("d/new"), 0); }), "");
    EXPECT_EQ(read_tree("."), (Tree{{"d/", ""}}));
    umask(mask);
}

TEST_F(FileLayer, ReturnsAndLogsWhatFails) {
    write_file("file", "x");
    write_file("dir/file", "");
    UpnpFile stale = {999, 9, 0, nullptr}; // a descriptor that nothing has
    char line[8] = "";
    const auto is_none = [](const UpnpFile* file) { return file == nullptr ? 0 : 1; };
    const auto lines_of_path = [](const std::string& path, int error) {
        const std::string number = std::to_string(error);
        return "TIME LOG_SYSTEM:file_stat error (errno=" + number + ", filename=" + path +
               ")\nTIME LOG_SYSTEM:file_mkdir error (errno=" + number + ",dir=" + path +
               ") \nTIME LOG_SYSTEM:upnp_file_create_path: error creating directory: " + path + "\n";
    };
    UpnpFileStat status = {};
    const struct {
        std::function<int32_t()> operation;
        int32_t result;
        std::string log;
    } rows[] = {
        {[&] { return is_none(upnp_file_open_write("no/f")); }, 0,
         "TIME LOG_SYSTEM:open_write error (errno=2,filename=no/f) \n"
         "TIME LOG_SYSTEM:upnp_file_open_write file open write error \"no/f\"\n"},
        {[&] { return is_none(upnp_file_open_write(nullptr)); }, 0,
         "TIME LOG_SYSTEM:upnp_file_open_write file open write error \"(NULL)\"\n"},
        {[&] { return is_none(upnp_file_open_read("no")); }, 0,
         "TIME LOG_SYSTEM:open_read error (errno=2,filename=no) \n"},
        {[&] { return is_none(upnp_file_open_append("no/f")); }, 0,
         "TIME LOG_SYSTEM:open_append error (errno=2,filename=no/f) \n"},
        {[] { return upnp_file_exists("no"); }, 0,
         "TIME LOG_SYSTEM:file_stat error (errno=2, filename=no)\n"},
        {[&] { return upnp_file_stat("no", &status); }, -1,
         "TIME LOG_SYSTEM:file_stat error (errno=2, filename=no)\n"},
        {[] { return upnp_file_rename("no", "to"); }, -1,
         "TIME LOG_SYSTEM:file_rename error (errno=2,oldname=no,newname=to) \n"},
        {[] { return upnp_file_unlink("no"); }, -1,
         "TIME LOG_SYSTEM:file_unlink error (errno=2,filename=no) \n"},
        {[] { return upnp_dir_unlink("dir"); }, -1, "TIME LOG_SYSTEM:dir_unlink error (errno=21,dir=dir) \n"},
        {[] { return upnp_file_mkdir("file"); }, -1,
         "TIME LOG_SYSTEM:file_mkdir error (errno=17,dir=file) \n"},
        {[] { return upnp_file_create_path("file/a"); }, -1, lines_of_path("file/a", 20)},
        {[] { return upnp_file_create_path("file/a/b"); }, -1, lines_of_path("file/a", 20)},
        {[] { return upnp_file_create_path("C:/e"); }, -1, lines_of_path("C:/e", 2)},
        {[] { return upnp_file_create_path("C:e"); }, 0,
         "TIME LOG_SYSTEM:file_stat error (errno=2, filename=C:e)\n"},
        {[] { return upnp_file_create_path(""); }, -1, lines_of_path("", 2)},
        {[] { return upnp_file_create_path("a/b/c"); }, 0,
         "TIME LOG_SYSTEM:file_stat error (errno=2, filename=a)\n"
         "TIME LOG_SYSTEM:file_stat error (errno=2, filename=a/b)\n"
         "TIME LOG_SYSTEM:file_stat error (errno=2, filename=a/b/c)\n"},
        {[] { return upnp_file_create_path("dir/b/"); }, 0,
         "TIME LOG_SYSTEM:file_stat error (errno=2, filename=dir/b)\n"},
        {[&] { return upnp_file_write(&stale, "abc", 3); }, -1,
         "TIME LOG_SYSTEM:file_write error (errno=9,filedescriptor=999,bytestoread=3) \n"},
        {[&] { return int32_t{*upnp_file_read_line(line, 5, &stale)}; }, 0,
         "TIME LOG_SYSTEM:file_read error (errno=9,filedescriptor=999,bytestoread=5) \n"},
        {[&] { return upnp_file_at_end(&stale); }, 0,
         "TIME LOG_SYSTEM:file_seek error (errno=9,filedescriptor=999,dest=0,flag=1) \n"},
        {[&] {
             auto* file = static_cast<UpnpFile*>(upnp_malloc(sizeof stale));
             *file = stale;
             return upnp_file_close(file), 0;
         },
         0, "TIME LOG_SYSTEM:close_file error (errno=9,filedescriptor=999) \n"},
    };
    for (const auto& [operation, result, log] : rows) {
        int32_t returned = 0;
        EXPECT_EQ(logged([&, &run = operation] { returned = run(); }), log);
        EXPECT_EQ(returned, result) << log;
    }
    EXPECT_EQ(read_tree("."), (Tree{{"file", "x"},
                                    {"dir/", ""},
                                    {"dir/file", ""},
                                    {"dir/b/", ""},
                                    {"a/", ""},
                                    {"a/b/", ""},
                                    {"a/b/c/", ""},
                                    {"C:e/", ""}}));
}

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

TEST_F(FileLayer, ReadsLinesThatFitABufferOfEightBytes) {
    using namespace std::string_literals;
    expect_answers({{"", ""},
                    {"\n\nx", "[\n][\n][x]"},
                    {"a\r\nb", "[a\r\n][b]"},
                    {"123456\nx", "[123456\n][x]"},
                    {"1234567\nx", "[1234567\n][x]"},
                    {"12345678\nx", "[12345678][\n][x]"},
                    {"123456781234567812\n", "[12345678][12345678][12\n]"},
                    {"a\0b\nx"s, "[a\0b\n][x]"s}},
                   [](const std::string& bytes) {
                       write_file("lines", bytes);
                       UpnpFile* file = upnp_file_open_read("lines");
                       std::string lines;
                       while (upnp_file_at_end(file) == 0) {
                           const int64_t start = file->position;
                           std::string buffer(9, '?');
                           EXPECT_EQ(upnp_file_read_line(buffer.data(), 8, file), buffer.data());
                           const auto length = static_cast<size_t>(file->position - start);
                           EXPECT_EQ(buffer[length], length == 8 ? '?' : '\0')
                               << "what stands behind the line";
                           EXPECT_EQ(buffer[8], '?') << "what stands behind the buffer";
                           lines += "[" + buffer.substr(0, length) + "]";
                       }
                       EXPECT_STREQ(upnp_file_read_line(std::string(8, '?').data(), 8, file), "");
                       upnp_file_close(file);
                       return lines;
                   });
}

TEST_F(FileLayer, WalksWhatIsNotHidden) {
    for (const char* name : {"d/plain", "d/.hidden", "d/lost+found", "d/sub/x", "empty/.only", "unseen"}) {
        write_file(name, "");
    }
    ASSERT_EQ(symlink("sub", "d/link") | symlink("nowhere", "d/dangling"), 0);
    for (const char* path : {"d", "d/"}) {
        std::map<std::string, int> seen;
        for (UpnpDirWalk* walk = upnp_dir_open(path); walk != nullptr; walk = upnp_dir_next(walk)) {
            EXPECT_EQ(walk->entry_path, std::string("d/") + walk->entry_name);
            seen[walk->entry_name] = 10 * walk->is_directory + walk->is_link;
        }
        EXPECT_EQ(seen,
                  (std::map<std::string, int>{{"dangling", 1}, {"link", 11}, {"plain", 0}, {"sub", 10}}));
    }
    upnp_dir_close(upnp_dir_open("d"));
    for (const char* path : {"empty", "missing", "/proc", "/procedures"}) {
        EXPECT_EQ(upnp_dir_open(path), nullptr);
    }
}

TEST_F(FileLayer, ScanningEndsWhereReadingMovesNothing) {
    write_file("three", "a\nb\nc");
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const std::map<const char*, size_t> rows = {{"three", 3}, {"missing", 0}, {"fifo", 0}, {"/dev/zero", 0}};
    for (const auto& [path, lines] : rows) {
        EXPECT_EQ(count_lines(itunes_open_library(path)), lines) << path;
    }
    EXPECT_LE(count_lines(itunes_open_library(".")), 16U) << "a directory opens, but never reads";
    UpnpFile* file = itunes_open_library("three");
    ASSERT_EQ(truncate("three", 2), 0);
    EXPECT_LE(count_lines(file), 17U) << "a library that shrinks ends";
}
