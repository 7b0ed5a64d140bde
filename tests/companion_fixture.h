#pragma once
// Runs of the companion programs as lines of the shell, whose whole output is compared with a text in
// tests/golden/.

#include "tests/import_fixture.h"

using namespace fixture;

/// Tracks and playlists as the property list has them.
inline std::string whole_track(int id, const std::string& lines) {
    return "<key>t</key>\n<dict>\n" + number("Track ID", std::to_string(id)) + lines + "</dict>\n";
}
inline std::string at_path(int id, const std::string& path, const std::string& lines = "") {
    return whole_track(id, lines + text("Location", "file:" + path));
}
inline std::string whole_playlist(const std::string& its_name, const std::string& its_id,
                                  const std::vector<int>& tracks, const std::string& lines = "") {
    std::string all = "<dict>\n" + named(its_name) + with_id(its_id) + lines + items_key + "<array>\n";
    std::ranges::for_each(tracks, [&](int id) { all += plays(id) + "</dict>\n"; });
    return all + "</array>\n</dict>\n";
}

inline std::string library(const std::string& tracks, const std::string& playlists = "") {
    return "<plist>\n<dict>\n" + text("Application Version", "12.1") + "<key>Tracks</key>\n<dict>\n" +
           tracks + "</dict>\n<key>Playlists</key>\n<array>\n" + playlists + "</array>\n</dict>\n</plist>\n";
}

/// A fresh folder, and what the lines that were run in it printed.
class Companion : public testing::Test {
public:
    /// Runs lines of the shell, where `check` and `items` are the programs.
    void run(const auto&... lines) { (run_one(lines), ...); }
    void run_one(const std::string& line) {
        const RunResult result = result_of(line);
        said_ += "$ " + line + "\n" + result.out +
                 (result.err.empty() ? "" : "--- standard error\n" + result.err) + "--- status " +
                 std::to_string(result.status) + "\n\n";
    }
    static RunResult result_of(const std::string& line) {
        return run_line("check() { " TEST_EMULATOR " '" TEST_CHECK_PROGRAM "' \"$@\"; };"
                        "items() { " TEST_EMULATOR " '" TEST_ITEMS_PROGRAM "' \"$@\"; };" +
                        line);
    }

    /// Compares all that was printed; the folder is called /HERE there.
    void expect_said(const std::string& name) {
        expect_golden(replaced(said_, folder_.path(), "/HERE"), name);
    }

    const TempDir folder_;
    std::string said_;
};
