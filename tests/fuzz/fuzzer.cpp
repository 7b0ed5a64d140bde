// The fuzzer's entry point to the target that the build names.

#include "tests/fuzz/targets.h"

extern "C" int __wrap_sched_yield() {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FUZZ_TARGET(data, size);
    return 0;
}
