// The files of a library, found below a folder: which paths come together, and which are left alone.

#include "tests/companion_fixture.h"

#include <sys/stat.h>
#include <unistd.h>

#include "tools/shared/media_search.h"

using namespace fixture;

namespace {

struct LibraryFile {
    std::string path;
    std::string found; // below the folder, where the file is made; "" for nowhere
    uint64_t size = 0; // as the library says
    bool is_there = false;
};

struct OtherFile {
    std::string path; // below the folder
    size_t size = 0;
};

/// A library, the maps "FROM=TO", TO below the folder, and what is there besides its files, or in place of them.
struct MediaCase {
    const char* name;
    std::vector<LibraryFile> library;
    std::vector<std::string> maps;
    std::vector<OtherFile> others = {};
};

void expect_found(const MediaCase& row) {
    const TempDir folder;
    std::filesystem::create_directory("media");
    MediaSearch media;
    for (const LibraryFile& file : row.library) {
        media.add(file.path, file.size, file.is_there);
        if (!file.found.empty()) {
            write_file("media/" + file.found, std::string(static_cast<size_t>(file.size), 'x'));
        }
    }
    for (const OtherFile& file : row.others) {
        write_file("media/" + file.path, std::string(file.size, 'x'));
    }
    EXPECT_EQ(media.look_through("media"), 0);
    media.match();
    const std::string top = folder.path() + "/media";
    std::vector<std::string> maps;
    for (const MediaMap& map : media.maps()) {
        maps.push_back(map.from + "=" + map.to.substr(std::min(map.to.size(), top.size() + 1)));
    }
    EXPECT_EQ(maps, row.maps);
    for (const LibraryFile& file : row.library) {
        EXPECT_EQ(media.find(file.path), file.found.empty() ? "" : top + "/" + file.found) << file.path;
    }
}

} // namespace

TEST(MediaSearch, FindsFilesByTheLongestCommonEndUnlessTheyMayBeOthers) {
    const MediaCase rows[] = {
        {"moved, the same names elsewhere",
         {{"/U/x/A/B/1.mp3", "new/A/B/1.mp3"}, {"/U/x/C/D/2.mp3", "new/C/D/2.mp3"}},
         {"/U/x=new"},
         {{"old/1.mp3"}, {"old/D/2.mp3"}, {"2.mp3"}}},
        {"to above the folder", {{"//NAS/x/media/A/1", "A/1"}, {"//nas/x/media/2", "2"}}, {"//NAS/x/media="}},
        {"to the root", {{"/A/B/1", "A/B/1"}, {"D:/A/B/2", "A/B/2"}, {"d:/A/C/3", "A/C/3"}}, {"D:=", "/="}},
        {"lower case and composed",
         {{"/m/Ko\u0308ln/\u0398\u03a3/1.MP3", "y/k\u00f6ln/\u03b8\u03c2/1.mp3"}, {"/m/A/2", ""}},
         {"/m=y"},
         {{"A"}}},
        {"two spellings: the one in the same case",
         {{"/m/A/B/1", "n/A/B/1"}, {"/m/A/B/2", ""}},
         {"/m=n"},
         {{"n/a/b/1"}, {"n/a/B/2"}, {"n/A/b/2"}}},
        {"best", {{"/m/A/1", "n/A/1"}, {"/m/B/2", "n/B/2"}, {"/m/C/3", "n/C/3"}}, {"/m=n"}, {{"p/m/C/3"}}},
        {"a beginning of another file", {{"/a/X/1", ""}, {"/m/A/B/2", "a/A/B/2"}}, {"/m=a"}, {{"z/B/2"}}},
        {"an outer map leaves an inner one what it brings",
         {{"/m/A/B/1", "n/B/1"},
          {"/m/A/C/2", "n/C/2"},
          {"/m/A/C/5", "n/C/5"},
          {"/m/D/E/3", "p/D/E/3"},
          {"/m/A/D/4", "p/A/D/4"}},
         {"/m/A=n", "/m=p", "/m/A/D=p/A/D"}},
        {"what is there stays there",
         {{"/m/A/1", "", 0, true}, {"/m/A/2", "n/A/2"}, {"/m/B/3", "n/B/3"}, {"/m/B/4", "n/B/4"}},
         {"/m/B=n/B", "/m/A/2=n/A/2"},
         {{"n/A/1"}}},
        {"a name alone", {{"/m/A/1", ""}}, {}, {{"n/B/1"}}},
        {"a name and a folder", {{"/m/A/1", "n/A/1"}}, {"/m=n"}, {{"n/1"}}},
        {"the longest end of many",
         {{"/m/M/B/1", "n/M/B/1"}},
         {"/m=n"},
         {{"n/A/B/1"}, {"n/K/D/1"}, {"n/T/D/1"}, {"n/Z/B/1"}}},
        {"twice", {{"/m/A/1", "", 5}}, {}, {{"n/A/1", 5}, {"p/A/1", 5}}},
        {"twice, one as long", {{"/m/A/1", "p/A/1", 5}}, {"/m=p"}, {{"n/A/1", 4}}},
        {"a folder, but another size", {{"/m/A/1", "", 5}}, {}, {{"n/A/1", 4}}},
        {"a copy of all",
         {{"/m/A/1", "n/A/1", 5}, {"/m/B/2", "n/B/2", 6}},
         {"/m=n"},
         {{"back/A/1", 5}, {"back/B/2", 6}}},
        {"a differing copy",
         {{"/m/A/1", "p/A/1"}, {"/m/B/2", "p/B/2", 6}},
         {"/m=p"},
         {{"n/A/1"}, {"n/B/2", 7}}},
        {"most of the names",
         {{"/m/A/1", "n/1"}, {"/m/A/2", "n/2"}, {"/m/A/3", "n/3"}, {"/m/A/4", ""}},
         {"/m/A=n"}},
        {"half the names",
         {{"/m/A/1", ""}, {"/m/A/2", ""}, {"/m/A/3", ""}, {"/m/A/4", ""}},
         {},
         {{"n/1"}, {"n/2"}}},
        {"names of others",
         {{"/m/A/1", "", 5}, {"/m/A/2", "", 5}, {"/m/A/3", "", 5}},
         {},
         {{"n/1", 4}, {"n/2", 6}, {"n/3", 5}}},
        {"a file of another track", {{"/m/A/1", "n/A/1"}, {"/m/A/2", "n/A/2"}, {"/x/A/1", ""}}, {"/m=n"}},
        {"all sizes are others",
         {{"/m/A/B/1", "n/A/B/1", 5},
          {"/m/A/B/2", "n/A/B/2", 5},
          {"/m/C/D/3", "n/C/D/3", 5},
          {"/x/E/4", "p/E/4", 5}},
         {"/m=n", "/x=p"},
         {{"n/A/B/1", 4}, {"n/A/B/2", 4}, {"n/C/D/3", 4}, {"p/E/4", 4}}},
        {"no paths", {{"http://x/A/1", ""}, {"/m/A/../A/1", ""}, {"/", ""}, {"", ""}}, {}, {{"n/A/1"}}},
    };
    for (const MediaCase& row : rows) {
        SCOPED_TRACE(row.name);
        expect_found(row);
    }
}

TEST(MediaSearch, LeavesLinksAloneAndTellsFoldersThatCanNotBeRead) {
    const TempDir folder;
    for (const char* path : {"media/in/A/1", "outside/A/2", "media/closed/A/3"}) {
        write_file(path, "");
    }
    std::filesystem::create_directory_symlink("../outside", "media/out");
    std::filesystem::create_symlink("../outside/A/2", "media/2");
    std::filesystem::create_directory_symlink("..", "media/in/loop");
    std::filesystem::create_directory_symlink("media", "entrance");
    ASSERT_EQ(mkfifo("media/in/A/2", 0600), 0);
    run_line(
        "cd media; n=$(printf %0250d 0); for level in $(seq 17); do mkdir $n && cd $n; done"); // too deep
    (void)chmod(".", 0755);
    (void)chmod("media/closed", 0);
    const uid_t user = geteuid();
    const bool is_root = user == 0 && seteuid(65534) == 0;
    MediaSearch media;
    for (const char* path : {"/m/A/1", "/m/A/2", "/m/A/3"}) {
        media.add(path, 0, false);
    }
    EXPECT_EQ(media.look_through(folder.path() + "/entrance"), 0);
    media.match();
    EXPECT_TRUE(!is_root || seteuid(user) == 0);
    (void)chmod("media/closed", 0700);
    EXPECT_TRUE(media.find("/m/A/1").ends_with("/in/A/1"));
    EXPECT_EQ(media.found_count(), 1U);
    ASSERT_EQ(media.folder().unreadable().size(), 2U);
    EXPECT_EQ(media.folder().unreadable()[1].error, ENAMETOOLONG);
    EXPECT_TRUE(media.folder().unreadable()[0].path.ends_with("/closed"));
    EXPECT_EQ(media.folder().unreadable()[0].error, EACCES);
}

TEST(PrepareMedia, PathsLeadToWhatWasFoundAndToWhatIsInItsPlace) {
    if (is_emulated) {
        GTEST_SKIP() << "the emulator lists another root directory";
    }
    const TempDir folder;
    const std::string old = "file://localhost" + folder.path() + "/old/";
    const std::string found = "file://localhost" + folder.path() + "/media/new/";
    for (const char* path : {"old/A/1", "old/a/5", "media/new/A/1", "media/new/A/2", "media/new/B/3",
                             "media/new/A/4", "media/new/A/5"}) {
        write_file(path, "");
    }
    std::string tracks;
    for (const std::string& location : {old + "A/1", old + "A/2", std::string("file://localhost/D:/m/B/3"),
                                        old + "A/4", old + "A/5", old + "A/6"}) {
        tracks += whole_track(1, (location.ends_with("4") ? text("Track Type", "URL") : "") +
                                     text("Location", location));
    }
    write_file("library.xml", library(tracks));
    const RunResult file = run_line("prepare --media media --report library.xml prepared.xml");
    EXPECT_EQ(file.status, 0);
    EXPECT_NE(file.err.find("1 missing"), std::string::npos) << file.err;
    EXPECT_NE(file.err.find(" 0 mapped"), std::string::npos) << file.err;
    EXPECT_NE(file.err.find("2 found below the folder of --media"), std::string::npos) << file.err;
    EXPECT_EQ(run_line("grep -o 'file:[^<]*' prepared.xml").out, old + "A/1\n" + found + "A/2\n" + found +
                                                                     "B/3\n" + old + "A/4\n" + old + "a/5\n" +
                                                                     old + "A/6\n");
    const RunResult pipe = run_line("cat library.xml | prepare --media media -");
    EXPECT_EQ(pipe.out, read_file("prepared.xml"));
    for (const std::string wrong : {"", "nowhere", "library.xml"}) {
        EXPECT_EQ(run_line("prepare --media '" + wrong + "' library.xml other.xml").status,
                  wrong.empty() ? 2 : 1);
    }
    EXPECT_FALSE(std::filesystem::exists("other.xml"));
}
