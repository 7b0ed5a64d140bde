// The temporary directory, the swap and what is cleaned up.

#include "tests/import_fixture.h"

#include <unistd.h>

#include "itunes/import_commit.h"

using namespace fixture;

using Workspace = Import;

TEST_F(Workspace, ARunReplacesItsOwnFilesAndKeepsAllOthers) {
    const std::string temp = "db/itunes-import-temp/";
    lay_out("", "",
            "lib/l.xml lib/iTunes.itl.tmp lib/iT.tmp.keepsnot lib/itunes.tmp "
            "lib/.iTunes.tmp lib/iT.xml lib/xT.tmp");
    for (const std::string& path :
         {std::string("db/itunes.import.items"), temp + "itunes.import.temp.items", temp + "notes.wpl.bak",
          temp + "other", temp + "folder.wpl/inside", temp + ".hidden.wpl", std::string("pl/mine.wpl")}) {
        write_file(path, "of " + path);
    }
    write_file("pl/notes.wpl.bak", "replaced");
    const char* arguments = "-dbdir db -itunes-lib ./lib/l.xml -playlist-dir pl -noclean";
    EXPECT_EQ(run(arguments), (Tree{{"lib/iTunes.itl.tmp", gone},
                                    {"lib/iT.tmp.keepsnot", gone},
                                    {"db/itunes.import.items", ""},
                                    {temp + "itunes.import.temp.items", gone},
                                    {temp + "notes.wpl.bak", gone},
                                    {temp + "folder.wpl/", gone},
                                    {temp + "folder.wpl/inside", gone},
                                    {"pl/notes.wpl.bak", "of " + temp + "notes.wpl.bak"},
                                    {"pl/folder.wpl/", ""},
                                    {"pl/folder.wpl/inside", "of " + temp + "folder.wpl/inside"}}));
    EXPECT_EQ(run(arguments), Tree{}) << "a second run changes nothing";
}

TEST_F(Workspace, PercentSignsInPairsKeepAPlaylistInTheWorkspace) {
    lay_out("");
    write_file("db/itunes-import-temp/100% %n %d.wpl", "moves");
    write_file("db/itunes-import-temp/100%%.wpl", "stays");
    write_file("db/100%%.wpl", "unlinked before the move fails");
    EXPECT_EQ(import(), (Tree{{"db/itunes-import-temp/100% %n %d.wpl", gone},
                              {"db/100% %n %d.wpl", "moves"},
                              {"db/100%%.wpl", gone},
                              {"db/itunes.import.items", ""}}));
}

TEST_F(Workspace, WithoutATemporaryItemsFileThereAreNoItemsAfterwards) {
    lay_out(track(1, "l.xml"), "", "db/itunes-import-temp/itunes.import.temp.items/x");
    write_file("db/itunes.import.items", "old items");
    EXPECT_EQ(import(), (Tree{{"db/itunes.import.items", gone},
                              {"db/itunes.import.items/", ""},
                              {"db/itunes.import.items/x", ""},
                              {"db/itunes-import-temp/itunes.import.temp.items/", gone},
                              {"db/itunes-import-temp/itunes.import.temp.items/x", gone}}));
}

TEST_F(Workspace, ADanglingLinkInItsPlaceIsReplaced) {
    std::filesystem::create_directory("l.xml"); // a library that is a directory imports nothing
    ASSERT_EQ(symlink("nowhere", "db/itunes-import-temp"), 0);
    EXPECT_EQ(import(), (Tree{{"db/itunes-import-temp", gone},
                              {"db/itunes-import-temp/", ""},
                              {"db/itunes.import.items", ""}}));
    std::filesystem::remove("db/itunes-import-temp");
    std::filesystem::create_directory_symlink("..", "db/itunes-import-temp"); // one to a directory is used up
    EXPECT_EQ(import(), (Tree{{"db/itunes-import-temp/", gone}}));
}

TEST_F(Workspace, PathsThatFitTheirBuffersMove) {
    char buffer[] = "12345678";
    import_move_source(buffer, 5, "a%%b%c%%%%");
    EXPECT_EQ(std::string(buffer, 8), std::string("a%b%\000678", 8));
    std::string deep = "deep";
    for (int folders = 0; folders < 4; ++folders) {
        deep += "/" + std::string(248, 'd');
    }
    for (const size_t size : {1022U, 1023U, 1024U}) {
        const std::string name = std::string(size - deep.size() - 5, 'n') + ".wpl";
        write_file(deep + "/" + name, "");
        import_move_files(".wpl", deep.c_str(), ".");
        EXPECT_EQ(std::filesystem::exists(name), size <= 1023) << size;
    }
}
