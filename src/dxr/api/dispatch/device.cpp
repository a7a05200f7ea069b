// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/device.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_BoardIsMaster() {
    return Call(DXR_GetDevHooks()->boardIsMaster, 1);
}

uint32_t DXR_GetDevAttrValue(uint32_t arg1, uint32_t arg2, void *value) {
    return Call(DXR_GetDevHooks()->getDevAttrValue, 0, arg1, arg2, value);
}

uint32_t DXR_SetDevAttrValue(uint32_t arg1, uint32_t arg2, uint32_t value) {
    return Call(DXR_GetDevHooks()->setDevAttrValue, 0, arg1, arg2, value);
}

uint32_t DXR_SetDevMmapType(uint32_t arg1, uint32_t arg2) {
    return Call(DXR_GetDevHooks()->setDevMmapType, 0, arg1, arg2);
}

uint32_t DXR_GetEnv(const char *name, void *value, uint32_t size) {
    return Call(DXR_GetDevHooks()->getEnv, 0, name, value, size);
}

uint32_t DXR_SetEnv(const char *name, void *value, uint32_t size) {
    return Call(DXR_GetDevHooks()->setEnv, 0, name, value, size);
}

uint32_t DXR_SaveEnv() {
    return Call(DXR_GetDevHooks()->saveEnv, 0);
}

uint32_t DXR_SaveEnvBlock() {
    return Call(DXR_GetDevHooks()->saveEnvBlock, 0);
}

uint32_t DXR_GetMemEnv(const char *name, void *value, uint32_t size) {
    return Call(DXR_GetDevHooks()->getMemEnv, 0, name, value, size);
}

uint32_t DXR_SetMemEnv(const char *name, void *value, uint32_t size) {
    return Call(DXR_GetDevHooks()->setMemEnv, 0, name, value, size);
}

uint32_t DXR_SaveMemEnv() {
    return Call(DXR_GetDevHooks()->saveMemEnv, 0);
}

uint32_t DXR_GetPcieConfigRegValue(uint32_t arg1, uint32_t arg2, void *value) {
    return Call(DXR_GetDevHooks()->getPcieConfigRegValue, 0, arg1, arg2, value);
}

uint32_t DXR_SetPcieConfigRegValue(uint32_t arg1, uint32_t arg2, uint32_t value) {
    return Call(DXR_GetDevHooks()->setPcieConfigRegValue, 0, arg1, arg2, value);
}

uint32_t DXR_GetRsvMemMmapAddr(void *arg1, uint32_t arg2, void *address) {
    return Call(DXR_GetDevHooks()->getRsvMemMmapAddr, 0, arg1, arg2, address);
}

uint32_t DXR_GetResetMode(void *mode) {
    return Call(DXR_GetDevHooks()->getResetMode, 0, mode);
}

uint32_t DXR_IsRunInLs() {
    return Call(DXR_GetDevHooks()->isRunInLs, 0);
}

uint32_t DXR_ScanPcie(uint32_t arg1) {
    return Call(DXR_GetDevHooks()->scanPcie, 0, arg1);
}

uint32_t DXR_GetRsvdMem(uint32_t arg1, void *arg2, void *arg3) {
    return Call(DXR_GetDevHooks()->getRsvdMem, 0, arg1, arg2, arg3);
}

uint32_t DXR_GetProductFamilyType() {
    return Call(DXR_GetDevHooks()->getProductFamilyType, 2);
}

uint32_t DXR_IsCentralPurchaseMode() {
    return Call(DXR_GetDevHooks()->isCentralPurchaseMode, 0);
}

void *DXR_MmapDev(uint32_t arg1, uint32_t arg2) {
    return Call(DXR_GetDevHooks()->mmapDev, nullptr, arg1, arg2);
}

uint32_t DXR_MunmapDev(void *address, uint32_t size) {
    return Call(DXR_GetDevHooks()->munmapDev, 0, address, size);
}

uint32_t DXR_OpenDev(const char *path) {
    return Call(DXR_GetDevHooks()->openDev, 0, path);
}

uint32_t DXR_OpenDevWithOption(const char *path, uint32_t option) {
    return Call(DXR_GetDevHooks()->openDevWithOption, 0, path, option);
}

uint32_t DXR_CloseDev(uint32_t device) {
    return Call(DXR_GetDevHooks()->closeDev, 0, device);
}

uint32_t DXR_ControlDev(void *request) {
    return Call(DXR_GetDevHooks()->controlDev, 0, request);
}

uint32_t DXR_WriteDev(uint32_t device, void *arg2, uint32_t arg3, void *arg4) {
    return Call(DXR_GetDevHooks()->writeDev, 0, device, arg2, arg3, arg4);
}

uint32_t DXR_ReadI2c(void *request) {
    return Call(DXR_GetDevHooks()->readI2c, 0, request);
}

uint32_t DXR_WriteI2c(void *request) {
    return Call(DXR_GetDevHooks()->writeI2c, 0, request);
}

uint32_t DXR_ReadReg16(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value) {
    return Call(DXR_GetDevHooks()->readReg16, 0, arg1, arg2, arg3, value);
}

uint32_t DXR_WriteReg16(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint16_t value) {
    return Call(DXR_GetDevHooks()->writeReg16, 0, arg1, arg2, arg3, value);
}

uint32_t DXR_ReadReg(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value) {
    return Call(DXR_GetDevHooks()->readReg, 0, arg1, arg2, arg3, value);
}

uint32_t DXR_WriteReg(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t value) {
    return Call(DXR_GetDevHooks()->writeReg, 0, arg1, arg2, arg3, value);
}

uint32_t DXR_GetServiceType() {
    return Call(DXR_GetDevHooks()->getServiceType, 0);
}

uint32_t DXR_GetVoltageKey(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *key) {
    return Call(DXR_GetDevHooks()->getVoltageKey, 0, arg1, arg2, arg3, key);
}

uint32_t DXR_SetVoltage(uint32_t arg1, uint32_t arg2, uint32_t voltage) {
    return Call(DXR_GetDevHooks()->setVoltage, 0, arg1, arg2, voltage);
}

uint32_t DXR_GetVoltage(uint32_t arg1, uint32_t arg2, void *voltage) {
    return Call(DXR_GetDevHooks()->getVoltage, 0, arg1, arg2, voltage);
}

uint32_t DXR_HardResetChip(uint32_t arg1, uint32_t arg2, uint32_t arg3) {
    return Call(DXR_GetDevHooks()->hardResetChip, 0, arg1, arg2, arg3);
}

uint32_t DXR_ProbePcie(uint32_t arg1, uint32_t arg2, uint32_t arg3) {
    return Call(DXR_GetDevHooks()->probePcie, 0, arg1, arg2, arg3);
}

void DXR_InitSafeIo() {
    Call(DXR_GetDevHooks()->initSafeIo);
}

uint32_t DXR_GetBomId(uint32_t arg1, uint32_t arg2, void *bomId) {
    return Call(DXR_GetDevHooks()->getBomId, 0, arg1, arg2, bomId);
}

uint32_t DXR_ReadPcie(uint32_t arg1, void *arg2, void *value) {
    return Call(DXR_GetDevHooks()->readPcie, 0, arg1, arg2, value);
}

uint32_t DXR_WritePcie(uint32_t arg1, void *arg2, uint32_t value) {
    return Call(DXR_GetDevHooks()->writePcie, 0, arg1, arg2, value);
}

uint32_t DXR_GetDeviceBar(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4) {
    return Call(DXR_GetDevHooks()->getDeviceBar, 0, arg1, arg2, arg3, arg4);
}

void DXR_ResetBoard(uint32_t arg1) {
    Call(DXR_GetDevHooks()->resetBoard, arg1);
}

uint32_t DXR_GetLocalPcbVersion() {
    return Call(DXR_GetDevHooks()->getLocalPcbVersion, 0);
}

uint32_t DXR_GetHardId(uint32_t arg1, void *hardId) {
    return Call(DXR_GetDevHooks()->getHardId, 0xFFFFFFFF, arg1, hardId);
}

uint32_t DXR_GetPcbVersion() {
    return Call(DXR_GetDevHooks()->getPcbVersion, 0);
}

uint32_t DXR_ChmodRsvMemFile(void *file, uint32_t mode) {
    return Call(DXR_GetDevHooks()->chmodRsvMemFile, 0, file, mode);
}

uint32_t DXR_GetVsfuDevName(void *name, uint32_t size) {
    return Call(DXR_GetDevHooks()->getVsfuDevName, 0, name, size);
}

uint32_t DXR_RebootOS(uint32_t arg1, void *arg2) {
    return Call(DXR_GetDevHooks()->rebootOS, 0, arg1, arg2);
}

uint32_t DXR_RegisterPreResetProcFunc(void *arg1, void *arg2) {
    return Call(DXR_GetDevHooks()->registerPreResetProcFunc, 0, arg1, arg2);
}

uint32_t DXR_CreateIOWorker(uint32_t arg1, uint32_t arg2, void *arg3) {
    return Call(DXR_GetDevHooks()->createIOWorker, 0, arg1, arg2, arg3);
}

uint32_t DXR_GetPreResetMode(void *mode) {
    return Call(DXR_GetDevHooks()->getPreResetMode, 0, mode);
}

void DXR_SetPreResetMode(uint32_t mode) {
    Call(DXR_GetDevHooks()->setPreResetMode, mode);
}

uint32_t DXR_VSfuLoadPacket(uint32_t arg1, void *packet, uint32_t arg3, uint32_t arg4,
                            uint32_t arg5) {
    return Call(DXR_GetDevHooks()->vSfuLoadPacket, 0, arg1, packet, arg3, arg4, arg5);
}

uint32_t DXR_GetSoftPcbVersion() {
    return Call(DXR_GetDevHooks()->getSoftPcbVersion, 0);
}

uint32_t DXR_IsIssuState() {
    return Call(DXR_GetDevHooks()->isIssuState, 0);
}

uint32_t DXR_WriteMdio(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4, uint16_t arg5,
                       uint16_t value) {
    return Call(DXR_GetDevHooks()->writeMdio, 0, arg1, arg2, arg3, arg4, arg5, value);
}

uint32_t DXR_ReadMdio(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4, uint16_t arg5,
                      void *value) {
    return Call(DXR_GetDevHooks()->readMdio, 0, arg1, arg2, arg3, arg4, arg5, value);
}

uint32_t DXR_EnableMdioParallel(uint32_t arg1, uint32_t arg2, uint16_t arg3) {
    return Call(DXR_GetDevHooks()->enableMdioParallel, 0, arg1, arg2, arg3);
}

uint32_t DXR_CdrResetChip(uint32_t arg1, uint32_t arg2, uint32_t arg3) {
    return Call(DXR_GetDevHooks()->cdrResetChip, 0, arg1, arg2, arg3);
}

uint32_t DXR_CmdCallback(void *arg1, uint32_t arg2) {
    return Call(DXR_GetDevHooks()->cmdCallback, 0, arg1, arg2);
}

uint32_t DXR_IntrSetRegist(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4) {
    return Call(DXR_GetDevHooks()->intrSetRegist, 0, arg1, arg2, arg3, arg4);
}

uint32_t DXR_GetBoardDrvType() {
    return Call(DXR_GetDevHooks()->getBoardDrvType, 0xFFFFFFFF);
}

uint32_t DXR_GetWofflineState(uint32_t arg1, void *state) {
    return Call(DXR_GetDevHooks()->getWofflineState, 1, arg1, state);
}

uint32_t DXR_CheckSmiLosEnable(uint32_t arg1, uint32_t arg2) {
    return Call(DXR_GetDevHooks()->checkSmiLosEnable, 1, arg1, arg2);
}

uint32_t DXR_WriteFlashInfo(void *info) {
    return Call(DXR_GetDevHooks()->writeFlashInfo, 1, info);
}
