#pragma once
// What an import decides about each track and each playlist, told in the place where it is decided. An import
// has nobody listening; a companion that wants to know why something will not arrive sets an observer and
// runs the same code, instead of reading the library by rules of its own.
//
//     const ImportObserver observer = {&my_state, on_line, on_track, on_playlist};
//     import_observer = &observer;
//     itunes_read_library(path, items);
//     import_observer = nullptr;

#include <cstdint>

enum class TrackOutcome : uint8_t {
    record,         // a local file that exists: it goes to the items file
    copy_protected, // no record, and playlists leave it out
    no_location,    // no record, and playlists leave it out
    stream,         // no record, but playlists keep its address
    missing,        // a local file that does not exist: no record, but playlists keep its path
};

/// A track whose dictionary has ended. The texts are borrowed for the call.
struct TrackReport {
    int32_t track_id;
    TrackOutcome outcome;
    const char* title;    // null for none
    const char* location; // the local path or the URL; null for none
};

enum class PlaylistOutcome : uint8_t {
    file,            // it has been written
    smart,           // it carries Smart Info
    built_in,        // it carries a Distinguished Kind
    reserved_name,   // it has one of the names that are never exported
    nothing_to_play, // it has no item that the track list knows with a location
    not_listed,      // the folder list does not know it, or knows no name
    not_writable,    // its file could not be made
};

/// A playlist, from its Name line to the next one or the end of the library. The texts are borrowed for the
/// call.
struct PlaylistReport {
    PlaylistOutcome outcome;
    const char* title;     // of its file with its folders in front, else its own name; empty for none
    const char* file_path; // in the workspace; also of a file that could not be made; empty for none
    uint32_t items;        // its item lines
    uint32_t entries;      // those that went into its file
};

struct ImportObserver {
    void* context;                                    // the observer's own, handed to each function
    void (*on_line)(void* context, const char* line); // each line of the library, before the first track
    void (*on_track)(void* context, const TrackReport* report);
    void (*on_playlist)(void* context, const PlaylistReport* report);
};

/// Who listens, borrowed until it is set anew; null, as at the start, for nobody.
extern const ImportObserver* import_observer;
