// The log: what passes, what a line looks like, and where it goes when the file fails.

#include "tests/support.h"

#include "common/upnp_fileio.h"
#include "common/upnp_log.h"
#include "common/upnp_memory.h"

namespace {

class Log : public testing::Test {
protected:
    void SetUp() override {
        upnp_mem_init(); // keeps its note out of what is compared
        upnp_log_init(nullptr);
    }
    void TearDown() override {
        upnp_log_set_mask(0);
        upnp_log_close();
    }
    TempDir folder_;
};

} // namespace

TEST_F(Log, ChecksCategoriesAgainstTheMaskAndLetsRaisedLevelsPass) {
    const struct {
        uint32_t mask, category, level;
        int32_t wanted;
    } rows[] = {
        {0, 128, 4, 0},   {128, 128, 1, 1}, {128, 1, 1, 0}, {128, 4, 1, 0},
        {128, 1, 2, 1},   {128, 1, 4, 1},   {128, 1, 5, 0}, {128, 1, 0, 0},
        {129, 129, 1, 1}, {128, 129, 1, 0}, {4, 0, 1, 1},   {4, 8, UINT32_MAX, 0},
    };
    for (const auto& row : rows) {
        upnp_log_set_mask(row.mask);
        EXPECT_EQ(upnp_log_check(row.category, row.level), row.wanted)
            << row.mask << " " << row.category << " " << row.level;
    }
}

TEST_F(Log, WritesTimeMessageAndLineFeed) {
    const std::string line = stdout_of([] { upnp_log_message(0, "a %s ", "%n%s"); });
    EXPECT_EQ(mask_times(line), "TIME a %n%s \n") << line;
    EXPECT_EQ(stdout_of([] { upnp_log_write_raw("raw %s"); }), "raw %s");
}

TEST_F(Log, CutsALineAtItsBuffer) {
    const std::string message = repeat("m", 9000);
    const std::string line = stdout_of([&] { upnp_log_message(0, "%s", message.c_str()); });
    EXPECT_EQ(line.size(), 8191U + 1);
    EXPECT_EQ(line.substr(8189), "mm\n");
}

TEST_F(Log, AppendsToAFileAndMakesItsFolders) {
    write_file("old", "kept\n");
    for (const std::string& path :
         {std::string("old"), std::string("a/b/new"), folder_.path() + "/a/absolute"}) {
        EXPECT_EQ(upnp_log_init(path.c_str()), 1) << path;
        upnp_log_message(0, "to %s", "file");
        upnp_log_flush();
    }
    upnp_log_close();
    EXPECT_EQ(mask_times(read_file("old")), "kept\nTIME to file\n");
    EXPECT_EQ(mask_times(read_file("a/b/new")), "TIME to file\n");
    EXPECT_EQ(mask_times(read_file("a/absolute")), "TIME to file\n");
}

TEST_F(Log, NotesAMessageOutsideItsLife) {
    upnp_log_close();
    EXPECT_EQ(stderr_of([] { upnp_log_message(0, "raw %s", "x"); }),
              "upnp_log_message - LogCriticalSection not initialized! (raw %s)\n");
}

TEST_F(Log, ReportsAFileThatCannotBeOpenedTwice) {
    std::string errors;
    const std::string printed = stdout_of([&] {
        errors = stderr_of([] { EXPECT_EQ(upnp_log_init("."), 0); });
        upnp_log_message(0, "%s", "to the console");
    });
    EXPECT_EQ(mask_times(printed), "can't open log file (.)\nTIME to the console\n");
    EXPECT_EQ(errors, "can't open log file (.)\n");
}

TEST_F(Log, FallsBackToTheConsoleForGoodWhateverTheMask) {
    for (const uint32_t mask : {128U, 129U}) {
        SCOPED_TRACE(mask);
        upnp_log_set_mask(mask);
        const std::string printed = stdout_of([] {
            upnp_log_init("/dev/full");
            upnp_log_message(0, "%s", "first");
            upnp_log_message(0, "%s", "second");
        });
        std::string plain = mask_times(printed);
        if (mask == 129U) { // the failing write logs itself, once
            const size_t line_end = plain.find('\n') + 1;
            EXPECT_EQ(plain.find("TIME LOG_SYSTEM:file_write error (errno=28,filedescriptor="), 0U) << plain;
            plain.erase(0, line_end);
        }
        EXPECT_EQ(plain, "can't write log file\nTIME first\nTIME second\n");
    }
}

TEST_F(Log, TakesAPathDirectlyBelowTheRoot) {
    EXPECT_EQ(upnp_log_init("/dev/null"), 1);
    EXPECT_EQ(stdout_of([] { EXPECT_EQ(upnp_file_create_path(""), -1); }), "");
    if (access("/", W_OK) == 0) {
        const std::string path = "/itunes-import-test-" + std::to_string(getpid());
        EXPECT_EQ(upnp_log_init(path.c_str()), 1);
        unlink(path.c_str());
    }
}
