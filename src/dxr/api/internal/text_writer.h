// Builds a listing piece by piece inside a caller's buffer: never past its end, always terminated
// when its size is at least 1, the rest dropped without report.
#ifndef DXR_INTERNAL_TEXT_WRITER_H
#define DXR_INTERNAL_TEXT_WRITER_H

#include <cstdarg>
#include <cstdint>

#include "internal/bounds_checked.h"

namespace dxr {

class TextWriter {
  public:
    TextWriter(char *buffer, uint32_t size) noexcept : buffer_(buffer), size_(size) {}

    // Writes after what is there. A piece that cannot be formatted counts as empty, here and
    // nowhere else: listings that treat the formatter's failure otherwise look at the result.
    [[gnu::format(printf, 2, 3)]] int Append(const char *format, ...) noexcept {
        std::va_list args;
        va_start(args, format);
        const int stored = vsnprintf_truncated_s(buffer_ + written_, Room(), format, args);
        va_end(args);
        if (stored > 0) {
            written_ += static_cast<uint32_t>(stored);
        }
        return stored;
    }

    [[nodiscard]] uint32_t Written() const noexcept { return written_; }
    [[nodiscard]] uint32_t Room() const noexcept { return size_ - written_; }
    // True when no further character can be stored.
    [[nodiscard]] bool Full() const noexcept { return Room() <= 1; }

  private:
    char *buffer_;
    uint32_t size_;
    uint32_t written_ = 0;  // at most size_ - 1, or 0 when size_ is 0
};

}  // namespace dxr

#endif  // DXR_INTERNAL_TEXT_WRITER_H
