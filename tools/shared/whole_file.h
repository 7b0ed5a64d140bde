#pragma once
// A file that is there whole or as it was: written beside its place, flushed, and renamed once it is
// complete.
//
//     WholeFile file;
//     int error = file.open("prepared.xml", "itunes-prepare");
//     ... write to file.descriptor() ...
//     error = error == 0 ? file.publish() : error;    // without it, what was written goes

#include <string>
#include <string_view>

#include "tools/shared/descriptor.h"

/// Is told the path of a temporary file once it is there, and null once it is gone, with the signals that end
/// a program blocked meanwhile: for a program's handlers, which have to remove it.
using TemporaryFileWatch = void (*)(const char* path);

class WholeFile {
public:
    WholeFile() = default;
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;
    ~WholeFile() { remove(); }

    /// Makes a file beside that at `path`, called ".PROGRAM." and a number, with the permissions and, where
    /// that is permitted, the owner that the file there has. A symbolic link stays one. Returns 0 or the
    /// error's number; EINVAL where a stream (output_target) is there.
    [[nodiscard]] int open(std::string_view path, std::string_view program,
                           TemporaryFileWatch watch = nullptr);
    [[nodiscard]] int descriptor() const { return descriptor_.number(); }
    /// Puts it in its place, on the disk too. Returns 0, or the error's number: the file there is then as it
    /// was, or is the new one where its folder alone could not be flushed.
    [[nodiscard]] int publish();

private:
    void remove();
    void tell(const char* path);

    Descriptor descriptor_;
    std::string path_;
    std::string beside_;
    TemporaryFileWatch watch_ = nullptr;
};

/// Where symbolic links at the end of `path` lead; the path itself for none. Stops at a name that stands for
/// a descriptor of this process, such as /dev/stdout, which is put into `descriptor`, else -1.
[[nodiscard]] std::string followed_links(std::string_view path, int* descriptor);

/// What an output is written to.
struct OutputTarget {
    int descriptor = -1;    // of this process, which the path names; -1 for none
    bool is_stream = false; // a descriptor, a device, a pipe or a folder: no WholeFile may take its place
    int error = 0;          // the error's number where that can not be told
};
[[nodiscard]] OutputTarget output_target(const std::string& path);

/// Whether both paths lead to one file that is there.
[[nodiscard]] bool is_same_file(const std::string& path, const std::string& other);

/// The folder of a path, with a slash behind it; empty for the working directory.
[[nodiscard]] std::string folder_of(std::string_view path);

/// A file without a name for what has to wait, in `folder`, or else where $TMPDIR, /tmp, /var/tmp or the
/// working directory have room for one; not open, with errno, where none has.
[[nodiscard]] Descriptor unnamed_file(const std::string& folder);
