#include "common/upnp_log.h"

#include <atomic>
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

upnp_mutex_t LogCriticalSection; // guards the file, its flag and its path; exists while log_initialised
UpnpFile* log_file = nullptr;    // null in console mode
bool log_file_busy = false;      // being written
char log_path[path_size];        // empty while no log file has been opened

std::atomic<uint32_t> log_mask = 0;

// Held while LogCriticalSection is created, entered or destroyed, so that none is destroyed for which another
// thread waits; is there all the time itself.
constinit upnp_mutex_t log_life = {PTHREAD_MUTEX_INITIALIZER, {}, 0};
bool log_initialised = false; // guarded by log_life

/// Enters LogCriticalSection if logging is on, and stays in log_life if not, so that nobody begins to log before
/// the text is out; returns what it holds. The owner, whose failing write logs itself, enters again without
/// log_life: the thread that holds that may be waiting for it to leave.
upnp_mutex_t* enter_section() {
    if (LogCriticalSection.owner.load(std::memory_order_relaxed) == pthread_self()) {
        upnp_mutex_lock(&LogCriticalSection);
        return &LogCriticalSection;
    }
    upnp_mutex_lock(&log_life);
    if (!log_initialised) {
        return &log_life;
    }
    upnp_mutex_lock(&LogCriticalSection);
    upnp_mutex_unlock(&log_life);
    return &LogCriticalSection;
}

/// Holds the place where texts go, to the end of the scope.
class LogSection {
public:
    LogSection() : held_(enter_section()) {}
    ~LogSection() { upnp_mutex_unlock(held_); }
    LogSection(const LogSection&) = delete;
    LogSection& operator=(const LogSection&) = delete;

    /// Whether logging is on.
    [[nodiscard]] bool entered() const { return held_ == &LogCriticalSection; }

private:
    upnp_mutex_t* held_;
};

/// Goes to console mode, before the close: should that fail, its line must not go to the file.
void close_log_file() {
    UpnpFile* file = log_file;
    log_file = nullptr;
    upnp_file_close(file);
}

void create_parent_directories(char* path) {
    char* separator = strrchr(path, '/');
    if (separator != nullptr) {
        *separator = '\0';
        (void)upnp_file_create_path(path); // the open that follows tells whether it mattered
    }
}

/// Writes to the log file, or to standard output where there is none and while it is being written: a failing
/// write logs itself, and that line must not come back to the file. A file that fails is given up.
void write_text(const char* text) {
    if (log_file == nullptr || log_file_busy) {
        fputs(text, stdout);
        return;
    }
    const auto length = static_cast<uint32_t>(strlen(text));
    log_file_busy = true;
    const int32_t written = upnp_file_write(log_file, text, length);
    log_file_busy = false;
    if (written != static_cast<int32_t>(length)) {
        close_log_file();
        printf("can't write log file\n%s", text);
    }
}

/// Makes the file at `path` the log file, in LogCriticalSection; 1, or 0 as upnp_log_init.
int32_t open_log_file(const char* path) {
    log_path[0] = '\0';
    close_log_file();
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

} // namespace

int32_t upnp_log_init(const char* path) {
    const UpnpMutexGuard life(&log_life);
    if (!log_initialised) {
        upnp_mutex_init(&LogCriticalSection);
        log_initialised = true;
    }
    const UpnpMutexGuard section(&LogCriticalSection);
    return open_log_file(path);
}

void upnp_log_set_mask(uint32_t mask) {
    log_mask.store(mask, std::memory_order_relaxed);
}

int32_t upnp_log_check(uint32_t category, uint32_t level) {
    const uint32_t mask = log_mask.load(std::memory_order_relaxed);
    if (mask == 0) {
        return 0;
    }
    const bool raised = level - 2 <= 2;
    return raised || (category & ~mask) == 0 ? 1 : 0;
}

void upnp_log_message(int32_t reserved, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    upnp_log_message_args(reserved, format, arguments);
    va_end(arguments);
}

void upnp_log_message_args(int32_t /*reserved*/, const char* format, va_list arguments) {
    const LogSection section;
    if (!section.entered()) {
        fprintf(stderr, "upnp_log_message - LogCriticalSection not initialized! (%s)\n",
                format == nullptr ? "" : format);
        return;
    }
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
    const LogSection section;
    if (section.entered()) {
        write_text(text);
    } else {
        fputs(text, stdout);
    }
}

void upnp_log_timestamp(char* buffer, uint32_t size) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    tm local = {};
    char text[time_size] = {};
    tzset(); // localtime_r alone need not notice that TZ has changed
    if (localtime_r(&now.tv_sec, &local) != nullptr) {
        // strftime would add the C library's calendars to static programs: 15 kilobytes.
        upnp_format(text, sizeof text, "%02d:%02d:%02d", local.tm_hour, local.tm_min, local.tm_sec);
    }
    upnp_format(buffer, size, "%s:%03d ", text, static_cast<int>(now.tv_usec / 1000));
}

void upnp_log_flush() {
    const LogSection section;
    if (section.entered() && log_file != nullptr) {
        upnp_file_sync(log_file);
    } else {
        fflush(stdout);
    }
}

void upnp_log_close() {
    const UpnpMutexGuard life(&log_life);
    if (!log_initialised) {
        return;
    }
    {
        const UpnpMutexGuard section(&LogCriticalSection);
        if (log_path[0] != '\0') {
            close_log_file();
        }
    }
    log_initialised = false;
    upnp_mutex_destroy(&LogCriticalSection);
}
