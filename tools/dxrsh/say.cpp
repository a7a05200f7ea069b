#include "say.h"

#include <algorithm>

namespace dxrsh {
namespace {

bool IsContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// Bytes of the control character at the head of the text; 0 when there is none.
size_t ControlLength(std::string_view text) {
    const auto byteAt = [text](size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0xFFU;
    };
    if (byteAt(0) < 0x20 || byteAt(0) == 0x7F) {
        return 1;
    }
    return byteAt(0) == 0xC2 && byteAt(1) >= 0x80 && byteAt(1) < 0xA0 ? 2 : 0;
}

}  // namespace

std::string Printable(std::string_view text, size_t width) {
    constexpr std::string_view kCutMark = "...";
    std::string line;
    size_t columns = 0;
    size_t cut = 0;  // where the text ends should the mark have to follow
    size_t at = 0;
    while (at < text.size()) {
        const size_t control = ControlLength(text.substr(at));
        const size_t wide = control != 0 ? 4 * control : IsContinuationByte(text[at]) ? 0 : 1;
        if (columns + wide > width) {
            line.resize(cut);
            return line + std::string(kCutMark);
        }
        for (size_t i = 0; i < control; ++i) {
            line += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[at + i]));
        }
        if (control == 0) {
            line += text[at];
        }
        at += std::max<size_t>(1, control);
        columns += wide;
        if (columns <= width - kCutMark.size()) {
            cut = line.size();
        }
    }
    return line;
}

bool HoldsControlCharacter(std::string_view text) {
    for (size_t at = 0; at < text.size(); ++at) {
        if (ControlLength(text.substr(at)) != 0) {
            return true;
        }
    }
    return false;
}

std::string PlainLines(std::string_view listing) {
    std::string plain;
    plain.reserve(listing.size());
    for (size_t i = 0; i < listing.size(); ++i) {
        const bool beforeLineEnd = i + 1 < listing.size() && listing[i + 1] == '\n';
        if (listing[i] != '\r' || !beforeLineEnd) {
            plain += listing[i];
        }
    }
    return plain;
}

}  // namespace dxrsh
