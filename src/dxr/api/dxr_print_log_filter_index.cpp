#include "dxr_print_log_filter_index.h"

namespace dxr {

bool LogFilterIndex::Matches(const DxrLogFilterInfo &record) const noexcept {
    return known_ && record.curIndex == curIndex_ && record.curSize == curSize_ &&
           record.capacity == capacity_ && record.entries == entries_;
}

void LogFilterIndex::Keep(const DxrLogFilterInfo &record) noexcept {
    known_ = true;
    ++changes_;
    curIndex_ = record.curIndex;
    curSize_ = record.curSize;
    capacity_ = record.capacity;
    entries_ = record.entries;
}

void LogFilterIndex::Rebuild(const DxrLogFilterInfo &record) noexcept {
    slots_.fill({});
    slotOf_.fill(0);
    for (uint32_t i = 0; i < record.curSize; ++i) {
        const uint32_t position = (record.curIndex + i) % record.capacity;
        Put(position, record.entries[position].logHashCode);
    }
    Keep(record);
}

void LogFilterIndex::Put(uint32_t position, uint32_t hash) noexcept {
    if (slotOf_[position] != 0) {
        Erase(slotOf_[position] - 1U);
        slotOf_[position] = 0;
    }
    if (hash == 0) {
        return;  // never looked for
    }
    uint32_t slot = Home(hash);
    while (slots_[slot].hash != 0) {
        slot = (slot + 1) & kSlotMask;
    }
    slots_[slot] = {hash, position};
    slotOf_[position] = static_cast<uint16_t>(slot + 1);
}

uint32_t LogFilterIndex::Find(const DxrLogFilterInfo &record, uint32_t hash) const noexcept {
    uint32_t found = record.capacity;
    uint32_t oldest = record.curSize;
    for (uint32_t slot = Home(hash); slots_[slot].hash != 0; slot = (slot + 1) & kSlotMask) {
        const uint32_t position = slots_[slot].position;
        if (slots_[slot].hash != hash || record.entries[position].logHashCode != hash) {
            continue;
        }
        // How far behind the oldest entry the position lies; equal hashes give the oldest.
        const uint32_t age = position >= record.curIndex
                                 ? position - record.curIndex
                                 : position + record.capacity - record.curIndex;
        if (age < oldest) {
            oldest = age;
            found = position;
        }
    }
    return found;
}

void LogFilterIndex::Erase(uint32_t slot) noexcept {
    // Closes the gap: every later slot of the run that may stand here moves up.
    for (uint32_t next = (slot + 1) & kSlotMask; slots_[next].hash != 0;
         next = (next + 1) & kSlotMask) {
        const uint32_t fromHome = (next - Home(slots_[next].hash)) & kSlotMask;
        if (fromHome >= ((next - slot) & kSlotMask)) {
            slots_[slot] = slots_[next];
            slotOf_[slots_[slot].position] = static_cast<uint16_t>(slot + 1);
            slot = next;
        }
    }
    slots_[slot] = {};
}

}  // namespace dxr
