#pragma once
// Whole libraries, and runs of the companion programs as lines of the shell, whose whole output is compared with a
// text in tests/golden/.

#include "tests/import_fixture.h"

namespace fixture {

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

/// A fresh folder, and what lines of the shell print in it, which is called /HERE there.
class Companion : public testing::Test {
protected:
    std::string said(const std::vector<std::string>& lines) const {
        std::string all;
        for (const std::string& line : lines) {
            const RunResult result = run_line(line);
            all += "$ " + line + "\n" + result.out +
                   (result.err.empty() ? "" : "--- standard error\n" + result.err) + "--- status " +
                   std::to_string(result.status) + "\n\n";
        }
        return replaced(all, folder_.path(), "/HERE");
    }

    const TempDir folder_;
};

} // namespace fixture
