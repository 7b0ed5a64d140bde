#pragma once
// Whole imports: small libraries built from tracks and playlists, runs of the built program on them, and what
// such a run leaves.
//
//     using namespace fixture;
//     lay_out(track(1, "a.mp3"), playlist("P", "p1", {1}));
//     EXPECT_EQ(import(), imported("", {{"P##M", "P", {"a.mp3"}}}));

#include "tests/support.h"

#include <algorithm>

#include "common/upnp_text.h"
#include "itunes/import_run.h"
#include "itunes/library_values.h"
#include "itunes/library_walk.h"
#include "itunes/plist_scanner.h"

namespace fixture {

/// Lines of a library: a key with its string, with its integer, and one that is true.
inline std::string text(const std::string& key, const std::string& value) {
    return "<key>" + key + "</key><string>" + value + "</string>\n";
}
inline std::string number(const std::string& key, const std::string& value) {
    return "<key>" + key + "</key><integer>" + value + "</integer>\n";
}
inline const auto flag = [](const std::string& key) { return "<key>" + key + "</key><true/>\n"; };

/// The dictionary of a track, with further lines in front of its location.
inline std::string track(int id, const std::string& location, const std::string& lines = "") {
    return number("Track ID", std::to_string(id)) + lines + text("Location", "file:" + location) +
           "</dict>\n";
}

/// A playlist with further lines in front of its items, or a folder without any; and their keys.
inline const std::string items_key = "<key>Playlist Items</key>\n";
inline const auto named = [](const std::string& value) { return text("Name", value); };
inline const auto with_id = [](const std::string& value) { return text("Playlist Persistent ID", value); };
inline const auto inside = [](const std::string& value) { return text("Parent Persistent ID", value); };
inline const auto plays = [](int track_id) {
    return "<dict>" + number("Track ID", std::to_string(track_id));
};
inline std::string playlist(const std::string& its_name, const std::string& its_id,
                            const std::vector<int>& tracks, const std::string& lines = "") {
    std::string all = named(its_name) + with_id(its_id) + lines + items_key;
    std::ranges::for_each(tracks, [&](int track_id) { all += plays(track_id); });
    return all;
}
inline std::string folder(const std::string& its_name, const std::string& its_id,
                          const std::string& lines = "") {
    return playlist(its_name, its_id, {}, lines + flag("Folder"));
}

/// Writes the library l.xml, and the empty file that each word of `files` names.
inline void lay_out(const std::string& tracks, const std::string& playlists = "",
                    const std::string& files = "") {
    write_file("l.xml", tracks + (playlists.empty() ? "" : "<key>Playlists</key>\n" + playlists));
    std::istringstream words(files);
    for (std::string file; words >> file;) {
        write_file(file, "");
    }
}

/// The bundled library with its media files below `media`, which ends in a slash: all but one are laid out
/// there.
inline std::string bundled_library(const std::string& media) {
    std::string library = replaced(read_file(source_path("examples/iTunes Music Library.xml")),
                                   "file://localhost/music/library/", "file://localhost" + media);
    for (std::string line : split(library, '\n')) {
        std::string location = take(itunes_get_value(line.data(), "string"));
        const std::string path = take(itunes_location_to_path(location.data()));
        if (path.starts_with(media) && path.find("(lost)") == std::string::npos) {
            write_file(path, "");
        }
    }
    return library;
}

/// What a run with these words of the shell changed below the folder it ran in: what is new or has other
/// bytes, log times masked, and what is `gone`; and beside it as "status", "stdout" and "stderr" whatever
/// differs from a run that went well, which prints nothing but the allocator's note.
inline const std::string gone = "(gone)";
inline const std::string note = "upnp_malloc: MemCriticalSection not initialized\n";
inline Tree run(const std::string& arguments) {
    const Tree before = read_tree(".");
    const RunResult result = run_line("import " + arguments);
    Tree after = read_tree(".");
    after.insert({{"status", std::to_string(result.status)}, {"stdout", result.out}, {"stderr", result.err}});
    for (const auto& [path, bytes] : before) {
        after.insert({path, gone});
    }
    Tree usual = before;
    usual.insert({{"status", "0"}, {"stdout", ""}, {"stderr", note}});
    std::erase_if(after, [&](const auto& file) {
        return usual.contains(file.first) && usual.at(file.first) == file.second;
    });
    for (auto& [path, bytes] : after) {
        bytes = mask_times(bytes);
    }
    return after;
}

/// Runs with -dbdir db -itunes-lib l.xml and further arguments.
inline Tree import(const std::string& arguments = "") {
    return run("-dbdir db -itunes-lib l.xml " + arguments);
}

/// The playlist file "iTunes-playlist-<file>.wpl", its title and what it lists.
struct Playlist {
    std::string file, title;
    std::vector<std::string> sources;
};

/// What begins the record of a track in a local file that is no film.
inline const std::string music = ">>>>\n03020object.item.audioItem.musicTrack\n45001d\n";

/// What a first import of l.xml leaves: the items, the playlists and the workspace.
inline Tree imported(const std::string& items, const std::vector<Playlist>& playlists = {}) {
    Tree tree = {{"db/itunes.import.items", items}, {"db/itunes-import-temp/", ""}};
    for (const auto& [file, title, sources] : playlists) {
        std::string& document = tree["db/iTunes-playlist-" + file + ".wpl"];
        document = "<?wpl version=\"1.0\"?>\n<smil>\n <head>\n"
                   "  <meta name=\"Generator\" content=\"ZembraMedia\"/>\n"
                   "  <meta name=\"IsNetworkFeed\" content=\"0\"/>\n"
                   "  <meta name=\"IsUserGenerated\" content=\"0\"/>\n"
                   "  <meta name=\"OrigFilename\" content=\"l.xml\"/>\n  <meta name=\"Type\" content=\"";
        document += file.back() + ("\"/>\n  <title>" + title) + "</title>\n </head>\n <body>\n  <seq>\n";
        for (const std::string& source : sources) {
            document += "   <media src=\"" + source + "\" />\n";
        }
        document += "  </seq>\n </body>\n</smil>\n";
    }
    return tree;
}

/// A fresh folder that holds an empty db. Every library is read once more at the end, in this process, where
/// bytes in use and open files can be counted.
class Import : public testing::Test {
protected:
    Import() { std::filesystem::create_directory("db"); }
    void TearDown() override {
        upnp_mem_init();
        upnp_copy_text(import_run.temp_dir, sizeof import_run.temp_dir, "db");
        const auto before = std::pair(upnp_mem_in_use(), open_files());
        UpnpFile* items = upnp_file_open_write("items");
        itunes_read_library("l.xml", items);
        upnp_file_close(items);
        EXPECT_EQ(std::pair(upnp_mem_in_use(), open_files()), before) << "memory or files are left";
    }

    TempDir folder_;
};

} // namespace fixture
