#include "itunes/import_run.h"

#include "common/upnp_text.h"

ImportRun import_run;

void import_run_resolve(const ImportOptions& options) {
    ImportRun& run = import_run;
    upnp_copy_text(run.library_path, sizeof run.library_path, options.itunes_lib);
    if (options.base != nullptr && options.base[0] != '\0') {
        upnp_format(run.database_path, sizeof run.database_path, "%s%c%s", options.base, '/',
                    options.dbdir == nullptr ? "" : options.dbdir);
    } else {
        upnp_copy_text(run.database_path, sizeof run.database_path, options.dbdir);
    }
    upnp_format(run.temp_dir, sizeof run.temp_dir, "%s%citunes-import-temp", run.database_path, '/');
    upnp_copy_text(run.playlist_dir, sizeof run.playlist_dir,
                   options.playlist_dir == nullptr ? run.database_path : options.playlist_dir);
}

void import_run_temp_items_path(char* path) {
    upnp_format(path, import_path_size, "%s%citunes.import.temp.items", import_run.temp_dir, '/');
}

void import_run_items_path(char* path) {
    upnp_format(path, import_path_size, "%s%citunes.import.items", import_run.database_path, '/');
}
