#include "expression.h"

#include <fmt/format.h>

#include <array>
#include <string_view>

#include "errors.h"

namespace dxrsh {
namespace {

constexpr std::string_view kKnownEscapes = "wWsSbB";

// Behind the set in brackets that begins at `at`: there a backslash is one.
size_t EndOfSet(std::string_view text, size_t at) {
    ++at;
    if (at < text.size() && text[at] == '^') {
        ++at;
    }
    if (at < text.size() && text[at] == ']') {
        ++at;
    }
    while (at < text.size() && text[at] != ']') {
        const bool isClass = text.substr(at, 2) == "[:";
        const size_t end = isClass ? text.find(":]", at + 2) : std::string_view::npos;
        at = end == std::string_view::npos ? at + 1 : end + 2;
    }
    return at + 1;
}

// The letter behind the first backslash that makes nothing of it; NUL if there is none.
char UnknownEscape(std::string_view text) {
    for (size_t at = 0; at + 1 < text.size();) {
        if (text[at] == '[') {
            at = EndOfSet(text, at);
            continue;
        }
        const char next = text[at + 1];
        const bool isLetter = (next >= 'a' && next <= 'z') || (next >= 'A' && next <= 'Z');
        if (text[at] == '\\' && isLetter && kKnownEscapes.find(next) == std::string_view::npos) {
            return next;
        }
        at += text[at] == '\\' ? 2 : 1;
    }
    return '\0';
}

[[noreturn]] void Refuse(const std::string &option, const std::string &expression,
                         const std::string &why) {
    throw UsageError(fmt::format("{}: '{}' is no regular expression: {}", option, expression, why));
}

}  // namespace

regex_t CompileExpression(const std::string &option, const std::string &expression) {
    if (const char letter = UnknownEscape(expression); letter != '\0') {
        Refuse(
            option, expression,
            fmt::format("\\{} is not known{}", letter, letter == 'd' ? "; [0-9] is a digit" : ""));
    }
    regex_t regex{};
    const int error = regcomp(&regex, expression.c_str(), REG_EXTENDED);
    if (error != 0) {
        std::array<char, 256> why{};
        regerror(error, &regex, why.data(), why.size());
        Refuse(option, expression, why.data());
    }
    return regex;
}

}  // namespace dxrsh
