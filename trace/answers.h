// What stands in the slots while a recording is replayed.
#ifndef DXR_TRACE_ANSWERS_H
#define DXR_TRACE_ANSWERS_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "dxr_api.h"
#include "state.h"

namespace dxr_trace {

// All slots but the reserved ones.
extern const DxrHooks kAnswers;

// Calls a function that the module gave in a call of the slot, with its arguments. The result is
// its own, or 0.
uint64_t CallBack(size_t slot, Hook function, std::span<const uint64_t> words);

}  // namespace dxr_trace

#endif  // DXR_TRACE_ANSWERS_H
