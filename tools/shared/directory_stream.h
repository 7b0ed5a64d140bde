#pragma once
// The names in a directory, one after the other, in whatever order the file system has them.
//
//     DirectoryStream entries(path);
//     while (const dirent* entry = entries.next()) { ... }
//     if (entries.error() != 0) { ... }

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <unistd.h>

class DirectoryStream {
public:
    explicit DirectoryStream(const char* path) : stream_(opendir(path)), error_(stream_ ? 0 : errno) {}
    /// Reads the directory behind a descriptor, which becomes the stream's own; -1 with errno for one that
    /// failed.
    explicit DirectoryStream(int directory)
        : stream_(directory < 0 ? nullptr : fdopendir(directory)), error_(stream_ ? 0 : errno) {
        if (stream_ == nullptr && directory >= 0) {
            (void)close(directory);
        }
    }
    ~DirectoryStream() {
        if (stream_ != nullptr) {
            (void)closedir(stream_);
        }
    }
    DirectoryStream(const DirectoryStream&) = delete;
    DirectoryStream& operator=(const DirectoryStream&) = delete;

    /// The next entry, which stays until the call after it; the directory itself and the one above are left
    /// out. Null at the end and after an error.
    [[nodiscard]] const dirent* next() {
        while (stream_ != nullptr && error_ == 0) {
            errno = 0;
            const dirent* entry = readdir(stream_); // NOLINT(concurrency-mt-unsafe): the stream is our own
            error_ = entry == nullptr ? errno : 0;
            if (entry == nullptr || (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0)) {
                return entry;
            }
        }
        return nullptr;
    }

    /// The directory's descriptor, the stream's own; -1 for none.
    [[nodiscard]] int descriptor() const { return stream_ == nullptr ? -1 : dirfd(stream_); }

    /// The error number of what failed, opening or reading; 0 for nothing.
    [[nodiscard]] int error() const { return error_; }

private:
    DIR* stream_;
    int error_;
};
