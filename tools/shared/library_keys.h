#pragma once
// Which values of a library the import reads: its own rows of keys, asked with the element of a property list.

#include <string_view>

#include "itunes/library_key.h"
#include "tools/shared/property_list.h"

/// The import's row for a key of a track; null for a key that it does not read, and for an element that it does
/// not take the value from.
[[nodiscard]] const LibraryKey* track_key_row(std::string_view key, PlistElement element);

/// The same for a key of a playlist or folder.
[[nodiscard]] const LibraryKey* playlist_key_row(std::string_view key, PlistElement element);
