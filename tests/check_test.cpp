// Holds itunes-check against the import, and what it says of a crafted library against a text in
// tests/golden/. More libraries to hold it against can stand in a folder that the environment variable
// ITUNES_IMPORT_LIBRARIES names.

#include "tests/companion_fixture.h"

#include <random>
#include <sys/stat.h>
#include <unistd.h>

using namespace fixture;

namespace {

const std::string smart = "<key>Smart Info</key><data>AQ==</data>\n";

/// Tracks that are not there, in one folder.
std::string lost(int count, const std::string& folder, int first_id = 1) {
    std::string tracks;
    for (int id = first_id; id < first_id + count; ++id) {
        tracks += at_path(id, folder + "/" + std::to_string(id) + ".mp3", named("Song"));
    }
    return tracks;
}

using Check = Companion;

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
    std::string tracks = at_path(1, "1.mp3");
    std::string playlists;
    for (int id = 2; id < 40; ++id) {
        tracks += at_path(random() % 8 == 0 ? 7 : id, any({"a.mp3", "b.m4v", "", "//host/c"}),
                          any({"", flag("Protected"), text("Track Type", "URL"), named("A+%41&#38;"),
                               text("Genre", "R&amp;B"), "<key>Album</key>\n<string>X</string>\n"}));
        playlists += whole_playlist(
            any({"A/B", "A B", "A&#38;B", "A+B", "Music", "100%% x", "Ü", std::string(250, 'n')}),
            std::to_string(id), {1, id}, any({"", smart, flag("Videos"), flag("Folder"), inside("3")}));
    }
    return library(tracks, playlists);
}

/// The bundled library, and all in the folder that ITUNES_IMPORT_LIBRARIES names.
std::vector<std::string> real_libraries() {
    std::vector<std::string> libraries;
    const char* more = getenv("ITUNES_IMPORT_LIBRARIES");
    for (const std::string& place : {source_path("examples"), std::string(more == nullptr ? "." : more)}) {
        for (const auto& entry : std::filesystem::directory_iterator(place)) {
            if (entry.path().extension() == ".xml") {
                libraries.push_back(read_file(entry.path()));
            }
        }
    }
    return libraries;
}

TEST_F(Check, ListsWhatAnImportWrites) {
    std::vector<std::string> libraries = real_libraries();
    ASSERT_FALSE(libraries.empty());
    for (size_t index = libraries.size(); index-- > 0;) {
        libraries.push_back(moved(libraries[index]));
    }
    for (unsigned seed = 0; seed < 10; ++seed) {
        libraries.push_back(moved(random_library(seed)));
    }
    for (const std::string& each : libraries) {
        write_file("l.xml", each);
        std::filesystem::create_directory("db");
        run_line("import -dbdir db -itunes-lib l.xml");
        const RunResult result =
            run_line("check --list l.xml | sed -n 's/^track\trecord\t.*\t//p; "
                     "s/^playlist\tfile\t\\(.*\\)\t.*/\\1/p' | sort >list; "
                     "{ items db/*items | sed -n 's/^res: //p'; ls db | grep wpl; } | sort | diff list -");
        EXPECT_EQ(result.status, 0) << result.out << each.substr(0, 2000);
        std::filesystem::remove_all("db");
    }
}

TEST_F(Check, TellsWhatBecomesOfAll) {
    write_file("media/There.mp3", "");
    write_file("iTunes.tmp", ""); // of the kind that an import deletes
    const std::string there = text("Location", "file:media/There.mp3");
    const std::string tracks =
        whole_track(1, named("There &amp; %1B[2J\\%FF") + there) +
        at_path(2, "media/there.mp3", named("Respelled")) + at_path(3, "media/x/a.mp3", named("A")) +
        at_path(4, "media/x/b.m4v", named("B")) + at_path(5, "media/There.mp3/c", named("C")) +
        at_path(6, "/none/%1B%C2%85.mp3", "<key>Artist</key>\n<string>X</string>\n") +
        whole_track(7, named("P") + flag("Protected") + there) + whole_track(8, flag("Protected")) +
        whole_track(9, named("In the cloud")) +
        whole_track(10, named("Radio") + text("Track Type", "URL") + text("Location", "file://radio"));
    const std::string playlists =
        whole_playlist("F%1B", "f", {}, flag("Folder")) + whole_playlist("A/B", "1", {1, 9, 4}, inside("f")) +
        whole_playlist("A B", "2", {2}, inside("f")) + whole_playlist("100%%", "3", {1}) +
        whole_playlist("Videos", "4", {4}) + whole_playlist(std::string(250, 'n'), "5", {1}) +
        whole_playlist("", "6", {1}) +
        whole_playlist("Mediathek", "7", {1}, flag("Master") + "<key>Visible</key><false/>\n") +
        whole_playlist("Empty", "8", {9}) + whole_playlist("Smart", "9", {1}, smart) +
        whole_playlist("Built in", "10", {1}, number("Distinguished Kind", "4")) +
        whole_playlist("Music", "11", {1}) + whole_playlist("R&#38;B", "12", {1}) +
        whole_playlist("&#60;b>", "13", {1}) + "<dict>\n" + inside("f") + with_id("14") + named("Late") +
        items_key + "<array>\n" + plays(1) + "</dict>\n</array>\n</dict>\n";
    write_file("-l.xml", library(tracks, playlists));
    const Tree before = read_tree(".");
    const std::string well =
        said({"cat ./-l.xml", "check -- -l.xml", "check --list -- -l.xml", "check --json -- -l.xml"});
    EXPECT_EQ(read_tree("."), before);
    const std::string bad =
        said({"sed 's|</key><s|</key>\\n<s|' ./-l.xml | head -n 16 >bad.xml; cat bad.xml; check bad.xml"});
    expect_golden(well + bad, "check_outputs.txt");
}

TEST_F(Check, SaysWhatIsReadOtherwiseThanItIsMeant) {
    write_file("1.mp3", "");
    const std::string items = items_key + "<array>\n" + plays(1) + "</dict>\n</array>\n</dict>\n";
    const auto p = [](const std::string& its_name, const std::string& lines = "") {
        return whole_playlist(its_name, its_name, {1}, lines);
    };
    const struct {
        std::string track, playlists, losses;
    } rows[] = {
        {"</dict>\n<key>2</key>\n<dict>\n" + number("Track ID", "1"), "", "track-ids\t1\t1\n"},
        {"", p("R+B") + p("R B"), "titles\t1\tR+B\n"},
        {"<key>Artist</key>\n<string>X</string>\n", "", "values\t1\tline 9: Artist\n"},
        {"", "<dict>\n" + named("P") + "<key>Playlist Persistent ID</key>\n<string>p</string>\n" + items,
         "no-file\t1\tP\nvalues\t1\tline 16: Playlist Persistent ID\n"},
        {"", p("P", inside("Q")) + p("Q", inside("P")), ""},                         // a circle
        {"", "<dict>\n<key >Name</key><string>P</string>\n" + items + p("R+B"), ""}, // unlike
        {"&", p("R+B"), ""},                                                         // damaged before
    };
    for (const auto& row : rows) {
        write_file("l.xml", library(at_path(1, "1.mp3", row.track), row.playlists));
        EXPECT_EQ(run_line("check --list l.xml | sed -n 's/^loss\t//p'").out, row.losses) << row.playlists;
    }
    EXPECT_NE(run_line("check --json l.xml | tail -n 1").out.find("\"damage\":\"line "), std::string::npos);
}

/// The library with each playlist's Name behind its other keys, as iTunes 12.3 and later write it.
std::string with_late_names(std::string library_text) {
    size_t name = library_text.find("<key>Playlists</key>");
    while ((name = library_text.find("<key>Name</key>", name)) != std::string::npos) {
        const size_t next_line = library_text.find('\n', name) + 1;
        const size_t end = std::min(library_text.find(items_key, name), library_text.find("</dict>", name));
        const std::string line = library_text.substr(name, next_line - name);
        library_text.insert(end, line).erase(name, line.size());
        name = end;
    }
    return library_text;
}

/// The value of a field as it is written in a JSON object; "" for none.
std::string field(const std::string& object, const std::string& name) {
    const size_t at = object.find("\"" + name + "\":");
    const size_t start = at + name.size() + 3;
    return at == std::string::npos ? "" : object.substr(start, object.find(",\"", start) - start);
}

/// What an import of a library brings, as JSON objects: playlists by their number, records by their path.
std::map<std::string, std::string> brought_by(const std::string& library_path) {
    run_line("import -dbdir . -itunes-lib " + library_path);
    const RunResult result =
        run_line("check --json " + library_path + " | grep '\"kind\":\"playlist\"'; items --json *.items");
    std::map<std::string, std::string> brought;
    for (const std::string& object : split(result.out, '\n')) {
        const std::string path = field(object, "res");
        brought[path.empty() ? std::to_string(brought.size()) : path] = object;
    }
    return brought;
}

/// What the import of a library as it stands brings otherwise than that of its prepared copy.
std::map<std::string, int> lost_without(const std::string& prepared_path, const std::string& library_path) {
    std::map<std::string, int> losses;
    const std::map<std::string, std::string> prepared = brought_by(prepared_path);
    for (const auto& [key, one] : brought_by(library_path)) {
        const std::string& other = prepared.at(key);
        const bool has_file = field(one, "file") != "null";
        if (has_file != (field(other, "file") != "null")) {
            ++losses[has_file ? "extra-file" : "no-file"];
            continue;
        }
        const std::string title = field(one, "title"), full_title = field(other, "title");
        if (has_file && title != full_title) {
            ++losses[full_title.ends_with("/" + title.substr(1)) ? "folders" : "titles"];
        }
        if (field(one, "outcome") == "\"replaced\"" && field(other, "outcome") == "\"file\"") {
            ++losses["replaced"];
        }
        const std::map<std::string, std::string> kinds = {
            {"entries", "entries"}, {"dc:title", "track-titles"}, {"upnp:genre", "track-texts"}};
        for (const auto& [name, kind] : kinds) {
            const std::string value = field(one, name); // what is not there is lost with its line
            if (!value.empty() && value != field(other, name) && has_file) {
                ++losses[kind];
            }
        }
    }
    return losses;
}

TEST_F(Check, SaysWhatAPreparedCopyWouldKeep) {
    std::vector<std::string> libraries = real_libraries();
    for (unsigned seed = 0; seed < 6; ++seed) {
        libraries.push_back(random_library(seed));
    }
    for (size_t index = 0; index < 2 * libraries.size(); ++index) {
        const std::string& each = libraries[index / 2];
        write_file("l.xml", moved(index % 2 == 0 ? each : with_late_names(each)));
        if (run_line("prepare l.xml p.xml").status != 0) {
            continue; // no property list
        }
        std::map<std::string, int> said; // but for what a prepared copy does not show
        for (const std::string& line : split(run_line("check --list l.xml | grep ^loss").out, '\n')) {
            const std::vector<std::string> loss = split(line, '\t');
            if (loss.size() > 2 && loss[1] != "values" && loss[1] != "track-ids") {
                said[loss[1]] = std::stoi(loss[2]);
            }
        }
        EXPECT_EQ(said, lost_without("p.xml", "l.xml")) << index << each.substr(0, 500);
    }
}

TEST_F(Check, ShowsFortyPlaylistsAndTheirNumber) {
    std::string playlists =
        whole_playlist("All", "all", {1}, flag("Master") + "<key>Visible</key><false/>\n");
    for (int number = 0; number < 42; ++number) {
        playlists += whole_playlist("List " + std::to_string(number), std::to_string(number), {1});
    }
    write_file("l.xml", library(at_path(1, "l.xml"), playlists));
    const std::string summary = run_line("check l.xml | grep -A 4 'List 39$'").out;
    EXPECT_EQ(summary, "         List 39\n           music, 1 of 1 item, iTunes-playlist-List_39##M.wpl\n"
                       "         and 2 more; --list shows all\n"
                       "       1 not in the folder list: the list of all tracks\n           All\n");
}

/// What comes behind "What to do".
std::string advice(const std::string& library_text) {
    write_file("l.xml", library_text);
    return run_line("check l.xml | sed '1,/^What to do/d'").out;
}

TEST_F(Check, SaysWhatToDo) {
    const std::string here = folder_.path();
    const std::string copy = "    itunes-prepare 'l.xml' prepared.xml\n";
    const auto map = [](const std::string& word) {
        return "    itunes-prepare --map " + word + "=DIR \\\n      'l.xml' prepared.xml\n";
    };
    const auto files_of = [&](const std::string& shown, const std::string& word) {
        return "  If the files of " + shown + "\n  are in DIR:\n" + map(word);
    };
    const std::string gone_word = here + "/it'\\''s/gone'";
    write_file("there/Song.mp3", "");
    std::string wide_library = "\xFF\xFE"; // UTF-16, which no line of the import's is
    for (const char byte : library("")) {
        (wide_library += byte) += '\0';
    }
    const struct {
        std::string library_text, advice;
    } rows[] = {
        {library(lost(20, here + "/it's/gone")),
         "  If the files of " + here + "/it's/gone\n  are in DIR, one of these:\n    mkdir -p '" + here +
             "/it'\\''s' &&\n      ln -s DIR '" + gone_word + "\n    mkdir -p '" + gone_word + " &&\n      " +
             (geteuid() == 0 ? "" : "sudo ") + "mount --bind DIR '" + gone_word + "\n" +
             map("'" + gone_word)},
        // Folders beside one another have one map, unless another one there holds files.
        {library(lost(20, "E:/music/English") + lost(21, "E:/music/Hindi", 30)),
         files_of("E:/music", "'E:/music'")},
        {library(lost(20, "C:/a/x") + lost(21, "D:/50%=1/2", 30) + lost(22, "F:/c/x", 60)),
         files_of("F:/c/x", "'F:/c/x'") + files_of("D:/50%=1/2", "'file://localhost/D:/50%25%3D1/2'") +
             "  For more than one folder give each its --map in one itunes-prepare command.\n"},
        {library(lost(20, "C:/none/%1B=")),
         files_of("C:/none/\\x1B=", "$'file://localhost/C:/none/\\x1B%3D'")},
        {library(lost(23, here + "/there")),
         "  " + here + "/there is there, none of its 23 files is:\n  where they are a folder higher or " +
             "deeper, in DIR:\n" + map("'" + here + "/there'")},
        {library(at_path(1, "there/song.mp3")), "  Import a copy with the paths that the disk has:\n" + copy},
        {is_emulated ? library(at_path(1, "there/song.mp3")) // the emulator lists another root directory
                     : library(lost(1, here + "/there") + at_path(2, here + "/there/SONG.mp3")), // half
         "  Import a copy with the paths that the disk has:\n" + copy},
        {wide_library,
         "  Import a copy in the layout that the import reads:\n" + copy +
             "  and check it again, since the layout may hide more:\n    itunes-check prepared.xml\n"},
        {library(at_path(1, "there/Song.mp3"), whole_playlist("R+B", "1", {1})),
         "  Import a copy that the import reads as the library means it:\n" + copy},
        {library(at_path(1, "/none/&")),
         "  Export the library anew: it is damaged, and itunes-prepare refuses it.\n"},
        {library(whole_track(1, "") + whole_track(2, flag("Protected"))),
         "  Download the tracks that are in the cloud only; of protected ones it takes\n"
         "  unprotected copies. No track of the library can be played from a file.\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(advice(row.library_text), row.advice);
    }
    write_file("C:/there/Song.mp3", "");
    const std::string beside =
        lost(20, "C:/a") + lost(20, "C:/b", 30) + lost(20, "C:/there", 60) + at_path(99, "C:/there/Song.mp3");
    EXPECT_NE(advice(library(beside)).find(map("'C:/a'")), std::string::npos);
}

TEST_F(Check, TellsHowToOpenAFolderToThisUser) {
    const std::string other_user = "setpriv --reuid=65534 --regid=65534 --clear-groups " TEST_EMULATOR " ";
    std::filesystem::copy_file(TEST_BUILD_DIR "/itunes-check", "program");
    std::filesystem::permissions(".", std::filesystem::perms(0755));
    if (run_line(other_user + "./program -h").status != 0) {
        GTEST_SKIP() << "needs root, and a TMPDIR that others may enter";
    }
    write_file("closed/in/1.mp3", "");
    write_file("l.xml", library(lost(1, folder_.path() + "/closed/in")));
    const struct {
        uid_t owner;
        gid_t group;
        mode_t mode;
        std::string command;
    } rows[] = {{0, 0, 0770, "sudo chmod o"}, {0, 65534, 0707, "sudo chmod g"}, {65534, 0, 0677, "chmod u"}};
    for (const auto& row : rows) {
        EXPECT_EQ(chown("closed", row.owner, row.group) | chmod("closed", row.mode), 0);
        const std::string said = run_line(other_user + "./program l.xml").out;
        EXPECT_NE(said.find("user " + std::to_string(row.owner) + "; whoever owns it can open it:\n    " +
                            row.command + "+x '" + folder_.path() + "/closed'\n"),
                  std::string::npos)
            << said;
    }
}

TEST_F(Check, FailsWithALine) {
    write_file("l.xml", library(at_path(1, "l.xml")));
    const std::string usage = run_line("check -h").out;
    expect_golden(usage, "check-usage.txt");
    const std::string share = "--min-share takes a whole number from 0 to 100, not ";
    const std::string no_scratch = "can not make a directory below TMPDIR: ";
    const std::string lost_output = "can not write standard output: ";
    const auto long_path = [](const char* length) {
        return "TMPDIR=$(printf %0" + std::string(length) + "d 0 | sed 's|0|./|g')";
    };
    const struct {
        std::string line;
        int status; // the usage follows on 2
        std::string err;
    } rows[] = {
        {"check", 2, "the library is missing"},
        {"check --list --json l.xml", 2, "--list and --json exclude each other"},
        {"check l.xml b\x1B.xml", 2, "one library at a time: 'b\\x1B.xml' is one too many"},
        {"check l.xml --items", 2, "option '--items' needs a value"},
        {"check --items= l.xml", 2, "--items needs the name of a file"},
        {"check --min-share 50 l.xml", 2, "--min-share needs --items"},
        {"check --items=i --min-share=101 l.xml", 2, share + "'101'"},
        {"check --items=i --min-share=1x l.xml", 2, share + "'1x'"},
        {"check --items=i --min-share=0060 l.xml", 2, share + "'0060'"},
        {"check -- --help", 1, "--help: No such file or directory"},
        {"check .", 1, ".: is a directory"},
        {"ln -s l.xml k; check l.xml --page k", 1, "k: is the library itself, which no page may replace"},
        {"touch i; check --items i --page ./i l.xml", 1,
         "./i: is the items file itself, which no page may replace"},
        {"mkfifo f; check f", 1, "f: is no regular file"},
        {"check $(printf %01024d 0)", 1, std::string(1024, '0') + ": the path is too long"},
        {"check $(printf %01023d 0)", 1, std::string(1023, '0') + ": File name too long"},
        {"check --version >/dev/full", 1, lost_output + "No space left on device"},
        {"check l.xml >/dev/full", 1, lost_output + "No space left on device"},
        {"check --list l.xml >&-", 1, lost_output + "Bad file descriptor"},
        {long_path("246") + " check l.xml", 1, no_scratch + "File name too long"},
    };
    for (const auto& row : rows) {
        const RunResult result = run_line(row.line);
        EXPECT_EQ(result.status, row.status) << row.line;
        EXPECT_EQ(result.err, "itunes-check: " + row.err + "\n" + (row.status == 2 ? usage : ""));
        EXPECT_EQ(result.out, "");
    }
    for (const std::string& options :
         {long_path("245") + "/ check", std::string("TMPDIR= check --list --list")}) {
        EXPECT_EQ(run_line(options + " l.xml").status, 0) << options;
    }
    EXPECT_EQ(run_line("check l.xml <&- >&- 2>&-").status, 1); // its result got lost
    EXPECT_EQ(run_line("echo '</plist>' >n; check n").err,
              "itunes-check: n: is no iTunes library: no line holds a key of one\n");
    write_file("l.xml", library(""));
    EXPECT_EQ(run_line("check l.xml").err, "");
    write_file("l.xml", library(lost(2, "none")));
    EXPECT_EQ(run_line("check l.xml").err, "itunes-check: l.xml: none of its 2 tracks will arrive\n");
    write_file("l.xml", library(at_path(1, "l.xml"), whole_playlist("Long", "1", std::vector(40, 1))));
    const RunResult full = run_line("(ulimit -f 1; check --json l.xml) | cat");
    EXPECT_NE(full.out.find("\"not_well_formed\":\"cut short\""), std::string::npos); // after a block
    write_file("l.xml", library(at_path(1, "l.xml", named(std::string(900, 'n')))));
    EXPECT_EQ(run_line("(ulimit -f 1; check l.xml | cat)").err,
              "itunes-check: the directory below TMPDIR is full: the result is not whole\n");
}

TEST_F(Check, ComparesWithThePresentItems) {
    write_file("l.xml", library(at_path(1, "l.xml") + at_path(2, "l.xml") + at_path(3, "l.xml")));
    const std::string five = ">>>>\n>>>>\n>>>>\n>>>>\n>>>>\n";
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
        {"", "", 0, "", "0"},
    };
    for (const auto& row : rows) {
        write_file("items", row.items);
        const std::string options = " --items items " + row.options + " l.xml";
        const RunResult result = run_line("check" + options);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.err, row.err);
        const std::string records = "\nRecords: 3 to come, " + row.present + " at present in items\n";
        EXPECT_NE(result.out.find(records), std::string::npos) << result.out;
        const std::string json = "\"present_records\":" + row.present + "}\n";
        EXPECT_TRUE(run_line("check --json" + options).out.ends_with(json));
    }
    EXPECT_EQ(run_line("check --items none l.xml").err, "");
    EXPECT_EQ(run_line("mkfifo pipe; check --items pipe --page p l.xml").err,
              "itunes-check: pipe: can not be read; there is nothing to compare with\n");
}

TEST_F(Check, LeavesNoScratchDirectoryWhenEnded) {
    write_file("l.xml", library(lost(4000, "none"))); // more lines than a pipe holds
    write_file("program", "exec " + program_words("itunes-check") + "\"$@\"");
    const std::string prepared = "mkdir -p scratch; export TMPDIR=scratch; ";
    EXPECT_EQ(run_line(prepared + "{ check --list l.xml; echo $? >end; } | head -n 1; cat end").out,
              "track\tmissing\t1\tSong\tnone/1.mp3\n141\n");
    EXPECT_EQ(run_line(prepared + "mkfifo out; sleep 20 <out & trap '' USR2\n"
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
    write_file("program", "exec " + program_words("itunes-check") + "\"$@\"");
    const auto shown = [](const std::string& arguments) {
        return run_line("script -qec 'sh program " + arguments + "' /dev/null </dev/null").out;
    };
    const std::string end = "\ritunes-check: 100 %\r" + std::string(21, ' ') + "\r";
    for (const char* arguments : {"l.xml", "--list l.xml >out"}) {
        const std::string out = shown(arguments);
        EXPECT_TRUE(out.starts_with("\ritunes-check:   1 %\ritunes-check:   2 %\r")) << out.substr(0, 200);
        EXPECT_NE(out.find("\ritunes-check:  80 %" + end), std::string::npos);
    }
    EXPECT_EQ(shown("--list l.xml").substr(0, 5), "track");
}

} // namespace
