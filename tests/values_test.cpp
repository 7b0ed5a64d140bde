// Values of library lines, and what is made of them: texts, numbers, paths, stamps and durations.

#include "tests/support.h"

#include <climits>

#include "itunes/library_key.h"
#include "itunes/library_values.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"

namespace {

const auto value = [](std::string line) { return take(itunes_get_value(line.data(), "string")); };
const auto path = [](std::string location) { return take(itunes_location_to_path(location.data())); };
const auto duration = [](int32_t milliseconds) { return take(itunes_format_duration(milliseconds)); };
const auto decoded = [](std::string text) {
    itunes_url_decode(text.data());
    return text.substr(0, text.find('\0'));
};

} // namespace

TEST(Values, StandBetweenTheFirstOpeningTagAndTheFirstClosingTagAfterIt) {
    EXPECT_EQ(value("<key>Name</key><string>Tom &#38; Jerry</string>"), "Tom & Jerry");
    EXPECT_EQ(value("</string><<string>a</strings>b<-string><</string><string>c</string>"),
              "a</strings>b<-string><");
    EXPECT_EQ(value("<string></string>"), "");
    EXPECT_EQ(value("<string>no end") + value("<strings>x</strings>") + value("<integer>1</integer>"),
              "(none)(none)(none)");
    char number[] = "<integer> -12kg</integer>";
    EXPECT_EQ(itunes_get_integer_value(number, "integer"), -12);
    char nameless[] = "a<b><>c</b></>";
    EXPECT_EQ(take(itunes_get_value(nameless, "")), "c</b>");
    char two[] = "<date>d</date><string>s</string>";
    EXPECT_STREQ(itunes_find_value(two, library_element_date | library_element_string), "s");
}

TEST(Values, OfEachKeyAreTakenFromTheElementsThatAreOffered) {
    std::string offered;
    for (const std::span<const LibraryKey> keys : {itunes_track_keys(), itunes_playlist_keys()}) {
        for (const LibraryKey& key : keys) {
            offered += std::string(key.name) + " " + std::to_string(key.elements) + "; ";
        }
    }
    EXPECT_EQ(
        offered,
        "Name 1; Artist 1; Album Artist 1; Protected 8; Composer 1; Album 1; Rating 2; Genre 1; Size 2; "
        "Total Time 2; Track Number 2; Bit Rate 2; Sample Rate 2; Play Count 2; Disc Count 2; Disc Number 2; "
        "Date Modified 5; Play Date UTC 5; Track Type 1; Year 2; Has Video 8; Compilation 8; Location 1; "
        "Name 1; Playlist ID 2; Playlist Persistent ID 1; Parent Persistent ID 1; Folder 8; Visible 16; "
        "Distinguished Kind 32; Podcasts 8; Videos 8; Smart Info 32; ");
}

TEST(Values, AreDecodedInPlace) {
    EXPECT_EQ(decoded("A&amp;B My%20Song+1.mp3 %e2%82%AC%aF"), "A&amp;B My Song 1.mp3 \xE2\x82\xAC\xAF");
    EXPECT_EQ(decoded("%2541 %26#65; a&#59;b;c"), "%41 &#65; a;b;c") << "once";
    const std::string halves = "100%4G %zz %z4 %4z %/0 %:0 %@0 %G0 %`0 %g0 % %4";
    EXPECT_EQ(decoded(halves), halves);
    EXPECT_EQ(decoded("a&#x26;gone") + decoded("b%00gone") + decoded("c&#"), "abc");
    EXPECT_EQ(decoded("&#321;&#99999999999;&#-191; &# 65 and all that; x"), "A\xFF"
                                                                            "A A x");
    EXPECT_EQ(decoded("open &#66 to the end"), "open B");
}

TEST(Values, BecomeLocalPaths) {
    EXPECT_EQ(path("file://localhost/Users/anna/A/01 Song.mp3"), "/Users/anna/A/01 Song.mp3");
    EXPECT_EQ(path("file:///share/Music/Album/"), "/share/Music/Album");
    EXPECT_EQ(path("file:/music/localhost/a.mp3"), "lhost/a.mp3");
    EXPECT_EQ(path("file://localhost/C:/Music/a.mp3"), "C:/Music/a.mp3");
    EXPECT_EQ(path("file://localhost//nas/music/a.mp3"), "/music/a.mp3");
    EXPECT_EQ(path("file://localhost///music/a.mp3"), "/music/a.mp3");
    EXPECT_EQ(path("file://localhost\\\\nas\\music\\a.mp3"), "\\music\\a.mp3");
    EXPECT_EQ(path("file://localhost/\\nas/a.mp3"), "/\\nas/a.mp3");
    EXPECT_EQ(path("file:ab:"), "b:");
    for (const char* empty : {"file://localhost//nas", "file://localhost/", "file:", "/", "", "localhost"}) {
        EXPECT_EQ(path(empty), "") << empty;
    }
}

TEST(Values, BecomeStampsAndDurations) {
    EXPECT_EQ(itunes_modification_stamp("2008-03-15T10:20:30Z"), 894795630); // months of 31 days
    EXPECT_EQ(itunes_modification_stamp("1980-00-00T00:00:00"), 0);
    EXPECT_EQ(itunes_modification_stamp("2047-12-31T23:59:59Z"), -2141360897);
    EXPECT_EQ(itunes_modification_stamp("1980-00-00T00:00:0"), -48); // a digit that is missing
    EXPECT_EQ(itunes_modification_stamp("\xFF"
                                        "980-00-00T00:00:00"),
              -1250988032);
    EXPECT_EQ(itunes_modification_stamp(""), 1913210160);
    EXPECT_EQ(duration(0) + " " + duration(3'599'999) + " " + duration(3'600'000),
              "0:00:00.000 0:59:59.999 1:00:00.000");
    EXPECT_EQ(duration(59'000) + " " + duration(3'540'000), "0:00:59.000 0:59:00.000");
    EXPECT_EQ(duration(INT_MAX) + " " + duration(-1) + " " + duration(INT_MIN),
              "596:31:23.647 0:00:00.-01 -596:-31:-23.-");
}
