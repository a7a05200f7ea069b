#include "dxr/utils_numeric.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <iterator>
#include <limits>

#include "internal/checked.h"
#include "kernels/integer_sort.h"

using dxr::CheckedAdd;
using dxr::CheckedDiv;
using dxr::CheckedSub;

namespace {

// Units of a scaled rate.
constexpr uint32_t kUnitThousand = 0;
constexpr uint32_t kUnitMillion = 1;
constexpr uint32_t kUnitThousandMillion = 2;

constexpr uint64_t kThousand = 1'000;
constexpr uint64_t kMillion = 1'000'000;
constexpr uint64_t kThousandMillion = 1'000'000'000;

constexpr uint32_t kNotFound = 0xFFFFFFFF;
constexpr uint32_t kBitsPerByte = 8;
constexpr uint32_t kBytesOf64Bits = 8;

constexpr bool kLittleEndian = std::endian::native == std::endian::little;

int32_t Element(const void *element) noexcept {
    return *static_cast<const int32_t *>(element);
}

// 10^decimals, held at the greatest 32-bit value.
uint32_t SaturatedPowerOfTen(uint32_t decimals) noexcept {
    constexpr uint32_t kPowers[] = {1,       10,        100,        1'000,       10'000,
                                    100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};
    return decimals < std::size(kPowers) ? kPowers[decimals] : std::numeric_limits<uint32_t>::max();
}

}  // namespace

// The comparators subtract, and end the process where the difference does not fit: intended, they
// are not three-way comparisons.
int32_t DXR_AscendCmp(const void *a, const void *b) {
    return CheckedSub(Element(a), Element(b));
}

int32_t DXR_DescendCmp(const void *a, const void *b) {
    return CheckedSub(Element(b), Element(a));
}

void DXR_AscendSort(void *base, uint32_t n) {
    if (!dxr::SortAscending(static_cast<int32_t *>(base), n)) {
        std::qsort(base, n, sizeof(int32_t), DXR_AscendCmp);
    }
}

void DXR_DecendSort(void *base, uint32_t n) {
    auto *const elements = static_cast<int32_t *>(base);
    if (dxr::SortAscending(elements, n)) {
        std::reverse(elements, elements + n);
    } else {
        std::qsort(base, n, sizeof(int32_t), DXR_DescendCmp);
    }
}

uint32_t DXR_Find(const uint32_t *arr, uint32_t value, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        if (arr[i] == value) {
            return i;
        }
    }
    return kNotFound;
}

uint32_t DXR_Max(uint32_t a, uint32_t b) {
    return std::max(a, b);
}

uint32_t DXR_Min(uint32_t a, uint32_t b) {
    return std::min(a, b);
}

uint64_t DXR_Max64(uint64_t a, uint64_t b) {
    return std::max(a, b);
}

uint64_t DXR_Min64(uint64_t a, uint64_t b) {
    return std::min(a, b);
}

uint32_t DXR_IsOdd(uint32_t value) {
    return value & 1;
}

uint32_t DXR_IsEven(uint32_t value) {
    return 1 - DXR_IsOdd(value);
}

// The bounds are exclusive, and rates below a thousand become 0: intended.
void DXR_ConvertRateUnit(uint64_t *rate, uint32_t *unit) {
    if (*rate > kThousandMillion) {
        *rate /= kThousandMillion;
        *unit = kUnitThousandMillion;
    } else if (*rate > kMillion) {
        *rate /= kMillion;
        *unit = kUnitMillion;
    } else {
        *rate /= kThousand;
        *unit = kUnitThousand;
    }
}

uint32_t DXR_CalPercentage(uint32_t part, uint32_t total) {
    return total != 0 ? part * 100 / total : 0;
}

uint32_t DXR_Div(uint32_t dividend, uint32_t divisor, uint32_t decimals, uint32_t *fraction) {
    if (divisor == 0) {
        return 0;
    }
    const uint32_t quotient = dividend / divisor;
    const uint32_t scale = SaturatedPowerOfTen(decimals);
    // The products wrap for large dividends: accepted.
    *fraction = scale * dividend / divisor - scale * quotient;
    return quotient;
}

int32_t DXR_Avg(const int32_t *values, uint32_t count) {
    if (count == 0) {
        return 0;
    }
    int32_t sum = 0;
    for (uint32_t i = 0; i < count; ++i) {
        sum = CheckedAdd(sum, values[i]);
    }
    return CheckedDiv(sum, static_cast<int32_t>(count));
}

uint32_t DXR_IsLittleEndianess() {
    return kLittleEndian ? 1 : 0;
}

uint32_t DXR_NTOHL(uint32_t value) {
    return kLittleEndian ? __builtin_bswap32(value) : value;
}

uint32_t DXR_HTONL(uint32_t value) {
    return DXR_NTOHL(value);
}

uint64_t DXR_NTOHLL(uint64_t value) {
    return kLittleEndian ? __builtin_bswap64(value) : value;
}

uint16_t DXR_HTONS(uint16_t value) {
    return kLittleEndian ? __builtin_bswap16(value) : value;
}

uint16_t DXR_NTOHS(uint16_t value) {
    return DXR_HTONS(value);
}

uint32_t DXR_ReverseByte(uint32_t value) {
    return __builtin_bswap32(value);
}

uint64_t DXR_FlipBit(uint64_t value, uint32_t byteCount) {
    constexpr uint64_t kByte = 0xFF;
    uint64_t flipped = 0;
    // With shifts modulo 64, bytes from the ninth on repeat the first eight.
    const uint32_t distinct = std::min(byteCount, kBytesOf64Bits);
    for (uint32_t i = 0; i < distinct; ++i) {
        const uint32_t place = (byteCount - 1 - i) % kBytesOf64Bits;
        const uint64_t byte = value >> (i * kBitsPerByte) & kByte;
        flipped |= byte << (place * kBitsPerByte);
    }
    return flipped;
}
