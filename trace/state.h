// What every wrapper reads: what is to be noted, and the hook behind it.
#ifndef DXR_TRACE_STATE_H
#define DXR_TRACE_STATE_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "pointers.h"
#include "slots.h"

namespace dxr_trace {

// A hook, whatever its type.
using Hook = void (*)();

// The values of DXR_TRACE_...
enum class Mode : uint32_t { kOff, kCount, kCalls };

struct State {
    std::atomic<Mode> mode = Mode::kOff;
    // A call is timed when none of these bits of its number is set. None while all are noted.
    std::atomic<uint64_t> timedMask = 0;
    // The number of the recording that is written; 0 when there is none. What follows changes only
    // between two of them.
    std::atomic<uint32_t> session = 0;
    std::atomic<Follow> follow = Follow::kNone;
    std::atomic<size_t> dataBytes = 0;  // kept of each piece
    std::atomic<size_t> ringBytes = 0;
    std::atomic<bool> waitsForRoom = false;
    std::atomic<bool> callbacks = false;  // what the host calls is noted as well
    // Those that the wrappers stand for. They stay after the stop: a thread may be on its way.
    std::array<std::atomic<Hook>, kSlotCount> bare = {};
};

extern constinit State g_state;

// The table as cells of which each holds a function of any type.
using Cell [[gnu::may_alias]] = Hook;

// Puts a hook into a cell, unless somebody has put something else there meanwhile.
inline void Exchange(Cell &cell, Hook from, Hook to) {
    (void)__atomic_compare_exchange_n(&cell, &from, to, false, __ATOMIC_RELEASE, __ATOMIC_RELAXED);
}

template <typename Function>
Function BareHook(size_t slot) {
    return reinterpret_cast<Function>(g_state.bare[slot].load(std::memory_order_relaxed));
}

}  // namespace dxr_trace

#endif  // DXR_TRACE_STATE_H
