// Playlist documents, the names of their files, and the lists that they are made from.

#include "tests/import_fixture.h"

#include <climits>
#include <unistd.h>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/folder_list.h"
#include "itunes/import_run.h"
#include "itunes/playlist_file.h"
#include "itunes/playlist_reader.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_list.h"
#include "server/common/upnp_wpl.h"

namespace {

/// What `write` returns for a file, and writes into it.
template <typename Write>
std::string written(Write write) {
    const TempDir folder;
    UpnpFile* file = upnp_file_open_write("wpl");
    const uint32_t result = write(file);
    upnp_file_close(file);
    return std::to_string(result) + read_file("wpl");
}

} // namespace

TEST(Wpl, HeadersNameWhatIsKnown) {
    const auto header = [](const char* type, const char* title, const char* file, uint32_t feed,
                           uint32_t generated) {
        return written(
            [&](UpnpFile* f) { return upnp_wpl_write_header(f, type, title, file, feed, generated); });
    };
    const auto type_line = [](const std::string& type) {
        return "  <meta name=\"Type\" content=\"" + type + "\"/>\n";
    };
    EXPECT_EQ(header("M", "A & <\"B\"", "/l.xml", 2, 0),
              "1" + wpl_head("/l.xml", type_line("M"), "A & <\"B\"", "1"));
    EXPECT_EQ(header(nullptr, nullptr, nullptr, 0, 9), "1" + wpl_head("Unknown", "", "Unknown", "0", "1"));
    EXPECT_EQ(header("", "%s", "", 0, 0), "1" + wpl_head("", type_line(""), "%s"));
    const std::string type(94, 't');
    EXPECT_EQ(header(type.c_str() + 1, "T", "O", 0, 0), "1" + wpl_head("O", type_line(type.substr(1)), "T"));
    EXPECT_EQ(header(type.c_str(), "T", "O", 0, 0),
              "1" + wpl_head("O", "  <meta name=\"Type\" content=\"" + type + "\"/>", "T"));
    const std::string title(731, 'x'); // with a file name of one character more than the buffer holds
    EXPECT_EQ(header("M", title.c_str(), "", 0, 0), "1" + wpl_head("", type_line("M"), title));
    EXPECT_EQ(header("M", title.c_str(), "+", 0, 0),
              "0" + wpl_head("+", type_line("M"), title).substr(0, 1023));
}

TEST(Wpl, EntriesAreCutAtTheirBuffers) {
    const std::string source(1004, 'x');
    expect_answers({{"/m/a&%n.mp3", "1   <media src=\"/m/a&%n.mp3\" />\n"},
                    {"", "1   <media src=\"\" />\n"},
                    {source.substr(1), "1   <media src=\"" + source.substr(1) + "\" />\n"},
                    {source, "0   <media src=\"" + source + "\" />"}},
                   [](const std::string& src) {
                       return written([&](UpnpFile* file) { return upnp_wpl_add_media(file, src.c_str()); });
                   });
    EXPECT_EQ(written(upnp_wpl_write_footer), "1  </seq>\n </body>\n</smil>\n");
    const WplParam params[] = {{"n1", "v&", 1}, {"n2", "v2", 2}, {nullptr, "v3", 3}, {"n4", nullptr, -1}};
    const std::string long_name(1100, 'n');
    const WplParam cut[] = {{long_name.c_str(), "", 0}};
    const auto entry = [&](const std::string& src, const WplParam* list, int32_t count) {
        return written([&](UpnpFile* file) {
            const WplMedia media = {src.c_str(), list, count};
            return upnp_wpl_add_media_params(file, &media);
        });
    };
    EXPECT_EQ(entry("s", params, 0), "1    <media src=\"s\" >\n    </media>\n");
    EXPECT_EQ(entry("s", nullptr, 1), "1    <media src=\"s\" >\n    </media>\n");
    EXPECT_EQ(entry("s", params, 4), R"(1    <media src="s" >
      <param name="n1" value="v&" valuetype="ref" />
      <param name="n2" value="v2" valuetype="object" />
      <param name="" value="v3" valuetype="data" />
      <param name="n4" value="" valuetype="data" />
    </media>
)");
    EXPECT_EQ(entry(std::string(1024, 'x'), params, 0),
              "0    <media src=\"" + std::string(1007, 'x') + "    </media>\n");
    EXPECT_EQ(entry("s", cut, 1).substr(0, 1), "0");
}

TEST(Wpl, WritesThatFailAreToldUnlessThereAreParameters) {
    const WplMedia media = {"s", nullptr, 0};
    UpnpFile* full = upnp_file_open_write("/dev/full");
    EXPECT_EQ(upnp_wpl_write_header(full, "M", "T", "O", 0, 0), 0U);
    EXPECT_EQ(upnp_wpl_add_media(full, "s"), 0U);
    EXPECT_EQ(upnp_wpl_write_footer(full), 0U);
    EXPECT_EQ(upnp_wpl_add_media_params(full, &media), 1U);
    upnp_file_close(full);
}

TEST(PlaylistFile, IsNamedAfterThePlaylistWithSixteenCharactersReplaced) {
    expect_answers({{"Road Trip", "iTunes-playlist-Road_Trip##M.wpl"},
                    {"Rock/Best of 80's", "iTunes-playlist-Rock_Best_of_80_s##M.wpl"},
                    {" \\/+:*<>|@$\"'&?~", "iTunes-playlist-________________##M.wpl"},
                    {"A#1.,()[]\x01\xC3\xA9%s%%", "iTunes-playlist-A#1.,()[]\x01\xC3\xA9%s%%##M.wpl"},
                    {std::string(232, 'n'), "iTunes-playlist-" + std::string(232, 'n') + "##M.wpl"},
                    {std::string(233, 'n'), "(none)"}, // the file system takes no name so long
                    {std::string(300, 'n'), "(none)"},
                    {"", "(none)"}},
                   [](const std::string& name) {
                       const TempDir folder;
                       upnp_copy_text(import_run.library_path, sizeof import_run.library_path, "l");
                       upnp_file_close(itunes_playlist_file_open(".", 0, "M", name.c_str(), 1));
                       const Tree tree = read_tree(".");
                       EXPECT_TRUE(tree.empty() ||
                                   tree.begin()->second ==
                                       wpl_head("l", "  <meta name=\"Type\" content=\"M\"/>\n", name, "1"));
                       return tree.empty() ? "(none)" : tree.begin()->first;
                   });
}

TEST(TrackList, IsSortedByIdAndThenByAge) {
    const struct {
        std::vector<int32_t> added, sought;
        std::string listed, found; // ids with their places in the order of adding; places
    } rows[] = {
        {{30, 10, 20, 20}, {20, 30, 10, 20, 15, 40, 10, 5}, "10:1 20:2 20:3 30:0 ", "2 0 1 2 - - 1 - "},
        {{1, 2, 3, 4}, {4, 3, 2, 1, 0, 5, 1, 2, 2, 4}, "1:0 2:1 3:2 4:3 ", "3 2 1 0 - - 0 1 1 3 "},
        {{4, 3, 2, 1}, {1, 4}, "1:3 2:2 3:1 4:0 ", "3 0 "},
        {{5, 5, -5, 5, 40, 5}, {5, 5, 40, 5, -5}, "-5:2 5:0 5:1 5:3 5:5 40:4 ", "0 0 4 0 2 "},
        {{INT_MAX, INT_MIN, 0}, {0, INT_MAX, INT_MIN}, "-2147483648:1 0:2 2147483647:0 ", "2 0 1 "},
        {{}, {7}, "", "- "},
    };
    for (const auto& [added, sought, listed, found] : rows) {
        for (size_t place = 0; place < added.size(); ++place) {
            itunes_track_list_add(std::to_string(place).c_str(), place == 0 ? "title" : nullptr,
                                  added[place]);
        }
        std::string list;
        std::string places;
        const int32_t lowest = added.empty() ? 0 : *std::min_element(added.begin(), added.end());
        for (const TrackPath* entry = itunes_track_list_find(lowest); entry != nullptr; entry = entry->next) {
            list += std::to_string(entry->track_id) + ":" + entry->location + " ";
            EXPECT_EQ(take(upnp_strdup(entry->title)),
                      entry->location == std::string("0") ? "title" : "(none)");
        }
        for (const int32_t id : sought) {
            const TrackPath* entry = itunes_track_list_find(id);
            places += (entry == nullptr ? "-" : entry->location) + std::string(" ");
        }
        EXPECT_EQ(list, listed);
        EXPECT_EQ(places, found);
        itunes_track_list_free();
        EXPECT_EQ(itunes_track_list_find(lowest), nullptr);
    }
    for (int32_t id = 0; id < 3000; ++id) { // more than one block of entries; every third comes late
        itunes_track_list_add(nullptr, nullptr, id % 3 == 0 ? 9000 - id : id);
    }
    for (int32_t id = 2999; id > 0; --id) {
        const int32_t sought = id % 3 == 0 ? 9000 - id : id;
        EXPECT_EQ(itunes_track_list_find(sought)->track_id, sought);
    }
    itunes_track_list_free();
}

TEST(FolderList, FindsTheNewestOfAnId) {
    const int32_t before = upnp_mem_in_use();
    itunes_folder_list_add(1, "first", "A", "top");
    itunes_folder_list_add(2, "other", "B", nullptr);
    itunes_folder_list_add(3, "second", "A", "B");
    itunes_folder_list_add(4, "no id", nullptr, "B");
    EXPECT_EQ(itunes_folder_list_find("A")->playlist_id, 3);
    EXPECT_STREQ(itunes_folder_list_find("A")->parent_persistent_id, "B");
    EXPECT_EQ(itunes_folder_list_find("B")->playlist_id, 2);
    EXPECT_EQ(itunes_folder_list_find("C"), nullptr);
    itunes_folder_list_free();
    EXPECT_EQ(itunes_folder_list_find("A"), nullptr);
    EXPECT_EQ(upnp_mem_in_use(), before);
}

TEST(PlaylistExport, LeavesTheListsReadyForAnother) {
    const TempDir folder;
    write_file("l.xml", text("Name", "P") + text("Playlist Persistent ID", "P") + "<key>Track ID</key>\n");
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
