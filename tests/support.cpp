#include "tests/support.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// Reads a stream from its beginning and closes it.
std::string read_stream(FILE* stream) {
    rewind(stream);
    std::string bytes;
    char buffer[4096];
    for (size_t count = 0; (count = fread(buffer, 1, sizeof buffer, stream)) > 0;) {
        bytes.append(buffer, count);
    }
    (void)fclose(stream);
    return bytes;
}

} // namespace

TempDir::TempDir() : path_((fs::temp_directory_path() / "itunes-import-test-XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) {
        perror("mkdtemp");
        abort();
    }
    earlier_directory_ = fs::current_path();
    fs::current_path(path_);
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::current_path(earlier_directory_, ignored);
    fs::remove_all(path_, ignored);
}

Tree read_tree(const std::string& folder) {
    Tree tree;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const std::string path = fs::relative(entry.path(), folder).string();
        if (entry.is_directory()) {
            tree[path + "/"] = "";
        } else {
            tree[path] = read_file(entry.path());
        }
    }
    return tree;
}

void write_file(const std::string& path, const std::string& bytes) {
    if (const fs::path parent = fs::path(path).parent_path(); !parent.empty()) {
        fs::create_directories(parent);
    }
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string read_file(const std::string& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

std::string source_path(const std::string& relative) {
    return std::string(TEST_SOURCE_DIR) + "/" + relative;
}

RunResult run_program(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<std::string> words;
    std::istringstream emulator(TEST_EMULATOR); // how programs of the target are started here; may be empty
    for (std::string word; emulator >> word;) {
        words.push_back(word);
    }
    words.push_back(program);
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    FILE* out = tmpfile();
    FILE* err = tmpfile();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fileno(out), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fileno(err), STDERR_FILENO);
    pid_t child = 0;
    int status = 0;
    const bool spawned = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    if (spawned) {
        waitpid(child, &status, 0);
    }
    const RunResult result = {WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status),
                              read_stream(out), read_stream(err)};
    return spawned ? result : RunResult{-1, "", "cannot start " + words[0]};
}

RunResult run_import(const std::vector<std::string>& arguments) {
    return run_program(TEST_PROGRAM, arguments);
}

std::string mask_times(const std::string& text) {
    static const std::string shape = "00:00:00:000 ";
    std::string masked;
    for (size_t index = 0; index < text.size();) {
        std::string digits_as_zeros = text.substr(index, shape.size());
        std::ranges::replace_if(
            digits_as_zeros, [](unsigned char c) { return isdigit(c) != 0; }, '0');
        const bool is_time = digits_as_zeros == shape;
        masked += is_time ? "TIME " : text.substr(index, 1);
        index += is_time ? shape.size() : 1;
    }
    return masked;
}

std::string repeat(const std::string& text, size_t count) {
    std::string all;
    for (size_t index = 0; index < count; ++index) {
        all += text;
    }
    return all;
}
