// Bitmaps, links, numbers and the CRC on objects of each thread's own, or on shared ones that are
// only read.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "support/test_host.h"
#include "threads/thread_hooks.h"
#include "threads/together.h"

namespace dxrtest {
namespace {

uint32_t BitwiseCrc(const std::vector<uint8_t> &data) {
    uint32_t crc = 0;
    for (const uint8_t byte : data) {
        crc ^= byte;
        for (int step = 0; step < 8; ++step) {
            crc = (crc & 0x80) != 0 ? (crc << 1 ^ 0x31) & 0xFF : crc << 1;
        }
    }
    return crc;
}

// The first calculations of the process run at the same time, again and again: whoever builds the
// table, nobody calculates with half of one.
TEST(UtilsThreads, FirstCrcsOfAllThreadsAreRight) {
    std::array<std::vector<uint8_t>, kThreads> data;
    std::array<uint32_t, kThreads> expected;
    for (uint32_t thread = 0; thread < kThreads; ++thread) {
        // Short and long ones, which go different ways.
        data[thread].resize(thread % 2 == 0 ? 9 + thread : 300 + thread);
        std::iota(data[thread].begin(), data[thread].end(), static_cast<uint8_t>(thread * 17));
        expected[thread] = BitwiseCrc(data[thread]);
    }
    for (uint32_t round = 0; round < 100; ++round) {
        std::fill(std::begin(g_dxrCrc8Table), std::end(g_dxrCrc8Table), uint8_t{0});
        g_dxrCrc8TableInit = 0;
        Together([&](uint32_t thread) {
            for (uint32_t i = 0; i < 3; ++i) {
                ASSERT_EQ(DXR_CalculateCrc8(data[thread].data(), data[thread].size()),
                          expected[thread]);
            }
        });
        ASSERT_EQ(g_dxrCrc8TableInit, 1);
        ASSERT_EQ(g_dxrCrc8Table[0x80], 0x7A);
    }
}

TEST(UtilsThreads, BitmapsOfEachThreadAreItsOwn) {
    constexpr uint32_t kWords = 37;
    constexpr uint32_t kRounds = 60;
    std::array<uint32_t, kWords> shared;
    std::iota(shared.begin(), shared.end(), 0x9E3779B9U);
    // Neighbours in memory: a word too many would be another thread's.
    std::vector<uint32_t> words(kThreads * kWords);
    Together([&](uint32_t thread) {
        uint32_t *const own = &words[thread * kWords];
        std::mt19937 random(thread);
        for (uint32_t round = 0; round < kRounds; ++round) {
            std::vector<bool> model(kWords * 32);
            DXR_BitmapZero(own, kWords);
            for (uint32_t i = 0; i < 100; ++i) {
                const auto bit = static_cast<uint32_t>(random() % (kWords * 32 + 8));
                DXR_SetBmpBit(own, kWords, bit);
                if (bit < model.size()) {
                    model[bit] = true;
                }
            }
            DXR_NegateArray(own, kWords, kWords * 32 - 5);
            for (uint32_t bit = 0; bit < kWords * 32 - 5; ++bit) {
                model[bit] = !model[bit];
            }
            DXR_XorBmp(own, shared.data(), kWords);
            for (uint32_t bit = 0; bit < kWords * 32; ++bit) {
                model[bit] = model[bit] != ((shared[bit / 32] >> bit % 32 & 1) != 0);
                ASSERT_EQ(DXR_IsSetBmp(own, kWords, bit), model[bit] ? 1U : 0U);
            }
            ASSERT_EQ(DXR_CountValidBitOfArray(own, kWords),
                      static_cast<uint32_t>(std::count(model.begin(), model.end(), true)));
            DXR_SetBitField(own, kWords, round, 61, 9);
            ASSERT_EQ(DXR_GetBitField(own, kWords, 61, 9), round);
            ASSERT_EQ(DXR_IsSameBitMap(own, own, kWords), 1U);
        }
    });
}

// MODULE-9
TEST(UtilsThreads, LinkMapsOfEachThreadAreItsOwn) {
    const ThreadHooks hooks;
    ThreadHooks::Install();
    Together([&](uint32_t thread) {
        for (uint32_t round = 0; round < 100; ++round) {
            DxrLinkBitMap *const map = DXR_CreateLinkBitMap(2, 40);
            ASSERT_NE(map, nullptr);
            DXR_SaveLinkToBitMap(map, thread % 2, thread);
            DXR_SaveLinkToBitMap(map, 1, 39);
            std::array<char, 200> text;
            DXR_FillLinkBitMapToBuf(map, text.data(), text.size());
            ASSERT_EQ(DXR_CountValidBitOfArray(map->bitMap, 4), 2U);
            ASSERT_NE(std::string(text.data()).find("Chip1: Valid["), std::string::npos);
            DXR_PrintLinkToBitMap(map, "thread %u", thread);
            DXR_DestroyLinkBitMap(map);
        }
    });
    EXPECT_EQ(ThreadHooks::live, 0U);
    EXPECT_EQ(ThreadHooks::printed, kThreads * 100U);
}

TEST(UtilsThreads, NumbersAreSortedAndFoundInPlace) {
    Together([&](uint32_t thread) {
        std::mt19937 random(thread);
        for (uint32_t round = 0; round < 30; ++round) {
            std::vector<int32_t> values(1 + random() % 300);
            for (int32_t &value : values) {
                value = static_cast<int32_t>(random() >> 1U) - (1 << 30);
            }
            std::vector<int32_t> expected = values;
            std::sort(expected.begin(), expected.end());
            const auto count = static_cast<uint32_t>(values.size());
            DXR_AscendSort(values.data(), count);
            ASSERT_EQ(values, expected);
            std::reverse(expected.begin(), expected.end());
            DXR_DecendSort(values.data(), count);
            ASSERT_EQ(values, expected);
        }
    });
}

}  // namespace
}  // namespace dxrtest
