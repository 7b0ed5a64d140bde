// The bundled library, imported here and on the reference target: the results are the same bytes.

#include "tests/support.h"

#include <sstream>

#include "itunes/library_values.h"
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
            std::string location = take(itunes_get_value(line.data(), "string"));
            const std::string path = take(itunes_location_to_path(location.data()));
            if (path.starts_with("media/") && path.find("(lost)") == std::string::npos) {
                write_file(path, "");
            }
        }
        write_file("out/db/made", "");
        EXPECT_EQ(run_import({"-dbdir", "out/db", "-itunes-lib", "library/l.xml"}).status, 0);
        for (const auto& [path, bytes] : read_tree("out")) {
            result += "== " + path + "\n" + bytes;
        }
    }
    expect_golden(result, "bundled-library.txt");
}
