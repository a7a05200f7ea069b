// Slots that a host leaves empty, and how often a module asks for them.
#ifndef DXRSH_UNFILLED_H
#define DXRSH_UNFILLED_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "dxr_api.h"

namespace dxrsh {

inline constexpr size_t kTableSlots = 226;

// Functions that count the call and answer the fallback of their slot.
extern const DxrHooks kUnfilled;

extern constinit std::array<std::atomic<uint64_t>, kTableSlots> g_askedUnfilled;

// Puts them into the empty slots of the registered table. Not beside calls.
void CountUnfilled();
// Takes them out again.
void StopCountingUnfilled();

}  // namespace dxrsh

#endif  // DXRSH_UNFILLED_H
