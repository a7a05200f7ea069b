/* Does what examples/dxrsh/registers.dxrtrace recorded, with the first release. */
#include <string.h>

#include "dxr_api.h"
#include "dxr_module.h"

int DxrModuleMain(int argc, char **argv) {
    const char *const word = argc > 1 ? argv[1] : "";
    uint32_t value = 0;
    char speed[8];
    DXR_WriteReg(0, 1, 64, 0xC0FFEE);
    DXR_ReadReg(0, 1, 64, &value);
    DXR_SetEnv("speed", (void *)"100G", 5);
    DXR_GetEnv("speed", speed, sizeof(speed));
    bool isOpen = DXR_FOpen("missing.bin", "rb") != NULL;
    DXR_GetPrintHooks()->print(6, "port %u is %s", strcmp(word, "x") == 0 ? 4U : 3U, "up");
    if (strcmp(word, "again") == 0) {
        DXR_ReadReg(0, 1, 64, &value);
    }
    if (strcmp(word, "outside") == 0) {
        isOpen |= DXR_FOpen("/missing.bin", "rb") != NULL;
    }
    return value == 0xC0FFEE && strcmp(speed, "100G") == 0 && !isOpen ? 0 : 1;
}
