// itunes-check: tells what an import of a library will bring and why the rest will not arrive.

#include <cstdio>
#include <new>

#include "common/upnp_memory.h"
#include "tools/itunes-check/check.h"
#include "tools/shared/standard_streams.h"

int main(int argc, char** argv) {
    fill_standard_descriptors();
    upnp_mem_init(); // keeps the allocator's note out of what people read
    try {
        int status = 0;
        const std::optional<CheckRequest> request = read_check_request(argc, argv, &status);
        return request ? run_check(*request) : status;
    } catch (const std::bad_alloc&) {
        fputs("itunes-check: out of memory\n", stderr);
        return 1;
    }
}
