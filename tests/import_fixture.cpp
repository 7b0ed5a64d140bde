#include "tests/import_fixture.h"

#include <filesystem>
#include <sstream>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/import_run.h"
#include "itunes/library_walk.h"

std::string text(const std::string& key, const std::string& value) {
    return "<key>" + key + "</key><string>" + value + "</string>\n";
}

std::string number(const std::string& key, const std::string& value) {
    return "<key>" + key + "</key><integer>" + value + "</integer>\n";
}

std::string flag(const std::string& key) {
    return "<key>" + key + "</key><true/>\n";
}

std::string track(int id, const std::string& location, const std::string& lines) {
    return number("Track ID", std::to_string(id)) + lines + text("Location", "file:" + location) +
           "</dict>\n";
}

std::string playlist(const std::string& name, const std::string& persistent_id,
                     const std::vector<int>& tracks, const std::string& lines) {
    std::string all = text("Name", name) + text("Playlist Persistent ID", persistent_id) + lines;
    all += "<key>Playlist Items</key>\n";
    for (const int id : tracks) {
        all += "<dict>" + number("Track ID", std::to_string(id) + "</integer></dict><integer>");
    }
    return all;
}

std::string folder(const std::string& name, const std::string& persistent_id, const std::string& parent) {
    return playlist(name, persistent_id, {},
                    (parent.empty() ? "" : text("Parent Persistent ID", parent)) + flag("Folder"));
}

void lay_out(const std::string& tracks, const std::string& playlists, const std::string& files) {
    write_file("l.xml", tracks + (playlists.empty() ? "" : "<key>Playlists</key>\n" + playlists));
    std::istringstream words(files);
    for (std::string file; words >> file;) {
        write_file(file, "");
    }
}

Tree run(const std::vector<std::string>& arguments, const std::string& redirection) {
    const Tree before = read_tree(".");
    const RunResult result = run_program(TEST_PROGRAM, arguments, redirection);
    Tree changed = read_tree(".");
    for (const auto& [path, bytes] : before) {
        if (!changed.contains(path)) {
            changed[path] = gone;
        } else if (changed[path] == bytes) {
            changed.erase(path);
        }
    }
    const std::string note = "upnp_malloc: MemCriticalSection not initialized\n";
    const Tree results = {{"status", result.status == 0 ? "" : std::to_string(result.status)},
                          {"stdout", result.out},
                          {"stderr", result.err == note ? "" : "(" + result.err + ")"}};
    changed.insert(results.begin(), results.end());
    for (auto& [path, bytes] : changed) {
        bytes = mask_times(bytes);
    }
    std::erase_if(changed,
                  [&](const auto& file) { return results.contains(file.first) && file.second == ""; });
    return changed;
}

Tree import(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"-dbdir", "db", "-itunes-lib", "l.xml"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return run(all);
}

Tree imported(const std::string& items, Tree others) {
    others.insert({{"db/itunes.import.items", items}, {"db/itunes-import-temp/", ""}});
    return others;
}

std::string wpl_head(const std::string& file, const std::string& type_line, const std::string& title,
                     const std::string& feed, const std::string& generated) {
    return R"(<?wpl version="1.0"?>
<smil>
 <head>
  <meta name="Generator" content="ZembraMedia"/>
  <meta name="IsNetworkFeed" content=")" +
           feed + R"("/>
  <meta name="IsUserGenerated" content=")" +
           generated + R"("/>
  <meta name="OrigFilename" content=")" +
           file + "\"/>\n" + type_line + "  <title>" + title + "</title>\n </head>\n <body>\n  <seq>\n";
}

std::string wpl(char type, const std::string& title, const std::vector<std::string>& sources) {
    std::string document =
        wpl_head("l.xml", std::string("  <meta name=\"Type\" content=\"") + type + "\"/>\n", title);
    for (const std::string& source : sources) {
        document += "   <media src=\"" + source + "\" />\n";
    }
    return document + "  </seq>\n </body>\n</smil>\n";
}

Import::Import() {
    std::filesystem::create_directory("db");
}

void Import::TearDown() {
    upnp_mem_init();
    std::filesystem::create_directory("again");
    upnp_copy_text(import_run.temp_dir, sizeof import_run.temp_dir, "again");
    const auto before = std::pair(upnp_mem_in_use(), open_files());
    UpnpFile* items = upnp_file_open_write("again/items");
    itunes_read_library("l.xml", items);
    upnp_file_close(items);
    EXPECT_EQ(std::pair(upnp_mem_in_use(), open_files()), before) << "memory or files are left";
}
