#include "tools/itunes-import-night/lock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

LockedDirectory lock_directory(const std::string& path) {
    Descriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.is_open()) {
        return {Descriptor(), errno};
    }
    if (flock(directory.number(), LOCK_EX | LOCK_NB) != 0) {
        return {Descriptor(), errno};
    }
    return {std::move(directory), 0};
}
