#pragma once
// A look at what an import has written, as it can be read back, before anything of it is published.

#include <string>

#include "tools/itunes-check/tally.h"

/// What is wrong with the new items file at `path`, which has to be whole and to hold so many records; empty
/// for nothing.
[[nodiscard]] std::string items_fault(const std::string& path, uint64_t records);

/// What is wrong with the playlist's new file at `path`, which has to hold its header, all of its entries and
/// its end; empty for nothing.
[[nodiscard]] std::string playlist_fault(const std::string& path, const CheckedPlaylist& playlist);
