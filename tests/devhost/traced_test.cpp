// What the host says of callers while the tracing of calls stands between them and the host.
#include <dlfcn.h>

#include <array>
#include <cerrno>
#include <string>

#include "devhost/host_fixture.h"
#include "dxr_trace.h"
#include "tools/temporary_directory.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr auto kCanceled = static_cast<uint32_t>(ECANCELED);

struct Way {
    const char *name;
    uint32_t mode;
    uint32_t timedCalls;  // one in so many
};

class TracedHost : public dxrtest::VirtualHost, public testing::WithParamInterface<Way> {
  protected:
    TracedHost() {
        const std::string file = directory_.Path("calls");
        DxrTraceOptions trace;
        DxrTraceInitOptions(&trace);
        trace.mode = GetParam().mode;
        trace.timedCalls = GetParam().timedCalls;
        trace.file = trace.mode == DXR_TRACE_CALLS ? file.c_str() : nullptr;
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

// Their code lies apart, so that a caller is one of them for sure.
constexpr uintptr_t kApart = 256;

struct Handled {
    void *mutex = nullptr;
    uint32_t result = 0;
    bool hasCaller = false;
};

[[gnu::noinline, gnu::aligned(kApart)]] uint32_t Handle(const DxrHostMessage * /*message*/,
                                                        void *user) {
    auto &handled = *static_cast<Handled *>(user);
    handled.result = DXR_UnlockMutex(handled.mutex);
    handled.hasCaller = *DxrHostCallerPlace() != nullptr;
    return 0;
}

[[gnu::noinline, gnu::aligned(kApart)]] uint32_t Send(DxrHostMessage &message) {
    const uint32_t result = DXR_SendMsg(&message);
    return *DxrHostCallerPlace() == nullptr ? result : UINT32_MAX;
}

// Of all calls of a slot the first one is timed, of which the host is told who called: what that
// one calls back is no call of his.
TEST_P(TracedHost, BlamesNobodyForWhatTheHostCallsBack) {
    const DxrHostUnit unit{DXR_HOST_UNIT_MPU, 0};
    Handled handled{first_};
    DxrHostMailbox mailbox{};
    mailbox.size = sizeof(mailbox);
    mailbox.unit = unit;
    mailbox.most = 1;
    mailbox.handler = Handle;
    mailbox.user = &handled;
    ASSERT_EQ(DxrHostOpenMailbox(host, &mailbox), 0U);
    DXR_LockMutex(second_);
    DXR_UnlockMutex(second_);
    DxrHostMessage message{};
    message.size = sizeof(message);
    message.to = unit;
    EXPECT_EQ(Send(message), 0U);
    EXPECT_EQ(handled.result, static_cast<uint32_t>(EPERM));
    EXPECT_FALSE(handled.hasCaller);
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_THAT(reports[0].caller, kNamesThisProgram);
#ifdef NDEBUG
    const std::string caller = reports[0].caller;
    Dl_info program{};
    ASSERT_NE(dladdr(reinterpret_cast<const void *>(Handle), &program), 0);
    const uintptr_t handle =
        reinterpret_cast<uintptr_t>(Handle) - reinterpret_cast<uintptr_t>(program.dli_fbase);
    const uintptr_t at = std::stoul(caller.substr(caller.find('+') + 1), nullptr, 16);
    EXPECT_EQ(at / kApart, handle / kApart) << caller;
#endif
}

constexpr Way kCounted{"Counted", DXR_TRACE_COUNT, 1};
constexpr Way kNoted{"Noted", DXR_TRACE_CALLS, 1};
// A call that is not timed is a jump, but with optimisation only.
#ifdef NDEBUG
constexpr std::array kWays{kCounted, Way{"Sampled", DXR_TRACE_COUNT, 16}, kNoted};
#else
constexpr std::array kWays{kCounted, kNoted};
#endif
INSTANTIATE_TEST_SUITE_P(Modes, TracedHost, testing::ValuesIn(kWays),
                         [](const auto &each) { return each.param.name; });

}  // namespace
