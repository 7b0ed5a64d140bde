#pragma once
// The playlists of a library as an import tells of them, in the library's order. What becomes of one is known
// when all are there: a later playlist of the same file name replaces an earlier one's file.

#include <cstdint>
#include <string>
#include <vector>

#include "itunes/import_observer.h"
#include "tools/itunes-check/wpl_sign.h"

enum class CheckedOutcome : uint8_t {
    file,
    replaced, // a later playlist has the same file name
    smart,
    built_in,
    reserved_name,
    nothing_to_play,
    not_listed,
    not_writable, // the file system refuses the name, mostly as too long
    not_moved,    // the file stays in the temporary directory
};

/// The outcome's word in lists.
[[nodiscard]] const char* checked_outcome_word(CheckedOutcome outcome);

struct CheckedPlaylist {
    CheckedOutcome outcome = CheckedOutcome::nothing_to_play;
    WplSign sign = WplSign::none; // of a playlist that gets a file, once the signs have been found
    uint32_t items = 0;           // its item lines
    uint32_t entries = 0;         // those that went into its file
    std::string title;            // of its file with its folders in front, else its own name; empty for none
    std::string type;             // "M" or "V"; empty where it gets no file
    std::string file_name;        // empty where it gets no file
};

/// The name of the file that a playlist of this title and type gets.
[[nodiscard]] std::string playlist_file_name(const std::string& title, const std::string& type);

/// Hears of the playlists, each from its Name line to the next one or the end of the library.
class PlaylistListener {
public:
    /// With `finds_signs` it also looks in titles and paths for what makes a file no well-formed XML.
    explicit PlaylistListener(bool finds_signs) : finds_signs_(finds_signs) {}

    void add_event(const PlaylistEvent& event);
    /// The playlists, settled. Call it last. Where signs are wanted, their files are still in `directory`.
    std::vector<CheckedPlaylist> finish(const std::string& directory);

private:
    void exclude(CheckedOutcome outcome);
    void begin_file(const PlaylistEvent& event);
    void find_sign(CheckedPlaylist* playlist, const std::string& directory) const;

    const bool finds_signs_;
    bool dictionary_is_over_ = false; // keys belong to the next playlist, whose Name may come late
    std::vector<CheckedPlaylist> playlists_;
};
