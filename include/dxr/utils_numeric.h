/*
 * Comparison, sorting, search, scaling, division, averages and byte order of 32-bit and 64-bit
 * numbers.
 *
 * Unsigned arithmetic wraps. Where signed arithmetic is said to be checked, a sum or difference
 * that does not fit in 32 signed bits ends the process with abort(). Pointers must not be null.
 * Yes/no results are 1 or 0. Nothing is kept: any thread may call at any time. Cost: averages and
 * searches take each element once, sorting n of them about n log n steps, all else a few.
 */
#ifndef DXR_UTILS_NUMERIC_H
#define DXR_UTILS_NUMERIC_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* ---- Comparison, sorting, search ---- */

/*
 * Comparators for qsort() over signed 32-bit elements: the difference *a - *b (ascending) or *b -
 * *a (descending), in checked arithmetic. Elements too far apart, such as INT32_MIN and 1, end the
 * process.
 */
DXR_API int32_t DXR_AscendCmp(const void *a, const void *b);
DXR_API int32_t DXR_DescendCmp(const void *a, const void *b);

/*
 * Sort the `n` signed 32-bit elements at `base`. Where two of them differ by more than fits in 32
 * signed bits, qsort() sorts with the comparator of that order, whose limit holds.
 */
DXR_API void DXR_AscendSort(void *base, uint32_t n);
DXR_API void DXR_DecendSort(void *base, uint32_t n);

/* Lowest index of `value` among the `count` elements of `arr`; 0xFFFFFFFF if it is not there. */
DXR_API uint32_t DXR_Find(const uint32_t *arr, uint32_t value, uint32_t count);

/* The larger or the smaller of two unsigned values. */
DXR_API uint32_t DXR_Max(uint32_t a, uint32_t b);
DXR_API uint32_t DXR_Min(uint32_t a, uint32_t b);
DXR_API uint64_t DXR_Max64(uint64_t a, uint64_t b);
DXR_API uint64_t DXR_Min64(uint64_t a, uint64_t b);

/* Bit 0 of the value, and 1 minus it. */
DXR_API uint32_t DXR_IsOdd(uint32_t value);
DXR_API uint32_t DXR_IsEven(uint32_t value);

/* ---- Rates, percentages, division, averages ---- */

/*
 * Scales `*rate` down, truncating, and names the scale in `*unit`: above 1,000,000,000 to thousand
 * millions (2), else above 1,000,000 to millions (1), else, however small it is, to thousands (0).
 */
DXR_API void DXR_ConvertRateUnit(uint64_t *rate, uint32_t *unit);

/* part * 100 / total, truncated, the product wrapping at 2^32; 0 if `total` is 0. */
DXR_API uint32_t DXR_CalPercentage(uint32_t part, uint32_t total);

/*
 * The truncated quotient; `*fraction` gets the first `decimals` decimal digits after the point. The
 * digits come from 10^decimals * dividend, which wraps at 2^32; 10^decimals itself stops at
 * 0xFFFFFFFF. A `divisor` of 0 gives 0 and leaves `*fraction` as it is.
 */
DXR_API uint32_t DXR_Div(uint32_t dividend, uint32_t divisor, uint32_t decimals,
                         uint32_t *fraction);

/*
 * The mean of `count` signed values, truncated toward zero; 0 if `count` is 0. The sum is checked
 * arithmetic from index 0 up. A `count` of 2^31 or more divides as a negative number; the one
 * quotient that does not fit (INT32_MIN by a `count` of 2^32 - 1) ends the process as well.
 */
DXR_API int32_t DXR_Avg(const int32_t *values, uint32_t count);

/* ---- Byte order ---- */

/* 1 if the host stores the least significant byte first, else 0. */
DXR_API uint32_t DXR_IsLittleEndianess(void);

/* Between host and network byte order. There is no form from host to network for 64 bits. */
DXR_API uint32_t DXR_NTOHL(uint32_t value);
DXR_API uint32_t DXR_HTONL(uint32_t value);
DXR_API uint64_t DXR_NTOHLL(uint64_t value);
DXR_API uint16_t DXR_HTONS(uint16_t value);
DXR_API uint16_t DXR_NTOHS(uint16_t value);

/* The four bytes reversed, whatever the host. */
DXR_API uint32_t DXR_ReverseByte(uint32_t value);

/*
 * The low `byteCount` bytes (1 to 8) of `value` in reverse order, the bytes above them dropped;
 * bytes, not bits. 0 bytes give 0; above 8 the bytes repeat every 8, shift amounts being taken
 * modulo 64.
 */
DXR_API uint64_t DXR_FlipBit(uint64_t value, uint32_t byteCount);

DXR_EXTERN_C_END

#endif /* DXR_UTILS_NUMERIC_H */
