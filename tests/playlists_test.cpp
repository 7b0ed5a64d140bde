// Which playlists get a file, under which name, title and type.

#include "tests/import_fixture.h"

#include "itunes/import_observer.h"

using namespace fixture;

using Playlists = Import;

namespace {

const std::string tracks = track(1, "a.mp3") + track(2, "b.mp3") + track(3, "x.mov/plain") +
                           track(4, "c.mp4") + track(5, "d.m4v") + track(6, "e.MOV") + track(7, "f.1.mov") +
                           track(8, "plain");

} // namespace

TEST_F(Playlists, HaveTheirFoldersInTheirTitles) {
    lay_out(tracks,
            folder("of an older folder", "F1") + playlist("Holidays &#38; more", "F1", {1}, flag("Folder")) +
                folder("2009", "F2", inside("F1")) + with_id("F3") + inside("F2") + flag("Folder") +
                folder("June", "F4", inside("F3")) + playlist("Road Trip", "P1", {1, 1}, inside("F4")) +
                named("takes the id that the last walk reached") + items_key + plays(2) +
                named("only a parent") + inside("F2") + items_key + playlist("old", "P2", {}) +
                playlist("new", "P2", {2}) + named("not in the folder list") + with_id("p1") + plays(1));
    EXPECT_EQ(import(), imported("", {{"Holidays___more##M", "Holidays & more", {"b.mp3"}},
                                      {"Holidays___more_2009_June_Road_Trip##M",
                                       "Holidays & more/2009/June/Road Trip",
                                       {"a.mp3", "a.mp3"}},
                                      {"new##M", "new", {"b.mp3"}}}));
}

TEST_F(Playlists, OfSomeNamesAndKindsAreNeverExported) {
    const std::string smart = "<key>Smart Info</key>\n";
    std::string playlists = playlist("smart", "P1", {1}, smart) +
                            playlist("built in", "P2", {1}, number("Distinguished Kind", "4") + smart) +
                            playlist("invisible", "P3", {1}, "<key>Visible</key><false/>\n") +
                            playlist("of podcasts", "P4", {1}, flag("Podcasts")) +
                            playlist("music", "P5", {1}) + playlist("late", "P6", {9}) + smart +
                            named("over") + "</dict>\n" + smart;
    for (const char* never : {"Library", "Music", "Podcasts", "Recently Added", "smartplaylist"}) {
        playlists += playlist(never, never, {1});
    }
    lay_out(tracks + track(10, "a.mp3", named("title") + "<key>Name</key>\n"), playlists);
    EXPECT_EQ(import(), imported("", {{"music##M", "music", {"a.mp3"}}}));
}

TEST_F(Playlists, AreToldAsTheyComeAndGo) {
    lay_out(tracks, playlist("in", "P1", {9, 5}, inside("F") + "<key>Smart Info</key></dict>\n") +
                        playlist("Music", "P1", {1}, number("Distinguished Kind", "4")) + folder("of", "F") +
                        playlist("in", "P1", {9, 5, 5}, inside("F")) +
                        playlist(std::string(240, 'n'), "P2", {1}) + "<key>Name</key>\n" + with_id("none") +
                        plays(1) + plays(1));
    static constexpr const char* words[] = {"named", "reserved",   "built in",     "smart", "item",
                                            "file",  "not listed", "not writable", "entry", "end"};
    std::string told;
    const auto tell = [](void* context, const PlaylistEvent* event) {
        std::string line = words[static_cast<size_t>(event->kind)];
        for (const char* text : {event->title, event->type, event->location}) {
            line += text == nullptr ? "" : " " + std::string(text, strnlen(text, 9));
        }
        line += event->track_id == 0 ? "" : " " + std::to_string(event->track_id);
        static_cast<std::string*>(context)->append(line + ", ");
    };
    const ImportObserver observer = {&told, nullptr, nullptr, tell};
    import_observer = &observer;
    TearDown();
    import_observer = nullptr;
    EXPECT_EQ(told, "named in, end, smart, item 9, item 5, "
                    "named Music, reserved, built in, item 1, "
                    "named of, "
                    "named in, item 9, item 5, file of/in V, entry d.m4v 5, item 5, entry d.m4v 5, "
                    "named nnnnnnnnn, item 1, not writable nnnnnnnnn M, "
                    "named , item 1, not listed, item 1, ");
}

TEST_F(Playlists, AreVideoByTheirFirstPlayableTrackOrByAPlaylistBefore) {
    lay_out(tracks, playlist("film first", "P1", {9, 5, 6}) + playlist("film later", "P2", {6, 5}) +
                        playlist("nothing to play", "P3", {9}, flag("Videos")) +
                        named("unlisted, takes the type") + with_id("P4") + "<key>Visible</key><false/>\n" +
                        plays(2) + playlist("again", "P5", {2}) +
                        playlist("clips", "P6", {1}, flag("Videos")) + playlist("mp4", "P7", {4}) +
                        playlist("mov", "P8", {7}) + playlist("no", "P9", {8}) + playlist("stop", "PA", {3}));
    EXPECT_EQ(import(), imported("", {{"film_first##V", "film first", {"d.m4v", "e.MOV"}},
                                      {"film_later##M", "film later", {"e.MOV", "d.m4v"}},
                                      {"again##M", "again", {"b.mp3"}},
                                      {"clips##V", "clips", {"a.mp3"}},
                                      {"mp4##V", "mp4", {"c.mp4"}},
                                      {"mov##V", "mov", {"f.1.mov"}},
                                      {"no##M", "no", {"plain"}},
                                      {"stop##M", "stop", {"x.mov/plain"}}}));
}

TEST_F(Playlists, InCirclesOfParentsEnd) {
    lay_out(tracks, playlist("A", "A", {1}, inside("B") + flag("Folder")) +
                        playlist("B", "B", {1}, inside("A") + flag("Folder")) +
                        playlist("S", "S", {1}, inside("S")) + playlist("X", "X", {1}, inside("A")));
    EXPECT_EQ(import(), imported("", {{"B_A##M", "B/A", {"a.mp3"}},
                                      {"A_B##M", "A/B", {"a.mp3"}},
                                      {"S##M", "S", {"a.mp3"}},
                                      {"B_A_X##M", "B/A/X", {"a.mp3"}}}));
}

TEST_F(Playlists, WithoutItemsLeaveTheirTextsToTheNext) {
    lay_out(tracks, named("empty") + with_id("P1") + inside("F") + "</dict>\n" + with_id("P2") + items_key +
                        named("named, then not") + "<key>Name</key>\n" + with_id("P3") + inside("F") +
                        items_key + folder("F", "F") + named("takes the first name") + with_id("P2") +
                        plays(1) + named("no entry") + with_id("P3") + plays(1) +
                        playlist("Rock/Best", "P4", {1, 1, 1}) + playlist("Rock Best", "P5", {1}));
    EXPECT_EQ(import(),
              imported("", {{"F_empty##M", "F/empty", {"a.mp3"}},
                            {"Rock_Best##M", "Rock Best", {"a.mp3"}}})); // the last of one file name
}

TEST_F(Playlists, AreNotNamedByNamesBehindTheirFlags) {
    lay_out(tracks, with_id("F") + flag("Folder") + named("forgotten") + "<key>Smart Info</key>\n" +
                        items_key + with_id("P") + inside("F") + named("Inside") + items_key + plays(1) +
                        with_id("D") + number("Distinguished Kind", "2") + named("Movies") + items_key +
                        plays(1));
    EXPECT_EQ(import(),
              imported("", {{"Inside##M", "Inside", {"a.mp3"}}, {"Movies##M", "Movies", {"a.mp3"}}}));
}
