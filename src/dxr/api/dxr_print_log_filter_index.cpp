#include "dxr_print_log_filter_index.h"

#include <algorithm>
#include <bit>

namespace dxr {

void LogRingIndex::Rebuild(const DxrLogFilterInfo &record) noexcept {
    capacity_ = record.capacity;
    slotBits_ = std::min<uint32_t>(static_cast<uint32_t>(std::bit_width(capacity_)) + kSpareBits,
                                   kMaxSlotBits);
    std::fill_n(slots_.begin(), 1U << slotBits_, Slot{});
    first_ = record.curIndex;
    count_ = 0;
    for (uint32_t i = 0; i < record.curSize; ++i) {
        Append(record.entries[Position(i)].logHashCode);
    }
}

void LogRingIndex::Append(uint32_t hash) noexcept {
    if (count_ == capacity_) {
        Drop(1, Position(1));
    }
    const auto link = static_cast<uint16_t>(Position(count_) + 1);
    const auto at = static_cast<uint16_t>(HashSlot(hash, slotBits_));
    Slot &slot = slots_[at];
    nodes_[link] = {at, 0};
    (slot.oldest == 0 ? slot.oldest : nodes_[slot.newest].newer) = link;
    slot.newest = link;
    ++count_;
}

void LogRingIndex::Drop(uint32_t count, uint32_t first) noexcept {
    for (uint32_t i = 0; i < count; ++i) {
        // The oldest of all is the oldest of its slot.
        const Node &node = nodes_[Position(i) + 1];
        slots_[node.slot].oldest = node.newer;
    }
    count_ -= count;
    first_ = first;
}

}  // namespace dxr
