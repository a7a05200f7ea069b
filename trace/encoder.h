// Puts together the bytes of a recording.
#ifndef DXR_TRACE_ENCODER_H
#define DXR_TRACE_ENCODER_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "format.h"

namespace dxr_trace {

class Encoder {
  public:
    void Byte(uint8_t value) { bytes_.push_back(static_cast<char>(value)); }

    void Fixed32(uint32_t value) {
        for (int i = 0; i < 4; ++i) {
            Byte(static_cast<uint8_t>(value >> (8 * i)));
        }
    }

    void Varint(uint64_t value) {
        char room[kLongestVarint];
        size_t size = 0;
        while (value >= 0x80) {
            room[size++] = static_cast<char>(value | 0x80);
            value >>= 7;
        }
        room[size++] = static_cast<char>(value);
        bytes_.append(room, size);
    }

    void Bytes(std::string_view bytes) { bytes_.append(bytes); }

    void Text(std::string_view text) {
        Varint(text.size());
        Bytes(text);
    }

    void Clear() { bytes_.clear(); }
    [[nodiscard]] size_t Size() const { return bytes_.size(); }
    [[nodiscard]] const std::string &Get() const { return bytes_; }

  private:
    std::string bytes_;
};

inline std::string FileHead() {
    Encoder head;
    head.Bytes(kFileMark);
    head.Fixed32(kFileVersion);
    head.Fixed32(Crc32c(head.Get()));
    return head.Get();
}

inline std::string BlockHead(BlockKind kind, uint32_t number, std::string_view content) {
    Encoder head;
    head.Fixed32(kBlockMark);
    head.Fixed32(static_cast<uint32_t>(kind));
    head.Fixed32(static_cast<uint32_t>(content.size()));
    head.Fixed32(number);
    head.Fixed32(Crc32c(content));
    head.Fixed32(Crc32c(head.Get()));
    return head.Get();
}

}  // namespace dxr_trace

#endif  // DXR_TRACE_ENCODER_H
