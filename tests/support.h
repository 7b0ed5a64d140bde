#pragma once
// What the tests share: real files in a fresh folder, whole trees as maps, the built program as a child.

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

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
    int status; // exit status, or 1000 + signal
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

/// `text` `count` times.
std::string repeat(const std::string& text, size_t count);
