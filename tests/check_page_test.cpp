// The page of a check: what it says, that nothing in a library becomes part of it but as text, and what a browser
// makes of it.

#include "tests/companion_fixture.h"

#include "tools/itunes-check/wpl_sign.h"

namespace {

constexpr char browser[] = "/usr/bin/chromium";

size_t count_of(const std::string& part, const std::string& whole) {
    size_t count = 0;
    for (size_t at = 0; (at = whole.find(part, at)) != std::string::npos; at += part.size()) {
        ++count;
    }
    return count;
}

/// Lays out a library as fixture::lay_out does, and ends it.
void lay_out_whole(const std::string& tracks, const std::string& playlists) {
    lay_out(tracks, playlists, "here.mp3");
    write_file("l.xml", read_file("l.xml") + "</plist>\n");
}

/// A library in which one file is there and others are not, among them one with a name that would act in a page.
class Page : public Companion {
protected:
    void SetUp() override {
        const std::string acting =
            "&#60;/title&#62;&#60;script&#62;document.body.dataset.ran=1&#60;/script&#62;"
            "&#60;img src=x onerror='document.body.dataset.ran=2'&#62;&amp;amp; \xff"
            "\xe2\x80\xae\xef\xbf\xbf\x1b[2J";
        lay_out_whole(track(1, "here.mp3", named("Arrives")) + track(2, "gone/Lost.mp3", named(acting)) +
                          track(3, "gone/else.mp3", named("Lost")) + track(4, "gone/third.mp3"),
                      playlist("P" + acting, "A", {1, 4}) + playlist("Empty", "B", {}) +
                          playlist("Music", "C", {1}));
    }
};

} // namespace

TEST_F(Page, SaysWhatArrivesAndWhy) {
    std::filesystem::create_directory("db");
    EXPECT_EQ(run_import({"-dbdir", "db", "-itunes-lib", "l.xml"}).status, 0);
    write_file("new.mp3", "");
    lay_out_whole(track(1, "new.mp3", named("Fresh")) + track(2, "gone/else.mp3", named("Lost")),
                  playlist("Mine", "A", {2, 1}) + playlist("Smart", "B", {}, flag("Smart Info")));
    const RunResult run =
        result_of("check --page page.html --items db/itunes.import.items --min-share 60 l.xml");
    EXPECT_EQ(run.status, 0) << run.err;
    const std::string page = read_file("page.html");
    for (const char* part : {
             "<h2>Tracks: 1 of 2 will arrive</h2>",
             "<rect class=\"record\" height=\"10\" x=\"0\" width=\"500\"/>"
             "<rect class=\"missing\" height=\"10\" x=\"500\" width=\"500\"/></svg>",
             "<h2>Since the present items file: 1 new, 1 gone</h2>\n"
             "<details><summary>1 new</summary>\n<ul>\n<li>Fresh<code>new.mp3</code></li>\n",
             "<summary>1 gone</summary>\n<ul>\n<li>here.mp3</li>\n",
             "<ul id=\"tracks\">\n<li>Lost <small>the file is not there (playlists keep the path)</small>"
             "<code>gone/else.mp3</code></li>\n</ul>\n",
             "<summary>Mine <small>2 of 2 items, iTunes-playlist-Mine##M.wpl</small></summary>\n<ol>\n"
             "<li class=\"gone\">Lost <small>no file</small></li>\n<li>Fresh</li>\n</ol>\n</details>\n",
             "<summary>Smart <small>no file: smart</small></summary>\n</details>\n",
         }) {
        EXPECT_NE(page.find(part), std::string::npos) << part << "\nin\n" << page;
    }
}

TEST_F(Page, IsWrittenWholeOrNotAtAll) {
    write_file("old.html", "old");
    write_file("cut.xml", read_file("l.xml").substr(0, 400));
    const RunResult cut = result_of("check --page old.html cut.xml");
    EXPECT_EQ(cut.status, 1);
    EXPECT_NE(read_file("old.html").find("<p class=\"bad\">is cut short"), std::string::npos) << cut.err;
    for (const char* lost : {"none/page.html", "db", "full"}) {
        std::filesystem::create_directories("db");
        std::filesystem::remove("full");
        std::filesystem::create_symlink("/dev/full/page", "full");
        const RunResult run = result_of(std::string("check --page ") + lost + " l.xml");
        EXPECT_EQ(run.status, 1) << lost;
        EXPECT_NE(run.err.find(std::string("itunes-check: ") + lost + ": can not be written: "),
                  std::string::npos);
    }
    EXPECT_TRUE(read_tree("db").empty());
}

TEST_F(Page, ShowsHostileNamesAsText) {
    EXPECT_EQ(result_of("check --page page.html l.xml").status, 0);
    EXPECT_TRUE(wpl_is_well_formed("page.html"));
    const std::string page = read_file("page.html");
    EXPECT_EQ(count_of("<script", page), 1U);
    EXPECT_EQ(count_of("<img", page), 0U);
    EXPECT_EQ(page.find('\x1b'), std::string::npos);
    EXPECT_EQ(page.find("\xe2\x80\xae"), std::string::npos);
    if (!std::filesystem::exists(browser)) {
        GTEST_SKIP() << "needs " << browser;
    }
    const struct {
        const char* address;
        size_t shown, hidden;
    } rows[] = {{"page.html", 3, 0}, {"page.html#search=LOST", 2, 1}, {"page.html#search=%00none", 0, 3}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.address);
        const RunResult seen =
            run_line("timeout 60 " + std::string(browser) +
                     " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
                     "--disable-background-networking "
                     "--disable-component-update --disable-sync --user-data-dir=browser --dump-dom 'file://" +
                     folder_.path() + "/" + row.address + "'");
        const size_t start = seen.out.find("<ul id=\"tracks\">");
        ASSERT_NE(start, std::string::npos) << seen.err;
        const std::string tracks = seen.out.substr(start, seen.out.find("</ul>", start) - start);
        EXPECT_EQ(count_of("<li>", tracks), row.shown);
        EXPECT_EQ(count_of("<li hidden=\"\">", tracks), row.hidden);
        EXPECT_EQ(seen.out.find("data-ran"), std::string::npos);
        EXPECT_EQ(count_of("<details>", seen.out), 3U);
    }
}
