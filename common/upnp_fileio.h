#pragma once
// A thin layer over the POSIX file calls. Each operation makes one call, or a short fixed row of them, logs a
// failure as a LOG_SYSTEM line of level 1 and hands back the call's own result, errno as the call left it.
// Nothing is retried and nothing here ends the process. No open truncates: a writer that needs an empty file
// unlinks the path first.
//
//     UpnpFile* file = upnp_file_open_write(path);
//     upnp_file_write(file, "text\n", 5);
//     upnp_file_close(file);

#include <cstdint>

/// One cached block of a file; the operations here make none.
struct UpnpFileBlock {
    void* data; // owned
    UpnpFileBlock* next;
};

/// An open file. Made by the opens, owned by whoever opened it, released by upnp_file_close.
struct UpnpFile {
    int32_t descriptor;
    int64_t size;          // bytes, when it was opened for reading or appending; 0 for writing
    int64_t position;      // bytes; kept by upnp_file_read_line and upnp_file_at_end
    UpnpFileBlock* blocks; // freed with the file
};

struct UpnpFileStat {
    int64_t modification_time; // seconds, as all times here
    int64_t change_time;       // the modification time once more
    int64_t access_time;
    int64_t reserved; // left as the caller had it
    int64_t size;     // bytes
    uint32_t mode;    // type and permissions, as POSIX st_mode
};

enum class UpnpFileCall : uint8_t {
    open,
    close,
    sync,
    write,
    read,
    seek,
    stat,
    rename,
    unlink,
    mkdir
};

/// Hears of each call that failed, with its errno, and of a write that took less than it was given, with 0,
/// whatever is logged of it: most callers here go on, so whoever has to know whether a piece of work was done
/// whole listens meanwhile. Null, as at the start, for nobody.
extern void (*upnp_file_failure_listener)(UpnpFileCall call, int error);

/// Opens for writing from the start of the file, creating it with permissions 0644. Null on failure and for a
/// null path, both logged.
[[nodiscard]] UpnpFile* upnp_file_open_write(const char* path);

/// Opens for reading and notes the size. Null on failure (logged), without memory and for a null path.
/// Where only the size query fails, the descriptor stays open.
[[nodiscard]] UpnpFile* upnp_file_open_read(const char* path);

/// Opens for reading and appending, creating the file with permissions 0644. Null as for reading, but a
/// failed size query is only logged: the handle is returned with size 0.
[[nodiscard]] UpnpFile* upnp_file_open_append(const char* path);

/// Closes the descriptor and releases the handle with its blocks; null is ignored.
void upnp_file_close(UpnpFile* file);

/// Flushes the file's data to disk; null is ignored.
void upnp_file_sync(UpnpFile* file);

/// Writes `count` bytes with one call. Returns the number written, which may be less, or -1 on failure
/// (logged) and for a null argument.
int32_t upnp_file_write(UpnpFile* file, const void* bytes, uint32_t count);

/// Reads the next line: the bytes up to and including the first line feed, at most `size`. The buffer is
/// zero-filled first; a line of `size` bytes or more comes in pieces of `size`, which are not terminated.
/// Returns `buffer`, empty at the end of the file and after a read error (logged); null without buffer or
/// file.
char* upnp_file_read_line(char* buffer, uint32_t size, UpnpFile* file);

/// Returns 1 when the position is at or past the size that the file had when it was opened, and for a null
/// file; else 0, also when the position cannot be queried (logged).
int32_t upnp_file_at_end(UpnpFile* file);

/// Returns 1 if the path leads to something (links are followed), else 0 (logged); 0 for a null path.
int32_t upnp_file_exists(const char* path);

/// Queries the status (links are followed) and fills `status`, whose values mean nothing after a failure.
/// Returns 0, or -1 on failure (logged) and for a null argument.
int32_t upnp_file_stat(const char* path, UpnpFileStat* status);

/// Each makes the call of its name; 0, or -1 on failure (logged) and for a null argument. Directories are
/// made with permissions 0777 less the process mask.
int32_t upnp_file_rename(const char* old_path, const char* new_path);
int32_t upnp_file_unlink(const char* path);
int32_t upnp_file_mkdir(const char* path);

/// Unlinks a directory with the plain unlink call, which Linux refuses: the directory stays, the failure is
/// logged. The workspace of an import is kept that way from run to run.
int32_t upnp_dir_unlink(const char* path);

/// Makes the directory `path` with every missing directory above it; what exists is accepted untested, and a
/// drive prefix such as C:/ is skipped. Returns 0, or -1 for a null path, without memory and when a directory
/// cannot be made (logged twice, the second line at level 3).
int32_t upnp_file_create_path(const char* path);
