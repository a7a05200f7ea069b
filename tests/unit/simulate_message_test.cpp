#include "dxr/simulate_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#if defined(__x86_64__)
#include <signal.h>
#include <x86intrin.h>
#endif

#include <array>
#include <cstdarg>
#include <cstring>
#include <string>
#include <vector>

#include "support/test_host.h"
#include "unit/simulate_message_c_caller.h"

namespace {

using dxrtest::GuardedBuffer;
using dxrtest::TestHost;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kHeader[] =
    "\r\n   Simulate ID                Message Name[Type]           Remain Lost Count\r\n";
constexpr char kUnregistered[] = "dump simulate msg failed, simulate msg map is unregistered";
constexpr uint32_t kMax = 0xFFFFFFFF;

// Before any test registers.
const DxrSimulateMsg *const kMapAtLoad = DXR_GetSimulateMsgMap();
const uint32_t kMapSizeAtLoad = DXR_GetSimulateMsgMapSize();

std::vector<unsigned char> BytesOf(const std::vector<DxrSimulateMsg> &table) {
    std::vector<unsigned char> bytes(table.size() * sizeof(DxrSimulateMsg));
    std::memcpy(bytes.data(), table.data(), bytes.size());
    return bytes;
}

// What a text of the given length looks like in a buffer too small or large enough.
void ExpectText(const GuardedBuffer &buffer, const std::string &whole) {
    EXPECT_TRUE(buffer.Intact()) << buffer.Size();
    if (buffer.Size() == 0) {
        return;
    }
    EXPECT_TRUE(buffer.Terminated()) << buffer.Size();
    EXPECT_EQ(buffer.Text(), whole.substr(0, buffer.Size() - 1)) << buffer.Size();
}

class SimulateMessage : public testing::Test {
  protected:
    SimulateMessage() {
        host_.WithPrint();
        DXR_RegisterSimulateMsgMap(nullptr, 0);
    }
    ~SimulateMessage() override { DXR_RegisterSimulateMsgMap(nullptr, 0); }

    void Register() {
        DXR_RegisterSimulateMsgMap(table_.data(), static_cast<uint32_t>(table_.size()));
    }
    static std::string Set(uint32_t id, uint32_t lostCnt) {
        GuardedBuffer buffer(200);
        DXR_SetSimulateMsgLost(id, lostCnt, buffer.Data(), 200);
        EXPECT_TRUE(buffer.Intact());
        return buffer.Text();
    }
    static std::string Display() {
        GuardedBuffer buffer(2000);
        DXR_DisplaySimulateMsgLost(buffer.Data(), 2000);
        EXPECT_TRUE(buffer.Intact());
        return buffer.Text();
    }

    TestHost host_;
    std::vector<DxrSimulateMsg> table_ = {
        {1, 100, 0, "alpha"}, {2, 200, 3, "beta"}, {3, 300, 0, "gamma"}};
};

// --- registration

TEST_F(SimulateMessage, NothingIsRegisteredAtFirst) {
    EXPECT_EQ(kMapAtLoad, nullptr);
    EXPECT_EQ(kMapSizeAtLoad, 0u);
}

TEST_F(SimulateMessage, RegisteringKeepsAddressAndSizeAsGiven) {
    const std::vector<unsigned char> before = BytesOf(table_);
    DXR_RegisterSimulateMsgMap(table_.data(), kMax);
    EXPECT_EQ(DXR_GetSimulateMsgMap(), table_.data());
    EXPECT_EQ(DXR_GetSimulateMsgMapSize(), kMax);
    EXPECT_EQ(BytesOf(table_), before);
}

TEST_F(SimulateMessage, RegisteringAgainReplaces) {
    Register();
    std::array<DxrSimulateMsg, 1> other = {{{9, 900, 1, "other"}}};
    DXR_RegisterSimulateMsgMap(other.data(), 1);
    EXPECT_EQ(DXR_GetSimulateMsgMap(), other.data());
    EXPECT_EQ(DXR_GetSimulateMsgMapSize(), 1u);
    EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(1), nullptr);
    EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(9), other.data());
}

TEST_F(SimulateMessage, RegisteringNullKeepsItsSize) {
    Register();
    DXR_RegisterSimulateMsgMap(nullptr, 7);
    EXPECT_EQ(DXR_GetSimulateMsgMap(), nullptr);
    EXPECT_EQ(DXR_GetSimulateMsgMapSize(), 7u);
    EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(1), nullptr);
    EXPECT_EQ(DXR_GetSimulateMsgByMsgType(100), nullptr);
    EXPECT_EQ(DXR_IsSimulateMsgLost(200), 0);
    EXPECT_EQ(Set(1, 5), "set simulate msg lost[5] failed, id[1]");
    EXPECT_EQ(Display(), kUnregistered);
}

// HOST-24
TEST_F(SimulateMessage, TheTableIsNotCopied) {
    Register();
    table_[1].simulateId = 77;
    EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(77), &table_[1]);
    EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(2), nullptr);
}

// A host built elsewhere knows nothing but the offsets.
TEST_F(SimulateMessage, EntriesLieTwentyBytesApart) {
    constexpr size_t kStride = 20;
    alignas(4) std::array<unsigned char, 2 *kStride> bytes = {};
    const char *const name = "raw";
    for (uint32_t i = 0; i < 2; ++i) {
        const std::array<uint32_t, 3> words = {10 + i, 20 + i, 30 + i};
        std::memcpy(&bytes[i * kStride], words.data(), 12);
        std::memcpy(&bytes[i * kStride + 12], &name, 8);
    }
    DXR_RegisterSimulateMsgMap(reinterpret_cast<DxrSimulateMsg *>(bytes.data()), 2);

    EXPECT_EQ(Set(11, 0x01020304), "simulate msg[21][raw] lost[16909060] success, id[11]");
    uint32_t lostCnt = 0;
    std::memcpy(&lostCnt, &bytes[kStride + 8], 4);
    EXPECT_EQ(lostCnt, 0x01020304u);
}

// --- comparisons and search

TEST_F(SimulateMessage, ComparisonsLookAtTheirOwnFieldOnly) {
    const DxrSimulateMsg entry = {5, 6, 7, "x"};
    EXPECT_EQ(DXR_IsSameSimulateId(&entry, 5), 1);
    EXPECT_EQ(DXR_IsSameSimulateId(&entry, 6), 0);
    EXPECT_EQ(DXR_IsSameSimulateId(&entry, 7), 0);
    EXPECT_EQ(DXR_IsSameMsgType(&entry, 6), 1);
    EXPECT_EQ(DXR_IsSameMsgType(&entry, 5), 0);
    EXPECT_EQ(DXR_IsSameMsgType(&entry, 7), 0);
}

TEST_F(SimulateMessage, ComparisonsUseAllBits) {
    const DxrSimulateMsg entry = {0x80000001, 0x01000100, 0, "x"};
    EXPECT_EQ(DXR_IsSameSimulateId(&entry, 0x80000001), 1);
    EXPECT_EQ(DXR_IsSameMsgType(&entry, 0x01000100), 1);
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        EXPECT_EQ(DXR_IsSameSimulateId(&entry, 0x80000001 ^ bit), 0) << bit;
        EXPECT_EQ(DXR_IsSameMsgType(&entry, 0x01000100 ^ bit), 0) << bit;
    }
}

// What the comparisons below are asked and what they do meanwhile.
struct Comparison {
    std::vector<const DxrSimulateMsg *> entries;
    std::vector<uint32_t> keys;
    const DxrSimulateMsg *match = nullptr;
    uint8_t answer = 1;
    uint32_t registerAt = 0;  // on the n-th question (1: the first) ...
    DxrSimulateMsg *newMap = nullptr;
    uint32_t newSize = 0;  // ... these are registered
};
Comparison *g_comparison = nullptr;

uint8_t Compare(const DxrSimulateMsg *entry, uint32_t key) {
    Comparison &comparison = *g_comparison;
    comparison.entries.push_back(entry);
    comparison.keys.push_back(key);
    if (comparison.entries.size() == comparison.registerAt) {
        DXR_RegisterSimulateMsgMap(comparison.newMap, comparison.newSize);
    }
    return entry == comparison.match ? comparison.answer : uint8_t{0};
}

class SimulateMessageSearch : public SimulateMessage {
  protected:
    SimulateMessageSearch() { g_comparison = &comparison_; }
    ~SimulateMessageSearch() override { g_comparison = nullptr; }
    Comparison comparison_;
};

TEST_F(SimulateMessageSearch, AsksEveryEntryInOrderWithTheKey) {
    Register();
    EXPECT_EQ(DXR_GetSimulateMsg(Compare, 42), nullptr);
    EXPECT_THAT(comparison_.entries, ElementsAre(&table_[0], &table_[1], &table_[2]));
    EXPECT_THAT(comparison_.keys, ElementsAre(42u, 42u, 42u));
}

TEST_F(SimulateMessageSearch, StopsAtTheMatch) {
    Register();
    comparison_.match = &table_[1];
    EXPECT_EQ(DXR_GetSimulateMsg(Compare, 1), &table_[1]);
    EXPECT_THAT(comparison_.entries, ElementsAre(&table_[0], &table_[1]));
}

TEST_F(SimulateMessageSearch, AnyNonZeroAnswerIsAMatch) {
    Register();
    comparison_.match = &table_[2];
    for (const int answer : {1, 2, 0x80, 0xFF}) {
        comparison_.answer = static_cast<uint8_t>(answer);
        EXPECT_EQ(DXR_GetSimulateMsg(Compare, 1), &table_[2]) << answer;
    }
}

TEST_F(SimulateMessageSearch, AsksNobodyWithoutATable) {
    DXR_RegisterSimulateMsgMap(nullptr, 3);
    EXPECT_EQ(DXR_GetSimulateMsg(Compare, 1), nullptr);
    EXPECT_THAT(comparison_.entries, IsEmpty());
}

TEST_F(SimulateMessageSearch, AsksNobodyInATableOfSizeZero) {
    DXR_RegisterSimulateMsgMap(table_.data(), 0);
    comparison_.match = &table_[0];
    EXPECT_EQ(DXR_GetSimulateMsg(Compare, 1), nullptr);
    EXPECT_THAT(comparison_.entries, IsEmpty());
}

TEST_F(SimulateMessageSearch, ATableShortenedMeanwhileEndsTheSearch) {
    Register();
    comparison_.registerAt = 1;
    comparison_.newMap = table_.data();
    comparison_.newSize = 2;
    comparison_.match = &table_[2];
    EXPECT_EQ(DXR_GetSimulateMsg(Compare, 1), nullptr);
    EXPECT_THAT(comparison_.entries, ElementsAre(&table_[0], &table_[1]));
}

TEST_F(SimulateMessageSearch, ATableLengthenedMeanwhileIsSearchedFurther) {
    DXR_RegisterSimulateMsgMap(table_.data(), 1);
    comparison_.registerAt = 1;
    comparison_.newMap = table_.data();
    comparison_.newSize = 3;
    comparison_.match = &table_[2];
    EXPECT_EQ(DXR_GetSimulateMsg(Compare, 1), &table_[2]);
}

TEST_F(SimulateMessageSearch, TheTableIsReadOnceAndItsSizeAnew) {
    Register();
    std::array<DxrSimulateMsg, 3> other = {};
    comparison_.registerAt = 1;
    comparison_.newMap = other.data();
    comparison_.newSize = 2;
    EXPECT_EQ(DXR_GetSimulateMsg(Compare, 1), nullptr);
    EXPECT_THAT(comparison_.entries, ElementsAre(&table_[0], &table_[1]));
    EXPECT_EQ(DXR_GetSimulateMsgMap(), other.data());
}

TEST_F(SimulateMessageSearch, AMatchThatUnregistersIsStillReturned) {
    Register();
    comparison_.registerAt = 2;
    comparison_.match = &table_[1];
    EXPECT_EQ(DXR_GetSimulateMsg(Compare, 1), &table_[1]);
    EXPECT_EQ(DXR_GetSimulateMsgMap(), nullptr);
}

TEST_F(SimulateMessage, LookupsFindByTheirField) {
    Register();
    for (DxrSimulateMsg &entry : table_) {
        EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(entry.simulateId), &entry);
        EXPECT_EQ(DXR_GetSimulateMsgByMsgType(entry.msgType), &entry);
    }
    EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(100), nullptr);
    EXPECT_EQ(DXR_GetSimulateMsgByMsgType(1), nullptr);
}

TEST_F(SimulateMessage, TheFirstOfEqualEntriesWins) {
    table_ = {{1, 5, 0, "a"}, {2, 6, 0, "b"}, {2, 5, 0, "c"}};
    Register();
    EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(2), &table_[1]);
    EXPECT_EQ(DXR_GetSimulateMsgByMsgType(5), &table_[0]);
}

TEST_F(SimulateMessage, EntriesBeyondTheSizeAreNotFound) {
    DXR_RegisterSimulateMsgMap(table_.data(), 2);
    EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(2), &table_[1]);
    EXPECT_EQ(DXR_GetSimulateMsgBySimluateId(3), nullptr);
    EXPECT_EQ(DXR_GetSimulateMsgByMsgType(300), nullptr);
}

// --- setting

TEST_F(SimulateMessage, SettingReplacesTheCountAndSaysSo) {
    Register();
    EXPECT_EQ(Set(2, 9), "simulate msg[200][beta] lost[9] success, id[2]");
    EXPECT_EQ(table_[1].lostCnt, 9u);
    EXPECT_EQ(Set(2, 0), "simulate msg[200][beta] lost[0] success, id[2]");
    EXPECT_EQ(table_[1].lostCnt, 0u);
    EXPECT_THAT(host_.printed, IsEmpty());
}

TEST_F(SimulateMessage, SettingWritesTheCountAlone) {
    Register();
    std::vector<DxrSimulateMsg> expected = table_;
    expected[2].lostCnt = 4;
    Set(3, 4);
    EXPECT_EQ(BytesOf(table_), BytesOf(expected));
}

TEST_F(SimulateMessage, NumbersAreUnsignedInTheTexts) {
    table_ = {{kMax, kMax - 1, 0, "top"}};
    Register();
    EXPECT_EQ(Set(kMax, kMax),
              "simulate msg[4294967294][top] lost[4294967295] success, id[4294967295]");
    EXPECT_EQ(Set(kMax - 2, kMax - 3), "set simulate msg lost[4294967292] failed, id[4294967293]");
}

TEST_F(SimulateMessage, SettingAnUnknownIdFailsAndChangesNothing) {
    Register();
    const std::vector<unsigned char> before = BytesOf(table_);
    EXPECT_EQ(Set(200, 6), "set simulate msg lost[6] failed, id[200]");
    EXPECT_EQ(BytesOf(table_), before);
}

TEST_F(SimulateMessage, SettingWithoutATableFails) {
    EXPECT_EQ(Set(1, 6), "set simulate msg lost[6] failed, id[1]");
}

TEST_F(SimulateMessage, SettingInATableOfSizeZeroFails) {
    DXR_RegisterSimulateMsgMap(table_.data(), 0);
    EXPECT_EQ(Set(2, 6), "set simulate msg lost[6] failed, id[2]");
    EXPECT_EQ(table_[1].lostCnt, 3u);
}

TEST_F(SimulateMessage, SettingTakesTheFirstOfEqualIds) {
    table_ = {{7, 1, 0, "a"}, {7, 2, 0, "b"}};
    Register();
    EXPECT_EQ(Set(7, 5), "simulate msg[1][a] lost[5] success, id[7]");
    EXPECT_EQ(table_[0].lostCnt, 5u);
    EXPECT_EQ(table_[1].lostCnt, 0u);
}

TEST_F(SimulateMessage, SettingFillsABufferOfAnySize) {
    Register();
    const std::string success = "simulate msg[200][beta] lost[12] success, id[2]";
    const std::string failure = "set simulate msg lost[12] failed, id[4]";
    for (uint32_t size = 0; size <= success.size() + 3; ++size) {
        table_[1].lostCnt = 0;
        GuardedBuffer found(size);
        DXR_SetSimulateMsgLost(2, 12, found.Data(), size);
        ExpectText(found, success);
        EXPECT_EQ(table_[1].lostCnt, 12u) << size;

        GuardedBuffer unknown(size);
        DXR_SetSimulateMsgLost(4, 12, unknown.Data(), size);
        ExpectText(unknown, failure);
    }
}

TEST_F(SimulateMessage, SettingWorksWithoutABuffer) {
    Register();
    DXR_SetSimulateMsgLost(2, 8, nullptr, 100);
    EXPECT_EQ(table_[1].lostCnt, 8u);
    DXR_SetSimulateMsgLost(4, 8, nullptr, 100);
    DXR_SetSimulateMsgLost(4, 8, nullptr, 0);
}

// --- dropping

TEST_F(SimulateMessage, AsManyMessagesAreDroppedAsWereSet) {
    Register();
    Set(1, 2);
    EXPECT_EQ(DXR_IsSimulateMsgLost(100), 1);
    EXPECT_EQ(DXR_IsSimulateMsgLost(100), 1);
    EXPECT_EQ(DXR_IsSimulateMsgLost(100), 0);
    EXPECT_EQ(DXR_IsSimulateMsgLost(100), 0);
    EXPECT_EQ(table_[0].lostCnt, 0u);

    ASSERT_EQ(host_.printed.size(), 2u);
    EXPECT_EQ(host_.printed[0].level, 6u);
    EXPECT_EQ(host_.printed[0].format, "simulate msg[%u][%s]lost, remain [%u] times");
    EXPECT_EQ(host_.printed[0].text, "simulate msg[100][alpha]lost, remain [1] times");
    EXPECT_EQ(host_.printed[1].level, 6u);
    EXPECT_EQ(host_.printed[1].text, "simulate msg[100][alpha]lost, remain [0] times");
}

TEST_F(SimulateMessage, DroppingWritesTheCountAlone) {
    Register();
    std::vector<DxrSimulateMsg> expected = table_;
    expected[1].lostCnt = 2;
    EXPECT_EQ(DXR_IsSimulateMsgLost(200), 1);
    EXPECT_EQ(BytesOf(table_), BytesOf(expected));
}

TEST_F(SimulateMessage, TheLargestCountGoesDownByOne) {
    Register();
    Set(3, kMax);
    EXPECT_EQ(DXR_IsSimulateMsgLost(300), 1);
    EXPECT_EQ(table_[2].lostCnt, kMax - 1);
    EXPECT_EQ(host_.printed.back().text, "simulate msg[300][gamma]lost, remain [4294967294] times");
}

TEST_F(SimulateMessage, UnknownTypesAndEmptyCountsAreNotDropped) {
    Register();
    EXPECT_EQ(DXR_IsSimulateMsgLost(2), 0);
    EXPECT_EQ(DXR_IsSimulateMsgLost(100), 0);
    EXPECT_EQ(table_[0].lostCnt, 0u);
    EXPECT_THAT(host_.printed, IsEmpty());
}

TEST_F(SimulateMessage, NothingIsDroppedWithoutATable) {
    EXPECT_EQ(DXR_IsSimulateMsgLost(200), 0);
    DXR_RegisterSimulateMsgMap(table_.data(), 0);
    EXPECT_EQ(DXR_IsSimulateMsgLost(200), 0);
    EXPECT_EQ(table_[1].lostCnt, 3u);
}

TEST_F(SimulateMessage, OnlyTheFirstEntryOfATypeIsConsulted) {
    table_ = {{1, 50, 1, "first"}, {2, 50, 9, "second"}};
    Register();
    EXPECT_EQ(DXR_IsSimulateMsgLost(50), 1);
    EXPECT_EQ(DXR_IsSimulateMsgLost(50), 0);
    EXPECT_EQ(table_[1].lostCnt, 9u);
}

TEST_F(SimulateMessage, TheMessageIsDroppedWithoutAPrintHook) {
    g_dxrHooks.print.print = nullptr;
    Register();
    EXPECT_EQ(DXR_IsSimulateMsgLost(200), 1);
    EXPECT_EQ(table_[1].lostCnt, 2u);
    EXPECT_THAT(host_.printed, IsEmpty());
}

// --- a count that another thread changes

#if defined(__x86_64__)

// The processor stops after each instruction, and what another thread may write between two of them
// is written there.
class SimulateMessageStepByStep : public SimulateMessage {
  protected:
    SimulateMessageStepByStep() {
        struct sigaction action = {};
        action.sa_handler = OnInstruction;
        sigaction(SIGTRAP, &action, &before_);
        DXR_RegisterSimulateMsgMap(&entry_, 1);
        g_dxrHooks.print.print = Print;
    }
    ~SimulateMessageStepByStep() override { sigaction(SIGTRAP, &before_, nullptr); }

    static void StopAfterEachInstruction() { __writeeflags(__readeflags() | kTrap); }
    static void StopNoMore() { __writeeflags(__readeflags() & ~kTrap); }

    // Asks with a count of 1, and writes another after that many instructions.
    static uint8_t IsLost(uint32_t writeAfter, uint32_t written) {
        entry_.lostCnt = 1;
        steps_ = 0;
        writeAfter_ = writeAfter;
        written_ = written;
        printedRemain_ = 0;
        StopAfterEachInstruction();
        const uint8_t lost = DXR_IsSimulateMsgLost(entry_.msgType);
        StopNoMore();
        return lost;
    }

    static DxrSimulateMsg entry_;
    static volatile uint32_t steps_;
    static uint32_t writeAfter_;
    static uint32_t written_;
    static uint32_t printedRemain_;

  private:
    static constexpr unsigned long long kTrap = 0x100;  // flag of the processor

    static void OnInstruction(int) {
        steps_ = steps_ + 1;
        if (steps_ == writeAfter_) {
            entry_.lostCnt = written_;
        }
    }
    // Nothing of the count is read after it.
    static void Print(uint32_t, const char *format, ...) {
        StopNoMore();
        std::va_list args;
        va_start(args, format);
        static_cast<void>(va_arg(args, uint32_t));
        static_cast<void>(va_arg(args, const char *));
        printedRemain_ = va_arg(args, uint32_t);
        va_end(args);
    }

    struct sigaction before_ = {};
};

DxrSimulateMsg SimulateMessageStepByStep::entry_ = {1, 100, 0, "shared"};
volatile uint32_t SimulateMessageStepByStep::steps_ = 0;
uint32_t SimulateMessageStepByStep::writeAfter_ = 0;
uint32_t SimulateMessageStepByStep::written_ = 0;
uint32_t SimulateMessageStepByStep::printedRemain_ = 0;

TEST_F(SimulateMessageStepByStep, TheCountIsReadOnceHoweverItChanges) {
    StopAfterEachInstruction();
    StopNoMore();
    if (steps_ == 0) {
        GTEST_SKIP() << "this processor, which may be an emulated one, does not stop";
    }
    EXPECT_EQ(IsLost(0, 0), 1);  // once undisturbed, which also looks up the addresses
    EXPECT_EQ(entry_.lostCnt, 0U);
    for (const uint32_t written : {0U, 5U}) {
        // One less than what was there first, or than what was written.
        const uint32_t otherRemain = written == 0 ? 0 : written - 1;
        std::array<uint32_t, 2> answers = {};
        for (uint32_t after = 1;; ++after) {
            const uint8_t lost = IsLost(after, written);
            if (steps_ < after) {
                break;
            }
            ASSERT_LE(lost, 1);
            ++answers[lost];
            ASSERT_THAT(printedRemain_, AnyOf(0U, otherRemain)) << after << " instructions";
            ASSERT_THAT(entry_.lostCnt, AnyOf(0U, written, otherRemain)) << after;
        }
        EXPECT_GT(answers[1], 0U);
        EXPECT_EQ(answers[0] > 0, written == 0);
    }
}

#endif

// --- display

TEST_F(SimulateMessage, DisplaySaysThatNothingIsRegistered) {
    EXPECT_EQ(Display(), kUnregistered);
}

TEST_F(SimulateMessage, DisplayOfATableOfSizeZeroIsTheHeader) {
    DXR_RegisterSimulateMsgMap(table_.data(), 0);
    EXPECT_EQ(Display(), kHeader);
}

TEST_F(SimulateMessage, DisplayHasARowForEachEntry) {
    Register();
    EXPECT_EQ(Display(),
              std::string(kHeader) +
                  "       1                             alpha[100]                    0\r\n"
                  "       2                              beta[200]                    3\r\n"
                  "       3                             gamma[300]                    0\r\n");
    EXPECT_THAT(host_.printed, IsEmpty());
}

TEST_F(SimulateMessage, DisplayShiftsRowsOfWideValues) {
    table_ = {{kMax, kMax, kMax, "a name of twenty-five let"},
              {1, 2, 3, "exactly twenty chars"},
              {1, 2, 3, ""}};
    Register();
    EXPECT_EQ(Display(),
              std::string(kHeader) +
                  "     4294967295              a name of twenty-five let[4294967295]"
                  "                  4294967295\r\n"
                  "       1              exactly twenty chars[  2]                    3\r\n"
                  "       1                                  [  2]                    3\r\n");
}

TEST_F(SimulateMessage, DisplayShowsWhatRemains) {
    Register();
    DXR_IsSimulateMsgLost(200);
    EXPECT_NE(Display().find("beta[200]                    2\r\n"), std::string::npos);
}

TEST_F(SimulateMessage, DisplayFillsABufferOfAnySize) {
    const std::string unregistered = kUnregistered;
    for (uint32_t size = 0; size <= unregistered.size() + 3; ++size) {
        GuardedBuffer buffer(size);
        DXR_DisplaySimulateMsgLost(buffer.Data(), size);
        ExpectText(buffer, unregistered);
    }
    Register();
    const std::string whole = Display();
    for (uint32_t size = 0; size <= whole.size() + 3; ++size) {
        GuardedBuffer buffer(size);
        DXR_DisplaySimulateMsgLost(buffer.Data(), size);
        ExpectText(buffer, whole);
    }
}

TEST_F(SimulateMessage, DisplayWithoutABufferEnds) {
    DXR_DisplaySimulateMsgLost(nullptr, 100);
    Register();
    DXR_DisplaySimulateMsgLost(nullptr, 100);
    DXR_DisplaySimulateMsgLost(nullptr, 0);
}

// --- from C

TEST_F(SimulateMessage, EveryFunctionServesCallersInC) {
    EXPECT_EQ(SimulateMessageCallsFromC(), 0) << "number of the first step that failed";
}

}  // namespace
