// Arguments and results as numbers of one width.
#ifndef DXR_TRACE_WORDS_H
#define DXR_TRACE_WORDS_H

#include <cstdint>
#include <type_traits>

namespace dxr_trace {

template <typename Value>
uint64_t ToWord(Value value) {
    if constexpr (std::is_pointer_v<Value>) {
        return reinterpret_cast<uintptr_t>(value);
    } else {
        return static_cast<uint64_t>(value);
    }
}

template <typename Value>
Value FromWord(uint64_t word) {
    if constexpr (std::is_pointer_v<Value>) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): it was noted as a number
        return reinterpret_cast<Value>(static_cast<uintptr_t>(word));
    } else {
        return static_cast<Value>(word);
    }
}

}  // namespace dxr_trace

#endif  // DXR_TRACE_WORDS_H
