#include "tools/itunes-items/record_text.h"

#include <array>
#include <cstdint>
#include <vector>

#include "server/common/upnp_property.h"
#include "tools/shared/text_output.h"

namespace {

constexpr size_t property_ids = 256; // as many as an entry's two digits tell apart

/// What a property is called.
std::string property_label(int16_t id) {
    const PropertyDescriptor* descriptor = upnp_database_property_descriptor(id);
    if (descriptor == nullptr || descriptor->name == nullptr) {
        return "property " + std::to_string(id);
    }
    return descriptor->name;
}

/// The id that stands for all with the same name, which have to share one key: there are two of cover art.
int16_t find_key_id(int16_t id) {
    const PropertyDescriptor* descriptor = upnp_database_property_descriptor(id);
    return descriptor == nullptr || descriptor->name == nullptr ? id
                                                                : upnp_database_property_id(descriptor->name);
}

/// The same out of a table, since finding it takes a search through all names.
int16_t key_id(int16_t id) {
    static const auto key_ids = [] {
        std::array<int16_t, property_ids> ids = {};
        for (size_t index = 0; index < property_ids; ++index) {
            ids[index] = find_key_id(static_cast<int16_t>(index));
        }
        return ids;
    }();
    return key_ids[static_cast<size_t>(id)];
}

/// The values of one key, in their order; borrowed from the object.
struct Member {
    int16_t key;
    std::vector<const char*> values;
};

/// The object's values by key, at a cost that grows with the properties and not with their square.
std::vector<Member> members_of(const MediaObject* object) {
    std::vector<Member> members;
    std::array<size_t, property_ids> places = {}; // of a key's member, counted from 1
    for (; object != nullptr; object = object->next) {
        const int16_t key = key_id(object->id);
        size_t& place = places[static_cast<size_t>(key)];
        if (place == 0) {
            members.push_back({key, {}});
            place = members.size();
        }
        members[place - 1].values.push_back(object->value);
    }
    return members;
}

std::string member_json(const Member& member) {
    std::string result = json_string(property_label(member.key));
    const bool is_array = member.values.size() > 1;
    const char* before = is_array ? ":[" : ":";
    for (const char* value : member.values) {
        result += before;
        result += json_string(value);
        before = ",";
    }
    return is_array ? result + ']' : result;
}

} // namespace

std::string record_text(const MediaObject* object) {
    if (object == nullptr) {
        return "(no properties)\n";
    }
    std::string result;
    for (; object != nullptr; object = object->next) {
        result += property_label(object->id) + ": " + escaped(object->value) + '\n';
    }
    return result;
}

std::string record_json(const MediaObject* object) {
    std::string result = "{";
    for (const Member& member : members_of(object)) {
        result += result.size() == 1 ? "" : ",";
        result += member_json(member);
    }
    return result + '}';
}
