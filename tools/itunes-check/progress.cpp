#include "tools/itunes-check/progress.h"

namespace {

constexpr int64_t first_pass_percent = 40;

} // namespace

std::optional<int> LibraryProgress::after_line(size_t length) {
    bytes_seen_ += static_cast<int64_t>(length);
    return size_ <= 0 ? std::nullopt : move_to(bytes_seen_ * first_pass_percent / size_);
}

std::optional<int> LibraryProgress::after_track(uint32_t tracks_read, uint32_t tracks_in_all) {
    if (tracks_in_all == 0) {
        return std::nullopt;
    }
    return move_to(first_pass_percent + tracks_read * (100 - first_pass_percent) / tracks_in_all);
}

std::optional<int> LibraryProgress::move_to(int64_t percent) {
    if (percent == percent_) {
        return std::nullopt;
    }
    percent_ = static_cast<int>(percent);
    return percent_;
}
