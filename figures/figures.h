// The figures that need nothing beside the library but the C and C++ libraries. Each function makes
// ready what its figure works on and checks the answers of both contenders. All of them need a
// BareHost, which outlives them, and a library of peers (library_peers.h).
#ifndef DXR_FIGURES_FIGURES_H
#define DXR_FIGURES_FIGURES_H

#include <cstddef>
#include <cstdint>

#include "harness.h"

namespace bench {

// Beside the same getter, load, test and jump in another library, and a function there that answers
// 0.
[[nodiscard]] Figure DispatchWithSlotSet();
[[nodiscard]] Figure DispatchWithSlotEmpty();

// Lines of 80 characters (log_lines.h).
enum class LineKind : uint8_t { kPlain, kPadded };

// In a ring that holds `live` of them, beside snprintf of the line into a zeroed buffer.
enum class Place : uint8_t { kOldest, kNewest, kRandom };
[[nodiscard]] Figure SameText(LineKind kind, uint32_t live, Place place);
[[nodiscard]] Figure NewText(LineKind kind, uint32_t live);
// Lines with a conversion of floating point.
[[nodiscard]] Figure SameTextWithDouble(LineKind kind);
// Beside snprintf of the key.
[[nodiscard]] Figure SameKey(uint32_t live);

// Beside a loop over the bytes, in another library.
[[nodiscard]] Figure Hash(size_t bytes);
// Beside a loop over the bytes with a table.
[[nodiscard]] Figure Crc8(size_t bytes);

// Beside a loop over the words.
enum class Operation : uint8_t { kOr, kAnd, kXor };
[[nodiscard]] Figure Combination(Operation operation, size_t words);
[[nodiscard]] Figure SetBits(size_t words);
// Beside memcpy and memcmp.
[[nodiscard]] Figure CombinationBesideCopy(Operation operation, size_t words);
[[nodiscard]] Figure Comparison(size_t words);
// The peer called from the loop itself, as is ours.
[[nodiscard]] Figure SmallComparison(size_t words);
[[nodiscard]] Figure ZeroTest(size_t words);
// Beside the same shifts inlined.
[[nodiscard]] Figure FieldRead();
[[nodiscard]] Figure FieldWrite();

// Beside std::sort.
[[nodiscard]] Figure Sort(size_t elements);

// Beside an unordered_map of texts.
[[nodiscard]] Figure RecordRepeat(LineKind kind, uint32_t live);
[[nodiscard]] Figure RecordNew(LineKind kind);

// Paths of depth 4 in a tree of fan-out 8, beside nested unordered_maps.
[[nodiscard]] Figure FilterQueryOfOnePath();
[[nodiscard]] Figure FilterQueryOfRandomPaths();

// An event and the judgement of a rule, beside a deque of times.
[[nodiscard]] Figure FaultRule();

}  // namespace bench

#endif  // DXR_FIGURES_FIGURES_H
