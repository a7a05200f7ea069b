// The figures that need nothing beside the library but the C and C++ libraries. Each function makes
// ready what its figure works on and checks the answers of both contenders. All of them need a
// BareHost, which outlives them.
#ifndef DXR_BENCH_FIGURES_H
#define DXR_BENCH_FIGURES_H

#include <cstddef>
#include <cstdint>

#include "harness.h"

namespace bench {

// Beside a call through a table, and beside a function that answers 0; the program links them,
// from a shared object or not.
[[nodiscard]] Figure DispatchWithSlotSet();
[[nodiscard]] Figure DispatchWithSlotEmpty();

// Lines of 80 characters in a ring that holds `live` of them, beside vsnprintf of the line.
enum class Place : uint8_t { kOldest, kNewest, kRandom };
[[nodiscard]] Figure SameText(uint32_t live, Place place);
[[nodiscard]] Figure NewText(uint32_t live);
// Beside snprintf of the key.
[[nodiscard]] Figure SameKey(uint32_t live);

// Beside a loop over the bytes, with a table for the CRC.
[[nodiscard]] Figure Hash(size_t bytes);
[[nodiscard]] Figure Crc8(size_t bytes);

// Beside a loop over the words.
enum class Operation : uint8_t { kOr, kAnd, kXor };
[[nodiscard]] Figure Combination(Operation operation, size_t words);
[[nodiscard]] Figure SetBits(size_t words);
// Beside memcpy and memcmp.
[[nodiscard]] Figure CombinationBesideCopy(Operation operation, size_t words);
[[nodiscard]] Figure Comparison(size_t words);
[[nodiscard]] Figure ZeroTest(size_t words);
// Beside the same shifts inlined.
[[nodiscard]] Figure FieldRead();
[[nodiscard]] Figure FieldWrite();

// Beside std::sort.
[[nodiscard]] Figure Sort(size_t elements);

// Texts of 80 characters, beside an unordered_map of texts.
[[nodiscard]] Figure RecordRepeat(uint32_t live);
[[nodiscard]] Figure RecordNew();

// Paths of depth 4 in a tree of fan-out 8, beside nested unordered_maps.
[[nodiscard]] Figure FilterQueryOfOnePath();
[[nodiscard]] Figure FilterQueryOfRandomPaths();

// An event and the judgement of a rule, beside a deque of times.
[[nodiscard]] Figure FaultRule();

}  // namespace bench

#endif  // DXR_BENCH_FIGURES_H
