// What boards say to each other: frames, each with any number of messages and acknowledgements.
// Numbers are little-endian.
//
// A frame is a head and records, a record of a message its head, its data and zeros up to a
// multiple of kRecordUnit. So the data lies, in a copy of the records, where any type may lie.
#ifndef DXR_DEVHOST_MESSAGE_WIRE_H
#define DXR_DEVHOST_MESSAGE_WIRE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "message_chassis.h"
#include "message_transport.h"

namespace devhost {

constexpr size_t kRecordUnit = 16;
constexpr size_t kFrameHeadBytes = 8;
constexpr size_t kMessageHeadBytes = 48;
constexpr size_t kAcknowledgementBytes = 16;

// Bytes of the record of a message with so much data.
constexpr size_t MessageBytes(uint32_t dataBytes) {
    return kMessageHeadBytes + (size_t{dataBytes} + kRecordUnit - 1) / kRecordUnit * kRecordUnit;
}

// --- Written, each to where there is room for it

void WriteFrameHead(std::byte *to);
void WriteMessage(std::byte *to, const DxrHostMessage &message);
void WriteAcknowledgement(std::byte *to, const Acknowledgement &acknowledgement);

// What is asked about a record that was written here.
struct Written {
    size_t size;  // of the record
    uint32_t flags;
    uint32_t timeoutMs;
    uint32_t dataBytes;
};

Written LookAt(const std::byte *record);

// --- Read

// What came in frames. A letter has all that follow each other for one unit.
struct Incoming {
    Letters letters;
    uint64_t messages = 0;  // in them
    Letters spare;          // large letters, to be used for others
    std::vector<Acknowledgement> acknowledgements;
    uint64_t malformed = 0;  // frames that are none from somewhere on, and messages for others
};

// Adds what a frame says to what came: of one that says something else from somewhere on, what
// stands before that. Messages are for units of this board, and of other boards of the plan. Throws
// std::bad_alloc: then the rest of it is lost.
void ReadFrame(const void *data, size_t size, const ChassisPlan &plan, Incoming &incoming);

// Makes the next message of a letter its first. False when there is none.
bool ReadNext(Letter &letter);

}  // namespace devhost

#endif  // DXR_DEVHOST_MESSAGE_WIRE_H
