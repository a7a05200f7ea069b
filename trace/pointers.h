// What the pointers of a call lead to, by the rules of its slot.
#ifndef DXR_TRACE_POINTERS_H
#define DXR_TRACE_POINTERS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "slots.h"

namespace dxr_trace {

// Which rules are followed; the values of DXR_TRACE_POINTERS_...
enum class Follow : uint32_t { kNone, kInterface, kDevhost };

// Where a piece of memory hangs, as one number that files hold: the parameter (or kResultPlace,
// kMessagePlace) in the lowest four bits, then whether it is a text, then the offset of a pointer
// behind the parameter, plus 1, or 0.
inline constexpr uint32_t kTextFlag = 1U << 4;
inline constexpr unsigned kOffsetShift = 5;

constexpr uint32_t PlaceOf(uint8_t parameter, uint16_t offset, bool isText) {
    const uint32_t behind = offset == kDirect ? 0 : uint32_t{offset} + 1;
    return parameter | (isText ? kTextFlag : 0) | behind << kOffsetShift;
}

constexpr uint32_t PlaceOf(const PointerRule &rule) {
    const bool isText = rule.extent == Extent::kText || rule.extent == Extent::kTextWithin;
    return PlaceOf(rule.parameter, rule.offset, isText);
}

struct Piece {
    uint32_t place = 0;
    const void *data = nullptr;
    size_t size = 0;  // as the rule says; of a text that is longer than the limit: the limit + 1
};

// Of a call: its arguments as words, and its result once it is there.
struct CallWords {
    std::span<const uint64_t> arguments;
    uint64_t result = 0;
};

// The piece that a rule leads to; null data where a pointer on the way is null. At most `limit`
// bytes of a text are looked at, and the one after them.
[[nodiscard]] Piece PieceOf(const PointerRule &rule, const CallWords &call, size_t limit);

struct Pieces {
    std::array<Piece, kMostPieces> items;
    size_t count = 0;

    void Add(const Piece &piece) { items[count++] = piece; }
};

// Those that lead to something before the call (kIn) or after it (kOut).
void Collect(const SlotInfo &slot, const CallWords &call, Direction when, Follow follow,
             size_t limit, Pieces &pieces);

}  // namespace dxr_trace

#endif  // DXR_TRACE_POINTERS_H
