#include "tools/shared/library_reader.h"

#include <cstdlib>

#include "tools/shared/text_pieces.h"

namespace {

constexpr size_t digits_limit = 19;
constexpr size_t hexadecimal_digits_limit = 16;
constexpr std::string_view blanks = " \t\n\r\f\v";

/// What the readers of a library's containers share.
struct Shared {
    PropertyList list;
    LibraryListener* listener;
    bool has_tracks = false;
    bool has_playlists = false;

    void stop_when_done() {
        if (listener->is_done()) {
            list.stop();
        }
    }
};

struct Part : PlistContainer {
    explicit Part(Shared* all) : shared(all) {}
    Shared* shared;
};

struct Item : Part {
    using Part::Part;
    void value(std::string_view key, PlistElement element, std::string_view text) override {
        if (key == "Track ID" && element == PlistElement::integer) {
            const int32_t number = library_track_id(text).value_or(0);
            if (number != 0) {
                shared->listener->playlist_item(number);
            }
        }
    }
};

struct Items : Part {
    explicit Items(Shared* all) : Part(all), item(all) {}
    PlistContainer* child(std::string_view /*key*/, PlistElement element) override {
        return element == PlistElement::dict ? &item : nullptr;
    }
    Item item;
};

struct Playlist : Part {
    explicit Playlist(Shared* all) : Part(all), items(all) {}
    PlistContainer* child(std::string_view key, PlistElement element) override {
        return key == "Playlist Items" && element == PlistElement::array ? &items : nullptr;
    }
    void value(std::string_view key, PlistElement element, std::string_view text) override {
        shared->listener->playlist_value(key, element, text);
    }
    void end() override {
        shared->listener->end_playlist();
        shared->stop_when_done();
    }
    Items items;
};

struct Playlists : Part {
    explicit Playlists(Shared* all) : Part(all), playlist(all) {}
    PlistContainer* child(std::string_view /*key*/, PlistElement element) override {
        if (element != PlistElement::dict) {
            return nullptr;
        }
        shared->listener->begin_playlist();
        return &playlist;
    }
    Playlist playlist;
};

struct Track : Part {
    using Part::Part;
    void value(std::string_view key, PlistElement element, std::string_view text) override {
        shared->listener->track_value(key, element, text);
    }
    void end() override {
        shared->listener->end_track();
        shared->stop_when_done();
    }
};

struct Tracks : Part {
    explicit Tracks(Shared* all) : Part(all), track(all) {}
    PlistContainer* child(std::string_view key, PlistElement element) override {
        if (element != PlistElement::dict) {
            return nullptr;
        }
        shared->listener->begin_track(key);
        return &track;
    }
    void end() override { shared->listener->end_tracks(); }
    Track track;
};

struct Root : Part {
    explicit Root(Shared* all) : Part(all), tracks(all), playlists(all) {}
    PlistContainer* child(std::string_view key, PlistElement element) override {
        if (key == "Tracks" && element == PlistElement::dict && is_first(&shared->has_tracks, "tracks")) {
            shared->listener->begin_tracks();
            return &tracks;
        }
        if (key == "Playlists" && element == PlistElement::array &&
            is_first(&shared->has_playlists, "playlists")) {
            return &playlists;
        }
        return nullptr;
    }
    void value(std::string_view key, PlistElement element, std::string_view text) override {
        shared->listener->library_value(key, element, text);
    }
    bool is_first(bool* has_one, const char* what) {
        if (*has_one) {
            shared->list.refuse(std::string("a second list of ") + what);
            return false;
        }
        *has_one = true;
        return true;
    }
    Tracks tracks;
    Playlists playlists;
};

struct List : Part {
    explicit List(Shared* all) : Part(all), root(all) {}
    PlistContainer* child(std::string_view /*key*/, PlistElement element) override {
        if (element != PlistElement::dict || has_root) {
            shared->list.refuse("not a library: its root is not one dictionary");
            return nullptr;
        }
        has_root = true;
        return &root;
    }
    void end() override {
        if (!shared->has_tracks) {
            shared->list.refuse("not a library: it has no list of tracks");
            return;
        }
        shared->listener->end_library();
    }
    Root root;
    bool has_root = false;
};

struct File : Part {
    explicit File(Shared* all) : Part(all), list(all) {}
    PlistContainer* child(std::string_view /*key*/, PlistElement /*element*/) override { return &list; }
    List list;
};

bool holds_only(std::string_view text, std::string_view characters) {
    return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

} // namespace

PropertyListResult read_library(int descriptor, LibraryListener* listener) {
    Shared shared;
    shared.listener = listener;
    File file(&shared);
    return shared.list.read(descriptor, &file);
}

bool library_integer(std::string_view text, std::string* number) {
    if (text.size() <= digits_limit && holds_only(text, "0123456789")) {
        *number = text;
        return true;
    }
    text = trimmed(text, blanks);
    const bool is_negative = text.starts_with('-');
    if (is_negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (is_hexadecimal) {
        text.remove_prefix(2);
    }
    if (text.size() > (is_hexadecimal ? hexadecimal_digits_limit : digits_limit) ||
        !holds_only(text, is_hexadecimal ? "0123456789abcdefABCDEF" : "0123456789")) {
        return false;
    }
    const uint64_t value = strtoull(std::string(text).c_str(), nullptr, is_hexadecimal ? 16 : 10);
    *number = (is_negative && value != 0 ? "-" : "") + std::to_string(value);
    return true;
}

std::optional<int32_t> library_track_id(std::string_view text) {
    std::string number;
    if (!library_integer(text, &number)) {
        return std::nullopt;
    }
    const long long value = strtoll(number.c_str(), nullptr, 10);
    if (value < INT32_MIN || value > INT32_MAX) {
        return std::nullopt;
    }
    return static_cast<int32_t>(value);
}
