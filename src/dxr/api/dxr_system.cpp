#include "dxr/system.h"

#include <unistd.h>

uint32_t DXR_IsFileExist(const char *name) {
    return name != nullptr && access(name, F_OK) == 0 ? 1 : 0;
}
