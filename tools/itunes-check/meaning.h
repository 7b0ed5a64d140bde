#pragma once
// What a library says of its tracks and playlists as the property list that it is, whatever layout its lines
// have: what would arrive if nothing were lost on the way.

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/itunes-check/counted_examples.h"
#include "tools/shared/descriptor.h"
#include "tools/shared/items_reader.h"
#include "tools/shared/library_reader.h"
#include "tools/shared/playable_tracks.h"

struct MeantPlaylist {
    std::string name;
    std::string persistent_id;
    std::string parent_id;
    uint32_t entries = 0; // its items that can be played
    bool has_name = false;
    bool is_folder = false;
    bool is_main = false; // the list of all tracks
    bool is_built_in = false;
    bool is_smart = false;
    bool is_hidden = false;
};

/// A track that an import has told of.
struct HeardTrack {
    int32_t id;
    bool has_record;
};

class LibraryMeaning : public LibraryListener {
public:
    /// Reads the library at `path`, beside what was heard of it and the records that it got; what was read up
    /// to a damage stays.
    LibraryMeaning(const std::string& path, const std::vector<HeardTrack>& heard,
                   const std::string& items_path);

    /// Where and why it is no library in XML, for people; empty for one.
    [[nodiscard]] std::string damage() const;

    /// Those with a name, in their order.
    [[nodiscard]] const std::vector<MeantPlaylist>& playlists() const { return playlists_; }
    /// The playlist's name with the names of its folders in front, a slash between them.
    [[nodiscard]] std::string full_title(const MeantPlaylist& playlist) const;
    /// The titles of tracks that were not heard of; nothing, as of the next two, where tracks were heard that
    /// the library does not have.
    [[nodiscard]] const CountedExamples& unheard_tracks() const { return unheard_tracks_; }
    /// Titles that their records have otherwise.
    [[nodiscard]] const CountedExamples& other_titles() const { return other_titles_; }
    /// Other texts that their records have otherwise, behind their keys.
    [[nodiscard]] const CountedExamples& other_texts() const { return other_texts_; }
    /// The ids that several tracks have.
    [[nodiscard]] std::vector<int32_t> doubled_ids() const;

private:
    void begin_track(std::string_view key) override;
    void track_value(std::string_view key, PlistElement element, std::string_view text) override;
    void end_track() override;
    void end_tracks() override;
    void begin_playlist() override;
    void playlist_value(std::string_view key, PlistElement element, std::string_view text) override;
    void playlist_item(int32_t track_id) override;
    void end_playlist() override;
    void compare_record();

    const std::vector<HeardTrack>& heard_; // until the library has been read, as the next two
    Descriptor items_file_;
    ItemsReader items_;
    size_t heard_count_ = 0; // those that the library has, too
    PropertyListResult result_;

    int32_t track_id_ = 0;           // of the track that is being read, as these
    std::vector<std::string> texts_; // for each of the import's rows; empty where it goes to no property
    bool has_location_ = false;
    bool is_protected_ = false;

    std::vector<int32_t> track_ids_;
    PlayableTracks playable_;
    CountedExamples unheard_tracks_;
    CountedExamples other_titles_;
    CountedExamples other_texts_;
    std::vector<MeantPlaylist> playlists_;
    std::unordered_map<std::string, size_t> folders_; // the last playlist of each persistent id
};
