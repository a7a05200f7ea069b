#include "dxr_devhost.h"
#include "services.h"

void DxrHostFillHooks(DxrHooks *hooks) {
    *hooks = {};

    hooks->memory.release = devhost::Release;
    hooks->memory.allocate = devhost::Allocate;

    hooks->print.print = devhost::Print;
    hooks->print.diagLogFilter = devhost::DiagLogFilter;
    hooks->print.getDbgLevel = devhost::GetDbgLevel;
    hooks->print.setDbgLevel = devhost::SetDbgLevel;
    hooks->print.writePrivateLog = devhost::WritePrivateLog;

    hooks->system.fOpen = devhost::FOpen;
    hooks->system.fClose = devhost::FClose;
    hooks->system.fRead = devhost::FRead;
    hooks->system.fileLength = devhost::FileLength;
    hooks->system.getBinFolderName = devhost::GetBinFolderName;
    hooks->system.getSysWorkPath = devhost::GetSysWorkPath;
    hooks->system.fSeek = devhost::FSeek;

    hooks->task.initMutex = devhost::InitMutex;
    hooks->task.destroyMutex = devhost::DestroyMutex;
    hooks->task.lockMutex = devhost::LockMutex;
    hooks->task.unlockMutex = devhost::UnlockMutex;

    hooks->time.getSysTime = devhost::GetSysTime;
    hooks->time.sysTimeSec2Time = devhost::SysTimeSecToTime;
    hooks->time.getCurrMs = devhost::GetCurrMs;
    hooks->time.getCurrSec = devhost::GetCurrSec;
    hooks->time.getCurrTime = devhost::GetCurrTime;
    hooks->time.getStartupTimeSec = devhost::GetStartupTimeSec;

    hooks->list.createSll = devhost::CreateSll;
    hooks->list.addSll = devhost::AddSll;
    hooks->list.removeSll = devhost::RemoveSll;
    hooks->list.destroySll = devhost::DestroySll;
    hooks->list.sslGetCount = devhost::SllGetCount;
    hooks->list.sslGetNextNode = devhost::SllGetNextNode;
    hooks->list.sslGetNodeData = devhost::SllGetNodeData;
    hooks->list.sslProcSingleNode = devhost::SllProcSingleNode;
}

uint32_t DxrHostInstall(void) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    return DXR_RegisterHooks(&hooks);
}

void DxrHostReset(void) {
    devhost::ResetMemory();
    devhost::ResetPrint();
    devhost::ResetFiles();
    devhost::ResetClock();
}
