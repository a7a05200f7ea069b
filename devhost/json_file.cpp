#include "json_file.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string_view>

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
        const size_t begin = at_++;
        const size_t end = std::min(pointer.find('/', 1), pointer.size());
        const std::string_view name = pointer.substr(1, end - 1);
        for (size_t index = 0;; ++index) {
            SkipBlanks();
            if (Current() == '}' || Current() == ']' || Current() == '\0') {
                return begin;
            }
            if (open == '{' ? TakeKey() == name : std::to_string(index) == name) {
                return Find(pointer.substr(end));
            }
            SkipValue();
            SkipBlanks();
            at_ += Current() == ',' ? 1 : 0;
        }
    }

  private:
    [[nodiscard]] char Current() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    void SkipBlanks() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }

    // And the colon.
    std::string TakeKey() {
        const size_t begin = at_;
        SkipText();
        std::string key = nlohmann::json::parse(text_.substr(begin, at_ - begin));
        SkipBlanks();
        ++at_;
        return key;
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

// Takes no value, and remembers where a text stops being JSON.
class Checker : public nlohmann::json_sax<nlohmann::json> {
  public:
    bool null() override { return true; }
    bool boolean(bool /*value*/) override { return true; }
    bool number_integer(number_integer_t /*value*/) override { return true; }
    bool number_unsigned(number_unsigned_t /*value*/) override { return true; }
    bool number_float(number_float_t /*value*/, const string_t & /*text*/) override { return true; }
    bool string(string_t & /*value*/) override { return true; }
    bool binary(binary_t & /*value*/) override { return true; }
    bool start_object(size_t /*elements*/) override { return true; }
    bool key(string_t & /*value*/) override { return true; }
    bool end_object() override { return true; }
    bool start_array(size_t /*elements*/) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(size_t position, const std::string & /*token*/,
                     const nlohmann::detail::exception & /*problem*/) override {
        wrongAt = position;
        return false;
    }

    size_t wrongAt = 0;  // the last byte read, counted from 1
};

// Empties a value from within. Its own end would need memory for that, and would end the program
// without; deeper than anybody writes it does.
void Dismantle(nlohmann::json &value, uint32_t depth) {
    if (depth > 0 && value.is_structured()) {
        for (nlohmann::json &each : value) {
            Dismantle(each, depth - 1);
        }
        value.clear();
    }
}

}  // namespace

// The library of JSON does not say that it throws nothing here.
// NOLINTNEXTLINE(bugprone-exception-escape)
JsonFile::~JsonFile() {
    constexpr uint32_t kMostDepth = 100;
    Dismantle(value_, kMostDepth);
}

std::string JsonFile::PlaceOf(const std::string &pointer) const {
    return devhost::PlaceOf(text_, Walker(text_).Find(pointer));
}

bool JsonFile::Read(const std::string &path, std::string &error) {
    std::ifstream file(path, std::ios::binary);
    text_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (!file.is_open() || file.bad()) {
        error = path + ": cannot be read";
        return false;
    }
    // First without values: those of a text that is wrong would have to be ended, see above.
    Checker checker;
    if (!nlohmann::json::sax_parse(text_, &checker)) {
        const size_t at = checker.wrongAt > 0 ? checker.wrongAt - 1 : 0;
        error = path + ":" + devhost::PlaceOf(text_, at) + ": this is no JSON";
        return false;
    }
    value_ = nlohmann::json::parse(text_);
    return true;
}

}  // namespace devhost
