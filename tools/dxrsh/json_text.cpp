#include "json_text.h"

#include <fmt/format.h>

#include <cmath>

namespace dxrsh {
namespace {

void AppendEscaped(std::string &to, char c) {
    switch (c) {
        case '"':
            to += "\\\"";
            break;
        case '\\':
            to += "\\\\";
            break;
        case '\n':
            to += "\\n";
            break;
        case '\t':
            to += "\\t";
            break;
        case '\r':
            to += "\\r";
            break;
        default:
            to += fmt::format("\\u{:04x}", static_cast<unsigned char>(c));
            break;
    }
}

}  // namespace

size_t CharacterLength(std::string_view text) {
    const auto byte = [text](size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    const bool overlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    const bool beyond = (first == 0xED && byte(1) >= 0xA0) || (first == 0xF4 && byte(1) >= 0x90);
    return overlong || beyond ? 0 : length;
}

std::string JsonString(std::string_view text) {
    std::string quoted = "\"";
    for (size_t at = 0; at < text.size();) {
        const char c = text[at];
        const size_t length = CharacterLength(text.substr(at));
        if (length == 0) {
            quoted += "\xEF\xBF\xBD";
        } else if (static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\' || c == 0x7F) {
            AppendEscaped(quoted, c);
        } else {
            quoted += text.substr(at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return quoted + '"';
}

JsonText &JsonText::Made(std::string_view key, std::string_view json) {
    Key(key);
    text_ += json;
    return *this;
}

void JsonText::Key(std::string_view key) {
    if (!first_) {
        text_ += ',';
    }
    first_ = false;
    if (!key.empty()) {
        text_ += JsonString(key) + ':';
    }
}

JsonText &JsonText::Begin(std::string_view key, char bracket) {
    Key(key);
    text_ += bracket;
    first_ = true;
    return *this;
}

JsonText &JsonText::End(char bracket) {
    text_ += bracket;
    first_ = false;
    return *this;
}

JsonText &JsonText::Text(std::string_view key, std::string_view value) {
    Key(key);
    text_ += JsonString(value);
    return *this;
}

JsonText &JsonText::Number(std::string_view key, uint64_t value) {
    Key(key);
    text_ += std::to_string(value);
    return *this;
}

JsonText &JsonText::Signed(std::string_view key, int64_t value) {
    Key(key);
    text_ += std::to_string(value);
    return *this;
}

JsonText &JsonText::Real(std::string_view key, double value) {
    Key(key);
    text_ += std::isfinite(value) ? fmt::format("{}", value) : "null";
    return *this;
}

JsonText &JsonText::Flag(std::string_view key, bool value) {
    Key(key);
    text_ += value ? "true" : "false";
    return *this;
}

JsonText &JsonText::Null(std::string_view key) {
    Key(key);
    text_ += "null";
    return *this;
}

}  // namespace dxrsh
