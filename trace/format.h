// The bytes of a recording. All numbers of fixed width are little-endian; the others are varints:
// seven bits a byte, the lowest first, and the highest bit of a byte says that another one follows.
//
//   file    head, blocks
//   head    "DXRTRACE", version (4 bytes), CRC of these 12 (4 bytes)
//   block   mark "DXRB", kind, size of its content, number counted from 0, CRC of its content, CRC
//           of the 20 bytes before (4 bytes each); content. A CRC is CRC-32C.
//
//   kStart  pid, nanoseconds since 1970, ticks and nanoseconds of the monotonic clock at the same
//           moment, which pointers are followed, bytes kept of each piece, version of the library,
//           1 when what hosts call is noted too (from version 2 on), 1 when threads tell whether
//           they began the recording (may be missing: 0)
//   kFilled (from version 2 on) how many slots were filled, and of each number, name, width of the
//           result, how many parameters, and of each name and width. Before the first call. Numbers
//           of the file are those of this list; without one, those of the first release
//   kThread number of the thread (from 1, in order of first calls), the system's number, name, 1
//           when it began the recording (may be missing: 0)
//   kCalls  number of the thread, what it dropped since the start, ticks and nanoseconds as above
//           when the block was made, then events to the content's end. The ticks of the first event
//           count from 0
//   kEnd    ticks and nanoseconds as above. A file without it was not ended in order.
//
//   event   kind (one byte), slot (one byte), number of the call in its thread, ticks since the
//           event before (zigzag), words: their count and each, pieces: their count and each
//           place, whole size, kept size, bytes. The words of kEnter are the arguments, that of
//           kReturn is the result. kCallbackEnter and kCallbackReturn (from version 2 on) are those
//           of a function that the host was given in a call of the slot: the words are its address
//           and its arguments
//   width   0 none, 1 to 4 for 8, 16, 32 and 64 bits, 5 a pointer
//   text    size, bytes
//
// Readers pass over blocks of a kind that they do not know.
#ifndef DXR_TRACE_FORMAT_H
#define DXR_TRACE_FORMAT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace dxr_trace {

inline constexpr std::string_view kFileMark = "DXRTRACE";
inline constexpr uint32_t kFileVersion = 2;
inline constexpr size_t kFileHeadSize = 16;
inline constexpr size_t kBlockHeadSize = 24;
inline constexpr uint32_t kBlockMark = 0x42525844;  // "DXRB"

enum class BlockKind : uint32_t { kStart = 1, kThread = 2, kCalls = 3, kEnd = 4, kFilled = 5 };
enum class EventKind : uint8_t { kEnter = 1, kReturn = 2, kCallbackEnter = 3, kCallbackReturn = 4 };

inline constexpr size_t kLongestVarint = 10;

// Signed numbers that are near 0 get short varints.
constexpr uint64_t ZigZag(int64_t value) {
    return (static_cast<uint64_t>(value) << 1) ^ (value < 0 ? UINT64_MAX : 0);
}

constexpr int64_t FromZigZag(uint64_t value) {
    return static_cast<int64_t>(value >> 1) ^ -static_cast<int64_t>(value & 1);
}

namespace crc {

constexpr std::array<uint32_t, 256> MakeTable() {
    constexpr uint32_t kReversedPolynomial = 0x82F63B78;
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < table.size(); ++i) {
        uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value >> 1) ^ ((value & 1) != 0 ? kReversedPolynomial : 0);
        }
        table[i] = value;
    }
    return table;
}

inline constexpr std::array<uint32_t, 256> kTable = MakeTable();

}  // namespace crc

constexpr uint32_t Crc32c(std::string_view bytes) {
    uint32_t value = 0xFFFFFFFF;
    for (const char c : bytes) {
        value = (value >> 8) ^ crc::kTable[(value ^ static_cast<uint8_t>(c)) & 0xFF];
    }
    return ~value;
}

static_assert(Crc32c("123456789") == 0xE3069283);

}  // namespace dxr_trace

#endif  // DXR_TRACE_FORMAT_H
