#include <dxr_api.h>
#include <dxr_devhost.h>
#include <dxr_trace.h>
#include <inttypes.h>

int main(void) {
    DxrHost *host = DxrHostCreate(NULL);
    DxrHostRegister(host);

    DxrTraceStart(NULL); /* after the host has registered its table */
    DXR_Free(DXR_Malloc(1, 100, __FILE__, __LINE__), __FILE__, __LINE__);
    DxrTraceCount counts[226];
    const uint32_t slots = DxrTraceGetCounts(counts, 226); /* calls, percentiles of their time */
    DxrTraceStop();                                        /* the bare table again */
    for (uint32_t slot = 0; slot < slots; ++slot) {
        if (counts[slot].calls != 0) {
            printf("%s %" PRIu64 "\n", DxrTraceSlotName(slot), counts[slot].calls);
        }
    }

    DxrTraceOptions options;
    DxrTraceInitOptions(&options);
    options.mode = DXR_TRACE_CALLS; /* each call, into a file */
    options.file = "calls.dxrtrace";
    DxrTraceStart(&options);
    DXR_Free(DXR_Malloc(1, 100, __FILE__, __LINE__), __FILE__, __LINE__);
    return DxrTraceStop() == 0 && DxrHostDestroy(host, stderr) == 0 ? 0 : 1;
}
