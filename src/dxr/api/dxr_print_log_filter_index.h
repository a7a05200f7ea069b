// Which entries of a ring hold a hash, so that looking one up costs the same whatever the ring
// holds.
//
// The index knows a window of ring positions, the oldest first, and the hash that each was appended
// with. Positions whose hashes fall to one slot form a chain in the order of the window. So the
// oldest position of all is the first of its chain, and goes without a search; and the first match
// of a chain is the oldest, however many equal ones follow.
//
// It stands on its own: what a host writes into entries can hide them from the index, but not break
// it. All zero it is an empty window; one that is never used costs no memory.
#ifndef DXR_PRINT_LOG_FILTER_INDEX_H
#define DXR_PRINT_LOG_FILTER_INDEX_H

#include <array>
#include <cstdint>

#include "dxr/print_log_filter_store.h"
#include "internal/hash_slots.h"

namespace dxr {

// A ring grows by itself at capacities up to this one.
inline constexpr uint32_t kLargestGrowingCapacity = 1024;

[[nodiscard]] constexpr uint32_t GrownCapacity(uint32_t capacity) noexcept {
    return capacity * 2 + 1;
}

class LogRingIndex {
  public:
    // Shorter rings are walked as fast. Longer ones exist only where a host has resized them.
    static constexpr uint32_t kMinCapacity = 8;
    static constexpr uint32_t kMaxCapacity = GrownCapacity(kLargestGrowingCapacity);

    // Whether the index is for such a ring at all.
    [[nodiscard]] static bool Serves(const DxrLogFilterInfo &record) noexcept {
        return record.capacity - kMinCapacity <= kMaxCapacity - kMinCapacity &&
               record.entries != nullptr && record.curSize <= record.capacity &&
               record.curIndex < record.capacity;
    }

    // Whether the window is that of the record.
    [[nodiscard]] bool Knows(const DxrLogFilterInfo &record) const noexcept {
        return record.curIndex == first_ && record.curSize == count_ &&
               record.capacity == capacity_;
    }

    // Takes over the live entries of a record that the index serves.
    void Rebuild(const DxrLogFilterInfo &record) noexcept;
    // One position more, the newest; in a full window it takes the place of the oldest.
    void Append(uint32_t hash) noexcept;
    // The oldest `count` positions go; the window then begins at `first`, anywhere if it is empty.
    void Drop(uint32_t count, uint32_t first) noexcept;

    // The oldest position that was appended with the hash and whose entry has it still; the
    // capacity if there is none.
    [[nodiscard]] uint32_t Find(const DxrLogFilterEntry *entries, uint32_t hash) const noexcept {
        for (uint32_t link = slots_[HashSlot(hash, slotBits_)].oldest; link != 0;
             link = nodes_[link].newer) {
            if (entries[link - 1].logHashCode == hash) {
                return link - 1;
            }
        }
        return capacity_;
    }

  private:
    // Ring position of the i-th oldest, i <= capacity_.
    [[nodiscard]] uint32_t Position(uint32_t i) const noexcept {
        const uint32_t position = first_ + i;
        return position < capacity_ ? position : position - capacity_;
    }

    // Links are positions plus 1; 0 ends a chain.
    struct Slot {
        uint16_t oldest;
        uint16_t newest;
    };
    struct Node {
        uint16_t slot;
        uint16_t newer;
    };
    // Eight slots a position, so that a chain is mostly one link, which the processor foresees; two
    // at the largest capacities, where the cache counts more.
    static constexpr uint32_t kSpareBits = 3;
    static constexpr uint32_t kMaxSlotBits = 12;

    std::array<Slot, 1U << kMaxSlotBits> slots_;  // 2^slotBits_ of them are in use
    std::array<Node, kMaxCapacity + 1> nodes_;    // by link
    uint32_t slotBits_;
    // The window.
    uint32_t first_;
    uint32_t count_;
    uint32_t capacity_;
};

}  // namespace dxr

#endif  // DXR_PRINT_LOG_FILTER_INDEX_H
