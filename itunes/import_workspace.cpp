#include "itunes/import_workspace.h"

#include "common/upnp_fileio.h"
#include "itunes/import_run.h"
#include "itunes/library_walk.h"

void import_prepare_temp_dir() {
    UpnpFileStat status = {};
    if (upnp_file_stat(import_run.temp_dir, &status) != 0) {
        (void)upnp_file_unlink(import_run.temp_dir); // a dangling link would be in the way
    }
    (void)upnp_file_mkdir(import_run.temp_dir); // fails harmlessly where it is there
}

void import_into_temp_dir() {
    char temp_items_path[import_path_size];
    import_run_temp_items_path(temp_items_path);
    (void)upnp_file_unlink(temp_items_path); // opening does not truncate what an interrupted run left
    UpnpFile* items = upnp_file_open_write(temp_items_path);
    if (items != nullptr) {
        itunes_read_library(import_run.library_path, items);
        upnp_file_sync(items); // before the commit unlinks the file of the last run
        upnp_file_close(items);
    }
}
