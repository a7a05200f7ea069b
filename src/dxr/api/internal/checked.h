// Signed arithmetic for the few places whose overflow must end the process instead of wrapping.
#ifndef DXR_INTERNAL_CHECKED_H
#define DXR_INTERNAL_CHECKED_H

#include <cstdint>
#include <cstdlib>

namespace dxr {

[[nodiscard]] inline int32_t CheckedAdd(int32_t a, int32_t b) noexcept {
    int32_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        std::abort();
    }
    return sum;
}

[[nodiscard]] inline int32_t CheckedSub(int32_t a, int32_t b) noexcept {
    int32_t difference = 0;
    if (__builtin_sub_overflow(a, b, &difference)) {
        std::abort();
    }
    return difference;
}

[[nodiscard]] inline int64_t CheckedMul(int64_t a, int64_t b) noexcept {
    int64_t product = 0;
    if (__builtin_mul_overflow(a, b, &product)) {
        std::abort();
    }
    return product;
}

// The divisor must not be 0. The one quotient that does not fit is INT32_MIN / -1.
[[nodiscard]] inline int32_t CheckedDiv(int32_t dividend, int32_t divisor) noexcept {
    if (dividend == INT32_MIN && divisor == -1) {
        std::abort();
    }
    return dividend / divisor;
}

}  // namespace dxr

#endif  // DXR_INTERNAL_CHECKED_H
