// Made by hooks/generate.py from hooks/slots.yaml; do not edit.
#include "slots.h"

#include <cstddef>
#include <cstdint>

#include "dxr/types.h"

namespace dxr_trace {
namespace {

using enum Width;
using enum Direction;
using enum Extent;

constexpr Parameter kAlarmAlarmParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"arg4", kU32}, {"arg5", kPointer}};
constexpr PointerRule kAlarmAlarmPointers[] = {{"arg5", 4, kDirect, kIn, kText, 0, 0, true}};
constexpr Parameter kAlarmFmAlarmParameters[] = {{"alarm", kPointer}};
constexpr PointerRule kAlarmFmAlarmPointers[] = {{"alarm", 0, kDirect, kIn, kRecord, 0, 0, true}};
constexpr Parameter kDbSelectDbRecordCountParameters[] = {{"query", kPointer}, {"count", kPointer}};
constexpr PointerRule kDbSelectDbRecordCountPointers[] = {
    {"count", 1, kDirect, kOut, kFixed, sizeof(uint32_t), 0, false},
    {"query", 0, kDirect, kIn, kFixed, sizeof(uint32_t[11]), 0, true}};
constexpr Parameter kDbSelectDbRecordLimitParameters[] = {
    {"query", kPointer}, {"limit", kU32}, {"records", kPointer}};
constexpr PointerRule kDbSelectDbRecordLimitPointers[] = {
    {"query", 0, kDirect, kIn, kFixed, sizeof(uint32_t[11]), 0, true}};
constexpr Parameter kDbSelectFirstDbRecordParameters[] = {{"query", kPointer},
                                                          {"record", kPointer}};
constexpr PointerRule kDbSelectFirstDbRecordPointers[] = {
    {"query", 0, kDirect, kIn, kFixed, sizeof(uint32_t[11]), 0, true},
    {"record", 1, kDirect, kOut, kField, 4, 0, true}};
constexpr Parameter kDbGetLocalFicIdFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"ficId", kPointer}};
constexpr PointerRule kDbGetLocalFicIdFromDbPointers[] = {
    {"ficId", 3, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDbGetTmTypeByGlobalFicIdFromDbParameters[] = {{"ficId", kU32},
                                                                   {"type", kPointer}};
constexpr PointerRule kDbGetTmTypeByGlobalFicIdFromDbPointers[] = {
    {"type", 1, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDbGetTmTypeByLocalFicIdFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"type", kPointer}};
constexpr PointerRule kDbGetTmTypeByLocalFicIdFromDbPointers[] = {
    {"type", 2, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDbGetChipPosByGlobalFicIdFromDbParameters[] = {{"ficId", kU32},
                                                                    {"position", kPointer}};
constexpr PointerRule kDbGetChipPosByGlobalFicIdFromDbPointers[] = {
    {"position", 1, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDbGetChipPosByLocalFicIdFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"position", kPointer}};
constexpr PointerRule kDbGetChipPosByLocalFicIdFromDbPointers[] = {
    {"position", 2, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDbGetFicIdByNodeGroupIdFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kPointer}, {"arg3", kPointer}, {"arg4", kU32}};
constexpr PointerRule kDbGetFicIdByNodeGroupIdFromDbPointers[] = {
    {"arg3", 2, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDbGetNgTmCfgFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"config", kPointer}};
constexpr PointerRule kDbGetNgTmCfgFromDbPointers[] = {
    {"config", 3, kDirect, kOut, kFixed, sizeof(uint32_t[4]), 0, true}};
constexpr Parameter kDbGetNgTmPortInfoFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"info", kPointer}};
constexpr PointerRule kDbGetNgTmPortInfoFromDbPointers[] = {
    {"info", 3, kDirect, kOut, kFixed, sizeof(uint32_t[7]), 0, true}};
constexpr Parameter kDbGetNgTmPortInfoByTmPortFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"info", kPointer}};
constexpr PointerRule kDbGetNgTmPortInfoByTmPortFromDbPointers[] = {
    {"info", 3, kDirect, kOut, kFixed, sizeof(uint32_t[7]), 0, true}};
constexpr Parameter kDbGetNgTmPortInfoByVsqIdFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"info", kPointer}};
constexpr PointerRule kDbGetNgTmPortInfoByVsqIdFromDbPointers[] = {
    {"info", 2, kDirect, kOut, kFixed, sizeof(uint32_t[7]), 0, true}};
constexpr Parameter kDbGetNgTmSrvPortInfoFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"arg4", kU32}, {"info", kPointer}};
constexpr PointerRule kDbGetNgTmSrvPortInfoFromDbPointers[] = {
    {"info", 4, kDirect, kOut, kFixed, sizeof(uint32_t[6]), 0, true}};
constexpr Parameter kDbGetNgTmSrvPortByVsqFromDbParameters[] = {{"vsq", kU32}, {"port", kPointer}};
constexpr PointerRule kDbGetNgTmSrvPortByVsqFromDbPointers[] = {
    {"port", 1, kDirect, kOut, kFixed, sizeof(uint32_t[6]), 0, true}};
constexpr Parameter kDbGetDestFicPortParameters[] = {{"arg1", kPointer}, {"arg2", kPointer}};
constexpr PointerRule kDbGetDestFicPortPointers[] = {
    {"arg1", 0, kDirect, kIn, kFixed, sizeof(uint32_t[3]), 0, true},
    {"arg2", 1, kDirect, kOut, kFixed, sizeof(uint32_t[4]), 0, true}};
constexpr Parameter kDbGetNgTmSrvPortByFicIdFromDbParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kPointer}, {"arg4", kU32}, {"arg5", kPointer}};
constexpr PointerRule kDbGetNgTmSrvPortByFicIdFromDbPointers[] = {
    {"arg5", 4, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDbGetLpuDevIdParameters[] = {{"arg1", kU32}};
constexpr Parameter kDevGetDevAttrValueParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"value", kPointer}};
constexpr PointerRule kDevGetDevAttrValuePointers[] = {
    {"value", 2, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevSetDevAttrValueParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"value", kU32}};
constexpr Parameter kDevSetDevMmapTypeParameters[] = {{"arg1", kU32}, {"arg2", kU32}};
constexpr Parameter kDevGetEnvParameters[] = {
    {"name", kPointer}, {"value", kPointer}, {"size", kU32}};
constexpr PointerRule kDevGetEnvPointers[] = {{"name", 0, kDirect, kIn, kText, 0, 0, false},
                                              {"value", 1, kDirect, kOut, kArgument, 2, 0, false}};
constexpr Parameter kDevSetEnvParameters[] = {
    {"name", kPointer}, {"value", kPointer}, {"size", kU32}};
constexpr PointerRule kDevSetEnvPointers[] = {{"name", 0, kDirect, kIn, kText, 0, 0, false},
                                              {"value", 1, kDirect, kIn, kArgument, 2, 0, false}};
constexpr Parameter kDevGetMemEnvParameters[] = {
    {"name", kPointer}, {"value", kPointer}, {"size", kU32}};
constexpr PointerRule kDevGetMemEnvPointers[] = {
    {"name", 0, kDirect, kIn, kText, 0, 0, false},
    {"value", 1, kDirect, kOut, kArgument, 2, 0, false}};
constexpr Parameter kDevSetMemEnvParameters[] = {
    {"name", kPointer}, {"value", kPointer}, {"size", kU32}};
constexpr PointerRule kDevSetMemEnvPointers[] = {
    {"name", 0, kDirect, kIn, kText, 0, 0, false},
    {"value", 1, kDirect, kIn, kArgument, 2, 0, false}};
constexpr Parameter kDevGetPcieConfigRegValueParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"value", kPointer}};
constexpr PointerRule kDevGetPcieConfigRegValuePointers[] = {
    {"value", 2, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevSetPcieConfigRegValueParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"value", kU32}};
constexpr Parameter kDevGetRsvMemMmapAddrParameters[] = {
    {"arg1", kPointer}, {"arg2", kU32}, {"address", kPointer}};
constexpr PointerRule kDevGetRsvMemMmapAddrPointers[] = {
    {"arg1", 0, kDirect, kIn, kText, 0, 0, true},
    {"address", 2, kDirect, kOut, kFixed, sizeof(void *), 0, true}};
constexpr MemoryPlace kDevGetRsvMemMmapAddrOpaque[] = {{2, 0}};
constexpr Parameter kDevGetResetModeParameters[] = {{"mode", kPointer}};
constexpr PointerRule kDevGetResetModePointers[] = {
    {"mode", 0, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevScanPcieParameters[] = {{"arg1", kU32}};
constexpr Parameter kDevGetRsvdMemParameters[] = {
    {"arg1", kU32}, {"arg2", kPointer}, {"arg3", kPointer}};
constexpr PointerRule kDevGetRsvdMemPointers[] = {
    {"arg2", 1, kDirect, kOut, kFixed, sizeof(uint64_t), 0, true},
    {"arg3", 2, kDirect, kOut, kFixed, sizeof(uint64_t), 0, true}};
constexpr Parameter kDevMmapDevParameters[] = {{"arg1", kU32}, {"arg2", kU32}};
constexpr PointerRule kDevMmapDevPointers[] = {
    {"result", kResultPlace, kDirect, kBlock, kArgument, 1, 0, true}};
constexpr Parameter kDevMunmapDevParameters[] = {{"address", kPointer}, {"size", kU32}};
constexpr Parameter kDevOpenDevParameters[] = {{"path", kPointer}};
constexpr PointerRule kDevOpenDevPointers[] = {{"path", 0, kDirect, kIn, kText, 0, 0, false}};
constexpr Parameter kDevOpenDevWithOptionParameters[] = {{"path", kPointer}, {"option", kU32}};
constexpr PointerRule kDevOpenDevWithOptionPointers[] = {
    {"path", 0, kDirect, kIn, kText, 0, 0, false}};
constexpr Parameter kDevCloseDevParameters[] = {{"device", kU32}};
constexpr Parameter kDevControlDevParameters[] = {{"request", kPointer}};
constexpr PointerRule kDevControlDevPointers[] = {
    {"request", 0, kDirect, kInOut, kRecord, 0, 0, true},
    {"request+24", 0, 24, kOut, kField, 12, 0, true}};
constexpr Parameter kDevWriteDevParameters[] = {
    {"device", kU32}, {"arg2", kPointer}, {"arg3", kU32}, {"arg4", kPointer}};
constexpr PointerRule kDevWriteDevPointers[] = {
    {"arg2", 1, kDirect, kIn, kArgument, 2, 0, true},
    {"arg4", 3, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevReadI2cParameters[] = {{"request", kPointer}};
constexpr PointerRule kDevReadI2cPointers[] = {{"request", 0, kDirect, kInOut, kRecord, 0, 0, true},
                                               {"request+24", 0, 24, kOut, kField, 16, 0, true}};
constexpr Parameter kDevWriteI2cParameters[] = {{"request", kPointer}};
constexpr PointerRule kDevWriteI2cPointers[] = {
    {"request", 0, kDirect, kInOut, kRecord, 0, 0, true},
    {"request+24", 0, 24, kIn, kField, 16, 0, true}};
constexpr Parameter kDevReadReg16Parameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"value", kPointer}};
constexpr PointerRule kDevReadReg16Pointers[] = {
    {"value", 3, kDirect, kOut, kFixed, sizeof(uint16_t), 0, true}};
constexpr Parameter kDevWriteReg16Parameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"value", kU16}};
constexpr Parameter kDevReadRegParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"value", kPointer}};
constexpr PointerRule kDevReadRegPointers[] = {
    {"value", 3, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevWriteRegParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"value", kU32}};
constexpr Parameter kDevGetVoltageKeyParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"key", kPointer}};
constexpr PointerRule kDevGetVoltageKeyPointers[] = {
    {"key", 3, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevSetVoltageParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"voltage", kU32}};
constexpr Parameter kDevGetVoltageParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"voltage", kPointer}};
constexpr PointerRule kDevGetVoltagePointers[] = {
    {"voltage", 2, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevHardResetChipParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}};
constexpr Parameter kDevProbePcieParameters[] = {{"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}};
constexpr Parameter kDevGetBomIdParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"bomId", kPointer}};
constexpr PointerRule kDevGetBomIdPointers[] = {
    {"bomId", 2, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevReadPcieParameters[] = {
    {"arg1", kU32}, {"arg2", kPointer}, {"value", kPointer}};
constexpr PointerRule kDevReadPciePointers[] = {
    {"value", 2, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevWritePcieParameters[] = {
    {"arg1", kU32}, {"arg2", kPointer}, {"value", kU32}};
constexpr Parameter kDevGetDeviceBarParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kPointer}, {"arg4", kPointer}};
constexpr PointerRule kDevGetDeviceBarPointers[] = {
    {"arg3", 2, kDirect, kOut, kFixed, sizeof(uint64_t), 0, true},
    {"arg4", 3, kDirect, kOut, kFixed, sizeof(uint64_t), 0, true}};
constexpr Parameter kDevResetBoardParameters[] = {{"arg1", kU32}};
constexpr Parameter kDevGetHardIdParameters[] = {{"arg1", kU32}, {"hardId", kPointer}};
constexpr PointerRule kDevGetHardIdPointers[] = {
    {"hardId", 1, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevChmodRsvMemFileParameters[] = {{"file", kPointer}, {"mode", kU32}};
constexpr PointerRule kDevChmodRsvMemFilePointers[] = {
    {"file", 0, kDirect, kIn, kText, 0, 0, true}};
constexpr Parameter kDevGetVsfuDevNameParameters[] = {{"name", kPointer}, {"size", kU32}};
constexpr PointerRule kDevGetVsfuDevNamePointers[] = {
    {"name", 0, kDirect, kOut, kTextWithin, 1, 0, false}};
constexpr Parameter kDevRebootOSParameters[] = {{"arg1", kU32}, {"arg2", kPointer}};
constexpr PointerRule kDevRebootOSPointers[] = {{"arg2", 1, kDirect, kIn, kText, 0, 0, true}};
constexpr Parameter kDevRegisterPreResetProcFuncParameters[] = {{"arg1", kPointer},
                                                                {"arg2", kPointer}};
constexpr CallbackRule kDevRegisterPreResetProcFuncCallback = {
    {0, kDirect}, {1, kDirect}, false, kNone, 2, {kU32, kPointer}};
constexpr Parameter kDevCreateIOWorkerParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kPointer}};
constexpr Parameter kDevGetPreResetModeParameters[] = {{"mode", kPointer}};
constexpr PointerRule kDevGetPreResetModePointers[] = {
    {"mode", 0, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kDevSetPreResetModeParameters[] = {{"mode", kU32}};
constexpr Parameter kDevVSfuLoadPacketParameters[] = {
    {"arg1", kU32}, {"packet", kPointer}, {"arg3", kU32}, {"arg4", kU32}, {"arg5", kU32}};
constexpr Parameter kDevWriteMdioParameters[] = {{"arg1", kU32}, {"arg2", kU32}, {"arg3", kU8},
                                                 {"arg4", kU8},  {"arg5", kU16}, {"value", kU16}};
constexpr Parameter kDevReadMdioParameters[] = {{"arg1", kU32}, {"arg2", kU32},
                                                {"arg3", kU8},  {"arg4", kU8},
                                                {"arg5", kU16}, {"value", kPointer}};
constexpr PointerRule kDevReadMdioPointers[] = {
    {"value", 5, kDirect, kOut, kFixed, sizeof(uint16_t), 0, true}};
constexpr Parameter kDevEnableMdioParallelParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU16}};
constexpr Parameter kDevCdrResetChipParameters[] = {{"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}};
constexpr Parameter kDevCmdCallbackParameters[] = {{"arg1", kPointer}, {"arg2", kU32}};
constexpr Parameter kDevIntrSetRegistParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kPointer}, {"arg4", kPointer}};
constexpr CallbackRule kDevIntrSetRegistCallback = {
    {2, kDirect}, {3, kDirect}, false, kNone, 3, {kU32, kU32, kPointer}};
constexpr Parameter kDevGetWofflineStateParameters[] = {{"arg1", kU32}, {"state", kPointer}};
constexpr Parameter kDevCheckSmiLosEnableParameters[] = {{"arg1", kU32}, {"arg2", kU32}};
constexpr Parameter kDevWriteFlashInfoParameters[] = {{"info", kPointer}};
constexpr PointerRule kDevWriteFlashInfoPointers[] = {
    {"info", 0, kDirect, kIn, kRecord, 0, 0, true}, {"info+16", 0, 16, kIn, kField, 8, 0, true}};
constexpr Parameter kInitRegisterModuleParameters[] = {{"record", kPointer}};
constexpr PointerRule kInitRegisterModulePointers[] = {
    {"record", 0, kDirect, kIn, kRecord, 0, 0, true}};
constexpr MemoryPlace kInitRegisterModuleOpaque[] = {{0, 16}, {0, 24}};
constexpr Parameter kInitSetUdfParameters[] = {{"udf", kPointer}};
constexpr Parameter kInitRegisterVelderFuncsParameters[] = {{"flag", kU8}};
constexpr Parameter kListAddSllParameters[] = {
    {"list", kPointer}, {"data", kPointer}, {"arg3", kU32}};
constexpr Parameter kListRemoveSllParameters[] = {{"list", kPointer}, {"arg2", kPointer}};
constexpr Parameter kListDestroySllParameters[] = {{"list", kPointer}};
constexpr Parameter kListSslGetCountParameters[] = {{"list", kPointer}};
constexpr Parameter kListSslGetNextNodeParameters[] = {{"list", kPointer}, {"node", kPointer}};
constexpr Parameter kListSslGetNodeDataParameters[] = {{"node", kPointer}};
constexpr Parameter kListSslProcSingleNodeParameters[] = {
    {"list", kPointer}, {"arg2", kPointer}, {"arg3", kU32}};
constexpr Parameter kMemoryReleaseParameters[] = {
    {"block", kPointer}, {"file", kPointer}, {"line", kU32}};
constexpr PointerRule kMemoryReleasePointers[] = {{"file", 1, kDirect, kIn, kText, 0, 0, false}};
constexpr MemoryPlace kMemoryReleaseOpaque[] = {{1, kDirect}, {2, kDirect}};
constexpr Parameter kMemoryAllocateParameters[] = {
    {"mid", kU32}, {"size", kU32}, {"file", kPointer}, {"line", kU32}};
constexpr PointerRule kMemoryAllocatePointers[] = {
    {"file", 2, kDirect, kIn, kText, 0, 0, false},
    {"result", kResultPlace, kDirect, kBlock, kArgument, 1, 0, true}};
constexpr MemoryPlace kMemoryAllocateOpaque[] = {{2, kDirect}, {3, kDirect}};
constexpr Parameter kMsgSendMsgParameters[] = {{"msg", kPointer}};
constexpr PointerRule kMsgSendMsgPointers[] = {{"msg", 0, kDirect, kInOut, kRecord, 0, 0, true},
                                               {"msg+48", 0, 48, kIn, kField, 56, 0, true}};
constexpr Parameter kMsgGetTriggerTypeByEventParameters[] = {{"event", kU32}};
constexpr Parameter kMsgGetErrTypeByEventParameters[] = {{"event", kU32}};
constexpr Parameter kMsgGetTriggerStrParameters[] = {{"trigger", kU32}};
constexpr PointerRule kMsgGetTriggerStrPointers[] = {
    {"result", kResultPlace, kDirect, kOut, kText, 0, 0, false}};
constexpr Parameter kMsgSendMsgToMpuParameters[] = {{"msg", kPointer}};
constexpr PointerRule kMsgSendMsgToMpuPointers[] = {
    {"msg", 0, kDirect, kInOut, kRecord, 0, 0, true}, {"msg+48", 0, 48, kIn, kField, 56, 0, true}};
constexpr Parameter kMsgSendMsgToDevmParameters[] = {{"msg", kPointer}};
constexpr PointerRule kMsgSendMsgToDevmPointers[] = {
    {"msg", 0, kDirect, kInOut, kRecord, 0, 0, true}, {"msg+48", 0, 48, kIn, kField, 56, 0, true}};
constexpr Parameter kMsgSendMsgToLpuParameters[] = {{"msg", kPointer}};
constexpr PointerRule kMsgSendMsgToLpuPointers[] = {
    {"msg", 0, kDirect, kInOut, kRecord, 0, 0, true}, {"msg+48", 0, 48, kIn, kField, 56, 0, true}};
constexpr Parameter kMsgSendMsgToSfuParameters[] = {{"msg", kPointer}};
constexpr PointerRule kMsgSendMsgToSfuPointers[] = {
    {"msg", 0, kDirect, kInOut, kRecord, 0, 0, true}, {"msg+48", 0, 48, kIn, kField, 56, 0, true}};
constexpr Parameter kMsgSendMsgToNpParameters[] = {{"arg1", kU32}};
constexpr Parameter kMsgSendEopEventParameters[] = {{"arg1", kU32}, {"arg2", kPointer}};
constexpr PointerRule kMsgSendEopEventPointers[] = {{"arg2", 1, kDirect, kIn, kRecord, 0, 0, true},
                                                    {"arg2+16", 1, 16, kIn, kField, 4, 1, true}};
constexpr Parameter kMsgSetMeshFdParameters[] = {{"fd", kU32}};
constexpr Parameter kPrintReportAssertParameters[] = {{"value", kPointer}, {"arg2", kU32}};
constexpr Parameter kPrintEnableLogOutputParameters[] = {{"arg1", kU32}, {"arg2", kU32}};
constexpr Parameter kPrintPrintParameters[] = {{"level", kU32}, {"format", kPointer}};
constexpr PointerRule kPrintPrintPointers[] = {{"format", 1, kDirect, kIn, kText, 0, 0, false}};
constexpr MemoryPlace kPrintPrintOpaque[] = {{1, kDirect}};
constexpr Parameter kPrintWriteEventLogParameters[] = {{"event", kPointer}};
constexpr PointerRule kPrintWriteEventLogPointers[] = {
    {"event", 0, kDirect, kIn, kRecord, 0, 0, true}, {"event+16", 0, 16, kIn, kText, 0, 0, true}};
constexpr Parameter kPrintDiagLogFilterParameters[] = {{"text", kPointer}};
constexpr PointerRule kPrintDiagLogFilterPointers[] = {
    {"text", 0, kDirect, kIn, kText, 0, 0, false}};
constexpr Parameter kPrintSetDbgLevelParameters[] = {{"level", kU32}};
constexpr Parameter kPrintWritePrivateLogParameters[] = {{"name", kPointer}, {"format", kPointer}};
constexpr PointerRule kPrintWritePrivateLogPointers[] = {
    {"name", 0, kDirect, kIn, kText, 0, 0, false}, {"format", 1, kDirect, kIn, kText, 0, 0, false}};
constexpr MemoryPlace kPrintWritePrivateLogOpaque[] = {{1, kDirect}};
constexpr Parameter kPrintLogFilterDestroyParameters[] = {{"arg1", kPointer}};
constexpr Parameter kPrintLogFilterGetFileNameParameters[] = {{"arg1", kPointer}};
constexpr PointerRule kPrintLogFilterGetFileNamePointers[] = {
    {"result", kResultPlace, kDirect, kOut, kText, 0, 0, false}};
constexpr Parameter kPrintLogFilterFilterSameLogParameters[] = {{"handle", kPointer},
                                                                {"text", kPointer}};
constexpr PointerRule kPrintLogFilterFilterSameLogPointers[] = {
    {"text", 1, kDirect, kIn, kText, 0, 0, false}};
constexpr Parameter kPrintLogFilterFilterDiffKeyLogParameters[] = {{"handle", kPointer},
                                                                   {"text", kPointer}};
constexpr PointerRule kPrintLogFilterFilterDiffKeyLogPointers[] = {
    {"text", 1, kDirect, kIn, kText, 0, 0, false}};
constexpr Parameter kPrintLogFilterFilterLargeDiffKeyLogParameters[] = {
    {"arg1", kPointer}, {"arg2", kPointer}, {"arg3", kU32}};
constexpr PointerRule kPrintLogFilterFilterLargeDiffKeyLogPointers[] = {
    {"arg2", 1, kDirect, kIn, kTextWithin, 2, 0, true}};
constexpr Parameter kPrintLogFilterRegisterParameters[] = {{"arg1", kPointer}};
constexpr PointerRule kPrintLogFilterRegisterPointers[] = {
    {"arg1", 0, kDirect, kInOut, kRecord, 0, 0, true}};
constexpr MemoryPlace kPrintLogFilterRegisterOpaque[] = {{0, 16}, {0, 24}};
constexpr Parameter kPrintLogFilterRegisterDiffLogForFrameworkParameters[] = {
    {"arg1", kU32}, {"arg2", kPointer}, {"arg3", kPointer}, {"arg4", kPointer}};
constexpr PointerRule kPrintLogFilterRegisterDiffLogForFrameworkPointers[] = {
    {"arg2", 1, kDirect, kIn, kText, 0, 0, true},
    {"arg3", 2, kDirect, kInOut, kRecord, 0, 0, true},
    {"arg4", 3, kDirect, kOut, kFixed, sizeof(void *), 0, true}};
constexpr MemoryPlace kPrintLogFilterRegisterDiffLogForFrameworkOpaque[] = {
    {2, 16}, {2, 24}, {3, 0}};
constexpr Parameter kPrintLogFilterShowCurInfoParameters[] = {
    {"arg1", kU32}, {"arg2", kPointer}, {"arg3", kPointer}, {"arg4", kU32}};
constexpr PointerRule kPrintLogFilterShowCurInfoPointers[] = {
    {"arg3", 2, kDirect, kOut, kTextWithin, 3, 0, true}};
constexpr Parameter kPrintLogFilterShowHisInfoParameters[] = {{"arg1", kPointer}};
constexpr Parameter kPrintRecordWarmRebootMileStoneParameters[] = {{"arg1", kPointer}};
constexpr PointerRule kPrintRecordWarmRebootMileStonePointers[] = {
    {"arg1", 0, kDirect, kIn, kText, 0, 0, true}};
constexpr Parameter kSystemGetEnvValueByIdParameters[] = {{"id", kU32}, {"value", kPointer}};
constexpr PointerRule kSystemGetEnvValueByIdPointers[] = {
    {"value", 1, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kSystemStartTimerParameters[] = {{"timer", kPointer}};
constexpr PointerRule kSystemStartTimerPointers[] = {
    {"timer", 0, kDirect, kInOut, kRecord, 0, 0, true}};
constexpr MemoryPlace kSystemStartTimerOpaque[] = {{0, 32}};
constexpr CallbackRule kSystemStartTimerCallback = {{0, 16}, {0, 24}, false, kNone, 1, {kPointer}};
constexpr Parameter kSystemStopTimerParameters[] = {{"timer", kPointer}};
constexpr PointerRule kSystemStopTimerPointers[] = {
    {"timer", 0, kDirect, kInOut, kRecord, 0, 0, true}};
constexpr MemoryPlace kSystemStopTimerOpaque[] = {{0, 16}, {0, 24}, {0, 32}};
constexpr Parameter kSystemFOpenParameters[] = {{"path", kPointer}, {"mode", kPointer}};
constexpr PointerRule kSystemFOpenPointers[] = {{"path", 0, kDirect, kIn, kText, 0, 0, false},
                                                {"mode", 1, kDirect, kIn, kText, 0, 0, false}};
constexpr Parameter kSystemFCloseParameters[] = {{"file", kPointer}};
constexpr Parameter kSystemFReadParameters[] = {
    {"buffer", kPointer}, {"size", kU32}, {"count", kU32}, {"file", kPointer}};
constexpr PointerRule kSystemFReadPointers[] = {{"buffer", 0, kDirect, kOut, kResult, 1, 2, false}};
constexpr Parameter kSystemFileLengthParameters[] = {{"path", kPointer}};
constexpr PointerRule kSystemFileLengthPointers[] = {{"path", 0, kDirect, kIn, kText, 0, 0, false}};
constexpr PointerRule kSystemGetBinFolderNamePointers[] = {
    {"result", kResultPlace, kDirect, kOut, kText, 0, 0, false}};
constexpr Parameter kSystemGetSysWorkPathParameters[] = {{"buffer", kPointer}, {"size", kU32}};
constexpr PointerRule kSystemGetSysWorkPathPointers[] = {
    {"buffer", 0, kDirect, kOut, kTextWithin, 1, 0, false}};
constexpr Parameter kSystemZipBufferParameters[] = {
    {"arg1", kU32}, {"arg2", kPointer}, {"arg3", kPointer}, {"arg4", kPointer}};
constexpr PointerRule kSystemZipBufferPointers[] = {
    {"arg2", 1, kDirect, kIn, kArgument, 0, 0, true},
    {"arg3", 2, kDirect, kOut, kField, 0, 3, true},
    {"arg4", 3, kDirect, kInOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kSystemSetHeartMonParameters[] = {
    {"arg1", kPointer}, {"arg2", kU32}, {"arg3", kU32}, {"arg4", kU32}};
constexpr PointerRule kSystemSetHeartMonPointers[] = {
    {"arg1", 0, kDirect, kIn, kRecord, 0, 0, true}};
constexpr MemoryPlace kSystemSetHeartMonOpaque[] = {{0, 8}, {0, 16}};
constexpr CallbackRule kSystemSetHeartMonCallback = {{0, 8}, {0, 16}, true, kNone, 1, {kPointer}};
constexpr Parameter kSystemStopHeartToMonParameters[] = {{"arg1", kPointer}};
constexpr PointerRule kSystemStopHeartToMonPointers[] = {
    {"arg1", 0, kDirect, kIn, kRecord, 0, 0, true}};
constexpr MemoryPlace kSystemStopHeartToMonOpaque[] = {{0, 8}, {0, 16}};
constexpr Parameter kSystemFSeekParameters[] = {
    {"file", kPointer}, {"offset", kU32}, {"origin", kU32}};
constexpr Parameter kTaskReadEventParameters[] = {
    {"arg1", kU32}, {"mode", kU32}, {"arg3", kU32}, {"events", kPointer}};
constexpr PointerRule kTaskReadEventPointers[] = {
    {"events", 3, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kTaskWriteEventParameters[] = {{"arg1", kU32}, {"arg2", kU32}};
constexpr Parameter kTaskCreateTaskParameters[] = {
    {"arg1", kPointer}, {"arg2", kPointer}, {"arg3", kPointer}, {"arg4", kU32},
    {"arg5", kPointer}, {"flag", kU32},     {"arg7", kPointer}};
constexpr PointerRule kTaskCreateTaskPointers[] = {
    {"arg1", 0, kDirect, kIn, kText, 0, 0, true},
    {"arg5", 4, kDirect, kIn, kRecord, 0, 0, true},
    {"arg7", 6, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr CallbackRule kTaskCreateTaskCallback = {{1, kDirect}, {2, kDirect}, false, kNone, 1,
                                                  {kPointer}};
constexpr Parameter kTaskDelayTaskParameters[] = {{"arg1", kU32}};
constexpr Parameter kTaskInitMutexParameters[] = {{"mutex", kPointer}, {"option", kPointer}};
constexpr PointerRule kTaskInitMutexPointers[] = {
    {"mutex", 0, kDirect, kOut, kFixed, sizeof(void *), 0, false}};
constexpr MemoryPlace kTaskInitMutexOpaque[] = {{0, 0}};
constexpr Parameter kTaskDestroyMutexParameters[] = {{"mutex", kPointer}};
constexpr Parameter kTaskLockMutexParameters[] = {{"mutex", kPointer}};
constexpr Parameter kTaskUnlockMutexParameters[] = {{"mutex", kPointer}};
constexpr Parameter kTblmDynamicCreateTableParameters[] = {{"arg1", kU32}};
constexpr Parameter kTblmGetChipTblmDataParameters[] = {{"chip", kU32}, {"request", kPointer}};
constexpr PointerRule kTblmGetChipTblmDataPointers[] = {
    {"request", 1, kDirect, kInOut, kFixed, sizeof(DxrTblmRequest), 0, false},
    {"request->key", 1, offsetof(DxrTblmRequest, key), kIn, kField,
     offsetof(DxrTblmRequest, keyLen), 1, false},
    {"request->data", 1, offsetof(DxrTblmRequest, data), kOut, kField,
     offsetof(DxrTblmRequest, dataLen), 1, false}};
constexpr Parameter kTblmSetChipTblmDataParameters[] = {{"chip", kU32}, {"request", kPointer}};
constexpr PointerRule kTblmSetChipTblmDataPointers[] = {
    {"request", 1, kDirect, kInOut, kFixed, sizeof(DxrTblmRequest), 0, false},
    {"request->key", 1, offsetof(DxrTblmRequest, key), kIn, kField,
     offsetof(DxrTblmRequest, keyLen), 1, false},
    {"request->data", 1, offsetof(DxrTblmRequest, data), kIn, kField,
     offsetof(DxrTblmRequest, dataLen), 1, false}};
constexpr Parameter kTblmDeleteChipTblmDataParameters[] = {
    {"chip", kU32}, {"tableId", kU32}, {"key", kPointer}, {"keyLen", kU32}};
constexpr PointerRule kTblmDeleteChipTblmDataPointers[] = {
    {"key", 2, kDirect, kIn, kArgument, 3, 0, false}};
constexpr Parameter kTblmGetCrossTblmFirstDataParameters[] = {
    {"arg1", kPointer}, {"arg2", kPointer}, {"arg3", kPointer}};
constexpr PointerRule kTblmGetCrossTblmFirstDataPointers[] = {
    {"arg1", 0, kDirect, kInOut, kRecord, 0, 0, true},
    {"arg3", 2, kDirect, kInOut, kRecord, 0, 0, true},
    {"arg3+32", 2, 32, kOut, kFieldWithin, 20, 4, true},
    {"arg3+40", 2, 40, kOut, kFieldWithin, 24, 8, true},
    {"arg3+48", 2, 48, kOut, kFieldWithin, 24, 8, true}};
constexpr MemoryPlace kTblmGetCrossTblmFirstDataOpaque[] = {{2, 32}, {2, 40}, {2, 48}};
constexpr Parameter kTblmGetLinearTblmFirstDataParameters[] = {{"arg1", kPointer},
                                                               {"arg2", kPointer}};
constexpr PointerRule kTblmGetLinearTblmFirstDataPointers[] = {
    {"arg1", 0, kDirect, kInOut, kRecord, 0, 0, true},
    {"arg2", 1, kDirect, kInOut, kRecord, 0, 0, true},
    {"arg2+32", 1, 32, kOut, kFieldWithin, 20, 4, true},
    {"arg2+40", 1, 40, kOut, kFieldWithin, 24, 8, true},
    {"arg2+48", 1, 48, kOut, kFieldWithin, 24, 8, true}};
constexpr MemoryPlace kTblmGetLinearTblmFirstDataOpaque[] = {{1, 32}, {1, 40}, {1, 48}};
constexpr Parameter kTblmGetTblmNextDataParameters[] = {{"arg1", kU32}, {"arg2", kPointer}};
constexpr PointerRule kTblmGetTblmNextDataPointers[] = {
    {"arg2", 1, kDirect, kInOut, kRecord, 0, 0, true},
    {"arg2+32", 1, 32, kOut, kFieldWithin, 20, 4, true},
    {"arg2+40", 1, 40, kOut, kFieldWithin, 24, 8, true},
    {"arg2+48", 1, 48, kOut, kFieldWithin, 24, 8, true}};
constexpr MemoryPlace kTblmGetTblmNextDataOpaque[] = {{1, 32}, {1, 40}, {1, 48}};
constexpr Parameter kTblmReleaseTblmParameters[] = {{"arg1", kU32}, {"arg2", kU32}};
constexpr Parameter kTblmGetTblmAttrParameters[] = {{"arg1", kU32}, {"attr", kPointer}};
constexpr PointerRule kTblmGetTblmAttrPointers[] = {
    {"attr", 1, kDirect, kInOut, kRecord, 0, 0, true}};
constexpr Parameter kTblmGetCstPoolCountParameters[] = {
    {"arg1", kU32}, {"arg2", kU16}, {"arg3", kU32}, {"count", kPointer}};
constexpr PointerRule kTblmGetCstPoolCountPointers[] = {
    {"count", 3, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kTblmSetChipTblmDataAndMaskParameters[] = {{"chip", kU32},
                                                               {"record", kPointer}};
constexpr PointerRule kTblmSetChipTblmDataAndMaskPointers[] = {
    {"record", 1, kDirect, kIn, kRecord, 0, 0, true},
    {"record+16", 1, 16, kIn, kField, 8, 1, true},
    {"record+24", 1, 24, kIn, kField, 12, 1, true},
    {"record+32", 1, 32, kIn, kField, 12, 1, true}};
constexpr Parameter kTimeGetSysTimeParameters[] = {{"time", kPointer}};
constexpr PointerRule kTimeGetSysTimePointers[] = {
    {"time", 0, kDirect, kOut, kFixed, sizeof(DxrSysTime), 0, false}};
constexpr Parameter kTimeSysTime2StrParameters[] = {
    {"arg1", kPointer}, {"arg2", kU32}, {"arg3", kPointer}};
constexpr PointerRule kTimeSysTime2StrPointers[] = {
    {"arg1", 0, kDirect, kIn, kFixed, sizeof(DxrSysTime), 0, true},
    {"arg3", 2, kDirect, kOut, kTextWithin, 1, 0, true}};
constexpr Parameter kTimeSysTimeSec2TimeParameters[] = {{"sec", kU32}, {"time", kPointer}};
constexpr PointerRule kTimeSysTimeSec2TimePointers[] = {
    {"time", 1, kDirect, kOut, kFixed, sizeof(DxrSysTime), 0, true}};
constexpr Parameter kTimeTick2MsParameters[] = {{"arg1", kPointer}};
constexpr PointerRule kTimeTick2MsPointers[] = {
    {"arg1", 0, kDirect, kInOut, kFixed, sizeof(uint64_t), 0, true}};
constexpr Parameter kTimeGetCurrentTickParameters[] = {{"tick", kPointer}};
constexpr PointerRule kTimeGetCurrentTickPointers[] = {
    {"tick", 0, kDirect, kOut, kFixed, sizeof(uint64_t), 0, true}};
constexpr Parameter kTimeGetCpuTickParameters[] = {{"arg1", kPointer}, {"arg2", kPointer}};
constexpr PointerRule kTimeGetCpuTickPointers[] = {
    {"arg1", 0, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true},
    {"arg2", 1, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kTimeGetCurrTimeParameters[] = {
    {"text", kPointer}, {"size", kU32}, {"sec", kPointer}};
constexpr PointerRule kTimeGetCurrTimePointers[] = {
    {"text", 0, kDirect, kOut, kTextWithin, 1, 0, false},
    {"sec", 2, kDirect, kOut, kFixed, sizeof(uint32_t), 0, false}};
constexpr Parameter kTimeCalSystimeRelSecParameters[] = {
    {"arg1", kPointer}, {"arg2", kPointer}, {"arg3", kPointer}};
constexpr PointerRule kTimeCalSystimeRelSecPointers[] = {
    {"arg1", 0, kDirect, kIn, kFixed, sizeof(DxrSysTime), 0, true},
    {"arg2", 1, kDirect, kIn, kFixed, sizeof(DxrSysTime), 0, true},
    {"arg3", 2, kDirect, kOut, kFixed, sizeof(int64_t), 0, true}};
constexpr Parameter kTimeGetStartupTimeStampParameters[] = {{"stamp", kPointer}};
constexpr PointerRule kTimeGetStartupTimeStampPointers[] = {
    {"stamp", 0, kDirect, kOut, kFixed, sizeof(DxrSysTime), 0, true}};
constexpr Parameter kTimeAddStartupTimeParameters[] = {{"time", kPointer}};
constexpr PointerRule kTimeAddStartupTimePointers[] = {
    {"time", 0, kDirect, kInOut, kFixed, sizeof(DxrSysTime), 0, true}};
constexpr Parameter kTimeGetGMTParameters[] = {{"time", kPointer}};
constexpr PointerRule kTimeGetGMTPointers[] = {
    {"time", 0, kDirect, kOut, kFixed, sizeof(DxrSysTime), 0, true}};
constexpr Parameter kTimeGetLocalTimeParameters[] = {{"arg1", kPointer}, {"arg2", kPointer}};
constexpr PointerRule kTimeGetLocalTimePointers[] = {
    {"arg1", 0, kDirect, kOut, kFixed, sizeof(DxrSysTime), 0, true},
    {"arg2", 1, kDirect, kOut, kFixed, sizeof(int32_t), 0, true}};
constexpr Parameter kCfgCfgReadBoardDataParameters[] = {
    {"arg1", kPointer}, {"arg2", kU32}, {"arg3", kU32}};
constexpr PointerRule kCfgCfgReadBoardDataPointers[] = {
    {"arg1", 0, kDirect, kIn, kText, 0, 0, true}};
constexpr Parameter kCfgCfgDisplayBoardDataParameters[] = {{"arg1", kPointer}, {"arg2", kU32}};
constexpr PointerRule kCfgCfgDisplayBoardDataPointers[] = {
    {"arg1", 0, kDirect, kOut, kTextWithin, 1, 0, true}};
constexpr Parameter kCfgCfgGetBoardDataParameters[] = {{"arg1", kU32}};
constexpr Parameter kCfgCfgIsFromBoardDataParameters[] = {{"arg1", kU32}};
constexpr Parameter kCfgCfgGetMemParamParameters[] = {{"arg1", kU32}};
constexpr PointerRule kCfgCfgGetMemParamPointers[] = {
    {"result", kResultPlace, kDirect, kOut, kFixed, sizeof(uint32_t[32]), 0, true}};
constexpr Parameter kCfgCfgIsFromMemParamParameters[] = {{"arg1", kU32}};
constexpr Parameter kCfgCfgGetAdvancedSpecParameters[] = {{"arg1", kU32}, {"arg2", kU32}};
constexpr PointerRule kCfgCfgGetAdvancedSpecPointers[] = {
    {"result", kResultPlace, kDirect, kOut, kFixed, sizeof(uint32_t[32]), 0, true}};
constexpr Parameter kCfgCfgIsFromBoardAdvancedSpecParameters[] = {{"arg1", kU32}};
constexpr Parameter kCfgCfgGetPhyBoardInfoParameters[] = {{"arg1", kU32}};
constexpr Parameter kCfgCfgIsFromPhyBoardInfoParameters[] = {{"arg1", kU32}};
constexpr Parameter kNpSetMcPortMapParameters[] = {{"arg1", kU32}, {"map", kPointer}};
constexpr PointerRule kNpSetMcPortMapPointers[] = {{"map", 1, kDirect, kIn, kRecord, 0, 0, true}};
constexpr Parameter kNpGetQueueDropStatParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"arg4", kU8}, {"stat", kPointer}};
constexpr PointerRule kNpGetQueueDropStatPointers[] = {
    {"stat", 4, kDirect, kInOut, kRecord, 0, 0, true}};
constexpr Parameter kNpGetAbsPfcLogicSpParameters[] = {
    {"arg1", kU32}, {"arg2", kU32}, {"arg3", kU32}, {"sp", kPointer}};
constexpr PointerRule kNpGetAbsPfcLogicSpPointers[] = {
    {"sp", 3, kDirect, kOut, kFixed, sizeof(uint32_t), 0, true}};
constexpr Parameter kPluginRegisterBrdPluginParameters[] = {{"plugin", kPointer}};
constexpr PointerRule kPluginRegisterBrdPluginPointers[] = {
    {"plugin", 0, kDirect, kIn, kRecord, 0, 0, true},
    {"plugin+8", 0, 8, kIn, kText, 0, 0, true},
    {"plugin+16", 0, 16, kIn, kText, 0, 0, true}};
constexpr MemoryPlace kPluginRegisterBrdPluginOpaque[] = {{0, 24}};
constexpr Parameter kPluginUnRegisterBrdPluginParameters[] = {{"plugin", kPointer}};
constexpr PointerRule kPluginUnRegisterBrdPluginPointers[] = {
    {"plugin", 0, kDirect, kIn, kRecord, 0, 0, true}, {"plugin+8", 0, 8, kIn, kText, 0, 0, true}};
constexpr MemoryPlace kPluginUnRegisterBrdPluginOpaque[] = {{0, 16}, {0, 24}};
constexpr Parameter kPluginLoadBrdPluginParameters[] = {{"plugin", kPointer}};
constexpr PointerRule kPluginLoadBrdPluginPointers[] = {
    {"plugin", 0, kDirect, kIn, kRecord, 0, 0, true}, {"plugin+8", 0, 8, kIn, kText, 0, 0, true}};
constexpr MemoryPlace kPluginLoadBrdPluginOpaque[] = {{0, 16}, {0, 24}};
constexpr Parameter kPluginUnLoadBrdPluginParameters[] = {{"plugin", kPointer}};
constexpr PointerRule kPluginUnLoadBrdPluginPointers[] = {
    {"plugin", 0, kDirect, kIn, kRecord, 0, 0, true}, {"plugin+8", 0, 8, kIn, kText, 0, 0, true}};
constexpr MemoryPlace kPluginUnLoadBrdPluginOpaque[] = {{0, 16}, {0, 24}};
constexpr Parameter kPluginIsBrdPluginLoadedParameters[] = {{"plugin", kPointer}};
constexpr PointerRule kPluginIsBrdPluginLoadedPointers[] = {
    {"plugin", 0, kDirect, kIn, kRecord, 0, 0, true}, {"plugin+8", 0, 8, kIn, kText, 0, 0, true}};
constexpr MemoryPlace kPluginIsBrdPluginLoadedOpaque[] = {{0, 16}, {0, 24}};
constexpr Parameter kPluginCheckBrdPluginParameters[] = {{"plugin", kPointer}};
constexpr PointerRule kPluginCheckBrdPluginPointers[] = {
    {"plugin", 0, kDirect, kIn, kRecord, 0, 0, true}, {"plugin+8", 0, 8, kIn, kText, 0, 0, true}};
constexpr MemoryPlace kPluginCheckBrdPluginOpaque[] = {{0, 16}, {0, 24}};
constexpr Parameter kPluginQueryBrdPluginParameters[] = {
    {"arg1", kPointer}, {"arg2", kPointer}, {"arg3", kPointer}};
constexpr PointerRule kPluginQueryBrdPluginPointers[] = {
    {"arg1", 0, kDirect, kIn, kRecord, 0, 0, true}, {"arg1+8", 0, 8, kIn, kText, 0, 0, true}};
constexpr MemoryPlace kPluginQueryBrdPluginOpaque[] = {{0, 16}, {0, 24}};
constexpr Parameter kPluginDisplayBrdPluginParameters[] = {
    {"arg1", kPointer}, {"arg2", kPointer}, {"arg3", kPointer}, {"arg4", kU32}};
constexpr PointerRule kPluginDisplayBrdPluginPointers[] = {
    {"arg1", 0, kDirect, kIn, kRecord, 0, 0, true}, {"arg1+8", 0, 8, kIn, kText, 0, 0, true}};
constexpr MemoryPlace kPluginDisplayBrdPluginOpaque[] = {{0, 16}, {0, 24}};
constexpr Parameter kHashHashCountParameters[] = {{"table", kPointer}};
constexpr Parameter kHashHashCreateParameters[] = {{"arg1", kPointer}};
constexpr PointerRule kHashHashCreatePointers[] = {{"arg1", 0, kDirect, kIn, kRecord, 0, 0, true}};
constexpr MemoryPlace kHashHashCreateOpaque[] = {{0, 16}, {0, 24}, {0, 32}};
constexpr Parameter kHashHashFindKeyParameters[] = {{"table", kPointer}, {"key", kPointer}};
constexpr Parameter kHashHashFreeParameters[] = {{"table", kPointer}};
constexpr Parameter kHashHashGetBucketNumParameters[] = {{"table", kPointer}};
constexpr Parameter kHashHashGetFirstParameters[] = {{"table", kPointer}};
constexpr Parameter kHashHashGetNextParameters[] = {{"table", kPointer}, {"entry", kPointer}};
constexpr Parameter kHashHashGetMaxItemParameters[] = {{"table", kPointer}};
constexpr Parameter kHashHashInsertParameters[] = {
    {"table", kPointer}, {"arg2", kPointer}, {"arg3", kPointer}, {"arg4", kU32}, {"arg5", kU32}};
constexpr PointerRule kHashHashInsertPointers[] = {
    {"arg3", 2, kDirect, kIn, kArgument, 3, 0, true}};
constexpr Parameter kHashHashRemoveParameters[] = {{"table", kPointer}, {"arg2", kPointer}};
constexpr Parameter kHashHashGetFromEntryParameters[] = {
    {"entry", kPointer}, {"arg2", kU32}, {"arg3", kU32}};
constexpr Parameter kKpiUpdateKpiAttrValParameters[] = {{"arg1", kPointer}, {"arg2", kU32}};
constexpr PointerRule kKpiUpdateKpiAttrValPointers[] = {
    {"arg1", 0, kDirect, kIn, kRecord, 0, 0, true}};
constexpr Parameter kTemperatureRegisterQueryTempFuncParameters[] = {{"arg1", kU32},
                                                                     {"func", kPointer}};
constexpr CallbackRule kTemperatureRegisterQueryTempFuncCallback = {
    {1, kDirect}, {kNoPlace, kDirect}, false, kU32, 2, {kU32, kPointer}};

}  // namespace

constinit const SlotInfo kSlots[kSlotCount] = {
    {"Alarm",
     "DXR_Alarm",
     kU32,
     false,
     false,
     kAlarmAlarmParameters,
     kAlarmAlarmPointers,
     {},
     nullptr},
    {"Alarm",
     "DXR_FmAlarm",
     kU32,
     false,
     false,
     kAlarmFmAlarmParameters,
     kAlarmFmAlarmPointers,
     {},
     nullptr},
    {"Alarm", "Alarm.reserved2", kNone, false, true, {}, {}, {}, nullptr},
    {"Db",
     "DXR_SelectDbRecordCount",
     kU32,
     false,
     false,
     kDbSelectDbRecordCountParameters,
     kDbSelectDbRecordCountPointers,
     {},
     nullptr},
    {"Db",
     "DXR_SelectDbRecordLimit",
     kU32,
     false,
     false,
     kDbSelectDbRecordLimitParameters,
     kDbSelectDbRecordLimitPointers,
     {},
     nullptr},
    {"Db",
     "DXR_SelectFirstDbRecord",
     kU32,
     false,
     false,
     kDbSelectFirstDbRecordParameters,
     kDbSelectFirstDbRecordPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetLocalFicIdFromDb",
     kU32,
     false,
     false,
     kDbGetLocalFicIdFromDbParameters,
     kDbGetLocalFicIdFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetTmTypeByGlobalFicIdFromDb",
     kU32,
     false,
     false,
     kDbGetTmTypeByGlobalFicIdFromDbParameters,
     kDbGetTmTypeByGlobalFicIdFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetTmTypeByLocalFicIdFromDb",
     kU32,
     false,
     false,
     kDbGetTmTypeByLocalFicIdFromDbParameters,
     kDbGetTmTypeByLocalFicIdFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetChipPosByGlobalFicIdFromDb",
     kU32,
     false,
     false,
     kDbGetChipPosByGlobalFicIdFromDbParameters,
     kDbGetChipPosByGlobalFicIdFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetChipPosByLocalFicIdFromDb",
     kU32,
     false,
     false,
     kDbGetChipPosByLocalFicIdFromDbParameters,
     kDbGetChipPosByLocalFicIdFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetFicIdByNodeGroupIdFromDb",
     kU32,
     false,
     false,
     kDbGetFicIdByNodeGroupIdFromDbParameters,
     kDbGetFicIdByNodeGroupIdFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetNgTmCfgFromDb",
     kU32,
     false,
     false,
     kDbGetNgTmCfgFromDbParameters,
     kDbGetNgTmCfgFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetNgTmPortInfoFromDb",
     kU32,
     false,
     false,
     kDbGetNgTmPortInfoFromDbParameters,
     kDbGetNgTmPortInfoFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetNgTmPortInfoByTmPortFromDb",
     kU32,
     false,
     false,
     kDbGetNgTmPortInfoByTmPortFromDbParameters,
     kDbGetNgTmPortInfoByTmPortFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetNgTmPortInfoByVsqIdFromDb",
     kU32,
     false,
     false,
     kDbGetNgTmPortInfoByVsqIdFromDbParameters,
     kDbGetNgTmPortInfoByVsqIdFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetNgTmSrvPortInfoFromDb",
     kU32,
     false,
     false,
     kDbGetNgTmSrvPortInfoFromDbParameters,
     kDbGetNgTmSrvPortInfoFromDbPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetNgTmSrvPortByVsqFromDb",
     kU32,
     false,
     false,
     kDbGetNgTmSrvPortByVsqFromDbParameters,
     kDbGetNgTmSrvPortByVsqFromDbPointers,
     {},
     nullptr},
    {"Db", "DXR_IsMcRepByTm", kU32, false, false, {}, {}, {}, nullptr},
    {"Db",
     "DXR_GetDestFicPort",
     kPointer,
     false,
     false,
     kDbGetDestFicPortParameters,
     kDbGetDestFicPortPointers,
     {},
     nullptr},
    {"Db",
     "DXR_GetNgTmSrvPortByFicIdFromDb",
     kU32,
     false,
     false,
     kDbGetNgTmSrvPortByFicIdFromDbParameters,
     kDbGetNgTmSrvPortByFicIdFromDbPointers,
     {},
     nullptr},
    {"Db", "DXR_GetLpuDevId", kU32, false, false, kDbGetLpuDevIdParameters, {}, {}, nullptr},
    {"Dev", "DXR_BoardIsMaster", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev",
     "DXR_GetDevAttrValue",
     kU32,
     false,
     false,
     kDevGetDevAttrValueParameters,
     kDevGetDevAttrValuePointers,
     {},
     nullptr},
    {"Dev",
     "DXR_SetDevAttrValue",
     kU32,
     false,
     false,
     kDevSetDevAttrValueParameters,
     {},
     {},
     nullptr},
    {"Dev",
     "DXR_SetDevMmapType",
     kU32,
     false,
     false,
     kDevSetDevMmapTypeParameters,
     {},
     {},
     nullptr},
    {"Dev",
     "DXR_GetEnv",
     kU32,
     false,
     false,
     kDevGetEnvParameters,
     kDevGetEnvPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_SetEnv",
     kU32,
     false,
     false,
     kDevSetEnvParameters,
     kDevSetEnvPointers,
     {},
     nullptr},
    {"Dev", "DXR_SaveEnv", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev", "DXR_SaveEnvBlock", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev",
     "DXR_GetMemEnv",
     kU32,
     false,
     false,
     kDevGetMemEnvParameters,
     kDevGetMemEnvPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_SetMemEnv",
     kU32,
     false,
     false,
     kDevSetMemEnvParameters,
     kDevSetMemEnvPointers,
     {},
     nullptr},
    {"Dev", "DXR_SaveMemEnv", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev",
     "DXR_GetPcieConfigRegValue",
     kU32,
     false,
     false,
     kDevGetPcieConfigRegValueParameters,
     kDevGetPcieConfigRegValuePointers,
     {},
     nullptr},
    {"Dev",
     "DXR_SetPcieConfigRegValue",
     kU32,
     false,
     false,
     kDevSetPcieConfigRegValueParameters,
     {},
     {},
     nullptr},
    {"Dev", "DXR_GetRsvMemMmapAddr", kU32, false, false, kDevGetRsvMemMmapAddrParameters,
     kDevGetRsvMemMmapAddrPointers, kDevGetRsvMemMmapAddrOpaque, nullptr},
    {"Dev",
     "DXR_GetResetMode",
     kU32,
     false,
     false,
     kDevGetResetModeParameters,
     kDevGetResetModePointers,
     {},
     nullptr},
    {"Dev", "DXR_IsRunInLs", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev", "DXR_ScanPcie", kU32, false, false, kDevScanPcieParameters, {}, {}, nullptr},
    {"Dev",
     "DXR_GetRsvdMem",
     kU32,
     false,
     false,
     kDevGetRsvdMemParameters,
     kDevGetRsvdMemPointers,
     {},
     nullptr},
    {"Dev", "DXR_GetProductFamilyType", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev", "DXR_IsCentralPurchaseMode", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev",
     "DXR_MmapDev",
     kPointer,
     false,
     false,
     kDevMmapDevParameters,
     kDevMmapDevPointers,
     {},
     nullptr},
    {"Dev", "DXR_MunmapDev", kU32, false, false, kDevMunmapDevParameters, {}, {}, nullptr},
    {"Dev",
     "DXR_OpenDev",
     kU32,
     false,
     false,
     kDevOpenDevParameters,
     kDevOpenDevPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_OpenDevWithOption",
     kU32,
     false,
     false,
     kDevOpenDevWithOptionParameters,
     kDevOpenDevWithOptionPointers,
     {},
     nullptr},
    {"Dev", "DXR_CloseDev", kU32, false, false, kDevCloseDevParameters, {}, {}, nullptr},
    {"Dev",
     "DXR_ControlDev",
     kU32,
     false,
     false,
     kDevControlDevParameters,
     kDevControlDevPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_WriteDev",
     kU32,
     false,
     false,
     kDevWriteDevParameters,
     kDevWriteDevPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_ReadI2c",
     kU32,
     false,
     false,
     kDevReadI2cParameters,
     kDevReadI2cPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_WriteI2c",
     kU32,
     false,
     false,
     kDevWriteI2cParameters,
     kDevWriteI2cPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_ReadReg16",
     kU32,
     false,
     false,
     kDevReadReg16Parameters,
     kDevReadReg16Pointers,
     {},
     nullptr},
    {"Dev", "DXR_WriteReg16", kU32, false, false, kDevWriteReg16Parameters, {}, {}, nullptr},
    {"Dev",
     "DXR_ReadReg",
     kU32,
     false,
     false,
     kDevReadRegParameters,
     kDevReadRegPointers,
     {},
     nullptr},
    {"Dev", "DXR_WriteReg", kU32, false, false, kDevWriteRegParameters, {}, {}, nullptr},
    {"Dev", "DXR_GetServiceType", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev",
     "DXR_GetVoltageKey",
     kU32,
     false,
     false,
     kDevGetVoltageKeyParameters,
     kDevGetVoltageKeyPointers,
     {},
     nullptr},
    {"Dev", "DXR_SetVoltage", kU32, false, false, kDevSetVoltageParameters, {}, {}, nullptr},
    {"Dev",
     "DXR_GetVoltage",
     kU32,
     false,
     false,
     kDevGetVoltageParameters,
     kDevGetVoltagePointers,
     {},
     nullptr},
    {"Dev", "DXR_HardResetChip", kU32, false, false, kDevHardResetChipParameters, {}, {}, nullptr},
    {"Dev", "DXR_ProbePcie", kU32, false, false, kDevProbePcieParameters, {}, {}, nullptr},
    {"Dev", "DXR_InitSafeIo", kNone, false, false, {}, {}, {}, nullptr},
    {"Dev",
     "DXR_GetBomId",
     kU32,
     false,
     false,
     kDevGetBomIdParameters,
     kDevGetBomIdPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_ReadPcie",
     kU32,
     false,
     false,
     kDevReadPcieParameters,
     kDevReadPciePointers,
     {},
     nullptr},
    {"Dev", "DXR_WritePcie", kU32, false, false, kDevWritePcieParameters, {}, {}, nullptr},
    {"Dev",
     "DXR_GetDeviceBar",
     kU32,
     false,
     false,
     kDevGetDeviceBarParameters,
     kDevGetDeviceBarPointers,
     {},
     nullptr},
    {"Dev", "DXR_ResetBoard", kNone, false, false, kDevResetBoardParameters, {}, {}, nullptr},
    {"Dev", "DXR_GetLocalPcbVersion", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev",
     "DXR_GetHardId",
     kU32,
     false,
     false,
     kDevGetHardIdParameters,
     kDevGetHardIdPointers,
     {},
     nullptr},
    {"Dev", "DXR_GetPcbVersion", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev",
     "DXR_ChmodRsvMemFile",
     kU32,
     false,
     false,
     kDevChmodRsvMemFileParameters,
     kDevChmodRsvMemFilePointers,
     {},
     nullptr},
    {"Dev",
     "DXR_GetVsfuDevName",
     kU32,
     false,
     false,
     kDevGetVsfuDevNameParameters,
     kDevGetVsfuDevNamePointers,
     {},
     nullptr},
    {"Dev",
     "DXR_RebootOS",
     kU32,
     false,
     false,
     kDevRebootOSParameters,
     kDevRebootOSPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_RegisterPreResetProcFunc",
     kU32,
     false,
     false,
     kDevRegisterPreResetProcFuncParameters,
     {},
     {},
     &kDevRegisterPreResetProcFuncCallback},
    {"Dev",
     "DXR_CreateIOWorker",
     kU32,
     false,
     false,
     kDevCreateIOWorkerParameters,
     {},
     {},
     nullptr},
    {"Dev",
     "DXR_GetPreResetMode",
     kU32,
     false,
     false,
     kDevGetPreResetModeParameters,
     kDevGetPreResetModePointers,
     {},
     nullptr},
    {"Dev",
     "DXR_SetPreResetMode",
     kNone,
     false,
     false,
     kDevSetPreResetModeParameters,
     {},
     {},
     nullptr},
    {"Dev",
     "DXR_VSfuLoadPacket",
     kU32,
     false,
     false,
     kDevVSfuLoadPacketParameters,
     {},
     {},
     nullptr},
    {"Dev", "DXR_GetSoftPcbVersion", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev", "DXR_IsIssuState", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev", "DXR_WriteMdio", kU32, false, false, kDevWriteMdioParameters, {}, {}, nullptr},
    {"Dev",
     "DXR_ReadMdio",
     kU32,
     false,
     false,
     kDevReadMdioParameters,
     kDevReadMdioPointers,
     {},
     nullptr},
    {"Dev",
     "DXR_EnableMdioParallel",
     kU32,
     false,
     false,
     kDevEnableMdioParallelParameters,
     {},
     {},
     nullptr},
    {"Dev", "DXR_CdrResetChip", kU32, false, false, kDevCdrResetChipParameters, {}, {}, nullptr},
    {"Dev", "DXR_CmdCallback", kU32, false, false, kDevCmdCallbackParameters, {}, {}, nullptr},
    {"Dev",
     "DXR_IntrSetRegist",
     kU32,
     false,
     false,
     kDevIntrSetRegistParameters,
     {},
     {},
     &kDevIntrSetRegistCallback},
    {"Dev", "DXR_GetBoardDrvType", kU32, false, false, {}, {}, {}, nullptr},
    {"Dev",
     "DXR_GetWofflineState",
     kU32,
     false,
     false,
     kDevGetWofflineStateParameters,
     {},
     {},
     nullptr},
    {"Dev",
     "DXR_CheckSmiLosEnable",
     kU32,
     false,
     false,
     kDevCheckSmiLosEnableParameters,
     {},
     {},
     nullptr},
    {"Dev",
     "DXR_WriteFlashInfo",
     kU32,
     false,
     false,
     kDevWriteFlashInfoParameters,
     kDevWriteFlashInfoPointers,
     {},
     nullptr},
    {"Init", "DXR_Register", kNone, false, false, kInitRegisterModuleParameters,
     kInitRegisterModulePointers, kInitRegisterModuleOpaque, nullptr},
    {"Init", "DXR_UnRegister", kNone, false, false, {}, {}, {}, nullptr},
    {"Init", "DXR_SetUdf", kNone, false, false, kInitSetUdfParameters, {}, {}, nullptr},
    {"Init",
     "DXR_RegisterVelderFuncs",
     kNone,
     false,
     false,
     kInitRegisterVelderFuncsParameters,
     {},
     {},
     nullptr},
    {"Init", "DXR_GetThis", kPointer, false, false, {}, {}, {}, nullptr},
    {"List", "DXR_CreateSll", kPointer, false, false, {}, {}, {}, nullptr},
    {"List", "DXR_AddSll", kNone, false, false, kListAddSllParameters, {}, {}, nullptr},
    {"List", "DXR_RemoveSll", kNone, false, false, kListRemoveSllParameters, {}, {}, nullptr},
    {"List", "DXR_DestroySll", kNone, false, false, kListDestroySllParameters, {}, {}, nullptr},
    {"List", "DXR_SslGetCount", kU32, false, false, kListSslGetCountParameters, {}, {}, nullptr},
    {"List",
     "DXR_SslGetNextNode",
     kPointer,
     false,
     false,
     kListSslGetNextNodeParameters,
     {},
     {},
     nullptr},
    {"List",
     "DXR_SslGetNodeData",
     kPointer,
     false,
     false,
     kListSslGetNodeDataParameters,
     {},
     {},
     nullptr},
    {"List",
     "DXR_SslProcSingleNode",
     kU32,
     false,
     false,
     kListSslProcSingleNodeParameters,
     {},
     {},
     nullptr},
    {"Memory", "DXR_Free", kNone, false, false, kMemoryReleaseParameters, kMemoryReleasePointers,
     kMemoryReleaseOpaque, nullptr},
    {"Memory", "DXR_Malloc", kPointer, false, false, kMemoryAllocateParameters,
     kMemoryAllocatePointers, kMemoryAllocateOpaque, nullptr},
    {"Msg",
     "DXR_SendMsg",
     kU32,
     false,
     false,
     kMsgSendMsgParameters,
     kMsgSendMsgPointers,
     {},
     nullptr},
    {"Msg",
     "DXR_GetTriggerTypeByEvent",
     kU32,
     false,
     false,
     kMsgGetTriggerTypeByEventParameters,
     {},
     {},
     nullptr},
    {"Msg",
     "DXR_GetErrTypeByEvent",
     kU32,
     false,
     false,
     kMsgGetErrTypeByEventParameters,
     {},
     {},
     nullptr},
    {"Msg",
     "DXR_GetTriggerStr",
     kPointer,
     false,
     false,
     kMsgGetTriggerStrParameters,
     kMsgGetTriggerStrPointers,
     {},
     nullptr},
    {"Msg",
     "DXR_SendMsgToMpu",
     kU32,
     false,
     false,
     kMsgSendMsgToMpuParameters,
     kMsgSendMsgToMpuPointers,
     {},
     nullptr},
    {"Msg",
     "DXR_SendMsgToDevm",
     kU32,
     false,
     false,
     kMsgSendMsgToDevmParameters,
     kMsgSendMsgToDevmPointers,
     {},
     nullptr},
    {"Msg",
     "DXR_SendMsgToLpu",
     kU32,
     false,
     false,
     kMsgSendMsgToLpuParameters,
     kMsgSendMsgToLpuPointers,
     {},
     nullptr},
    {"Msg",
     "DXR_SendMsgToSfu",
     kU32,
     false,
     false,
     kMsgSendMsgToSfuParameters,
     kMsgSendMsgToSfuPointers,
     {},
     nullptr},
    {"Msg", "DXR_SendMsgToNp", kNone, false, false, kMsgSendMsgToNpParameters, {}, {}, nullptr},
    {"Msg",
     "DXR_SendEopEvent",
     kU32,
     false,
     false,
     kMsgSendEopEventParameters,
     kMsgSendEopEventPointers,
     {},
     nullptr},
    {"Msg", "DXR_SetMeshFd", kNone, false, false, kMsgSetMeshFdParameters, {}, {}, nullptr},
    {"Print", "DXR_Assert", kU32, false, false, kPrintReportAssertParameters, {}, {}, nullptr},
    {"Print",
     "DXR_EnableLogOutput",
     kU32,
     false,
     false,
     kPrintEnableLogOutputParameters,
     {},
     {},
     nullptr},
    {"Print", "Print.print", kNone, true, false, kPrintPrintParameters, kPrintPrintPointers,
     kPrintPrintOpaque, nullptr},
    {"Print",
     "DXR_WriteEventLog",
     kU32,
     false,
     false,
     kPrintWriteEventLogParameters,
     kPrintWriteEventLogPointers,
     {},
     nullptr},
    {"Print",
     "DXR_DiagLogFilter",
     kU32,
     false,
     false,
     kPrintDiagLogFilterParameters,
     kPrintDiagLogFilterPointers,
     {},
     nullptr},
    {"Print", "DXR_GetDbgLevel", kU32, false, false, {}, {}, {}, nullptr},
    {"Print", "DXR_SetDbgLevel", kU32, false, false, kPrintSetDbgLevelParameters, {}, {}, nullptr},
    {"Print", "Print.reserved7", kNone, false, true, {}, {}, {}, nullptr},
    {"Print", "DXR_WritePrivateLog", kU32, true, false, kPrintWritePrivateLogParameters,
     kPrintWritePrivateLogPointers, kPrintWritePrivateLogOpaque, nullptr},
    {"Print",
     "DXR_LOGFILTER_Destroy",
     kU32,
     false,
     false,
     kPrintLogFilterDestroyParameters,
     {},
     {},
     nullptr},
    {"Print",
     "DXR_LOGFILTER_GetFileName",
     kPointer,
     false,
     false,
     kPrintLogFilterGetFileNameParameters,
     kPrintLogFilterGetFileNamePointers,
     {},
     nullptr},
    {"Print",
     "DXR_LOGFILTER_FilterSameLog",
     kU32,
     false,
     false,
     kPrintLogFilterFilterSameLogParameters,
     kPrintLogFilterFilterSameLogPointers,
     {},
     nullptr},
    {"Print",
     "DXR_LOGFILTER_FilterDiffKeyLog",
     kU32,
     false,
     false,
     kPrintLogFilterFilterDiffKeyLogParameters,
     kPrintLogFilterFilterDiffKeyLogPointers,
     {},
     nullptr},
    {"Print",
     "DXR_LOGFILTER_FilterLargeDiffKeyLog",
     kU32,
     false,
     false,
     kPrintLogFilterFilterLargeDiffKeyLogParameters,
     kPrintLogFilterFilterLargeDiffKeyLogPointers,
     {},
     nullptr},
    {"Print", "DXR_LOGFILTER_Register", kU32, false, false, kPrintLogFilterRegisterParameters,
     kPrintLogFilterRegisterPointers, kPrintLogFilterRegisterOpaque, nullptr},
    {"Print", "DXR_LOGFILTER_RegisterDiffLogForFramework", kU32, false, false,
     kPrintLogFilterRegisterDiffLogForFrameworkParameters,
     kPrintLogFilterRegisterDiffLogForFrameworkPointers,
     kPrintLogFilterRegisterDiffLogForFrameworkOpaque, nullptr},
    {"Print",
     "DXR_LOGFILTER_ShowCurInfo",
     kU32,
     false,
     false,
     kPrintLogFilterShowCurInfoParameters,
     kPrintLogFilterShowCurInfoPointers,
     {},
     nullptr},
    {"Print",
     "DXR_LOGFILTER_ShowHisInfo",
     kU32,
     false,
     false,
     kPrintLogFilterShowHisInfoParameters,
     {},
     {},
     nullptr},
    {"Print",
     "DXR_RecordWarmRebootMileStone",
     kU32,
     false,
     false,
     kPrintRecordWarmRebootMileStoneParameters,
     kPrintRecordWarmRebootMileStonePointers,
     {},
     nullptr},
    {"System", "DXR_RestorePatch", kU32, false, false, {}, {}, {}, nullptr},
    {"System",
     "DXR_GetEnvValueById",
     kU32,
     false,
     false,
     kSystemGetEnvValueByIdParameters,
     kSystemGetEnvValueByIdPointers,
     {},
     nullptr},
    {"System", "DXR_GetLrId", kU32, false, false, {}, {}, {}, nullptr},
    {"System", "DXR_StartTimer", kU32, false, false, kSystemStartTimerParameters,
     kSystemStartTimerPointers, kSystemStartTimerOpaque, &kSystemStartTimerCallback},
    {"System", "DXR_StopTimer", kU32, false, false, kSystemStopTimerParameters,
     kSystemStopTimerPointers, kSystemStopTimerOpaque, nullptr},
    {"System",
     "DXR_FOpen",
     kPointer,
     false,
     false,
     kSystemFOpenParameters,
     kSystemFOpenPointers,
     {},
     nullptr},
    {"System", "DXR_FClose", kU32, false, false, kSystemFCloseParameters, {}, {}, nullptr},
    {"System",
     "DXR_FRead",
     kU32,
     false,
     false,
     kSystemFReadParameters,
     kSystemFReadPointers,
     {},
     nullptr},
    {"System",
     "DXR_FileLength",
     kU32,
     false,
     false,
     kSystemFileLengthParameters,
     kSystemFileLengthPointers,
     {},
     nullptr},
    {"System",
     "DXR_GetBinFolderName",
     kPointer,
     false,
     false,
     {},
     kSystemGetBinFolderNamePointers,
     {},
     nullptr},
    {"System",
     "DXR_GetSysWorkPath",
     kU32,
     false,
     false,
     kSystemGetSysWorkPathParameters,
     kSystemGetSysWorkPathPointers,
     {},
     nullptr},
    {"System", "DXR_GetCpuUseRate", kU32, false, false, {}, {}, {}, nullptr},
    {"System",
     "DXR_ZipBuffer",
     kU32,
     false,
     false,
     kSystemZipBufferParameters,
     kSystemZipBufferPointers,
     {},
     nullptr},
    {"System", "DXR_SetHeartMon", kU32, false, false, kSystemSetHeartMonParameters,
     kSystemSetHeartMonPointers, kSystemSetHeartMonOpaque, &kSystemSetHeartMonCallback},
    {"System", "DXR_StopHeartToMon", kU32, false, false, kSystemStopHeartToMonParameters,
     kSystemStopHeartToMonPointers, kSystemStopHeartToMonOpaque, nullptr},
    {"System", "DXR_FSeek", kU32, false, false, kSystemFSeekParameters, {}, {}, nullptr},
    {"Task",
     "DXR_ReadEvent",
     kU32,
     false,
     false,
     kTaskReadEventParameters,
     kTaskReadEventPointers,
     {},
     nullptr},
    {"Task", "DXR_WriteEvent", kU32, false, false, kTaskWriteEventParameters, {}, {}, nullptr},
    {"Task",
     "DXR_CreateTask",
     kU32,
     false,
     false,
     kTaskCreateTaskParameters,
     kTaskCreateTaskPointers,
     {},
     &kTaskCreateTaskCallback},
    {"Task", "DXR_DelayTask", kU32, false, false, kTaskDelayTaskParameters, {}, {}, nullptr},
    {"Task", "DXR_InitMutex", kU32, false, false, kTaskInitMutexParameters, kTaskInitMutexPointers,
     kTaskInitMutexOpaque, nullptr},
    {"Task", "DXR_DestroyMutex", kU32, false, false, kTaskDestroyMutexParameters, {}, {}, nullptr},
    {"Task", "DXR_LockMutex", kU32, false, false, kTaskLockMutexParameters, {}, {}, nullptr},
    {"Task", "DXR_UnlockMutex", kU32, false, false, kTaskUnlockMutexParameters, {}, {}, nullptr},
    {"Tblm",
     "DXR_DynamicCreateTable",
     kU32,
     false,
     false,
     kTblmDynamicCreateTableParameters,
     {},
     {},
     nullptr},
    {"Tblm",
     "DXR_GetChipTblmData",
     kU32,
     false,
     false,
     kTblmGetChipTblmDataParameters,
     kTblmGetChipTblmDataPointers,
     {},
     nullptr},
    {"Tblm",
     "DXR_SetChipTblmData",
     kU32,
     false,
     false,
     kTblmSetChipTblmDataParameters,
     kTblmSetChipTblmDataPointers,
     {},
     nullptr},
    {"Tblm",
     "DXR_DeleteChipTblmData",
     kU32,
     false,
     false,
     kTblmDeleteChipTblmDataParameters,
     kTblmDeleteChipTblmDataPointers,
     {},
     nullptr},
    {"Tblm", "DXR_GetCrossTblmFirstData", kU32, false, false, kTblmGetCrossTblmFirstDataParameters,
     kTblmGetCrossTblmFirstDataPointers, kTblmGetCrossTblmFirstDataOpaque, nullptr},
    {"Tblm", "DXR_GetLinearTblmFirstData", kU32, false, false,
     kTblmGetLinearTblmFirstDataParameters, kTblmGetLinearTblmFirstDataPointers,
     kTblmGetLinearTblmFirstDataOpaque, nullptr},
    {"Tblm", "DXR_GetTblmNextData", kU32, false, false, kTblmGetTblmNextDataParameters,
     kTblmGetTblmNextDataPointers, kTblmGetTblmNextDataOpaque, nullptr},
    {"Tblm", "DXR_ReleaseTblm", kNone, false, false, kTblmReleaseTblmParameters, {}, {}, nullptr},
    {"Tblm",
     "DXR_GetTblmAttr",
     kU32,
     false,
     false,
     kTblmGetTblmAttrParameters,
     kTblmGetTblmAttrPointers,
     {},
     nullptr},
    {"Tblm",
     "DXR_GetCstPoolCount",
     kU32,
     false,
     false,
     kTblmGetCstPoolCountParameters,
     kTblmGetCstPoolCountPointers,
     {},
     nullptr},
    {"Tblm",
     "DXR_SetChipTblmDataAndMask",
     kU32,
     false,
     false,
     kTblmSetChipTblmDataAndMaskParameters,
     kTblmSetChipTblmDataAndMaskPointers,
     {},
     nullptr},
    {"Time",
     "DXR_GetSysTime",
     kNone,
     false,
     false,
     kTimeGetSysTimeParameters,
     kTimeGetSysTimePointers,
     {},
     nullptr},
    {"Time",
     "DXR_SysTime2Str",
     kU32,
     false,
     false,
     kTimeSysTime2StrParameters,
     kTimeSysTime2StrPointers,
     {},
     nullptr},
    {"Time",
     "DXR_SysTimeSec2Time",
     kNone,
     false,
     false,
     kTimeSysTimeSec2TimeParameters,
     kTimeSysTimeSec2TimePointers,
     {},
     nullptr},
    {"Time",
     "DXR_Tick2Ms",
     kNone,
     false,
     false,
     kTimeTick2MsParameters,
     kTimeTick2MsPointers,
     {},
     nullptr},
    {"Time", "DXR_GetCurrMs", kU64, false, false, {}, {}, {}, nullptr},
    {"Time", "DXR_GetCurrSec", kU32, false, false, {}, {}, {}, nullptr},
    {"Time",
     "DXR_GetCurrentTick",
     kNone,
     false,
     false,
     kTimeGetCurrentTickParameters,
     kTimeGetCurrentTickPointers,
     {},
     nullptr},
    {"Time",
     "DXR_GetCpuTick",
     kNone,
     false,
     false,
     kTimeGetCpuTickParameters,
     kTimeGetCpuTickPointers,
     {},
     nullptr},
    {"Time",
     "DXR_GetCurrTime",
     kNone,
     false,
     false,
     kTimeGetCurrTimeParameters,
     kTimeGetCurrTimePointers,
     {},
     nullptr},
    {"Time",
     "DXR_CalSystimeRelSec",
     kU32,
     false,
     false,
     kTimeCalSystimeRelSecParameters,
     kTimeCalSystimeRelSecPointers,
     {},
     nullptr},
    {"Time",
     "DXR_GetStartupTimeStamp",
     kNone,
     false,
     false,
     kTimeGetStartupTimeStampParameters,
     kTimeGetStartupTimeStampPointers,
     {},
     nullptr},
    {"Time",
     "DXR_AddStartupTime",
     kNone,
     false,
     false,
     kTimeAddStartupTimeParameters,
     kTimeAddStartupTimePointers,
     {},
     nullptr},
    {"Time",
     "DXR_GetGMT",
     kU32,
     false,
     false,
     kTimeGetGMTParameters,
     kTimeGetGMTPointers,
     {},
     nullptr},
    {"Time",
     "DXR_GetLocalTime",
     kU32,
     false,
     false,
     kTimeGetLocalTimeParameters,
     kTimeGetLocalTimePointers,
     {},
     nullptr},
    {"Time", "DXR_GetStartupTimeSec", kU32, false, false, {}, {}, {}, nullptr},
    {"Cfg",
     "DXR_CFG_ReadBoardData",
     kNone,
     false,
     false,
     kCfgCfgReadBoardDataParameters,
     kCfgCfgReadBoardDataPointers,
     {},
     nullptr},
    {"Cfg",
     "DXR_CFG_DisplayBoardData",
     kU32,
     false,
     false,
     kCfgCfgDisplayBoardDataParameters,
     kCfgCfgDisplayBoardDataPointers,
     {},
     nullptr},
    {"Cfg", "DXR_CFG_ClearBoardData", kNone, false, false, {}, {}, {}, nullptr},
    {"Cfg",
     "DXR_CFG_GetBoardData",
     kU32,
     false,
     false,
     kCfgCfgGetBoardDataParameters,
     {},
     {},
     nullptr},
    {"Cfg",
     "DXR_CFG_IsFromBoardData",
     kU32,
     false,
     false,
     kCfgCfgIsFromBoardDataParameters,
     {},
     {},
     nullptr},
    {"Cfg",
     "DXR_CFG_GetMemParam",
     kPointer,
     false,
     false,
     kCfgCfgGetMemParamParameters,
     kCfgCfgGetMemParamPointers,
     {},
     nullptr},
    {"Cfg",
     "DXR_CFG_IsFromMemParam",
     kU32,
     false,
     false,
     kCfgCfgIsFromMemParamParameters,
     {},
     {},
     nullptr},
    {"Cfg",
     "DXR_CFG_GetAdvancedSpec",
     kPointer,
     false,
     false,
     kCfgCfgGetAdvancedSpecParameters,
     kCfgCfgGetAdvancedSpecPointers,
     {},
     nullptr},
    {"Cfg",
     "DXR_CFG_IsFromBoardAdvancedSpec",
     kU32,
     false,
     false,
     kCfgCfgIsFromBoardAdvancedSpecParameters,
     {},
     {},
     nullptr},
    {"Cfg",
     "DXR_CFG_GetPhyBoardInfo",
     kU32,
     false,
     false,
     kCfgCfgGetPhyBoardInfoParameters,
     {},
     {},
     nullptr},
    {"Cfg",
     "DXR_CFG_IsFromPhyBoardInfo",
     kU32,
     false,
     false,
     kCfgCfgIsFromPhyBoardInfoParameters,
     {},
     {},
     nullptr},
    {"JsonDecode", "JsonDecode.reserved0", kNone, false, true, {}, {}, {}, nullptr},
    {"JsonDecode", "JsonDecode.reserved1", kNone, false, true, {}, {}, {}, nullptr},
    {"JsonDecode", "JsonDecode.reserved2", kNone, false, true, {}, {}, {}, nullptr},
    {"JsonDecode", "JsonDecode.reserved3", kNone, false, true, {}, {}, {}, nullptr},
    {"Np",
     "DXR_SetMcPortMap",
     kU32,
     false,
     false,
     kNpSetMcPortMapParameters,
     kNpSetMcPortMapPointers,
     {},
     nullptr},
    {"Np",
     "DXR_GetQueueDropStat",
     kU32,
     false,
     false,
     kNpGetQueueDropStatParameters,
     kNpGetQueueDropStatPointers,
     {},
     nullptr},
    {"Np",
     "DXR_GetAbsPfcLogicSp",
     kU32,
     false,
     false,
     kNpGetAbsPfcLogicSpParameters,
     kNpGetAbsPfcLogicSpPointers,
     {},
     nullptr},
    {"Plugin", "DXR_RegisterBrdPlugin", kU32, false, false, kPluginRegisterBrdPluginParameters,
     kPluginRegisterBrdPluginPointers, kPluginRegisterBrdPluginOpaque, nullptr},
    {"Plugin", "DXR_UnRegisterBrdPlugin", kU32, false, false, kPluginUnRegisterBrdPluginParameters,
     kPluginUnRegisterBrdPluginPointers, kPluginUnRegisterBrdPluginOpaque, nullptr},
    {"Plugin", "DXR_LoadBrdPlugin", kU32, false, false, kPluginLoadBrdPluginParameters,
     kPluginLoadBrdPluginPointers, kPluginLoadBrdPluginOpaque, nullptr},
    {"Plugin", "DXR_UnLoadBrdPlugin", kNone, false, false, kPluginUnLoadBrdPluginParameters,
     kPluginUnLoadBrdPluginPointers, kPluginUnLoadBrdPluginOpaque, nullptr},
    {"Plugin", "DXR_IsBrdPluginLoaded", kU32, false, false, kPluginIsBrdPluginLoadedParameters,
     kPluginIsBrdPluginLoadedPointers, kPluginIsBrdPluginLoadedOpaque, nullptr},
    {"Plugin", "DXR_CheckBrdPlugin", kU32, false, false, kPluginCheckBrdPluginParameters,
     kPluginCheckBrdPluginPointers, kPluginCheckBrdPluginOpaque, nullptr},
    {"Plugin", "DXR_QueryBrdPlugin", kU32, false, false, kPluginQueryBrdPluginParameters,
     kPluginQueryBrdPluginPointers, kPluginQueryBrdPluginOpaque, nullptr},
    {"Plugin", "DXR_DisplayBrdPlugin", kNone, false, false, kPluginDisplayBrdPluginParameters,
     kPluginDisplayBrdPluginPointers, kPluginDisplayBrdPluginOpaque, nullptr},
    {"Hash", "DXR_HashCount", kU32, false, false, kHashHashCountParameters, {}, {}, nullptr},
    {"Hash", "DXR_HashCreate", kPointer, false, false, kHashHashCreateParameters,
     kHashHashCreatePointers, kHashHashCreateOpaque, nullptr},
    {"Hash",
     "DXR_HashFindKey",
     kPointer,
     false,
     false,
     kHashHashFindKeyParameters,
     {},
     {},
     nullptr},
    {"Hash", "DXR_HashFree", kU32, false, false, kHashHashFreeParameters, {}, {}, nullptr},
    {"Hash",
     "DXR_HashGetBucketNum",
     kU32,
     false,
     false,
     kHashHashGetBucketNumParameters,
     {},
     {},
     nullptr},
    {"Hash",
     "DXR_HashGetFirst",
     kPointer,
     false,
     false,
     kHashHashGetFirstParameters,
     {},
     {},
     nullptr},
    {"Hash",
     "DXR_HashGetNext",
     kPointer,
     false,
     false,
     kHashHashGetNextParameters,
     {},
     {},
     nullptr},
    {"Hash",
     "DXR_HashGetMaxItem",
     kU32,
     false,
     false,
     kHashHashGetMaxItemParameters,
     {},
     {},
     nullptr},
    {"Hash",
     "DXR_HashInsert",
     kU32,
     false,
     false,
     kHashHashInsertParameters,
     kHashHashInsertPointers,
     {},
     nullptr},
    {"Hash", "DXR_HashRemove", kU32, false, false, kHashHashRemoveParameters, {}, {}, nullptr},
    {"Hash",
     "DXR_HashGetFromEntry",
     kPointer,
     false,
     false,
     kHashHashGetFromEntryParameters,
     {},
     {},
     nullptr},
    {"Ffm", "DXR_FfmStartFaultCheck", kU32, false, false, {}, {}, {}, nullptr},
    {"Ffm", "DXR_FfmStopFaultCheck", kU32, false, false, {}, {}, {}, nullptr},
    {"Kpi",
     "DXR_UpdateKpiAttrVal",
     kU32,
     false,
     false,
     kKpiUpdateKpiAttrValParameters,
     kKpiUpdateKpiAttrValPointers,
     {},
     nullptr},
    {"Temperature",
     "DXR_RegisterQueryTempFunc",
     kNone,
     false,
     false,
     kTemperatureRegisterQueryTempFuncParameters,
     {},
     {},
     &kTemperatureRegisterQueryTempFuncCallback},
};

}  // namespace dxr_trace
