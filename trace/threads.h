// What is kept for each thread that calls hooks.
#ifndef DXR_TRACE_THREADS_H
#define DXR_TRACE_THREADS_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "histogram.h"
#include "slots.h"
#include "state.h"

namespace dxr_trace {

// Written by its thread alone, read by any.
struct ThreadRecord {
    std::array<std::atomic<uint64_t>, kSlotCount> calls = {};
    ThreadRecord *next = nullptr;
};

// The calling thread's; null before its first call. Reached without a function call.
extern constinit thread_local ThreadRecord *t_record [[gnu::tls_model("initial-exec")]];

extern constinit std::array<Histogram, kSlotCount> g_histograms;

// Makes the calling thread's record. Null without memory: the call is counted as unnoted. Leaves
// errno as it is.
[[nodiscard]] ThreadRecord *MakeRecord();

// Counts a call; true when it is to be timed.
[[gnu::always_inline]] inline bool CountCall(size_t slot) {
    ThreadRecord *record = t_record;
    if (record == nullptr) [[unlikely]] {
        record = MakeRecord();
        if (record == nullptr) {
            return false;
        }
    }
    std::atomic<uint64_t> &calls = record->calls[slot];
    const uint64_t number = calls.load(std::memory_order_relaxed);
    calls.store(number + 1, std::memory_order_relaxed);
    return (number & g_state.timedMask.load(std::memory_order_relaxed)) == 0;
}

inline void NoteTime(size_t slot, uint64_t ticks) {
    g_histograms[slot].Add(ticks);
}

// Over all threads, also those that have ended.
[[nodiscard]] uint64_t CallsOf(size_t slot);
[[nodiscard]] uint64_t UnnotedCalls();
void ClearCounts();

}  // namespace dxr_trace

#endif  // DXR_TRACE_THREADS_H
