// The blocks that the memory service gives out: rooms of some sixty sizes in one large reservation,
// what is known of each kept apart from it. So any address can be looked up without touching what
// it points at, and a module that writes beyond its block cannot spoil the bookkeeping.
//
// Each thread keeps released rooms of its own in rings, and uses the oldest again. Only when a ring
// is full or empty the rooms in common are asked for, under a lock.
#ifndef DXR_DEVHOST_MEMORY_BLOCKS_H
#define DXR_DEVHOST_MEMORY_BLOCKS_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace devhost {

struct Site;

// What is known of a block, while it lives and until its room is used again.
struct BlockInfo {
    static constexpr uint32_t kNever = 0;
    static constexpr uint32_t kLive = 1;
    static constexpr uint32_t kReleased = 2;

    std::atomic<uint32_t> state{kNever};
    uint32_t size = 0;
    uint64_t serial = 0;
    const Site *made = nullptr;
    std::atomic<const Site *> released{nullptr};
};

namespace blocks {

constexpr size_t kGuard = 16;  // bytes before and at least as many after a block
constexpr size_t kStep = 16;
constexpr size_t kLargestFineRoom = 1024;
constexpr size_t kLargestRoom = 8192;
constexpr size_t kSpan = size_t{64} * 1024;  // rooms of one size lie together in so many bytes
constexpr size_t kSizes = kLargestFineRoom / kStep + 12;
constexpr uint32_t kRingRoom = 64;
constexpr uint32_t kAtRest = 32;  // rooms that a ring keeps unused

// The sizes of rooms: each 16 bytes up to 1024, then four to each doubling.
constexpr std::array<uint32_t, kSizes> kRooms = [] {
    std::array<uint32_t, kSizes> rooms{};
    size_t at = 0;
    for (size_t size = kStep; size <= kLargestFineRoom; size += kStep) {
        rooms[at++] = static_cast<uint32_t>(size);
    }
    for (size_t size = kLargestFineRoom; size < kLargestRoom; size *= 2) {
        for (size_t quarter = 1; quarter <= 4; ++quarter) {
            rooms[at++] = static_cast<uint32_t>(size + quarter * size / 4);
        }
    }
    return rooms;
}();

// From the number of 16 bytes to the size that holds them.
constexpr std::array<uint8_t, kLargestRoom / kStep + 1> kSizeOf = [] {
    std::array<uint8_t, kLargestRoom / kStep + 1> sizes{};
    size_t size = 0;
    for (size_t steps = 0; steps < sizes.size(); ++steps) {
        while (kRooms[size] < steps * kStep) {
            ++size;
        }
        sizes[steps] = static_cast<uint8_t>(size);
    }
    return sizes;
}();

}  // namespace blocks

// The released rooms of one size that one thread has, the oldest first. A room is the number of its
// span and its own in the span.
struct RoomRing {
    std::array<uint32_t, blocks::kRingRoom> rooms;
    uint32_t first = 0;
    uint32_t count = 0;

    void Push(uint32_t room) { rooms[(first + count++) % blocks::kRingRoom] = room; }
    uint32_t Pop() {
        const uint32_t room = rooms[first];
        first = (first + 1) % blocks::kRingRoom;
        --count;
        return room;
    }
};

using RoomRings = std::array<RoomRing, blocks::kSizes>;

class Blocks {
  public:
    struct Block {
        std::byte *bytes = nullptr;
        BlockInfo *info = nullptr;
    };

    Blocks();
    ~Blocks();
    Blocks(const Blocks &) = delete;
    Blocks &operator=(const Blocks &) = delete;
    Blocks(Blocks &&) = delete;
    Blocks &operator=(Blocks &&) = delete;

    // The largest block that has a room here.
    static constexpr uint32_t kLargest = blocks::kLargestRoom - 2 * blocks::kGuard;

    // A room for a block of at most kLargest bytes; no bytes when there is none.
    Block Take(RoomRings &rings, uint32_t size) {
        const size_t sizeClass = ClassOf(size);
        RoomRing &ring = rings[sizeClass];
        if (ring.count <= blocks::kAtRest && !Refill(ring, sizeClass)) [[unlikely]] {
            return {};
        }
        const uint32_t room = ring.Pop();
        const Span &span = spans_[room >> kIndexBits];
        const uint32_t index = room & kIndexMask;
        return {base_ + (room >> kIndexBits) * blocks::kSpan + size_t{index} * span.room +
                    blocks::kGuard,
                &span.infos[index]};
    }

    // Gives the room of a block back.
    void Give(RoomRings &rings, const Block &block) {
        const auto offset = static_cast<size_t>(block.bytes - base_);
        const size_t at = offset / blocks::kSpan;
        const Span &span = spans_[at];
        RoomRing &ring = rings[span.sizeClass];
        if (ring.count == blocks::kRingRoom) [[unlikely]] {
            Spill(ring, span.sizeClass);
        }
        ring.Push(static_cast<uint32_t>(at << kIndexBits) |
                  static_cast<uint32_t>(block.info - span.infos));
    }

    // What is known of the block that begins at an address; null when no block ever began there.
    [[nodiscard]] BlockInfo *Find(const void *address) const {
        const auto offset = reinterpret_cast<uintptr_t>(address) -
                            reinterpret_cast<uintptr_t>(base_) - blocks::kGuard;
        if (offset >= reserved_) {
            return nullptr;
        }
        const Span &span = spans_[offset / blocks::kSpan];
        BlockInfo *const infos = span.infos;
        if (infos == nullptr) {
            return nullptr;
        }
        const auto within = static_cast<uint32_t>(offset % blocks::kSpan);
        const auto index = static_cast<uint32_t>((uint64_t{within} * span.reciprocal) >> 32);
        return index < span.count && index * span.room == within ? &infos[index] : nullptr;
    }

    // Tells whether the address lies in rooms.
    [[nodiscard]] bool Holds(const void *address) const {
        return reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(base_) <
               reserved_;
    }

    // Calls `visit` with each block that lives. Only while nobody allocates.
    template <typename Visit>
    void ForEachLive(Visit visit) const {
        for (size_t at = 0; at < usedSpans_; ++at) {
            const Span &span = spans_[at];
            for (uint32_t index = 0; index < span.count; ++index) {
                if (span.infos[index].state.load(std::memory_order_acquire) == BlockInfo::kLive) {
                    visit(span.infos[index]);
                }
            }
        }
    }

  private:
    struct Span {
        uint32_t room;
        uint32_t count;
        uint32_t reciprocal;  // of room, times 2^32, rounded up
        uint32_t sizeClass;
        BlockInfo *infos;  // set last
    };

    struct Common {
        std::deque<uint32_t> rooms;  // released, the oldest first
        uint32_t span = 0;           // rooms of it that were never used
        uint32_t nextUnused = 0;
        uint32_t count = 0;
    };

    static constexpr uint32_t kIndexBits = 12;
    static constexpr uint32_t kIndexMask = (1U << kIndexBits) - 1;

    static size_t ClassOf(uint32_t size) {
        return blocks::kSizeOf[(size + 2 * blocks::kGuard + blocks::kStep - 1) / blocks::kStep];
    }
    bool Refill(RoomRing &ring, size_t sizeClass);
    void Spill(RoomRing &ring, size_t sizeClass);
    bool BeginSpan(Common &common, size_t sizeClass);

    std::byte *base_ = nullptr;
    size_t reserved_ = 0;
    Span *spans_ = nullptr;
    std::mutex mutex_;  // guards what follows, and the making of spans
    std::atomic<size_t> usedSpans_{0};
    std::array<Common, blocks::kSizes> common_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_MEMORY_BLOCKS_H
