// The numbers that a regular expression finds in a line: key1 to key4 of a log filter
// configuration.
#ifndef DXRSH_LINE_KEY_H
#define DXRSH_LINE_KEY_H

#include <regex.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace dxrsh {

constexpr size_t kKeyCount = 4;
using Keys = std::array<uint32_t, kKeyCount>;

class LineKey {
  public:
    // An extended regular expression as of grep -E, applied to bytes. Its groups give the keys in
    // their order; without groups the whole match gives the first. Throws UsageError for a bad
    // expression or a fifth group.
    explicit LineKey(const std::string &expression);
    ~LineKey();
    LineKey(const LineKey &) = delete;
    LineKey &operator=(const LineKey &) = delete;
    LineKey(LineKey &&) = delete;
    LineKey &operator=(LineKey &&) = delete;

    // False when the text does not match. Keys without a group, or whose group took no part, are 0.
    [[nodiscard]] bool Find(const char *text, Keys &keys) const;

  private:
    regex_t regex_{};
};

// A decimal number that fits in 32 bits, or one in hexadecimal digits after 0x, is its own value;
// any other text is its hash (h * 31 + byte).
[[nodiscard]] uint32_t KeyValue(std::string_view text);

}  // namespace dxrsh

#endif  // DXRSH_LINE_KEY_H
