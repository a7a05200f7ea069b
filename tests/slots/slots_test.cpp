// The dispatch layer, slot by slot: hooks go in by their absolute place in the table, calls go
// through the exported functions, and what must come out is in expected_slots.h.
#include "slots/expected_slots.h"
#include "slots/raw_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/sanitizers.h"
#include "support/test_host.h"

namespace dxrtest {

// The names of the cases; without it a failure would print a slot's bytes.
void PrintTo(const Slot &slot, std::ostream *out) {
    *out << slot.name << " (" << slot.group << " " << slot.index << ", absolute " << slot.Absolute()
         << ")";
}

namespace {

constexpr Word kAllOnes = UINT64_MAX;

// --- tables

std::multiset<size_t> g_wronglyCalled;

// A hook for slots that must not be called. It takes nothing and answers with a pattern; that
// suffices to see a wrong call, whatever the slot's type.
template <size_t kAbsolute>
Word WrongSlot() {
    g_wronglyCalled.insert(kAbsolute);
    return 0xDEADDEADDEADDEAD;
}

template <size_t... kAbsolute>
RawTable WrongSlots(std::index_sequence<kAbsolute...>) {
    return {reinterpret_cast<Hook>(&WrongSlot<kAbsolute>)...};
}

// Every slot filled, and a call of any of them is seen.
const RawTable &TrapTable() {
    static const RawTable table = WrongSlots(std::make_index_sequence<kSlotCount>());
    return table;
}

RawTable Only(const Slot &slot, Hook hook) {
    RawTable table = {};
    table[slot.Absolute()] = hook;
    return table;
}

RawTable TrapsBut(const Slot &slot, Hook hook) {
    RawTable table = TrapTable();
    table[slot.Absolute()] = hook;
    return table;
}

std::string DescribeWrongCalls() {
    std::string text;
    for (const size_t absolute : g_wronglyCalled) {
        text += "slot " + std::to_string(absolute) + " was called; ";
    }
    return text;
}

// --- arguments

Words Narrowed(const Slot &slot, Words words) {
    const std::vector<std::string> types = ArgumentTypes(slot);
    for (size_t i = 0; i < words.size(); ++i) {
        words[i] = i < types.size() ? words[i] & Mask(types[i]) : 0;
    }
    for (const FixedArgument &fixed : slot.fixed) {
        words[fixed.position] = fixed.value;
    }
    return words;
}

Words Sentinels(const Slot &slot) {
    Words words = {};
    for (size_t i = 0; i < words.size(); ++i) {
        words[i] = Sentinel(i);
    }
    return Narrowed(slot, words);
}

Words Everywhere(const Slot &slot, Word value) {
    Words words = {};
    words.fill(value);
    return Narrowed(slot, words);
}

// Memory behind every pointer argument; it must stay as it is.
class PointedMemory {
  public:
    explicit PointedMemory(const Slot &slot) : words_(Sentinels(slot)) {
        const std::vector<std::string> types = ArgumentTypes(slot);
        for (size_t i = 0; i < blocks_.size(); ++i) {
            blocks_[i].fill(kPattern);
            if (i < types.size() && types[i] == "p") {
                words_[i] = reinterpret_cast<Word>(blocks_[i].data() + kBlockSize / 2);
            }
        }
    }
    PointedMemory(const PointedMemory &) = delete;
    PointedMemory &operator=(const PointedMemory &) = delete;

    [[nodiscard]] const Words &Arguments() const { return words_; }
    [[nodiscard]] bool Untouched() const {
        return std::all_of(blocks_.begin(), blocks_.end(), [](const Block &block) {
            return std::all_of(block.begin(), block.end(),
                               [](unsigned char byte) { return byte == kPattern; });
        });
    }

  private:
    static constexpr size_t kBlockSize = 256;
    static constexpr unsigned char kPattern = 0x5B;
    using Block = std::array<unsigned char, kBlockSize>;
    std::array<Block, kMaxArguments> blocks_ = {};
    Words words_;
};

// --- hooks that see whole registers

// Each argument arrives in its own register or stack word, so hooks that take words see what a host
// built with other headers would see: the position and the full value, narrow ones extended by
// zeros. They depend on nothing the headers say. Where a binary interface packs narrow stack
// arguments this could not be seen; there the widths are held by the types alone.
#if defined(__x86_64__) && !DXRTEST_FUNCTION_TYPES_ARE_CHECKED
#define DXRTEST_SEES_REGISTERS 1
#else
#define DXRTEST_SEES_REGISTERS 0
#endif

#if DXRTEST_SEES_REGISTERS
template <typename... Each>
Word RecordWords(Each... words) {
    ++g_recorder.calls;
    g_recorder.arity = sizeof...(words);
    g_recorder.arguments = Words{words...};
    return g_recorder.result;
}

template <size_t>
using WordAt = Word;

template <size_t... I>
Hook WordHookOf(std::index_sequence<I...>) {
    return reinterpret_cast<Hook>(&RecordWords<WordAt<I>...>);
}

Hook WordHook(size_t arity) {
    const std::array<Hook, kMaxArguments + 1> byArity = {
        WordHookOf(std::make_index_sequence<0>()), WordHookOf(std::make_index_sequence<1>()),
        WordHookOf(std::make_index_sequence<2>()), WordHookOf(std::make_index_sequence<3>()),
        WordHookOf(std::make_index_sequence<4>()), WordHookOf(std::make_index_sequence<5>()),
        WordHookOf(std::make_index_sequence<6>()), WordHookOf(std::make_index_sequence<7>())};
    return byArity.at(arity);
}
#endif

// --- what is expected

void ExpectFallback(const Slot &slot, Word result) {
    if (slot.outcome.text != nullptr) {
        ASSERT_NE(Word{0}, result);
        EXPECT_STREQ(slot.outcome.text, reinterpret_cast<const char *>(result));
    } else {
        EXPECT_EQ(slot.outcome.fallback, result);
    }
}

constexpr Word kResults[] = {
    0,          1,          2,        0x7FFFFFFF,         0x80000000,
    0x80000001, 0xFFFFFFFE, kAllOnes, 0x8123456789ABCDEF, 0xFFFFFFFF00000000,
    0x100000000};

class SlotFixture {
  protected:
    SlotFixture() {
        g_recorder = {};
        g_wronglyCalled.clear();
    }
    // Restores the table that was registered before the test.
    TestHost host_;
};

class Dispatch : public SlotFixture, public testing::TestWithParam<Slot> {
  protected:
    const Slot slot_ = GetParam();

    void ExpectForwarded(const Words &arguments) {
        for (const Word result : kResults) {
            g_recorder.calls = 0;
            g_recorder.arguments = {};
            g_recorder.result = result;
            const Word got = slot_.binding.call(arguments);
            EXPECT_EQ(1U, g_recorder.calls);
            EXPECT_EQ(ArgumentTypes(slot_).size(), g_recorder.arity);
            EXPECT_EQ(arguments, g_recorder.arguments);
            EXPECT_EQ(result & Mask(slot_.outcome.type), got);
        }
        EXPECT_TRUE(g_wronglyCalled.empty()) << DescribeWrongCalls();
    }
};

// HOST-4
TEST_P(Dispatch, StandsInTheTableAsDeclared) {
    EXPECT_EQ(slot_.Absolute() * sizeof(void *), slot_.declaredOffset);
    EXPECT_EQ(slot_.arguments, slot_.binding.arguments);
    EXPECT_EQ(slot_.outcome.type, slot_.binding.result);
}

// HOST-1
TEST_P(Dispatch, EmptyTableGivesTheFallback) {
    Register(RawTable{});
    const PointedMemory memory(slot_);
    ExpectFallback(slot_, slot_.binding.call(memory.Arguments()));
    EXPECT_TRUE(memory.Untouched());
    EXPECT_EQ(RawTable{}, Registered());
}

// MODULE-2
TEST_P(Dispatch, EmptySlotInspectsNoArgument) {
    Register(RawTable{});
    // Addresses at which there is nothing.
    ExpectFallback(slot_, slot_.binding.call(Sentinels(slot_)));
    ExpectFallback(slot_, slot_.binding.call(Everywhere(slot_, kAllOnes)));
    ExpectFallback(slot_, slot_.binding.call(Everywhere(slot_, 0)));
}

TEST_P(Dispatch, EmptySlotAmongFilledOnesGivesTheFallback) {
    if (NeedsItsNeighbour(slot_)) {
        RawTable table = TrapsBut(slot_, nullptr);
        table[slot_.Absolute() - 1] = nullptr;
        Register(table);
    } else {
        Register(TrapsBut(slot_, nullptr));
    }
    const PointedMemory memory(slot_);
    ExpectFallback(slot_, slot_.binding.call(memory.Arguments()));
    EXPECT_TRUE(memory.Untouched());
    EXPECT_TRUE(g_wronglyCalled.empty()) << DescribeWrongCalls();
}

TEST_P(Dispatch, ForwardsUnchanged) {
    Register(TrapsBut(slot_, slot_.binding.recordingHook));
    ExpectForwarded(Sentinels(slot_));
    ExpectForwarded(Everywhere(slot_, kAllOnes));
    const PointedMemory memory(slot_);
    ExpectForwarded(memory.Arguments());
    EXPECT_TRUE(memory.Untouched());
}

// MODULE-2
TEST_P(Dispatch, ForwardsZeros) {
    const std::set<std::string_view> refusing = {"DXR_RegisterWithoutVelderFuncs", "DXR_SetUdf",
                                                 "DXR_Malloc", "DXR_DiagLogFilter"};
    Register(TrapsBut(slot_, slot_.binding.recordingHook));
    g_recorder.result = kAllOnes;
    if (refusing.count(slot_.name) != 0) {
        const Word got = slot_.binding.call(Everywhere(slot_, 0));
        EXPECT_EQ(0U, g_recorder.calls);
        EXPECT_EQ(0U, got);
    } else {
        ExpectForwarded(Everywhere(slot_, 0));
    }
}

TEST_P(Dispatch, NeedsNoOtherSlot) {
    if (NeedsItsNeighbour(slot_)) {
        RawTable table = Only(slot_, slot_.binding.recordingHook);
        table[slot_.Absolute() - 1] = TrapTable()[slot_.Absolute() - 1];
        Register(table);
    } else {
        Register(Only(slot_, slot_.binding.recordingHook));
    }
    ExpectForwarded(Sentinels(slot_));
}

#if DXRTEST_SEES_REGISTERS
TEST_P(Dispatch, ArgumentsFillTheirWords) {
    Register(TrapsBut(slot_, WordHook(ArgumentTypes(slot_).size())));
    ExpectForwarded(Sentinels(slot_));
    ExpectForwarded(Everywhere(slot_, kAllOnes));
}
#endif

TEST_P(Dispatch, SlotIsReadAtEachCall) {
    const Words arguments = Sentinels(slot_);
    for (int round = 0; round < 2; ++round) {
        Register(TrapsBut(slot_, slot_.binding.recordingHook));
        ExpectForwarded(arguments);
        Register(RawTable{});
        g_recorder.calls = 0;
        ExpectFallback(slot_, slot_.binding.call(arguments));
        EXPECT_EQ(0U, g_recorder.calls);
    }
}

std::vector<Slot> SlotsOf(Use use) {
    std::vector<Slot> slots;
    for (const Slot &slot : ExpectedSlots()) {
        if (slot.use == use) {
            slots.push_back(slot);
        }
    }
    return slots;
}

std::string CaseName(const testing::TestParamInfo<Slot> &slot) {
    return std::string(slot.param.name);
}

INSTANTIATE_TEST_SUITE_P(Slots, Dispatch, testing::ValuesIn(SlotsOf(Use::kDispatched)), CaseName);

// --- the table as a whole

class Table : public SlotFixture, public testing::Test {
  protected:
    static const Slot &Find(std::string_view name) {
        return *std::find_if(ExpectedSlots().begin(), ExpectedSlots().end(),
                             [name](const Slot &slot) { return slot.name == name; });
    }
    const Slot &port_ = Find("DXR_GetNgTmPortInfoFromDb");
    const Slot &byTmPort_ = Find("DXR_GetNgTmPortInfoByTmPortFromDb");
};

TEST_F(Table, ListNamesEachSlotOnce) {
    std::multiset<size_t> places;
    std::set<std::string_view> names;
    for (const Slot &slot : ExpectedSlots()) {
        places.insert(slot.Absolute());
        EXPECT_EQ(slot.Absolute() * sizeof(void *), slot.declaredOffset) << slot.name;
        if (slot.use == Use::kDispatched) {
            EXPECT_TRUE(names.insert(slot.name).second) << slot.name;
        }
    }
    EXPECT_EQ(kSlotCount, ExpectedSlots().size());
    for (size_t place = 0; place < kSlotCount; ++place) {
        EXPECT_EQ(1U, places.count(place)) << "absolute slot " << place;
    }
    EXPECT_EQ(216U, SlotsOf(Use::kDispatched).size());
    EXPECT_EQ(4U, SlotsOf(Use::kOwnRule).size());
    EXPECT_EQ(6U, SlotsOf(Use::kUnread).size());
}

TEST_F(Table, GroupsFollowEachOther) {
    size_t next = 0;
    for (const Group &group : kGroups) {
        EXPECT_EQ(next, group.first) << group.name;
        next += group.size;
        for (const Slot &slot : ExpectedSlots()) {
            EXPECT_TRUE(slot.group != group.name || slot.index < group.size) << slot.name;
        }
    }
    EXPECT_EQ(kSlotCount, next);
    EXPECT_EQ(20U, std::size(kGroups));
    EXPECT_EQ(kTableBytes, sizeof(DxrHooks));
    EXPECT_EQ(kTableBytes, sizeof(g_dxrHooks));
}

template <typename GroupHooks>
void ExpectGroup(std::string_view name, GroupHooks *(*getter)(), size_t declaredOffset) {
    SCOPED_TRACE(name);
    const auto *group = std::find_if(std::begin(kGroups), std::end(kGroups),
                                     [name](const Group &each) { return each.name == name; });
    ASSERT_NE(std::end(kGroups), group);
    EXPECT_EQ(group->size * sizeof(void *), sizeof(GroupHooks));
    EXPECT_EQ(group->first * sizeof(void *), declaredOffset);
    const auto *table = reinterpret_cast<const char *>(&g_dxrHooks);
    EXPECT_EQ(table + group->first * sizeof(void *), reinterpret_cast<const char *>(getter()));
}

TEST_F(Table, GettersPointAtTheirGroups) {
    for (const RawTable &table : {RawTable{}, TrapTable()}) {
        Register(table);
        EXPECT_EQ(&g_dxrHooks, DXR_GetHooks());
        ExpectGroup("alarm", DXR_GetAlarmHooks, offsetof(DxrHooks, alarm));
        ExpectGroup("db", DXR_GetDbHooks, offsetof(DxrHooks, db));
        ExpectGroup("dev", DXR_GetDevHooks, offsetof(DxrHooks, dev));
        ExpectGroup("init", DXR_GetInitHooks, offsetof(DxrHooks, init));
        ExpectGroup("list", DXR_GetListHooks, offsetof(DxrHooks, list));
        ExpectGroup("memory", DXR_GetMemoryHooks, offsetof(DxrHooks, memory));
        ExpectGroup("msg", DXR_GetMsgHooks, offsetof(DxrHooks, msg));
        ExpectGroup("print", DXR_GetPrintHooks, offsetof(DxrHooks, print));
        ExpectGroup("system", DXR_GetSystemHooks, offsetof(DxrHooks, system));
        ExpectGroup("task", DXR_GetTaskHooks, offsetof(DxrHooks, task));
        ExpectGroup("tblm", DXR_GetTblmHooks, offsetof(DxrHooks, tblm));
        ExpectGroup("time", DXR_GetTimeHooks, offsetof(DxrHooks, time));
        ExpectGroup("cfg", DXR_GetCfgHooks, offsetof(DxrHooks, cfg));
        ExpectGroup("jsonDecode", DXR_GetJsonDecodeHooks, offsetof(DxrHooks, jsonDecode));
        ExpectGroup("np", DXR_GetNpHooks, offsetof(DxrHooks, np));
        ExpectGroup("plugin", DXR_GetPluginHooks, offsetof(DxrHooks, plugin));
        ExpectGroup("hash", DXR_GetHashHooks, offsetof(DxrHooks, hash));
        ExpectGroup("ffm", DXR_GetFfmHooks, offsetof(DxrHooks, ffm));
        ExpectGroup("kpi", DXR_GetKpiHooks, offsetof(DxrHooks, kpi));
        ExpectGroup("temperature", DXR_GetTemperatureHooks, offsetof(DxrHooks, temperature));
    }
    EXPECT_TRUE(g_wronglyCalled.empty()) << DescribeWrongCalls();
}

// Hooks that are not called with an exported function's own arguments: naming the form accepts only
// it.
void ExpectPrintForm(void (*)(uint32_t, const char *, ...)) {
}
template <typename Result>
void ExpectPrivateLogForm(Result (*)(const char *, const char *, ...)) {
}
template <typename Result>
void ExpectFilterForm(Result (*)(void *, const char *)) {
}

TEST_F(Table, HooksOfSlotsWithOwnRulesHaveTheirForms) {
    ExpectPrintForm(g_dxrHooks.print.print);
    ExpectPrivateLogForm(g_dxrHooks.print.writePrivateLog);
    ExpectFilterForm(g_dxrHooks.print.logFilterFilterSameLog);
    ExpectFilterForm(g_dxrHooks.print.logFilterFilterDiffKeyLog);
}

// The exported functions with logic of their own that build on the dispatchers.
void CallFunctionsWithOwnLogic() {
    std::array<uint32_t, 8> record = {};
    std::array<char, 64> text = {};
    DXR_Register(record.data());
    static_cast<void>(DXR_SelectDbRecord(record.data(), &record[7]));
    static_cast<void>(DXR_GetFeNodeGrpId(1, 2));
    DXR_CFG_FmtCfgFile("tm", 1, 2, text.data(), sizeof(text));
    static_cast<void>(DXR_GetTblmData(nullptr));
    static_cast<void>(DXR_SetTblmData(nullptr));
    static_cast<void>(DXR_DeleteTblmData(1, nullptr, 0));
    static_cast<void>(DXR_AddTblmData(1, nullptr, 0, nullptr, 0));
    static_cast<void>(DXR_QueryTblmData(1, nullptr, 0, nullptr, 0));
    DxrSllIterator it = DXR_InitSllIterator(nullptr);
    DXR_SllIteratorAddData(&it, nullptr, 0);
    static_cast<void>(DXR_SllIteratorGetNextData(&it));
    DXR_SllIteratorMoveToHead(&it);
    static_cast<void>(DXR_LOGFILTER_FilterSameLog(nullptr, "%s", "line"));
    static_cast<void>(DXR_LOGFILTER_FilterDiffKeyLog(nullptr, "%s", "line"));
    static_cast<void>(DXR_PrintLargeBuffer("line"));
}

// Host slots that no function reads: filled, they change nothing, and nothing calls them.
TEST_F(Table, UnreadSlotsAreNeverCalled) {
    RawTable empty = {};
    RawTable filled = {};
    for (const Slot &slot : ExpectedSlots()) {
        if (slot.use == Use::kDispatched) {
            filled[slot.Absolute()] = slot.binding.recordingHook;
        } else if (slot.use == Use::kUnread) {
            empty[slot.Absolute()] = TrapTable()[slot.Absolute()];
            filled[slot.Absolute()] = TrapTable()[slot.Absolute()];
        }
    }
    for (const Slot &slot : SlotsOf(Use::kDispatched)) {
        const PointedMemory memory(slot);
        Register(empty);
        ExpectFallback(slot, slot.binding.call(memory.Arguments()));
        Register(filled);
        g_recorder.calls = 0;
        slot.binding.call(memory.Arguments());
        EXPECT_EQ(1U, g_recorder.calls) << slot.name;
        EXPECT_EQ(slot.binding.recordingHook, g_recorder.called) << slot.name;
    }
    for (const RawTable &table : {empty, filled}) {
        Register(table);
        g_recorder.result = 0;
        CallFunctionsWithOwnLogic();
    }
    EXPECT_TRUE(g_wronglyCalled.empty()) << DescribeWrongCalls();
}

// --- the slot that is looked at through its neighbour

class PortInfoByTmPort : public Table {};

TEST_F(PortInfoByTmPort, EmptyNeighbourMeansNoCall) {
    Register(TrapsBut(port_, nullptr));
    EXPECT_EQ(0U, byTmPort_.binding.call(Sentinels(byTmPort_)));
    EXPECT_TRUE(g_wronglyCalled.empty()) << DescribeWrongCalls();
}

TEST_F(PortInfoByTmPort, OwnSlotIsCalledAndTheNeighbourIsNot) {
    RawTable table = {};
    table[port_.Absolute()] = TrapTable()[port_.Absolute()];
    table[byTmPort_.Absolute()] = byTmPort_.binding.recordingHook;
    Register(table);
    g_recorder.result = 0x80000007;
    EXPECT_EQ(0x80000007U, byTmPort_.binding.call(Sentinels(byTmPort_)));
    EXPECT_EQ(1U, g_recorder.calls);
    EXPECT_EQ(Sentinels(byTmPort_), g_recorder.arguments);
    EXPECT_TRUE(g_wronglyCalled.empty()) << DescribeWrongCalls();
}

TEST_F(PortInfoByTmPort, NeighbourDoesNotNeedIt) {
    Register(Only(port_, port_.binding.recordingHook));
    g_recorder.result = 5;
    EXPECT_EQ(5U, port_.binding.call(Sentinels(port_)));
    EXPECT_EQ(1U, g_recorder.calls);
}

// --- tables with holes, at random

// HOST-3
TEST_F(Table, PartialTablesReachExactlyTheirSlots) {
    std::mt19937_64 random(Seed());
    const std::vector<Slot> slots = SlotsOf(Use::kDispatched);
    for (int round = 0; round < 50; ++round) {
        RawTable table = {};
        for (const Slot &slot : slots) {
            if (random() % 2 == 0) {
                table[slot.Absolute()] = slot.binding.recordingHook;
            }
        }
        // These two are filled together, as every host has to.
        Hook &port = table[port_.Absolute()];
        Hook &byTmPort = table[byTmPort_.Absolute()];
        port = byTmPort == nullptr ? nullptr : port_.binding.recordingHook;
        Register(table);
        for (const Slot &slot : slots) {
            const PointedMemory memory(slot);
            g_recorder.calls = 0;
            g_recorder.called = nullptr;
            g_recorder.result = random();
            const Word got = slot.binding.call(memory.Arguments());
            if (table[slot.Absolute()] != nullptr) {
                EXPECT_EQ(1U, g_recorder.calls) << slot.name;
                EXPECT_EQ(slot.binding.recordingHook, g_recorder.called) << slot.name;
                EXPECT_EQ(memory.Arguments(), g_recorder.arguments) << slot.name;
                EXPECT_EQ(g_recorder.result & Mask(slot.outcome.type), got) << slot.name;
            } else {
                EXPECT_EQ(0U, g_recorder.calls) << slot.name;
                ExpectFallback(slot, got);
            }
        }
        EXPECT_EQ(table, Registered());
    }
}

}  // namespace
}  // namespace dxrtest
