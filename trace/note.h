// Notes a call in the ring of its thread: one record before the hook, one after it, so that a call
// that never comes back is in the recording too.
#ifndef DXR_TRACE_NOTE_H
#define DXR_TRACE_NOTE_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace dxr_trace {

// As a record in the ring begins; words and pieces follow.
struct RawHead {
    uint8_t kind;
    uint8_t slot;
    uint8_t words;
    uint8_t pieces;
    uint32_t reserved;
    uint64_t ticks;
    uint64_t sequence;
};

// Its bytes follow, filled up to a multiple of 8.
struct RawPiece {
    uint32_t place;
    uint32_t kept;
    uint64_t whole;
};

constexpr size_t RawSize(size_t bytes) {
    return (bytes + 7) & ~size_t{7};
}

// The longest record with pieces of so many bytes each.
size_t LongestRawRecord(size_t dataBytes);

// One call. Leaves errno as it is.
class CallNote {
  public:
    // Before the hook. `message`: the finished text of a hook in the manner of printf, or null.
    CallNote(size_t slot, std::span<const uint64_t> words, const char *message);
    // After it.
    void End(uint64_t result) const;

  private:
    size_t slot_;
    std::span<const uint64_t> words_;
    uint32_t session_;
    bool isNoted_ = false;
    uint64_t sequence_ = 0;
    uint64_t begin_ = 0;
};

// One call of a function that the host was given in a slot's call. The words are the function and
// its arguments.
class CallbackNote {
  public:
    CallbackNote(size_t slot, std::span<const uint64_t> words);
    void End(uint64_t result) const;

  private:
    size_t slot_;
    uint32_t session_;
    bool isNoted_ = false;
    uint64_t sequence_ = 0;
};

}  // namespace dxr_trace

#endif  // DXR_TRACE_NOTE_H
