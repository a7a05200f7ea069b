#include <dxr_api.h>
#include <dxr_devhost.h>

int main(void) {
    DxrHost *host = DxrHostCreate(NULL); /* a device on a laptop: memory, log, clock, mutexes */
    DxrHostRegister(host);
    DxrLogFilterCfg site = {.logType = 3}; /* one place in a program that logs */
    DXR_InitLogFilter(DXR_GetDefaultMid());
    for (int i = 0; i < 1000; ++i) {
        DXR_SameLogFilter(&site, "link %d down", i % 2); /* two lines come out, not a thousand */
    }
    DXR_DestroyLogFilter();
    return DxrHostDestroy(host, stderr) == 0 ? 0 : 1; /* what was left behind, if anything */
}
