// The log: what a line looks like, and where it goes when the file fails.

#include "tests/support.h"

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

} // namespace

TEST_F(Log, WritesTimeMessageAndLineFeedCutAtTheBuffer) {
    EXPECT_EQ(mask_times(stdout_of([] { upnp_log_message(0, "a %s ", "%n%s"); })), "TIME a %n%s \n");
    EXPECT_EQ(stdout_of([] { upnp_log_write_raw("raw %s"); }), "raw %s");
    const std::string message(9000, 'm');
    const std::string line = stdout_of([&] { upnp_log_message(0, "%s", message.c_str()); });
    EXPECT_EQ(line.size(), 8191U + 1);
    EXPECT_EQ(line.substr(8189), "mm\n");
    upnp_log_close();
    EXPECT_EQ(stderr_of([] { upnp_log_message(0, "raw %s", "x"); }),
              "upnp_log_message - LogCriticalSection not initialized! (raw %s)\n");
}

TEST_F(Log, FallsBackToTheConsoleForGoodWhateverTheMask) {
    for (const uint32_t mask : {128U, 129U}) {
        upnp_log_set_mask(mask);
        std::string printed = mask_times(stdout_of([] {
            upnp_log_init("/dev/full");
            upnp_log_message(0, "%s", "first");
            upnp_log_message(0, "%s", "second");
        }));
        if (mask == 129U) { // the failing write logs itself, once
            EXPECT_EQ(printed.find("TIME LOG_SYSTEM:file_write error (errno=28,filedescriptor="), 0U) << printed;
            printed.erase(0, printed.find('\n') + 1);
        }
        EXPECT_EQ(printed, "can't write log file\nTIME first\nTIME second\n") << mask;
    }
}
