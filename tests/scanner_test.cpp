// Values and keys of library lines, and the end of a library that cannot be read.

#include "tests/support.h"

#include <sys/stat.h>
#include <unistd.h>

#include "common/upnp_memory.h"
#include "itunes/plist_scanner.h"

namespace {

/// The value, or "none"; a value that ends at a NUL byte is what stands before it.
std::string value_of(std::string line, const char* tag = "string") {
    char* value = itunes_get_value(line.data(), tag);
    std::string text = value == nullptr ? "none" : value;
    upnp_free_unless_null(value);
    return text;
}

size_t count_lines(const std::string& path) {
    UpnpFile* file = itunes_open_library(path.c_str());
    PlistScanner scanner = {file, 0, {}};
    size_t lines = 0;
    while (itunes_next_line(&scanner)) {
        ++lines;
    }
    upnp_file_close(file);
    return lines;
}

} // namespace

TEST(Value, IsTakenBetweenTheFirstTagsAndDecodedOnce) {
    const struct {
        const char* line;
        const char* value;
    } rows[] = {
        {"<key>Name</key><string>Tom &#38; Jerry</string>", "Tom & Jerry"},
        {"<string>A&amp;B</string>", "A&amp;B"},
        {"<string>a/My%20Song+1.mp3</string>", "a/My Song 1.mp3"},
        {"<string>100%4G %zz %</string>", "100%4G %zz %"},
        {"<string>%e2%82%AC</string>", "\xE2\x82\xAC"},
        {"<string>%2541 %26#65;</string>", "%41 &#65;"},
        {"<string>ends in %4</string>", "ends in %4"},
        {"<string>a</string><string>b</string>", "a"},
        {"</string><string>b</string>", "b"},
        {"<string></string>", ""},
        {"<string>no end", "none"},
        {"<strings>x</strings>", "none"},
        {"<integer>1</integer>", "none"},
        {"<string>a&#59;b;c</string>", "a;b;c"},
        {"<string>&#x26;gone</string>", ""},
        {"<string>a%00b</string>", "a"},
        {"<string>&#321;&#99999999999;.</string>", "A\xFF."},
        {"<string>&#-191; &# 65 and all that; x</string>", "A A x"},
        {"<string>open &#66 to the end</string>", "open B"},
        {"<string>&#</string>", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(value_of(row.line), row.value) << row.line;
    }
    EXPECT_EQ(value_of("<a><x>1</x>", "x"), "1");
    EXPECT_EQ(itunes_get_value(nullptr, "x"), nullptr);
    char line[] = "<integer>3000000000</integer><integer>1</integer>";
    EXPECT_EQ(itunes_get_integer_value(line, "integer"), INT32_MAX);
    EXPECT_STREQ(line, "<integer>3000000000") << "the line is cut at the closing tag";
    EXPECT_EQ(itunes_get_integer_value(line, "integer"), 0);
}

TEST(Duration, IsFormattedFieldByField) {
    const struct {
        int32_t milliseconds;
        const char* text;
    } rows[] = {{0, "0:00:00.000"},           {245'000, "0:04:05.000"}, {3'723'004, "1:02:03.004"},
                {INT32_MAX, "596:31:23.647"}, {-1, "0:00:00.-01"},      {INT32_MIN, "-596:-31:-23.-"}};
    for (const auto& row : rows) {
        char* text = itunes_format_duration(row.milliseconds);
        EXPECT_STREQ(text, row.text);
        upnp_free(text);
    }
}

TEST(Keys, AreFoundAnywhereInTheLine) {
    struct Row {
        std::string_view literal;
    };
    constexpr Row table[] = {{"<key>Name</key>"}, {"<key>Artist</key>"}, {"<key>Protected</key><true/>"}};
    const struct {
        const char* line;
        uint32_t keys;
    } rows[] = {
        {"\t<key>Name</key><string>x", 1},
        {"<key>Sort Name</key>", 0},
        {"<key>Album Artist</key>", 0},
        {"<key>Artist</key>x<key>Name</key>", 3},
        {"<key>Protected</key><false/>", 0},
        {"<key><key>Protected</key><true/>", 4},
        {"<key>Name", 0},
        {"", 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(itunes_keys_in_line(row.line, table), row.keys) << row.line;
    }
}

TEST(Scanner, EndsWhereReadingMovesNothing) {
    const TempDir folder;
    write_file("three", "a\nb\nc");
    EXPECT_EQ(count_lines("three"), 3U);
    EXPECT_EQ(count_lines("missing"), 0U);
    EXPECT_LE(count_lines("."), 16U) << "a directory opens, but never reads";
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    EXPECT_EQ(count_lines("fifo"), 0U) << "no wait for a writer";
    EXPECT_EQ(count_lines("/dev/zero"), 0U);
    UpnpFile* file = itunes_open_library("three");
    PlistScanner scanner = {file, 0, {}};
    EXPECT_TRUE(itunes_next_line(&scanner));
    ASSERT_EQ(truncate("three", 1), 0);
    size_t idle = 0;
    while (itunes_next_line(&scanner)) {
        EXPECT_STREQ(scanner.line, "");
        ++idle;
    }
    EXPECT_LE(idle, 16U) << "a library that shrinks ends";
    upnp_file_close(file);
}
