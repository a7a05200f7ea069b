// Builds a text whose offset moves by whatever the formatter returned, -1 of a failing one
// included: the next piece then begins one character earlier. Never writes outside the buffer: a
// text that has stepped back out of it has ended.
#ifndef DXR_INTERNAL_OFFSET_WRITER_H
#define DXR_INTERNAL_OFFSET_WRITER_H

#include <cstdarg>
#include <cstdint>

#include "internal/bounds_checked.h"

namespace dxr {

class OffsetWriter {
  public:
    OffsetWriter(char *buffer, uint32_t size) noexcept : buffer_(buffer), size_(size) {}

    // What the formatter returned, or 0 once the text has ended.
    [[gnu::format(printf, 2, 3)]] int Append(const char *format, ...) noexcept {
        if (offset_ >= size_) {
            return 0;
        }
        std::va_list args;
        va_start(args, format);
        const int stored = vsnprintf_truncated_s(buffer_ + offset_, size_ - offset_, format, args);
        va_end(args);
        offset_ += static_cast<uint32_t>(stored);
        return stored;
    }

    // Wraps when it steps back out of the buffer, and is then not less than the buffer's size.
    [[nodiscard]] uint32_t Offset() const noexcept { return offset_; }
    // True when no further character can be stored.
    [[nodiscard]] bool Full() const noexcept { return offset_ >= size_ || size_ - offset_ == 1; }

  private:
    char *buffer_;
    uint32_t size_;
    uint32_t offset_ = 0;
};

}  // namespace dxr

#endif  // DXR_INTERNAL_OFFSET_WRITER_H
