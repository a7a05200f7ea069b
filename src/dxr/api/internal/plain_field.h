// Reads what stands between the % of a plain format and its conversion.
#ifndef DXR_INTERNAL_PLAIN_FIELD_H
#define DXR_INTERNAL_PLAIN_FIELD_H

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "internal/plain_format.h"

namespace dxr {

constexpr uint64_t FlagBit(char flag) {
    return 1ULL << flag;
}
constexpr uint64_t kPlainFlags =
    FlagBit(' ') | FlagBit('#') | FlagBit('+') | FlagBit('-') | FlagBit('0');

// What stands between a % and its conversion.
struct PlainField {
    uint64_t flags = 0;
    size_t width = 0;             // that blanks fill
    size_t filled = 1;            // width that zeros fill
    size_t precision = SIZE_MAX;  // none
    size_t bytes = sizeof(int);   // of an integer

    [[nodiscard]] bool Has(char flag) const { return (flags & FlagBit(flag)) != 0; }
    [[nodiscard]] bool HasPrecision() const { return precision <= kWidestPlainField; }
    // All that texts may have, characters and pointers without a precision.
    [[nodiscard]] bool IsSimple() const {
        return (flags & ~FlagBit('-')) == 0 && filled == 1 && bytes == sizeof(int);
    }
};

// A number, or the argument for a star; what is too wide as the least that is.
inline int ReadNumber(const char *&at, Arguments &args) {
    constexpr int kTooWide = kWidestPlainField + 1;
    if (*at == '*') {
        ++at;
        return std::clamp(va_arg(args.list, int), -kTooWide, kTooWide);
    }
    int number = 0;
    for (; *at >= '0' && *at <= '9'; ++at) {
        number = std::min(number * 10 + (*at - '0'), kTooWide);
    }
    return number;
}

// The size of an integer.
inline size_t ReadModifier(const char *&at) {
    const char first = *at;
    if (first == 'h' || first == 'l') {
        const bool isDouble = *++at == first;
        at += isDouble ? 1 : 0;
        return first == 'h' ? (isDouble ? sizeof(char) : sizeof(short))
                            : (isDouble ? sizeof(long long) : sizeof(long));
    }
    const bool isSize = first == 'z' || first == 't';
    at += isSize || first == 'j' ? 1 : 0;
    return first == 'j' ? sizeof(intmax_t) : isSize ? sizeof(size_t) : sizeof(int);
}

// False when it is too wide.
inline bool ReadField(const char *&at, Arguments &args, PlainField &field) {
    for (; *at > 0 && *at < 64 && (kPlainFlags & FlagBit(*at)) != 0; ++at) {
        field.flags |= FlagBit(*at);
    }
    const int width = ReadNumber(at, args);
    const int precision = *at == '.' ? ReadNumber(++at, args) : -1;
    field.flags |= width < 0 ? FlagBit('-') : 0;
    field.width = static_cast<size_t>(std::abs(width));
    field.filled = field.Has('0') && !field.Has('-') ? std::max<size_t>(field.width, 1) : 1;
    field.precision = static_cast<size_t>(precision);
    field.bytes = ReadModifier(at);
    return field.width <= kWidestPlainField && precision <= kWidestPlainField;
}

// An integer of the field's size; types of one size are passed alike.
template <typename T>
[[gnu::always_inline]] inline T Take(const PlainField &field, Arguments &args) {
    const bool isWide = field.bytes == sizeof(int64_t);
    const int64_t number = isWide ? va_arg(args.list, int64_t) : va_arg(args.list, int32_t);
    const size_t unused = 8 * (sizeof(T) - field.bytes);
    return static_cast<T>(static_cast<uint64_t>(number) << unused) >> unused;
}

}  // namespace dxr

#endif  // DXR_INTERNAL_PLAIN_FIELD_H
