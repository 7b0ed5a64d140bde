#include "tools/shared/path_set.h"

#include <algorithm>

#include "tools/shared/text_hash.h"

void PathSet::add(std::string_view path) {
    hashes_.push_back(text_hash(path));
}

void PathSet::settle() {
    std::ranges::sort(hashes_);
}

bool PathSet::contains(std::string_view path) const {
    return std::ranges::binary_search(hashes_, text_hash(path));
}
