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

// Who made a block, and whether it lives, in one word: who releases a block changes just what it
// saw. 0 for a room that was never used.
class BlockState {
  public:
    BlockState() = default;
    static BlockState Live(const Site *made) {
        return BlockState(reinterpret_cast<uintptr_t>(made) | kLiveBit);
    }

    [[nodiscard]] bool IsLive() const { return (word_ & kLiveBit) != 0; }
    [[nodiscard]] bool IsReleased() const { return word_ != 0 && !IsLive(); }
    [[nodiscard]] BlockState Released() const { return BlockState(word_ & ~kLiveBit); }
    [[nodiscard]] const Site *Made() const {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the pointer that it was
        return reinterpret_cast<const Site *>(word_ & ~kLiveBit);
    }

  private:
    static constexpr uintptr_t kLiveBit = 1;  // no site has an odd address

    explicit BlockState(uintptr_t word) : word_(word) {}
    uintptr_t word_ = 0;
};

// What is known of a room and of the block in it, while that lives and until the room is used
// again.
struct BlockInfo {
    std::atomic<BlockState> state{};
    std::byte *bytes = nullptr;  // of the block
    uint64_t serial = 0;
    uint32_t size = 0;
    uint32_t sizeClass = 0;  // of the room
    std::atomic<const Site *> released{nullptr};

    [[nodiscard]] const Site *Made() const { return state.load(std::memory_order_relaxed).Made(); }
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

// The released rooms of one size that one thread has, the oldest first.
class RoomRing {
  public:
    [[nodiscard]] uint32_t Count() const { return last_ - first_; }
    void Push(BlockInfo *room) { rooms_[last_++ % blocks::kRingRoom] = room; }
    BlockInfo *Pop() { return rooms_[first_++ % blocks::kRingRoom]; }

  private:
    static_assert((blocks::kRingRoom & (blocks::kRingRoom - 1)) == 0);

    std::array<BlockInfo *, blocks::kRingRoom> rooms_;
    uint32_t first_ = 0;
    uint32_t last_ = 0;
};

using RoomRings = std::array<RoomRing, blocks::kSizes>;

class Blocks {
  public:
    Blocks();
    ~Blocks();
    Blocks(const Blocks &) = delete;
    Blocks &operator=(const Blocks &) = delete;
    Blocks(Blocks &&) = delete;
    Blocks &operator=(Blocks &&) = delete;

    // The largest block that has a room here.
    static constexpr uint32_t kLargest = blocks::kLargestRoom - 2 * blocks::kGuard;

    // A room for a block of at most kLargest bytes; null when there is none.
    BlockInfo *Take(RoomRings &rings, uint32_t size) {
        const size_t sizeClass = ClassOf(size);
        RoomRing &ring = rings[sizeClass];
        if (ring.Count() <= blocks::kAtRest && !Refill(ring, sizeClass)) [[unlikely]] {
            return nullptr;
        }
        return ring.Pop();
    }

    // The ring of such rooms when it has some to give.
    static RoomRing *RingWith(RoomRings &rings, uint32_t size) {
        RoomRing &ring = rings[ClassOf(size)];
        return ring.Count() > blocks::kAtRest ? &ring : nullptr;
    }

    // Gives a room back.
    void Give(RoomRings &rings, BlockInfo &room) {
        RoomRing &ring = rings[room.sizeClass];
        if (ring.Count() == blocks::kRingRoom) [[unlikely]] {
            Spill(ring, room.sizeClass);
        }
        ring.Push(&room);
    }

    // What is known of the block that begins at an address; null when none can begin there.
    [[nodiscard]] BlockInfo *Find(const void *address) const {
        const auto offset = reinterpret_cast<uintptr_t>(address) -
                            reinterpret_cast<uintptr_t>(base_) - blocks::kGuard;
        if (offset >= reserved_) {
            return nullptr;
        }
        const Span &span = spans_[offset / blocks::kSpan];
        const auto within = static_cast<uint32_t>(offset % blocks::kSpan);
        const auto index = static_cast<uint32_t>((uint64_t{within} * span.reciprocal) >> 32);
        return index * span.room == within && span.infos != nullptr ? &span.infos[index] : nullptr;
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
                if (span.infos[index].state.load(std::memory_order_acquire).IsLive()) {
                    visit(span.infos[index]);
                }
            }
        }
    }

  private:
    struct alignas(32) Span {
        uint32_t room;
        uint32_t reciprocal;  // of room, times 2^32, rounded up
        uint32_t count;
        BlockInfo *infos;  // set last; one more than there are rooms, for the bytes after them
    };

    struct Common {
        std::deque<BlockInfo *> rooms;    // released, the oldest first
        BlockInfo *nextUnused = nullptr;  // of a span whose rooms were never used
        BlockInfo *endUnused = nullptr;
    };

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
