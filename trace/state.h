// What every wrapper reads: what is to be noted, and the hook behind it.
#ifndef DXR_TRACE_STATE_H
#define DXR_TRACE_STATE_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "slots.h"

namespace dxr_trace {

// A hook, whatever its type.
using Hook = void (*)();

// The values of DXR_TRACE_...
enum class Mode : uint32_t { kOff, kCount };

struct State {
    std::atomic<Mode> mode = Mode::kOff;
    // A call is timed when none of these bits of its number is set.
    std::atomic<uint64_t> timedMask = 0;
    // Those that the wrappers stand for. They stay after the stop: a thread may be on its way.
    std::array<std::atomic<Hook>, kSlotCount> bare = {};
};

extern constinit State g_state;

template <typename Function>
Function BareHook(size_t slot) {
    return reinterpret_cast<Function>(g_state.bare[slot].load(std::memory_order_relaxed));
}

}  // namespace dxr_trace

#endif  // DXR_TRACE_STATE_H
