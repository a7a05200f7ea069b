#include "dxr_info_recorder_index.h"

#include <cstring>

namespace dxr {

uint32_t RecordIndex::First(uint32_t hash) const noexcept {
    return From(heads_[Home(hash)], 0, hash);
}

uint32_t RecordIndex::Next(uint32_t slot, uint32_t hash) const noexcept {
    const bool inChain = slot < live_ && hashes_[slot] == hash;
    return From(inChain ? links_[slot] : heads_[Home(hash)], slot + 1, hash);
}

uint32_t RecordIndex::From(uint16_t link, uint32_t least, uint32_t hash) const noexcept {
    for (; link != 0; link = links_[link - 1U]) {
        const uint32_t slot = link - 1U;
        if (slot >= least && hashes_[slot] == hash) {
            return slot;
        }
    }
    return kNone;
}

void RecordIndex::Keep(const DxrRecordStore &store) noexcept {
    forgotten_ = false;
    nextIndex_ = store.nextIndex;
    newest_ = Newest(store);
}

void RecordIndex::Rebuild(const DxrRecordStore &store) noexcept {
    heads_.fill(0);
    live_ = 0;
    while (live_ < DXR_RECORD_COUNT && store.records[live_] != nullptr) {
        ++live_;
    }
    // From the last on, so that every slot goes to the front of its chain.
    for (uint32_t slot = live_; slot-- > 0;) {
        const char *const text = store.records[slot]->text;
        hashes_[slot] = RecordHash(text, strnlen(text, DXR_RECORD_TEXT_SIZE));
        uint16_t &head = heads_[Home(hashes_[slot])];
        links_[slot] = head;
        head = static_cast<uint16_t>(slot + 1);
    }
    Keep(store);
}

void RecordIndex::Put(uint32_t slot, uint32_t hash) noexcept {
    if (slot > live_) {
        return;  // behind an empty slot: no walk comes there
    }
    if (slot == live_) {
        ++live_;
    } else {
        uint16_t *link = &heads_[Home(hashes_[slot])];
        while (*link != slot + 1) {
            link = &links_[*link - 1U];
        }
        *link = links_[slot];
    }
    hashes_[slot] = hash;
    uint16_t *link = &heads_[Home(hash)];
    while (*link != 0 && *link <= slot) {
        link = &links_[*link - 1U];
    }
    links_[slot] = *link;
    *link = static_cast<uint16_t>(slot + 1);
}

}  // namespace dxr
