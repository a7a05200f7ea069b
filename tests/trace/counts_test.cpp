// Start, stop, modes and counts, by the public header.
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "dxr_trace.h"
#include "support/test_host.h"

namespace {

constexpr uint32_t kReadRegSlot = 53;
constexpr uint32_t kWriteRegSlot = 54;
constexpr uint32_t kSlots = 226;

uint32_t ReadReg(uint32_t, uint32_t, uint32_t, void *) {
    return 4;
}

// A hook that calls another one.
uint32_t WriteReg(uint32_t unit, uint32_t chip, uint32_t address, uint32_t value) {
    return value == 0 ? 5 : DXR_WriteReg(unit, chip, address, value - 1);
}

DxrTraceCount CountOf(uint32_t slot) {
    std::array<DxrTraceCount, kSlots> counts{};
    EXPECT_EQ(kSlots, DxrTraceGetCounts(counts.data(), kSlots));
    return counts[slot];
}

DxrTraceOptions Counting(uint32_t timedCalls) {
    DxrTraceOptions options;
    DxrTraceInitOptions(&options);
    options.timedCalls = timedCalls;
    return options;
}

class TraceCounts : public testing::Test {
  protected:
    TraceCounts() {
        hooks_.dev.readReg = ReadReg;
        hooks_.dev.writeReg = WriteReg;
        EXPECT_EQ(0U, DXR_RegisterHooks(&hooks_));
    }
    ~TraceCounts() override { DxrTraceStop(); }

    static void Read(unsigned times) {
        for (unsigned i = 0; i < times; ++i) {
            ASSERT_EQ(4U, DXR_ReadReg(1, 2, 3, nullptr));
        }
    }

    [[nodiscard]] bool IsBare() const {
        return std::memcmp(&hooks_, &g_dxrHooks, sizeof(hooks_)) == 0;
    }

    dxrtest::TestHost host_;
    DxrHooks hooks_ = {};
};

TEST_F(TraceCounts, DefaultsCount) {
    EXPECT_EQ(DXR_TRACE_OFF, DxrTraceGetMode());
    EXPECT_EQ(0U, DxrTraceStart(nullptr));
    EXPECT_EQ(DXR_TRACE_COUNT, DxrTraceGetMode());
    EXPECT_FALSE(IsBare());
    Read(33);
    const DxrTraceCount count = CountOf(kReadRegSlot);
    EXPECT_EQ(33U, count.calls);
    EXPECT_EQ(3U, count.timed);
    EXPECT_GE(count.maxNs, 1U);
    EXPECT_LE(count.p50Ns, count.p90Ns);
    EXPECT_LE(count.p90Ns, count.p99Ns);
    EXPECT_LE(count.p99Ns, count.p999Ns);
    EXPECT_LE(count.p999Ns, count.maxNs);
    EXPECT_EQ(0U, CountOf(kWriteRegSlot).calls);
    EXPECT_EQ(0U, CountOf(kWriteRegSlot).maxNs);
    EXPECT_EQ(0U, DxrTraceGetUnnoted());
}

TEST_F(TraceCounts, WrongOptionsChangeNothing) {
    const DxrTraceOptions good = Counting(16);
    std::vector<DxrTraceOptions> wrong(6, good);
    wrong[0].size = 0;
    wrong[1].size = sizeof(DxrTraceOptions) + 1;
    wrong[2].mode = 77;
    wrong[3].timedCalls = 0;
    wrong[4].timedCalls = 3;
    wrong[5].timedCalls = 131072;
    for (const DxrTraceOptions &options : wrong) {
        EXPECT_EQ(uint32_t{EINVAL}, DxrTraceStart(&options));
        EXPECT_TRUE(IsBare());
    }
    EXPECT_EQ(uint32_t{EALREADY}, DxrTraceStop());
    EXPECT_EQ(uint32_t{EALREADY}, DxrTraceSetMode(DXR_TRACE_COUNT));
    EXPECT_EQ(0U, DxrTraceStart(&good));
    EXPECT_EQ(uint32_t{EALREADY}, DxrTraceStart(&good));
    EXPECT_EQ(uint32_t{EINVAL}, DxrTraceSetMode(77));
    EXPECT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(uint32_t{EALREADY}, DxrTraceStop());
    EXPECT_TRUE(IsBare());
}

TEST_F(TraceCounts, CountsStayUntilTheNextStart) {
    const DxrTraceOptions options = Counting(1);
    EXPECT_EQ(0U, DxrTraceStart(&options));
    Read(5);
    EXPECT_EQ(0U, DxrTraceStop());
    Read(5);
    EXPECT_EQ(5U, CountOf(kReadRegSlot).calls);
    EXPECT_EQ(5U, CountOf(kReadRegSlot).timed);
    EXPECT_EQ(0U, DxrTraceStart(&options));
    EXPECT_EQ(0U, CountOf(kReadRegSlot).calls);
    EXPECT_EQ(0U, CountOf(kReadRegSlot).timed);
    EXPECT_EQ(0U, CountOf(kReadRegSlot).maxNs);
    Read(2);
    EXPECT_EQ(2U, CountOf(kReadRegSlot).calls);
}

TEST_F(TraceCounts, ModeSwitchesWhileTheTraceStands) {
    const DxrTraceOptions options = Counting(1);
    EXPECT_EQ(0U, DxrTraceStart(&options));
    Read(1);
    EXPECT_EQ(0U, DxrTraceSetMode(DXR_TRACE_OFF));
    EXPECT_EQ(DXR_TRACE_OFF, DxrTraceGetMode());
    Read(10);
    EXPECT_EQ(0U, DxrTraceSetMode(DXR_TRACE_COUNT));
    Read(3);
    EXPECT_EQ(4U, CountOf(kReadRegSlot).calls);
    EXPECT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(DXR_TRACE_OFF, DxrTraceGetMode());
}

TEST_F(TraceCounts, HooksThatCallHooksAreCountedEach) {
    const DxrTraceOptions options = Counting(1);
    EXPECT_EQ(0U, DxrTraceStart(&options));
    EXPECT_EQ(5U, DXR_WriteReg(1, 2, 3, 9));
    EXPECT_EQ(10U, CountOf(kWriteRegSlot).calls);
    EXPECT_EQ(10U, CountOf(kWriteRegSlot).timed);
}

// What a host does to its table meanwhile stays.
TEST_F(TraceCounts, SlotsThatTheHostReplacedAreLeftAlone) {
    EXPECT_EQ(0U, DxrTraceStart(nullptr));
    DXR_GetDevHooks()->readReg = [](uint32_t, uint32_t, uint32_t, void *) -> uint32_t { return 6; };
    DXR_GetDevHooks()->probePcie = [](uint32_t, uint32_t, uint32_t) -> uint32_t { return 7; };
    const DxrDevHooks changed = *DXR_GetDevHooks();
    EXPECT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(changed.readReg, DXR_GetDevHooks()->readReg);
    EXPECT_EQ(changed.probePcie, DXR_GetDevHooks()->probePcie);
    EXPECT_EQ(hooks_.dev.writeReg, DXR_GetDevHooks()->writeReg);
}

// A copy of the table that was made while the trace stood reaches the hooks, not itself.
TEST_F(TraceCounts, KeptCopiesOfTheTableGoOn) {
    EXPECT_EQ(0U, DxrTraceStart(nullptr));
    const DxrHooks kept = *DXR_GetHooks();
    EXPECT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(4U, kept.dev.readReg(1, 2, 3, nullptr));
    EXPECT_EQ(0U, DXR_RegisterHooks(&kept));
    EXPECT_EQ(0U, DxrTraceStart(nullptr));
    Read(1);
    EXPECT_EQ(1U, CountOf(kReadRegSlot).calls);
    EXPECT_EQ(0U, DxrTraceStop());
    EXPECT_EQ(hooks_.dev.readReg, DXR_GetDevHooks()->readReg);
}

TEST_F(TraceCounts, RoomIsKeptTo) {
    std::array<DxrTraceCount, 3> counts{};
    counts[2].calls = 0x5A5A;
    EXPECT_EQ(kSlots, DxrTraceGetCounts(counts.data(), 2));
    EXPECT_EQ(0x5A5AU, counts[2].calls);
    EXPECT_EQ(kSlots, DxrTraceGetCounts(nullptr, 0));
}

}  // namespace
