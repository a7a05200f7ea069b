// What libFuzzer calls; compiled once for each target, whose function the build names.
#include "fuzz/targets.h"

#ifndef DXR_FUZZ_TARGET
#define DXR_FUZZ_TARGET Numeric  // for those who look at this file alone
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    dxrfuzz::Input input(data, size);
    dxrfuzz::DXR_FUZZ_TARGET(input);
    return 0;
}
