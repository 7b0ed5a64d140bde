// What the demo does to a library and to the files that it names, before anything is imported.

#include "tests/support.h"

#include "itunes/library_key.h"

namespace fs = std::filesystem;

static std::string location_line(const std::string& value) {
    return "<key>Location</key><string>" + value + "</string>\n";
}

static RunResult lay_out(const std::string& arguments) {
    return run_line("'" + source_path("scripts/lay-out") + "' " + arguments);
}

/// Lays a library out: what its copy has to be, and the stand-in, a folder where it ends in a slash, or "".
static void expect_laid_out(const std::string& library, const std::string& copy,
                            const std::string& stand_in) {
    SCOPED_TRACE(library);
    const TempDir folder;
    write_file("library.xml", library);
    const RunResult run = lay_out("library.xml out '(lost)'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(read_file("out/library/iTunes Music Library.xml"), copy);
    const Tree media = read_tree("out/media");
    EXPECT_TRUE(stand_in.empty() ? media.empty() : media.contains(stand_in));
}

TEST(LayOut, MovesEachFileBelowItsFolder) {
    const std::string media = "file://localhostmedia/";
    const std::string long_name(300, 'x');
    const struct {
        std::string location, copied, stand_in;
    } rows[] = {
        {"file://localhost/m/a.mp3", media + "m/a.mp3", "m/a.mp3"},
        {"file://localhost/C:/a.mp3", media + "C%3A/a.mp3", "C:/a.mp3"},
        {"file://localhost//nas/m/a.mp3", media + "m/a.mp3", "m/a.mp3"},
        {"file:/%23a+b%2541&#38;.mp3", media + "%23a b%2541%26.mp3", "#a b%41&.mp3"},
        {"file:/pieces/", media + "pieces", "pieces/"},
        {"file:/a&#489;z&#66", media + "a\xE9zB", "a\xE9zB"},
        {"file:/a (lost).mp3", media + "a %28lost%29.mp3", ""},
        {"file:", "", ""},
        {"file:/" + std::string(1015, 'x') + ".mp3", "", ""},
        {"file:/" + long_name, media + long_name, ""},
        {"http://h/" + std::string(400, '('), "", ""}, // which grows too long
        {"file:/a</string><string>file:/b", media + "a</string><string>file:/b", "a"},
        {"http://host/radio", media + "radio", "radio"},
        {"file:/a.mp3%00b", media + "a.mp3", "a.mp3"},
        {"file:ab:c", media + "b%3Ac", "b:c"},
    };
    for (const auto& [location, copied, stand_in] : rows) {
        expect_laid_out(location_line(location), location_line(copied), stand_in);
    }
}

TEST(LayOut, KeepsWhatTheImportReadsAsNoPath) {
    const std::string is_stream = "<key>Track Type</key><string>URL</string>";
    const std::string address = location_line("http://host/a");
    const std::string moved = location_line("file://localhostmedia/a");
    const std::string pieces = "<key>Location</key>" + std::string(1100, 'x') + "<string>file:/a</string>\n";
    expect_laid_out(is_stream + "\n" + address, is_stream + "\n" + address, "");
    for (const std::string& no_stream : {"<string>x</string>" + is_stream, is_stream + "<key>Name</key>",
                                         is_stream + "\n<key>Track ID</key>"}) {
        expect_laid_out(no_stream + "\n" + address, no_stream + "\n" + moved, "a");
    }
    for (const LibraryKey& key : itunes_track_keys()) { // which the import looks for before
        if (key.name != "Location" && (key.elements & (library_element_string | library_element_date)) != 0) {
            const std::string behind_it = "<key>" + std::string(key.name) + "</key>" + address;
            expect_laid_out(behind_it, behind_it, "");
        }
    }
    expect_laid_out("<key>Location</key>\n<string>file:/a</string>\n",
                    "<key>Location</key>\n<string>file://localhostmedia/a</string>\n", "a");
    expect_laid_out(pieces, pieces.substr(0, 1024) + "\n" + pieces.substr(1024), "");
    expect_laid_out(std::string("<a>\0<b>\n", 8), "<a>\n", "");
}

TEST(LayOut, CountsAsTheDemoTells) {
    const TempDir folder;
    const RunResult run = lay_out("'" + source_path("examples/iTunes Music Library.xml") + "' out");
    EXPECT_EQ(run.out, "32 19 1098\n");
    write_file("library.xml",
               "<key>Track ID</key><integer>1</integer><key>Playlist ID</key><string>x</string>\n");
    EXPECT_EQ(lay_out("library.xml new").out, "1 0 0\n");
}

// What is there already stays, under whatever name it is known elsewhere, and wrong usage says so.
TEST(LayOut, RefusesWhatItWouldSpoil) {
    const TempDir folder;
    write_file("library.xml", location_line("file:/a.mp3"));
    write_file("kept/library/iTunes Music Library.xml", "of somebody else");
    std::filesystem::create_directories("linked/library");
    std::filesystem::create_hard_link("library.xml", "linked/library/iTunes Music Library.xml");
    const Tree before = read_tree(".");
    const std::pair<const char*, std::string> rows[] = {
        {"library.xml kept", "lay-out: kept/library/iTunes Music Library.xml: File exists\n"},
        {"library.xml linked", "lay-out: linked/library/iTunes Music Library.xml: File exists\n"},
        {"none.xml new", "lay-out: none.xml: No such file or directory\n"},
        {"kept new", "lay-out: kept: Is a directory\n"},
        {"library.xml", "Usage: scripts/lay-out LIBRARY.xml FOLDER [MISSING]\n"},
        {"--other new", "Usage: scripts/lay-out LIBRARY.xml FOLDER [MISSING]\n"},
    };
    for (const auto& [arguments, message] : rows) {
        const RunResult run = lay_out(arguments);
        EXPECT_EQ(run.status, message.starts_with("Usage") ? 2 : 1) << arguments;
        EXPECT_EQ(run.err, message) << arguments;
    }
    Tree after = read_tree(".");
    std::erase_if(after, [](const auto& entry) { return entry.first.find("/media/") != std::string::npos; });
    EXPECT_EQ(after, before);
    write_file("library.xml", std::string(2000, 'x')); // more than there is room for
    const RunResult full =
        run_line("trap '' XFSZ; ulimit -f 1; '" + source_path("scripts/lay-out") + "' library.xml new");
    EXPECT_EQ(full.err, "lay-out: new/library/iTunes Music Library.xml: File too large\n");
}

// Each library tries to lead out of the folder; the folder of music beside it stands for the user's own.
TEST(LayOut, TouchesNothingOutsideItsFolder) {
    const TempDir folder;
    const std::string music = folder.path() + "/music";
    const std::pair<std::string, std::string> rows[] = {
        {"<key>Name</key><string>file:///a</string><key>Location</key><string>file:///b</string>" +
             location_line("file://localhost" + music + "/song.mp3"),
         music + "/song.mp3"},
        {"<string>12345" + music + "/song.mp3</string><key>Location</key>\n", music + "/song.mp3"},
        {location_line("12345" + music + "/song.mp3") + location_line("http://host" + music + "/new/"),
         music + "/new"},
        {location_line("file:///x%2F%2e%2E%2f..%2F&#46;&#46;&#47;../../../../../../.." + music + "/new.mp3") +
             location_line("file:..%2Fnew.mp3") + location_line("file:///%2e%2e/out.mp3%00/"),
         "/x" + music + "/new.mp3"},
        {location_line("file:///link/song.mp3") + location_line("file:///link/new.mp3") +
             location_line("file:///link.mp3"),
         "/link"},
    };
    for (const auto& [library, stand_in] : rows) {
        SCOPED_TRACE(library);
        fs::remove_all("out");
        fs::create_directories("out/media");
        write_file("music/song.mp3", "a song");
        write_file("library.xml", library);
        fs::create_directory_symlink(music, "out/media/link");
        fs::create_symlink(music + "/none.mp3", "out/media/link.mp3");
        const Tree before = read_tree(".");
        ASSERT_EQ(system(("'" + source_path("scripts/lay-out") + "' library.xml out >/dev/null").c_str()), 0);
        Tree after = read_tree(".");
        EXPECT_TRUE(fs::exists("out/media" + stand_in));
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
