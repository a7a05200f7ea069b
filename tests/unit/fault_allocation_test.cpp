// Every allocation of the fault rules is made to fail in turn.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "dxr/fault.h"
#include "support/new_watch.h"

namespace {

using dxrtest::FailEachAllocation;
using dxrtest::NewWatch;
using dxrtest::Outcome;
using dxrtest::RunFailing;

// HOST-26
TEST(FaultAllocation, AFailureWhileMakingASpecLeaksNothing) {
    std::unique_ptr<DxrFaultSpec> spec;
    const auto nothingIsLeft = [&](size_t) {
        EXPECT_EQ(NewWatch::Live(), 0u);
        EXPECT_EQ(spec, nullptr);
    };
    EXPECT_EQ(
        FailEachAllocation([&] { spec = DxrFaultSpecFactory().CreateSpec(10, 3); }, nothingIsLeft),
        1u);
    spec.reset();
    EXPECT_EQ(NewWatch::Live(), 0u);

    std::vector<std::pair<uint32_t, uint32_t>> pairs = {{10, 3}, {20, 0}};
    EXPECT_EQ(
        FailEachAllocation([&] { spec = DxrFaultSpecFactory().CreateSpec(pairs); }, nothingIsLeft),
        2u);
    spec.reset();
    EXPECT_EQ(NewWatch::Live(), 0u);
}

TEST(FaultAllocation, AFailureWhileCopyingLeavesBothRulesAsTheyWere) {
    const std::vector<std::pair<uint32_t, uint32_t>> pairs = {{10, 0}, {20, 0}};
    const DxrFaultMultiAccumulatedSpec source(pairs);
    DxrFaultMultiAccumulatedSpec target({{0, 1}});
    DxrCounter counter{};
    counter.IncreaseCount();
    EXPECT_EQ(FailEachAllocation([&] { DxrFaultMultiAccumulatedSpec copy(source); },
                                 [](size_t) { EXPECT_EQ(NewWatch::Live(), 0u); }),
              1u);
    EXPECT_EQ(FailEachAllocation([&] { target = source; },
                                 [&](size_t) {
                                     EXPECT_EQ(NewWatch::Live(), 0u);
                                     EXPECT_FALSE(target.IsSatisfied(&counter));
                                 }),
              1u);
}

// A counter judges and counts without the allocator.
TEST(FaultAllocation, CountingAndJudgingAllocateNothing) {
    static DxrCounter counter{};
    const DxrFaultAccumulatedSpec accumulated(10, 3);
    const DxrFaultMultiAccumulatedSpec multi({{10, 3}, {20, 0}});
    const DxrFaultTimeoutSpec timeout(5);
    EXPECT_EQ(RunFailing(1,
                         [&] {
                             counter.ResetCount();
                             for (int i = 0; i < 5000; ++i) {
                                 counter.IncreaseCount();
                             }
                             static_cast<void>(accumulated.IsSatisfied(&counter));
                             static_cast<void>(multi.IsSatisfied(&counter));
                             static_cast<void>(timeout.IsSatisfied(&counter));
                         }),
              Outcome::kDone);
    EXPECT_FALSE(NewWatch::Failed());
}

}  // namespace
