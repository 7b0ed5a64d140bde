// What itunes-check finds below a folder: the command that it prints works as it stands.

#include "tests/companion_fixture.h"

#include "tools/itunes-check/media.h"

using namespace fixture;
using CheckMedia = Companion;

TEST_F(CheckMedia, PrintsACommandThatWorks) {
    const std::string locations[] = {"file://localhost/m/a=b%25/A'x/1.mp3",
                                     "file://localhost/m/a=b%25/B/2.mp3", "file://NAS/share/$HOME/C/3.mp3",
                                     "file://NAS/share/$HOME/D/4.mp3", "file://localhost/D:/e/F/5.mp3"};
    std::string tracks;
    int id = 0;
    for (const std::string& location : locations) {
        tracks += whole_track(++id, text("Track Type", "File") + text("Location", location));
    }
    write_file("it's.xml", library(tracks));
    for (const char* file : {"new $x/A'x/1.mp3", "new $x/B/2.mp3", "z/C/3.mp3", "z/D/4.mp3", "z/5.mp3"}) {
        write_file(std::string("me dia/") + file, "");
    }
    const RunResult listed = run_line("check --list --media 'me dia' \"it's.xml\" | grep ^map");
    const std::string media = folder_.path() + "/me dia/";
    EXPECT_EQ(listed.out,
              "map\t2\t/m/a=b%\t" + media + "new $x\nmap\t2\t//NAS/share/$HOME\t" + media + "z\n");
    const RunResult objects =
        run_line("check --json --media 'me dia' \"it's.xml\" | grep '\"map\"' | head -1");
    EXPECT_EQ(objects.out,
              "{\"kind\":\"map\",\"tracks\":2,\"from\":\"/m/a=b%\",\"to\":\"" + media + "new $x\"}\n");
    const std::string summary = run_line("check --media 'me dia' \"it's.xml\"").out;
    EXPECT_NE(summary.find("the 4 files that were found below\n  me dia, of 5 that"), std::string::npos);
    EXPECT_EQ(summary.find("If the files of /"), std::string::npos); // which the command leads to
    const size_t start = summary.find("    itunes-prepare ");
    ASSERT_NE(start, std::string::npos) << summary;
    const size_t end = summary.find("prepared.xml\n", start) + 13;
    write_file("command",
               command("itunes-prepare", "itunes-prepare") + "\n" + summary.substr(start, end - start));
    EXPECT_EQ(run_line("bash command").status, 0);
    EXPECT_NE(run_line("check prepared.xml").out.find("Tracks: 4 of 5 will arrive"), std::string::npos);
    EXPECT_EQ(run_line("check --media nowhere prepared.xml >/dev/null").err,
              "itunes-check: nowhere: No such file or directory\n");
}

TEST_F(CheckMedia, NamesTheFolderWhereMapsAreMany) {
    CheckedMedia media = {"media", {}};
    for (int folder = 0; folder < 21; ++folder) {
        const std::string name = std::to_string(folder);
        for (const char* file : {"/A/1", "/B/2"}) {
            write_file("media/x" + name + file + name, "");
            media.search.add("/m" + name + file + name, 0, false);
        }
    }
    EXPECT_EQ(media.search.look_through("media"), 0);
    media.search.match();
    EXPECT_EQ(media.search.maps().size(), 21U);
    EXPECT_NE(
        media_advice(media, "'l'").find("    itunes-prepare --media 'media' \\\n      'l' prepared.xml\n"),
        std::string::npos);
}
