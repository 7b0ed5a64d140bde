#include "tools/itunes-prepare/library_writer.h"

#include <cerrno>
#include <cstring>

#include "tools/itunes-prepare/library_line.h"
#include "tools/shared/utf8.h"

namespace {

constexpr size_t version_limit = 64; // characters

constexpr char head[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<!DOCTYPE plist PUBLIC \"-//Apple Computer//DTD PLIST 1.0//EN\" "
                        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                        "<plist version=\"1.0\">\n<dict>\n";
constexpr char tracks_head[] = "\t<key>Tracks</key>\n\t<dict>\n";
constexpr char playlists_head[] = "\t</dict>\n\t<key>Playlists</key>\n\t<array>\n";
constexpr char tail[] = "\t</array>\n</dict>\n</plist>\n";

} // namespace

LibraryWriter::LibraryWriter(BufferedWriter* output, Places* places, PrepareReport* report,
                             std::string folder)
    : output_(output), folder_(std::move(folder)), track_(output, places, report, &playable_),
      playlist_(report) {
    output_->write(head);
}

/// Which program wrote the library is kept, as itunes-check tells it.
void LibraryWriter::library_value(std::string_view key, PlistElement element, std::string_view text) {
    if (key == "Application Version" && element == PlistElement::string && !has_tracks_) {
        output_->write("\t<key>Application Version</key><string>" +
                       as_references(utf8_first_characters(text, version_limit)) + "</string>\n");
    }
}

void LibraryWriter::begin_tracks() {
    output_->write(tracks_head);
}

void LibraryWriter::fail(int error) {
    failure_ =
        std::string("can not make a temporary file: ") + strerror(error); // NOLINT(concurrency-mt-unsafe)
}

void LibraryWriter::end_tracks() {
    output_->write(playlists_head);
    has_tracks_ = true;
    playable_.settle();
    if (!waiting_.is_open()) {
        return;
    }
    PreparedPlaylist playlist;
    int error = waiting_.rewind();
    while (error == 0 && waiting_.next(&playlist)) {
        write_playlist(output_, playlist, playable_);
    }
    error = waiting_.error();
    if (error != 0) {
        fail(error);
    }
}

void LibraryWriter::end_playlist() {
    const PreparedPlaylist& playlist = playlist_.end();
    if (has_tracks_) {
        write_playlist(output_, playlist, playable_);
    } else if (waiting_.is_open() || waiting_.open(folder_)) {
        waiting_.add(playlist);
    } else {
        fail(errno);
    }
}

void LibraryWriter::end_library() {
    output_->write(tail);
}
