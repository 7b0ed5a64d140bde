#include "tools/itunes-items/class_counts.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "server/common/upnp_class.h"
#include "server/common/upnp_property.h"
#include "tools/shared/text_output.h"

namespace {

constexpr uint32_t other_classes = 16;

bool is_known(std::string_view name) {
    return std::ranges::find(upnp_database_classes, name) != std::end(upnp_database_classes);
}

std::string count_line(uint64_t count, std::string_view name) {
    return std::to_string(count) + " " + escaped(name) + "\n";
}

} // namespace

void ClassCounts::add(const MediaObject* object) {
    ++records_;
    const char* value = upnp_database_object_get_valid_property(object, upnp_property_class);
    const std::string_view name = value == nullptr ? "(no class)" : value;
    const auto known = std::ranges::find(classes_, name, &ClassCount::name);
    if (known != classes_.end()) {
        ++known->count;
        return;
    }
    const bool is_other = value != nullptr && !is_known(name);
    if (is_other && others_ == other_classes) {
        ++further_;
        return;
    }
    others_ += is_other ? 1 : 0;
    classes_.push_back({std::string(name), 1});
}

std::string ClassCounts::text() const {
    std::string result;
    for (const ClassCount& each : classes_) {
        result += count_line(each.count, each.name);
    }
    if (further_ != 0) {
        result += count_line(further_, "(other classes)");
    }
    return result + count_line(records_, "records");
}
