#include "common/upnp_memory.h"

#include <atomic>
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
std::atomic<bool> mem_initialised = false;

// Held while MemCriticalSection is created; is there all the time itself.
constinit upnp_mutex_t mem_creation = {PTHREAD_MUTEX_INITIALIZER, {}, 0};

int32_t bytes_in_use = 0;
int32_t peak_bytes_in_use = 0;
std::atomic<uint32_t> refused_blocks = 0;

int32_t wrapping_add(int32_t sum, uint32_t change) {
    return static_cast<int32_t>(static_cast<uint32_t>(sum) + change);
}

/// MemCriticalSection, or null, on which a guard holds nothing.
upnp_mutex_t* existing_section() {
    return mem_initialised.load(std::memory_order_acquire) ? &MemCriticalSection : nullptr;
}

/// Creates MemCriticalSection, unless another thread was first; `note` goes to standard error if created.
void create_section(const char* note) {
    const UpnpMutexGuard guard(&mem_creation);
    if (existing_section() == nullptr) {
        fputs(note, stderr);
        upnp_mutex_init(&MemCriticalSection);
        mem_initialised.store(true, std::memory_order_release);
    }
}

} // namespace

void* upnp_malloc(uint32_t size) {
    if (size > UINT32_MAX - sizeof(BlockHeader)) {
        ++refused_blocks;
        return nullptr; // size and header together are a 32-bit number, as where `size_t` has 32 bits
    }
    auto* header = static_cast<BlockHeader*>(malloc(sizeof(BlockHeader) + size));
    if (header == nullptr) {
        ++refused_blocks;
        return nullptr;
    }
    header->size = size;
    if (existing_section() == nullptr) {
        create_section("upnp_malloc: MemCriticalSection not initialized\n");
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
    upnp_mutex_t* section = existing_section();
    if (section == nullptr) {
        fputs("upnp_free: MemCriticalSection not initialized when upnp_free called\n", stderr);
    }
    {
        const UpnpMutexGuard guard(section);
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
    create_section("");
}

void upnp_mem_close() {
    if (existing_section() != nullptr) {
        upnp_mutex_destroy(&MemCriticalSection);
        mem_initialised = false;
    }
}

int32_t upnp_mem_in_use() {
    const UpnpMutexGuard guard(existing_section());
    return bytes_in_use;
}

int32_t upnp_mem_peak() {
    const UpnpMutexGuard guard(existing_section());
    return peak_bytes_in_use;
}

uint32_t upnp_mem_refused() {
    return refused_blocks;
}
