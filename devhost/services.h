// The host's functions, group by group; hook_table.cpp puts them into their slots.
#ifndef DXR_DEVHOST_SERVICES_H
#define DXR_DEVHOST_SERVICES_H

#include <cstdint>

#include "dxr_api.h"

namespace devhost {

void *Allocate(std::uint32_t mid, std::uint32_t size, const char *file, std::uint32_t line);
void Release(void *block, const char *file, std::uint32_t line);

[[gnu::format(printf, 2, 3)]] void Print(std::uint32_t level, const char *format, ...);
std::uint32_t DiagLogFilter(const char *text);
std::uint32_t GetDbgLevel();
std::uint32_t SetDbgLevel(std::uint32_t level);
[[gnu::format(printf, 2, 3)]] std::uint32_t WritePrivateLog(const char *name, const char *format,
                                                            ...);

void *FOpen(const char *path, const char *mode);
std::uint32_t FClose(void *file);
std::uint32_t FRead(void *buffer, std::uint32_t size, std::uint32_t count, void *file);
std::uint32_t FSeek(void *file, std::uint32_t offset, std::uint32_t origin);
std::uint32_t FileLength(const char *path);
const char *GetBinFolderName();
std::uint32_t GetSysWorkPath(char *buffer, std::uint32_t size);

std::uint32_t InitMutex(void **mutex, void *option);
std::uint32_t DestroyMutex(void *mutex);
std::uint32_t LockMutex(void *mutex);
std::uint32_t UnlockMutex(void *mutex);

void GetSysTime(DxrSysTime *time);
void SysTimeSecToTime(std::uint32_t sec, void *time);
std::uint64_t GetCurrMs();
std::uint32_t GetCurrSec();
void GetCurrTime(char *text, std::uint32_t size, std::uint32_t *sec);
std::uint32_t GetStartupTimeSec();

void *CreateSll();
void AddSll(void *list, void *data, std::uint32_t position);
void RemoveSll(void *list, void *data);
void DestroySll(void *list);
std::uint32_t SllGetCount(void *list);
void *SllGetNextNode(void *list, void *node);
void *SllGetNodeData(void *node);
std::uint32_t SllProcSingleNode(void *list, void *data, std::uint32_t action);

// Settings and accounts back to their start; one function a file.
void ResetMemory();
void ResetPrint();
void ResetFiles();
void ResetClock();

}  // namespace devhost

#endif  // DXR_DEVHOST_SERVICES_H
