// The ring of a log type: the record that hosts see, and what makes looking up in it fast.
//
// Hooks that a verb calls may come back to the filter: between two steps a ring may have got other
// entries or another storage, and one of the store may be gone with it. So a ring is no pointer
// into the store, each verb finds it anew after every hook, and a position that no longer exists is
// passed over in silence.
//
// The mutex of the type guards its ring.
#ifndef DXR_PRINT_LOG_FILTER_RING_H
#define DXR_PRINT_LOG_FILTER_RING_H

#include <cstdint>
#include <optional>

#include "dxr/print_log_filter_store.h"

namespace dxr {

class LogRing {
  public:
    // The ring of a type of the store, which need not exist.
    explicit LogRing(uint32_t logType) noexcept : logType_(logType), own_(nullptr) {}
    // The ring of a record: of the store, or the host's own.
    explicit LogRing(DxrLogFilterInfo *record) noexcept;

    // Takes the entries out, oldest first, that an hour or more has passed over, up to the first
    // younger one.
    void Age(uint32_t now) noexcept;
    // Position of the oldest live entry with the hash.
    [[nodiscard]] std::optional<uint32_t> Find(uint32_t hash) noexcept;
    // Remembers a line after the newest one, in place of the oldest where the ring cannot grow.
    void Add(uint32_t hash, uint32_t key1);
    // Whether `interval` seconds have passed since the line was last let through. So it is if its
    // entry is gone.
    [[nodiscard]] bool IsDue(uint32_t position, uint32_t interval, uint32_t now) const noexcept;
    // Notes that the line is let through now.
    void LetThrough(uint32_t position);
    // Counts a suppressed repeat.
    void Count(uint32_t position) noexcept;

    // Makes room for one entry more where the ring may still grow.
    void Grow();
    void Resize(uint32_t newCapacity);
    // No entry is live any more; the storage stays.
    void Clear() noexcept;
    // Gives the storage back; the counters stay.
    void Release();

    // Whether the next look-up needs no pass over the ring.
    [[nodiscard]] bool IsIndexed() const noexcept;

  private:
    [[nodiscard]] DxrLogFilterInfo *Record() const noexcept {
        return own_ != nullptr ? own_ : DXR_GetLogFilter(logType_);
    }
    [[nodiscard]] DxrLogFilterEntry *At(uint32_t position) const noexcept;

    uint32_t logType_;
    DxrLogFilterInfo *own_;  // null: the store's
};

// The look-up as it is meant, entry by entry: position of the oldest live entry with the hash, or
// the capacity.
[[nodiscard]] uint32_t WalkRing(const DxrLogFilterInfo &record, uint32_t hash) noexcept;

}  // namespace dxr

#endif  // DXR_PRINT_LOG_FILTER_RING_H
