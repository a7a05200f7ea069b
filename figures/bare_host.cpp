#include "bare_host.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "harness.h"

namespace bench {
namespace {

std::atomic<uint32_t> g_lines = 0;

void *Allocate(uint32_t, uint32_t size, const char *, uint32_t) {
    return std::malloc(size);
}

void Release(void *block, const char *, uint32_t) {
    std::free(block);
}

uint32_t InitMutex(void **mutex, void *) {
    auto *made = new pthread_mutex_t;
    pthread_mutex_init(made, nullptr);
    *mutex = made;
    return 0;
}

uint32_t DestroyMutex(void *mutex) {
    auto *made = static_cast<pthread_mutex_t *>(mutex);
    pthread_mutex_destroy(made);
    delete made;
    return 0;
}

uint32_t LockMutex(void *mutex) {
    return static_cast<uint32_t>(pthread_mutex_lock(static_cast<pthread_mutex_t *>(mutex)));
}

uint32_t UnlockMutex(void *mutex) {
    return static_cast<uint32_t>(pthread_mutex_unlock(static_cast<pthread_mutex_t *>(mutex)));
}

uint32_t CurrSec() {
    return static_cast<uint32_t>(time(nullptr));
}

void CurrTime(char *text, uint32_t, uint32_t *sec) {
    *sec = CurrSec();
    std::strcpy(text, "2024-03-15 10:00:00");
}

void SysTime(DxrSysTime *time) {
    *time = {2024, 3, 15, 10, 20, 30, {}};
}

uint32_t CountLine(const char *) {
    g_lines.fetch_add(1, std::memory_order_relaxed);
    return 0;
}

}  // namespace

BareHost::BareHost() : before_(g_dxrHooks) {
    DxrHooks hooks = {};
    hooks.memory.allocate = Allocate;
    hooks.memory.release = Release;
    hooks.task.initMutex = InitMutex;
    hooks.task.destroyMutex = DestroyMutex;
    hooks.task.lockMutex = LockMutex;
    hooks.task.unlockMutex = UnlockMutex;
    hooks.time.getCurrSec = CurrSec;
    hooks.time.getCurrTime = CurrTime;
    hooks.time.getSysTime = SysTime;
    hooks.print.diagLogFilter = CountLine;
    g_dxrHooks = hooks;
    constexpr uint32_t kMid = 9;
    Require(DXR_InitLogFilter(kMid) == 0, "init of the log filter");
}

BareHost::~BareHost() {
    DXR_DestroyLogFilter();
    DXR_DestroyRecordInfo();
    g_dxrHooks = before_;
}

uint32_t LinesLetThrough() {
    return g_lines.load(std::memory_order_relaxed);
}

}  // namespace bench
