// The names of playlist files.

#include "tests/support.h"

#include "itunes/playlist_file.h"

TEST(PlaylistFile, IsNamedAfterPlaylistAndType) {
    const struct {
        std::string name;
        const char* type;
        std::string file; // "" for none
    } rows[] = {
        {"Road Trip", "M", "Road_Trip##M"},
        {"Rock/Best of 80's", "V", "Rock_Best_of_80_s##V"},
        {"???", "M", "___##M"},
        {" \\/+:*<>|@$\"'&?~", "M", "________________##M"},
        {"A#1.,()[]\x01\xC3\xA9%s%%", "M", "A#1.,()[]\x01\xC3\xA9%s%%##M"},
        {repeat("n", 232), "M", repeat("n", 232) + "##M"},
        {repeat("n", 233), "M", ""}, // longer than a file name may be: the open fails
        {"", "M", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const TempDir folder;
        UpnpFile* file = itunes_playlist_file_open(".", 0, row.type, row.name.c_str(), 0);
        EXPECT_EQ(file == nullptr, row.file.empty());
        upnp_file_close(file);
        const Tree tree = read_tree(".");
        ASSERT_EQ(tree.size(), row.file.empty() ? 0U : 1U);
        if (!row.file.empty()) {
            EXPECT_EQ(tree.begin()->first, "iTunes-playlist-" + row.file + ".wpl");
            EXPECT_NE(tree.begin()->second.find("<title>" + row.name + "</title>"), std::string::npos);
        }
    }
    for (const char* directory : {static_cast<const char*>(nullptr), "missing"}) {
        EXPECT_EQ(itunes_playlist_file_open(directory, 0, "M", "name", 0), nullptr);
    }
}

TEST(PlaylistFile, ReplacesTheOneOfItsName) {
    const TempDir folder;
    write_file("iTunes-playlist-A_B##M.wpl", repeat("old", 1000));
    upnp_file_close(itunes_playlist_file_open(".", 0, "M", "A/B", 1));
    const std::string text = read_file("iTunes-playlist-A_B##M.wpl");
    EXPECT_EQ(text.find("old"), std::string::npos);
    EXPECT_NE(text.find("IsNetworkFeed\" content=\"1\""), std::string::npos);
}
