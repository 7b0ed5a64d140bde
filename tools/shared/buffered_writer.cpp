#include "tools/shared/buffered_writer.h"

#include <cerrno>
#include <unistd.h>

namespace {

constexpr size_t piece_size = 1U << 16;

} // namespace

int write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (count == 0) {
            return EIO; // else it would be tried for ever
        }
        bytes.remove_prefix(count > 0 ? static_cast<size_t>(count) : 0);
    }
    return 0;
}

void BufferedWriter::write(std::string_view text) {
    kept_.append(text);
    if (kept_.size() >= piece_size) {
        (void)flush(); // the error stays
    }
}

int BufferedWriter::flush() {
    if (error_ == 0) {
        error_ = write_all(descriptor_, kept_);
    }
    kept_.clear();
    return error_;
}
