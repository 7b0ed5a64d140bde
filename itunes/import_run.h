#pragma once
// The paths of one run, resolved once from the command line before any work and never changed afterwards.

#include <cstdint>

/// Size of every path buffer; a longer path is cut at 1023 characters.
constexpr uint32_t import_path_size = 1024;

struct ImportRun {
    char library_path[import_path_size];  // the iTunes library file; empty where the option is absent
    char temp_dir[import_path_size];      // the workspace inside the database directory
    char database_path[import_path_size]; // where the server looks for the items file
    char playlist_dir[import_path_size];  // where the playlist files end up
};

/// What the command line said; null for an option that was not given. The texts are borrowed.
struct ImportOptions {
    const char* dbdir;
    const char* playlist_dir;
    const char* base;
    const char* itunes_lib;
};

/// The run of this process. All empty until import_run_resolve.
extern ImportRun import_run;

/// Fills import_run: `base` (unless absent or empty), '/' and `dbdir` make the database path; the temporary
/// directory lies below it; playlists go to `playlist_dir` or else to the database path.
void import_run_resolve(const ImportOptions& options);

/// Writes the path of the items file that is being written, or of the one the server loads, to `path`, a
/// buffer of import_path_size bytes.
void import_run_temp_items_path(char* path);
void import_run_items_path(char* path);
