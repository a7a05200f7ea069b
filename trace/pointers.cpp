#include "pointers.h"

#include <algorithm>
#include <cstring>

namespace dxr_trace {
namespace {

const char *Address(uint64_t word) {
    // An argument was noted as a number.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<const char *>(static_cast<uintptr_t>(word));
}

// Records of others need not be aligned.
template <typename Value>
Value Load(const char *address) {
    Value value{};
    std::memcpy(&value, address, sizeof(value));
    return value;
}

const char *Target(const PointerRule &rule, const CallWords &call) {
    const uint64_t word =
        rule.parameter == kResultPlace ? call.result : call.arguments[rule.parameter];
    const char *const target = Address(word);
    if (rule.offset == kDirect || target == nullptr) {
        return target;
    }
    return Load<const char *>(target + rule.offset);
}

// What says that it is longer is no record, and nobody reads more of it than that.
constexpr uint32_t kMostRecord = 4096;

// A pointer that stands in a record is followed as far as the record says that it reaches.
bool Reaches(const SlotInfo &slot, const PointerRule &rule, const CallWords &call) {
    if (rule.offset == kDirect || rule.parameter == kResultPlace) {
        return true;
    }
    const bool isInRecord =
        std::any_of(slot.pointers.begin(), slot.pointers.end(), [&rule](const PointerRule &other) {
            return other.parameter == rule.parameter && other.offset == kDirect &&
                   other.extent == Extent::kRecord;
        });
    const char *const record = Address(call.arguments[rule.parameter]);
    if (!isInRecord || record == nullptr) {
        return true;
    }
    const auto size = Load<uint32_t>(record);
    return size <= kMostRecord && size >= rule.offset + sizeof(void *);
}

size_t Product(const PointerRule &rule, const CallWords &call) {
    return static_cast<size_t>(call.arguments[rule.first] * call.arguments[rule.second]);
}

size_t SizeOf(const PointerRule &rule, const CallWords &call, const char *target, size_t limit) {
    switch (rule.extent) {
        case Extent::kFixed:
            return rule.first;
        case Extent::kText:
            return strnlen(target, limit + 1);
        case Extent::kTextWithin:
            return strnlen(target,
                           std::min(limit + 1, static_cast<size_t>(call.arguments[rule.first])));
        case Extent::kArgument:
            return static_cast<size_t>(call.arguments[rule.first]);
        case Extent::kProduct:
            return Product(rule, call);
        case Extent::kResult:
            return std::min(static_cast<size_t>(call.result), Product(rule, call));
        case Extent::kRecord: {
            const auto size = Load<uint32_t>(target);
            return size <= kMostRecord ? size : sizeof(size);
        }
        case Extent::kField: {
            const char *const record = Address(call.arguments[rule.second]);
            return record != nullptr ? Load<uint32_t>(record + rule.first) : 0;
        }
        case Extent::kFieldWithin: {
            const char *const record = Address(call.arguments[rule.parameter]);
            const auto size = Load<uint32_t>(record + rule.first);
            return size <= Load<uint32_t>(record + rule.second) ? size : 0;
        }
    }
    return 0;
}

bool IsFollowed(const PointerRule &rule, Direction when, Follow follow) {
    const auto directions = static_cast<unsigned>(rule.direction);
    return (directions & static_cast<unsigned>(when)) != 0 &&
           (!rule.devhostAlone || follow == Follow::kDevhost);
}

}  // namespace

Piece PieceOf(const PointerRule &rule, const CallWords &call, size_t limit) {
    const char *const target = Target(rule, call);
    if (target == nullptr) {
        return {};
    }
    return {PlaceOf(rule), target, SizeOf(rule, call, target, limit)};
}

void Collect(const SlotInfo &slot, const CallWords &call, Direction when, Follow follow,
             size_t limit, Pieces &pieces) {
    if (follow == Follow::kNone) {
        return;
    }
    for (const PointerRule &rule : slot.pointers) {
        if (IsFollowed(rule, when, follow) && Reaches(slot, rule, call)) {
            const Piece piece = PieceOf(rule, call, limit);
            if (piece.data != nullptr) {
                pieces.Add(piece);
            }
        }
    }
}

}  // namespace dxr_trace
