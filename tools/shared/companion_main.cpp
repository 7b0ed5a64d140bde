#include "tools/shared/companion_main.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <unistd.h>

#include "common/upnp_memory.h"

namespace {

void fill_standard_descriptors() {
    int descriptor = open("/dev/null", O_RDONLY);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = open("/dev/null", O_RDONLY);
    }
    if (descriptor >= 0) {
        (void)close(descriptor);
    }
}

} // namespace

int companion_main(const char* program, int (*run)(int argc, char** argv), int argc, char** argv) {
    fill_standard_descriptors();
    (void)signal(SIGXFSZ, SIG_IGN); // what is larger than the system allows is to be told, and to be removed
    upnp_mem_init();                // keeps the allocator's note out of what people read
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        fprintf(stderr, "%s: out of memory\n", program);
        return 1;
    }
}
