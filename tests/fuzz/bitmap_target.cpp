// Bitmaps and bit fields beside arrays that are looked at bit by bit.
#include <array>
#include <cstdint>
#include <string>

#include "dxr/hooks.h"
#include "dxr/utils_bitmap.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

// Long enough for every step of the vector versions, with words before and after that nobody may
// touch.
constexpr uint32_t kWords = 80;
constexpr uint32_t kGuard = 9;

struct Words {
    std::array<uint32_t, kWords + 2 * kGuard> all;

    [[nodiscard]] bool Bit(uint32_t first, uint64_t bit) const {
        return (all[first + bit / 32] >> bit % 32 & 1) != 0;
    }
    void SetBit(uint32_t first, uint64_t bit, bool on) {
        uint32_t &word = all[first + bit / 32];
        word = (word & ~(1U << bit % 32)) | static_cast<uint32_t>(on) << bit % 32;
    }
};

uint32_t Ones(uint32_t word) {
    uint32_t ones = 0;
    for (; word != 0; word &= word - 1) {
        ++ones;
    }
    return ones;
}

class Run {
  public:
    explicit Run(Input &input) : input_(input) {
        for (size_t i = 0; i < 2; ++i) {
            const uint32_t style = input_.Below(4);
            const uint32_t word = style == 3 ? input_.Word() : style == 2 ? UINT32_MAX : 0;
            for (uint32_t j = 0; j < real_[i].all.size(); ++j) {
                real_[i].all[j] = style == 1 ? j * 0x9E3779B9U : word;
            }
            model_[i] = real_[i];
        }
    }

    void Operation() {
        count_ = input_.Below(kWords + 1);
        first_ = kGuard - input_.Below(kGuard);
        Words &a = real_[0];
        uint32_t *const dst = &a.all[first_];
        uint32_t *const src = input_.Rarely() ? dst : &real_[1].all[first_];
        Words &ma = model_[0];
        const Words &mb = src == dst ? model_[0] : model_[1];
        switch (input_.Below(20)) {
            case 0:
                PutWord();
                break;
            case 1:
                DXR_FUZZ_SAME(DXR_IsSameBitMap(dst, src, count_) == Same(ma, mb));
                break;
            case 2:
                DXR_BitmapCopy(dst, src, count_);
                EachWord([&](uint32_t i) { ma.all[i] = mb.all[i]; });
                break;
            case 3:
                DXR_BitmapZero(dst, count_);
                EachWord([&](uint32_t i) { ma.all[i] = 0; });
                break;
            case 4:
                DXR_OrBmp(dst, src, count_);
                EachWord([&](uint32_t i) { ma.all[i] |= mb.all[i]; });
                break;
            case 5:
                DXR_AndBmp(dst, src, count_);
                EachWord([&](uint32_t i) { ma.all[i] &= mb.all[i]; });
                break;
            case 6:
                DXR_XorBmp(dst, src, count_);
                EachWord([&](uint32_t i) { ma.all[i] ^= mb.all[i]; });
                break;
            case 7:
                DXR_ReverseBmp(dst, count_);
                EachWord([&](uint32_t i) { ma.all[i] = ~ma.all[i]; });
                break;
            case 8:
                InverseBitMap(dst);
                break;
            case 9:
                Negate(dst);
                break;
            case 10:
            case 11:
                Counts(dst);
                break;
            case 12:
                SingleBit(dst);
                break;
            case 13:
            case 14:
                SetField(dst);
                break;
            case 15:
            case 16:
                GetField(dst);
                break;
            case 17:
                OneWord();
                break;
            case 18:
                Text(dst);
                break;
            default:
                Hit();
                break;
        }
        DXR_FUZZ_SAME(real_[0].all == model_[0].all);
        DXR_FUZZ_SAME(real_[1].all == model_[1].all);
    }

  private:
    template <typename Action>
    void EachWord(Action action) {
        for (uint32_t i = 0; i < count_; ++i) {
            action(first_ + i);
        }
    }

    void PutWord() {
        const uint32_t which = input_.Byte() & 1;
        const uint32_t at = input_.Below(kWords + 2 * kGuard);
        const uint32_t value = input_.Number();
        real_[which].all[at] = value;
        model_[which].all[at] = value;
    }

    uint32_t Same(const Words &a, const Words &b) {
        uint32_t same = 1;
        EachWord([&](uint32_t i) { same = a.all[i] == b.all[i] ? same : 0; });
        return same;
    }

    void InverseBitMap(uint32_t *dst) {
        DXR_InverseBitMap(dst, count_);
        const Words before = model_[0];
        for (uint32_t i = 0; i < count_; ++i) {
            model_[0].all[first_ + i] = before.all[first_ + count_ - 1 - i];
        }
    }

    void Negate(uint32_t *dst) {
        const uint32_t bits = input_.Flag() ? input_.Number() : input_.Half() % (kWords * 32);
        DXR_NegateArray(dst, count_, bits);
        for (uint32_t i = 0; i < bits && i < count_ * 32; ++i) {
            model_[0].SetBit(first_, i, !model_[0].Bit(first_, i));
        }
    }

    void Counts(const uint32_t *dst) {
        uint32_t nonZero = 0;
        uint32_t ones = 0;
        EachWord([&](uint32_t i) {
            nonZero += model_[0].all[i] != 0;
            ones += Ones(model_[0].all[i]);
        });
        const uint32_t n = input_.Number();
        DXR_FUZZ_SAME(DXR_GetNonZeroCntInArray(dst, count_) == nonZero);
        DXR_FUZZ_SAME(DXR_IsNonZeroCntOverN(dst, count_, n) == (nonZero >= n ? 1 : 0));
        DXR_FUZZ_SAME(DXR_CountValidBitOfArray(dst, count_) == ones);
        DXR_FUZZ_SAME(DXR_IsZeroBmp(dst, count_) == (nonZero == 0 ? 1 : 0));
        DXR_FUZZ_SAME(DXR_CountValidBit(*dst) == Ones(model_[0].all[first_]));
    }

    void SingleBit(uint32_t *dst) {
        const uint32_t bit = input_.Flag() ? input_.Number() : input_.Half() % (kWords * 32 + 64);
        const bool inside = bit < count_ * 32;
        DXR_FUZZ_SAME(DXR_IsSetBmp(dst, count_, bit) ==
                      (inside && model_[0].Bit(first_, bit) ? 1 : 0));
        const bool on = input_.Flag();
        on ? DXR_SetBmpBit(dst, count_, bit) : DXR_ClearBmpBit(dst, count_, bit);
        if (inside) {
            model_[0].SetBit(first_, bit, on);
        }
    }

    // --- fields, bit by bit. `words` are those that the field's bits may lie in.

    static void ModelSet(Words *words, uint32_t first, uint32_t count, uint32_t value,
                         uint32_t start, uint32_t width) {
        if (width > 32 || start / 32 >= count) {
            return;
        }
        // Width 0 writes up to the end of the word.
        const uint32_t bits = width != 0 ? width : 32 - start % 32;
        for (uint32_t i = 0; i < bits; ++i) {
            const uint64_t bit = uint64_t{start} + i;
            if (bit / 32 < count) {
                words->SetBit(first, bit, (value >> i & 1) != 0);
            }
        }
    }

    static uint32_t ModelGet(const Words &words, uint32_t first, uint32_t count, uint32_t start,
                             uint32_t width) {
        uint32_t value = 0;
        for (uint32_t i = 0; i < width && width <= 32; ++i) {
            const uint64_t bit = uint64_t{start} + i;
            if (start / 32 < count && bit / 32 < count && words.Bit(first, bit)) {
                value |= 1U << i;
            }
        }
        return value;
    }

    uint32_t Start() { return input_.Flag() ? input_.Number() : input_.Half() % (kWords * 32); }
    uint32_t Width() { return input_.Rarely() ? input_.Number() : input_.Below(35); }

    void SetField(uint32_t *dst) {
        const uint32_t value = input_.Number();
        const uint32_t start = Start();
        const uint32_t width = Width();
        DXR_SetBitField(dst, count_, value, start, width);
        ModelSet(&model_[0], first_, count_, value, start, width);
    }

    void GetField(const uint32_t *dst) {
        const uint32_t start = Start();
        const uint32_t width = Width();
        DXR_FUZZ_SAME(DXR_GetBitField(dst, count_, start, width) ==
                      ModelGet(model_[0], first_, count_, start, width));
        Words pair = {};
        pair.all[0] = model_[0].all[first_];
        pair.all[1] = model_[0].all[first_ + 1];
        const uint64_t wide = pair.all[0] | uint64_t{pair.all[1]} << 32;
        const uint32_t small = input_.Flag() ? start : start % 70;
        DXR_FUZZ_SAME(DXR_GetBitField64(wide, small, width) == ModelGet(pair, 0, 2, small, width));
        DXR_FUZZ_SAME(DXR_GetBitField32(pair.all[0], small, width) ==
                      ModelGet(pair, 0, 1, small, width));
        DXR_FUZZ_SAME(DXR_GetBit(pair.all[0], small) == ModelGet(pair, 0, 1, small, 1));
    }

    void OneWord() {
        const uint32_t at = first_;
        const uint32_t bit = input_.Rarely() ? input_.Number() : input_.Below(34);
        const uint32_t value = input_.Number();
        const uint32_t width = Width();
        uint32_t *const word = &real_[0].all[at];
        switch (input_.Below(3)) {
            case 0:
                DXR_SetBitField32(word, value, bit, width);
                ModelSet(&model_[0], at, 1, value, bit, width);
                break;
            case 1:
                DXR_SetBit(word, bit);
                ModelSet(&model_[0], at, 1, 1, bit, 1);
                break;
            default:
                DXR_ClearBit(word, bit);
                ModelSet(&model_[0], at, 1, 0, bit, 1);
                break;
        }
    }

    void Text(const uint32_t *dst) {
        static constexpr char kDigits[] = "0123456789abcdef";
        char whole[kWords * 12];
        size_t length = 0;
        for (uint32_t i = count_; i > 1; --i) {
            const uint32_t word = model_[0].all[first_ + i - 1];
            whole[length++] = '0';
            whole[length++] = 'x';
            uint32_t shift = 28;
            while (shift != 0 && word >> shift == 0) {
                shift -= 4;
            }
            for (;; shift -= 4) {
                whole[length++] = kDigits[word >> shift & 15];
                if (shift == 0) {
                    break;
                }
            }
            whole[length++] = ' ';
        }
        const ExactBuffer buffer(input_.Flag() ? input_.Byte() : length + input_.Below(4));
        DXR_GetBitMapStr(dst, count_, buffer.Data(), buffer.Size());
        DXR_FUZZ_SAME(buffer.HoldsCut({whole, length}));
    }

    void Hit() {
        const DxrBitHitRec rec = {input_.Number(), input_.Number(), input_.Number()};
        uint32_t hit = 0;
        for (uint32_t i = 0; i < 32; ++i) {
            const bool masked = (rec.mask >> i & 1) != 0 && (rec.value >> i & 1) != 0;
            hit = masked != ((rec.expected >> i & 1) != 0) ? 1 : hit;
        }
        DXR_FUZZ_SAME(DXR_IsBitHit(&rec) == hit);
    }

    Input &input_;
    std::array<Words, 2> real_;
    std::array<Words, 2> model_;
    uint32_t count_ = 0;
    uint32_t first_ = 0;
};

}  // namespace

void Bitmap(Input &input) {
    Run run(input);
    for (int i = 0; i < 40 && !input.Empty(); ++i) {
        run.Operation();
    }
}

}  // namespace dxrfuzz
