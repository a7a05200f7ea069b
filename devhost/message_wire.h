// What boards say to each other: frames, each with any number of messages and acknowledgements.
// Numbers are little-endian.
#ifndef DXR_DEVHOST_MESSAGE_WIRE_H
#define DXR_DEVHOST_MESSAGE_WIRE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "message_transport.h"

namespace devhost {

// A frame that is being written. It grows to the largest that it has held, and stays so.
class FrameWriter {
  public:
    void Begin();
    void Add(const Letter &letter);
    void Add(const Acknowledgement &acknowledgement);

    [[nodiscard]] const void *Data() const { return bytes_.data(); }
    [[nodiscard]] size_t Size() const { return bytes_.size(); }

  private:
    std::byte *Grow(size_t by);

    std::vector<std::byte> bytes_;
};

// Bytes of a frame with one message: of the largest one, a header included.
constexpr size_t kLargestFrameOfOne = DXR_HOST_MESSAGE_BYTES + 64;

// Adds what a frame says to the lists. False when it says something else from somewhere on; what
// stands before that is taken. Units are looked at, but not where they are.
bool ReadFrame(const void *data, size_t size, Letters &letters,
               std::vector<Acknowledgement> &acknowledgements);

}  // namespace devhost

#endif  // DXR_DEVHOST_MESSAGE_WIRE_H
