// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/print_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_Assert(void *value, uint32_t arg2) {
    return Call(DXR_GetPrintHooks()->reportAssert, 0, value, arg2);
}

uint32_t DXR_EnableLogOutput(uint32_t arg1, uint32_t arg2) {
    return Call(DXR_GetPrintHooks()->enableLogOutput, 0, arg1, arg2);
}

uint32_t DXR_WriteEventLog(void *event) {
    return Call(DXR_GetPrintHooks()->writeEventLog, 0, event);
}

uint32_t DXR_GetDbgLevel() {
    return Call(DXR_GetPrintHooks()->getDbgLevel, 0);
}

uint32_t DXR_SetDbgLevel(uint32_t level) {
    return Call(DXR_GetPrintHooks()->setDbgLevel, 0, level);
}

uint32_t DXR_LOGFILTER_Destroy(void *arg1) {
    return Call(DXR_GetPrintHooks()->logFilterDestroy, 0, arg1);
}

const char *DXR_LOGFILTER_GetFileName(void *arg1) {
    return Call(DXR_GetPrintHooks()->logFilterGetFileName, nullptr, arg1);
}

uint32_t DXR_LOGFILTER_FilterLargeDiffKeyLog(void *arg1, void *arg2, uint32_t arg3) {
    return Call(DXR_GetPrintHooks()->logFilterFilterLargeDiffKeyLog, 0, arg1, arg2, arg3);
}

uint32_t DXR_LOGFILTER_Register(void *arg1) {
    return Call(DXR_GetPrintHooks()->logFilterRegister, 0, arg1);
}

uint32_t DXR_LOGFILTER_RegisterDiffLogForFramework(uint32_t arg1, void *arg2, void *arg3,
                                                   void *arg4) {
    return Call(DXR_GetPrintHooks()->logFilterRegisterDiffLogForFramework, 0, arg1, arg2, arg3,
                arg4);
}

uint32_t DXR_LOGFILTER_ShowCurInfo(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4) {
    return Call(DXR_GetPrintHooks()->logFilterShowCurInfo, 0, arg1, arg2, arg3, arg4);
}

uint32_t DXR_LOGFILTER_ShowHisInfo(void *arg1) {
    return Call(DXR_GetPrintHooks()->logFilterShowHisInfo, 0, arg1);
}

uint32_t DXR_RecordWarmRebootMileStone(void *arg1) {
    return Call(DXR_GetPrintHooks()->recordWarmRebootMileStone, 0, arg1);
}
