// A text in the manner of printf, finished.
#ifndef DXR_TRACE_FORMATTED_H
#define DXR_TRACE_FORMATTED_H

#include <array>
#include <cstdarg>
#include <cstddef>

namespace dxr_trace {

class Formatted {
  public:
    // Leaves errno as it is. A format that cannot be printed stands for itself; without memory a
    // text of more than 1023 characters is cut there.
    Formatted(const char *format, std::va_list args);
    ~Formatted();
    Formatted(const Formatted &) = delete;
    Formatted &operator=(const Formatted &) = delete;
    Formatted(Formatted &&) = delete;
    Formatted &operator=(Formatted &&) = delete;

    // Null for a null format.
    [[nodiscard]] const char *Get() const { return text_; }

  private:
    // Most messages; a task's stack may be small.
    std::array<char, 1024> room_;
    char *block_ = nullptr;
    const char *text_ = nullptr;
};

}  // namespace dxr_trace

#endif  // DXR_TRACE_FORMATTED_H
