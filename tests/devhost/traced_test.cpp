// What the host says of callers while the tracing of calls stands between them and the host.
#include <cerrno>

#include "devhost/host_fixture.h"
#include "dxr_trace.h"
#include "tools/temporary_directory.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr auto kCanceled = static_cast<uint32_t>(ECANCELED);

class TracedHost : public dxrtest::VirtualHost, public testing::WithParamInterface<uint32_t> {
  protected:
    TracedHost() {
        const std::string file = directory_.Path("calls");
        DxrTraceOptions trace;
        DxrTraceInitOptions(&trace);
        trace.mode = GetParam();
        trace.timedCalls = 1;
        trace.file = GetParam() == DXR_TRACE_CALLS ? file.c_str() : nullptr;
        EXPECT_EQ(DxrTraceStart(&trace), 0U);
        EXPECT_EQ(DXR_InitMutex(&first_, nullptr), 0U);
        EXPECT_EQ(DXR_InitMutex(&second_, nullptr), 0U);
    }
    ~TracedHost() override { EXPECT_EQ(DxrTraceStop(), 0U); }

    const dxrtest::TemporaryDirectory directory_;
    void *first_ = nullptr;
    void *second_ = nullptr;
};

// Without optimisation the library calls hooks instead of jumping there, and is the caller.
#ifdef NDEBUG
const auto kNamesThisProgram = AllOf(HasSubstr("devhost_traced_test+"), Not(HasSubstr("libdxr_")));
#else
const auto kNamesThisProgram = Not(HasSubstr("libdxr_trace"));
#endif

TEST_P(TracedHost, NamesBothPlacesOfAnOrderOfLocks) {
    DXR_LockMutex(first_);
    DXR_LockMutex(second_);
    DXR_UnlockMutex(second_);
    DXR_UnlockMutex(first_);
    DXR_LockMutex(second_);
    DXR_LockMutex(first_);
    DXR_UnlockMutex(first_);
    DXR_UnlockMutex(second_);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RISK),
                ElementsAre(AllOf(HasSubstr("could deadlock"), kNamesThisProgram)));
}

TEST_P(TracedHost, NamesWhoWaitsAndWhoHolds) {
    uint32_t task = 0;
    const auto wait = +[](void *mutex) {
        uint32_t events = 0;
        DXR_LockMutex(mutex);
        (void)DXR_ReadEvent(1, 0, DXR_HOST_FOREVER, &events);
    };
    ASSERT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(wait), first_, 10, nullptr, 0, &task), 0U);
    (void)DXR_DelayTask(1);
    EXPECT_EQ(DXR_LockMutex(first_), kCanceled);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN),
                ElementsAre(AllOf(HasSubstr("waits for events"), HasSubstr("locked by"),
                                  kNamesThisProgram)));
}

// What the host calls back is a caller of its own, and the outer one is the caller again after it.
TEST_P(TracedHost, NamesTheCallerOfTheInnermostCall) {
    DxrHostSetReportSink(
        host,
        [](const DxrHostReport *report, void *user) {
            static_cast<std::vector<DxrHostReport> *>(user)->push_back(*report);
            if (report->kind == DXR_HOST_REPORT_MISUSE) {
                (void)DXR_GetCurrMs();
            }
        },
        &reports);
    EXPECT_EQ(DXR_UnlockMutex(first_), static_cast<uint32_t>(EPERM));
    EXPECT_EQ(*DxrHostCallerPlace(), nullptr);
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_THAT(reports[0].caller, kNamesThisProgram);
}

INSTANTIATE_TEST_SUITE_P(Modes, TracedHost, testing::Values(DXR_TRACE_COUNT, DXR_TRACE_CALLS),
                         [](const auto &each) {
                             return each.param == DXR_TRACE_COUNT ? "Counted" : "Noted";
                         });

}  // namespace
