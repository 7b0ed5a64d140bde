#pragma once
// The path of a playlist through its folders, which is its title: the names from the outermost folder down to
// its own, joined by '/', as in Holidays/2009/Beach.

#include <cstdint>

/// Size of the buffers that hold a persistent id or a path; a longer path is cut at 1023 characters.
constexpr uint32_t itunes_folder_path_size = 1024;

/// Writes the path of the folder list's entry with the id `persistent_id` to `path`, both buffers of
/// itunes_folder_path_size bytes; the empty text where the list does not know it. Entries without a name are
/// passed over, and an entry that comes round again in a circle of parents ends the path. `persistent_id`
/// then holds the last id that was looked for: that of the outermost folder, known to the list or not. Does
/// nothing for a null argument.
void itunes_folder_path(char* path, char* persistent_id);
