#include "dxr/info_recorder.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "dxr/system_time.h"
#include "internal/bounds_checked.h"
#include "internal/host_services.h"
#include "internal/text_writer.h"

constinit DxrRecordStore g_dxrRecord = {};

namespace {

using dxr::FreeBlock;
using dxr::HostBlock;
using dxr::TextWriter;

// Not the default identifier: the host accounts records under 0.
constexpr std::uint32_t kRecorderMid = 0;

constexpr std::uint32_t kLongestText = DXR_RECORD_TEXT_SIZE - 1;
constexpr char kEllipsis[] = "...";
constexpr std::uint32_t kEllipsisOffset = DXR_RECORD_TEXT_SIZE - sizeof(kEllipsis);

// A text of the full length may have been cut; that it also may not have been is no matter: every
// one of this length is marked.
void MarkPossiblyCut(std::array<char, DXR_RECORD_TEXT_SIZE> &text) {
    if (std::strlen(text.data()) == kLongestText) {
        dxr::snprintf_truncated_s(&text[kEllipsisOffset], sizeof(kEllipsis), "%s", kEllipsis);
    }
}

void Refresh(DxrRecord &record) {
    DXR_GetSysTime(&record.lastTime);
    ++record.count;
}

// Does not stop at the first match: records added past the lookup can hold equal texts, and all of
// them count.
bool RefreshMatching(DxrRecordStore &store, const char *text) {
    bool matched = false;
    for (DxrRecord *record : store.records) {
        if (record == nullptr) {
            break;
        }
        if (std::strcmp(record->text, text) == 0) {
            Refresh(*record);
            matched = true;
        }
    }
    return matched;
}

// The record of the slot, allocated and zeroed if the slot is empty; null if that fails. An
// occupied one is handed out as it is: its fields are overwritten, and without a time hook its old
// times stay.
DxrRecord *OccupySlot(DxrRecord *&slot) {
    if (slot == nullptr) {
        HostBlock block(kRecorderMid, sizeof(DxrRecord));
        if (block.Get() == nullptr) {
            return nullptr;
        }
        dxr::memset_s(block.Get(), sizeof(DxrRecord), 0, sizeof(DxrRecord));
        slot = static_cast<DxrRecord *>(block.Release());
    }
    return slot;
}

void AppendRecord(TextWriter &writer, std::uint32_t slot, const DxrRecord &record) {
    const DxrSysTime &first = record.firstTime;
    const DxrSysTime &last = record.lastTime;
    writer.Append(
        "\r\n%4u:   First time:%04u/%02u/%02u %02u:%02u:%02u, "
        "last time:%04u/%02u/%02u %02u:%02u:%02u, count[%03u], %-s",
        slot, first.year, first.month, first.day, first.hour, first.minute, first.second, last.year,
        last.month, last.day, last.hour, last.minute, last.second, record.count, record.text);
}

}  // namespace

void DXR_RecordInfo(const char *format, ...) {
    std::array<char, DXR_RECORD_TEXT_SIZE> text = {};
    std::va_list args;
    va_start(args, format);
    const int stored = dxr::vsnprintf_truncated_s(text.data(), text.size(), format, args);
    va_end(args);
    if (stored < 0) {
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelFailure, "Record info is illegal, ret[0x%x].",
                  static_cast<std::uint32_t>(stored));
        }
        return;
    }
    MarkPossiblyCut(text);
    if (DXR_UpdateExistingRecord(text.data(), &g_dxrRecord) == 0) {
        DXR_AddNewRecord(text.data(), &g_dxrRecord);
    }
}

std::uint8_t DXR_UpdateExistingRecord(const char *text, DxrRecordStore *store) {
    if (text == nullptr || store == nullptr) {
        return 0;
    }
    return RefreshMatching(*store, text) ? 1 : 0;
}

void DXR_AddNewRecord(const char *text, DxrRecordStore *store) {
    if (text == nullptr || store == nullptr || store->nextIndex >= DXR_RECORD_COUNT) {
        return;
    }
    DxrRecord *const record = OccupySlot(store->records[store->nextIndex]);
    if (record == nullptr) {
        return;
    }
    DXR_GetSysTime(&record->firstTime);
    DXR_GetSysTime(&record->lastTime);
    record->count = 1;
    dxr::snprintf_truncated_s(record->text, sizeof(record->text), "%s", text);
    store->nextIndex = (store->nextIndex + 1) & (DXR_RECORD_COUNT - 1);
}

void DXR_DestroyRecordInfo(void) {
    g_dxrRecord.nextIndex = 0;
    for (DxrRecord *&slot : g_dxrRecord.records) {
        if (slot != nullptr) {
            FreeBlock(slot);
            slot = nullptr;
        }
    }
}

DxrRecordStore *DXR_GetRecordEntity(void) {
    return &g_dxrRecord;
}

std::uint32_t DXR_GetRecordStr(const DxrRecordStore *store, std::uint32_t start, std::uint32_t end,
                               char *buffer, std::uint32_t bufferSize) {
    if (store == nullptr || buffer == nullptr) {
        return 0;
    }
    TextWriter writer(buffer, bufferSize);
    const std::uint32_t last = std::min(end, DXR_RECORD_COUNT);
    for (std::uint32_t slot = start; slot < last; ++slot) {
        const DxrRecord *const record = store->records[slot];
        if (record == nullptr) {
            break;
        }
        if (record->firstTime.year != 0) {
            AppendRecord(writer, slot, *record);
        }
    }
    return writer.Written();
}

std::uint32_t DXR_GetAllRecordStr(char *buffer, std::uint32_t bufferSize) {
    if (buffer == nullptr) {
        return 0;
    }
    const std::uint32_t next = g_dxrRecord.nextIndex;
    const std::uint32_t first = DXR_GetRecordStr(&g_dxrRecord, 0, next, buffer, bufferSize);
    // The order of slots is intended; nothing is sorted by time.
    return first + DXR_GetRecordStr(&g_dxrRecord, next, DXR_RECORD_COUNT, buffer + first,
                                    bufferSize - first);
}
