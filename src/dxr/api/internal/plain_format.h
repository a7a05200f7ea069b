// Expands plain formats without the C library: literal text and %d %i %u %x %X %o %c %s %p %% with
// flags (- 0 + # space), width, precision and the length modifiers of integers. What most lines of
// a log are made of, at a fraction of the C library's price.
#ifndef DXR_INTERNAL_PLAIN_FORMAT_H
#define DXR_INTERNAL_PLAIN_FORMAT_H

#include <cstdarg>
#include <cstddef>

namespace dxr {

// Longer formats and texts are the C library's, and so are wider fields.
constexpr size_t kLongestPlainFormat = 512;
constexpr size_t kLongestPlainText = 1024;
constexpr int kWidestPlainField = 128;

// Where a text gathers, and any byte may be written: pieces need no regard to their length. What
// goes beyond the longest text is at most the format, a field and a surplus.
using PlainRoom = char[kLongestPlainText + kLongestPlainFormat + kWidestPlainField + 64];

// A list to be passed by reference.
struct Arguments {
    std::va_list list;
};

constexpr int kNotPlain = -1;

// The length of the text, which has no terminator and no NUL in it; or kNotPlain when the format
// holds anything else or something is too long: then the caller has the C library format the line,
// from another list: these arguments are used up.
[[gnu::format(printf, 2, 0)]] int GatherPlain(PlainRoom &room, const char *format,
                                              Arguments &args) noexcept;

}  // namespace dxr

#endif  // DXR_INTERNAL_PLAIN_FORMAT_H
