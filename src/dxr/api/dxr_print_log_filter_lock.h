// Holds the mutex of one log type.
#ifndef DXR_PRINT_LOG_FILTER_LOCK_H
#define DXR_PRINT_LOG_FILTER_LOCK_H

#include <cstdint>

#include "dxr/print_log_filter_store.h"
#include "dxr/system_task.h"

namespace dxr {

constexpr uint32_t kLogTypeCount = DXR_LOG_FILTER_TYPE_NUM;

class LogTypeLock {
  public:
    // `logType` is below kLogTypeCount. A lock that fails is held all the same, as far as the
    // filter goes.
    explicit LogTypeLock(uint32_t logType) : logType_(logType) {
        DXR_LockMutex(g_dxrLogFilterMutex[logType_]);
    }
    ~LogTypeLock() {
        if (held_) {
            Unlock();
        }
    }
    LogTypeLock(const LogTypeLock &) = delete;
    LogTypeLock &operator=(const LogTypeLock &) = delete;
    LogTypeLock(LogTypeLock &&) = delete;
    LogTypeLock &operator=(LogTypeLock &&) = delete;

    // For callers that pass on what the unlock hook answers.
    uint32_t Unlock() {
        held_ = false;
        return DXR_UnlockMutex(g_dxrLogFilterMutex[logType_]);
    }

  private:
    uint32_t logType_;
    bool held_ = true;
};

}  // namespace dxr

#endif  // DXR_PRINT_LOG_FILTER_LOCK_H
