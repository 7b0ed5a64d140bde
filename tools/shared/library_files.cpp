#include "tools/shared/library_files.h"

#include <cstdlib>
#include <optional>

#include "tools/shared/library_keys.h"
#include "tools/shared/library_location.h"

namespace {

class FileCollector : public LibraryListener {
public:
    FileCollector(Places* places, MediaSearch* media) : places_(places), media_(media) {}

    void begin_track(std::string_view /*key*/) override {
        location_.clear();
        size_ = 0;
        is_local_ = true;
    }

    void track_value(std::string_view key, PlistElement element, std::string_view text) override {
        if (track_key_row(key, element) == nullptr) {
            return;
        }
        if (key == "Location") {
            location_ = text;
        } else if (key == "Track Type") {
            is_local_ = is_local_ && text != "URL";
        } else if (key == "Protected") {
            is_local_ = false;
        } else if (key == "Size") {
            size_ = strtoull(std::string(text).c_str(), nullptr, 10);
        }
    }

    void end_track() override {
        const std::optional<std::string> path = is_local_ ? path_of_location(location_) : std::nullopt;
        if (path) {
            media_->add(*path, size_, places_->find(*path).state != Place::State::missing);
        }
    }

    void end_tracks() override { has_tracks_ = true; }
    [[nodiscard]] bool is_done() const override { return has_tracks_; }

private:
    Places* places_;
    MediaSearch* media_;
    std::string location_;
    uint64_t size_ = 0;
    bool is_local_ = true;
    bool has_tracks_ = false;
};

} // namespace

PropertyListResult add_library_files(int descriptor, Places* places, MediaSearch* media) {
    FileCollector collector(places, media);
    return read_library(descriptor, &collector);
}
