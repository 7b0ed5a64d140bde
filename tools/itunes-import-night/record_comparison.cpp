#include "tools/itunes-import-night/record_comparison.h"

#include <algorithm>
#include <fcntl.h>
#include <string_view>
#include <utility>

#include "server/common/upnp_database.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"
#include "tools/shared/descriptor.h"
#include "tools/shared/items_reader.h"
#include "tools/shared/text_output.h"

namespace {

constexpr size_t example_limit = 3;

std::string path_in(std::string_view record) {
    MediaObject* object =
        upnp_database_object_create_from_data(record.data(), static_cast<uint32_t>(record.size()));
    const char* path = upnp_database_object_get_property(object, upnp_property_res);
    std::string copy = path == nullptr ? "" : path;
    upnp_database_object_free(object);
    return copy;
}

/// Calls `use` with the path of each record.
void for_each_path(const std::string& items_path, const auto& use) {
    const Descriptor file(open(items_path.c_str(), O_RDONLY | O_CLOEXEC));
    ItemsReader reader(file.number());
    for (ItemsRecord record = reader.next(); !record.data.empty(); record = reader.next()) {
        use(path_in(record.data));
    }
}

/// What the paths of an items file hash to, sorted.
std::vector<uint64_t> path_hashes(const std::string& items_path) {
    std::vector<uint64_t> hashes;
    for_each_path(items_path,
                  [&hashes](const std::string& path) { hashes.push_back(std::hash<std::string>()(path)); });
    std::ranges::sort(hashes);
    return hashes;
}

} // namespace

RecordDifference records_missing(const std::string& path, const std::string& other_path) {
    RecordDifference difference;
    const std::vector<uint64_t> others = path_hashes(other_path);
    for_each_path(path, [&](const std::string& file) {
        if (std::ranges::binary_search(others, uint64_t{std::hash<std::string>()(file)})) {
            return;
        }
        ++difference.count;
        if (difference.examples.size() < example_limit) {
            difference.examples.push_back(file);
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
