// An array of 32-bit words between guard words.
#ifndef DXR_TESTS_SUPPORT_GUARDED_WORDS_H
#define DXR_TESTS_SUPPORT_GUARDED_WORDS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace dxrtest {

class GuardedWords {
  public:
    // The array begins `start` words after a guard of a multiple of 16 bytes: 0 to 3 meet every
    // alignment that a loop over several words at once can see. Operations that only set or only
    // clear bits need a guard of all zeros or all ones.
    explicit GuardedWords(const std::vector<uint32_t> &words, size_t start = 0,
                          uint32_t guard = 0x5AC3960F)
        : begin_(kGuard + start),
          size_(words.size()),
          guard_(guard),
          all_(begin_ + size_ + kGuard, guard) {
        std::copy(words.begin(), words.end(), all_.begin() + static_cast<ptrdiff_t>(begin_));
    }

    [[nodiscard]] uint32_t *Data() { return all_.data() + begin_; }
    [[nodiscard]] uint32_t Size() const { return static_cast<uint32_t>(size_); }
    [[nodiscard]] std::vector<uint32_t> Words() const {
        const auto first = all_.begin() + static_cast<ptrdiff_t>(begin_);
        return {first, first + static_cast<ptrdiff_t>(size_)};
    }
    // No word outside the array was written.
    [[nodiscard]] bool Intact() const {
        const auto isGuard = [this](uint32_t word) { return word == guard_; };
        const auto first = all_.begin() + static_cast<ptrdiff_t>(begin_);
        return std::all_of(all_.begin(), first, isGuard) &&
               std::all_of(first + static_cast<ptrdiff_t>(size_), all_.end(), isGuard);
    }

  private:
    static constexpr size_t kGuard = 8;
    size_t begin_;
    size_t size_;
    uint32_t guard_;
    std::vector<uint32_t> all_;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_GUARDED_WORDS_H
