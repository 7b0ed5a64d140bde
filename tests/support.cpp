#include "tests/support.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

#include "common/upnp_memory.h"

namespace fs = std::filesystem;

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
        tree[path + (entry.is_directory() ? "/" : "")] = entry.is_directory() ? "" : read_file(entry.path());
    }
    return tree;
}

void write_file(const std::string& path, const std::string& bytes) {
    fs::create_directories(fs::absolute(path).parent_path());
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

RunResult run_program(const std::string& program, const std::vector<std::string>& arguments,
                      const std::string& redirection) {
    const std::string here = fs::current_path();
    const TempDir outputs;
    std::string command = "cd '" + here + "' && " TEST_EMULATOR " '" + program + "'";
    for (const std::string& argument : arguments) {
        command += " '" + argument + "'";
    }
    command += " >" + outputs.path() + "/out 2>" + outputs.path() + "/err " + redirection;
    const int status = system(command.c_str());
    return {WEXITSTATUS(status), read_file("out"), read_file("err")};
}

std::string mask_times(const std::string& text) {
    std::string masked;
    for (size_t at = 0; at < text.size();) {
        int length = 0;
        if (isdigit(text[at]) != 0) {
            (void)sscanf(text.c_str() + at, "%*2d:%*2d:%*2d:%*3d%n", &length);
        }
        masked += length == 12 ? "TIME" : text.substr(at, 1);
        at += length == 12 ? 12 : 1;
    }
    return masked;
}

void expect_golden(const std::string& text, const std::string& name) {
    const std::string golden = read_file(source_path("tests/golden/" + name));
    EXPECT_FALSE(golden.empty()) << name << " is missing";
    EXPECT_TRUE(text == golden) << name << " differs";
    if (text != golden) {
        write_file(name, text);
    }
}

std::string take(char* text) {
    std::string copy = text == nullptr ? "(none)" : text;
    upnp_free_unless_null(text);
    return copy;
}

std::string take_listing(MediaObject* object) {
    std::string listing;
    for (const MediaProperty* property = object; property != nullptr; property = property->next) {
        listing += std::to_string(property->id) + "=" + property->value + " ";
    }
    upnp_database_object_free(object);
    return listing;
}

int64_t open_files() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}
