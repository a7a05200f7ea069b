#include "kernels/word_queries.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "support/cpu_levels.h"
#include "support/guarded_page.h"
#include "support/test_host.h"

namespace {

using Words = std::vector<uint32_t>;

constexpr size_t kMaxLength = 140;  // beyond several steps of several vector registers
constexpr size_t kStarts = 8;

uint32_t Word(std::mt19937_64 &random) {
    return static_cast<uint32_t>(random());
}

Words RandomWords(std::mt19937_64 &random, size_t size) {
    Words words(size);
    std::generate(words.begin(), words.end(), [&random] { return Word(random); });
    return words;
}

class WordQueries : public testing::TestWithParam<uint32_t> {
    const dxrtest::CpuLevel level_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Levels, WordQueries, testing::ValuesIn(dxrtest::CpuLevels()));

// The arrays lie in words that differ before and behind them.
TEST_P(WordQueries, EveryDifferentWordIsSeenAtEveryLengthAndStart) {
    std::mt19937_64 random(dxrtest::Seed());
    const Words a = RandomWords(random, kMaxLength + 2 * kStarts);
    for (uint32_t length = 0; length <= kMaxLength; ++length) {
        const size_t start = length % kStarts;
        Words b(a.size());
        std::transform(a.begin(), a.end(), b.begin(), [](uint32_t word) { return ~word; });
        std::copy_n(a.data() + start, length, b.data() + start);
        ASSERT_EQ(dxr::AreSameWords(a.data() + start, b.data() + start, length), 1U) << length;
        for (size_t i = start; i < start + length; ++i) {
            b[i] ^= 1U << i % 32;
            ASSERT_EQ(dxr::AreSameWords(a.data() + start, b.data() + start, length), 0U)
                << length << ", word " << i - start;
            b[i] = a[i];
        }
    }
}

TEST_P(WordQueries, ArraysOverPagesOfDifferentAlignmentAreCompared) {
    std::mt19937_64 random(dxrtest::Seed());
    const Words a = RandomWords(random, 5000);
    for (size_t shift = 0; shift < 1030; shift += 103) {
        Words shifted(shift);
        shifted.insert(shifted.end(), a.begin(), a.end());
        uint32_t *const b = shifted.data() + shift;
        ASSERT_EQ(dxr::AreSameWords(a.data(), b, 5000), 1U) << shift;
        for (size_t i = 0; i < a.size(); i += 11) {
            b[i] ^= 0x80000000;
            ASSERT_EQ(dxr::AreSameWords(a.data(), b, 5000), 0U) << shift << ", word " << i;
            b[i] = a[i];
        }
    }
}

// Whichever array ends in front of the page, wherever the first difference lies.
TEST_P(WordQueries, NoPageBehindTheFirstDifferenceIsTouched) {
    const dxrtest::GuardedPage page;
    auto *const end = static_cast<uint32_t *>(page.End());
    const Words other(1200, 0);
    for (ptrdiff_t length = 1; length <= 100; ++length) {
        for (ptrdiff_t difference = 1; difference <= length; ++difference) {
            std::fill(end - length, end, 0U);
            end[-difference] = 1;
            // Small arrays are looked at by ways of their own; the largest is longer than a page.
            for (const uint32_t whole : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 200U, 1200U}) {
                if (whole >= length) {
                    ASSERT_EQ(dxr::AreSameWords(end - length, other.data(), whole), 0U) << length;
                    ASSERT_EQ(dxr::AreSameWords(other.data(), end - length, whole), 0U) << length;
                }
            }
        }
    }
}

// What lies before the arrays differs, and the first page holds few of their words.
TEST_P(WordQueries, NothingBeforeTheArraysCounts) {
    constexpr size_t kPageWords = 1024;
    Words a(3 * kPageWords, 0);
    Words b(3 * kPageWords, 0xFFFFFFFF);
    const auto wordsToPage = [](const Words &words) {
        return kPageWords - reinterpret_cast<uintptr_t>(words.data()) / 4 % kPageWords;
    };
    for (size_t before = 1; before <= 16; ++before) {
        uint32_t *const first = a.data() + kPageWords + wordsToPage(a) - before;
        uint32_t *const second = b.data() + kPageWords + wordsToPage(b) - before;
        for (uint32_t length = 0; length <= kMaxLength; ++length) {
            std::fill_n(second, length, 0U);
            ASSERT_EQ(dxr::AreSameWords(first, second, length), 1U) << before << ' ' << length;
            ASSERT_EQ(dxr::AreSameWords(second, first, length), 1U) << before << ' ' << length;
            std::fill_n(second, length, 0xFFFFFFFF);
        }
    }
}

TEST_P(WordQueries, EveryWordThatIsNotZeroIsSeenAtEveryLengthAndStart) {
    for (uint32_t length = 0; length <= kMaxLength; ++length) {
        const size_t start = length % kStarts;
        Words words(start + length + 1, 0xFFFFFFFF);
        std::fill_n(words.data() + start, length, 0U);
        ASSERT_EQ(dxr::AreZeroWords(words.data() + start, length), 1U) << length;
        for (size_t i = start; i < start + length; ++i) {
            words[i] = 1U << (i + length) % 32;
            ASSERT_EQ(dxr::AreZeroWords(words.data() + start, length), 0U)
                << length << ", word " << i - start;
            words[i] = 0;
        }
    }
}

TEST_P(WordQueries, BitsAreCountedAtEveryLengthAndStart) {
    std::mt19937_64 random(dxrtest::Seed());
    const Words words = RandomWords(random, kMaxLength + kStarts);
    for (size_t start = 0; start < kStarts; ++start) {
        size_t expected = 0;
        for (uint32_t length = 0; length <= kMaxLength; ++length) {
            ASSERT_EQ(dxr::BitsInWords(words.data() + start, length), expected) << length;
            expected += std::bitset<32>(words[start + length]).count();
        }
    }
}

TEST_P(WordQueries, AllBitsOfManyWordsAreCounted) {
    const Words words(100'001, 0xFFFFFFFF);
    EXPECT_EQ(dxr::BitsInWords(words.data(), 100'001), 3'200'032U);
}

TEST_P(WordQueries, NoWordBehindTheArrayIsRead) {
    const dxrtest::GuardedPage page;
    auto *const end = static_cast<uint32_t *>(page.End());
    const Words zeros(kMaxLength, 0);
    std::fill(end - kMaxLength, end, 0U);
    for (uint32_t length = 0; length <= kMaxLength; ++length) {
        ASSERT_EQ(dxr::AreSameWords(end - length, zeros.data(), length), 1U);
        ASSERT_EQ(dxr::AreZeroWords(end - length, length), 1U);
        ASSERT_EQ(dxr::BitsInWords(end - length, length), 0U);
    }
}

}  // namespace
