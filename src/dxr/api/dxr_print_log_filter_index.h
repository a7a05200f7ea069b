// Where in a ring a hash stands, so that the decision on a line costs the same whatever the ring
// holds.
//
// Invariant, while Matches(record) holds: every live entry with a hash other than 0 that the
// library's own operations made has one slot, which holds its hash and its ring position, and every
// position has at most one slot. Slots whose position is no longer live, or whose entry no longer
// holds the hash, may remain until their position is written again: a hit counts only when entry
// and position say so too. So entries may age out without a word to the index, and at most
// `kMaxPositions` of its slots are ever taken.
//
// All zero is the empty index of an empty ring, so tables that are never used cost no memory. The
// mutex of the log type guards its index like its ring.
#ifndef DXR_PRINT_LOG_FILTER_INDEX_H
#define DXR_PRINT_LOG_FILTER_INDEX_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "dxr/print_log_filter_store.h"

namespace dxr {

class LogFilterIndex {
  public:
    // The largest capacity that the ring grows to by itself; larger ones are walked.
    static constexpr uint32_t kMaxPositions = 2047;

    // Whether the index can serve the record at all.
    [[nodiscard]] static bool Serves(const DxrLogFilterInfo &record) noexcept {
        if (record.capacity == 0 || record.entries == nullptr) {
            return record.capacity == 0 && record.curSize == 0;
        }
        return record.capacity <= kMaxPositions && record.curSize <= record.capacity &&
               record.curIndex < record.capacity;
    }

    // True when the record is as the last Keep() left it.
    [[nodiscard]] bool Matches(const DxrLogFilterInfo &record) const noexcept;
    // Notes the record's state after an operation that the index followed.
    void Keep(const DxrLogFilterInfo &record) noexcept;
    // The ring was changed by an operation that the index did not follow.
    void Forget() noexcept {
        known_ = false;
        ++changes_;
    }
    // Differs after every Keep() and Forget(): tells whether somebody else came in between.
    [[nodiscard]] uint32_t Changes() const noexcept { return changes_; }

    // Takes over the live entries of a record that it serves.
    void Rebuild(const DxrLogFilterInfo &record) noexcept;
    // The entry at `position` was made with this hash.
    void Put(uint32_t position, uint32_t hash) noexcept;
    // Position of the oldest live entry that holds the hash (not 0), or the capacity.
    [[nodiscard]] uint32_t Find(const DxrLogFilterInfo &record, uint32_t hash) const noexcept;

  private:
    struct Slot {
        uint32_t hash;  // 0: the slot is free
        uint32_t position;
    };
    // At most half of the slots are taken: probes stay short.
    static constexpr uint32_t kSlotBits = 12;
    static constexpr uint32_t kSlots = 1U << kSlotBits;
    static constexpr uint32_t kSlotMask = kSlots - 1;

    static uint32_t Home(uint32_t hash) noexcept { return hash * 0x9E3779B1U >> (32U - kSlotBits); }
    void Erase(uint32_t slot) noexcept;

    std::array<Slot, kSlots> slots_;
    std::array<uint16_t, kMaxPositions> slotOf_;  // slot of a position plus 1; 0: none
    bool known_;
    uint32_t changes_;
    // The record as the index knows it.
    uint32_t curIndex_;
    uint32_t curSize_;
    uint32_t capacity_;
    const DxrLogFilterEntry *entries_;
};

}  // namespace dxr

#endif  // DXR_PRINT_LOG_FILTER_INDEX_H
