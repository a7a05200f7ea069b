// Sorting of 32-bit integers without a comparator.
#ifndef DXR_KERNELS_INTEGER_SORT_H
#define DXR_KERNELS_INTEGER_SORT_H

#include <cstddef>
#include <cstdint>

namespace dxr {

// Sorts in ascending order if the difference of any two elements fits in 32 signed bits; then every
// sort gives this array. False otherwise, and the elements stay as they are; so it is, always, in a
// build without fast paths.
[[nodiscard]] bool SortAscending(int32_t *elements, size_t count) noexcept;

}  // namespace dxr

#endif  // DXR_KERNELS_INTEGER_SORT_H
