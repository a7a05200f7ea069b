// A text in the manner of printf, finished.
#ifndef DXR_TRACE_FORMATTED_H
#define DXR_TRACE_FORMATTED_H

#include <array>
#include <cstdarg>
#include <cstddef>

namespace dxr_trace {

// Texts of one thread that are on their way to a hook, the latest first. One whose task is cut off
// there stays until the thread ends.
class Texts {
  public:
    Texts() = default;
    ~Texts() { TakeOff(nullptr); }
    Texts(const Texts &) = delete;
    Texts &operator=(const Texts &) = delete;
    Texts(Texts &&) = delete;
    Texts &operator=(Texts &&) = delete;

    // Room for a text; null without memory.
    char *Put(size_t bytes);
    // Ends that room, and all that was put here after it; null: all.
    void TakeOff(const char *text);

  private:
    struct Block;
    Block *latest_ = nullptr;
};

// The calling thread's; null without memory. Each library that formats has a place of its own for
// them.
Texts *TextsOfThread();

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
    Texts *texts_ = nullptr;  // the thread's, when it has the text
    const char *text_ = nullptr;
};

}  // namespace dxr_trace

#endif  // DXR_TRACE_FORMATTED_H
