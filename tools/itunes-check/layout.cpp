#include "tools/itunes-check/layout.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <unistd.h>
#include <vector>

#include "common/upnp_memory.h"
#include "itunes/library_key.h"
#include "itunes/library_values.h"
#include "itunes/track_reader.h"
#include "tools/shared/descriptor.h"
#include "tools/shared/text_pieces.h"

namespace {

constexpr size_t version_limit = 63;
constexpr std::string_view key_tag = "<key>";
constexpr std::string_view plist_end = "</plist>";

/// iTunes writes it first, so that it tells an empty library's layout, as the one behind it does.
constexpr std::string_view version_key = "<key>Application Version</key>";
constexpr std::string_view first_keys[] = {version_key, "<key>Major Version</key>", "<key>Track ID</key>"};

bool holds(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}

/// Whether a value that the readers could take stands on the key's line.
bool holds_value(std::string_view line, std::string_view key) {
    constexpr std::string_view elements[][2] = {
        {"<string>", "</string>"}, {"<integer>", "</integer>"}, {"<date>", "</date>"}};
    const bool has_literal_value = !key.ends_with("</key>"); // as "<key>Podcasts</key><true/>"
    return has_literal_value || std::ranges::any_of(elements, [line](const auto& element) {
               return holds(line, element[0]) && holds(line, element[1]);
           });
}

/// Keys with a text or a number that the import looks for beside those of tracks.
std::vector<std::string> other_keys() {
    std::vector<std::string> keys(std::begin(first_keys), std::end(first_keys));
    for (const LibraryKey& key : itunes_playlist_keys()) {
        if ((key.elements & (library_element_string | library_element_integer)) != 0) {
            keys.push_back("<key>" + std::string(key.name) + "</key>");
        }
    }
    return keys;
}

/// The key that an import takes from the line; empty for none.
std::string_view key_of(const char* line, std::string_view text) {
    const char* track_key = itunes_track_key(line);
    if (track_key != nullptr) {
        return track_key;
    }
    static const std::vector<std::string> keys = other_keys();
    const auto key =
        std::ranges::find_if(keys, [text](const std::string& each) { return holds(text, each); });
    return key == keys.end() ? std::string_view() : *key;
}

/// Keys that count by what follows them on their line, as in "<key>Protected</key><true/>".
std::vector<std::string> flag_keys() {
    std::vector<std::string> keys;
    for (const auto& rows : {itunes_track_keys(), itunes_playlist_keys()}) {
        for (const LibraryKey& key : rows) {
            if ((key.elements & (library_element_true | library_element_false)) != 0) {
                keys.push_back("<key>" + std::string(key.name) + "</key>");
            }
        }
    }
    return keys;
}

/// The flag's key that stands at the end of a line; empty for none.
std::string_view flag_alone(std::string_view text) {
    text = trimmed(text, " \t\r\n");
    if (!text.ends_with("</key>")) {
        return {};
    }
    static const std::vector<std::string> keys = flag_keys();
    const auto key =
        std::ranges::find_if(keys, [text](const std::string& each) { return text.ends_with(each); });
    return key == keys.end() ? std::string_view() : *key;
}

} // namespace

void LayoutCounter::add_line(const char* line) {
    const std::string_view text = line;
    if (version_follows_) {
        note_version(text); // in another layout
        version_follows_ = false;
    }
    if (holds(text, key_tag)) {
        count_keys(line, text);
        in_playlists_ = in_playlists_ || holds(text, "<key>Playlists</key>");
        if (!in_playlists_ && holds(text, "<key>Track ID</key>")) {
            ++tracks_;
        }
    }
    line_ += text.ends_with('\n') ? 1 : 0; // a long line comes in pieces
}

void LayoutCounter::add_lost(std::string_view key) {
    const std::string_view name = key.substr(key_tag.size(), key.find("</") - key_tag.size());
    lost_values_.add("line " + std::to_string(line_) + ": " + std::string(name));
}

void LayoutCounter::count_keys(const char* line, std::string_view text) {
    const std::string_view key = key_of(line, text);
    if (key.empty()) {
        has_sections_ =
            has_sections_ || holds(text, "<key>Tracks</key>") || holds(text, "<key>Playlists</key>");
        if (const std::string_view flag = flag_alone(text); !flag.empty()) {
            add_lost(flag);
        }
        return;
    }
    if (holds_value(text, key)) {
        ++keys_beside_;
    } else {
        add_lost(key);
    }
    const size_t own = text.find(key);
    for (size_t at = text.find(key_tag); at != std::string_view::npos; at = text.find(key_tag, at + 1)) {
        if (at != own) {
            add_lost(text.substr(at));
        }
    }
    if (key == version_key && version_.empty()) {
        note_version(text);
        version_follows_ = version_.empty();
    }
}

void LayoutCounter::note_version(std::string_view text) {
    std::string line(text); // which the import's function cuts
    char* value = itunes_get_value(line.data(), "string");
    if (value != nullptr) {
        version_.assign(value, strnlen(value, version_limit));
    }
    upnp_free_unless_null(value);
}

LibraryLayout LayoutCounter::layout() const {
    if (keys_apart() > keys_beside_) {
        return LibraryLayout::other;
    }
    if (keys_beside_ == 0 && !has_sections_) {
        return LibraryLayout::no_library;
    }
    return keys_apart() > 0 ? LibraryLayout::partly : LibraryLayout::as_read;
}

bool library_ends_whole(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char block[4096];
    std::string_view text; // the block without the blanks at its end
    off_t start = lseek(file.number(), 0, SEEK_END);
    while (start > 0 && text.empty()) {
        const off_t length = std::min(start, static_cast<off_t>(sizeof block));
        start -= length;
        if (pread(file.number(), block, static_cast<size_t>(length), start) != length) {
            break;
        }
        text = std::string_view(block, static_cast<size_t>(length));
        text = text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
    }
    const off_t end = start + static_cast<off_t>(text.size());
    const auto end_length = static_cast<off_t>(plist_end.size());
    return end >= end_length &&
           pread(file.number(), block, plist_end.size(), end - end_length) == end_length &&
           std::string_view(block, plist_end.size()) == plist_end;
}
