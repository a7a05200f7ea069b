// The heap of a program that links counted_heap.cpp, counted.
#ifndef DXR_BENCH_COUNTED_HEAP_H
#define DXR_BENCH_COUNTED_HEAP_H

#include <cstdint>

namespace bench {

// Bytes that can be used in the blocks that are allocated now, by whomever in the process.
[[nodiscard]] int64_t LiveHeapBytes();

}  // namespace bench

#endif  // DXR_BENCH_COUNTED_HEAP_H
