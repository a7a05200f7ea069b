// The digits of numbers as texts, eight at a time. Whole words are stored: up to seven bytes after
// the last digit may be written.
#ifndef DXR_INTERNAL_DIGITS_H
#define DXR_INTERNAL_DIGITS_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace dxr::digits {

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

// The same for digits of so many bits.
template <unsigned kBits>
inline uint64_t EightBinary(uint64_t number) {
    constexpr uint64_t kHalf = (1U << (4 * kBits)) - 1;
    constexpr uint64_t kQuarter = ((1U << (2 * kBits)) - 1) * 0x0000000100000001;
    constexpr uint64_t kEighth = ((1U << kBits) - 1) * 0x0001000100010001;
    uint64_t digits = number >> (4 * kBits) | (number & kHalf) << 32;
    digits = (digits >> (2 * kBits) & kQuarter) | (digits & kQuarter) << 16;
    return (digits >> kBits & kEighth) | (digits & kEighth) << 8;
}

// Up to eight characters, the first in the lowest byte.
inline void Store(char *out, uint64_t characters) {
    if constexpr (std::endian::native == std::endian::big) {
        characters = __builtin_bswap64(characters);
    }
    std::memcpy(out, &characters, sizeof(characters));
}

struct Digits {
    uint64_t top;  // without leading zeros
    int count;
    int words = 0;  // below the top, the last digits first
    uint64_t lower[2];
};

// The first numbers of nine digits.
constexpr uint64_t kNineDecimal = 100000000;
constexpr uint64_t kNineHexadecimal = 1ULL << 32;
constexpr uint64_t kNineOctal = 1U << 24;

// The characters of digits. `letter` stands for the digit 10.
inline uint64_t Characters(uint64_t digits) {
    return digits + 0x3030303030303030;
}
inline uint64_t Characters(uint64_t digits, char letter) {
    const uint64_t letters = (digits + 0x0606060606060606) >> 4 & 0x0101010101010101;
    return Characters(digits) + letters * static_cast<uint64_t>(letter - '9' - 1);
}

template <uint64_t kLimit, uint64_t (*kEight)(uint64_t)>
[[gnu::always_inline]] inline void Split(Digits &digits, uint64_t number, char letter = 'a') {
    const auto characters = [letter](uint64_t eight) {
        return kLimit == kNineHexadecimal ? Characters(eight, letter) : Characters(eight);
    };
    for (; number >= kLimit; number /= kLimit) {
        digits.lower[digits.words++] = characters(kEight(number % kLimit));
    }
    const uint64_t top = kEight(number);
    const int leading = std::countr_zero(top | 1ULL << 63) / 8;
    digits.top = characters(top) >> (8 * leading);
    digits.count = 8 * (digits.words + 1) - leading;
}

[[gnu::always_inline]] inline char *PutDigits(char *out, const Digits &digits) {
    Store(out, digits.top);
    out += digits.count - 8 * digits.words;
    for (int word = digits.words; word > 0; out += 8) {
        Store(out, digits.lower[--word]);
    }
    return out;
}

// Stores digits of which the last `least` stand even if they are zeros.
template <int kCount>
inline char *PutShort(char *out, uint64_t digits, uint64_t characters, int least) {
    const int leading = std::countr_zero(digits | 1ULL << (8 * (kCount - least))) / 8;
    Store(out, characters >> (8 * leading));
    return out + kCount - leading;
}

}  // namespace dxr::digits

#endif  // DXR_INTERNAL_DIGITS_H
