#include <dxr_api.h>
#include <dxr_devhost.h>

int main(void) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_VIRTUAL; /* nothing waits */
    DxrHost *host = DxrHostCreate(&options);
    DxrHostRegister(host);
    /* What a module does; this one sleeps an hour and forgets a block. */
    DXR_DelayTask(3600000);
    void *block = DXR_Malloc(7, 100, __FILE__, __LINE__);
    (void)block;
    return DxrHostDestroy(host, stderr) == 0 ? 0 : 1; /* what it left behind */
}
