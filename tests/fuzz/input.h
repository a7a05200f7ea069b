// What a target reads its operations from: a byte string, taken apart piece by piece. Past its end
// everything reads as zero, so that every byte string is an input.
#ifndef DXR_TESTS_FUZZ_INPUT_H
#define DXR_TESTS_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace dxrfuzz {

class Input {
  public:
    Input(const uint8_t *data, size_t size)
        : next_(data != nullptr ? data : &kNothing), end_(next_ + size) {}

    [[nodiscard]] bool Empty() const { return next_ == end_; }

    uint8_t Byte() { return Empty() ? uint8_t{0} : *next_++; }

    uint16_t Half() {
        const uint16_t low = Byte();
        return static_cast<uint16_t>(low | Byte() << 8);
    }

    uint32_t Word() {
        const uint32_t low = Half();
        return low | static_cast<uint32_t>(Half()) << 16;
    }

    uint64_t Wide() {
        const uint64_t low = Word();
        return low | static_cast<uint64_t>(Word()) << 32;
    }

    // 0 to `end` - 1; `end` is at most 256.
    uint32_t Below(uint32_t end) { return Byte() % end; }
    bool Flag() { return (Byte() & 1) != 0; }
    // True for one byte in 16.
    bool Rarely() { return (Byte() & 15) == 15; }

    // Small numbers mostly, and what lies about the edges of 8, 16, 31 and 32 bits.
    uint32_t Number() {
        const uint8_t tag = Byte();
        if (tag < 0xC0) {
            return tag;
        }
        switch (tag & 7) {
            case 0:
                return Half();
            case 1:
                return 0U - Byte();
            case 2:
                return 1U << (Byte() & 31);
            case 3:
                return (1U << (Byte() & 31)) - 1;
            case 4:
                return 0x80000000U + Byte() - 0x80;
            case 5:
                return Byte() * 0x01010101U;
            case 6:
                return Byte() * 1'000'003U;
            default:
                return Word();
        }
    }

    // The next bytes themselves, at most `longest` of them.
    std::string_view Text(size_t longest) {
        const size_t wanted = Byte();
        const auto left = static_cast<size_t>(end_ - next_);
        const size_t most = wanted < longest ? wanted : longest;
        return Take(most < left ? most : left);
    }

    std::string_view Rest() { return Take(static_cast<size_t>(end_ - next_)); }

  private:
    static constexpr uint8_t kNothing = 0;  // an empty input also has an address

    std::string_view Take(size_t count) {
        const std::string_view taken(reinterpret_cast<const char *>(next_), count);
        next_ += count;
        return taken;
    }

    const uint8_t *next_;
    const uint8_t *end_;
};

// The library and the model differ: the run ends, and the input is kept.
[[noreturn]] inline void Differ(const char *what, const char *file, int line) {
    std::fprintf(stderr, "%s:%d: the library differs from the model: %s\n", file, line, what);
    std::abort();
}

#define DXR_FUZZ_SAME(condition) \
    ((condition) ? static_cast<void>(0) : dxrfuzz::Differ(#condition, __FILE__, __LINE__))

// A buffer of exactly the size that a function is told, on the heap where the address sanitizer
// watches both ends; filled with what no text holds.
class ExactBuffer {
  public:
    static constexpr unsigned char kFill = 0xA5;

    explicit ExactBuffer(size_t size) : size_(size), data_(new char[size]) {
        std::memset(data_, kFill, size);
    }
    ~ExactBuffer() { delete[] data_; }
    ExactBuffer(const ExactBuffer &) = delete;
    ExactBuffer &operator=(const ExactBuffer &) = delete;

    [[nodiscard]] char *Data() const { return data_; }
    [[nodiscard]] uint32_t Size() const { return static_cast<uint32_t>(size_); }

    // Holds `whole`, cut to what fits and terminated; with no room at all, nothing.
    [[nodiscard]] bool HoldsCut(std::string_view whole) const {
        if (size_ == 0) {
            return true;
        }
        const size_t kept = whole.size() < size_ ? whole.size() : size_ - 1;
        return std::memcmp(data_, whole.data(), kept) == 0 && data_[kept] == '\0';
    }

    [[nodiscard]] bool IsUntouched() const {
        for (size_t i = 0; i < size_; ++i) {
            if (static_cast<unsigned char>(data_[i]) != kFill) {
                return false;
            }
        }
        return true;
    }

  private:
    size_t size_;
    char *data_;
};

}  // namespace dxrfuzz

#endif  // DXR_TESTS_FUZZ_INPUT_H
