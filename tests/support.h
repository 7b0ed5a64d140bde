#pragma once
// What the tests share: real files in a fresh folder, whole trees as maps, the built programs as children.

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
RunResult run_program(const std::string& program, const std::vector<std::string>& arguments,
                      const std::string& redirection = ""); // of standard input, as the shell writes it

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

/// Texts and what comes of each, as a function of one text answers.
using Answers = std::vector<std::pair<std::string, std::string>>;
template <typename Function>
void expect_answers(const Answers& answers, Function function) {
    for (const auto& [given, answer] : answers) {
        EXPECT_EQ(function(given), answer) << "given " << given;
    }
}

/// Compares with a file of tests/golden/; what came out where they differ is left beside the test program.
void expect_golden(const std::string& text, const std::string& name);

/// The text, which is freed, or "(none)".
std::string take(char* text);

/// The object as "id=value " words, first to last; the object is freed.
std::string take_listing(MediaObject* object);

/// The number of files that this process has open.
int64_t open_files();
