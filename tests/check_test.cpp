// Holds itunes-check against the import, and what it says of crafted libraries against texts in tests/golden/. More
// libraries to hold it against can stand in a folder that the environment variable ITUNES_IMPORT_LIBRARIES names.

#include "tests/import_fixture.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace {

/// A track without a location.
std::string nowhere(int id, const std::string& lines) {
    return number("Track ID", std::to_string(id)) + lines + "</dict>\n";
}

/// Tracks that are not there, in one folder.
std::string lost(int count, const std::string& folder) {
    std::string tracks;
    for (int id = 1; id <= count; ++id) {
        tracks += track(id, folder + "/" + std::to_string(id) + ".mp3", named("Song"));
    }
    return tracks;
}

const std::string version = text("Application Version", "12.1");
std::string library(const std::string& tracks, const std::string& playlists = "") {
    return version + tracks + "<key>Playlists</key>\n" + playlists + "</plist>\n";
}

/// A fresh folder, and what the lines of shell printed that were run in it.
class Check : public testing::Test {
protected:
    /// Runs a line of the shell, where `check` is the program.
    void run(const std::string& line) {
        const RunResult result = run_line("check() { " TEST_EMULATOR " '" TEST_CHECK_PROGRAM "' \"$@\"; }; " + line);
        said_ += "$ " + line + "\n" + result.out + (result.err.empty() ? "" : "--- standard error\n" + result.err) +
                 "--- status " + std::to_string(result.status) + "\n\n";
    }
    void run_on(const std::string& library_text, const std::string& line = "check l.xml") {
        write_file("l.xml", library_text);
        run(line);
    }
    void expect_said(const std::string& name) {
        for (size_t at = 0; (at = said_.find(folder_.path(), at)) != std::string::npos;) {
            said_.replace(at, folder_.path().size(), "/HERE");
        }
        expect_golden(said_, name);
    }

    const TempDir folder_;
    std::string said_;
};

/// The fields of the lines that begin with `start`, sorted.
std::vector<std::string> fields(const std::string& lines, const std::string& start, char separator, size_t field) {
    std::vector<std::string> values;
    for (const std::string& line : split(lines, '\n')) {
        if (line.starts_with(start)) {
            values.push_back(split(line, separator).at(field));
        }
    }
    std::ranges::sort(values);
    return values;
}

/// The library with its locations moved below the working directory, where two files of three are made, and
/// every seventh track protected.
std::string moved(const std::string& original) {
    std::string result;
    int count = 0;
    for (const std::string& line : split(original, '\n')) {
        if (line.find("<key>Location</key><string>file:") == std::string::npos) {
            result += line + "\n";
            continue;
        }
        const std::string path = "media/" + std::to_string(++count) + ".mp3";
        if (count % 3 != 0) {
            write_file(path, "");
        }
        result += (count % 7 == 0 ? flag("Protected") : "") + text("Location", "file:" + path);
    }
    return result;
}

void expect_as_imported(const std::string& text) {
    write_file("l.xml", text);
    fs::create_directory("db");
    run_import({"-dbdir", "db", "-itunes-lib", "l.xml"});
    const std::string list = run_program(TEST_CHECK_PROGRAM, {"--list", "l.xml"}).out;
    const std::string items = run_program(TEST_ITEMS_PROGRAM, {"db/itunes.import.items"}).out;
    EXPECT_EQ(fields(list, "track\trecord\t", '\t', 4), fields(items, "res: ", ' ', 1));
    EXPECT_EQ(fields(list, "playlist\tfile\t", '\t', 2), fields(run_line("ls db").out, "iTunes-playlist-", '\n', 0));
    fs::remove_all("db");
}

std::string random_library(unsigned seed) {
    std::mt19937 random(seed);
    const auto any = [&random](const std::vector<std::string>& of) { return of[random() % of.size()]; };
    std::string tracks = track(1, "1.mp3");
    std::string playlists;
    for (int id = 2; id < 40; ++id) {
        tracks += any({"", "<key>Protected</key><true/>\n", text("Track Type", "URL")});
        tracks += track(id, any({"a.mp3", "b.m4v", "", "//host/c"}));
        playlists += playlist(any({"A/B", "A B", "A&#38;B", "Music", "100%% x", "Ü", std::string(250, 'n')}),
                              std::to_string(id), {1, id},
                              any({"", "<key>Smart Info</key>\n", flag("Videos"), flag("Folder")}));
    }
    return library(tracks, playlists);
}

TEST_F(Check, ListsWhatAnImportWrites) {
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

TEST_F(Check, TellsWhatBecomesOfTracks) {
    write_file("media/there.mp3", "");
    write_file("iTunes.tmp", ""); // of the kind that an import deletes
    const Tree before = read_tree(".");
    const std::string tracks = track(1, "media/there.mp3", named("There")) + track(2, "media/x/a.mp3", named("A")) +
                               track(3, "media/x/b.mp3", named("B")) +
                               track(4, folder_.path() + "/media/c.mp3", named("Absolute")) +
                               track(5, "/none/d.mp3", named("D")) +
                               track(6, "none/\x1B\\\xFF.mp3", named("E\x1B[2J\\\xFF\xC3\xA9")) +
                               track(7, "none/f.mp3", named("F is one too many")) +
                               track(8, "media/there.mp3", named("P") + flag("Protected")) +
                               track(9, "media/there.mp3", flag("Protected")) + nowhere(10, flag("Protected")) +
                               nowhere(11, flag("Protected") + named("")) + nowhere(12, named("In the cloud")) +
                               track(13, "//radio", named("Radio") + text("Track Type", "URL"));
    run_on(library(tracks));
    run("check --list l.xml");
    run("check --json l.xml");
    fs::remove("l.xml");
    EXPECT_EQ(read_tree("."), before);
    run_on(library(track(1, "media/there.mp3") + track(2, "media/x.mp3")));
    expect_said("check_tracks.txt");
}

TEST_F(Check, TellsHowTheLibraryIsLaidOut) {
    for (const std::string& head : std::initializer_list<std::string>{
             text("Application Version", "1.2.3") + text("Application Version", "9"),
             text("Application Version", "3"),
             "<key>Application Version</key>\n<string>4.1\x1B</string>\n",
             "<key>Application Version</key>\n<key>Major Version</key>\n<string>4.1</string>\n",
             "<key>Tracks</key>\n",
             "<key>Playlists</key>\n",
             "<key>Date</key>\n",
             version + "<key>Playlist ID</key>\n",
             "<key>Artist</key><string>a</string>\n" + flag("Protected") + number("Size", "1") + "<key>Year</key>\n",
             "<key>Date Modified</key><date>2020</date><key>Playlist Persistent ID</key>\n",
             version + "<key>Artist</key><string>\n<key>Album</key></string>\n",
             version + number("Track ID", "1") + "</dict>\n<key>Playlists</key><key>Name</key><key>Year</key>\n",
             "<key>Artist</key><key>Album</key><key>Name</key><string>all on one line</string>\n",
         }) {
        run_on(head + "</plist>");
    }
    for (const char* end : {"</plist>", "</plist> \t\r\n", "/plist>", "</plist>x", ""}) {
        run_on(version + end, "check l.xml | sed -n 2p");
    }
    for (size_t blanks = 4080; blanks < 4100; ++blanks) { // around the size of a block that is read
        write_file("l.xml", version + "</plist>" + std::string(blanks, '\n'));
        EXPECT_EQ(run_program(TEST_CHECK_PROGRAM, {"l.xml"}).status, 0) << blanks;
    }
    run_on("</plist>");
    expect_said("check_layout.txt");
}

TEST_F(Check, TellsWherePathsLeadAndWhatToDo) {
    const std::string folders = "check -- -l | sed '1,/^Folders/d; /^Playlists/d'";
    write_file("there/1.mp3", "");
    std::string six = lost(20, "there");
    for (const std::string each : {"a", "b", "c", "d", "e"}) {
        six += lost(21, "/none-" + each);
    }
    std::string many;
    for (int count = 0; count < 60; ++count) {
        const std::string place = "/none/" + std::to_string(count / 12) + "/" + std::to_string(count / 2);
        many += lost(count % 5 + 20, place + "/" + std::to_string(count) + "/x/y");
    }
    for (const std::string& tracks :
         {lost(9, "/n/a/b/c/d") + lost(10, "/n/a/b/cc/e"), lost(10, "/n/a/b/c/d") + lost(10, "/n/a/b/cc/e"),
          lost(10, "C:/it's") + lost(11, "D:/50%=1/2"), lost(20, "/n=a") + lost(1, "/.") + lost(1, "/n=a/b\x1F"),
          lost(40, "/\x1B'\\"), lost(1, "/music"), lost(1, "") + track(2, "a.mp3"), six, six + lost(25, "/f"),
          six + lost(25, "/f") + lost(19, "g"), many}) {
        write_file("-l", library(tracks));
        run(folders);
    }
    expect_said("check_folders.txt");
}

TEST_F(Check, FindsOtherSpellings) {
    const std::vector<std::pair<std::string, std::string>> names = {// on the disk, in the library
        {"Cafe\u0301/a", "Caf\u00E9/a"}, {"CAFE\u0301/b.MP3", "Caf\u00E9/b.mp3"}, {"A+B C", "A B C"}, {"a+b", "A b"},
        {"sUb/+E\u0323\u0302", "sub/ \u1EC6"}, {"sub/c", "sub/C"},
        {"\u1112\u1161\u11AB\u1100\u1173\u11AF\u1112\u1161", "\uD55C\uAE00\uD558"}, {"\uD7A3\uAC00", "\u1112\u1175\u11C2\u1100\u1161"},
        {"az\u00E0\u00F6\u00F8\u00FE", "AZ\u00C0\u00D6\u00D8\u00DE"}, {"\u0101\u012F\u0137\u0177\u00FF", "\u0100\u012E\u0136\u0176\u0178"},
        {"\u013A\u0148\u014B\u017A\u017E", "\u0139\u0147\u014A\u0179\u017D"}, {"\u03B1\u03C3\u03C9\u03AB", "\u0391\u03C2\u03A9\u03CB"},
        {"\u03AC\u03AD\u03AE\u03AF\u03CC\u03CD\u03CE", "\u0386\u0388\u0389\u038A\u038C\u038E\u038F"},
        {"\u0430\u044F\u0450\u045F\u0461\u0481", "\u0410\u042F\u0400\u040F\u0460\u0480"},
        {"\u048B\u04BF\u04D1\u052F", "\u048A\u04BE\u04D0\u052E"},
        // No letters of one alphabet, or no characters at all.
        {"\u00D7", "\u00F7"}, {"@", "`"}, {"[", "{"}, {"\u0130", "\u0131"}, {"\u0138", "\u0139"}, {"\u00BF", "\u00DF"},
        {"\u00DF", "\u00FF"}, {"\xC3", "\xE9"}, {"\xFF\x80", "\xFF\x81"}, {"\uABFF", "\uAC00"}, {"\uD7A4", "\u1113"}, {"none", "other"},
        {"\u0482", "\u0483"}, {"\u04C0", "\u04C1"}, {"\u0390", "\u03B0"}, {"\u03AC", "\u03CC"}, {"\u0530", "\u0531"},
        {"\u0430", "\u0450"}, {"\u0149", "\u014A"}, {"\u017F", "\u0180"},
    };
    for (const auto& [disk, wanted] : names) {
        fs::remove_all("m");
        write_file("m/" + disk, "");
        run_on(library(track(1, "m/" + wanted)),
               ": 'm/" + wanted + "'; check l.xml 2>/dev/null | grep -A1 'on the disk'");
    }
    // What is known of the folders of one path serves the next one.
    for (const char* file : {"m/One/1", "m/One/2", "m/One/Two/3", "m/Two/4", "One/5", "m/One/Two/6", "m/x/ONE/6"}) {
        write_file(file, "");
    }
    std::string deep = "m";
    for (int depth = 0; depth < 63; ++depth) {
        deep += "/d";
    }
    write_file(deep + "/E", "");
    write_file(deep + "/d/E", "");
    run_on(library(track(1, "m/one/2") + track(2, "m/one/none") + track(3, "m/one/two/3") + track(4, "m/two/4") +
                   track(5, folder_.path() + "/m/ONE/1") + track(6, "one/5") + track(7, "m/on/6") +
                   track(8, "m/on/7") + track(9, "m/one/two/6") + track(10, "m/oNE/") + track(11, "m//x/one//6") +
                   track(12, deep + "/e") + track(13, deep + "/d/e") + track(14, "m/One/2/x") + track(15, "")));
    expect_said("check_spellings.txt");
}

TEST_F(Check, StopsLookingWhereItTakesTooLong) {
    std::string tracks;
    for (int id = 0; id < 1100; ++id) {
        write_file("m/" + std::to_string(id % 2) + "/" + std::to_string(id), "");
        tracks += track(id, "m/" + std::to_string(id % 2) + "/a") + track(id, "m/");
    }
    run_on(library(tracks), "check l.xml | sed -n '/^Other spellings/,/^$/p'");
    expect_said("check_long_search.txt");
}

TEST_F(Check, TellsWhatBecomesOfPlaylists) {
    write_file("there.mp3", "");
    const std::string tracks = track(1, "there.mp3") + track(2, "none.m4v") + track(3, "a&b.mp3") + track(4, "\"/x.mp3") +
                               nowhere(5, named("In the cloud"));
    std::string left_out = playlist("A/B", "1", {1}) + playlist("A B", "2", {1, 2, 5, 5}) +
                           playlist("100%%", "3", {1}) + playlist("Videos", "4", {2}) +
                           playlist(std::string(250, 'n'), "5", {1}) + playlist("", "6", {1}) +
                           playlist("Hidden", "7", {1}, "<key>Visible</key><false/>\n") + playlist("Empty", "8", {5}) +
                           playlist("Empty\x1B", "9", {}) + playlist("C", "10", {1, 1, 3});
    for (const char* name : {"Library", "Music", "Podcasts", "Recently Added", "smartplaylist", "Music"}) {
        left_out += playlist(name, name, {1});
    }
    left_out += playlist("Smart", "11", {1}, "<key>Smart Info</key>\n") +
                playlist("Built in", "12", {1}, "<key>Distinguished Kind</key>\n");
    run_on(library(tracks, left_out));
    run("check --list l.xml");
    run("check --json l.xml");
    std::string signs;
    for (const std::string name :
         {"&#38;amp;&#38;#38;&#38;#xfF;&#38;lt;&#38;gt;&#38;quot;&#38;apos;", "&#38; b", "&#38;amp c", "&#38;#;d",
          "&#38;#x;e", "&#38;#6x;f", "&#38;#xg;g", "&#60; h", "&#60;b>i&#60;/b>", "&#60;b>j", "k&#60;/b>", "&#60;b/>l",
          "&#60;b c=\"d\" e='f'>m&#60;/b>", "&#60;b c>n", "&#60;b c=d>o", "&#60;b c=\"&#38;\">p", "&#60;b c=\"d\"e=\"\">q",
          "&#60;1>r", "&#60;?s?>s", "t\x01", "u\x7F\t", "v\xFF", "w\xC3", "x\xE2\x82\xAC", "y\xE2\x82", "z\x80",
          "\xF0\x9F\x8E\xB5", "\xF4\x8F\xBF\xBF", "\xF5\x80\x80\x80", "\xC1\x80", "\xC2\x80", "1 > 2 \" '",
          "&#38;" "ab", "&#60;&#60;" "cd", "&#60;&#60;" "ef", "&#60;&#60;" "gh", "&#60;a b=\"&#60;", "&#60;!-- x -->", "&#60;/title>"}) {
        signs += playlist(name, std::to_string(signs.size()), {1});
    }
    signs += playlist("2 quotes", "q", {4}) + playlist("ampersand in a path", "a", {3}) + playlist("Last", "l", {1});
    run_on(library(tracks, signs));
    run("check --json l.xml");
    run("trap '' XFSZ; ulimit -f 1; check l.xml | tail -n 8"); // a disk that is full after a block
    expect_said("check_playlists.txt");
}

TEST_F(Check, FailsWithALine) {
    write_file("there.mp3", "");
    std::string tracks;
    for (int id = 1; id <= 5; ++id) {
        tracks += track(id, id < 4 ? "there.mp3" : "none.mp3");
    }
    write_file("l.xml", library(tracks));
    write_file("five", ">>>>\n>>>>\n>>>>\n>>>>\n>>>>\n");
    write_file("six", read_file("five") + ">>>>\n");
    write_file("damaged", ">>>>\n>>>>\n>>>>\n>>damage");
    write_file("cut", ">>>>\n>>>>\n>>>>\n>>>>\n16004Ba");
    write_file("no items", "<?xml");
    write_file("empty", "");
    std::string large = ">>>>\n";
    for (int entries = 0; entries < 60; ++entries) { // records of a quarter of a megabyte
        large += "14FFF" + std::string(4095, 'v') + "\n";
    }
    write_file("large", large + large + large + large);
    for (const char* line :
         {"check", "check --list --json l.xml", "check --json --list l.xml", "check --list --list l.xml | wc -l",
          "check l.xml l.xml", "check --items", "check --items five", "check --min-share 50 l.xml",
          "check --items five --min-share 101 l.xml", "check --items five --min-share '' l.xml",
          "check --items five --min-share 1x l.xml", "check --items five --min-share 0060 l.xml",
          "check --unknown x l.xml", "check - l.xml", "check -- --help", "check --help", "check --help x",
          "check --version", "check --version >/dev/full", "check --help >/dev/full", "check l.xml >/dev/full",
          "check --items five l.xml", "check --items five --min-share 60 l.xml | grep Records",
          "check --items five --min-share 61 --json l.xml | tail -n 1", "check --items six --min-share 100 --list l.xml",
          "check --items six --min-share 0 l.xml | grep Records", "check --items damaged l.xml | grep Records",
          "check --items cut l.xml | grep Records", "check --items 'no items' l.xml | grep Records",
          "check --items empty l.xml | grep Records", "check --items large l.xml | grep Records", "check --items none l.xml | grep Records",
          "check --items . l.xml | grep Records", "check --items l.xml/x l.xml | grep Records",
          "check none", "check .", "check /dev/null", "check $(printf %01024d 0)", "check $(printf %01023d 0)",
          "TMPDIR=none check l.xml", "TMPDIR=$(printf %0500d 0) check l.xml", "TMPDIR=/dev/null check l.xml",
          "TMPDIR= check l.xml | wc -l", "check l.xml <&- >&- 2>&-", "check --list l.xml >&-",
          "mkfifo f; check f", "printf '\\033' >o; check --list o"}) {
        run(line);
    }
    expect_said("check_failures.txt");
}

TEST_F(Check, LeavesNoScratchDirectoryWhenEnded) {
    write_file("l.xml", library(lost(4000, "none"))); // more lines than a pipe holds
    run("mkdir scratch; export TMPDIR=scratch; { check --list l.xml; echo $? >status; } | head -n 1; cat status");
    run("mkfifo out && sleep 60 <out & sleeper=$!\n"
        "until [ -p out ]; do sleep 0.1; done\n"
        "export TMPDIR=scratch; " TEST_EMULATOR " '" TEST_CHECK_PROGRAM "' --list l.xml >out &\n"
        "until [ -n \"$(ls scratch)\" ]; do sleep 0.1; done\n"
        "kill -TERM $!; wait $!; status=$?; kill $sleeper; ls scratch; echo $status");
    EXPECT_TRUE(fs::is_empty("scratch"));
    EXPECT_NE(said_.find("\n141\n"), std::string::npos) << said_;
    EXPECT_NE(said_.find("\n143\n"), std::string::npos) << said_;
}

TEST_F(Check, ShowsProgressOnATerminal) {
    write_file("l.xml", library(lost(3, "none"), std::string(4 << 20, 'x')));
    run("script -qec \"'" TEST_CHECK_PROGRAM "' --list l.xml\" /dev/null </dev/null");
    expect_golden(said_.substr(said_.find('\n')), "check_progress.txt");
}

} // namespace
