#pragma once
// The one hash of the companions, the same on every box.

#include <cstdint>
#include <string_view>

/// FNV-1a with 64 bits. The standard library's hash has 32 on small boxes: of 100,000 paths that would take one in
/// some forty thousand others for one of them.
constexpr uint64_t text_hash(std::string_view text) {
    uint64_t hash = 0xCBF29CE484222325U;
    for (const char byte : text) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
    }
    return hash;
}
