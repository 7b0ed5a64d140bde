// Numbers, locations and maps, as a library has them.

#include "tests/support.h"

#include "tools/itunes-prepare/library_line.h"
#include "tools/shared/library_location.h"
#include "tools/shared/library_reader.h"
#include "tools/shared/path_map.h"
#include "tools/shared/places.h"

TEST(LibraryNumbers, AreReadAsTheImportReadsThem) {
    const struct {
        const char* text;
        const char* number; // null for none
        int64_t track_id;   // 0 for none
    } rows[] = {
        {"007", "007", 7},
        {" +5\n", "5", 5},
        {"-0000000000000000000", "0", 0}, // as many digits as are read
        {"2147483648", "2147483648", 0},
        {"-2147483648", "-2147483648", -2147483648LL},
        {"10000000000000000000", nullptr, 0},
        {"0xFFFFFFFFFFFFFFFF", "18446744073709551615", 0},
        {"0x10000000000000000", nullptr, 0},
        {"0x", nullptr, 0},
        {"1 2", nullptr, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        std::string number = "none";
        EXPECT_EQ(library_integer(row.text, &number), row.number != nullptr);
        EXPECT_EQ(number, row.number != nullptr ? row.number : "none");
        EXPECT_EQ(library_track_id(row.text).value_or(0), row.track_id);
    }
}

TEST(LibraryLocations, LeadToPathsAndBack) {
    const struct {
        const char* location;
        const char* path;
        const char* written; // as the import has to find it
    } rows[] = {
        {"file://localhost/a%20b", "/a b", "file://localhost/a b"},
        {"FILE:///a/", "/a", "file://localhost/a"},
        {"\n/bare%20path\t", "/bare%20path", "file://localhost/bare%2520path"},
        {"file:///A:/Music%5Cx", "A:/Music/x", "file://localhost/A:/Music/x"},
        {"file:///a:x", "/a:x", "file://localhost///a:x"},
        {"file://///a", "/a", "file://localhost/a"},
        {"\\\\nas\\a", "//nas/a", "file://localhost//nas/a"},
        {"file:///100%/%41%2541", "/100%/A%41", "file://localhost/100&#37;/A%2541"},
        {"file:///%00%0A%7F%80%EF%BF%BE", "/%00\n\x7F\x80\uFFFE", "file://localhost/%2500%0A%7F%80%EF%BF%BE"},
        {"file:///+&<>", "/+&<>", "file://localhost/&#43;&#38;&#60;&#62;"},
        {"file:///", "/", "file://localhost/"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.location);
        const std::string path = path_of_location(row.location).value_or("none");
        EXPECT_EQ(path, row.path);
        std::string line;
        append_location(&line, path, LocationForm::references);
        EXPECT_EQ(line, row.written);
        // Read back with the import's own function, which knows no hosts and no root.
        EXPECT_EQ(make_location_line(&line, path),
                  path.starts_with("//") || path == "/" ? LineReading::other : LineReading::same);
    }
    EXPECT_FALSE(path_of_location("http://x/a"));
    EXPECT_FALSE(path_of_location("relative"));
}

TEST(LibraryLines, AreMadeToFit) {
    const std::string tabs = "\t\t\t";
    const std::string key = "<key>Location</key><string>";
    const struct {
        std::string path;
        LineReading reading;
        std::string start;
    } rows[] = {
        {"/" + std::string(967, 'p'), LineReading::same, tabs + key + "file://localhost/p"},
        {"/" + std::string(968, 'p'), LineReading::same, tabs + key + "file:/p"},
        {"/" + std::string(981, 'p'), LineReading::same, key + "file:/p"},
        {"/" + std::string(982, 'p'), LineReading::too_long, key + "file:/p"},
        {"/localhost" + std::string(961, 'p'), LineReading::same, key + "file://localhost/localhostp"},
        {"/localhost" + std::string(962, 'p'), LineReading::too_long, key + "file://localhost/localhostp"},
        {"/" + std::string(200, '+'), LineReading::same, tabs + key + "file://localhost/%2B"},
    };
    std::string line;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path.size());
        EXPECT_EQ(make_location_line(&line, row.path), row.reading);
        EXPECT_TRUE(line.starts_with(row.start)) << line;
    }
    const std::string name(991, 'n');
    EXPECT_EQ(make_string_line(&line, "Name", {name}, name), LineReading::same);
    EXPECT_EQ(make_string_line(&line, "Name", {as_references("1+1 <%41&\r\n>")}, "1+1 <%41&\r\n>"),
              LineReading::same);
    EXPECT_EQ(make_integer_line(&line, "Size", "2147483647"), LineReading::same);
    const std::string date = std::string(126, 'd') + "\u00df"; // as many characters as are kept
    EXPECT_EQ(make_date_line(&line, "Date Modified", "date", " " + date + "\u00df\n"), LineReading::same);
    EXPECT_EQ(line, tabs + "<key>Date Modified</key><date>" + date + "</date>\n");
}

TEST(PathMaps, ReplaceWholeComponents) {
    const TempDir folder;
    const struct {
        const char* from;
        const char* to;
        const char* path;
        std::string mapped; // empty where it does not fit
    } rows[] = {
        {"/Users/anna", "/srv", "/Users/anna/a", "/srv/a"},
        {"/Users/anna", "/srv", "/Users/annabel", ""},
        {"/Users/anna", "/srv", "/users/anna/a", ""},
        {"/Users/anna", "/srv", "/Users/anna", "/srv"},
        {"/", "/srv", "/a/b", "/srv/a/b"},
        {"/a", "/", "/a/b", "/b"},
        {"C:\\Music\\", "/srv", "c:/music/A", "/srv/A"},
        {"file://localhost/C:/My%20Music", "/srv", "C:/My Music/a", "/srv/a"},
        {"c:", "/srv", "C:/a", "/srv/a"},
        {"\\\\nas\\Music", "/srv", "//NAS/music/a", "/srv/a"},
        {"/Cafe\u0301", "/srv", "/Caf\u00e9/a", "/srv/a"},
        {"/a", "here", "/a/b", folder.path() + "/here/b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.from);
        EXPECT_EQ(PathMap::make(row.from, row.to)->apply(row.path).value_or(""), row.mapped);
    }
    std::vector<PathMap> maps;
    for (const char* text : {"/a=/first", "/a/b=/longer", "/a=/last", "/nas=/here"}) {
        EXPECT_EQ(add_path_map(&maps, text), 0);
    }
    const Places places(maps, PlaceSearch::none);
    EXPECT_EQ(places.mapped("/a/b/c"), "/longer/c");
    EXPECT_EQ(places.mapped("/a/c"), "/last/c");
    EXPECT_EQ(places.mapped("//host/nas/x"), "/here/x"); // with the host or without
}
