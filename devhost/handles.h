// The opaque handles that modules hold: numbers that look like no address and tell what they stand
// for, whose they are and whether they still stand for anything.
#ifndef DXR_DEVHOST_HANDLES_H
#define DXR_DEVHOST_HANDLES_H

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "place.h"

namespace devhost {

enum class HandleType : uint8_t {
    kMutex = 1,
    kList,
    kListNode,
    kFile,
    kTimer,
    kHashTable,
    kHashEntry,
    kLogFilter,
    kMapping,
};

// "mutex", "list", ...
const char *NameOf(HandleType type);

class Handles {
  public:
    explicit Handles(uint32_t hostNumber)
        : hostNumber_(hostNumber), firstGeneration_((hostNumber >> kHostBits) * kHostStep) {}

    // A handle for an object; null without memory. The place is the one to be named later.
    void *Make(HandleType type, void *object, const Place &place);

    // What the handle stands for; null when it is none of that type of this host.
    //
    // The object may be ended by another thread as soon as it is found: a service looks up and ends
    // under one lock of its own, or keeps ended objects in place.
    [[nodiscard]] void *Find(const void *handle, HandleType type) const {
        const Slot *const slot = SlotOf(handle);
        return slot != nullptr && slot->value.load(std::memory_order_acquire) == handle &&
                       TypeOf(handle) == type
                   ? slot->object.load(std::memory_order_relaxed)
                   : nullptr;
    }

    // Ends the handle and gives what it stood for; null as above.
    void *End(const void *handle, HandleType type, const Place &place);

    // Why Find gave null: "a freed mutex, made by ..., freed by ...".
    std::string Explain(const void *handle, HandleType wanted);

    // Tells whether such a handle was ever given out; it may have ended since.
    bool WasMade(const void *handle, HandleType type);

    // Where a live handle was made.
    Place MadeAt(const void *handle);

  private:
    struct Slot {
        std::atomic<const void *> value{nullptr};  // the handle; null while there is none
        std::atomic<void *> object{nullptr};
        Place made;
        Place ended;
        uint32_t generation = 0;  // how often the index was given, from 1
        HandleType type{};
    };

    static constexpr uint32_t kChunkBits = 12;
    static constexpr uint32_t kChunkSize = 1U << kChunkBits;
    static constexpr uint32_t kIndexBits = 24;
    static constexpr uint32_t kIndexMask = (1U << kIndexBits) - 1;
    static constexpr uint32_t kHostBits = 4;
    static constexpr uint32_t kHostMask = (1U << kHostBits) - 1;
    static constexpr uint32_t kGenerations = 1U << 20;
    // Of the hosts that share their bits each begins to count elsewhere: multiples of the golden
    // section lie far apart, so that the handles of one that has ended are no other's.
    static constexpr uint32_t kHostStep = 0x9E377;
    static constexpr uint32_t kChunks = 1U << (kIndexBits - kChunkBits);

    static uint64_t Bits(const void *handle) { return reinterpret_cast<uint64_t>(handle); }
    static HandleType TypeOf(const void *handle) {
        return static_cast<HandleType>((Bits(handle) >> 48) & 0xFF);
    }
    [[nodiscard]] const void *Encode(HandleType type, uint32_t generation, uint32_t index) const;
    // The generation that the handle tells, counted as in its slot.
    [[nodiscard]] uint32_t GenerationOf(const void *handle) const {
        return (static_cast<uint32_t>(Bits(handle) >> kIndexBits) - firstGeneration_) %
               kGenerations;
    }
    [[nodiscard]] Slot *SlotOf(const void *handle) const {
        const auto index = static_cast<uint32_t>(Bits(handle)) & kIndexMask;
        Slot *const chunk = chunks_[index >> kChunkBits].load(std::memory_order_acquire);
        return chunk != nullptr ? &chunk[index & (kChunkSize - 1)] : nullptr;
    }

    const uint32_t hostNumber_;
    const uint32_t firstGeneration_;
    std::mutex mutex_;
    std::vector<uint32_t> free_;
    uint32_t used_ = 0;
    std::vector<std::unique_ptr<Slot[]>> owned_;
    std::array<std::atomic<Slot *>, kChunks> chunks_{};
};

}  // namespace devhost

#endif  // DXR_DEVHOST_HANDLES_H
