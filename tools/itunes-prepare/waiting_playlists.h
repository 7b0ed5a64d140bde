#pragma once
// Prepared playlists, and a file in which those wait that come before the tracks.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/shared/buffered_writer.h"
#include "tools/shared/descriptor.h"

struct PreparedPlaylist {
    std::string head;             // its lines in front of Videos
    std::string tail;             // those behind it, in front of the items
    bool wants_videos = false;    // Videos is to stand, where something of the playlist can be played
    std::vector<int32_t> items{}; // track ids
};

class WaitingPlaylists {
public:
    /// Makes the file, in `folder` if it has room; false, with errno, where none can be made.
    [[nodiscard]] bool open(const std::string& folder);
    [[nodiscard]] bool is_open() const { return file_.is_open(); }
    void add(const PreparedPlaylist& playlist);
    /// To be called between the last one and the first; 0, or the number of the error that lost one.
    [[nodiscard]] int rewind();
    /// The next one, in their order; false at the end and after an error.
    [[nodiscard]] bool next(PreparedPlaylist* playlist);
    [[nodiscard]] int error() const { return error_; }

private:
    [[nodiscard]] bool read_exactly(void* bytes, size_t size);

    Descriptor file_;
    std::unique_ptr<BufferedWriter> writer_;
    uint64_t count_ = 0;
    int error_ = 0;
};
