#include "formatted.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace dxr_trace {

// Only what is printed is written, which is most often little of the room.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
Formatted::Formatted(const char *format, std::va_list args) {
    if (format == nullptr) {
        return;
    }
    const int before = errno;
    std::va_list again;
    va_copy(again, args);

    const int length = std::vsnprintf(room_.data(), room_.size(), format, args);
    text_ = length < 0 ? format : room_.data();
    if (length >= 0 && static_cast<size_t>(length) >= room_.size()) {
        const size_t size = static_cast<size_t>(length) + 1;
        block_ = static_cast<char *>(std::malloc(size));
        errno = before;
        if (block_ != nullptr && std::vsnprintf(block_, size, format, again) == length) {
            text_ = block_;
        }
    }
    va_end(again);
    errno = before;
}

Formatted::~Formatted() {
    const int before = errno;
    std::free(block_);
    errno = before;
}

}  // namespace dxr_trace
