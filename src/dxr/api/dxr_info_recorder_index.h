// Which slots of the recorder's store hold texts of a given hash, so that recording a text costs
// the same whatever the store holds.
//
// Invariant, while Matches(store) holds: slots 0 to live_ - 1 are the live ones, those in front of
// the first empty slot; hashes_ has the hash of each live record's text as the library wrote it,
// and each live slot stands in the one chain of its hash's home, in the order of slots. A slot that
// is given is a candidate only: its record's own text decides.
//
// All zero is the index of an empty store, so a recorder that is never used costs no memory.
#ifndef DXR_INFO_RECORDER_INDEX_H
#define DXR_INFO_RECORDER_INDEX_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "dxr/info_recorder.h"
#include "kernels/text_hash.h"

namespace dxr {

[[nodiscard]] inline uint32_t RecordHash(const char *text, size_t length) noexcept {
    return TextHash(reinterpret_cast<const unsigned char *>(text), length);
}

class RecordIndex {
  public:
    static constexpr uint32_t kNone = DXR_RECORD_COUNT;

    // Brings the index up to a store that was changed past it.
    void Follow(const DxrRecordStore &store) noexcept {
        if (!Matches(store)) {
            Rebuild(store);
        }
    }

    // The first live slot with the hash, or the first behind `slot`, whatever has become of that
    // one since it was given. kNone if there is none.
    [[nodiscard]] uint32_t First(uint32_t hash) const noexcept;
    [[nodiscard]] uint32_t Next(uint32_t slot, uint32_t hash) const noexcept;

    // Makes a change that leaves `record` in `slot` and gives the hash of its text. The index goes
    // along if it knew the store and the record does stand there; a hook may have seen to the
    // opposite before. The change itself calls no hooks.
    template <typename Make>
    void Change(const DxrRecordStore &store, uint32_t slot, const DxrRecord *record,
                Make make) noexcept {
        const bool known = Matches(store);
        const uint32_t hash = make();
        if (known && store.records[slot] == record) {
            Put(slot, hash);
            Keep(store);
        } else {
            Forget();
        }
    }

    // The store was changed by an operation that the index did not follow.
    void Forget() noexcept { forgotten_ = true; }

  private:
    static constexpr uint32_t kHomeBits = 11;
    static uint32_t Home(uint32_t hash) noexcept { return hash * 0x9E3779B1U >> (32U - kHomeBits); }

    // True when the store is as the last operation that the index followed left it.
    [[nodiscard]] bool Matches(const DxrRecordStore &store) const noexcept {
        return !forgotten_ && store.nextIndex == nextIndex_ && Newest(store) == newest_ &&
               (live_ == DXR_RECORD_COUNT || store.records[live_] == nullptr);
    }
    [[nodiscard]] static const DxrRecord *Newest(const DxrRecordStore &store) noexcept {
        return store.records[(store.nextIndex - 1) & (DXR_RECORD_COUNT - 1)];
    }
    void Keep(const DxrRecordStore &store) noexcept;
    void Rebuild(const DxrRecordStore &store) noexcept;
    void Put(uint32_t slot, uint32_t hash) noexcept;
    [[nodiscard]] uint32_t From(uint16_t link, uint32_t least, uint32_t hash) const noexcept;

    // Links are slots plus 1; 0 ends a chain.
    std::array<uint16_t, 1U << kHomeBits> heads_;
    std::array<uint16_t, DXR_RECORD_COUNT> links_;
    std::array<uint32_t, DXR_RECORD_COUNT> hashes_;
    uint32_t live_;
    // The store as the index knows it.
    bool forgotten_;
    uint32_t nextIndex_;
    const DxrRecord *newest_;
};

}  // namespace dxr

#endif  // DXR_INFO_RECORDER_INDEX_H
