#include "internal/plain_format.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "internal/digits.h"
#include "internal/plain_field.h"

namespace dxr {
namespace {

// What a piece of this length lacks: in blocks, for any byte of the room may be written.
[[gnu::always_inline]] inline char *Fill(char *out, char character, size_t width, size_t length) {
    for (; width > length; out += std::min<size_t>(width - length, 16), length += 16) {
        std::memset(out, character, 16);
    }
    return out;
}

// Blanks on one side of a piece of this length.
enum class Side : uint8_t { kBefore, kAfter };
[[gnu::always_inline]] inline char *Pad(char *out, const PlainField &field, size_t length,
                                        Side side) {
    return Fill(out, ' ', field.Has('-') == (side == Side::kAfter) ? field.width : 0, length);
}

[[gnu::always_inline]] inline char *PutNumber(char *out, const PlainField &field,
                                              const Digits &digits, uint64_t prefix = 0,
                                              size_t prefixLength = 0) {
    const size_t filled = std::max(field.filled, prefixLength + 1) - prefixLength;
    const size_t least = field.HasPrecision() ? field.precision : filled;
    const bool isNone = field.precision == 0 && digits.IsZero();
    const size_t count = isNone ? 0 : std::max(least, digits.count);
    out = Pad(out, field, prefixLength + count, Side::kBefore);
    if (prefixLength > 0) {
        StoreCharacters(out, prefix);
    }
    out = Fill(out + prefixLength, '0', least, digits.all);
    out = StoreDigits(out, digits, least > digits.all ? digits.all : count);
    return Pad(out, field, prefixLength + count, Side::kAfter);
}

// The text is read by the C library alone: one that fills its block is no matter.
[[gnu::always_inline]] inline char *PutText(char *out, const char *end, const PlainField &field,
                                            const char *text) {
    if (text == nullptr) {
        return nullptr;
    }
    const auto room = static_cast<size_t>(end - out);
    size_t length = strnlen(text, std::min(field.precision, room + 1));
    if (length > room) {
        return nullptr;
    }
    // A length known to be small would make it a string instruction, which costs more than a call.
    asm("" : "+r"(length));
    out = Pad(out, field, length, Side::kBefore);
    std::memcpy(out, text, length);
    return Pad(out + length, field, length, Side::kAfter);
}

// Null for what the C library must do: also null pointers, a NUL as character, and octal numbers
// with #.
[[gnu::always_inline]] inline char *PutConversion(char *out, const char *end, char letter,
                                                  const PlainField &field, Arguments &args) {
    switch (letter) {
        case 'd':
        case 'i': {
            const auto number = Take<int64_t>(field, args);
            const auto magnitude = static_cast<uint64_t>(number);
            if (number < 0) {
                return PutNumber(out, field, DecimalDigits(0 - magnitude), '-', 1);
            }
            return PutNumber(out, field, DecimalDigits(magnitude), field.Has('+') ? '+' : ' ',
                             field.Has('+') || field.Has(' ') ? 1 : 0);
        }
        case 'u':
            return PutNumber(out, field, DecimalDigits(Take<uint64_t>(field, args)));
        case 'o': {
            const auto number = Take<uint64_t>(field, args);
            return field.Has('#') ? nullptr : PutNumber(out, field, OctalDigits(number));
        }
        case 'x':
        case 'X': {
            const auto number = Take<uint64_t>(field, args);
            const Digits digits = HexadecimalDigits(number, static_cast<char>(letter - 'x' + 'a'));
            return PutNumber(out, field, digits, '0' | static_cast<uint64_t>(letter) << 8,
                             field.Has('#') && number != 0 ? 2 : 0);
        }
        case 'p': {
            const auto number = reinterpret_cast<uintptr_t>(va_arg(args.list, const void *));
            return field.IsSimple() && !field.HasPrecision() && number != 0
                       ? PutNumber(out, field, HexadecimalDigits(number, 'a'), '0' | 'x' << 8, 2)
                       : nullptr;
        }
        case 'c': {
            const auto character = static_cast<unsigned char>(va_arg(args.list, int));
            return field.IsSimple() && !field.HasPrecision() && character != 0
                       ? PutNumber(out, field, OneDigit(character))
                       : nullptr;
        }
        case 's':
            return field.IsSimple() ? PutText(out, end, field, va_arg(args.list, const char *))
                                    : nullptr;
        default:
            return nullptr;
    }
}

// How far the text and the format have come; out is null after what the C library must do.
struct Place {
    char *out;
    const char *at;
};

// Out of the way of the conversions below.
[[gnu::noinline]] Place PutAny(Place place, const char *end, Arguments &args) {
    PlainField field;
    const char *at = place.at;
    if (!ReadField(at, args, field)) {
        return {nullptr, at};
    }
    return {PutConversion(place.out, end, *at, field, args), at + 1};
}

// Most conversions are one of four letters alone, or after a zero and a digit: for them the
// compiler leaves out all else that a field may have.
[[gnu::always_inline]] inline Place PutNext(Place place, const char *end, Arguments &args) {
    const char *const at = place.at;
    const bool isFilled = *at == '0' && at[1] >= '2' && at[1] <= '8';
    const char *const letter = isFilled ? at + 2 : at;
    PlainField field;
    field.filled = isFilled ? static_cast<size_t>(at[1] - '0') : 1;
    const auto put = [&](char known) __attribute__((always_inline)) {
        return Place{PutConversion(place.out, end, known, field, args), letter + 1};
    };
    switch (*letter) {
        case 'd':
            return put('d');
        case 's':
            return put('s');
        case 'u':
            return put('u');
        case 'x':
            return put('x');
        default:
            return PutAny(place, end, args);
    }
}

// Eight characters of the format, or those that are left, and NULs.
[[gnu::always_inline]] inline uint64_t NextEight(const char *format, const char *at, size_t left) {
    if (left >= 8) {
        return LoadCharacters(at);
    }
    if (at + left - format >= 8) {
        return LoadCharacters(at + left - 8) >> (64 - 8 * left);
    }
    uint64_t text = 0;
    while (left > 0) {
        text = text << 8 | static_cast<unsigned char>(at[--left]);
    }
    return text;
}

// Literal text up to the next % or the terminator.
[[gnu::always_inline]] inline Place PutLiteral(Place place, const char *format,
                                               const char *terminator) {
    auto [out, at] = place;
    for (; at != terminator; at += 8, out += 8) {
        const auto left = static_cast<size_t>(terminator - at);
        const uint64_t text = NextEight(format, at, left);
        StoreCharacters(out, text);
        const uint64_t others = text ^ Eight('%');
        const uint64_t percents = (others - Eight(1)) & ~others & Eight(0x80);
        if (percents != 0) {
            return {out + ByteOfLowest(percents), at + ByteOfLowest(percents)};
        }
        if (left <= 8) {
            return {out + left, terminator};
        }
    }
    return {out, at};
}

}  // namespace

int GatherPlain(PlainRoom &room, const char *format, Arguments &args) noexcept {
    const char *const end = room + kLongestPlainText;
    const char *const terminator = format + std::strlen(format);
    if (terminator > format + kLongestPlainFormat) {
        return kNotPlain;
    }
    for (Place place = {room, format}; place.out != nullptr;) {
        place = PutLiteral(place, format, terminator);
        if (place.out > end) {
            return kNotPlain;
        }
        if (place.at == terminator) {
            return static_cast<int>(place.out - room);
        }
        if (*++place.at == '%') {
            *place.out++ = *place.at++;
        } else {
            place = PutNext(place, end, args);
        }
    }
    return kNotPlain;
}

}  // namespace dxr
