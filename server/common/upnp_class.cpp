#include "server/common/upnp_class.h"

#include <cstring>

#include "server/common/upnp_property.h"

namespace {

int32_t class_contains(const MediaObject* object, const char* part) {
    const char* text = upnp_database_object_get_valid_property(object, upnp_property_class);
    return text != nullptr && strstr(text, part) != nullptr ? 1 : 0;
}

} // namespace

int32_t upnp_database_object_is_container(const MediaObject* object) {
    return class_contains(object, ".container");
}

int32_t upnp_database_object_is_online(const MediaObject* object) {
    return class_contains(object, "online");
}

int32_t upnp_database_object_is_image(const MediaObject* object) {
    return class_contains(object, "image");
}

int32_t upnp_database_object_is_video(const MediaObject* object) {
    return class_contains(object, "video");
}

int32_t upnp_database_object_is_audio(const MediaObject* object) {
    return class_contains(object, "audio");
}
