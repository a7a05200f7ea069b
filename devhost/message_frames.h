// What waits to leave for a board: messages or acknowledgements, in frames as they will be sent.
#ifndef DXR_DEVHOST_MESSAGE_FRAMES_H
#define DXR_DEVHOST_MESSAGE_FRAMES_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "clock.h"
#include "message_transport.h"
#include "message_wire.h"

namespace devhost {

// All frames have the same room: for the largest message, or for many.
constexpr size_t kFrameBytes = kFrameHeadBytes + MessageBytes(DXR_HOST_MESSAGE_BYTES);

// A message with so much data has a frame of its own, which is filled without a lock.
constexpr uint32_t kAloneBytes = 16384;

// A frame that is being filled.
struct Frame {
    // Throws std::bad_alloc.
    Frame();

    // Records up to there waited at that moment.
    struct Seen {
        size_t end;
        uint64_t ns;
    };

    std::unique_ptr<std::byte[]> data;
    size_t size = kFrameHeadBytes;
    bool isClosed = false;   // to other records
    uint32_t count = 0;      // of records
    uint64_t dataBytes = 0;  // of messages
    size_t board = 0;        // that it was sent to
    std::vector<Seen> seen;
    uint64_t dueNs = kForever;  // none of those that were seen is given up before
    uint64_t patienceNs;        // of those that were not, the shortest
};

// Frames go from list to list; that never fails.
using Frames = std::list<Frame>;

// How long a message waits for its board when that takes nothing: no longer than its sender waits
// for the answer.
constexpr uint64_t kPatienceNs = uint64_t{DXR_HOST_PATIENCE_MS} * kNsPerMs;
uint64_t PatienceFor(uint32_t flags, uint32_t timeoutMs);

// Makes a frame with that message alone, of a new one that is in the list, or else one more. Throws
// std::bad_alloc.
void FillAlone(const DxrHostMessage &message, Frames &alone);

// Makes a frame as good as new.
void Renew(Frame &frame);

class FrameQueue {
  public:
    [[nodiscard]] bool IsEmpty() const { return frames_.empty(); }
    [[nodiscard]] size_t Count() const { return count_; }  // records

    // Adds to the last frame, or to a new one: of the spare ones, if there are any. Throws
    // std::bad_alloc; then nothing has changed.
    void Add(const DxrHostMessage &message, Frames &spare);
    void Add(const Acknowledgement &acknowledgement, Frames &spare);
    void Add(Frames &alone);

    // The first frame; to have it back when it could not leave.
    void TakeFirst(Frames &to);
    void PutBack(Frames &from);
    void TakeAll(Frames &to);

    struct Given {
        uint64_t count = 0;
        uint64_t dataBytes = 0;
    };

    // Gives up what was seen waiting for too long, then sees what waits. `tookNs` is when the board
    // took something last. Adds what was given up; frames that nothing is left of go to the list.
    // Throws std::bad_alloc: then what is new was not seen.
    void Look(uint64_t nowNs, uint64_t tookNs, Given &given, Frames &gone);

    // When to look again.
    [[nodiscard]] uint64_t DueNs() const { return dueNs_; }

  private:
    std::byte *MakeRoom(size_t bytes, Frames &spare);
    void Added(size_t bytes, uint32_t dataBytes, uint64_t patienceNs);

    Frames frames_;
    size_t count_ = 0;
    uint64_t dueNs_ = kForever;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_MESSAGE_FRAMES_H
