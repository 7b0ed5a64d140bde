// The files of a library, found below a folder: which paths come together, and which are left alone.

#include "tests/support.h"

#include <sys/stat.h>
#include <unistd.h>

#include "tools/shared/media_search.h"
#include "tools/shared/spelling_search.h"

namespace {

struct LibraryFile {
    std::string path;
    std::string found; // below the folder; "" for nowhere
    uint64_t size = 0; // as the library says
    bool is_there = false;
};

struct DiskFile {
    std::string path;
    size_t size = 0;
};

std::string folded(const std::string& text) {
    return folded_text(text, spelling_any);
}

/// Where the map with the longest beginning leads, folded, if a file is there that is alike; "" otherwise.
std::string mapped(const std::vector<MediaMap>& maps, const std::string& path) {
    std::string from;
    std::string to;
    for (const MediaMap& map : maps) {
        const std::string start = map.from == "/" ? "" : folded(map.from);
        if (folded(path + "/").starts_with(start + "/") && (to.empty() || start.size() > from.size())) {
            from = start;
            to = map.to + folded(path).substr(start.size());
        }
    }
    return to.empty() || SpellingSearch(spelling_any).find(to).found.empty() ? "" : folded(to);
}

/// Looks for the files below "media" in the working directory, expects them there, and that the maps alone lead to
/// them too. Returns the maps, "FROM=TO", TO below the folder.
std::vector<std::string> expect_found(const std::vector<LibraryFile>& library,
                                      const std::vector<DiskFile>& disk) {
    for (const DiskFile& file : disk) {
        write_file("media/" + file.path, std::string(file.size, 'x'));
    }
    const std::string top = std::filesystem::current_path() / "media";
    MediaSearch media;
    for (const LibraryFile& file : library) {
        media.add(file.path, file.size, file.is_there);
    }
    EXPECT_EQ(media.look_through("media"), 0);
    media.match();
    std::vector<std::string> maps;
    uint64_t brought = 0;
    for (const MediaMap& map : media.maps()) {
        EXPECT_TRUE(map.to.starts_with(top)) << map.to;
        maps.push_back(map.from + "=" + map.to.substr(std::min(map.to.size(), top.size() + 1)));
        brought += map.tracks;
    }
    EXPECT_EQ(brought, media.found_count());
    for (const LibraryFile& file : library) {
        EXPECT_EQ(media.find(file.path), file.found.empty() ? "" : top + "/" + file.found) << file.path;
        EXPECT_EQ(mapped(media.maps(), file.path), file.found.empty() ? "" : folded(top + "/" + file.found));
    }
    return maps;
}

using Maps = std::vector<std::string>;

} // namespace

TEST(MediaSearch, FindsFilesByTheLongestCommonEnd) {
    const struct {
        const char* name;
        std::vector<LibraryFile> library;
        std::vector<DiskFile> disk;
        Maps maps;
    } rows[] = {
        {"moved, with files of the same names elsewhere",
         {{"/Users/x/iTunes/A/B/1.mp3", "new/A/B/1.mp3"}, {"/Users/x/iTunes/C/D/2.mp3", "new/C/D/2.mp3"}},
         {{"new/A/B/1.mp3"}, {"new/C/D/2.mp3"}, {"old/1.mp3"}, {"old/D/2.mp3"}, {"2.mp3"}},
         {"/Users/x/iTunes=new"}},
        {"the folder itself",
         {{"C:/Music/A/B/1.mp3", "A/B/1.mp3"}, {"c:/music/A/b/2.mp3", "A/B/2.mp3"}},
         {{"A/B/1.mp3"}, {"A/B/2.mp3"}},
         {"C:/Music="}},
        {"the common end reaches above the folder",
         {{"//NAS/share/media/A/1.mp3", "A/1.mp3"}, {"//nas/share/media/2.mp3", "2.mp3"}},
         {{"A/1.mp3"}, {"2.mp3"}},
         {"//NAS/share/media="}},
        {"it reaches to where paths begin",
         {{"/A/B/1.mp3", "A/B/1.mp3"}, {"D:/A/B/2.mp3", "A/B/2.mp3"}, {"D:/A/C/3.mp3", "A/C/3.mp3"}},
         {{"A/B/1.mp3"}, {"A/B/2.mp3"}, {"A/C/3.mp3"}},
         {"D:=", "/="}},
        {"in lower case and composed",
         {{"/m/Ko\u0308ln/\u0398\u03a3/1.MP3", "y/k\u00f6ln/\u03b8\u03c2/1.mp3"}, {"/m/A/2", ""}},
         {{"y/k\u00f6ln/\u03b8\u03c2/1.mp3"}, {"A"}},
         {"/m=y"}},
        {"two spellings: the one in the same case",
         {{"/m/A/B/1.mp3", "n/A/B/1.mp3"}, {"/m/A/B/2.mp3", ""}},
         {{"n/A/B/1.mp3"}, {"n/a/b/1.mp3"}, {"n/a/B/2.mp3"}, {"n/A/b/2.mp3"}},
         {"/m=n"}},
        {"the best map takes all that it brings",
         {{"/m/A/1", "n/A/1"}, {"/m/B/2", "n/B/2"}, {"/m/C/3", "n/C/3"}},
         {{"n/A/1"}, {"n/B/2"}, {"n/C/3"}, {"p/m/C/3"}},
         {"/m=n"}},
        {"a beginning that another file has in the library",
         {{"/a/X/1", ""}, {"/m/A/B/2", "a/A/B/2"}},
         {{"a/A/B/2"}, {"z/B/2"}},
         {"/m=a"}},
        {"one folder in two places",
         {{"/m/A/B/1", "n/A/B/1"}, {"/m/A/B/2", "n/A/B/2"}, {"/m/C/D/3", "p/C/D/3"}, {"/m/A/E/4", "p/A/E/4"}},
         {{"n/A/B/1"}, {"n/A/B/2"}, {"p/C/D/3"}, {"p/A/E/4"}},
         {"/m=n", "/m/C=p/C", "/m/A/E=p/A/E"}},
        {"one folder in two places, file by file",
         {{"/m/A/1", "n/A/1"}, {"/m/A/2", "n/A/2"}, {"/m/B/5", "n/B/5"}, {"/m/A/3", "p/A/3"}},
         {{"n/A/1"}, {"n/A/2"}, {"n/B/5"}, {"p/A/3"}},
         {"/m=n", "/m/A/3=p/A/3"}},
        {"an outer map leaves an inner one what it brings",
         {{"/m/A/B/1", "n/B/1"},
          {"/m/A/C/2", "n/C/2"},
          {"/m/A/C/5", "n/C/5"},
          {"/m/D/E/3", "p/D/E/3"},
          {"/m/A/D/4", "p/A/D/4"}},
         {{"n/B/1"}, {"n/C/2"}, {"n/C/5"}, {"p/D/E/3"}, {"p/A/D/4"}},
         {"/m/A=n", "/m=p", "/m/A/D=p/A/D"}},
        {"what is there stays there",
         {{"/m/A/1", "", 0, true}, {"/m/A/2", "n/A/2"}, {"/m/B/3", "n/B/3"}, {"/m/B/4", "n/B/4"}},
         {{"n/A/1"}, {"n/A/2"}, {"n/B/3"}, {"n/B/4"}},
         {"/m/B=n/B", "/m/A/2=n/A/2"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const TempDir folder;
        EXPECT_EQ(expect_found(row.library, row.disk), row.maps);
    }
}

TEST(MediaSearch, TakesNoFileThatMayBeAnother) {
    const struct {
        const char* name;
        std::vector<LibraryFile> library;
        std::vector<DiskFile> disk;
    } rows[] = {
        {"a name alone", {{"/m/A/1.mp3", ""}}, {{"n/B/1.mp3"}}},
        {"a name and a folder", {{"/m/A/1.mp3", "n/A/1.mp3"}}, {{"n/A/1.mp3"}, {"n/1.mp3"}}},
        {"twice", {{"/m/A/1.mp3", ""}}, {{"n/A/1.mp3"}, {"p/A/1.mp3"}}},
        {"twice, one as long", {{"/m/A/1.mp3", "p/A/1.mp3", 5}}, {{"n/A/1.mp3", 4}, {"p/A/1.mp3", 5}}},
        {"twice, both as long", {{"/m/A/1.mp3", "", 5}}, {{"n/A/1.mp3", 5}, {"p/A/1.mp3", 5}}},
        {"a folder, but another size", {{"/m/A/1.mp3", "", 5}}, {{"n/A/1.mp3", 4}}},
        {"two folders, but another size", {{"/m/A/B/1.mp3", "n/A/B/1.mp3", 5}}, {{"n/A/B/1.mp3", 4}}},
        {"two libraries alike",
         {{"/m/A/1", ""}, {"/m/B/2", ""}},
         {{"n/A/1"}, {"n/B/2"}, {"p/A/1"}, {"p/B/2"}}},
        {"a copy of all",
         {{"/m/A/1", "n/A/1", 5}, {"/m/B/2", "n/B/2", 6}},
         {{"n/A/1", 5}, {"n/B/2", 6}, {"back/A/1", 5}, {"back/B/2", 6}}},
        {"a copy of all that is another",
         {{"/m/A/1", "back/A/1", 5}, {"/m/B/2", "back/B/2", 6}},
         {{"n/A/1", 5}, {"n/B/2", 7}, {"back/A/1", 5}, {"back/B/2", 6}}},
        {"names of most in a folder",
         {{"/m/A/1", "n/1"}, {"/m/A/2", "n/2"}, {"/m/A/3", "n/3"}, {"/m/A/4", ""}},
         {{"n/1"}, {"n/2"}, {"n/3"}}},
        {"names of half a folder",
         {{"/m/A/1", ""}, {"/m/A/2", ""}, {"/m/A/3", ""}, {"/m/A/4", ""}, {"/m/A/5", ""}, {"/m/A/6", ""}},
         {{"n/1"}, {"n/2"}, {"n/3"}}},
        {"names of another album",
         {{"/m/A/1", "", 5}, {"/m/A/2", "", 5}, {"/m/A/3", "", 5}},
         {{"n/1", 4}, {"n/2", 6}, {"n/3", 5}}},
        {"a file of another track",
         {{"/m/A/B/1", "n/A/B/1"}, {"/m/A/B/2", "n/A/B/2"}, {"/x/B/1", ""}},
         {{"n/A/B/1"}, {"n/A/B/2"}}},
        {"all sizes are others",
         {{"/m/A/B/1", "n/A/B/1", 5},
          {"/m/A/B/2", "n/A/B/2", 5},
          {"/m/C/D/3", "n/C/D/3", 5},
          {"/x/E/4", "p/E/4", 5}},
         {{"n/A/B/1", 4}, {"n/A/B/2", 4}, {"n/C/D/3", 4}, {"p/E/4", 4}}},
        {"a stream, a climber, nothing",
         {{"http://x/A/1", ""}, {"/m/A/../A/1", ""}, {"/", ""}, {"", ""}},
         {{"n/A/1"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const TempDir folder;
        (void)expect_found(row.library, row.disk);
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
    (void)chmod(".", 0755);
    (void)chmod("media/closed", 0);
    const uid_t user = geteuid();
    const bool is_root = user == 0 && seteuid(65534) == 0;
    MediaSearch media;
    for (const char* path : {"/m/A/1", "/m/A/2", "/m/A/3"}) {
        media.add(path, 0, false);
    }
    EXPECT_EQ(media.look_through("entrance"), 0);
    EXPECT_EQ(MediaSearch().look_through("nowhere"), ENOENT);
    EXPECT_EQ(MediaSearch().look_through("outside/A/2"), ENOTDIR);
    media.match();
    EXPECT_TRUE(!is_root || seteuid(user) == 0);
    (void)chmod("media/closed", 0700);
    EXPECT_TRUE(media.find("/m/A/1").ends_with("/in/A/1"));
    EXPECT_EQ(media.found_count(), 1U);
    ASSERT_EQ(media.folder().unreadable().size(), 1U);
    EXPECT_TRUE(media.folder().unreadable()[0].path.ends_with("/closed"));
    EXPECT_EQ(media.folder().unreadable()[0].error, EACCES);
}

TEST(PrepareMedia, PathsLeadToWhatWasFoundAndToWhatIsInItsPlace) {
    const TempDir folder;
    const auto track = [](int id, const std::string& location, const std::string& more) {
        const std::string number = std::to_string(id);
        return "<key>" + number + "</key><dict><key>Track ID</key><integer>" + number +
               "</integer><key>Location</key><string>" + location + "</string>" + more + "</dict>";
    };
    const std::string old = "file://localhost" + folder.path() + "/old/";
    for (const char* path : {"old/A/1.mp3", "old/a/5.mp3", "media/new/A/1.mp3", "media/new/A/2.mp3",
                             "media/new/B/3.mp3", "media/new/A/4.mp3", "media/new/A/5.mp3"}) {
        write_file(path, "");
    }
    write_file("library.xml",
               "<plist><dict><key>Tracks</key><dict>" + track(1, old + "A/1.mp3", "") +
                   track(2, old + "A/2.mp3", "") + track(3, "file://localhost/D:/m/B/3.mp3", "") +
                   track(4, old + "A/4.mp3", "<key>Track Type</key><string>URL</string>") +
                   track(5, old + "A/5.mp3", "") + track(6, old + "A/6.mp3", "") + "</dict></dict></plist>");
    const RunResult file =
        run_program(TEST_PREPARE_PROGRAM, {"--media", "media", "--report", "library.xml", "prepared.xml"});
    EXPECT_EQ(file.status, 0);
    EXPECT_NE(file.err.find("1 missing"), std::string::npos) << file.err;
    EXPECT_NE(file.err.find("2 found below the folder of --media"), std::string::npos) << file.err;
    std::string locations;
    for (const std::string& line : split(read_file("prepared.xml"), '\n')) {
        const size_t at = line.find("file:");
        locations += at == std::string::npos ? "" : line.substr(at, line.find('<', at) - at) + "\n";
    }
    const std::string found = "file://localhost" + folder.path() + "/media/new/";
    EXPECT_EQ(locations, old + "A/1.mp3\n" + found + "A/2.mp3\n" + found + "B/3.mp3\n" + old + "A/4.mp3\n" +
                             old + "a/5.mp3\n" + old + "A/6.mp3\n");
    const RunResult pipe = run_line("cat library.xml | " TEST_EMULATOR " '" +
                                    std::string(TEST_PREPARE_PROGRAM) + "' --media media -");
    EXPECT_EQ(pipe.out, read_file("prepared.xml"));
    for (const char* wrong : {"", "nowhere", "library.xml"}) {
        const RunResult run =
            run_program(TEST_PREPARE_PROGRAM, {"--media", wrong, "library.xml", "other.xml"});
        EXPECT_EQ(run.status, *wrong == '\0' ? 2 : 1) << run.err;
    }
    EXPECT_FALSE(std::filesystem::exists("other.xml"));
}
