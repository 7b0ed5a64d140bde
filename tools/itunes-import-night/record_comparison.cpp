#include "tools/itunes-import-night/record_comparison.h"

#include <string_view>

#include "tools/shared/items_reader.h"
#include "tools/shared/path_set.h"
#include "tools/shared/text_output.h"

namespace {

constexpr size_t example_limit = 3;

} // namespace

RecordDifference records_missing(const std::string& path, const std::string& other_path) {
    RecordDifference difference;
    PathSet others;
    for_each_record_path(other_path, [&](std::string_view file) { others.add(file); });
    others.settle();
    for_each_record_path(path, [&](std::string_view file) {
        if (others.contains(file)) {
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
