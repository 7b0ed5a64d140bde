#include "tools/itunes-import-night/publication.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "tools/itunes-import-night/messages.h"
#include "tools/shared/descriptor.h"

namespace {

bool move_file(const FileMove& move) {
    if (rename(move.from.c_str(), move.to.c_str()) == 0) {
        return true;
    }
    say_night(move.to,
              "stays as it was, the new one could not be moved there: " + std::string(strerror(errno)));
    return false;
}

/// File systems that can not flush a directory say so by EINVAL.
bool flush_directory(const std::string& path) {
    const Descriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.is_open() && (fsync(directory.number()) == 0 || errno == EINVAL)) {
        return true;
    }
    say_night(path, "could not be flushed, so that a power cut may bring earlier files back: " +
                        std::string(strerror(errno)));
    return false;
}

} // namespace

bool move_into_place(const std::vector<FileMove>& moves) {
    bool is_done = true;
    for (const FileMove& move : moves) {
        is_done = move_file(move) && is_done;
        if (!is_done && &move == &moves.front()) {
            return false; // playlists follow what they refer to
        }
    }
    return is_done;
}

bool flush_directories(const std::vector<std::string>& directories) {
    bool is_done = true;
    for (const std::string& directory : directories) {
        is_done = flush_directory(directory) && is_done;
    }
    return is_done;
}
