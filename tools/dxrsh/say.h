// Text for people.
#ifndef DXRSH_SAY_H
#define DXRSH_SAY_H

#include <fmt/format.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

namespace dxrsh {

// Writes a formatted text. That nobody may be listening on standard error is no error.
template <typename... Args>
void Say(std::FILE *out, fmt::format_string<Args...> format, Args &&...args) {
    const std::string text = fmt::format(format, std::forward<Args>(args)...);
    (void)std::fwrite(text.data(), 1, text.size(), out);
}

// The text on one line of at most `width` characters, safe for a terminal: control characters are
// written as \xNN, what is cut off as "...".
[[nodiscard]] std::string Printable(std::string_view text, size_t width);

// Control characters are those of ASCII, and U+0080 to U+009F in UTF-8, which terminals obey too.
[[nodiscard]] bool HoldsControlCharacter(std::string_view text);

// A listing of the library, whose lines end in "\r\n", with plain line ends.
[[nodiscard]] std::string PlainLines(std::string_view listing);

}  // namespace dxrsh

#endif  // DXRSH_SAY_H
