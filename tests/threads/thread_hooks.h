// Hooks that any thread may call. Their counters are relaxed: a hook that orders its callers would
// hide from the thread sanitizer what the library leaves unordered.
#ifndef DXR_TESTS_THREADS_THREAD_HOOKS_H
#define DXR_TESTS_THREADS_THREAD_HOOKS_H

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "dxr_api.h"
#include "support/test_host.h"

namespace dxrtest {

template <typename T>
void Raise(std::atomic<T> &counter, T by = 1) {
    counter.fetch_add(by, std::memory_order_relaxed);
}

struct ThreadHooks {
    struct Mutex {
        pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
        uint32_t inside = 0;
    };

    static inline std::atomic<uint32_t> now;
    static inline std::atomic<uint64_t> live;     // blocks
    static inline std::atomic<uint64_t> mutexes;  // that exist
    static inline std::atomic<uint64_t> faults;   // of locking
    static inline std::atomic<uint64_t> printed;
    static inline std::atomic<uint64_t> diagLines;

    static void Install() {
        now = 1000000;
        live = 0;
        mutexes = 0;
        faults = 0;
        printed = 0;
        diagLines = 0;
        DxrHooks hooks{};
        hooks.memory.allocate = Allocate;
        hooks.memory.release = Release;
        hooks.print.print = Print;
        hooks.print.diagLogFilter = Diag;
        hooks.time.getCurrSec = CurrSec;
        hooks.time.getCurrTime = CurrTime;
        hooks.time.getSysTime = SysTime;
        hooks.time.getStartupTimeSec = CurrSec;
        hooks.task.initMutex = Init;
        hooks.task.lockMutex = Lock;
        hooks.task.unlockMutex = Unlock;
        hooks.task.destroyMutex = Destroy;
        DXR_RegisterHooks(&hooks);
    }

    static void *Allocate(uint32_t, uint32_t size, const char *, uint32_t) {
        Raise(live);
        return std::malloc(size);
    }
    static void Release(void *block, const char *, uint32_t) {
        if (block != nullptr) {
            live.fetch_sub(1, std::memory_order_relaxed);
        }
        std::free(block);
    }
    DXR_PRINTF(2, 3)
    static void Print(uint32_t, const char *, ...) { Raise(printed); }
    static uint32_t Diag(const char *) {
        Raise(diagLines);
        return 0;
    }
    static uint32_t CurrSec() { return now.load(std::memory_order_relaxed); }
    static void CurrTime(char *text, uint32_t size, uint32_t *sec) {
        *sec = CurrSec();
        static_cast<void>(std::snprintf(text, size, "%u", *sec));
    }
    static void SysTime(DxrSysTime *time) {
        const uint32_t sec = CurrSec();
        *time = DxrSysTime{};
        time->year = 2026;
        time->hour = static_cast<uint8_t>(sec / 3600 % 24);
        time->minute = static_cast<uint8_t>(sec / 60 % 60);
        time->second = static_cast<uint8_t>(sec % 60);
    }
    static uint32_t Init(void **mutex, void *) {
        Raise(mutexes);
        *mutex = new Mutex;
        return 0;
    }
    static uint32_t Lock(void *handle) {
        auto *mutex = static_cast<Mutex *>(handle);
        Raise<uint64_t>(faults, pthread_mutex_lock(&mutex->mutex) != 0 ? 1 : 0);
        Raise<uint64_t>(faults, mutex->inside++ != 0 ? 1 : 0);
        return 0;
    }
    static uint32_t Unlock(void *handle) {
        auto *mutex = static_cast<Mutex *>(handle);
        Raise<uint64_t>(faults, --mutex->inside != 0 ? 1 : 0);
        Raise<uint64_t>(faults, pthread_mutex_unlock(&mutex->mutex) != 0 ? 1 : 0);
        return 0;
    }
    static uint32_t Destroy(void *handle) {
        auto *mutex = static_cast<Mutex *>(handle);
        Raise<uint64_t>(faults, mutex->inside != 0 ? 1 : 0);
        delete mutex;
        mutexes.fetch_sub(1, std::memory_order_relaxed);
        return 0;
    }

  private:
    TestHost host_;  // puts the table back that was there
};

}  // namespace dxrtest

#endif  // DXR_TESTS_THREADS_THREAD_HOOKS_H
