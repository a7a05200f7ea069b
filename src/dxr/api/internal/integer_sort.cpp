#include "internal/integer_sort.h"

#include <algorithm>
#include <limits>

#include "internal/fast_paths.h"

namespace dxr {
namespace {

constexpr std::size_t kFew = 16;  // elements that insertion sorts fastest

// All elements lie in lowest to highest, and no difference of two of them overflows.
struct Range {
    std::int32_t lowest;
    std::int32_t highest;
};

Range RangeOf(const std::int32_t *elements, std::size_t count) {
    Range range = {elements[0], elements[0]};
    for (std::size_t i = 1; i < count; ++i) {
        range.lowest = std::min(range.lowest, elements[i]);
        range.highest = std::max(range.highest, elements[i]);
    }
    return range;
}

bool Overflows(Range range) {
    const std::int64_t difference = std::int64_t{range.highest} - range.lowest;
    return difference > std::numeric_limits<std::int32_t>::max();
}

void SortByInsertion(std::int32_t *elements, std::size_t count) {
    for (std::size_t i = 1; i < count; ++i) {
        const std::int32_t element = elements[i];
        std::size_t place = i;
        for (; place > 0 && elements[place - 1] > element; --place) {
            elements[place] = elements[place - 1];
        }
        elements[place] = element;
    }
}

// Moves the elements up to `middle` to the front and returns their number. Each element changes
// places with the first greater one, or with itself, without a branch that depends on it.
std::size_t Partition(std::int32_t *elements, std::size_t count, std::int32_t middle) {
    std::size_t low = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::int32_t element = elements[i];
        elements[i] = elements[low];
        elements[low] = element;
        low += element <= middle ? 1 : 0;
    }
    return low;
}

// Halves the range of values until it is one value or few elements are left: at most 31 times,
// whatever the elements are.
void SortByHalves(std::int32_t *elements, std::size_t count, Range range) {
    while (count > kFew && range.lowest != range.highest) {
        const std::int32_t middle = range.lowest + (range.highest - range.lowest) / 2;
        const std::size_t low = Partition(elements, count, middle);
        SortByHalves(elements, low, {range.lowest, middle});
        elements += low;
        count -= low;
        range.lowest = middle + 1;
    }
    if (count <= kFew) {
        SortByInsertion(elements, count);
    }
}

}  // namespace

bool SortAscending(std::int32_t *elements, std::size_t count) noexcept {
    if (!kFastPaths) {
        return false;
    }
    if (count < 2) {
        return true;
    }
    const Range range = RangeOf(elements, count);
    if (Overflows(range)) {
        return false;
    }
    SortByHalves(elements, count, range);
    return true;
}

}  // namespace dxr
