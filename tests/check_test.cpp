// Holds itunes-check against the import, and what it says of a crafted library against a text in tests/golden/.
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

TEST_F(Check, TellsWhatBecomesOfAll) {
    write_file("media/There.mp3", "");
    write_file("iTunes.tmp", ""); // of the kind that an import deletes
    const std::string tracks =
        track(1, "media/There.mp3", named("There & \x1B[2J\\\xFF")) +
        track(2, "media/there.mp3", named("Respelled")) + track(3, "media/x/a.mp3", named("A")) +
        track(4, "media/x/b.m4v", named("B")) + track(5, "media/There.mp3/c", named("C")) +
        track(6, "/none/\x1B\xC2\x85.mp3", "<key>Artist</key>\n") +
        track(7, "media/There.mp3", named("P") + flag("Protected")) + nowhere(8, flag("Protected")) +
        nowhere(9, named("In the cloud")) + track(10, "//radio", named("Radio") + text("Track Type", "URL"));
    const std::string playlists =
        folder("F\x1B", "f") + playlist("A/B", "1", {1, 9, 4}, inside("f")) +
        playlist("A B", "2", {2}, inside("f")) + playlist("100%%", "3", {1}) + playlist("Videos", "4", {4}) +
        playlist(std::string(250, 'n'), "5", {1}) + playlist("", "6", {1}) +
        playlist("Hidden", "7", {1}, "<key>Visible</key><false/>\n") + playlist("Empty", "8", {9}) +
        playlist("Smart", "9", {1}, "<key>Smart Info</key>\n") +
        playlist("Built in", "10", {1}, "<key>Distinguished Kind</key>\n") + playlist("Music", "11", {1}) +
        playlist("R&#38;B", "12", {1}) + playlist("<b>", "13", {1}) + playlist("<i>fine</i>", "14", {1});
    write_file("-l.xml", library(tracks, playlists));
    const Tree before = read_tree(".");
    run("cat ./-l.xml", "check -- -l.xml", "check --list -- -l.xml", "check --json -- -l.xml");
    EXPECT_EQ(read_tree("."), before);
    run("sed 's|</key><s|</key>\\n<s|' ./-l.xml | head -n 16 >bad.xml; cat bad.xml; check bad.xml");
    expect_said("check_outputs.txt");
}

TEST_F(Check, ShowsFortyPlaylistsAndTheirNumber) {
    std::string playlists;
    for (int number = 0; number < 42; ++number) {
        playlists += playlist("List " + std::to_string(number), std::to_string(number), {1});
    }
    write_file("l.xml", library(track(1, "l.xml"), playlists));
    const std::string summary = result_of("check l.xml | tail -n 3").out;
    EXPECT_EQ(summary, "         List 39\n           music, 1 of 1 item, iTunes-playlist-List_39##M.wpl\n"
                       "         and 2 more; --list shows all\n");
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

/// What a run ends with and what it says on standard error; on standard output it says nothing.
struct Failure {
    std::string line;
    int status;
    std::string err;
};

TEST_F(Check, RefusesAWrongCommandLine) {
    const std::string usage = run_line("'" TEST_CHECK_PROGRAM "' -h").out;
    const Failure rows[] = {
        {"check", 2, "the library is missing"},
        {"check --list --json l.xml", 2, "--list and --json exclude each other"},
        {"check --json --list l.xml", 2, "--list and --json exclude each other"},
        {"check l.xml b\x1B.xml", 2, "one library at a time: 'b\\x1B.xml' is one too many"},
        {"check l.xml --items", 2, "option '--items' needs a value"},
        {"check --items= l.xml", 2, "--items needs the name of a file"},
        {"check --min-share 50 l.xml", 2, "--min-share needs --items"},
        {"check --items=i --min-share=101 l.xml", 2,
         "--min-share takes a whole number from 0 to 100, not '101'"},
        {"check --items=i --min-share= l.xml", 2, "--min-share takes a whole number from 0 to 100, not ''"},
        {"check --items=i --min-share=1x l.xml", 2,
         "--min-share takes a whole number from 0 to 100, not '1x'"},
        {"check --items=i --min-share=0060 l.xml", 2,
         "--min-share takes a whole number from 0 to 100, not '0060'"},
        {"check --unknown l.xml", 2, "unknown option '--unknown'"},
    };
    for (const Failure& row : rows) {
        const RunResult result = result_of(row.line);
        EXPECT_EQ(result.status, row.status) << row.line;
        EXPECT_EQ(result.err, "itunes-check: " + row.err + "\n" + usage);
        EXPECT_EQ(result.out, "");
    }
    write_file("l.xml", library(""));
    for (const char* line :
         {"check --help", "check --version", "check --list --list l.xml", "check -- l.xml"}) {
        EXPECT_EQ(result_of(line).status, 0) << line;
    }
    EXPECT_EQ(result_of("check l.xml <&- >&- 2>&-").status, 1); // its result got lost
}

TEST_F(Check, FailsWithALine) {
    write_file("l.xml", library(track(1, "l.xml")));
    const std::string no_scratch = "can not make a directory below TMPDIR: ";
    const std::string lost_output = "can not write standard output: ";
    const auto long_path = [](const char* length) {
        return "TMPDIR=$(printf %0" + std::string(length) + "d 0 | sed 's|0|./|g')";
    };
    const Failure rows[] = {
        {"check none", 1, "none: No such file or directory"},
        {"check -- --help", 1, "--help: No such file or directory"},
        {"check .", 1, ".: is a directory"},
        {"check /dev/null", 1, "/dev/null: is no regular file"},
        {"mkfifo f; check f", 1, "f: is no regular file"},
        {"check $(printf %01024d 0)", 1, std::string(1024, '0') + ": the path is too long"},
        {"check $(printf %01023d 0)", 1, std::string(1023, '0') + ": File name too long"},
        {"check --version >/dev/full", 1, lost_output + "No space left on device"},
        {"check --help >/dev/full", 1, lost_output + "No space left on device"},
        {"check l.xml >/dev/full", 1, lost_output + "No space left on device"},
        {"check --list l.xml >&-", 1, lost_output + "Bad file descriptor"},
        {"TMPDIR=none check l.xml", 1, no_scratch + "No such file or directory"},
        {"TMPDIR=/dev/null check l.xml", 1, no_scratch + "Not a directory"},
        {long_path("247") + " check l.xml", 1, no_scratch + "File name too long"},
    };
    for (const Failure& row : rows) {
        const RunResult result = result_of(row.line);
        EXPECT_EQ(result.status, row.status) << row.line;
        EXPECT_EQ(result.err, "itunes-check: " + row.err + "\n");
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(result_of(long_path("245") + " check l.xml").status, 0);
    EXPECT_EQ(result_of("TMPDIR= check l.xml").status, 0);
    write_file("l.xml", library(track(1, "l.xml"), playlist("Long", "1", std::vector(40, 1))));
    const RunResult full = result_of("(trap '' XFSZ; ulimit -f 1; check --json l.xml) | cat");
    EXPECT_NE(full.out.find("\"not_well_formed\":\"cut short\""), std::string::npos); // after a block
    write_file("l.xml", library(track(1, "l.xml", named(std::string(900, 'n')))));
    EXPECT_EQ(result_of("(trap '' XFSZ; ulimit -f 1; check l.xml | cat)").err,
              "itunes-check: the directory below TMPDIR is full: the result is not whole\n");
}

TEST_F(Check, ComparesWithThePresentItems) {
    write_file("l.xml", library(track(1, "l.xml") + track(2, "l.xml") + track(3, "l.xml")));
    const std::string five = ">>>>\n>>>>\n>>>>\n>>>>\n>>>>\n";
    std::string large = ">>>>\n"; // than a record may be
    while (large.size() < 17 << 20) {
        large += "14FFF" + std::string(4095, 'v') + "\n";
    }
    const std::string damaged = "itunes-check: items: damaged or no items file; whole records: ";
    const std::string too_few = "itunes-check: l.xml: records to come: 3, less than ";
    const struct {
        std::string items, options;
        int status;
        std::string err, present;
    } rows[] = {
        {five, "", 1, too_few + "80 percent of the 5 in items\n", "5"},
        {five, "--min-share 60", 0, "", "5"},
        {five, "--min-share 61", 1, too_few + "61 percent of the 5 in items\n", "5"},
        {five + "16004Ba", "--min-share 0", 0, damaged + "4\n", "4"},
        {five + large + five, "--min-share 0", 0, damaged + "5\n", "5"},
        {"<?xml", "", 0, damaged + "0\n", "0"},
        {"", "", 0, "", "0"},
    };
    for (const auto& row : rows) {
        write_file("items", row.items);
        const RunResult result = result_of("check --items items " + row.options + " l.xml | grep ^Records");
        EXPECT_EQ(result.out, "Records: 3 to come, " + row.present + " at present in items\n");
        EXPECT_EQ(result.err, row.err);
        EXPECT_EQ(result_of("check --json --items=items " + row.options +
                            " l.xml 2>&1 | "
                            "grep -c '\"present_records\":" +
                            row.present + "}$'")
                      .out,
                  "1\n");
        EXPECT_EQ(result_of("check --items items " + row.options + " l.xml").status, row.status);
    }
    EXPECT_EQ(result_of("check --items none l.xml").err, "");
    EXPECT_EQ(result_of("check --items . l.xml").err,
              "itunes-check: .: can not be read; there is nothing to compare with\n");
    EXPECT_EQ(result_of("check --items l.xml/x l.xml").err,
              "itunes-check: l.xml/x: can not be read; there is nothing to compare with\n");
}

TEST_F(Check, LeavesNoScratchDirectoryWhenEnded) {
    write_file("l.xml", library(lost(4000, "none"))); // more lines than a pipe holds
    write_file("program", "exec " TEST_EMULATOR " '" TEST_CHECK_PROGRAM "' \"$@\"");
    const std::string prepared = "mkdir -p scratch; export TMPDIR=scratch; ";
    EXPECT_EQ(result_of(prepared + "{ check --list l.xml; echo $? >end; } | head -n 1; cat end").out,
              "track\tmissing\t1\tSong\tnone/1.mp3\n141\n");
    EXPECT_EQ(result_of(prepared +
                        "mkfifo out; sleep 20 <out & trap '' USR2\n"
                        "for signal in HUP TERM XCPU PIPE ALRM USR1; do\n"
                        "  sh program --list l.xml >out &\n"
                        "  for tenth in $(seq 50); do [ -n \"$(ls scratch)\" ] || sleep 0.1; done\n"
                        "  kill -USR2 $!; kill -$signal $!; { wait $!; echo $?; } 2>/dev/null\n"
                        "done; kill %1 2>/dev/null")
                  .out,
              "129\n143\n152\n141\n142\n138\n");
    EXPECT_TRUE(std::filesystem::is_empty("scratch"));
}

TEST_F(Check, ShowsProgressOnATerminal) {
    write_file("l.xml", library(lost(3, "none"), std::string(4 << 20, 'x')));
    write_file("program", "exec " TEST_EMULATOR " '" TEST_CHECK_PROGRAM "' \"$@\"");
    const auto shown = [](const std::string& arguments) {
        return result_of("script -qec 'sh program " + arguments + "' /dev/null </dev/null").out;
    };
    std::string steps;
    for (int percent = 1; percent <= 40; ++percent) {
        steps += "\ritunes-check: " + std::string(percent < 10 ? "  " : " ") + std::to_string(percent) + " %";
    }
    steps +=
        "\ritunes-check:  60 %\ritunes-check:  80 %\ritunes-check: 100 %\r" + std::string(21, ' ') + "\r";
    EXPECT_EQ(shown("l.xml").substr(0, steps.size()), steps);
    EXPECT_EQ(shown("--list l.xml >out").substr(0, steps.size()), steps);
    EXPECT_EQ(shown("--list l.xml").substr(0, 5), "track");
}

} // namespace
