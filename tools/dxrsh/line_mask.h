// Leaves out of lines what varies from one to the next, so that they can be compared.
#ifndef DXRSH_LINE_MASK_H
#define DXRSH_LINE_MASK_H

#include <regex.h>

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace dxrsh {

constexpr char kMasked = '#';

// Appends the text with one # in the place of each number, address and identifier. Words are runs
// of letters and digits; of the rules the first that fits holds:
//     - words of hexadecimal digits, five or more apart by : or by -, or two or more with :: among
//       them, with a digit in one of them: UUIDs, addresses of interfaces and of IPv6
//     - 0x and hexadecimal digits
//     - a word of hexadecimal digits, of eight, or of four with a digit and a letter, or more
//     - a word with digits in three places or more, or of 20 characters or more with a digit
//     - digits, also those within words, with what follows after a point or a comma (10.0.0.1;
//       1,024; 3.14), and with the sign before them unless a word stands before that
// Stops after `room` characters; a word may then be cut.
void MaskVarying(std::string_view text, size_t room, std::string &masked);

class LineMask {
  public:
    // Each expression, extended as of grep -E, is masked wherever it matches; "" stands for what
    // MaskVarying() masks, after the others. Throws UsageError for a bad expression.
    explicit LineMask(const std::vector<std::string> &expressions);
    ~LineMask();
    LineMask(const LineMask &) = delete;
    LineMask &operator=(const LineMask &) = delete;
    LineMask(LineMask &&) = delete;
    LineMask &operator=(LineMask &&) = delete;

    // The text as it is compared, at least its first `room` characters. Valid until the next call,
    // and followed by a NUL byte. Texts must not hold NUL bytes.
    [[nodiscard]] std::string_view Of(std::string_view text, size_t room);

  private:
    void Replace(const regex_t &expression);

    std::list<regex_t> expressions_;
    bool varying_ = false;
    std::string masked_;
    std::string before_;
};

}  // namespace dxrsh

#endif  // DXRSH_LINE_MASK_H
