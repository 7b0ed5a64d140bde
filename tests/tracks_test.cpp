// Track dictionaries, their records, and which tracks can be played.

#include "tests/import_fixture.h"

using namespace fixture;

using Tracks = Import;

TEST_F(Tracks, HoldWhatEachKeyLeadsTo) {
    lay_out(track(2, "%61.mp4",
                  text("Sort Name", "no property") + text("Album Artist", "Caf\xC3\xA9 &#38; Co") +
                      "<key>Genre</key>" + text("Composer", "%n%s%%") + number("Rating", "79") +
                      "<key>Play Count</key>\n" + number("Disc Count", "2") + number("Disc Number", "x") +
                      "<key>Play Date UTC</key><date>2008-01-15T20:31:12Z</date>\n" + number("Year", "2005") +
                      number("Year", "2005-06-07") + flag("Has Video") + flag("Compilation") +
                      number("Track Number", "0") + number("Bit Rate", "192") + number("Bit Rate", "0") +
                      number("Sample Rate", "0") + text("Genre", "") + number("Size", "4000000000")) +
                "</dict>" + named("too late") + text("Artist", "between dictionaries"),
            "", "a.mp4");
    EXPECT_EQ(
        import(),
        imported(">>>>\n0301Bobject.item.videoItem.movie\n45001d\n3C005a.mp4\n3D00A2147483647\n3F003192\n"
                 "2B0011\n2100A2005-06-07\n230132008-01-15T20:31:12\n2F0010\n2E0012\n1F0010\n"
                 "200013\n18006%n%s%%\n1B00ACaf\xC3\xA9 & Co\n"));
}

TEST_F(Tracks, OverwriteLentTextsAndReplaceNumbers) {
    lay_out("<key>Track ID</key>\n" + number("Size", "1") + "<key>Size</key>\n<key>Rating</key>\n" +
                text("Date Modified", "1980-00-00T00:00:01Z</string><date>1980-00-00T00:00:02Z</date>") +
                "<key>Date Modified</key>\n<key>Total Time</key>\n<key>Play Date UTC</key>\n" +
                text("Play Date UTC", "2001Z") + number("Play Count", "1") + named("first") +
                named("second") + number("Play Count", "2") + text("Location", "") +
                text("Location", "file:b.mp3") + text("Location", "file:a.mp3") +
                "<key>Location</key>\n<key>Name</key>\n" +
                "<key>Album</key><string>at the end of the file\n" + text("Play Date UTC", "Z"),
            "", "a.mp3 b.mp3");
    EXPECT_EQ(import(),
              imported(music + "3C005a.mp3\n45001d\n3C005b.mp3\n45001d\n14006second\n14005first\n1F0012\n"
                               "230042001\n3E00B0:00:00.000\n220010\n220010\n3D0010\n3D0010\n"));
}

TEST_F(Tracks, GetARecordWhereTheyAreFilesAndPlayWhereTheyHaveAPlace) {
    const std::string url = text("Track Type", "URL");
    lay_out(track(1, "a.mp3", flag("Protected")) + number("Track ID", "2") + url +
                text("Track Type", "file") + text("Location", "http://radio/%41") + "</dict>\n" +
                track(3, "missing.mp3") + number("Track ID", "4") + named("no location") + "</dict>\n" +
                track(5, "a.mp3",
                      "<key>Protected</key><false/>\n" + url + text("Track Type", "File") +
                          text("Track Type", "url")) +
                number("Track ID", "6") + text("Location", "file:a.mp3") + url +
                "<key>Track Type</key>\n</dict>\n",
            playlist("all", "P", {6, 5, 4, 3, 2, 1, 0, 3}) + "<key>Track ID</key>\n", "a.mp3");
    const std::vector<std::string> playable = {"a.mp3", "a.mp3", "missing.mp3", "http://radio/A",
                                               "missing.mp3"};
    EXPECT_EQ(import(), imported(music + "3C005a.mp3\n", {{"all##M", "all", playable}}));
}

TEST_F(Tracks, OfALongLineAreReadInPiecesOfItsBuffer) {
    for (const size_t size :
         {1024U, 1025U}) { // the closing tag ends in the last byte of a piece or beyond it
        const std::string title(size - named("").size() + 1, 'n');
        lay_out(track(1, "a.mp3", named(title)), "", "a.mp3");
        EXPECT_EQ(import()["db/itunes.import.items"],
                  music + "3C005a.mp3\n" + (size == 1024 ? "143E0" + title + "\n" : ""));
    }
}
