#pragma once
// Makes playlists as the import reads them best: the name and the ids first, then what it is, then its items.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>

#include "itunes/library_key.h"
#include "tools/itunes-prepare/library_line.h"
#include "tools/itunes-prepare/prepare_report.h"
#include "tools/itunes-prepare/track_writer.h"
#include "tools/itunes-prepare/waiting_playlists.h"
#include "tools/shared/buffered_writer.h"
#include "tools/shared/property_list.h"

class PlaylistMaker {
public:
    explicit PlaylistMaker(PrepareReport* report) : report_(report) {}

    void begin();
    void add(std::string_view key, PlistElement element, std::string_view text);
    void add_item(int32_t track_id) { playlist_.items.push_back(track_id); }
    /// The playlist that has ended, which stays until the next begins.
    [[nodiscard]] const PreparedPlaylist& end();

private:
    [[nodiscard]] bool has(std::string_view key) const { return values_.contains(key); }
    [[nodiscard]] std::string_view value(std::string_view key) const;
    void add_string(std::string_view key, std::string_view text);
    void add_number(std::string_view key);
    void add_flag(std::string_view key);
    std::string new_id();

    PrepareReport* report_;
    struct Value {
        PlistElement element;
        std::string text;
    };

    std::map<std::string_view, Value> values_; // by names of the import's rows
    PreparedPlaylist playlist_;
    std::unordered_set<std::string> ids_; // of all playlists so far
    std::string line_;
};

/// Writes a playlist, once all tracks are known.
void write_playlist(BufferedWriter* output, const PreparedPlaylist& playlist, const PlayableTracks& playable);
