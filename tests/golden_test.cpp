// The bundled library, imported here and on the reference target: the results are the same bytes.

#include "tests/import_fixture.h"

TEST(Golden, TheBundledLibraryGivesTheSameBytesEverywhere) {
    std::string result;
    {
        const TempDir folder;
        write_file("library/l.xml", fixture::bundled_library("media/"));
        write_file("out/db/made", "");
        EXPECT_EQ(run_line("import -dbdir out/db -itunes-lib library/l.xml").status, 0);
        for (const auto& [path, bytes] : read_tree("out")) {
            result += "== " + path + "\n" + bytes;
        }
    }
    expect_golden(result, "bundled-library.txt");
}
