// The digits of numbers as texts, eight at a time. Whole words are stored: up to seven bytes after
// the last digit may be written.
#ifndef DXR_INTERNAL_DIGITS_H
#define DXR_INTERNAL_DIGITS_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace dxr {

// The characters of a number.
struct Digits {
    uint64_t top;  // without leading zeros, the first in the lowest byte
    int count;
    int words = 0;  // of eight digits each, below the top; the last digits first
    uint64_t lower[2];
};

namespace digits {

// The first numbers of nine digits.
constexpr uint64_t kNineDecimal = 100000000;
constexpr uint64_t kNineHexadecimal = 1ULL << 32;
constexpr uint64_t kNineOctal = 1U << 24;

// Eight digits, a byte each, the first in the lowest: halves, quarters and eighths of a word, all
// of one level at a time. No table that a cold call would wait for.
inline uint64_t EightDecimal(uint64_t number) {
    uint64_t digits = number / 10000 | (number % 10000) << 32;
    const uint64_t hundreds = digits * 5243 >> 19 & 0x0000007F0000007F;
    digits = hundreds | (digits - hundreds * 100) << 16;
    const uint64_t tens = digits * 103 >> 10 & 0x000F000F000F000F;
    return tens | (digits - tens * 10) << 8;
}

// Four digits likewise.
inline uint64_t FourDecimal(uint64_t number) {
    const uint64_t hundreds = number * 5243 >> 19;
    const uint64_t digits = hundreds | (number - hundreds * 100) << 16;
    const uint64_t tens = digits * 103 >> 10 & 0x000F000F;
    return tens | (digits - tens * 10) << 8;
}

// Eight digits of so many bits.
template <unsigned kBits>
inline uint64_t EightBinary(uint64_t number) {
    constexpr uint64_t kHalf = (1U << (4 * kBits)) - 1;
    constexpr uint64_t kQuarter = ((1U << (2 * kBits)) - 1) * 0x0000000100000001;
    constexpr uint64_t kEighth = ((1U << kBits) - 1) * 0x0001000100010001;
    uint64_t digits = number >> (4 * kBits) | (number & kHalf) << 32;
    digits = (digits >> (2 * kBits) & kQuarter) | (digits & kQuarter) << 16;
    return (digits >> kBits & kEighth) | (digits & kEighth) << 8;
}

// The characters of digits. `letter` stands for the digit 10; without it there is none.
inline uint64_t Characters(uint64_t digits) {
    return digits + 0x3030303030303030;
}
inline uint64_t Characters(uint64_t digits, char letter) {
    const uint64_t letters = (digits + 0x0606060606060606) >> 4 & 0x0101010101010101;
    return Characters(digits) + letters * static_cast<uint64_t>(letter - '9' - 1);
}

template <uint64_t kLimit, uint64_t (*kEight)(uint64_t), typename... Letter>
[[gnu::always_inline]] inline Digits Split(uint64_t number, Letter... letter) {
    Digits digits;
    for (; number >= kLimit; number /= kLimit) {
        digits.lower[digits.words++] = Characters(kEight(number % kLimit), letter...);
    }
    const uint64_t top = kEight(number);
    const int leading = std::countr_zero(top | 1ULL << 63) / 8;
    digits.top = Characters(top, letter...) >> (8 * leading);
    digits.count = 8 * (digits.words + 1) - leading;
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

// Up to eight characters, the first in the lowest byte.
inline void StoreCharacters(char *out, uint64_t characters) {
    if constexpr (std::endian::native == std::endian::big) {
        characters = __builtin_bswap64(characters);
    }
    std::memcpy(out, &characters, sizeof(characters));
}

// These return the end of the text.

[[gnu::always_inline]] inline char *StoreDigits(char *out, const Digits &digits) {
    StoreCharacters(out, digits.top);
    out += digits.count - 8 * digits.words;
    for (int word = digits.words; word > 0; out += 8) {
        StoreCharacters(out, digits.lower[--word]);
    }
    return out;
}

namespace digits {

// Digits of which the last `least` stand even if they are zeros.
template <int kCount>
inline char *StoreShort(char *out, uint64_t digits, uint64_t characters, int least) {
    const int leading = std::countr_zero(digits | 1ULL << (8 * (kCount - least))) / 8;
    StoreCharacters(out, characters >> (8 * leading));
    return out + kCount - leading;
}

}  // namespace digits

// At least so many digits, 1 to 8: short numbers are stored as soon as they are known to be.
[[gnu::always_inline]] inline char *StoreDecimal(char *out, uint32_t number, int least = 1) {
    if (number < 10000 && least <= 4) {
        const uint64_t four = digits::FourDecimal(number);
        return digits::StoreShort<4>(out, four, digits::Characters(four), least);
    }
    if (number < digits::kNineDecimal) {
        const uint64_t eight = digits::EightDecimal(number);
        return digits::StoreShort<8>(out, eight, digits::Characters(eight), least);
    }
    return StoreDigits(out, DecimalDigits(number));
}

[[gnu::always_inline]] inline char *StoreHexadecimal(char *out, uint32_t number, char letter,
                                                     int least) {
    const uint64_t eight = digits::EightBinary<4>(number);
    return digits::StoreShort<8>(out, eight, digits::Characters(eight, letter), least);
}

}  // namespace dxr

#endif  // DXR_INTERNAL_DIGITS_H
