// itunes-prepare: what it writes, the import brings whole, whatever layout the library came in.

#include "tests/support.h"

#include <utility>

namespace {

constexpr char python[] = "/usr/bin/python3";

class Prepare : public testing::Test {
protected:
    void SetUp() override {
        if (run_program(python, {"--version"}).status != 0) {
            GTEST_SKIP() << "needs " << python;
        }
    }
    static RunResult prepare(const std::vector<std::string>& arguments) {
        return run_program(TEST_PREPARE_PROGRAM, arguments);
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

/// What an import brought, as prepare_expected.py words it.
std::string imported(const std::string& database) {
    std::string text;
    const auto take = [&text](const std::string& bytes, const std::vector<std::string>& starts) {
        for (const std::string& line : split(bytes, '\n')) {
            for (const std::string& start : starts) {
                text += line.starts_with(start) ? line + "\n" : "";
            }
        }
    };
    const RunResult items = run_program(TEST_ITEMS_PROGRAM, {database + "/itunes.import.items"});
    take(items.out, {"dc:title: ", "upnp:artist: ", "upnp:album: ", "res: "});
    for (const auto& [path, bytes] : read_tree(database)) {
        if (path.ends_with(".wpl")) {
            take(bytes, {"  <title>", "   <media "});
        }
    }
    return text;
}

} // namespace

TEST_F(Prepare, TheBundledLibraryArrivesWholeFromEveryLayout) {
    const std::string path = source_path("examples/iTunes Music Library.xml");
    const std::string library = read_file(path);
    const std::string media = folder.path() + "/media/";
    const std::string expected =
        run_program(python, {source_path("tests/prepare_expected.py"), path, "/music/library/", media}).out;
    ASSERT_GT(expected.size(), 5000U);
    const size_t tracks = library.find("\t<key>Tracks</key>");
    const size_t playlists = library.find("\t<key>Playlists</key>");
    const size_t end = library.rfind("</dict>");
    const std::pair<const char*, std::string> layouts[] = {
        {"as it stands", library},
        {"key and value on lines of their own", replaced(library, "</key><", "</key>\n<")},
        {"all on one line", replaced(replaced(library, "\n", ""), "\t", "")},
        {"CRLF", replaced(library, "\n", "\r\n")},
        {"Name late", with_names_late(library)},
        {"Playlists before Tracks", library.substr(0, tracks) + library.substr(playlists, end - playlists) +
                                        library.substr(tracks, playlists - tracks) + library.substr(end)},
    };
    for (const auto& [name, text] : layouts) {
        SCOPED_TRACE(name);
        const std::string database = std::string("db ") + name;
        write_file("library.xml", text);
        write_file(database + "/made", "");
        EXPECT_EQ(prepare({"--map", "/music/library=media", "library.xml", "prepared.xml"}).status, 0);
        EXPECT_EQ(run_import({"-dbdir", database, "-itunes-lib", "prepared.xml"}).status, 0);
        EXPECT_EQ(imported(database), expected);
    }
}

TEST_F(Prepare, AFolderWithSmartInfoTitlesItsPlaylists) {
    const std::string item =
        "<key>Playlist Items</key><array><dict><key>Track ID</key><integer>1</integer></dict></array>";
    write_file(
        "in.xml",
        "<plist><dict><key>Tracks</key><dict><key>1</key><dict><key>Location</key><string>file:///lost</"
        "string>"
        "</dict></dict><key>Playlists</key><array><dict>" +
            item +
            "<key>Smart Info</key><data/><key>Folder</key><true/><key>Playlist Persistent ID</key>"
            "<string>A</string><key>Name</key><string>Trips</string></dict><dict>" +
            item +
            "<key>Parent Persistent ID</key><string>A</string><key>Name</key><string>Sea</string></dict>"
            "</array></dict></plist>");
    write_file("db/made", "");
    prepare({"in.xml", "out.xml"});
    run_import({"-dbdir", "db", "-itunes-lib", "out.xml"});
    EXPECT_EQ(imported("db"), "  <title>Trips/Sea</title>\n   <media src=\"/lost\" />\n");
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
    std::string library = "<plist><dict><key>Tracks</key><dict>";
    for (const auto& row : rows) {
        library += std::string("<key>1</key><dict><key>Location</key><string>") + row.location +
                   "</string><key>Track ID</key><integer>1</integer></dict>";
    }
    write_file("in.xml", library + "</dict></dict></plist>");
    const RunResult result = prepare({"--map=/old=" + folder.path() + "/new", "in.xml"});
    size_t at = 0;
    for (const auto& row : rows) {
        at = result.out.find("<key>Location</key>", at + 1);
        const std::string line = result.out.substr(at, result.out.find('\n', at) - at);
        EXPECT_EQ(line, "<key>Location</key><string>file://localhost" + folder.path() + "/new" + row.path +
                            "</string>");
    }
    EXPECT_NE(result.err.find("3 missing"), std::string::npos) << result.err;
}

TEST_F(Prepare, ADamagedLibraryIsLocatedAndLeavesTheOutputAsItWas) {
    const std::string library = read_file(source_path("examples/iTunes Music Library.xml"));
    const std::pair<std::string, const char*> rows[] = {
        {library.substr(0, library.size() / 2), "in.xml: line 634, column 33"},
        {replaced(library, "<key>Tracks</key>", "<key>Tracks</key>\n<string>&eacute;</string>"),
         "line 14, column 17"},
        {"<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><dict/></plist>", "line 1, column 29"},
        {"<plist><dict/></plist>", "no list of tracks"},
        {"<plist><!--" + std::string(9 << 18, ' '), "in.xml: line 1, column 8: a comment or tag of more"},
        {"<plist><dict><key>Tracks</key><key>b</key></dict></plist>", "line 1, column 36"},
    };
    for (const auto& [text, words] : rows) {
        write_file("in.xml", text);
        write_file("out.xml", "last night's");
        const RunResult result = prepare({"in.xml", "out.xml"});
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
        EXPECT_EQ(prepare({"in.xml"}).out, "");
        EXPECT_EQ(read_tree("."), (Tree{{"in.xml", text}, {"out.xml", "last night's"}}));
    }
}
