// Made by hooks/generate.py from hooks/slots.yaml; do not edit.
#include "unfilled.h"

#include "unfilled_slot.h"

namespace dxrsh {
namespace {

constexpr char kText108[] = "invalid";
constexpr char kText144[] = ".";

}  // namespace

constinit const DxrHooks kUnfilled = {
    .alarm =
        {
            .alarm = kAsked<0, &DxrAlarmHooks::alarm, 1>,
            .fmAlarm = kAsked<1, &DxrAlarmHooks::fmAlarm, 0>,
            .reserved2 = nullptr,
        },
    .db =
        {
            .selectDbRecordCount = kAsked<3, &DxrDbHooks::selectDbRecordCount, 0>,
            .selectDbRecordLimit = kAsked<4, &DxrDbHooks::selectDbRecordLimit, 0>,
            .selectFirstDbRecord = kAsked<5, &DxrDbHooks::selectFirstDbRecord, 0>,
            .getLocalFicIdFromDb = kAsked<6, &DxrDbHooks::getLocalFicIdFromDb, 0>,
            .getTmTypeByGlobalFicIdFromDb = kAsked<7, &DxrDbHooks::getTmTypeByGlobalFicIdFromDb, 0>,
            .getTmTypeByLocalFicIdFromDb = kAsked<8, &DxrDbHooks::getTmTypeByLocalFicIdFromDb, 0>,
            .getChipPosByGlobalFicIdFromDb =
                kAsked<9, &DxrDbHooks::getChipPosByGlobalFicIdFromDb, 0>,
            .getChipPosByLocalFicIdFromDb =
                kAsked<10, &DxrDbHooks::getChipPosByLocalFicIdFromDb, 0>,
            .getFicIdByNodeGroupIdFromDb = kAsked<11, &DxrDbHooks::getFicIdByNodeGroupIdFromDb, 0>,
            .getNgTmCfgFromDb = kAsked<12, &DxrDbHooks::getNgTmCfgFromDb, 0>,
            .getNgTmPortInfoFromDb = kAsked<13, &DxrDbHooks::getNgTmPortInfoFromDb, 0>,
            .getNgTmPortInfoByTmPortFromDb =
                kAsked<14, &DxrDbHooks::getNgTmPortInfoByTmPortFromDb, 0>,
            .getNgTmPortInfoByVsqIdFromDb =
                kAsked<15, &DxrDbHooks::getNgTmPortInfoByVsqIdFromDb, 0>,
            .getNgTmSrvPortInfoFromDb = kAsked<16, &DxrDbHooks::getNgTmSrvPortInfoFromDb, 0>,
            .getNgTmSrvPortByVsqFromDb = kAsked<17, &DxrDbHooks::getNgTmSrvPortByVsqFromDb, 0>,
            .isMcRepByTm = kAsked<18, &DxrDbHooks::isMcRepByTm, 1>,
            .getDestFicPort = kAsked<19, &DxrDbHooks::getDestFicPort, nullptr>,
            .getNgTmSrvPortByFicIdFromDb = kAsked<20, &DxrDbHooks::getNgTmSrvPortByFicIdFromDb, 0>,
            .getLpuDevId = kAsked<21, &DxrDbHooks::getLpuDevId, 0xFFFFFFFF>,
        },
    .dev =
        {
            .boardIsMaster = kAsked<22, &DxrDevHooks::boardIsMaster, 1>,
            .getDevAttrValue = kAsked<23, &DxrDevHooks::getDevAttrValue, 0>,
            .setDevAttrValue = kAsked<24, &DxrDevHooks::setDevAttrValue, 0>,
            .setDevMmapType = kAsked<25, &DxrDevHooks::setDevMmapType, 0>,
            .getEnv = kAsked<26, &DxrDevHooks::getEnv, 0>,
            .setEnv = kAsked<27, &DxrDevHooks::setEnv, 0>,
            .saveEnv = kAsked<28, &DxrDevHooks::saveEnv, 0>,
            .saveEnvBlock = kAsked<29, &DxrDevHooks::saveEnvBlock, 0>,
            .getMemEnv = kAsked<30, &DxrDevHooks::getMemEnv, 0>,
            .setMemEnv = kAsked<31, &DxrDevHooks::setMemEnv, 0>,
            .saveMemEnv = kAsked<32, &DxrDevHooks::saveMemEnv, 0>,
            .getPcieConfigRegValue = kAsked<33, &DxrDevHooks::getPcieConfigRegValue, 0>,
            .setPcieConfigRegValue = kAsked<34, &DxrDevHooks::setPcieConfigRegValue, 0>,
            .getRsvMemMmapAddr = kAsked<35, &DxrDevHooks::getRsvMemMmapAddr, 0>,
            .getResetMode = kAsked<36, &DxrDevHooks::getResetMode, 0>,
            .isRunInLs = kAsked<37, &DxrDevHooks::isRunInLs, 0>,
            .scanPcie = kAsked<38, &DxrDevHooks::scanPcie, 0>,
            .getRsvdMem = kAsked<39, &DxrDevHooks::getRsvdMem, 0>,
            .getProductFamilyType = kAsked<40, &DxrDevHooks::getProductFamilyType, 2>,
            .isCentralPurchaseMode = kAsked<41, &DxrDevHooks::isCentralPurchaseMode, 0>,
            .mmapDev = kAsked<42, &DxrDevHooks::mmapDev, nullptr>,
            .munmapDev = kAsked<43, &DxrDevHooks::munmapDev, 0>,
            .openDev = kAsked<44, &DxrDevHooks::openDev, 0>,
            .openDevWithOption = kAsked<45, &DxrDevHooks::openDevWithOption, 0>,
            .closeDev = kAsked<46, &DxrDevHooks::closeDev, 0>,
            .controlDev = kAsked<47, &DxrDevHooks::controlDev, 0>,
            .writeDev = kAsked<48, &DxrDevHooks::writeDev, 0>,
            .readI2c = kAsked<49, &DxrDevHooks::readI2c, 0>,
            .writeI2c = kAsked<50, &DxrDevHooks::writeI2c, 0>,
            .readReg16 = kAsked<51, &DxrDevHooks::readReg16, 0>,
            .writeReg16 = kAsked<52, &DxrDevHooks::writeReg16, 0>,
            .readReg = kAsked<53, &DxrDevHooks::readReg, 0>,
            .writeReg = kAsked<54, &DxrDevHooks::writeReg, 0>,
            .getServiceType = kAsked<55, &DxrDevHooks::getServiceType, 0>,
            .getVoltageKey = kAsked<56, &DxrDevHooks::getVoltageKey, 0>,
            .setVoltage = kAsked<57, &DxrDevHooks::setVoltage, 0>,
            .getVoltage = kAsked<58, &DxrDevHooks::getVoltage, 0>,
            .hardResetChip = kAsked<59, &DxrDevHooks::hardResetChip, 0>,
            .probePcie = kAsked<60, &DxrDevHooks::probePcie, 0>,
            .initSafeIo = kAsked<61, &DxrDevHooks::initSafeIo, 0>,
            .getBomId = kAsked<62, &DxrDevHooks::getBomId, 0>,
            .readPcie = kAsked<63, &DxrDevHooks::readPcie, 0>,
            .writePcie = kAsked<64, &DxrDevHooks::writePcie, 0>,
            .getDeviceBar = kAsked<65, &DxrDevHooks::getDeviceBar, 0>,
            .resetBoard = kAsked<66, &DxrDevHooks::resetBoard, 0>,
            .getLocalPcbVersion = kAsked<67, &DxrDevHooks::getLocalPcbVersion, 0>,
            .getHardId = kAsked<68, &DxrDevHooks::getHardId, 0xFFFFFFFF>,
            .getPcbVersion = kAsked<69, &DxrDevHooks::getPcbVersion, 0>,
            .chmodRsvMemFile = kAsked<70, &DxrDevHooks::chmodRsvMemFile, 0>,
            .getVsfuDevName = kAsked<71, &DxrDevHooks::getVsfuDevName, 0>,
            .rebootOS = kAsked<72, &DxrDevHooks::rebootOS, 0>,
            .registerPreResetProcFunc = kAsked<73, &DxrDevHooks::registerPreResetProcFunc, 0>,
            .createIOWorker = kAsked<74, &DxrDevHooks::createIOWorker, 0>,
            .getPreResetMode = kAsked<75, &DxrDevHooks::getPreResetMode, 0>,
            .setPreResetMode = kAsked<76, &DxrDevHooks::setPreResetMode, 0>,
            .vSfuLoadPacket = kAsked<77, &DxrDevHooks::vSfuLoadPacket, 0>,
            .getSoftPcbVersion = kAsked<78, &DxrDevHooks::getSoftPcbVersion, 0>,
            .isIssuState = kAsked<79, &DxrDevHooks::isIssuState, 0>,
            .writeMdio = kAsked<80, &DxrDevHooks::writeMdio, 0>,
            .readMdio = kAsked<81, &DxrDevHooks::readMdio, 0>,
            .enableMdioParallel = kAsked<82, &DxrDevHooks::enableMdioParallel, 0>,
            .cdrResetChip = kAsked<83, &DxrDevHooks::cdrResetChip, 0>,
            .cmdCallback = kAsked<84, &DxrDevHooks::cmdCallback, 0>,
            .intrSetRegist = kAsked<85, &DxrDevHooks::intrSetRegist, 0>,
            .getBoardDrvType = kAsked<86, &DxrDevHooks::getBoardDrvType, 0xFFFFFFFF>,
            .getWofflineState = kAsked<87, &DxrDevHooks::getWofflineState, 1>,
            .checkSmiLosEnable = kAsked<88, &DxrDevHooks::checkSmiLosEnable, 1>,
            .writeFlashInfo = kAsked<89, &DxrDevHooks::writeFlashInfo, 1>,
        },
    .init =
        {
            .registerModule = kAsked<90, &DxrInitHooks::registerModule, 0>,
            .unRegister = kAsked<91, &DxrInitHooks::unRegister, 0>,
            .setUdf = kAsked<92, &DxrInitHooks::setUdf, 0>,
            .registerVelderFuncs = kAsked<93, &DxrInitHooks::registerVelderFuncs, 0>,
            .getThis = kAsked<94, &DxrInitHooks::getThis, nullptr>,
        },
    .list =
        {
            .createSll = kAsked<95, &DxrListHooks::createSll, nullptr>,
            .addSll = kAsked<96, &DxrListHooks::addSll, 0>,
            .removeSll = kAsked<97, &DxrListHooks::removeSll, 0>,
            .destroySll = kAsked<98, &DxrListHooks::destroySll, 0>,
            .sslGetCount = kAsked<99, &DxrListHooks::sslGetCount, 0>,
            .sslGetNextNode = kAsked<100, &DxrListHooks::sslGetNextNode, nullptr>,
            .sslGetNodeData = kAsked<101, &DxrListHooks::sslGetNodeData, nullptr>,
            .sslProcSingleNode = kAsked<102, &DxrListHooks::sslProcSingleNode, 1>,
        },
    .memory =
        {
            .release = kAsked<103, &DxrMemoryHooks::release, 0>,
            .allocate = kAsked<104, &DxrMemoryHooks::allocate, nullptr>,
        },
    .msg =
        {
            .sendMsg = kAsked<105, &DxrMsgHooks::sendMsg, 0>,
            .getTriggerTypeByEvent = kAsked<106, &DxrMsgHooks::getTriggerTypeByEvent, 0>,
            .getErrTypeByEvent = kAsked<107, &DxrMsgHooks::getErrTypeByEvent, 0>,
            .getTriggerStr = kAsked<108, &DxrMsgHooks::getTriggerStr, kText108>,
            .sendMsgToMpu = kAsked<109, &DxrMsgHooks::sendMsgToMpu, 0>,
            .sendMsgToDevm = kAsked<110, &DxrMsgHooks::sendMsgToDevm, 0>,
            .sendMsgToLpu = kAsked<111, &DxrMsgHooks::sendMsgToLpu, 0>,
            .sendMsgToSfu = kAsked<112, &DxrMsgHooks::sendMsgToSfu, 0>,
            .sendMsgToNp = kAsked<113, &DxrMsgHooks::sendMsgToNp, 0>,
            .sendEopEvent = kAsked<114, &DxrMsgHooks::sendEopEvent, 1>,
            .setMeshFd = kAsked<115, &DxrMsgHooks::setMeshFd, 0>,
        },
    .print =
        {
            .reportAssert = kAsked<116, &DxrPrintHooks::reportAssert, 0>,
            .enableLogOutput = kAsked<117, &DxrPrintHooks::enableLogOutput, 0>,
            .print = kAsked<118, &DxrPrintHooks::print, 0>,
            .writeEventLog = kAsked<119, &DxrPrintHooks::writeEventLog, 0>,
            .diagLogFilter = kAsked<120, &DxrPrintHooks::diagLogFilter, 0>,
            .getDbgLevel = kAsked<121, &DxrPrintHooks::getDbgLevel, 0>,
            .setDbgLevel = kAsked<122, &DxrPrintHooks::setDbgLevel, 0>,
            .reserved7 = nullptr,
            .writePrivateLog = kAsked<124, &DxrPrintHooks::writePrivateLog, 0>,
            .logFilterDestroy = kAsked<125, &DxrPrintHooks::logFilterDestroy, 0>,
            .logFilterGetFileName = kAsked<126, &DxrPrintHooks::logFilterGetFileName, nullptr>,
            .logFilterFilterSameLog = kAsked<127, &DxrPrintHooks::logFilterFilterSameLog, 0>,
            .logFilterFilterDiffKeyLog = kAsked<128, &DxrPrintHooks::logFilterFilterDiffKeyLog, 0>,
            .logFilterFilterLargeDiffKeyLog =
                kAsked<129, &DxrPrintHooks::logFilterFilterLargeDiffKeyLog, 0>,
            .logFilterRegister = kAsked<130, &DxrPrintHooks::logFilterRegister, 0>,
            .logFilterRegisterDiffLogForFramework =
                kAsked<131, &DxrPrintHooks::logFilterRegisterDiffLogForFramework, 0>,
            .logFilterShowCurInfo = kAsked<132, &DxrPrintHooks::logFilterShowCurInfo, 0>,
            .logFilterShowHisInfo = kAsked<133, &DxrPrintHooks::logFilterShowHisInfo, 0>,
            .recordWarmRebootMileStone = kAsked<134, &DxrPrintHooks::recordWarmRebootMileStone, 0>,
        },
    .system =
        {
            .restorePatch = kAsked<135, &DxrSystemHooks::restorePatch, 0>,
            .getEnvValueById = kAsked<136, &DxrSystemHooks::getEnvValueById, 0>,
            .getLrId = kAsked<137, &DxrSystemHooks::getLrId, 0>,
            .startTimer = kAsked<138, &DxrSystemHooks::startTimer, 0>,
            .stopTimer = kAsked<139, &DxrSystemHooks::stopTimer, 0>,
            .fOpen = kAsked<140, &DxrSystemHooks::fOpen, nullptr>,
            .fClose = kAsked<141, &DxrSystemHooks::fClose, 0>,
            .fRead = kAsked<142, &DxrSystemHooks::fRead, 0>,
            .fileLength = kAsked<143, &DxrSystemHooks::fileLength, 0>,
            .getBinFolderName = kAsked<144, &DxrSystemHooks::getBinFolderName, kText144>,
            .getSysWorkPath = kAsked<145, &DxrSystemHooks::getSysWorkPath, 0>,
            .getCpuUseRate = kAsked<146, &DxrSystemHooks::getCpuUseRate, 0>,
            .zipBuffer = kAsked<147, &DxrSystemHooks::zipBuffer, 0>,
            .setHeartMon = kAsked<148, &DxrSystemHooks::setHeartMon, 0>,
            .stopHeartToMon = kAsked<149, &DxrSystemHooks::stopHeartToMon, 0>,
            .fSeek = kAsked<150, &DxrSystemHooks::fSeek, 0>,
        },
    .task =
        {
            .readEvent = kAsked<151, &DxrTaskHooks::readEvent, 0>,
            .writeEvent = kAsked<152, &DxrTaskHooks::writeEvent, 0>,
            .createTask = kAsked<153, &DxrTaskHooks::createTask, 0>,
            .delayTask = kAsked<154, &DxrTaskHooks::delayTask, 0>,
            .initMutex = kAsked<155, &DxrTaskHooks::initMutex, 0>,
            .destroyMutex = kAsked<156, &DxrTaskHooks::destroyMutex, 0>,
            .lockMutex = kAsked<157, &DxrTaskHooks::lockMutex, 0>,
            .unlockMutex = kAsked<158, &DxrTaskHooks::unlockMutex, 0>,
        },
    .tblm =
        {
            .dynamicCreateTable = kAsked<159, &DxrTblmHooks::dynamicCreateTable, 0>,
            .getChipTblmData = kAsked<160, &DxrTblmHooks::getChipTblmData, 0>,
            .setChipTblmData = kAsked<161, &DxrTblmHooks::setChipTblmData, 0>,
            .deleteChipTblmData = kAsked<162, &DxrTblmHooks::deleteChipTblmData, 0>,
            .getCrossTblmFirstData = kAsked<163, &DxrTblmHooks::getCrossTblmFirstData, 1>,
            .getLinearTblmFirstData = kAsked<164, &DxrTblmHooks::getLinearTblmFirstData, 1>,
            .getTblmNextData = kAsked<165, &DxrTblmHooks::getTblmNextData, 1>,
            .releaseTblm = kAsked<166, &DxrTblmHooks::releaseTblm, 0>,
            .getTblmAttr = kAsked<167, &DxrTblmHooks::getTblmAttr, 1>,
            .getCstPoolCount = kAsked<168, &DxrTblmHooks::getCstPoolCount, 0>,
            .setChipTblmDataAndMask = kAsked<169, &DxrTblmHooks::setChipTblmDataAndMask, 0>,
        },
    .time =
        {
            .getSysTime = kAsked<170, &DxrTimeHooks::getSysTime, 0>,
            .sysTime2Str = kAsked<171, &DxrTimeHooks::sysTime2Str, 0>,
            .sysTimeSec2Time = kAsked<172, &DxrTimeHooks::sysTimeSec2Time, 0>,
            .tick2Ms = kAsked<173, &DxrTimeHooks::tick2Ms, 0>,
            .getCurrMs = kAsked<174, &DxrTimeHooks::getCurrMs, 0>,
            .getCurrSec = kAsked<175, &DxrTimeHooks::getCurrSec, 0>,
            .getCurrentTick = kAsked<176, &DxrTimeHooks::getCurrentTick, 0>,
            .getCpuTick = kAsked<177, &DxrTimeHooks::getCpuTick, 0>,
            .getCurrTime = kAsked<178, &DxrTimeHooks::getCurrTime, 0>,
            .calSystimeRelSec = kAsked<179, &DxrTimeHooks::calSystimeRelSec, 0>,
            .getStartupTimeStamp = kAsked<180, &DxrTimeHooks::getStartupTimeStamp, 0>,
            .addStartupTime = kAsked<181, &DxrTimeHooks::addStartupTime, 0>,
            .getGMT = kAsked<182, &DxrTimeHooks::getGMT, 0>,
            .getLocalTime = kAsked<183, &DxrTimeHooks::getLocalTime, 0>,
            .getStartupTimeSec = kAsked<184, &DxrTimeHooks::getStartupTimeSec, 0>,
        },
    .cfg =
        {
            .cfgReadBoardData = kAsked<185, &DxrCfgHooks::cfgReadBoardData, 0>,
            .cfgDisplayBoardData = kAsked<186, &DxrCfgHooks::cfgDisplayBoardData, 0>,
            .cfgClearBoardData = kAsked<187, &DxrCfgHooks::cfgClearBoardData, 0>,
            .cfgGetBoardData = kAsked<188, &DxrCfgHooks::cfgGetBoardData, 0>,
            .cfgIsFromBoardData = kAsked<189, &DxrCfgHooks::cfgIsFromBoardData, 0>,
            .cfgGetMemParam = kAsked<190, &DxrCfgHooks::cfgGetMemParam, nullptr>,
            .cfgIsFromMemParam = kAsked<191, &DxrCfgHooks::cfgIsFromMemParam, 0>,
            .cfgGetAdvancedSpec = kAsked<192, &DxrCfgHooks::cfgGetAdvancedSpec, nullptr>,
            .cfgIsFromBoardAdvancedSpec = kAsked<193, &DxrCfgHooks::cfgIsFromBoardAdvancedSpec, 0>,
            .cfgGetPhyBoardInfo = kAsked<194, &DxrCfgHooks::cfgGetPhyBoardInfo, 0>,
            .cfgIsFromPhyBoardInfo = kAsked<195, &DxrCfgHooks::cfgIsFromPhyBoardInfo, 0>,
        },
    .jsonDecode =
        {
            .reserved0 = nullptr,
            .reserved1 = nullptr,
            .reserved2 = nullptr,
            .reserved3 = nullptr,
        },
    .np =
        {
            .setMcPortMap = kAsked<200, &DxrNpHooks::setMcPortMap, 0>,
            .getQueueDropStat = kAsked<201, &DxrNpHooks::getQueueDropStat, 0>,
            .getAbsPfcLogicSp = kAsked<202, &DxrNpHooks::getAbsPfcLogicSp, 0>,
        },
    .plugin =
        {
            .registerBrdPlugin = kAsked<203, &DxrPluginHooks::registerBrdPlugin, 0>,
            .unRegisterBrdPlugin = kAsked<204, &DxrPluginHooks::unRegisterBrdPlugin, 0>,
            .loadBrdPlugin = kAsked<205, &DxrPluginHooks::loadBrdPlugin, 0>,
            .unLoadBrdPlugin = kAsked<206, &DxrPluginHooks::unLoadBrdPlugin, 0>,
            .isBrdPluginLoaded = kAsked<207, &DxrPluginHooks::isBrdPluginLoaded, 0>,
            .checkBrdPlugin = kAsked<208, &DxrPluginHooks::checkBrdPlugin, 0>,
            .queryBrdPlugin = kAsked<209, &DxrPluginHooks::queryBrdPlugin, 0>,
            .displayBrdPlugin = kAsked<210, &DxrPluginHooks::displayBrdPlugin, 0>,
        },
    .hash =
        {
            .hashCount = kAsked<211, &DxrHashHooks::hashCount, 0>,
            .hashCreate = kAsked<212, &DxrHashHooks::hashCreate, nullptr>,
            .hashFindKey = kAsked<213, &DxrHashHooks::hashFindKey, nullptr>,
            .hashFree = kAsked<214, &DxrHashHooks::hashFree, 0>,
            .hashGetBucketNum = kAsked<215, &DxrHashHooks::hashGetBucketNum, 0>,
            .hashGetFirst = kAsked<216, &DxrHashHooks::hashGetFirst, nullptr>,
            .hashGetNext = kAsked<217, &DxrHashHooks::hashGetNext, nullptr>,
            .hashGetMaxItem = kAsked<218, &DxrHashHooks::hashGetMaxItem, 0>,
            .hashInsert = kAsked<219, &DxrHashHooks::hashInsert, 0>,
            .hashRemove = kAsked<220, &DxrHashHooks::hashRemove, 0>,
            .hashGetFromEntry = kAsked<221, &DxrHashHooks::hashGetFromEntry, nullptr>,
        },
    .ffm =
        {
            .ffmStartFaultCheck = kAsked<222, &DxrFfmHooks::ffmStartFaultCheck, 0>,
            .ffmStopFaultCheck = kAsked<223, &DxrFfmHooks::ffmStopFaultCheck, 0>,
        },
    .kpi =
        {
            .updateKpiAttrVal = kAsked<224, &DxrKpiHooks::updateKpiAttrVal, 0>,
        },
    .temperature =
        {
            .registerQueryTempFunc = kAsked<225, &DxrTemperatureHooks::registerQueryTempFunc, 0>,
        },
};

}  // namespace dxrsh
