// What each of the 226 slots has to be, entered a second time and independently of
// hooks/slots.yaml: an error in that list shows as a difference from this one. Only the names of
// the members come from the headers; a slot's place in the table is counted from its group's first
// slot below.
#ifndef DXR_TESTS_SLOTS_EXPECTED_SLOTS_H
#define DXR_TESTS_SLOTS_EXPECTED_SLOTS_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "dxr_api.h"
#include "slots/slot_binding.h"

namespace dxrtest {

constexpr size_t kSlotCount = 226;
constexpr size_t kTableBytes = 1808;

struct Group {
    std::string_view name;
    size_t first;
    size_t size;
};

constexpr Group kGroups[] = {
    {"alarm", 0, 3},     {"db", 3, 19},          {"dev", 22, 68},   {"init", 90, 5},
    {"list", 95, 8},     {"memory", 103, 2},     {"msg", 105, 11},  {"print", 116, 19},
    {"system", 135, 16}, {"task", 151, 8},       {"tblm", 159, 11}, {"time", 170, 15},
    {"cfg", 185, 11},    {"jsonDecode", 196, 4}, {"np", 200, 3},    {"plugin", 203, 8},
    {"hash", 211, 11},   {"ffm", 222, 2},        {"kpi", 224, 1},   {"temperature", 225, 1},
};

// What a function gives while its slot is empty, and the type of its result ("u32", "p", ...).
struct Outcome {
    std::string_view type;
    Word fallback = 0;
    const char *text = nullptr;  // not null: the fallback is a pointer to this constant text
};

constexpr Outcome Nothing() {
    return {"void"};
}
constexpr Outcome U32(uint32_t fallback) {
    return {"u32", fallback};
}
constexpr Outcome U64(uint64_t fallback) {
    return {"u64", fallback};
}
constexpr Outcome Null() {
    return {"p"};
}
constexpr Outcome Text(const char *text) {
    return {"p", 0, text};
}

enum class Use {
    kDispatched,  // one exported function passes its own arguments on
    kOwnRule,     // reached by functions that pass on something else
    kUnread,      // kept for the host
};

struct FixedArgument {
    size_t position;
    Word value;
};

struct Slot {
    Use use;
    std::string_view group;
    size_t index;
    std::string_view name;  // the exported function's, or the member's where there is none
    std::string_view arguments;
    Outcome outcome;
    size_t declaredOffset;
    Binding binding;
    std::vector<FixedArgument> fixed = {};  // any other value is refused before the slot is read

    [[nodiscard]] Slot With(size_t position, Word value) const {
        Slot slot = *this;
        slot.fixed.push_back({position, value});
        return slot;
    }

    [[nodiscard]] size_t Absolute() const {
        for (const Group &candidate : kGroups) {
            if (candidate.name == group) {
                return candidate.first + index;
            }
        }
        throw std::logic_error("a slot of an unknown group");
    }
};

// clang-format off
#define DXR_SLOT(group, index, member, function, arguments, outcome)                            \
    Slot{Use::kDispatched, #group, index, #function, arguments, outcome,                        \
         offsetof(DxrHooks, group.member),                                                      \
         Bind<&function, decltype(DxrHooks{}.group.member)>()}
#define DXR_OWN_RULE(group, index, member)                                                      \
    Slot{Use::kOwnRule, #group, index, #member, "", Nothing(), offsetof(DxrHooks, group.member), {}}
#define DXR_UNREAD(group, index, member)                                                        \
    Slot{Use::kUnread, #group, index, #member, "", Nothing(), offsetof(DxrHooks, group.member), {}}
// clang-format on

// Arguments: u8, u16, u32 are unsigned numbers of that width, p is anything of 64 bits.
inline const std::vector<Slot> &ExpectedSlots() {
    static const std::vector<Slot> slots = {
        DXR_SLOT(alarm, 0, alarm, DXR_Alarm, "u32, u32, u32, u32, p", U32(1)),
        DXR_SLOT(alarm, 1, fmAlarm, DXR_FmAlarm, "p", U32(0)),
        DXR_UNREAD(alarm, 2, reserved2),
        DXR_SLOT(db, 0, selectDbRecordCount, DXR_SelectDbRecordCount, "p, p", U32(0)),
        DXR_SLOT(db, 1, selectDbRecordLimit, DXR_SelectDbRecordLimit, "p, u32, p", U32(0)),
        DXR_SLOT(db, 2, selectFirstDbRecord, DXR_SelectFirstDbRecord, "p, p", U32(0)),
        DXR_SLOT(db, 3, getLocalFicIdFromDb, DXR_GetLocalFicIdFromDb, "u32, u32, u32, p", U32(0)),
        DXR_SLOT(db, 4, getTmTypeByGlobalFicIdFromDb, DXR_GetTmTypeByGlobalFicIdFromDb, "u32, p",
                 U32(0)),
        DXR_SLOT(db, 5, getTmTypeByLocalFicIdFromDb, DXR_GetTmTypeByLocalFicIdFromDb, "u32, u32, p",
                 U32(0)),
        DXR_SLOT(db, 6, getChipPosByGlobalFicIdFromDb, DXR_GetChipPosByGlobalFicIdFromDb, "u32, p",
                 U32(0)),
        DXR_SLOT(db, 7, getChipPosByLocalFicIdFromDb, DXR_GetChipPosByLocalFicIdFromDb,
                 "u32, u32, p", U32(0)),
        DXR_SLOT(db, 8, getFicIdByNodeGroupIdFromDb, DXR_GetFicIdByNodeGroupIdFromDb,
                 "u32, p, p, u32", U32(0)),
        DXR_SLOT(db, 9, getNgTmCfgFromDb, DXR_GetNgTmCfgFromDb, "u32, u32, u32, p", U32(0)),
        DXR_SLOT(db, 10, getNgTmPortInfoFromDb, DXR_GetNgTmPortInfoFromDb, "u32, u32, u32, p",
                 U32(0)),
        DXR_SLOT(db, 11, getNgTmPortInfoByTmPortFromDb, DXR_GetNgTmPortInfoByTmPortFromDb,
                 "u32, u32, u32, p", U32(0)),
        DXR_SLOT(db, 12, getNgTmPortInfoByVsqIdFromDb, DXR_GetNgTmPortInfoByVsqIdFromDb,
                 "u32, u32, p", U32(0)),
        DXR_SLOT(db, 13, getNgTmSrvPortInfoFromDb, DXR_GetNgTmSrvPortInfoFromDb,
                 "u32, u32, u32, u32, p", U32(0)),
        DXR_SLOT(db, 14, getNgTmSrvPortByVsqFromDb, DXR_GetNgTmSrvPortByVsqFromDb, "u32, p",
                 U32(0)),
        DXR_SLOT(db, 15, isMcRepByTm, DXR_IsMcRepByTm, "", U32(1)),
        DXR_SLOT(db, 16, getDestFicPort, DXR_GetDestFicPort, "p, p", Null()),
        DXR_SLOT(db, 17, getNgTmSrvPortByFicIdFromDb, DXR_GetNgTmSrvPortByFicIdFromDb,
                 "u32, u32, p, u32, p", U32(0)),
        DXR_SLOT(db, 18, getLpuDevId, DXR_GetLpuDevId, "u32", U32(0xFFFFFFFF)),
        DXR_SLOT(dev, 0, boardIsMaster, DXR_BoardIsMaster, "", U32(1)),
        DXR_SLOT(dev, 1, getDevAttrValue, DXR_GetDevAttrValue, "u32, u32, p", U32(0)),
        DXR_SLOT(dev, 2, setDevAttrValue, DXR_SetDevAttrValue, "u32, u32, u32", U32(0)),
        DXR_SLOT(dev, 3, setDevMmapType, DXR_SetDevMmapType, "u32, u32", U32(0)),
        DXR_SLOT(dev, 4, getEnv, DXR_GetEnv, "p, p, u32", U32(0)),
        DXR_SLOT(dev, 5, setEnv, DXR_SetEnv, "p, p, u32", U32(0)),
        DXR_SLOT(dev, 6, saveEnv, DXR_SaveEnv, "", U32(0)),
        DXR_SLOT(dev, 7, saveEnvBlock, DXR_SaveEnvBlock, "", U32(0)),
        DXR_SLOT(dev, 8, getMemEnv, DXR_GetMemEnv, "p, p, u32", U32(0)),
        DXR_SLOT(dev, 9, setMemEnv, DXR_SetMemEnv, "p, p, u32", U32(0)),
        DXR_SLOT(dev, 10, saveMemEnv, DXR_SaveMemEnv, "", U32(0)),
        DXR_SLOT(dev, 11, getPcieConfigRegValue, DXR_GetPcieConfigRegValue, "u32, u32, p", U32(0)),
        DXR_SLOT(dev, 12, setPcieConfigRegValue, DXR_SetPcieConfigRegValue, "u32, u32, u32",
                 U32(0)),
        DXR_SLOT(dev, 13, getRsvMemMmapAddr, DXR_GetRsvMemMmapAddr, "p, u32, p", U32(0)),
        DXR_SLOT(dev, 14, getResetMode, DXR_GetResetMode, "p", U32(0)),
        DXR_SLOT(dev, 15, isRunInLs, DXR_IsRunInLs, "", U32(0)),
        DXR_SLOT(dev, 16, scanPcie, DXR_ScanPcie, "u32", U32(0)),
        DXR_SLOT(dev, 17, getRsvdMem, DXR_GetRsvdMem, "u32, p, p", U32(0)),
        DXR_SLOT(dev, 18, getProductFamilyType, DXR_GetProductFamilyType, "", U32(2)),
        DXR_SLOT(dev, 19, isCentralPurchaseMode, DXR_IsCentralPurchaseMode, "", U32(0)),
        DXR_SLOT(dev, 20, mmapDev, DXR_MmapDev, "u32, u32", Null()),
        DXR_SLOT(dev, 21, munmapDev, DXR_MunmapDev, "p, u32", U32(0)),
        DXR_SLOT(dev, 22, openDev, DXR_OpenDev, "p", U32(0)),
        DXR_SLOT(dev, 23, openDevWithOption, DXR_OpenDevWithOption, "p, u32", U32(0)),
        DXR_SLOT(dev, 24, closeDev, DXR_CloseDev, "u32", U32(0)),
        DXR_SLOT(dev, 25, controlDev, DXR_ControlDev, "p", U32(0)),
        DXR_SLOT(dev, 26, writeDev, DXR_WriteDev, "u32, p, u32, p", U32(0)),
        DXR_SLOT(dev, 27, readI2c, DXR_ReadI2c, "p", U32(0)),
        DXR_SLOT(dev, 28, writeI2c, DXR_WriteI2c, "p", U32(0)),
        DXR_SLOT(dev, 29, readReg16, DXR_ReadReg16, "u32, u32, u32, p", U32(0)),
        DXR_SLOT(dev, 30, writeReg16, DXR_WriteReg16, "u32, u32, u32, u16", U32(0)),
        DXR_SLOT(dev, 31, readReg, DXR_ReadReg, "u32, u32, u32, p", U32(0)),
        DXR_SLOT(dev, 32, writeReg, DXR_WriteReg, "u32, u32, u32, u32", U32(0)),
        DXR_SLOT(dev, 33, getServiceType, DXR_GetServiceType, "", U32(0)),
        DXR_SLOT(dev, 34, getVoltageKey, DXR_GetVoltageKey, "u32, u32, u32, p", U32(0)),
        DXR_SLOT(dev, 35, setVoltage, DXR_SetVoltage, "u32, u32, u32", U32(0)),
        DXR_SLOT(dev, 36, getVoltage, DXR_GetVoltage, "u32, u32, p", U32(0)),
        DXR_SLOT(dev, 37, hardResetChip, DXR_HardResetChip, "u32, u32, u32", U32(0)),
        DXR_SLOT(dev, 38, probePcie, DXR_ProbePcie, "u32, u32, u32", U32(0)),
        DXR_SLOT(dev, 39, initSafeIo, DXR_InitSafeIo, "", Nothing()),
        DXR_SLOT(dev, 40, getBomId, DXR_GetBomId, "u32, u32, p", U32(0)),
        DXR_SLOT(dev, 41, readPcie, DXR_ReadPcie, "u32, p, p", U32(0)),
        DXR_SLOT(dev, 42, writePcie, DXR_WritePcie, "u32, p, u32", U32(0)),
        DXR_SLOT(dev, 43, getDeviceBar, DXR_GetDeviceBar, "u32, u32, p, p", U32(0)),
        DXR_SLOT(dev, 44, resetBoard, DXR_ResetBoard, "u32", Nothing()),
        DXR_SLOT(dev, 45, getLocalPcbVersion, DXR_GetLocalPcbVersion, "", U32(0)),
        DXR_SLOT(dev, 46, getHardId, DXR_GetHardId, "u32, p", U32(0xFFFFFFFF)),
        DXR_SLOT(dev, 47, getPcbVersion, DXR_GetPcbVersion, "", U32(0)),
        DXR_SLOT(dev, 48, chmodRsvMemFile, DXR_ChmodRsvMemFile, "p, u32", U32(0)),
        DXR_SLOT(dev, 49, getVsfuDevName, DXR_GetVsfuDevName, "p, u32", U32(0)),
        DXR_SLOT(dev, 50, rebootOS, DXR_RebootOS, "u32, p", U32(0)),
        DXR_SLOT(dev, 51, registerPreResetProcFunc, DXR_RegisterPreResetProcFunc, "p, p", U32(0)),
        DXR_SLOT(dev, 52, createIOWorker, DXR_CreateIOWorker, "u32, u32, p", U32(0)),
        DXR_SLOT(dev, 53, getPreResetMode, DXR_GetPreResetMode, "p", U32(0)),
        DXR_SLOT(dev, 54, setPreResetMode, DXR_SetPreResetMode, "u32", Nothing()),
        DXR_SLOT(dev, 55, vSfuLoadPacket, DXR_VSfuLoadPacket, "u32, p, u32, u32, u32", U32(0)),
        DXR_SLOT(dev, 56, getSoftPcbVersion, DXR_GetSoftPcbVersion, "", U32(0)),
        DXR_SLOT(dev, 57, isIssuState, DXR_IsIssuState, "", U32(0)),
        DXR_SLOT(dev, 58, writeMdio, DXR_WriteMdio, "u32, u32, u8, u8, u16, u16", U32(0)),
        DXR_SLOT(dev, 59, readMdio, DXR_ReadMdio, "u32, u32, u8, u8, u16, p", U32(0)),
        DXR_SLOT(dev, 60, enableMdioParallel, DXR_EnableMdioParallel, "u32, u32, u16", U32(0)),
        DXR_SLOT(dev, 61, cdrResetChip, DXR_CdrResetChip, "u32, u32, u32", U32(0)),
        DXR_SLOT(dev, 62, cmdCallback, DXR_CmdCallback, "p, u32", U32(0)),
        DXR_SLOT(dev, 63, intrSetRegist, DXR_IntrSetRegist, "u32, u32, p, p", U32(0)),
        DXR_SLOT(dev, 64, getBoardDrvType, DXR_GetBoardDrvType, "", U32(0xFFFFFFFF)),
        DXR_SLOT(dev, 65, getWofflineState, DXR_GetWofflineState, "u32, p", U32(1)),
        DXR_SLOT(dev, 66, checkSmiLosEnable, DXR_CheckSmiLosEnable, "u32, u32", U32(1)),
        DXR_SLOT(dev, 67, writeFlashInfo, DXR_WriteFlashInfo, "p", U32(1)),
        DXR_SLOT(init, 0, registerModule, DXR_RegisterWithoutVelderFuncs, "p", Nothing()),
        DXR_SLOT(init, 1, unRegister, DXR_UnRegister, "", Nothing()),
        DXR_SLOT(init, 2, setUdf, DXR_SetUdf, "p", Nothing()),
        DXR_SLOT(init, 3, registerVelderFuncs, DXR_RegisterVelderFuncs, "u8", Nothing()),
        DXR_SLOT(init, 4, getThis, DXR_GetThis, "", Null()),
        DXR_SLOT(list, 0, createSll, DXR_CreateSll, "", Null()),
        DXR_SLOT(list, 1, addSll, DXR_AddSll, "p, p, u32", Nothing()),
        DXR_SLOT(list, 2, removeSll, DXR_RemoveSll, "p, p", Nothing()),
        DXR_SLOT(list, 3, destroySll, DXR_DestroySll, "p", Nothing()),
        DXR_SLOT(list, 4, sslGetCount, DXR_SslGetCount, "p", U32(0)),
        DXR_SLOT(list, 5, sslGetNextNode, DXR_SslGetNextNode, "p, p", Null()),
        DXR_SLOT(list, 6, sslGetNodeData, DXR_SslGetNodeData, "p", Null()),
        DXR_SLOT(list, 7, sslProcSingleNode, DXR_SslProcSingleNode, "p, p, u32", U32(1)),
        DXR_SLOT(memory, 0, release, DXR_Free, "p, p, u32", Nothing()),
        DXR_SLOT(memory, 1, allocate, DXR_Malloc, "u32, u32, p, u32", Null()),
        DXR_SLOT(msg, 0, sendMsg, DXR_SendMsg, "p", U32(0)),
        DXR_SLOT(msg, 1, getTriggerTypeByEvent, DXR_GetTriggerTypeByEvent, "u32", U32(0)),
        DXR_SLOT(msg, 2, getErrTypeByEvent, DXR_GetErrTypeByEvent, "u32", U32(0)),
        DXR_SLOT(msg, 3, getTriggerStr, DXR_GetTriggerStr, "u32", Text("invalid")),
        DXR_SLOT(msg, 4, sendMsgToMpu, DXR_SendMsgToMpu, "p", U32(0)),
        DXR_SLOT(msg, 5, sendMsgToDevm, DXR_SendMsgToDevm, "p", U32(0)),
        DXR_SLOT(msg, 6, sendMsgToLpu, DXR_SendMsgToLpu, "p", U32(0)),
        DXR_SLOT(msg, 7, sendMsgToSfu, DXR_SendMsgToSfu, "p", U32(0)),
        DXR_SLOT(msg, 8, sendMsgToNp, DXR_SendMsgToNp, "u32", Nothing()),
        DXR_SLOT(msg, 9, sendEopEvent, DXR_SendEopEvent, "u32, p", U32(1)),
        DXR_SLOT(msg, 10, setMeshFd, DXR_SetMeshFd, "u32", Nothing()),
        DXR_SLOT(print, 0, reportAssert, DXR_Assert, "p, u32", U32(0)),
        DXR_SLOT(print, 1, enableLogOutput, DXR_EnableLogOutput, "u32, u32", U32(0)),
        DXR_OWN_RULE(print, 2, print),
        DXR_SLOT(print, 3, writeEventLog, DXR_WriteEventLog, "p", U32(0)),
        DXR_SLOT(print, 4, diagLogFilter, DXR_DiagLogFilter, "p", U32(0)),
        DXR_SLOT(print, 5, getDbgLevel, DXR_GetDbgLevel, "", U32(0)),
        DXR_SLOT(print, 6, setDbgLevel, DXR_SetDbgLevel, "u32", U32(0)),
        DXR_UNREAD(print, 7, reserved7),
        DXR_OWN_RULE(print, 8, writePrivateLog),
        DXR_SLOT(print, 9, logFilterDestroy, DXR_LOGFILTER_Destroy, "p", U32(0)),
        DXR_SLOT(print, 10, logFilterGetFileName, DXR_LOGFILTER_GetFileName, "p", Null()),
        DXR_OWN_RULE(print, 11, logFilterFilterSameLog),
        DXR_OWN_RULE(print, 12, logFilterFilterDiffKeyLog),
        DXR_SLOT(print, 13, logFilterFilterLargeDiffKeyLog, DXR_LOGFILTER_FilterLargeDiffKeyLog,
                 "p, p, u32", U32(0)),
        DXR_SLOT(print, 14, logFilterRegister, DXR_LOGFILTER_Register, "p", U32(0)),
        DXR_SLOT(print, 15, logFilterRegisterDiffLogForFramework,
                 DXR_LOGFILTER_RegisterDiffLogForFramework, "u32, p, p, p", U32(0)),
        DXR_SLOT(print, 16, logFilterShowCurInfo, DXR_LOGFILTER_ShowCurInfo, "u32, p, p, u32",
                 U32(0)),
        DXR_SLOT(print, 17, logFilterShowHisInfo, DXR_LOGFILTER_ShowHisInfo, "p", U32(0)),
        DXR_SLOT(print, 18, recordWarmRebootMileStone, DXR_RecordWarmRebootMileStone, "p", U32(0)),
        DXR_SLOT(system, 0, restorePatch, DXR_RestorePatch, "", U32(0)),
        DXR_SLOT(system, 1, getEnvValueById, DXR_GetEnvValueById, "u32, p", U32(0)),
        DXR_SLOT(system, 2, getLrId, DXR_GetLrId, "", U32(0)),
        DXR_SLOT(system, 3, startTimer, DXR_StartTimer, "p", U32(0)),
        DXR_SLOT(system, 4, stopTimer, DXR_StopTimer, "p", U32(0)),
        DXR_SLOT(system, 5, fOpen, DXR_FOpen, "p, p", Null()),
        DXR_SLOT(system, 6, fClose, DXR_FClose, "p", U32(0)),
        DXR_SLOT(system, 7, fRead, DXR_FRead, "p, u32, u32, p", U32(0)),
        DXR_SLOT(system, 8, fileLength, DXR_FileLength, "p", U32(0)),
        DXR_SLOT(system, 9, getBinFolderName, DXR_GetBinFolderName, "", Text(".")),
        DXR_SLOT(system, 10, getSysWorkPath, DXR_GetSysWorkPath, "p, u32", U32(0)),
        DXR_SLOT(system, 11, getCpuUseRate, DXR_GetCpuUseRate, "", U32(0)),
        DXR_SLOT(system, 12, zipBuffer, DXR_ZipBuffer, "u32, p, p, p", U32(0)),
        DXR_SLOT(system, 13, setHeartMon, DXR_SetHeartMon, "p, u32, u32, u32", U32(0)),
        DXR_SLOT(system, 14, stopHeartToMon, DXR_StopHeartToMon, "p", U32(0)),
        DXR_SLOT(system, 15, fSeek, DXR_FSeek, "p, u32, u32", U32(0)),
        DXR_SLOT(task, 0, readEvent, DXR_ReadEvent, "u32, u32, u32, p", U32(0)).With(1, 0),
        DXR_SLOT(task, 1, writeEvent, DXR_WriteEvent, "u32, u32", U32(0)),
        DXR_SLOT(task, 2, createTask, DXR_CreateTask, "p, p, p, u32, p, u32, p", U32(0)).With(5, 1),
        DXR_SLOT(task, 3, delayTask, DXR_DelayTask, "u32", U32(0)),
        DXR_SLOT(task, 4, initMutex, DXR_InitMutex, "p, p", U32(0)),
        DXR_SLOT(task, 5, destroyMutex, DXR_DestroyMutex, "p", U32(0)),
        DXR_SLOT(task, 6, lockMutex, DXR_LockMutex, "p", U32(0)),
        DXR_SLOT(task, 7, unlockMutex, DXR_UnlockMutex, "p", U32(0)),
        DXR_SLOT(tblm, 0, dynamicCreateTable, DXR_DynamicCreateTable, "u32", U32(0)),
        DXR_SLOT(tblm, 1, getChipTblmData, DXR_GetChipTblmData, "u32, p", U32(0)),
        DXR_SLOT(tblm, 2, setChipTblmData, DXR_SetChipTblmData, "u32, p", U32(0)),
        DXR_SLOT(tblm, 3, deleteChipTblmData, DXR_DeleteChipTblmData, "u32, u32, p, u32", U32(0)),
        DXR_SLOT(tblm, 4, getCrossTblmFirstData, DXR_GetCrossTblmFirstData, "p, p, p", U32(1)),
        DXR_SLOT(tblm, 5, getLinearTblmFirstData, DXR_GetLinearTblmFirstData, "p, p", U32(1)),
        DXR_SLOT(tblm, 6, getTblmNextData, DXR_GetTblmNextData, "u32, p", U32(1)),
        DXR_SLOT(tblm, 7, releaseTblm, DXR_ReleaseTblm, "u32, u32", Nothing()),
        DXR_SLOT(tblm, 8, getTblmAttr, DXR_GetTblmAttr, "u32, p", U32(1)),
        DXR_SLOT(tblm, 9, getCstPoolCount, DXR_GetCstPoolCount, "u32, u16, u32, p", U32(0)),
        DXR_SLOT(tblm, 10, setChipTblmDataAndMask, DXR_SetChipTblmDataAndMask, "u32, p", U32(0)),
        DXR_SLOT(time, 0, getSysTime, DXR_GetSysTime, "p", Nothing()),
        DXR_SLOT(time, 1, sysTime2Str, DXR_SysTime2Str, "p, u32, p", U32(0)),
        DXR_SLOT(time, 2, sysTimeSec2Time, DXR_SysTimeSec2Time, "u32, p", Nothing()),
        DXR_SLOT(time, 3, tick2Ms, DXR_Tick2Ms, "p", Nothing()),
        DXR_SLOT(time, 4, getCurrMs, DXR_GetCurrMs, "", U64(0)),
        DXR_SLOT(time, 5, getCurrSec, DXR_GetCurrSec, "", U32(0)),
        DXR_SLOT(time, 6, getCurrentTick, DXR_GetCurrentTick, "p", Nothing()),
        DXR_SLOT(time, 7, getCpuTick, DXR_GetCpuTick, "p, p", Nothing()),
        DXR_SLOT(time, 8, getCurrTime, DXR_GetCurrTime, "p, u32, p", Nothing()),
        DXR_SLOT(time, 9, calSystimeRelSec, DXR_CalSystimeRelSec, "p, p, p", U32(0)),
        DXR_SLOT(time, 10, getStartupTimeStamp, DXR_GetStartupTimeStamp, "p", Nothing()),
        DXR_SLOT(time, 11, addStartupTime, DXR_AddStartupTime, "p", Nothing()),
        DXR_SLOT(time, 12, getGMT, DXR_GetGMT, "p", U32(0)),
        DXR_SLOT(time, 13, getLocalTime, DXR_GetLocalTime, "p, p", U32(0)),
        DXR_SLOT(time, 14, getStartupTimeSec, DXR_GetStartupTimeSec, "", U32(0)),
        DXR_SLOT(cfg, 0, cfgReadBoardData, DXR_CFG_ReadBoardData, "p, u32, u32", Nothing()),
        DXR_SLOT(cfg, 1, cfgDisplayBoardData, DXR_CFG_DisplayBoardData, "p, u32", U32(0)),
        DXR_SLOT(cfg, 2, cfgClearBoardData, DXR_CFG_ClearBoardData, "", Nothing()),
        DXR_SLOT(cfg, 3, cfgGetBoardData, DXR_CFG_GetBoardData, "u32", U32(0)),
        DXR_SLOT(cfg, 4, cfgIsFromBoardData, DXR_CFG_IsFromBoardData, "u32", U32(0)),
        DXR_SLOT(cfg, 5, cfgGetMemParam, DXR_CFG_GetMemParam, "u32", Null()),
        DXR_SLOT(cfg, 6, cfgIsFromMemParam, DXR_CFG_IsFromMemParam, "u32", U32(0)),
        DXR_SLOT(cfg, 7, cfgGetAdvancedSpec, DXR_CFG_GetAdvancedSpec, "u32, u32", Null()),
        DXR_SLOT(cfg, 8, cfgIsFromBoardAdvancedSpec, DXR_CFG_IsFromBoardAdvancedSpec, "u32",
                 U32(0)),
        DXR_SLOT(cfg, 9, cfgGetPhyBoardInfo, DXR_CFG_GetPhyBoardInfo, "u32", U32(0)),
        DXR_SLOT(cfg, 10, cfgIsFromPhyBoardInfo, DXR_CFG_IsFromPhyBoardInfo, "u32", U32(0)),
        DXR_UNREAD(jsonDecode, 0, reserved0),
        DXR_UNREAD(jsonDecode, 1, reserved1),
        DXR_UNREAD(jsonDecode, 2, reserved2),
        DXR_UNREAD(jsonDecode, 3, reserved3),
        DXR_SLOT(np, 0, setMcPortMap, DXR_SetMcPortMap, "u32, p", U32(0)),
        DXR_SLOT(np, 1, getQueueDropStat, DXR_GetQueueDropStat, "u32, u32, u32, u8, p", U32(0)),
        DXR_SLOT(np, 2, getAbsPfcLogicSp, DXR_GetAbsPfcLogicSp, "u32, u32, u32, p", U32(0)),
        DXR_SLOT(plugin, 0, registerBrdPlugin, DXR_RegisterBrdPlugin, "p", U32(0)),
        DXR_SLOT(plugin, 1, unRegisterBrdPlugin, DXR_UnRegisterBrdPlugin, "p", U32(0)),
        DXR_SLOT(plugin, 2, loadBrdPlugin, DXR_LoadBrdPlugin, "p", U32(0)),
        DXR_SLOT(plugin, 3, unLoadBrdPlugin, DXR_UnLoadBrdPlugin, "p", Nothing()),
        DXR_SLOT(plugin, 4, isBrdPluginLoaded, DXR_IsBrdPluginLoaded, "p", U32(0)),
        DXR_SLOT(plugin, 5, checkBrdPlugin, DXR_CheckBrdPlugin, "p", U32(0)),
        DXR_SLOT(plugin, 6, queryBrdPlugin, DXR_QueryBrdPlugin, "p, p, p", U32(0)),
        DXR_SLOT(plugin, 7, displayBrdPlugin, DXR_DisplayBrdPlugin, "p, p, p, u32", Nothing()),
        DXR_SLOT(hash, 0, hashCount, DXR_HashCount, "p", U32(0)),
        DXR_SLOT(hash, 1, hashCreate, DXR_HashCreate, "p", Null()),
        DXR_SLOT(hash, 2, hashFindKey, DXR_HashFindKey, "p, p", Null()),
        DXR_SLOT(hash, 3, hashFree, DXR_HashFree, "p", U32(0)),
        DXR_SLOT(hash, 4, hashGetBucketNum, DXR_HashGetBucketNum, "p", U32(0)),
        DXR_SLOT(hash, 5, hashGetFirst, DXR_HashGetFirst, "p", Null()),
        DXR_SLOT(hash, 6, hashGetNext, DXR_HashGetNext, "p, p", Null()),
        DXR_SLOT(hash, 7, hashGetMaxItem, DXR_HashGetMaxItem, "p", U32(0)),
        DXR_SLOT(hash, 8, hashInsert, DXR_HashInsert, "p, p, p, u32, u32", U32(0)),
        DXR_SLOT(hash, 9, hashRemove, DXR_HashRemove, "p, p", U32(0)),
        DXR_SLOT(hash, 10, hashGetFromEntry, DXR_HashGetFromEntry, "p, u32, u32", Null()),
        DXR_SLOT(ffm, 0, ffmStartFaultCheck, DXR_FfmStartFaultCheck, "", U32(0)),
        DXR_SLOT(ffm, 1, ffmStopFaultCheck, DXR_FfmStopFaultCheck, "", U32(0)),
        DXR_SLOT(kpi, 0, updateKpiAttrVal, DXR_UpdateKpiAttrVal, "p, u32", U32(0)),
        DXR_SLOT(temperature, 0, registerQueryTempFunc, DXR_RegisterQueryTempFunc, "u32, p",
                 Nothing()),
    };
    return slots;
}

#undef DXR_SLOT
#undef DXR_OWN_RULE
#undef DXR_UNREAD

}  // namespace dxrtest

#endif  // DXR_TESTS_SLOTS_EXPECTED_SLOTS_H
