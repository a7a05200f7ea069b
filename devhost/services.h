// The host's functions, group by group; hook_table.cpp puts them into their slots.
#ifndef DXR_DEVHOST_SERVICES_H
#define DXR_DEVHOST_SERVICES_H

#include <cstdint>

#include "dxr_api.h"

namespace devhost {

void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line);
void Release(void *block, const char *file, uint32_t line);

[[gnu::format(printf, 2, 3)]] void Print(uint32_t level, const char *format, ...);
uint32_t DiagLogFilter(const char *text);
uint32_t GetDbgLevel();
uint32_t SetDbgLevel(uint32_t level);
[[gnu::format(printf, 2, 3)]] uint32_t WritePrivateLog(const char *name, const char *format, ...);

void *FOpen(const char *path, const char *mode);
uint32_t FClose(void *file);
uint32_t FRead(void *buffer, uint32_t size, uint32_t count, void *file);
uint32_t FSeek(void *file, uint32_t offset, uint32_t origin);
uint32_t FileLength(const char *path);
const char *GetBinFolderName();
uint32_t GetSysWorkPath(char *buffer, uint32_t size);

uint32_t InitMutex(void **mutex, void *option);
uint32_t DestroyMutex(void *mutex);
uint32_t LockMutex(void *mutex);
uint32_t UnlockMutex(void *mutex);

void GetSysTime(DxrSysTime *time);
void SysTimeSecToTime(uint32_t sec, void *time);
uint64_t GetCurrMs();
uint32_t GetCurrSec();
void GetCurrTime(char *text, uint32_t size, uint32_t *sec);
uint32_t GetStartupTimeSec();

void *CreateSll();
void AddSll(void *list, void *data, uint32_t position);
void RemoveSll(void *list, void *data);
void DestroySll(void *list);
uint32_t SllGetCount(void *list);
void *SllGetNextNode(void *list, void *node);
void *SllGetNodeData(void *node);
uint32_t SllProcSingleNode(void *list, void *data, uint32_t action);

// Settings and accounts back to their start; one function a file.
void ResetMemory();
void ResetPrint();
void ResetFiles();
void ResetClock();

}  // namespace devhost

#endif  // DXR_DEVHOST_SERVICES_H
