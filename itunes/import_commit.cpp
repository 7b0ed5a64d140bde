#include "itunes/import_commit.h"

#include <cstring>

#include "common/upnp_dirwalk.h"
#include "common/upnp_fileio.h"
#include "common/upnp_text.h"
#include "itunes/import_run.h"

void import_commit_items_file() {
    char temp_items_path[import_path_size];
    char items_path[import_path_size];
    import_run_temp_items_path(temp_items_path);
    import_run_items_path(items_path);
    (void)upnp_file_unlink(items_path);
    (void)upnp_file_rename(temp_items_path, items_path);
}

void import_move_files(const char* pattern, const char* source_directory, const char* destination_directory) {
    if (pattern == nullptr || source_directory == nullptr || destination_directory == nullptr) {
        return;
    }
    for (UpnpDirWalk* walk = upnp_dir_open(source_directory); walk != nullptr; walk = upnp_dir_next(walk)) {
        if (strstr(walk->entry_name, pattern) == nullptr) {
            continue;
        }
        char source[import_path_size];
        char destination[import_path_size];
        import_move_source(source, sizeof source, walk->entry_path);
        upnp_format(destination, sizeof destination, "%s%c%s", destination_directory, '/', walk->entry_name);
        (void)upnp_file_unlink(destination); // mostly there is none
        (void)upnp_file_rename(source, destination);
    }
}

void import_move_source(char* buffer, uint32_t size, const char* path) {
    if (buffer == nullptr || size == 0 || path == nullptr) {
        return;
    }
    uint32_t length = 0;
    while (*path != '\0' && length + 1 < size) {
        buffer[length++] = *path;
        path += path[0] == '%' && path[1] == '%' ? 2 : 1;
    }
    buffer[length] = '\0';
}

void import_remove_library_temp_files(const char* library_path) {
    if (library_path == nullptr) {
        return;
    }
    char directory[import_path_size];
    upnp_copy_text(directory, sizeof directory, library_path);
    char* separator = strrchr(directory, '/');
    if (separator == nullptr) {
        return;
    }
    separator[1] = '\0';
    for (UpnpDirWalk* walk = upnp_dir_open(directory); walk != nullptr; walk = upnp_dir_next(walk)) {
        if (strncmp(walk->entry_name, "iT", 2) == 0 && strstr(walk->entry_name, ".tmp") != nullptr) {
            (void)upnp_file_unlink(walk->entry_path);
        }
    }
}
