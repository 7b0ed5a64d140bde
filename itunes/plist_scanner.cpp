#include "itunes/plist_scanner.h"

#include <cstring>
#include <sys/stat.h>

namespace {

/// Reads in a row that may move nothing before the library counts as ended. More than a run of interrupted
/// reads is likely to be, and few enough that a disk on which each read takes seconds to fail ends the pass
/// within minutes.
constexpr uint32_t idle_read_limit = 16;

} // namespace

bool itunes_next_line(PlistScanner* scanner) {
    if (scanner == nullptr || upnp_file_at_end(scanner->file) != 0) {
        return false;
    }
    UpnpFile* file = scanner->file;
    // Where the position cannot be queried (a pipe), the file layer's own count decides.
    if (file->position >= file->size || scanner->idle_reads >= idle_read_limit) {
        return false;
    }
    const int64_t position = file->position;
    upnp_file_read_line(scanner->line, itunes_line_size, file);
    scanner->idle_reads = file->position == position ? scanner->idle_reads + 1 : 0;
    return true;
}

UpnpFile* itunes_open_library(const char* path) {
    // Asked without the file layer: a library that is not there is reported once, by the open.
    struct stat status = {};
    if (path != nullptr && stat(path, &status) == 0 && S_ISFIFO(status.st_mode)) {
        return nullptr;
    }
    return upnp_file_open_read(path);
}

bool itunes_line_holds(const char* line, const char* literal) {
    return line != nullptr && literal != nullptr && strstr(line, literal) != nullptr;
}
