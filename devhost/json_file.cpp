#include "json_file.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <system_error>

#include "whole_file.h"

namespace devhost {
namespace {

// "line:column" of a byte, both from 1.
std::string PlaceOf(const std::string &text, size_t byte) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(byte, text.size()));
    const auto line = std::count(text.begin(), end, '\n') + 1;
    const auto lineBegin = std::find(std::make_reverse_iterator(end), text.rend(), '\n').base();
    return std::to_string(line) + ":" + std::to_string(end - lineBegin + 1);
}

// Goes over a text that is JSON.
class Walker {
  public:
    explicit Walker(const std::string &text) : text_(text) {
        const std::string mark = "\xEF\xBB\xBF";  // of UTF-8, which the parser passes over
        at_ = text.compare(0, mark.size(), mark) == 0 ? mark.size() : 0;
    }

    // Where the value begins that a pointer leads to from here.
    size_t Find(std::string_view pointer) {
        SkipBlanks();
        const char open = Current();
        if (pointer.empty() || (open != '{' && open != '[')) {
            return at_;
        }
        size_t found = at_++;
        bool isFound = false;
        const size_t end = std::min(pointer.find('/', 1), pointer.size());
        const std::string name = Unescaped(pointer.substr(1, end - 1));
        for (size_t index = 0;; ++index) {
            SkipBlanks();
            if (Current() == '}' || Current() == ']' || Current() == '\0') {
                at_ = found;
                return isFound ? Find(pointer.substr(end)) : found;
            }
            // Of several members of one name the last one counts.
            if (open == '{' ? TakeKey() == name : std::to_string(index) == name) {
                SkipBlanks();
                found = at_;
                isFound = true;
            }
            SkipValue();
            SkipBlanks();
            at_ += Current() == ',' ? 1 : 0;
        }
    }

  private:
    static std::string Unescaped(std::string_view name) {
        std::string plain;
        for (size_t i = 0; i < name.size(); ++i) {
            const bool isEscape = name[i] == '~' && i + 1 < name.size();
            plain += isEscape ? (name[++i] == '1' ? '/' : '~') : name[i];
        }
        return plain;
    }

    [[nodiscard]] char Current() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    void SkipBlanks() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }

    // And the colon.
    std::string TakeKey() {
        const size_t begin = at_;
        SkipText();
        JsonValue key;
        size_t wrongAt = 0;
        (void)ParseJson(std::string_view(text_).substr(begin, at_ - begin), key, wrongAt);
        SkipBlanks();
        ++at_;
        return key.text;
    }

    void SkipText() {
        for (++at_; Current() != '"' && Current() != '\0'; ++at_) {
            at_ += Current() == '\\' ? 1 : 0;
        }
        ++at_;
    }

    void SkipValue() {
        SkipBlanks();
        int depth = 0;
        do {
            const char current = Current();
            if (current == '"') {
                SkipText();
                continue;
            }
            depth += current == '{' || current == '[' ? 1 : 0;
            depth -= current == '}' || current == ']' ? 1 : 0;
            ++at_;
        } while (at_ < text_.size() && (depth > 0 || !IsAtEnd()));
    }

    // Of a value that is no object, no list and no text; the others end by themselves.
    [[nodiscard]] bool IsAtEnd() const {
        return std::string_view(",]} \t\r\n").find(Current()) != std::string_view::npos;
    }

    const std::string &text_;
    size_t at_;
};

}  // namespace

std::string JsonFile::PlaceOf(const std::string &pointer) const {
    return devhost::PlaceOf(text_, Walker(text_).Find(pointer));
}

bool JsonFile::Read(const std::string &path, std::string &error) {
    Bytes content;
    const int failure = ReadWholeFile(path, content);
    if (failure != 0) {
        error = path + ": cannot be read: " + std::generic_category().message(failure);
        return false;
    }
    text_.assign(content.begin(), content.end());
    size_t wrongAt = 0;
    const char *const why = ParseJson(text_, value_, wrongAt);
    if (why != nullptr) {
        error = path + ":" + devhost::PlaceOf(text_, wrongAt) + ": " + why;
        return false;
    }
    return true;
}

}  // namespace devhost
