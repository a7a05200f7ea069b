#include "kernels/integer_sort.h"

#include <algorithm>
#include <limits>

#include "internal/fast_paths.h"

namespace dxr {
namespace {

constexpr size_t kFew = 16;  // elements that insertion sorts fastest

// All elements lie in lowest to highest, and no difference of two of them overflows.
struct Range {
    int32_t lowest;
    int32_t highest;
};

Range RangeOf(const int32_t *elements, size_t count) {
    Range range = {elements[0], elements[0]};
    for (size_t i = 1; i < count; ++i) {
        range.lowest = std::min(range.lowest, elements[i]);
        range.highest = std::max(range.highest, elements[i]);
    }
    return range;
}

bool Overflows(Range range) {
    const int64_t difference = int64_t{range.highest} - range.lowest;
    return difference > std::numeric_limits<int32_t>::max();
}

void SortByInsertion(int32_t *elements, size_t count) {
    for (size_t i = 1; i < count; ++i) {
        const int32_t element = elements[i];
        size_t place = i;
        for (; place > 0 && elements[place - 1] > element; --place) {
            elements[place] = elements[place - 1];
        }
        elements[place] = element;
    }
}

// Moves the elements up to `middle` to the front and returns their number. Each element changes
// places with the first greater one, or with itself, without a branch that depends on it.
size_t Partition(int32_t *elements, size_t count, int32_t middle) {
    size_t low = 0;
    for (size_t i = 0; i < count; ++i) {
        const int32_t element = elements[i];
        elements[i] = elements[low];
        elements[low] = element;
        low += element <= middle ? 1 : 0;
    }
    return low;
}

// Halves the range of values until it is one value or few elements are left: at most 31 times,
// whatever the elements are.
void SortByHalves(int32_t *elements, size_t count, Range range) {
    while (count > kFew && range.lowest != range.highest) {
        const int32_t middle = range.lowest + (range.highest - range.lowest) / 2;
        const size_t low = Partition(elements, count, middle);
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

bool SortAscending(int32_t *elements, size_t count) noexcept {
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
