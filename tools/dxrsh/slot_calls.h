// Calls of the slots by their numbers, with arguments as numbers of one width.
#ifndef DXRSH_SLOT_CALLS_H
#define DXRSH_SLOT_CALLS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "trace/slots.h"

namespace dxrsh {

inline constexpr size_t kSlotCallCount = dxr_trace::kSlotCount;
inline constexpr size_t kMostSlotFunctions = 2;

using AnyHook = void (*)();

struct SlotCall {
    // Through the exported function; null where it has another type than the slot, or where there
    // is none.
    uint64_t (*function)(std::span<const uint64_t> words) = nullptr;
    // By the hook itself; null for reserved slots. One in the manner of printf gets its last
    // argument as the text of "%s".
    uint64_t (*hook)(AnyHook hook, std::span<const uint64_t> words) = nullptr;
    std::array<const char *, dxr_trace::kMostParameters> names{};        // of the parameters
    std::array<dxr_trace::MemoryPlace, kMostSlotFunctions> functions{};  // of the caller's
    size_t functionCount = 0;
    const char *about = "";
};

extern const std::array<SlotCall, kSlotCallCount> kSlotCalls;

}  // namespace dxrsh

#endif  // DXRSH_SLOT_CALLS_H
