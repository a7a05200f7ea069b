// A ring of records of any length between one thread that writes and one that reads.
#ifndef DXR_TRACE_RING_H
#define DXR_TRACE_RING_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace dxr_trace {

class Ring {
  public:
    // A power of two. Throws std::bad_alloc.
    explicit Ring(size_t bytes);

    // Of the writer: room for a record that the reader sees after Commit; null when there is none,
    // or when a record of that size never fits. Aligned to 8.
    [[nodiscard]] std::byte *Reserve(size_t size);
    void Commit();
    [[nodiscard]] bool IsHalfFull();

    // Of the reader: the oldest record; empty when there is none. It stays until Release.
    [[nodiscard]] std::span<const std::byte> Front();
    void Release();

    // Of both.
    [[nodiscard]] size_t Filled() const;
    [[nodiscard]] size_t Size() const { return size_; }
    // The longest record that always finds room in an empty ring.
    [[nodiscard]] size_t LongestRecord() const { return size_ / 2 - kHeadSize; }

  private:
    // Before each record: its size, with the highest bit set for what only fills the end.
    using Head = uint64_t;
    static constexpr size_t kHeadSize = sizeof(Head);
    static constexpr Head kSkip = Head{1} << 63;

    struct Deleter {
        void operator()(void *block) const;
    };

    [[nodiscard]] size_t Place(uint64_t position) const {
        return static_cast<size_t>(position) & (size_ - 1);
    }
    void WriteHead(uint64_t position, Head head);
    [[nodiscard]] Head ReadHead(uint64_t position) const;

    size_t size_;
    std::unique_ptr<std::byte, Deleter> bytes_;
    // Each side's counters on a cache line of their own. They count bytes and never wrap.
    alignas(64) std::atomic<uint64_t> written_ = 0;
    uint64_t reserved_ = 0;   // where the reserved record ends
    uint64_t knownRead_ = 0;  // what the writer last saw of read_
    alignas(64) std::atomic<uint64_t> read_ = 0;
    uint64_t frontEnd_ = 0;
};

}  // namespace dxr_trace

#endif  // DXR_TRACE_RING_H
