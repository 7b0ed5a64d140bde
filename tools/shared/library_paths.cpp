#include "tools/shared/library_paths.h"

#include <algorithm>

namespace {

constexpr size_t path_limit = 4096; // bytes, with a zero byte: what systems take

/// Takes the first name of a path off it: "/", "C:" or "//HOST"; empty for a text that is no path.
std::string_view take_beginning(std::string_view* path) {
    size_t length = 0;
    if (path->starts_with("//")) {
        length = std::min(path->find('/', 2), path->size());
    } else if (path->starts_with("/")) {
        length = 1;
    } else if (path->size() > 1 && (*path)[1] == ':') {
        length = 2;
    }
    const std::string_view beginning = path->substr(0, length);
    path->remove_prefix(length);
    return beginning;
}

/// Takes the next name off a path; empty at the end.
std::string_view take_name(std::string_view* path) {
    for (;;) {
        path->remove_prefix(std::min(path->find_first_not_of('/'), path->size()));
        const std::string_view name = path->substr(0, path->find('/'));
        path->remove_prefix(name.size());
        if (name != ".") {
            return name;
        }
    }
}

} // namespace

LibraryPaths::LibraryPaths(NameTable* names)
    : names_(names), nodes_{{0, NameTable::none}}, is_foreign_{false} {}

uint64_t LibraryPaths::key_of(uint32_t parent, uint32_t name) const {
    const bool is_alike_in_case = parent == 0 || is_foreign_[parent];
    return uint64_t{parent} << 32 | (is_alike_in_case ? names_->folded(name) : names_->composed(name));
}

uint32_t LibraryPaths::child(uint32_t parent, uint32_t name) const {
    const auto found = by_key_.find(key_of(parent, name));
    return found == by_key_.end() ? none : found->second;
}

uint32_t LibraryPaths::add(std::string_view path) {
    if (path.size() >= path_limit || path.find("/../") != std::string_view::npos || path.ends_with("/..")) {
        return none;
    }
    std::string_view name = take_beginning(&path);
    const bool is_foreign = name != "/";
    uint32_t node = 0;
    for (; !name.empty(); name = take_name(&path)) {
        const uint32_t number = names_->add(name);
        const auto [place, is_new] = by_key_.try_emplace(key_of(node, number), node_count());
        if (is_new) {
            nodes_.push_back({node, number});
            is_foreign_.push_back(is_foreign);
        }
        node = place->second;
    }
    return node == 0 || begins_paths(node) ? none : node;
}

uint32_t LibraryPaths::find(std::string_view path) const {
    uint32_t node = 0;
    for (std::string_view name = take_beginning(&path); !name.empty(); name = take_name(&path)) {
        const uint32_t number = names_->find(name);
        node = number == NameTable::none ? none : child(node, number);
        if (node == none) {
            return none;
        }
    }
    return node == 0 ? none : node;
}

std::string LibraryPaths::path(uint32_t node) const {
    std::vector<uint32_t> way;
    for (; node != 0; node = parent(node)) {
        way.push_back(node);
    }
    std::string path;
    for (size_t index = way.size(); index-- > 0;) {
        if (!path.empty() && path.back() != '/') {
            path += '/';
        }
        path += names_->text(name(way[index]));
    }
    return path;
}
