#include "kernels/text_hash.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "support/cpu_levels.h"
#include "support/test_host.h"

namespace {

class TextHash : public testing::TestWithParam<uint32_t> {
    const dxrtest::CpuLevel level_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Levels, TextHash, testing::ValuesIn(dxrtest::CpuLevels()));

// Each text stands at the end of an allocation of its own, so that a byte too many is seen.
TEST_P(TextHash, EqualsTheByteByByteHashAtEveryLength) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= 1200; ++length) {
        for (size_t shift = 0; shift < 4; ++shift) {
            const auto text = std::make_unique<unsigned char[]>(shift + length);
            for (size_t i = 0; i < shift + length; ++i) {
                text[i] = static_cast<unsigned char>(random());
            }
            ASSERT_EQ(dxr::TextHash(text.get() + shift, length),
                      dxr::TextHashPlain(text.get() + shift, length))
                << "length " << length;
        }
    }
}

TEST_P(TextHash, OfTheLargestBytesWraps) {
    const std::vector<unsigned char> text(100000, 0xFF);
    for (const size_t length : {31U, 32U, 33U, 255U, 256U, 257U, 100000U}) {
        EXPECT_EQ(dxr::TextHash(text.data(), length), dxr::TextHashPlain(text.data(), length));
    }
}

TEST_P(TextHash, OfTwoLettersIsTheKnownOne) {
    EXPECT_EQ(dxr::TextHash(reinterpret_cast<const unsigned char *>("ab"), 2), 3105U);
}

}  // namespace
