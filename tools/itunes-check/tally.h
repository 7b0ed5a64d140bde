#pragma once
// What a check of a library gathers while the import's own code reads it: counts, a few examples, a table of
// folders, the playlists. Its size does not depend on the number of tracks. It stays until the process ends.

#include <cstdint>

#include "itunes/import_observer.h"
#include "tools/itunes-check/folders.h"
#include "tools/itunes-check/playlists.h"

constexpr uint32_t track_outcome_count = 5;
constexpr uint32_t example_limit = 5;
constexpr uint32_t version_size = 64;

/// A track that is shown; the texts are owned, null for none.
struct TrackExample {
    char* title;
    char* path;
    char* found;              // under another spelling
    uint32_t differences;     // of that, as spelling_search says
    uint32_t existing_length; // of a missing file: how much of its path exists, as there
};

struct TrackExamples {
    TrackExample tracks[example_limit];
    uint32_t count;
};

/// How the library's lines are laid out: iTunes writes a key with its value on a line.
enum class LibraryLayout {
    as_read,    // every key that the import looks for has its value beside it
    partly,     // most have
    other,      // the fewest have
    no_library, // no line holds such a key
};

struct LibraryTally {
    const char* library_path; // borrowed
    int64_t size;             // bytes; of the file
    bool shows_progress;
    bool explains;                                  // examples, folders and spellings are wanted
    void (*print_track)(const TrackReport* report); // null: tracks are not printed one by one

    char version[version_size]; // of the program that wrote the library; empty for none
    bool is_whole;
    bool has_sections;     // Tracks or Playlists
    bool version_follows;  // its key stood alone on the last line
    uint32_t keys_beside;  // the keys that the import looks for and that have their value on their line
    uint32_t keys_apart;   // those that have not, and keys behind another one on the line
    uint32_t known_tracks; // in the Tracks section
    bool in_playlists;
    int64_t bytes_seen;
    int32_t percent_shown;

    uint32_t tracks[track_outcome_count]; // by outcome
    TrackExamples examples[track_outcome_count];
    uint32_t respelled;        // missing files that are there under another spelling
    uint32_t spelling_unknown; // missing files that were not looked for any more
    TrackExamples respelled_examples;
    FolderTable folders;
    CheckedPlaylists playlists;
};

/// Runs the import's reading with an empty workspace below `directory`, and fills the tally, of which the
/// caller has set the beginning up to print_track and cleared the rest. False where the workspace does not
/// hold all records, as on a full disk.
[[nodiscard]] bool library_tally_fill(LibraryTally* tally, const char* directory);

[[nodiscard]] LibraryLayout library_tally_layout(const LibraryTally* tally);
[[nodiscard]] uint32_t library_tally_tracks(const LibraryTally* tally);
