// The text that a listing should be, put together without any formatter.
#ifndef DXR_TESTS_FUZZ_MODEL_TEXT_H
#define DXR_TESTS_FUZZ_MODEL_TEXT_H

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace dxrfuzz {

class ModelText {
  public:
    void Clear() { size_ = 0; }

    ModelText &Add(std::string_view text) {
        const size_t room = text_.size() - size_;
        const size_t kept = text.size() < room ? text.size() : room;
        std::memcpy(text_.data() + size_, text.data(), kept);
        size_ += kept;
        return *this;
    }

    // In decimal, at least `width` characters wide.
    ModelText &Number(uint32_t value, size_t width = 0, char pad = ' ') {
        return Digits(value, 10, width, pad);
    }

    ModelText &Hex(uint32_t value, size_t width = 0, char pad = '0') {
        return Digits(value, 16, width, pad);
    }

    ModelText &Blanks(size_t count) {
        for (size_t i = 0; i < count; ++i) {
            Add(" ");
        }
        return *this;
    }

    [[nodiscard]] std::string_view View() const { return {text_.data(), size_}; }

  private:
    ModelText &Digits(uint32_t value, uint32_t base, size_t width, char pad) {
        char digits[32];  // the last one first
        size_t count = 0;
        do {
            digits[count++] = "0123456789abcdef"[value % base];
            value /= base;
        } while (value != 0);
        for (size_t i = count; i < width; ++i) {
            Add({&pad, 1});
        }
        while (count != 0) {
            Add({&digits[--count], 1});
        }
        return *this;
    }

    std::array<char, 65536> text_;
    size_t size_ = 0;
};

}  // namespace dxrfuzz

#endif  // DXR_TESTS_FUZZ_MODEL_TEXT_H
