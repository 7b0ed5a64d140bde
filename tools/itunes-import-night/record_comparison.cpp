#include "tools/itunes-import-night/record_comparison.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "tools/shared/items_reader.h"
#include "tools/shared/text_output.h"

namespace {

constexpr size_t example_limit = 3;

uint64_t hash_of(std::string_view path) {
    return std::hash<std::string_view>()(path);
}

/// What the paths of an items file hash to, sorted.
std::vector<uint64_t> path_hashes(const std::string& items_path) {
    std::vector<uint64_t> hashes;
    for_each_record_path(items_path, [&hashes](std::string_view path) { hashes.push_back(hash_of(path)); });
    std::ranges::sort(hashes);
    return hashes;
}

} // namespace

RecordDifference records_missing(const std::string& path, const std::string& other_path) {
    RecordDifference difference;
    const std::vector<uint64_t> others = path_hashes(other_path);
    for_each_record_path(path, [&](std::string_view file) {
        if (std::ranges::binary_search(others, hash_of(file))) {
            return;
        }
        ++difference.count;
        if (difference.examples.size() < example_limit) {
            difference.examples.emplace_back(file);
        }
    });
    return difference;
}

std::string difference_text(const RecordDifference& difference) {
    std::string text = std::to_string(difference.count);
    for (const std::string& example : difference.examples) {
        text += (&example == &difference.examples.front() ? " (" : ", ") + escaped(example);
    }
    return text + (difference.count > difference.examples.size() && !difference.examples.empty() ? ", ...)"
                   : difference.examples.empty()                                                 ? ""
                                                                                                 : ")");
}
