#include "dxr/print.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "internal/bounds_checked.h"
#include "internal/host_services.h"

namespace {

constexpr uint32_t kPieceLength = 480;  // characters of one printed piece

// "$$$$" stands at every edge where the text was cut.
const char *PieceFormat(uint32_t total, uint32_t remaining) {
    const bool isFirst = remaining == total;
    const bool isLast = remaining <= kPieceLength;
    if (isFirst) {
        return isLast ? "%s" : "%s$$$$";
    }
    return isLast ? "$$$$%s" : "$$$$%s$$$$";
}

}  // namespace

uint32_t DXR_PrintLargeBuffer(const char *text) {
    if (text == nullptr) {
        return dxr::kSuccess;
    }
    const auto total = static_cast<uint32_t>(std::strlen(text));
    uint32_t remaining = total;
    char piece[kPieceLength + 1] = {};
    while (remaining != 0) {
        const uint32_t length = std::min(remaining, kPieceLength);
        dxr::memset_s(piece, sizeof(piece), 0, sizeof(piece));
        if (dxr::strncpy_s(piece, sizeof(piece), text, length) != 0) {
            return dxr::kSuccess;
        }
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelInfo, PieceFormat(total, remaining), piece);
        }
        remaining -= length;
        text += length;
    }
    return dxr::kSuccess;
}
