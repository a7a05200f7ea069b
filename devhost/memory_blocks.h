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
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace devhost {

struct Maker;
struct Site;

// Who made a block, and whether it lives, in one word. 0 for a room that was never used.
class BlockState {
  public:
    BlockState() = default;
    static BlockState Live(const Maker *maker) {
        return BlockState(reinterpret_cast<uintptr_t>(maker) | kLiveBit);
    }

    [[nodiscard]] bool IsLive() const { return (word_ & kLiveBit) != 0; }
    [[nodiscard]] bool IsReleased() const { return word_ != 0 && !IsLive(); }
    [[nodiscard]] BlockState Released() const { return BlockState(word_ & ~kLiveBit); }
    [[nodiscard]] const Maker *Made() const {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the pointer that it was
        return reinterpret_cast<const Maker *>(word_ & ~kLiveBit);
    }
    bool operator==(const BlockState &) const = default;

  private:
    static constexpr uintptr_t kLiveBit = 1;  // no maker has an odd address

    explicit BlockState(uintptr_t word) : word_(word) {}
    uintptr_t word_ = 0;
};

namespace blocks {

constexpr size_t kGuard = 16;  // bytes before and at least as many after a block
constexpr uint32_t kGuardWord = 0xFDFDFDFD;

// What stands in front of a block. The first word is the index of what is known of it; a block that
// has no room has guard bytes there too.
using FrontGuard = std::array<uint32_t, kGuard / sizeof(uint32_t)>;
constexpr FrontGuard FrontGuardOf(uint32_t index) {
    return {index, kGuardWord, kGuardWord, kGuardWord};
}

}  // namespace blocks

// What is known of a room and of the block in it, while that lives and until the room is used
// again. In a cache line of its own.
struct alignas(64) BlockInfo {
    std::atomic<BlockState> state{};
    std::byte *bytes = nullptr;  // of the block
    alignas(blocks::kGuard) blocks::FrontGuard front = blocks::FrontGuardOf(blocks::kGuardWord);
    uint64_t serial = 0;
    uint32_t size = 0;
    uint32_t ring = 0;  // where rooms of that size are kept
    std::atomic<const Site *> released{nullptr};

    [[nodiscard]] const Maker *Made() const { return state.load(std::memory_order_relaxed).Made(); }
};

namespace blocks {

constexpr size_t kStep = 16;
constexpr size_t kLargestFineRoom = 1024;
constexpr size_t kLargestRoom = 8192;
constexpr size_t kSpan = size_t{64} * 1024;  // rooms of one size lie together in so many bytes
constexpr size_t kSizes = kLargestFineRoom / kStep + 12;
constexpr uint32_t kMostRooms = 1U << 26;
constexpr size_t kLeastRoom = 48;  // a byte and its guards
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
    [[nodiscard]] bool HasToGive() const { return Count() > blocks::kAtRest; }
    void Push(BlockInfo *room) { rooms_[last_++ % blocks::kRingRoom] = room; }
    // False, and nothing is done, when the ring is full.
    bool TryPush(BlockInfo *room) {
        if (Count() == blocks::kRingRoom) [[unlikely]] {
            return false;
        }
        Push(room);
        return true;
    }
    BlockInfo *Pop() { return rooms_[first_++ % blocks::kRingRoom]; }

  private:
    static_assert((blocks::kRingRoom & (blocks::kRingRoom - 1)) == 0);

    std::array<BlockInfo *, blocks::kRingRoom> rooms_;
    uint32_t first_ = 0;
    uint32_t last_ = 0;
};

// The rings of all sizes. The number of one is its distance from the first, as it is quickest.
class RoomRings {
  public:
    static constexpr uint32_t kUnit = 8;
    static constexpr uint32_t kStride = sizeof(RoomRing) / kUnit;
    static_assert(sizeof(RoomRing) % kUnit == 0);

    RoomRing &operator[](uint32_t ring) {
        return *reinterpret_cast<RoomRing *>(reinterpret_cast<std::byte *>(rings_.data()) +
                                             size_t{ring} * kUnit);
    }

  private:
    std::array<RoomRing, blocks::kSizes> rings_;
};

namespace blocks {

// From the number of 16 bytes to the ring of the rooms that hold them.
constexpr std::array<uint16_t, kSizeOf.size()> kRingOf = [] {
    std::array<uint16_t, kSizeOf.size()> rings{};
    for (size_t steps = 0; steps < rings.size(); ++steps) {
        rings[steps] = static_cast<uint16_t>(kSizeOf[steps] * RoomRings::kStride);
    }
    return rings;
}();
static_assert(kSizes * RoomRings::kStride <= 0xFFFF);

}  // namespace blocks

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
        const uint32_t number = RingOf(size);
        RoomRing &ring = rings[number];
        if (!ring.HasToGive() && !Refill(ring, number)) [[unlikely]] {
            return nullptr;
        }
        return ring.Pop();
    }

    // The ring of such rooms.
    static RoomRing &RingFor(RoomRings &rings, uint32_t size) { return rings[RingOf(size)]; }

    // Gives a room back.
    void Give(RoomRings &rings, BlockInfo &room) {
        RoomRing &ring = rings[room.ring];
        if (ring.Count() == blocks::kRingRoom) [[unlikely]] {
            Spill(ring, room.ring);
        }
        ring.Push(&room);
    }

    // As Find, by the index that stands in front of a block; null also when that is spoilt. What
    // was never used is zero, and no block's.
    [[nodiscard]] BlockInfo *FindQuickly(const void *address) const {
        const auto offset = reinterpret_cast<uintptr_t>(address) -
                            reinterpret_cast<uintptr_t>(base_) - blocks::kGuard;
        if (offset >= lastGuard_) [[unlikely]] {
            return nullptr;
        }
        uint32_t index = 0;
        std::memcpy(&index, static_cast<const std::byte *>(address) - blocks::kGuard,
                    sizeof(index));
        if (index >= reservedInfos_) [[unlikely]] {
            return nullptr;
        }
        BlockInfo &info = infos_[index];
        return info.bytes == address ? &info : nullptr;
    }

    // What is known of the block that begins at an address; null when none can begin there.
    [[nodiscard]] BlockInfo *Find(const void *address) const {
        const auto offset = reinterpret_cast<uintptr_t>(address) -
                            reinterpret_cast<uintptr_t>(base_) - blocks::kGuard;
        if (offset >= usedBytes_.load(std::memory_order_acquire)) {
            return nullptr;
        }
        const Span &span = spans_[offset / blocks::kSpan];
        const auto within = static_cast<uint32_t>(offset % blocks::kSpan);
        BlockInfo &info = infos_[span.first + ((uint64_t{within} * span.reciprocal) >> 32)];
        return info.bytes == address ? &info : nullptr;
    }

    // Tells whether the address lies in rooms.
    [[nodiscard]] bool Holds(const void *address) const {
        return reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(base_) <
               reserved_;
    }

    // Calls `visit` with each block that lives. Only while nobody allocates or releases.
    template <typename Visit>
    void ForEachLive(Visit visit) const {
        for (uint32_t index = 0; index < usedInfos_; ++index) {
            if (infos_[index].state.load(std::memory_order_acquire).IsLive()) {
                visit(infos_[index]);
            }
        }
    }

  private:
    struct Span {
        uint32_t first;       // of its rooms; there are others or none after the last one's
        uint32_t reciprocal;  // of the size of a room, times 2^32, rounded up
    };

    struct Common {
        std::deque<BlockInfo *> rooms;    // released, the oldest first
        BlockInfo *nextUnused = nullptr;  // of a span whose rooms were never used
        BlockInfo *endUnused = nullptr;
    };

    static uint32_t RingOf(uint32_t size) {
        return blocks::kRingOf[(size + 2 * blocks::kGuard + blocks::kStep - 1) / blocks::kStep];
    }
    bool Refill(RoomRing &ring, uint32_t number);
    void Spill(RoomRing &ring, uint32_t number);
    bool BeginSpan(Common &common, uint32_t number);
    void GiveUp();
    static size_t SizeOfSpans(size_t reserved);
    static size_t SizeOfInfos(size_t reserved);

    std::byte *base_ = nullptr;
    size_t reserved_ = 0;
    size_t lastGuard_ = 0;  // none begins there or after it
    uint32_t reservedInfos_ = 0;
    Span *spans_ = nullptr;
    BlockInfo *infos_ = nullptr;          // of all rooms, by their index
    std::atomic<uint32_t> usedInfos_{0};  // that are whole
    std::atomic<size_t> usedBytes_{0};    // of spans that are whole; grows last
    std::mutex mutex_;                    // guards what follows, and the making of spans
    std::array<Common, blocks::kSizes> common_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_MEMORY_BLOCKS_H
