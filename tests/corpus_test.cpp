// Everything that ever broke a fuzz target or a review, once more.

#include "tests/support.h"

#include <unistd.h>

#include "common/upnp_text.h"
#include "itunes/folder_list.h"
#include "itunes/import_run.h"
#include "itunes/playlist_reader.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_list.h"
#include "tests/fuzz/targets.h"

TEST(Corpus, NothingBreaksASecondTime) {
    const std::map<std::string, void (*)(const uint8_t*, size_t)> targets = {
        {"value", fuzz_value}, {"library", fuzz_library}, {"record", fuzz_record}};
    for (const auto& [name, target] : targets) {
        for (const auto& [path, bytes] : read_tree(source_path("tests/corpus/" + name))) {
            SCOPED_TRACE(name + "/" + path);
            target(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        }
    }
}

TEST(PlaylistExport, LeavesTheListsReadyForAnother) {
    const TempDir folder;
    write_file("l.xml", "<key>Name</key><string>P</string>\n<key>Playlist Persistent ID</key><string>P</string>\n"
                        "<key>Track ID</key>\n");
    upnp_copy_text(import_run.temp_dir, sizeof import_run.temp_dir, ".");
    itunes_track_list_add("a.mp3", nullptr, 0);
    itunes_folder_list_add(1, "P", "P", nullptr);
    for (const char* round : {"first", "second"}) {
        UpnpFile* library = itunes_open_library("l.xml");
        itunes_playlist_export(library);
        upnp_file_close(library);
        EXPECT_EQ(unlink("iTunes-playlist-P##M.wpl"), 0) << round;
    }
    itunes_track_list_free();
    itunes_folder_list_free();
}
