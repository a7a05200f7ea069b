// Numeric helpers beside schoolbook arithmetic.
#include <cstdint>
#include <cstdlib>

#include "dxr/utils_numeric.h"
#include "fuzz/abort_catcher.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr uint32_t kLargestArray = 80;

// A comparator of qsort() as the library's is described, which remembers the first difference that
// does not fit instead of ending the process.
bool g_overflowed = false;

int ModelAscend(const void *a, const void *b) {
    const int64_t difference =
        int64_t{*static_cast<const int32_t *>(a)} - *static_cast<const int32_t *>(b);
    g_overflowed = g_overflowed || difference != static_cast<int32_t>(difference);
    return difference < 0 ? -1 : difference > 0 ? 1 : 0;
}

int ModelDescend(const void *a, const void *b) {
    return ModelAscend(b, a);
}

struct Array {
    int32_t guardBefore;
    int32_t values[kLargestArray];
    uint32_t count;

    explicit Array(Input &input) : guardBefore(0x5EA1), count(input.Below(kLargestArray + 1)) {
        const uint32_t style = input.Below(5);
        const uint32_t base = style == 4 ? input.Word() : 0;
        for (uint32_t i = 0; i < count; ++i) {
            switch (style) {
                case 0:  // many equal ones
                    values[i] = input.Byte() & 3;
                    break;
                case 1:
                    values[i] = static_cast<int8_t>(input.Byte());
                    break;
                case 2:
                    values[i] = static_cast<int32_t>(input.Number());
                    break;
                case 3:
                    values[i] = static_cast<int32_t>(input.Word());
                    break;
                default:
                    values[i] = static_cast<int32_t>(base + input.Byte() * 0x7FFFFFU);
                    break;
            }
        }
    }
};

void Sort(Input &input) {
    Array real(input);
    Array model = real;
    const bool ascending = input.Flag();
    g_overflowed = false;
    std::qsort(model.values, model.count, sizeof(int32_t), ascending ? ModelAscend : ModelDescend);
    const bool aborted = AbortCatcher::Aborts([&] {
        ascending ? DXR_AscendSort(real.values, real.count)
                  : DXR_DecendSort(real.values, real.count);
    });
    DXR_FUZZ_SAME(aborted == g_overflowed);
    if (!aborted) {
        DXR_FUZZ_SAME(std::memcmp(real.values, model.values, model.count * sizeof(int32_t)) == 0);
    }
}

void Compare(Input &input) {
    const auto a = static_cast<int32_t>(input.Number());
    const auto b = static_cast<int32_t>(input.Number());
    for (const bool ascending : {true, false}) {
        const int64_t difference = ascending ? int64_t{a} - b : int64_t{b} - a;
        int32_t answer = 0;
        const bool aborted = AbortCatcher::Aborts(
            [&] { answer = ascending ? DXR_AscendCmp(&a, &b) : DXR_DescendCmp(&a, &b); });
        DXR_FUZZ_SAME(aborted == (difference > INT32_MAX || difference < INT32_MIN));
        DXR_FUZZ_SAME(aborted || answer == difference);
    }
}

void Average(Input &input) {
    const Array array(input);
    int64_t sum = 0;
    bool fits = true;
    for (uint32_t i = 0; i < array.count; ++i) {
        sum += array.values[i];
        fits = fits && sum >= INT32_MIN && sum <= INT32_MAX;
    }
    int32_t answer = 0;
    const bool aborted = AbortCatcher::Aborts([&] { answer = DXR_Avg(array.values, array.count); });
    DXR_FUZZ_SAME(aborted == !fits);
    DXR_FUZZ_SAME(aborted || answer == (array.count == 0 ? 0 : sum / array.count));
}

void Find(Input &input) {
    const Array array(input);
    const auto value = static_cast<int32_t>(input.Flag() && array.count != 0
                                                ? array.values[input.Byte() % array.count]
                                                : static_cast<int32_t>(input.Number()));
    uint32_t expected = UINT32_MAX;
    for (uint32_t i = array.count; i > 0; --i) {
        expected = array.values[i - 1] == value ? i - 1 : expected;
    }
    DXR_FUZZ_SAME(DXR_Find(reinterpret_cast<const uint32_t *>(array.values),
                           static_cast<uint32_t>(value), array.count) == expected);
}

void Extremes(Input &input) {
    const uint32_t a = input.Number();
    const uint32_t b = input.Number();
    DXR_FUZZ_SAME(DXR_Max(a, b) == (a < b ? b : a));
    DXR_FUZZ_SAME(DXR_Min(a, b) == (a < b ? a : b));
    const uint64_t wideA = uint64_t{a} << 32 | input.Number();
    const uint64_t wideB = uint64_t{b} << 32 | input.Number();
    DXR_FUZZ_SAME(DXR_Max64(wideA, wideB) == (wideA < wideB ? wideB : wideA));
    DXR_FUZZ_SAME(DXR_Min64(wideA, wideB) == (wideA < wideB ? wideA : wideB));
    DXR_FUZZ_SAME(DXR_IsOdd(a) == a % 2);
    DXR_FUZZ_SAME(DXR_IsEven(a) == (a + 1U) % 2);
}

void OneRate(uint64_t given) {
    uint64_t rate = given;
    uint32_t unit = 77;
    DXR_ConvertRateUnit(&rate, &unit);
    uint64_t divisor = 1000;
    uint32_t expected = 0;
    while (expected < 2 && given > divisor * 1000) {
        divisor *= 1000;
        ++expected;
    }
    DXR_FUZZ_SAME(unit == expected);
    DXR_FUZZ_SAME(rate == given / divisor);
}

void Rate(Input &input) {
    OneRate(uint64_t{input.Number()} * input.Number() + input.Number());
    // The units change at powers of ten.
    uint64_t power = 1;
    for (uint32_t i = input.Below(20); i > 0; --i) {
        power *= 10;
    }
    for (uint64_t rate = power - 1; rate <= power + 1; ++rate) {
        OneRate(rate);
    }
}

void Divide(Input &input) {
    const uint32_t dividend = input.Number();
    const uint32_t divisor = input.Number();
    const uint32_t decimals = input.Number();
    uint32_t fraction = 0xFEED;
    const uint32_t quotient = DXR_Div(dividend, divisor, decimals, &fraction);
    const uint64_t product = uint64_t{dividend} * 100 % (uint64_t{1} << 32);
    if (divisor == 0) {
        DXR_FUZZ_SAME(quotient == 0 && fraction == 0xFEED);
        DXR_FUZZ_SAME(DXR_CalPercentage(dividend, divisor) == 0);
        return;
    }
    DXR_FUZZ_SAME(DXR_CalPercentage(dividend, divisor) == product / divisor);
    uint64_t scale = 1;
    for (uint32_t i = 0; i < decimals && scale < UINT32_MAX; ++i) {
        scale *= 10;
    }
    scale = scale > UINT32_MAX ? UINT32_MAX : scale;
    constexpr uint64_t kModulus = uint64_t{1} << 32;
    const uint64_t digits = scale * dividend % kModulus / divisor;
    const uint64_t whole = scale * (dividend / divisor) % kModulus;
    DXR_FUZZ_SAME(quotient == dividend / divisor);
    DXR_FUZZ_SAME(fraction == (digits + kModulus - whole) % kModulus);
}

void ByteOrder(Input &input) {
    const uint64_t wide = input.Wide();
    const uint32_t count = input.Number();
    uint64_t reversed = 0;
    uint64_t flipped = 0;
    for (uint32_t i = 0; i < 8; ++i) {
        const uint64_t byte = wide >> 8 * i & 0xFF;
        reversed |= byte << 8 * (7 - i);
    }
    // Shift amounts modulo 64, whatever the count; from the ninth byte on they repeat.
    for (uint32_t i = 0; i < count && i < 1000; ++i) {
        const uint64_t byte = wide >> (uint64_t{8} * i % 64) & 0xFF;
        flipped |= byte << (uint64_t{8} * (count - 1 - i) % 64);
    }
    const auto low = static_cast<uint32_t>(reversed >> 32);
    DXR_FUZZ_SAME(DXR_FlipBit(wide, count) == flipped);
    DXR_FUZZ_SAME(DXR_ReverseByte(static_cast<uint32_t>(wide)) == low);
    const bool little = DXR_IsLittleEndianess() != 0;
    const auto narrow = static_cast<uint16_t>(wide);
    const auto swapped = static_cast<uint16_t>(narrow << 8 | narrow >> 8);
    DXR_FUZZ_SAME(DXR_NTOHLL(wide) == (little ? reversed : wide));
    DXR_FUZZ_SAME(DXR_NTOHL(static_cast<uint32_t>(wide)) ==
                  (little ? low : static_cast<uint32_t>(wide)));
    DXR_FUZZ_SAME(DXR_HTONL(static_cast<uint32_t>(wide)) ==
                  (little ? low : static_cast<uint32_t>(wide)));
    DXR_FUZZ_SAME(DXR_HTONS(narrow) == (little ? swapped : narrow));
    DXR_FUZZ_SAME(DXR_NTOHS(narrow) == (little ? swapped : narrow));
}

}  // namespace

void Numeric(Input &input) {
    static constexpr void (*kOperations[])(Input &) = {
        Sort, Compare, Average, Find, Extremes, Rate, Divide, ByteOrder, Sort,
    };
    while (!input.Empty()) {
        kOperations[input.Byte() % (sizeof(kOperations) / sizeof(kOperations[0]))](input);
    }
}

}  // namespace dxrfuzz
