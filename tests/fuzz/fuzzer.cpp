// The fuzzer's entry point to the target that the build names.

#include "tests/fuzz/targets.h"

#include "common/upnp_memory.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    upnp_mem_init();
    return 0;
}

extern "C" int __wrap_sched_yield() {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FUZZ_TARGET(data, size);
    return 0;
}
