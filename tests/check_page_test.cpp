// The page of a check: what it says, that nothing in a library becomes part of it but as text, and what a browser
// makes of it.

#include "tests/companion_fixture.h"

#include "tools/itunes-check/wpl_sign.h"
#include "tools/shared/text_pieces.h"

using namespace fixture;

namespace {

constexpr char browse[] =
    "timeout 60 /usr/bin/chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
    "--disable-background-networking --disable-component-update --disable-sync --user-data-dir=browser "
    "--enable-logging=stderr --dump-dom 'file://";

/// A library in which one file is there and others are not, among them one with a name that would act in a page.
class Page : public Companion {
protected:
    void SetUp() override {
        const std::string acting =
            "&#60;/title&#62;&#60;script&#62;document.body.dataset.ran=1&#60;/script&#62;"
            "&#60;img src=x onerror='document.body.dataset.ran=2'&#62;&amp;amp; \xff"
            "\xe2\x80\xae\xef\xbf\xbf\x1b[2J";
        lay_out(track(1, "here.mp3", named("Arrives")) + track(2, "gone/Lost.mp3", named(acting)) +
                    track(3, "gone/else.mp3", named("Lost")) + track(4, "gone/third.mp3"),
                playlist("P" + acting, "A", {1, 4}) + playlist("Empty", "B", {}) +
                    playlist("Music", "C", {1}) + "</plist>\n",
                "here.mp3");
    }
};

} // namespace

TEST_F(Page, SaysWhatArrivesAndWhy) {
    std::filesystem::create_directory("db");
    EXPECT_EQ(run_line("import -dbdir db -itunes-lib l.xml").status, 0);
    std::ofstream("db/itunes.import.items", std::ios::app) << ">>>>\n14004Blue\n"; // without a path
    write_file("new.mp3", "");
    lay_out(track(1, "new.mp3", named("Fresh")) +
                track(2, "gone/else.mp3", named("Lost") + "<key>Artist</key>\n<string>X</string>\n"),
            playlist("Smart", "B", {}, flag("Smart Info")) + playlist("Mine", "A", {2, 1}) +
                playlist("Long", "C", std::vector(101, 1)) + "</plist>\n");
    const std::string options = "--page page.html --items db/itunes.import.items --min-share 50";
    EXPECT_EQ(run_line("check " + options + " l.xml").status, 0);
    const std::string page = read_file("page.html");
    for (const char* part : {
             "<h2>Tracks: 1 of 2 will arrive</h2>",
             "<rect class=\"missing\" height=\"10\" x=\"500\" width=\"500\"/></svg>",
             "stand whole on its key's line<code>line 7: Artist</code></li>\n",
             "<summary>1 new</summary>\n<div class=\"rows\">\n<ul>\n<li>Fresh<code>new.mp3</code></li>\n",
             "<summary>2 gone</summary>\n<div class=\"rows\">\n<ul>\n<li>here.mp3</li>\n<li></li>\n</ul>\n",
             "<tr><td>1</td><td>0</td><td>gone</td></tr>",
             "<li>Lost <small>the file is not there (playlists keep the path)</small><code>gone/else",
             "<summary>Mine <small>2 of 2 items, iTunes-playlist-Mine##M.wpl</small></summary>\n<div class",
             "<div class=\"rows\">\n<ol start=\"1\">\n<li class=\"gone\">Lost</li>\n<li>Fresh</li>\n</ol>",
             "<li>Fresh</li>\n</ol>\n<ol start=\"101\">\n<li>Fresh</li>\n</ol>\n</div>\n</details>\n",
             "<summary>Smart <small>no file: smart</small></summary>\n</details>\n",
         }) {
        EXPECT_NE(page.find(part), std::string::npos) << part << "\nin\n" << page;
    }
}

TEST_F(Page, IsWrittenWholeOrNotAtAll) {
    write_file("old.html", "old");
    write_file("cut.xml", read_file("l.xml").substr(0, 400));
    EXPECT_EQ(run_line("check --page old.html cut.xml").status, 1);
    EXPECT_NE(read_file("old.html").find("<p class=\"bad\">is cut short"), std::string::npos);
    run_line("mkdir db; mkfifo pipe");
    for (const std::string lost :
         {"none/page.html: can not be written: ", "/dev/full/page: can not be written: ",
          "db: is no regular file", "pipe: is no regular file"}) {
        const RunResult run = run_line("check l.xml --page " + lost.substr(0, lost.find(':')));
        EXPECT_EQ(run.status, 1) << lost;
        EXPECT_NE(run.err.find("itunes-check: " + lost), std::string::npos) << run.err;
    }
    EXPECT_TRUE(read_tree("db").empty() && std::filesystem::is_fifo("pipe"));
}

TEST_F(Page, ShowsHostileNamesAsText) {
    EXPECT_EQ(run_line("check --page page.html l.xml").status, 0);
    EXPECT_TRUE(wpl_is_well_formed("page.html"));
    const std::string page = read_file("page.html");
    EXPECT_EQ(count_of("<script", page), 1U);
    EXPECT_EQ(count_of("<img", page), 0U);
    EXPECT_EQ(count_of("<li>third.mp3 <small>", page), 1U); // for want of a title
    EXPECT_EQ(page.find('\x1b'), std::string::npos);
    EXPECT_EQ(page.find("\xe2\x80\xae"), std::string::npos);
    if (!std::filesystem::exists("/usr/bin/chromium")) {
        GTEST_SKIP() << "needs /usr/bin/chromium";
    }
    const struct {
        const char *search, *shown;
        size_t hidden; // rows, or the list
    } rows[] = {
        {"", "3 tracks", 0}, {"#search=LOST", "2 of 3 tracks", 1}, {"#search=%00none", "0 of 3 tracks", 1}};
    for (const auto& [search, shown, hidden] : rows) {
        SCOPED_TRACE(search);
        const RunResult seen = run_line(browse + folder_.path() + "/page.html" + search + "'");
        EXPECT_EQ(count_of(" hidden=\"\">", seen.out), hidden) << seen.err;
        EXPECT_EQ(count_of(">" + std::string(shown) + "<", seen.out), 1U);
        EXPECT_EQ(seen.out.find("data-ran"), std::string::npos);
        EXPECT_EQ(seen.err.find("CONSOLE"), std::string::npos) << seen.err; // as of a policy that is not kept
        EXPECT_EQ(count_of("<details>", seen.out), 3U);
    }
}
