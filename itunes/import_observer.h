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

// What happens to the playlists, in the order of the library's lines. A playlist lasts from its Name line to the
// next one or to the end of the library.
enum class PlaylistEventKind : uint8_t {
    named,          // a Name line: the next playlist; title, empty for a line without a value
    reserved_name,  // behind `named`: the name that counts is one of those that are never exported
    built_in,       // it carries a Distinguished Kind, from which on no item is exported
    smart,          // it carries Smart Info, likewise
    item,           // an item line; track_id, 0 where the line has no number
    file_begun,     // its first playable item: its file is there; title with its folders, type
    not_listed,     // likewise, but the folder list does not know it, or knows no name
    not_writable,   // likewise, but its file could not be made; title with its folders, type
    entry,          // the item has been added to the file; track_id, location
    dictionary_end, // a line ends a dictionary: the playlist's own or that of an item
};

/// The texts are borrowed for the call; null or 0 where the kind names no such field.
struct PlaylistEvent {
    PlaylistEventKind kind;
    const char* title = nullptr;
    const char* type = nullptr; // "M" or "V", as itunes_playlist_file_path takes it
    int32_t track_id = 0;
    const char* location = nullptr;
};

/// Each function may be null, for one who does not listen to that.
struct ImportObserver {
    void* context;                                    // the observer's own, handed to each function
    void (*on_line)(void* context, const char* line); // each line of the library, before the first track
    void (*on_track)(void* context, const TrackReport* report);
    void (*on_playlist)(void* context, const PlaylistEvent* event);
};

/// Who listens, borrowed until it is set anew; null, as at the start, for nobody.
extern const ImportObserver* import_observer;
