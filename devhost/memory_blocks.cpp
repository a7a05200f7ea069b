#include "memory_blocks.h"

#include <sys/mman.h>

#include <algorithm>
#include <new>

// There when the leak sanitizer is: it looks for pointers in the blocks too.
extern "C" {
[[gnu::weak]] void __lsan_register_root_region(const void *begin, size_t size);
[[gnu::weak]] void __lsan_unregister_root_region(const void *begin, size_t size);
}

namespace devhost {
namespace {

using blocks::kRooms;
using blocks::kSpan;

constexpr size_t kMostReserved = size_t{16} << 30;
constexpr size_t kLeastReserved = size_t{64} << 20;

void *Reserve(size_t size) {
    void *const begin = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return begin != MAP_FAILED ? begin : nullptr;
}

void Unreserve(void *begin, size_t size) {
    if (begin != nullptr) {
        (void)munmap(begin, size);
    }
}

}  // namespace

Blocks::Blocks() {
    for (reserved_ = kMostReserved; reserved_ >= kLeastReserved; reserved_ /= 2) {
        base_ = static_cast<std::byte *>(Reserve(reserved_));
        spans_ = static_cast<Span *>(Reserve(SizeOfSpans(reserved_)));
        infos_ = static_cast<BlockInfo *>(Reserve(SizeOfInfos(reserved_)));
        if (base_ != nullptr && spans_ != nullptr && infos_ != nullptr) {
            lastGuard_ = reserved_ - blocks::kGuard;
            reservedInfos_ = static_cast<uint32_t>(SizeOfInfos(reserved_) / sizeof(BlockInfo));
            return;
        }
        GiveUp();
    }
    throw std::bad_alloc();
}

Blocks::~Blocks() {
    for (size_t at = 0; at < usedBytes_ / kSpan; ++at) {
        if (__lsan_unregister_root_region != nullptr) {
            __lsan_unregister_root_region(base_ + at * kSpan, kSpan);
        }
    }
    GiveUp();
}

void Blocks::GiveUp() {
    Unreserve(base_, reserved_);
    Unreserve(spans_, SizeOfSpans(reserved_));
    Unreserve(infos_, SizeOfInfos(reserved_));
}

size_t Blocks::SizeOfSpans(size_t reserved) {
    return reserved / kSpan * sizeof(Span);
}

// One more than there can be: an address after the last room asks for it.
size_t Blocks::SizeOfInfos(size_t reserved) {
    return (std::min<size_t>(reserved / blocks::kLeastRoom, blocks::kMostRooms) + 1) *
           sizeof(BlockInfo);
}

bool Blocks::BeginSpan(Common &common, uint32_t number) {
    const size_t at = usedBytes_ / kSpan;
    if (at == reserved_ / kSpan) {
        return false;
    }
    const uint32_t room = kRooms[number / RoomRings::kStride];
    const auto count = static_cast<uint32_t>(kSpan / room);
    const uint32_t first = usedInfos_;
    if (count > blocks::kMostRooms - first) {
        return false;
    }
    std::byte *const begin = base_ + at * kSpan;
    for (uint32_t i = 0; i < count; ++i) {
        auto *const info = new (&infos_[first + i]) BlockInfo;
        info->bytes = begin + size_t{i} * room + blocks::kGuard;
        info->ring = number;
        info->front = blocks::FrontGuardOf(first + i);
    }
    spans_[at] = {first, static_cast<uint32_t>((uint64_t{1} << 32) / room + 1)};
    if (__lsan_register_root_region != nullptr) {
        __lsan_register_root_region(begin, kSpan);
    }
    common.nextUnused = &infos_[first];
    common.endUnused = common.nextUnused + count;
    usedInfos_ = first + count;
    usedBytes_ = (at + 1) * kSpan;
    return true;
}

bool Blocks::Refill(RoomRing &ring, uint32_t number) {
    const std::lock_guard lock(mutex_);
    Common &common = common_[number / RoomRings::kStride];
    constexpr uint32_t kWanted = blocks::kRingRoom - 16;
    while (ring.Count() < kWanted) {
        if (common.rooms.size() > blocks::kAtRest) {
            ring.Push(common.rooms.front());
            common.rooms.pop_front();
        } else if (common.nextUnused != common.endUnused || BeginSpan(common, number)) {
            ring.Push(common.nextUnused++);
        } else {
            break;
        }
    }
    return ring.Count() != 0;
}

void Blocks::Spill(RoomRing &ring, uint32_t number) {
    const std::lock_guard lock(mutex_);
    while (ring.Count() > blocks::kAtRest) {
        common_[number / RoomRings::kStride].rooms.push_back(ring.Pop());
    }
}

}  // namespace devhost
