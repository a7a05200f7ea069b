/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The hook table: the host's functions, 226 slots in 20 groups, and how to reach them.
 *
 * The host fills one DxrHooks and hands it over with DXR_RegisterHooks before anybody calls a
 * service. Each service function (a dispatcher) reads its slot at the moment it is called. If
 * the slot is set, the hook gets exactly the dispatcher's arguments and its result is passed on
 * unchanged; if it is empty, the dispatcher gives the fallback named at its declaration, calls
 * nothing and logs nothing.
 *
 * A 32-bit result is a status, 0 for success, unless the declaration says what it tells; a
 * function that tells whether something is so answers 1 or 0.
 *
 * Cost: one getter call, one load, one test, one jump. No allocation, no lock.
 * Threads: the table is plain memory. Register before other threads call services; a call that
 * races with a registration is not supported. Otherwise a dispatcher is as thread-safe as its
 * hook.
 * Ownership: the library copies the table and never frees, checks or calls anything in it by
 * itself. What pointers in arguments and results point at belongs to whom the host says.
 *
 * Parameters named argN are the host's to define and pass through unread; what the development
 * host makes of them stands at each function, pointers with their direction and size: in what the
 * host reads, out what it writes; a text ends with a NUL, the first uint32_t of a record counts its
 * bytes, and dxr_devhost/ has the header that says the rest. A pointer is void * where the library
 * does not know more; a 64-bit handle fits as well. Groups, slots and their order are the binary
 * interface with the host: nothing moves. */
#ifndef DXR_HOOKS_H
#define DXR_HOOKS_H

#include "dxr/base.h"
#include "dxr/types.h"

DXR_EXTERN_C_BEGIN

/* Alarms raised with the host. Functions: dxr/alarm.h. */
typedef struct DxrAlarmHooks {
    uint32_t (*alarm)(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4, void *arg5);
    uint32_t (*fmAlarm)(void *alarm);
    DxrReservedHook reserved2;
} DxrAlarmHooks;

/* Record selection and look-ups in the system database. Functions: dxr/database.h. */
typedef struct DxrDbHooks {
    uint32_t (*selectDbRecordCount)(void *query, uint32_t *count);
    uint32_t (*selectDbRecordLimit)(void *query, uint32_t limit, void *records);
    uint32_t (*selectFirstDbRecord)(void *query, void *record);
    uint32_t (*getLocalFicIdFromDb)(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *ficId);
    uint32_t (*getTmTypeByGlobalFicIdFromDb)(uint32_t ficId, void *type);
    uint32_t (*getTmTypeByLocalFicIdFromDb)(uint32_t arg1, uint32_t arg2, void *type);
    uint32_t (*getChipPosByGlobalFicIdFromDb)(uint32_t ficId, void *position);
    uint32_t (*getChipPosByLocalFicIdFromDb)(uint32_t arg1, uint32_t arg2, void *position);
    uint32_t (*getFicIdByNodeGroupIdFromDb)(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4);
    uint32_t (*getNgTmCfgFromDb)(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *config);
    uint32_t (*getNgTmPortInfoFromDb)(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *info);
    uint32_t (*getNgTmPortInfoByTmPortFromDb)(uint32_t arg1, uint32_t arg2, uint32_t arg3,
                                              void *info);
    uint32_t (*getNgTmPortInfoByVsqIdFromDb)(uint32_t arg1, uint32_t arg2, void *info);
    uint32_t (*getNgTmSrvPortInfoFromDb)(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4,
                                         void *info);
    uint32_t (*getNgTmSrvPortByVsqFromDb)(uint32_t vsq, void *port);
    uint32_t (*isMcRepByTm)(void);
    void *(*getDestFicPort)(void *arg1, void *arg2);
    uint32_t (*getNgTmSrvPortByFicIdFromDb)(uint32_t arg1, uint32_t arg2, void *arg3, uint32_t arg4,
                                            void *arg5);
    uint32_t (*getLpuDevId)(uint32_t arg1);
} DxrDbHooks;

/* The board, its devices and how to reach them: role and identity, environment blocks, PCIe,
 * registers, I2C and MDIO, device files and mappings, voltages, resets, interrupts, flash
 * information. Functions: dxr/device.h. */
typedef struct DxrDevHooks {
    uint32_t (*boardIsMaster)(void);
    uint32_t (*getDevAttrValue)(uint32_t arg1, uint32_t arg2, void *value);
    uint32_t (*setDevAttrValue)(uint32_t arg1, uint32_t arg2, uint32_t value);
    uint32_t (*setDevMmapType)(uint32_t arg1, uint32_t arg2);
    uint32_t (*getEnv)(const char *name, void *value, uint32_t size);
    uint32_t (*setEnv)(const char *name, void *value, uint32_t size);
    uint32_t (*saveEnv)(void);
    uint32_t (*saveEnvBlock)(void);
    uint32_t (*getMemEnv)(const char *name, void *value, uint32_t size);
    uint32_t (*setMemEnv)(const char *name, void *value, uint32_t size);
    uint32_t (*saveMemEnv)(void);
    uint32_t (*getPcieConfigRegValue)(uint32_t arg1, uint32_t arg2, void *value);
    uint32_t (*setPcieConfigRegValue)(uint32_t arg1, uint32_t arg2, uint32_t value);
    uint32_t (*getRsvMemMmapAddr)(void *arg1, uint32_t arg2, void *address);
    uint32_t (*getResetMode)(void *mode);
    uint32_t (*isRunInLs)(void);
    uint32_t (*scanPcie)(uint32_t arg1);
    uint32_t (*getRsvdMem)(uint32_t arg1, void *arg2, void *arg3);
    uint32_t (*getProductFamilyType)(void);
    uint32_t (*isCentralPurchaseMode)(void);
    void *(*mmapDev)(uint32_t arg1, uint32_t arg2);
    uint32_t (*munmapDev)(void *address, uint32_t size);
    uint32_t (*openDev)(const char *path);
    uint32_t (*openDevWithOption)(const char *path, uint32_t option);
    uint32_t (*closeDev)(uint32_t device);
    uint32_t (*controlDev)(void *request);
    uint32_t (*writeDev)(uint32_t device, void *arg2, uint32_t arg3, void *arg4);
    uint32_t (*readI2c)(void *request);
    uint32_t (*writeI2c)(void *request);
    uint32_t (*readReg16)(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value);
    uint32_t (*writeReg16)(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint16_t value);
    uint32_t (*readReg)(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value);
    uint32_t (*writeReg)(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t value);
    uint32_t (*getServiceType)(void);
    uint32_t (*getVoltageKey)(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *key);
    uint32_t (*setVoltage)(uint32_t arg1, uint32_t arg2, uint32_t voltage);
    uint32_t (*getVoltage)(uint32_t arg1, uint32_t arg2, void *voltage);
    uint32_t (*hardResetChip)(uint32_t arg1, uint32_t arg2, uint32_t arg3);
    uint32_t (*probePcie)(uint32_t arg1, uint32_t arg2, uint32_t arg3);
    void (*initSafeIo)(void);
    uint32_t (*getBomId)(uint32_t arg1, uint32_t arg2, void *bomId);
    uint32_t (*readPcie)(uint32_t arg1, void *arg2, void *value);
    uint32_t (*writePcie)(uint32_t arg1, void *arg2, uint32_t value);
    uint32_t (*getDeviceBar)(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4);
    void (*resetBoard)(uint32_t arg1);
    uint32_t (*getLocalPcbVersion)(void);
    uint32_t (*getHardId)(uint32_t arg1, void *hardId);
    uint32_t (*getPcbVersion)(void);
    uint32_t (*chmodRsvMemFile)(void *file, uint32_t mode);
    uint32_t (*getVsfuDevName)(void *name, uint32_t size);
    uint32_t (*rebootOS)(uint32_t arg1, void *arg2);
    uint32_t (*registerPreResetProcFunc)(void *arg1, void *arg2);
    uint32_t (*createIOWorker)(uint32_t arg1, uint32_t arg2, void *arg3);
    uint32_t (*getPreResetMode)(void *mode);
    void (*setPreResetMode)(uint32_t mode);
    uint32_t (*vSfuLoadPacket)(uint32_t arg1, void *packet, uint32_t arg3, uint32_t arg4,
                               uint32_t arg5);
    uint32_t (*getSoftPcbVersion)(void);
    uint32_t (*isIssuState)(void);
    uint32_t (*writeMdio)(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4, uint16_t arg5,
                          uint16_t value);
    uint32_t (*readMdio)(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4, uint16_t arg5,
                         void *value);
    uint32_t (*enableMdioParallel)(uint32_t arg1, uint32_t arg2, uint16_t arg3);
    uint32_t (*cdrResetChip)(uint32_t arg1, uint32_t arg2, uint32_t arg3);
    uint32_t (*cmdCallback)(void *arg1, uint32_t arg2);
    uint32_t (*intrSetRegist)(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4);
    uint32_t (*getBoardDrvType)(void);
    uint32_t (*getWofflineState)(uint32_t arg1, void *state);
    uint32_t (*checkSmiLosEnable)(uint32_t arg1, uint32_t arg2);
    uint32_t (*writeFlashInfo)(void *info);
} DxrDevHooks;

/* Registration of modules with the host. Functions: dxr/module.h. */
typedef struct DxrInitHooks {
    void (*registerModule)(void *record);
    void (*unRegister)(void);
    void (*setUdf)(void *udf);
    void (*registerVelderFuncs)(uint8_t flag);
    void *(*getThis)(void);
} DxrInitHooks;

/* The host's singly-linked lists. Functions: dxr/list.h. */
typedef struct DxrListHooks {
    void *(*createSll)(void);
    void (*addSll)(void *list, void *data, uint32_t arg3);
    void (*removeSll)(void *list, void *arg2);
    void (*destroySll)(void *list);
    uint32_t (*sslGetCount)(void *list);
    void *(*sslGetNextNode)(void *list, void *node);
    void *(*sslGetNodeData)(void *node);
    uint32_t (*sslProcSingleNode)(void *list, void *arg2, uint32_t arg3);
} DxrListHooks;

/* The host's memory, accounted to module identifiers. Functions: dxr/memory.h. */
typedef struct DxrMemoryHooks {
    void (*release)(void *block, const char *file, uint32_t line);
    void *(*allocate)(uint32_t mid, uint32_t size, const char *file, uint32_t line);
} DxrMemoryHooks;

/* Messages to boards and units, and the types of events. Functions: dxr/message.h. */
typedef struct DxrMsgHooks {
    uint32_t (*sendMsg)(void *msg);
    uint32_t (*getTriggerTypeByEvent)(uint32_t event);
    uint32_t (*getErrTypeByEvent)(uint32_t event);
    const char *(*getTriggerStr)(uint32_t trigger);
    uint32_t (*sendMsgToMpu)(void *msg);
    uint32_t (*sendMsgToDevm)(void *msg);
    uint32_t (*sendMsgToLpu)(void *msg);
    uint32_t (*sendMsgToSfu)(void *msg);
    void (*sendMsgToNp)(uint32_t arg1);
    uint32_t (*sendEopEvent)(uint32_t arg1, void *arg2);
    void (*setMeshFd)(uint32_t fd);
} DxrMsgHooks;

/* Printing, and the host's log. Functions: dxr/print.h. */
typedef struct DxrPrintHooks {
    uint32_t (*reportAssert)(void *value, uint32_t arg2);
    uint32_t (*enableLogOutput)(uint32_t arg1, uint32_t arg2);
    DxrPrintHook print;
    uint32_t (*writeEventLog)(void *event);
    uint32_t (*diagLogFilter)(const char *text);
    uint32_t (*getDbgLevel)(void);
    uint32_t (*setDbgLevel)(uint32_t level);
    DxrReservedHook reserved7;
    DxrPrivateLogHook writePrivateLog;
    uint32_t (*logFilterDestroy)(void *arg1);
    const char *(*logFilterGetFileName)(void *arg1);
    DxrFilterLogHook logFilterFilterSameLog;
    DxrFilterLogHook logFilterFilterDiffKeyLog;
    uint32_t (*logFilterFilterLargeDiffKeyLog)(void *arg1, void *arg2, uint32_t arg3);
    uint32_t (*logFilterRegister)(void *arg1);
    uint32_t (*logFilterRegisterDiffLogForFramework)(uint32_t arg1, void *arg2, void *arg3,
                                                     void *arg4);
    uint32_t (*logFilterShowCurInfo)(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4);
    uint32_t (*logFilterShowHisInfo)(void *arg1);
    uint32_t (*recordWarmRebootMileStone)(void *arg1);
} DxrPrintHooks;

/* Patches, timers, files, the work path and the processor's load. Functions: dxr/system.h. */
typedef struct DxrSystemHooks {
    uint32_t (*restorePatch)(void);
    uint32_t (*getEnvValueById)(uint32_t id, void *value);
    uint32_t (*getLrId)(void);
    uint32_t (*startTimer)(void *timer);
    uint32_t (*stopTimer)(void *timer);
    void *(*fOpen)(const char *path, const char *mode);
    uint32_t (*fClose)(void *file);
    uint32_t (*fRead)(void *buffer, uint32_t size, uint32_t count, void *file);
    uint32_t (*fileLength)(const char *path);
    const char *(*getBinFolderName)(void);
    uint32_t (*getSysWorkPath)(char *buffer, uint32_t size);
    uint32_t (*getCpuUseRate)(void);
    uint32_t (*zipBuffer)(uint32_t arg1, void *arg2, void *arg3, void *arg4);
    uint32_t (*setHeartMon)(void *arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4);
    uint32_t (*stopHeartToMon)(void *arg1);
    uint32_t (*fSeek)(void *file, uint32_t offset, uint32_t origin);
} DxrSystemHooks;

/* Events, tasks, delays and mutexes. Functions: dxr/system_task.h. */
typedef struct DxrTaskHooks {
    uint32_t (*readEvent)(uint32_t arg1, uint32_t mode, uint32_t arg3, void *events);
    uint32_t (*writeEvent)(uint32_t arg1, uint32_t arg2);
    uint32_t (*createTask)(void *arg1, void *arg2, void *arg3, uint32_t arg4, void *arg5,
                           uint32_t flag, void *arg7);
    uint32_t (*delayTask)(uint32_t arg1);
    uint32_t (*initMutex)(void **mutex, void *option);
    uint32_t (*destroyMutex)(void *mutex);
    uint32_t (*lockMutex)(void *mutex);
    uint32_t (*unlockMutex)(void *mutex);
} DxrTaskHooks;

/* The host's table manager, addressed by chip. Functions: dxr/system_table.h. */
typedef struct DxrTblmHooks {
    uint32_t (*dynamicCreateTable)(uint32_t arg1);
    uint32_t (*getChipTblmData)(uint32_t chip, DxrTblmRequest *request);
    uint32_t (*setChipTblmData)(uint32_t chip, DxrTblmRequest *request);
    uint32_t (*deleteChipTblmData)(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen);
    uint32_t (*getCrossTblmFirstData)(void *arg1, void *arg2, void *arg3);
    uint32_t (*getLinearTblmFirstData)(void *arg1, void *arg2);
    uint32_t (*getTblmNextData)(uint32_t arg1, void *arg2);
    void (*releaseTblm)(uint32_t arg1, uint32_t arg2);
    uint32_t (*getTblmAttr)(uint32_t arg1, void *attr);
    uint32_t (*getCstPoolCount)(uint32_t arg1, uint16_t arg2, uint32_t arg3, void *count);
    uint32_t (*setChipTblmDataAndMask)(uint32_t chip, void *record);
} DxrTblmHooks;

/* System time, ticks and start-up time. Functions: dxr/system_time.h. */
typedef struct DxrTimeHooks {
    void (*getSysTime)(DxrSysTime *time);
    uint32_t (*sysTime2Str)(void *arg1, uint32_t arg2, void *arg3);
    void (*sysTimeSec2Time)(uint32_t sec, void *time);
    void (*tick2Ms)(void *arg1);
    uint64_t (*getCurrMs)(void);
    uint32_t (*getCurrSec)(void);
    void (*getCurrentTick)(void *tick);
    void (*getCpuTick)(void *arg1, void *arg2);
    void (*getCurrTime)(char *text, uint32_t size, uint32_t *sec);
    uint32_t (*calSystimeRelSec)(void *arg1, void *arg2, void *arg3);
    void (*getStartupTimeStamp)(void *stamp);
    void (*addStartupTime)(void *time);
    uint32_t (*getGMT)(void *time);
    uint32_t (*getLocalTime)(void *arg1, void *arg2);
    uint32_t (*getStartupTimeSec)(void);
} DxrTimeHooks;

/* Board data, memory parameters and advanced specifications. Functions: dxr/database_config.h. */
typedef struct DxrCfgHooks {
    void (*cfgReadBoardData)(void *arg1, uint32_t arg2, uint32_t arg3);
    uint32_t (*cfgDisplayBoardData)(void *arg1, uint32_t arg2);
    void (*cfgClearBoardData)(void);
    uint32_t (*cfgGetBoardData)(uint32_t arg1);
    uint32_t (*cfgIsFromBoardData)(uint32_t arg1);
    void *(*cfgGetMemParam)(uint32_t arg1);
    uint32_t (*cfgIsFromMemParam)(uint32_t arg1);
    void *(*cfgGetAdvancedSpec)(uint32_t arg1, uint32_t arg2);
    uint32_t (*cfgIsFromBoardAdvancedSpec)(uint32_t arg1);
    uint32_t (*cfgGetPhyBoardInfo)(uint32_t arg1);
    uint32_t (*cfgIsFromPhyBoardInfo)(uint32_t arg1);
} DxrCfgHooks;

/* JSON decoding, kept for the host. */
typedef struct DxrJsonDecodeHooks {
    DxrReservedHook reserved0;
    DxrReservedHook reserved1;
    DxrReservedHook reserved2;
    DxrReservedHook reserved3;
} DxrJsonDecodeHooks;

/* Network processors: multicast ports, dropped queues, priority flow control. Functions:
 * dxr/network_processor.h. */
typedef struct DxrNpHooks {
    uint32_t (*setMcPortMap)(uint32_t arg1, void *map);
    uint32_t (*getQueueDropStat)(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint8_t arg4,
                                 void *stat);
    uint32_t (*getAbsPfcLogicSp)(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *sp);
} DxrNpHooks;

/* Board plug-ins. Functions: dxr/plugin.h. */
typedef struct DxrPluginHooks {
    uint32_t (*registerBrdPlugin)(void *plugin);
    uint32_t (*unRegisterBrdPlugin)(void *plugin);
    uint32_t (*loadBrdPlugin)(void *plugin);
    void (*unLoadBrdPlugin)(void *plugin);
    uint32_t (*isBrdPluginLoaded)(void *plugin);
    uint32_t (*checkBrdPlugin)(void *plugin);
    uint32_t (*queryBrdPlugin)(void *arg1, void *arg2, void *arg3);
    void (*displayBrdPlugin)(void *arg1, void *arg2, void *arg3, uint32_t arg4);
} DxrPluginHooks;

/* The host's hash tables. Table, key and entry are the host's; the library never looks inside them.
 * Functions: dxr/hash.h. */
typedef struct DxrHashHooks {
    uint32_t (*hashCount)(void *table);
    void *(*hashCreate)(void *arg1);
    void *(*hashFindKey)(void *table, void *key);
    uint32_t (*hashFree)(void *table);
    uint32_t (*hashGetBucketNum)(void *table);
    void *(*hashGetFirst)(void *table);
    void *(*hashGetNext)(void *table, void *entry);
    uint32_t (*hashGetMaxItem)(void *table);
    uint32_t (*hashInsert)(void *table, void *arg2, void *arg3, uint32_t arg4, uint32_t arg5);
    uint32_t (*hashRemove)(void *table, void *arg2);
    void *(*hashGetFromEntry)(void *entry, uint32_t arg2, uint32_t arg3);
} DxrHashHooks;

/* Fault checks of fault management. Functions: dxr/fault_management.h. */
typedef struct DxrFfmHooks {
    uint32_t (*ffmStartFaultCheck)(void);
    uint32_t (*ffmStopFaultCheck)(void);
} DxrFfmHooks;

/* Key performance indicators. Functions: dxr/kpi.h. */
typedef struct DxrKpiHooks {
    uint32_t (*updateKpiAttrVal)(void *arg1, uint32_t arg2);
} DxrKpiHooks;

/* Temperature queries. Functions: dxr/temperature.h. */
typedef struct DxrTemperatureHooks {
    void (*registerQueryTempFunc)(uint32_t arg1, void *func);
} DxrTemperatureHooks;

/* The whole table, group by group. */
typedef struct DxrHooks {
    DxrAlarmHooks alarm;
    DxrDbHooks db;
    DxrDevHooks dev;
    DxrInitHooks init;
    DxrListHooks list;
    DxrMemoryHooks memory;
    DxrMsgHooks msg;
    DxrPrintHooks print;
    DxrSystemHooks system;
    DxrTaskHooks task;
    DxrTblmHooks tblm;
    DxrTimeHooks time;
    DxrCfgHooks cfg;
    DxrJsonDecodeHooks jsonDecode;
    DxrNpHooks np;
    DxrPluginHooks plugin;
    DxrHashHooks hash;
    DxrFfmHooks ffm;
    DxrKpiHooks kpi;
    DxrTemperatureHooks temperature;
} DxrHooks;

/* The library's table. All slots are empty until the host registers its own. */
extern DXR_API DxrHooks g_dxrHooks;

/* Copies the whole table, empty slots included, over g_dxrHooks; nothing of an earlier one stays.
 * Returns 0. With a null pointer, or a table that overlaps g_dxrHooks, it returns EINVAL and every
 * slot is empty. */
DXR_API uint32_t DXR_RegisterHooks(const DxrHooks *hooks);

/* The address of g_dxrHooks, never null, registered or not; the same holds for the groups below. */
DXR_API DxrHooks *DXR_GetHooks(void);

/* The Alarm group: slots 0 to 2. */
DXR_API DxrAlarmHooks *DXR_GetAlarmHooks(void);

/* The Db group: slots 3 to 21. */
DXR_API DxrDbHooks *DXR_GetDbHooks(void);

/* The Dev group: slots 22 to 89. */
DXR_API DxrDevHooks *DXR_GetDevHooks(void);

/* The Init group: slots 90 to 94. */
DXR_API DxrInitHooks *DXR_GetInitHooks(void);

/* The List group: slots 95 to 102. */
DXR_API DxrListHooks *DXR_GetListHooks(void);

/* The Memory group: slots 103 to 104. */
DXR_API DxrMemoryHooks *DXR_GetMemoryHooks(void);

/* The Msg group: slots 105 to 115. */
DXR_API DxrMsgHooks *DXR_GetMsgHooks(void);

/* The Print group: slots 116 to 134. */
DXR_API DxrPrintHooks *DXR_GetPrintHooks(void);

/* The System group: slots 135 to 150. */
DXR_API DxrSystemHooks *DXR_GetSystemHooks(void);

/* The Task group: slots 151 to 158. */
DXR_API DxrTaskHooks *DXR_GetTaskHooks(void);

/* The Tblm group: slots 159 to 169. */
DXR_API DxrTblmHooks *DXR_GetTblmHooks(void);

/* The Time group: slots 170 to 184. */
DXR_API DxrTimeHooks *DXR_GetTimeHooks(void);

/* The Cfg group: slots 185 to 195. */
DXR_API DxrCfgHooks *DXR_GetCfgHooks(void);

/* The JsonDecode group: slots 196 to 199. */
DXR_API DxrJsonDecodeHooks *DXR_GetJsonDecodeHooks(void);

/* The Np group: slots 200 to 202. */
DXR_API DxrNpHooks *DXR_GetNpHooks(void);

/* The Plugin group: slots 203 to 210. */
DXR_API DxrPluginHooks *DXR_GetPluginHooks(void);

/* The Hash group: slots 211 to 221. */
DXR_API DxrHashHooks *DXR_GetHashHooks(void);

/* The Ffm group: slots 222 to 223. */
DXR_API DxrFfmHooks *DXR_GetFfmHooks(void);

/* The Kpi group: slot 224. */
DXR_API DxrKpiHooks *DXR_GetKpiHooks(void);

/* The Temperature group: slot 225. */
DXR_API DxrTemperatureHooks *DXR_GetTemperatureHooks(void);

DXR_EXTERN_C_END

/* The layout, slot by slot. Groups count from the table's first slot, members from their
 * group's. */
#define DXR_ASSERT_SLOT(type, member, slot)                              \
    DXR_STATIC_ASSERT(offsetof(type, member) == (slot) * sizeof(void *), \
                      #type "." #member " is not at slot " #slot)

DXR_ASSERT_SLOT(DxrHooks, alarm, 0);
DXR_ASSERT_SLOT(DxrHooks, db, 3);
DXR_ASSERT_SLOT(DxrHooks, dev, 22);
DXR_ASSERT_SLOT(DxrHooks, init, 90);
DXR_ASSERT_SLOT(DxrHooks, list, 95);
DXR_ASSERT_SLOT(DxrHooks, memory, 103);
DXR_ASSERT_SLOT(DxrHooks, msg, 105);
DXR_ASSERT_SLOT(DxrHooks, print, 116);
DXR_ASSERT_SLOT(DxrHooks, system, 135);
DXR_ASSERT_SLOT(DxrHooks, task, 151);
DXR_ASSERT_SLOT(DxrHooks, tblm, 159);
DXR_ASSERT_SLOT(DxrHooks, time, 170);
DXR_ASSERT_SLOT(DxrHooks, cfg, 185);
DXR_ASSERT_SLOT(DxrHooks, jsonDecode, 196);
DXR_ASSERT_SLOT(DxrHooks, np, 200);
DXR_ASSERT_SLOT(DxrHooks, plugin, 203);
DXR_ASSERT_SLOT(DxrHooks, hash, 211);
DXR_ASSERT_SLOT(DxrHooks, ffm, 222);
DXR_ASSERT_SLOT(DxrHooks, kpi, 224);
DXR_ASSERT_SLOT(DxrHooks, temperature, 225);
DXR_STATIC_ASSERT(sizeof(DxrHooks) == DXR_LAYOUT(1808, 226), "the hook table has 226 slots");

DXR_ASSERT_SLOT(DxrAlarmHooks, alarm, 0);
DXR_ASSERT_SLOT(DxrAlarmHooks, fmAlarm, 1);
DXR_ASSERT_SLOT(DxrAlarmHooks, reserved2, 2);

DXR_ASSERT_SLOT(DxrDbHooks, selectDbRecordCount, 0);
DXR_ASSERT_SLOT(DxrDbHooks, selectDbRecordLimit, 1);
DXR_ASSERT_SLOT(DxrDbHooks, selectFirstDbRecord, 2);
DXR_ASSERT_SLOT(DxrDbHooks, getLocalFicIdFromDb, 3);
DXR_ASSERT_SLOT(DxrDbHooks, getTmTypeByGlobalFicIdFromDb, 4);
DXR_ASSERT_SLOT(DxrDbHooks, getTmTypeByLocalFicIdFromDb, 5);
DXR_ASSERT_SLOT(DxrDbHooks, getChipPosByGlobalFicIdFromDb, 6);
DXR_ASSERT_SLOT(DxrDbHooks, getChipPosByLocalFicIdFromDb, 7);
DXR_ASSERT_SLOT(DxrDbHooks, getFicIdByNodeGroupIdFromDb, 8);
DXR_ASSERT_SLOT(DxrDbHooks, getNgTmCfgFromDb, 9);
DXR_ASSERT_SLOT(DxrDbHooks, getNgTmPortInfoFromDb, 10);
DXR_ASSERT_SLOT(DxrDbHooks, getNgTmPortInfoByTmPortFromDb, 11);
DXR_ASSERT_SLOT(DxrDbHooks, getNgTmPortInfoByVsqIdFromDb, 12);
DXR_ASSERT_SLOT(DxrDbHooks, getNgTmSrvPortInfoFromDb, 13);
DXR_ASSERT_SLOT(DxrDbHooks, getNgTmSrvPortByVsqFromDb, 14);
DXR_ASSERT_SLOT(DxrDbHooks, isMcRepByTm, 15);
DXR_ASSERT_SLOT(DxrDbHooks, getDestFicPort, 16);
DXR_ASSERT_SLOT(DxrDbHooks, getNgTmSrvPortByFicIdFromDb, 17);
DXR_ASSERT_SLOT(DxrDbHooks, getLpuDevId, 18);

DXR_ASSERT_SLOT(DxrDevHooks, boardIsMaster, 0);
DXR_ASSERT_SLOT(DxrDevHooks, getDevAttrValue, 1);
DXR_ASSERT_SLOT(DxrDevHooks, setDevAttrValue, 2);
DXR_ASSERT_SLOT(DxrDevHooks, setDevMmapType, 3);
DXR_ASSERT_SLOT(DxrDevHooks, getEnv, 4);
DXR_ASSERT_SLOT(DxrDevHooks, setEnv, 5);
DXR_ASSERT_SLOT(DxrDevHooks, saveEnv, 6);
DXR_ASSERT_SLOT(DxrDevHooks, saveEnvBlock, 7);
DXR_ASSERT_SLOT(DxrDevHooks, getMemEnv, 8);
DXR_ASSERT_SLOT(DxrDevHooks, setMemEnv, 9);
DXR_ASSERT_SLOT(DxrDevHooks, saveMemEnv, 10);
DXR_ASSERT_SLOT(DxrDevHooks, getPcieConfigRegValue, 11);
DXR_ASSERT_SLOT(DxrDevHooks, setPcieConfigRegValue, 12);
DXR_ASSERT_SLOT(DxrDevHooks, getRsvMemMmapAddr, 13);
DXR_ASSERT_SLOT(DxrDevHooks, getResetMode, 14);
DXR_ASSERT_SLOT(DxrDevHooks, isRunInLs, 15);
DXR_ASSERT_SLOT(DxrDevHooks, scanPcie, 16);
DXR_ASSERT_SLOT(DxrDevHooks, getRsvdMem, 17);
DXR_ASSERT_SLOT(DxrDevHooks, getProductFamilyType, 18);
DXR_ASSERT_SLOT(DxrDevHooks, isCentralPurchaseMode, 19);
DXR_ASSERT_SLOT(DxrDevHooks, mmapDev, 20);
DXR_ASSERT_SLOT(DxrDevHooks, munmapDev, 21);
DXR_ASSERT_SLOT(DxrDevHooks, openDev, 22);
DXR_ASSERT_SLOT(DxrDevHooks, openDevWithOption, 23);
DXR_ASSERT_SLOT(DxrDevHooks, closeDev, 24);
DXR_ASSERT_SLOT(DxrDevHooks, controlDev, 25);
DXR_ASSERT_SLOT(DxrDevHooks, writeDev, 26);
DXR_ASSERT_SLOT(DxrDevHooks, readI2c, 27);
DXR_ASSERT_SLOT(DxrDevHooks, writeI2c, 28);
DXR_ASSERT_SLOT(DxrDevHooks, readReg16, 29);
DXR_ASSERT_SLOT(DxrDevHooks, writeReg16, 30);
DXR_ASSERT_SLOT(DxrDevHooks, readReg, 31);
DXR_ASSERT_SLOT(DxrDevHooks, writeReg, 32);
DXR_ASSERT_SLOT(DxrDevHooks, getServiceType, 33);
DXR_ASSERT_SLOT(DxrDevHooks, getVoltageKey, 34);
DXR_ASSERT_SLOT(DxrDevHooks, setVoltage, 35);
DXR_ASSERT_SLOT(DxrDevHooks, getVoltage, 36);
DXR_ASSERT_SLOT(DxrDevHooks, hardResetChip, 37);
DXR_ASSERT_SLOT(DxrDevHooks, probePcie, 38);
DXR_ASSERT_SLOT(DxrDevHooks, initSafeIo, 39);
DXR_ASSERT_SLOT(DxrDevHooks, getBomId, 40);
DXR_ASSERT_SLOT(DxrDevHooks, readPcie, 41);
DXR_ASSERT_SLOT(DxrDevHooks, writePcie, 42);
DXR_ASSERT_SLOT(DxrDevHooks, getDeviceBar, 43);
DXR_ASSERT_SLOT(DxrDevHooks, resetBoard, 44);
DXR_ASSERT_SLOT(DxrDevHooks, getLocalPcbVersion, 45);
DXR_ASSERT_SLOT(DxrDevHooks, getHardId, 46);
DXR_ASSERT_SLOT(DxrDevHooks, getPcbVersion, 47);
DXR_ASSERT_SLOT(DxrDevHooks, chmodRsvMemFile, 48);
DXR_ASSERT_SLOT(DxrDevHooks, getVsfuDevName, 49);
DXR_ASSERT_SLOT(DxrDevHooks, rebootOS, 50);
DXR_ASSERT_SLOT(DxrDevHooks, registerPreResetProcFunc, 51);
DXR_ASSERT_SLOT(DxrDevHooks, createIOWorker, 52);
DXR_ASSERT_SLOT(DxrDevHooks, getPreResetMode, 53);
DXR_ASSERT_SLOT(DxrDevHooks, setPreResetMode, 54);
DXR_ASSERT_SLOT(DxrDevHooks, vSfuLoadPacket, 55);
DXR_ASSERT_SLOT(DxrDevHooks, getSoftPcbVersion, 56);
DXR_ASSERT_SLOT(DxrDevHooks, isIssuState, 57);
DXR_ASSERT_SLOT(DxrDevHooks, writeMdio, 58);
DXR_ASSERT_SLOT(DxrDevHooks, readMdio, 59);
DXR_ASSERT_SLOT(DxrDevHooks, enableMdioParallel, 60);
DXR_ASSERT_SLOT(DxrDevHooks, cdrResetChip, 61);
DXR_ASSERT_SLOT(DxrDevHooks, cmdCallback, 62);
DXR_ASSERT_SLOT(DxrDevHooks, intrSetRegist, 63);
DXR_ASSERT_SLOT(DxrDevHooks, getBoardDrvType, 64);
DXR_ASSERT_SLOT(DxrDevHooks, getWofflineState, 65);
DXR_ASSERT_SLOT(DxrDevHooks, checkSmiLosEnable, 66);
DXR_ASSERT_SLOT(DxrDevHooks, writeFlashInfo, 67);

DXR_ASSERT_SLOT(DxrInitHooks, registerModule, 0);
DXR_ASSERT_SLOT(DxrInitHooks, unRegister, 1);
DXR_ASSERT_SLOT(DxrInitHooks, setUdf, 2);
DXR_ASSERT_SLOT(DxrInitHooks, registerVelderFuncs, 3);
DXR_ASSERT_SLOT(DxrInitHooks, getThis, 4);

DXR_ASSERT_SLOT(DxrListHooks, createSll, 0);
DXR_ASSERT_SLOT(DxrListHooks, addSll, 1);
DXR_ASSERT_SLOT(DxrListHooks, removeSll, 2);
DXR_ASSERT_SLOT(DxrListHooks, destroySll, 3);
DXR_ASSERT_SLOT(DxrListHooks, sslGetCount, 4);
DXR_ASSERT_SLOT(DxrListHooks, sslGetNextNode, 5);
DXR_ASSERT_SLOT(DxrListHooks, sslGetNodeData, 6);
DXR_ASSERT_SLOT(DxrListHooks, sslProcSingleNode, 7);

DXR_ASSERT_SLOT(DxrMemoryHooks, release, 0);
DXR_ASSERT_SLOT(DxrMemoryHooks, allocate, 1);

DXR_ASSERT_SLOT(DxrMsgHooks, sendMsg, 0);
DXR_ASSERT_SLOT(DxrMsgHooks, getTriggerTypeByEvent, 1);
DXR_ASSERT_SLOT(DxrMsgHooks, getErrTypeByEvent, 2);
DXR_ASSERT_SLOT(DxrMsgHooks, getTriggerStr, 3);
DXR_ASSERT_SLOT(DxrMsgHooks, sendMsgToMpu, 4);
DXR_ASSERT_SLOT(DxrMsgHooks, sendMsgToDevm, 5);
DXR_ASSERT_SLOT(DxrMsgHooks, sendMsgToLpu, 6);
DXR_ASSERT_SLOT(DxrMsgHooks, sendMsgToSfu, 7);
DXR_ASSERT_SLOT(DxrMsgHooks, sendMsgToNp, 8);
DXR_ASSERT_SLOT(DxrMsgHooks, sendEopEvent, 9);
DXR_ASSERT_SLOT(DxrMsgHooks, setMeshFd, 10);

DXR_ASSERT_SLOT(DxrPrintHooks, reportAssert, 0);
DXR_ASSERT_SLOT(DxrPrintHooks, enableLogOutput, 1);
DXR_ASSERT_SLOT(DxrPrintHooks, print, 2);
DXR_ASSERT_SLOT(DxrPrintHooks, writeEventLog, 3);
DXR_ASSERT_SLOT(DxrPrintHooks, diagLogFilter, 4);
DXR_ASSERT_SLOT(DxrPrintHooks, getDbgLevel, 5);
DXR_ASSERT_SLOT(DxrPrintHooks, setDbgLevel, 6);
DXR_ASSERT_SLOT(DxrPrintHooks, reserved7, 7);
DXR_ASSERT_SLOT(DxrPrintHooks, writePrivateLog, 8);
DXR_ASSERT_SLOT(DxrPrintHooks, logFilterDestroy, 9);
DXR_ASSERT_SLOT(DxrPrintHooks, logFilterGetFileName, 10);
DXR_ASSERT_SLOT(DxrPrintHooks, logFilterFilterSameLog, 11);
DXR_ASSERT_SLOT(DxrPrintHooks, logFilterFilterDiffKeyLog, 12);
DXR_ASSERT_SLOT(DxrPrintHooks, logFilterFilterLargeDiffKeyLog, 13);
DXR_ASSERT_SLOT(DxrPrintHooks, logFilterRegister, 14);
DXR_ASSERT_SLOT(DxrPrintHooks, logFilterRegisterDiffLogForFramework, 15);
DXR_ASSERT_SLOT(DxrPrintHooks, logFilterShowCurInfo, 16);
DXR_ASSERT_SLOT(DxrPrintHooks, logFilterShowHisInfo, 17);
DXR_ASSERT_SLOT(DxrPrintHooks, recordWarmRebootMileStone, 18);

DXR_ASSERT_SLOT(DxrSystemHooks, restorePatch, 0);
DXR_ASSERT_SLOT(DxrSystemHooks, getEnvValueById, 1);
DXR_ASSERT_SLOT(DxrSystemHooks, getLrId, 2);
DXR_ASSERT_SLOT(DxrSystemHooks, startTimer, 3);
DXR_ASSERT_SLOT(DxrSystemHooks, stopTimer, 4);
DXR_ASSERT_SLOT(DxrSystemHooks, fOpen, 5);
DXR_ASSERT_SLOT(DxrSystemHooks, fClose, 6);
DXR_ASSERT_SLOT(DxrSystemHooks, fRead, 7);
DXR_ASSERT_SLOT(DxrSystemHooks, fileLength, 8);
DXR_ASSERT_SLOT(DxrSystemHooks, getBinFolderName, 9);
DXR_ASSERT_SLOT(DxrSystemHooks, getSysWorkPath, 10);
DXR_ASSERT_SLOT(DxrSystemHooks, getCpuUseRate, 11);
DXR_ASSERT_SLOT(DxrSystemHooks, zipBuffer, 12);
DXR_ASSERT_SLOT(DxrSystemHooks, setHeartMon, 13);
DXR_ASSERT_SLOT(DxrSystemHooks, stopHeartToMon, 14);
DXR_ASSERT_SLOT(DxrSystemHooks, fSeek, 15);

DXR_ASSERT_SLOT(DxrTaskHooks, readEvent, 0);
DXR_ASSERT_SLOT(DxrTaskHooks, writeEvent, 1);
DXR_ASSERT_SLOT(DxrTaskHooks, createTask, 2);
DXR_ASSERT_SLOT(DxrTaskHooks, delayTask, 3);
DXR_ASSERT_SLOT(DxrTaskHooks, initMutex, 4);
DXR_ASSERT_SLOT(DxrTaskHooks, destroyMutex, 5);
DXR_ASSERT_SLOT(DxrTaskHooks, lockMutex, 6);
DXR_ASSERT_SLOT(DxrTaskHooks, unlockMutex, 7);

DXR_ASSERT_SLOT(DxrTblmHooks, dynamicCreateTable, 0);
DXR_ASSERT_SLOT(DxrTblmHooks, getChipTblmData, 1);
DXR_ASSERT_SLOT(DxrTblmHooks, setChipTblmData, 2);
DXR_ASSERT_SLOT(DxrTblmHooks, deleteChipTblmData, 3);
DXR_ASSERT_SLOT(DxrTblmHooks, getCrossTblmFirstData, 4);
DXR_ASSERT_SLOT(DxrTblmHooks, getLinearTblmFirstData, 5);
DXR_ASSERT_SLOT(DxrTblmHooks, getTblmNextData, 6);
DXR_ASSERT_SLOT(DxrTblmHooks, releaseTblm, 7);
DXR_ASSERT_SLOT(DxrTblmHooks, getTblmAttr, 8);
DXR_ASSERT_SLOT(DxrTblmHooks, getCstPoolCount, 9);
DXR_ASSERT_SLOT(DxrTblmHooks, setChipTblmDataAndMask, 10);

DXR_ASSERT_SLOT(DxrTimeHooks, getSysTime, 0);
DXR_ASSERT_SLOT(DxrTimeHooks, sysTime2Str, 1);
DXR_ASSERT_SLOT(DxrTimeHooks, sysTimeSec2Time, 2);
DXR_ASSERT_SLOT(DxrTimeHooks, tick2Ms, 3);
DXR_ASSERT_SLOT(DxrTimeHooks, getCurrMs, 4);
DXR_ASSERT_SLOT(DxrTimeHooks, getCurrSec, 5);
DXR_ASSERT_SLOT(DxrTimeHooks, getCurrentTick, 6);
DXR_ASSERT_SLOT(DxrTimeHooks, getCpuTick, 7);
DXR_ASSERT_SLOT(DxrTimeHooks, getCurrTime, 8);
DXR_ASSERT_SLOT(DxrTimeHooks, calSystimeRelSec, 9);
DXR_ASSERT_SLOT(DxrTimeHooks, getStartupTimeStamp, 10);
DXR_ASSERT_SLOT(DxrTimeHooks, addStartupTime, 11);
DXR_ASSERT_SLOT(DxrTimeHooks, getGMT, 12);
DXR_ASSERT_SLOT(DxrTimeHooks, getLocalTime, 13);
DXR_ASSERT_SLOT(DxrTimeHooks, getStartupTimeSec, 14);

DXR_ASSERT_SLOT(DxrCfgHooks, cfgReadBoardData, 0);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgDisplayBoardData, 1);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgClearBoardData, 2);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgGetBoardData, 3);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgIsFromBoardData, 4);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgGetMemParam, 5);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgIsFromMemParam, 6);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgGetAdvancedSpec, 7);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgIsFromBoardAdvancedSpec, 8);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgGetPhyBoardInfo, 9);
DXR_ASSERT_SLOT(DxrCfgHooks, cfgIsFromPhyBoardInfo, 10);

DXR_ASSERT_SLOT(DxrJsonDecodeHooks, reserved0, 0);
DXR_ASSERT_SLOT(DxrJsonDecodeHooks, reserved1, 1);
DXR_ASSERT_SLOT(DxrJsonDecodeHooks, reserved2, 2);
DXR_ASSERT_SLOT(DxrJsonDecodeHooks, reserved3, 3);

DXR_ASSERT_SLOT(DxrNpHooks, setMcPortMap, 0);
DXR_ASSERT_SLOT(DxrNpHooks, getQueueDropStat, 1);
DXR_ASSERT_SLOT(DxrNpHooks, getAbsPfcLogicSp, 2);

DXR_ASSERT_SLOT(DxrPluginHooks, registerBrdPlugin, 0);
DXR_ASSERT_SLOT(DxrPluginHooks, unRegisterBrdPlugin, 1);
DXR_ASSERT_SLOT(DxrPluginHooks, loadBrdPlugin, 2);
DXR_ASSERT_SLOT(DxrPluginHooks, unLoadBrdPlugin, 3);
DXR_ASSERT_SLOT(DxrPluginHooks, isBrdPluginLoaded, 4);
DXR_ASSERT_SLOT(DxrPluginHooks, checkBrdPlugin, 5);
DXR_ASSERT_SLOT(DxrPluginHooks, queryBrdPlugin, 6);
DXR_ASSERT_SLOT(DxrPluginHooks, displayBrdPlugin, 7);

DXR_ASSERT_SLOT(DxrHashHooks, hashCount, 0);
DXR_ASSERT_SLOT(DxrHashHooks, hashCreate, 1);
DXR_ASSERT_SLOT(DxrHashHooks, hashFindKey, 2);
DXR_ASSERT_SLOT(DxrHashHooks, hashFree, 3);
DXR_ASSERT_SLOT(DxrHashHooks, hashGetBucketNum, 4);
DXR_ASSERT_SLOT(DxrHashHooks, hashGetFirst, 5);
DXR_ASSERT_SLOT(DxrHashHooks, hashGetNext, 6);
DXR_ASSERT_SLOT(DxrHashHooks, hashGetMaxItem, 7);
DXR_ASSERT_SLOT(DxrHashHooks, hashInsert, 8);
DXR_ASSERT_SLOT(DxrHashHooks, hashRemove, 9);
DXR_ASSERT_SLOT(DxrHashHooks, hashGetFromEntry, 10);

DXR_ASSERT_SLOT(DxrFfmHooks, ffmStartFaultCheck, 0);
DXR_ASSERT_SLOT(DxrFfmHooks, ffmStopFaultCheck, 1);

DXR_ASSERT_SLOT(DxrKpiHooks, updateKpiAttrVal, 0);

DXR_ASSERT_SLOT(DxrTemperatureHooks, registerQueryTempFunc, 0);

#undef DXR_ASSERT_SLOT

#endif /* DXR_HOOKS_H */
