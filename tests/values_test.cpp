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
    EXPECT_EQ(value("<string>no end") + value("<strings>x</strings>") + value("<string></string>") +
                  value("<integer>1</integer>"),
              "(none)(none)(none)");
    char number[] = "<integer> -12kg</integer>";
    EXPECT_EQ(itunes_get_integer_value(number, "integer"), -12);
    char nameless[] = "a<b><>c</b></>";
    EXPECT_EQ(take(itunes_get_value(nameless, "")), "c</b>");
    char two[] = "<date>d</date><string>s</string>";
    EXPECT_STREQ(itunes_find_value(two, library_element_date | library_element_string), "s");
}

TEST(Values, AreDecodedInPlace) {
    EXPECT_EQ(decoded("A&amp;B My%20Song+1.mp3 %e2%82%AC%aF"), "A&amp;B My Song 1.mp3 \xE2\x82\xAC\xAF");
    EXPECT_EQ(decoded("%2541 %26#65; a&#59;b;c"), "%41 &#65; a;b;c") << "once";
    const std::string halves = "100%4G %zz %z4 %4z %/0 %:0 %@0 %G0 %`0 %g0 % %4";
    EXPECT_EQ(decoded(halves), halves);
    EXPECT_EQ(decoded("a&#x26;gone") + decoded("b%00gone") + decoded("c&#"), "abc");
    EXPECT_EQ(decoded("&#321;&#99999999999;&#-191; &# 65 and all that; &#66 to the end"), "A\377A A B");
}

TEST(Values, BecomeLocalPaths) {
    EXPECT_EQ(path("file:///share/Music/01 Album/"), "/share/Music/01 Album");
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
    EXPECT_EQ(itunes_modification_stamp("2047-12-31T23:59:59Z"), -2141360897);
    EXPECT_EQ(itunes_modification_stamp("1980-00-00T00:00:0"), -48); // a digit that is missing
    EXPECT_EQ(itunes_modification_stamp("\377980-00-00T00:00:00"), -1250988032);
    EXPECT_EQ(itunes_modification_stamp(""), 1913210160);
    EXPECT_EQ(duration(0) + " " + duration(3'599'999) + " " + duration(3'600'000),
              "0:00:00.000 0:59:59.999 1:00:00.000");
    EXPECT_EQ(duration(INT_MAX) + " " + duration(-1) + " " + duration(INT_MIN),
              "596:31:23.647 0:00:00.-01 -596:-31:-23.-");
}
