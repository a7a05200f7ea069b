#include "dxr/utils_bitmap.h"

#include <algorithm>

#include "internal/bit_address.h"
#include "internal/host_services.h"
#include "internal/offset_writer.h"
#include "kernels/word_operations.h"
#include "kernels/word_queries.h"

using dxr::BitAddress;
using dxr::BitCount;
using dxr::kBitsPerWord;
using dxr::LowBits;

namespace {

// A field of width 0 is written as one of a whole word, although it is read as nothing: intended.
constexpr uint32_t WriteMask(uint32_t width) noexcept {
    return 0xFFFFFFFFU >> (kBitsPerWord - width) % kBitsPerWord;
}

constexpr uint32_t Low(uint64_t value) noexcept {
    return static_cast<uint32_t>(value);
}

constexpr uint32_t High(uint64_t value) noexcept {
    return static_cast<uint32_t>(value >> kBitsPerWord);
}

// A field of `value` from a bit that lies inside it on.
constexpr uint32_t FieldOf(uint64_t value, uint32_t startBit, uint32_t width) noexcept {
    return Low(value >> startBit) & LowBits(width);
}

// Those bits of `word` replaced that are set in `mask`.
constexpr uint32_t Replaced(uint32_t word, uint32_t mask, uint32_t bits) noexcept {
    return (word & ~mask) | bits;
}

}  // namespace

uint32_t DXR_IsSameBitMap(const uint32_t *a, const uint32_t *b, uint32_t wordCount) {
    return dxr::AreSameWords(a, b, wordCount);
}

// Not memcpy_s, which refuses overlap: callers may copy a bitmap onto itself.
void DXR_BitmapCopy(uint32_t *dst, const uint32_t *src, uint32_t wordCount) {
    dxr::CopyWords(dst, src, wordCount);
}

void DXR_BitmapZero(uint32_t *bmp, uint32_t wordCount) {
    dxr::ZeroWords(bmp, wordCount);
}

uint32_t DXR_IsZeroBmp(const uint32_t *bmp, uint32_t wordCount) {
    return dxr::AreZeroWords(bmp, wordCount);
}

// From the beginning of a cache line: elsewhere a call costs up to a quarter more.
[[gnu::aligned(64)]] void DXR_OrBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount) {
    dxr::OrWords(dst, src, wordCount);
}

[[gnu::aligned(64)]] void DXR_AndBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount) {
    dxr::AndWords(dst, src, wordCount);
}

[[gnu::aligned(64)]] void DXR_XorBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount) {
    dxr::XorWords(dst, src, wordCount);
}

// Inverts bits, while DXR_InverseBitMap reverses words: the names are the interface's, not a
// mix-up.
void DXR_ReverseBmp(uint32_t *bmp, uint32_t wordCount) {
    for (uint32_t i = 0; i < wordCount; ++i) {
        bmp[i] = ~bmp[i];
    }
}

void DXR_InverseBitMap(uint32_t *bmp, uint32_t wordCount) {
    std::reverse(bmp, bmp + wordCount);
}

void DXR_NegateArray(uint32_t *bmp, uint32_t wordCount, uint32_t bitCount) {
    const BitAddress end(std::min(bitCount, BitCount(wordCount)));
    DXR_ReverseBmp(bmp, end.word);
    if (end.shift != 0) {
        bmp[end.word] ^= LowBits(end.shift);
    }
}

uint32_t DXR_GetNonZeroCntInArray(const uint32_t *arr, uint32_t count) {
    uint32_t nonZero = 0;
    for (uint32_t i = 0; i < count; ++i) {
        nonZero += arr[i] != 0 ? 1 : 0;
    }
    return nonZero;
}

uint32_t DXR_IsNonZeroCntOverN(const uint32_t *arr, uint32_t count, uint32_t n) {
    return DXR_GetNonZeroCntInArray(arr, count) >= n ? 1 : 0;
}

uint32_t DXR_CountValidBit(uint32_t word) {
    return dxr::BitsInWord(word);
}

uint32_t DXR_CountValidBitOfArray(const uint32_t *arr, uint32_t count) {
    return dxr::BitsInWords(arr, count);
}

void DXR_GetBitMapStr(const uint32_t *bmp, uint32_t wordCount, char *buf, uint32_t bufLen) {
    if (buf == nullptr || bufLen == 0) {
        return;
    }
    dxr::OffsetWriter text(buf, bufLen);
    // Word 0 is left out: intended.
    for (uint32_t i = wordCount; i > 1 && !text.Full(); --i) {
        text.Append("0x%x ", bmp[i - 1]);
    }
    if (text.Offset() < bufLen) {
        buf[text.Offset()] = '\0';
        return;
    }
    // Too long, or stepped back out of the buffer by a formatter that fails; ours, which counts
    // what it stored, gets here in the second way alone.
    buf[bufLen - 1] = '\0';
    if (const DxrPrintHook print = dxr::PrintHook()) {
        print(dxr::kLevelInfo, "bmp is overLenth!");
    }
}

uint32_t DXR_IsSetBmp(const uint32_t *bmp, uint32_t wordCount, uint32_t bit) {
    const BitAddress at(bit);
    return bit < BitCount(wordCount) && (bmp[at.word] & at.Mask()) != 0 ? 1 : 0;
}

void DXR_SetBmpBit(uint32_t *bmp, uint32_t wordCount, uint32_t bit) {
    if (bit < BitCount(wordCount)) {
        const BitAddress at(bit);
        bmp[at.word] |= at.Mask();
    }
}

void DXR_ClearBmpBit(uint32_t *bmp, uint32_t wordCount, uint32_t bit) {
    if (bit < BitCount(wordCount)) {
        const BitAddress at(bit);
        bmp[at.word] &= ~at.Mask();
    }
}

void DXR_SetBitField(uint32_t *buf, uint32_t wordCount, uint32_t value, uint32_t startBit,
                     uint32_t width) {
    const BitAddress at(startBit);
    if (width > kBitsPerWord || at.word >= wordCount) {
        return;
    }
    const uint64_t mask = uint64_t{WriteMask(width)} << at.shift;
    const uint64_t bits = uint64_t{value} << at.shift & mask;
    buf[at.word] = Replaced(buf[at.word], Low(mask), Low(bits));
    if (at.shift + width > kBitsPerWord && at.word + 1 < wordCount) {
        buf[at.word + 1] = Replaced(buf[at.word + 1], High(mask), High(bits));
    }
}

void DXR_SetBitField32(uint32_t *buf, uint32_t value, uint32_t startBit, uint32_t width) {
    if (width <= kBitsPerWord && startBit < kBitsPerWord) {
        const uint32_t mask = WriteMask(width) << startBit;
        *buf = Replaced(*buf, mask, value << startBit & mask);
    }
}

void DXR_SetBit(uint32_t *buf, uint32_t bit) {
    DXR_SetBmpBit(buf, 1, bit);
}

void DXR_ClearBit(uint32_t *buf, uint32_t bit) {
    DXR_ClearBmpBit(buf, 1, bit);
}

// From the beginning of a cache line: elsewhere a call costs up to a sixth more.
[[gnu::aligned(64)]] uint32_t DXR_GetBitField(const uint32_t *buf, uint32_t wordCount,
                                              uint32_t startBit, uint32_t width) {
    const BitAddress at(startBit);
    if (width > kBitsPerWord || at.word >= wordCount) {
        return 0;
    }
    uint64_t words = buf[at.word];
    if (at.shift + width > kBitsPerWord && at.word + 1 < wordCount) {
        words |= uint64_t{buf[at.word + 1]} << kBitsPerWord;
    }
    return FieldOf(words, at.shift, width);
}

uint32_t DXR_GetBitField64(uint64_t value, uint32_t startBit, uint32_t width) {
    return width > kBitsPerWord || startBit >= 2 * kBitsPerWord ? 0
                                                                : FieldOf(value, startBit, width);
}

uint32_t DXR_GetBitField32(uint32_t value, uint32_t startBit, uint32_t width) {
    return width > kBitsPerWord || startBit >= kBitsPerWord ? 0 : FieldOf(value, startBit, width);
}

uint32_t DXR_GetBit(uint32_t value, uint32_t bit) {
    return bit >= kBitsPerWord ? 0 : value >> bit & 1U;
}

// A mismatch is the hit: intended.
uint32_t DXR_IsBitHit(const DxrBitHitRec *rec) {
    return (rec->value & rec->mask) != rec->expected ? 1 : 0;
}
