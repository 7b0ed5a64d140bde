#include "tests/support.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string shell_quoted(std::string word) {
    for (size_t quote = 0; (quote = word.find('\'', quote)) != std::string::npos; quote += 4) {
        word.replace(quote, 1, "'\\''");
    }
    return "'" + word + "'";
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
    if (const fs::path parent = fs::path(path).parent_path(); !parent.empty()) { fs::create_directories(parent); }
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string read_file(const std::string& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

std::string source_path(const std::string& relative) { return std::string(TEST_SOURCE_DIR) + "/" + relative; }

RunResult run_program(const std::string& program, const std::vector<std::string>& arguments) {
    const std::string here = fs::current_path();
    const TempDir outputs;
    std::string command = "cd " + shell_quoted(here) + " && " TEST_EMULATOR " " + shell_quoted(program);
    for (const std::string& argument : arguments) { command += " " + shell_quoted(argument); }
    const int status = system((command + " >" + outputs.path() + "/out 2>" + outputs.path() + "/err").c_str());
    return {WEXITSTATUS(status), read_file("out"), read_file("err")};
}

RunResult run_import(const std::vector<std::string>& arguments) { return run_program(TEST_PROGRAM, arguments); }

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

std::string unescape(const std::string& text) {
    std::string plain;
    for (size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '\\' || ++index == text.size()) {
            plain += text[index];
        } else if (text[index] == 'x') {
            plain += static_cast<char>(std::stoi(text.substr(index + 1, 2), nullptr, 16));
            index += 2;
        } else if (text[index] == 'n') {
            plain += '\n';
        } else if (text[index] == '*') {
            size_t digits = 0;
            const int count = std::stoi(text.substr(index + 1), &digits);
            index += digits + 1;
            plain.append(static_cast<size_t>(count), text[index]);
        } else {
            plain += text[index];
        }
    }
    return plain;
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    std::istringstream stream(text + separator);
    for (std::string piece; std::getline(stream, piece, separator);) { pieces.push_back(piece); }
    return pieces;
}

std::string take_listing(MediaObject* object) {
    std::string listing;
    for (const MediaProperty* property = object; property != nullptr; property = property->next) {
        listing += std::to_string(property->id) + "=" + property->value + " ";
    }
    upnp_database_object_free(object);
    return listing;
}
