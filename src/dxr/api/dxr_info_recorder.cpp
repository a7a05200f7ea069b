#include "dxr/info_recorder.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "dxr/system_time.h"
#include "dxr_info_recorder_book.h"
#include "internal/bounds_checked.h"
#include "internal/host_services.h"
#include "internal/text_writer.h"

constinit DxrRecordStore g_dxrRecord = {};

namespace {

using dxr::FreeBlock;
using dxr::RecordBook;
using dxr::RecordText;
using dxr::TextWriter;
using dxr::Zeroed;

constinit RecordBook::Index g_recordIndex = {};
constexpr RecordBook kBook(g_dxrRecord, g_recordIndex);

// Not the default identifier: the host accounts records under 0.
constexpr uint32_t kRecorderMid = 0;

constexpr size_t kLongestText = DXR_RECORD_TEXT_SIZE - 1;
constexpr char kEllipsis[] = "...";
constexpr uint32_t kEllipsisOffset = DXR_RECORD_TEXT_SIZE - sizeof(kEllipsis);

// A text of the full length may have been cut; that it also may not have been is no matter: every
// one of this length is marked. Characters stored after a NUL are no part of the text.
void MarkPossiblyCut(char *text, size_t length) {
    if (length == kLongestText) {
        dxr::snprintf_truncated_s(&text[kEllipsisOffset], sizeof(kEllipsis), "%s", kEllipsis);
    }
}

// Has the host give the time of the record in `slot`. The hook gets a copy of the old one, which
// stays if there is no hook, and may do anything to the store: false if it has taken the record
// out.
bool ReadTime(const DxrRecordStore &store, uint32_t slot, DxrSysTime DxrRecord::*field) {
    DxrRecord *const record = store.records[slot];
    DxrSysTime time = record->*field;
    DXR_GetSysTime(&time);
    if (store.records[slot] != record) {
        return false;
    }
    record->*field = time;
    return true;
}

// Gives every record of a text the present time as its last and 1 more in its count. `find` gives
// the first of their slots from a slot on. Does not stop at the first match: records added past the
// lookup can hold equal texts, and all of them count.
template <typename Find>
bool RefreshAll(DxrRecordStore &store, Find find) {
    bool matched = false;
    for (uint32_t slot = find(0); slot != RecordBook::kNone; slot = find(slot + 1)) {
        if (ReadTime(store, slot, &DxrRecord::lastTime)) {
            ++store.records[slot]->count;
        }
        matched = true;
    }
    return matched;
}

bool NextSlotIsEmpty(const DxrRecordStore &store) {
    return store.nextIndex < DXR_RECORD_COUNT && store.records[store.nextIndex] == nullptr;
}

// Sees to it that there is a record in the slot at the next index. An occupied one stays as it is:
// its fields are overwritten, and without a time hook its old times stay.
bool OccupyNextSlot(DxrRecordStore &store) {
    while (NextSlotIsEmpty(store)) {
        Zeroed<DxrRecord> block(kRecorderMid);
        if (block.Get() == nullptr) {
            return false;
        }
        // Again, since the hook may have recorded; a block that is not needed goes back.
        if (NextSlotIsEmpty(store)) {
            kBook.Place(store, block.Release());
        }
    }
    return store.nextIndex < DXR_RECORD_COUNT;
}

// Ends early if a time hook takes the new record out of the store.
void Add(DxrRecordStore &store, RecordText &text) {
    if (!OccupyNextSlot(store)) {
        return;
    }
    const uint32_t slot = store.nextIndex;
    if (ReadTime(store, slot, &DxrRecord::firstTime) &&
        ReadTime(store, slot, &DxrRecord::lastTime)) {
        kBook.Write(store, slot, text);
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
    dxr::PlainRoom buffer;  // not cleared: nobody sees past its terminator
    dxr::Arguments args;
    std::va_list again;
    va_start(args.list, format);
    va_start(again, format);
    const auto [stored, length] =
        dxr::FormatLine(buffer, DXR_RECORD_TEXT_SIZE, format, args, again);
    va_end(again);
    va_end(args.list);
    if (stored < 0) {
        if (const DxrPrintHook print = dxr::PrintHook()) {
            print(dxr::kLevelFailure, "Record info is illegal, ret[0x%x].",
                  static_cast<uint32_t>(stored));
        }
        return;
    }
    MarkPossiblyCut(buffer, length);
    RecordText text(buffer, length);
    if (!RefreshAll(g_dxrRecord, [&](uint32_t from) { return kBook.Find(text, from); })) {
        Add(g_dxrRecord, text);
    }
}

uint8_t DXR_UpdateExistingRecord(const char *text, DxrRecordStore *store) {
    if (text == nullptr || store == nullptr) {
        return 0;
    }
    const RecordText wanted(text);
    const auto walk = [&](uint32_t from) { return RecordBook::Walk(*store, wanted, from); };
    return RefreshAll(*store, walk) ? 1 : 0;
}

void DXR_AddNewRecord(const char *text, DxrRecordStore *store) {
    if (text == nullptr || store == nullptr) {
        return;
    }
    RecordText added(text);
    Add(*store, added);
}

void DXR_DestroyRecordInfo(void) {
    g_dxrRecord.nextIndex = 0;
    for (uint32_t slot = 0; slot < DXR_RECORD_COUNT; ++slot) {
        // Out of the store before it is released: the hook may record a text.
        if (DxrRecord *const record = kBook.TakeOut(slot)) {
            FreeBlock(record);
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
