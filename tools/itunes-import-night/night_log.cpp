#include "tools/itunes-import-night/night_log.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "common/upnp_fileio.h"
#include "common/upnp_log.h"
#include "tools/itunes-import-night/messages.h"
#include "tools/shared/descriptor.h"

namespace {

/// Whether the file can be opened for writing, its directories made; else errno says why. Asked first, since
/// the logger says it in its own way. A FIFO nobody reads would keep the night waiting.
bool can_be_written(const std::string& path) {
    const size_t separator = path.rfind('/');
    if (separator != std::string::npos) {
        (void)upnp_file_create_path(path.substr(0, separator).c_str());
    }
    return Descriptor(::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0644))
        .is_open();
}

void silence_standard_output() {
    const Descriptor null(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    (void)dup2(null.number(), STDOUT_FILENO);
}

int last_write_error = 0; // of the line that is being written

} // namespace

NightLog::~NightLog() {
    if (is_open_) {
        upnp_log_close();
    }
}

void NightLog::fail(int error) {
    is_good_ = false;
    is_open_ = false;
    say_night(path_, "can not be written: " + std::string(strerror(error)));
}

void NightLog::open(const std::string& path) {
    if (path.empty()) {
        return;
    }
    path_ = path;
    if (!can_be_written(path)) {
        fail(errno);
        return;
    }
    silence_standard_output();
    is_open_ = upnp_log_init(path.c_str()) != 0;
    if (is_open_) {
        upnp_log_set_mask(upnp_log_plugin);
    } else {
        fail(errno);
    }
}

void NightLog::write(const std::string& line) {
    if (!is_open_) {
        return;
    }
    last_write_error = 0;
    upnp_file_failure_listener = [](UpnpFileCall /*call*/, int error) {
        last_write_error = error == 0 ? ENOSPC : error;
    };
    upnp_log_message(0, "LOG_PLUGIN:itunes-import: %s", line.c_str());
    upnp_file_failure_listener = nullptr;
    if (last_write_error != 0) {
        fail(last_write_error);
    }
}
