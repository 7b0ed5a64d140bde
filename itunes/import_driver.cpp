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
#include "itunes/import_workspace.h"

namespace {

/// Makes failures of outputs results instead of ends of the run: a pipe whose reader has gone and a file at
/// the size limit fail their write, and an output that the parent closed is not mistaken for the next file
/// that is opened. Standard input is left as it is: a library read through it has to fail where it is closed.
void secure_outputs() {
    (void)signal(SIGPIPE, SIG_IGN);
    (void)signal(SIGXFSZ, SIG_IGN);
    constexpr int outputs[] = {STDOUT_FILENO, STDERR_FILENO};
    for (const int output : outputs) {
        if (fcntl(output, F_GETFD) != -1) {
            continue;
        }
        const int descriptor = open("/dev/null", O_RDWR);
        if (descriptor >= 0 && descriptor != output) {
            (void)dup2(descriptor, output);
            (void)close(descriptor);
        }
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

} // namespace

int itunes_import_main(int argc, char** argv) {
    secure_outputs();
    ImportOptions options = {};
    switch (import_scan_command_line(argc, argv, &options)) {
    case CommandLineResult::import: break;
    case CommandLineResult::init_done: return 0;
    case CommandLineResult::unusable:
        import_print_usage(argc > 0 && argv != nullptr ? argv[0] : nullptr);
        return -1;
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
    import_prepare_temp_dir();
    import_into_temp_dir();
    import_commit_items_file();
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
