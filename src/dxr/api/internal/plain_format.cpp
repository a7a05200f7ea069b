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

using digits::Characters;
using digits::Digits;
using digits::EightBinary;
using digits::EightDecimal;
using digits::FourDecimal;
using digits::kNineDecimal;
using digits::kNineHexadecimal;
using digits::kNineOctal;
using digits::PutDigits;
using digits::PutShort;
using digits::Split;
using digits::Store;

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
inline void Copy(char *out, const char *from, size_t length) {
    asm("" : "+r"(length));
    std::memcpy(out, from, length);
}

inline char *Fill(char *out, char character, int count) {
    if (count > 0) {
        std::memset(out, character, 16);
        if (count > 16) {
            std::memset(out + 16, character, static_cast<size_t>(count - 16));
        }
        out += count;
    }
    return out;
}

[[gnu::always_inline]] inline char *PutNumber(char *out, const Field &field, const Digits &digits,
                                              uint64_t prefix, int prefixLength) {
    int zeros = 0;
    int padding = 0;
    if (field.width > 0 || field.precision > 0) {
        zeros = std::max(field.precision - digits.count, 0);
        padding = std::max(field.width - prefixLength - zeros - digits.count, 0);
        if (field.precision < 0 && (field.flags & (Bit('0') | Bit('-'))) == Bit('0')) {
            zeros = padding;
            padding = 0;
        }
        out = Fill(out, ' ', field.Has(Bit('-')) ? 0 : padding);
    }
    Store(out, prefix);
    out = PutDigits(Fill(out + prefixLength, '0', zeros), digits);
    return Fill(out, ' ', field.Has(Bit('-')) ? padding : 0);
}

inline char *PutText(char *out, const Field &field, const char *text, size_t length) {
    const int padding = field.width - static_cast<int>(length);
    out = Fill(out, ' ', field.Has(Bit('-')) ? 0 : padding);
    Copy(out, text, length);
    return Fill(out + length, ' ', field.Has(Bit('-')) ? padding : 0);
}

// Up to the next % or the terminator, which is the format's last byte: none after it is read. Null
// when that comes after `end`.
[[gnu::always_inline]] inline char *PutLiteral(char *out, const char *end, const char *&at,
                                               const char *terminator) {
    while (out <= end) {
#ifdef __SSE2__
        constexpr ptrdiff_t kBlock = sizeof(__m128i);
        if (terminator - at >= kBlock - 1) {
            const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out), text);
            const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(text, _mm_set1_epi8('%')),
                                              _mm_cmpeq_epi8(text, _mm_setzero_si128()));
            const auto mask = static_cast<unsigned>(_mm_movemask_epi8(ends));
            const int length = std::countr_zero(mask | 1U << kBlock);
            at += length;
            out += length;
            if (mask != 0) {
                return out;
            }
            continue;
        }
#endif
        if (*at == '%' || at == terminator) {
            return out;
        }
        *out++ = *at++;
    }
    return nullptr;
}

// The whole text, read by the C library alone: one that fills its block is no matter.
[[gnu::always_inline]] inline char *PutWhole(char *out, const char *end, const char *text) {
    const auto room = static_cast<size_t>(std::max<ptrdiff_t>(end - out, 0));
    const size_t length = strnlen(text, room + 1);
    if (out > end || length > room) {
        return nullptr;
    }
    Copy(out, text, length);
    return out + length;
}

// What most conversions are: %d, %u, %x, %X, perhaps filled up with zeros to a width of 1 to 8, and
// %s. False for all others, which stay as they are.
[[gnu::always_inline]] inline bool PutSimple(char *&out, const char *end, const char *&at,
                                             Arguments &args) {
    const char *conversion = at;
    int least = 1;
    if (*conversion == '0' && conversion[1] >= '1' && conversion[1] <= '8') {
        least = conversion[1] - '0';
        conversion += 2;
    }
    switch (*conversion) {
        case 'd':
        case 'u': {
            auto number = va_arg(args.list, uint32_t);
            if (*conversion == 'd' && number >> 31 != 0) {
                number = 0 - number;
                *out++ = '-';
                least -= least > 1 ? 1 : 0;
            }
            if (number < 10000 && least <= 4) {
                const uint64_t four = FourDecimal(number);
                out = PutShort<4>(out, four, Characters(four), least);
            } else if (number < kNineDecimal) {
                const uint64_t eight = EightDecimal(number);
                out = PutShort<8>(out, eight, Characters(eight), least);
            } else {
                Digits digits;
                Split<kNineDecimal, EightDecimal>(digits, number);
                out = PutDigits(out, digits);
            }
            break;
        }
        case 'x':
        case 'X': {
            const uint64_t eight = EightBinary<4>(va_arg(args.list, uint32_t));
            const auto letter = static_cast<char>(*conversion - 'x' + 'a');
            out = PutShort<8>(out, eight, Characters(eight, letter), least);
            break;
        }
        case 's': {
            const char *text = conversion == at ? va_arg(args.list, const char *) : nullptr;
            out = text != nullptr ? PutWhole(out, end, text) : nullptr;
            break;
        }
        default:
            return false;
    }
    at = conversion + 1;
    return true;
}

// Null for what the C library must do: also null texts and pointers, a NUL as character, a number 0
// with a precision of 0, and octal numbers with #.
[[gnu::always_inline]] inline char *PutConversion(char *out, const char *end, const char *&at,
                                                  Arguments &args) {
    if (*at == '%') {
        *out = *at++;
        return out + 1;
    }
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
    Digits digits;
    uint64_t prefix = 0;
    int prefixLength = 0;
    switch (const char conversion = *at++) {
        case 'd':
        case 'i': {
            const uint64_t number = integer();
            const bool isNegative = static_cast<int64_t>(number) < 0;
            Split<kNineDecimal, EightDecimal>(digits, (isNegative ? 0 - number : number) >> unused);
            const char sign = isNegative ? '-' : field.Has(Bit('+')) ? '+' : ' ';
            prefix = static_cast<unsigned char>(sign);
            prefixLength = isNegative || field.Has(Bit('+') | Bit(' ')) ? 1 : 0;
            break;
        }
        case 'u':
            Split<kNineDecimal, EightDecimal>(digits, integer() >> unused);
            break;
        case 'x':
        case 'X': {
            const uint64_t number = integer() >> unused;
            Split<kNineHexadecimal, EightBinary<4>>(digits, number,
                                                    static_cast<char>(conversion - 'x' + 'a'));
            prefix = '0' | static_cast<uint64_t>(conversion) << 8;
            prefixLength = field.Has(Bit('#')) && number != 0 ? 2 : 0;
            break;
        }
        case 'o':
            Split<kNineOctal, EightBinary<3>>(digits, integer() >> unused);
            if (field.Has(Bit('#'))) {
                return nullptr;
            }
            break;
        case 'p': {
            const auto *const address = isBare ? va_arg(args.list, const void *) : nullptr;
            if (address == nullptr || field.precision >= 0) {
                return nullptr;
            }
            Split<kNineHexadecimal, EightBinary<4>>(digits, reinterpret_cast<uintptr_t>(address));
            prefix = '0' | 'x' << 8;
            prefixLength = 2;
            break;
        }
        case 'c': {
            const auto character = static_cast<char>(isBare ? va_arg(args.list, int) : 0);
            return character != 0 ? PutText(out, field, &character, 1) : nullptr;
        }
        case 's': {
            // A literal may have led beyond the end by less than a step.
            const char *const text =
                isBare && out <= end ? va_arg(args.list, const char *) : nullptr;
            if (text == nullptr) {
                return nullptr;
            }
            const auto room = static_cast<size_t>(end - out);
            const size_t length =
                strnlen(text, std::min(static_cast<size_t>(field.precision), room + 1));
            return length <= room ? PutText(out, field, text, length) : nullptr;
        }
        default:
            return nullptr;
    }
    const bool isEmpty = field.precision == 0 && digits.top == '0' && digits.count == 1;
    return isEmpty ? nullptr : PutNumber(out, field, digits, prefix, prefixLength);
}

}  // namespace

int GatherPlain(PlainRoom &room, const char *format, std::va_list args) noexcept {
    Arguments arguments;
    va_copy(arguments.list, args);
    char *const end = room + kLongestPlainText;
    const char *const terminator = format + std::strlen(format);
    char *out = PutLiteral(room, end, format, terminator);
    while (out != nullptr && *format != '\0') {
        ++format;
        if (!PutSimple(out, end, format, arguments)) {
            out = PutConversion(out, end, format, arguments);
        }
        out = out != nullptr ? PutLiteral(out, end, format, terminator) : nullptr;
    }
    va_end(arguments.list);
    return out != nullptr ? static_cast<int>(out - room) : kNotPlain;
}

int FormatPlain(char *buffer, size_t size, const char *format, std::va_list args) noexcept {
    PlainRoom room;
    const int length = GatherPlain(room, format, args);
    if (length != kNotPlain) {
        const size_t stored = std::min(static_cast<size_t>(length), size - 1);
        Copy(buffer, room, stored);
        buffer[stored] = '\0';
    }
    return length;
}

}  // namespace dxr
