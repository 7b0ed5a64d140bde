#pragma once
// The end of a run: its results leave the workspace by renames, so that the server finds whole files only.

#include <cstdint>

/// Swaps the run's items file for the one of the last run: between the unlink and the rename the server finds
/// none, but never a partial one. Without a temporary items file it finds none afterwards either. Failures are
/// logged by the file layer.
void import_commit_items_file();

/// Moves every entry of `source_directory` whose name contains `pattern` anywhere to `destination_directory`,
/// replacing a file of the same name there and nothing else. That one is unlinked first, so it is gone even
/// where the rename then fails; the entry stays for a later run, the failure is logged by the file layer, and
/// the next entry follows. Each path is cut at 1023 characters. "%%" in a source path is read as one '%', so
/// that such an entry stays where it is, and a file that bears the name so read, if there is one, is moved in
/// its stead and under its name. The two directories must differ.
void import_move_files(const char* pattern, const char* source_directory, const char* destination_directory);

/// Copies the path under which import_move_files looks for the entry at `path` to `buffer` of `size` bytes,
/// cut to fit: every "%%" read as one '%' and all else as it stands. An entry for which it differs stays.
/// Nothing for a null argument or a size of 0.
void import_move_source(char* buffer, uint32_t size, const char* path);

/// Deletes iTunes' temporary files beside the library: the entries of its directory whose names begin with
/// "iT" and contain ".tmp". Nothing happens for a path without a '/'.
void import_remove_library_temp_files(const char* library_path);
