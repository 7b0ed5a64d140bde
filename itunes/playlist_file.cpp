#include "itunes/playlist_file.h"

#include <cstring>

#include "common/upnp_text.h"
#include "itunes/import_run.h"
#include "server/common/upnp_wpl.h"

namespace {

constexpr uint32_t base_name_size = 256; // the playlist's name, "##" and the type
constexpr char replaced_characters[] = " \\/+:*<>|@$\"'&?~";
static_assert(sizeof replaced_characters - 1 == 16);

} // namespace

void itunes_playlist_file_path(char* path, const char* directory, const char* type, const char* name) {
    if (path == nullptr) {
        return;
    }
    path[0] = '\0';
    if (directory == nullptr || type == nullptr || name == nullptr) {
        return;
    }
    char base_name[base_name_size];
    upnp_format(base_name, sizeof base_name, "%s##%s", name, type);
    for (char* character = strpbrk(base_name, replaced_characters); character != nullptr;
         character = strpbrk(character + 1, replaced_characters)) {
        *character = '_';
    }
    upnp_format(path, import_path_size, "%s%ciTunes-playlist-%s.wpl", directory, '/', base_name);
}

UpnpFile* itunes_playlist_file_open(const char* directory, int32_t /*reserved*/, const char* type,
                                    const char* name, uint32_t is_network_feed) {
    if (directory == nullptr || type == nullptr || name == nullptr || name[0] == '\0') {
        return nullptr;
    }
    char path[import_path_size];
    itunes_playlist_file_path(path, directory, type, name);
    (void)upnp_file_unlink(path); // opening does not truncate; mostly there is none
    UpnpFile* file = upnp_file_open_write(path);
    // A null file is passed on too: the header logs it.
    (void)upnp_wpl_write_header(file, type, name, import_run.library_path, is_network_feed, 0);
    return file;
}
