// Start and stop: wrappers go into the table and come out again.
#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "drain.h"
#include "dxr_trace.h"
#include "note.h"
#include "slots.h"
#include "state.h"
#include "threads.h"
#include "ticks.h"
#include "wrappers.h"

namespace dxr_trace {

constinit State g_state;

namespace {

static_assert(sizeof(DxrHooks) == kSlotCount * sizeof(Hook));

constexpr uint32_t kMostTimedCalls = 65536;
constexpr uint32_t kLeastRing = 4096;
constexpr uint32_t kMostRing = 1U << 30;

struct Control {
    std::mutex mutex;  // guards start and stop
    bool isStarted = false;
    uint32_t timedCalls = 1;
    bool hasTicks = false;
    bool hasFile = false;
    bool isPrepared = false;  // for the end of the program and for child processes
    Moment begin;
};

constinit Control g_control;

void Switch(Mode mode) {
    g_state.timedMask.store(mode == Mode::kCalls ? 0 : g_control.timedCalls - 1);
    g_state.mode.store(mode);
}

Cell *Table() {
    return reinterpret_cast<Cell *>(DXR_GetHooks());
}

std::array<Hook, kSlotCount> Wrappers() {
    std::array<Hook, kSlotCount> wrappers{};
    std::memcpy(wrappers.data(), &kWrappers, sizeof(kWrappers));
    return wrappers;
}

// A hook in the manner of printf can only be handed a finished text: while nothing is noted there
// must be nothing before it.
bool IsWrapped(size_t slot, Mode mode) {
    return mode != Mode::kOff || !kSlots[slot].isVariadic;
}

// A thread that finds the wrapper finds the hook behind it.
void PutWrappersIn(Mode mode) {
    const std::array<Hook, kSlotCount> wrappers = Wrappers();
    Cell *const table = Table();
    for (size_t i = 0; i < kSlotCount; ++i) {
        const Hook hook = __atomic_load_n(&table[i], __ATOMIC_RELAXED);
        // A host may have registered a copy of the table that it made while wrappers were in it.
        if (hook != nullptr && wrappers[i] != nullptr && hook != wrappers[i]) {
            g_state.bare[i].store(hook, std::memory_order_relaxed);
            if (IsWrapped(i, mode)) {
                Exchange(table[i], hook, wrappers[i]);
            }
        }
    }
}

// Hooks in the manner of printf, of those that were there at the start.
void PutPrintersIn(Mode mode) {
    const std::array<Hook, kSlotCount> wrappers = Wrappers();
    Cell *const table = Table();
    for (size_t i = 0; i < kSlotCount; ++i) {
        const Hook bare = g_state.bare[i].load(std::memory_order_relaxed);
        if (!kSlots[i].isVariadic || bare == nullptr) {
            continue;
        }
        if (IsWrapped(i, mode)) {
            Exchange(table[i], bare, wrappers[i]);
        } else {
            Exchange(table[i], wrappers[i], bare);
        }
    }
}

void TakeWrappersOut() {
    const std::array<Hook, kSlotCount> wrappers = Wrappers();
    Cell *const table = Table();
    for (size_t i = 0; i < kSlotCount; ++i) {
        if (wrappers[i] != nullptr) {
            Exchange(table[i], wrappers[i], g_state.bare[i].load(std::memory_order_relaxed));
        }
    }
}

bool IsMode(uint32_t mode) {
    return mode <= static_cast<uint32_t>(Mode::kCalls);
}

bool FitTheRing(const DxrTraceOptions &options) {
    return std::has_single_bit(options.ringBytes) && options.ringBytes >= kLeastRing &&
           options.ringBytes <= kMostRing && options.dataBytes <= kMostRing &&
           LongestRawRecord(options.dataBytes) < options.ringBytes / 2;
}

bool AreGood(const DxrTraceOptions &options) {
    return options.size == sizeof(options) && IsMode(options.mode) &&
           std::has_single_bit(options.timedCalls) && options.timedCalls <= kMostTimedCalls &&
           options.pointers <= DXR_TRACE_POINTERS_DEVHOST && FitTheRing(options) &&
           options.whenFull <= DXR_TRACE_WAIT && options.callbacks <= 1 &&
           (options.mode != DXR_TRACE_CALLS || options.file != nullptr);
}

// A program that ends while calls are noted ends the file, too. A child process notes nothing: the
// file is its parent's.
void PrepareOnce() {
    if (g_control.isPrepared) {
        return;
    }
    g_control.isPrepared = true;
    (void)std::atexit([] { (void)DxrTraceStop(); });
    (void)pthread_atfork(
        [] {
            g_control.mutex.lock();
            HoldDrain();
        },
        [] {
            ReleaseDrain();
            g_control.mutex.unlock();
        },
        [] {
            g_state.mode.store(Mode::kOff);
            g_control.hasFile = false;
            ForgetDrain();
            g_control.mutex.unlock();
        });
}

uint32_t Start(const DxrTraceOptions &options) {
    if (!AreGood(options)) {
        return EINVAL;
    }
    const std::lock_guard<std::mutex> lock(g_control.mutex);
    if (g_control.isStarted) {
        return EALREADY;
    }
    if (!g_control.hasTicks) {
        ChooseTicks();
        g_control.hasTicks = true;
    }
    g_control.begin = Now();
    ClearCounts();
    g_control.timedCalls = options.timedCalls;
    PrepareOnce();
    if (options.file != nullptr) {
        g_state.follow.store(Follow{options.pointers});
        g_state.dataBytes.store(options.dataBytes);
        g_state.ringBytes.store(options.ringBytes);
        g_state.waitsForRoom.store(options.whenFull == DXR_TRACE_WAIT);
        g_state.callbacks.store(options.callbacks != 0);
        const uint32_t error = StartDrain(options.file);
        if (error != 0) {
            return error;
        }
    }
    g_control.hasFile = options.file != nullptr;
    Switch(Mode{options.mode});
    PutWrappersIn(Mode{options.mode});
    g_control.isStarted = true;
    return 0;
}

uint32_t Stop() {
    const std::lock_guard<std::mutex> lock(g_control.mutex);
    if (!g_control.isStarted) {
        return EALREADY;
    }
    g_control.isStarted = false;
    TakeWrappersOut();
    g_state.mode.store(Mode::kOff);
    g_control.hasFile = false;
    return StopDrain();
}

uint32_t SetMode(uint32_t mode) {
    if (!IsMode(mode)) {
        return EINVAL;
    }
    const std::lock_guard<std::mutex> lock(g_control.mutex);
    if (!g_control.isStarted) {
        return EALREADY;
    }
    if (mode == DXR_TRACE_CALLS && !g_control.hasFile) {
        return EINVAL;
    }
    Switch(Mode{mode});
    PutPrintersIn(Mode{mode});
    return 0;
}

// Rounded up, so that nothing that was measured shows as 0.
uint64_t Ns(uint64_t ticks, double nsPerTick) {
    return static_cast<uint64_t>(std::ceil(static_cast<double>(ticks) * nsPerTick));
}

DxrTraceCount CountOf(size_t slot, double nsPerTick) {
    const Histogram &times = g_histograms[slot];
    DxrTraceCount count{};
    count.calls = CallsOf(slot);
    count.timed = times.Count();
    if (count.timed == 0) {
        return count;
    }
    count.p50Ns = Ns(times.Bound(500'000), nsPerTick);
    count.p90Ns = Ns(times.Bound(900'000), nsPerTick);
    count.p99Ns = Ns(times.Bound(990'000), nsPerTick);
    count.p999Ns = Ns(times.Bound(999'000), nsPerTick);
    count.maxNs = Ns(times.Most(), nsPerTick);
    return count;
}

Moment Begin() {
    const std::lock_guard<std::mutex> lock(g_control.mutex);
    return g_control.begin;
}

}  // namespace
}  // namespace dxr_trace

void DxrTraceInitOptions(DxrTraceOptions *options) {
    *options = {};
    options->size = sizeof(*options);
    options->mode = DXR_TRACE_COUNT;
    options->timedCalls = 16;
    options->pointers = DXR_TRACE_POINTERS_INTERFACE;
    options->dataBytes = 64;
    options->ringBytes = 1U << 20;
}

uint32_t DxrTraceStart(const DxrTraceOptions *options) {
    DxrTraceOptions defaults;
    DxrTraceInitOptions(&defaults);
    return dxr_trace::Start(options != nullptr ? *options : defaults);
}

uint32_t DxrTraceStop() {
    return dxr_trace::Stop();
}

uint32_t DxrTraceSetMode(uint32_t mode) {
    return dxr_trace::SetMode(mode);
}

uint32_t DxrTraceGetMode() {
    return static_cast<uint32_t>(dxr_trace::g_state.mode.load());
}

uint32_t DxrTraceGetCounts(DxrTraceCount *counts, uint32_t room) {
    if (room != 0) {
        const double nsPerTick = dxr_trace::NsPerTick(dxr_trace::Begin());
        for (size_t i = 0; i < std::min<size_t>(room, dxr_trace::kSlotCount); ++i) {
            counts[i] = dxr_trace::CountOf(i, nsPerTick);
        }
    }
    return dxr_trace::kSlotCount;
}

uint64_t DxrTraceGetUnnoted() {
    return dxr_trace::UnnotedCalls();
}

uint64_t DxrTraceGetDropped() {
    return dxr_trace::DroppedRecords();
}

const char *DxrTraceSlotName(uint32_t slot) {
    return slot < dxr_trace::kSlotCount ? dxr_trace::kSlots[slot].name : nullptr;
}
