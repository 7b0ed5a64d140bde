#pragma once
// The end of a run: its results leave the workspace by renames, so that the server finds whole files only.

/// Moves every entry of `source_directory` whose name contains `pattern` anywhere to `destination_directory`,
/// replacing an entry of the same name there and nothing else. A failure is logged by the file layer and the
/// next entry follows; an entry that could not be renamed stays for a later run. Each path is cut at 1023
/// characters; "%%" in a source path is read as one '%', so such a file stays as well.
void import_move_files(const char* pattern, const char* source_directory, const char* destination_directory);

/// Deletes iTunes' temporary files beside the library: the entries of its directory whose names begin with
/// "iT" and contain ".tmp". Nothing happens for a path without a '/'.
void import_remove_library_temp_files(const char* library_path);
