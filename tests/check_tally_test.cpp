// What a check gathers while an import reads: playlists, examples, folders, progress.

#include "tests/support.h"

#include <algorithm>

#include "tools/itunes-check/explanation.h"
#include "tools/itunes-check/request.h"

namespace {

using enum PlaylistEventKind;
using Outcome = CheckedOutcome;

/// What becomes of the playlists that these events tell of.
std::vector<CheckedPlaylist> heard(const std::vector<PlaylistEvent>& events) {
    PlaylistListener listener(false);
    std::ranges::for_each(events, [&](const PlaylistEvent& event) { listener.add_event(event); });
    return listener.finish("");
}

TEST(CheckedPlaylists, HaveTheOutcomeThatTheFirstKeySays) {
    const struct {
        std::vector<PlaylistEvent> behind_name;
        CheckedOutcome outcome;
    } rows[] = {
        {{}, Outcome::nothing_to_play},
        {{{reserved_name}}, Outcome::reserved_name},
        {{{reserved_name}, {smart}}, Outcome::smart},
        {{{built_in}, {smart}}, Outcome::built_in},
        {{{item}, {smart}}, Outcome::nothing_to_play},
        {{{dictionary_end}, {built_in}}, Outcome::nothing_to_play}, // the next one's, whose name comes late
        {{{item}, {not_listed}}, Outcome::not_listed},
        {{{item}, {not_writable, "t", "M"}}, Outcome::not_writable},
        {{{item}, {file_begun, "t", "M"}, {smart}}, Outcome::file},
        {{{item}, {file_begun, "100%% t", "M"}}, Outcome::not_moved},
    };
    for (const auto& row : rows) {
        std::vector<PlaylistEvent> events = {{smart}, {item}, {named, "n"}, {dictionary_end}, {named, "n"}};
        events.insert(events.end(), row.behind_name.begin(), row.behind_name.end());
        const std::vector<CheckedPlaylist> playlists = heard(events);
        ASSERT_EQ(playlists.size(), 2U);
        EXPECT_EQ(playlists[1].outcome, row.outcome) << checked_outcome_word(row.outcome);
    }
}

TEST(WplSign, IsWhatAParserStumblesOver) {
    const struct {
        const char* value;
        WplSign in_title, in_path;
    } rows[] = {
        {"plain \u00E9 \U0001F3B5 \x7F\t ]] >", WplSign::none, WplSign::none},
        {"&amp;&#38;&#xfF;&lt;&gt;&quot;&apos;&#9;&#xD7FF;&#x10FFFF;", WplSign::none, WplSign::none},
        {"& b", WplSign::ampersand, WplSign::ampersand},
        {"&amp; &unknown;", WplSign::ampersand, WplSign::ampersand},
        {"&#xD800;", WplSign::ampersand, WplSign::ampersand},
        {"&", WplSign::ampersand, WplSign::ampersand},
        {"<b>i</b>", WplSign::none, WplSign::less_than},
        {"<!-- x -->", WplSign::none, WplSign::less_than},
        {"<b>j", WplSign::less_than, WplSign::less_than},
        {"<b>x</b> & y", WplSign::ampersand, WplSign::less_than},
        {"a \"quote\"", WplSign::none, WplSign::quote},
        {"a\" b=\"c", WplSign::none, WplSign::none},
        {"a]]>b", WplSign::section_end, WplSign::none},
        {"t\x01", WplSign::control, WplSign::control},
        {"\uFFFF", WplSign::control, WplSign::control},
        {"v\xFF", WplSign::encoding, WplSign::encoding},
        {"y\xE2\x82", WplSign::encoding, WplSign::encoding},
        {"\xED\xA0\x80", WplSign::encoding, WplSign::encoding},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(wpl_title_sign(row.value), row.in_title) << row.value;
        EXPECT_EQ(wpl_path_sign(row.value), row.in_path) << row.value;
    }
}

/// The folders as "PATH TRACKS/THERE" words.
std::string folders_of(const std::vector<std::pair<std::string, int>>& tracks_in) {
    FolderTable table;
    for (const auto& [folder, count] : tracks_in) {
        for (int number = 0; number < count; ++number) {
            table.add(folder + "/" + std::to_string(number), folder.ends_with("there"), false);
        }
    }
    std::string words;
    for (const FolderGroup& group : table.finish()) {
        words +=
            group.folder + " " + std::to_string(group.tracks) + "/" + std::to_string(group.existing) + "; ";
    }
    return words;
}

TEST(FolderTable, TellsAsManyFoldersApartAsTellSomething) {
    const struct {
        std::vector<std::pair<std::string, int>> tracks_in;
        std::string folders;
    } rows[] = {
        {{}, ""},
        {{{"", 1}}, " 1/0; "},
        {{{"/n/a/b/c/d", 9}, {"/n/a/b/cc/e", 10}}, "/n/a/b 19/0; "}, // too few to tell two apart
        {{{"/n/a/b/c/d", 10}, {"/n/a/b/cc/e", 10}}, "/n/a/b/c/d 10/0; /n/a/b/cc/e 10/0; "},
        {{{"/1/2/3/4/5/6", 20}, {"/1/2/3/4/6/7", 21}}, "/1/2/3/4 41/0; "}, // alike in the first four
        {{{"C:/it's", 10}, {"D:/50%/2", 11}}, "D:/50%/2 11/0; C:/it's 10/0; "},
        {{{"there", 20}, {"/a", 21}, {"/b", 21}, {"/c", 21}, {"/d", 21}, {"/e", 21}},
         "/a 21/0; /b 21/0; /c 21/0; /d 21/0; /e 21/0; there 20/20; "},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(folders_of(row.tracks_in), row.folders);
    }
    std::vector<std::pair<std::string, int>> many; // more than the table has room for while tracks come
    for (int count = 0; count < 60; ++count) {
        const auto part = [count](int divisor) { return "/" + std::to_string(count / divisor); };
        many.emplace_back("/none" + part(12) + part(2) + part(1) + "/x/y", 20);
    }
    EXPECT_EQ(folders_of(many),
              "/none/0 240/0; /none/1 240/0; /none/2 240/0; /none/3 240/0; /none/4 240/0; ");
}

TEST(TrackExplanation, LooksForEachOfThousandsInALargeFolder) {
    const TempDir folder;
    for (int number = 0; number < 800; ++number) {
        write_file("Music/" + std::to_string(number) + ".mp3", "");
    }
    TrackExplanation explanation;
    for (int number = 0; number < 3000; ++number) {
        const std::string path = "music/" + std::to_string(number) + ".mp3";
        explanation.add_track({number, TrackOutcome::missing, "Song", path.c_str()});
    }
    EXPECT_EQ(explanation.respelled(), 800U);
    EXPECT_EQ(explanation.examples(TrackOutcome::missing).size(), example_limit);
    EXPECT_EQ(explanation.spelling_unknown(), 0U);
    ASSERT_EQ(explanation.respelled_examples().size(), example_limit);
    EXPECT_EQ(explanation.respelled_examples()[4].found, "Music/4.mp3");
    EXPECT_EQ(explanation.respelled_examples()[4].differences, spelling_case);
}

} // namespace
