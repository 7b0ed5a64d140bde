// Which playlists get a file, under which name, title and type.

#include "tests/import_fixture.h"

namespace {

class Playlists : public Import {
protected:
    /// What an import of the laid out library, whose tracks are not there, leaves with these playlists.
    static Tree exported(const Tree& playlists) {
        Tree all = imported("");
        for (const auto& [name, document] : playlists) {
            all["db/iTunes-playlist-" + name + ".wpl"] = document;
        }
        return all;
    }
};

std::string parent(const std::string& persistent_id) {
    return text("Parent Persistent ID", persistent_id);
}

const std::string tracks = track(1, "a.mp3") + track(2, "b.mp3") + track(3, "x.mov/plain") +
                           track(4, "c.mp4") + track(5, "d.m4v") + track(6, "e.MOV") + track(7, "f.mov");

} // namespace

TEST_F(Playlists, HaveTheirFoldersInTheirTitles) {
    lay_out(tracks,
            playlist("Holidays &#38; more", "F1", {1}, flag("Folder")) + folder("2009", "F2", "F1") +
                text("Playlist Persistent ID", "F3") + parent("F2") + flag("Folder") + // without a name
                folder("June", "F4", "F3") + playlist("Road Trip", "P1", {1, 1}, parent("F4")) +
                text("Name", "takes the id that the last walk reached") + "<key>Playlist Items</key>\n" +
                number("Track ID", "2") + text("Name", "only a parent") + parent("F2") +
                "<key>Playlist Items</key>\n" + playlist("old name", "P2", {}) +
                playlist("new name", "P2", {2}) + text("Name", "not in the folder list") +
                text("Playlist Persistent ID", "P9") + number("Track ID", "1"));
    EXPECT_EQ(import(), exported({{"Holidays___more##M", wpl('M', "Holidays & more", {"b.mp3"})},
                                  {"Holidays___more_2009_June_Road_Trip##M",
                                   wpl('M', "Holidays & more/2009/June/Road Trip", {"a.mp3", "a.mp3"})},
                                  {"new_name##M", wpl('M', "new name", {"b.mp3"})}}));
}

TEST_F(Playlists, OfSomeNamesAndKindsAreNeverExported) {
    lay_out(tracks, playlist("Library", "P1", {1}) + playlist("Music", "P2", {1}) +
                        playlist("Podcasts", "P3", {1}) + playlist("Recently Added", "P4", {1}) +
                        playlist("smartplaylist", "P5", {1}) +
                        playlist("built in", "P6", {1}, number("Distinguished Kind", "4")) +
                        playlist("smart", "P7", {1}, "<key>Smart Info</key>\n") +
                        playlist("invisible", "P8", {1}, "<key>Visible</key><false/>\n") +
                        playlist("of podcasts", "P9", {1}, flag("Podcasts")) + playlist("music", "P10", {1}));
    EXPECT_EQ(import(), exported({{"music##M", wpl('M', "music", {"a.mp3"})}}));
}

TEST_F(Playlists, AreVideoByTheirFirstPlayableTrackOrByAPlaylistBefore) {
    lay_out(tracks, playlist("film first", "P1", {9, 5, 6}) + playlist("film later", "P2", {6, 5}) +
                        playlist("nothing to play", "P3", {9}, flag("Videos")) +
                        text("Name", "unknown to the folder list") + text("Playlist Persistent ID", "P4") +
                        "<key>Visible</key><false/>\n" + number("Track ID", "2") + // takes the type
                        playlist("music again", "P5", {2}) + playlist("clips", "P6", {1}, flag("Videos")) +
                        playlist("mp4", "P7", {4}) + playlist("mov", "P8", {7}) +
                        playlist("no stop", "P9", {3}));
    EXPECT_EQ(import(), exported({{"film_first##V", wpl('V', "film first", {"d.m4v", "e.MOV"})},
                                  {"film_later##M", wpl('M', "film later", {"e.MOV", "d.m4v"})},
                                  {"music_again##M", wpl('M', "music again", {"b.mp3"})},
                                  {"clips##V", wpl('V', "clips", {"a.mp3"})},
                                  {"mp4##V", wpl('V', "mp4", {"c.mp4"})},
                                  {"mov##V", wpl('V', "mov", {"f.mov"})},
                                  {"no_stop##M", wpl('M', "no stop", {"x.mov/plain"})}}));
}

TEST_F(Playlists, InCirclesOfParentsEnd) {
    lay_out(track(1, "plain"), playlist("A", "A", {1}, parent("B") + flag("Folder")) +
                                   playlist("B", "B", {1}, parent("A") + flag("Folder")) +
                                   playlist("Self", "S", {1}, parent("S")));
    EXPECT_EQ(import(), exported({{"B_A##M", wpl('M', "B/A", {"plain"})},
                                  {"A_B##M", wpl('M', "A/B", {"plain"})},
                                  {"Self##M", wpl('M', "Self", {"plain"})}}));
}

TEST_F(Playlists, OfOneFileNameLeaveTheLast) {
    lay_out(tracks, playlist("Rock/Best", "P1", {1, 1, 1}) + playlist("Rock Best", "P2", {1}));
    EXPECT_EQ(import(), exported({{"Rock_Best##M", wpl('M', "Rock Best", {"a.mp3"})}}));
}

TEST_F(Playlists, WithoutItemsLeaveTheirTextsToTheNext) {
    lay_out(tracks, text("Name", "empty") + text("Playlist Persistent ID", "P1") + parent("F") + "</dict>\n" +
                        text("Playlist Persistent ID", "P2") + "<key>Playlist Items</key>\n" +
                        text("Name", "named, then not") + "<key>Name</key>\n" +
                        text("Playlist Persistent ID", "P3") + parent("F") + "<key>Playlist Items</key>\n" +
                        folder("F", "F") + text("Name", "takes the first name") +
                        text("Playlist Persistent ID", "P2") + number("Track ID", "1") +
                        text("Name", "no entry") + text("Playlist Persistent ID", "P3") +
                        number("Track ID", "1"));
    EXPECT_EQ(import(), exported({{"F_empty##M", wpl('M', "F/empty", {"a.mp3"})}}));
}

TEST_F(Playlists, AreNotNamedByNamesBehindTheirFlags) {
    lay_out(tracks, text("Playlist Persistent ID", "F") + flag("Folder") + text("Name", "Folder") +
                        "<key>Smart Info</key>\n<key>Playlist Items</key>\n" + // the name is forgotten
                        text("Playlist Persistent ID", "P") + parent("F") + text("Name", "Inside") +
                        "<key>Playlist Items</key>\n" + number("Track ID", "1") +
                        text("Playlist Persistent ID", "D") + number("Distinguished Kind", "2") +
                        text("Name", "Movies") + "<key>Playlist Items</key>\n" + number("Track ID", "1"));
    EXPECT_EQ(import(), exported({{"Inside##M", wpl('M', "Inside", {"a.mp3"})},
                                  {"Movies##M", wpl('M', "Movies", {"a.mp3"})}}));
}

TEST_F(Playlists, OfNamesThatAreTooLongAreLoggedAndCut) {
    std::string nested;
    for (int depth = 1; depth <= 600; ++depth) { // far more folders than a title holds
        nested += folder("ff", std::to_string(depth), std::to_string(depth + 1));
    }
    lay_out(tracks, playlist(std::string(240, 'n'), "P1", {1, 1}) + nested +
                        playlist("in", "P2", {1}, parent("1")) + playlist("next", "P3", {1}));
    Tree left = exported({{"next##M", wpl('M', "next", {"a.mp3"})}});
    const std::string not_open = "TIME server/common/upnp_wpl.cpp:29: File not open \n";
    left["log"] = "TIME LOG_PLUGIN:itunes-import: starting with (l.xml) (db)\n" + not_open + not_open +
                  "TIME LOG_PLUGIN:itunes-import: l.xml imported\n";
    EXPECT_EQ(import({"-logfile", "log"}), left);
}
