# Made by python/make_interface.py; do not edit.
from typing import Any, Callable

_Pointer = Any  # what cffi gives for a C pointer
_Record = Any
_Text = str | bytes | bytearray | memoryview | None
_Data = Any  # bytes, bytearray, a pointer, None
_Function = Callable[..., Any] | None

DXR_API_VERSION_MAJOR: int
DXR_API_VERSION_MINOR: int
DXR_API_VERSION_PATCH: int
DXR_HOST_ACK_LATER: int
DXR_HOST_ADDRESS_HERE: int
DXR_HOST_ADDRESS_NONE: int
DXR_HOST_ADDRESS_THERE: int
DXR_HOST_ALARM_CLEARED: int
DXR_HOST_ALARM_CRITICAL: int
DXR_HOST_ALARM_FM: int
DXR_HOST_ALARM_MAJOR: int
DXR_HOST_ALARM_MINOR: int
DXR_HOST_ALARM_PLAIN: int
DXR_HOST_ALARM_RAISED: int
DXR_HOST_ALARM_TEXT_SIZE: int
DXR_HOST_ALARM_WARNING: int
DXR_HOST_CLOCK_REAL: int
DXR_HOST_CLOCK_STEPPED: int
DXR_HOST_CLOCK_VIRTUAL: int
DXR_HOST_CONFIG_VALUES: int
DXR_HOST_DB_CHASSIS: int
DXR_HOST_DB_FIC: int
DXR_HOST_DB_LPU: int
DXR_HOST_DB_NG_TM: int
DXR_HOST_DB_SERVICE_PORT: int
DXR_HOST_DB_TM_PORT: int
DXR_HOST_DB_VALUES: int
DXR_HOST_DB_VSQ: int
DXR_HOST_DELAY_MS: int
DXR_HOST_DEV_CREATE: int
DXR_HOST_DEV_EXCLUSIVE: int
DXR_HOST_DEV_LENGTH: int
DXR_HOST_DEV_READ: int
DXR_HOST_DEV_READ_ONLY: int
DXR_HOST_DEV_SEEK: int
DXR_HOST_DEV_SYNC: int
DXR_HOST_DROPS_CLEAR: int
DXR_HOST_DROPS_READ: int
DXR_HOST_ERROR_BOARD: int
DXR_HOST_ERROR_LINK: int
DXR_HOST_ERROR_MEMORY: int
DXR_HOST_ERROR_NONE: int
DXR_HOST_ERROR_PEER: int
DXR_HOST_ERROR_QUEUE: int
DXR_HOST_EVENT_COMMAND: int
DXR_HOST_EVENT_ENVIRONMENT: int
DXR_HOST_EVENT_HEART_BEAT: int
DXR_HOST_EVENT_LINK: int
DXR_HOST_EVENT_MEMORY: int
DXR_HOST_EVENT_MESSAGE: int
DXR_HOST_EVENT_QUEUE: int
DXR_HOST_EVERY_CHIP: int
DXR_HOST_FAULT_DELAY: int
DXR_HOST_FAULT_FAIL: int
DXR_HOST_FAULT_FLIP: int
DXR_HOST_FAULT_READS: int
DXR_HOST_FAULT_WRITES: int
DXR_HOST_FOREVER: int
DXR_HOST_HASH_ADD: int
DXR_HOST_HASH_DATA: int
DXR_HOST_HASH_KEY: int
DXR_HOST_HASH_REPLACE: int
DXR_HOST_I2C: int
DXR_HOST_KEY_BYTES: int
DXR_HOST_LIST_FIND: int
DXR_HOST_LIST_HEAD: int
DXR_HOST_LIST_MOVE_TO_HEAD: int
DXR_HOST_LIST_REMOVE: int
DXR_HOST_LIST_TAIL: int
DXR_HOST_MAP_PRIVATE: int
DXR_HOST_MAP_READ_ONLY: int
DXR_HOST_MAP_SHARED: int
DXR_HOST_MC_PORTS: int
DXR_HOST_MDIO: int
DXR_HOST_MEASURED_LOAD: int
DXR_HOST_MESSAGE_ACK: int
DXR_HOST_MESSAGE_BYTES: int
DXR_HOST_MESSAGE_DELAY_MS: int
DXR_HOST_MESSAGE_EOP: int
DXR_HOST_MOST_ALARMS: int
DXR_HOST_MOST_BOARDS: int
DXR_HOST_MOST_EVENTS: int
DXR_HOST_MOST_FAULT_CHECKS: int
DXR_HOST_MOST_INCARNATION: int
DXR_HOST_MOST_KPIS: int
DXR_HOST_MOST_LATE_MESSAGES: int
DXR_HOST_MOST_OUTGOING_BYTES: int
DXR_HOST_MOST_OUTGOING_MESSAGES: int
DXR_HOST_MOST_REPORTS: int
DXR_HOST_MOST_TRIGGER_TEXTS: int
DXR_HOST_OUTPUT_DIAG: int
DXR_HOST_OUTPUT_EVENTS: int
DXR_HOST_OUTPUT_MESSAGES: int
DXR_HOST_OUTPUT_PRIVATE_LOGS: int
DXR_HOST_PATIENCE_MS: int
DXR_HOST_PCIE_CONFIG: int
DXR_HOST_PCIE_MEMORY: int
DXR_HOST_PLUGIN_INTERFACE: int
DXR_HOST_PLUGIN_SYMBOL: str
DXR_HOST_POOL_CAPACITY: int
DXR_HOST_POOL_FREE: int
DXR_HOST_POOL_USED: int
DXR_HOST_PRE_RESET_CALL: int
DXR_HOST_PRE_RESET_SKIP: int
DXR_HOST_REGISTERS: int
DXR_HOST_REPORT_LEFTOVER: int
DXR_HOST_REPORT_MISUSE: int
DXR_HOST_REPORT_RISK: int
DXR_HOST_REPORT_RUN: int
DXR_HOST_RESET_HOLD: int
DXR_HOST_RESET_PULSE: int
DXR_HOST_RESET_RELEASE: int
DXR_HOST_TICK_MS: int
DXR_HOST_TRIGGER_IRQ: int
DXR_HOST_TRIGGER_PEER: int
DXR_HOST_TRIGGER_POLL: int
DXR_HOST_TRIGGER_TIMER: int
DXR_HOST_TRIGGER_USER: int
DXR_HOST_UNIT_DEVM: int
DXR_HOST_UNIT_LPU: int
DXR_HOST_UNIT_MPU: int
DXR_HOST_UNIT_NP: int
DXR_HOST_UNIT_SFU: int
DXR_LOG_FILTER_TYPE_NUM: int
DXR_MESSAGE_FILTER_NAME_SIZE: int
DXR_PRIVATE_LOG_DIRECTORY: str
DXR_PRIVATE_LOG_PATH_SIZE: int
DXR_PRIVATE_LOG_WRITE_MAX: int
DXR_RECORD_COUNT: int
DXR_RECORD_TEXT_SIZE: int
DXR_TRACE_CALLS: int
DXR_TRACE_CHROME: int
DXR_TRACE_COUNT: int
DXR_TRACE_COUNTS: int
DXR_TRACE_COUNTS_JSON: int
DXR_TRACE_DROP: int
DXR_TRACE_JSON_LINES: int
DXR_TRACE_OFF: int
DXR_TRACE_POINTERS_DEVHOST: int
DXR_TRACE_POINTERS_INTERFACE: int
DXR_TRACE_POINTERS_NONE: int
DXR_TRACE_TEXT: int
DXR_TRACE_WAIT: int

def DXR_Alarm(arg1_: int, arg2_: int, arg3_: int, arg4_: int, arg5_: _Data, /) -> int:
    """uint32_t DXR_Alarm(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4, void *arg5)"""
def DXR_FmAlarm(alarm_: _Data, /) -> int:
    """uint32_t DXR_FmAlarm(void *alarm)"""
def DXR_SelectDbRecordCount(query_: _Data, count_: _Data, /) -> int:
    """uint32_t DXR_SelectDbRecordCount(void *query, uint32_t *count)"""
def DXR_SelectDbRecordLimit(query_: _Data, limit_: int, records_: _Data, /) -> int:
    """uint32_t DXR_SelectDbRecordLimit(void *query, uint32_t limit, void *records)"""
def DXR_SelectFirstDbRecord(query_: _Data, record_: _Data, /) -> int:
    """uint32_t DXR_SelectFirstDbRecord(void *query, void *record)"""
def DXR_GetLocalFicIdFromDb(arg1_: int, arg2_: int, arg3_: int, ficId_: _Data, /) -> int:
    """uint32_t DXR_GetLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *ficId)"""
def DXR_GetTmTypeByGlobalFicIdFromDb(ficId_: int, type_: _Data, /) -> int:
    """uint32_t DXR_GetTmTypeByGlobalFicIdFromDb(uint32_t ficId, void *type)"""
def DXR_GetTmTypeByLocalFicIdFromDb(arg1_: int, arg2_: int, type_: _Data, /) -> int:
    """uint32_t DXR_GetTmTypeByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *type)"""
def DXR_GetChipPosByGlobalFicIdFromDb(ficId_: int, position_: _Data, /) -> int:
    """uint32_t DXR_GetChipPosByGlobalFicIdFromDb(uint32_t ficId, void *position)"""
def DXR_GetChipPosByLocalFicIdFromDb(arg1_: int, arg2_: int, position_: _Data, /) -> int:
    """uint32_t DXR_GetChipPosByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *position)"""
def DXR_GetFicIdByNodeGroupIdFromDb(arg1_: int, arg2_: _Data, arg3_: _Data, arg4_: int, /) -> int:
    """uint32_t DXR_GetFicIdByNodeGroupIdFromDb(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4)"""
def DXR_GetNgTmCfgFromDb(arg1_: int, arg2_: int, arg3_: int, config_: _Data, /) -> int:
    """uint32_t DXR_GetNgTmCfgFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *config)"""
def DXR_GetNgTmPortInfoFromDb(arg1_: int, arg2_: int, arg3_: int, info_: _Data, /) -> int:
    """uint32_t DXR_GetNgTmPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *info)"""
def DXR_GetNgTmPortInfoByVsqIdFromDb(arg1_: int, arg2_: int, info_: _Data, /) -> int:
    """uint32_t DXR_GetNgTmPortInfoByVsqIdFromDb(uint32_t arg1, uint32_t arg2, void *info)"""
def DXR_GetNgTmSrvPortInfoFromDb(arg1_: int, arg2_: int, arg3_: int, arg4_: int, info_: _Data, /) -> int:
    """uint32_t DXR_GetNgTmSrvPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4, void *info)"""
def DXR_GetNgTmSrvPortByVsqFromDb(vsq_: int, port_: _Data, /) -> int:
    """uint32_t DXR_GetNgTmSrvPortByVsqFromDb(uint32_t vsq, void *port)"""
def DXR_IsMcRepByTm() -> int:
    """uint32_t DXR_IsMcRepByTm(void)"""
def DXR_GetDestFicPort(arg1_: _Data, arg2_: _Data, /) -> _Pointer:
    """void *DXR_GetDestFicPort(void *arg1, void *arg2)"""
def DXR_GetNgTmSrvPortByFicIdFromDb(arg1_: int, arg2_: int, arg3_: _Data, arg4_: int, arg5_: _Data, /) -> int:
    """uint32_t DXR_GetNgTmSrvPortByFicIdFromDb(uint32_t arg1, uint32_t arg2, void *arg3, uint32_t arg4, void *arg5)"""
def DXR_GetLpuDevId(arg1_: int, /) -> int:
    """uint32_t DXR_GetLpuDevId(uint32_t arg1)"""
def DXR_GetNgTmPortInfoByTmPortFromDb(arg1_: int, arg2_: int, arg3_: int, info_: _Data, /) -> int:
    """uint32_t DXR_GetNgTmPortInfoByTmPortFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *info)"""
def DXR_SelectDbRecord(query_: _Data, count_: _Data, /) -> _Pointer:
    """void *DXR_SelectDbRecord(void *query, uint32_t *count)"""
def DXR_GetFeNodeGrpId(arg1_: int, arg2_: int, /) -> int:
    """uint32_t DXR_GetFeNodeGrpId(uint32_t arg1, uint32_t arg2)"""
def DXR_CFG_ReadBoardData(arg1_: _Data, arg2_: int, arg3_: int, /) -> None:
    """void DXR_CFG_ReadBoardData(void *arg1, uint32_t arg2, uint32_t arg3)"""
def DXR_CFG_DisplayBoardData(arg1_: _Data, arg2_: int, /) -> int:
    """uint32_t DXR_CFG_DisplayBoardData(void *arg1, uint32_t arg2)"""
def DXR_CFG_ClearBoardData() -> None:
    """void DXR_CFG_ClearBoardData(void)"""
def DXR_CFG_GetBoardData(arg1_: int, /) -> int:
    """uint32_t DXR_CFG_GetBoardData(uint32_t arg1)"""
def DXR_CFG_IsFromBoardData(arg1_: int, /) -> int:
    """uint32_t DXR_CFG_IsFromBoardData(uint32_t arg1)"""
def DXR_CFG_GetMemParam(arg1_: int, /) -> _Pointer:
    """void *DXR_CFG_GetMemParam(uint32_t arg1)"""
def DXR_CFG_IsFromMemParam(arg1_: int, /) -> int:
    """uint32_t DXR_CFG_IsFromMemParam(uint32_t arg1)"""
def DXR_CFG_GetAdvancedSpec(arg1_: int, arg2_: int, /) -> _Pointer:
    """void *DXR_CFG_GetAdvancedSpec(uint32_t arg1, uint32_t arg2)"""
def DXR_CFG_IsFromBoardAdvancedSpec(arg1_: int, /) -> int:
    """uint32_t DXR_CFG_IsFromBoardAdvancedSpec(uint32_t arg1)"""
def DXR_CFG_GetPhyBoardInfo(arg1_: int, /) -> int:
    """uint32_t DXR_CFG_GetPhyBoardInfo(uint32_t arg1)"""
def DXR_CFG_IsFromPhyBoardInfo(arg1_: int, /) -> int:
    """uint32_t DXR_CFG_IsFromPhyBoardInfo(uint32_t arg1)"""
def DXR_CFG_FmtCfgFile(name_: _Text, id1_: int, id2_: int, buf_: _Text, bufSize_: int, /) -> None:
    """void DXR_CFG_FmtCfgFile(const char *name, uint32_t id1, uint32_t id2, char *buf, uint32_t bufSize)"""
def DXR_BoardIsMaster() -> int:
    """uint32_t DXR_BoardIsMaster(void)"""
def DXR_GetDevAttrValue(arg1_: int, arg2_: int, value_: _Data, /) -> int:
    """uint32_t DXR_GetDevAttrValue(uint32_t arg1, uint32_t arg2, void *value)"""
def DXR_SetDevAttrValue(arg1_: int, arg2_: int, value_: int, /) -> int:
    """uint32_t DXR_SetDevAttrValue(uint32_t arg1, uint32_t arg2, uint32_t value)"""
def DXR_SetDevMmapType(arg1_: int, arg2_: int, /) -> int:
    """uint32_t DXR_SetDevMmapType(uint32_t arg1, uint32_t arg2)"""
def DXR_GetEnv(name_: _Text, value_: _Data, size_: int, /) -> int:
    """uint32_t DXR_GetEnv(const char *name, void *value, uint32_t size)"""
def DXR_SetEnv(name_: _Text, value_: _Data, size_: int, /) -> int:
    """uint32_t DXR_SetEnv(const char *name, void *value, uint32_t size)"""
def DXR_SaveEnv() -> int:
    """uint32_t DXR_SaveEnv(void)"""
def DXR_SaveEnvBlock() -> int:
    """uint32_t DXR_SaveEnvBlock(void)"""
def DXR_GetMemEnv(name_: _Text, value_: _Data, size_: int, /) -> int:
    """uint32_t DXR_GetMemEnv(const char *name, void *value, uint32_t size)"""
def DXR_SetMemEnv(name_: _Text, value_: _Data, size_: int, /) -> int:
    """uint32_t DXR_SetMemEnv(const char *name, void *value, uint32_t size)"""
def DXR_SaveMemEnv() -> int:
    """uint32_t DXR_SaveMemEnv(void)"""
def DXR_GetPcieConfigRegValue(arg1_: int, arg2_: int, value_: _Data, /) -> int:
    """uint32_t DXR_GetPcieConfigRegValue(uint32_t arg1, uint32_t arg2, void *value)"""
def DXR_SetPcieConfigRegValue(arg1_: int, arg2_: int, value_: int, /) -> int:
    """uint32_t DXR_SetPcieConfigRegValue(uint32_t arg1, uint32_t arg2, uint32_t value)"""
def DXR_GetRsvMemMmapAddr(arg1_: _Data, arg2_: int, address_: _Data, /) -> int:
    """uint32_t DXR_GetRsvMemMmapAddr(void *arg1, uint32_t arg2, void *address)"""
def DXR_GetResetMode(mode_: _Data, /) -> int:
    """uint32_t DXR_GetResetMode(void *mode)"""
def DXR_IsRunInLs() -> int:
    """uint32_t DXR_IsRunInLs(void)"""
def DXR_ScanPcie(arg1_: int, /) -> int:
    """uint32_t DXR_ScanPcie(uint32_t arg1)"""
def DXR_GetRsvdMem(arg1_: int, arg2_: _Data, arg3_: _Data, /) -> int:
    """uint32_t DXR_GetRsvdMem(uint32_t arg1, void *arg2, void *arg3)"""
def DXR_GetProductFamilyType() -> int:
    """uint32_t DXR_GetProductFamilyType(void)"""
def DXR_IsCentralPurchaseMode() -> int:
    """uint32_t DXR_IsCentralPurchaseMode(void)"""
def DXR_MmapDev(arg1_: int, arg2_: int, /) -> _Pointer:
    """void *DXR_MmapDev(uint32_t arg1, uint32_t arg2)"""
def DXR_MunmapDev(address_: _Data, size_: int, /) -> int:
    """uint32_t DXR_MunmapDev(void *address, uint32_t size)"""
def DXR_OpenDev(path_: _Text, /) -> int:
    """uint32_t DXR_OpenDev(const char *path)"""
def DXR_OpenDevWithOption(path_: _Text, option_: int, /) -> int:
    """uint32_t DXR_OpenDevWithOption(const char *path, uint32_t option)"""
def DXR_CloseDev(device_: int, /) -> int:
    """uint32_t DXR_CloseDev(uint32_t device)"""
def DXR_ControlDev(request_: _Data, /) -> int:
    """uint32_t DXR_ControlDev(void *request)"""
def DXR_WriteDev(device_: int, arg2_: _Data, arg3_: int, arg4_: _Data, /) -> int:
    """uint32_t DXR_WriteDev(uint32_t device, void *arg2, uint32_t arg3, void *arg4)"""
def DXR_ReadI2c(request_: _Data, /) -> int:
    """uint32_t DXR_ReadI2c(void *request)"""
def DXR_WriteI2c(request_: _Data, /) -> int:
    """uint32_t DXR_WriteI2c(void *request)"""
def DXR_ReadReg16(arg1_: int, arg2_: int, arg3_: int, value_: _Data, /) -> int:
    """uint32_t DXR_ReadReg16(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value)"""
def DXR_WriteReg16(arg1_: int, arg2_: int, arg3_: int, value_: int, /) -> int:
    """uint32_t DXR_WriteReg16(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint16_t value)"""
def DXR_ReadReg(arg1_: int, arg2_: int, arg3_: int, value_: _Data, /) -> int:
    """uint32_t DXR_ReadReg(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value)"""
def DXR_WriteReg(arg1_: int, arg2_: int, arg3_: int, value_: int, /) -> int:
    """uint32_t DXR_WriteReg(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t value)"""
def DXR_GetServiceType() -> int:
    """uint32_t DXR_GetServiceType(void)"""
def DXR_GetVoltageKey(arg1_: int, arg2_: int, arg3_: int, key_: _Data, /) -> int:
    """uint32_t DXR_GetVoltageKey(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *key)"""
def DXR_SetVoltage(arg1_: int, arg2_: int, voltage_: int, /) -> int:
    """uint32_t DXR_SetVoltage(uint32_t arg1, uint32_t arg2, uint32_t voltage)"""
def DXR_GetVoltage(arg1_: int, arg2_: int, voltage_: _Data, /) -> int:
    """uint32_t DXR_GetVoltage(uint32_t arg1, uint32_t arg2, void *voltage)"""
def DXR_HardResetChip(arg1_: int, arg2_: int, arg3_: int, /) -> int:
    """uint32_t DXR_HardResetChip(uint32_t arg1, uint32_t arg2, uint32_t arg3)"""
def DXR_ProbePcie(arg1_: int, arg2_: int, arg3_: int, /) -> int:
    """uint32_t DXR_ProbePcie(uint32_t arg1, uint32_t arg2, uint32_t arg3)"""
def DXR_InitSafeIo() -> None:
    """void DXR_InitSafeIo(void)"""
def DXR_GetBomId(arg1_: int, arg2_: int, bomId_: _Data, /) -> int:
    """uint32_t DXR_GetBomId(uint32_t arg1, uint32_t arg2, void *bomId)"""
def DXR_ReadPcie(arg1_: int, arg2_: _Data, value_: _Data, /) -> int:
    """uint32_t DXR_ReadPcie(uint32_t arg1, void *arg2, void *value)"""
def DXR_WritePcie(arg1_: int, arg2_: _Data, value_: int, /) -> int:
    """uint32_t DXR_WritePcie(uint32_t arg1, void *arg2, uint32_t value)"""
def DXR_GetDeviceBar(arg1_: int, arg2_: int, arg3_: _Data, arg4_: _Data, /) -> int:
    """uint32_t DXR_GetDeviceBar(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4)"""
def DXR_ResetBoard(arg1_: int, /) -> None:
    """void DXR_ResetBoard(uint32_t arg1)"""
def DXR_GetLocalPcbVersion() -> int:
    """uint32_t DXR_GetLocalPcbVersion(void)"""
def DXR_GetHardId(arg1_: int, hardId_: _Data, /) -> int:
    """uint32_t DXR_GetHardId(uint32_t arg1, void *hardId)"""
def DXR_GetPcbVersion() -> int:
    """uint32_t DXR_GetPcbVersion(void)"""
def DXR_ChmodRsvMemFile(file_: _Data, mode_: int, /) -> int:
    """uint32_t DXR_ChmodRsvMemFile(void *file, uint32_t mode)"""
def DXR_GetVsfuDevName(name_: _Data, size_: int, /) -> int:
    """uint32_t DXR_GetVsfuDevName(void *name, uint32_t size)"""
def DXR_RebootOS(arg1_: int, arg2_: _Data, /) -> int:
    """uint32_t DXR_RebootOS(uint32_t arg1, void *arg2)"""
def DXR_RegisterPreResetProcFunc(arg1_: _Data, arg2_: _Data, /) -> int:
    """uint32_t DXR_RegisterPreResetProcFunc(void *arg1, void *arg2)"""
def DXR_CreateIOWorker(arg1_: int, arg2_: int, arg3_: _Data, /) -> int:
    """uint32_t DXR_CreateIOWorker(uint32_t arg1, uint32_t arg2, void *arg3)"""
def DXR_GetPreResetMode(mode_: _Data, /) -> int:
    """uint32_t DXR_GetPreResetMode(void *mode)"""
def DXR_SetPreResetMode(mode_: int, /) -> None:
    """void DXR_SetPreResetMode(uint32_t mode)"""
def DXR_VSfuLoadPacket(arg1_: int, packet_: _Data, arg3_: int, arg4_: int, arg5_: int, /) -> int:
    """uint32_t DXR_VSfuLoadPacket(uint32_t arg1, void *packet, uint32_t arg3, uint32_t arg4, uint32_t arg5)"""
def DXR_GetSoftPcbVersion() -> int:
    """uint32_t DXR_GetSoftPcbVersion(void)"""
def DXR_IsIssuState() -> int:
    """uint32_t DXR_IsIssuState(void)"""
def DXR_WriteMdio(arg1_: int, arg2_: int, arg3_: int, arg4_: int, arg5_: int, value_: int, /) -> int:
    """uint32_t DXR_WriteMdio(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4, uint16_t arg5, uint16_t value)"""
def DXR_ReadMdio(arg1_: int, arg2_: int, arg3_: int, arg4_: int, arg5_: int, value_: _Data, /) -> int:
    """uint32_t DXR_ReadMdio(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4, uint16_t arg5, void *value)"""
def DXR_EnableMdioParallel(arg1_: int, arg2_: int, arg3_: int, /) -> int:
    """uint32_t DXR_EnableMdioParallel(uint32_t arg1, uint32_t arg2, uint16_t arg3)"""
def DXR_CdrResetChip(arg1_: int, arg2_: int, arg3_: int, /) -> int:
    """uint32_t DXR_CdrResetChip(uint32_t arg1, uint32_t arg2, uint32_t arg3)"""
def DXR_CmdCallback(arg1_: _Data, arg2_: int, /) -> int:
    """uint32_t DXR_CmdCallback(void *arg1, uint32_t arg2)"""
def DXR_IntrSetRegist(arg1_: int, arg2_: int, arg3_: _Data, arg4_: _Data, /) -> int:
    """uint32_t DXR_IntrSetRegist(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4)"""
def DXR_GetBoardDrvType() -> int:
    """uint32_t DXR_GetBoardDrvType(void)"""
def DXR_GetWofflineState(arg1_: int, state_: _Data, /) -> int:
    """uint32_t DXR_GetWofflineState(uint32_t arg1, void *state)"""
def DXR_CheckSmiLosEnable(arg1_: int, arg2_: int, /) -> int:
    """uint32_t DXR_CheckSmiLosEnable(uint32_t arg1, uint32_t arg2)"""
def DXR_WriteFlashInfo(info_: _Data, /) -> int:
    """uint32_t DXR_WriteFlashInfo(void *info)"""
def DXR_FfmStartFaultCheck() -> int:
    """uint32_t DXR_FfmStartFaultCheck(void)"""
def DXR_FfmStopFaultCheck() -> int:
    """uint32_t DXR_FfmStopFaultCheck(void)"""
def DXR_HashCount(table_: _Data, /) -> int:
    """uint32_t DXR_HashCount(void *table)"""
def DXR_HashCreate(arg1_: _Data, /) -> _Pointer:
    """void *DXR_HashCreate(void *arg1)"""
def DXR_HashFindKey(table_: _Data, key_: _Data, /) -> _Pointer:
    """void *DXR_HashFindKey(void *table, void *key)"""
def DXR_HashFree(table_: _Data, /) -> int:
    """uint32_t DXR_HashFree(void *table)"""
def DXR_HashGetBucketNum(table_: _Data, /) -> int:
    """uint32_t DXR_HashGetBucketNum(void *table)"""
def DXR_HashGetFirst(table_: _Data, /) -> _Pointer:
    """void *DXR_HashGetFirst(void *table)"""
def DXR_HashGetNext(table_: _Data, entry_: _Data, /) -> _Pointer:
    """void *DXR_HashGetNext(void *table, void *entry)"""
def DXR_HashGetMaxItem(table_: _Data, /) -> int:
    """uint32_t DXR_HashGetMaxItem(void *table)"""
def DXR_HashInsert(table_: _Data, arg2_: _Data, arg3_: _Data, arg4_: int, arg5_: int, /) -> int:
    """uint32_t DXR_HashInsert(void *table, void *arg2, void *arg3, uint32_t arg4, uint32_t arg5)"""
def DXR_HashRemove(table_: _Data, arg2_: _Data, /) -> int:
    """uint32_t DXR_HashRemove(void *table, void *arg2)"""
def DXR_HashGetFromEntry(entry_: _Data, arg2_: int, arg3_: int, /) -> _Pointer:
    """void *DXR_HashGetFromEntry(void *entry, uint32_t arg2, uint32_t arg3)"""
def DXR_RegisterHooks(hooks_: _Data, /) -> int:
    """uint32_t DXR_RegisterHooks(const DxrHooks *hooks)"""
def DXR_GetHooks() -> _Pointer:
    """DxrHooks *DXR_GetHooks(void)"""
def DXR_GetAlarmHooks() -> _Pointer:
    """DxrAlarmHooks *DXR_GetAlarmHooks(void)"""
def DXR_GetDbHooks() -> _Pointer:
    """DxrDbHooks *DXR_GetDbHooks(void)"""
def DXR_GetDevHooks() -> _Pointer:
    """DxrDevHooks *DXR_GetDevHooks(void)"""
def DXR_GetInitHooks() -> _Pointer:
    """DxrInitHooks *DXR_GetInitHooks(void)"""
def DXR_GetListHooks() -> _Pointer:
    """DxrListHooks *DXR_GetListHooks(void)"""
def DXR_GetMemoryHooks() -> _Pointer:
    """DxrMemoryHooks *DXR_GetMemoryHooks(void)"""
def DXR_GetMsgHooks() -> _Pointer:
    """DxrMsgHooks *DXR_GetMsgHooks(void)"""
def DXR_GetPrintHooks() -> _Pointer:
    """DxrPrintHooks *DXR_GetPrintHooks(void)"""
def DXR_GetSystemHooks() -> _Pointer:
    """DxrSystemHooks *DXR_GetSystemHooks(void)"""
def DXR_GetTaskHooks() -> _Pointer:
    """DxrTaskHooks *DXR_GetTaskHooks(void)"""
def DXR_GetTblmHooks() -> _Pointer:
    """DxrTblmHooks *DXR_GetTblmHooks(void)"""
def DXR_GetTimeHooks() -> _Pointer:
    """DxrTimeHooks *DXR_GetTimeHooks(void)"""
def DXR_GetCfgHooks() -> _Pointer:
    """DxrCfgHooks *DXR_GetCfgHooks(void)"""
def DXR_GetJsonDecodeHooks() -> _Pointer:
    """DxrJsonDecodeHooks *DXR_GetJsonDecodeHooks(void)"""
def DXR_GetNpHooks() -> _Pointer:
    """DxrNpHooks *DXR_GetNpHooks(void)"""
def DXR_GetPluginHooks() -> _Pointer:
    """DxrPluginHooks *DXR_GetPluginHooks(void)"""
def DXR_GetHashHooks() -> _Pointer:
    """DxrHashHooks *DXR_GetHashHooks(void)"""
def DXR_GetFfmHooks() -> _Pointer:
    """DxrFfmHooks *DXR_GetFfmHooks(void)"""
def DXR_GetKpiHooks() -> _Pointer:
    """DxrKpiHooks *DXR_GetKpiHooks(void)"""
def DXR_GetTemperatureHooks() -> _Pointer:
    """DxrTemperatureHooks *DXR_GetTemperatureHooks(void)"""
def DXR_RecordInfo(format_: _Text, /, *args: Any) -> None:
    """void DXR_RecordInfo(const char *format, ...)"""
def DXR_UpdateExistingRecord(text_: _Text, store_: _Data, /) -> int:
    """uint8_t DXR_UpdateExistingRecord(const char *text, DxrRecordStore *store)"""
def DXR_AddNewRecord(text_: _Text, store_: _Data, /) -> None:
    """void DXR_AddNewRecord(const char *text, DxrRecordStore *store)"""
def DXR_DestroyRecordInfo() -> None:
    """void DXR_DestroyRecordInfo(void)"""
def DXR_GetRecordEntity() -> _Pointer:
    """DxrRecordStore *DXR_GetRecordEntity(void)"""
def DXR_GetRecordStr(store_: _Data, start_: int, end_: int, buffer_: _Text, bufferSize_: int, /) -> int:
    """uint32_t DXR_GetRecordStr(const DxrRecordStore *store, uint32_t start, uint32_t end, char *buffer, uint32_t bufferSize)"""
def DXR_GetAllRecordStr(buffer_: _Text, bufferSize_: int, /) -> int:
    """uint32_t DXR_GetAllRecordStr(char *buffer, uint32_t bufferSize)"""
def DXR_UpdateKpiAttrVal(arg1_: _Data, arg2_: int, /) -> int:
    """uint32_t DXR_UpdateKpiAttrVal(void *arg1, uint32_t arg2)"""
def DXR_CreateSll() -> _Pointer:
    """void *DXR_CreateSll(void)"""
def DXR_AddSll(list_: _Data, data_: _Data, arg3_: int, /) -> None:
    """void DXR_AddSll(void *list, void *data, uint32_t arg3)"""
def DXR_RemoveSll(list_: _Data, arg2_: _Data, /) -> None:
    """void DXR_RemoveSll(void *list, void *arg2)"""
def DXR_DestroySll(list_: _Data, /) -> None:
    """void DXR_DestroySll(void *list)"""
def DXR_SslGetCount(list_: _Data, /) -> int:
    """uint32_t DXR_SslGetCount(void *list)"""
def DXR_SslGetNextNode(list_: _Data, node_: _Data, /) -> _Pointer:
    """void *DXR_SslGetNextNode(void *list, void *node)"""
def DXR_SslGetNodeData(node_: _Data, /) -> _Pointer:
    """void *DXR_SslGetNodeData(void *node)"""
def DXR_SslProcSingleNode(list_: _Data, arg2_: _Data, arg3_: int, /) -> int:
    """uint32_t DXR_SslProcSingleNode(void *list, void *arg2, uint32_t arg3)"""
def DXR_InitSllIterator(list_: _Data, /) -> _Record:
    """DxrSllIterator DXR_InitSllIterator(void *list)"""
def DXR_SllIteratorAddData(it_: _Data, data_: _Data, arg3_: int, /) -> None:
    """void DXR_SllIteratorAddData(DxrSllIterator *it, void *data, uint32_t arg3)"""
def DXR_SllIteratorHasNext(it_: _Data, /) -> int:
    """uint32_t DXR_SllIteratorHasNext(DxrSllIterator *it)"""
def DXR_SllIteratorGetNextData(it_: _Data, /) -> _Pointer:
    """void *DXR_SllIteratorGetNextData(DxrSllIterator *it)"""
def DXR_SllIteratorGetCount(it_: _Data, /) -> int:
    """uint32_t DXR_SllIteratorGetCount(DxrSllIterator *it)"""
def DXR_SllIteratorMoveToHead(it_: _Data, /) -> None:
    """void DXR_SllIteratorMoveToHead(DxrSllIterator *it)"""
def DXR_Free(block_: _Data, file_: _Text, line_: int, /) -> None:
    """void DXR_Free(void *block, const char *file, uint32_t line)"""
def DXR_Malloc(mid_: int, size_: int, file_: _Text, line_: int, /) -> _Pointer:
    """void *DXR_Malloc(uint32_t mid, uint32_t size, const char *file, uint32_t line)"""
def DXR_SetDefaultMid(mid_: int, /) -> None:
    """void DXR_SetDefaultMid(uint32_t mid)"""
def DXR_GetDefaultMid() -> int:
    """uint32_t DXR_GetDefaultMid(void)"""
def DXR_SetMemoryHooks(allocate_: _Function, release_: _Function, /) -> None:
    """void DXR_SetMemoryHooks(DxrAllocateHook allocate, DxrReleaseHook release)"""
def DXR_SendMsg(msg_: _Data, /) -> int:
    """uint32_t DXR_SendMsg(void *msg)"""
def DXR_GetTriggerTypeByEvent(event_: int, /) -> int:
    """uint32_t DXR_GetTriggerTypeByEvent(uint32_t event)"""
def DXR_GetErrTypeByEvent(event_: int, /) -> int:
    """uint32_t DXR_GetErrTypeByEvent(uint32_t event)"""
def DXR_GetTriggerStr(trigger_: int, /) -> str | None:
    """const char *DXR_GetTriggerStr(uint32_t trigger)"""
def DXR_SendMsgToMpu(msg_: _Data, /) -> int:
    """uint32_t DXR_SendMsgToMpu(void *msg)"""
def DXR_SendMsgToDevm(msg_: _Data, /) -> int:
    """uint32_t DXR_SendMsgToDevm(void *msg)"""
def DXR_SendMsgToLpu(msg_: _Data, /) -> int:
    """uint32_t DXR_SendMsgToLpu(void *msg)"""
def DXR_SendMsgToSfu(msg_: _Data, /) -> int:
    """uint32_t DXR_SendMsgToSfu(void *msg)"""
def DXR_SendMsgToNp(arg1_: int, /) -> None:
    """void DXR_SendMsgToNp(uint32_t arg1)"""
def DXR_SendEopEvent(arg1_: int, arg2_: _Data, /) -> int:
    """uint32_t DXR_SendEopEvent(uint32_t arg1, void *arg2)"""
def DXR_SetMeshFd(fd_: int, /) -> None:
    """void DXR_SetMeshFd(uint32_t fd)"""
def DXR_CreateMessageFilter(info_: _Data, num_: int, /) -> _Pointer:
    """DxrMessageFilter *DXR_CreateMessageFilter(const DxrMessageFilterInfo *info, uint32_t num)"""
def DXR_DestroyMessageFilter(filter_: _Data, /) -> None:
    """void DXR_DestroyMessageFilter(DxrMessageFilter **filter)"""
def DXR_GetMessageFilterStr(filter_: _Data, buffer_: _Text, bufferSize_: int, /) -> None:
    """void DXR_GetMessageFilterStr(const DxrMessageFilter *filter, char *buffer, uint32_t bufferSize)"""
def DXR_SetMessageFilterCount(filter_: _Data, lostCnt_: int, num_: int, /, *args: Any) -> None:
    """void DXR_SetMessageFilterCount(DxrMessageFilter *filter, uint32_t lostCnt, uint32_t num, ...)"""
def DXR_IsMessageFiltered(filter_: _Data, num_: int, /, *args: Any) -> int:
    """uint8_t DXR_IsMessageFiltered(DxrMessageFilter *filter, uint32_t num, ...)"""
def DxrAddMessageFilterToComposite(parent_: _Data, info_: _Data, /) -> None:
    """void DxrAddMessageFilterToComposite(DxrMessageFilter *parent, const DxrMessageFilterInfo *info)"""
def DXR_UnRegister() -> None:
    """void DXR_UnRegister(void)"""
def DXR_GetThis() -> _Pointer:
    """void *DXR_GetThis(void)"""
def DXR_Register(record_: _Data, /) -> None:
    """void DXR_Register(void *record)"""
def DXR_RegisterWithoutVelderFuncs(record_: _Data, /) -> None:
    """void DXR_RegisterWithoutVelderFuncs(void *record)"""
def DXR_RegisterVelderFuncs(flag_: int, /) -> None:
    """void DXR_RegisterVelderFuncs(uint8_t flag)"""
def DXR_IsUseVelder() -> int:
    """uint8_t DXR_IsUseVelder(void)"""
def DXR_SetUdf(udf_: _Data, /) -> None:
    """void DXR_SetUdf(void *udf)"""
def DXR_SetMcPortMap(arg1_: int, map_: _Data, /) -> int:
    """uint32_t DXR_SetMcPortMap(uint32_t arg1, void *map)"""
def DXR_GetQueueDropStat(arg1_: int, arg2_: int, arg3_: int, arg4_: int, stat_: _Data, /) -> int:
    """uint32_t DXR_GetQueueDropStat(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint8_t arg4, void *stat)"""
def DXR_GetAbsPfcLogicSp(arg1_: int, arg2_: int, arg3_: int, sp_: _Data, /) -> int:
    """uint32_t DXR_GetAbsPfcLogicSp(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *sp)"""
def DXR_RegisterBrdPlugin(plugin_: _Data, /) -> int:
    """uint32_t DXR_RegisterBrdPlugin(void *plugin)"""
def DXR_UnRegisterBrdPlugin(plugin_: _Data, /) -> int:
    """uint32_t DXR_UnRegisterBrdPlugin(void *plugin)"""
def DXR_LoadBrdPlugin(plugin_: _Data, /) -> int:
    """uint32_t DXR_LoadBrdPlugin(void *plugin)"""
def DXR_UnLoadBrdPlugin(plugin_: _Data, /) -> None:
    """void DXR_UnLoadBrdPlugin(void *plugin)"""
def DXR_IsBrdPluginLoaded(plugin_: _Data, /) -> int:
    """uint32_t DXR_IsBrdPluginLoaded(void *plugin)"""
def DXR_CheckBrdPlugin(plugin_: _Data, /) -> int:
    """uint32_t DXR_CheckBrdPlugin(void *plugin)"""
def DXR_QueryBrdPlugin(arg1_: _Data, arg2_: _Data, arg3_: _Data, /) -> int:
    """uint32_t DXR_QueryBrdPlugin(void *arg1, void *arg2, void *arg3)"""
def DXR_DisplayBrdPlugin(arg1_: _Data, arg2_: _Data, arg3_: _Data, arg4_: int, /) -> None:
    """void DXR_DisplayBrdPlugin(void *arg1, void *arg2, void *arg3, uint32_t arg4)"""
def DXR_Assert(value_: _Data, arg2_: int, /) -> int:
    """uint32_t DXR_Assert(void *value, uint32_t arg2)"""
def DXR_EnableLogOutput(arg1_: int, arg2_: int, /) -> int:
    """uint32_t DXR_EnableLogOutput(uint32_t arg1, uint32_t arg2)"""
def DXR_WriteEventLog(event_: _Data, /) -> int:
    """uint32_t DXR_WriteEventLog(void *event)"""
def DXR_GetDbgLevel() -> int:
    """uint32_t DXR_GetDbgLevel(void)"""
def DXR_SetDbgLevel(level_: int, /) -> int:
    """uint32_t DXR_SetDbgLevel(uint32_t level)"""
def DXR_LOGFILTER_Destroy(arg1_: _Data, /) -> int:
    """uint32_t DXR_LOGFILTER_Destroy(void *arg1)"""
def DXR_LOGFILTER_GetFileName(arg1_: _Data, /) -> str | None:
    """const char *DXR_LOGFILTER_GetFileName(void *arg1)"""
def DXR_LOGFILTER_FilterLargeDiffKeyLog(arg1_: _Data, arg2_: _Data, arg3_: int, /) -> int:
    """uint32_t DXR_LOGFILTER_FilterLargeDiffKeyLog(void *arg1, void *arg2, uint32_t arg3)"""
def DXR_LOGFILTER_Register(arg1_: _Data, /) -> int:
    """uint32_t DXR_LOGFILTER_Register(void *arg1)"""
def DXR_LOGFILTER_RegisterDiffLogForFramework(arg1_: int, arg2_: _Data, arg3_: _Data, arg4_: _Data, /) -> int:
    """uint32_t DXR_LOGFILTER_RegisterDiffLogForFramework(uint32_t arg1, void *arg2, void *arg3, void *arg4)"""
def DXR_LOGFILTER_ShowCurInfo(arg1_: int, arg2_: _Data, arg3_: _Data, arg4_: int, /) -> int:
    """uint32_t DXR_LOGFILTER_ShowCurInfo(uint32_t arg1, void *arg2, void *arg3, uint32_t arg4)"""
def DXR_LOGFILTER_ShowHisInfo(arg1_: _Data, /) -> int:
    """uint32_t DXR_LOGFILTER_ShowHisInfo(void *arg1)"""
def DXR_RecordWarmRebootMileStone(arg1_: _Data, /) -> int:
    """uint32_t DXR_RecordWarmRebootMileStone(void *arg1)"""
def DXR_DiagLogFilter(text_: _Text, /) -> int:
    """uint32_t DXR_DiagLogFilter(const char *text)"""
def DXR_LOGFILTER_FilterSameLog(handle_: _Data, format_: _Text, /, *args: Any) -> int:
    """uint32_t DXR_LOGFILTER_FilterSameLog(void *handle, const char *format, ...)"""
def DXR_LOGFILTER_FilterDiffKeyLog(handle_: _Data, format_: _Text, /, *args: Any) -> int:
    """uint32_t DXR_LOGFILTER_FilterDiffKeyLog(void *handle, const char *format, ...)"""
def DXR_PrintLargeBuffer(text_: _Text, /) -> int:
    """uint32_t DXR_PrintLargeBuffer(const char *text)"""
def DXR_InitLogFilter(mid_: int, /) -> int:
    """uint32_t DXR_InitLogFilter(uint32_t mid)"""
def DXR_DestroyLogFilter() -> None:
    """void DXR_DestroyLogFilter(void)"""
def DXR_GetLogFilter(logType_: int, /) -> _Pointer:
    """DxrLogFilterInfo *DXR_GetLogFilter(uint32_t logType)"""
def DXR_IsLogFilterEnable() -> int:
    """uint8_t DXR_IsLogFilterEnable(void)"""
def DXR_EnableLogFilter(on_: int, /) -> None:
    """void DXR_EnableLogFilter(uint8_t on)"""
def DXR_SimpleHash(input_: _Data, hash_: _Data, /) -> int:
    """uint32_t DXR_SimpleHash(const DxrLogFilterHashInput *input, uint32_t *hash)"""
def DXR_GetHashCode(hashFuncId_: int, text_: _Text, length_: int, /) -> int:
    """uint32_t DXR_GetHashCode(uint32_t hashFuncId, const char *text, uint32_t length)"""
def DXR_ResizeLogFilterInfo(record_: _Data, newCapacity_: int, /) -> None:
    """void DXR_ResizeLogFilterInfo(DxrLogFilterInfo *record, uint32_t newCapacity)"""
def DXR_UpdateLogFilterCapacity(record_: _Data, /) -> None:
    """void DXR_UpdateLogFilterCapacity(DxrLogFilterInfo *record)"""
def DXR_RemoveObsoleteLogFilterInfo(record_: _Data, /) -> None:
    """void DXR_RemoveObsoleteLogFilterInfo(DxrLogFilterInfo *record)"""
def DXR_AddLogFilterInfo(record_: _Data, hash_: int, key1_: int, /) -> None:
    """void DXR_AddLogFilterInfo(DxrLogFilterInfo *record, uint32_t hash, uint32_t key1)"""
def DXR_FindRepeatedLogInfoIndex(record_: _Data, hash_: int, /) -> int:
    """uint32_t DXR_FindRepeatedLogInfoIndex(const DxrLogFilterInfo *record, uint32_t hash)"""
def DXR_UpdateLogFilterInfo(position_: int, record_: _Data, /) -> None:
    """void DXR_UpdateLogFilterInfo(uint32_t position, DxrLogFilterInfo *record)"""
def DXR_UpdateLogFilterTime(position_: int, record_: _Data, /) -> None:
    """void DXR_UpdateLogFilterTime(uint32_t position, DxrLogFilterInfo *record)"""
def DXR_IsRepeatedLog(cfg_: _Data, text_: _Text, length_: int, /) -> int:
    """uint8_t DXR_IsRepeatedLog(const DxrLogFilterCfg *cfg, const char *text, uint32_t length)"""
def DXR_SameLogFilter(cfg_: _Data, format_: _Text, /, *args: Any) -> None:
    """void DXR_SameLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...)"""
def DXR_DiffLogFilter(cfg_: _Data, format_: _Text, /, *args: Any) -> None:
    """void DXR_DiffLogFilter(const DxrLogFilterCfg *cfg, const char *format, ...)"""
def DXR_IsSameKey(a_: int, b_: int, c_: int, d_: int, /) -> int:
    """uint8_t DXR_IsSameKey(uint32_t a, uint32_t b, uint32_t c, uint32_t d)"""
def DXR_ClearLogFilterInfo(logType_: int, /) -> int:
    """uint32_t DXR_ClearLogFilterInfo(uint32_t logType)"""
def DXR_ShowLogFilterInfo(cfg_: _Data, buffer_: _Text, writtenLength_: _Data, bufferSize_: int, /) -> int:
    """uint32_t DXR_ShowLogFilterInfo(const DxrLogFilterCfg *cfg, char *buffer, uint32_t *writtenLength, uint32_t bufferSize)"""
def DXR_CombineShowLog(cfg_: _Data, record_: _Data, buffer_: _Text, writtenLength_: _Data, bufferSize_: int, /) -> None:
    """void DXR_CombineShowLog(const DxrLogFilterCfg *cfg, const DxrLogFilterInfo *record, char *buffer, uint32_t *writtenLength, uint32_t bufferSize)"""
def DXR_GetPrivateLogPath(name_: _Text, out_: _Text, outSize_: int, /) -> int:
    """uint32_t DXR_GetPrivateLogPath(const char *name, char *out, uint32_t outSize)"""
def DXR_WritePrivateLog(name_: _Text, length_: int, text_: _Text, /) -> int:
    """uint32_t DXR_WritePrivateLog(const char *name, uint32_t length, const char *text)"""
def DXR_GetPrivateLog(name_: _Text, out_: _Text, outSize_: int, /) -> int:
    """uint32_t DXR_GetPrivateLog(const char *name, char *out, uint32_t outSize)"""
def DXR_GetPrivateLogLen(name_: _Text, /) -> int:
    """uint32_t DXR_GetPrivateLogLen(const char *name)"""
def DXR_FixPrivateLogLen(name_: _Text, maxLength_: int, /) -> int:
    """uint32_t DXR_FixPrivateLogLen(const char *name, uint32_t maxLength)"""
def DXR_CopyFile(source_: _Text, destination_: _Text, offset_: int, length_: int, /) -> int:
    """uint32_t DXR_CopyFile(const char *source, const char *destination, uint32_t offset, uint32_t length)"""
def DXR_RegisterSimulateMsgMap(map_: _Data, size_: int, /) -> None:
    """void DXR_RegisterSimulateMsgMap(DxrSimulateMsg *map, uint32_t size)"""
def DXR_GetSimulateMsgMap() -> _Pointer:
    """DxrSimulateMsg *DXR_GetSimulateMsgMap(void)"""
def DXR_GetSimulateMsgMapSize() -> int:
    """uint32_t DXR_GetSimulateMsgMapSize(void)"""
def DXR_IsSameSimulateId(entry_: _Data, id_: int, /) -> int:
    """uint8_t DXR_IsSameSimulateId(const DxrSimulateMsg *entry, uint32_t id)"""
def DXR_IsSameMsgType(entry_: _Data, msgType_: int, /) -> int:
    """uint8_t DXR_IsSameMsgType(const DxrSimulateMsg *entry, uint32_t msgType)"""
def DXR_GetSimulateMsg(compare_: _Function, key_: int, /) -> _Pointer:
    """DxrSimulateMsg *DXR_GetSimulateMsg(DxrSimulateMsgCompare compare, uint32_t key)"""
def DXR_GetSimulateMsgBySimluateId(id_: int, /) -> _Pointer:
    """DxrSimulateMsg *DXR_GetSimulateMsgBySimluateId(uint32_t id)"""
def DXR_GetSimulateMsgByMsgType(msgType_: int, /) -> _Pointer:
    """DxrSimulateMsg *DXR_GetSimulateMsgByMsgType(uint32_t msgType)"""
def DXR_SetSimulateMsgLost(id_: int, lostCnt_: int, buffer_: _Text, bufferSize_: int, /) -> None:
    """void DXR_SetSimulateMsgLost(uint32_t id, uint32_t lostCnt, char *buffer, uint32_t bufferSize)"""
def DXR_IsSimulateMsgLost(msgType_: int, /) -> int:
    """uint8_t DXR_IsSimulateMsgLost(uint32_t msgType)"""
def DXR_DisplaySimulateMsgLost(buffer_: _Text, bufferSize_: int, /) -> None:
    """void DXR_DisplaySimulateMsgLost(char *buffer, uint32_t bufferSize)"""
def DXR_RestorePatch() -> int:
    """uint32_t DXR_RestorePatch(void)"""
def DXR_GetEnvValueById(id_: int, value_: _Data, /) -> int:
    """uint32_t DXR_GetEnvValueById(uint32_t id, void *value)"""
def DXR_GetLrId() -> int:
    """uint32_t DXR_GetLrId(void)"""
def DXR_StartTimer(timer_: _Data, /) -> int:
    """uint32_t DXR_StartTimer(void *timer)"""
def DXR_StopTimer(timer_: _Data, /) -> int:
    """uint32_t DXR_StopTimer(void *timer)"""
def DXR_FOpen(path_: _Text, mode_: _Text, /) -> _Pointer:
    """void *DXR_FOpen(const char *path, const char *mode)"""
def DXR_FClose(file_: _Data, /) -> int:
    """uint32_t DXR_FClose(void *file)"""
def DXR_FRead(buffer_: _Data, size_: int, count_: int, file_: _Data, /) -> int:
    """uint32_t DXR_FRead(void *buffer, uint32_t size, uint32_t count, void *file)"""
def DXR_FileLength(path_: _Text, /) -> int:
    """uint32_t DXR_FileLength(const char *path)"""
def DXR_GetBinFolderName() -> str | None:
    """const char *DXR_GetBinFolderName(void)"""
def DXR_GetSysWorkPath(buffer_: _Text, size_: int, /) -> int:
    """uint32_t DXR_GetSysWorkPath(char *buffer, uint32_t size)"""
def DXR_GetCpuUseRate() -> int:
    """uint32_t DXR_GetCpuUseRate(void)"""
def DXR_ZipBuffer(arg1_: int, arg2_: _Data, arg3_: _Data, arg4_: _Data, /) -> int:
    """uint32_t DXR_ZipBuffer(uint32_t arg1, void *arg2, void *arg3, void *arg4)"""
def DXR_SetHeartMon(arg1_: _Data, arg2_: int, arg3_: int, arg4_: int, /) -> int:
    """uint32_t DXR_SetHeartMon(void *arg1, uint32_t arg2, uint32_t arg3, uint32_t arg4)"""
def DXR_StopHeartToMon(arg1_: _Data, /) -> int:
    """uint32_t DXR_StopHeartToMon(void *arg1)"""
def DXR_FSeek(file_: _Data, offset_: int, origin_: int, /) -> int:
    """uint32_t DXR_FSeek(void *file, uint32_t offset, uint32_t origin)"""
def DXR_IsFileExist(name_: _Text, /) -> int:
    """uint32_t DXR_IsFileExist(const char *name)"""
def DXR_GetBinFilePath(folderName_: _Text, fileName_: _Text, filePath_: _Text, len_: int, /) -> int:
    """uint32_t DXR_GetBinFilePath(const char *folderName, const char *fileName, char *filePath, uint32_t len)"""
def DXR_GetBinFileDataByFilePath(filePath_: _Text, data_: _Data, len_: _Data, /) -> int:
    """uint32_t DXR_GetBinFileDataByFilePath(const char *filePath, uint8_t **data, uint32_t *len)"""
def DXR_GetBinFileData(folderName_: _Text, fileName_: _Text, data_: _Data, len_: _Data, /) -> int:
    """uint32_t DXR_GetBinFileData(const char *folderName, const char *fileName, uint8_t **data, uint32_t *len)"""
def DXR_GetWorkDir(subDir_: _Text, path_: _Text, len_: int, /) -> int:
    """uint32_t DXR_GetWorkDir(const char *subDir, char *path, uint32_t len)"""
def DXR_GetLatestFile(pattern_: _Text, subDir_: _Text, fileName_: _Text, len_: int, /) -> int:
    """uint32_t DXR_GetLatestFile(const char *pattern, const char *subDir, char *fileName, uint32_t len)"""
def DXR_DynamicCreateTable(arg1_: int, /) -> int:
    """uint32_t DXR_DynamicCreateTable(uint32_t arg1)"""
def DXR_GetChipTblmData(chip_: int, request_: _Data, /) -> int:
    """uint32_t DXR_GetChipTblmData(uint32_t chip, DxrTblmRequest *request)"""
def DXR_SetChipTblmData(chip_: int, request_: _Data, /) -> int:
    """uint32_t DXR_SetChipTblmData(uint32_t chip, DxrTblmRequest *request)"""
def DXR_DeleteChipTblmData(chip_: int, tableId_: int, key_: _Data, keyLen_: int, /) -> int:
    """uint32_t DXR_DeleteChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen)"""
def DXR_GetCrossTblmFirstData(arg1_: _Data, arg2_: _Data, arg3_: _Data, /) -> int:
    """uint32_t DXR_GetCrossTblmFirstData(void *arg1, void *arg2, void *arg3)"""
def DXR_GetLinearTblmFirstData(arg1_: _Data, arg2_: _Data, /) -> int:
    """uint32_t DXR_GetLinearTblmFirstData(void *arg1, void *arg2)"""
def DXR_GetTblmNextData(arg1_: int, arg2_: _Data, /) -> int:
    """uint32_t DXR_GetTblmNextData(uint32_t arg1, void *arg2)"""
def DXR_ReleaseTblm(arg1_: int, arg2_: int, /) -> None:
    """void DXR_ReleaseTblm(uint32_t arg1, uint32_t arg2)"""
def DXR_GetTblmAttr(arg1_: int, attr_: _Data, /) -> int:
    """uint32_t DXR_GetTblmAttr(uint32_t arg1, void *attr)"""
def DXR_GetCstPoolCount(arg1_: int, arg2_: int, arg3_: int, count_: _Data, /) -> int:
    """uint32_t DXR_GetCstPoolCount(uint32_t arg1, uint16_t arg2, uint32_t arg3, void *count)"""
def DXR_SetChipTblmDataAndMask(chip_: int, record_: _Data, /) -> int:
    """uint32_t DXR_SetChipTblmDataAndMask(uint32_t chip, void *record)"""
def DXR_GetTblmData(request_: _Data, /) -> int:
    """uint32_t DXR_GetTblmData(DxrTblmRequest *request)"""
def DXR_SetTblmData(request_: _Data, /) -> int:
    """uint32_t DXR_SetTblmData(DxrTblmRequest *request)"""
def DXR_DeleteTblmData(tableId_: int, key_: _Data, keyLen_: int, /) -> int:
    """uint32_t DXR_DeleteTblmData(uint32_t tableId, void *key, uint32_t keyLen)"""
def DXR_AddChipTblmData(chip_: int, tableId_: int, key_: _Data, keyLen_: int, data_: _Data, dataLen_: int, /) -> int:
    """uint32_t DXR_AddChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen, void *data, uint32_t dataLen)"""
def DXR_QueryChipTblmData(chip_: int, tableId_: int, key_: _Data, keyLen_: int, data_: _Data, dataLen_: int, /) -> int:
    """uint32_t DXR_QueryChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen, void *data, uint32_t dataLen)"""
def DXR_AddTblmData(tableId_: int, key_: _Data, keyLen_: int, data_: _Data, dataLen_: int, /) -> int:
    """uint32_t DXR_AddTblmData(uint32_t tableId, void *key, uint32_t keyLen, void *data, uint32_t dataLen)"""
def DXR_QueryTblmData(tableId_: int, key_: _Data, keyLen_: int, data_: _Data, dataLen_: int, /) -> int:
    """uint32_t DXR_QueryTblmData(uint32_t tableId, void *key, uint32_t keyLen, void *data, uint32_t dataLen)"""
def DXR_WriteEvent(arg1_: int, arg2_: int, /) -> int:
    """uint32_t DXR_WriteEvent(uint32_t arg1, uint32_t arg2)"""
def DXR_DelayTask(arg1_: int, /) -> int:
    """uint32_t DXR_DelayTask(uint32_t arg1)"""
def DXR_InitMutex(mutex_: _Data, option_: _Data, /) -> int:
    """uint32_t DXR_InitMutex(void **mutex, void *option)"""
def DXR_DestroyMutex(mutex_: _Data, /) -> int:
    """uint32_t DXR_DestroyMutex(void *mutex)"""
def DXR_LockMutex(mutex_: _Data, /) -> int:
    """uint32_t DXR_LockMutex(void *mutex)"""
def DXR_UnlockMutex(mutex_: _Data, /) -> int:
    """uint32_t DXR_UnlockMutex(void *mutex)"""
def DXR_ReadEvent(arg1_: int, mode_: int, arg3_: int, events_: _Data, /) -> int:
    """uint32_t DXR_ReadEvent(uint32_t arg1, uint32_t mode, uint32_t arg3, void *events)"""
def DXR_CreateTask(arg1_: _Data, arg2_: _Data, arg3_: _Data, arg4_: int, arg5_: _Data, flag_: int, arg7_: _Data, /) -> int:
    """uint32_t DXR_CreateTask(void *arg1, void *arg2, void *arg3, uint32_t arg4, void *arg5, uint32_t flag, void *arg7)"""
def DXR_SchedYield() -> int:
    """uint32_t DXR_SchedYield(void)"""
def DXR_GetSysTime(time_: _Data, /) -> None:
    """void DXR_GetSysTime(DxrSysTime *time)"""
def DXR_SysTime2Str(arg1_: _Data, arg2_: int, arg3_: _Data, /) -> int:
    """uint32_t DXR_SysTime2Str(void *arg1, uint32_t arg2, void *arg3)"""
def DXR_SysTimeSec2Time(sec_: int, time_: _Data, /) -> None:
    """void DXR_SysTimeSec2Time(uint32_t sec, void *time)"""
def DXR_Tick2Ms(arg1_: _Data, /) -> None:
    """void DXR_Tick2Ms(void *arg1)"""
def DXR_GetCurrMs() -> int:
    """uint64_t DXR_GetCurrMs(void)"""
def DXR_GetCurrSec() -> int:
    """uint32_t DXR_GetCurrSec(void)"""
def DXR_GetCurrentTick(tick_: _Data, /) -> None:
    """void DXR_GetCurrentTick(void *tick)"""
def DXR_GetCpuTick(arg1_: _Data, arg2_: _Data, /) -> None:
    """void DXR_GetCpuTick(void *arg1, void *arg2)"""
def DXR_GetCurrTime(text_: _Text, size_: int, sec_: _Data, /) -> None:
    """void DXR_GetCurrTime(char *text, uint32_t size, uint32_t *sec)"""
def DXR_CalSystimeRelSec(arg1_: _Data, arg2_: _Data, arg3_: _Data, /) -> int:
    """uint32_t DXR_CalSystimeRelSec(void *arg1, void *arg2, void *arg3)"""
def DXR_GetStartupTimeStamp(stamp_: _Data, /) -> None:
    """void DXR_GetStartupTimeStamp(void *stamp)"""
def DXR_AddStartupTime(time_: _Data, /) -> None:
    """void DXR_AddStartupTime(void *time)"""
def DXR_GetGMT(time_: _Data, /) -> int:
    """uint32_t DXR_GetGMT(void *time)"""
def DXR_GetLocalTime(arg1_: _Data, arg2_: _Data, /) -> int:
    """uint32_t DXR_GetLocalTime(void *arg1, void *arg2)"""
def DXR_GetStartupTimeSec() -> int:
    """uint32_t DXR_GetStartupTimeSec(void)"""
def DXR_SleepUs(us_: int, /) -> None:
    """void DXR_SleepUs(uint32_t us)"""
def DXR_SleepMs(ms_: int, /) -> None:
    """void DXR_SleepMs(uint32_t ms)"""
def DXR_GetCurrMacroSec() -> int:
    """uint64_t DXR_GetCurrMacroSec(void)"""
def DXR_GetCurrNanoSec() -> int:
    """uint64_t DXR_GetCurrNanoSec(void)"""
def DXR_RegisterQueryTempFunc(arg1_: int, func_: _Data, /) -> None:
    """void DXR_RegisterQueryTempFunc(uint32_t arg1, void *func)"""
def DXR_IsSameBitMap(a_: _Data, b_: _Data, wordCount_: int, /) -> int:
    """uint32_t DXR_IsSameBitMap(const uint32_t *a, const uint32_t *b, uint32_t wordCount)"""
def DXR_BitmapCopy(dst_: _Data, src_: _Data, wordCount_: int, /) -> None:
    """void DXR_BitmapCopy(uint32_t *dst, const uint32_t *src, uint32_t wordCount)"""
def DXR_BitmapZero(bmp_: _Data, wordCount_: int, /) -> None:
    """void DXR_BitmapZero(uint32_t *bmp, uint32_t wordCount)"""
def DXR_IsZeroBmp(bmp_: _Data, wordCount_: int, /) -> int:
    """uint32_t DXR_IsZeroBmp(const uint32_t *bmp, uint32_t wordCount)"""
def DXR_OrBmp(dst_: _Data, src_: _Data, wordCount_: int, /) -> None:
    """void DXR_OrBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount)"""
def DXR_AndBmp(dst_: _Data, src_: _Data, wordCount_: int, /) -> None:
    """void DXR_AndBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount)"""
def DXR_XorBmp(dst_: _Data, src_: _Data, wordCount_: int, /) -> None:
    """void DXR_XorBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount)"""
def DXR_ReverseBmp(bmp_: _Data, wordCount_: int, /) -> None:
    """void DXR_ReverseBmp(uint32_t *bmp, uint32_t wordCount)"""
def DXR_InverseBitMap(bmp_: _Data, wordCount_: int, /) -> None:
    """void DXR_InverseBitMap(uint32_t *bmp, uint32_t wordCount)"""
def DXR_NegateArray(bmp_: _Data, wordCount_: int, bitCount_: int, /) -> None:
    """void DXR_NegateArray(uint32_t *bmp, uint32_t wordCount, uint32_t bitCount)"""
def DXR_GetNonZeroCntInArray(arr_: _Data, count_: int, /) -> int:
    """uint32_t DXR_GetNonZeroCntInArray(const uint32_t *arr, uint32_t count)"""
def DXR_IsNonZeroCntOverN(arr_: _Data, count_: int, n_: int, /) -> int:
    """uint32_t DXR_IsNonZeroCntOverN(const uint32_t *arr, uint32_t count, uint32_t n)"""
def DXR_CountValidBit(word_: int, /) -> int:
    """uint32_t DXR_CountValidBit(uint32_t word)"""
def DXR_CountValidBitOfArray(arr_: _Data, count_: int, /) -> int:
    """uint32_t DXR_CountValidBitOfArray(const uint32_t *arr, uint32_t count)"""
def DXR_GetBitMapStr(bmp_: _Data, wordCount_: int, buf_: _Text, bufLen_: int, /) -> None:
    """void DXR_GetBitMapStr(const uint32_t *bmp, uint32_t wordCount, char *buf, uint32_t bufLen)"""
def DXR_IsSetBmp(bmp_: _Data, wordCount_: int, bit_: int, /) -> int:
    """uint32_t DXR_IsSetBmp(const uint32_t *bmp, uint32_t wordCount, uint32_t bit)"""
def DXR_SetBmpBit(bmp_: _Data, wordCount_: int, bit_: int, /) -> None:
    """void DXR_SetBmpBit(uint32_t *bmp, uint32_t wordCount, uint32_t bit)"""
def DXR_ClearBmpBit(bmp_: _Data, wordCount_: int, bit_: int, /) -> None:
    """void DXR_ClearBmpBit(uint32_t *bmp, uint32_t wordCount, uint32_t bit)"""
def DXR_SetBitField(buf_: _Data, wordCount_: int, value_: int, startBit_: int, width_: int, /) -> None:
    """void DXR_SetBitField(uint32_t *buf, uint32_t wordCount, uint32_t value, uint32_t startBit, uint32_t width)"""
def DXR_SetBitField32(buf_: _Data, value_: int, startBit_: int, width_: int, /) -> None:
    """void DXR_SetBitField32(uint32_t *buf, uint32_t value, uint32_t startBit, uint32_t width)"""
def DXR_SetBit(buf_: _Data, bit_: int, /) -> None:
    """void DXR_SetBit(uint32_t *buf, uint32_t bit)"""
def DXR_ClearBit(buf_: _Data, bit_: int, /) -> None:
    """void DXR_ClearBit(uint32_t *buf, uint32_t bit)"""
def DXR_GetBitField(buf_: _Data, wordCount_: int, startBit_: int, width_: int, /) -> int:
    """uint32_t DXR_GetBitField(const uint32_t *buf, uint32_t wordCount, uint32_t startBit, uint32_t width)"""
def DXR_GetBitField64(value_: int, startBit_: int, width_: int, /) -> int:
    """uint32_t DXR_GetBitField64(uint64_t value, uint32_t startBit, uint32_t width)"""
def DXR_GetBitField32(value_: int, startBit_: int, width_: int, /) -> int:
    """uint32_t DXR_GetBitField32(uint32_t value, uint32_t startBit, uint32_t width)"""
def DXR_GetBit(value_: int, bit_: int, /) -> int:
    """uint32_t DXR_GetBit(uint32_t value, uint32_t bit)"""
def DXR_IsBitHit(rec_: _Data, /) -> int:
    """uint32_t DXR_IsBitHit(const DxrBitHitRec *rec)"""
def DXR_InitCrc8Table() -> None:
    """void DXR_InitCrc8Table(void)"""
def DXR_CalculateCrc8(data_: _Data, len_: int, /) -> int:
    """uint32_t DXR_CalculateCrc8(const uint8_t *data, uint64_t len)"""
def DXR_CalcChipIdByAbsoluteLinkId(absLinkId_: int, linkNumPerChip_: int, /) -> int:
    """uint32_t DXR_CalcChipIdByAbsoluteLinkId(uint32_t absLinkId, uint32_t linkNumPerChip)"""
def DXR_CalcLinkIdByAbsoluteLinkId(absLinkId_: int, linkNumPerChip_: int, /) -> int:
    """uint32_t DXR_CalcLinkIdByAbsoluteLinkId(uint32_t absLinkId, uint32_t linkNumPerChip)"""
def DXR_CalcAbsoluteLinkId(chipId_: int, linkNumPerChip_: int, linkId_: int, /) -> int:
    """uint32_t DXR_CalcAbsoluteLinkId(uint32_t chipId, uint32_t linkNumPerChip, uint32_t linkId)"""
def DXR_CreateLinkBitMap(chipNum_: int, linkNumPerChip_: int, /) -> _Pointer:
    """DxrLinkBitMap *DXR_CreateLinkBitMap(uint32_t chipNum, uint32_t linkNumPerChip)"""
def DXR_SaveLinkToBitMap(map_: _Data, chipId_: int, linkId_: int, /) -> None:
    """void DXR_SaveLinkToBitMap(DxrLinkBitMap *map, uint32_t chipId, uint32_t linkId)"""
def DXR_SaveLinkToBitMapByAbsLinkId(map_: _Data, absLinkId_: int, /) -> None:
    """void DXR_SaveLinkToBitMapByAbsLinkId(DxrLinkBitMap *map, uint32_t absLinkId)"""
def DXR_FillLinkBitMapToBuf(map_: _Data, buf_: _Text, bufLen_: int, /) -> None:
    """void DXR_FillLinkBitMapToBuf(const DxrLinkBitMap *map, char *buf, uint32_t bufLen)"""
def DXR_PrintLinkToBitMap(map_: _Data, format_: _Text, /, *args: Any) -> None:
    """void DXR_PrintLinkToBitMap(const DxrLinkBitMap *map, const char *format, ...)"""
def DXR_DestroyLinkBitMap(map_: _Data, /) -> None:
    """void DXR_DestroyLinkBitMap(DxrLinkBitMap *map)"""
def DXR_AscendCmp(a_: _Data, b_: _Data, /) -> int:
    """int32_t DXR_AscendCmp(const void *a, const void *b)"""
def DXR_DescendCmp(a_: _Data, b_: _Data, /) -> int:
    """int32_t DXR_DescendCmp(const void *a, const void *b)"""
def DXR_AscendSort(base_: _Data, n_: int, /) -> None:
    """void DXR_AscendSort(void *base, uint32_t n)"""
def DXR_DecendSort(base_: _Data, n_: int, /) -> None:
    """void DXR_DecendSort(void *base, uint32_t n)"""
def DXR_Find(arr_: _Data, value_: int, count_: int, /) -> int:
    """uint32_t DXR_Find(const uint32_t *arr, uint32_t value, uint32_t count)"""
def DXR_Max(a_: int, b_: int, /) -> int:
    """uint32_t DXR_Max(uint32_t a, uint32_t b)"""
def DXR_Min(a_: int, b_: int, /) -> int:
    """uint32_t DXR_Min(uint32_t a, uint32_t b)"""
def DXR_Max64(a_: int, b_: int, /) -> int:
    """uint64_t DXR_Max64(uint64_t a, uint64_t b)"""
def DXR_Min64(a_: int, b_: int, /) -> int:
    """uint64_t DXR_Min64(uint64_t a, uint64_t b)"""
def DXR_IsOdd(value_: int, /) -> int:
    """uint32_t DXR_IsOdd(uint32_t value)"""
def DXR_IsEven(value_: int, /) -> int:
    """uint32_t DXR_IsEven(uint32_t value)"""
def DXR_ConvertRateUnit(rate_: _Data, unit_: _Data, /) -> None:
    """void DXR_ConvertRateUnit(uint64_t *rate, uint32_t *unit)"""
def DXR_CalPercentage(part_: int, total_: int, /) -> int:
    """uint32_t DXR_CalPercentage(uint32_t part, uint32_t total)"""
def DXR_Div(dividend_: int, divisor_: int, decimals_: int, fraction_: _Data, /) -> int:
    """uint32_t DXR_Div(uint32_t dividend, uint32_t divisor, uint32_t decimals, uint32_t *fraction)"""
def DXR_Avg(values_: _Data, count_: int, /) -> int:
    """int32_t DXR_Avg(const int32_t *values, uint32_t count)"""
def DXR_IsLittleEndianess() -> int:
    """uint32_t DXR_IsLittleEndianess(void)"""
def DXR_NTOHL(value_: int, /) -> int:
    """uint32_t DXR_NTOHL(uint32_t value)"""
def DXR_HTONL(value_: int, /) -> int:
    """uint32_t DXR_HTONL(uint32_t value)"""
def DXR_NTOHLL(value_: int, /) -> int:
    """uint64_t DXR_NTOHLL(uint64_t value)"""
def DXR_HTONS(value_: int, /) -> int:
    """uint16_t DXR_HTONS(uint16_t value)"""
def DXR_NTOHS(value_: int, /) -> int:
    """uint16_t DXR_NTOHS(uint16_t value)"""
def DXR_ReverseByte(value_: int, /) -> int:
    """uint32_t DXR_ReverseByte(uint32_t value)"""
def DXR_FlipBit(value_: int, byteCount_: int, /) -> int:
    """uint64_t DXR_FlipBit(uint64_t value, uint32_t byteCount)"""
def DxrHostInitOptions(options_: _Data, /) -> None:
    """void DxrHostInitOptions(DxrHostOptions *options)"""
def DxrHostCreate(options_: _Data, /) -> _Pointer:
    """DxrHost *DxrHostCreate(const DxrHostOptions *options)"""
def DxrHostCreateFromFile(path_: _Text, error_: _Text, errorSize_: int, /) -> _Pointer:
    """DxrHost *DxrHostCreateFromFile(const char *path, char *error, uint32_t errorSize)"""
def DxrHostRegister(host_: _Data, /) -> int:
    """uint32_t DxrHostRegister(DxrHost *host)"""
def DxrHostGet() -> _Pointer:
    """DxrHost *DxrHostGet(void)"""
def DxrHostDestroy(host_: _Data, out_: _Data, /) -> int:
    """uint32_t DxrHostDestroy(DxrHost *host, FILE *out)"""
def DxrHostGetLateCalls() -> int:
    """uint64_t DxrHostGetLateCalls(void)"""
def DxrHostFillHooks(hooks_: _Data, /) -> None:
    """void DxrHostFillHooks(DxrHooks *hooks)"""
def DxrHostSetReportSink(host_: _Data, sink_: _Function, user_: _Data, /) -> None:
    """void DxrHostSetReportSink(DxrHost *host, DxrHostReportSink sink, void *user)"""
def DxrHostGetReportCount(host_: _Data, /) -> int:
    """uint32_t DxrHostGetReportCount(DxrHost *host)"""
def DxrHostGetReport(host_: _Data, index_: int, report_: _Data, /) -> bool:
    """_Bool DxrHostGetReport(DxrHost *host, uint32_t index, DxrHostReport *report)"""
def DxrHostCallerPlace() -> _Pointer:
    """const void **DxrHostCallerPlace(void)"""
def DxrHostFailNth(host_: _Data, point_: _Text, n_: int, onwards_: bool, /) -> None:
    """void DxrHostFailNth(DxrHost *host, const char *point, uint64_t n, _Bool onwards)"""
def DxrHostFailShare(host_: _Data, point_: _Text, millionths_: int, /) -> None:
    """void DxrHostFailShare(DxrHost *host, const char *point, uint32_t millionths)"""
def DxrHostGetSteps(host_: _Data, point_: _Text, /) -> int:
    """uint64_t DxrHostGetSteps(DxrHost *host, const char *point)"""
def DxrHostGetFailures(host_: _Data, point_: _Text, /) -> int:
    """uint64_t DxrHostGetFailures(DxrHost *host, const char *point)"""
def DxrHostExplore(options_: _Data, seeds_: int, body_: _Function, user_: _Data, found_: _Data, /) -> int:
    """uint32_t DxrHostExplore(const DxrHostOptions *options, uint32_t seeds, DxrHostBody body, void *user, DxrHostExploration *found)"""
def DxrHostCountAlarms(host_: _Data, known_: _Data, raised_: _Data, /) -> None:
    """void DxrHostCountAlarms(DxrHost *host, uint32_t *known, uint32_t *raised)"""
def DxrHostGetAlarm(host_: _Data, index_: int, alarm_: _Data, /) -> bool:
    """_Bool DxrHostGetAlarm(DxrHost *host, uint32_t index, DxrHostAlarm *alarm)"""
def DxrHostForgetAlarms(host_: _Data, /) -> None:
    """void DxrHostForgetAlarms(DxrHost *host)"""
def DxrHostOpenMailbox(host_: _Data, mailbox_: _Data, /) -> int:
    """uint32_t DxrHostOpenMailbox(DxrHost *host, const DxrHostMailbox *mailbox)"""
def DxrHostCloseMailbox(host_: _Data, unit_: _Data, /) -> int:
    """uint32_t DxrHostCloseMailbox(DxrHost *host, const DxrHostUnit *unit)"""
def DxrHostReceiveMessage(host_: _Data, unit_: _Data, message_: _Data, buffer_: _Data, size_: int, ms_: int, /) -> int:
    """uint32_t DxrHostReceiveMessage(DxrHost *host, const DxrHostUnit *unit, DxrHostMessage *message, void *buffer, uint32_t size, uint32_t ms)"""
def DxrHostAcknowledge(host_: _Data, message_: _Data, result_: int, /) -> int:
    """uint32_t DxrHostAcknowledge(DxrHost *host, const DxrHostMessage *message, uint32_t result)"""
def DxrHostGetWaitingMessages(host_: _Data, unit_: _Data, /) -> int:
    """uint32_t DxrHostGetWaitingMessages(DxrHost *host, const DxrHostUnit *unit)"""
def DxrHostSetMessageFilter(host_: _Data, filter_: _Data, /) -> None:
    """void DxrHostSetMessageFilter(DxrHost *host, DxrMessageFilter *filter)"""
def DxrHostSetMessageFilterCount(host_: _Data, lostCnt_: int, num_: int, path_: _Data, /) -> None:
    """void DxrHostSetMessageFilterCount(DxrHost *host, uint32_t lostCnt, uint32_t num, const uint32_t *path)"""
def DxrHostGetMessageFilterText(host_: _Data, buffer_: _Text, bufferSize_: int, /) -> None:
    """void DxrHostGetMessageFilterText(DxrHost *host, char *buffer, uint32_t bufferSize)"""
def DxrHostCountMessages(host_: _Data, counts_: _Data, /) -> None:
    """void DxrHostCountMessages(DxrHost *host, DxrHostMessageCounts *counts)"""
def DxrHostSetEvent(host_: _Data, event_: int, trigger_: int, error_: int, /) -> bool:
    """_Bool DxrHostSetEvent(DxrHost *host, uint32_t event, uint32_t trigger, uint32_t error)"""
def DxrHostSetTriggerText(host_: _Data, trigger_: int, text_: _Text, /) -> bool:
    """_Bool DxrHostSetTriggerText(DxrHost *host, uint32_t trigger, const char *text)"""
def DxrHostGetMeshFd(host_: _Data, /) -> int:
    """int DxrHostGetMeshFd(DxrHost *host)"""
def DxrHostJoinChassis(host_: _Data, chassis_: _Data, /) -> int:
    """uint32_t DxrHostJoinChassis(DxrHost *host, const DxrHostChassisPlan *chassis)"""
def DxrHostCutOff(host_: _Data, isCutOff_: bool, /) -> int:
    """uint32_t DxrHostCutOff(DxrHost *host, _Bool isCutOff)"""
def DxrHostCountChassis(host_: _Data, counts_: _Data, /) -> None:
    """void DxrHostCountChassis(DxrHost *host, DxrHostChassisCounts *counts)"""
def DxrHostStop(host_: _Data, /) -> int:
    """uint32_t DxrHostStop(DxrHost *host)"""
def DxrHostGetAddressKind(address_: _Text, /) -> int:
    """uint32_t DxrHostGetAddressKind(const char *address)"""
def DxrHostMakeKeys(publicKey_: _Text, secretKey_: _Text, /) -> int:
    """uint32_t DxrHostMakeKeys(char *publicKey, char *secretKey)"""
def DxrHostGetPublicKey(secretKey_: _Text, publicKey_: _Text, /) -> int:
    """uint32_t DxrHostGetPublicKey(const char *secretKey, char *publicKey)"""
def DxrHostOpenDatabase(host_: _Data, path_: _Text, error_: _Text, errorSize_: int, /) -> bool:
    """_Bool DxrHostOpenDatabase(DxrHost *host, const char *path, char *error, uint32_t errorSize)"""
def DxrHostInitDatabase(host_: _Data, path_: _Text, error_: _Text, errorSize_: int, /) -> bool:
    """_Bool DxrHostInitDatabase(DxrHost *host, const char *path, char *error, uint32_t errorSize)"""
def DxrHostLoadBoard(host_: _Data, path_: _Text, error_: _Text, errorSize_: int, /) -> bool:
    """_Bool DxrHostLoadBoard(DxrHost *host, const char *path, char *error, uint32_t errorSize)"""
def DxrHostSetBoardValue(host_: _Data, name_: _Text, value_: int, /) -> bool:
    """_Bool DxrHostSetBoardValue(DxrHost *host, const char *name, uint32_t value)"""
def DxrHostSetPciePresent(host_: _Data, device_: int, isPresent_: bool, /) -> bool:
    """_Bool DxrHostSetPciePresent(DxrHost *host, uint32_t device, _Bool isPresent)"""
def DxrHostSetDeviceDirectory(host_: _Data, path_: _Text, /) -> None:
    """void DxrHostSetDeviceDirectory(DxrHost *host, const char *path)"""
def DxrHostSetDeviceControl(host_: _Data, path_: _Text, control_: _Function, user_: _Data, /) -> None:
    """void DxrHostSetDeviceControl(DxrHost *host, const char *path, DxrHostDevControl control, void *user)"""
def DxrHostSetCommand(host_: _Data, command_: _Function, user_: _Data, /) -> None:
    """void DxrHostSetCommand(DxrHost *host, DxrHostCommand command, void *user)"""
def DxrHostRaiseInterrupt(host_: _Data, chip_: int, interrupt_: int, /) -> bool:
    """_Bool DxrHostRaiseInterrupt(DxrHost *host, uint32_t chip, uint32_t interrupt)"""
def DxrHostGetResets(host_: _Data, unit_: int, chip_: int, cdr_: _Data, /) -> int:
    """uint32_t DxrHostGetResets(DxrHost *host, uint32_t unit, uint32_t chip, uint32_t *cdr)"""
def DxrHostGetFlashInfo(host_: _Data, item_: int, buffer_: _Data, size_: int, /) -> int:
    """uint32_t DxrHostGetFlashInfo(DxrHost *host, uint32_t item, void *buffer, uint32_t size)"""
def DxrHostPeekCell(host_: _Data, cell_: _Data, value_: _Data, /) -> bool:
    """_Bool DxrHostPeekCell(DxrHost *host, const DxrHostCell *cell, uint32_t *value)"""
def DxrHostPokeCell(host_: _Data, cell_: _Data, value_: int, /) -> bool:
    """_Bool DxrHostPokeCell(DxrHost *host, const DxrHostCell *cell, uint32_t value)"""
def DxrHostShapeCell(host_: _Data, cell_: _Data, readOnly_: int, clearOnWrite_: int, /) -> bool:
    """_Bool DxrHostShapeCell(DxrHost *host, const DxrHostCell *cell, uint32_t readOnly, uint32_t clearOnWrite)"""
def DxrHostGetCellCounts(host_: _Data, cell_: _Data, reads_: _Data, writes_: _Data, /) -> bool:
    """_Bool DxrHostGetCellCounts(DxrHost *host, const DxrHostCell *cell, uint64_t *reads, uint64_t *writes)"""
def DxrHostWatchCells(host_: _Data, first_: _Data, count_: int, watch_: _Function, user_: _Data, /) -> int:
    """uint32_t DxrHostWatchCells(DxrHost *host, const DxrHostCell *first, uint64_t count, DxrHostWatch watch, void *user)"""
def DxrHostFaultCells(host_: _Data, first_: _Data, count_: int, fault_: _Data, /) -> int:
    """uint32_t DxrHostFaultCells(DxrHost *host, const DxrHostCell *first, uint64_t count, const DxrHostCellFault *fault)"""
def DxrHostEndRule(host_: _Data, number_: int, /) -> bool:
    """_Bool DxrHostEndRule(DxrHost *host, uint32_t number)"""
def DxrHostAddFaultCheck(host_: _Data, name_: _Text, function_: _Function, user_: _Data, periodMs_: int, /) -> int:
    """uint32_t DxrHostAddFaultCheck(DxrHost *host, const char *name, DxrHostFaultCheck function, void *user, uint32_t periodMs)"""
def DxrHostRemoveFaultCheck(host_: _Data, number_: int, /) -> bool:
    """_Bool DxrHostRemoveFaultCheck(DxrHost *host, uint32_t number)"""
def DxrHostGetFaultCheck(host_: _Data, number_: int, state_: _Data, /) -> bool:
    """_Bool DxrHostGetFaultCheck(DxrHost *host, uint32_t number, DxrHostFaultCheckState *state)"""
def DxrHostFindKpi(host_: _Data, attribute_: _Data, kpi_: _Data, /) -> bool:
    """_Bool DxrHostFindKpi(DxrHost *host, const DxrHostKpiAttribute *attribute, DxrHostKpi *kpi)"""
def DxrHostGetKpiCount(host_: _Data, /) -> int:
    """uint32_t DxrHostGetKpiCount(DxrHost *host)"""
def DxrHostGetKpi(host_: _Data, index_: int, kpi_: _Data, /) -> bool:
    """_Bool DxrHostGetKpi(DxrHost *host, uint32_t index, DxrHostKpi *kpi)"""
def DxrHostForgetKpis(host_: _Data, /) -> None:
    """void DxrHostForgetKpis(DxrHost *host)"""
def DxrHostGetMemoryAccounts(host_: _Data, accounts_: _Data, room_: int, /) -> int:
    """uint32_t DxrHostGetMemoryAccounts(DxrHost *host, DxrHostMemoryAccount *accounts, uint32_t room)"""
def DxrHostGetMemoryAccount(host_: _Data, mid_: int, /) -> _Record:
    """DxrHostMemoryAccount DxrHostGetMemoryAccount(DxrHost *host, uint32_t mid)"""
def DxrHostGetMemorySites(host_: _Data, sites_: _Data, room_: int, /) -> int:
    """uint32_t DxrHostGetMemorySites(DxrHost *host, DxrHostMemorySite *sites, uint32_t room)"""
def DxrHostReportLeaks(host_: _Data, out_: _Data, /) -> int:
    """uint32_t DxrHostReportLeaks(DxrHost *host, FILE *out)"""
def DxrHostGetBadReleases(host_: _Data, /) -> int:
    """uint64_t DxrHostGetBadReleases(DxrHost *host)"""
def DxrHostSetMemoryLimit(host_: _Data, bytes_: int, /) -> None:
    """void DxrHostSetMemoryLimit(DxrHost *host, uint64_t bytes)"""
def DxrHostGetModules(host_: _Data, modules_: _Data, room_: int, /) -> int:
    """uint32_t DxrHostGetModules(DxrHost *host, DxrHostModuleInfo *modules, uint32_t room)"""
def DxrHostGetVelder(host_: _Data, /) -> int:
    """uint32_t DxrHostGetVelder(DxrHost *host)"""
def DxrHostSetMcPorts(host_: _Data, ports_: int, /) -> None:
    """void DxrHostSetMcPorts(DxrHost *host, uint32_t ports)"""
def DxrHostGetMcPortMap(host_: _Data, group_: int, map_: _Data, /) -> bool:
    """_Bool DxrHostGetMcPortMap(DxrHost *host, uint32_t group, DxrHostMcPortMap *map)"""
def DxrHostAddQueueDrops(host_: _Data, unit_: int, port_: int, queue_: int, packets_: int, bytes_: int, /) -> bool:
    """_Bool DxrHostAddQueueDrops(DxrHost *host, uint32_t unit, uint32_t port, uint32_t queue, uint64_t packets, uint64_t bytes)"""
def DxrHostSetAbsPfcLogicSp(host_: _Data, unit_: int, port_: int, priority_: int, sp_: int, /) -> bool:
    """_Bool DxrHostSetAbsPfcLogicSp(DxrHost *host, uint32_t unit, uint32_t port, uint32_t priority, uint32_t sp)"""
def DxrHostGetPlugins(host_: _Data, plugins_: _Data, room_: int, /) -> int:
    """uint32_t DxrHostGetPlugins(DxrHost *host, DxrHostPluginInfo *plugins, uint32_t room)"""
def DxrHostSetPrintFile(host_: _Data, out_: _Data, maxLevel_: int, prefix_: _Text, /) -> None:
    """void DxrHostSetPrintFile(DxrHost *host, FILE *out, uint32_t maxLevel, const char *prefix)"""
def DxrHostSetPrintSink(host_: _Data, sink_: _Function, user_: _Data, maxLevel_: int, /) -> None:
    """void DxrHostSetPrintSink(DxrHost *host, DxrHostPrintSink sink, void *user, uint32_t maxLevel)"""
def DxrHostSetDiagFile(host_: _Data, out_: _Data, /) -> None:
    """void DxrHostSetDiagFile(DxrHost *host, FILE *out)"""
def DxrHostSetDiagSink(host_: _Data, sink_: _Function, user_: _Data, /) -> None:
    """void DxrHostSetDiagSink(DxrHost *host, DxrHostLineSink sink, void *user)"""
def DxrHostSetLogDirectory(host_: _Data, directory_: _Text, /) -> None:
    """void DxrHostSetLogDirectory(DxrHost *host, const char *directory)"""
def DxrHostSetEventSink(host_: _Data, sink_: _Function, user_: _Data, /) -> None:
    """void DxrHostSetEventSink(DxrHost *host, DxrHostEventSink sink, void *user)"""
def DxrHostGetMilestoneCount(host_: _Data, /) -> int:
    """uint32_t DxrHostGetMilestoneCount(DxrHost *host)"""
def DxrHostGetMilestone(host_: _Data, index_: int, milestone_: _Data, /) -> bool:
    """_Bool DxrHostGetMilestone(DxrHost *host, uint32_t index, DxrHostMilestone *milestone)"""
def DxrHostSetWorkPath(host_: _Data, path_: _Text, /) -> None:
    """void DxrHostSetWorkPath(DxrHost *host, const char *path)"""
def DxrHostSetBinFolderName(host_: _Data, name_: _Text, /) -> None:
    """void DxrHostSetBinFolderName(DxrHost *host, const char *name)"""
def DxrHostSetEnvValue(host_: _Data, id_: int, value_: int, /) -> None:
    """void DxrHostSetEnvValue(DxrHost *host, uint32_t id, uint32_t value)"""
def DxrHostSetLrId(host_: _Data, lrId_: int, /) -> None:
    """void DxrHostSetLrId(DxrHost *host, uint32_t lrId)"""
def DxrHostSetCpuUseRate(host_: _Data, perCent_: int, /) -> None:
    """void DxrHostSetCpuUseRate(DxrHost *host, uint32_t perCent)"""
def DxrHostDescribeTable(host_: _Data, table_: _Data, /) -> int:
    """uint32_t DxrHostDescribeTable(DxrHost *host, const DxrHostTable *table)"""
def DxrHostSetTablePool(host_: _Data, chip_: int, pool_: int, capacity_: int, /) -> bool:
    """_Bool DxrHostSetTablePool(DxrHost *host, uint32_t chip, uint16_t pool, uint32_t capacity)"""
def DxrHostSaveTables(host_: _Data, path_: _Text, error_: _Text, errorSize_: int, /) -> bool:
    """_Bool DxrHostSaveTables(DxrHost *host, const char *path, char *error, uint32_t errorSize)"""
def DxrHostLoadTables(host_: _Data, path_: _Text, error_: _Text, errorSize_: int, /) -> bool:
    """_Bool DxrHostLoadTables(DxrHost *host, const char *path, char *error, uint32_t errorSize)"""
def DxrHostGetTaskId(host_: _Data, /) -> int:
    """uint32_t DxrHostGetTaskId(DxrHost *host)"""
def DxrHostJoinTask(host_: _Data, task_: int, ms_: int, /) -> int:
    """uint32_t DxrHostJoinTask(DxrHost *host, uint32_t task, uint32_t ms)"""
def DxrHostSetClock(host_: _Data, sec_: int, startupSec_: int, /) -> bool:
    """_Bool DxrHostSetClock(DxrHost *host, uint32_t sec, uint32_t startupSec)"""
def DxrHostAdvance(host_: _Data, ms_: int, /) -> bool:
    """_Bool DxrHostAdvance(DxrHost *host, uint64_t ms)"""
def DxrHostGetElapsedNs(host_: _Data, /) -> int:
    """uint64_t DxrHostGetElapsedNs(DxrHost *host)"""
def DxrHostSetZone(host_: _Data, seconds_: int, /) -> None:
    """void DxrHostSetZone(DxrHost *host, int32_t seconds)"""
def DxrHostGetTemperature(host_: _Data, sensor_: int, milliCelsius_: _Data, /) -> int:
    """uint32_t DxrHostGetTemperature(DxrHost *host, uint32_t sensor, int32_t *milliCelsius)"""
def DxrHostSetTemperature(host_: _Data, sensor_: int, milliCelsius_: int, /) -> bool:
    """_Bool DxrHostSetTemperature(DxrHost *host, uint32_t sensor, int32_t milliCelsius)"""
def DxrHostUnsetTemperature(host_: _Data, sensor_: int, /) -> None:
    """void DxrHostUnsetTemperature(DxrHost *host, uint32_t sensor)"""
def DxrHostSetThermalDirectory(host_: _Data, path_: _Text, /) -> None:
    """void DxrHostSetThermalDirectory(DxrHost *host, const char *path)"""
def DxrTraceInitOptions(options_: _Data, /) -> None:
    """void DxrTraceInitOptions(DxrTraceOptions *options)"""
def DxrTraceStart(options_: _Data, /) -> int:
    """uint32_t DxrTraceStart(const DxrTraceOptions *options)"""
def DxrTraceStop() -> int:
    """uint32_t DxrTraceStop(void)"""
def DxrTraceSetMode(mode_: int, /) -> int:
    """uint32_t DxrTraceSetMode(uint32_t mode)"""
def DxrTraceGetMode() -> int:
    """uint32_t DxrTraceGetMode(void)"""
def DxrTraceGetCounts(counts_: _Data, room_: int, /) -> int:
    """uint32_t DxrTraceGetCounts(DxrTraceCount *counts, uint32_t room)"""
def DxrTraceGetUnnoted() -> int:
    """uint64_t DxrTraceGetUnnoted(void)"""
def DxrTraceGetDropped() -> int:
    """uint64_t DxrTraceGetDropped(void)"""
def DxrTraceSlotName(slot_: int, /) -> str | None:
    """const char *DxrTraceSlotName(uint32_t slot)"""
def DxrTraceExport(file_: _Text, format_: int, out_: _Data, error_: _Text, errorSize_: int, /) -> int:
    """uint32_t DxrTraceExport(const char *file, uint32_t format, FILE *out, char *error, uint32_t errorSize)"""
def DxrTraceRead(file_: _Text, visit_: _Function, user_: _Data, error_: _Text, errorSize_: int, /) -> int:
    """uint32_t DxrTraceRead(const char *file, DxrTraceVisit visit, void *user, char *error, uint32_t errorSize)"""
def DxrTraceDiff(a_: _Text, b_: _Text, context_: int, out_: _Data, error_: _Text, errorSize_: int, /) -> int:
    """uint32_t DxrTraceDiff(const char *a, const char *b, uint32_t context, FILE *out, char *error, uint32_t errorSize)"""
def DxrReplayInitOptions(options_: _Data, /) -> None:
    """void DxrReplayInitOptions(DxrReplayOptions *options)"""
def DxrReplayStart(file_: _Text, options_: _Data, error_: _Text, errorSize_: int, /) -> int:
    """uint32_t DxrReplayStart(const char *file, const DxrReplayOptions *options, char *error, uint32_t errorSize)"""
def DxrReplayStop(counts_: _Data, /) -> int:
    """uint32_t DxrReplayStop(DxrReplayCounts *counts)"""
