// Long random sequences of operations on two bitmaps against vectors of single bits.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "dxr/utils_bitmap.h"
#include "support/guarded_words.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedWords;
using Bits = std::vector<bool>;
using Words = std::vector<uint32_t>;

constexpr size_t kWordBits = 32;

Words Packed(const Bits &bits) {
    Words words(bits.size() / kWordBits, 0);
    for (size_t i = 0; i < bits.size(); ++i) {
        words[i / kWordBits] |= bits[i] ? uint32_t{1} << (i % kWordBits) : 0;
    }
    return words;
}

// A bitmap of the library and its model, changed together.
struct Pair {
    Pair(uint32_t wordCount, size_t start)
        : bmp(Words(wordCount, 0), start), bits(wordCount * kWordBits, false) {}

    GuardedWords bmp;
    Bits bits;
};

class BitmapModel : public testing::Test {
  protected:
    uint32_t Below(size_t bound) { return static_cast<uint32_t>(random_() % bound); }
    uint32_t Word() { return static_cast<uint32_t>(random_()); }

    void SingleBit(Pair &pair) {
        const uint32_t bit = Below(pair.bits.size() + 40);
        const bool inside = bit < pair.bits.size();
        ASSERT_EQ(DXR_IsSetBmp(pair.bmp.Data(), pair.bmp.Size(), bit),
                  inside && pair.bits[bit] ? 1U : 0U);
        const bool set = Below(2) != 0;
        if (set) {
            DXR_SetBmpBit(pair.bmp.Data(), pair.bmp.Size(), bit);
        } else {
            DXR_ClearBmpBit(pair.bmp.Data(), pair.bmp.Size(), bit);
        }
        if (inside) {
            pair.bits[bit] = set;
        }
    }

    void Field(Pair &pair) {
        const uint32_t start = Below(pair.bits.size() + 40);
        const uint32_t width = Below(36);
        const uint32_t value = Word();
        DXR_SetBitField(pair.bmp.Data(), pair.bmp.Size(), value, start, width);
        const size_t written = width == 0          ? kWordBits - start % kWordBits
                               : width > kWordBits ? 0
                                                   : width;
        for (size_t i = 0; i < written && start + i < pair.bits.size(); ++i) {
            pair.bits[start + i] = (value >> i & 1) != 0;
        }

        const uint32_t readStart = Below(pair.bits.size() + 40);
        const uint32_t readWidth = Below(36);
        uint32_t expected = 0;
        for (size_t i = 0; i < readWidth && readWidth <= kWordBits; ++i) {
            if (readStart + i < pair.bits.size() && pair.bits[readStart + i]) {
                expected |= uint32_t{1} << i;
            }
        }
        ASSERT_EQ(DXR_GetBitField(pair.bmp.Data(), pair.bmp.Size(), readStart, readWidth),
                  expected);
    }

    void Whole(Pair &pair) {
        switch (Below(4)) {
            case 0:
                DXR_ReverseBmp(pair.bmp.Data(), pair.bmp.Size());
                pair.bits.flip();
                break;
            case 1: {
                DXR_InverseBitMap(pair.bmp.Data(), pair.bmp.Size());
                Bits reversed;
                for (size_t word = pair.bmp.Size(); word-- > 0;) {
                    const auto first = pair.bits.begin() + static_cast<ptrdiff_t>(word * kWordBits);
                    reversed.insert(reversed.end(), first, first + kWordBits);
                }
                pair.bits = reversed;
                break;
            }
            case 2: {
                const uint32_t count = Below(pair.bits.size() + 40);
                DXR_NegateArray(pair.bmp.Data(), pair.bmp.Size(), count);
                for (size_t i = 0; i < count && i < pair.bits.size(); ++i) {
                    pair.bits[i] = !pair.bits[i];
                }
                break;
            }
            default:
                // Seldom, or the bitmaps would stay empty.
                if (Below(8) == 0) {
                    DXR_BitmapZero(pair.bmp.Data(), pair.bmp.Size());
                    pair.bits.assign(pair.bits.size(), false);
                }
        }
    }

    void Combine(Pair &dst, Pair &src) {
        const uint32_t choice = Below(4);
        constexpr decltype(&DXR_OrBmp) kOperations[] = {DXR_OrBmp, DXR_AndBmp, DXR_XorBmp,
                                                        DXR_BitmapCopy};
        kOperations[choice](dst.bmp.Data(), src.bmp.Data(), dst.bmp.Size());
        for (size_t i = 0; i < dst.bits.size(); ++i) {
            const bool d = dst.bits[i];
            const bool s = src.bits[i];
            dst.bits[i] = choice == 0 ? d || s : choice == 1 ? d && s : choice == 2 ? d != s : s;
        }
    }

    void Check(Pair &pair) {
        const Words words = Packed(pair.bits);
        ASSERT_EQ(pair.bmp.Words(), words);
        ASSERT_TRUE(pair.bmp.Intact());
        ASSERT_EQ(DXR_CountValidBitOfArray(pair.bmp.Data(), pair.bmp.Size()),
                  std::count(pair.bits.begin(), pair.bits.end(), true));
        const auto zeroWords = std::count(words.begin(), words.end(), 0U);
        const auto nonZero = static_cast<uint32_t>(words.size()) - static_cast<uint32_t>(zeroWords);
        ASSERT_EQ(DXR_GetNonZeroCntInArray(pair.bmp.Data(), pair.bmp.Size()), nonZero);
        ASSERT_EQ(DXR_IsZeroBmp(pair.bmp.Data(), pair.bmp.Size()), nonZero == 0 ? 1U : 0U);
    }

    // The text of all words but the first, the highest first.
    static std::string TextModel(const Bits &bits) {
        std::string text;
        const Words words = Packed(bits);
        for (size_t i = words.size(); i-- > 1;) {
            std::string digits;
            for (uint32_t rest = words[i]; rest != 0; rest /= 16) {
                digits.insert(digits.begin(), "0123456789abcdef"[rest % 16]);
            }
            text += "0x" + (digits.empty() ? "0" : digits) + " ";
        }
        return text;
    }

    void Text(Pair &pair) {
        const std::string whole = TextModel(pair.bits);
        const uint32_t room = 1 + Below(whole.size() + 10);
        dxrtest::GuardedBuffer buffer(room);
        DXR_GetBitMapStr(pair.bmp.Data(), pair.bmp.Size(), buffer.Data(), room);
        ASSERT_EQ(buffer.Text(), whole.substr(0, room - 1));
        ASSERT_TRUE(buffer.Terminated() && buffer.Intact());
    }

  private:
    std::mt19937_64 random_{dxrtest::Seed()};
};

TEST_F(BitmapModel, RandomOperationsAgreeWithSingleBits) {
    for (int round = 0; round < 200; ++round) {
        const uint32_t wordCount = Below(12);
        Pair pairs[] = {Pair(wordCount, Below(4)), Pair(wordCount, Below(4))};
        for (int step = 0; step < 100; ++step) {
            Pair &pair = pairs[Below(2)];
            switch (Below(8)) {
                case 0:
                case 1:
                    ASSERT_NO_FATAL_FAILURE(SingleBit(pair));
                    break;
                case 2:
                case 3:
                case 4:
                    ASSERT_NO_FATAL_FAILURE(Field(pair));
                    break;
                case 5:
                    Whole(pair);
                    break;
                case 6:
                    Combine(pair, pairs[Below(2)]);
                    break;
                default:
                    ASSERT_NO_FATAL_FAILURE(Text(pair));
            }
            ASSERT_NO_FATAL_FAILURE(Check(pair)) << "round " << round << ", step " << step;
            ASSERT_EQ(DXR_IsSameBitMap(pairs[0].bmp.Data(), pairs[1].bmp.Data(), wordCount),
                      pairs[0].bits == pairs[1].bits ? 1U : 0U);
        }
    }
}

}  // namespace
