// Holds itunes-check against the import, and what it says of crafted libraries against texts in tests/golden/.
// More libraries to hold it against can stand in a folder that the environment variable
// ITUNES_IMPORT_LIBRARIES names.

#include "tests/companion_fixture.h"

#include <random>

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

class Check : public Companion {
protected:
    /// Runs the program on each of these libraries.
    void check(const auto&... libraries) { ((write_file("l.xml", libraries), run("check l.xml")), ...); }
};

/// The library with its locations moved below the working directory, where two files of three are made, and
/// every seventh track protected.
std::string moved(std::string library_text) {
    int count = 0;
    for (size_t at = 0; (at = library_text.find("<string>file:", at)) != std::string::npos; ++at) {
        const std::string path = "media/" + std::to_string(++count) + ".mp3";
        library_text.replace(at, library_text.find('<', at + 1) - at, "<string>file:" + path);
        library_text.insert(library_text.rfind('\n', at) + 1, count % 7 == 0 ? flag("Protected") : "");
        at = library_text.find(path, at);
        write_file(count % 3 == 0 ? "other" : path, "");
    }
    return library_text;
}

std::string random_library(unsigned seed) {
    std::mt19937 random(seed);
    const auto any = [&random](const std::vector<std::string>& of) { return of[random() % of.size()]; };
    std::string tracks = track(1, "1.mp3");
    std::string playlists;
    for (int id = 2; id < 40; ++id) {
        tracks += track(id, any({"a.mp3", "b.m4v", "", "//host/c"}),
                        any({"", flag("Protected"), text("Track Type", "URL")}));
        playlists += playlist(any({"A/B", "A B", "A&#38;B", "Music", "100%% x", "Ü", std::string(250, 'n')}),
                              std::to_string(id), {1, id},
                              any({"", "<key>Smart Info</key>\n", flag("Videos"), flag("Folder")}));
    }
    return library(tracks, playlists);
}

TEST_F(Check, ListsWhatAnImportWrites) {
    std::vector<std::string> libraries;
    const char* more = getenv("ITUNES_IMPORT_LIBRARIES");
    for (const std::string& place : {source_path("examples"), std::string(more == nullptr ? "." : more)}) {
        for (const auto& entry : std::filesystem::directory_iterator(place)) {
            if (entry.path().extension() == ".xml") {
                libraries.insert(libraries.end(), {read_file(entry.path()), moved(read_file(entry.path()))});
            }
        }
    }
    ASSERT_FALSE(libraries.empty());
    for (unsigned seed = 0; seed < 10; ++seed) {
        libraries.push_back(moved(random_library(seed)));
    }
    for (const std::string& each : libraries) {
        write_file("l.xml", each);
        std::filesystem::create_directory("db");
        run_import({"-dbdir", "db", "-itunes-lib", "l.xml"});
        const RunResult result =
            result_of("check --list l.xml | sed -n 's/^track\trecord\t.*\t//p; "
                      "s/^playlist\tfile\t\\(.*\\)\t.*/\\1/p' | sort >list; "
                      "{ items db/*items | sed -n 's/^res: //p'; ls db | grep wpl; } | sort | diff list -");
        EXPECT_EQ(result.status, 0) << result.out << each.substr(0, 2000);
        std::filesystem::remove_all("db");
    }
}

TEST_F(Check, TellsWhatBecomesOfTracks) {
    write_file("media/there.mp3", "");
    write_file("iTunes.tmp", ""); // of the kind that an import deletes
    const std::string tracks =
        track(1, "media/there.mp3", named("There")) + track(2, "media/x/a.mp3", named("A")) +
        track(3, "media/x/b.mp3", named("B")) + track(4, folder_.path() + "/media/there.mp3/c", named("C")) +
        track(5, "/none/d.mp3", named("D")) +
        track(6, "none/\x1B\\\xFF.mp3", named("E\x1B[2J\\\xFF\xC3\xA9")) +
        track(7, "none/f.mp3", named("One too many")) +
        track(8, "media/there.mp3", named("P") + flag("Protected")) +
        track(9, "media/there.mp3", flag("Protected")) + nowhere(10, flag("Protected")) +
        nowhere(11, flag("Protected") + named("")) + nowhere(12, named("In the cloud")) +
        track(13, "//radio", named("Radio") + text("Track Type", "URL"));
    write_file("l.xml", library(tracks));
    const Tree before = read_tree(".");
    run("check l.xml", "check --list l.xml", "check --json l.xml");
    EXPECT_EQ(read_tree("."), before);
    check(library(track(1, "media/there.mp3") + track(2, "media/x.mp3")));
    expect_said("check_tracks.txt");
}

TEST_F(Check, TellsHowTheLibraryIsLaidOut) {
    const std::string app = "<key>Application Version</key>";
    const std::string end = "</plist>";
    check(end, text("Application Version", "1.2.3") + text("Application Version", "9") + end,
          text("Application Version", "3") + end, app + "\n<string>4.1\x1B</string>\n" + end,
          app + "\n<key>Major Version</key>\n<string>4.1</string>\n" + end, "<key>Tracks</key>\n" + end,
          "<key>Playlists</key>\n" + end, "<key>Date</key>\n" + end,
          version + "<key>Playlist ID</key>\n" + end,
          text("Artist", "a") + flag("Protected") + number("Size", "1") + "<key>Year</key>\n" + end,
          "<key>Date Modified</key><date>2020</date><key>Playlist Persistent ID</key>\n" + end,
          version + "<key>Artist</key><string>\n<key>Album</key></string>\n" + end,
          version + number("Track ID", "1") +
              "</dict>\n<key>Playlists</key><key>Name</key><key>Year</key>\n" + end,
          "<key>Artist</key><key>Album</key>" + named("all on one line") + end, version + end + " \t\r\n",
          version + nowhere(1, "") + "/plist>", version + end + "x", version + end + std::string(1, '\0'),
          version);
    for (size_t blanks : {4087, 4088, 4089, 4095, 4096, 4097}) { // around the size of a block that is read
        check(version + end + std::string(blanks, '\n'));
    }
    expect_said("check_layout.txt");
}

TEST_F(Check, TellsWherePathsLeadAndWhatToDo) {
    write_file("there/1.mp3", "");
    const std::string six = lost(20, "there") + lost(21, "/none-a") + lost(21, "/none-b") +
                            lost(21, "/none-c") + lost(21, "/none-d") + lost(21, "/none-e");
    std::string many;
    for (int count = 0; count < 60; ++count) {
        many += lost(count % 5 + 20, "/none/" + std::to_string(count / 12) + "/" + std::to_string(count / 2) +
                                         "/" + std::to_string(count) + "/x/y");
    }
    for (const std::string& tracks :
         {lost(9, "/n/a/b/c/d") + lost(10, "/n/a/b/cc/e"), lost(10, "/n/a/b/c/d") + lost(10, "/n/a/b/cc/e"),
          lost(10, "C:/it's") + lost(11, "D:/50%=1/2"),
          lost(20, "/n=a") + lost(1, "/.") + lost(1, "/n=a/b\x1F"), lost(40, "/\x1B'\\"), lost(1, "/music"),
          lost(20, "/1/2/3/4/5/6") + lost(21, "/1/2/3/4/6/7"), lost(1, "") + track(2, "a.mp3"), six,
          six + lost(25, "/f"), six + lost(25, "/f") + lost(19, "g"), many}) {
        write_file("-l", library(tracks));
        run("check -- -l | sed '1,/^Folders/d; /^Playlists/d'");
    }
    expect_said("check_folders.txt");
}

TEST_F(Check, FindsOtherSpellings) {
    const auto wants = [this](const auto&... rows) { // each: what is on the disk, and what the library has
        std::string tracks;
        for (const std::string& row : {std::string(rows)...}) {
            const std::string place = std::to_string(tracks.size()) + "/";
            write_file(place + split(row, '=')[0], "");
            tracks += track(1, place + split(row, '=')[1]);
        }
        check(library(tracks));
    };
    wants("Cafe\u0301/a=Caf\u00E9/a", "CAFE\u0301/b.MP3=Caf\u00E9/b.mp3", "A+B C=A B C", "a+b=A b",
          "sUb/+E\u0323\u0302=sub/ \u1EC6");
    wants("\u1112\u1161\u11AB\u1100\u1173\u11AF\u1112\u1161=\uD55C\uAE00\uD558",
          "\uD7A3\uAC00=\u1112\u1175\u11C2\u1100\u1161",
          "az\u00E0\u00F6\u00F8\u00FE=AZ\u00C0\u00D6\u00D8\u00DE",
          "\u0101\u012F\u0137\u0177\u00FF=\u0100\u012E\u0136\u0176\u0178", "sub/c=sub/C");
    wants("\u013A\u0148\u014B\u017A\u017E=\u0139\u0147\u014A\u0179\u017D",
          "\u03B1\u03C3\u03C9\u03AB=\u0391\u03C2\u03A9\u03CB",
          "\u03AC\u03AD\u03AE\u03AF\u03CC\u03CD\u03CE=\u0386\u0388\u0389\u038A\u038C\u038E\u038F",
          "\u0430\u044F\u0450\u045F\u0461\u0481=\u0410\u042F\u0400\u040F\u0460\u0480",
          "\u048B\u04BF\u04D1\u052F=\u048A\u04BE\u04D0\u052E");
    // No pairs of letters, or no characters at all.
    wants("\u00D7=\u00F7", "@=`", "[={", "\u0130=\u0131", "\u0138=\u0139", "\u00BF=\u00DF", "\u00DF=\u00FF",
          "\xC3=\xE9", "\xFF\x80=\xFF\x81", "\uABFF=\uAC00", "\uD7A4=\u1113", "\u0482=\u0483",
          "\u04C0=\u04C1", "\u0390=\u03B0", "\u03AC=\u03CC", "\u0530=\u0531", "\u0430=\u0450",
          "\u0149=\u014A", "\u017F=\u0180", "none=other");
    // What is known of the folders of one path serves the next one; 64 folders is as deep as it goes.
    const std::string deep = "m" + run_line("printf '/d%.0s' $(seq 63)").out;
    for (const std::string& file :
         split("m/One/1 m/One/2 m/One/Two/3 m/Two/4 One/5 m/One/Two/6 m/x/ONE/6", ' ')) {
        write_file(file, "");
    }
    write_file(deep + "/E", "");
    write_file(deep + "/d/E", "");
    std::filesystem::create_symlink("none", "m/link"); // of a file that is gone
    std::string tracks;
    for (const std::string& path :
         split("m/one/2 m/one/none m/one/two/3 m/two/4 " + folder_.path() + "/m/ONE/1 one/5 m/on/6 m/on/7 " +
                   "m/one/two/6 m/link m/LINK m/oNE/ m//x/one//6 m/One/2/x  " + deep + "/e " + deep + "/d/e",
               ' ')) {
        tracks += track(1, path);
    }
    check(library(tracks));
    tracks = "";
    for (int id = 0; id < 1600; ++id) { // 800 names are to be listed for each, which takes too long
        write_file(std::to_string(id % 2) + "/" + std::to_string(id), "");
        tracks += track(id, std::to_string(id % 2) + "/a");
    }
    check(library(tracks));
    expect_said("check_spellings.txt");
}

TEST_F(Check, TellsWhatBecomesOfPlaylists) {
    write_file("there.mp3", "");
    const std::string tracks = track(1, "there.mp3", named(std::string(600, 'n'))) + track(2, "none.m4v") +
                               track(3, "a&b.mp3") + track(4, "\"/x.mp3") + nowhere(5, named("In the cloud"));
    std::string left_out =
        playlist("A/B", "1", {1}) + playlist("A B", "2", {1, 2, 5, 5}) + playlist("100%%", "3", {1}) +
        playlist("Videos", "4", {2}) + playlist(std::string(250, 'n'), "5", {1}) + playlist("", "6", {1}) +
        playlist("Hidden", "7", {1}, "<key>Visible</key><false/>\n") + playlist("Empty", "8", {5}) +
        playlist("Empty\x1B", "9", {}) + playlist("C", "10", {1, 1, 3}) +
        playlist("Smart", "11", {1}, "<key>Smart Info</key>\n") +
        playlist("Built in", "12", {1}, "<key>Distinguished Kind</key>\n");
    for (const char* name : {"Library", "Music", "Podcasts", "Recently Added", "smartplaylist", "Music"}) {
        left_out += playlist(name, name, {1});
    }
    check(library(tracks, left_out));
    run("check --list l.xml", "check --json l.xml");
    std::string signs = playlist("2 quotes", "q", {4}) + playlist("ampersand in a path", "a", {3});
    const auto titled = [&signs](const auto&... titles) {
        ((signs += playlist(titles, std::to_string(signs.size()), {1})), ...);
    };
    titled("&amp;&#38;#38;&#38;#xfF;&lt;&gt;&quot;&apos;", "& b", "&amp c", "&#38;#;d", "&#38;#x;e",
           "&#38;#6x;f", "&#38;#xg;g", "< h", "<b>i</b>", "<b>j", "k</b>", "<b/>l", "<b c=\"d\" e='f'>m</b>",
           "<b c>n", "<b c=d>o", "<b c=\"&\">p", "<b c=\"d\"e=\"\">q", "<1>r", "<?s?>s", "t\x01", "u\x7F\t",
           "v\xFF", "w\xC3", "x\xE2\x82\xAC", "y\xE2\x82", "z\x80", "\xF0\x9F\x8E\xB5", "\xF4\x8F\xBF\xBF",
           "\xF5\x80\x80\x80", "\xC1\x80", "\xC2\x80", "\xED\x9F\xBF\xE0\xA0\x80\xF0\x90\x80\x80",
           "\xE0\x9F\x80", "\xED\xA0\x80", "\xF0\x8F\x80\x80", "\xF4\x90\x80\x80", "]]1 > 2 ]> \" ]'>",
           "]]]>x", "&#38;#9;&#38;#32;&#38;#xD7FF;&#38;#xE000;&#38;#xFFFD;&#38;#x10FFFF;", "&#38;#31;",
           "&#38;#xD800;", "&#38;#xFFFE;", "&#38;#x110000;", "<a b=\"<", "</title>",
           "&#38;" + std::string(130, 'a') + ";", "A", "B", "C", "D", "");
    check(library(tracks, signs), library(tracks, playlist("Cut", "1", std::vector(40, 1))));
    run("(trap '' XFSZ; ulimit -f 1; check l.xml) | cat"); // as on a disk that is full after a block
    expect_said("check_playlists.txt");
}

TEST_F(Check, FailsWithALine) {
    write_file("there.mp3", "");
    write_file("l.xml", library(track(1, "there.mp3") + track(2, "there.mp3") + track(3, "there.mp3") +
                                lost(2, "none")));
    run("check", "check --list --json l.xml", "check --json --list l.xml",
        "check --list --list l.xml | wc -l", "check l.xml l.xml", "check --items", "check --items five",
        "check --min-share 50 l.xml", "check --items '' l.xml 2>/dev/null",
        "for share in 101 '' 1x 0060; do check --items five --min-share \"$share\" l.xml; echo $?; done "
        "2>/dev/null",
        "check --unknown x l.xml", "check - l.xml", "check -- --help", "check --help", "check --help x",
        "check --version", "check --version >/dev/full", "check --help >/dev/full", "check l.xml >/dev/full",
        "check none", "check .", "check /dev/null", "mkfifo f; check f", "check $(printf %01024d 0)",
        "check $(printf %01023d 0)", "TMPDIR=none check l.xml",
        "TMPDIR=$(printf %0246d 0 | sed 's|0|./|g') check l.xml",
        "TMPDIR=$(printf %0245d 0 | sed 's|0|./|g')/ check --list l.xml", "TMPDIR=/dev/null check l.xml",
        "TMPDIR= check l.xml | wc -l", "check l.xml <&- >&- 2>&-", "check --list l.xml >&-");
    const std::string five = ">>>>\n>>>>\n>>>>\n>>>>\n>>>>\n";
    std::string large = ">>>>\n";
    while (large.size() < 1 << 18) {
        large += "14FFF" + std::string(4095, 'v') + "\n";
    }
    const auto compare = [this](const auto&... items) {
        ((write_file("items", items), run("check --items items l.xml")), ...);
    };
    compare(five + ">>>>\n", five + "16004Ba", five + "damage", "<?xml", "", five + large + large + large,
            five);
    run("check --items none l.xml | grep Records", "check --items . l.xml | grep Records",
        "check --items l.xml/x l.xml | grep Records",
        "check --items items --min-share 60 l.xml | grep Records",
        "check --items items --min-share 61 --json l.xml | tail -n 1",
        "check --items items --min-share 100 --list l.xml",
        "check --items items --min-share 0 l.xml | grep Records");
    expect_said("check_failures.txt");
}

TEST_F(Check, LeavesNoScratchDirectoryWhenEnded) {
    write_file("l.xml", library(lost(4000, "none"))); // more lines than a pipe holds
    write_file("program", "exec " TEST_EMULATOR " '" TEST_CHECK_PROGRAM "' \"$@\"");
    run("mkdir scratch; export TMPDIR=scratch; { check --list l.xml; echo $? >end; } | head -n 1; cat end",
        "mkfifo out; sleep 20 <out & export TMPDIR=scratch; trap '' USR2\n"
        "for signal in HUP TERM XCPU PIPE ALRM USR1; do\n"
        "  sh program --list l.xml >out &\n"
        "  for tenth in $(seq 50); do [ -n \"$(ls scratch)\" ] || sleep 0.1; done\n"
        "  kill -USR2 $!; kill -$signal $!; { wait $!; echo $?; } 2>/dev/null\n"
        "done");
    EXPECT_TRUE(std::filesystem::is_empty("scratch"));
    expect_said("check_ended.txt");
}

TEST_F(Check, ShowsProgressOnATerminal) {
    write_file("l.xml", library(lost(3, "none"), std::string(4 << 20, 'x')));
    write_file("program", "exec " TEST_EMULATOR " '" TEST_CHECK_PROGRAM "' \"$@\"");
    run("script -qec 'sh program l.xml' /dev/null </dev/null",
        "script -qec 'sh program --list l.xml' /dev/null </dev/null",
        "script -qec 'sh program --list l.xml >out' /dev/null </dev/null");
    expect_said("check_progress.txt");
}

} // namespace
