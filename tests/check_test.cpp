// Holds itunes-check against the import, and against what it says of itself. More libraries to hold it against
// can stand in a folder that the environment variable ITUNES_IMPORT_LIBRARIES names.

#include "tests/support.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace {

RunResult check(const std::vector<std::string>& arguments) {
    return run_program(TEST_CHECK_PROGRAM, arguments);
}

std::string key(const std::string& name, const std::string& type, const std::string& value) {
    return "<key>" + name + "</key><" + type + ">" + value + "</" + type + ">\n";
}

std::string track(int id, const std::string& path, const std::string& more = "") {
    const std::string number = std::to_string(id);
    return "<key>" + number + "</key>\n<dict>\n" + key("Track ID", "integer", number) + more +
           key("Name", "string", "Song " + number) +
           (path.empty() ? "" : key("Location", "string", "file://localhost" + path)) + "</dict>\n";
}

/// Each with the first track as its item; `more` stands in front of the items.
std::string playlist(const std::string& name, const std::string& more = "") {
    return "<dict>\n" + key("Name", "string", name) + key("Playlist Persistent ID", "string", "ID-" + name) +
           more + "<key>Playlist Items</key>\n<array>\n<dict>\n" + key("Track ID", "integer", "1") +
           "</dict>\n</array>\n</dict>\n";
}

std::string library(const std::string& tracks, const std::string& playlists = "") {
    return "<plist>\n<dict>\n" + key("Application Version", "string", "12.1") +
           "<key>Tracks</key>\n<dict>\n" + tracks + "</dict>\n<key>Playlists</key>\n<array>\n" + playlists +
           "</array>\n</dict>\n</plist>\n";
}

/// One field of the lines that begin with `start`, in order.
std::vector<std::string> fields(const std::string& text, const std::string& start, char separator,
                                size_t field) {
    std::vector<std::string> values;
    for (const std::string& line : split(text, '\n')) {
        if (line.starts_with(start)) {
            values.push_back(split(line, separator).at(field));
        }
    }
    return values;
}

/// The library with its locations moved below the working directory, where two files of three are made, and
/// every seventh track protected.
std::string moved(const std::string& text) {
    std::string result;
    int number = 0;
    for (const std::string& line : split(text, '\n')) {
        if (line.find("<key>Location</key><string>file:") == std::string::npos) {
            result += line + "\n";
            continue;
        }
        const std::string path = fs::current_path().string() + "/media/" + std::to_string(++number) + ".mp3";
        if (number % 3 != 0) {
            write_file(path, "");
        }
        if (number % 7 == 0) {
            result += "<key>Protected</key><true/>\n";
        }
        result += key("Location", "string", "file://localhost" + path);
    }
    return result;
}

void expect_as_imported(const std::string& text) {
    write_file("library.xml", text);
    fs::create_directory("db");
    run_import({"-dbdir", "db", "-itunes-lib", "library.xml"});
    const std::string list = check({"--list", "library.xml"}).out;
    const std::string items = run_program(TEST_ITEMS_PROGRAM, {"db/itunes.import.items"}).out;
    std::vector<std::string> files = fields(list, "playlist\tfile\t", '\t', 2);
    std::vector<std::string> written;
    for (const fs::directory_entry& entry : fs::directory_iterator("db")) {
        if (entry.path().extension() == ".wpl") {
            written.push_back(entry.path().filename());
        }
    }
    std::ranges::sort(files);
    std::ranges::sort(written);
    EXPECT_EQ(fields(list, "track\trecord\t", '\t', 4), fields(items, "res: ", ' ', 1));
    EXPECT_EQ(files, written);
    fs::remove_all("db");
}

std::string random_library(unsigned seed) {
    std::mt19937 random(seed);
    const auto any = [&random](const std::vector<std::string>& of) { return of[random() % of.size()]; };
    std::string tracks = track(1, "/there/1.mp3");
    std::string playlists;
    for (int id = 2; id < 40; ++id) {
        tracks += track(id, any({"/there/a.mp3", "/there/b.m4v", "", "//host/c"}),
                        any({"", "", "<key>Protected</key><true/>\n", key("Track Type", "string", "URL")}));
        playlists += playlist(
            any({"A/B", "A B", "A&#38;B", "Music", "100%% x", "Ü", std::string(250, 'n')}),
            any({"", "<key>Smart Info</key>\n", "<key>Videos</key><true/>\n", "<key>Folder</key><true/>\n"}));
    }
    return library(tracks, playlists);
}

TEST(Check, ListsWhatAnImportWrites) {
    const TempDir folder;
    std::vector<std::string> libraries = {source_path("examples/iTunes Music Library.xml")};
    if (const char* more = getenv("ITUNES_IMPORT_LIBRARIES"); more != nullptr) {
        for (const fs::directory_entry& entry : fs::directory_iterator(more)) {
            if (entry.path().extension() == ".xml") {
                libraries.push_back(entry.path());
            }
        }
    }
    for (const std::string& path : libraries) {
        SCOPED_TRACE(path);
        ASSERT_NE(read_file(path), "");
        expect_as_imported(read_file(path));
        expect_as_imported(moved(read_file(path)));
    }
    for (unsigned seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE(seed);
        expect_as_imported(moved(random_library(seed)));
    }
}

TEST(Check, TellsWhyAndWritesNothing) {
    const TempDir folder;
    write_file("there.mp3", "");
    write_file("iTunes.tmp", ""); // of the kind that an import deletes
    const std::string here = folder.path() + "/";
    write_file("library.xml",
               library(track(1, here + "there.mp3") + track(2, here + "%09%5C") + track(3, ""),
                       playlist("A/B") + playlist("A B") + playlist("100%%") + playlist("Music")));
    const Tree before = read_tree(".");
    const RunResult listed = check({"--list", "library.xml"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(listed.out, "track\trecord\t1\tSong 1\t" + here + "there.mp3\ntrack\tmissing\t2\tSong 2\t" +
                              here +
                              "\\x09\\\\\ntrack\tno-location\t3\tSong 3\t\n"
                              "playlist\treplaced\tiTunes-playlist-A_B##M.wpl\tA/B\n"
                              "playlist\tfile\tiTunes-playlist-A_B##M.wpl\tA B\n"
                              "playlist\tnot-moved\tiTunes-playlist-100%%##M.wpl\t100%%\n"
                              "playlist\treserved-name\t\tMusic\n");
    EXPECT_EQ(read_tree("."), before);
}

TEST(Check, FindsOtherSpellings) {
    const TempDir folder;
    for (const char* name : {"media/Cafe\u0301/a.mp3", "media/Salt+Pepper.mp3", "media/\u00C9T\u00C9.MP3"}) {
        write_file(name, "");
    }
    const std::string media = folder.path() + "/media/";
    write_file("library.xml",
               library(track(1, media + "Caf\u00E9/a.mp3") + track(2, media + "Salt+Pepper.mp3") +
                       track(3, media + "\u00E9te\u0301.mp3") + track(4, media + "none.mp3")));
    const std::string summary = check({"library.xml"}).out;
    EXPECT_NE(summary.find("3 of the missing files are there"), std::string::npos) << summary;
    EXPECT_NE(summary.find("Cafe\u0301/a.mp3"), std::string::npos) << summary;
}

TEST(Check, FailsWithALine) {
    const TempDir folder;
    write_file("there.mp3", "");
    std::string tracks;
    for (int id = 1; id <= 5; ++id) {
        tracks += track(id, folder.path() + (id < 4 ? "/there.mp3" : "/none.mp3"));
    }
    const std::string good = library(tracks);
    std::string minified = good;
    std::erase(minified, '\n');
    write_file("five", ">>>>\n>>>>\n>>>>\n>>>>\n>>>>\n");
    write_file("damaged", ">>>>\n>>>>\n>>>>\n>>damage");
    struct Case {
        std::string text;
        std::vector<std::string> options;
        int status;
        const char* line; // in the only text on standard error; empty for none
    };
    const Case cases[] = {
        {good + " \r\n", {}, 0, ""},
        {good.substr(0, good.size() - 3), {}, 1, "is cut short"},
        {"<key>Track ID</key>\n<integer>1</integer>\n</plist>", {}, 1, "has another layout"},
        {minified, {}, 1, "has another layout"},
        {"<plist></plist>", {}, 1, "is no iTunes library"},
        {library(track(1, "/none")), {}, 1, "none of its 1 track will arrive"},
        {good, {"--items", "five"}, 1, "less than 80 percent of the 5"},
        {good, {"--items", "five", "--min-share", "60"}, 0, ""},
        {good, {"--items", "damaged"}, 0, ""},
        {good, {"--items", "none"}, 0, ""},
        {good, {"--items", "five", "--min-share", "101"}, 2, "usage:"},
        {good, {"--min-share", "50"}, 2, "usage:"},
    };
    for (const Case& each : cases) {
        write_file("-library", each.text);
        std::vector<std::string> arguments = each.options;
        arguments.insert(arguments.end(), {"--", "-library"});
        const RunResult result = check(arguments);
        EXPECT_EQ(result.status, each.status) << each.line << result.err;
        EXPECT_EQ(result.err.empty(), each.line[0] == '\0') << result.err;
        EXPECT_NE(result.err.find(each.line), std::string::npos) << result.err;
    }
    EXPECT_EQ(check({"none"}).err, "itunes-check: none: No such file or directory\n");
    EXPECT_EQ(check({"."}).err, "itunes-check: .: is a directory\n");
}

TEST(Check, LeavesNoScratchDirectoryWhenEnded) {
    const TempDir folder;
    std::string tracks;
    for (int id = 0; id < 4000; ++id) {
        tracks += track(id, "");
    } // more lines than a pipe holds
    write_file("library.xml", library(tracks));
    const int status =
        system("mkdir scratch && mkfifo out && sleep 60 <out & sleeper=$!\n"
               "until [ -p out ]; do sleep 0.1; done\n"
               "TMPDIR=scratch " TEST_EMULATOR " '" TEST_CHECK_PROGRAM "' --list library.xml >out &\n"
               "until [ -n \"$(ls scratch)\" ]; do sleep 0.1; done\n"
               "kill -TERM $!; wait $!; status=$?; kill $sleeper; exit $status");
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
    EXPECT_TRUE(fs::exists("scratch"));
    EXPECT_TRUE(fs::is_empty("scratch"));
}

} // namespace
