// What boards say to each other: frames, each with any number of messages and acknowledgements.
// Numbers are little-endian.
#ifndef DXR_DEVHOST_MESSAGE_WIRE_H
#define DXR_DEVHOST_MESSAGE_WIRE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "message_transport.h"

namespace devhost {

// Bytes of a frame that says nothing, and of what is added to it.
constexpr size_t kEmptyFrame = 4;
size_t FrameBytesOf(const Letter &letter);
size_t FrameBytesOf(const Acknowledgement &acknowledgement);

// Writes a frame to where there is room for all that is added.
class FrameWriter {
  public:
    explicit FrameWriter(void *to);
    void Add(const Letter &letter);
    void Add(const Acknowledgement &acknowledgement);

  private:
    std::byte *to_;
};

// Bytes of a frame with one message: of the largest one, a header included.
constexpr size_t kLargestFrameOfOne = DXR_HOST_MESSAGE_BYTES + 64;

// Adds what a frame says to the lists. False when it says something else from somewhere on; what
// stands before that is taken. Units are looked at, but not where they are.
bool ReadFrame(const void *data, size_t size, Letters &letters,
               std::vector<Acknowledgement> &acknowledgements);

}  // namespace devhost

#endif  // DXR_DEVHOST_MESSAGE_WIRE_H
