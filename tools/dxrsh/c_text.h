// Lines for functions that take a text as C does, up to its first NUL byte.
#ifndef DXRSH_C_TEXT_H
#define DXRSH_C_TEXT_H

#include <algorithm>
#include <string>
#include <string_view>

namespace dxrsh {

class CText {
  public:
    // The line, in which a line break, which no line holds, stands for each NUL byte: lines that
    // differ stay different. A NUL byte follows it, as it follows the line. Valid until the next
    // call, and no longer than the line.
    [[nodiscard]] std::string_view Of(std::string_view line) {
        if (line.find('\0') == std::string_view::npos) {
            return line;
        }
        scratch_ = line;
        std::replace(scratch_.begin(), scratch_.end(), '\0', '\n');
        return scratch_;
    }

  private:
    std::string scratch_;
};

}  // namespace dxrsh

#endif  // DXRSH_C_TEXT_H
