#pragma once
// The accounting allocator: every heap block of the program comes from upnp_malloc and goes back through
// upnp_free, never through malloc and free, because each block carries a hidden header.
// The counters make a test oracle: after a piece of work the bytes in use are what they were before it.

#include <cstdint>

/// Allocates `size` bytes, not cleared, aligned to 8. Returns null when the memory is not to be had, without
/// a message: the caller reports in its own words. A size of 0 gives a distinct block without usable bytes.
/// The first call without upnp_mem_init notes "upnp_malloc: MemCriticalSection not initialized" on standard
/// error and sets up the section itself; the tool relies on that and never calls upnp_mem_init.
[[nodiscard]] void* upnp_malloc(uint32_t size);

/// Releases a block from upnp_malloc. Null is reported on standard error and otherwise ignored.
void upnp_free(void* block);

/// Releases a block that may be absent: null is ignored without a report.
void upnp_free_unless_null(void* block);

/// Returns a copy of `text` that the caller owns; null for a null text or without memory.
[[nodiscard]] char* upnp_strdup(const char* text);

/// Allocates `count` times `size` bytes and clears them; null without memory. The product is a 32-bit one
/// and is not checked: callers ask for records, whose sizes they know.
[[nodiscard]] void* upnp_calloc(uint32_t count, uint32_t size);

/// Creates MemCriticalSection; does nothing if it exists.
void upnp_mem_init();

/// Destroys MemCriticalSection, which no other thread may be using. Later allocations recreate it with their
/// note; frees go on without a lock.
void upnp_mem_close();

/// Bytes that live blocks were asked for, headers not counted (a 32-bit sum that wraps), and its peak.
int32_t upnp_mem_in_use();
int32_t upnp_mem_peak();

/// How many blocks were not to be had since the process started: a piece of work during which the number grows
/// may lack something, though it went on.
uint32_t upnp_mem_refused();
