#include "itunes/library_setting.h"

#include <cstdint>
#include <cstdio>

#include "common/upnp_fileio.h"
#include "common/upnp_log.h"
#include "common/upnp_text.h"

namespace {

constexpr uint32_t line_size = 1024; // the setting's line with its line feed

} // namespace

void import_write_library_setting(const char* path) {
    if (path == nullptr) {
        return;
    }
    char line[line_size] = {};
    (void)upnp_file_unlink(path); // opening does not truncate; mostly there is no such file
    UpnpFile* file = upnp_file_open_write(path);
    if (file != nullptr) {
        const int32_t length = upnp_format(line, sizeof line, "ituneslib=%s\n", "");
        // A failure is logged by the file layer.
        (void)upnp_file_write(file, line, static_cast<uint32_t>(length));
        upnp_file_close(file);
    } else {
        printf("iTunes-import: could not open file %s for writing\n", path);
    }
    if (upnp_log_check(upnp_log_plugin, 1) != 0) {
        upnp_log_message(0, "LOG_PLUGIN:itunes-import: setting lib to (%s)", line);
    }
}
