/* A program with a host of one hook, whose calls are counted. */
#include <stdio.h>

#include "dxr_trace.h"

static uint32_t BoardIsMaster(void) {
    return 0;
}

int main(void) {
    static DxrTraceCount counts[226];
    DxrHooks hooks = {0};
    hooks.dev.boardIsMaster = BoardIsMaster;
    DXR_RegisterHooks(&hooks);
    if (DxrTraceStart(NULL) != 0) {
        return 1;
    }
    for (int i = 0; i < 3; ++i) {
        if (DXR_BoardIsMaster() != 0) {
            return 1;
        }
    }
    const uint32_t slots = DxrTraceGetCounts(counts, 226);
    for (uint32_t i = 0; i < slots; ++i) {
        if (counts[i].calls != 0) {
            printf("%s: %u calls\n", DxrTraceSlotName(i), (unsigned)counts[i].calls);
        }
    }
    return DxrTraceStop() == 0 && counts[22].calls == 3 ? 0 : 1;
}
