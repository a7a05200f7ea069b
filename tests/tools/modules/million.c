/* Makes as many calls as its argument says; for the figures of a replay. */
#include <stdlib.h>

#include "dxr_api.h"
#include "dxr_module.h"

int DxrModuleMain(int argc, char **argv) {
    const uint32_t calls = argc > 1 ? (uint32_t)strtoul(argv[1], NULL, 10) : 1000000;
    uint32_t wrong = 0;
    for (uint32_t i = 0; i < calls; ++i) {
        uint32_t value = 1;
        wrong += DXR_ReadReg(0, 0, 4 * (i % 1000), &value) != 0 ? 1 : 0;
    }
    return wrong == 0 ? 0 : 1;
}
