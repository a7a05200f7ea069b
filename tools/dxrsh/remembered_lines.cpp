#include "remembered_lines.h"

#include <cstddef>

namespace dxrsh {

void RememberedLines::MakeRoom() {
    ++generation_;
    if (forever_) {
        std::vector<Slot> before(2 * slots_.size());
        before.swap(slots_);
        for (const Slot &slot : before) {
            if (slot.check != 0) {
                slots_[PlaceOf(slot.hash)] = slot;
            }
        }
        return;
    }
    slots_.assign(slots_.size(), Slot());
    order_.erase(order_.begin(), order_.end() - static_cast<std::ptrdiff_t>(kKept));
    for (const Slot &slot : order_) {
        slots_[PlaceOf(slot.hash)] = slot;
    }
}

void RememberedLines::Put(const Slot &line) {
    const size_t half = slots_.size() / 2;
    if (forever_ ? taken_ == half : order_.size() == half) {
        MakeRoom();
    }
    Slot &place = slots_[PlaceOf(line.hash)];
    taken_ += place.check == 0 ? 1 : 0;
    generation_ += place.check != 0 && place.check != line.check ? 1 : 0;
    place = line;
    if (!forever_) {
        order_.push_back(line);
    }
}

bool RememberedLines::IsOther(uint32_t hash, uint32_t check) {
    Settle();
    const Slot &slot = slots_[PlaceOf(hash)];
    return slot.check != 0 && slot.check != NotFree(check);
}

}  // namespace dxrsh
