#pragma once
// What a library says of its playlists and track ids as the property list that it is, whatever layout its
// lines have: what would arrive if nothing were lost on the way.

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/shared/library_reader.h"

struct MeantPlaylist {
    std::string name;
    std::string persistent_id;
    std::string parent_id;
    bool has_name = false;
    bool is_folder = false;
    bool is_main = false; // the list of all tracks
    bool is_built_in = false;
    bool is_smart = false;
    bool is_hidden = false;

    /// Whether it gets no file, whatever is in it.
    [[nodiscard]] bool is_left_out() const { return is_built_in || is_smart || is_hidden; }
};

/// What an import has told of the tracks in their order: track_title_number for one that becomes a record,
/// else 0.
using HeardTitles = std::vector<uint64_t>;

/// The number for a track's title, by which it can be known again; never 0.
[[nodiscard]] uint64_t track_title_number(std::string_view title);

class LibraryMeaning : public LibraryListener {
public:
    /// Reads the library at `path`, beside what was heard of it; what was read up to a damage stays.
    LibraryMeaning(const std::string& path, const HeardTitles& heard);

    [[nodiscard]] bool is_whole() const { return result_.state == PropertyListState::whole; }
    /// Where and why it is no library in XML, for people; empty for one.
    [[nodiscard]] std::string damage() const;

    /// Those with a name, in their order.
    [[nodiscard]] const std::vector<MeantPlaylist>& playlists() const { return playlists_; }
    /// The playlist's name with the names of its folders in front, a slash between them.
    [[nodiscard]] std::string full_title(const MeantPlaylist& playlist) const;
    /// The titles of tracks that were heard otherwise; nothing where other tracks were heard.
    [[nodiscard]] const std::vector<std::string>& other_titles() const { return other_titles_; }
    /// The ids that several tracks have.
    [[nodiscard]] std::vector<int32_t> doubled_ids() const;

private:
    void begin_track(std::string_view key) override;
    void track_value(std::string_view key, PlistElement element, std::string_view text) override;
    void begin_playlist() override;
    void playlist_value(std::string_view key, PlistElement element, std::string_view text) override;
    void end_playlist() override;

    const HeardTitles& heard_; // until the library has been read
    size_t tracks_ = 0;
    PropertyListResult result_;
    std::vector<int32_t> track_ids_;
    std::vector<std::string> other_titles_;
    std::vector<MeantPlaylist> playlists_;
    std::unordered_map<std::string, size_t> folders_; // the last playlist of each persistent id
};
