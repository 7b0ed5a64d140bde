#include "itunes/command_line.h"

#include <cstdio>
#include <cstring>

#include "common/upnp_log.h"
#include "itunes/library_setting.h"

namespace {

/// A path option and where its value goes, in the order of comparison.
struct PathOption {
    const char* name;
    const char* ImportOptions::*value;
};

constexpr PathOption path_options[] = {
    {"-dbdir", &ImportOptions::dbdir},
    {"-playlist-dir", &ImportOptions::playlist_dir},
    {"-base", &ImportOptions::base},
    {"-itunes-lib", &ImportOptions::itunes_lib},
};

} // namespace

CommandLineResult import_scan_command_line(int argc, char* const* argv, ImportOptions* options) {
    if (argv == nullptr || options == nullptr) {
        return CommandLineResult::unusable;
    }
    *options = {};
    if (argc < 2) {
        return CommandLineResult::unusable;
    }
    (void)upnp_log_init(nullptr); // console mode cannot fail
    // One argument at a time: a value is looked at as an option too, but begins with no '-' and so is none.
    for (int index = 1; index + 1 < argc; ++index) {
        const char* option = argv[index];
        const char* value = argv[index + 1];
        if (value[0] == '-') {
            continue;
        }
        for (const PathOption& path_option : path_options) {
            if (strcmp(option, path_option.name) == 0) {
                options->*path_option.value = value;
            }
        }
        if (strcmp(option, "-logfile") == 0) {
            (void)upnp_log_init(value); // reports its own failure; the lines then go to standard output
            upnp_log_set_mask(upnp_log_plugin);
        } else if (strcmp(option, "-init") == 0) {
            import_write_library_setting(value);
            upnp_log_close();
            return CommandLineResult::init_done;
        }
    }
    return options->dbdir == nullptr ? CommandLineResult::unusable : CommandLineResult::import;
}

void import_print_usage(const char* program_name) {
    printf("usage: %s -dbdir <DATABASE DIRECTORY>  [-playlist-dir <PLAYLIST STORAGE DIRECTORY>] "
           "[-base <contentbase>] [-itunes-lib <PATH TO iTunes Music Library.xml>] [-logfile <LOGFILE>] "
           "[-noclean]\n"
           "-dbdir Base diretory of the Zembramedia database\n"
           "-playlist-dir Directory where the extracted playlist file should be stored.\n"
           "-noclean All existing iTunes playlists in the <PLAYLIST STORAGE DIRECTORY> are kept.\n"
           "-base the content base directory of Zembramedia\n"
           "-itunes-lib The iTunes library file to parse. If omitted, the plugin will try to autodetect the "
           "iTunes library file.\n"
           "-logfile file used for logging.\n",
           program_name == nullptr ? "" : program_name);
}
