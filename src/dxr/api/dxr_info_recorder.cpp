#include "dxr/info_recorder.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dxr/system_time.h"
#include "dxr_info_recorder_index.h"
#include "internal/bounds_checked.h"
#include "internal/fast_paths.h"
#include "internal/host_services.h"
#include "internal/text_writer.h"

constinit DxrRecordStore g_dxrRecord = {};

namespace {

using dxr::FreeBlock;
using dxr::RecordIndex;
using dxr::TextWriter;
using dxr::Zeroed;

// Serves g_dxrRecord, for DXR_RecordInfo. Stores of the host's own are walked.
constinit RecordIndex g_recordIndex = {};

// Not the default identifier: the host accounts records under 0.
constexpr uint32_t kRecorderMid = 0;

constexpr uint32_t kLongestText = DXR_RECORD_TEXT_SIZE - 1;
constexpr char kEllipsis[] = "...";
constexpr uint32_t kEllipsisOffset = DXR_RECORD_TEXT_SIZE - sizeof(kEllipsis);

// A text of the full length may have been cut; that it also may not have been is no matter: every
// one of this length is marked.
void MarkPossiblyCut(std::array<char, DXR_RECORD_TEXT_SIZE> &text) {
    if (strnlen(text.data(), text.size()) == kLongestText) {
        dxr::snprintf_truncated_s(&text[kEllipsisOffset], sizeof(kEllipsis), "%s", kEllipsis);
    }
}

// Within the record, which a host may have filled without a terminator.
bool HoldsText(const DxrRecord &record, const char *text) {
    return std::strncmp(record.text, text, sizeof(record.text)) == 0;
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
        if (HoldsText(*record, text)) {
            Refresh(*record);
            matched = true;
        }
    }
    return matched;
}

// The same by the index, which is looked at anew behind every hook: it may have changed the store.
bool RefreshIndexed(const char *text, uint32_t hash) {
    bool matched = false;
    g_recordIndex.Follow(g_dxrRecord);
    for (uint32_t slot = g_recordIndex.First(hash); slot != RecordIndex::kNone;
         slot = g_recordIndex.Next(slot, hash)) {
        DxrRecord *const record = g_dxrRecord.records[slot];
        if (record == nullptr) {
            break;
        }
        if (HoldsText(*record, text)) {
            Refresh(*record);
            matched = true;
            g_recordIndex.Follow(g_dxrRecord);
        }
    }
    return matched;
}

// Makes a change that leaves `record` in `slot` and gives the hash of its text; no hook is called. The
// records of a copy of g_dxrRecord are those of g_dxrRecord itself.
template <typename Make>
void ChangeSlot(const DxrRecordStore &store, uint32_t slot, const DxrRecord *record, Make make) {
    if (dxr::kFastPaths && (&store == &g_dxrRecord || g_dxrRecord.records[slot] == record)) {
        g_recordIndex.Change(g_dxrRecord, slot, record, make);
    } else {
        make();
    }
}

void ForgetIndex() {
    if constexpr (dxr::kFastPaths) {
        g_recordIndex.Forget();
    }
}

// The record of the slot, allocated and zeroed if the slot is empty; null if that fails. An
// occupied one is handed out as it is: its fields are overwritten, and without a time hook its old
// times stay.
DxrRecord *OccupySlot(DxrRecordStore &store, uint32_t slot) {
    if (store.records[slot] == nullptr) {
        Zeroed<DxrRecord> block(kRecorderMid);
        if (block.Get() == nullptr) {
            return nullptr;
        }
        DxrRecord *const record = block.Release();
        ChangeSlot(store, slot, record, [&] {
            store.records[slot] = record;
            return 0U;  // of an empty text
        });
        return record;
    }
    return store.records[slot];
}

// Puts a record into the slot at the next index. `writeText` writes its text and gives its hash.
template <typename WriteText>
void AddRecord(DxrRecordStore &store, WriteText writeText) {
    const uint32_t slot = store.nextIndex;
    if (slot >= DXR_RECORD_COUNT) {
        return;
    }
    DxrRecord *const record = OccupySlot(store, slot);
    if (record == nullptr) {
        return;
    }
    DXR_GetSysTime(&record->firstTime);
    DXR_GetSysTime(&record->lastTime);
    ChangeSlot(store, slot, record, [&] {
        record->count = 1;
        const uint32_t hash = writeText(record->text);
        store.nextIndex = (store.nextIndex + 1) & (DXR_RECORD_COUNT - 1);
        return hash;
    });
}

// Up to so many records are sooner walked than a text is hashed.
constexpr uint32_t kFewRecords = 8;

// Records a text in g_dxrRecord, by the index.
void RecordIndexed(const char *text) {
    if (g_dxrRecord.records[kFewRecords] == nullptr && RefreshMatching(g_dxrRecord, text)) {
        return;
    }
    const size_t length = strnlen(text, DXR_RECORD_TEXT_SIZE);
    const uint32_t hash = dxr::RecordHash(text, length);
    if (!RefreshIndexed(text, hash)) {
        AddRecord(g_dxrRecord, [=](char(&to)[DXR_RECORD_TEXT_SIZE]) {
            dxr::memcpy_s(to, sizeof(to), text, length + 1);
            return hash;
        });
    }
}

void AppendRecord(TextWriter &writer, uint32_t slot, const DxrRecord &record) {
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
    std::array<char, DXR_RECORD_TEXT_SIZE> text;  // not cleared: nobody sees past its terminator
    std::va_list args;
    va_start(args, format);
    const int stored = dxr::vsnprintf_truncated_s(text.data(), text.size(), format, args);
    va_end(args);
    if (stored < 0) {
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelFailure, "Record info is illegal, ret[0x%x].",
                  static_cast<uint32_t>(stored));
        }
        return;
    }
    MarkPossiblyCut(text);
    if constexpr (dxr::kFastPaths) {
        RecordIndexed(text.data());
    } else if (DXR_UpdateExistingRecord(text.data(), &g_dxrRecord) == 0) {
        DXR_AddNewRecord(text.data(), &g_dxrRecord);
    }
}

uint8_t DXR_UpdateExistingRecord(const char *text, DxrRecordStore *store) {
    if (text == nullptr || store == nullptr) {
        return 0;
    }
    return RefreshMatching(*store, text) ? 1 : 0;
}

void DXR_AddNewRecord(const char *text, DxrRecordStore *store) {
    if (text == nullptr || store == nullptr) {
        return;
    }
    AddRecord(*store, [text](char(&to)[DXR_RECORD_TEXT_SIZE]) {
        dxr::snprintf_truncated_s(to, sizeof(to), "%s", text);
        return dxr::kFastPaths ? dxr::RecordHash(to, strnlen(to, sizeof(to))) : 0U;
    });
}

void DXR_DestroyRecordInfo(void) {
    g_dxrRecord.nextIndex = 0;
    for (DxrRecord *&slot : g_dxrRecord.records) {
        if (slot != nullptr) {
            FreeBlock(slot);
            slot = nullptr;
            ForgetIndex();  // behind each hook, which may have recorded a text
        }
    }
}

DxrRecordStore *DXR_GetRecordEntity(void) {
    return &g_dxrRecord;
}

uint32_t DXR_GetRecordStr(const DxrRecordStore *store, uint32_t start, uint32_t end, char *buffer,
                          uint32_t bufferSize) {
    if (store == nullptr || buffer == nullptr) {
        return 0;
    }
    TextWriter writer(buffer, bufferSize);
    const uint32_t last = std::min(end, DXR_RECORD_COUNT);
    for (uint32_t slot = start; slot < last; ++slot) {
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

uint32_t DXR_GetAllRecordStr(char *buffer, uint32_t bufferSize) {
    if (buffer == nullptr) {
        return 0;
    }
    const uint32_t next = g_dxrRecord.nextIndex;
    const uint32_t first = DXR_GetRecordStr(&g_dxrRecord, 0, next, buffer, bufferSize);
    // The order of slots is intended; nothing is sorted by time.
    return first + DXR_GetRecordStr(&g_dxrRecord, next, DXR_RECORD_COUNT, buffer + first,
                                    bufferSize - first);
}
