#pragma once
// What an import reads otherwise than the library means it: the library as a property list beside what the
// import has told. Nobody else says so, since the import takes what its lines seem to say.

#include <cstdint>
#include <string>
#include <vector>

#include "tools/itunes-check/meaning.h"
#include "tools/itunes-check/tally.h"

enum class LossKind : uint8_t {
    folders,      // playlists whose title lacks the folders in front
    titles,       // playlists with another title
    replaced,     // playlists that one of the same file name replaces because of that
    no_file,      // playlists that are left out as if they were built in, smart or hidden
    extra_file,   // lists that are built in, smart or hidden and get a file
    track_titles, // tracks that arrive with another title
    track_ids,    // ids that several tracks have
};

/// The word in lists.
[[nodiscard]] const char* loss_word(LossKind kind);

struct LibraryLoss {
    LossKind kind;
    size_t count = 0;
    std::vector<std::string> examples; // the first few, as the library means them
};

/// All that is lost, in the order of the kinds; nothing of playlists or tracks where those that were heard
/// are not those that the library has: then its layout is another, which says more.
[[nodiscard]] std::vector<LibraryLoss> find_losses(const LibraryMeaning& meaning, const LibraryTally& tally);

/// How many of the playlists that are not listed are the library's list of all tracks; 0 where that is not
/// known.
[[nodiscard]] size_t count_unlisted_main(const LibraryMeaning& meaning, const LibraryTally& tally);
