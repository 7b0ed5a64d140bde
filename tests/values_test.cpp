// Values of library lines, and what is made of them: texts, numbers, paths, stamps and durations.

#include "tests/support.h"

#include <climits>

#include "common/upnp_text.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"

TEST(Values, StandBetweenTheFirstOpeningTagAndTheFirstClosingTagAfterIt) {
    expect_answers({{"<key>Name</key><string>Tom &#38; Jerry</string>", "Tom & Jerry"},
                    {"<string>a</string><string>b</string>", "a"},
                    {"</string><string>b</string>", "b"},
                    {"<string></string>", ""},
                    {"<string>no end", "(none)"},
                    {"<strings>x</strings>", "(none)"},
                    {"<string>x</strings>y</string>", "x</strings>y"},
                    {"<integer>1</integer>", "(none)"}},
                   [](std::string line) { return take(itunes_get_value(line.data(), "string")); });
    expect_answers({{"<integer> -12kg</integer>", "-12"}, {"<string>1</string>", "0"}}, [](std::string line) {
        return std::to_string(itunes_get_integer_value(line.data(), "integer"));
    });
}

TEST(Values, AreDecodedInPlace) {
    expect_answers(
        {{"A&amp;B", "A&amp;B"},
         {"a/My%20Song+1.mp3", "a/My Song 1.mp3"},
         {"%e2%82%AC%aF", "\xE2\x82\xAC\xAF"},
         {"%2541 %26#65;", "%41 &#65;"},
         {"100%4G %zz %z4 %4z %/0 %:0 %@0 %G0 %`0 %g0 %", "100%4G %zz %z4 %4z %/0 %:0 %@0 %G0 %`0 %g0 %"},
         {"ends in %4", "ends in %4"},
         {"a&#59;b;c&d;", "a;b;c&d;"},
         {"&#x26;gone", ""},
         {"a%00b", "a"},
         {"&#321;&#99999999999;.", "A\xFF."},
         {"&#-191; &# 65 and all that; x", "A A x"},
         {"open &#66 to the end", "open B"},
         {"&#", ""}},
        [](std::string text) { return itunes_url_decode(text.data()), std::string(text.c_str()); });
}

TEST(Values, ReadAsNumbersOf32BitsThatSaturate) {
    expect_answers({{"", "0"},
                    {"x1", "0"},
                    {" \t\n-12kg", "-12"},
                    {"+7", "7"},
                    {"0x10", "0"},
                    {"2147483647", "2147483647"},
                    {"2147483648", "2147483647"},
                    {"-2147483649", "-2147483648"},
                    {"99999999999999999999999", "2147483647"}},
                   [](const std::string& text) { return std::to_string(upnp_parse_int32(text.c_str())); });
}

TEST(Values, BecomeLocalPaths) {
    expect_answers({{"file://localhost/Users/anna/A/01 Song.mp3", "/Users/anna/A/01 Song.mp3"},
                    {"file://localhost/C:/Music/a.mp3", "C:/Music/a.mp3"},
                    {"file://localhost//nas/music/a.mp3", "/music/a.mp3"},
                    {"file://localhost\\\\nas\\music\\a.mp3", "\\music\\a.mp3"},
                    {"file://localhost///music/a.mp3", "/music/a.mp3"},
                    {"file://localhost/\\nas/a.mp3", "/\\nas/a.mp3"},
                    {"file:///share/Music/a.mp3", "/share/Music/a.mp3"},
                    {"file:/share/Music/a.mp3", "/share/Music/a.mp3"},
                    {"file://localhost/share/Music/Album/", "/share/Music/Album"},
                    {"file:/music/localhost/a.mp3", "lhost/a.mp3"},
                    {"file://localhost//nas", ""},
                    {"file://localhost/", ""},
                    {"file:", ""},
                    {"/", ""},
                    {"", ""},
                    {"localhost", ""},
                    {"file:ab:", "b:"}},
                   [](std::string location) { return take(itunes_location_to_path(location.data())); });
}

TEST(Values, BecomeStampsOfACalendarOf31DayMonths) { // a digit that is missing counts -48
    expect_answers(
        {{"2008-03-15T10:20:30Z", "894795630"},
         {"1980-00-00T00:00:00", "0"},
         {"2047-12-31T23:59:59Z", "-2141360897"},
         {"1980-00-00T00:00:0", "-48"},
         {"\xFF"
          "980-00-00T00:00:00",
          "-1250988032"},
         {"", "1913210160"}},
        [](const std::string& date) { return std::to_string(itunes_modification_stamp(date.c_str())); });
}

TEST(Values, BecomeDurationsOf14Characters) {
    const std::pair<int32_t, const char*> rows[] = {{0, "0:00:00.000"},       {245000, "0:04:05.000"},
                                                    {3723004, "1:02:03.004"}, {INT32_MAX, "596:31:23.647"},
                                                    {-1, "0:00:00.-01"},      {INT32_MIN, "-596:-31:-23.-"}};
    for (const auto& [milliseconds, duration] : rows) {
        EXPECT_EQ(take(itunes_format_duration(milliseconds)), duration);
    }
}
