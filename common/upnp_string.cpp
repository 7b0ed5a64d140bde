#include "common/upnp_string.h"

#include <algorithm>
#include <cstring>

#include "common/upnp_memory.h"

namespace {

constexpr uint64_t first_slack = 256; // room beyond a new buffer's first text

/// Moves the text to a block of at least `needed` bytes; at least doubling keeps appends amortised constant.
/// The caller frees the earlier block. False without memory, the buffer then unchanged.
bool grow(upnp_string_t* buffer, uint64_t needed) {
    const uint64_t capacity = std::max(needed, uint64_t{2} * buffer->capacity);
    if (capacity > UINT32_MAX) {
        return false;
    }
    auto* data = static_cast<char*>(upnp_malloc(static_cast<uint32_t>(capacity)));
    if (data == nullptr) {
        return false;
    }
    if (buffer->data != nullptr) {
        memcpy(data, buffer->data, size_t{buffer->length} + 1);
    }
    buffer->data = data;
    buffer->capacity = static_cast<uint32_t>(capacity);
    return true;
}

} // namespace

upnp_string_t* upnp_string_new(const char* text, uint32_t capacity) {
    auto* buffer = static_cast<upnp_string_t*>(upnp_malloc(sizeof(upnp_string_t)));
    if (buffer == nullptr) {
        return nullptr;
    }
    // One byte even for a capacity of 0: the text is always terminated.
    buffer->data = static_cast<char*>(upnp_calloc(1, std::max(capacity, 1U)));
    if (buffer->data == nullptr) {
        upnp_free(buffer);
        return nullptr;
    }
    buffer->length = 0;
    buffer->capacity = capacity;
    return upnp_string_append(buffer, text);
}

upnp_string_t* upnp_string_append(upnp_string_t* buffer, const char* text) {
    const uint64_t added = text == nullptr ? 0 : strlen(text);
    if (buffer == nullptr) {
        return added + first_slack > UINT32_MAX
                   ? nullptr
                   : upnp_string_new(text, static_cast<uint32_t>(added + first_slack));
    }
    if (added == 0) {
        return buffer;
    }
    const uint64_t needed = uint64_t{buffer->length} + added + 1;
    char* outgrown = nullptr; // freed last, because the text may be in it
    if (needed > buffer->capacity) {
        outgrown = buffer->data;
        if (!grow(buffer, needed)) {
            return buffer;
        }
    }
    memcpy(buffer->data + buffer->length, text, static_cast<size_t>(added));
    buffer->length += static_cast<uint32_t>(added);
    buffer->data[buffer->length] = '\0';
    if (outgrown != nullptr) {
        upnp_free(outgrown);
    }
    return buffer;
}

void upnp_string_free(upnp_string_t* buffer) {
    if (buffer == nullptr) {
        return;
    }
    upnp_free_unless_null(buffer->data);
    upnp_free(buffer);
}
