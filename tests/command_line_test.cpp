// The argument scan, the paths of a run, -init, the log, and outputs that fail.

#include "tests/import_fixture.h"

#include <filesystem>

#include "itunes/import_run.h"

using namespace fixture;

namespace {

class CommandLine : public Import {
protected:
    /// What is left where the run refuses to start: the usage text, behind what it `says`.
    static Tree refused(const std::string& says = "") {
        const std::string usage = read_file(source_path("tests/golden/usage.txt"));
        return {{"status", "255"},
                {"stdout", says + replaced(usage, "%s", TEST_BUILD_DIR "/itunes-import")},
                {"stderr", ""}};
    }
};

const std::string started = "TIME LOG_PLUGIN:itunes-import: starting with (l.xml) (db)\n";
const std::string finished = "TIME LOG_PLUGIN:itunes-import: l.xml imported\n";

} // namespace

TEST_F(CommandLine, ARunWithoutADatabasePrintsTheUsage) {
    lay_out("");
    for (const char* arguments : {"", "-itunes-lib l.xml -dbdir", "-init", "-init -logfile", "-logfile",
                                  "-dbdir -itunes-lib l.xml -noclean -unknown",
                                  "-DBDIR db -ITUNES-LIB l.xml -LOGFILE log -INIT set.ini"}) {
        EXPECT_EQ(run(arguments), refused()) << arguments;
    }
}

TEST_F(CommandLine, ALibraryThatIsNotThereLeavesEverythingAsItWas) {
    const std::string no_access = "Can not access iTunes library file: ";
    EXPECT_EQ(run("-dbdir db"), refused(no_access));
    EXPECT_EQ(run("-dbdir '' -itunes-lib gone.xml"), refused(no_access + "gone.xml"));
    Tree logged = refused(no_access + "gone.xml");
    logged.erase("stderr");
    logged["log"] = "TIME LOG_PLUGIN:itunes-import: starting with (gone.xml) (db)\n"
                    "TIME LOG_PLUGIN:itunes-import: can not access gone.xml\n";
    EXPECT_EQ(run("-dbdir db -itunes-lib gone.xml -logfile log"), logged);
    if (std::string(TEST_EMULATOR).empty()) { // which opens files of its own
        EXPECT_EQ(run("-dbdir db -itunes-lib /dev/stdin <&- >&-"), (Tree{{"status", "255"}, {"stderr", ""}}));
    }
}

TEST_F(CommandLine, TheLastValueCountsAndNoValueIsAnOption) {
    lay_out("", "", "one/x");
    EXPECT_EQ(run("-dbdir one -dbdir db -dbdir -itunes-lib l.xml -dbdir"), imported(""));
    EXPECT_EQ(run("-dbdir missing -itunes-lib l.xml"), Tree{}) << "nothing works, but it completes";
}

TEST_F(CommandLine, TheBaseGoesInFrontUnlessItIsEmpty) {
    lay_out("", "", "base/db/x");
    write_file("x", track(1, "l.xml"));
    EXPECT_EQ(
        run("-base base -dbdir db -itunes-lib x"),
        (Tree{{"base/db/itunes.import.items", music + "3C005l.xml\n"}, {"base/db/itunes-import-temp/", ""}}));
    EXPECT_EQ(import("-base ''"), imported(""));
}

TEST_F(CommandLine, PathsAreCutAtTheirBuffers) {
    const std::string path(1020, 'p');
    const std::string library = "1234" + path;
    for (const auto& [base, dbdir] : {std::pair("", path), std::pair("base", path), std::pair("", library)}) {
        const std::string database = ((*base == '\0' ? "" : "base/") + dbdir).substr(0, 1023);
        import_run_resolve({dbdir.c_str(), nullptr, base, library.c_str()});
        EXPECT_EQ(import_run.library_path, library.substr(0, 1023));
        EXPECT_EQ(import_run.database_path, database);
        EXPECT_STREQ(import_run.playlist_dir, import_run.database_path);
        EXPECT_EQ(import_run.temp_dir, (database + "/it").substr(0, 1023));
    }
    import_run_resolve({nullptr, library.c_str(), "b", nullptr});
    EXPECT_EQ(import_run.playlist_dir, library.substr(0, 1023));
    EXPECT_STREQ(import_run.database_path, "b/");
}

TEST_F(CommandLine, InitResetsTheSettingAndEndsTheScan) {
    const std::string log = "TIME LOG_PLUGIN:itunes-import: setting lib to (";
    write_file("set.ini", "other\nlines of an older file\n");
    EXPECT_EQ(run("-init set.ini -logfile log -dbdir db"), (Tree{{"set.ini", "ituneslib=\n"}}));
    EXPECT_EQ(run("-logfile log -init set.ini"), (Tree{{"log", log + "ituneslib=\n)\n"}}));
    EXPECT_EQ(run("-logfile none -init missing/%n.ini"),
              (Tree{{"stdout", "iTunes-import: could not open file missing/%n.ini for writing\n"},
                    {"none", log + ")\n"}}));
}

TEST_F(CommandLine, LogLinesGoToTheLastLogFileOrToStandardOutput) {
    lay_out("");
    Tree unlogged = imported("");
    unlogged["stdout"] = "can't open log file (.)\n" + started + finished;
    unlogged["stderr"] = note + "can't open log file (.)\n";
    EXPECT_EQ(import("-logfile ."), unlogged);
    EXPECT_EQ(
        import("-logfile a/b/c/one -logfile two"),
        (Tree{{"a/", ""}, {"a/b/", ""}, {"a/b/c/", ""}, {"a/b/c/one", ""}, {"two", started + finished}}));
}

// Each shell line starts the program as a careless parent would; its lines go to standard output.
TEST_F(CommandLine, OutputsThatFailEndNoRunAndSpoilNoFile) {
    std::string playlists;
    for (int index = 0; index < 200; ++index) { // each logs a line: its name is too long for a file
        playlists += playlist(std::to_string(index) + std::string(240, 'n'), std::to_string(index), {0});
    }
    lay_out(track(0, "l.xml"), playlists);
    const std::string program = program_words("itunes-import") + "-dbdir db -itunes-lib l.xml -logfile ";
    // Valgrind writes files of its own, so it does not start within such a limit.
    const std::string limit = program.starts_with("valgrind") ? "" : "ulimit -f 0; ";
    for (const std::string& line :
         {program + ". <&- >&-", "(sleep 0.2; " + program + ". || echo $? >failed) | true",
          "(" + limit + program + "log)"}) {
        EXPECT_EQ(system(("{ " + line + "; } 2>/dev/null").c_str()), 0) << line;
        EXPECT_EQ(read_file("failed"), "") << line;
        const std::string items = read_file("db/itunes.import.items");
        EXPECT_TRUE(items.empty() || items == music + "3C005l.xml\n") << items;
    }
}
