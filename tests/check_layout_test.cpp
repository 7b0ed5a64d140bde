// How a library's lines are laid out, and whether it is whole.

#include "tests/support.h"

#include "tools/itunes-check/layout.h"

namespace {

using enum LibraryLayout;

TEST(LayoutCounter, TakesAKeyWithItsValueFromALine) {
    const std::string version = "<key>Application Version</key>";
    const std::string track = "<key>Track ID</key><integer>1</integer>\n";
    const struct {
        std::string lines; // each ends at its line feed
        LibraryLayout layout;
        uint32_t beside, apart;
        std::string version = {};
        uint32_t tracks = 0;
    } rows[] = {
        {"<key>Tracks</key>\n", as_read, 0, 0},
        {"<key>Date</key>\n<key>Unknown</key><string>x</string>\n", no_library, 0, 0},
        {version + "<string>12</string>\n" + version + "<string>9</string>\n", as_read, 2, 0, "12"},
        {version + "\n<string>4.1\x1B</string>\n<string>5</string>\n", other, 0, 1, "4.1\x1B"},
        {version + "\n<key>Major Version</key>\n<string>4</string>\n", other, 0, 2},
        {version + "<string>" + std::string(64, '1') + "</string>\n", as_read, 1, 0, std::string(63, '1')},
        {track + track + "<key>Playlists</key>\n" + track, as_read, 3, 0, "", 2},
        {"<key>Playlist ID</key><integer>1</integer>\n"
         "<key>Playlist Persistent ID</key><string>A</string>\n"
         "<key>Parent Persistent ID</key><string>B</string>\n",
         as_read, 3, 0},
        {"<key>Protected</key><true/>\n", as_read, 1, 0},
        {"<key>Protected</key>\n<true/>\n", other, 0, 1}, // the literal is not there
        {"<key>Date Modified</key><date>2020</date>\n", as_read, 1, 0},
        {"<key>Artist</key>a</string>\n", other, 0, 1},
        {"<key>Artist</key><string>a</string><key>Album</key><string>b</string>\n", partly, 1, 1},
        {"<key>Artist</key><string>a</string>\n<key>Album</key>\n<key>Year</key>\n", other, 1, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.lines);
        LayoutCounter counter;
        for (const std::string& line : split(row.lines, '\n')) {
            counter.add_line((line + "\n").c_str());
        }
        EXPECT_EQ(counter.layout(), row.layout);
        EXPECT_EQ(counter.keys_beside(), row.beside);
        EXPECT_EQ(counter.keys_apart(), row.apart);
        EXPECT_EQ(counter.version(), row.version);
        EXPECT_EQ(counter.tracks(), row.tracks);
    }
}

TEST(Library, EndsWholeWithItsTagAndBlanks) {
    const struct {
        std::string text;
        bool is_whole;
    } rows[] = {
        {"x</plist> \t\r\n", true},
        {"</plist>x", false},
        {"</plist>" + std::string(1, '\0'), false},
        {"", false},
        // The blanks fill the block that is read, or the tag begins in the one before.
        {"</plist>" + std::string(4087, '\n'), true},
        {"x</plist>" + std::string(4096, '\n'), true},
        {"/plist>" + std::string(4096, '\n'), false},
    };
    const TempDir folder;
    for (const auto& row : rows) {
        write_file("l.xml", row.text);
        EXPECT_EQ(library_ends_whole("l.xml"), row.is_whole) << row.text.size();
    }
    EXPECT_FALSE(library_ends_whole("none"));
}

} // namespace
