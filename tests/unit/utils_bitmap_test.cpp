#include "dxr/utils_bitmap.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "support/guarded_page.h"
#include "support/guarded_words.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;
using dxrtest::GuardedPage;
using dxrtest::GuardedWords;
using Words = std::vector<uint32_t>;

constexpr uint32_t kAllOnes = 0xFFFFFFFF;
constexpr size_t kMaxLength = 70;
constexpr size_t kStarts = 4;
// From here on the number of bits wraps at 32 bits.
constexpr uint32_t kWrappingWordCount = uint32_t{1} << 27;

uint32_t Count(const Words &words) {
    return static_cast<uint32_t>(words.size());
}

Words RandomWords(std::mt19937_64 &random, size_t count) {
    Words words(count);
    std::generate(words.begin(), words.end(), [&] { return static_cast<uint32_t>(random()); });
    return words;
}

// The bitmap one bit at a time.
bool BitOf(const Words &words, uint64_t bit) {
    return (words[bit / 32] >> (bit % 32) & 1) != 0;
}

void PutBit(Words &words, uint64_t bit, bool set) {
    const uint32_t mask = uint32_t{1} << (bit % 32);
    words[bit / 32] = set ? words[bit / 32] | mask : words[bit / 32] & ~mask;
}

uint64_t BitsIn(const Words &words) {
    return uint64_t{32} * words.size();
}

// ---- Whole bitmaps

TEST(IsSameBitMap, EqualWordsOfEveryLength) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= kMaxLength; ++length) {
        const Words a = RandomWords(random, length);
        const Words b = a;
        ASSERT_EQ(DXR_IsSameBitMap(a.data(), b.data(), Count(a)), 1U) << length;
        ASSERT_EQ(DXR_IsSameBitMap(a.data(), a.data(), Count(a)), 1U) << length;
    }
}

TEST(IsSameBitMap, OneBitOfOneWordMakesTheDifference) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 1; length <= kMaxLength; ++length) {
        const Words a = RandomWords(random, length);
        for (uint64_t bit = 0; bit < BitsIn(a); bit += 7) {
            Words b = a;
            PutBit(b, bit, !BitOf(b, bit));
            ASSERT_EQ(DXR_IsSameBitMap(a.data(), b.data(), Count(a)), 0U) << length << ' ' << bit;
        }
    }
}

TEST(IsSameBitMap, OnlyWordCountWordsAreCompared) {
    const Words a = {1, 2, 3};
    const Words b = {1, 2, 4};
    EXPECT_EQ(DXR_IsSameBitMap(a.data(), b.data(), 2), 1U);
    EXPECT_EQ(DXR_IsSameBitMap(b.data() + 2, a.data() + 2, 0), 1U);
}

TEST(IsSameBitMap, NothingBehindTheFirstDifferenceIsRead) {
    const GuardedPage page;
    auto *const end = static_cast<uint32_t *>(page.End());
    const Words other(100, 0);
    for (ptrdiff_t distance = 1; distance <= 8; ++distance) {
        std::fill(end - distance, end, 0U);
        end[-1] = 1;
        EXPECT_EQ(DXR_IsSameBitMap(end - distance, other.data(), 100), 0U);
        EXPECT_EQ(DXR_IsSameBitMap(other.data(), end - distance, 100), 0U);
    }
}

// One array ends `bytes` bytes after its beginning, in front of the guard, perhaps within a word;
// the other lies anywhere in its own pages. Both begin at every distance from a whole word.
TEST(IsSameBitMap, NoPageBehindTheFirstDifferenceIsTouchedWhereverTheArraysLie) {
    constexpr uint32_t kCount = 300;
    constexpr size_t kPage = 4096;
    const GuardedPage page;
    auto *const end = static_cast<unsigned char *>(page.End());
    std::vector<unsigned char> other(3 * kPage + 4 * kCount, 0);
    auto *const pageOfOther =
        other.data() + (kPage - reinterpret_cast<uintptr_t>(other.data()) % kPage);
    const auto words = [](unsigned char *bytes) { return reinterpret_cast<uint32_t *>(bytes); };
    for (size_t bytes = 4; bytes <= 180; ++bytes) {
        unsigned char *const bmp = end - bytes;
        std::fill(bmp, end, static_cast<unsigned char>(0));
        for (const size_t offset : {0U, 1U, 2U, 3U, 4U, 28U, 64U, 3990U, 4000U, 4063U, 4064U, 4065U,
                                    4079U, 4080U, 4081U, 4090U, 4092U, 4093U, 4095U}) {
            for (size_t byte = 0; byte < bytes / 4 * 4; byte += 3) {
                bmp[byte] = 1;
                unsigned char *const b = pageOfOther + offset;
                ASSERT_EQ(DXR_IsSameBitMap(words(bmp), words(b), kCount), 0U)
                    << bytes << " bytes beside offset " << offset << ", byte " << byte;
                ASSERT_EQ(DXR_IsSameBitMap(words(b), words(bmp), kCount), 0U)
                    << bytes << " bytes beside offset " << offset << ", byte " << byte;
                bmp[byte] = 0;
            }
        }
    }
}

TEST(IsSameBitMap, ArraysThatAreNotAlignedAreComparedToTheirEnds) {
    std::mt19937_64 random(dxrtest::Seed());
    const GuardedPage page;
    auto *const end = static_cast<unsigned char *>(page.End());
    for (uint32_t count = 0; count <= 40; ++count) {
        for (size_t shift = 0; shift < 4; ++shift) {
            std::vector<unsigned char> other(shift + 4 * count);
            std::generate(other.begin(), other.end(),
                          [&random] { return static_cast<unsigned char>(random()); });
            unsigned char *const bmp = end - 4 * count;
            std::copy(other.begin() + static_cast<ptrdiff_t>(shift), other.end(), bmp);
            const auto *const a = reinterpret_cast<const uint32_t *>(bmp);
            const auto *const b = reinterpret_cast<const uint32_t *>(other.data() + shift);
            ASSERT_EQ(DXR_IsSameBitMap(a, b, count), 1U) << count;
            for (size_t byte = 0; byte < 4 * count; ++byte) {
                bmp[byte] ^= 0x10;
                ASSERT_EQ(DXR_IsSameBitMap(a, b, count), 0U) << count << ", byte " << byte;
                bmp[byte] ^= 0x10;
            }
        }
    }
}

TEST(IsZeroBmp, EverySingleBitIsSeen) {
    for (size_t length = 0; length <= kMaxLength; ++length) {
        Words words(length, 0);
        ASSERT_EQ(DXR_IsZeroBmp(words.data(), Count(words)), 1U) << length;
        for (uint64_t bit = 0; bit < BitsIn(words); ++bit) {
            PutBit(words, bit, true);
            ASSERT_EQ(DXR_IsZeroBmp(words.data(), Count(words)), 0U) << length << ' ' << bit;
            PutBit(words, bit, false);
        }
    }
}

TEST(IsZeroBmp, WordsBehindTheBitmapDoNotCount) {
    const Words words = {0, 0, 5};
    EXPECT_EQ(DXR_IsZeroBmp(words.data(), 2), 1U);
    EXPECT_EQ(DXR_IsZeroBmp(words.data() + 2, 0), 1U);
}

TEST(BitmapZero, ClearsExactlyItsWords) {
    for (size_t length = 0; length <= kMaxLength; ++length) {
        for (size_t start = 0; start < kStarts; ++start) {
            GuardedWords bmp(Words(length, 0xDEADBEEF), start);
            DXR_BitmapZero(bmp.Data(), bmp.Size());
            ASSERT_EQ(bmp.Words(), Words(length, 0)) << length;
            ASSERT_TRUE(bmp.Intact()) << length;
        }
    }
}

TEST(ReverseBmp, InvertsEveryBitAndKeepsTheOrderOfTheWords) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= kMaxLength; ++length) {
        for (size_t start = 0; start < kStarts; ++start) {
            const Words before = RandomWords(random, length);
            Words expected = before;
            for (uint64_t bit = 0; bit < BitsIn(before); ++bit) {
                PutBit(expected, bit, !BitOf(before, bit));
            }
            GuardedWords bmp(before, start);
            DXR_ReverseBmp(bmp.Data(), bmp.Size());
            ASSERT_EQ(bmp.Words(), expected) << length;
            ASSERT_TRUE(bmp.Intact()) << length;
        }
    }
}

TEST(InverseBitMap, ReversesTheOrderOfTheWordsAndKeepsTheirBits) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= kMaxLength; ++length) {
        for (size_t start = 0; start < kStarts; ++start) {
            const Words before = RandomWords(random, length);
            GuardedWords bmp(before, start);
            DXR_InverseBitMap(bmp.Data(), bmp.Size());
            ASSERT_EQ(bmp.Words(), Words(before.rbegin(), before.rend())) << length;
            ASSERT_TRUE(bmp.Intact()) << length;
        }
    }
}

TEST(InverseBitMap, TheMiddleWordOfAnOddNumberStays) {
    Words words = {1, 2, 3, 4, 5};
    DXR_InverseBitMap(words.data(), 5);
    EXPECT_THAT(words, testing::ElementsAre(5, 4, 3, 2, 1));
    DXR_InverseBitMap(words.data() + 1, 1);
    EXPECT_THAT(words, testing::ElementsAre(5, 4, 3, 2, 1));
}

// An operation of two bitmaps, and what it does to one pair of words.
struct PairOperation {
    const char *name;
    void (*operation)(uint32_t *dst, const uint32_t *src, uint32_t wordCount);
    uint32_t (*ofWords)(uint32_t dst, uint32_t src);
};

void PrintTo(const PairOperation &operation, std::ostream *out) {
    *out << operation.name;
}

class PairOperations : public testing::TestWithParam<PairOperation> {};

INSTANTIATE_TEST_SUITE_P(
    All, PairOperations,
    testing::Values(PairOperation{"copy", DXR_BitmapCopy, [](uint32_t, uint32_t s) { return s; }},
                    PairOperation{"or", DXR_OrBmp, [](uint32_t d, uint32_t s) { return d | s; }},
                    PairOperation{"and", DXR_AndBmp, [](uint32_t d, uint32_t s) { return d & s; }},
                    PairOperation{"xor", DXR_XorBmp,
                                  [](uint32_t d, uint32_t s) { return d ^ s; }}));

TEST_P(PairOperations, SeparateBitmapsOfEveryLengthAndAlignment) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= kMaxLength; ++length) {
        for (size_t starts = 0; starts < kStarts * kStarts; ++starts) {
            const Words before = RandomWords(random, length);
            const Words source = RandomWords(random, length);
            Words expected(length);
            std::transform(before.begin(), before.end(), source.begin(), expected.begin(),
                           GetParam().ofWords);

            GuardedWords dst(before, starts % kStarts);
            GuardedWords src(source, starts / kStarts);
            GetParam().operation(dst.Data(), src.Data(), dst.Size());
            ASSERT_EQ(dst.Words(), expected) << length;
            ASSERT_EQ(src.Words(), source) << length;
            ASSERT_TRUE(dst.Intact() && src.Intact()) << length;
        }
    }
}

TEST_P(PairOperations, ABitmapWithItself) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= kMaxLength; ++length) {
        for (size_t start = 0; start < kStarts; ++start) {
            const Words before = RandomWords(random, length);
            Words expected(length);
            std::transform(before.begin(), before.end(), before.begin(), expected.begin(),
                           GetParam().ofWords);
            GuardedWords bmp(before, start);
            GetParam().operation(bmp.Data(), bmp.Data(), bmp.Size());
            ASSERT_EQ(bmp.Words(), expected) << length;
            ASSERT_TRUE(bmp.Intact()) << length;
        }
    }
}

// Where the ranges overlap, a word written early is read again later: the order is from index 0 up.
TEST_P(PairOperations, OverlappingBitmapsAreWorkedThroughFromTheFirstWordUp) {
    constexpr size_t kArena = kMaxLength + 20;
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= kMaxLength; ++length) {
        for (size_t dstAt = 0; dstAt <= 18; ++dstAt) {
            const size_t srcAt = 9;
            const Words before = RandomWords(random, kArena);
            Words expected = before;
            for (size_t i = 0; i < length; ++i) {
                uint32_t &word = expected[dstAt + i];
                word = GetParam().ofWords(word, expected[srcAt + i]);
            }
            GuardedWords arena(before);
            GetParam().operation(arena.Data() + dstAt, arena.Data() + srcAt,
                                 static_cast<uint32_t>(length));
            ASSERT_EQ(arena.Words(), expected) << length << ' ' << dstAt;
            ASSERT_TRUE(arena.Intact()) << length;
        }
    }
}

TEST(NegateArray, InvertsTheLowBitsOnly) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= 5; ++length) {
        std::vector<uint32_t> bitCounts(200);
        std::iota(bitCounts.begin(), bitCounts.end(), 0U);
        bitCounts.insert(bitCounts.end(), {0x7FFFFFFF, 0x80000000, 0xFFFFFFE0, kAllOnes});
        for (const uint32_t bitCount : bitCounts) {
            const Words before = RandomWords(random, length);
            Words expected = before;
            for (uint64_t bit = 0; bit < BitsIn(before) && bit < bitCount; ++bit) {
                PutBit(expected, bit, !BitOf(before, bit));
            }
            GuardedWords bmp(before, length % kStarts);
            DXR_NegateArray(bmp.Data(), bmp.Size(), bitCount);
            ASSERT_EQ(bmp.Words(), expected) << length << ' ' << bitCount;
            ASSERT_TRUE(bmp.Intact()) << length << ' ' << bitCount;
        }
    }
}

// All bits of the last word are inverted or the bits end with it: the one after it is not there.
TEST(NegateArray, WholeWordsInFrontOfAPageThatCannotBeTouched) {
    const GuardedPage page;
    for (uint32_t length = 0; length <= 40; ++length) {
        uint32_t *const bmp = static_cast<uint32_t *>(page.End()) - length;
        for (const uint32_t more : {0U, 1U, 31U, 32U, 1000U}) {
            std::fill_n(bmp, length, 0x0FF0A55AU);
            DXR_NegateArray(bmp, length, 32 * length + more);
            ASSERT_THAT(Words(bmp, bmp + length), testing::Each(0xF00F5AA5U)) << length;
        }
    }
}

TEST(NegateArray, MoreBitsThanTheWordInvertTheWord) {
    Words words = {0x0000FFFF, 0x12345678};
    DXR_NegateArray(words.data(), 1, 40);
    EXPECT_THAT(words, testing::ElementsAre(0xFFFF0000, 0x12345678));
}

TEST(NegateArray, TheNumberOfBitsWrapsAt32Bits) {
    Words words = {0, 0};
    DXR_NegateArray(words.data(), kWrappingWordCount, 40);
    EXPECT_THAT(words, testing::ElementsAre(0, 0));
    DXR_NegateArray(words.data(), kWrappingWordCount + 1, 40);
    EXPECT_THAT(words, testing::ElementsAre(kAllOnes, 0));
}

TEST(NonZeroCount, WordsThatAreNotZero) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= kMaxLength; ++length) {
        Words words(length);
        for (uint32_t &word : words) {
            // One bit at the most, so that a bit that is not looked at is missed.
            const uint64_t choice = random();
            word = choice % 3 == 0 ? 0 : uint32_t{1} << (choice / 3 % 32);
        }
        const auto nonZero = static_cast<uint32_t>(length) -
                             static_cast<uint32_t>(std::count(words.begin(), words.end(), 0U));
        ASSERT_EQ(DXR_GetNonZeroCntInArray(words.data(), Count(words)), nonZero);
        for (uint32_t n = 0; n <= length + 2; ++n) {
            ASSERT_EQ(DXR_IsNonZeroCntOverN(words.data(), Count(words), n), nonZero >= n ? 1U : 0U)
                << length << ' ' << n;
        }
        ASSERT_EQ(DXR_IsNonZeroCntOverN(words.data(), Count(words), kAllOnes), 0U);
    }
}

TEST(NonZeroCount, ExactlyNCountsAsOverAndZeroAlways) {
    const Words words = {0, 7, 0, 9};
    EXPECT_EQ(DXR_GetNonZeroCntInArray(words.data(), 4), 2U);
    EXPECT_EQ(DXR_IsNonZeroCntOverN(words.data(), 4, 2), 1U);
    EXPECT_EQ(DXR_IsNonZeroCntOverN(words.data(), 4, 3), 0U);
    EXPECT_EQ(DXR_IsNonZeroCntOverN(words.data(), 1, 0), 1U);
    EXPECT_EQ(DXR_IsNonZeroCntOverN(words.data(), 0, 0), 1U);
    EXPECT_EQ(DXR_IsNonZeroCntOverN(words.data(), 0, 1), 0U);
}

uint32_t SetBitsOf(const Words &words) {
    uint32_t bits = 0;
    for (uint64_t bit = 0; bit < BitsIn(words); ++bit) {
        bits += BitOf(words, bit) ? 1 : 0;
    }
    return bits;
}

TEST(CountValidBit, EveryBitOfAWordCountsOnce) {
    EXPECT_EQ(DXR_CountValidBit(0), 0U);
    EXPECT_EQ(DXR_CountValidBit(kAllOnes), 32U);
    for (uint32_t bit = 0; bit < 32; ++bit) {
        EXPECT_EQ(DXR_CountValidBit(uint32_t{1} << bit), 1U) << bit;
        EXPECT_EQ(DXR_CountValidBit(~(uint32_t{1} << bit)), 31U) << bit;
        EXPECT_EQ(DXR_CountValidBit(kAllOnes >> bit), 32 - bit) << bit;
    }
}

TEST(CountValidBit, ArraysOfEveryLength) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= kMaxLength; ++length) {
        const Words words = RandomWords(random, length);
        ASSERT_EQ(DXR_CountValidBitOfArray(words.data(), Count(words)), SetBitsOf(words)) << length;
    }
    const Words behind = {3, kAllOnes};
    EXPECT_EQ(DXR_CountValidBitOfArray(behind.data(), 1), 2U);
}

// ---- Text

std::string TextOf(const Words &words, uint32_t room = 4096) {
    GuardedBuffer buffer(room);
    DXR_GetBitMapStr(words.data(), Count(words), buffer.Data(), room);
    EXPECT_TRUE(buffer.Intact());
    EXPECT_TRUE(buffer.Terminated());
    return buffer.Text();
}

TEST(GetBitMapStr, HighestWordFirstAndWordZeroNever) {
    EXPECT_EQ(TextOf({0x1, 0xAB}), "0xab ");
    EXPECT_EQ(TextOf({0x1, 0, 0xFFFFFFFF, 0xABCDEF}), "0xabcdef 0xffffffff 0x0 ");
}

TEST(GetBitMapStr, OneWordGivesAnEmptyText) {
    EXPECT_EQ(TextOf({0x12345678}), "");
    EXPECT_EQ(TextOf({0x12345678}, 1), "");
}

TEST(GetBitMapStr, EveryRoomCutsTheTextAndTerminatesIt) {
    dxrtest::TestHost host;
    host.WithPrint();
    const Words words = {0xFEDCBA98, 0x0, 0x12, 0x89ABCDEF, 0x7};
    const std::string whole = "0x7 0x89abcdef 0x12 0x0 ";
    for (uint32_t room = 1; room <= 60; ++room) {
        ASSERT_EQ(TextOf(words, room), whole.substr(0, room - 1)) << room;
    }
    // A cut text is not reported: the formatter counts what it stored.
    EXPECT_THAT(host.printed, testing::IsEmpty());
}

TEST(GetBitMapStr, WithoutRoomOrBufferNothingIsWritten) {
    const Words words = {1, 2, 3};
    GuardedBuffer buffer(16);
    DXR_GetBitMapStr(words.data(), 3, buffer.Data(), 0);
    EXPECT_TRUE(buffer.Untouched());
    DXR_GetBitMapStr(words.data(), 3, nullptr, 16);
}

TEST(GetBitMapStr, NoWordsGiveAnEmptyText) {
    EXPECT_EQ(TextOf({}), "");
}

// ---- Single bits

TEST(SingleBits, EveryBitOfSmallBitmapsAndTheOnesBehind) {
    std::mt19937_64 random(dxrtest::Seed());
    for (size_t length = 0; length <= 4; ++length) {
        std::vector<uint32_t> bits(170);
        std::iota(bits.begin(), bits.end(), 0U);
        bits.insert(bits.end(), {0x7FFFFFFF, 0x80000000, kAllOnes});
        for (const uint32_t bit : bits) {
            for (const uint32_t fill : {0U, kAllOnes, static_cast<uint32_t>(random())}) {
                const Words before(length, fill);
                const bool inside = bit < BitsIn(before);
                GuardedWords bmp(before, length % kStarts, 0);
                ASSERT_EQ(DXR_IsSetBmp(bmp.Data(), bmp.Size(), bit),
                          inside && BitOf(before, bit) ? 1U : 0U);

                Words set = before;
                Words cleared = before;
                if (inside) {
                    PutBit(set, bit, true);
                    PutBit(cleared, bit, false);
                }
                DXR_SetBmpBit(bmp.Data(), bmp.Size(), bit);
                ASSERT_EQ(bmp.Words(), set) << length << ' ' << bit;
                GuardedWords other(before, length % kStarts, kAllOnes);
                DXR_ClearBmpBit(other.Data(), other.Size(), bit);
                ASSERT_EQ(other.Words(), cleared) << length << ' ' << bit;
                ASSERT_TRUE(bmp.Intact() && other.Intact()) << length << ' ' << bit;
            }
        }
    }
}

TEST(SingleBits, TheRangeWrapsAt32Bits) {
    Words words = {kAllOnes, kAllOnes};
    // 2^27 words: no bit is inside.
    EXPECT_EQ(DXR_IsSetBmp(words.data(), kWrappingWordCount, 0), 0U);
    DXR_ClearBmpBit(words.data(), kWrappingWordCount, 0);
    EXPECT_THAT(words, testing::ElementsAre(kAllOnes, kAllOnes));
    // One more: the bits of one word are.
    EXPECT_EQ(DXR_IsSetBmp(words.data(), kWrappingWordCount + 1, 31), 1U);
    EXPECT_EQ(DXR_IsSetBmp(words.data(), kWrappingWordCount + 1, 32), 0U);
    DXR_ClearBmpBit(words.data(), kWrappingWordCount + 1, 31);
    DXR_ClearBmpBit(words.data(), kWrappingWordCount + 1, 32);
    EXPECT_THAT(words, testing::ElementsAre(0x7FFFFFFF, kAllOnes));
    DXR_SetBmpBit(words.data(), kWrappingWordCount, 31);
    EXPECT_THAT(words, testing::ElementsAre(0x7FFFFFFF, kAllOnes));
    DXR_SetBmpBit(words.data(), kWrappingWordCount + 1, 31);
    EXPECT_THAT(words, testing::ElementsAre(kAllOnes, kAllOnes));
}

// ---- Bit fields

// The field bit by bit. Reading takes `width` bits; writing takes those too, but for a width of 0
// all the bits up to the end of the first word.
uint32_t ReadModel(const Words &words, uint64_t startBit, uint32_t width) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < width && width <= 32; ++i) {
        if (startBit + i < BitsIn(words) && BitOf(words, startBit + i)) {
            value |= uint32_t{1} << i;
        }
    }
    return value;
}

void WriteModel(Words &words, uint32_t value, uint64_t startBit, uint32_t width) {
    if (width > 32) {
        return;
    }
    const uint64_t bits = width == 0 ? 32 - startBit % 32 : width;
    for (uint64_t i = 0; i < bits; ++i) {
        if (startBit + i < BitsIn(words)) {
            PutBit(words, startBit + i, (value >> i & 1) != 0);
        }
    }
}

std::vector<uint32_t> FieldStarts() {
    std::vector<uint32_t> starts(130);
    std::iota(starts.begin(), starts.end(), 0U);
    starts.insert(starts.end(), {159, 160, 0x7FFFFFFF, 0x80000000, 0xFFFFFFE0, kAllOnes});
    return starts;
}

std::vector<uint32_t> FieldWidths() {
    std::vector<uint32_t> widths(41);
    std::iota(widths.begin(), widths.end(), 0U);
    widths.insert(widths.end(), {64, 0x80000000, kAllOnes});
    return widths;
}

std::vector<Words> FieldPatterns(size_t wordCount) {
    std::mt19937_64 random(dxrtest::Seed());
    return {Words(wordCount, 0), Words(wordCount, kAllOnes), Words(wordCount, 0x55555555),
            RandomWords(random, wordCount)};
}

TEST(GetBitField, EveryFieldAgreesWithItsBits) {
    for (uint32_t wordCount = 0; wordCount <= 4; ++wordCount) {
        for (const Words &words : FieldPatterns(wordCount)) {
            for (const uint32_t start : FieldStarts()) {
                for (const uint32_t width : FieldWidths()) {
                    ASSERT_EQ(DXR_GetBitField(words.data(), wordCount, start, width),
                              ReadModel(words, start, width))
                        << wordCount << " words, start " << start << ", width " << width;
                }
            }
        }
    }
}

TEST(SetBitField, EveryFieldAgreesWithItsBits) {
    for (uint32_t wordCount = 0; wordCount <= 4; ++wordCount) {
        for (const Words &before : FieldPatterns(wordCount)) {
            for (const uint32_t value : {0U, kAllOnes, 0xAAAAAAAAU, 0x80000001U, 0x9E3779B9U}) {
                for (const uint32_t start : FieldStarts()) {
                    for (const uint32_t width : FieldWidths()) {
                        Words expected = before;
                        WriteModel(expected, value, start, width);
                        GuardedWords buf(before);
                        DXR_SetBitField(buf.Data(), wordCount, value, start, width);
                        ASSERT_EQ(buf.Words(), expected)
                            << wordCount << " words, start " << start << ", width " << width;
                        ASSERT_TRUE(buf.Intact())
                            << wordCount << " words, start " << start << ", width " << width;
                    }
                }
            }
        }
    }
}

TEST(SetBitField, AFieldOverTwoWords) {
    Words words = {0, 0};
    DXR_SetBitField(words.data(), 2, 0xAB, 28, 8);
    EXPECT_THAT(words, testing::ElementsAre(0xB0000000, 0x0000000A));
    EXPECT_EQ(DXR_GetBitField(words.data(), 2, 28, 8), 0xABU);
    EXPECT_EQ(DXR_GetBitField(words.data(), 1, 28, 8), 0xBU);
}

TEST(SetBitField, ThePartBeyondTheArrayIsDropped) {
    Words words = {0, 0};
    DXR_SetBitField(words.data(), 1, 0xAB, 28, 8);
    EXPECT_THAT(words, testing::ElementsAre(0xB0000000, 0));
}

TEST(SetBitField, WidthZeroReadsNothingButWritesToTheEndOfTheWord) {
    Words words = {0x12345678, 0x9ABCDEF0};
    EXPECT_EQ(DXR_GetBitField(words.data(), 2, 0, 0), 0U);
    EXPECT_EQ(DXR_GetBitField(words.data(), 2, 4, 0), 0U);
    DXR_SetBitField(words.data(), 2, 0x5, 4, 0);
    EXPECT_THAT(words, testing::ElementsAre(0x00000058, 0x9ABCDEF0));
    DXR_SetBitField(words.data(), 2, 0xCAFEF00D, 32, 0);
    EXPECT_THAT(words, testing::ElementsAre(0x00000058, 0xCAFEF00D));
}

TEST(SetBitField, WidthsAbove32DoNothing) {
    Words words = {0x12345678, 0x9ABCDEF0};
    DXR_SetBitField(words.data(), 2, 0, 0, 33);
    DXR_SetBitField(words.data(), 2, 0, 0, kAllOnes);
    EXPECT_THAT(words, testing::ElementsAre(0x12345678, 0x9ABCDEF0));
    EXPECT_EQ(DXR_GetBitField(words.data(), 2, 0, 33), 0U);
}

TEST(SetBitField32, IsTheFieldOfOneWord) {
    for (const uint32_t before : {0U, kAllOnes, 0x12345678U}) {
        for (const uint32_t start : FieldStarts()) {
            for (const uint32_t width : FieldWidths()) {
                Words expected = {before};
                WriteModel(expected, 0xC3A50FF1, start, width);
                GuardedWords word({before});
                DXR_SetBitField32(word.Data(), 0xC3A50FF1, start, width);
                ASSERT_EQ(word.Words(), expected) << start << ' ' << width;
                ASSERT_TRUE(word.Intact()) << start << ' ' << width;
            }
        }
    }
}

TEST(SetBit, OneBitOfOneWordAndNothingFrom32On) {
    for (const uint32_t bit : FieldStarts()) {
        GuardedWords set({0x0F0F0F0F}, 0, 0);
        GuardedWords cleared({0x0F0F0F0F}, 0, kAllOnes);
        Words expectedSet = {0x0F0F0F0F};
        Words expectedCleared = {0x0F0F0F0F};
        if (bit < 32) {
            PutBit(expectedSet, bit, true);
            PutBit(expectedCleared, bit, false);
        }
        DXR_SetBit(set.Data(), bit);
        DXR_ClearBit(cleared.Data(), bit);
        EXPECT_EQ(set.Words(), expectedSet) << bit;
        EXPECT_EQ(cleared.Words(), expectedCleared) << bit;
        EXPECT_TRUE(set.Intact() && cleared.Intact()) << bit;
    }
}

TEST(GetBitField64, TheLowHalfIsTheFirstWord) {
    EXPECT_EQ(DXR_GetBitField64(uint64_t{1} << 32, 32, 1), 1U);
    EXPECT_EQ(DXR_GetBitField64(0x0123456789ABCDEF, 0, 32), 0x89ABCDEFU);
    EXPECT_EQ(DXR_GetBitField64(0x0123456789ABCDEF, 32, 32), 0x01234567U);
    EXPECT_EQ(DXR_GetBitField64(0x0123456789ABCDEF, 28, 8), 0x78U);

    std::mt19937_64 random(dxrtest::Seed());
    for (const uint64_t value : {uint64_t{0}, ~uint64_t{0}, random(), random()}) {
        const Words words = {static_cast<uint32_t>(value), static_cast<uint32_t>(value >> 32)};
        for (const uint32_t start : FieldStarts()) {
            for (const uint32_t width : FieldWidths()) {
                ASSERT_EQ(DXR_GetBitField64(value, start, width), ReadModel(words, start, width))
                    << value << ' ' << start << ' ' << width;
            }
        }
    }
}

TEST(GetBitField32, IsTheFieldOfOneWord) {
    std::mt19937_64 random(dxrtest::Seed());
    for (const uint32_t value : {0U, kAllOnes, static_cast<uint32_t>(random())}) {
        for (const uint32_t start : FieldStarts()) {
            ASSERT_EQ(DXR_GetBit(value, start), ReadModel({value}, start, 1)) << start;
            for (const uint32_t width : FieldWidths()) {
                ASSERT_EQ(DXR_GetBitField32(value, start, width), ReadModel({value}, start, width))
                    << value << ' ' << start << ' ' << width;
            }
        }
    }
    EXPECT_EQ(DXR_GetBit(kAllOnes, 31), 1U);
    EXPECT_EQ(DXR_GetBit(kAllOnes, 32), 0U);
}

TEST(IsBitHit, AHitIsAMismatch) {
    const auto hit = [](uint32_t value, uint32_t mask, uint32_t expected) {
        const DxrBitHitRec rec = {value, mask, expected};
        return DXR_IsBitHit(&rec);
    };
    EXPECT_EQ(hit(0xF0, 0x30, 0x30), 0U);
    EXPECT_EQ(hit(0xF0, 0x30, 0x10), 1U);
    // Bits outside the mask do not count in the value, but do in what is expected.
    EXPECT_EQ(hit(0xFFFFFFF0, 0x0000000F, 0), 0U);
    EXPECT_EQ(hit(0xF0, 0x30, 0xF0), 1U);
    EXPECT_EQ(hit(0, 0, 0), 0U);
    EXPECT_EQ(hit(kAllOnes, kAllOnes, kAllOnes), 0U);
    EXPECT_EQ(hit(kAllOnes, kAllOnes, 0x7FFFFFFF), 1U);
}

TEST(IsBitHit, TheRecordIsValueMaskExpected) {
    const uint32_t words[3] = {0xF0, 0x30, 0x30};
    static_assert(sizeof(DxrBitHitRec) == sizeof(words));
    DxrBitHitRec rec;
    std::memcpy(&rec, words, sizeof(rec));
    EXPECT_EQ(DXR_IsBitHit(&rec), 0U);
}

}  // namespace
