#include "tools/shared/media_folder.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/shared/directory_stream.h"
#include "tools/shared/number_sort.h"

namespace {

constexpr uint32_t node_limit = 5'000'000; // folders and files; some 50 bytes each
constexpr size_t unreadable_limit = 100;   // that are kept

/// What an entry is: 'f' for a file, 'd' for a folder, 0 for all else.
char kind_of(const dirent* entry, int directory, FileLook* look) {
    if (entry->d_type == DT_REG || entry->d_type == DT_DIR) {
        return entry->d_type == DT_REG ? 'f' : 'd';
    }
    struct stat status = {};
    if (entry->d_type != DT_UNKNOWN) {
        return 0;
    }
    if (fstatat(directory, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        look->note(errno);
        return 0;
    }
    return S_ISREG(status.st_mode) ? 'f' : S_ISDIR(status.st_mode) ? 'd' : '\0';
}

/// The folder's path from the root, without "..". Empty with errno where the system can not tell.
std::string absolute_path(const std::string& folder) {
    if (folder.starts_with("/") && ("/" + folder + "/").find("/../") == std::string::npos) {
        return folder;
    }
    struct Free {
        void operator()(char* text) const { free(text); } // NOLINT: realpath took it by malloc
    };
    const std::unique_ptr<char, Free> resolved(realpath(folder.c_str(), nullptr));
    return resolved == nullptr ? "" : resolved.get();
}

} // namespace

MediaFolder::MediaFolder(NameTable* names) : names_(names) {
    nodes_.push_back({0, names_->add("/"), 0, 0});
}

/// Adds the names that lead to the folder, each the only one in its folder.
void MediaFolder::add_way_to(std::string_view folder) {
    while (!folder.empty()) {
        const std::string_view name = folder.substr(0, folder.find('/'));
        folder.remove_prefix(std::min(name.size() + 1, folder.size()));
        if (!name.empty() && name != ".") {
            nodes_[folder_].first = node_count();
            nodes_[folder_].count = 1;
            nodes_.push_back({folder_, names_->add(name), 0, 0});
            folder_ = nodes_[folder_].first;
        }
    }
}

int MediaFolder::read(const std::string& folder, const std::function<void()>& at_each_folder) {
    const std::string path = absolute_path(folder);
    if (path.empty()) {
        return errno;
    }
    add_way_to(path);
    const int error = read_folder(folder_, true);
    for (uint32_t node = folder_ + 1; error == 0 && node < node_count(); ++node) {
        if (at_each_folder && !is_file(node)) {
            at_each_folder();
        }
        const int inner_error = is_file(node) ? 0 : read_folder(node, false);
        look_.note(inner_error);
        if (inner_error != 0 && unreadable_.size() < unreadable_limit) {
            unreadable_.push_back({this->path(node), inner_error});
        }
    }
    if (is_full_) {
        unreadable_.push_back(
            {this->path(folder_) + ", behind " + std::to_string(node_limit) + " names", ENOBUFS});
    }
    nodes_.shrink_to_fit();
    entries_ = {};
    seen_ = {};
    return error;
}

/// Whether the folder was not read before. One without a number, as some network drives have them, always is.
bool MediaFolder::is_new(int descriptor) {
    struct stat status = {};
    if (fstat(descriptor, &status) != 0 || status.st_ino == 0) {
        return true;
    }
    return seen_.insert(uint64_t{status.st_dev} * 0x9E3779B97F4A7C15U ^ uint64_t{status.st_ino}).second;
}

int MediaFolder::read_folder(uint32_t node, bool may_be_link) {
    const int follow = may_be_link ? 0 : O_NOFOLLOW;
    DirectoryStream stream(open(path(node).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | follow));
    if (stream.error() != 0 || !is_new(stream.descriptor())) {
        return stream.error();
    }
    std::vector<std::string> texts; // sorted, so that numbers of names do not depend on the file system
    while (const dirent* entry = stream.next()) {
        const char kind = kind_of(entry, stream.descriptor(), &look_);
        if (kind != 0 && node_count() + texts.size() >= node_limit) {
            is_full_ = true;
            break;
        }
        if (kind != 0) {
            texts.emplace_back(entry->d_name).push_back(kind);
        }
    }
    add_entries(node, &texts);
    return stream.error();
}

/// Adds what is in a folder: names, each followed by its kind.
void MediaFolder::add_entries(uint32_t node, std::vector<std::string>* texts) {
    std::ranges::sort(*texts);
    entries_.clear();
    for (const std::string& text : *texts) {
        entries_.push_back(
            {names_->add(std::string_view(text).substr(0, text.size() - 1)), text.back() == 'f'});
    }
    sort_by_number(&entries_, [this](const Entry& entry) { return names_->folded(entry.name); });
    nodes_[node].first = node_count();
    nodes_[node].count = static_cast<uint32_t>(entries_.size());
    for (const Entry& entry : entries_) {
        nodes_.push_back({node, entry.name, entry.is_file ? a_file : 0, 0});
    }
}

MediaFolder::Nodes MediaFolder::alike(uint32_t folder, uint32_t name) const {
    if (is_file(folder)) {
        return {0, 0};
    }
    const auto first = nodes_.begin() + nodes_[folder].first;
    const auto last = first + nodes_[folder].count;
    const auto folded = [this](const Node& node) { return names_->folded(node.name); };
    const auto begin = std::ranges::lower_bound(first, last, names_->folded(name), {}, folded);
    const auto end = std::ranges::upper_bound(begin, last, names_->folded(name), {}, folded);
    return {static_cast<uint32_t>(begin - nodes_.begin()), static_cast<uint32_t>(end - nodes_.begin())};
}

std::string MediaFolder::path(uint32_t node) const {
    std::vector<uint32_t> way;
    for (; node != 0; node = parent(node)) {
        way.push_back(node);
    }
    std::string path = way.empty() ? "/" : "";
    for (size_t index = way.size(); index-- > 0;) {
        path += '/';
        path += names_->text(name(way[index]));
    }
    return path;
}

uint64_t MediaFolder::size(uint32_t node) const {
    struct stat status = {};
    if (stat(path(node).c_str(), &status) != 0) {
        look_.note(errno);
        return 0;
    }
    return S_ISREG(status.st_mode) && status.st_size > 0 ? static_cast<uint64_t>(status.st_size) : 0;
}
