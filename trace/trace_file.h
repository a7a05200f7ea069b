// Reads recordings. What is there may be cut off anywhere, or damaged: all that stands before is
// given.
#ifndef DXR_TRACE_TRACE_FILE_H
#define DXR_TRACE_TRACE_FILE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pointers.h"
#include "slots.h"

namespace dxr_trace {

// What a pointer led to; the bytes are the file's.
struct TracedPiece {
    uint32_t place = 0;  // as PlaceOf makes it
    uint64_t whole = 0;  // bytes that there were; of a text that was not followed to its end, more
                         // than were kept
    std::string_view bytes;

    [[nodiscard]] bool IsText() const { return (place & kTextFlag) != 0; }
    [[nodiscard]] uint8_t Parameter() const { return place & 0xF; }
    // Of a pointer behind the parameter; kDirect for the parameter itself.
    [[nodiscard]] uint16_t Offset() const {
        const uint32_t behind = place >> kOffsetShift;
        return static_cast<uint16_t>(behind == 0 ? kDirect : behind - 1);
    }
};

// A call of a slot; or of a function that the host was given in one, then its words are its address
// and its arguments.
struct TracedCall {
    uint32_t thread = 0;  // from 1
    uint32_t depth = 0;   // calls of the thread that it was made within
    uint64_t sequence = 0;
    uint64_t beginNs = 0;  // since the recording began
    uint64_t durationNs = 0;
    uint64_t beginTicks = 0;
    uint64_t endTicks = 0;
    uint64_t result = 0;
    uint8_t slot = 0;
    uint8_t wordCount = 0;
    bool isCallback = false;
    bool hasReturned = false;
    bool hasResult = false;
    std::array<uint64_t, kMostParameters> words = {};
    std::vector<TracedPiece> in;
    std::vector<TracedPiece> out;
};

struct TracedThread {
    uint32_t number = 0;
    uint64_t systemId = 0;
    std::string name;
    bool hasBegun = false;  // the recording
    uint64_t dropped = 0;
};

// A function that this release does not have, or has with other arguments.
struct ForeignSlot {
    std::string name;
    uint64_t calls = 0;
};

enum class FileState {
    kWhole,
    kCut,      // no end; the writer crashed, or still writes
    kDamaged,  // bytes are not those that were written
    kForeign,  // no recording, or one of a later format
};

struct TraceFile {
    FileState state = FileState::kForeign;
    size_t goodBytes = 0;  // up to the end of the last good block
    std::string problem;   // a line for people, unless whole

    uint64_t processId = 0;
    uint64_t wallNs = 0;  // since 1970, when the recording began
    Follow follow = Follow::kNone;
    uint64_t dataBytes = 0;      // kept of each piece
    bool hasCallbacks = false;   // what hosts call is noted, too
    bool tellsWhoBegan = false;  // threads tell whether they began it
    std::string version;         // of the library that wrote it
    bool hasSlots = false;       // it tells which slots were filled, by number in this release
    std::array<bool, kSlotCount> filled = {};
    std::vector<ForeignSlot> foreign;   // their calls are not given
    std::vector<TracedThread> threads;  // by number
    std::vector<TracedCall> calls;      // in the order in which they began
    uint64_t dropped = 0;

    [[nodiscard]] const TracedThread *FindThread(uint32_t number) const;
};

// The bytes must stay as long as the pieces are used. Throws std::bad_alloc only.
[[nodiscard]] TraceFile ReadTraceFile(std::string_view bytes);

// "value", "request->key", "arg5+16", "result", "message".
[[nodiscard]] std::string PieceName(const SlotInfo &slot, const TracedPiece &piece);

}  // namespace dxr_trace

#endif  // DXR_TRACE_TRACE_FILE_H
