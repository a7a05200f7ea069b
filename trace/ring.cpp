#include "ring.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace dxr_trace {
namespace {

constexpr size_t kAlignment = 64;

constexpr size_t RoundedUp(size_t size) {
    return (size + 7) & ~size_t{7};
}

// Fresh pages are not touched before they are used.
std::byte *Allocated(size_t bytes) {
    auto *const block = static_cast<std::byte *>(std::aligned_alloc(kAlignment, bytes));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace

void Ring::Deleter::operator()(void *block) const {
    std::free(block);
}

Ring::Ring(size_t bytes) : size_(bytes), bytes_(Allocated(bytes)) {
}

void Ring::WriteHead(uint64_t position, Head head) {
    std::memcpy(bytes_.get() + Place(position), &head, sizeof(head));
}

Ring::Head Ring::ReadHead(uint64_t position) const {
    Head head = 0;
    std::memcpy(&head, bytes_.get() + Place(position), sizeof(head));
    return head;
}

// A record lies in one piece: when it would reach beyond the end, what is left there is skipped.
std::byte *Ring::Reserve(size_t size) {
    if (size > LongestRecord()) {
        return nullptr;
    }
    const size_t needed = kHeadSize + RoundedUp(size);
    const uint64_t written = written_.load(std::memory_order_relaxed);
    const size_t toEnd = size_ - Place(written);
    const size_t skipped = needed > toEnd ? toEnd : 0;
    if (written + skipped + needed - knownRead_ > size_) {
        knownRead_ = read_.load(std::memory_order_acquire);
        if (written + skipped + needed - knownRead_ > size_) {
            return nullptr;
        }
    }
    if (skipped != 0) {
        WriteHead(written, kSkip | skipped);
    }
    WriteHead(written + skipped, size);
    reserved_ = written + skipped + needed;
    return bytes_.get() + Place(written + skipped) + kHeadSize;
}

void Ring::Commit() {
    written_.store(reserved_, std::memory_order_release);
}

// What the reader has done since the writer last looked may be more.
bool Ring::IsHalfFull() {
    const uint64_t written = written_.load(std::memory_order_relaxed);
    if (written - knownRead_ <= size_ / 2) {
        return false;
    }
    knownRead_ = read_.load(std::memory_order_acquire);
    return written - knownRead_ > size_ / 2;
}

std::span<const std::byte> Ring::Front() {
    const uint64_t written = written_.load(std::memory_order_acquire);
    uint64_t read = read_.load(std::memory_order_relaxed);
    if (read == written) {
        return {};
    }
    Head head = ReadHead(read);
    if ((head & kSkip) != 0) {
        read += head & ~kSkip;
        head = ReadHead(read);
    }
    const auto size = static_cast<size_t>(head);
    frontEnd_ = read + kHeadSize + RoundedUp(size);
    return {bytes_.get() + Place(read) + kHeadSize, size};
}

void Ring::Release() {
    read_.store(frontEnd_, std::memory_order_release);
}

size_t Ring::Filled() const {
    const uint64_t read = read_.load(std::memory_order_acquire);
    return static_cast<size_t>(written_.load(std::memory_order_acquire) - read);
}

}  // namespace dxr_trace
