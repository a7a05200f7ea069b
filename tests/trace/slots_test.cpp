// All 226 slots through the trace: what a hook gets and what its caller gets are the same as
// without, in every mode; and what the list says of parameters and pointers is what the types say.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <csetjmp>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <vector>

#include "dxr_trace.h"
#include "slots.h"
#include "slots/expected_slots.h"
#include "slots/raw_table.h"
#include "state.h"
#include "support/test_host.h"
#include "wrappers.h"

namespace dxrtest {

void PrintTo(const Slot &slot, std::ostream *out) {
    *out << slot.name;
}

namespace {

using dxr_trace::kSlots;

constexpr uint32_t kModes[] = {DXR_TRACE_OFF, DXR_TRACE_COUNT, DXR_TRACE_CALLS};

RawTable Wrappers() {
    return std::bit_cast<RawTable>(dxr_trace::kWrappers);
}

void Start(uint32_t mode) {
    DxrTraceOptions options;
    DxrTraceInitOptions(&options);
    options.mode = mode;
    options.timedCalls = 2;
    options.pointers = DXR_TRACE_POINTERS_DEVHOST;
    options.file = mode == DXR_TRACE_CALLS ? "/dev/null" : nullptr;
    ASSERT_EQ(0U, DxrTraceStart(&options));
}

DxrTraceCount CountOf(size_t slot) {
    std::array<DxrTraceCount, kSlotCount> counts{};
    EXPECT_EQ(kSlotCount, DxrTraceGetCounts(counts.data(), counts.size()));
    return counts[slot];
}

std::string_view NameOf(dxr_trace::Width width) {
    constexpr std::string_view kNames[] = {"void", "u8", "u16", "u32", "u64", "p"};
    return kNames[static_cast<size_t>(width)];
}

class TracedSlot : public testing::TestWithParam<Slot> {
  protected:
    ~TracedSlot() override { DxrTraceStop(); }

    // All bytes differ, the top bits are set; pointers lead to zeros, of which there are enough.
    [[nodiscard]] Words Arguments() {
        Words words = {};
        const std::vector<std::string> types = ArgumentTypes(slot_);
        for (size_t i = 0; i < types.size(); ++i) {
            words[i] = Sentinel(i) & Mask(types[i]);
            if (types[i] == "p") {
                words[i] = reinterpret_cast<Word>(memory_[i].data());
            } else if (types[i] == "u32") {
                words[i] &= 0x3F;  // what may count bytes stays within them
            }
        }
        for (const FixedArgument &fixed : slot_.fixed) {
            words[fixed.position] = fixed.value;
        }
        return words;
    }

    const Slot slot_ = GetParam();
    TestHost host_;
    alignas(16) std::array<std::array<char, 8192>, kMaxArguments> memory_ = {};
};

TEST_P(TracedSlot, HandsArgumentsAndResultOn) {
    RawTable table = {};
    table[slot_.Absolute()] = slot_.binding.recordingHook;
    if (NeedsItsNeighbour(slot_)) {
        table[slot_.Absolute() - 1] = slot_.binding.recordingHook;
    }
    const Words arguments = Arguments();
    for (const uint32_t mode : kModes) {
        Register(table);
        Start(mode);
        ASSERT_NE(table[slot_.Absolute()], Registered()[slot_.Absolute()]);
        uint64_t calls = 0;
        for (const Word result : {Word{0}, Word{0x21}, Word{0x80000000}, UINT64_MAX}) {
            if (slot_.outcome.type == "p" && result != 0) {
                g_recorder.result = reinterpret_cast<Word>(memory_[0].data());
            } else {
                g_recorder.result = result;
            }
            g_recorder.calls = 0;
            g_recorder.arguments = {};
            errno = 77;
            const Word got = slot_.binding.call(arguments);
            ++calls;
            EXPECT_EQ(77, errno);
            EXPECT_EQ(1U, g_recorder.calls);
            EXPECT_EQ(arguments, g_recorder.arguments);
            EXPECT_EQ(g_recorder.result & Mask(slot_.outcome.type), got);
        }
        const DxrTraceCount count = CountOf(slot_.Absolute());
        EXPECT_EQ(mode == DXR_TRACE_OFF ? 0 : calls, count.calls);
        EXPECT_EQ(mode == DXR_TRACE_OFF     ? 0
                  : mode == DXR_TRACE_CALLS ? calls
                                            : calls / 2,
                  count.timed);
        EXPECT_EQ(0U, DxrTraceStop());
        EXPECT_EQ(table, Registered());
    }
}

TEST_P(TracedSlot, EmptySlotStaysEmpty) {
    Register(RawTable{});
    Start(DXR_TRACE_COUNT);
    EXPECT_EQ(RawTable{}, Registered());
    const Word got = slot_.binding.call(Arguments());
    if (slot_.outcome.text == nullptr) {
        EXPECT_EQ(slot_.outcome.fallback, got);
    }
    EXPECT_EQ(0U, CountOf(slot_.Absolute()).calls);
}

TEST_P(TracedSlot, ListSaysWhatTheTypesSay) {
    const dxr_trace::SlotInfo &info = kSlots[slot_.Absolute()];
    // The list names this slot after the function that most modules call.
    const bool isRegister = slot_.name == "DXR_RegisterWithoutVelderFuncs";
    EXPECT_EQ(isRegister ? "DXR_Register" : slot_.name, info.name);
    EXPECT_EQ(info.name, DxrTraceSlotName(static_cast<uint32_t>(slot_.Absolute())));
    std::string widths;
    for (const dxr_trace::Parameter &parameter : info.parameters) {
        widths.append(widths.empty() ? "" : ", ").append(NameOf(parameter.width));
    }
    EXPECT_EQ(slot_.arguments, widths);
    EXPECT_EQ(slot_.outcome.type, NameOf(info.result));
    EXPECT_FALSE(info.isReserved);
}

std::vector<Slot> DispatchedSlots() {
    std::vector<Slot> slots;
    std::copy_if(ExpectedSlots().begin(), ExpectedSlots().end(), std::back_inserter(slots),
                 [](const Slot &slot) { return slot.use == Use::kDispatched; });
    return slots;
}

INSTANTIATE_TEST_SUITE_P(Slots, TracedSlot, testing::ValuesIn(DispatchedSlots()),
                         [](const testing::TestParamInfo<Slot> &slot) {
                             return std::string(slot.param.name);
                         });

// --- the slots with rules of their own

std::vector<std::string> g_lines;

class TracedPrint : public testing::Test {
  protected:
    TracedPrint() {
        g_lines.clear();
        DxrHooks hooks = {};
        hooks.print.print = Print;
        hooks.print.writePrivateLog = WritePrivateLog;
        hooks.print.logFilterFilterSameLog = [](void *handle, const char *text) -> uint32_t {
            g_lines.push_back((handle == &g_lines ? "same: " : "?: ") + std::string(text));
            return 32;
        };
        hooks.print.logFilterFilterDiffKeyLog = [](void *handle, const char *text) -> uint32_t {
            g_lines.push_back((handle == &g_lines ? "key: " : "?: ") + std::string(text));
            return 33;
        };
        EXPECT_EQ(0U, DXR_RegisterHooks(&hooks));
    }
    ~TracedPrint() override { DxrTraceStop(); }

    static void Print(uint32_t level, const char *format, ...) {
        std::va_list args;
        va_start(args, format);
        KeepLine(std::to_string(level), format, args);
        va_end(args);
    }

    static uint32_t WritePrivateLog(const char *name, const char *format, ...) {
        std::va_list args;
        va_start(args, format);
        KeepLine(name, format, args);
        va_end(args);
        return 31;
    }

    static void KeepLine(const std::string &head, const char *format, std::va_list args) {
        if (format == nullptr) {
            g_lines.push_back(head + ": no format");
            return;
        }
        std::array<char, 8192> text{};
        std::vsnprintf(text.data(), text.size(), format, args);
        g_lines.push_back(head + ": " + text.data());
    }

    TestHost host_;
};

// A null format, which the hook's type forbids to write down.
const char *NoFormat() {
    return nullptr;
}

TEST_F(TracedPrint, FormattedTextsComeOutTheSame) {
    const std::string longText(5000, 'x');
    for (const uint32_t mode : kModes) {
        Start(mode);
        g_lines.clear();
        const DxrPrintHook print = DXR_GetPrintHooks()->print;
        const DxrPrivateLogHook log = DXR_GetPrintHooks()->writePrivateLog;
        errno = 2;
        print(6, "%u of %s, %.2f%%", 3U, "port 7", 12.5);
        EXPECT_EQ(2, errno);
        print(1, "[%s]", longText.c_str());
        print(2, "%s", "");
        EXPECT_EQ(31U, log("events", "%d%c%s", -1, '%', "%s"));
        EXPECT_EQ(32U, DXR_GetPrintHooks()->logFilterFilterSameLog(&g_lines, "a %s"));
        EXPECT_EQ(33U, DXR_GetPrintHooks()->logFilterFilterDiffKeyLog(&g_lines, "b"));
        // NOLINTNEXTLINE(clang-diagnostic-format-security)
        reinterpret_cast<void (*)(uint32_t, const char *, ...)>(print)(5, NoFormat());
        const std::vector<std::string> expected = {"6: 3 of port 7, 12.50%",
                                                   "1: [" + longText + "]",
                                                   "2: ",
                                                   "events: -1%%s",
                                                   "same: a %s",
                                                   "key: b",
                                                   "5: no format"};
        EXPECT_EQ(expected, g_lines);
        const uint64_t counted = mode == DXR_TRACE_OFF ? 0 : 1;
        EXPECT_EQ(4 * counted, CountOf(118).calls);
        EXPECT_EQ(counted, CountOf(124).calls);
        EXPECT_EQ(counted, CountOf(127).calls);
        EXPECT_EQ(counted, CountOf(128).calls);
        EXPECT_EQ(0U, DxrTraceStop());
    }
}

// Lengths at which the text needs a block of its own, or just does not.
TEST_F(TracedPrint, TextsOfEveryLengthStayWhole) {
    Start(DXR_TRACE_COUNT);
    for (size_t length = 1000; length < 1050; ++length) {
        const std::string text(length, 'y');
        g_lines.clear();
        DXR_GetPrintHooks()->print(4, "%s", text.c_str());
        EXPECT_EQ(std::vector<std::string>{"4: " + text}, g_lines);
    }
}

uint32_t OtherLog(const char * /*name*/, const char * /*format*/, ...) {
    return 99;
}

thread_local std::jmp_buf g_out;

void JumpOut(uint32_t /*level*/, const char * /*format*/, ...) {
    std::longjmp(g_out, 1);
}

// Prints once more until level 5, and keeps its own text then.
void PrintWithin(uint32_t level, const char *format, ...) {
    static const std::string inner(3000, 'i');
    std::va_list args;
    va_start(args, format);
    const std::string text = va_arg(args, const char *);
    va_end(args);
    if (level < 5) {
        DXR_GetPrintHooks()->print(level + 1, "%s", inner.c_str());
    }
    g_lines.push_back(text);
}

// Nothing is formatted twice while nothing is noted.
TEST_F(TracedPrint, NothingStandsBeforeThemWhileNothingIsNoted) {
    const DxrPrintHook bare = DXR_GetPrintHooks()->print;
    const DxrPrivateLogHook bareLog = DXR_GetPrintHooks()->writePrivateLog;
    Start(DXR_TRACE_OFF);
    EXPECT_EQ(DXR_GetPrintHooks()->print, bare);
    EXPECT_EQ(DXR_GetPrintHooks()->writePrivateLog, bareLog);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(0U, DxrTraceSetMode(DXR_TRACE_COUNT));
        EXPECT_NE(DXR_GetPrintHooks()->print, bare);
        EXPECT_NE(DXR_GetPrintHooks()->writePrivateLog, bareLog);
        DXR_GetPrintHooks()->print(6, "%s", "counted");
        EXPECT_EQ(0U, DxrTraceSetMode(DXR_TRACE_OFF));
        EXPECT_EQ(DXR_GetPrintHooks()->print, bare);
        DXR_GetPrintHooks()->print(6, "%s", "not counted");
    }
    EXPECT_EQ(3U, CountOf(118).calls);
    // What the host puts there meanwhile is its own affair.
    DXR_GetPrintHooks()->print = nullptr;
    const DxrPrivateLogHook other = OtherLog;
    DXR_GetPrintHooks()->writePrivateLog = other;
    EXPECT_EQ(0U, DxrTraceSetMode(DXR_TRACE_COUNT));
    EXPECT_EQ(DXR_GetPrintHooks()->print, nullptr);
    EXPECT_EQ(DXR_GetPrintHooks()->writePrivateLog, other);
    EXPECT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(DXR_GetPrintHooks()->print, nullptr);
    EXPECT_EQ(DXR_GetPrintHooks()->writePrivateLog, other);
}

// A task that is cut off in the hook, without a way back, leaves no text behind when it is over.
TEST_F(TracedPrint, TextsOfTasksThatAreCutOffGoWithTheirThread) {
    DxrHooks hooks = {};
    hooks.print.print = JumpOut;
    EXPECT_EQ(0U, DXR_RegisterHooks(&hooks));
    Start(DXR_TRACE_COUNT);
    constexpr int kTimes = 2000;
    constexpr size_t kLength = 5000;
    const std::string text(kLength, 'x');
    const auto before = mallinfo2().uordblks;
    std::thread([&text] {
        static int round;  // outside of what the jump may restore
        for (round = 0; round < kTimes; ++round) {
            if (setjmp(g_out) == 0) {
                DXR_GetPrintHooks()->print(1, "[%s]", text.c_str());
            }
        }
    }).join();
    EXPECT_LT(mallinfo2().uordblks, before + kTimes * kLength / 4);
    EXPECT_EQ(uint64_t{kTimes}, CountOf(118).calls);
}

// A text that a hook writes while another one is on its way.
TEST_F(TracedPrint, TextsWithinTextsStayWhole) {
    const std::string inner(3000, 'i');
    DxrHooks hooks = {};
    hooks.print.print = PrintWithin;
    EXPECT_EQ(0U, DXR_RegisterHooks(&hooks));
    Start(DXR_TRACE_COUNT);
    const std::string outer(4000, 'o');
    DXR_GetPrintHooks()->print(1, "%s", outer.c_str());
    EXPECT_EQ((std::vector<std::string>{inner, inner, inner, inner, outer}), g_lines);
}

// --- the table as a whole

TEST(TraceTable, AllSlotsButTheReservedOnesAreWrapped) {
    const TestHost host;
    RawTable table = {};
    for (size_t i = 0; i < kSlotCount; ++i) {
        table[i] = std::bit_cast<Hook>(0x1000 + i);
    }
    Register(table);
    Start(DXR_TRACE_COUNT);
    const RawTable traced = Registered();
    std::set<Hook> different;
    for (const Slot &slot : ExpectedSlots()) {
        const size_t place = slot.Absolute();
        if (slot.use == Use::kUnread) {
            EXPECT_EQ(table[place], traced[place]) << slot.name;
            EXPECT_TRUE(kSlots[place].isReserved) << slot.name;
        } else {
            EXPECT_EQ(Wrappers()[place], traced[place]) << slot.name;
            EXPECT_TRUE(different.insert(traced[place]).second) << slot.name;
        }
    }
    EXPECT_EQ(220U, different.size());
    EXPECT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(table, Registered());
    DXR_RegisterHooks(nullptr);
}

// A text that no rule knows would not be seen; a rule must fit its slot.
TEST(TraceTable, PointersFitTheirSlots) {
    using dxr_trace::Extent;
    using dxr_trace::Width;
    for (size_t i = 0; i < kSlotCount; ++i) {
        const dxr_trace::SlotInfo &slot = kSlots[i];
        EXPECT_LE(slot.parameters.size(), dxr_trace::kMostParameters);
        const auto count = [&slot](dxr_trace::Direction when) {
            return std::count_if(slot.pointers.begin(), slot.pointers.end(),
                                 [when](const dxr_trace::PointerRule &rule) {
                                     return (static_cast<unsigned>(rule.direction) &
                                             static_cast<unsigned>(when)) != 0;
                                 });
        };
        constexpr auto kMost = static_cast<std::ptrdiff_t>(dxr_trace::kMostPieces);
        EXPECT_LE(count(dxr_trace::Direction::kIn) + (slot.isVariadic ? 1 : 0), kMost) << slot.name;
        EXPECT_LE(count(dxr_trace::Direction::kOut), kMost) << slot.name;
        std::set<std::string> names;
        for (const dxr_trace::PointerRule &rule : slot.pointers) {
            EXPECT_TRUE(names.insert(rule.name).second) << slot.name << " " << rule.name;
            if (rule.parameter == dxr_trace::kResultPlace) {
                EXPECT_EQ(Width::kPointer, slot.result) << slot.name;
            } else {
                ASSERT_LT(rule.parameter, slot.parameters.size()) << slot.name;
                EXPECT_EQ(Width::kPointer, slot.parameters[rule.parameter].width) << slot.name;
            }
            const bool countedByParameter =
                rule.extent == Extent::kTextWithin || rule.extent == Extent::kArgument ||
                rule.extent == Extent::kProduct || rule.extent == Extent::kResult;
            if (countedByParameter) {
                ASSERT_LT(rule.first, slot.parameters.size()) << slot.name;
                EXPECT_EQ(Width::kU32, slot.parameters[rule.first].width) << slot.name;
            }
            if (rule.extent == Extent::kFixed) {
                EXPECT_GT(rule.first, 0U) << slot.name;
            }
        }
    }
    EXPECT_EQ(nullptr, DxrTraceSlotName(kSlotCount));
    EXPECT_STREQ("Print.print", DxrTraceSlotName(118));
}

// What start and stop write to a slot, when somebody has emptied or filled it in between.
TEST(TraceTable, SlotsThatAreChangedMeanwhileStayAsTheyAre) {
    const dxr_trace::Hook one = [] {};
    const dxr_trace::Hook two = reinterpret_cast<dxr_trace::Hook>(&JumpOut);
    for (const dxr_trace::Hook meanwhile : {dxr_trace::Hook{nullptr}, two}) {
        dxr_trace::Cell cell = meanwhile;
        dxr_trace::Exchange(cell, one, reinterpret_cast<dxr_trace::Hook>(&OtherLog));
        EXPECT_EQ(cell, meanwhile);
    }
    dxr_trace::Cell cell = one;
    dxr_trace::Exchange(cell, one, two);
    EXPECT_EQ(cell, two);
}

}  // namespace
}  // namespace dxrtest
