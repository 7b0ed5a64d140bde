#pragma once
// The files that a library's tracks name, read ahead of all else, for a search of those that are not in their
// places.

#include "tools/shared/library_reader.h"
#include "tools/shared/media_search.h"
#include "tools/shared/places.h"

/// Reads a library and adds the files of its tracks to `media`: those of which `places` knows where they are
/// as files that are there. Streams and protected tracks have none. Returns what reading came to
/// (property_list.h); up to damage, files were added.
[[nodiscard]] PropertyListResult add_library_files(int descriptor, Places* places, MediaSearch* media);
