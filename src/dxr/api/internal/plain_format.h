// Expands plain formats without the C library: literal text and %d %i %u %x %X %o %c %s %p %% with
// flags (- 0 + # space), width, precision and the length modifiers of integers. What most lines of
// a log are made of, at a fraction of the C library's price.
#ifndef DXR_INTERNAL_PLAIN_FORMAT_H
#define DXR_INTERNAL_PLAIN_FORMAT_H

#include <cstdarg>
#include <cstddef>

namespace dxr {

constexpr int kNotPlain = -1;

// Stores the text, cut to size - 1 characters, and its terminator; nothing after that is touched.
// `size` is at least 1. Result: the length of the whole text, as vsnprintf has it; or kNotPlain
// when the format holds anything else or the text is a long one: then nothing was stored, and the
// caller has the C library format the line. `args` stays as it was.
[[gnu::format(printf, 3, 0)]] int FormatPlain(char *buffer, size_t size, const char *format,
                                              std::va_list args) noexcept;

// Longer texts are the C library's, and so are wider fields.
constexpr size_t kLongestPlainText = 1024;
constexpr int kWidestPlainField = 128;

// Where a text gathers, and any byte may be written: short pieces need no regard to their length.
// A piece begins within the longest text and is at most a field and its surplus.
constexpr size_t kPlainSurplus = 64;
using PlainRoom = char[kLongestPlainText + kWidestPlainField + kPlainSurplus];

// The same for callers with such a room, who are spared the copy. The text is whole, without a
// terminator and without a NUL in it.
[[gnu::format(printf, 2, 0)]] int GatherPlain(PlainRoom &room, const char *format,
                                              std::va_list args) noexcept;

}  // namespace dxr

#endif  // DXR_INTERNAL_PLAIN_FORMAT_H
