#include "formatted.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace dxr_trace {

// The text follows.
struct Texts::Block {
    Block *before;

    char *Text() { return reinterpret_cast<char *>(this + 1); }
};

char *Texts::Put(size_t bytes) {
    void *const room = std::malloc(sizeof(Block) + bytes);
    if (room == nullptr) {
        return nullptr;
    }
    latest_ = new (room) Block{latest_};
    return latest_->Text();
}

void Texts::TakeOff(const char *text) {
    bool isDone = false;
    while (latest_ != nullptr && !isDone) {
        Block *const ended = latest_;
        latest_ = ended->before;
        isDone = ended->Text() == text;
        std::free(ended);
    }
}

// Only what is printed is written, which is most often little of the room.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
Formatted::Formatted(const char *format, std::va_list args) {
    if (format == nullptr) {
        return;
    }
    const int before = errno;
    std::va_list again;
    va_copy(again, args);

    const int length = std::vsnprintf(room_.data(), room_.size(), format, args);
    text_ = length < 0 ? format : room_.data();
    if (length >= 0 && static_cast<size_t>(length) >= room_.size()) {
        const size_t size = static_cast<size_t>(length) + 1;
        Texts *const texts = TextsOfThread();
        char *const text = texts != nullptr ? texts->Put(size) : nullptr;
        errno = before;
        if (text != nullptr && std::vsnprintf(text, size, format, again) == length) {
            texts_ = texts;
            text_ = text;
        } else if (text != nullptr) {
            texts->TakeOff(text);
        }
    }
    va_end(again);
    errno = before;
}

Formatted::~Formatted() {
    if (texts_ != nullptr) {
        const int before = errno;
        texts_->TakeOff(text_);
        errno = before;
    }
}

}  // namespace dxr_trace
