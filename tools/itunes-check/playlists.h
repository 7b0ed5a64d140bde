#pragma once
// The playlists of a library as the check learned of them, in the library's order. What becomes of one is
// known when all are there: a later playlist of the same file name replaces an earlier one's file.

#include <cstdint>

#include "itunes/import_observer.h"
#include "itunes/import_run.h"
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
    count,
};

struct CheckedPlaylist {
    CheckedPlaylist* next;
    uint32_t items;
    uint32_t entries;
    CheckedOutcome outcome;
    WplSign sign;      // of a playlist that gets a file
    char type;         // 'M' or 'V'; '\0' where there is no file name
    const char* title; // in the same block
};

/// The playlist that the import reads at the moment.
struct CurrentPlaylist {
    bool is_begun; // a Name line has been met
    bool is_over;  // its dictionary has ended: keys belong to the next one, whose Name may come late
    CheckedOutcome outcome;
    char type; // as in CheckedPlaylist
    uint32_t items;
    uint32_t entries;
    char title[import_path_size];
};

struct CheckedPlaylists {
    CurrentPlaylist current;
    CheckedPlaylist* first; // owned
    CheckedPlaylist** link; // the link to fill next; null for an empty list
    uint32_t count;
    bool is_short; // memory was missing for one
};

/// The outcome's word in lists.
[[nodiscard]] const char* checked_outcome_word(CheckedOutcome outcome);

/// Takes what the import tells.
void checked_playlists_hear(CheckedPlaylists* playlists, const PlaylistEvent* event);

/// Ends the last one and settles which files are replaced and which of those that remain in `directory`, the
/// workspace, are no well-formed XML. Does without the former if there is no memory for it.
void checked_playlists_settle(CheckedPlaylists* playlists, const char* directory);

/// Writes the name of the file of a playlist that has a type to `name`, a buffer of import_path_size bytes.
/// It has one also where the file can not be made or does not stay.
void checked_playlist_file_name(const CheckedPlaylist* playlist, char* name);
