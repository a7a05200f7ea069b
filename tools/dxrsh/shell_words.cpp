#include "shell_words.h"

#include <fmt/format.h>

#include <charconv>
#include <limits>
#include <system_error>

#include "errors.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kShownWidth = 60;

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

class Cutter {
  public:
    explicit Cutter(std::string_view line) : rest_(line) {}

    // What is left of the line.
    [[nodiscard]] std::string_view Rest() const { return rest_; }

    void PassBlanks() {
        while (!rest_.empty() && IsBlank(rest_[0])) {
            rest_.remove_prefix(1);
        }
    }

    // False at the end of the line.
    bool Next(std::string &word) {
        PassBlanks();
        if (rest_.empty() || rest_[0] == '#') {
            return false;
        }
        word.clear();
        while (!rest_.empty() && !IsBlank(rest_[0])) {
            const char c = Take();
            if (c == '\'' || c == '"') {
                TakeQuoted(c, word);
            } else if (c == '\\' && !rest_.empty()) {
                word += Take();
            } else {
                word += c;
            }
        }
        return true;
    }

  private:
    char Take() {
        const char c = rest_[0];
        rest_.remove_prefix(1);
        return c;
    }

    void TakeQuoted(char quote, std::string &word) {
        while (!rest_.empty()) {
            char c = Take();
            if (c == quote) {
                return;
            }
            if (quote == '"' && c == '\\' && !rest_.empty()) {
                c = Take();
                c = c == 'n' ? '\n' : c == 't' ? '\t' : c;
            }
            word += c;
        }
        throw UsageError(fmt::format("a {} is not closed", quote));
    }

    std::string_view rest_;
};

}  // namespace

std::vector<std::string> WordsOf(std::string_view line) {
    std::vector<std::string> words;
    Cutter cutter(line);
    for (std::string word; cutter.Next(word);) {
        words.push_back(word);
    }
    return words;
}

std::string LineOf(const std::vector<std::string> &words) {
    std::string line;
    for (const std::string &word : words) {
        line += line.empty() ? "\"" : " \"";
        for (const char c : word) {
            if (c == '"' || c == '\\') {
                line += '\\';
            }
            line += c == '\n' ? "\\n" : std::string(1, c);
        }
        line += '"';
    }
    return line;
}

std::optional<BegunWord> LastWord(std::string_view line) {
    Cutter cutter(line);
    BegunWord last{};
    try {
        do {
            cutter.PassBlanks();
            last = {line.size() - cutter.Rest().size(), {}};
            if (!cutter.Rest().empty() && !cutter.Next(last.word)) {
                return std::nullopt;
            }
        } while (!cutter.Rest().empty());
    } catch (const UsageError &) {
        return std::nullopt;
    }
    return last;
}

std::optional<uint64_t> LongNumber(std::string_view text) {
    const bool hexadecimal = text.substr(0, 2) == "0x";
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    uint64_t value = 0;
    const char *const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, hexadecimal ? 16 : 10);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

uint64_t RequireUpTo(std::string_view text, uint64_t most, std::string_view what) {
    const auto number = LongNumber(text);
    if (!number || *number > most) {
        throw UsageError(fmt::format("{}: '{}' is no whole number from 0 to {}", what,
                                     Printable(text, kShownWidth), most));
    }
    return *number;
}

uint32_t Require32(std::string_view text, std::string_view what) {
    return static_cast<uint32_t>(RequireUpTo(text, std::numeric_limits<uint32_t>::max(), what));
}

std::string NumberText(uint64_t number) {
    return number < 10 ? fmt::format("{}", number) : fmt::format("{} ({:#x})", number, number);
}

}  // namespace dxrsh
