// Other spellings of paths: which are alike, and which one is taken.

#include "tests/support.h"

#include <cerrno>
#include <sys/resource.h>

#include "tools/shared/spelling_search.h"

TEST(FoldedText, IsTheSameForWhatDiffersInTheseWaysOnly) {
    const struct {
        const char* name;
        std::string one;
        std::string other;
        uint32_t differences; // that it takes to make them the same; 8 for more than all
    } rows[] = {
        {"a small schwa", "\u018f", "\u0259", spelling_case},
        {"a sharp s", "stra\u00dfe", "STRASSE", spelling_case},
        {"decomposed", "Caf\u00e9", "Cafe\u0301", spelling_accents},
        {"marks in another order", "q\u0307\u0323", "q\u0323\u0307", spelling_accents},
        {"both", "CAF\u00c9", "cafe\u0301", spelling_accents | spelling_case},
        {"a plus sign", "a+\u00e9", "a \u00e9", spelling_plus},
        {"all letters", "AZ", "az", spelling_case},
        {"no UTF-8", "\xffG\xc3", "\xffg\xc3", spelling_case},
        {"no UTF-8, otherwise", "\xff", "\xfe", 8},
        {"another letter", "\u00e9", "e", 8},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        for (uint32_t differences = 0; differences <= spelling_any; ++differences) {
            EXPECT_EQ(folded_text(row.one, differences) == folded_text(row.other, differences),
                      (row.differences & ~differences) == 0)
                << differences;
        }
    }
}

TEST(SpellingSearch, FindsTheOnlyPathThatIsAlike) {
    const TempDir folder;
    for (const char* name : {"Caf\u00e9/a.mp3", "\u0259/x", "two/x.MP3", "two/x.mp3", "CASE/A", "case/b",
                             "zo\u00eb", "ZO\u00cb", "a+b/c", "a+b/d+", "A B", "\xff/Y", "plain"}) {
        write_file(name, "");
    }
    std::filesystem::create_symlink("nowhere", "Dangling");
    const struct {
        std::string path;
        std::string found;
        uint32_t differences;
    } rows[] = {
        {"CAFE\u0301//A.mp3", "Caf\u00e9/a.mp3", spelling_accents | spelling_case},
        {"\u018f/x", "\u0259/x", spelling_case},
        {"plain", "plain", 0},
        {"two/X.mp3", "", 0},                        // two are there
        {"Case/a", "CASE/A", spelling_case},         // only one of two directories has it
        {"zoe\u0308", "zo\u00eb", spelling_accents}, // rather than the one in capitals
        {"a b/d ", "a+b/d+", spelling_plus},
        {"a b", "A B", spelling_case}, // rather than the one with a plus sign
        {"\xff/y", "\xff/Y", spelling_case},
        {"./two/../PLAIN", "./two/../plain", spelling_case},
        {"PLAIN/x", "", 0}, // a file
        {"dangling", "", 0},
        {std::string(4096, 'a'), "", 0},
    };
    SpellingSearch search(spelling_any);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        for (const std::string& start : {std::string(), is_emulated ? "" : folder.path() + "/"}) {
            const SpellingAnswer answer = search.find(start + row.path);
            EXPECT_EQ(answer.found, row.found.empty() ? "" : start + row.found);
            EXPECT_EQ(answer.differences, row.differences);
            EXPECT_TRUE(answer.is_known);
        }
    }
    EXPECT_EQ(search.error(), 0);
    EXPECT_EQ(SpellingSearch(spelling_accents).find("PLAIN").found, "");
    SpellingSearch bounded(spelling_any, 3);
    EXPECT_FALSE(bounded.find("PLAIN").is_known);
    EXPECT_FALSE(bounded.find("case/B").is_known); // nothing is read any more
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none = {0, limit.rlim_max};
    SpellingSearch prevented(spelling_any);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    (void)prevented.find("PLAIN");
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(prevented.error(), EMFILE);
}

TEST(SpellingSearch, SaysHowMuchOfAPathExists) {
    const TempDir folder;
    write_file("a/b/c", "");
    SpellingSearch search(spelling_any);
    const std::pair<const char*, size_t> rows[] = {
        {"a/b/x", 3},  {"a/b/x/c", 3}, {"a/b/xy", 3},  {"a/y/b", 1}, {"a/b/c", 5}, {"a/b/c/d", 5},
        {"a//b/d", 4}, {"/", 1},       {"/none/x", 1}, {"", 0},      {"z", 0}};
    for (const auto& [path, length] : rows) {
        EXPECT_EQ(search.existing_length(path), length) << path;
    }
    write_file("z/a", "");
    EXPECT_EQ(search.existing_length("z/a"), 0U); // what was not there is not asked for again
}
