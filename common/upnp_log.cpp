#include "common/upnp_log.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/time.h>

#include "common/upnp_fileio.h"
#include "common/upnp_memory.h"
#include "common/upnp_mutex.h"
#include "common/upnp_text.h"

namespace {

constexpr uint32_t line_size = 8192; // the time and the message of one line, with the NUL
constexpr uint32_t time_size = 20;   // "HH:MM:SS"
constexpr uint32_t path_size = 1024; // the stored path of the log file

upnp_mutex_t LogCriticalSection;
bool log_initialised = false;
UpnpFile* log_file = nullptr; // null in console mode
char log_path[path_size];     // empty while no log file has been opened
uint32_t log_mask = 0;

void create_parent_directories(char* path) {
    char* separator = strrchr(path, '/');
    if (separator != nullptr) {
        *separator = '\0';
        (void)upnp_file_create_path(path); // the open that follows tells whether it mattered
    }
}

/// Writes to the log file, or to standard output where there is none. A file that fails is given up.
void write_text(const char* text) {
    UpnpFile* file = log_file;
    if (file == nullptr) {
        fputs(text, stdout);
        return;
    }
    // Detached while it is written: a failing write logs itself, and that line must not come back to the
    // file.
    log_file = nullptr;
    const auto length = static_cast<uint32_t>(strlen(text));
    if (upnp_file_write(file, text, length) == static_cast<int32_t>(length)) {
        log_file = file;
        return;
    }
    upnp_file_close(file);
    printf("can't write log file\n%s", text);
}

} // namespace

int32_t upnp_log_init(const char* path) {
    log_path[0] = '\0';
    UpnpFile* earlier_file = log_file;
    log_file = nullptr;
    upnp_file_close(earlier_file);
    if (!log_initialised) {
        upnp_mutex_init(&LogCriticalSection);
        log_initialised = true;
    }
    if (path == nullptr) {
        return 1;
    }
    char* directory = upnp_strdup(path);
    if (directory == nullptr) {
        puts("upnp_log_init - out of memory ?");
        return 0;
    }
    create_parent_directories(directory);
    upnp_free(directory);
    UpnpFile* file = upnp_file_open_append(path);
    if (file == nullptr) {
        file = upnp_file_open_write(path);
    }
    if (file == nullptr) {
        printf("can't open log file (%s)\n", path);
        fprintf(stderr, "can't open log file (%s)\n", path);
        return 0;
    }
    log_file = file;
    upnp_copy_text(log_path, sizeof log_path, path);
    return 1;
}

void upnp_log_set_mask(uint32_t mask) {
    log_mask = mask;
}

int32_t upnp_log_check(uint32_t category, uint32_t level) {
    if (log_mask == 0) {
        return 0;
    }
    const bool raised = level - 2 <= 2;
    return raised || (category & ~log_mask) == 0 ? 1 : 0;
}

void upnp_log_message(int32_t reserved, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    upnp_log_message_args(reserved, format, arguments);
    va_end(arguments);
}

void upnp_log_message_args(int32_t /*reserved*/, const char* format, va_list arguments) {
    if (!log_initialised) {
        fprintf(stderr, "upnp_log_message - LogCriticalSection not initialized! (%s)\n",
                format == nullptr ? "" : format);
        return;
    }
    const UpnpMutexGuard guard(&LogCriticalSection);
    char line[line_size] = {};
    upnp_log_timestamp(line, sizeof line);
    if (format != nullptr) {
        const size_t prefix_length = strlen(line);
        vsnprintf(line + prefix_length, sizeof line - prefix_length, format, arguments);
    }
    line[sizeof line - 1] = '\0';
    write_text(line);
    write_text("\n");
}

void upnp_log_write_raw(const char* text) {
    if (text == nullptr) {
        return;
    }
    if (!log_initialised) {
        write_text(text);
        return;
    }
    const UpnpMutexGuard guard(&LogCriticalSection);
    write_text(text);
}

void upnp_log_timestamp(char* buffer, uint32_t size) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    tm local = {};
    char text[time_size] = {};
    if (localtime_r(&now.tv_sec, &local) != nullptr) {
        strftime(text, sizeof text, "%H:%M:%S", &local);
    }
    upnp_format(buffer, size, "%s:%03d ", text, static_cast<int>(now.tv_usec / 1000));
}

void upnp_log_flush() {
    if (log_file == nullptr) {
        fflush(stdout);
    } else {
        upnp_file_sync(log_file);
    }
}

void upnp_log_close() {
    if (log_path[0] != '\0') {
        UpnpFile* file = log_file;
        log_file = nullptr;
        upnp_file_close(file);
    }
    if (log_initialised) {
        upnp_mutex_destroy(&LogCriticalSection);
        log_initialised = false;
    }
}
