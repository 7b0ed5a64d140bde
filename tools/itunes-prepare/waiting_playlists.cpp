#include "tools/itunes-prepare/waiting_playlists.h"

#include <cerrno>
#include <unistd.h>

#include "tools/shared/whole_file.h"

namespace {

/// In front of each playlist in the file, which no other program reads.
struct Sizes {
    size_t head;
    size_t tail;
    size_t items;
    size_t wants_videos;
};

std::string_view bytes_of(const void* start, size_t size) {
    return {static_cast<const char*>(start), size};
}

} // namespace

bool WaitingPlaylists::open(const std::string& folder) {
    file_ = unnamed_file(folder);
    writer_ = std::make_unique<BufferedWriter>(file_.number());
    return file_.is_open();
}

void WaitingPlaylists::add(const PreparedPlaylist& playlist) {
    const Sizes sizes = {playlist.head.size(), playlist.tail.size(), playlist.items.size(),
                         playlist.wants_videos ? 1U : 0U};
    writer_->write(bytes_of(&sizes, sizeof sizes));
    writer_->write(playlist.head);
    writer_->write(playlist.tail);
    writer_->write(bytes_of(playlist.items.data(), playlist.items.size() * sizeof(int32_t)));
    ++count_;
}

int WaitingPlaylists::rewind() {
    error_ = writer_->flush();
    if (error_ == 0 && lseek(file_.number(), 0, SEEK_SET) != 0) {
        error_ = errno;
    }
    return error_;
}

bool WaitingPlaylists::read_exactly(void* bytes, size_t size) {
    const size_t count = read_up_to(file_.number(), bytes, size, &error_);
    if (error_ == 0 && count < size) {
        error_ = EIO;
    }
    return error_ == 0;
}

bool WaitingPlaylists::next(PreparedPlaylist* playlist) {
    Sizes sizes = {};
    if (count_ == 0 || !read_exactly(&sizes, sizeof sizes)) {
        return false;
    }
    --count_;
    playlist->head.resize(sizes.head);
    playlist->tail.resize(sizes.tail);
    playlist->items.resize(sizes.items);
    playlist->wants_videos = sizes.wants_videos != 0;
    return read_exactly(playlist->head.data(), sizes.head) &&
           read_exactly(playlist->tail.data(), sizes.tail) &&
           read_exactly(playlist->items.data(), sizes.items * sizeof(int32_t));
}
