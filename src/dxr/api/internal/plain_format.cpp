#include "internal/plain_format.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "internal/digits.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace dxr {
namespace {

struct Arguments {
    std::va_list list;
};

// Flags by their character.
constexpr uint64_t Bit(char flag) {
    return 1ULL << flag;
}
constexpr uint64_t kFlags = Bit(' ') | Bit('#') | Bit('+') | Bit('-') | Bit('0');

// What stands between a % and its conversion.
struct Field {
    uint64_t flags = 0;
    int width = 0;
    int precision = -1;  // none

    [[nodiscard]] bool Has(uint64_t wanted) const { return (flags & wanted) != 0; }
};

// A number, or the argument for a star; false when it is beyond the widest field.
[[gnu::always_inline]] inline bool ReadNumber(const char *&at, Arguments &args, int &number) {
    if (*at == '*') {
        ++at;
        number = va_arg(args.list, int);
    } else {
        for (number = 0; *at >= '0' && *at <= '9' && number <= kWidestPlainField; ++at) {
            number = number * 10 + (*at - '0');
        }
    }
    return number >= -kWidestPlainField && number <= kWidestPlainField;
}

[[gnu::always_inline]] inline bool ReadField(const char *&at, Arguments &args, Field &field) {
    for (; *at > 0 && *at < 64 && (kFlags >> *at & 1) != 0; ++at) {
        field.flags |= Bit(*at);
    }
    if (!ReadNumber(at, args, field.width)) {
        return false;
    }
    if (field.width < 0) {
        field.flags |= Bit('-');
        field.width = -field.width;
    }
    return *at != '.' || ReadNumber(++at, args, field.precision);
}

// The size of an integer argument.
[[gnu::always_inline]] inline size_t ReadLength(const char *&at) {
    switch (*at) {
        case 'h':
            return *++at != 'h' ? sizeof(short) : (++at, sizeof(char));
        case 'l':
            return *++at != 'l' ? sizeof(long) : (++at, sizeof(long long));
        case 'j':
            return ++at, sizeof(intmax_t);
        case 'z':
        case 't':
            return ++at, sizeof(size_t);
        default:
            return sizeof(int);
    }
}

// A size known to be small would be copied by a string instruction, which costs more than a call.
inline char *Copy(char *out, const char *from, size_t length) {
    asm("" : "+r"(length));
    std::memcpy(out, from, length);
    return out + length;
}

// In blocks: any byte of the room may be written.
inline char *Fill(char *out, char character, int count) {
    for (; count > 0; out += std::min(count, 16), count -= 16) {
        std::memset(out, character, 16);
    }
    return out;
}

// What put(begin) writes, of a known length, and blanks before or after it.
template <typename Put>
[[gnu::always_inline]] inline char *PutPadded(char *out, const Field &field, int length, Put put) {
    const int padding = field.width - length;
    if (padding <= 0) {
        return put(out);
    }
    return field.Has(Bit('-')) ? Fill(put(out), ' ', padding) : put(Fill(out, ' ', padding));
}

// Null for a number 0 with a precision of 0.
[[gnu::always_inline]] inline char *PutNumber(char *out, const Field &field, const Digits &digits,
                                              uint64_t prefix = 0, int prefixLength = 0) {
    if (field.precision == 0 && digits.count == 1 && digits.top == '0') {
        return nullptr;
    }
    const bool isFilled = field.precision < 0 && (field.flags & (Bit('0') | Bit('-'))) == Bit('0');
    const int least = isFilled ? field.width - prefixLength : field.precision;
    const int zeros = std::max(least - digits.count, 0);
    return PutPadded(out, field, prefixLength + zeros + digits.count, [&](char *begin) {
        StoreCharacters(begin, prefix);
        return StoreDigits(Fill(begin + prefixLength, '0', zeros), digits);
    });
}

// Null for a null text and for one beyond `end`. The text is read by the C library alone: one that
// fills its block is no matter.
[[gnu::always_inline]] inline char *PutText(char *out, const char *end, const Field &field,
                                            const char *text) {
    if (text == nullptr || out > end) {
        return nullptr;
    }
    const auto room = static_cast<size_t>(end - out);
    const size_t length = strnlen(text, std::min(static_cast<size_t>(field.precision), room + 1));
    return length > room ? nullptr
                         : PutPadded(out, field, static_cast<int>(length),
                                     [&](char *begin) { return Copy(begin, text, length); });
}

// What most conversions are: %d, %u, %x, %X, perhaps filled up with zeros to a width of 1 to 8, and
// %s. False for all others, which stay as they are.
[[gnu::always_inline]] inline bool PutSimple(char *&out, const char *end, const char *&at,
                                             Arguments &args) {
    const bool isFilled = *at == '0' && at[1] >= '1' && at[1] <= '8';
    const char *const conversion = isFilled ? at + 2 : at;
    int least = isFilled ? at[1] - '0' : 1;
    switch (*conversion) {
        case 'd':
        case 'u': {
            auto number = va_arg(args.list, uint32_t);
            if (*conversion == 'd' && number >> 31 != 0) {
                number = 0 - number;
                *out++ = '-';
                least -= least > 1 ? 1 : 0;
            }
            out = StoreDecimal(out, number, least);
            break;
        }
        case 'x':
        case 'X':
            out = StoreHexadecimal(out, va_arg(args.list, uint32_t),
                                   static_cast<char>(*conversion - 'x' + 'a'), least);
            break;
        case 's':
            out = isFilled ? nullptr : PutText(out, end, Field(), va_arg(args.list, const char *));
            break;
        default:
            return false;
    }
    at = conversion + 1;
    return true;
}

// Null for what the C library must do: also null pointers, a NUL as character, and octal numbers
// with #.
[[gnu::always_inline]] inline char *PutConversion(char *out, const char *end, const char *&at,
                                                  Arguments &args) {
    Field field;
    if (*at < 'A' && !ReadField(at, args, field)) {
        return nullptr;
    }
    const char *const modifier = at;
    const size_t bytes = ReadLength(at);
    const bool isBare = modifier == at && !field.Has(~Bit('-'));
    const size_t unused = 64 - 8 * bytes;
    const auto integer = [&] {  // in the uppermost bytes; types of one size are passed alike
        const auto number = bytes == 8 ? va_arg(args.list, int64_t) : va_arg(args.list, int32_t);
        return static_cast<uint64_t>(number) << unused;
    };
    switch (const char conversion = *at++) {
        case 'd':
        case 'i': {
            const uint64_t number = integer();
            const bool isNegative = static_cast<int64_t>(number) < 0;
            const char sign = isNegative ? '-' : field.Has(Bit('+')) ? '+' : ' ';
            const int signs = isNegative || field.Has(Bit('+') | Bit(' ')) ? 1 : 0;
            const uint64_t magnitude = (isNegative ? 0 - number : number) >> unused;
            return PutNumber(out, field, DecimalDigits(magnitude), static_cast<uint64_t>(sign),
                             signs);
        }
        case 'u':
            return PutNumber(out, field, DecimalDigits(integer() >> unused));
        case 'o':
            return field.Has(Bit('#')) ? nullptr
                                       : PutNumber(out, field, OctalDigits(integer() >> unused));
        case 'x':
        case 'X': {
            const uint64_t number = integer() >> unused;
            const auto letter = static_cast<char>(conversion - 'x' + 'a');
            return PutNumber(out, field, HexadecimalDigits(number, letter),
                             '0' | static_cast<uint64_t>(conversion) << 8,
                             field.Has(Bit('#')) && number != 0 ? 2 : 0);
        }
        case 'p': {
            const auto *const address = isBare ? va_arg(args.list, const void *) : nullptr;
            const auto number = reinterpret_cast<uintptr_t>(address);
            return number == 0 || field.precision >= 0
                       ? nullptr
                       : PutNumber(out, field, HexadecimalDigits(number, 'a'), '0' | 'x' << 8, 2);
        }
        case 'c': {
            const auto character = static_cast<char>(isBare ? va_arg(args.list, int) : '\0');
            return character == '\0' ? nullptr : PutPadded(out, field, 1, [&](char *begin) {
                *begin = character;
                return begin + 1;
            });
        }
        case 's':
            return isBare ? PutText(out, end, field, va_arg(args.list, const char *)) : nullptr;
        default:
            return nullptr;
    }
}

// Which of 64 characters of the format are %, a bit each: all at once, so that none waits for the
// one before. Nothing after the terminator is read, which is the format's last byte: a block that
// would goes back to end with it.
[[gnu::always_inline]] inline uint64_t Percents(const char *format, const char *at,
                                                const char *terminator) {
    uint64_t percents = 0;
#ifdef __SSE2__
    if (terminator - format >= 15) {
        for (int i = 0; i < 64 && i <= terminator - at; i += 16) {
            const char *const block = std::min(at + i, terminator - 15);
            const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i *>(block));
            const int found = _mm_movemask_epi8(_mm_cmpeq_epi8(text, _mm_set1_epi8('%')));
            percents |= static_cast<uint64_t>(found >> (at + i - block)) << i;
        }
        return percents;
    }
#endif
    for (int i = 0; i < 64 && at[i] != '\0'; ++i) {
        percents |= static_cast<uint64_t>(at[i] == '%') << i;
    }
    return percents;
}

// From a place where 16 bytes may be read if it is `lastBlock` at most.
[[gnu::always_inline]] inline char *PutLiteral(char *out, const char *from, const char *to,
                                               const char *lastBlock) {
    const ptrdiff_t length = to - from;
    if (length > 16 || from > lastBlock) {
        return Copy(out, from, static_cast<size_t>(length));
    }
    std::memcpy(out, from, 16);
    return out + length;
}

[[gnu::always_inline]] inline char *Put(char *out, const char *format, Arguments &args) {
    const char *const end = out + kLongestPlainText;
    const size_t length = std::strlen(format);
    const char *const terminator = format + length;
    if (length > kLongestPlainFormat) {
        return nullptr;
    }
    const char *const lastBlock = length >= 15 ? terminator - 15 : nullptr;
    const char *at = format;
    for (size_t i = 0; i < length; i += 64) {
        for (uint64_t percents = Percents(format, format + i, terminator); percents != 0;
             percents &= percents - 1) {
            const char *const percent = format + i + std::countr_zero(percents);
            if (percent < at) {
                continue;  // the second of two
            }
            out = PutLiteral(out, at, percent, lastBlock);
            at = percent + 1;
            if (*at == '%') {
                *out++ = *at++;
            } else if (!PutSimple(out, end, at, args)) {
                out = PutConversion(out, end, at, args);
            }
            if (out == nullptr || out > end) {
                return nullptr;
            }
        }
    }
    out = PutLiteral(out, at, terminator, lastBlock);
    return out <= end ? out : nullptr;
}

}  // namespace

int GatherPlain(PlainRoom &room, const char *format, std::va_list args) noexcept {
    Arguments arguments;
    va_copy(arguments.list, args);
    const char *const end = Put(room, format, arguments);
    va_end(arguments.list);
    return end != nullptr ? static_cast<int>(end - room) : kNotPlain;
}

}  // namespace dxr
