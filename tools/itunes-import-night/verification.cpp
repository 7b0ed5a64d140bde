#include "tools/itunes-import-night/verification.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>

#include "common/upnp_fileio.h"
#include "itunes/import_run.h"
#include "server/common/upnp_wpl.h"
#include "tools/shared/descriptor.h"
#include "tools/shared/items_reader.h"
#include "tools/shared/text_pieces.h"

namespace {

constexpr size_t block_size = 1U << 16;
constexpr size_t wpl_text_limit = 1024; // what the writer writes at once stays below it

/// What the import's own writer writes. It fits into a pipe.
std::string written_by(const auto& write) {
    int ends[2] = {};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return {};
    }
    const Descriptor reading_end(ends[0]);
    Descriptor writing_end(ends[1]);
    UpnpFile file = {writing_end.number(), 0, 0, nullptr};
    write(&file);
    (void)writing_end.close();
    char text[wpl_text_limit];
    const ssize_t length = read(reading_end.number(), text, sizeof text);
    return {text, static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

std::string header_of(const CheckedPlaylist& playlist) {
    return written_by([&playlist](UpnpFile* file) {
        (void)upnp_wpl_write_header(file, playlist.type.c_str(), playlist.title.c_str(),
                                    import_run.library_path, 0, 0);
    });
}

/// What every entry begins with, up to its path.
std::string entry_mark() {
    const std::string entry = written_by([](UpnpFile* file) { (void)upnp_wpl_add_media(file, ""); });
    return entry.substr(0, entry.find('"') + 1);
}

std::string footer() {
    return written_by([](UpnpFile* file) { (void)upnp_wpl_write_footer(file); });
}

/// What was found in a playlist's file.
struct PlaylistContents {
    bool begins_right = false;
    size_t entries = 0;
    std::string end; // as long as the footer
    int error = 0;
};

/// Reads a playlist's file block by block. The marks of a block are counted with the last bytes of the one
/// before it, too few to hold a whole mark, in front.
PlaylistContents read_playlist(int descriptor, const std::string& header, const std::string& mark,
                               size_t footer_length) {
    PlaylistContents contents;
    std::string block(block_size, '\0');
    std::string window;
    for (bool is_first = true;; is_first = false) {
        const ssize_t length = read(descriptor, block.data(), block.size());
        if (length <= 0) {
            contents.error = length < 0 ? errno : 0;
            return contents;
        }
        const std::string_view text(block.data(), static_cast<size_t>(length));
        contents.begins_right = is_first ? text.starts_with(header) : contents.begins_right;
        window.erase(0, window.size() - std::min(window.size(), mark.size() - 1));
        window += text;
        contents.entries += count_of(mark, window);
        contents.end += text;
        contents.end.erase(0, contents.end.size() - std::min(contents.end.size(), footer_length));
    }
}

} // namespace

std::string items_fault(const std::string& path, uint64_t records) {
    using std::to_string;
    const ItemsCount count = count_items(path);
    if (count.state != ItemsState::whole) {
        return "the new items file is not whole: " +
               (count.state == ItemsState::absent ? std::string("it is not there") : count.fault_text);
    }
    if (count.records != records) {
        return "the new items file holds " + to_string(count.records) + " of " + to_string(records) +
               " records";
    }
    return {};
}

std::string playlist_fault(const std::string& path, const CheckedPlaylist& playlist) {
    const std::string header = header_of(playlist);
    const std::string mark = entry_mark();
    const std::string end = footer();
    if (header.empty() || mark.empty() || end.empty()) {
        return "can not be looked at: " + std::string(strerror(errno));
    }
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.is_open()) {
        return strerror(errno);
    }
    const PlaylistContents contents = read_playlist(file.number(), header, mark, end.size());
    if (contents.error != 0) {
        return strerror(contents.error);
    }
    if (!contents.begins_right) {
        return "is damaged at its beginning";
    }
    // A path may hold the mark of an entry itself.
    if (contents.entries < playlist.entries) {
        return "holds " + std::to_string(contents.entries) + " of " + std::to_string(playlist.entries) +
               " entries";
    }
    return contents.end == end ? "" : "is cut short";
}
