#include "common/upnp_dirwalk.h"

#include <cstring>
#include <sys/stat.h>

#include "common/upnp_memory.h"
#include "common/upnp_text.h"

namespace {

constexpr uint32_t path_size = 2048; // a directory or an entry path during a walk

bool is_reported(const char* name) {
    return name[0] != '.' && strcmp(name, "lost+found") != 0;
}

/// Makes the walk stand on the entry `name`; false without memory.
bool set_entry(UpnpDirWalk* walk, const char* name) {
    upnp_free_unless_null(walk->entry_path);
    upnp_free_unless_null(walk->entry_name);
    char path[path_size];
    upnp_format(path, sizeof path, "%s%c%s", walk->directory_path, '/', name);
    walk->entry_path = upnp_strdup(path);
    walk->entry_name = upnp_strdup(name);
    if (walk->entry_path == nullptr || walk->entry_name == nullptr) {
        return false;
    }
    // The flags come from whatever the last successful query left: an entry that has vanished keeps the
    // reading before it.
    struct stat status = {};
    if (lstat(path, &status) == 0) {
        walk->last_mode = status.st_mode;
    }
    walk->is_link = (walk->last_mode & S_IFLNK) == S_IFLNK ? 1 : 0;
    if (stat(path, &status) == 0) {
        walk->last_mode = status.st_mode;
    }
    walk->is_directory = S_ISDIR(walk->last_mode) ? 1 : 0;
    return true;
}

} // namespace

UpnpDirWalk* upnp_dir_open(const char* path) {
    if (path == nullptr || strncmp(path, "/proc", 5) == 0) {
        return nullptr;
    }
    char directory[path_size];
    upnp_format(directory, sizeof directory, "%s/.", path);
    DIR* stream = opendir(directory);
    if (stream == nullptr) {
        return nullptr;
    }
    auto* walk = static_cast<UpnpDirWalk*>(upnp_calloc(1, sizeof(UpnpDirWalk)));
    if (walk == nullptr) {
        closedir(stream);
        return nullptr;
    }
    walk->stream = stream;
    walk->directory_path = upnp_strdup(path);
    if (walk->directory_path == nullptr) {
        upnp_dir_close(walk);
        return nullptr;
    }
    const size_t length = strlen(walk->directory_path);
    if (length > 0 && walk->directory_path[length - 1] == '/') {
        walk->directory_path[length - 1] = '\0';
    }
    return upnp_dir_next(walk);
}

UpnpDirWalk* upnp_dir_next(UpnpDirWalk* walk) {
    if (walk == nullptr) {
        return nullptr;
    }
    for (const dirent* entry = readdir(walk->stream); entry != nullptr; entry = readdir(walk->stream)) {
        if (is_reported(entry->d_name) && set_entry(walk, entry->d_name)) {
            return walk;
        }
    }
    upnp_dir_close(walk);
    return nullptr;
}

void upnp_dir_close(UpnpDirWalk* walk) {
    if (walk == nullptr) {
        return;
    }
    closedir(walk->stream);
    upnp_free_unless_null(walk->entry_path);
    upnp_free_unless_null(walk->entry_name);
    upnp_free_unless_null(walk->directory_path);
    upnp_free(walk);
}
