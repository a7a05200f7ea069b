#include "kernels/cpu_features.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "support/test_host.h"

namespace {

namespace cpu = dxr::cpu_features;
using cpu::Answers;

// Before anything asked the processor.
const uint32_t kKnownAtLoad = cpu::g_known.load();

TEST(FastPaths, AreThereUnlessTheBuildLeavesThemOut) {
#ifdef DXR_PLAIN
    EXPECT_FALSE(dxr::kFastPaths);
#else
    EXPECT_TRUE(dxr::kFastPaths);
#endif
#ifdef __x86_64__
    EXPECT_EQ(dxr::kVectorVersions, dxr::kFastPaths);
#else
    EXPECT_FALSE(dxr::kVectorVersions);
#endif
}

TEST(Has, NothingIsKnownAtLoad) {
    EXPECT_EQ(kKnownAtLoad, 0U);
}

// Each bit that a level asks for, by the number that processors' manuals give it.
struct Needed {
    const char *name;
    Answers answer;
};

constexpr uint64_t Bit(unsigned number) {
    return uint64_t{1} << number;
}

constexpr uint32_t Bit32(unsigned number) {
    return static_cast<uint32_t>(Bit(number));
}

const std::vector<Needed> kForAvx2 = {
    {"pclmulqdq", {Bit32(1), 0, 0, 0}},
    {"popcnt", {Bit32(23), 0, 0, 0}},
    {"osxsave", {Bit32(27), 0, 0, 0}},
    {"avx", {Bit32(28), 0, 0, 0}},
    {"bmi1", {0, Bit32(3), 0, 0}},
    {"avx2", {0, Bit32(5), 0, 0}},
    {"bmi2", {0, Bit32(8), 0, 0}},
    {"registers of SSE saved", {0, 0, 0, Bit(1)}},
    {"registers of AVX saved", {0, 0, 0, Bit(2)}},
};

const std::vector<Needed> kForAvx512Besides = {
    {"avx512f", {0, Bit32(16), 0, 0}},         {"avx512vl", {0, Bit32(31), 0, 0}},
    {"avx512vpopcntdq", {0, 0, Bit32(14), 0}}, {"masks saved", {0, 0, 0, Bit(5)}},
    {"upper halves saved", {0, 0, 0, Bit(6)}}, {"upper sixteen saved", {0, 0, 0, Bit(7)}},
};

Answers With(Answers answers, const Answers &more) {
    answers.leaf1Ecx |= more.leaf1Ecx;
    answers.leaf7Ebx |= more.leaf7Ebx;
    answers.leaf7Ecx |= more.leaf7Ecx;
    answers.savedRegisters |= more.savedRegisters;
    return answers;
}

Answers Without(Answers answers, const Answers &less) {
    answers.leaf1Ecx &= ~less.leaf1Ecx;
    answers.leaf7Ebx &= ~less.leaf7Ebx;
    answers.leaf7Ecx &= ~less.leaf7Ecx;
    answers.savedRegisters &= ~less.savedRegisters;
    return answers;
}

Answers All(const std::vector<Needed> &needed, Answers answers = {}) {
    for (const Needed &one : needed) {
        answers = With(answers, one.answer);
    }
    return answers;
}

Answers AllOfBoth() {
    return All(kForAvx512Besides, All(kForAvx2));
}

constexpr Answers kEverything = {UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT64_MAX};

TEST(FeaturesOf, NothingWithoutAnswers) {
    EXPECT_EQ(cpu::FeaturesOf({}), 0U);
}

TEST(FeaturesOf, ExactlyTheBitsOfALevelGiveIt) {
    EXPECT_EQ(cpu::FeaturesOf(All(kForAvx2)), cpu::kAvx2);
    EXPECT_EQ(cpu::FeaturesOf(AllOfBoth()), cpu::kAvx2 | cpu::kAvx512);
    EXPECT_EQ(cpu::FeaturesOf(kEverything), cpu::kAvx2 | cpu::kAvx512);
}

// Also beside everything else that a processor may say: among it AVX2 on an operating system that
// does not save its registers.
TEST(FeaturesOf, WithoutAnyBitOfAvx2ThereIsNothing) {
    for (const Needed &missing : kForAvx2) {
        EXPECT_EQ(cpu::FeaturesOf(Without(All(kForAvx2), missing.answer)), 0U) << missing.name;
        EXPECT_EQ(cpu::FeaturesOf(Without(kEverything, missing.answer)), 0U) << missing.name;
    }
}

TEST(FeaturesOf, WithoutAnyBitOfAvx512ThereIsAvx2Alone) {
    for (const Needed &missing : kForAvx512Besides) {
        EXPECT_EQ(cpu::FeaturesOf(Without(AllOfBoth(), missing.answer)), cpu::kAvx2)
            << missing.name;
        EXPECT_EQ(cpu::FeaturesOf(Without(kEverything, missing.answer)), cpu::kAvx2)
            << missing.name;
    }
}

// Each needed bit there or not at random, all others at random.
TEST(FeaturesOf, RandomAnswersGiveWhatTheirBitsSay) {
    std::mt19937_64 random(dxrtest::Seed());
    for (int i = 0; i < 100'000; ++i) {
        Answers answers = {static_cast<uint32_t>(random()), static_cast<uint32_t>(random()),
                           static_cast<uint32_t>(random()), random()};
        // Mostly there, or hardly any answer would give a level.
        const auto decide = [&](const std::vector<Needed> &needed) {
            bool all = true;
            for (const Needed &one : needed) {
                const bool there = random() % 12 != 0;
                answers = there ? With(answers, one.answer) : Without(answers, one.answer);
                all = all && there;
            }
            return all;
        };
        const bool avx2 = decide(kForAvx2);
        const bool avx512 = decide(kForAvx512Besides) && avx2;
        ASSERT_EQ(cpu::FeaturesOf(answers),
                  (avx2 ? cpu::kAvx2 : 0U) | (avx512 ? cpu::kAvx512 : 0U));
    }
}

uint32_t FeaturesByTheCompiler() {
#if defined(__x86_64__)
    const bool avx2 = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi") != 0 &&
                      __builtin_cpu_supports("bmi2") != 0 &&
                      __builtin_cpu_supports("pclmul") != 0 &&
                      __builtin_cpu_supports("popcnt") != 0;
    const bool avx512 = avx2 && __builtin_cpu_supports("avx512f") != 0 &&
                        __builtin_cpu_supports("avx512vl") != 0 &&
                        __builtin_cpu_supports("avx512vpopcntdq") != 0;
    return (avx2 ? cpu::kAvx2 : 0U) | (avx512 ? cpu::kAvx512 : 0U);
#else
    return 0;
#endif
}

TEST(Ask, GivesWhatTheCompilerSays) {
    EXPECT_EQ(cpu::Ask(), FeaturesByTheCompiler() | cpu::kAsked);
    EXPECT_EQ(cpu::g_known, FeaturesByTheCompiler() | cpu::kAsked);
}

TEST(Has, AsksOnceAndKeepsTheAnswer) {
    const uint32_t features = FeaturesByTheCompiler();
    cpu::g_known = 0;
    EXPECT_EQ(dxr::HasAvx2(), (features & cpu::kAvx2) != 0);
    EXPECT_EQ(cpu::g_known, features | cpu::kAsked);
    cpu::g_known = 0;
    EXPECT_EQ(dxr::HasAvx512(), (features & cpu::kAvx512) != 0);
    EXPECT_EQ(cpu::g_known, features | cpu::kAsked);

    // What nobody asks the processor for it does not have, whoever asks first.
    cpu::g_known = 0;
    EXPECT_FALSE(cpu::Has(8));
    EXPECT_FALSE(cpu::Has(8));

    // The kept answer stands, whatever the processor would say now.
    cpu::g_known = cpu::kAsked;
    EXPECT_FALSE(dxr::HasAvx2());
    EXPECT_FALSE(dxr::HasAvx512());
    cpu::g_known = cpu::kAsked | cpu::kAvx2;
    EXPECT_TRUE(dxr::HasAvx2());
    EXPECT_FALSE(dxr::HasAvx512());
    cpu::g_known = cpu::kAsked | cpu::kAvx2 | cpu::kAvx512;
    EXPECT_TRUE(dxr::HasAvx2());
    EXPECT_TRUE(dxr::HasAvx512());
    cpu::g_known = 0;
}

}  // namespace
