// Copies, fills and formatting that know the size of their destination: the C11 Annex K functions
// and two truncating formatters. Records, texts and buffers are written through them; loops over
// the words of bitmaps and the elements of arrays write themselves.
//
// Results of the copies and fills: 0, EINVAL (null pointer, overlap, destination of size 0) or
// ERANGE (does not fit). On failure the destination is emptied (texts) or filled as Annex K says
// (bytes), unless it is null or its size is 0. No size that fits in 32 bits is refused for its
// magnitude.
//
// Results of the formatters: the number of characters stored (size - 1 when the text was cut), or
// -1 for a null buffer, a size of 0 or a null format (nothing is written) and for a conversion that
// fails or a text beyond INT_MAX characters (the buffer then holds an empty text).
#ifndef DXR_INTERNAL_BOUNDS_CHECKED_H
#define DXR_INTERNAL_BOUNDS_CHECKED_H

#include <cstdarg>
#include <cstddef>

#include "internal/plain_format.h"

namespace dxr {

int memcpy_s(void *dest, size_t destSize, const void *src, size_t count) noexcept;
int memset_s(void *dest, size_t destSize, int value, size_t count) noexcept;
int strcpy_s(char *dest, size_t destSize, const char *src) noexcept;

// Copies at most `count` characters of `src` and terminates.
int strncpy_s(char *dest, size_t destSize, const char *src, size_t count) noexcept;

[[gnu::format(printf, 3, 4)]] int snprintf_truncated_s(char *buffer, size_t size,
                                                       const char *format, ...) noexcept;
[[gnu::format(printf, 3, 0)]] int vsnprintf_truncated_s(char *buffer, size_t size,
                                                        const char *format,
                                                        std::va_list args) noexcept;

struct FormattedLine {
    int stored;     // the result of vsnprintf_truncated_s
    size_t length;  // up to the first NUL, which a formatted character may be; 0 after a failure
};

// Like vsnprintf_truncated_s with a size of 1 to that of the room, at a lower price: any byte of
// the room may be written, also after the terminator. Both lists are of the same arguments, and
// started where these are: a copy would wait until what va_start stored has reached memory.
[[gnu::format(printf, 3, 0)]] FormattedLine FormatLine(PlainRoom &room, size_t size,
                                                       const char *format, Arguments &args,
                                                       std::va_list again) noexcept;

}  // namespace dxr

#endif  // DXR_INTERNAL_BOUNDS_CHECKED_H
