// Made by hooks/generate.py from hooks/slots.yaml; do not edit.
#include "answers.h"

#include "answer.h"

namespace dxr_trace {

constinit const DxrHooks kAnswers = {
    .alarm =
        {
            .alarm = kAnswer<0, &DxrAlarmHooks::alarm>,
            .fmAlarm = kAnswer<1, &DxrAlarmHooks::fmAlarm>,
            .reserved2 = nullptr,
        },
    .db =
        {
            .selectDbRecordCount = kAnswer<3, &DxrDbHooks::selectDbRecordCount>,
            .selectDbRecordLimit = kAnswer<4, &DxrDbHooks::selectDbRecordLimit>,
            .selectFirstDbRecord = kAnswer<5, &DxrDbHooks::selectFirstDbRecord>,
            .getLocalFicIdFromDb = kAnswer<6, &DxrDbHooks::getLocalFicIdFromDb>,
            .getTmTypeByGlobalFicIdFromDb = kAnswer<7, &DxrDbHooks::getTmTypeByGlobalFicIdFromDb>,
            .getTmTypeByLocalFicIdFromDb = kAnswer<8, &DxrDbHooks::getTmTypeByLocalFicIdFromDb>,
            .getChipPosByGlobalFicIdFromDb = kAnswer<9, &DxrDbHooks::getChipPosByGlobalFicIdFromDb>,
            .getChipPosByLocalFicIdFromDb = kAnswer<10, &DxrDbHooks::getChipPosByLocalFicIdFromDb>,
            .getFicIdByNodeGroupIdFromDb = kAnswer<11, &DxrDbHooks::getFicIdByNodeGroupIdFromDb>,
            .getNgTmCfgFromDb = kAnswer<12, &DxrDbHooks::getNgTmCfgFromDb>,
            .getNgTmPortInfoFromDb = kAnswer<13, &DxrDbHooks::getNgTmPortInfoFromDb>,
            .getNgTmPortInfoByTmPortFromDb =
                kAnswer<14, &DxrDbHooks::getNgTmPortInfoByTmPortFromDb>,
            .getNgTmPortInfoByVsqIdFromDb = kAnswer<15, &DxrDbHooks::getNgTmPortInfoByVsqIdFromDb>,
            .getNgTmSrvPortInfoFromDb = kAnswer<16, &DxrDbHooks::getNgTmSrvPortInfoFromDb>,
            .getNgTmSrvPortByVsqFromDb = kAnswer<17, &DxrDbHooks::getNgTmSrvPortByVsqFromDb>,
            .isMcRepByTm = kAnswer<18, &DxrDbHooks::isMcRepByTm>,
            .getDestFicPort = kAnswer<19, &DxrDbHooks::getDestFicPort>,
            .getNgTmSrvPortByFicIdFromDb = kAnswer<20, &DxrDbHooks::getNgTmSrvPortByFicIdFromDb>,
            .getLpuDevId = kAnswer<21, &DxrDbHooks::getLpuDevId>,
        },
    .dev =
        {
            .boardIsMaster = kAnswer<22, &DxrDevHooks::boardIsMaster>,
            .getDevAttrValue = kAnswer<23, &DxrDevHooks::getDevAttrValue>,
            .setDevAttrValue = kAnswer<24, &DxrDevHooks::setDevAttrValue>,
            .setDevMmapType = kAnswer<25, &DxrDevHooks::setDevMmapType>,
            .getEnv = kAnswer<26, &DxrDevHooks::getEnv>,
            .setEnv = kAnswer<27, &DxrDevHooks::setEnv>,
            .saveEnv = kAnswer<28, &DxrDevHooks::saveEnv>,
            .saveEnvBlock = kAnswer<29, &DxrDevHooks::saveEnvBlock>,
            .getMemEnv = kAnswer<30, &DxrDevHooks::getMemEnv>,
            .setMemEnv = kAnswer<31, &DxrDevHooks::setMemEnv>,
            .saveMemEnv = kAnswer<32, &DxrDevHooks::saveMemEnv>,
            .getPcieConfigRegValue = kAnswer<33, &DxrDevHooks::getPcieConfigRegValue>,
            .setPcieConfigRegValue = kAnswer<34, &DxrDevHooks::setPcieConfigRegValue>,
            .getRsvMemMmapAddr = kAnswer<35, &DxrDevHooks::getRsvMemMmapAddr>,
            .getResetMode = kAnswer<36, &DxrDevHooks::getResetMode>,
            .isRunInLs = kAnswer<37, &DxrDevHooks::isRunInLs>,
            .scanPcie = kAnswer<38, &DxrDevHooks::scanPcie>,
            .getRsvdMem = kAnswer<39, &DxrDevHooks::getRsvdMem>,
            .getProductFamilyType = kAnswer<40, &DxrDevHooks::getProductFamilyType>,
            .isCentralPurchaseMode = kAnswer<41, &DxrDevHooks::isCentralPurchaseMode>,
            .mmapDev = kAnswer<42, &DxrDevHooks::mmapDev>,
            .munmapDev = kAnswer<43, &DxrDevHooks::munmapDev>,
            .openDev = kAnswer<44, &DxrDevHooks::openDev>,
            .openDevWithOption = kAnswer<45, &DxrDevHooks::openDevWithOption>,
            .closeDev = kAnswer<46, &DxrDevHooks::closeDev>,
            .controlDev = kAnswer<47, &DxrDevHooks::controlDev>,
            .writeDev = kAnswer<48, &DxrDevHooks::writeDev>,
            .readI2c = kAnswer<49, &DxrDevHooks::readI2c>,
            .writeI2c = kAnswer<50, &DxrDevHooks::writeI2c>,
            .readReg16 = kAnswer<51, &DxrDevHooks::readReg16>,
            .writeReg16 = kAnswer<52, &DxrDevHooks::writeReg16>,
            .readReg = kAnswer<53, &DxrDevHooks::readReg>,
            .writeReg = kAnswer<54, &DxrDevHooks::writeReg>,
            .getServiceType = kAnswer<55, &DxrDevHooks::getServiceType>,
            .getVoltageKey = kAnswer<56, &DxrDevHooks::getVoltageKey>,
            .setVoltage = kAnswer<57, &DxrDevHooks::setVoltage>,
            .getVoltage = kAnswer<58, &DxrDevHooks::getVoltage>,
            .hardResetChip = kAnswer<59, &DxrDevHooks::hardResetChip>,
            .probePcie = kAnswer<60, &DxrDevHooks::probePcie>,
            .initSafeIo = kAnswer<61, &DxrDevHooks::initSafeIo>,
            .getBomId = kAnswer<62, &DxrDevHooks::getBomId>,
            .readPcie = kAnswer<63, &DxrDevHooks::readPcie>,
            .writePcie = kAnswer<64, &DxrDevHooks::writePcie>,
            .getDeviceBar = kAnswer<65, &DxrDevHooks::getDeviceBar>,
            .resetBoard = kAnswer<66, &DxrDevHooks::resetBoard>,
            .getLocalPcbVersion = kAnswer<67, &DxrDevHooks::getLocalPcbVersion>,
            .getHardId = kAnswer<68, &DxrDevHooks::getHardId>,
            .getPcbVersion = kAnswer<69, &DxrDevHooks::getPcbVersion>,
            .chmodRsvMemFile = kAnswer<70, &DxrDevHooks::chmodRsvMemFile>,
            .getVsfuDevName = kAnswer<71, &DxrDevHooks::getVsfuDevName>,
            .rebootOS = kAnswer<72, &DxrDevHooks::rebootOS>,
            .registerPreResetProcFunc = kAnswer<73, &DxrDevHooks::registerPreResetProcFunc>,
            .createIOWorker = kAnswer<74, &DxrDevHooks::createIOWorker>,
            .getPreResetMode = kAnswer<75, &DxrDevHooks::getPreResetMode>,
            .setPreResetMode = kAnswer<76, &DxrDevHooks::setPreResetMode>,
            .vSfuLoadPacket = kAnswer<77, &DxrDevHooks::vSfuLoadPacket>,
            .getSoftPcbVersion = kAnswer<78, &DxrDevHooks::getSoftPcbVersion>,
            .isIssuState = kAnswer<79, &DxrDevHooks::isIssuState>,
            .writeMdio = kAnswer<80, &DxrDevHooks::writeMdio>,
            .readMdio = kAnswer<81, &DxrDevHooks::readMdio>,
            .enableMdioParallel = kAnswer<82, &DxrDevHooks::enableMdioParallel>,
            .cdrResetChip = kAnswer<83, &DxrDevHooks::cdrResetChip>,
            .cmdCallback = kAnswer<84, &DxrDevHooks::cmdCallback>,
            .intrSetRegist = kAnswer<85, &DxrDevHooks::intrSetRegist>,
            .getBoardDrvType = kAnswer<86, &DxrDevHooks::getBoardDrvType>,
            .getWofflineState = kAnswer<87, &DxrDevHooks::getWofflineState>,
            .checkSmiLosEnable = kAnswer<88, &DxrDevHooks::checkSmiLosEnable>,
            .writeFlashInfo = kAnswer<89, &DxrDevHooks::writeFlashInfo>,
        },
    .init =
        {
            .registerModule = kAnswer<90, &DxrInitHooks::registerModule>,
            .unRegister = kAnswer<91, &DxrInitHooks::unRegister>,
            .setUdf = kAnswer<92, &DxrInitHooks::setUdf>,
            .registerVelderFuncs = kAnswer<93, &DxrInitHooks::registerVelderFuncs>,
            .getThis = kAnswer<94, &DxrInitHooks::getThis>,
        },
    .list =
        {
            .createSll = kAnswer<95, &DxrListHooks::createSll>,
            .addSll = kAnswer<96, &DxrListHooks::addSll>,
            .removeSll = kAnswer<97, &DxrListHooks::removeSll>,
            .destroySll = kAnswer<98, &DxrListHooks::destroySll>,
            .sslGetCount = kAnswer<99, &DxrListHooks::sslGetCount>,
            .sslGetNextNode = kAnswer<100, &DxrListHooks::sslGetNextNode>,
            .sslGetNodeData = kAnswer<101, &DxrListHooks::sslGetNodeData>,
            .sslProcSingleNode = kAnswer<102, &DxrListHooks::sslProcSingleNode>,
        },
    .memory =
        {
            .release = kAnswer<103, &DxrMemoryHooks::release>,
            .allocate = kAnswer<104, &DxrMemoryHooks::allocate>,
        },
    .msg =
        {
            .sendMsg = kAnswer<105, &DxrMsgHooks::sendMsg>,
            .getTriggerTypeByEvent = kAnswer<106, &DxrMsgHooks::getTriggerTypeByEvent>,
            .getErrTypeByEvent = kAnswer<107, &DxrMsgHooks::getErrTypeByEvent>,
            .getTriggerStr = kAnswer<108, &DxrMsgHooks::getTriggerStr>,
            .sendMsgToMpu = kAnswer<109, &DxrMsgHooks::sendMsgToMpu>,
            .sendMsgToDevm = kAnswer<110, &DxrMsgHooks::sendMsgToDevm>,
            .sendMsgToLpu = kAnswer<111, &DxrMsgHooks::sendMsgToLpu>,
            .sendMsgToSfu = kAnswer<112, &DxrMsgHooks::sendMsgToSfu>,
            .sendMsgToNp = kAnswer<113, &DxrMsgHooks::sendMsgToNp>,
            .sendEopEvent = kAnswer<114, &DxrMsgHooks::sendEopEvent>,
            .setMeshFd = kAnswer<115, &DxrMsgHooks::setMeshFd>,
        },
    .print =
        {
            .reportAssert = kAnswer<116, &DxrPrintHooks::reportAssert>,
            .enableLogOutput = kAnswer<117, &DxrPrintHooks::enableLogOutput>,
            .print = kAnswer<118, &DxrPrintHooks::print>,
            .writeEventLog = kAnswer<119, &DxrPrintHooks::writeEventLog>,
            .diagLogFilter = kAnswer<120, &DxrPrintHooks::diagLogFilter>,
            .getDbgLevel = kAnswer<121, &DxrPrintHooks::getDbgLevel>,
            .setDbgLevel = kAnswer<122, &DxrPrintHooks::setDbgLevel>,
            .reserved7 = nullptr,
            .writePrivateLog = kAnswer<124, &DxrPrintHooks::writePrivateLog>,
            .logFilterDestroy = kAnswer<125, &DxrPrintHooks::logFilterDestroy>,
            .logFilterGetFileName = kAnswer<126, &DxrPrintHooks::logFilterGetFileName>,
            .logFilterFilterSameLog = kAnswer<127, &DxrPrintHooks::logFilterFilterSameLog>,
            .logFilterFilterDiffKeyLog = kAnswer<128, &DxrPrintHooks::logFilterFilterDiffKeyLog>,
            .logFilterFilterLargeDiffKeyLog =
                kAnswer<129, &DxrPrintHooks::logFilterFilterLargeDiffKeyLog>,
            .logFilterRegister = kAnswer<130, &DxrPrintHooks::logFilterRegister>,
            .logFilterRegisterDiffLogForFramework =
                kAnswer<131, &DxrPrintHooks::logFilterRegisterDiffLogForFramework>,
            .logFilterShowCurInfo = kAnswer<132, &DxrPrintHooks::logFilterShowCurInfo>,
            .logFilterShowHisInfo = kAnswer<133, &DxrPrintHooks::logFilterShowHisInfo>,
            .recordWarmRebootMileStone = kAnswer<134, &DxrPrintHooks::recordWarmRebootMileStone>,
        },
    .system =
        {
            .restorePatch = kAnswer<135, &DxrSystemHooks::restorePatch>,
            .getEnvValueById = kAnswer<136, &DxrSystemHooks::getEnvValueById>,
            .getLrId = kAnswer<137, &DxrSystemHooks::getLrId>,
            .startTimer = kAnswer<138, &DxrSystemHooks::startTimer>,
            .stopTimer = kAnswer<139, &DxrSystemHooks::stopTimer>,
            .fOpen = kAnswer<140, &DxrSystemHooks::fOpen>,
            .fClose = kAnswer<141, &DxrSystemHooks::fClose>,
            .fRead = kAnswer<142, &DxrSystemHooks::fRead>,
            .fileLength = kAnswer<143, &DxrSystemHooks::fileLength>,
            .getBinFolderName = kAnswer<144, &DxrSystemHooks::getBinFolderName>,
            .getSysWorkPath = kAnswer<145, &DxrSystemHooks::getSysWorkPath>,
            .getCpuUseRate = kAnswer<146, &DxrSystemHooks::getCpuUseRate>,
            .zipBuffer = kAnswer<147, &DxrSystemHooks::zipBuffer>,
            .setHeartMon = kAnswer<148, &DxrSystemHooks::setHeartMon>,
            .stopHeartToMon = kAnswer<149, &DxrSystemHooks::stopHeartToMon>,
            .fSeek = kAnswer<150, &DxrSystemHooks::fSeek>,
        },
    .task =
        {
            .readEvent = kAnswer<151, &DxrTaskHooks::readEvent>,
            .writeEvent = kAnswer<152, &DxrTaskHooks::writeEvent>,
            .createTask = kAnswer<153, &DxrTaskHooks::createTask>,
            .delayTask = kAnswer<154, &DxrTaskHooks::delayTask>,
            .initMutex = kAnswer<155, &DxrTaskHooks::initMutex>,
            .destroyMutex = kAnswer<156, &DxrTaskHooks::destroyMutex>,
            .lockMutex = kAnswer<157, &DxrTaskHooks::lockMutex>,
            .unlockMutex = kAnswer<158, &DxrTaskHooks::unlockMutex>,
        },
    .tblm =
        {
            .dynamicCreateTable = kAnswer<159, &DxrTblmHooks::dynamicCreateTable>,
            .getChipTblmData = kAnswer<160, &DxrTblmHooks::getChipTblmData>,
            .setChipTblmData = kAnswer<161, &DxrTblmHooks::setChipTblmData>,
            .deleteChipTblmData = kAnswer<162, &DxrTblmHooks::deleteChipTblmData>,
            .getCrossTblmFirstData = kAnswer<163, &DxrTblmHooks::getCrossTblmFirstData>,
            .getLinearTblmFirstData = kAnswer<164, &DxrTblmHooks::getLinearTblmFirstData>,
            .getTblmNextData = kAnswer<165, &DxrTblmHooks::getTblmNextData>,
            .releaseTblm = kAnswer<166, &DxrTblmHooks::releaseTblm>,
            .getTblmAttr = kAnswer<167, &DxrTblmHooks::getTblmAttr>,
            .getCstPoolCount = kAnswer<168, &DxrTblmHooks::getCstPoolCount>,
            .setChipTblmDataAndMask = kAnswer<169, &DxrTblmHooks::setChipTblmDataAndMask>,
        },
    .time =
        {
            .getSysTime = kAnswer<170, &DxrTimeHooks::getSysTime>,
            .sysTime2Str = kAnswer<171, &DxrTimeHooks::sysTime2Str>,
            .sysTimeSec2Time = kAnswer<172, &DxrTimeHooks::sysTimeSec2Time>,
            .tick2Ms = kAnswer<173, &DxrTimeHooks::tick2Ms>,
            .getCurrMs = kAnswer<174, &DxrTimeHooks::getCurrMs>,
            .getCurrSec = kAnswer<175, &DxrTimeHooks::getCurrSec>,
            .getCurrentTick = kAnswer<176, &DxrTimeHooks::getCurrentTick>,
            .getCpuTick = kAnswer<177, &DxrTimeHooks::getCpuTick>,
            .getCurrTime = kAnswer<178, &DxrTimeHooks::getCurrTime>,
            .calSystimeRelSec = kAnswer<179, &DxrTimeHooks::calSystimeRelSec>,
            .getStartupTimeStamp = kAnswer<180, &DxrTimeHooks::getStartupTimeStamp>,
            .addStartupTime = kAnswer<181, &DxrTimeHooks::addStartupTime>,
            .getGMT = kAnswer<182, &DxrTimeHooks::getGMT>,
            .getLocalTime = kAnswer<183, &DxrTimeHooks::getLocalTime>,
            .getStartupTimeSec = kAnswer<184, &DxrTimeHooks::getStartupTimeSec>,
        },
    .cfg =
        {
            .cfgReadBoardData = kAnswer<185, &DxrCfgHooks::cfgReadBoardData>,
            .cfgDisplayBoardData = kAnswer<186, &DxrCfgHooks::cfgDisplayBoardData>,
            .cfgClearBoardData = kAnswer<187, &DxrCfgHooks::cfgClearBoardData>,
            .cfgGetBoardData = kAnswer<188, &DxrCfgHooks::cfgGetBoardData>,
            .cfgIsFromBoardData = kAnswer<189, &DxrCfgHooks::cfgIsFromBoardData>,
            .cfgGetMemParam = kAnswer<190, &DxrCfgHooks::cfgGetMemParam>,
            .cfgIsFromMemParam = kAnswer<191, &DxrCfgHooks::cfgIsFromMemParam>,
            .cfgGetAdvancedSpec = kAnswer<192, &DxrCfgHooks::cfgGetAdvancedSpec>,
            .cfgIsFromBoardAdvancedSpec = kAnswer<193, &DxrCfgHooks::cfgIsFromBoardAdvancedSpec>,
            .cfgGetPhyBoardInfo = kAnswer<194, &DxrCfgHooks::cfgGetPhyBoardInfo>,
            .cfgIsFromPhyBoardInfo = kAnswer<195, &DxrCfgHooks::cfgIsFromPhyBoardInfo>,
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
            .setMcPortMap = kAnswer<200, &DxrNpHooks::setMcPortMap>,
            .getQueueDropStat = kAnswer<201, &DxrNpHooks::getQueueDropStat>,
            .getAbsPfcLogicSp = kAnswer<202, &DxrNpHooks::getAbsPfcLogicSp>,
        },
    .plugin =
        {
            .registerBrdPlugin = kAnswer<203, &DxrPluginHooks::registerBrdPlugin>,
            .unRegisterBrdPlugin = kAnswer<204, &DxrPluginHooks::unRegisterBrdPlugin>,
            .loadBrdPlugin = kAnswer<205, &DxrPluginHooks::loadBrdPlugin>,
            .unLoadBrdPlugin = kAnswer<206, &DxrPluginHooks::unLoadBrdPlugin>,
            .isBrdPluginLoaded = kAnswer<207, &DxrPluginHooks::isBrdPluginLoaded>,
            .checkBrdPlugin = kAnswer<208, &DxrPluginHooks::checkBrdPlugin>,
            .queryBrdPlugin = kAnswer<209, &DxrPluginHooks::queryBrdPlugin>,
            .displayBrdPlugin = kAnswer<210, &DxrPluginHooks::displayBrdPlugin>,
        },
    .hash =
        {
            .hashCount = kAnswer<211, &DxrHashHooks::hashCount>,
            .hashCreate = kAnswer<212, &DxrHashHooks::hashCreate>,
            .hashFindKey = kAnswer<213, &DxrHashHooks::hashFindKey>,
            .hashFree = kAnswer<214, &DxrHashHooks::hashFree>,
            .hashGetBucketNum = kAnswer<215, &DxrHashHooks::hashGetBucketNum>,
            .hashGetFirst = kAnswer<216, &DxrHashHooks::hashGetFirst>,
            .hashGetNext = kAnswer<217, &DxrHashHooks::hashGetNext>,
            .hashGetMaxItem = kAnswer<218, &DxrHashHooks::hashGetMaxItem>,
            .hashInsert = kAnswer<219, &DxrHashHooks::hashInsert>,
            .hashRemove = kAnswer<220, &DxrHashHooks::hashRemove>,
            .hashGetFromEntry = kAnswer<221, &DxrHashHooks::hashGetFromEntry>,
        },
    .ffm =
        {
            .ffmStartFaultCheck = kAnswer<222, &DxrFfmHooks::ffmStartFaultCheck>,
            .ffmStopFaultCheck = kAnswer<223, &DxrFfmHooks::ffmStopFaultCheck>,
        },
    .kpi =
        {
            .updateKpiAttrVal = kAnswer<224, &DxrKpiHooks::updateKpiAttrVal>,
        },
    .temperature =
        {
            .registerQueryTempFunc = kAnswer<225, &DxrTemperatureHooks::registerQueryTempFunc>,
        },
};

uint64_t CallBack(size_t slot, Hook function, std::span<const uint64_t> words) {
    switch (slot) {
        case 73:
            return CallBack<73>(function, words);
        case 85:
            return CallBack<85>(function, words);
        case 138:
            return CallBack<138>(function, words);
        case 148:
            return CallBack<148>(function, words);
        case 153:
            return CallBack<153>(function, words);
        case 225:
            return CallBack<225>(function, words);
        default:
            return 0;
    }
}

}  // namespace dxr_trace
