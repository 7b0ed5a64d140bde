// Nights, as cron runs them: what they say, what they leave, and that they leave everything else alone.

#include "tests/companion_fixture.h"

#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include "itunes/import_run.h"
#include "tools/itunes-import-night/verification.h"

using namespace fixture;

namespace {

namespace fs = std::filesystem;

const std::string items = "db/itunes.import.items";
const std::string one = "pl/iTunes-playlist-One##M.wpl";
const std::string usual = "-dbdir db -playlist-dir pl -itunes-lib l.xml ";
const std::string stays = "itunes-import-night: l.xml: was not imported; last night's files stay\n";

/// What a line of a night looks like.
std::string said(const std::string& text) {
    return "itunes-import-night: " + text + "\n";
}

/// Runs a night with these words of the shell: "STATUS", or with what it said "STATUS: ...".
std::string night(const std::string& arguments = usual) {
    const RunResult result = run_line("night " + arguments);
    const std::string text = result.out + result.err;
    return std::to_string(result.status) + (text.empty() ? "" : ": " + text);
}

/// Writes l.xml, as whole as iTunes does.
void write_library(const std::string& tracks, const std::string& playlists,
                   const std::string& end = "</plist>\n") {
    lay_out("<plist>\n<key>Tracks</key>\n" + tracks, playlists + end);
}

const std::string tracks = track(1, "a.mp3") + track(2, "b.mp3") + track(3, "c.mp3") + track(4, "absent.mp3");
const std::string playlists =
    playlist("One", "p1", {1, 2}) + playlist("Two", "p2", {3}) + playlist("None", "p3", {});

/// A fresh folder with a library of four tracks, three of whose files are there, and two playlists to play.
class House {
public:
    House() {
        fs::create_directory("db");
        fs::create_directory("pl");
        for (const char* file : {"a.mp3", "b.mp3", "c.mp3"}) {
            write_file(file, "");
        }
        write_library(tracks, playlists);
    }

private:
    TempDir folder_;
};

} // namespace

TEST(Night, LeavesWhatAnImportLeavesAndLogsWhatItLogs) {
    for (const std::string playlist_dir : {"db", "./db", "pl"}) {
        const House house;
        Tree trees[2];
        for (const bool is_night : {false, true}) {
            write_file("lib/iT1.tmp", "");
            fs::copy_file("l.xml", "lib/l.xml", fs::copy_options::overwrite_existing);
            write_file(playlist_dir + "/iTunes-playlist-Two##M.wpl", "older");
            write_file(playlist_dir + "/mine.wpl", "mine");
            const std::string arguments =
                "-dbdir db -playlist-dir " + playlist_dir + " -itunes-lib lib/l.xml -logfile logs/log";
            EXPECT_EQ(is_night ? night(arguments) : run_line("import " + arguments).err,
                      is_night ? "0" : note);
            fs::remove("db/itunes-import-temp");
            trees[is_night] = read_tree(".");
            trees[is_night]["logs/log"] = mask_times(trees[is_night]["logs/log"]);
            for (const std::string written : {"db", "pl", "logs"}) {
                fs::remove_all(written);
                fs::create_directory(written);
            }
        }
        EXPECT_EQ(trees[true], trees[false]);
        EXPECT_EQ(trees[true].count("lib/iT1.tmp"), 0U);
        EXPECT_EQ(split(trees[true]["logs/log"], '\n').size(), 3U);
        EXPECT_TRUE(trees[true].contains("db/iTunes-playlist-One##M.wpl") || trees[true].contains(one));
    }
}

TEST(Night, ThatIsBadLeavesLastNightsFilesAndSaysWhy) {
    struct Row {
        const char* name;
        std::function<void()> trouble;
        std::string arguments, said_first;
        bool is_begun = true;
    };
    const std::string own_file = "is read by this run, and can be neither its page nor its log";
    const Row rows[] = {
        {"no library", [] { fs::remove("l.xml"); }, usual, said("l.xml: No such file or directory")},
        {"a directory", [] { fs::remove("l.xml"), fs::create_directory("l.xml"); }, usual,
         said("l.xml: is a directory")},
        {"a pipe", [] { fs::remove("l.xml"), mkfifo("l.xml", 0600); }, usual,
         said("l.xml: is no regular file")},
        {"cut short", [] { write_library(tracks, playlists, ""); }, usual,
         said("l.xml: is cut short: it does not end with </plist>")},
        {"no library's text", [] { write_file("l.xml", "text</plist>"); }, usual + "--min-share 0",
         said("l.xml: is no iTunes library: no line holds a key of one")},
        {"other layout", [] { write_library("<key>Name</key>\n<key>Year</key>\n<key>Genre</key>\n", "x"); },
         usual + "--min-share=0",
         said("l.xml: has another layout: 3 of 3 keys without their value on their line")},
        {"not mounted", [] { fs::remove("a.mp3"), fs::remove("b.mp3"), fs::remove("c.mp3"); }, usual,
         said("l.xml: none of its 4 tracks will arrive") +
             said("l.xml: 0 records to come, less than 80 percent of the 3 in " + items +
                  "; if that is meant, run it once with --min-share 0 (gone would be 3 (a.mp3, b.mp3, "
                  "c.mp3))")},
        {"fewer", [] { fs::remove("b.mp3"); }, usual + "--min-share 67",
         said("l.xml: 2 records to come, less than 67 percent of the 3 in " + items +
              "; if that is meant, run it once with --min-share 0 (gone would be 1 (b.mp3))")},
        {"items that can not be read", [] { fs::remove(items), fs::create_directory(items); }, usual,
         said(items + ": Is a directory")},
        {"nowhere to work", [] {}, usual + "-playlist-dir /proc",
         said("/proc: no directory can be made there: No such file or directory")},
        {"escape sequences", [] {}, "-dbdir db -itunes-lib \"$(printf '\\033[2J')\"",
         said("\\x1B[2J: No such file or directory") +
             said("\\x1B[2J: was not imported; last night's files stay"),
         false},
        {"a library where a playlist goes", [] { fs::rename("l.xml", one); }, usual + "-itunes-lib " + one,
         said(one + ": would be replaced by the new file of this name") +
             said(one + ": was not imported; last night's files stay"),
         false},
        {"a page in place of the library", [] {}, usual + "--page ./l.xml", said("./l.xml: " + own_file),
         false},
        {"a page where the first items file goes", [] { fs::remove(items); }, usual + "--page " + items,
         said(items + ": " + own_file), false},
        {"a page in place of a folder", [] {}, usual + "--page pl",
         said("pl: is no regular file, which a page could replace"), false},
        {"a log in the items file", [] {}, usual + "-logfile " + items, said(items + ": " + own_file), false},
        {"no database", [] {}, usual + "-dbdir absent",
         said("absent: can not be locked: No such file or directory"), false},
        {"a path that would be cut", [] {}, usual + "-dbdir " + std::string(641, 'x'),
         said(std::string(641, 'x') + ": the path is too long"), false},
        {"a library's path that would be cut", [] {}, "-dbdir db -itunes-lib " + std::string(1024, 'x'),
         said(std::string(1024, 'x') + ": the path is too long"), false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const House house;
        EXPECT_EQ(night(), "0");
        row.trouble();
        const auto tree = [] { return fs::is_fifo("l.xml") ? read_tree("db") : read_tree("."); };
        const Tree before = tree();
        EXPECT_EQ(night(row.arguments), "1: " + row.said_first + (row.is_begun ? stays : ""));
        EXPECT_EQ(tree(), before);
    }
}

// One write takes less, as on a disk that has just become full; the next one says why.
TEST(Night, SaysWhyWritingFailed) {
    const House house;
    write_library(tracks, playlist("Long", "p1", std::vector<int>(5000, 1)));
    EXPECT_EQ(run_line("ulimit -f 200; night " + usual).err,
              said("l.xml: while it was imported, writing failed: File too large") + stays);
}

TEST(Night, SeesWhatIsMissingInItsFiles) {
    const House house;
    std::vector<int> many(5000, 1); // so that entries lie across the blocks that are read
    write_library(tracks, playlist("One", "p1", many));
    EXPECT_EQ(night(), "0");
    EXPECT_EQ(items_fault(items, 3), "");
    EXPECT_EQ(items_fault(items, 4), "the new items file holds 3 of 4 records");
    EXPECT_EQ(items_fault("none", 0), "the new items file is not whole: it is not there");
    strcpy(import_run.library_path, "l.xml");
    CheckedPlaylist playlist;
    playlist.title = "One";
    playlist.type = "M";
    const std::string whole = read_file(one);
    const std::tuple<std::string, uint32_t, std::string> rows[] = {
        {whole, 5000, ""},
        {whole, 5001, "holds 5000 of 5001 entries"},
        {"", 0, "is damaged at its beginning"},
        {replaced(whole, "l.xml", "k.xml"), 5000, "is damaged at its beginning"},
        {whole.substr(0, whole.size() - 1), 5000, "is cut short"},
    };
    for (const auto& [bytes, entries, fault] : rows) {
        write_file("copy", bytes);
        playlist.entries = entries;
        EXPECT_EQ(playlist_fault("copy", playlist), fault);
    }
    EXPECT_EQ(playlist_fault("none", playlist), "No such file or directory");
}

TEST(Night, WaitsForNoOther) {
    const House house;
    const int database = open("db", O_RDONLY);
    ASSERT_EQ(flock(database, LOCK_EX), 0);
    EXPECT_EQ(night(), "1: " + said("db: another run is at work there; nothing was done"));
    EXPECT_EQ(read_tree("db"), Tree());
    close(database);
    EXPECT_EQ(night(), "0");
}

TEST(Night, ComparesAsItWasAsked) {
    const House house;
    const std::string arrived = "tracks and 2 of 3 playlists arrived; new since the last time: ";
    EXPECT_EQ(night(usual + "--verbose"),
              "0: " + said("l.xml: 3 of 4 " + arrived + "3 (a.mp3, b.mp3, c.mp3), gone: 0"));
    fs::remove("b.mp3");
    EXPECT_EQ(night(usual + "--min-share 66 --verbose"),
              "0: " + said("l.xml: 2 of 4 " + arrived + "0, gone: 1 (b.mp3)"));
    std::string many;
    for (const char* file : {"d", "e", "f", "g"}) {
        write_file(file, "");
        many += track(file[0], file);
    }
    write_library(tracks + many, playlists);
    EXPECT_EQ(night(usual + "--verbose"),
              "0: " + said("l.xml: 6 of 8 " + arrived + "4 (d, e, f, ...), gone: 0"));
    write_library(many, playlists);
    EXPECT_EQ(night(usual + "--min-share 0"), "0");
}

TEST(Night, MakesASpoiledItemsFileAnewAndSaysSo) {
    const std::string anew = items + ": there was nothing to compare with, the file has been made anew: ";
    const std::pair<const char*, std::string> rows[] = {
        {"", said(items + ": was empty and has been made anew")},
        {"text", said(anew + "not an items file")},
        {">>>>\n14003Old\n>>", said(anew + "damaged at byte 14: the file ends inside this entry")},
    };
    for (const auto& [bytes, told] : rows) {
        const House house;
        write_file(items, bytes);
        EXPECT_EQ(night(), "0: " + told);
        EXPECT_EQ(read_file(items).size(), 3 * read_file(items).find(">>>>", 1));
    }
    const House house;
    write_library("", "");
    for (const char* first_or_later : {"first", "later"}) {
        EXPECT_EQ(night(), "0") << first_or_later;
        EXPECT_EQ(read_tree("db"), (Tree{{"itunes.import.items", ""}}));
    }
}

TEST(Night, LeavesOutWhatAnImportLeavesInItsWorkspace) {
    const House house;
    write_library(tracks, playlist("A%%B", "p1", {1}) + playlist(std::string(250, 'x'), "p2", {1}) +
                              playlist("A/B", "p3", {1}) + playlist("A:B", "p4", {2, 1}));
    EXPECT_EQ(night(), "0");
    const Tree left = read_tree("pl");
    ASSERT_EQ(left.size(), 1U);
    EXPECT_NE(left.at("iTunes-playlist-A_B##M.wpl").find("<title>A:B<"), std::string::npos);
}

TEST(Night, SaysWhatIsOldWherePublishingEndsHalfWay) {
    const House house;
    write_file(one + "/mine", "");
    EXPECT_EQ(night(),
              "1: " + said(one + ": stays as it was, the new one could not be moved there: Is a directory"));
    EXPECT_EQ(read_tree("pl").size(), 3U);
    EXPECT_NE(read_file(items), "");
}

TEST(Night, GoesOnWithoutALogAndSaysSo) {
    for (const auto& [log, reason] : {std::pair("db", "Is a directory"),
                                      {"/dev/full", "No space left on device"},
                                      {"pipe", "No such device or address"}}) {
        const House house;
        ASSERT_EQ(mkfifo("pipe", 0600), 0); // which nobody reads
        EXPECT_EQ(night(usual + "-logfile " + log),
                  "1: " + said(log + (": can not be written: " + std::string(reason))));
        EXPECT_EQ(read_tree("pl").size(), 2U);
    }
}

TEST(Night, RemovesWhatKilledNightsLeftAndNothingElse) {
    const House house;
    const std::string mark = "/made-by-itunes-import-night";
    const Tree kept = {
        {"db/.itunes-import-night-mine12", "a file of that length"},
        {"db/.itunes-import-night-withot/itunes.import.temp.items", "no mark"},
        {"db/.itunes-import-night-longer-name" + mark, ""},
        {"db/itunes-import-night-abcdef" + mark, ""},
        {"db/.itunes-import-night-shared" + mark, ""},
        {"db/.itunes-import-night-shared/notes", "the user's"},
        {"db/itunes-import-night/notes", "the user's"},
        {"other/" + mark, ""},
        {"other/itunes.import.temp.items", "behind a link"},
        {"pl/.itunes-import-night-locked" + mark, ""},
    };
    for (const auto& [path, bytes] : kept) {
        write_file(path, bytes);
    }
    fs::create_symlink("../other", "db/.itunes-import-night-linked");
    const int locked = open("pl/.itunes-import-night-locked", O_RDONLY);
    ASSERT_EQ(flock(locked, LOCK_EX), 0);
    for (const std::string left : {"db/.itunes-import-night-killed", "pl/.itunes-import-night-killed"}) {
        for (const char* name : {"/made-by-itunes-import-night", "/itunes.import.temp.items", "/library.xml",
                                 "/.itunes-prepare.1", "/iTunes-playlist-One##M.wpl"}) {
            write_file(left + name, "");
        }
    }
    write_file("db/.itunes-import-night-shared/itunes.import.temp.items", "the night's");
    fs::create_directory("pl/.itunes-import-night-begun0");
    EXPECT_EQ(night(), "0");
    close(locked);
    for (const auto& [path, bytes] : kept) {
        EXPECT_TRUE(fs::exists(path) && read_file(path) == bytes) << path;
    }
    for (const char* path :
         {"db/.itunes-import-night-killed", "pl/.itunes-import-night-killed",
          "pl/.itunes-import-night-begun0", "db/.itunes-import-night-shared/itunes.import.temp.items"}) {
        EXPECT_FALSE(fs::exists(path)) << path;
    }
    EXPECT_TRUE(fs::is_symlink("db/.itunes-import-night-linked"));
}

TEST(Night, PreparesTheLibraryAndNamesTheUsersOwn) {
    const House house;
    const std::string whole = library(whole_track(1, text("Location", "file://localhost/Users/anna/a.mp3")),
                                      whole_playlist("One", "P", {1}));
    write_file("media/anna/a.mp3", "");
    const std::pair<std::string, std::string> rows[] = {{"my.wpl", " --prepare --map /Users/anna=\"$PWD\""},
                                                        {"itunes-import-temp", " --media=media"},
                                                        {"itunes.import.items", " --media \"$PWD/media\""}};
    for (const auto& [name, options] : rows) {
        SCOPED_TRACE(name);
        write_file(name, whole);
        EXPECT_EQ(night("-dbdir db -playlist-dir pl -itunes-lib " + name + options), "0");
        const std::string file = read_file(one);
        EXPECT_NE(file.find("\"OrigFilename\" content=\"" + name + "\""), std::string::npos) << file;
        EXPECT_NE(file.find("/a.mp3\" />"), std::string::npos) << file;
        EXPECT_EQ(read_tree("db").size(), 1U);
    }
    const Tree before = read_tree(".");
    write_file("cut.xml", whole.substr(0, whole.size() - 9));
    EXPECT_TRUE(night("-dbdir db -itunes-lib cut.xml --prepare")
                    .starts_with("1: itunes-import-night: cut.xml: could not be prepared: cut.xml: line "));
    std::filesystem::remove("cut.xml");
    EXPECT_EQ(read_tree("."), before);
}

TEST(Night, ShowsAPageOfABadNightToo) {
    const House house;
    const auto page_holds = [](const std::string& text) {
        return read_file("p.html").find(text) != std::string::npos;
    };
    EXPECT_EQ(night(), "0");
    fs::remove("a.mp3");
    EXPECT_TRUE(night(usual + "--page=p.html").starts_with("1: "));
    EXPECT_TRUE(page_holds("<p class=\"bad\">l.xml: 2 records to come, less than 80 percent of the 3"));
    EXPECT_TRUE(page_holds(">Tracks: 2 of 4 will arrive<"));
    EXPECT_TRUE(page_holds(": 0 new, 1 gone<"));
    EXPECT_TRUE(night("-dbdir db -itunes-lib none --page=p.html").starts_with("1: "));
    EXPECT_TRUE(page_holds("none: No such file or directory"));
    EXPECT_EQ(night(usual + "--min-share 0 --page none/p.html"),
              "1: " + said("none/p.html: the page can not be written: No such file or directory"));
    write_file("l.xml", library(at_path(1, "b.mp3"), whole_playlist("R+B", "p", {1})));
    EXPECT_EQ(night(usual + "--min-share 0 --page p.html"), "0");
    EXPECT_TRUE(page_holds("with another title of a playlist<code>R+B</code>"));
    EXPECT_EQ(night(usual + "--media . --page p.html"), "0");
    EXPECT_TRUE(page_holds(": 0 new, 0 gone<"));
    EXPECT_TRUE(
        page_holds("<h2>What the preparation did</h2>\n<pre>itunes-prepare: 1 tracks, 1 playlists\n"));
}

TEST(Night, IsAskedInManyWays) {
    const std::pair<const char*, const char*> wrong[] = {
        {"", "-dbdir is missing"},
        {"-dbdir db", "-itunes-lib is missing"},
        {"-dbdir -itunes-lib l.xml", "option '-dbdir' needs a value"},
        {"-dbdir ''", "option '-dbdir' needs a value"},
        {"--map", "option '--map' needs a value"},
        {"--map =here", "--map takes FROM=TO, not '=here'"},
        {"--map here", "--map takes FROM=TO, not 'here'"},
        {"--min-share abc", "--min-share takes a whole number from 0 to 100, not 'abc'"},
        {"--min-share=150", "--min-share takes a whole number from 0 to 100, not '150'"},
        {"-dbdir db l.xml", "unknown argument 'l.xml'"},
        {"-dbdir db -- -itunes-lib", "unknown argument '-itunes-lib'"},
    };
    for (const auto& [arguments, reason] : wrong) {
        const std::string text = night(arguments);
        EXPECT_EQ(text.substr(0, text.find("\nusage: itunes-import-night ")),
                  "2: itunes-import-night: " + std::string(reason));
    }
    EXPECT_EQ(night("-h"), night("--help"));
    expect_golden(run_line("night --help").out, "night-usage.txt");
    EXPECT_TRUE(night("--version").starts_with("0: itunes-import-night 1."));
    const House house;
    const std::string longest = "." + std::string(637, '/') + "db";
    EXPECT_EQ(night("--itunes-lib=l.xml --dbdir other --dbdir=" + longest + " -- "), "0");
    EXPECT_EQ(read_tree("db").size(), 3U);
}
