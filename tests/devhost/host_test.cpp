// The life of a host: options, registration, reports, handles, the end.
#include "dxr_devhost/host.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "devhost/host_fixture.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::TemporaryDirectory;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

class Host : public dxrtest::RealHost {};

// --- Options

TEST(HostOptions, WrongOnesMakeNoHost) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.size -= 1;
    EXPECT_EQ(DxrHostCreate(&options), nullptr);
    DxrHostInitOptions(&options);
    options.clock = 3;
    EXPECT_EQ(DxrHostCreate(&options), nullptr);
    DxrHost *const host = DxrHostCreate(nullptr);
    EXPECT_NE(host, nullptr);
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
    EXPECT_EQ(DxrHostDestroy(nullptr, nullptr), 0U);
}

TEST(HostOptions, ComeFromAFileWithTheSameNames) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("host.json", R"({
        "clock": "stepped", "seed": 7, "startSec": 5000, "workPath": "/tmp/w", "memoryLimit": 100,
        "printLevel": 6})");
    std::array<char, 200> error{};
    DxrHost *const host = DxrHostCreateFromFile(path.c_str(), error.data(), error.size());
    ASSERT_NE(host, nullptr) << error.data();
    EXPECT_STREQ(error.data(), "");
    ASSERT_EQ(DxrHostRegister(host), 0U);
    EXPECT_EQ(DXR_GetCurrSec(), 5000U);
    std::array<char, 20> work{};
    EXPECT_EQ(DXR_GetSysWorkPath(work.data(), work.size()), 0U);
    EXPECT_STREQ(work.data(), "/tmp/w");
    EXPECT_EQ(DXR_Malloc(9, 101, "", 0), nullptr);
    EXPECT_EQ(DXR_GetDbgLevel(), 6U);
    DxrHostDestroy(host, nullptr);
}

TEST(HostOptions, AFaultyFileIsSaidWithItsPlace) {
    const TemporaryDirectory directory;
    const auto problem = [&directory](const std::string &text) {
        const std::string path = directory.Write("host.json", text);
        std::array<char, 300> error{};
        EXPECT_EQ(DxrHostCreateFromFile(path.c_str(), error.data(), error.size()), nullptr);
        return std::string(error.data()).substr(directory.Path().size() + 1);
    };
    EXPECT_EQ(problem("{\n  \"seed\": x\n}"), "host.json:2:11: this is no JSON");
    EXPECT_EQ(problem("{\"seed\": 1e999}"), "host.json:1:14: this is no JSON");
    const std::string deep(100, '[');
    EXPECT_EQ(problem(deep + std::string(100, ']')), "host.json:1:1: the file must be an object");
    EXPECT_EQ(problem("\"[\\\"[\"\n" + deep), "host.json:2:1: this is no JSON");
    EXPECT_EQ(problem(R"({"[\"[": 1, "a": )" + deep + "["),
              "host.json:1:117: this is nested deeper than 100");
    EXPECT_EQ(problem(std::string(1000000, '[')),
              "host.json:1:101: this is nested deeper than 100");
    EXPECT_EQ(problem("[]"), "host.json:1:1: the file must be an object");
    EXPECT_EQ(problem(R"({"seed": 1, "seed": 2})"), "host.json:1:21: /seed: is given twice");
    EXPECT_EQ(problem(R"({"sede": 1})"), "host.json:1:10: /sede: is not known");
    EXPECT_EQ(problem(R"({"startSec": 4294967296})"),
              "host.json:1:14: /startSec: must be a whole number within its range");
    EXPECT_EQ(problem(R"({"seed": -1})"),
              "host.json:1:10: /seed: must be a whole number within its range");
    EXPECT_EQ(problem(R"({"workPath": 1})"), "host.json:1:14: /workPath: must be a text");
    EXPECT_EQ(problem(R"({"workPath": "a\u0000b"})"),
              "host.json:1:14: /workPath: must not hold a byte of 0");
    EXPECT_EQ(problem(R"({"clock": "slow"})"),
              "host.json:1:11: /clock: must be \"real\", \"stepped\" or \"virtual\"");
    std::array<char, 8> error{};
    EXPECT_EQ(DxrHostCreateFromFile("/nonexistent/host.json", error.data(), 8), nullptr);
    EXPECT_STREQ(error.data(), "/nonexi") << "cut, and terminated";
    EXPECT_EQ(DxrHostCreateFromFile("/nonexistent/host.json", nullptr, 0), nullptr);
    EXPECT_EQ(DxrHostCreateFromFile(nullptr, nullptr, 0), nullptr);
}

// --- Registration

TEST(HostRegistration, SlotsReachTheRegisteredOne) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_STEPPED;
    options.startSec = 100;
    DxrHost *const one = DxrHostCreate(&options);
    options.startSec = 200;
    DxrHost *const two = DxrHostCreate(&options);
    EXPECT_EQ(DxrHostGet(), nullptr);
    EXPECT_EQ(DxrHostRegister(one), 0U);
    EXPECT_EQ(DxrHostGet(), one);
    EXPECT_EQ(DXR_GetCurrSec(), 100U);
    EXPECT_EQ(DxrHostRegister(two), 0U);
    EXPECT_EQ(DXR_GetCurrSec(), 200U);
    EXPECT_EQ(DxrHostDestroy(one, nullptr), 0U);
    EXPECT_EQ(DXR_GetCurrSec(), 200U) << "the other one's end changes nothing";
    EXPECT_EQ(DxrHostRegister(nullptr), 0U);
    EXPECT_EQ(DXR_GetCurrSec(), 0U) << "the table is empty";
    EXPECT_EQ(DxrHostDestroy(two, nullptr), 0U);
    EXPECT_EQ(DxrHostGet(), nullptr);
}

TEST(HostRegistration, CallsAfterTheEndGiveFailureValues) {
    DxrHooks kept;
    DxrHostFillHooks(&kept);
    DxrHostDestroy(DxrHostCreate(nullptr), nullptr);
    const uint64_t before = DxrHostGetLateCalls();
    testing::internal::CaptureStderr();
    void *mutex = nullptr;
    EXPECT_EQ(kept.memory.allocate(9, 8, "", 0), nullptr);
    kept.memory.release(&mutex, "", 0);
    EXPECT_EQ(kept.task.initMutex(&mutex, nullptr), static_cast<uint32_t>(ECANCELED));
    EXPECT_EQ(kept.task.delayTask(1000), static_cast<uint32_t>(ECANCELED));
    EXPECT_EQ(kept.list.createSll(), nullptr);
    kept.print.print(1, "%s", "nowhere");
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(DxrHostGetLateCalls(), before + 6);
    if (before == 0) {
        EXPECT_THAT(said, HasSubstr("dxr: no host is registered: DXR_Malloc by "));
        EXPECT_THAT(said, HasSubstr("dxr: no host is registered: DXR_CreateSll by "));
    }
}

// Two callers of the same two slots.
[[gnu::noinline]] uint64_t CallFromHere(const DxrHooks &hooks) {
    return uint64_t{hooks.list.sslGetCount(nullptr)} + hooks.time.getCurrSec();
}

[[gnu::noinline]] uint64_t CallFromThere(const DxrHooks &hooks) {
    return uint64_t{hooks.time.getCurrSec()} - hooks.list.sslGetCount(nullptr);
}

TEST(HostRegistration, EachPlaceOfCallsAfterTheEndIsToldOnce) {
    DxrHooks kept;
    DxrHostFillHooks(&kept);
    DxrHostDestroy(DxrHostCreate(nullptr), nullptr);
    const uint64_t before = DxrHostGetLateCalls();
    testing::internal::CaptureStderr();
    for (int round = 0; round < 10; ++round) {
        (void)CallFromHere(kept);
        (void)CallFromThere(kept);
    }
    std::istringstream said(testing::internal::GetCapturedStderr());
    std::set<std::string> counts;
    std::set<std::string> seconds;
    size_t lines = 0;
    for (std::string line; std::getline(said, line); ++lines) {
        (line.find(": DXR_SslGetCount by ") != std::string::npos ? counts : seconds).insert(line);
    }
    EXPECT_EQ(DxrHostGetLateCalls(), before + 40);
    static bool isAgain = false;  // a repeated run has told all
    EXPECT_EQ(lines, isAgain ? 0U : 4U);
    EXPECT_EQ(counts.size(), isAgain ? 0U : 2U);
    EXPECT_EQ(seconds.size(), isAgain ? 0U : 2U);
    isAgain = true;
}

// --- Handles

TEST_F(Host, BadHandlesGiveTheFailureValueAndOneReport) {
    void *mutex = nullptr;
    ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    void *const list = DXR_CreateSll();
    int other = 0;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(DXR_LockMutex(&other), static_cast<uint32_t>(EINVAL));
    }
    EXPECT_EQ(DXR_LockMutex(nullptr), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_LockMutex(list), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
    EXPECT_EQ(DXR_UnlockMutex(mutex), static_cast<uint32_t>(EINVAL));
    ASSERT_EQ(reports.size(), 4U);
    EXPECT_STREQ(reports[0].text, "an address that is no mutex");
    EXPECT_STREQ(reports[0].service, "task");
    EXPECT_STREQ(reports[0].slot, "DXR_LockMutex");
    EXPECT_THAT(reports[0].caller, HasSubstr("devhost_host_test"));
    EXPECT_STREQ(reports[1].text, "null is no mutex");
    EXPECT_STREQ(reports[2].text, "a list is no mutex");
    EXPECT_THAT(reports[3].text,
                MatchesRegex("a freed mutex, made by DXR_InitMutex by .*host_test.*, freed by "
                             "DXR_DestroyMutex by .*host_test.*"));
    DxrHostReport first{};
    EXPECT_TRUE(DxrHostGetReport(host, 0, &first));
    EXPECT_EQ(first.count, 3U) << "alike ones are counted";
    EXPECT_EQ(DxrHostGetReportCount(host), 4U);
    EXPECT_FALSE(DxrHostGetReport(host, 4, &first));
    DXR_DestroySll(list);
}

TEST_F(Host, HandlesOfAnotherHostAreForeign) {
    void *mutex = nullptr;
    ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    DxrHost *const another = DxrHostCreate(nullptr);
    DxrHostSetPrintFile(another, nullptr, 0, nullptr);
    DxrHostRegister(another);
    EXPECT_EQ(DXR_LockMutex(mutex), static_cast<uint32_t>(EINVAL));
    DxrHostReport report{};
    EXPECT_TRUE(DxrHostGetReport(another, 0, &report));
    EXPECT_STREQ(report.text, "a handle of another host");
    DxrHostDestroy(another, nullptr);
    DxrHostRegister(host);
    EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
}

// Hosts are told apart however many there were in between.
TEST_F(Host, HandlesOfAHostThatEndedAreNoOthers) {
    void *old = nullptr;
    ASSERT_EQ(DXR_InitMutex(&old, nullptr), 0U);
    DxrHost *const first = host;
    for (int i = 0; i < 40; ++i) {
        DxrHost *const later = DxrHostCreate(nullptr);
        ASSERT_NE(later, nullptr);
        DxrHostSetPrintFile(later, nullptr, 0, nullptr);
        ASSERT_EQ(DxrHostRegister(later), 0U);
        void *mutex = nullptr;
        ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
        EXPECT_NE(mutex, old);
        EXPECT_EQ(DXR_LockMutex(old), static_cast<uint32_t>(EINVAL)) << i;
        DxrHostReport report{};
        EXPECT_TRUE(DxrHostGetReport(later, 0, &report));
        EXPECT_STREQ(report.text, "a handle of another host");
        EXPECT_EQ(DXR_DestroyMutex(mutex), 0U);
        EXPECT_EQ(DxrHostDestroy(later, nullptr), 0U);
    }
    ASSERT_EQ(DxrHostRegister(first), 0U);
    EXPECT_EQ(DXR_DestroyMutex(old), 0U);
}

// The direct way, past the library: its dispatchers look for who called them.
TEST_F(Host, AHandleIsNeverGivenTwice) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    void *const first = hooks.list.createSll();
    ASSERT_NE(first, nullptr);
    hooks.list.destroySll(first);
    constexpr uint32_t kAllGenerations = 1U << 20;
    for (uint32_t i = 1; i <= kAllGenerations; ++i) {
        void *const list = hooks.list.createSll();
        ASSERT_NE(list, first) << i;
        hooks.list.destroySll(list);
    }
    EXPECT_EQ(hooks.list.sslGetCount(first), 0U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), ElementsAre(HasSubstr("a freed list")));
}

TEST_F(Host, TheFirstReportsAreKeptAndTheOthersCounted) {
    constexpr uint32_t kMore = 7;
    for (uint32_t i = 0; i < DXR_HOST_MOST_REPORTS + kMore - 2; ++i) {
        ASSERT_NE(DXR_CreateSll(), nullptr);
    }
    void *mutex = nullptr;
    EXPECT_EQ(DXR_LockMutex(mutex), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_UnlockMutex(mutex), static_cast<uint32_t>(EINVAL));
    const dxrtest::TemporaryDirectory directory;
    std::FILE *const out = std::fopen(directory.Path("report").c_str(), "w");
    EXPECT_EQ(DxrHostDestroy(std::exchange(host, nullptr), out), DXR_HOST_MOST_REPORTS + kMore - 2);
    std::fclose(out);
    ASSERT_EQ(reports.size(), DXR_HOST_MOST_REPORTS + 2U);
    const DxrHostReport &full = reports[DXR_HOST_MOST_REPORTS];
    EXPECT_STREQ(full.text, "no more reports are kept; further ones are counted until the end");
    EXPECT_STREQ(full.service, "host");
    EXPECT_EQ(full.kind, DXR_HOST_REPORT_RISK);
    EXPECT_STREQ(reports.back().text, "reports that were not kept");
    EXPECT_EQ(reports.back().count, kMore);
    EXPECT_THAT(directory.Read("report"), HasSubstr("\nhost: 7 reports were not kept\n"));
}

TEST_F(Host, WithoutASinkReportsAreMessages) {
    DxrHostSetReportSink(host, nullptr, nullptr);
    EXPECT_EQ(DXR_LockMutex(nullptr), static_cast<uint32_t>(EINVAL));
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].first, 1U);
    EXPECT_THAT(messages[0].second,
                MatchesRegex("task: DXR_LockMutex by .*host_test.*: null is no mutex"));
}

// --- The end

TEST_F(Host, APointThatIsNotThereIsReported) {
    DxrHostFailNth(host, "memory.allocate", 0, false);
    DxrHostFailShare(host, "file.open", 0);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), testing::IsEmpty());
    DxrHostFailNth(host, "memory.alocate", 1, false);
    DxrHostFailShare(host, "", 1);
    EXPECT_THAT(
        Texts(DXR_HOST_REPORT_MISUSE),
        testing::ElementsAre("there is no point \"memory.alocate\"", "there is no point \"\""));
}

TEST_F(Host, TheEndListsWhatIsLeftBehind) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "x");
    DxrHostSetWorkPath(host, directory.Path().c_str());
    void *mutex = nullptr;
    ASSERT_EQ(DXR_InitMutex(&mutex, nullptr), 0U);
    ASSERT_EQ(DXR_LockMutex(mutex), 0U);
    ASSERT_NE(DXR_FOpen(path.c_str(), "rb"), nullptr);
    int data = 0;
    DXR_AddSll(DXR_CreateSll(), &data, 0);
    ASSERT_NE(DXR_Malloc(9, 5, "m.c", 3), nullptr);
    std::FILE *const out = std::fopen(directory.Path("report").c_str(), "w");
    EXPECT_EQ(DxrHostDestroy(std::exchange(host, nullptr), out), 4U);
    std::fclose(out);
    const std::string text = directory.Read("report");
    EXPECT_THAT(text, HasSubstr("memory: left behind: 5 bytes of module 9 from m.c:3\n"));
    EXPECT_THAT(text, HasSubstr("system: left behind: file " + path + ", made by DXR_FOpen by "));
    EXPECT_THAT(text, HasSubstr("task: left behind: mutex 1, locked by "));
    EXPECT_THAT(text, HasSubstr("list: left behind: list of 1 nodes, made by DXR_CreateSll by "));
}

TEST_F(Host, EndsNotFromWithinItsOwnCalls) {
    struct Inner {
        DxrHost *host;
        uint32_t result;
    } inner{host, 0};
    DxrHostSetPrintSink(
        host,
        [](uint32_t, const char *, void *user) {
            auto *const in = static_cast<Inner *>(user);
            in->result = DxrHostDestroy(in->host, nullptr);
        },
        &inner, 6);
    DXR_GetPrintHooks()->print(1, "%s", "x");
    EXPECT_EQ(inner.result, UINT32_MAX);
    EXPECT_EQ(DxrHostGet(), host);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre("a host cannot be ended by its own task or from within its call"));
}

TEST_F(Host, EndsWhileThreadsCallIt) {
    for (int round = 0; round < 20; ++round) {
        DxrHooks kept;
        DxrHostFillHooks(&kept);
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&kept, &stop] {
                while (!stop) {
                    void *const block = kept.memory.allocate(9, 16, "", 0);
                    kept.memory.release(block, "", 0);
                }
            });
        }
        End();
        Begin();
        End();
        stop = true;
        for (std::thread &thread : threads) {
            thread.join();
        }
        Begin();
    }
}

}  // namespace
