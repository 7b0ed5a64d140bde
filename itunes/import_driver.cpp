#include "itunes/import_driver.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "common/upnp_fileio.h"
#include "common/upnp_log.h"
#include "itunes/command_line.h"
#include "itunes/import_commit.h"
#include "itunes/import_run.h"
#include "itunes/library_walk.h"

namespace {

/// Makes failures of outputs results instead of ends of the run: a pipe whose reader has gone and a file at
/// the size limit fail their write, and a standard stream that the parent closed is not mistaken for the next
/// file that is opened.
void secure_standard_streams() {
    (void)signal(SIGPIPE, SIG_IGN);
    (void)signal(SIGXFSZ, SIG_IGN);
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = open("/dev/null", O_RDWR);
    }
    if (descriptor > STDERR_FILENO) {
        (void)close(descriptor);
    }
}

bool plugin_lines_wanted() {
    return upnp_log_check(upnp_log_plugin, 1) != 0;
}

/// Reports a library that is not there; nothing in the database directory has been touched by then.
void report_inaccessible_library() {
    if (plugin_lines_wanted()) {
        upnp_log_message(0, "LOG_PLUGIN:itunes-import: can not access %s", import_run.library_path);
    }
    upnp_log_close();
    printf("Can not access iTunes library file: %s", import_run.library_path);
}

/// Makes the temporary directory unless an earlier run left it, which fails harmlessly in one call or the
/// other.
void prepare_temp_dir() {
    UpnpFileStat status = {};
    if (upnp_file_stat(import_run.temp_dir, &status) != 0) {
        (void)upnp_file_unlink(import_run.temp_dir); // a dangling link would be in the way
    }
    (void)upnp_file_mkdir(import_run.temp_dir);
}

/// Reads the whole library into the workspace: the items file and the playlist files.
void import_into_temp_dir() {
    char temp_items_path[import_path_size];
    import_run_temp_items_path(temp_items_path);
    (void)upnp_file_unlink(temp_items_path); // opening does not truncate what an interrupted run left
    UpnpFile* items = upnp_file_open_write(temp_items_path);
    if (items != nullptr) {
        itunes_read_library(import_run.library_path, items);
        upnp_file_close(items);
    }
}

/// Swaps the items file: between the unlink and the rename the server finds none, but never a partial one.
/// Without a temporary items file it finds none afterwards either.
void commit_items_file() {
    char temp_items_path[import_path_size];
    char items_path[import_path_size];
    import_run_temp_items_path(temp_items_path);
    import_run_items_path(items_path);
    (void)upnp_file_unlink(items_path);
    (void)upnp_file_rename(temp_items_path, items_path);
}

} // namespace

int itunes_import_main(int argc, char** argv) {
    secure_standard_streams();
    ImportOptions options = {};
    switch (import_scan_command_line(argc, argv, &options)) {
    case CommandLineResult::import: break;
    case CommandLineResult::init_done: return 0;
    case CommandLineResult::unusable: import_print_usage(argc > 0 ? argv[0] : nullptr); return -1;
    }
    import_run_resolve(options);
    if (plugin_lines_wanted()) {
        upnp_log_message(0, "LOG_PLUGIN:itunes-import: starting with (%s) (%s)", import_run.library_path,
                         import_run.database_path);
    }
    if (upnp_file_exists(import_run.library_path) == 0) {
        report_inaccessible_library();
        import_print_usage(argv[0]);
        return -1;
    }
    prepare_temp_dir();
    import_into_temp_dir();
    commit_items_file();
    // Playlists follow the items file that they refer to.
    import_move_files(".wpl", import_run.temp_dir, import_run.playlist_dir);
    (void)upnp_dir_unlink(import_run.temp_dir); // refused: the empty directory stays for the next run
    import_remove_library_temp_files(import_run.library_path);
    if (plugin_lines_wanted()) {
        upnp_log_message(0, "LOG_PLUGIN:itunes-import: %s imported", import_run.library_path);
    }
    upnp_log_close();
    return 0;
}
