#pragma once
// What the tests share: real files in a fresh folder, whole trees as maps, the built programs as children.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "common/upnp_memory.h"
#include "server/common/upnp_database.h"

/// A fresh folder that goes with its scope; the process works inside it meanwhile.
class TempDir {
public:
    TempDir() { std::filesystem::current_path(mkdtemp(path_.data())); }
    ~TempDir() {
        std::filesystem::current_path(earlier_folder_);
        std::filesystem::remove_all(path_);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }

private:
    // Without symbolic links, as programs print it.
    std::string path_ =
        std::filesystem::canonical(std::filesystem::temp_directory_path()) / "itunes-import-test-XXXXXX";
    const std::filesystem::path earlier_folder_ = std::filesystem::current_path();
};

/// The bytes of a file, "" if there is none.
inline std::string read_file(const std::string& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

/// Writes a file, making the folders above it.
inline void write_file(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::absolute(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

/// Every entry below a folder: relative path and bytes; a folder's path ends in '/'.
using Tree = std::map<std::string, std::string>;
inline Tree read_tree(const std::string& folder) {
    Tree tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string path = entry.path().lexically_relative(folder);
        tree[path + (entry.is_directory() ? "/" : "")] = entry.is_directory() ? "" : read_file(entry.path());
    }
    return tree;
}

/// The path of a test's own data, below the source tree.
inline std::string source_path(const std::string& relative) {
    return TEST_SOURCE_DIR + ("/" + relative);
}

/// The words of the shell that run a built program, and a command of the shell that does.
inline std::string program_words(const std::string& program) {
    return TEST_EMULATOR " '" TEST_BUILD_DIR "/" + program + "' ";
}
inline std::string command(const std::string& name, const std::string& program) {
    return name + "() { " + program_words(program) + "\"$@\"; }; ";
}
inline const std::string commands = command("import", "itunes-import") + command("items", "itunes-items") +
                                    command("check", "itunes-check") + command("prepare", "itunes-prepare") +
                                    command("night", "itunes-import-night");

/// Runs a line of the shell, in which these commands can be used: its status (128 and the signal where that killed
/// it), and what it printed.
struct RunResult {
    int status;
    std::string out;
    std::string err;
};
inline RunResult run_line(const std::string& line) {
    const std::string here = std::filesystem::current_path();
    const TempDir outputs;
    const int status = system(("{ cd '" + here + "' && " + commands + line + "; } >out 2>err").c_str());
    return {WEXITSTATUS(status), read_file("out"), read_file("err")};
}

/// Compares with a file of tests/golden/; what came out where they differ is left beside the test program.
inline const std::filesystem::path first_folder = std::filesystem::current_path();
inline void expect_golden(const std::string& text, const std::string& name) {
    const std::string golden = source_path("tests/golden/" + name);
    const std::string result = first_folder / name;
    std::filesystem::remove(result); // an earlier run's
    if (text.empty() || text != read_file(golden)) {
        write_file(result, text);
        ADD_FAILURE() << "this came out: " << result << "\n"
                      << run_line("diff -uN '" + golden + "' '" + result + "' | head -n 40").out;
    }
}

/// Whether programs run in qemu, which lists a root directory of its own to them.
inline const bool is_emulated = std::string(TEST_EMULATOR).starts_with("qemu");

/// The text with every log time replaced by "TIME ".
inline std::string mask_times(std::string text) {
    for (size_t at = 0; at + 12 <= text.size(); ++at) {
        if (text[at] <= '9' && text[at + 2] == ':' && text[at + 5] == ':' && text[at + 8] == ':') {
            text.replace(at, 12, "TIME");
        }
    }
    return text;
}

/// The pieces of a text between its separators.
inline std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

inline std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    std::istringstream stream(text + separator);
    for (std::string piece; std::getline(stream, piece, separator); pieces.push_back(piece)) {
    }
    return pieces;
}

/// What `work` prints to standard output, or to standard error.
inline std::string stdout_of(const std::function<void()>& work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}
inline std::string stderr_of(const std::function<void()>& work) {
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

/// The text, which is freed, or "(none)".
inline std::string take(char* text) {
    std::string copy = text == nullptr ? "(none)" : text;
    upnp_free_unless_null(text);
    return copy;
}

/// The object as "id=value " words, first to last; the object is freed.
inline std::string take_listing(MediaObject* object) {
    std::string listing;
    for (const MediaProperty* property = object; property != nullptr; property = property->next) {
        listing += std::to_string(property->id) + "=" + property->value + " ";
    }
    upnp_database_object_free(object);
    return listing;
}

/// The number of files that this process has open.
inline int64_t open_files() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}
