// The log: what a line looks like, when it is wanted, and where it goes when the file fails.

#include "tests/support.h"

#include <sys/stat.h>
#include <sys/time.h>

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
};

/// What a clock shows that is five and a half hours ahead of Greenwich, as a log line has it.
std::string clock_time() {
    timeval now = {};
    gettimeofday(&now, nullptr);
    now.tv_sec += 5 * 3600 + 30 * 60;
    char text[20];
    strftime(text, sizeof text, "%H:%M:%S:", gmtime(&now.tv_sec));
    return text + std::to_string(1000 + now.tv_usec / 1000).substr(1) + " ";
}

} // namespace

TEST_F(Log, WritesTimeMessageAndLineFeedCutAtTheBuffer) {
    EXPECT_EQ(mask_times(stdout_of([] { upnp_log_message(0, "a %s ", "%n%s"); })), "TIME a %n%s \n");
    const std::string message(9000, 'm');
    const std::string line = stdout_of([&] { upnp_log_message(0, "%s", message.c_str()); });
    EXPECT_EQ(line.size(), 8191U + 1);
    EXPECT_EQ(line.substr(8189), "mm\n");
    upnp_log_close();
    EXPECT_EQ(stderr_of([] { upnp_log_message(0, "raw %s", "x"); }),
              "upnp_log_message - LogCriticalSection not initialized! (raw %s)\n");
    EXPECT_EQ(stdout_of([] { upnp_log_write_raw("raw %s"); }), "raw %s");
}

TEST_F(Log, TellsTheLocalTimeToTheMillisecond) {
    char text[20];
    upnp_log_timestamp(text, sizeof text); // in another zone
    setenv("TZ", "FAR-05:30", 1);
    for (int round = 0; round < 20; ++round) {
        const std::string before = clock_time();
        upnp_log_timestamp(text, sizeof text);
        const std::string after = clock_time();
        EXPECT_TRUE((before <= text && text <= after) || after < before) << text; // but around midnight
    }
    upnp_log_timestamp(text, 4);
    EXPECT_EQ(text[2] + std::string(text + 3), ":");
}

TEST_F(Log, WantsWhatTheMaskHoldsAndWhatIsRaised) {
    const struct {
        uint32_t mask, category, level;
        int32_t is_wanted;
    } rows[] = {{0, 128, 4, 0}, {128, 128, 1, 1}, {128, 1, 1, 0},   {128, 4, 1, 0},
                {128, 1, 2, 1}, {128, 1, 4, 1},   {128, 1, 5, 0},   {128, 1, 0, 0},
                {4, 0, 1, 1},   {4, 8, ~0U, 0},   {129, 129, 1, 1}, {128, 129, 1, 0}};
    for (const auto& [mask, category, level, is_wanted] : rows) {
        upnp_log_set_mask(mask);
        EXPECT_EQ(upnp_log_check(category, level), is_wanted) << mask << ' ' << category << ' ' << level;
    }
}

TEST_F(Log, AppendsToItsFileUntilItIsClosed) {
    const TempDir folder;
    write_file("xlog", "earlier\n");
    const int64_t before = open_files();
    EXPECT_EQ(upnp_log_init("xlog"), 1);
    EXPECT_EQ(upnp_log_init("xlog"), 1) << "closes the file that was open";
    EXPECT_EQ(stdout_of([] { upnp_log_message(0, "line"), upnp_log_write_raw("raw"), upnp_log_flush(); }),
              "");
    EXPECT_EQ(open_files(), before + 1);
    upnp_log_close();
    EXPECT_EQ(open_files(), before);
    EXPECT_EQ(mask_times(read_file("xlog")), "earlier\nTIME line\nraw");
    EXPECT_EQ(upnp_log_init(nullptr), 1);
    EXPECT_EQ(stdout_of([] {
                  upnp_log_write_raw("flushed");
                  upnp_log_flush();
                  struct stat status = {};
                  EXPECT_EQ(fstat(STDOUT_FILENO, &status), 0);
                  EXPECT_EQ(status.st_size, 7);
              }),
              "flushed");
}

TEST_F(Log, FallsBackToTheConsoleForGoodWhateverTheMask) {
    for (const uint32_t mask : {128U, 129U}) {
        upnp_log_set_mask(mask);
        (void)stdout_of([mask] { // whose failure to write does not hide what failed before
            upnp_log_init("/dev/full");
            EXPECT_EQ((mask == 128U ? upnp_file_create_path : upnp_file_unlink)("/dev/null/x"), -1);
            EXPECT_EQ(errno, ENOTDIR);
        });
        std::string printed = mask_times(stdout_of([] {
            upnp_log_init("/dev/full");
            upnp_log_message(0, "%s", "first");
            upnp_log_message(0, "%s", "second");
        }));
        if (mask == 129U) { // the failing write logs itself, once
            EXPECT_EQ(printed.find("TIME LOG_SYSTEM:file_write error (errno=28,filedescriptor="), 0U)
                << printed;
            printed.erase(0, printed.find('\n') + 1);
        }
        EXPECT_EQ(printed, "can't write log file\nTIME first\nTIME second\n") << mask;
    }
}
