// What the demo does to a library and to the files that it names, before anything is imported.

#include "tests/support.h"

#include <filesystem>

namespace fs = std::filesystem;

static std::string location_line(const std::string& value) {
    return "<key>Location</key><string>" + value + "</string>\n";
}

static RunResult lay_out(const std::string& arguments) {
    return run_line("'" + source_path("scripts/lay-out") + "' " + arguments);
}

constexpr char copied_library[] = "out/library/iTunes Music Library.xml";

// The location that the copy has, and the stand-in: a file, a folder where it ends in a slash, none where it is empty.
TEST(LayOut, MovesEachFileBelowItsFolder) {
    const TempDir folder;
    const std::string stream =
        "<key>Track Type</key><string>URL</string>\n" + location_line("http://host/radio");
    const std::string beyond(1025 - 10, 'x');
    const std::string two_pieces =
        "<key>Location</key>" + std::string(1100, 'x') + "<string>file:/a</string>\n";
    const struct {
        const char* name;
        std::string library;
        std::string copied;
        std::string stand_in;
    } rows[] = {
        {"a host", location_line("file://localhost/m/a.mp3"), location_line("file://localhostmedia/m/a.mp3"),
         "m/a.mp3"},
        {"a drive", location_line("file://localhost/C:/a.mp3"),
         location_line("file://localhostmedia/C%3A/a.mp3"), "C:/a.mp3"},
        {"no host", location_line("file:/a.mp3"), location_line("file://localhostmedia/a.mp3"), "a.mp3"},
        {"a share", location_line("file://localhost//nas/m/a.mp3"),
         location_line("file://localhostmedia/m/a.mp3"), "m/a.mp3"},
        {"decoded once", location_line("file:/%23a+b%2541&#38;.mp3"),
         location_line("file://localhostmedia/%23a b%2541%26.mp3"), "#a b%41&.mp3"},
        {"a folder", location_line("file:/pieces/"), location_line("file://localhostmedia/pieces"),
         "pieces/"},
        {"not meant to exist", location_line("file:/a (lost).mp3"),
         location_line("file://localhostmedia/a %28lost%29.mp3"), ""},
        {"no path", location_line("file:"), location_line(""), ""},
        {"too long a location", location_line("file:/" + beyond + ".mp3"), location_line(""), ""},
        {"too long a name", location_line("file:/" + std::string(300, 'x')),
         location_line("file://localhostmedia/" + std::string(300, 'x')), ""},
        {"a stream", stream, stream, ""},
        {"behind a key that is read before", "<key>Album</key>" + location_line("http://host/a"),
         "<key>Album</key>" + location_line("http://host/a"), ""},
        {"only the first string of a line", location_line("file:/a</string><string>file:/b"),
         location_line("file://localhostmedia/a</string><string>file:/b"), "a"},
        {"an address that is read as a path", location_line("http://host/radio"),
         location_line("file://localhostmedia/radio"), "radio"},
        {"a zero byte, encoded", location_line("file:/a.mp3%00b"),
         location_line("file://localhostmedia/a.mp3"), "a.mp3"},
        {"a colon behind two", location_line("file:ab:c"), location_line("file://localhostmedia/b%3Ac"),
         "b:c"},
        {"a location that grows too long", location_line("http://h/" + std::string(400, '(')),
         location_line(""), ""},
        {"a line that is read in pieces", two_pieces,
         two_pieces.substr(0, 1024) + "\n" + two_pieces.substr(1024), ""},
        {"behind a zero byte", std::string("<a>\0<b>\n", 8), "<a>\n", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove_all("out");
        write_file("library.xml", row.library);
        const RunResult run = lay_out("library.xml out '(lost)'");
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(read_file(copied_library), row.copied);
        const Tree media = read_tree("out/media");
        EXPECT_EQ(media.contains(row.stand_in), !row.stand_in.empty());
        EXPECT_TRUE(!row.stand_in.empty() || media.empty());
    }
}

TEST(LayOut, CountsAsTheDemoTells) {
    const TempDir folder;
    const RunResult run = lay_out("'" + source_path("examples/iTunes Music Library.xml") + "' out");
    EXPECT_EQ(run.out, "32 19 1098\n");
    write_file("library.xml", "<key>Track ID</key><integer>1</integer><key>Kind</key><string>x</string>\n");
    EXPECT_EQ(lay_out("library.xml new").out, "1 0 0\n");
}

// What is there already stays, under whatever name it is known elsewhere, and wrong usage says so.
TEST(LayOut, RefusesWhatItWouldSpoil) {
    const TempDir folder;
    write_file("library.xml", location_line("file:/a.mp3"));
    write_file("kept/library/iTunes Music Library.xml", "of somebody else");
    std::filesystem::create_directories("linked/library");
    std::filesystem::create_hard_link("library.xml", "linked/library/iTunes Music Library.xml");
    write_file("media_file/media", "");
    const Tree before = read_tree(".");
    const struct {
        const char* arguments;
        int status;
        const char* message;
    } rows[] = {
        {"library.xml kept", 1, "lay-out: kept/library/iTunes Music Library.xml: File exists\n"},
        {"library.xml linked", 1, "lay-out: linked/library/iTunes Music Library.xml: File exists\n"},
        {"library.xml media_file", 1, "lay-out: media_file/media is in the way: File exists\n"},
        {"none.xml new", 1, "lay-out: none.xml: No such file or directory\n"},
        {"kept new", 1, "lay-out: kept: Is a directory\n"},
        {"library.xml", 2, "Usage: scripts/lay-out LIBRARY.xml FOLDER [MISSING]\n"},
        {"library.xml new missing more", 2, "Usage: scripts/lay-out LIBRARY.xml FOLDER [MISSING]\n"},
        {"--other new", 2, "Usage: scripts/lay-out LIBRARY.xml FOLDER [MISSING]\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        const RunResult run = lay_out(row.arguments);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(run.err, row.message);
    }
    Tree after = read_tree(".");
    std::erase_if(after, [](const auto& entry) { return entry.first.find("/media/") != std::string::npos; });
    EXPECT_EQ(after, before);
}

// Each library tries to lead out of the folder; the folder of music beside it stands for the user's own.
TEST(LayOut, TouchesNothingOutsideItsFolder) {
    const TempDir folder;
    const std::string music = folder.path() + "/music";
    const struct {
        const char* name;
        std::string library;
        std::string stand_in;
    } rows[] = {
        {"several keys on a line",
         "<key>Name</key><string>file:///a</string><key>Location</key><string>file:///b</string>" +
             location_line("file://localhost" + music + "/song.mp3"),
         music + "/song.mp3"},
        {"a string before its key", "<string>12345" + music + "/song.mp3</string><key>Location</key>\n",
         music + "/song.mp3"},
        {"other prefixes",
         location_line("12345" + music + "/song.mp3") + location_line("http://host" + music + "/new/"),
         music + "/new"},
        {"encoded dots and slashes",
         location_line("file:///x%2F%2e%2E%2f..%2F&#46;&#46;&#47;../../../../../../.." + music + "/new.mp3") +
             location_line("file:..%2Fnew.mp3") + location_line("file:///%2e%2e/out.mp3%00/"),
         "/x" + music + "/new.mp3"},
        {"links",
         location_line("file:///link/song.mp3") + location_line("file:///link/new.mp3") +
             location_line("file:///link.mp3"),
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
