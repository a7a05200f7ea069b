/*
 * Bitmaps and bit fields over arrays of 32-bit words.
 *
 * A bitmap is an array of `wordCount` words; bit i is bit i mod 32, counted from the least
 * significant, of word i / 32. Ranges of bits are compared in 32-bit arithmetic: the number of
 * bits, wordCount * 32, wraps for 2^27 words or more.
 *
 * Whole-bitmap operations go word by word from index 0 up; source and destination may be the same
 * array. Array pointers must not be null. Yes/no results are 1 or 0. Nothing is allocated or kept:
 * any thread may call at any time, on arrays that no other thread is writing. Cost: each word once,
 * but for single bits and fields, which touch two words at most.
 */
#ifndef DXR_UTILS_BITMAP_H
#define DXR_UTILS_BITMAP_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* A value that is expected to equal `expected` in the bits of `mask`. */
typedef struct DxrBitHitRec {
    uint32_t value;
    uint32_t mask;
    uint32_t expected;
} DxrBitHitRec;

DXR_STATIC_ASSERT(sizeof(DxrBitHitRec) == 12, "size of DxrBitHitRec");
DXR_STATIC_ASSERT(offsetof(DxrBitHitRec, value) == 0, "DxrBitHitRec.value");
DXR_STATIC_ASSERT(offsetof(DxrBitHitRec, mask) == 4, "DxrBitHitRec.mask");
DXR_STATIC_ASSERT(offsetof(DxrBitHitRec, expected) == 8, "DxrBitHitRec.expected");

/* ---- Whole bitmaps ---- */

/* 1 if the two bitmaps are equal, else 0; stops at the first difference. 0 words are equal. */
DXR_API uint32_t DXR_IsSameBitMap(const uint32_t *a, const uint32_t *b, uint32_t wordCount);

/* Copies the words of `src` to `dst`. */
DXR_API void DXR_BitmapCopy(uint32_t *dst, const uint32_t *src, uint32_t wordCount);

/* Clears every bit. */
DXR_API void DXR_BitmapZero(uint32_t *bmp, uint32_t wordCount);

/* 1 if no bit is set, else 0. 0 words have no bit set. */
DXR_API uint32_t DXR_IsZeroBmp(const uint32_t *bmp, uint32_t wordCount);

/* Each word of `dst` becomes itself OR, AND or XOR the same word of `src`. */
DXR_API void DXR_OrBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount);
DXR_API void DXR_AndBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount);
DXR_API void DXR_XorBmp(uint32_t *dst, const uint32_t *src, uint32_t wordCount);

/* Inverts every bit; to reverse means to invert here. */
DXR_API void DXR_ReverseBmp(uint32_t *bmp, uint32_t wordCount);

/* Reverses the order of the words and leaves the bits of each word as they are; to inverse means to
 * reorder here. */
DXR_API void DXR_InverseBitMap(uint32_t *bmp, uint32_t wordCount);

/* Inverts bits 0 to n - 1 and leaves the others; n is the smaller of `bitCount` and the number of
 * bits. */
DXR_API void DXR_NegateArray(uint32_t *bmp, uint32_t wordCount, uint32_t bitCount);

/* Number of the `count` words that are not 0. */
DXR_API uint32_t DXR_GetNonZeroCntInArray(const uint32_t *arr, uint32_t count);

/* 1 if at least `n` of the `count` words are not 0 (exactly `n` counts as over), else 0. */
DXR_API uint32_t DXR_IsNonZeroCntOverN(const uint32_t *arr, uint32_t count, uint32_t n);

/* Number of set bits in one word, 0 to 32. */
DXR_API uint32_t DXR_CountValidBit(uint32_t word);

/* Number of set bits in `count` words. */
DXR_API uint32_t DXR_CountValidBitOfArray(const uint32_t *arr, uint32_t count);

/*
 * Writes the words into `buf` as "0x%x " each, the highest word first, and leaves word 0 out: a
 * bitmap of one word gives an empty text. `bufLen` is the size of `buf` in bytes; a longer text is
 * cut and always terminated, which is not reported. A null `buf` or a `bufLen` of 0 writes nothing.
 */
DXR_API void DXR_GetBitMapStr(const uint32_t *bmp, uint32_t wordCount, char *buf, uint32_t bufLen);

/* ---- Single bits: a bit outside the bitmap reads as 0 and is not written ---- */

/* 1 if bit `bit` is set, else 0. */
DXR_API uint32_t DXR_IsSetBmp(const uint32_t *bmp, uint32_t wordCount, uint32_t bit);

/* Sets bit `bit`. */
DXR_API void DXR_SetBmpBit(uint32_t *bmp, uint32_t wordCount, uint32_t bit);

/* Clears bit `bit`. */
DXR_API void DXR_ClearBmpBit(uint32_t *bmp, uint32_t wordCount, uint32_t bit);

/* ---- Bit fields: `width` bits (0 to 32) from bit `startBit` up, over at most two words ---- */

/*
 * Writes the low `width` bits of `value` into the field. Bits that would lie beyond `wordCount`
 * words are dropped. A `width` of 0 writes a whole word's field, `value` into bits startBit mod 32
 * to 31 of its word; a `width` above 32 writes nothing.
 */
DXR_API void DXR_SetBitField(uint32_t *buf, uint32_t wordCount, uint32_t value, uint32_t startBit,
                             uint32_t width);

/* DXR_SetBitField() on the single word at `buf`. */
DXR_API void DXR_SetBitField32(uint32_t *buf, uint32_t value, uint32_t startBit, uint32_t width);

/* Sets bit `bit` (0 to 31) of the single word at `buf`; a higher one is ignored. */
DXR_API void DXR_SetBit(uint32_t *buf, uint32_t bit);

/* Clears bit `bit` (0 to 31) of the single word at `buf`; a higher one is ignored. */
DXR_API void DXR_ClearBit(uint32_t *buf, uint32_t bit);

/*
 * The value of the field. Bits beyond `wordCount` words read as 0, and so do a field that starts
 * there, a `width` of 0 (unlike in DXR_SetBitField()) and a `width` above 32.
 */
DXR_API uint32_t DXR_GetBitField(const uint32_t *buf, uint32_t wordCount, uint32_t startBit,
                                 uint32_t width);

/* DXR_GetBitField() on the 64 bits of `value`, bit 0 being the least significant. */
DXR_API uint32_t DXR_GetBitField64(uint64_t value, uint32_t startBit, uint32_t width);

/* DXR_GetBitField() on the 32 bits of `value`. */
DXR_API uint32_t DXR_GetBitField32(uint32_t value, uint32_t startBit, uint32_t width);

/* Bit `bit` of `value`: 0 or 1; 0 for a `bit` of 32 or more. */
DXR_API uint32_t DXR_GetBit(uint32_t value, uint32_t bit);

/* 1 if the masked value differs from the expected one, 0 if it equals it: a hit is a mismatch. */
DXR_API uint32_t DXR_IsBitHit(const DxrBitHitRec *rec);

DXR_EXTERN_C_END

#endif /* DXR_UTILS_BITMAP_H */
