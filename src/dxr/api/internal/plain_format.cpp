#include "internal/plain_format.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "internal/digits.h"

namespace dxr {
namespace {

constexpr uint64_t Bit(char flag) {
    return 1ULL << flag;
}
constexpr uint64_t kFlags = Bit(' ') | Bit('#') | Bit('+') | Bit('-') | Bit('0');

// What stands between a % and its conversion.
struct Field {
    uint64_t flags = 0;
    size_t before = 0;            // the width that blanks before the text fill,
    size_t after = 0;             // that blanks after it fill,
    size_t zeros = 1;             // and that zeros fill
    size_t precision = SIZE_MAX;  // none
    size_t size = sizeof(int);    // of an integer

    [[nodiscard]] bool Has(char flag) const { return (flags & Bit(flag)) != 0; }
    [[nodiscard]] bool HasPrecision() const { return precision <= kWidestPlainField; }
    // All that texts may have; characters and pointers without a precision.
    [[nodiscard]] bool IsSimple() const { return (flags & ~Bit('-')) == 0 && size == sizeof(int); }
};

bool Skip(const char *&at, char character) {
    const bool isThere = *at == character;
    at += isThere ? 1 : 0;
    return isThere;
}

// A number, or the argument for a star; what is too wide as the least that is.
int ReadNumber(const char *&at, Arguments &args) {
    constexpr int kTooWide = kWidestPlainField + 1;
    if (Skip(at, '*')) {
        return std::clamp(va_arg(args.list, int), -kTooWide, kTooWide);
    }
    int number = 0;
    for (; *at >= '0' && *at <= '9'; ++at) {
        number = std::min(number * 10 + (*at - '0'), kTooWide);
    }
    return number;
}

// The size of an integer.
size_t ReadModifier(const char *&at) {
    if (Skip(at, 'h')) {
        return Skip(at, 'h') ? sizeof(char) : sizeof(short);
    }
    if (Skip(at, 'l')) {
        return Skip(at, 'l') ? sizeof(long long) : sizeof(long);
    }
    if (Skip(at, 'j')) {
        return sizeof(intmax_t);
    }
    return Skip(at, 'z') || Skip(at, 't') ? sizeof(size_t) : sizeof(int);
}

// Reads all of it and its conversion, which it returns: NUL when the field is too wide.
char ReadField(const char *&place, Arguments &args, Field &field) {
    const char *at = place;
    for (; *at > 0 && *at < 64 && (kFlags & Bit(*at)) != 0; ++at) {
        field.flags |= Bit(*at);
    }
    const int width = ReadNumber(at, args);
    const int precision = Skip(at, '.') ? ReadNumber(at, args) : -1;
    field.flags |= width < 0 ? Bit('-') : 0;
    (field.Has('-') ? field.after : field.before) = static_cast<size_t>(std::abs(width));
    field.zeros = field.Has('0') ? field.before : 1;
    field.precision = static_cast<size_t>(precision);
    field.size = ReadModifier(at);
    place = at + (*at == '\0' ? 0 : 1);
    return std::max(std::abs(width), precision) <= kWidestPlainField ? *at : '\0';
}

// An integer of the field's size; types of one size are passed alike.
template <typename T = uint64_t>
T Take(const Field &field, Arguments &args) {
    const bool isWide = field.size == sizeof(int64_t);
    const int64_t number = isWide ? va_arg(args.list, int64_t) : va_arg(args.list, int32_t);
    const size_t unused = 8 * (sizeof(T) - field.size);
    return static_cast<T>(static_cast<uint64_t>(number) << unused) >> unused;
}

// The prefix is a character or two, the first in the lowest byte, or 0.
char *PutNumber(char *out, const Field &field, const Digits &digits, uint64_t prefix = 0) {
    const size_t prefixLength = prefix == 0 ? 0 : prefix <= UINT8_MAX ? 1 : 2;
    const size_t zeros = std::max(field.zeros, prefixLength + 1) - prefixLength;
    const size_t least = field.HasPrecision() ? field.precision : zeros;
    const size_t length = prefixLength + digits.Count(least);
    out = Fill(out, ' ', field.before, length);
    StoreCharacters(out, prefix);
    out = StoreDigits(out + prefixLength, digits, least);
    return Fill(out, ' ', field.after, length);
}

// The text is read by the C library alone: one that fills its block is no matter.
char *PutText(char *out, const char *beyond, const Field &field, const char *text) {
    size_t length = strnlen(text, std::min(field.precision, static_cast<size_t>(beyond - out)));
    // A length known to be small would make it a string instruction, which costs more than a call.
    asm("" : "+r"(length));
    out = Fill(out, ' ', field.before, length);
    std::memcpy(out, text, length);
    return Fill(out + length, ' ', field.after, length);
}

// `beyond` for what the C library must do: also null pointers, a NUL as character, and octal
// numbers with #.
char *PutConversion(char *out, char *beyond, char letter, const Field &field, Arguments &args) {
    switch (letter) {
        case 'd':
        case 'i': {
            const auto number = Take<int64_t>(field, args);
            const auto magnitude = static_cast<uint64_t>(number);
            const uint64_t sign = field.Has('+') ? '+' : field.Has(' ') ? ' ' : 0;
            return number < 0 ? PutNumber(out, field, DecimalDigits(0 - magnitude), '-')
                              : PutNumber(out, field, DecimalDigits(magnitude), sign);
        }
        case 'u':
            return PutNumber(out, field, DecimalDigits(Take(field, args)));
        case 'o':
            return field.Has('#') ? beyond : PutNumber(out, field, OctalDigits(Take(field, args)));
        case 'x':
        case 'X': {
            const auto number = Take(field, args);
            const Digits digits = HexadecimalDigits(number, static_cast<char>(letter - 'x' + 'a'));
            const uint64_t prefix = '0' | static_cast<uint64_t>(letter) << 8;
            return PutNumber(out, field, digits, field.Has('#') && number != 0 ? prefix : 0);
        }
        case 'p': {
            const auto number = reinterpret_cast<uintptr_t>(va_arg(args.list, const void *));
            return field.IsSimple() && !field.HasPrecision() && number != 0
                       ? PutNumber(out, field, HexadecimalDigits(number, 'a'), '0' | 'x' << 8)
                       : beyond;
        }
        case 'c': {
            const char text[] = {static_cast<char>(va_arg(args.list, int)), '\0'};
            const bool isKnown = field.IsSimple() && !field.HasPrecision() && *text != '\0';
            return isKnown ? PutText(out, beyond, field, text) : beyond;
        }
        case 's': {
            const char *const text = va_arg(args.list, const char *);
            return field.IsSimple() && text != nullptr ? PutText(out, beyond, field, text) : beyond;
        }
        default:
            return beyond;
    }
}

// How far the text and the format have come.
struct Place {
    char *out;
    const char *at;
};

[[gnu::noinline, gnu::flatten]] Place PutAny(Place place, char *beyond, Arguments &args) {
    Field field;
    const char letter = ReadField(place.at, args, field);
    return {PutConversion(place.out, beyond, letter, field, args), place.at};
}

// Most conversions are one of five letters, alone or after a zero and a digit: for each of them the
// compiler leaves out all else that a field may have.
Place PutNext(Place place, char *beyond, Arguments &args) {
    const char *at = place.at;
    Field field;
    if (*at == '0' && at[1] >= '2' && at[1] <= '8') {
        field.flags = Bit('0');
        field.zeros = static_cast<size_t>(at[1] - '0');
        at += 2;
    }
    for (const char letter : {'d', 'u', 'x', 's', 'X'}) {
        if (*at == letter) {
            return {PutConversion(place.out, beyond, letter, field, args), at + 1};
        }
    }
    return PutAny(place, beyond, args);
}

}  // namespace

[[gnu::flatten]] int GatherPlain(PlainRoom &room, const char *format, Arguments &args) noexcept {
    char *const beyond = room + kLongestPlainText + 1;
    const char *const terminator = format + std::strlen(format);
    if (terminator > format + kLongestPlainFormat) {
        return kNotPlain;
    }
    for (Place place = {room, format};;) {
        const char *const percent = CopyUpTo('%', place.out, format, place.at, terminator);
        place = {place.out + (percent - place.at), percent};
        if (place.out >= beyond) {
            return kNotPlain;
        }
        if (place.at == terminator) {
            return static_cast<int>(place.out - room);
        }
        if (Skip(++place.at, '%')) {
            *place.out++ = '%';
        } else {
            place = PutNext(place, beyond, args);
        }
    }
}

}  // namespace dxr
