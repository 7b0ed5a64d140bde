// itunes-prepare: what it writes, the import brings whole, whatever layout the library came in.

#include "tests/companion_fixture.h"

#include <cerrno>
#include <sys/stat.h>

#include "tools/itunes-prepare/prepare.h"
#include "tools/itunes-prepare/waiting_playlists.h"
#include "tools/shared/whole_file.h"

namespace {

using namespace fixture;

class Prepare : public testing::Test {
protected:
    /// What becomes of a library; the failure, where there is one.
    static std::string prepared(const std::string& library) {
        write_file("in.xml", library);
        const PrepareResult result = prepare_library({.input = "in.xml", .output = "out.xml"});
        return result.failure.empty() ? read_file("out.xml") : result.failure;
    }
    /// What an import makes of a library.
    static Tree imported(const std::string& library) {
        write_file("library.xml", library);
        write_file("db/made", "");
        EXPECT_EQ(run_line("import -dbdir db -itunes-lib library.xml").status, 0);
        Tree tree = read_tree("db");
        std::filesystem::remove_all("db");
        return tree;
    }
    TempDir folder;
};

/// Playlists of these keys, and a library that holds them in front of its tracks.
std::string dict(const std::string& keys) {
    return "<dict>" + keys + "</dict>";
}
std::string playlists_first(const std::string& tracks, const std::string& playlists) {
    return "<plist><dict><key>Playlists</key><array>" + playlists + "</array><key>Tracks</key>" +
           dict(tracks) + "</dict></plist>";
}
std::string playing(const std::vector<std::string>& track_ids) {
    std::string items;
    for (const std::string& track_id : track_ids) {
        items += dict(number("Track ID", track_id));
    }
    return "<key>Playlist Items</key><array>" + items + "</array>";
}

} // namespace

TEST_F(Prepare, ALibraryArrivesFromEveryLayoutAsADirectImportHasIt) {
    const std::string bundled = bundled_library(folder.path() + "/media/");
    // Written so that the import itself reads a plus sign.
    const Tree expected = imported(replaced(bundled, "Salt+", "Salt&#43;"));
    ASSERT_EQ(expected.size(), 13U);
    const std::pair<const char*, std::string> layouts[] = {
        {"as it stands", bundled},
        {"key and value on lines of their own", replaced(bundled, "</key><", "</key>\n<")},
        {"CRLF", replaced(bundled, "\n", "\r\n")},
    };
    for (const auto& [name, library] : layouts) {
        SCOPED_TRACE(name);
        const std::string written = prepared(library);
        EXPECT_EQ(imported(written), expected);
        EXPECT_EQ(prepared(written), written); // whole, and nothing more to do
    }
}

TEST_F(Prepare, PlaylistsAreWrittenAsTheImportReadsThemBest) {
    const std::string tracks = whole_track(2147483647, text("Location", "http://x")) + at_path(1, "///lost") +
                               at_path(2, "///x", flag("Protected")) + whole_track(3, "");
    const std::string videos = "<key>Videos</key><true/>";
    const std::string smart = "<key>Smart Info</key><data></data>";
    const std::string podcasts = "<key>Podcasts</key><true/>";
    const std::string group = "<key>Folder</key><true/>";
    const std::string hidden = "<key>Visible</key><false/>";
    const std::string parent = text("Parent Persistent ID", "P");
    const std::string name = text("Name", "A");
    const std::string one = playing({"1"});
    const std::string key = "Playlist Persistent ID";
    const std::string stream = playing({"2147483647"});
    const std::string silent = playing({"2", "3", "-1"});
    const struct {
        const char* name;
        std::string keys;
        std::string written; // behind the persistent id
    } rows[] = {
        {"videos", one + videos + name, videos + one},
        {"a stream", stream + videos, videos + stream},
        {"protected, in the cloud and unknown", videos + silent, silent},
        {"smart videos", one + smart + videos, smart + one},
        {"a name without a file", text("Name", "Podcasts") + one + videos, one},
        {"built in videos", number("Distinguished Kind", " 0x04 ") + one + videos,
         number("Distinguished Kind", "4") + one},
        {"a hidden folder plays nothing", one + hidden + group, group + hidden + playing({})},
        {"podcasts", podcasts + one, podcasts + one},
        {"a smart folder, which gives a title", one + smart + group, group + smart + one},
        {"a parent", one + parent + name, parent + one},
        {"a parent of no name", one + parent, one},
        {"an id that is too long", text(key, std::string(128, 'i')) + one, one},
        {"what only others know", "<key>X</key><dict><key>Y</key><array><true/></array></dict>" + one, one},
        {"numbers of no track", playing({"0", "2147483648", "x"}), playing({})},
    };
    const auto flat = [](const std::string& lines) { return replaced(replaced(lines, "\n", ""), "\t", ""); };
    const std::string seventh = number("Playlist ID", "7");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string expected =
            seventh + text(key, "itunes-prepare-1") + row.written + "</dict></array></dict></plist>";
        for (const auto& lay_out : {library, playlists_first}) {
            const std::string written = prepared(lay_out(tracks, dict(row.keys + seventh)));
            EXPECT_TRUE(flat(written).ends_with(flat(expected))) << written;
        }
    }
    const std::string late = text(key, "B") + text("Name", "Late");
    const std::string result =
        prepared(library("", dict(late) + dict(text(key, "itunes-prepare-4")) + dict(late) + dict("")));
    EXPECT_NE(result.find(text("Name", "Late")), std::string::npos) << result;
    EXPECT_NE(result.find(">itunes-prepare-3<"), std::string::npos) << result;
    EXPECT_NE(result.find(">itunes-prepare-4'<"), std::string::npos) << result;
}

TEST_F(Prepare, ADateStaysOneAndLongTextsAreCut) {
    const std::string date = "<key>Date Modified</key><date>";
    const std::string blanks(65'535, ' '); // and one character more is kept
    const std::string written = prepared(library(whole_track(1, date + blanks + "12</date>")));
    EXPECT_NE(written.find(date + "1</date>"), std::string::npos) << written;
    const std::string cut = prepared(replaced(library(""), "12.1", std::string(65, 'v')));
    EXPECT_NE(cut.find(">" + std::string(64, 'v') + "<"), std::string::npos) << cut;
}

TEST(WholeFile, IsMadeBesideItsPlaceAndSaysWhyItCanNotGetThere) {
    const TempDir folder;
    std::filesystem::create_directory("sub");
    WholeFile file;
    ASSERT_EQ(file.open("sub/out", "maker"), 0);
    ASSERT_FALSE(std::filesystem::is_empty("sub"));
    EXPECT_TRUE(std::filesystem::directory_iterator("sub")->path().string().starts_with("sub/.maker."));
    const Descriptor unnamed = unnamed_file("sub");
    const std::string link = "/proc/self/fd/" + std::to_string(unnamed.number());
    EXPECT_NE(std::filesystem::read_symlink(link).string().find("/sub/"), std::string::npos);
    std::filesystem::create_directory("sub/out");
    EXPECT_EQ(file.publish(), EISDIR);
}

TEST(WaitingPlaylists, AreNotReadFromAFileThatIsTooShort) {
    WaitingPlaylists waiting;
    PreparedPlaylist playlist = {"head", "tail"};
    ASSERT_TRUE(waiting.open("."));
    waiting.add(playlist);
    EXPECT_FALSE(waiting.next(&playlist)); // from the file's end
    EXPECT_EQ(waiting.error(), EIO);
}

TEST_F(Prepare, PathsArriveUnderTheSpellingOfTheDiskAndWhatDoesNotArriveIsTold) {
    if (is_emulated) {
        GTEST_SKIP() << "the emulator lists another root directory";
    }
    write_file("new/Caf\u00e9/a.mp3", "");
    const std::string long_name = text("Name", std::string(992, 'n'));
    write_file("in.xml",
               library(whole_track(1, text("Location", "http://x")) +
                           at_path(2, "///old/p", flag("Protected")) +
                           at_path(3, "//localhost/old/CAFe%CC%81/a.mp3") +
                           at_path(4, "//nas//old/two/X.mp3") + at_path(5, "///old/%3C/string%3E%0A%E9") +
                           whole_track(7, long_name + number("Size", "2147483648")),
                       dict(long_name)));
    const RunResult result = run_line("prepare --map=/old='" + folder.path() + "/new' --report in.xml");
    const std::string written = replaced(result.out, folder.path(), "/HERE");
    for (const char* path : {"/p", "/Caf\u00e9/a.mp3", "/two/X.mp3", "/&#60;/string&#62;%0A%E9"}) {
        const std::string location = text("Location", std::string("file://localhost/HERE/new") + path);
        EXPECT_NE(written.find(location), std::string::npos) << location;
    }
    const std::string too_long = "       2 lines longer than 1023 bytes, lost to the import\n"
                                 "           Name of track 7\n"
                                 "           Name of playlist " +
                                 std::string(60, 'n') + "\n";
    EXPECT_EQ(replaced(result.err, folder.path(), "/HERE"),
              "itunes-prepare: 6 tracks, 1 playlists\n"
              "       2 missing\n"
              "           /HERE/new/two/X.mp3\n"
              "           /HERE/new/</string>\\x0A\xE9\n" +
                  too_long +
                  "       1 values that the import reads otherwise\n"
                  "           Size of track 7\n"
                  "       0 found\n"
                  "       1 found under another spelling\n"
                  "           /HERE/new/Caf\u00e9/a.mp3\n"
                  "       3 without a file here (protected, streams, in the cloud)\n"
                  "       3 mapped\n");
    const RunResult brief = run_line("prepare --no-probe in.xml");
    EXPECT_EQ(brief.err, "itunes-prepare: 6 tracks, 1 playlists\n" + too_long);
    EXPECT_NE(brief.out.find("file://localhost/old/two/X.mp3<"), std::string::npos);
}

TEST_F(Prepare, ADamagedLibraryIsLocatedAndLeavesTheOutputAsItWas) {
    const std::string library = read_file(source_path("examples/iTunes Music Library.xml"));
    const std::string list = "<plist><dict>";
    const std::string tracks = "<key>Tracks</key><dict/>";
    const std::pair<std::string, std::string> rows[] = {
        {library.substr(0, library.size() / 2), "634, column 33: unclosed token"},
        {replaced(library, "<true/>", "&e;"), "10, column 36: the entity e is not one of XML's own"},
        {"<!DOCTYPE plist [<!ENTITY a ''>]>", "1, column 29: the entity a is not one of XML's own"},
        {"<plist><dict/></plist>", "1, column 23: not a library: it has no list of tracks"},
        {list + "</dict><dict/>", "1, column 28: not a library: its root is not one dictionary"},
        {list + tracks + tracks, "1, column 62: a second list of tracks"},
        {"<plist><!--" + std::string(9 << 18, ' '), "1, column 8: a comment or tag of more than 1 MiB"},
        {list + "<key>a</key><key>b</key>", "1, column 31: <key> where a value should be"},
        {list + "<true/>", "1, column 21: <true> where a key should be"},
        {list + "<key>a</key></dict>", "1, column 33: a key without a value"},
        {"<plist><string><b/>", "1, column 20: <b> inside <string>"},
        {list + "<key>a</key>" + replaced(std::string(63, 'a'), "a", "<array>"),
         "1, column 467: more than 64 levels"},
        {"<dict/>", "1, column 8: not a property list: <dict>"},
        {"bplist00", "1, column 1: a binary property list: export the library as XML"},
        {"<?xml version='1.0' encoding='x'?>", "1, column 31: unknown encoding: x"},
        {"", "1, column 1: no element found"},
    };
    for (const auto& [damaged, words] : rows) {
        write_file("out.xml", "last night's");
        EXPECT_EQ(prepared(damaged), "in.xml: line " + words);
        EXPECT_EQ(read_tree("."), (Tree{{"in.xml", damaged}, {"out.xml", "last night's"}}));
    }
}

TEST_F(Prepare, TheOutputIsAFileAStreamOrThere) {
    const std::string large = prepared(library("", dict(playing(std::vector<std::string>(9000, "1")))));
    write_file("large.xml", large);
    const std::string written = prepared(library(""));
    ASSERT_TRUE(written.ends_with("</plist>\n"));
    chmod("out.xml", 0640);
    std::filesystem::create_symlink("out.xml", "link");
    write_file("out.xml", "");
    EXPECT_EQ(run_line("prepare in.xml link").status, 0);
    EXPECT_EQ(read_file("out.xml"), written);
    EXPECT_TRUE(std::filesystem::is_symlink("link"));
    EXPECT_EQ(std::filesystem::status("out.xml").permissions(), std::filesystem::perms(0640));
    const struct {
        std::string line;
        std::string out;
        std::string failure;
    } rows[] = {
        {"prepare - <in.xml", written, ""},
        {"prepare large.xml -", large, ""},
        {"{ echo first; prepare in.xml /dev/stdout; } >>kept; cat kept", "first\n" + written, ""},
        {"prepare in.xml /dev/stderr 2>&1 >/dev/null", written, ""},
        {"prepare in.xml /dev/full", "", "write /dev/full: No space left on device"},
        {"ulimit -f 200; prepare large.xml new.xml", "", "write new.xml: File too large"},
        {"prepare in.xml >&-", "", "write standard output: Bad file descriptor"},
        {"prepare in.xml no/out.xml", "", "write no/out.xml: No such file or directory"},
        {"prepare no.xml", "", "open no.xml: No such file or directory"},
        {"prepare . out.xml", "", "open .: Is a directory"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const RunResult result = run_line(row.line);
        EXPECT_EQ(result.status, row.failure.empty() ? 0 : 1);
        EXPECT_EQ(result.out, row.out);
        EXPECT_EQ(result.err, row.failure.empty() ? "" : "itunes-prepare: can not " + row.failure + "\n");
    }
    const RunResult ended = // by a signal: the unfinished file goes
        run_line("mkfifo pipe; " + program_words("itunes-prepare") +
                 "pipe out.xml & exec 3>pipe; until ls -A | grep -q prepare; do sleep 0.1; done;"
                 " kill $!; { wait $!; } 2>/dev/null; echo $?; ls -A | grep -c prepare");
    EXPECT_EQ(ended.out, "143\n0\n");
}

TEST_F(Prepare, WrongUsageSaysWhatWasWrong) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "one or two files are wanted"},     {"a b c", "one or two files are wanted"},
        {"a ''", "one or two files are wanted"}, {"--map =b a", "--map takes FROM=TO"},
        {"--map=a= a", "--map takes FROM=TO"},   {"--bogus a", "unknown option '--bogus'"},
    };
    const std::string usage = run_line("prepare -h").out;
    expect_golden(usage, "prepare-usage.txt");
    for (const auto& [arguments, words] : rows) {
        const RunResult result = run_line(std::string("prepare ") + arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out + result.err, std::string("itunes-prepare: ") + words + "\n" + usage);
    }
    EXPECT_TRUE(run_line("prepare --version").out.starts_with("itunes-prepare 1."));
}
