// What the list of slots says of each of them: names, widths, and what pointers lead to.
#ifndef DXR_TRACE_SLOTS_H
#define DXR_TRACE_SLOTS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace dxr_trace {

inline constexpr size_t kSlotCount = 226;
inline constexpr size_t kMostParameters = 7;
// Of what is looked at before a call, or after it; the text of a hook like printf is one.
inline constexpr size_t kMostPieces = 5;

// Of a parameter or result.
enum class Width : uint8_t { kNone, kU8, kU16, kU32, kU64, kPointer };

struct Parameter {
    const char *name;
    Width width;
};

enum class Direction : uint8_t {
    kIn = 1,
    kOut = 2,
    kInOut = 3,
    kBlock = 4,  // memory that the result gives to the caller
};

// How far a pointer leads. `first` and `second` of a rule are:
enum class Extent : uint8_t {
    kFixed,        // first: bytes
    kText,         // to a NUL
    kTextWithin,   // to a NUL; first: the parameter that counts the bytes at most
    kArgument,     // first: the parameter that counts the bytes
    kProduct,      // first, second: parameters whose product counts the bytes
    kResult,       // the result counts the bytes; first, second: as above, at most
    kRecord,       // the first uint32_t of what is pointed at counts the bytes
    kField,        // a uint32_t counts the bytes, first: so far from where parameter second points
    kFieldWithin,  // as kField, in the pointer's own record; second: where the room is counted
};

// In the place of a parameter.
inline constexpr uint8_t kResultPlace = 7;
// The formatted text of a function in the manner of printf.
inline constexpr uint8_t kMessagePlace = 8;
// Offset of a rule: the parameter itself is the pointer.
inline constexpr uint16_t kDirect = 0xFFFF;

struct PointerRule {
    const char *name;
    uint8_t parameter;  // or kResultPlace
    uint16_t offset;    // the pointer stands so far from where the parameter points; or kDirect
    Direction direction;
    Extent extent;
    uint16_t first;
    uint16_t second;
    bool devhostAlone;  // other hosts may give the pointer another meaning
};

// A parameter, or the bytes of a pointer's size that stand so far from where it points.
struct MemoryPlace {
    uint8_t parameter;
    uint16_t offset;
};

inline constexpr uint8_t kNoPlace = 15;
inline constexpr size_t kMostCallbackParameters = 3;

// A function that the host is given, and calls later.
struct CallbackRule {
    MemoryPlace function;
    MemoryPlace argument;  // handed to the function as its last one; kNoPlace: it has none
    bool isKnown;          // the host knows the record in which they stand by its address: no copy
    Width result;
    uint8_t parameterCount;
    Width parameters[kMostCallbackParameters];
};

struct SlotInfo {
    const char *group;
    const char *name;  // of the function that reads the slot, or the group and member
    Width result;
    bool isVariadic;
    bool isReserved;  // no function reads it, its type says nothing
    std::span<const Parameter> parameters;
    std::span<const PointerRule> pointers;
    std::span<const MemoryPlace> opaque;  // differs from run to run
    const CallbackRule *callback;         // null: the host is given no function
};

extern const SlotInfo kSlots[kSlotCount];

}  // namespace dxr_trace

#endif  // DXR_TRACE_SLOTS_H
