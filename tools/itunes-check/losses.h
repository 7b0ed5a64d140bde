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

/// All that is lost, in the order of the kinds; nothing of playlists or tracks where those that were heard
/// are not those that the library has: then its layout is another, which says more.
[[nodiscard]] std::vector<LibraryLoss> find_losses(const LibraryMeaning& meaning, const LibraryTally& tally);

/// How many of the playlists that are not listed are the library's list of all tracks; 0 where that is not
/// known.
[[nodiscard]] size_t count_unlisted_main(const LibraryMeaning& meaning, const LibraryTally& tally);
