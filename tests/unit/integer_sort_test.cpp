#include "kernels/integer_sort.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "internal/fast_paths.h"
#include "support/test_host.h"

namespace {

using Elements = std::vector<int32_t>;

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

// Sorts the elements between two that would sort elsewhere.
void ExpectSorted(const Elements &elements) {
    Elements guarded = {kMax};
    guarded.insert(guarded.end(), elements.begin(), elements.end());
    guarded.push_back(kMin);
    Elements expected = guarded;
    // Without fast paths nothing is sorted here.
    if (dxr::kFastPaths) {
        std::sort(expected.begin() + 1, expected.end() - 1);
    }
    ASSERT_EQ(dxr::SortAscending(guarded.data() + 1, elements.size()), dxr::kFastPaths);
    ASSERT_EQ(guarded, expected);
}

void ExpectUntouched(Elements elements) {
    const Elements before = elements;
    ASSERT_FALSE(dxr::SortAscending(elements.data(), elements.size()));
    ASSERT_EQ(elements, before);
}

template <typename Element>
Elements Generated(size_t count, Element element) {
    Elements elements(count);
    for (size_t i = 0; i < count; ++i) {
        elements[i] = static_cast<int32_t>(element(static_cast<int64_t>(i)));
    }
    return elements;
}

TEST(SortAscending, ElementsOfEveryKindAndNumber) {
    std::mt19937_64 random(dxrtest::Seed());
    std::vector<size_t> counts(200);
    std::generate(counts.begin(), counts.end(), [n = size_t{0}]() mutable { return n++; });
    counts.insert(counts.end(), {1000, 4096, 20'000});
    const auto below = [&random](int64_t bound) {
        return static_cast<int64_t>(random() % static_cast<uint64_t>(bound));
    };
    for (const size_t count : counts) {
        const auto n = static_cast<int64_t>(count);
        const auto anywhere = [&](int64_t) { return kMin + 5 + below(kMax); };
        const auto aroundZero = [&](int64_t) { return below(1000) - 500; };
        const auto two = [&](int64_t) { return below(2) * kMax; };
        const auto powers = [&](int64_t) { return int64_t{1} << below(31); };
        const auto same = [](int64_t) { return -7; };
        const auto rising = [](int64_t i) { return i * 3; };
        const auto falling = [](int64_t i) { return -i * 3; };
        const auto upAndDown = [n](int64_t i) { return std::min(i, n - i); };
        ExpectSorted(Generated(count, anywhere));
        ExpectSorted(Generated(count, aroundZero));
        ExpectSorted(Generated(count, two));
        ExpectSorted(Generated(count, powers));
        ExpectSorted(Generated(count, same));
        ExpectSorted(Generated(count, rising));
        ExpectSorted(Generated(count, falling));
        ExpectSorted(Generated(count, upAndDown));
    }
}

TEST(SortAscending, GreatestDifferencesThatFit) {
    ExpectSorted({kMax, 0});
    ExpectSorted({-1, kMin});
    ExpectSorted({kMax - 1, 5, -1});
    Elements many(100, kMax);
    many.resize(200, 0);
    ExpectSorted(many);
    std::fill(many.begin(), many.begin() + 100, -1);
    std::fill(many.begin() + 100, many.end(), kMin);
    ExpectSorted(many);
}

TEST(SortAscending, ADifferenceThatDoesNotFitLeavesTheElements) {
    ExpectUntouched({kMax, -1});
    ExpectUntouched({0, kMin});
    ExpectUntouched({5, kMax, 3, kMin, 1});
    for (const size_t place : {0U, 1U, 63U, 98U, 99U}) {
        Elements many(100, kMax);
        many[place] = -1;
        ExpectUntouched(many);
        std::fill(many.begin(), many.end(), kMin);
        many[place] = 0;
        ExpectUntouched(many);
    }
}

TEST(SortAscending, NoElementsAreSorted) {
    EXPECT_EQ(dxr::SortAscending(nullptr, 0), dxr::kFastPaths);
}

TEST(SortAscending, OneElementIsSortedWhateverItIs) {
    ExpectSorted({kMin});
    ExpectSorted({kMax});
}

}  // namespace
