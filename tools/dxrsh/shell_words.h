// The words of a line of the shell, and numbers among them.
#ifndef DXRSH_SHELL_WORDS_H
#define DXRSH_SHELL_WORDS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dxrsh {

// Blanks separate words. What stands in '...' is taken as it is; in "..." \n and \t are a line
// break and a tab, and a backslash takes any other character as it is, as outside of quotes. A
// word that begins with # begins a remark. Throws UsageError when a quote is not closed.
[[nodiscard]] std::vector<std::string> WordsOf(std::string_view line);

// A line of these words, without a line break.
[[nodiscard]] std::string LineOf(const std::vector<std::string> &words);

// The last word of a line as far as it was typed: where it begins, and what it says. Nothing within
// quotes or a remark.
struct BegunWord {
    size_t at;
    std::string word;
};
[[nodiscard]] std::optional<BegunWord> LastWord(std::string_view line);

// Decimal, or hexadecimal after 0x; nothing when the text is anything else or does not fit.
[[nodiscard]] std::optional<uint64_t> LongNumber(std::string_view text);

// As above, at most `most`. Throws UsageError; `what` names the number in its text.
[[nodiscard]] uint64_t RequireUpTo(std::string_view text, uint64_t most, std::string_view what);

// The same for 32 bits.
[[nodiscard]] uint32_t Require32(std::string_view text, std::string_view what);

// A number as people read it: decimal, from 10 on also hexadecimal.
[[nodiscard]] std::string NumberText(uint64_t number);

}  // namespace dxrsh

#endif  // DXRSH_SHELL_WORDS_H
