// Counting of calls of slots that a host leaves empty: in the table, and out of it.

#include <bit>

#include "unfilled.h"

namespace dxrsh {
namespace {

using Slot [[gnu::may_alias]] = void (*)();

Slot *Table() {
    static_assert(sizeof(DxrHooks) == kTableSlots * sizeof(Slot));
    return reinterpret_cast<Slot *>(DXR_GetHooks());
}

std::array<void (*)(), kTableSlots> Counting() {
    return std::bit_cast<std::array<void (*)(), kTableSlots>>(kUnfilled);
}

}  // namespace

constinit std::array<std::atomic<uint64_t>, kTableSlots> g_askedUnfilled = {};

void CountUnfilled() {
    const auto counting = Counting();
    for (size_t i = 0; i < kTableSlots; ++i) {
        if (Table()[i] == nullptr) {
            Table()[i] = counting[i];
        }
    }
}

void StopCountingUnfilled() {
    const auto counting = Counting();
    for (size_t i = 0; i < kTableSlots; ++i) {
        if (Table()[i] == counting[i]) {
            Table()[i] = nullptr;
        }
    }
}

}  // namespace dxrsh
