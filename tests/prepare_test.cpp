// itunes-prepare: what it writes, the import brings whole, whatever layout the library came in.

#include "tests/support.h"

#include <sys/stat.h>
#include <utility>

#include "tools/itunes-prepare/prepare.h"
#include "tools/shared/library_location.h"

namespace {

class Prepare : public testing::Test {
protected:
    static RunResult run(const std::vector<std::string>& arguments) {
        return run_program(TEST_PREPARE_PROGRAM, arguments);
    }
    /// What becomes of a library; the failure, where there is one.
    static std::string prepared(const std::string& library, bool looks = false) {
        write_file("in.xml", library);
        const PrepareResult result =
            prepare_library({.input = "in.xml", .output = "out.xml", .looks_for_spellings = looks});
        return result.failure.empty() ? read_file("out.xml") : result.failure;
    }
    TempDir folder;
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// The Name of a playlist behind its other keys, as iTunes 12.3 and later write it.
std::string with_names_late(const std::string& library) {
    const size_t playlists = library.find("<key>Playlists</key>");
    std::string moved = library.substr(0, playlists);
    std::string name;
    for (const std::string& line : split(library.substr(playlists), '\n')) {
        if (line.starts_with("\t\t\t<key>Name</key>")) {
            name = line + "\n";
            continue;
        }
        for (const char* follower : {"\t\t\t<key>Smart Info<", "\t\t\t<key>Playlist Items<", "\t\t</dict>"}) {
            if (line.starts_with(follower)) {
                moved += std::exchange(name, "");
            }
        }
        moved += line + "\n";
    }
    return moved;
}

/// The files of a library, empty, but for those that are called lost.
void lay_out_files(const std::string& library) {
    for (const std::string& line : split(library, '\n')) {
        const size_t start = line.find("file:", line.find("<key>Location<"));
        const size_t end = std::min(line.find("</string>"), line.size());
        if (start < end && line.find("(lost)") == std::string::npos) {
            write_file(path_of_location(replaced(line.substr(start, end - start), "&#38;", "&")).value(), "");
        }
    }
}

/// A library of tracks, each the keys of its dictionary, and playlists alike.
std::string library_of(const std::vector<std::string>& tracks, const std::vector<std::string>& playlists) {
    std::string text = "<plist><dict><key>Tracks</key><dict>";
    for (const std::string& keys : tracks) {
        text += "<key>0</key><dict>" + keys + "</dict>";
    }
    text += "</dict><key>Playlists</key><array>";
    for (const std::string& keys : playlists) {
        text += "<dict>" + keys + "</dict>";
    }
    return text + "</array></dict></plist>";
}
std::string location(const std::string& place) {
    return "<key>Location</key><string>" + place + "</string>";
}
std::string id(const std::string& number) {
    return "<key>Track ID</key><integer>" + number + "</integer>";
}
std::string plays(const std::string& number) {
    return "<key>Playlist Items</key><array><dict>" + id(number) + "</dict></array>";
}

} // namespace

TEST_F(Prepare, ALibraryArrivesFromEveryLayoutAsADirectImportHasIt) {
    const std::string bundled = read_file(source_path("examples/iTunes Music Library.xml"));
    // Written so that the import itself reads a plus sign.
    const std::string direct =
        replaced(replaced(bundled, "/music/library/", folder.path() + "/media/"), "Salt+", "Salt&#43;");
    lay_out_files(direct);
    write_file("library.xml", direct);
    write_file("direct/made", "");
    ASSERT_EQ(run_import({"-dbdir", "direct", "-itunes-lib", "library.xml"}).status, 0);
    const Tree expected = read_tree("direct");
    ASSERT_EQ(expected.size(), 13U);
    const size_t tracks = bundled.find("\t<key>Tracks</key>");
    const size_t playlists = bundled.find("\t<key>Playlists</key>");
    const size_t end = bundled.rfind("</dict>");
    const std::pair<const char*, std::string> layouts[] = {
        {"as it stands", bundled},
        {"key and value on lines of their own", replaced(bundled, "</key><", "</key>\n<")},
        {"all on one line", replaced(replaced(bundled, "\n", ""), "\t", "")},
        {"CRLF", replaced(bundled, "\n", "\r\n")},
        {"Name late", with_names_late(bundled)},
        {"Playlists before Tracks", bundled.substr(0, tracks) + bundled.substr(playlists, end - playlists) +
                                        bundled.substr(tracks, playlists - tracks) + bundled.substr(end)},
    };
    for (const auto& [name, text] : layouts) {
        SCOPED_TRACE(name);
        const std::string database = std::string("db ") + name;
        write_file("in.xml", text);
        write_file(database + "/made", "");
        EXPECT_EQ(run({"--map", "/music/library=media", "in.xml", "library.xml"}).status, 0);
        EXPECT_EQ(run_import({"-dbdir", database, "-itunes-lib", "library.xml"}).status, 0);
        EXPECT_EQ(read_tree(database), expected);
        const std::string written = read_file("library.xml");
        EXPECT_EQ(prepared(written), written); // whole, and nothing more to do
    }
}

TEST_F(Prepare, PlaylistsAreWrittenAsTheImportReadsThemBest) {
    const std::vector<std::string> tracks = {id("1") + location("file:///lost"),
                                             id("2") + location("file:///x") + "<key>Protected</key><true/>",
                                             id("3"), id("2147483647") + location("http://x")};
    const std::string videos = "<key>Videos</key><true/>";
    const std::string smart = "<key>Smart Info</key><data/>";
    const std::string named = "<key>Name</key><string>A</string>";
    const std::string hidden = "<key>Visible</key><false/>";
    const struct {
        const char* name;
        std::string keys;
        std::vector<std::string> lines; // between the persistent id and the items, and the items' numbers
    } rows[] = {
        {"videos", plays("1") + videos + named, {videos, "1"}},
        {"a stream", plays("2147483647") + videos, {videos, "2147483647"}},
        {"a protected track is not played", videos + plays("2"), {"2"}},
        {"nor one in the cloud", videos + plays("3"), {"3"}},
        {"nor one that is unknown", videos + plays("-1"), {"-1"}},
        {"smart videos", plays("1") + smart + videos, {"<key>Smart Info</key><data></data>", "1"}},
        {"a name without a file", "<key>Name</key><string>Podcasts</string>" + plays("1") + videos, {"1"}},
        {"built in",
         "<key>Distinguished Kind</key><integer> 0x04 </integer>" + plays("1"),
         {"<key>Distinguished Kind</key><integer>4</integer>", "1"}},
        {"a hidden folder plays nothing",
         plays("1") + hidden + "<key>Folder</key><true/>",
         {"<key>Folder</key><true/>", hidden}},
        {"podcasts", "<key>Podcasts</key><true/>" + plays("1"), {"<key>Podcasts</key><true/>", "1"}},
        {"a parent",
         plays("1") + "<key>Parent Persistent ID</key><string>P</string>" + named,
         {"<key>Parent Persistent ID</key><string>P</string>", "1"}},
        {"a parent of no name", plays("1") + "<key>Parent Persistent ID</key><string>P</string>", {"1"}},
        {"numbers of no track", plays("0") + plays("2147483648") + plays("x"), {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string library = library_of(tracks, {row.keys});
        const std::string result = replaced(replaced(prepared(library), "\n", ""), "\t", "");
        std::string expected = "<key>Playlist Persistent ID</key><string>itunes-prepare-1</string>";
        for (const std::string& line : row.lines) {
            expected += line.starts_with('<') ? line : "";
        }
        expected += "<key>Playlist Items</key><array>";
        for (const std::string& line : row.lines) {
            expected += line.starts_with('<') ? "" : "<dict>" + id(line) + "</dict>";
        }
        EXPECT_NE(result.find(expected + "</array></dict></array></dict></plist>"), std::string::npos)
            << result;
        const size_t middle = library.find("<key>Playlists");
        const size_t end = library.rfind("</dict>");
        EXPECT_EQ(replaced(replaced(prepared("<plist><dict>" + library.substr(middle, end - middle) +
                                             library.substr(13, middle - 13) + "</dict></plist>"),
                                    "\n", ""),
                           "\t", ""),
                  result)
            << "playlists first";
    }
    const std::string two = "<key>Playlist Persistent ID</key><string>";
    const std::string result = prepared(
        library_of({}, {two + "B</string>", two + "itunes-prepare-4</string>", two + "B</string>", ""}));
    EXPECT_NE(result.find(">itunes-prepare-4'<"), std::string::npos) << result;
    EXPECT_NE(result.find(">itunes-prepare-3<"), std::string::npos);
    EXPECT_EQ(replaced(result, ">B<", "").size(), result.size() - 3); // once
}

TEST_F(Prepare, AFolderWithSmartInfoTitlesItsPlaylists) {
    write_file(
        "in.xml",
        library_of(
            {id("1") + location("file:///lost")},
            {plays("1") + "<key>Smart Info</key><data/><key>Folder</key><true/><key>Playlist Persistent "
                          "ID</key><string>A</string><key>Name</key><string>Trips</string>",
             plays("1") +
                 "<key>Parent Persistent ID</key><string>A</string><key>Name</key><string>Sea</string>"}));
    write_file("db/made", "");
    run({"in.xml", "out.xml"});
    run_import({"-dbdir", "db", "-itunes-lib", "out.xml"});
    const Tree tree = read_tree("db");
    ASSERT_TRUE(tree.contains("iTunes-playlist-Trips_Sea##M.wpl"));
    EXPECT_NE(tree.at("iTunes-playlist-Trips_Sea##M.wpl").find("src=\"/lost\""), std::string::npos);
    EXPECT_EQ(tree.size(), 4U); // with what was there, an items file and an empty workspace
}

TEST_F(Prepare, WhatDoesNotArriveIsTold) {
    const std::string name = "<key>Name</key><string>" + std::string(992, 'n') + "</string>";
    write_file("in.xml",
               library_of({id("7") + name + "<key>Size</key><integer>2147483648</integer>"}, {name}));
    EXPECT_EQ(run({"in.xml", "out.xml"}).err, "itunes-prepare: 1 tracks, 1 playlists\n"
                                              "       2 lines longer than 1023 bytes, lost to the import\n"
                                              "           Name of track 7\n"
                                              "           Name of playlist " +
                                                  std::string(60, 'n') + "\n");
    const std::string whole = run({"--report", "--no-probe", "in.xml", "out.xml"}).err;
    EXPECT_NE(whole.find("       1 values that the import reads otherwise\n           Size of track 7\n"),
              std::string::npos)
        << whole;
    EXPECT_NE(whole.find("       0 missing\n"), std::string::npos) << whole;
}

TEST_F(Prepare, PathsArriveUnderTheSpellingOfTheDisk) {
    const struct {
        const char* location;
        const char* path; // in the output; "&#" and '%' as the import decodes them
    } rows[] = {
        {"file://localhost/old/Cafe%CC%81/a.mp3", "/Caf\u00e9/a.mp3"}, // decomposed
        {"file:///old/cAF%C3%89/A.MP3", "/Caf\u00e9/a.mp3"},           // in other case
        {"file://nas//old/two/X.mp3", "/two/X.mp3"},                   // both x.MP3 and x.mp3 are there
        {"file:///old/Zoe%CC%88.mp3", "/Zo\u00eb.mp3"},                // in accents alone, which comes first
        {"file:///old/C%2B%2B%20100%25%2541.mp3", "/C&#43;&#43; 100&#37;%2541.mp3"},
        {"file:///old/localhost/%3C/string%3E%0A%E9", "/localhost/&#60;/string&#62;%0A%E9"},
    };
    for (const char* name :
         {"new/Caf\u00e9/a.mp3", "new/two/x.MP3", "new/two/x.mp3", "new/Zo\u00eb.mp3", "new/ZO\u00cb.mp3"}) {
        write_file(name, "");
    }
    std::vector<std::string> tracks = {location("http://x"),
                                       location("file:///old/p") + "<key>Protected</key><true/>"};
    std::string expected;
    for (const auto& row : rows) {
        tracks.push_back(location(row.location));
    }
    write_file("in.xml", library_of(tracks, {}));
    const RunResult result = run({"--map=/old=" + folder.path() + "/new", "--report", "in.xml"});
    size_t at = result.out.find("/new/p");
    for (const auto& row : rows) {
        at = result.out.find("<key>Location</key>", at + 1);
        const std::string line = result.out.substr(at, result.out.find('\n', at) - at);
        EXPECT_EQ(line, "<key>Location</key><string>file://localhost" + folder.path() + "/new" + row.path +
                            "</string>");
    }
    EXPECT_EQ(replaced(result.err, folder.path(), "/HERE"),
              "itunes-prepare: 8 tracks, 0 playlists\n"
              "       3 missing\n"
              "           /HERE/new/two/X.mp3\n"
              "           /HERE/new/C++ 100%%41.mp3\n"
              "           /HERE/new/localhost/</string>\\x0A\xE9\n"
              "       0 lines longer than 1023 bytes, lost to the import\n"
              "       0 found\n"
              "       3 found under another spelling\n"
              "           /HERE/new/Caf\u00e9/a.mp3\n"
              "           /HERE/new/Caf\u00e9/a.mp3\n"
              "           /HERE/new/Zo\u00eb.mp3\n"
              "       2 without a file here (protected, streams, in the cloud)\n"
              "       6 mapped\n");
    const RunResult quiet = run({"--no-probe", "in.xml"});
    EXPECT_EQ(quiet.err, "");
    EXPECT_NE(quiet.out.find("file://localhost/old/two/X.mp3<"), std::string::npos);
}

TEST_F(Prepare, ADamagedLibraryIsLocatedAndLeavesTheOutputAsItWas) {
    const std::string library = read_file(source_path("examples/iTunes Music Library.xml"));
    const std::string tracks = "<key>Tracks</key><dict/>";
    const std::pair<std::string, const char*> rows[] = {
        {library.substr(0, library.size() / 2), "in.xml: line 634, column 33: unclosed token"},
        {replaced(library, "<key>Tracks</key>", "<key>Tracks</key>\n<string>&eacute;</string>"),
         "in.xml: line 14, column 17: the entity eacute is not one of XML's own"},
        {"<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><dict/></plist>",
         "in.xml: line 1, column 29: the entity a is not one of XML's own"},
        {"<plist><dict/></plist>", "in.xml: line 1, column 23: not a library: it has no list of tracks"},
        {"<plist><dict>" + tracks + "</dict><dict/></plist>",
         "in.xml: line 1, column 52: not a library: its root is not one dictionary"},
        {"<plist><dict>" + tracks + tracks + "</dict></plist>",
         "in.xml: line 1, column 62: a second list of tracks"},
        {"<plist><!--" + std::string(9 << 18, ' '),
         "in.xml: line 1, column 8: a comment or tag of more than 1 MiB"},
        {"<plist><dict><key>Tracks</key><key>b</key></dict></plist>",
         "in.xml: line 1, column 36: <key> where a value should be"},
        {"<plist><dict><true/></dict></plist>", "in.xml: line 1, column 21: <true> where a key should be"},
        {"<plist><dict><key>a</key></dict></plist>", "in.xml: line 1, column 33: a key without a value"},
        {"<plist><string><b/>", "in.xml: line 1, column 20: <b> inside <string>"},
        {"<plist><dict><key>a</key>" + replaced(std::string(63, 'a'), "a", "<array>"),
         "in.xml: line 1, column 467: more than 64 levels"},
        {"<dict/>", "in.xml: line 1, column 8: not a property list: <dict>"},
        {"bplist00", "in.xml: line 1, column 1: a binary property list: export the library as XML"},
        {"<?xml version='1.0' encoding='x'?>", "in.xml: line 1, column 31: unknown encoding: x"},
        {"", "in.xml: line 1, column 1: no element found"},
    };
    for (const auto& [text, words] : rows) {
        write_file("out.xml", "last night's");
        EXPECT_EQ(prepared(text), words);
        EXPECT_EQ(read_tree("."), (Tree{{"in.xml", text}, {"out.xml", "last night's"}}));
    }
    const RunResult result = run({"in.xml"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "itunes-prepare: in.xml: line 1, column 1: no element found\n");
}

TEST_F(Prepare, TheOutputIsAFileAStreamOrThere) {
    const std::string library = library_of({}, {});
    const std::string written = prepared(library);
    ASSERT_TRUE(written.ends_with("</plist>\n"));
    chmod("out.xml", 0640);
    std::filesystem::create_symlink("out.xml", "link");
    write_file("out.xml", "");
    EXPECT_EQ(run({"in.xml", "link"}).status, 0);
    EXPECT_EQ(read_file("out.xml"), written);
    EXPECT_TRUE(std::filesystem::is_symlink("link"));
    struct stat status = {};
    ASSERT_EQ(stat("out.xml", &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    const std::string program = TEST_EMULATOR " '" TEST_PREPARE_PROGRAM "' ";
    const struct {
        std::string line;
        int status;
        std::string out;
        std::string err;
    } rows[] = {
        {program + "- <in.xml", 0, written, ""},
        {"{ echo first; " + program + "in.xml /dev/stdout; } >>kept; cat kept", 0, "first\n" + written, ""},
        {program + "in.xml /dev/full", 1, "",
         "itunes-prepare: can not write /dev/full: No space left on device\n"},
        {program + "in.xml >&-", 1, "",
         "itunes-prepare: can not write standard output: Bad file descriptor\n"},
        {program + "in.xml no/out.xml", 1, "",
         "itunes-prepare: can not write no/out.xml: No such file or directory\n"},
        {program + "no.xml", 1, "", "itunes-prepare: can not open no.xml: No such file or directory\n"},
        {program + ". out.xml", 1, "", "itunes-prepare: can not open .: Is a directory\n"},
        {"mkfifo pipe; " + program +
             "pipe out.xml & exec 3>pipe; until ls -A | grep -q prepare; do sleep 0.1; done;"
             " kill $!; { wait $!; } 2>/dev/null; echo $?; ls -A | grep -c prepare",
         1, "143\n0\n", ""}, // the unfinished file goes
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const RunResult result = run_line(row.line);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, row.out);
        EXPECT_EQ(result.err, row.err);
    }
}

TEST_F(Prepare, WrongUsageSaysWhatWasWrong) {
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{}, "one or two files are wanted"},
        {{"a", "b", "c"}, "one or two files are wanted"},
        {{"a", ""}, "one or two files are wanted"},
        {{"--map", "=b", "a"}, "--map takes FROM=TO"},
        {{"--map=a=", "a"}, "--map takes FROM=TO"},
        {{"--map", "a", "a"}, "--map takes FROM=TO"},
        {{"--bogus", "a"}, "unknown option '--bogus'"},
    };
    const std::string usage = run({"--help"}).out;
    ASSERT_TRUE(usage.starts_with("usage: itunes-prepare "));
    for (const auto& [arguments, words] : rows) {
        const RunResult result = run(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, std::string("itunes-prepare: ") + words + "\n" + usage);
    }
    EXPECT_EQ(run({"-h"}).out, usage);
    EXPECT_TRUE(run({"--version"}).out.starts_with("itunes-prepare 1."));
}
