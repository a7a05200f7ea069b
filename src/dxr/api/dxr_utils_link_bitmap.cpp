#include "dxr/utils_link_bitmap.h"

#include <array>
#include <cstdarg>
#include <cstring>

#include "dxr/memory.h"
#include "dxr/utils_bitmap.h"
#include "internal/bit_address.h"
#include "internal/bounds_checked.h"
#include "internal/checked.h"
#include "internal/host_services.h"
#include "internal/offset_writer.h"

using dxr::CheckedAdd;

namespace {

constexpr uint32_t kLineSize = 1024;

constexpr uint32_t Divisor(uint32_t linkNumPerChip) noexcept {
    return linkNumPerChip != 0 ? linkNumPerChip : 1;
}

// First word of a chip's row. The index is a 32-bit product, which wraps long after the size of the
// words in bytes has.
uint32_t *Row(const DxrLinkBitMap &map, uint32_t chip) noexcept {
    const uint32_t firstWord = chip * map.wordNumPerChip;
    return map.bitMap + firstWord;
}

// The chips' text. Its length is also kept as a signed sum, whose overflow ends the process: only a
// buffer of more than 2 GiB gets there.
class ChipText {
  public:
    ChipText(char *buffer, uint32_t size) noexcept : text_(buffer, size) {}

    void Append(const DxrLinkBitMap &map, uint32_t chip) noexcept {
        const uint32_t *row = Row(map, chip);
        Count(text_.Append(" Chip%u: Valid[%u][", chip,
                           DXR_CountValidBitOfArray(row, map.wordNumPerChip)));
        for (uint32_t i = map.wordNumPerChip; i > 0; --i) {
            Count(text_.Append(" 0x%08x", row[i - 1]));
        }
        Count(text_.Append(" ]"));
    }

    [[nodiscard]] bool Full() const noexcept { return text_.Full(); }

  private:
    void Count(int stored) noexcept { length_ = CheckedAdd(length_, stored); }

    dxr::OffsetWriter text_;
    int32_t length_ = 0;
};

}  // namespace

uint32_t DXR_CalcChipIdByAbsoluteLinkId(uint32_t absLinkId, uint32_t linkNumPerChip) {
    return absLinkId / Divisor(linkNumPerChip);
}

uint32_t DXR_CalcLinkIdByAbsoluteLinkId(uint32_t absLinkId, uint32_t linkNumPerChip) {
    return absLinkId % Divisor(linkNumPerChip);
}

uint32_t DXR_CalcAbsoluteLinkId(uint32_t chipId, uint32_t linkNumPerChip, uint32_t linkId) {
    return chipId * linkNumPerChip + linkId;
}

DxrLinkBitMap *DXR_CreateLinkBitMap(uint32_t chipNum, uint32_t linkNumPerChip) {
    dxr::Zeroed<DxrLinkBitMap> record(DXR_GetDefaultMid());
    if (record.Get() == nullptr) {
        return nullptr;
    }

    const uint32_t wordNumPerChip = dxr::WordsFor(linkNumPerChip);
    // Wraps for maps beyond 4 GiB: intended, callers keep to real devices.
    const uint32_t byteSize = chipNum * static_cast<uint32_t>(sizeof(uint32_t)) * wordNumPerChip;
    dxr::Zeroed<uint32_t> words(DXR_GetDefaultMid(), byteSize);
    if (words.Get() == nullptr) {
        return nullptr;
    }

    DxrLinkBitMap *const map = record.Release();
    map->chipNum = chipNum;
    map->linkNumPerChip = linkNumPerChip;
    map->bitMap = words.Release();
    map->wordNumPerChip = wordNumPerChip;
    return map;
}

void DXR_SaveLinkToBitMap(DxrLinkBitMap *map, uint32_t chipId, uint32_t linkId) {
    if (map == nullptr || chipId >= map->chipNum) {
        return;
    }
    // The link is held against the row's words, not against linkNumPerChip: spare bits can be set.
    DXR_SetBitField(Row(*map, chipId), map->wordNumPerChip, 1, linkId, 1);
}

void DXR_SaveLinkToBitMapByAbsLinkId(DxrLinkBitMap *map, uint32_t absLinkId) {
    if (map == nullptr) {
        return;
    }
    // The divisor is the number of chips: intended.
    const uint32_t chipId = DXR_CalcChipIdByAbsoluteLinkId(absLinkId, map->chipNum);
    const uint32_t linkId = DXR_CalcLinkIdByAbsoluteLinkId(absLinkId, map->chipNum);
    DXR_SaveLinkToBitMap(map, chipId, linkId);
}

void DXR_FillLinkBitMapToBuf(const DxrLinkBitMap *map, char *buf, uint32_t bufLen) {
    if (buf == nullptr || bufLen == 0) {
        return;
    }
    ChipText text(buf, bufLen);
    for (uint32_t chip = 0; chip < map->chipNum; ++chip) {
        text.Append(*map, chip);
        if (text.Full()) {
            return;  // the remaining chips would not change it
        }
    }
}

void DXR_PrintLinkToBitMap(const DxrLinkBitMap *map, const char *format, ...) {
    if (map == nullptr) {
        return;
    }
    std::array<char, kLineSize> line{};
    std::va_list args;
    va_start(args, format);
    const int formatted = dxr::vsnprintf_truncated_s(line.data(), line.size(), format, args);
    va_end(args);
    if (formatted < 0) {
        return;
    }
    const auto callerLength = static_cast<uint32_t>(strnlen(line.data(), line.size()));
    const uint32_t valid =
        DXR_CountValidBitOfArray(map->bitMap, map->chipNum * map->wordNumPerChip);
    const int total =
        dxr::snprintf_truncated_s(line.data() + callerLength, kLineSize - callerLength,
                                  " TotalValidLink[%u] BitMapOrder <-", valid);
    const int32_t offset = CheckedAdd(static_cast<int32_t>(callerLength), total);
    // Below 0 when there is no caller's text and the total fails: no chips then.
    if (offset >= 0) {
        DXR_FillLinkBitMapToBuf(map, line.data() + offset,
                                kLineSize - static_cast<uint32_t>(offset));
    }
    if (const DxrPrintHook print = dxr::PrintHook()) {
        print(dxr::kLevelInfo, "%s", line.data());
    }
}

void DXR_DestroyLinkBitMap(DxrLinkBitMap *map) {
    if (map == nullptr) {
        return;
    }
    if (map->bitMap != nullptr) {
        dxr::FreeBlock(map->bitMap);
        map->bitMap = nullptr;
    }
    dxr::FreeBlock(map);
}
