#include "common/upnp_fileio.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include "common/upnp_log.h"
#include "common/upnp_memory.h"

static_assert(sizeof(off_t) == 8, "files beyond 2 GiB need _FILE_OFFSET_BITS=64");
static_assert(sizeof(time_t) == 8, "dates beyond 2038 need _TIME_BITS=64");

void (*upnp_file_failure_listener)(UpnpFileCall call, int error) = nullptr;

namespace {

constexpr mode_t file_permissions = 0644;
constexpr mode_t directory_permissions = 0777;

void tell_failure(UpnpFileCall call, int error) {
    if (upnp_file_failure_listener != nullptr) {
        upnp_file_failure_listener(call, error);
    }
}

/// Tells and logs, at level 1, a failed call; errno stays as the call left it.
[[gnu::format(printf, 2, 3)]] void log_failure(UpnpFileCall call, const char* format, ...) {
    const int error = errno;
    tell_failure(call, error);
    errno = error;
    if (upnp_log_check(upnp_log_system, 1) == 0) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    upnp_log_message_args(0, format, arguments);
    va_end(arguments);
    errno = error;
}

/// Logs a call on a path that failed: `format` takes errno and the path. Hands back the call's result.
[[gnu::format(printf, 3, 0)]] int logged(UpnpFileCall call, int result, const char* format,
                                         const char* path) {
    if (result == -1) {
        log_failure(call, format, errno, path);
    }
    return result;
}

int query_status(const char* path, struct stat* status) {
    return logged(UpnpFileCall::stat, stat(path, status),
                  "LOG_SYSTEM:file_stat error (errno=%d, filename=%s)", path);
}

/// A handle on nothing yet; null for a null path and without memory.
UpnpFile* new_handle(const char* path) {
    return path == nullptr ? nullptr : static_cast<UpnpFile*>(upnp_calloc(1, sizeof(UpnpFile)));
}

/// Opens `path` on `file` and returns it. Null where that fails, which is logged as `format` says and
/// releases the handle, and for a null handle.
[[gnu::format(printf, 4, 0)]] UpnpFile* open_handle(UpnpFile* file, const char* path, int flags,
                                                    const char* format) {
    if (file == nullptr) {
        return nullptr;
    }
    file->descriptor = logged(UpnpFileCall::open, open(path, flags, file_permissions), format, path);
    if (file->descriptor == -1) {
        upnp_free(file);
        return nullptr;
    }
    return file;
}

/// A relative seek, with its failure logged; the new offset or -1.
int64_t seek(const UpnpFile* file, int64_t distance) {
    const off_t offset = lseek(file->descriptor, distance, SEEK_CUR);
    if (offset < 0) {
        log_failure(UpnpFileCall::seek,
                    "LOG_SYSTEM:file_seek error (errno=%d,filedescriptor=%d,dest=%lld,flag=%d) ", errno,
                    file->descriptor, static_cast<long long>(distance), SEEK_CUR);
    }
    return offset;
}

/// mkdir() for upnp_file_create_path, whose failure gets a second line.
int32_t make_path_directory(const char* path) {
    const int32_t result = upnp_file_mkdir(path);
    if (result != 0 && upnp_log_check(upnp_log_system, 3) != 0) {
        const int error = errno;
        upnp_log_message(0, "LOG_SYSTEM:upnp_file_create_path: error creating directory: %s", path);
        errno = error;
    }
    return result;
}

/// Where the search for separators starts: after the first character, so that a leading '/' is none, and
/// after a drive prefix (C: or C:/). Never beyond the end of the path.
size_t separator_search_start(const char* path) {
    size_t start = 1;
    if (path[0] != '\0' && path[1] == ':') {
        start = path[2] == '/' ? 3 : 2;
    }
    return std::min(start, strlen(path));
}

} // namespace

UpnpFile* upnp_file_open_write(const char* path) {
    UpnpFile* file = new_handle(path);
    if (file == nullptr && path != nullptr) {
        log_failure(UpnpFileCall::open,
                    "LOG_SYSTEM:upnp_file_open_write Malloc fails on upnp_file_open_write ");
    }
    file = open_handle(file, path, O_WRONLY | O_CREAT, "LOG_SYSTEM:open_write error (errno=%d,filename=%s) ");
    if (file == nullptr) {
        log_failure(UpnpFileCall::open, "LOG_SYSTEM:upnp_file_open_write file open write error \"%s\"",
                    path == nullptr ? "(NULL)" : path);
    }
    return file;
}

UpnpFile* upnp_file_open_read(const char* path) {
    UpnpFile* file =
        open_handle(new_handle(path), path, O_RDONLY, "LOG_SYSTEM:open_read error (errno=%d,filename=%s) ");
    if (file == nullptr) {
        return nullptr;
    }
    struct stat status = {};
    if (query_status(path, &status) != 0) {
        upnp_free(file); // the descriptor stays open here, as the header says
        return nullptr;
    }
    file->size = status.st_size;
    return file;
}

UpnpFile* upnp_file_open_append(const char* path) {
    UpnpFile* file = open_handle(new_handle(path), path, O_RDWR | O_CREAT | O_APPEND,
                                 "LOG_SYSTEM:open_append error (errno=%d,filename=%s) ");
    if (file == nullptr) {
        return nullptr;
    }
    struct stat status = {};
    (void)query_status(path, &status); // a failure leaves the size at 0: appending does not need it
    file->size = status.st_size;
    return file;
}

void upnp_file_close(UpnpFile* file) {
    if (file == nullptr) {
        return;
    }
    if (file->descriptor != -1 && close(file->descriptor) != 0) {
        log_failure(UpnpFileCall::close, "LOG_SYSTEM:close_file error (errno=%d,filedescriptor=%d) ", errno,
                    file->descriptor);
    }
    while (file->blocks != nullptr) {
        UpnpFileBlock* block = file->blocks;
        file->blocks = block->next;
        upnp_free_unless_null(block->data);
        upnp_free(block);
    }
    upnp_free(file);
}

void upnp_file_sync(UpnpFile* file) {
    if (file != nullptr && fsync(file->descriptor) != 0) {
        tell_failure(UpnpFileCall::sync, errno); // no line exists for it
    }
}

int32_t upnp_file_write(UpnpFile* file, const void* bytes, uint32_t count) {
    if (file == nullptr || bytes == nullptr) {
        return -1;
    }
    const ssize_t written = write(file->descriptor, bytes, count);
    if (written < 0) {
        log_failure(UpnpFileCall::write,
                    "LOG_SYSTEM:file_write error (errno=%d,filedescriptor=%d,bytestoread=%d) ", errno,
                    file->descriptor, static_cast<int32_t>(count));
    } else if (static_cast<uint32_t>(written) < count) {
        tell_failure(UpnpFileCall::write, 0);
    }
    return static_cast<int32_t>(written);
}

char* upnp_file_read_line(char* buffer, uint32_t size, UpnpFile* file) {
    if (buffer == nullptr) {
        return nullptr;
    }
    memset(buffer, 0,
           size); // before the read: of the line before nothing is left, whatever the kernel delivers
    if (file == nullptr) {
        return nullptr;
    }
    const ssize_t count = read(file->descriptor, buffer, size);
    if (count < 0) {
        log_failure(UpnpFileCall::read,
                    "LOG_SYSTEM:file_read error (errno=%d,filedescriptor=%d,bytestoread=%d) ", errno,
                    file->descriptor, static_cast<int32_t>(size));
    }
    if (count <= 0) {
        return buffer;
    }
    file->position += count;
    const auto* line_feed = static_cast<const char*>(memchr(buffer, '\n', static_cast<size_t>(count)));
    if (line_feed == nullptr) {
        return buffer;
    }
    const int64_t line_length = line_feed - buffer + 1;
    // Signed before the subtraction: an unsigned distance would become a huge offset.
    const int64_t offset = seek(file, line_length - int64_t{count});
    if (offset >= 0) {
        file->position = offset;
    }
    if (line_length < int64_t{size}) {
        buffer[line_length] = '\0';
    }
    return buffer;
}

int32_t upnp_file_at_end(UpnpFile* file) {
    if (file == nullptr) {
        return 1;
    }
    const int64_t offset = seek(file, 0);
    if (offset >= 0) {
        file->position = offset;
    }
    return file->size <= offset ? 1 : 0;
}

int32_t upnp_file_exists(const char* path) {
    struct stat status = {};
    return path != nullptr && query_status(path, &status) == 0 ? 1 : 0;
}

int32_t upnp_file_stat(const char* path, UpnpFileStat* status) {
    if (path == nullptr || status == nullptr) {
        return -1;
    }
    struct stat queried = {};
    const int result = query_status(path, &queried);
    status->modification_time = queried.st_mtime;
    status->change_time = queried.st_mtime;
    status->access_time = queried.st_atime;
    status->size = queried.st_size;
    status->mode = queried.st_mode;
    return result;
}

int32_t upnp_file_rename(const char* old_path, const char* new_path) {
    if (old_path == nullptr || new_path == nullptr) {
        return -1;
    }
    const int result = rename(old_path, new_path);
    if (result != 0) {
        log_failure(UpnpFileCall::rename, "LOG_SYSTEM:file_rename error (errno=%d,oldname=%s,newname=%s) ",
                    errno, old_path, new_path);
    }
    return result;
}

int32_t upnp_file_unlink(const char* path) {
    if (path == nullptr) {
        return -1;
    }
    return logged(UpnpFileCall::unlink, unlink(path), "LOG_SYSTEM:file_unlink error (errno=%d,filename=%s) ",
                  path);
}

int32_t upnp_file_mkdir(const char* path) {
    if (path == nullptr) {
        return -1;
    }
    return logged(UpnpFileCall::mkdir, mkdir(path, directory_permissions),
                  "LOG_SYSTEM:file_mkdir error (errno=%d,dir=%s) ", path);
}

int32_t upnp_dir_unlink(const char* path) {
    if (path == nullptr) {
        return -1;
    }
    return logged(UpnpFileCall::unlink, unlink(path), "LOG_SYSTEM:dir_unlink error (errno=%d,dir=%s) ", path);
}

int32_t upnp_file_create_path(const char* path) {
    char* copy = upnp_strdup(path);
    if (copy == nullptr) {
        return -1;
    }
    int32_t result = 0;
    char* separator = strchr(copy + separator_search_start(copy), '/');
    while (separator != nullptr && result == 0) {
        *separator = '\0';
        if (upnp_file_exists(copy) == 0) {
            result = make_path_directory(copy);
        }
        *separator = '/';
        separator = strchr(separator + 1, '/');
    }
    if (result == 0 && upnp_file_exists(copy) == 0) {
        result = make_path_directory(copy);
    }
    upnp_free(copy);
    return result;
}
