// Every listing into buffers of every size: what a small buffer gets is the beginning of what a
// large one gets, cut where it ends and terminated, and the length told is the length there.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "dxr/info_recorder.h"
#include "dxr/message_filter.h"
#include "dxr/print_log_filter.h"
#include "dxr/simulate_message.h"
#include "dxr/utils_bitmap.h"
#include "dxr/utils_link_bitmap.h"
#include "fuzz/host.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr uint32_t kNoLength = UINT32_MAX;
constexpr uint32_t kLargest = 32768;

// Shows into small buffers, whose sizes the rest of the input gives, and into a large one. `show`
// gives the length that the library tells, or kNoLength when it tells none.
template <typename Show>
void EverySize(Input &input, Show show) {
    static char whole[kLargest];
    std::memset(whole, 0, sizeof(whole));
    const uint32_t told = show(whole, kLargest);
    const size_t length = strnlen(whole, kLargest);
    DXR_FUZZ_SAME(length < kLargest - 1);
    DXR_FUZZ_SAME(told == kNoLength || told == length);
    do {
        const uint32_t byte = input.Byte();
        // About the end of the text, or anywhere.
        const uint32_t near = static_cast<uint32_t>(length) + byte % 4;
        const uint32_t size =
            byte < 0x40 ? (near > 1 ? near - 1 : near) : (input.Byte() | (byte & 7) << 8);
        const ExactBuffer buffer(size);
        const uint32_t small = show(buffer.Data(), size);
        const size_t kept = size == 0 ? 0 : std::min<size_t>(length, size - 1);
        DXR_FUZZ_SAME(small == kNoLength || small == kept);
        // Nothing to show may leave the buffer alone.
        DXR_FUZZ_SAME(buffer.HoldsCut({whole, length}) || (length == 0 && buffer.IsUntouched()));
    } while (!input.Empty());
}

void FillTime(Input &input, DxrSysTime *time) {
    time->year = input.Rarely() ? 0 : input.Half();
    time->month = input.Byte();
    time->day = input.Byte();
    time->hour = time->minute = input.Byte();
    time->second = input.Byte();
}

void Records(Input &input) {
    static DxrRecordStore store;
    static std::array<DxrRecord, 4> records;
    const uint32_t first = input.Flag() ? 0 : 1000 + input.Below(24);
    const uint32_t count = std::min(input.Below(5), DXR_RECORD_COUNT - first);
    for (uint32_t i = 0; i < count; ++i) {
        DxrRecord &record = records[i];
        const std::string_view text = input.Text(60);
        std::memcpy(record.text, text.data(), text.size());
        record.text[text.size()] = '\0';
        record.count = input.Number();
        FillTime(input, &record.firstTime);
        FillTime(input, &record.lastTime);
        store.records[first + i] = &record;
    }
    const uint32_t end = input.Flag() ? UINT32_MAX : first + input.Below(6);
    EverySize(input, [&](char *buffer, uint32_t size) {
        return DXR_GetRecordStr(&store, first, end, buffer, size);
    });
    std::fill_n(&store.records[first], count, nullptr);
}

void AllRecords(Input &input) {
    g_dxrHooks.time.getSysTime = [](DxrSysTime *time) { time->year = 2026; };
    for (uint32_t i = input.Below(6); i > 0; --i) {
        const std::string text(input.Text(30));
        DXR_RecordInfo("%s%u", text.c_str(), i);
    }
    EverySize(input, [](char *buffer, uint32_t size) { return DXR_GetAllRecordStr(buffer, size); });
    DXR_DestroyRecordInfo();
}

void LogFilterTable(Input &input) {
    std::array<DxrLogFilterEntry, 5> entries = {};
    DxrLogFilterInfo info = {input.Number(), input.Number(), input.Below(6), entries.data()};
    for (uint32_t i = 0; i < info.capacity; ++i) {
        entries[i].logHashCode = input.Number();
        entries[i].logCnt = input.Number();
        entries[i].state = input.Byte() & 1;
        const std::string_view text = input.Text(42);
        std::memcpy(entries[i].logBeginTime, text.data(), text.size());
    }
    const DxrLogFilterCfg cfg = {input.Number(), input.Number(), input.Below(30), 0, 0, 0};
    EverySize(input, [&](char *buffer, uint32_t size) {
        uint32_t length = 0;
        DXR_CombineShowLog(&cfg, &info, buffer, &length, size);
        return length;
    });
}

void Simulated(Input &input) {
    std::array<DxrSimulateMsg, 6> map = {};
    std::array<std::string, 6> names;
    for (size_t i = 0; i < map.size(); ++i) {
        names[i].assign(input.Text(40));
        map[i] = {input.Number(), input.Number(), input.Number(), names[i].c_str()};
    }
    const bool there = !input.Rarely();
    DXR_RegisterSimulateMsgMap(there ? map.data() : nullptr, input.Below(7));
    const uint32_t id = input.Flag() ? map[0].simulateId : input.Number();
    const uint32_t lost = input.Number();
    if (input.Flag()) {
        EverySize(input, [](char *buffer, uint32_t size) {
            DXR_DisplaySimulateMsgLost(buffer, size);
            return kNoLength;
        });
    } else {
        EverySize(input, [&](char *buffer, uint32_t size) {
            DXR_SetSimulateMsgLost(id, lost, buffer, size);
            return kNoLength;
        });
    }
    DXR_RegisterSimulateMsgMap(nullptr, 0);
}

// Whole or not at all: the listing, or the text that says that it did not fit.
void Tree(Input &input) {
    std::array<DxrMessageFilterInfo, 6> below = {};
    for (DxrMessageFilterInfo &info : below) {
        const std::string_view name = input.Text(32);
        std::memcpy(info.name, name.data(), name.size());
        info.msgType = input.Number();
        info.lostCnt = input.Number();
    }
    below[0].subFilters = &below[3];
    below[0].subFilterNum = input.Below(4);
    DxrMessageFilter *tree = DXR_CreateMessageFilter(below.data(), input.Below(4));
    static char whole[kLargest];
    DXR_GetMessageFilterStr(tree, whole, kLargest);
    const std::string_view text = whole;
    do {
        const uint32_t byte = input.Byte();
        const size_t size = (byte & 1) != 0 ? text.size() + byte % 3 : byte / 2;
        const ExactBuffer buffer(size);
        DXR_GetMessageFilterStr(tree, buffer.Data(), buffer.Size());
        DXR_FUZZ_SAME(buffer.HoldsCut(
            size > text.size() ? text : "get message filter string failed, ret[0x22]"));
    } while (!input.Empty());
    DXR_DestroyMessageFilter(&tree);
}

void Bits(Input &input) {
    std::array<uint32_t, 70> words;
    const uint32_t count = input.Below(71);
    for (uint32_t &word : words) {
        word = input.Number();
    }
    EverySize(input, [&](char *buffer, uint32_t size) {
        DXR_GetBitMapStr(words.data(), count, buffer, size);
        return kNoLength;
    });
}

void Links(Input &input) {
    const uint32_t chips = 1 + input.Below(12);
    DxrLinkBitMap *const map = DXR_CreateLinkBitMap(chips, 1 + input.Below(100));
    for (uint32_t i = input.Below(12); i > 0; --i) {
        DXR_SaveLinkToBitMap(map, input.Below(12), input.Below(100));
    }
    EverySize(input, [&](char *buffer, uint32_t size) {
        DXR_FillLinkBitMapToBuf(map, buffer, size);
        return kNoLength;
    });
    DXR_DestroyLinkBitMap(map);
}

}  // namespace

void Listing(Input &input) {
    static constexpr void (*kListings[])(Input &) = {
        Records, AllRecords, LogFilterTable, Simulated, Tree, Bits, Links,
    };
    Host::Install();
    kListings[input.Byte() % (sizeof(kListings) / sizeof(kListings[0]))](input);
    DXR_FUZZ_SAME(Host::live == 0);
}

}  // namespace dxrfuzz
