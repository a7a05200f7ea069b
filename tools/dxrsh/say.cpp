#include "say.h"

namespace dxrsh {
namespace {

bool IsContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

}  // namespace

std::string Printable(std::string_view text, size_t width) {
    constexpr std::string_view kCutMark = "...";
    std::string line;
    size_t columns = 0;
    size_t cut = 0;  // where the text ends should the mark have to follow
    for (const char c : text) {
        const size_t wide = IsControl(c) ? 4 : IsContinuationByte(c) ? 0 : 1;
        if (columns + wide > width) {
            line.resize(cut);
            return line + std::string(kCutMark);
        }
        if (IsControl(c)) {
            line += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        } else {
            line += c;
        }
        columns += wide;
        if (columns <= width - kCutMark.size()) {
            cut = line.size();
        }
    }
    return line;
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
