// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/system_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_RestorePatch() {
    return Call(DXR_GetSystemHooks()->restorePatch, 0);
}

uint32_t DXR_GetEnvValueById(uint32_t id, void *value) {
    return Call(DXR_GetSystemHooks()->getEnvValueById, 0, id, value);
}

uint32_t DXR_GetLrId() {
    return Call(DXR_GetSystemHooks()->getLrId, 0);
}

uint32_t DXR_StartTimer(void *timer) {
    return Call(DXR_GetSystemHooks()->startTimer, 0, timer);
}

uint32_t DXR_StopTimer(void *timer) {
    return Call(DXR_GetSystemHooks()->stopTimer, 0, timer);
}

void *DXR_FOpen(const char *path, const char *mode) {
    return Call(DXR_GetSystemHooks()->fOpen, nullptr, path, mode);
}

uint32_t DXR_FClose(void *file) {
    return Call(DXR_GetSystemHooks()->fClose, 0, file);
}

uint32_t DXR_FRead(void *buffer, uint32_t size, uint32_t count, void *file) {
    return Call(DXR_GetSystemHooks()->fRead, 0, buffer, size, count, file);
}

uint32_t DXR_FileLength(const char *path) {
    return Call(DXR_GetSystemHooks()->fileLength, 0, path);
}

const char *DXR_GetBinFolderName() {
    return Call(DXR_GetSystemHooks()->getBinFolderName, ".");
}

uint32_t DXR_GetSysWorkPath(char *buffer, uint32_t size) {
    return Call(DXR_GetSystemHooks()->getSysWorkPath, 0, buffer, size);
}

uint32_t DXR_GetCpuUseRate() {
    return Call(DXR_GetSystemHooks()->getCpuUseRate, 0);
}

uint32_t DXR_ZipBuffer(uint32_t arg1, void *arg2, void *arg3, void *arg4) {
    return Call(DXR_GetSystemHooks()->zipBuffer, 0, arg1, arg2, arg3, arg4);
}

uint32_t DXR_SetHeartMon(void *arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4) {
    return Call(DXR_GetSystemHooks()->setHeartMon, 0, arg1, arg2, arg3, arg4);
}

uint32_t DXR_StopHeartToMon(void *arg1) {
    return Call(DXR_GetSystemHooks()->stopHeartToMon, 0, arg1);
}

uint32_t DXR_FSeek(void *file, uint32_t offset, uint32_t origin) {
    return Call(DXR_GetSystemHooks()->fSeek, 0, file, offset, origin);
}
