// Which version of a kernel a call enters. The program contains the choices but not the vector
// versions: those here only say that they were called, so that a vector version that is never
// entered, or entered on a processor without its instructions, is seen.
#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "kernels/cpu_features.h"
#include "kernels/crc8.h"
#include "kernels/text_hash.h"
#include "kernels/word_operations.h"
#include "kernels/word_queries.h"
#include "support/cpu_levels.h"

namespace {

constexpr uint32_t kMark = 0xFACE;  // no answer of a portable version below

std::vector<std::string> g_entered;

uint32_t Entered(const char *version) {
    g_entered.emplace_back(version);
    return kMark;
}

}  // namespace

namespace dxr::avx2 {

uint32_t TextHash(const unsigned char *, size_t) noexcept {
    return Entered("avx2 TextHash");
}
uint32_t Crc8(const uint8_t *, const uint8_t *, uint64_t) noexcept {
    return Entered("avx2 Crc8");
}
void OrWords(uint32_t *, const uint32_t *, size_t) noexcept {
    Entered("avx2 OrWords");
}
void AndWords(uint32_t *, const uint32_t *, size_t) noexcept {
    Entered("avx2 AndWords");
}
void XorWords(uint32_t *, const uint32_t *, size_t) noexcept {
    Entered("avx2 XorWords");
}
uint32_t AreSameWords(const uint32_t *, const uint32_t *, size_t) noexcept {
    return Entered("avx2 AreSameWords");
}
uint32_t AreZeroWords(const uint32_t *, size_t) noexcept {
    return Entered("avx2 AreZeroWords");
}
uint32_t BitsInWords(const uint32_t *, size_t) noexcept {
    return Entered("avx2 BitsInWords");
}

}  // namespace dxr::avx2

namespace dxr::avx512 {

uint32_t AreSameWords(const uint32_t *, const uint32_t *, size_t) noexcept {
    return Entered("avx512 AreSameWords");
}
uint32_t BitsInWords(const uint32_t *, size_t) noexcept {
    return Entered("avx512 BitsInWords");
}

}  // namespace dxr::avx512

namespace {

namespace cpu = dxr::cpu_features;

// Every kernel once, on so many bytes each; the results of those that return something.
std::vector<uint32_t> CallAll(uint32_t bytes) {
    g_entered.clear();
    const std::vector<uint8_t> data(bytes, 1);
    const std::array<uint8_t, 256> table = {};
    const uint32_t count = bytes / 4;
    std::vector<uint32_t> dst(count);
    const std::vector<uint32_t> src(count);
    dxr::OrWords(dst.data(), src.data(), count);
    dxr::AndWords(dst.data(), src.data(), count);
    dxr::XorWords(dst.data(), src.data(), count);
    return {dxr::TextHash(data.data(), bytes), dxr::Crc8(table.data(), data.data(), bytes),
            dxr::AreSameWords(dst.data(), src.data(), count), dxr::AreZeroWords(src.data(), count),
            dxr::BitsInWords(src.data(), count)};
}

// What calls on many bytes enter on a processor with these features.
std::vector<std::string> EnteredWith(uint32_t features) {
    if (!dxr::kVectorVersions || (features & cpu::kAvx2) == 0) {
        return {};
    }
    const std::string best = (features & cpu::kAvx512) != 0 ? "avx512" : "avx2";
    return {"avx2 OrWords", "avx2 AndWords",        "avx2 XorWords",     "avx2 TextHash",
            "avx2 Crc8",    best + " AreSameWords", "avx2 AreZeroWords", best + " BitsInWords"};
}

constexpr uint32_t kManyBytes[] = {36, 64, 100, 1000};

TEST(KernelChoice, NoVectorVersionWithoutItsInstructions) {
    const dxrtest::CpuLevel level(cpu::kAsked);
    for (const uint32_t bytes : kManyBytes) {
        EXPECT_THAT(CallAll(bytes), testing::Each(testing::Ne(kMark)));
        EXPECT_THAT(g_entered, testing::IsEmpty());
    }
}

TEST(KernelChoice, NothingOfAvx512OnAProcessorWithAvx2Alone) {
    const dxrtest::CpuLevel level(cpu::kAsked | cpu::kAvx2);
    for (const uint32_t bytes : kManyBytes) {
        CallAll(bytes);
        EXPECT_EQ(g_entered, EnteredWith(cpu::kAvx2)) << bytes;
    }
}

TEST(KernelChoice, EveryVectorVersionOnAProcessorWithAll) {
    const dxrtest::CpuLevel level(cpu::kAsked | cpu::kAvx2 | cpu::kAvx512);
    for (const uint32_t bytes : kManyBytes) {
        CallAll(bytes);
        EXPECT_EQ(g_entered, EnteredWith(cpu::kAvx2 | cpu::kAvx512)) << bytes;
    }
}

TEST(KernelChoice, OnThisProcessorByWhatItHas) {
    const uint32_t features = cpu::Ask();
    for (const uint32_t before : {features, 0U}) {  // asked already, and not yet
        cpu::g_known = before;
        CallAll(1000);
        EXPECT_EQ(g_entered, EnteredWith(features));
    }
}

// Before the processor is asked.
TEST(KernelChoice, SmallCasesChooseNothing) {
    cpu::g_known = 0;
    for (uint32_t bytes = 0; bytes < 16; ++bytes) {
        EXPECT_THAT(CallAll(bytes), testing::Each(testing::Ne(kMark)));
        EXPECT_THAT(g_entered, testing::IsEmpty());
        EXPECT_EQ(cpu::g_known, 0U) << bytes;
    }
    for (uint32_t count = 0; count <= dxr::kFewWords; ++count) {
        const std::vector<uint32_t> words(count);
        EXPECT_EQ(dxr::AreSameWords(words.data(), words.data(), count), 1U);
        EXPECT_EQ(dxr::AreZeroWords(words.data(), count), 1U);
        EXPECT_EQ(dxr::BitsInWords(words.data(), count), 0U);
        EXPECT_EQ(cpu::g_known, 0U) << count;
    }
}

}  // namespace
