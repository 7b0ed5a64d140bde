// Playlist documents, the names of their files, and the list of tracks that they are made from.

#include "tests/support.h"

#include <algorithm>
#include <climits>

#include "common/upnp_text.h"
#include "itunes/folder_list.h"
#include "itunes/folder_path.h"
#include "itunes/import_run.h"
#include "itunes/playlist_file.h"
#include "itunes/track_list.h"
#include "server/common/upnp_wpl.h"

TEST(Wpl, DocumentsAreTheseBytes) {
    const TempDir folder;
    const std::string long_text(1100, 'x');
    const char* text = long_text.c_str();
    const WplParam params[] = {
        {"n1", "v&", 1}, {"n2", "v2", 2}, {nullptr, "v3", 3}, {"n4", nullptr, -1}, {text, "", 0}};
    const WplMedia none = {"none", params, 0}, null = {"null", nullptr, 1}, four = {"four", params, 4},
                   five = {"five", params, 5}, cut = {text, params, 0}, no_source = {};
    const char* title = text + 1100 - 731; // with a file name of one character it is too long
    UpnpFile* file = upnp_file_open_write("wpl");
    const std::vector<uint32_t> results = {
        upnp_wpl_write_header(file, "M", "A & <\"B\"", "/%s.xml", 2, 0),
        upnp_wpl_add_media(file, "/m/a&%n.mp3"),
        upnp_wpl_add_media(file, ""),
        upnp_wpl_add_media(file, text + 1100 - 1003),
        upnp_wpl_add_media_params(file, &none),
        upnp_wpl_add_media_params(file, &null),
        upnp_wpl_add_media_params(file, &four),
        upnp_wpl_write_footer(file),
        upnp_wpl_write_header(file, nullptr, nullptr, nullptr, 0, 9),
        upnp_wpl_write_header(file, "", "%s", "", 0, 0),
        upnp_wpl_write_header(file, text + 1100 - 93, "", "", 0, 0), // a Type line is cut alone
        upnp_wpl_write_header(file, text + 1100 - 94, "", "", 0, 0),
        upnp_wpl_write_header(file, "M", title, "", 0, 0), // the last that is whole
        upnp_wpl_write_header(file, "M", title, "+", 0, 0),
        upnp_wpl_add_media(file, text + 1100 - 1004),
        upnp_wpl_add_media_params(file, &five),
        upnp_wpl_add_media_params(file, &cut),
        upnp_wpl_add_media_params(file, &no_source),
        upnp_wpl_add_media(file, nullptr)};
    upnp_file_close(file);
    expect_golden(read_file("wpl") + testing::PrintToString(results) + "\n", "wpl.txt");
    file = upnp_file_open_write("/dev/full");
    EXPECT_EQ(upnp_wpl_write_header(file, "M", "T", "O", 0, 0) + upnp_wpl_add_media(file, "s") +
                  upnp_wpl_write_footer(file),
              0U);
    upnp_file_close(file);
}

TEST(PlaylistFile, IsNamedAfterThePlaylistWithSixteenCharactersReplaced) {
    const std::pair<std::string, std::string> rows[] = {
        {"Rock/Best of 80's", "Rock_Best_of_80_s"},
        {" \\/+:*<>|@$\"'&?~", "________________"},
        {"A#1.,()[]\x01\xC3\xA9%s%%", "A#1.,()[]\x01\xC3\xA9%s%%"},
        {std::string(232, 'n'), std::string(232, 'n')},
        {std::string(233, 'n'), ""}}; // the file system takes no name so long
    for (const auto& [name, kept] : rows) {
        const TempDir folder;
        upnp_file_close(itunes_playlist_file_open(".", 0, "M", name.c_str(), 1));
        const Tree left = read_tree(".");
        EXPECT_EQ(left.size(), kept.empty() ? 0U : 1U) << name;
        EXPECT_TRUE(kept.empty() || left.contains("iTunes-playlist-" + kept + "##M.wpl")) << name;
    }
    char path[import_path_size];
    itunes_playlist_file_path(path, "d", "M", std::string(256, 'n').c_str());
    EXPECT_EQ(path, "d/iTunes-playlist-" + std::string(255, 'n') + ".wpl") << "cut by itself";
}

TEST(TrackList, IsSortedByIdAndThenByAge) {
    std::vector<std::pair<int32_t, std::string>> added = {{INT_MAX, "x"}, {INT_MIN, "y"}, {0, "z"}};
    uint32_t random = 1;
    for (int place = 0; place < 1534; ++place) { // rising at first, then anywhere, with ids that recur
        random = random * 1664525 + 1013904223;
        added.emplace_back(place < 700 ? 10 * place : static_cast<int32_t>(random >> 22) - 100,
                           std::to_string(place));
    }
    for (int round = 0; round < 2; ++round) { // the second time in order, with a block for the last alone
        for (const auto& [id, place] : added) {
            itunes_track_list_add(place.c_str(), id == 0 ? nullptr : "title", id);
        }
        std::ranges::stable_sort(added, {}, &std::pair<int32_t, std::string>::first);
        const TrackPath* entry = itunes_track_list_find(INT_MIN);
        for (size_t index = 0; index < added.size(); ++index, entry = entry->next) {
            ASSERT_EQ(std::pair(entry->track_id, std::string(entry->location)), added[index]);
            EXPECT_EQ(entry->title == nullptr, entry->track_id == 0);
        }
        EXPECT_EQ(entry, nullptr);
        for (int32_t id = 5000; id > -5000; --id) { // forwards and backwards
            const int32_t sought = id % 2 == 0 ? id : -id;
            const auto first =
                std::ranges::lower_bound(added, sought, {}, &std::pair<int32_t, std::string>::first);
            const TrackPath* found = itunes_track_list_find(sought);
            EXPECT_EQ(found == nullptr ? "" : found->location, first->first == sought ? first->second : "");
        }
        itunes_track_list_free();
        EXPECT_EQ(itunes_track_list_find(INT_MIN), nullptr);
    }
}

TEST(FolderPath, KeepsTheOutermostNamesWhereItIsCut) {
    std::string whole;
    for (int depth = 0; depth < 300; ++depth) { // each folder lies in the one before it
        const std::string id = std::to_string(depth);
        itunes_folder_list_add(depth, id.c_str(), id.c_str(), std::to_string(depth - 1).c_str());
        whole += (depth == 0 ? "" : "/") + id;
    }
    char path[itunes_folder_path_size];
    char id[itunes_folder_path_size] = "299";
    itunes_folder_path(path, id);
    EXPECT_EQ(path, whole.substr(0, 1023));
    EXPECT_STREQ(id, "-1") << "what was looked for last";
    itunes_folder_list_add(-1, "top", "-1", nullptr); // after a path was asked for
    upnp_copy_text(id, sizeof id, "0");
    itunes_folder_path(path, id);
    EXPECT_STREQ(path, "top/0");
    itunes_folder_list_free();
}
