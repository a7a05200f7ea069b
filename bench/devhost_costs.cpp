// What slots of the development host cost beside the call that each stands on, in processor time
// of the least of several rounds; and how many timer events a second the virtual clock runs.
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <thread>
#include <vector>

#include "dxr_devhost.h"

namespace {

constexpr int kRounds = 15;
constexpr uint32_t kLive = 1000;

double ProcessorNs() {
    timespec now{};
    (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// Nanoseconds of one of `count` operations.
double Cost(uint32_t count, const std::function<void(uint32_t)> &run) {
    double least = 1e18;
    for (int round = 0; round < kRounds; ++round) {
        const double before = ProcessorNs();
        run(count);
        least = std::min(least, (ProcessorNs() - before) / count);
    }
    return least;
}

// Two things in turn, so that both see the same machine.
void Row(const char *what, const char *peerName, uint32_t count,
         const std::function<void(uint32_t)> &host, const std::function<void(uint32_t)> &peer) {
    const double hostNs = Cost(count, host);
    const double peerNs = Cost(count, peer);
    std::printf("%-44s %8.1f ns  %-28s %8.1f ns  %5.2f\n", what, hostNs, peerName, peerNs,
                hostNs / peerNs);
}

struct Sizes {
    uint32_t state = 1;
    uint32_t Next() {
        state = state * 1664525 + 1013904223;
        return 16 + (state >> 16) % 500;
    }
};

template <typename Allocate, typename Release>
void Pairs(uint32_t count, Allocate allocate, Release release) {
    for (uint32_t i = 0; i < count; ++i) {
        release(allocate(100));
    }
}

// A working set of a thousand blocks of mixed sizes, of which one after the other is replaced.
template <typename Allocate, typename Release>
void WorkingSet(uint32_t count, Allocate allocate, Release release) {
    std::vector<void *> blocks(kLive, nullptr);
    Sizes sizes;
    uint32_t at = 0;
    for (uint32_t i = 0; i < count; ++i) {
        at = (at + sizes.state % 97 + 1) % kLive;
        release(blocks[at]);
        blocks[at] = allocate(sizes.Next());
    }
    for (void *const block : blocks) {
        release(block);
    }
}

// The fields of blocks are used as modules do: the first and the last byte are written.
void *Touch(void *block, uint32_t size) {
    static_cast<volatile char *>(block)[0] = 1;
    static_cast<volatile char *>(block)[size - 1] = 1;
    return block;
}

uint64_t g_fired = 0;

void TimerEvents(uint32_t timers) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_VIRTUAL;
    DxrHost *const host = DxrHostCreate(&options);
    DxrHostRegister(host);
    std::vector<DxrHostTimer> all(timers);
    uint32_t ms = 1;
    for (DxrHostTimer &timer : all) {
        timer = {sizeof(DxrHostTimer), ms, 1, 0, [](void *) { ++g_fired; }, nullptr, nullptr};
        ms = ms % 97 + 1;
        DXR_StartTimer(&timer);
    }
    g_fired = 0;
    timespec before{};
    timespec after{};
    (void)clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &before);
    uint32_t simulatedMs = 0;
    while (g_fired < 2000000) {
        DXR_DelayTask(1000);
        simulatedMs += 1000;
    }
    (void)clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &after);
    const double seconds = static_cast<double>(after.tv_sec - before.tv_sec) +
                           static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9;
    std::printf("virtual clock, %5u timers: %.2f million events a second (%u s in %.2f s)\n",
                timers, static_cast<double>(g_fired) / seconds / 1e6, simulatedMs / 1000, seconds);
    for (DxrHostTimer &timer : all) {
        DXR_StopTimer(&timer);
    }
    DxrHostDestroy(host, stdout);
}

}  // namespace

int main() {
    // Locks of a program with one thread cost nothing, but modules have threads.
    std::thread another([] { (void)pause(); });
    another.detach();
    DxrHost *const host = DxrHostCreate(nullptr);
    DxrHostRegister(host);
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    const auto allocate = [&hooks](uint32_t size) {
        return Touch(hooks.memory.allocate(9, size, "bench/devhost_costs.cpp", 1), size);
    };
    const auto release = [&hooks](void *block) {
        hooks.memory.release(block, "bench/devhost_costs.cpp", 2);
    };
    const auto plainAllocate = [](uint32_t size) { return Touch(std::malloc(size), size); };
    const auto plainRelease = [](void *block) { std::free(block); };
    Row(
        "allocate and release 100 bytes", "malloc, free", 1000000,
        [&](uint32_t n) { Pairs(n, allocate, release); },
        [&](uint32_t n) { Pairs(n, plainAllocate, plainRelease); });
    Row(
        "allocate and release, 1000 live, 16-515 bytes", "malloc, free", 1000000,
        [&](uint32_t n) { WorkingSet(n, allocate, release); },
        [&](uint32_t n) { WorkingSet(n, plainAllocate, plainRelease); });

    void *mutex = nullptr;
    hooks.task.initMutex(&mutex, nullptr);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_t plain = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_t checking;
    pthread_mutex_init(&checking, &attributes);
    const auto lock = [&hooks, mutex](uint32_t n) {
        for (uint32_t i = 0; i < n; ++i) {
            hooks.task.lockMutex(mutex);
            hooks.task.unlockMutex(mutex);
        }
    };
    const auto plainLock = [](pthread_mutex_t &peer) {
        return [&peer](uint32_t n) {
            for (uint32_t i = 0; i < n; ++i) {
                pthread_mutex_lock(&peer);
                pthread_mutex_unlock(&peer);
            }
        };
    };
    Row("lock and unlock", "pthread_mutex_lock, _unlock", 2000000, lock, plainLock(plain));
    Row("lock and unlock", "the same, error-checking", 2000000, lock, plainLock(checking));
    hooks.task.destroyMutex(mutex);
    Row(
        "current milliseconds", "clock_gettime", 1000000,
        [&hooks](uint32_t n) {
            for (uint32_t i = 0; i < n; ++i) {
                (void)hooks.time.getCurrMs();
            }
        },
        [](uint32_t n) {
            timespec now{};
            for (uint32_t i = 0; i < n; ++i) {
                (void)clock_gettime(CLOCK_REALTIME, &now);
            }
        });
    DxrHostDestroy(host, stdout);
    for (const uint32_t timers : {1U, 100U, 10000U}) {
        TimerEvents(timers);
    }
    return 0;
}
