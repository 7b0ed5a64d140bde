#pragma once
// What the tests share: real files in a fresh folder, whole trees as maps, the built program as a child.

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "server/common/upnp_database.h"

/// A fresh folder that goes with its scope; the process works inside it meanwhile.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
    std::string earlier_directory_;
};

/// Every entry below a folder: relative path and bytes; a folder's path ends in '/'.
using Tree = std::map<std::string, std::string>;
Tree read_tree(const std::string& folder);

void write_file(const std::string& path, const std::string& bytes); // makes the folders above it
std::string read_file(const std::string& path);                     // "" if there is none

/// The path of a test's own data, below the source tree.
std::string source_path(const std::string& relative);

struct RunResult {
    int status; // as a shell has it: 128 and the signal for a killed program
    std::string out;
    std::string err;
};
RunResult run_program(const std::string& program, const std::vector<std::string>& arguments);

/// Runs the built itunes-import.
RunResult run_import(const std::vector<std::string>& arguments);

/// The text with every log time replaced by "TIME ".
std::string mask_times(const std::string& text);

/// What `work` prints to standard output, or to standard error.
template <typename Work>
std::string stdout_of(Work work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}
template <typename Work>
std::string stderr_of(Work work) {
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

/// The text that an escaped one stands for: \xHH is a byte, \n a line feed, \*Nc the character c N times,
/// \\ a backslash.
std::string unescape(const std::string& text);

std::vector<std::string> split(const std::string& text, char separator);

/// The object as "id=value " words, first to last; the object is freed.
std::string take_listing(MediaObject* object);
