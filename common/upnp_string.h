#pragma once
// A growable text. The record writer builds each record in one:
//
//     upnp_string_t* text = upnp_string_append(nullptr, ">>>>\n");
//     text = upnp_string_append(text, "more");
//     upnp_string_free(text);

#include <cstdint>

struct upnp_string_t {
    uint32_t length;   // bytes of text, without the terminating NUL
    uint32_t capacity; // bytes that data has room for, the NUL included
    char* data;        // always terminated; owned
};

/// Makes a buffer of `capacity` bytes that holds `text` (empty for null), growing where the text needs more.
/// Returns null without memory for the buffer itself; a text for which it cannot grow is dropped. The caller
/// owns it and frees it with upnp_string_free.
[[nodiscard]] upnp_string_t* upnp_string_new(const char* text, uint32_t capacity);

/// Appends `text`, which may be in the buffer itself; returns the buffer to use from now on. A null buffer
/// gives a new one with room for the text and 256 bytes more, or null without memory. Where a growth finds no
/// memory the text is dropped and the buffer stays as it was: the caller cannot tell, and a record then comes
/// out short.
[[nodiscard]] upnp_string_t* upnp_string_append(upnp_string_t* buffer, const char* text);

/// Releases the buffer with its text; null is ignored.
void upnp_string_free(upnp_string_t* buffer);
