/* The public headers of the first baseline in one file, without their comments. Programs of that
 * time are compiled with it, and run with the library of today. Never changed. */
#ifndef DXR_API_H
#define DXR_API_H
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#ifdef __cplusplus
#define DXR_EXTERN_C_BEGIN extern "C" {
#define DXR_EXTERN_C_END }
#define DXR_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define DXR_EXTERN_C_BEGIN
#define DXR_EXTERN_C_END
#define DXR_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif
#if defined(__GNUC__)
#define DXR_API __attribute__((visibility("default")))
#define DXR_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define DXR_API
#define DXR_PRINTF(text, first)
#endif
DXR_STATIC_ASSERT(sizeof(void *) == 8, "libdxr_api needs 64-bit pointers");
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_Alarm(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4, void *arg5);
DXR_API uint32_t DXR_FmAlarm(void *alarm);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_SelectDbRecordCount(void *query, uint32_t *count);
DXR_API uint32_t DXR_SelectDbRecordLimit(void *query, uint32_t limit, void *records);
DXR_API uint32_t DXR_SelectFirstDbRecord(void *query, void *record);
DXR_API uint32_t DXR_GetLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *ficId);
DXR_API uint32_t DXR_GetTmTypeByGlobalFicIdFromDb(uint32_t ficId, void *type);
DXR_API uint32_t DXR_GetTmTypeByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *type);
DXR_API uint32_t DXR_GetChipPosByGlobalFicIdFromDb(uint32_t ficId, void *position);
DXR_API uint32_t DXR_GetChipPosByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *position);
DXR_API uint32_t DXR_GetFicIdByNodeGroupIdFromDb(uint32_t arg1, void *arg2, void *arg3,
                                                 uint32_t arg4);
DXR_API uint32_t DXR_GetNgTmCfgFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *config);
DXR_API uint32_t DXR_GetNgTmPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *info);
DXR_API uint32_t DXR_GetNgTmPortInfoByVsqIdFromDb(uint32_t arg1, uint32_t arg2, void *info);
DXR_API uint32_t DXR_GetNgTmSrvPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3,
                                              uint32_t arg4, void *info);
DXR_API uint32_t DXR_GetNgTmSrvPortByVsqFromDb(uint32_t vsq, void *port);
DXR_API uint32_t DXR_IsMcRepByTm(void);
DXR_API void *DXR_GetDestFicPort(void *arg1, void *arg2);
DXR_API uint32_t DXR_GetNgTmSrvPortByFicIdFromDb(uint32_t arg1, uint32_t arg2, void *arg3,
                                                 uint32_t arg4, void *arg5);
DXR_API uint32_t DXR_GetLpuDevId(uint32_t arg1);
DXR_API uint32_t DXR_GetNgTmPortInfoByTmPortFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3,
                                                   void *info);
DXR_API void *DXR_SelectDbRecord(void *query, uint32_t *count);
DXR_API uint32_t DXR_GetFeNodeGrpId(uint32_t arg1, uint32_t arg2);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API void DXR_CFG_ReadBoardData(void *arg1, uint32_t arg2, uint32_t arg3);
DXR_API uint32_t DXR_CFG_DisplayBoardData(void *arg1, uint32_t arg2);
DXR_API void DXR_CFG_ClearBoardData(void);
DXR_API uint32_t DXR_CFG_GetBoardData(uint32_t arg1);
DXR_API uint32_t DXR_CFG_IsFromBoardData(uint32_t arg1);
DXR_API void *DXR_CFG_GetMemParam(uint32_t arg1);
DXR_API uint32_t DXR_CFG_IsFromMemParam(uint32_t arg1);
DXR_API void *DXR_CFG_GetAdvancedSpec(uint32_t arg1, uint32_t arg2);
DXR_API uint32_t DXR_CFG_IsFromBoardAdvancedSpec(uint32_t arg1);
DXR_API uint32_t DXR_CFG_GetPhyBoardInfo(uint32_t arg1);
DXR_API uint32_t DXR_CFG_IsFromPhyBoardInfo(uint32_t arg1);
DXR_API void DXR_CFG_FmtCfgFile(const char *name, uint32_t id1, uint32_t id2, char *buf,
                                uint32_t bufSize);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_BoardIsMaster(void);
DXR_API uint32_t DXR_GetDevAttrValue(uint32_t arg1, uint32_t arg2, void *value);
DXR_API uint32_t DXR_SetDevAttrValue(uint32_t arg1, uint32_t arg2, uint32_t value);
DXR_API uint32_t DXR_SetDevMmapType(uint32_t arg1, uint32_t arg2);
DXR_API uint32_t DXR_GetEnv(const char *name, void *value, uint32_t size);
DXR_API uint32_t DXR_SetEnv(const char *name, void *value, uint32_t size);
DXR_API uint32_t DXR_SaveEnv(void);
DXR_API uint32_t DXR_SaveEnvBlock(void);
DXR_API uint32_t DXR_GetMemEnv(const char *name, void *value, uint32_t size);
DXR_API uint32_t DXR_SetMemEnv(const char *name, void *value, uint32_t size);
DXR_API uint32_t DXR_SaveMemEnv(void);
DXR_API uint32_t DXR_GetPcieConfigRegValue(uint32_t arg1, uint32_t arg2, void *value);
DXR_API uint32_t DXR_SetPcieConfigRegValue(uint32_t arg1, uint32_t arg2, uint32_t value);
DXR_API uint32_t DXR_GetRsvMemMmapAddr(void *arg1, uint32_t arg2, void *address);
DXR_API uint32_t DXR_GetResetMode(void *mode);
DXR_API uint32_t DXR_IsRunInLs(void);
DXR_API uint32_t DXR_ScanPcie(uint32_t arg1);
DXR_API uint32_t DXR_GetRsvdMem(uint32_t arg1, void *arg2, void *arg3);
DXR_API uint32_t DXR_GetProductFamilyType(void);
DXR_API uint32_t DXR_IsCentralPurchaseMode(void);
DXR_API void *DXR_MmapDev(uint32_t arg1, uint32_t arg2);
DXR_API uint32_t DXR_MunmapDev(void *address, uint32_t size);
DXR_API uint32_t DXR_OpenDev(const char *path);
DXR_API uint32_t DXR_OpenDevWithOption(const char *path, uint32_t option);
DXR_API uint32_t DXR_CloseDev(uint32_t device);
DXR_API uint32_t DXR_ControlDev(void *request);
DXR_API uint32_t DXR_WriteDev(uint32_t device, void *arg2, uint32_t arg3, void *arg4);
DXR_API uint32_t DXR_ReadI2c(void *request);
DXR_API uint32_t DXR_WriteI2c(void *request);
DXR_API uint32_t DXR_ReadReg16(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value);
DXR_API uint32_t DXR_WriteReg16(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint16_t value);
DXR_API uint32_t DXR_ReadReg(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value);
DXR_API uint32_t DXR_WriteReg(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t value);
DXR_API uint32_t DXR_GetServiceType(void);
DXR_API uint32_t DXR_GetVoltageKey(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *key);
DXR_API uint32_t DXR_SetVoltage(uint32_t arg1, uint32_t arg2, uint32_t voltage);
DXR_API uint32_t DXR_GetVoltage(uint32_t arg1, uint32_t arg2, void *voltage);
DXR_API uint32_t DXR_HardResetChip(uint32_t arg1, uint32_t arg2, uint32_t arg3);
DXR_API uint32_t DXR_ProbePcie(uint32_t arg1, uint32_t arg2, uint32_t arg3);
DXR_API void DXR_InitSafeIo(void);
DXR_API uint32_t DXR_GetBomId(uint32_t arg1, uint32_t arg2, void *bomId);
DXR_API uint32_t DXR_ReadPcie(uint32_t arg1, void *arg2, void *value);
DXR_API uint32_t DXR_WritePcie(uint32_t arg1, void *arg2, uint32_t value);
DXR_API uint32_t DXR_GetDeviceBar(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4);
DXR_API void DXR_ResetBoard(uint32_t arg1);
DXR_API uint32_t DXR_GetLocalPcbVersion(void);
DXR_API uint32_t DXR_GetHardId(uint32_t arg1, void *hardId);
DXR_API uint32_t DXR_GetPcbVersion(void);
DXR_API uint32_t DXR_ChmodRsvMemFile(void *file, uint32_t mode);
DXR_API uint32_t DXR_GetVsfuDevName(void *name, uint32_t size);
DXR_API uint32_t DXR_RebootOS(uint32_t arg1, void *arg2);
DXR_API uint32_t DXR_RegisterPreResetProcFunc(void *arg1, void *arg2);
DXR_API uint32_t DXR_CreateIOWorker(uint32_t arg1, uint32_t arg2, void *arg3);
DXR_API uint32_t DXR_GetPreResetMode(void *mode);
DXR_API void DXR_SetPreResetMode(uint32_t mode);
DXR_API uint32_t DXR_VSfuLoadPacket(uint32_t arg1, void *packet, uint32_t arg3, uint32_t arg4,
                                    uint32_t arg5);
DXR_API uint32_t DXR_GetSoftPcbVersion(void);
DXR_API uint32_t DXR_IsIssuState(void);
DXR_API uint32_t DXR_WriteMdio(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4,
                               uint16_t arg5, uint16_t value);
DXR_API uint32_t DXR_ReadMdio(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4,
                              uint16_t arg5, void *value);
DXR_API uint32_t DXR_EnableMdioParallel(uint32_t arg1, uint32_t arg2, uint16_t arg3);
DXR_API uint32_t DXR_CdrResetChip(uint32_t arg1, uint32_t arg2, uint32_t arg3);
DXR_API uint32_t DXR_CmdCallback(void *arg1, uint32_t arg2);
DXR_API uint32_t DXR_IntrSetRegist(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4);
DXR_API uint32_t DXR_GetBoardDrvType(void);
DXR_API uint32_t DXR_GetWofflineState(uint32_t arg1, void *state);
DXR_API uint32_t DXR_CheckSmiLosEnable(uint32_t arg1, uint32_t arg2);
DXR_API uint32_t DXR_WriteFlashInfo(void *info);
DXR_EXTERN_C_END
#ifdef __cplusplus
#include <array>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>
class DXR_API DxrCounter {
  public:
    void IncreaseCount();
    void ResetCount();
    [[nodiscard]] uint32_t GetCount() const;
    [[nodiscard]] uint32_t BacktraceTimestamp(uint32_t n) const;

  private:
    uint32_t count_;
    std::array<uint32_t, 4096> timestamps_;
};
DXR_STATIC_ASSERT(sizeof(DxrCounter) == 4 + 4 * 4096, "the host places counters: fixed layout");
DXR_STATIC_ASSERT(std::is_trivially_default_constructible_v<DxrCounter>,
                  "a zeroed block is a counter");
DXR_STATIC_ASSERT(std::is_trivially_copyable_v<DxrCounter>, "a zeroed block is a counter");
DXR_STATIC_ASSERT(std::is_standard_layout_v<DxrCounter>, "the host places counters: fixed layout");
class DXR_API DxrFaultSpec {
  public:
    virtual ~DxrFaultSpec();
    DxrFaultSpec(const DxrFaultSpec &) = delete;
    DxrFaultSpec &operator=(const DxrFaultSpec &) = delete;
    [[nodiscard]] virtual bool IsSatisfied(const DxrCounter *counter) const = 0;

  protected:
    DxrFaultSpec() = default;
};
class DXR_API DxrFaultAccumulatedSpec : public DxrFaultSpec {
  public:
    DxrFaultAccumulatedSpec(uint32_t interval, uint32_t threshold);
    ~DxrFaultAccumulatedSpec() override;
    [[nodiscard]] bool IsSatisfied(const DxrCounter *counter) const override;

  private:
    uint32_t interval_;
    uint32_t threshold_;
};
class DXR_API DxrFaultMultiAccumulatedSpec : public DxrFaultSpec {
  public:
    explicit DxrFaultMultiAccumulatedSpec(const std::vector<std::pair<uint32_t, uint32_t>> &specs);
    ~DxrFaultMultiAccumulatedSpec() override;
    [[nodiscard]] bool IsSatisfied(const DxrCounter *counter) const override;

  private:
    std::vector<std::pair<uint32_t, uint32_t>> specs_;
};
class DXR_API DxrFaultTimeoutSpec : public DxrFaultSpec {
  public:
    explicit DxrFaultTimeoutSpec(uint32_t interval);
    ~DxrFaultTimeoutSpec() override;
    [[nodiscard]] bool IsSatisfied(const DxrCounter *counter) const override;

  private:
    uint32_t interval_;
};
class DXR_API DxrFaultSpecFactory {
  public:
    [[nodiscard]] std::unique_ptr<DxrFaultSpec> CreateSpec(uint32_t interval,
                                                           uint32_t threshold) const;
    [[nodiscard]] std::unique_ptr<DxrFaultSpec> CreateSpec(
        std::vector<std::pair<uint32_t, uint32_t>> &specs) const;
};
#endif
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_FfmStartFaultCheck(void);
DXR_API uint32_t DXR_FfmStopFaultCheck(void);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_HashCount(void *table);
DXR_API void *DXR_HashCreate(void *arg1);
DXR_API void *DXR_HashFindKey(void *table, void *key);
DXR_API uint32_t DXR_HashFree(void *table);
DXR_API uint32_t DXR_HashGetBucketNum(void *table);
DXR_API void *DXR_HashGetFirst(void *table);
DXR_API void *DXR_HashGetNext(void *table, void *entry);
DXR_API uint32_t DXR_HashGetMaxItem(void *table);
DXR_API uint32_t DXR_HashInsert(void *table, void *arg2, void *arg3, uint32_t arg4, uint32_t arg5);
DXR_API uint32_t DXR_HashRemove(void *table, void *arg2);
DXR_API void *DXR_HashGetFromEntry(void *entry, uint32_t arg2, uint32_t arg3);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
typedef struct DxrSysTime {
    uint16_t year;
    uint8_t month;
    uint8_t day;
    uint8_t hour;
    uint8_t minute;
    uint8_t second;
    uint8_t reserved[5];
} DxrSysTime;
#pragma pack(push, 1)
typedef struct DxrTblmRequest {
    uint32_t tableId;
    void *key;
    uint32_t keyLen;
    void *data;
    uint32_t dataLen;
    uint32_t dataValid;
    uint8_t reserved[16];
} DxrTblmRequest;
#pragma pack(pop)
typedef void (*DxrReservedHook)(void);
typedef void (*DxrPrintHook)(uint32_t level, const char *format, ...) DXR_PRINTF(2, 3);
typedef uint32_t (*DxrPrivateLogHook)(const char *name, const char *format, ...) DXR_PRINTF(2, 3);
typedef uint32_t (*DxrFilterLogHook)(void *handle, const char *text);
DXR_EXTERN_C_END
DXR_STATIC_ASSERT(sizeof(DxrSysTime) == 12, "DxrSysTime is 12 bytes");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, year) == 0, "year");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, month) == 2, "month");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, day) == 3, "day");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, hour) == 4, "hour");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, minute) == 5, "minute");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, second) == 6, "second");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, reserved) == 7, "reserved");
DXR_STATIC_ASSERT(sizeof(DxrTblmRequest) == 48, "DxrTblmRequest is 48 bytes");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, tableId) == 0, "tableId");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, key) == 4, "key");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, keyLen) == 12, "keyLen");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, data) == 16, "data");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, dataLen) == 24, "dataLen");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, dataValid) == 28, "dataValid");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, reserved) == 32, "reserved");
DXR_EXTERN_C_BEGIN
typedef struct DxrAlarmHooks {
    uint32_t (*alarm)(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4, void *arg5);
    uint32_t (*fmAlarm)(void *alarm);
    DxrReservedHook reserved2;
} DxrAlarmHooks;
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
typedef struct DxrInitHooks {
    void (*registerModule)(void *record);
    void (*unRegister)(void);
    void (*setUdf)(void *udf);
    void (*registerVelderFuncs)(uint8_t flag);
    void *(*getThis)(void);
} DxrInitHooks;
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
typedef struct DxrMemoryHooks {
    void (*release)(void *block, const char *file, uint32_t line);
    void *(*allocate)(uint32_t mid, uint32_t size, const char *file, uint32_t line);
} DxrMemoryHooks;
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
    uint32_t (*setChipTblmDataAndMask)(uint32_t chip, DxrTblmRequest *request);
} DxrTblmHooks;
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
typedef struct DxrJsonDecodeHooks {
    DxrReservedHook reserved0;
    DxrReservedHook reserved1;
    DxrReservedHook reserved2;
    DxrReservedHook reserved3;
} DxrJsonDecodeHooks;
typedef struct DxrNpHooks {
    uint32_t (*setMcPortMap)(uint32_t arg1, void *map);
    uint32_t (*getQueueDropStat)(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint8_t arg4,
                                 void *stat);
    uint32_t (*getAbsPfcLogicSp)(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *sp);
} DxrNpHooks;
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
typedef struct DxrFfmHooks {
    uint32_t (*ffmStartFaultCheck)(void);
    uint32_t (*ffmStopFaultCheck)(void);
} DxrFfmHooks;
typedef struct DxrKpiHooks {
    uint32_t (*updateKpiAttrVal)(void *arg1, uint32_t arg2);
} DxrKpiHooks;
typedef struct DxrTemperatureHooks {
    void (*registerQueryTempFunc)(uint32_t arg1, void *func);
} DxrTemperatureHooks;
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
extern DXR_API DxrHooks g_dxrHooks;
DXR_API uint32_t DXR_RegisterHooks(const DxrHooks *hooks);
DXR_API DxrHooks *DXR_GetHooks(void);
DXR_API DxrAlarmHooks *DXR_GetAlarmHooks(void);
DXR_API DxrDbHooks *DXR_GetDbHooks(void);
DXR_API DxrDevHooks *DXR_GetDevHooks(void);
DXR_API DxrInitHooks *DXR_GetInitHooks(void);
DXR_API DxrListHooks *DXR_GetListHooks(void);
DXR_API DxrMemoryHooks *DXR_GetMemoryHooks(void);
DXR_API DxrMsgHooks *DXR_GetMsgHooks(void);
DXR_API DxrPrintHooks *DXR_GetPrintHooks(void);
DXR_API DxrSystemHooks *DXR_GetSystemHooks(void);
DXR_API DxrTaskHooks *DXR_GetTaskHooks(void);
DXR_API DxrTblmHooks *DXR_GetTblmHooks(void);
DXR_API DxrTimeHooks *DXR_GetTimeHooks(void);
DXR_API DxrCfgHooks *DXR_GetCfgHooks(void);
DXR_API DxrJsonDecodeHooks *DXR_GetJsonDecodeHooks(void);
DXR_API DxrNpHooks *DXR_GetNpHooks(void);
DXR_API DxrPluginHooks *DXR_GetPluginHooks(void);
DXR_API DxrHashHooks *DXR_GetHashHooks(void);
DXR_API DxrFfmHooks *DXR_GetFfmHooks(void);
DXR_API DxrKpiHooks *DXR_GetKpiHooks(void);
DXR_API DxrTemperatureHooks *DXR_GetTemperatureHooks(void);
DXR_EXTERN_C_END
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
DXR_STATIC_ASSERT(sizeof(DxrHooks) == 1808, "the hook table has 226 slots");
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
DXR_EXTERN_C_BEGIN
#define DXR_RECORD_COUNT 1024u
#define DXR_RECORD_TEXT_SIZE 256u
typedef struct DxrRecord {
    char text[DXR_RECORD_TEXT_SIZE];
    uint32_t count;
    DxrSysTime firstTime;
    DxrSysTime lastTime;
} DxrRecord;
typedef struct DxrRecordStore {
    DxrRecord *records[DXR_RECORD_COUNT];
    uint32_t nextIndex;
} DxrRecordStore;
DXR_STATIC_ASSERT(sizeof(DxrRecord) == 284, "DxrRecord");
DXR_STATIC_ASSERT(offsetof(DxrRecord, text) == 0, "DxrRecord.text");
DXR_STATIC_ASSERT(offsetof(DxrRecord, count) == 256, "DxrRecord.count");
DXR_STATIC_ASSERT(offsetof(DxrRecord, firstTime) == 260, "DxrRecord.firstTime");
DXR_STATIC_ASSERT(offsetof(DxrRecord, lastTime) == 272, "DxrRecord.lastTime");
DXR_STATIC_ASSERT(sizeof(DxrRecordStore) == 8200, "DxrRecordStore");
DXR_STATIC_ASSERT(offsetof(DxrRecordStore, records) == 0, "DxrRecordStore.records");
DXR_STATIC_ASSERT(offsetof(DxrRecordStore, nextIndex) == 8192, "DxrRecordStore.nextIndex");
extern DXR_API DxrRecordStore g_dxrRecord;
DXR_API void DXR_RecordInfo(const char *format, ...) DXR_PRINTF(1, 2);
DXR_API uint8_t DXR_UpdateExistingRecord(const char *text, DxrRecordStore *store);
DXR_API void DXR_AddNewRecord(const char *text, DxrRecordStore *store);
DXR_API void DXR_DestroyRecordInfo(void);
DXR_API DxrRecordStore *DXR_GetRecordEntity(void);
DXR_API uint32_t DXR_GetRecordStr(const DxrRecordStore *store, uint32_t start, uint32_t end,
                                  char *buffer, uint32_t bufferSize);
DXR_API uint32_t DXR_GetAllRecordStr(char *buffer, uint32_t bufferSize);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_UpdateKpiAttrVal(void *arg1, uint32_t arg2);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API void *DXR_CreateSll(void);
DXR_API void DXR_AddSll(void *list, void *data, uint32_t arg3);
DXR_API void DXR_RemoveSll(void *list, void *arg2);
DXR_API void DXR_DestroySll(void *list);
DXR_API uint32_t DXR_SslGetCount(void *list);
DXR_API void *DXR_SslGetNextNode(void *list, void *node);
DXR_API void *DXR_SslGetNodeData(void *node);
DXR_API uint32_t DXR_SslProcSingleNode(void *list, void *arg2, uint32_t arg3);
#pragma pack(push, 1)
typedef struct DxrSllIterator {
    void *list;
    void *node;
    uint32_t index;
    void (*addData)(struct DxrSllIterator *it, void *data, uint32_t arg3);
    uint32_t (*hasNext)(struct DxrSllIterator *it);
    void *(*getNextData)(struct DxrSllIterator *it);
    uint32_t (*getCount)(struct DxrSllIterator *it);
    void (*moveToHead)(struct DxrSllIterator *it);
} DxrSllIterator;
#pragma pack(pop)
DXR_API DxrSllIterator DXR_InitSllIterator(void *list);
DXR_API void DXR_SllIteratorAddData(DxrSllIterator *it, void *data, uint32_t arg3);
DXR_API uint32_t DXR_SllIteratorHasNext(DxrSllIterator *it);
DXR_API void *DXR_SllIteratorGetNextData(DxrSllIterator *it);
DXR_API uint32_t DXR_SllIteratorGetCount(DxrSllIterator *it);
DXR_API void DXR_SllIteratorMoveToHead(DxrSllIterator *it);
DXR_EXTERN_C_END
DXR_STATIC_ASSERT(sizeof(DxrSllIterator) == 60, "DxrSllIterator is 60 bytes");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, list) == 0, "list");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, node) == 8, "node");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, index) == 16, "index");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, addData) == 20, "addData");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, hasNext) == 28, "hasNext");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, getNextData) == 36, "getNextData");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, getCount) == 44, "getCount");
DXR_STATIC_ASSERT(offsetof(DxrSllIterator, moveToHead) == 52, "moveToHead");
DXR_EXTERN_C_BEGIN
DXR_API void DXR_Free(void *block, const char *file, uint32_t line);
DXR_API void *DXR_Malloc(uint32_t mid, uint32_t size, const char *file, uint32_t line);
extern DXR_API uint32_t g_dxrMemoryMid;
DXR_API void DXR_SetDefaultMid(uint32_t mid);
DXR_API uint32_t DXR_GetDefaultMid(void);
typedef void *(*DxrAllocateHook)(uint32_t mid, uint32_t size, const char *file, uint32_t line);
typedef void (*DxrReleaseHook)(void *block, const char *file, uint32_t line);
DXR_API void DXR_SetMemoryHooks(DxrAllocateHook allocate, DxrReleaseHook release);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_SendMsg(void *msg);
DXR_API uint32_t DXR_GetTriggerTypeByEvent(uint32_t event);
DXR_API uint32_t DXR_GetErrTypeByEvent(uint32_t event);
DXR_API const char *DXR_GetTriggerStr(uint32_t trigger);
DXR_API uint32_t DXR_SendMsgToMpu(void *msg);
DXR_API uint32_t DXR_SendMsgToDevm(void *msg);
DXR_API uint32_t DXR_SendMsgToLpu(void *msg);
DXR_API uint32_t DXR_SendMsgToSfu(void *msg);
DXR_API void DXR_SendMsgToNp(uint32_t arg1);
DXR_API uint32_t DXR_SendEopEvent(uint32_t arg1, void *arg2);
DXR_API void DXR_SetMeshFd(uint32_t fd);
DXR_EXTERN_C_END
#ifdef __cplusplus
#include <list>
#include <memory>
#include <string>
#include <vector>
namespace Dxr {
class DXR_API MessageFilterComponent {
  public:
    virtual ~MessageFilterComponent();
    MessageFilterComponent(const MessageFilterComponent &) = delete;
    MessageFilterComponent &operator=(const MessageFilterComponent &) = delete;
    virtual void Add(MessageFilterComponent *child);
    virtual void GetFilterStr(std::string &out) const;
    virtual MessageFilterComponent *Find(std::list<uint32_t> &path) = 0;
    [[nodiscard]] bool IsSameMsgType(uint32_t msgType) const;
    [[nodiscard]] uint32_t GetLayer() const;
    bool IsFiltered(std::list<uint32_t> &path);
    uint32_t SetLostCnt(std::list<uint32_t> &path, uint32_t lostCnt);

  protected:
    MessageFilterComponent(const std::string &name, uint32_t msgType, uint32_t lostCnt,
                           uint32_t layer);

  private:
    std::string name_;
    uint32_t msgType_;
    uint32_t lostCnt_;
    uint32_t layer_;
};
class DXR_API MessageFilterComposite : public MessageFilterComponent {
  public:
    MessageFilterComposite(const std::string &name, uint32_t msgType, uint32_t lostCnt,
                           uint32_t layer);
    ~MessageFilterComposite() override;
    void Add(MessageFilterComponent *child) override;
    void GetFilterStr(std::string &out) const override;
    MessageFilterComponent *Find(std::list<uint32_t> &path) override;
    [[nodiscard]] bool IsFilterRoot() const;

  private:
    std::vector<std::unique_ptr<MessageFilterComponent>> children_;
};
class DXR_API MessageFilterLeaf : public MessageFilterComponent {
  public:
    MessageFilterLeaf(const std::string &name, uint32_t msgType, uint32_t lostCnt, uint32_t layer);
    ~MessageFilterLeaf() override;
    MessageFilterComponent *Find(std::list<uint32_t> &path) override;
};
}  // namespace Dxr
using DxrMessageFilter = Dxr::MessageFilterComponent;
#else
typedef struct DxrMessageFilter DxrMessageFilter;
#endif
DXR_EXTERN_C_BEGIN
#define DXR_MESSAGE_FILTER_NAME_SIZE 32
#pragma pack(push, 4)
typedef struct DxrMessageFilterInfo {
    uint32_t msgType;
    uint32_t lostCnt;
    char name[DXR_MESSAGE_FILTER_NAME_SIZE];
    const struct DxrMessageFilterInfo *subFilters;
    uint32_t subFilterNum;
} DxrMessageFilterInfo;
#pragma pack(pop)
DXR_STATIC_ASSERT(sizeof(DxrMessageFilterInfo) == 52, "the host builds the records: fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, msgType) == 0, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, lostCnt) == 4, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, name) == 8, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, subFilters) == 40, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrMessageFilterInfo, subFilterNum) == 48, "fixed layout");
DXR_API DxrMessageFilter *DXR_CreateMessageFilter(const DxrMessageFilterInfo *info, uint32_t num);
DXR_API void DXR_DestroyMessageFilter(DxrMessageFilter **filter);
DXR_API void DXR_GetMessageFilterStr(const DxrMessageFilter *filter, char *buffer,
                                     uint32_t bufferSize);
DXR_API void DXR_SetMessageFilterCount(DxrMessageFilter *filter, uint32_t lostCnt, uint32_t num,
                                       ...);
DXR_API uint8_t DXR_IsMessageFiltered(DxrMessageFilter *filter, uint32_t num, ...);
DXR_API void DxrAddMessageFilterToComposite(DxrMessageFilter *parent,
                                            const DxrMessageFilterInfo *info);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API void DXR_UnRegister(void);
DXR_API void *DXR_GetThis(void);
DXR_API void DXR_Register(void *record);
DXR_API void DXR_RegisterWithoutVelderFuncs(void *record);
DXR_API void DXR_RegisterVelderFuncs(uint8_t flag);
DXR_API uint8_t DXR_IsUseVelder(void);
DXR_API void DXR_SetUdf(void *udf);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_SetMcPortMap(uint32_t arg1, void *map);
DXR_API uint32_t DXR_GetQueueDropStat(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint8_t arg4,
                                      void *stat);
DXR_API uint32_t DXR_GetAbsPfcLogicSp(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *sp);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_RegisterBrdPlugin(void *plugin);
DXR_API uint32_t DXR_UnRegisterBrdPlugin(void *plugin);
DXR_API uint32_t DXR_LoadBrdPlugin(void *plugin);
DXR_API void DXR_UnLoadBrdPlugin(void *plugin);
DXR_API uint32_t DXR_IsBrdPluginLoaded(void *plugin);
DXR_API uint32_t DXR_CheckBrdPlugin(void *plugin);
DXR_API uint32_t DXR_QueryBrdPlugin(void *arg1, void *arg2, void *arg3);
DXR_API void DXR_DisplayBrdPlugin(void *arg1, void *arg2, void *arg3, uint32_t arg4);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_Assert(void *value, uint32_t arg2);
DXR_API uint32_t DXR_EnableLogOutput(uint32_t arg1, uint32_t arg2);
DXR_API uint32_t DXR_WriteEventLog(void *event);
DXR_API uint32_t DXR_GetDbgLevel(void);
DXR_API uint32_t DXR_SetDbgLevel(uint32_t level);
DXR_API uint32_t DXR_LOGFILTER_Destroy(void *arg1);
DXR_API const char *DXR_LOGFILTER_GetFileName(void *arg1);
DXR_API uint32_t DXR_LOGFILTER_FilterLargeDiffKeyLog(void *arg1, void *arg2, uint32_t arg3);
DXR_API uint32_t DXR_LOGFILTER_Register(void *arg1);
DXR_API uint32_t DXR_LOGFILTER_RegisterDiffLogForFramework(uint32_t arg1, void *arg2, void *arg3,
                                                           void *arg4);
DXR_API uint32_t DXR_LOGFILTER_ShowCurInfo(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4);
DXR_API uint32_t DXR_LOGFILTER_ShowHisInfo(void *arg1);
DXR_API uint32_t DXR_RecordWarmRebootMileStone(void *arg1);
DXR_API uint32_t DXR_DiagLogFilter(const char *text);
DXR_API uint32_t DXR_LOGFILTER_FilterSameLog(void *handle, const char *format, ...)
    DXR_PRINTF(2, 3);
DXR_API uint32_t DXR_LOGFILTER_FilterDiffKeyLog(void *handle, const char *format, ...)
    DXR_PRINTF(2, 3);
DXR_API uint32_t DXR_PrintLargeBuffer(const char *text);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
#define DXR_LOG_FILTER_TYPE_NUM 29
typedef struct DxrLogFilterEntry {
    uint32_t logHashCode;
    uint32_t beginSec;
    uint32_t lastSec;
    uint32_t logCnt;
    uint32_t key1;
    uint8_t state;
    char logBeginTime[43];
} DxrLogFilterEntry;
DXR_STATIC_ASSERT(sizeof(DxrLogFilterEntry) == 64, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, logHashCode) == 0, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, beginSec) == 4, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, lastSec) == 8, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, logCnt) == 12, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, key1) == 16, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, state) == 20, "DxrLogFilterEntry layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterEntry, logBeginTime) == 21, "DxrLogFilterEntry layout");
#pragma pack(push, 1)
typedef struct DxrLogFilterInfo {
    uint32_t curIndex;
    uint32_t curSize;
    uint32_t capacity;
    DxrLogFilterEntry *entries;
} DxrLogFilterInfo;
#pragma pack(pop)
DXR_STATIC_ASSERT(sizeof(DxrLogFilterInfo) == 20, "DxrLogFilterInfo layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterInfo, curIndex) == 0, "DxrLogFilterInfo layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterInfo, curSize) == 4, "DxrLogFilterInfo layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterInfo, capacity) == 8, "DxrLogFilterInfo layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterInfo, entries) == 12, "DxrLogFilterInfo layout");
typedef struct DxrLogFilterCfg {
    uint32_t logType;
    uint32_t key1;
    uint32_t key2;
    uint32_t key3;
    uint32_t key4;
    uint32_t interval;
} DxrLogFilterCfg;
DXR_STATIC_ASSERT(sizeof(DxrLogFilterCfg) == 24, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, logType) == 0, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, key1) == 4, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, key2) == 8, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, key3) == 12, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, key4) == 16, "DxrLogFilterCfg layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterCfg, interval) == 20, "DxrLogFilterCfg layout");
typedef struct DxrLogFilterHashInput {
    const char *text;
    uint32_t length;
} DxrLogFilterHashInput;
DXR_STATIC_ASSERT(sizeof(DxrLogFilterHashInput) == 16, "DxrLogFilterHashInput layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashInput, text) == 0, "DxrLogFilterHashInput layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashInput, length) == 8, "DxrLogFilterHashInput layout");
typedef struct DxrLogFilterHashFunc {
    uint32_t hashFuncId;
    uint32_t (*func)(const DxrLogFilterHashInput *input, uint32_t *hash);
    const char *desc;
} DxrLogFilterHashFunc;
DXR_STATIC_ASSERT(sizeof(DxrLogFilterHashFunc) == 24, "DxrLogFilterHashFunc layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashFunc, hashFuncId) == 0, "DxrLogFilterHashFunc layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashFunc, func) == 8, "DxrLogFilterHashFunc layout");
DXR_STATIC_ASSERT(offsetof(DxrLogFilterHashFunc, desc) == 16, "DxrLogFilterHashFunc layout");
extern DXR_API DxrLogFilterInfo *g_dxrLogFilterInfo;
extern DXR_API void *g_dxrLogFilterMutex[DXR_LOG_FILTER_TYPE_NUM];
extern DXR_API uint8_t g_dxrLogFilterSwitch;
extern DXR_API uint32_t g_dxrLogFilterMid;
extern DXR_API DxrLogFilterHashFunc g_dxrLogFilterHashFuncList[1];
DXR_API uint32_t DXR_InitLogFilter(uint32_t mid);
DXR_API void DXR_DestroyLogFilter(void);
DXR_API DxrLogFilterInfo *DXR_GetLogFilter(uint32_t logType);
DXR_API uint8_t DXR_IsLogFilterEnable(void);
DXR_API void DXR_EnableLogFilter(uint8_t on);
DXR_API uint32_t DXR_SimpleHash(const DxrLogFilterHashInput *input, uint32_t *hash);
DXR_API uint32_t DXR_GetHashCode(uint32_t hashFuncId, const char *text, uint32_t length);
DXR_API void DXR_ResizeLogFilterInfo(DxrLogFilterInfo *record, uint32_t newCapacity);
DXR_API void DXR_UpdateLogFilterCapacity(DxrLogFilterInfo *record);
DXR_API void DXR_RemoveObsoleteLogFilterInfo(DxrLogFilterInfo *record);
DXR_API void DXR_AddLogFilterInfo(DxrLogFilterInfo *record, uint32_t hash, uint32_t key1);
DXR_API uint32_t DXR_FindRepeatedLogInfoIndex(const DxrLogFilterInfo *record, uint32_t hash);
DXR_API void DXR_UpdateLogFilterInfo(uint32_t position, DxrLogFilterInfo *record);
DXR_API void DXR_UpdateLogFilterTime(uint32_t position, DxrLogFilterInfo *record);
DXR_API uint8_t DXR_IsRepeatedLog(const DxrLogFilterCfg *cfg, const char *text, uint32_t length);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API void DXR_SameLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...)
    DXR_PRINTF(2, 3);
DXR_API void DXR_DiffLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...)
    DXR_PRINTF(2, 3);
DXR_API uint8_t DXR_IsSameKey(uint32_t a, uint32_t b, uint32_t c, uint32_t d);
DXR_API uint32_t DXR_ClearLogFilterInfo(uint32_t logType);
DXR_API uint32_t DXR_ShowLogFilterInfo(const DxrLogFilterCfg *cfg, char *buffer,
                                       uint32_t *writtenLength, uint32_t bufferSize);
DXR_API void DXR_CombineShowLog(const DxrLogFilterCfg *cfg, const DxrLogFilterInfo *record,
                                char *buffer, uint32_t *writtenLength, uint32_t bufferSize);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
#define DXR_PRIVATE_LOG_PATH_SIZE 4096u
DXR_API uint32_t DXR_GetPrivateLogPath(const char *name, char *out, uint32_t outSize);
DXR_API uint32_t DXR_WritePrivateLog(const char *name, uint32_t length, const char *text);
DXR_API uint32_t DXR_GetPrivateLog(const char *name, char *out, uint32_t outSize);
DXR_API uint32_t DXR_GetPrivateLogLen(const char *name);
DXR_API uint32_t DXR_FixPrivateLogLen(const char *name, uint32_t maxLength);
DXR_API uint32_t DXR_CopyFile(const char *source, const char *destination, uint32_t offset,
                              uint32_t length);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
#pragma pack(push, 4)
typedef struct DxrSimulateMsg {
    uint32_t simulateId;
    uint32_t msgType;
    uint32_t lostCnt;
    const char *name;
} DxrSimulateMsg;
#pragma pack(pop)
DXR_STATIC_ASSERT(sizeof(DxrSimulateMsg) == 20, "the host builds the table: fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrSimulateMsg, simulateId) == 0, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrSimulateMsg, msgType) == 4, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrSimulateMsg, lostCnt) == 8, "fixed layout");
DXR_STATIC_ASSERT(offsetof(DxrSimulateMsg, name) == 12, "fixed layout");
typedef uint8_t (*DxrSimulateMsgCompare)(const DxrSimulateMsg *entry, uint32_t key);
DXR_API void DXR_RegisterSimulateMsgMap(DxrSimulateMsg *map, uint32_t size);
DXR_API DxrSimulateMsg *DXR_GetSimulateMsgMap(void);
DXR_API uint32_t DXR_GetSimulateMsgMapSize(void);
DXR_API uint8_t DXR_IsSameSimulateId(const DxrSimulateMsg *entry, uint32_t id);
DXR_API uint8_t DXR_IsSameMsgType(const DxrSimulateMsg *entry, uint32_t msgType);
DXR_API DxrSimulateMsg *DXR_GetSimulateMsg(DxrSimulateMsgCompare compare, uint32_t key);
DXR_API DxrSimulateMsg *DXR_GetSimulateMsgBySimluateId(uint32_t id);
DXR_API DxrSimulateMsg *DXR_GetSimulateMsgByMsgType(uint32_t msgType);
DXR_API void DXR_SetSimulateMsgLost(uint32_t id, uint32_t lostCnt, char *buffer,
                                    uint32_t bufferSize);
DXR_API uint8_t DXR_IsSimulateMsgLost(uint32_t msgType);
DXR_API void DXR_DisplaySimulateMsgLost(char *buffer, uint32_t bufferSize);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_RestorePatch(void);
DXR_API uint32_t DXR_GetEnvValueById(uint32_t id, void *value);
DXR_API uint32_t DXR_GetLrId(void);
DXR_API uint32_t DXR_StartTimer(void *timer);
DXR_API uint32_t DXR_StopTimer(void *timer);
DXR_API void *DXR_FOpen(const char *path, const char *mode);
DXR_API uint32_t DXR_FClose(void *file);
DXR_API uint32_t DXR_FRead(void *buffer, uint32_t size, uint32_t count, void *file);
DXR_API uint32_t DXR_FileLength(const char *path);
DXR_API const char *DXR_GetBinFolderName(void);
DXR_API uint32_t DXR_GetSysWorkPath(char *buffer, uint32_t size);
DXR_API uint32_t DXR_GetCpuUseRate(void);
DXR_API uint32_t DXR_ZipBuffer(uint32_t arg1, void *arg2, void *arg3, void *arg4);
DXR_API uint32_t DXR_SetHeartMon(void *arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4);
DXR_API uint32_t DXR_StopHeartToMon(void *arg1);
DXR_API uint32_t DXR_FSeek(void *file, uint32_t offset, uint32_t origin);
DXR_API uint32_t DXR_IsFileExist(const char *name);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_GetBinFilePath(const char *folderName, const char *fileName, char *filePath,
                                    uint32_t len);
DXR_API uint32_t DXR_GetBinFileDataByFilePath(const char *filePath, uint8_t **data, uint32_t *len);
DXR_API uint32_t DXR_GetBinFileData(const char *folderName, const char *fileName, uint8_t **data,
                                    uint32_t *len);
DXR_API uint32_t DXR_GetWorkDir(const char *subDir, char *path, uint32_t len);
DXR_API uint32_t DXR_GetLatestFile(const char *pattern, const char *subDir, char *fileName,
                                   uint32_t len);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_DynamicCreateTable(uint32_t arg1);
DXR_API uint32_t DXR_GetChipTblmData(uint32_t chip, DxrTblmRequest *request);
DXR_API uint32_t DXR_SetChipTblmData(uint32_t chip, DxrTblmRequest *request);
DXR_API uint32_t DXR_DeleteChipTblmData(uint32_t chip, uint32_t tableId, void *key,
                                        uint32_t keyLen);
DXR_API uint32_t DXR_GetCrossTblmFirstData(void *arg1, void *arg2, void *arg3);
DXR_API uint32_t DXR_GetLinearTblmFirstData(void *arg1, void *arg2);
DXR_API uint32_t DXR_GetTblmNextData(uint32_t arg1, void *arg2);
DXR_API void DXR_ReleaseTblm(uint32_t arg1, uint32_t arg2);
DXR_API uint32_t DXR_GetTblmAttr(uint32_t arg1, void *attr);
DXR_API uint32_t DXR_GetCstPoolCount(uint32_t arg1, uint16_t arg2, uint32_t arg3, void *count);
DXR_API uint32_t DXR_SetChipTblmDataAndMask(uint32_t chip, DxrTblmRequest *request);
extern DXR_API const uint32_t DXR_TBLM_CHIPID_NOTCARE;
DXR_API uint32_t DXR_GetTblmData(DxrTblmRequest *request);
DXR_API uint32_t DXR_SetTblmData(DxrTblmRequest *request);
DXR_API uint32_t DXR_DeleteTblmData(uint32_t tableId, void *key, uint32_t keyLen);
DXR_API uint32_t DXR_AddChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen,
                                     void *data, uint32_t dataLen);
DXR_API uint32_t DXR_QueryChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen,
                                       void *data, uint32_t dataLen);
DXR_API uint32_t DXR_AddTblmData(uint32_t tableId, void *key, uint32_t keyLen, void *data,
                                 uint32_t dataLen);
DXR_API uint32_t DXR_QueryTblmData(uint32_t tableId, void *key, uint32_t keyLen, void *data,
                                   uint32_t dataLen);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API uint32_t DXR_WriteEvent(uint32_t arg1, uint32_t arg2);
DXR_API uint32_t DXR_DelayTask(uint32_t arg1);
DXR_API uint32_t DXR_InitMutex(void **mutex, void *option);
DXR_API uint32_t DXR_DestroyMutex(void *mutex);
DXR_API uint32_t DXR_LockMutex(void *mutex);
DXR_API uint32_t DXR_UnlockMutex(void *mutex);
DXR_API uint32_t DXR_ReadEvent(uint32_t arg1, uint32_t mode, uint32_t arg3, void *events);
DXR_API uint32_t DXR_CreateTask(void *arg1, void *arg2, void *arg3, uint32_t arg4, void *arg5,
                                uint32_t flag, void *arg7);
DXR_API uint32_t DXR_SchedYield(void);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API void DXR_GetSysTime(DxrSysTime *time);
DXR_API uint32_t DXR_SysTime2Str(void *arg1, uint32_t arg2, void *arg3);
DXR_API void DXR_SysTimeSec2Time(uint32_t sec, void *time);
DXR_API void DXR_Tick2Ms(void *arg1);
DXR_API uint64_t DXR_GetCurrMs(void);
DXR_API uint32_t DXR_GetCurrSec(void);
DXR_API void DXR_GetCurrentTick(void *tick);
DXR_API void DXR_GetCpuTick(void *arg1, void *arg2);
DXR_API void DXR_GetCurrTime(char *text, uint32_t size, uint32_t *sec);
DXR_API uint32_t DXR_CalSystimeRelSec(void *arg1, void *arg2, void *arg3);
DXR_API void DXR_GetStartupTimeStamp(void *stamp);
DXR_API void DXR_AddStartupTime(void *time);
DXR_API uint32_t DXR_GetGMT(void *time);
DXR_API uint32_t DXR_GetLocalTime(void *arg1, void *arg2);
DXR_API uint32_t DXR_GetStartupTimeSec(void);
DXR_API void DXR_SleepUs(uint32_t us);
DXR_API void DXR_SleepMs(uint32_t ms);
DXR_API uint64_t DXR_GetCurrMacroSec(void);
DXR_API uint64_t DXR_GetCurrNanoSec(void);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API void DXR_RegisterQueryTempFunc(uint32_t arg1, void *func);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
typedef struct {
    uint32_t value;
    uint32_t mask;
    uint32_t expected;
} DxrBitHitRec;
DXR_STATIC_ASSERT(sizeof(DxrBitHitRec) == 12, "size of DxrBitHitRec");
DXR_STATIC_ASSERT(offsetof(DxrBitHitRec, value) == 0, "DxrBitHitRec.value");
DXR_STATIC_ASSERT(offsetof(DxrBitHitRec, mask) == 4, "DxrBitHitRec.mask");
DXR_STATIC_ASSERT(offsetof(DxrBitHitRec, expected) == 8, "DxrBitHitRec.expected");
DXR_API uint32_t DXR_IsSameBitMap(const uint32_t *a, const uint32_t *b, uint32_t wordCount);
DXR_API void DXR_BitmapCopy(uint32_t *dst, const uint32_t *src, uint32_t wordCount);
DXR_API void DXR_BitmapZero(uint32_t *bmp, uint32_t wordCount);
DXR_API uint32_t DXR_IsZeroBmp(const uint32_t *bmp, uint32_t wordCount);
DXR_API void DXR_OrBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount);
DXR_API void DXR_AndBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount);
DXR_API void DXR_XorBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount);
DXR_API void DXR_ReverseBmp(uint32_t *bmp, uint32_t wordCount);
DXR_API void DXR_InverseBitMap(uint32_t *bmp, uint32_t wordCount);
DXR_API void DXR_NegateArray(uint32_t *bmp, uint32_t wordCount, uint32_t bitCount);
DXR_API uint32_t DXR_GetNonZeroCntInArray(const uint32_t *arr, uint32_t count);
DXR_API uint32_t DXR_IsNonZeroCntOverN(const uint32_t *arr, uint32_t count, uint32_t n);
DXR_API uint32_t DXR_CountValidBit(uint32_t word);
DXR_API uint32_t DXR_CountValidBitOfArray(const uint32_t *arr, uint32_t count);
DXR_API void DXR_GetBitMapStr(const uint32_t *bmp, uint32_t wordCount, char *buf, uint32_t bufLen);
DXR_API uint32_t DXR_IsSetBmp(const uint32_t *bmp, uint32_t wordCount, uint32_t bit);
DXR_API void DXR_SetBmpBit(uint32_t *bmp, uint32_t wordCount, uint32_t bit);
DXR_API void DXR_ClearBmpBit(uint32_t *bmp, uint32_t wordCount, uint32_t bit);
DXR_API void DXR_SetBitField(uint32_t *buf, uint32_t wordCount, uint32_t value, uint32_t startBit,
                             uint32_t width);
DXR_API void DXR_SetBitField32(uint32_t *buf, uint32_t value, uint32_t startBit, uint32_t width);
DXR_API void DXR_SetBit(uint32_t *buf, uint32_t bit);
DXR_API void DXR_ClearBit(uint32_t *buf, uint32_t bit);
DXR_API uint32_t DXR_GetBitField(const uint32_t *buf, uint32_t wordCount, uint32_t startBit,
                                 uint32_t width);
DXR_API uint32_t DXR_GetBitField64(uint64_t value, uint32_t startBit, uint32_t width);
DXR_API uint32_t DXR_GetBitField32(uint32_t value, uint32_t startBit, uint32_t width);
DXR_API uint32_t DXR_GetBit(uint32_t value, uint32_t bit);
DXR_API uint32_t DXR_IsBitHit(const DxrBitHitRec *rec);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
extern DXR_API uint8_t g_dxrCrc8Table[256];
extern DXR_API uint8_t g_dxrCrc8TableInit;
DXR_API void DXR_InitCrc8Table(void);
DXR_API uint32_t DXR_CalculateCrc8(const uint8_t *data, uint64_t len);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
typedef struct {
    uint32_t chipNum;
    uint32_t linkNumPerChip;
    uint32_t *bitMap;
    uint32_t wordNumPerChip;
} DxrLinkBitMap;
DXR_STATIC_ASSERT(sizeof(DxrLinkBitMap) == 24, "size of DxrLinkBitMap");
DXR_STATIC_ASSERT(offsetof(DxrLinkBitMap, chipNum) == 0, "DxrLinkBitMap.chipNum");
DXR_STATIC_ASSERT(offsetof(DxrLinkBitMap, linkNumPerChip) == 4, "DxrLinkBitMap.linkNumPerChip");
DXR_STATIC_ASSERT(offsetof(DxrLinkBitMap, bitMap) == 8, "DxrLinkBitMap.bitMap");
DXR_STATIC_ASSERT(offsetof(DxrLinkBitMap, wordNumPerChip) == 16, "DxrLinkBitMap.wordNumPerChip");
DXR_API uint32_t DXR_CalcChipIdByAbsoluteLinkId(uint32_t absLinkId, uint32_t linkNumPerChip);
DXR_API uint32_t DXR_CalcLinkIdByAbsoluteLinkId(uint32_t absLinkId, uint32_t linkNumPerChip);
DXR_API uint32_t DXR_CalcAbsoluteLinkId(uint32_t chipId, uint32_t linkNumPerChip, uint32_t linkId);
DXR_API DxrLinkBitMap *DXR_CreateLinkBitMap(uint32_t chipNum, uint32_t linkNumPerChip);
DXR_API void DXR_SaveLinkToBitMap(DxrLinkBitMap *map, uint32_t chipId, uint32_t linkId);
DXR_API void DXR_SaveLinkToBitMapByAbsLinkId(DxrLinkBitMap *map, uint32_t absLinkId);
DXR_API void DXR_FillLinkBitMapToBuf(const DxrLinkBitMap *map, char *buf, uint32_t bufLen);
DXR_API void DXR_PrintLinkToBitMap(const DxrLinkBitMap *map, const char *format, ...)
    DXR_PRINTF(2, 3);
DXR_API void DXR_DestroyLinkBitMap(DxrLinkBitMap *map);
DXR_EXTERN_C_END
DXR_EXTERN_C_BEGIN
DXR_API int32_t DXR_AscendCmp(const void *a, const void *b);
DXR_API int32_t DXR_DescendCmp(const void *a, const void *b);
DXR_API void DXR_AscendSort(void *base, uint32_t n);
DXR_API void DXR_DecendSort(void *base, uint32_t n);
DXR_API uint32_t DXR_Find(const uint32_t *arr, uint32_t value, uint32_t count);
DXR_API uint32_t DXR_Max(uint32_t a, uint32_t b);
DXR_API uint32_t DXR_Min(uint32_t a, uint32_t b);
DXR_API uint64_t DXR_Max64(uint64_t a, uint64_t b);
DXR_API uint64_t DXR_Min64(uint64_t a, uint64_t b);
DXR_API uint32_t DXR_IsOdd(uint32_t value);
DXR_API uint32_t DXR_IsEven(uint32_t value);
DXR_API void DXR_ConvertRateUnit(uint64_t *rate, uint32_t *unit);
DXR_API uint32_t DXR_CalPercentage(uint32_t part, uint32_t total);
DXR_API uint32_t DXR_Div(uint32_t dividend, uint32_t divisor, uint32_t decimals,
                         uint32_t *fraction);
DXR_API int32_t DXR_Avg(const int32_t *values, uint32_t count);
DXR_API uint32_t DXR_IsLittleEndianess(void);
DXR_API uint32_t DXR_NTOHL(uint32_t value);
DXR_API uint32_t DXR_HTONL(uint32_t value);
DXR_API uint64_t DXR_NTOHLL(uint64_t value);
DXR_API uint16_t DXR_HTONS(uint16_t value);
DXR_API uint16_t DXR_NTOHS(uint16_t value);
DXR_API uint32_t DXR_ReverseByte(uint32_t value);
DXR_API uint64_t DXR_FlipBit(uint64_t value, uint32_t byteCount);
DXR_EXTERN_C_END
#endif
