#include "common/upnp_memory.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/upnp_mutex.h"

namespace {

struct BlockHeader {
    uint32_t size;   // what the caller asked for
    uint32_t unused; // keeps the caller's bytes aligned to 8
};
static_assert(sizeof(BlockHeader) == 8);

upnp_mutex_t MemCriticalSection;
bool mem_initialised = false;
int32_t bytes_in_use = 0;
int32_t peak_bytes_in_use = 0;

int32_t wrapping_add(int32_t sum, uint32_t change) {
    return static_cast<int32_t>(static_cast<uint32_t>(sum) + change);
}

} // namespace

void* upnp_malloc(uint32_t size) {
    if (size > UINT32_MAX - sizeof(BlockHeader)) {
        return nullptr; // size and header together are a 32-bit number, as where `size_t` has 32 bits
    }
    auto* header = static_cast<BlockHeader*>(malloc(sizeof(BlockHeader) + size));
    if (header == nullptr) {
        return nullptr;
    }
    header->size = size;
    if (!mem_initialised) {
        fputs("upnp_malloc: MemCriticalSection not initialized\n", stderr);
        upnp_mem_init();
    }
    const UpnpMutexGuard guard(&MemCriticalSection);
    bytes_in_use = wrapping_add(bytes_in_use, size);
    if (bytes_in_use > peak_bytes_in_use) {
        peak_bytes_in_use = bytes_in_use;
    }
    return header + 1;
}

void upnp_free(void* block) {
    if (block == nullptr) {
        fputs("upnp_free: NULL pointer\n", stderr);
        return;
    }
    BlockHeader* header = static_cast<BlockHeader*>(block) - 1;
    if (mem_initialised) {
        const UpnpMutexGuard guard(&MemCriticalSection);
        bytes_in_use = wrapping_add(bytes_in_use, -header->size);
    } else {
        fputs("upnp_free: MemCriticalSection not initialized when upnp_free called\n", stderr);
        bytes_in_use = wrapping_add(bytes_in_use, -header->size);
    }
    free(header);
}

void upnp_free_unless_null(void* block) {
    if (block != nullptr) {
        upnp_free(block);
    }
}

char* upnp_strdup(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const size_t size = strlen(text) + 1;
    if (size > UINT32_MAX) {
        return nullptr;
    }
    auto* copy = static_cast<char*>(upnp_malloc(static_cast<uint32_t>(size)));
    if (copy != nullptr) {
        memcpy(copy, text, size);
    }
    return copy;
}

void* upnp_calloc(uint32_t count, uint32_t size) {
    const uint32_t product = count * size;
    void* block = upnp_malloc(product);
    if (block != nullptr) {
        memset(block, 0, product);
    }
    return block;
}

void upnp_mem_init() {
    if (!mem_initialised) {
        upnp_mutex_init(&MemCriticalSection);
        mem_initialised = true;
    }
}

void upnp_mem_close() {
    if (mem_initialised) {
        upnp_mutex_destroy(&MemCriticalSection);
        mem_initialised = false;
    }
}

int32_t upnp_mem_in_use() {
    return bytes_in_use;
}

int32_t upnp_mem_peak() {
    return peak_bytes_in_use;
}
