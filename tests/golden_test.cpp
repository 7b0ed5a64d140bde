// The bundled library, imported here and on the reference target (golden/): the results are the same bytes. Where
// they differ, what came out here is left beside the test program as golden.txt.

#include "tests/support.h"

#include <fstream>

#include "common/upnp_memory.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"

TEST(Golden, TheBundledLibraryGivesTheSameBytesEverywhere) {
    const std::string root = "file://localhost/music/library/";
    std::string library = read_file(source_path("examples/iTunes Music Library.xml"));
    for (size_t at = 0; (at = library.find(root, at)) != std::string::npos;) {
        library.replace(at, root.size(), "file://localhostmedia/"); // relative to the test's folder
    }
    std::string result;
    {
        const TempDir folder;
        write_file("library/l.xml", library);
        for (std::string line : split(library, '\n')) {
            char* value = itunes_get_value(line.data(), "string");
            char* path = itunes_location_to_path(value);
            if (path != nullptr && strncmp(path, "media/", 6) == 0 && strstr(path, "(lost)") == nullptr) {
                write_file(path, "");
            }
            upnp_free_unless_null(path);
            upnp_free_unless_null(value);
        }
        write_file("out/db/made", "");
        EXPECT_EQ(run_import({"-dbdir", "out/db", "-itunes-lib", "library/l.xml"}).status, 0);
        for (const auto& [path, bytes] : read_tree("out")) { result += "== " + path + "\n" + bytes; }
    }
    const bool is_same = result == read_file(source_path("tests/golden/bundled-library.txt"));
    EXPECT_TRUE(is_same);
    if (!is_same) { write_file("golden.txt", result); }
}
