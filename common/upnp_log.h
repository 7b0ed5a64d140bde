#pragma once
// The process-wide log: one line a message, to standard output (console mode) or to a file. A call site asks
// first and formats only what is wanted; the logger itself filters nothing. Every function may be called by
// any thread at any time: a line is whole, and goes where the log stood when it was written.
//
//     if (upnp_log_check(upnp_log_plugin, 1)) {
//         upnp_log_message(0, "LOG_PLUGIN:itunes-import: %s imported", path);
//     }

#include <cstdarg>
#include <cstdint>

/// Categories: bits of the mask, each with the prefix that its messages begin with.
constexpr uint32_t upnp_log_system = 1;   // "LOG_SYSTEM:" file layer, allocator, system calls
constexpr uint32_t upnp_log_ssdp = 2;     // "LOG_SSDP:" multicast discovery
constexpr uint32_t upnp_log_db = 4;       // "LOG_DB:" media object store
constexpr uint32_t upnp_log_http = 8;     // "LOG_HTTP:" sockets
constexpr uint32_t upnp_log_plugin = 128; // "LOG_PLUGIN:" the import tool

/// Starts logging. A null path gives console mode. Otherwise the directories of the path are created, the
/// file is opened for appending or else created, and its path kept (1023 characters). May be called again:
/// a file that is still open is closed then. Returns 1, or 0 when there is no memory for the path (noted on
/// standard output) or the file opens neither way (noted on standard output and standard error); the logger
/// is then in console mode. The mask stays as it is.
int32_t upnp_log_init(const char* path);

/// Sets the categories whose ordinary messages are wanted. With 0, as at the start, nothing at all is.
void upnp_log_set_mask(uint32_t mask);

/// Returns 1 if a message of these category bits and this level is wanted, else 0. Level 1 asks for every bit
/// of `category` in the mask; the raised levels 2 to 4 pass whenever the mask is not 0.
[[nodiscard]] int32_t upnp_log_check(uint32_t category, uint32_t level);

/// Writes one line: local time, the formatted message (8191 bytes with the time, cut beyond), a line feed.
/// `reserved` is 0. Before upnp_log_init and after upnp_log_close it only notes the format on standard error.
/// A file that takes less than the whole text is closed, the text goes to standard output after "can't write
/// log file", and so does everything after it.
[[gnu::format(printf, 2, 3)]] void upnp_log_message(int32_t reserved, const char* format, ...);
[[gnu::format(printf, 2, 0)]] void upnp_log_message_args(int32_t reserved, const char* format,
                                                         va_list arguments);

/// Writes `text` as it is, without time and line feed, to where lines go, with their handling of failures.
void upnp_log_write_raw(const char* text);

/// Writes the prefix of a line, local time as "HH:MM:SS:mmm ", into `buffer` of `size` bytes, cut to fit.
void upnp_log_timestamp(char* buffer, uint32_t size);

/// Flushes standard output in console mode, syncs the log file to disk in file mode.
void upnp_log_flush();

/// Closes the log file, if any, and ends logging until upnp_log_init is called again. Waits for a line that
/// another thread is writing; a line for which a thread still waits then is refused as after the close.
void upnp_log_close();
