#include "dxr_info_recorder_book.h"

#include <bit>
#include <utility>

#include "internal/fast_paths.h"

namespace dxr {
namespace {

uint64_t Load(const char *at) {
    uint64_t word = 0;
    std::memcpy(&word, at, sizeof(word));
    return word;
}

// Odd, its bits without a pattern.
constexpr uint64_t kFactor = 0xD6E8FEB86659FD93U;

// A product carries bits upwards only; the turn brings them down again.
uint64_t Mix(uint64_t state, uint64_t word) {
    return std::rotl((state ^ word) * kFactor, 29);
}

}  // namespace

// Two words a step, in two states that do not wait for each other. The last step takes the last two
// words, some of whose bytes may have been taken before.
uint32_t RecordText::HashOf(const char *text, size_t length) noexcept {
    constexpr size_t kStep = 2 * sizeof(uint64_t);
    char padded[kStep] = {};
    const char *last = text + length - kStep;
    uint64_t even = length;
    uint64_t odd = kFactor;
    if (length < kStep) {
        std::memcpy(padded, text, length);
        last = padded;
    } else {
        for (; text < last; text += kStep) {
            even = Mix(even, Load(text));
            odd = Mix(odd, Load(text + sizeof(uint64_t)));
        }
    }
    even = Mix(even, Load(last));
    odd = Mix(odd, Load(last + sizeof(uint64_t)));
    return static_cast<uint32_t>(Mix(even, std::rotl(odd, 32)) * kFactor >> 32U);
}

uint32_t RecordBook::Walk(const DxrRecordStore &store, const RecordText &text,
                          uint32_t from) noexcept {
    for (uint32_t slot = from; slot < DXR_RECORD_COUNT; ++slot) {
        const DxrRecord *const record = store.records[slot];
        if (record == nullptr) {
            break;
        }
        if (text.IsIn(*record)) {
            return slot;
        }
    }
    return kNone;
}

uint32_t RecordBook::Find(RecordText &text, uint32_t from) const noexcept {
    if constexpr (kFastPaths) {
        if (!HasFew()) {
            if (from == 0 && !InStep()) {
                Rebuild();
            }
            // A search that stands beyond the live slots has seen one of them emptied since.
            if (from <= index_.live && InStep()) {
                return FindInChain(text, from);
            }
        }
    }
    return Walk(store_, text, from);
}

void RecordBook::Place(DxrRecordStore &store, DxrRecord *record) const noexcept {
    const uint32_t slot = store.nextIndex;
    const bool inStep = InStep();
    store.records[slot] = record;
    if (&store == &store_) {
        Follow(inStep, slot, RecordText("").Hash());
    }
}

void RecordBook::Write(DxrRecordStore &store, uint32_t slot, RecordText &text) const noexcept {
    const bool inStep = InStep();
    DxrRecord *const record = store.records[slot];
    // Before the copy: the text may be a part of the record's own.
    const uint32_t hash = inStep ? text.Hash() : 0;
    record->count = 1;
    text.CopyTo(*record);
    store.nextIndex = (store.nextIndex + 1) & (DXR_RECORD_COUNT - 1);
    if (&store == &store_ || !inStep) {
        Follow(inStep, slot, hash);
        return;
    }
    for (uint32_t shared = 0; shared < index_.live; ++shared) {
        if (store_.records[shared] == record) {
            Follow(inStep, shared, hash);
        }
    }
}

DxrRecord *RecordBook::TakeOut(uint32_t slot) const noexcept {
    if (store_.records[slot] == nullptr) {
        return nullptr;
    }
    index_.known = false;
    return std::exchange(store_.records[slot], nullptr);
}

bool RecordBook::InStep() const noexcept {
    return kFastPaths && index_.known && !HasFew() && store_.nextIndex == index_.nextIndex &&
           Newest() == index_.newest &&
           (index_.live == DXR_RECORD_COUNT || store_.records[index_.live] == nullptr);
}

const DxrRecord *RecordBook::Newest() const noexcept {
    return store_.records[(store_.nextIndex - 1) & (DXR_RECORD_COUNT - 1)];
}

void RecordBook::Follow(bool inStep, uint32_t slot, uint32_t hash) const noexcept {
    if (inStep) {
        Put(slot, hash);
        Keep();
    } else {
        index_.known = false;
    }
}

void RecordBook::Keep() const noexcept {
    index_.known = true;
    index_.nextIndex = store_.nextIndex;
    index_.newest = Newest();
}

uint32_t RecordBook::FindInChain(RecordText &text, uint32_t from) const noexcept {
    const uint32_t hash = text.Hash();
    const bool fromWithin = from != 0 && index_.nodes[from - 1].hash == hash;
    uint32_t link = fromWithin ? index_.nodes[from - 1].next : index_.heads[Home(hash)];
    for (; link != 0; link = index_.nodes[link - 1].next) {
        const uint32_t slot = link - 1;
        if (slot < from || index_.nodes[slot].hash != hash) {
            continue;
        }
        const DxrRecord *const record = store_.records[slot];
        if (record == nullptr) {
            break;  // emptied in place
        }
        if (text.IsIn(*record)) {
            return slot;
        }
    }
    return kNone;
}

void RecordBook::Rebuild() const noexcept {
    index_.heads.fill(0);
    index_.live = 0;
    while (index_.live < DXR_RECORD_COUNT && store_.records[index_.live] != nullptr) {
        ++index_.live;
    }
    // From the last on, so that every slot goes to the front of its chain.
    for (uint32_t slot = index_.live; slot-- > 0;) {
        const uint32_t hash = RecordText(store_.records[slot]->text).Hash();
        uint16_t &head = index_.heads[Home(hash)];
        index_.nodes[slot] = {hash, head};
        head = static_cast<uint16_t>(slot + 1);
    }
    Keep();
}

void RecordBook::Put(uint32_t slot, uint32_t hash) const noexcept {
    if (slot > index_.live) {
        return;  // beyond an empty slot: no search comes there
    }
    if (slot == index_.live) {
        ++index_.live;
    } else {
        uint16_t *link = &index_.heads[Home(index_.nodes[slot].hash)];
        while (*link != slot + 1) {
            link = &index_.nodes[*link - 1U].next;
        }
        *link = index_.nodes[slot].next;
    }
    uint16_t *link = &index_.heads[Home(hash)];
    while (*link != 0 && *link <= slot) {
        link = &index_.nodes[*link - 1U].next;
    }
    index_.nodes[slot] = {hash, *link};
    *link = static_cast<uint16_t>(slot + 1);
}

}  // namespace dxr
