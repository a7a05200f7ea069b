#include "handles.h"

#include <new>

namespace devhost {
namespace {

// No address of a program begins like that.
constexpr uint64_t kMark = 0xA5;

}  // namespace

const char *NameOf(HandleType type) {
    switch (type) {
        case HandleType::kMutex:
            return "mutex";
        case HandleType::kList:
            return "list";
        case HandleType::kListNode:
            return "list node";
        case HandleType::kFile:
            return "file";
        case HandleType::kTimer:
            return "timer";
        case HandleType::kHashTable:
            return "hash table";
        case HandleType::kHashEntry:
            return "hash entry";
        case HandleType::kLogFilter:
            return "log filter";
        case HandleType::kMapping:
            return "mapping";
    }
    return "handle";
}

// From the top: mark 8 bits, type 8, host 4, generation 20, index 24.
const void *Handles::Encode(HandleType type, uint32_t generation, uint32_t index) const {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is no address
    return reinterpret_cast<const void *>(
        kMark << 56 | static_cast<uint64_t>(type) << 48 |
        static_cast<uint64_t>(hostNumber_ & kHostMask) << 44 |
        static_cast<uint64_t>((generation + firstGeneration_) % kGenerations) << kIndexBits |
        index);
}

void *Handles::Make(HandleType type, void *object, const Place &place) {
    const Place made{place.slot, ModuleCaller(place.address)};
    const std::lock_guard lock(mutex_);
    try {
        if (free_.empty()) {
            if (used_ > kIndexMask) {
                return nullptr;
            }
            if (used_ % kChunkSize == 0) {
                owned_.push_back(std::make_unique<Slot[]>(kChunkSize));
                chunks_[used_ >> kChunkBits].store(owned_.back().get(), std::memory_order_release);
            }
            free_.push_back(used_++);
        }
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
    const uint32_t index = free_.back();
    free_.pop_back();
    Slot &slot = owned_[index >> kChunkBits][index & (kChunkSize - 1)];
    const void *const value = Encode(type, ++slot.generation, index);
    slot.type = type;
    slot.made = made;
    slot.object.store(object, std::memory_order_relaxed);
    slot.value.store(value, std::memory_order_release);
    return const_cast<void *>(value);
}

void *Handles::End(const void *handle, HandleType type, const Place &place) {
    const Place ended{place.slot, ModuleCaller(place.address)};
    const std::lock_guard lock(mutex_);
    void *const object = Find(handle, type);
    if (object != nullptr) {
        const auto index = static_cast<uint32_t>(Bits(handle)) & kIndexMask;
        Slot &slot = owned_[index >> kChunkBits][index & (kChunkSize - 1)];
        slot.value.store(nullptr, std::memory_order_release);
        slot.ended = ended;
        // A handle is never given twice: an index that had all its generations has no other object.
        const bool isWornOut = (slot.generation + 1) % kGenerations == 0;
        try {
            if (!isWornOut) {
                free_.push_back(index);
            }
        } catch (const std::bad_alloc &) {
            // The index is not used again.
        }
    }
    return object;
}

std::string Handles::Explain(const void *handle, HandleType wanted) {
    const std::string name = NameOf(wanted);
    if (handle == nullptr) {
        return "null is no " + name;
    }
    if (Bits(handle) >> 56 != kMark) {
        return "an address that is no " + name;
    }
    if (((Bits(handle) >> 44) & kHostMask) != (hostNumber_ & kHostMask)) {
        return "a handle of another host";
    }
    Place made;
    Place ended;
    {
        const std::lock_guard lock(mutex_);
        const Slot *const slot = SlotOf(handle);
        if (slot == nullptr || slot->generation == 0) {
            return "a number that is no " + name;
        }
        if (TypeOf(handle) != wanted) {
            return std::string("a ") + NameOf(TypeOf(handle)) + " is no " + name;
        }
        const uint32_t generation = GenerationOf(handle);
        if (generation == 0 || generation > slot->generation) {
            return "a handle of another host";
        }
        if (generation != slot->generation || slot->type != wanted) {
            return "a freed " + name;
        }
        made = slot->made;
        ended = slot->ended;
    }
    // Describing waits for the loader, which may be opening a plug-in that makes handles: without
    // the lock.
    return "a freed " + name + ", made by " + Describe(made) + ", freed by " + Describe(ended);
}

bool Handles::WasMade(const void *handle, HandleType type) {
    const std::lock_guard lock(mutex_);
    const Slot *const slot = SlotOf(handle);
    const uint32_t generation = GenerationOf(handle);
    const auto index = static_cast<uint32_t>(Bits(handle)) & kIndexMask;
    return slot != nullptr && generation != 0 && generation <= slot->generation &&
           Encode(type, generation, index) == handle;
}

Place Handles::MadeAt(const void *handle) {
    const std::lock_guard lock(mutex_);
    const Slot *const slot = SlotOf(handle);
    return slot != nullptr ? slot->made : Place{};
}

}  // namespace devhost
