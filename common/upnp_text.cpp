#include "common/upnp_text.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int32_t upnp_format(char* buffer, uint32_t size, const char* format, ...) {
    if (buffer == nullptr || size == 0) {
        return 0;
    }
    buffer[0] = '\0';
    if (format == nullptr) {
        return 0;
    }
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    if (length < 0) {
        buffer[0] = '\0'; // what came before the error
        return 0;
    }
    return length;
}

void upnp_format_number(char* buffer, uint32_t size, int32_t number) {
    if (buffer == nullptr || size == 0) {
        return;
    }
    const std::to_chars_result result = std::to_chars(buffer, buffer + size - 1, number);
    *(result.ec == std::errc() ? result.ptr : buffer) = '\0';
}

void upnp_copy_text(char* buffer, uint32_t size, const char* text) {
    if (buffer == nullptr || size == 0) {
        return;
    }
    const size_t length = text == nullptr ? 0 : strnlen(text, size - 1);
    if (length > 0) {
        memmove(buffer, text, length);
    }
    buffer[length] = '\0';
}

int32_t upnp_parse_int32(const char* text) {
    return static_cast<int32_t>(std::clamp<int64_t>(upnp_parse_int64(text), INT32_MIN, INT32_MAX));
}

int32_t upnp_hex_digit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : -1;
}

int64_t upnp_parse_int64(const char* text) {
    return text == nullptr ? 0 : strtoll(text, nullptr, 10);
}
