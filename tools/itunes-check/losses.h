#pragma once
// What an import reads otherwise than the library means it: the library as a property list beside what the
// import has told. Nobody else says so, since the import takes what its lines seem to say.

#include <cstdint>
#include <string>
#include <vector>

#include "tools/itunes-check/counted_examples.h"
#include "tools/itunes-check/meaning.h"
#include "tools/itunes-check/tally.h"

enum class LossKind : uint8_t {
    folders,      // playlists whose title lacks the folders in front
    titles,       // playlists with another title
    replaced,     // playlists that one of the same file name replaces because of that
    no_file,      // playlists that are left out as if built in, smart, hidden or with nothing to play
    extra_file,   // playlists that get a file although they are one of these
    entries,      // playlists with fewer or more entries
    tracks,       // tracks that are not read at all
    track_titles, // tracks that arrive with another title
    track_texts,  // artists, albums, composers and genres of such tracks that arrive otherwise
    values,       // values that stand on another line than their key, or on one that is too long
    track_ids,    // ids that several tracks have
};
constexpr size_t loss_kind_count = 11;

/// The word in lists.
[[nodiscard]] const char* loss_word(LossKind kind);

struct LibraryLoss {
    LossKind kind;
    CountedExamples lost; // as the library means them
};

/// What came out of a library, and what of it is not as the library means it.
struct CheckedLibrary {
    std::string path;
    LibraryTally tally;
    std::string damage;              // where and why it is no property list; empty for one
    std::vector<LibraryLoss> losses; // in the order of the kinds
    size_t main_lists = 0;           // of all tracks, among the playlists that are not listed
};

/// Reads the library at `source_path` as a property list and sets what the import of it, which the tally tells
/// of, has read otherwise: damage, losses, main lists. The tracks are those that were heard, `items_path` is
/// the file of their records. Of playlists or tracks nothing is lost where those that were heard are not those
/// that the library has: then its layout is another, which says more; and nothing at all is set for what is no
/// library.
void compare_with_meaning(const std::string& source_path, const std::vector<HeardTrack>& tracks,
                          const std::string& items_path, CheckedLibrary* library);
