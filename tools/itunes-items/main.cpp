// itunes-items: prints an items file for people or as JSON, or counts its records by class.

#include <cstdio>
#include <new>

#include "common/upnp_memory.h"
#include "tools/itunes-items/items_run.h"

int main(int argc, char** argv) {
    upnp_mem_init(); // keeps the allocator's note out of what people read
    try {
        return items_run(argc, argv);
    } catch (const std::bad_alloc&) {
        fputs("itunes-items: out of memory\n", stderr);
        return 1;
    }
}
