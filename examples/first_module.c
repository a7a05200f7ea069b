/* A first module: it looks at a register of each chip once a second, and says what is wrong. */
#include <dxr_api.h>
#include <dxr_devhost.h>
#include <stdio.h>

enum { kChips = 3, kStatus = 0x100, kLinkUp = 1 };

/* The module: the interface, and nothing else. */
static void LookAtLinks(void) {
    static const DxrLogFilterCfg site = {.logType = 5, .interval = 60}; /* again after a minute */
    for (uint32_t chip = 0; chip < kChips; ++chip) {
        uint32_t status = 0;
        if (DXR_ReadReg(0, chip, kStatus, &status) == 0 && (status & kLinkUp) == 0) {
            DXR_SameLogFilter(&site, "chip %u: link down", chip);
            DXR_RecordInfo("chip %u: link down", chip);
        }
    }
}

/* Its first run: on a device whose clock goes when it is told to. */
int main(void) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_STEPPED;
    DxrHost *host = DxrHostCreate(&options);
    DxrHostRegister(host);
    DXR_InitLogFilter(DXR_GetDefaultMid());
    DXR_WriteReg(0, 1, kStatus, kLinkUp); /* chips 0 and 2 stay down */
    for (int second = 0; second < 90; ++second) {
        LookAtLinks();
        DxrHostAdvance(host, 1000);
    }
    char listing[1024] = "";
    DXR_GetAllRecordStr(listing, sizeof(listing));
    puts(listing);
    DXR_DestroyRecordInfo();
    DXR_DestroyLogFilter();
    return DxrHostDestroy(host, stderr) == 0 ? 0 : 1;
}
