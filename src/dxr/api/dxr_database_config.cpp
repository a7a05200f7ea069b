#include "dxr/database_config.h"

#include "internal/bounds_checked.h"

namespace {

constexpr const char *kConfigDir = "../conf";

}  // namespace

void DXR_CFG_FmtCfgFile(const char *name, uint32_t id1, uint32_t id2, char *buf, uint32_t bufSize) {
    if (name == nullptr) {
        dxr::strcpy_s(buf, bufSize, "");
        return;
    }
    // Intended: a name that was cut is not reported.
    dxr::snprintf_truncated_s(buf, bufSize, "%s/%s_0x%08X_0x%08X.json", kConfigDir, name, id1, id2);
}
