#include "tools/shared/buffered_writer.h"

#include "tools/shared/descriptor.h"

namespace {

constexpr size_t piece_size = 1U << 16;

} // namespace

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
