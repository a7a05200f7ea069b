#include "kernels/word_operations.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <tuple>
#include <vector>

#include "support/cpu_levels.h"
#include "support/guarded_words.h"
#include "support/test_host.h"

namespace {

using Words = std::vector<uint32_t>;

Words RandomWords(std::mt19937_64 &random, size_t size) {
    Words words(size);
    std::generate(words.begin(), words.end(),
                  [&random] { return static_cast<uint32_t>(random()); });
    return words;
}

struct Operation {
    const char *name;
    void (*ofArrays)(uint32_t *dst, const uint32_t *src, uint32_t count) noexcept;
    uint32_t (*ofWords)(uint32_t dst, uint32_t src);

    // Word by word, from index 0 up.
    void Plain(uint32_t *dst, const uint32_t *src, size_t count) const {
        for (size_t i = 0; i < count; ++i) {
            dst[i] = ofWords(dst[i], src[i]);
        }
    }
};

void PrintTo(const Operation &operation, std::ostream *out) {
    *out << operation.name;
}

class WordOperations : public testing::TestWithParam<std::tuple<Operation, uint32_t>> {
  protected:
    const Operation operation_ = std::get<0>(GetParam());

  private:
    const dxrtest::CpuLevel level_{std::get<1>(GetParam())};
};

INSTANTIATE_TEST_SUITE_P(
    All, WordOperations,
    testing::Combine(
        testing::Values(
            Operation{"copy", dxr::CopyWords, [](uint32_t, uint32_t s) { return s; }},
            Operation{"or", dxr::OrWords, [](uint32_t d, uint32_t s) { return d | s; }},
            Operation{"and", dxr::AndWords, [](uint32_t d, uint32_t s) { return d & s; }},
            Operation{"xor", dxr::XorWords, [](uint32_t d, uint32_t s) { return d ^ s; }}),
        testing::ValuesIn(dxrtest::CpuLevels())));

TEST_P(WordOperations, OfSeparateArraysAtEveryLengthAndStart) {
    constexpr size_t kStarts = 8;
    std::mt19937_64 random(dxrtest::Seed());
    std::vector<size_t> lengths(90);
    std::generate(lengths.begin(), lengths.end(), [n = size_t{0}]() mutable { return n++; });
    lengths.insert(lengths.end(), {255, 256, 257, 263, 264, 300, 1023, 1024, 1055, 5000});
    for (const size_t length : lengths) {
        for (size_t starts = 0; starts < kStarts * kStarts; ++starts) {
            const Words before = RandomWords(random, length);
            const Words source = RandomWords(random, length);
            Words expected = before;
            operation_.Plain(expected.data(), source.data(), length);
            dxrtest::GuardedWords dst(before, starts % kStarts);
            dxrtest::GuardedWords src(source, starts / kStarts);
            operation_.ofArrays(dst.Data(), src.Data(), dst.Size());
            ASSERT_EQ(dst.Words(), expected) << length;
            ASSERT_EQ(src.Words(), source) << length;
            ASSERT_TRUE(dst.Intact() && src.Intact()) << length;
        }
    }
}

// Distances below, at and above those of a vector register and of a step of several.
TEST_P(WordOperations, OfOverlappingArraysGoFromTheFirstWordUp) {
    constexpr size_t kSource = 70;
    std::mt19937_64 random(dxrtest::Seed());
    for (const size_t length : {1U,  2U,  3U,  4U,  5U,  6U,  7U,   8U,   9U,   10U, 15U,
                                16U, 17U, 31U, 32U, 33U, 64U, 100U, 256U, 300U, 333U}) {
        for (size_t target = 0; target <= 2 * kSource; ++target) {
            const Words before = RandomWords(random, length + 2 * kSource);
            Words expected = before;
            operation_.Plain(expected.data() + target, expected.data() + kSource, length);
            dxrtest::GuardedWords arena(before, target % 3);
            operation_.ofArrays(arena.Data() + target, arena.Data() + kSource,
                                static_cast<uint32_t>(length));
            ASSERT_EQ(arena.Words(), expected)
                << length << " words from " << kSource << " to " << target;
            ASSERT_TRUE(arena.Intact());
        }
    }
}

// As close as bytes can lie: words that overlap in part.
TEST_P(WordOperations, OfArraysThatOverlapByBytesGoFromTheFirstWordUp) {
    constexpr size_t kSource = 40;
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= 20; ++length) {
        for (size_t target = 0; target <= 2 * kSource; ++target) {
            std::vector<unsigned char> before(4 * length + 2 * kSource);
            std::generate(before.begin(), before.end(),
                          [&random] { return static_cast<unsigned char>(random()); });
            std::vector<unsigned char> expected = before;
            for (size_t i = 0; i < 4 * length; i += 4) {
                uint32_t dst = 0;
                uint32_t src = 0;
                std::memcpy(&dst, expected.data() + target + i, 4);
                std::memcpy(&src, expected.data() + kSource + i, 4);
                dst = operation_.ofWords(dst, src);
                std::memcpy(expected.data() + target + i, &dst, 4);
            }
            operation_.ofArrays(reinterpret_cast<uint32_t *>(before.data() + target),
                                reinterpret_cast<uint32_t *>(before.data() + kSource),
                                static_cast<uint32_t>(length));
            ASSERT_EQ(before, expected) << length << " words, byte " << target;
        }
    }
}

TEST_P(WordOperations, OfNoWordsTouchNothing) {
    operation_.ofArrays(nullptr, nullptr, 0);
    uint32_t words[] = {1, 2};
    operation_.ofArrays(words, words + 1, 0);
    EXPECT_THAT(words, testing::ElementsAre(1, 2));
}

}  // namespace
