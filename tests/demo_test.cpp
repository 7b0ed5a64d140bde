// What the demo does to a library and to the files that it names, before anything is imported.

#include "tests/support.h"

#include <filesystem>

namespace fs = std::filesystem;

// Each library tries to lead out of the folder; the folder of music beside it stands for the user's own.
TEST(LayOut, TouchesNothingOutsideItsFolder) {
    const TempDir folder;
    const std::string music = folder.path() + "/music";
    const auto location = [](const std::string& value) {
        return "<key>Location</key><string>" + value + "</string>\n";
    };
    const struct {
        const char* name;
        std::string library;
        std::string stand_in;
    } rows[] = {
        {"several keys on a line",
         "<key>Name</key><string>file:///a</string><key>Location</key><string>file:///b</string>" +
             location("file://localhost" + music + "/song.mp3"),
         music + "/song.mp3"},
        {"a string before its key", "<string>12345" + music + "/song.mp3</string><key>Location</key>\n",
         music + "/song.mp3"},
        {"other prefixes",
         location("12345" + music + "/song.mp3") + location("http://host" + music + "/new/"), music + "/new"},
        {"encoded dots and slashes",
         location("file:///x%2F%2e%2E%2f..%2F&#46;&#46;&#47;../../../../../../.." + music + "/new.mp3") +
             location("file:..%2Fnew.mp3") + location("file:///%2e%2e/out.mp3%00/"),
         "/x" + music + "/new.mp3"},
        {"links",
         location("file:///link/song.mp3") + location("file:///link/new.mp3") + location("file:///link.mp3"),
         "/link"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all("out");
        fs::create_directories("out/media");
        write_file("music/song.mp3", "a song");
        write_file("library.xml", row.library);
        fs::create_directory_symlink(music, "out/media/link");
        fs::create_symlink(music + "/none.mp3", "out/media/link.mp3");
        const Tree before = read_tree(".");
        ASSERT_EQ(system(("'" + source_path("scripts/lay-out") + "' library.xml out >/dev/null").c_str()), 0);
        Tree after = read_tree(".");
        EXPECT_TRUE(fs::exists("out/media" + row.stand_in));
        EXPECT_TRUE(fs::is_symlink("out/media/link") && fs::is_symlink("out/media/link.mp3"));
        EXPECT_FALSE(fs::exists("music/none.mp3"));
        const std::string copy = after["out/library/iTunes Music Library.xml"];
        EXPECT_EQ(copy.find("<key>Location</key><string>file://localhost/"), std::string::npos) << copy;
        EXPECT_EQ(copy.find("12345"), std::string::npos) << copy;
        std::erase_if(after, [&](const auto& entry) {
            return entry.first.starts_with("out/") && !before.contains(entry.first);
        });
        EXPECT_EQ(after, before);
    }
}
