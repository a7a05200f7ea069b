// Text in words of eight characters, the first in the lowest byte. It is written in whole words and
// blocks: up to kTextBlock bytes after the end may be written too.
#ifndef DXR_INTERNAL_CHARACTERS_H
#define DXR_INTERNAL_CHARACTERS_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace dxr {

constexpr size_t kTextBlock = 16;

// A byte in each of eight.
constexpr uint64_t Eight(uint8_t byte) {
    return uint64_t{byte} * 0x0101010101010101;
}

// The byte that the lowest bit is in, 0 the lowest; 8 without a bit.
inline size_t ByteOfLowest(uint64_t bits) {
    return static_cast<unsigned>(std::countr_zero(bits)) / 8;
}

// A bit in the first byte that is the character, and none before it; 0 when there is none.
inline uint64_t BitAtFirst(char character, uint64_t characters) {
    const uint64_t others = characters ^ Eight(static_cast<uint8_t>(character));
    return (others - Eight(1)) & ~others & Eight(0x80);
}

inline uint64_t FirstLowest(uint64_t characters) {
    return std::endian::native == std::endian::big ? __builtin_bswap64(characters) : characters;
}
inline uint64_t LoadCharacters(const char *from) {
    uint64_t characters;
    std::memcpy(&characters, from, sizeof(characters));
    return FirstLowest(characters);
}
inline void StoreCharacters(char *out, uint64_t characters) {
    characters = FirstLowest(characters);
    std::memcpy(out, &characters, sizeof(characters));
}

// Eight characters at a place before the end of a text, or those that are left, and NULs. Nothing
// outside of the text is read.
[[gnu::always_inline]] inline uint64_t LoadNext(const char *text, const char *at, size_t left) {
    if (left >= 8) {
        return LoadCharacters(at);
    }
    if (at + left - text >= 8) {
        return LoadCharacters(at + left - 8) >> (64 - 8 * left);
    }
    uint64_t characters = 0;
    while (left > 0) {
        characters = characters << 8 | static_cast<uint8_t>(at[--left]);
    }
    return characters;
}

// Copies from a place in a text up to such a character or the end. Returns that place.
[[gnu::always_inline]] inline const char *CopyUpTo(char character, char *out, const char *text,
                                                   const char *at, const char *end) {
    for (; at != end; at += 8, out += 8) {
        const auto left = static_cast<size_t>(end - at);
        const uint64_t characters = LoadNext(text, at, left);
        StoreCharacters(out, characters);
        if (const uint64_t bit = BitAtFirst(character, characters); bit != 0) {
            return at + ByteOfLowest(bit);
        }
        if (left <= 8) {
            return end;
        }
    }
    return end;
}

// As many of a character as a piece of this length lacks to the width. Returns their end.
[[gnu::always_inline]] inline char *Fill(char *out, char character, size_t width, size_t length) {
    for (; width > length; length += kTextBlock) {
        std::memset(out, character, kTextBlock);
        out += std::min(width - length, kTextBlock);
    }
    return out;
}

}  // namespace dxr

#endif  // DXR_INTERNAL_CHARACTERS_H
