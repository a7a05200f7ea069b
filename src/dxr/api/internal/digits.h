// The digits of numbers as texts, eight at a time, with room after them as characters.h says.
#ifndef DXR_INTERNAL_DIGITS_H
#define DXR_INTERNAL_DIGITS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "internal/characters.h"

namespace dxr {

// The characters of a number, in words of eight, the first in the lowest byte.
struct Digits {
    uint64_t top;         // zeros before the first digit
    uint64_t middle = 0;  // when there are three words
    uint64_t last = 0;    // when there are two
    size_t all = 8;       // the zeros included
    size_t count = 1;     // without them, but one for the number 0

    // With more zeros before them. Of the number 0 only those that are asked for.
    [[nodiscard]] size_t Count(size_t least) const {
        return least == 0 && top == Eight('0') ? 0 : std::max(least, count);
    }
};

namespace digits {

// The first numbers of nine digits.
constexpr uint64_t kNineDecimal = 100000000;
constexpr uint64_t kNineHexadecimal = 1ULL << 32;
constexpr uint64_t kNineOctal = 1U << 24;

// Eight digits, a byte each, the first in the lowest: halves, quarters and eighths of a word, all
// of one level at a time. No table that a cold call would wait for.
inline uint64_t EightDecimal(uint64_t number) {
    uint64_t digits = number < 10000 ? number << 32 : number / 10000 | (number % 10000) << 32;
    const uint64_t hundreds = digits * 5243 >> 19 & 0x0000007F0000007F;
    digits = hundreds | (digits - hundreds * 100) << 16;
    const uint64_t tens = digits * 103 >> 10 & 0x000F000F000F000F;
    return tens | (digits - tens * 10) << 8;
}

// Eight digits of so many bits.
template <unsigned kBits>
inline uint64_t EightBinary(uint64_t number) {
    constexpr uint64_t kQuarter = ((1U << (2 * kBits)) - 1) * 0x0000000100000001;
    constexpr uint64_t kEighth = ((1U << kBits) - 1) * 0x0001000100010001;
    uint64_t digits = number >> (4 * kBits) | number << 32;
    digits = (digits >> (2 * kBits) & kQuarter) | (digits & kQuarter) << 16;
    return (digits >> kBits & kEighth) | (digits & kEighth) << 8;
}

// The characters of digits. `letter` stands for the digit 10; without it there is none.
inline uint64_t Characters(uint64_t digits) {
    return digits + Eight('0');
}
inline uint64_t Characters(uint64_t digits, char letter) {
    const uint64_t letters = (digits + Eight(6)) >> 4 & Eight(1);
    return Characters(digits) + letters * static_cast<uint64_t>(letter - '9' - 1);
}

template <uint64_t kLimit, uint64_t (*kEight)(uint64_t), typename... Letter>
[[gnu::always_inline]] inline Digits Split(uint64_t number, Letter... letter) {
    Digits digits;
    if (number >= kLimit) {
        digits.all = 16;
        digits.last = Characters(kEight(number % kLimit), letter...);
        number /= kLimit;
        if (number >= kLimit) {
            digits.all = 24;
            digits.middle = Characters(kEight(number % kLimit), letter...);
            number /= kLimit;
        }
    }
    // A bit that is always there, so that the compiler need not ask.
    const uint64_t top = kEight(number);
    digits.top = Characters(top, letter...);
    digits.count = digits.all - ByteOfLowest(top | 1ULL << 63);
    return digits;
}

}  // namespace digits

[[gnu::always_inline]] inline Digits DecimalDigits(uint64_t number) {
    return digits::Split<digits::kNineDecimal, digits::EightDecimal>(number);
}
[[gnu::always_inline]] inline Digits OctalDigits(uint64_t number) {
    return digits::Split<digits::kNineOctal, digits::EightBinary<3>>(number);
}
[[gnu::always_inline]] inline Digits HexadecimalDigits(uint64_t number, char letter) {
    return digits::Split<digits::kNineHexadecimal, digits::EightBinary<4>>(number, letter);
}

// At least so many of them, with more zeros before. Returns the end of the text.
[[gnu::always_inline]] inline char *StoreDigits(char *out, const Digits &digits, size_t least) {
    out = Fill(out, '0', least, digits.all);
    const size_t count = least > digits.all ? digits.all : digits.Count(least);
    StoreCharacters(out, digits.top >> (8 * (digits.all - count) & 63));
    out += count - (digits.all - 8);
    if (digits.all > 16) {
        StoreCharacters(out, digits.middle);
        out += 8;
    }
    if (digits.all > 8) {
        StoreCharacters(out, digits.last);
        out += 8;
    }
    return out;
}

}  // namespace dxr

#endif  // DXR_INTERNAL_DIGITS_H
