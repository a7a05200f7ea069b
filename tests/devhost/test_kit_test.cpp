// The kit for tests of modules: what it sees, and that it fails modules that deserve it.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "dxr_devhost/gtest.h"
#include "slots/expected_slots.h"
#include "support/guarded_page.h"
#include "test_kit_c_caller.h"
#include "tools/temporary_directory.h"

namespace {

using dxr_test::Asked;
using dxr_test::Calls;
using dxr_test::Fake;
using dxr_test::HoldsForSeeds;
using dxr_test::Logged;
using dxr_test::Real;
using dxr_test::RecordOf;
using dxr_test::SurvivesEach;
using dxr_test::SurvivesFailedAllocations;
using dxrtest::TemporaryDirectory;
using testing::AssertionResult;

constexpr uint32_t kMid = 700;

// What a test that ends now would say; how many failures it has goes to `count`.
std::string EndText(uint32_t *count = nullptr) {
    dxr_test::Text text;
    const uint32_t failures = DxrTestEnd(text.File());
    if (count != nullptr) {
        *count = failures;
    }
    return text.Get();
}

bool Holds(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

void *Take(uint32_t size) {
    return DXR_Malloc(kMid, size, "src/meter.c", 33);
}

void Give(void *block) {
    DXR_Free(block, "src/meter.c", 34);
}

// --- A test begins and ends

TEST(TestKit, ThereIsOneTestAtATime) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    EXPECT_FALSE(DxrTestBegin(nullptr));
    EXPECT_NE(DxrHostGet(), nullptr);
    EXPECT_EQ(EndText(), "");
    EXPECT_EQ(DxrHostGet(), nullptr);
    EXPECT_TRUE(DxrTestBegin(nullptr));
    EXPECT_EQ(DxrTestEnd(nullptr), 0U);
}

TEST(TestKit, OutsideOfATestNothingIsDone) {
    DxrTestCall call;
    char why[64] = "";
    DxrTestNoteFailure("a.c", 1, "lost");
    DxrTestAllow(DXR_HOST_REPORT_MISUSE);
    DxrTestForget();
    DxrTestRestore(&g_dxrHooks.time.getCurrSec);
    EXPECT_EQ(DxrTestEnd(nullptr), 0U);
    EXPECT_EQ(DxrTestCountFailures(), 0U);
    EXPECT_EQ(DxrTestGetDirectory(), nullptr);
    EXPECT_FALSE(DxrTestWriteFile("name", "x", 1));
    EXPECT_EQ(DxrTestStartTask([](void *) {}, nullptr), 0U);
    EXPECT_FALSE(DxrTestGetCall("DXR_Malloc", 0, &call));
    EXPECT_FALSE(DxrTestAsked("DXR_Malloc", 0, 0, why, sizeof(why)));
    EXPECT_STREQ(why, "no test has begun");
    EXPECT_FALSE(DxrTestLogged(DXR_TEST_LINES, "*", 0, 0, nullptr, 0));
    EXPECT_EQ(DxrTestGetReal(&g_dxrHooks.time.getCurrSec), nullptr);
}

TEST(TestKit, BeginsWithVirtualTimeAndTheSeedOfTheEnvironment) {
    DxrHostOptions options;
    const char *const before = std::getenv("DXR_TEST_SEED");
    const std::string kept = before != nullptr ? before : "";
    unsetenv("DXR_TEST_SEED");
    DxrTestInitOptions(&options);
    EXPECT_EQ(options.clock, DXR_HOST_CLOCK_VIRTUAL);
    EXPECT_EQ(options.endSec, 3600U);
    EXPECT_EQ(options.seed, 1U);
    setenv("DXR_TEST_SEED", "77", 1);
    DxrTestInitOptions(&options);
    EXPECT_EQ(options.seed, 77U);
    setenv("DXR_TEST_SEED", "7x", 1);
    DxrTestInitOptions(&options);
    EXPECT_EQ(options.seed, 1U);
    unsetenv("DXR_TEST_SEED");
    if (before != nullptr) {
        setenv("DXR_TEST_SEED", kept.c_str(), 1);
    }
}

TEST(TestKit, RefusesWrongOptions) {
    DxrHostOptions options;
    DxrTestInitOptions(&options);
    options.clock = 99;
    EXPECT_FALSE(DxrTestBegin(&options));
    EXPECT_EQ(DxrTestGetDirectory(), nullptr);
}

TEST(TestKit, ReadsNoMoreOfItsOptionsThanIsThere) {
    const dxrtest::GuardedPage page;
    auto *const size = static_cast<uint64_t *>(page.End()) - 1;
    *size = sizeof(*size);
    const auto *const options = reinterpret_cast<DxrHostOptions *>(size);
    const auto body = [](void *) {};
    EXPECT_FALSE(DxrTestBegin(options));
    EXPECT_EQ(DxrTestExplore(options, 3, body, nullptr, nullptr), 0U);
    EXPECT_EQ(DxrTestFailEach(options, nullptr, false, body, nullptr, nullptr), 0U);
}

TEST(TestKit, TheDirectoryIsTheTestsOwnUnlessItIsGiven) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    const std::string own = DxrTestGetDirectory();
    EXPECT_TRUE(DxrTestWriteFile("bin/names.bin", "eth0", 4));
    uint8_t *data = nullptr;
    uint32_t bytes = 0;
    ASSERT_EQ(DXR_GetBinFileData("bin", "names.bin", &data, &bytes), 0U);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(data), bytes), "eth0");
    Give(data);
    EXPECT_EQ(EndText(), "");
    EXPECT_FALSE(std::filesystem::exists(own));

    std::string given = testing::TempDir() + "/dxr_kit_XXXXXX";
    ASSERT_NE(mkdtemp(given.data()), nullptr);
    DxrHostOptions options;
    DxrTestInitOptions(&options);
    options.workPath = given.c_str();
    ASSERT_TRUE(DxrTestBegin(&options));
    EXPECT_EQ(DxrTestGetDirectory(), given);
    EXPECT_FALSE(DxrTestWriteFile(".", "x", 1));
    uint32_t count = 0;
    EXPECT_EQ(EndText(&count), "cannot write " + given + "/.\n");
    EXPECT_EQ(count, 1U);
    EXPECT_TRUE(std::filesystem::remove(given));
}

TEST(TestKit, FilesAreWrittenBelowTheWorkPathAlone) {
    std::string given = testing::TempDir() + "/dxr_kit_XXXXXX";
    ASSERT_NE(mkdtemp(given.data()), nullptr);
    DxrHostOptions options;
    DxrTestInitOptions(&options);
    const std::string work = given + "/work";
    ASSERT_TRUE(std::filesystem::create_directory(work));
    options.workPath = work.c_str();
    ASSERT_TRUE(DxrTestBegin(&options));
    const std::string absolute = given + "/x";
    for (const char *const name : {"../x", "a/../../x", "a/..", absolute.c_str()}) {
        EXPECT_FALSE(DxrTestWriteFile(name, "x", 1)) << name;
    }
    EXPECT_FALSE(DxrTestWriteFile(nullptr, "x", 1));
    EXPECT_TRUE(DxrTestWriteFile("..a/b../c", "x", 1));
    EXPECT_TRUE(std::filesystem::exists(work + "/..a/b../c"));
    EXPECT_FALSE(std::filesystem::exists(given + "/x"));
    uint32_t failures = 0;
    EXPECT_EQ(EndText(&failures),
              "../x is no file below the work path\n"
              "a/../../x is no file below the work path\n"
              "a/.. is no file below the work path\n" +
                  absolute +
                  " is no file below the work path\n"
                  "a file to be written has no name\n");
    EXPECT_EQ(failures, 5U);
    std::filesystem::remove_all(given);
}

TEST(TestKit, ATestDoesNotEndWithinItself) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    uint32_t result = 0;
    const auto end = [](void *user) { *static_cast<uint32_t *>(user) = DxrTestEnd(nullptr); };
    const uint32_t task = DxrTestStartTask(end, &result);
    EXPECT_TRUE(Asked("DXR_CreateTask", 0, 0));
    ASSERT_EQ(DxrHostJoinTask(nullptr, task, DXR_HOST_FOREVER), 0U);
    EXPECT_EQ(result, UINT32_MAX);
    uint32_t count = 0;
    EXPECT_TRUE(Holds(EndText(&count), "a host cannot be ended by its own task"));
    EXPECT_EQ(count, 1U);
}

TEST(TestKit, ATaskThatCannotBeMadeIsAFailure) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    DxrHostFailNth(nullptr, "task.create", 1, false);
    EXPECT_EQ(DxrTestStartTask([](void *) {}, nullptr), 0U);
    EXPECT_EQ(EndText(), "no task could be made\n");
}

// --- What fails a test

TEST(TestKit, WhatIsLeftBehindFails) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    ASSERT_NE(Take(100), nullptr);
    EXPECT_EQ(DxrTestCountFailures(), 0U);
    uint32_t count = 0;
    const std::string text = EndText(&count);
    EXPECT_EQ(count, 1U);
    EXPECT_TRUE(Holds(text, "left behind: ") && Holds(text, "100 bytes") &&
                Holds(text, "src/meter.c") && Holds(text, "33"))
        << text;
}

TEST(TestKit, MisuseFailsUnlessItIsAllowed) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    int nothing = 0;
    Give(&nothing);
    EXPECT_EQ(DxrTestCountFailures(), 1U);
    uint32_t count = 0;
    EXPECT_TRUE(Holds(EndText(&count), "memory: DXR_Free by "));
    EXPECT_EQ(count, 1U);

    ASSERT_TRUE(DxrTestBegin(nullptr));
    Give(&nothing);
    DxrTestAllow(DXR_HOST_REPORT_MISUSE);
    EXPECT_EQ(DxrTestCountFailures(), 0U);
    EXPECT_EQ(EndText(), "");
}

TEST(TestKit, NotedFailuresComeFirst) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    ASSERT_NE(Take(1), nullptr);
    DxrTestNoteFailure("tests/meter.c", 7, "the meter stands still");
    DxrTestNoteFailure(nullptr, 0, "nowhere");
    const std::string text = EndText();
    EXPECT_EQ(text.find("tests/meter.c:7: the meter stands still\nnowhere\nmemory: "), 0U) << text;
}

TEST(TestKit, PlainC) {
    dxr_test::Text good;
    EXPECT_EQ(TestInCThatPasses(good.File()), 0U);
    EXPECT_EQ(good.Get(), "");

    dxr_test::Text bad;
    EXPECT_EQ(TestInCThatFails(bad.File()), 4U);
    const std::string text = bad.Get();
    const auto line = [](uint32_t which) {
        return "test_kit_c_caller.c:" + std::to_string(LineOfFirstFailureInC() + which) + ": ";
    };
    EXPECT_TRUE(Holds(text, line(0) + "DXR_GetCurrSec() == 43200\n")) << text;
    EXPECT_TRUE(Holds(text, line(1) + "\"link * is down\" was logged 0 times, not at least 1 time; "
                                      "there is no line\n"))
        << text;
    EXPECT_TRUE(Holds(text, line(2) + "DXR_GetCurrSec = 43200 was asked 0 times, not at least 1 "
                                      "time; calls of it:\n  DXR_GetCurrSec() = 946684800\n"))
        << text;
    EXPECT_TRUE(Holds(text, line(3) + "DXR_GetCurrSec was asked 1 time, not 0 times")) << text;
}

// --- What the module asked

class KitTest : public dxr_test::ModuleTest {};

TEST_F(KitTest, EveryFilledSlotIsKeptAndLeadsToTheHost) {
    DxrHooks host{};
    DxrHostFillHooks(&host);
    const auto *const bare = reinterpret_cast<const DxrTestFunction *>(&host);
    auto *const table = reinterpret_cast<DxrTestFunction *>(&g_dxrHooks);
    uint32_t filled = 0;
    for (size_t slot = 0; slot < sizeof(DxrHooks) / sizeof(DxrTestFunction); ++slot) {
        EXPECT_EQ(DxrTestGetReal(&table[slot]), bare[slot]) << slot;
        EXPECT_EQ(table[slot] == nullptr, bare[slot] == nullptr) << slot;
        EXPECT_TRUE(bare[slot] == nullptr || table[slot] != bare[slot]) << slot;
        filled += bare[slot] != nullptr ? 1 : 0;
    }
    EXPECT_EQ(filled, 216U);
}

uintptr_t Zero() {
    return 0;
}

// Each slot that a function reads, called with nothing but zeros, is kept by that function's name.
TEST_F(KitTest, EverySlotIsKeptByItsName) {
    using Words =
        uintptr_t (*)(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
    auto *const table = reinterpret_cast<DxrTestFunction *>(&g_dxrHooks);
    uint32_t called = 0;
    for (const dxrtest::Slot &slot : dxrtest::ExpectedSlots()) {
        DxrTestFunction &hook = table[slot.Absolute()];
        if (slot.use != dxrtest::Use::kDispatched || hook == nullptr) {
            continue;
        }
        DxrTestBeginFake(&hook);
        hook = reinterpret_cast<DxrTestFunction>(Zero);
        DxrTestEndFake(&hook);
        DxrTestForget();
        (void)reinterpret_cast<Words>(hook)(0, 0, 0, 0, 0, 0, 0);
        // One slot is read by two functions and bears the name of the first.
        const bool isSecond = slot.name == "DXR_RegisterWithoutVelderFuncs";
        const std::string name(isSecond ? "DXR_Register" : slot.name);
        EXPECT_TRUE(Asked(name.c_str(), 1, 1)) << name;
        DxrTestRestore(&hook);
        ++called;
    }
    EXPECT_EQ(called, 212U);
}

TEST_F(KitTest, PatternsOfCalls) {
    Give(Take(100));
    Give(Take(7));
    void *const null = nullptr;
    Give(null);
    for (const char *pattern :
         {"DXR_Malloc", "DXR_Malloc(*)", "DXR_Malloc( 700,100 , \"src/meter.c\",33)",
          "DXR_Malloc(0x2bc, 7, *)", "DXR_Malloc(*, *, \"*meter*\", *)", "DXR_Free(null, *)",
          "DXR_Free(null, *) = 0", "DXR_Malloc(*, 7, *) = *"}) {
        EXPECT_TRUE(Asked(pattern)) << pattern;
    }
    EXPECT_TRUE(Asked("DXR_Malloc", 2, 2));
    EXPECT_TRUE(Asked("DXR_Free", 3, 3));
    for (const char *pattern :
         {"DXR_Malloc(701, *)", "DXR_Malloc(*, 8, *)", "DXR_Malloc(*, *, \"src/meter\", *)",
          "DXR_Malloc(*) = null", "DXR_GetCurrSec"}) {
        EXPECT_FALSE(Asked(pattern)) << pattern;
        EXPECT_TRUE(Asked(pattern, 0, 0)) << pattern;
    }
}

TEST_F(KitTest, ResultsAndNegativeNumbers) {
    const std::string none = std::string(DxrTestGetDirectory()) + "/none";
    EXPECT_EQ(DXR_FileLength(none.c_str()), 0xFFFFFFFFU);
    EXPECT_TRUE(Asked("DXR_FileLength(\"*/none\") = -1"));
    EXPECT_TRUE(Asked("DXR_FileLength(*) = 0xFFFFFFFF"));
    EXPECT_FALSE(Asked("DXR_FileLength(*) = 1"));
}

TEST_F(KitTest, PatternsThatAreNoneNeverHold) {
    const std::vector<std::pair<const char *, const char *>> wrong = {
        {"", "no slot is read by \"\""},
        {"DXR_AddTblmData", "no slot is read by \"DXR_AddTblmData\""},
        {"DXR_Malloc(1, 2)", "DXR_Malloc takes 4 arguments, not 2"},
        {"DXR_Malloc(1, 2, 3, 4, 5)", "DXR_Malloc takes 4 arguments, not 5"},
        {"DXR_Malloc(1, 2", "a comma or ) is missing before \"\""},
        {"DXR_Malloc(ten, *)", "neither *, a number, null nor a text in quotes: \"ten, *)\""},
        {"DXR_Malloc(*, *, \"a)", "a quote is missing"},
        {"DXR_Malloc(*) = 1 2", "too much: \"2\""},
        {"DXR_GetCurrSec(1)", "DXR_GetCurrSec takes 0 arguments, not 1"},
        {"DXR_Malloc(\"700\", *)", "argument 1 of DXR_Malloc is no text"},
        {"DXR_ReadReg(0, 0, 0, \"x\")", "argument 4 of DXR_ReadReg is no text"},
        {"DXR_GetBinFolderName = \"bin\"", "the result of DXR_GetBinFolderName is no number"},
        {"DXR_Malloc(0x100000000, *)", "4294967296 is more than argument 1 of DXR_Malloc holds"},
        {"DXR_Malloc(*, -2147483649, *)",
         "-2147483649 is less than argument 2 of DXR_Malloc holds"},
        {"DXR_GetCurrSec = 0x100000000",
         "4294967296 is more than the result of DXR_GetCurrSec holds"},
        {"DXR_WriteMdio(*, *, 256, *)", "256 is more than argument 3 of DXR_WriteMdio holds"}};
    for (const auto &[pattern, error] : wrong) {
        const AssertionResult result = Asked(pattern, 0);
        EXPECT_FALSE(result) << pattern;
        EXPECT_EQ(std::string(result.message()), std::string(pattern) + ": " + error);
        DxrTestCall call;
        EXPECT_FALSE(DxrTestGetCall(pattern, 0, &call)) << pattern;
    }
}

TEST_F(KitTest, SaysWhyItWasNotAsked) {
    EXPECT_EQ(std::string(Asked("DXR_Malloc").message()),
              "DXR_Malloc was asked 0 times, not at least 1 time; it was never called");
    EXPECT_EQ(std::string(Asked("DXR_InitSafeIo").message()),
              "DXR_InitSafeIo was asked 0 times, not at least 1 time; the slot is empty, of which "
              "no call is seen");
    Give(Take(5));
    const std::string text = Asked("DXR_Malloc(*, 6, *)", 2, 3).message();
    EXPECT_EQ(text.find("DXR_Malloc(*, 6, *) was asked 0 times, not 2 to 3 times; calls of it:\n  "
                        "DXR_Malloc(700, 5, \"src/meter.c\", 33) = 0x"),
              0U)
        << text;
}

TEST_F(KitTest, CallsWithWhatTheyLedTo) {
    DxrHostEvent event{sizeof(event), 7, 2, 0, nullptr};
    ASSERT_EQ(DXR_WriteEventLog(&event), 0U);
    event.id = 8;
    DXR_DiagLogFilter("two\\\"");
    EXPECT_TRUE(Asked("DXR_DiagLogFilter(\"two\\\\\\\"\")"));

    const std::vector<DxrTestCall> lines = Calls("DXR_DiagLogFilter");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_STREQ(lines[0].function, "DXR_DiagLogFilter");
    EXPECT_EQ(lines[0].arguments, 1U);
    EXPECT_EQ(lines[0].hasReturned, 1U);
    EXPECT_STREQ(static_cast<const char *>(lines[0].data[0]), "two\\\"");
    EXPECT_EQ(lines[0].bytes[0], 6U);

    const std::vector<DxrTestCall> events = Calls("DXR_WriteEventLog");
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].argument[0], reinterpret_cast<uintptr_t>(&event));
    ASSERT_NE(RecordOf<DxrHostEvent>(events[0], 0), nullptr);
    EXPECT_EQ(RecordOf<DxrHostEvent>(events[0], 0)->id, 7U);
    EXPECT_EQ(RecordOf<DxrHostEvent>(events[0], 1), nullptr);
    EXPECT_EQ(RecordOf<DxrHostFmAlarm>(events[0], 0), nullptr);
}

TEST_F(KitTest, TextsInTheMannerOfPrintfAreFinished) {
    g_dxrHooks.print.print(2, "link %u is %s", 3U, "down");
    EXPECT_TRUE(Asked("Print.print(2, \"link 3 is down\")"));
    EXPECT_TRUE(Logged("link 3 is down", 1, 1, DXR_TEST_MESSAGES));
    const std::string text(1500, 'x');
    g_dxrHooks.print.print(2, "%s is long", text.c_str());
    EXPECT_TRUE(Asked(("Print.print(2, \"" + text + " is long\")").c_str()));
}

TEST_F(KitTest, CallsAreForgotten) {
    DXR_DiagLogFilter("one");
    DxrTestForget();
    EXPECT_TRUE(Asked("DXR_DiagLogFilter", 0, 0));
    EXPECT_TRUE(Logged("*", 0, 0));
    DXR_DiagLogFilter("two");
    EXPECT_TRUE(Asked("DXR_DiagLogFilter(\"two\") = 0", 1, 1));
}

TEST_F(KitTest, OnlySoManyCallsAndLinesAreKept) {
    constexpr uint32_t kMost = 32768;
    for (uint32_t i = 0; i < kMost + 3; ++i) {
        DXR_DiagLogFilter("x");
    }
    EXPECT_TRUE(Asked("DXR_DiagLogFilter", kMost));
    EXPECT_TRUE(Holds(Asked("DXR_GetCurrSec").message(), "(3 later calls were not kept)"));
    EXPECT_TRUE(Holds(Logged("y").message(), "(32748 more)"));
    EXPECT_TRUE(Holds(Logged("y").message(), "(3 later lines were not kept)"));
}

// What was not kept may have been one more.
TEST_F(KitTest, NotMoreThanSoManyIsNotToldOfWhatWasNotKept) {
    constexpr uint32_t kMost = 32768;
    for (uint32_t i = 0; i < kMost; ++i) {
        DXR_DiagLogFilter("x");
    }
    EXPECT_TRUE(Asked("DXR_DiagLogFilter", kMost, kMost));
    EXPECT_TRUE(Logged("y", 0, 0));
    DXR_DiagLogFilter("y");
    EXPECT_FALSE(Asked("DXR_DiagLogFilter(\"y\")", 0, 0));
    EXPECT_TRUE(Asked("DXR_DiagLogFilter", kMost));
    const std::string why = Asked("DXR_DiagLogFilter", 0, kMost).message();
    EXPECT_EQ(why.find("DXR_DiagLogFilter was asked 32768 times among the calls that were kept"),
              0U)
        << why;
    EXPECT_TRUE(Asked("DXR_GetCurrSec", 0, 0)) << "calls of others are known to be none of it";
    EXPECT_FALSE(Logged("y", 0, 0));
    EXPECT_TRUE(Logged("x", 1));
    EXPECT_TRUE(Logged("y", 0, 0, DXR_TEST_EVENTS));
    DxrTestForget();
    EXPECT_TRUE(Asked("DXR_DiagLogFilter", 0, 0));
    EXPECT_TRUE(Logged("y", 0, 0));
}

TEST_F(KitTest, TheHostSeesTheModuleNotTheKit) {
    DxrHostModule record{};
    record.size = sizeof(record);
    record.mid = kMid;
    record.name = "meter";
    record.instance = &record;
    DXR_Register(&record);
    EXPECT_EQ(DXR_GetThis(), &record);
    DXR_UnRegister();

    EXPECT_EQ(DXR_LockMutex(&record), static_cast<uint32_t>(EINVAL));
    DxrHostReport report;
    ASSERT_TRUE(DxrHostGetReport(nullptr, 0, &report));
    EXPECT_TRUE(Holds(report.caller, "devhost_test_kit_test")) << report.caller;
    DxrTestAllow(DXR_HOST_REPORT_MISUSE);
}

// --- What it said

TEST_F(KitTest, LinesOfAllKinds) {
    DXR_DiagLogFilter("port 3: down");
    g_dxrHooks.print.print(6, "all is well");
    DxrHostEvent event{sizeof(event), 1, 2, 0, "the fan stands still"};
    DXR_WriteEventLog(&event);
    EXPECT_TRUE(Logged("port 3: down"));
    EXPECT_TRUE(Logged("*", 3, 3));
    EXPECT_TRUE(Logged("*", 1, 1, DXR_TEST_DIAG));
    EXPECT_TRUE(Logged("the fan *", 1, 1, DXR_TEST_EVENTS));
    EXPECT_FALSE(Logged("the fan *", 1, 1, DXR_TEST_DIAG | DXR_TEST_MESSAGES));
    EXPECT_EQ(std::string(Logged("port").message()),
              "\"port\" was logged 0 times, not at least 1 time; lines:\n  port 3: down\n  all is "
              "well\n  the fan stands still");
}

// What could not fail would never be looked at again.
TEST_F(KitTest, NoPatternAndNoKindOfLinesNeverHold) {
    (void)DXR_DiagLogFilter("a line");
    char why[64] = "";
    EXPECT_FALSE(DxrTestLogged(DXR_TEST_LINES, nullptr, 0, 0, why, sizeof(why)));
    EXPECT_STREQ(why, "there is no pattern");
    EXPECT_FALSE(DxrTestLogged(0, "*", 0, 0, why, sizeof(why)));
    EXPECT_STREQ(why, "there are no lines of kinds 0");
    EXPECT_FALSE(DxrTestLogged(9, "no line", 0, 0, why, sizeof(why)));
    EXPECT_STREQ(why, "there are no lines of kinds 9");
    EXPECT_FALSE(DxrTestAsked(nullptr, 0, 0, why, sizeof(why)));
}

TEST_F(KitTest, StarsOfTexts) {
    DXR_DiagLogFilter("abcabd");
    for (const char *pattern : {"*", "abcabd", "a*", "*d", "*abd", "a*b*d", "**abcabd**", "*ca*"}) {
        EXPECT_TRUE(Logged(pattern)) << pattern;
    }
    for (const char *pattern : {"", "abcab", "*abc", "b*", "a*c", "abcabd*d", "*x*"}) {
        EXPECT_TRUE(Logged(pattern, 0, 0)) << pattern;
    }
}

// --- Slots of a test's own

TEST_F(KitTest, FakesStandForTheirScope) {
    const uint32_t now = DXR_GetCurrSec();
    {
        uint32_t asked = 0;
        const Fake early(g_dxrHooks.time.getCurrSec, [&] { return ++asked; });
        EXPECT_EQ(DXR_GetCurrSec(), 1U);
        {
            const Fake late(g_dxrHooks.time.getCurrSec, [] { return 9; });
            EXPECT_EQ(DXR_GetCurrSec(), 9U);
        }
        EXPECT_EQ(DXR_GetCurrSec(), 2U);
        EXPECT_EQ(asked, 2U);
    }
    EXPECT_EQ(DXR_GetCurrSec(), now);
    EXPECT_TRUE(Asked("DXR_GetCurrSec", 5, 5));
    EXPECT_TRUE(Asked("DXR_GetCurrSec = 9", 1, 1));
}

// An object that holds a fake may end when it likes; the slot is never left with one that is gone.
TEST(TestKit, FakesThatEndInAnotherOrderAreAFailure) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    const uint32_t now = DXR_GetCurrSec();
    const auto one = [] { return 1U; };
    const auto two = [] { return 2U; };
    using Slot = decltype(g_dxrHooks.time.getCurrSec);
    std::optional<Fake<Slot, decltype(one)>> first;
    std::optional<Fake<Slot, decltype(two)>> second;
    first.emplace(g_dxrHooks.time.getCurrSec, one);
    second.emplace(g_dxrHooks.time.getCurrSec, two);
    EXPECT_EQ(DXR_GetCurrSec(), 2U);
    first.reset();
    EXPECT_EQ(DXR_GetCurrSec(), now);
    second.reset();
    EXPECT_EQ(DXR_GetCurrSec(), now);
    uint32_t count = 0;
    EXPECT_TRUE(Holds(EndText(&count), "a fake ends before a later one of its slot"));
    EXPECT_EQ(count, 1U);
}

TEST(TestKit, AFakeMayOutliveItsTest) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    {
        const Fake early(g_dxrHooks.time.getCurrSec, [] { return 1U; });
        const Fake late(g_dxrHooks.time.getCurrSec, [] { return 2U; });
        EXPECT_EQ(EndText(), "");
    }
    ASSERT_TRUE(DxrTestBegin(nullptr));
    EXPECT_NE(DXR_GetCurrSec(), 2U);
    EXPECT_EQ(EndText(), "");
}

TEST_F(KitTest, FakesGetArgumentsAndReachTheHost) {
    const auto real = Real(g_dxrHooks.memory.allocate);
    const Fake doubled(g_dxrHooks.memory.allocate,
                       [real](uint32_t mid, uint32_t size, const char *file, uint32_t line) {
                           return real(mid, 2 * size, file, line);
                       });
    void *const block = Take(50);
    EXPECT_EQ(DxrHostGetMemoryAccount(nullptr, kMid).bytesLive, 100U);
    EXPECT_TRUE(Asked("DXR_Malloc(700, 50, *)", 1, 1));
    Give(block);
}

TEST_F(KitTest, EmptySlotsAreFilledAndFilledOnesEmptied) {
    uint32_t called = 0;
    {
        const Fake filled(g_dxrHooks.dev.initSafeIo, [&] { ++called; });
        DXR_InitSafeIo();
    }
    DXR_InitSafeIo();
    EXPECT_EQ(called, 1U);
    EXPECT_TRUE(Asked("DXR_InitSafeIo", 1, 1));
    DXR_TEST_FAKE(g_dxrHooks.msg.getTriggerStr, nullptr);
    EXPECT_STREQ(DXR_GetTriggerStr(1), "invalid");
    DXR_TEST_RESTORE(g_dxrHooks.msg.getTriggerStr);
    EXPECT_STREQ(DXR_GetTriggerStr(1), "interrupt");
}

TEST(TestKit, WhatIsNoSlotIsNotReplaced) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    DxrHooks own{};
    DxrTestBeginFake(&own.time.getCurrSec);
    DxrTestBeginFake(reinterpret_cast<char *>(&g_dxrHooks) + 1);
    EXPECT_EQ(DxrTestGetReal(&own), nullptr);
    DxrTestEndFake(&own);
    DxrTestRestore(&own);
    uint32_t count = 0;
    EXPECT_TRUE(Holds(EndText(&count), "what is to be replaced is no slot of g_dxrHooks"));
    EXPECT_EQ(count, 2U);
}

TEST(TestKit, OneFunctionForTwoSlotsIsAFailure) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    {
        const std::function<uint32_t()> seven = [] { return 7U; };
        const Fake first(g_dxrHooks.time.getCurrSec, seven);
        const Fake second(g_dxrHooks.system.getLrId, seven);
    }
    EXPECT_TRUE(Holds(EndText(), "one type of function stands in two slots"));
}

struct Seven {
    uint32_t operator()() const { return 7; }
};

// Its object goes with the task that the host ends, without a destructor.
TEST(TestKit, AFakeOfARunThatWasCutOffIsForgotten) {
    const auto stuck = [] {
        const Fake fake(g_dxrHooks.time.getCurrSec, Seven{});
        uint32_t events = 0;
        (void)DXR_ReadEvent(0x80, 0, DXR_HOST_FOREVER, &events);
    };
    EXPECT_FALSE(HoldsForSeeds(1, stuck));
    EXPECT_FALSE(HoldsForSeeds(1, stuck));
    EXPECT_TRUE(HoldsForSeeds(1, [] {
        const Fake fake(g_dxrHooks.system.getLrId, Seven{});
        EXPECT_EQ(DXR_GetLrId(), 7U);
        EXPECT_NE(DXR_GetCurrSec(), 7U);
    }));
}

TEST(TestKit, TestsAreNumbered) {
    EXPECT_EQ(DxrTestGetNumber(), 0U);
    ASSERT_TRUE(DxrTestBegin(nullptr));
    const uint64_t number = DxrTestGetNumber();
    EXPECT_NE(number, 0U);
    EXPECT_EQ(EndText(), "");
    EXPECT_EQ(DxrTestGetNumber(), 0U);
    ASSERT_TRUE(DxrTestBegin(nullptr));
    EXPECT_EQ(DxrTestGetNumber(), number + 1);
    EXPECT_EQ(EndText(), "");
}

// --- Many runs

TEST(TestKit, EachAllocationFailsInTurn) {
    uint32_t runs = 0;
    uint32_t refused = 0;
    EXPECT_TRUE(SurvivesEach(
        DXR_TEST_ALLOCATIONS,
        [&] {
            for (uint32_t i = 0; i < 3; ++i) {
                void *const block = Take(10);
                refused += block == nullptr ? 1 : 0;
                Give(block);
            }
        },
        false, &runs));
    EXPECT_EQ(runs, 4U);
    EXPECT_EQ(refused, 3U);
}

TEST(TestKit, AllLaterStepsFailToo) {
    uint32_t refused = 0;
    EXPECT_TRUE(SurvivesFailedAllocations(
        [&] {
            for (uint32_t i = 0; i < 3; ++i) {
                void *const block = Take(10);
                refused += block == nullptr ? 1 : 0;
                Give(block);
            }
        },
        true));
    EXPECT_EQ(refused, 3U + 2U + 1U);
}

TEST(TestKit, FindsTheStepAfterWhichSomethingIsLeftBehind) {
    const AssertionResult result = SurvivesFailedAllocations([] {
        void *const first = Take(10);
        void *const second = Take(20);
        if (second != nullptr) {  // the first one is forgotten
            Give(first);
            Give(second);
        }
    });
    EXPECT_FALSE(result);
    const std::string text = result.message();
    EXPECT_EQ(text.find("when step 2 of memory.allocate fails:\nmemory: left behind: "), 0U)
        << text;
}

TEST(TestKit, FailsWithoutAFailedStepAsWell) {
    const AssertionResult result = SurvivesEach("timer.start", [] { (void)Take(1); });
    EXPECT_FALSE(result);
    EXPECT_EQ(std::string(result.message()).find("when no step of timer.start fails:\n"), 0U);
}

// As when its name is misspelt: nothing has failed, so nothing was survived.
TEST(TestKit, APointThatTheBodyDoesNotComeByIsNotSurvived) {
    uint32_t runs = 7;
    const AssertionResult result = SurvivesEach(
        "memory.alocate", [] { Give(Take(1)); }, false, &runs);
    EXPECT_FALSE(result);
    EXPECT_THAT(std::string(result.message()),
                testing::AllOf(testing::StartsWith("when no step of memory.alocate fails:\nhost: "),
                               testing::EndsWith(": there is no point \"memory.alocate\"\n")));
    EXPECT_EQ(runs, 0U);
    const AssertionResult another = SurvivesEach("file.open", [] { Give(Take(1)); });
    EXPECT_EQ(std::string(another.message()), "the body takes no step of file.open\n");
}

TEST(TestKit, OtherClocksRunTheBodyOnTheCallersThread) {
    DxrHostOptions options;
    DxrTestInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_STEPPED;
    uint32_t runs = 0;
    EXPECT_TRUE(SurvivesEach(
        "table.create",
        [] {
            if (DXR_DynamicCreateTable(5) == 0) {
                EXPECT_TRUE(DxrHostAdvance(nullptr, 10));
                DXR_ReleaseTblm(5, 0);
            }
        },
        false, &runs, &options));
    EXPECT_EQ(runs, 2U);
}

TEST(TestKit, ManyRunsWantATestOfTheirOwn) {
    ASSERT_TRUE(DxrTestBegin(nullptr));
    uint32_t runs = 0;
    const auto body = [&] { ++runs; };
    EXPECT_EQ(std::string(SurvivesFailedAllocations(body).message()),
              "a test has begun already: these runs need their own\n");
    EXPECT_EQ(std::string(HoldsForSeeds(3, body).message()),
              "a test has begun already: these runs need their own\n");
    EXPECT_EQ(runs, 0U);
    EXPECT_EQ(DxrTestEnd(nullptr), 0U);
}

// Two tasks take two mutexes, in one order or in both.
void LockInTwoTasks(bool inOneOrder) {
    struct Pair {
        void *first = nullptr;
        void *second = nullptr;
    };
    static Pair ways[2];
    void *a = nullptr;
    void *b = nullptr;
    ASSERT_EQ(DXR_InitMutex(&a, nullptr), 0U);
    ASSERT_EQ(DXR_InitMutex(&b, nullptr), 0U);
    ways[0] = {a, b};
    ways[1] = inOneOrder ? Pair{a, b} : Pair{b, a};
    const auto entry = [](void *user) {
        const Pair &pair = *static_cast<Pair *>(user);
        (void)DXR_LockMutex(pair.first);
        (void)DXR_DelayTask(0);
        (void)DXR_LockMutex(pair.second);
        (void)DXR_UnlockMutex(pair.second);
        (void)DXR_UnlockMutex(pair.first);
    };
    const uint32_t tasks[] = {DxrTestStartTask(entry, &ways[0]), DxrTestStartTask(entry, &ways[1])};
    for (const uint32_t task : tasks) {
        ASSERT_EQ(DxrHostJoinTask(nullptr, task, DXR_HOST_FOREVER), 0U);
    }
    (void)DXR_DestroyMutex(a);
    (void)DXR_DestroyMutex(b);
}

TEST(TestKit, SeedsFindADeadlock) {
    EXPECT_TRUE(HoldsForSeeds(50, [] { LockInTwoTasks(true); }));
    const AssertionResult result = HoldsForSeeds(50, [] {
        DxrTestAllow(DXR_HOST_REPORT_RISK);  // the order of locks is told without a deadlock
        LockInTwoTasks(false);
    });
    EXPECT_FALSE(result);
    const std::string text = result.message();
    EXPECT_EQ(text.find("seed "), 0U) << text;
    EXPECT_TRUE(Holds(text, " waits for mutex ")) << text;
    EXPECT_FALSE(Holds(text, "left behind")) << text;
}

TEST(TestKit, SeedsFindWhatIsLeftBehind) {
    DxrHostOptions options;
    DxrTestInitOptions(&options);
    options.seed = 40;
    const AssertionResult result = HoldsForSeeds(
        5, [] { (void)Take(1); }, &options);
    EXPECT_FALSE(result);
    EXPECT_EQ(std::string(result.message()).find("seed 40:\nmemory: left behind: "), 0U);
}

// --- Runs that the process does not survive

// Writes where nobody may: what a null pointer leads to is something that compilers look for.
void Fault() {
    void *const page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    *static_cast<volatile char *>(page) = 'x';
}

void DieOfTheSecondAllocation(void * /*user*/) {
    void *const first = Take(10);
    void *const second = Take(20);
    if (second == nullptr) {
        Fault();
    }
    Give(second);
    Give(first);
}

void AbortAtTheThirdSeed(void *user) {
    if (++*static_cast<uint32_t *>(user) == 3) {
        std::abort();
    }
}

class DeathTest : public testing::Test {
  protected:
    // There are threads of the host's.
    DeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(DeathTest, TheStepIsToldThatAModuleDiesOf) {
    const auto fail = [](bool onwards, FILE *out) {
        (void)std::signal(SIGSEGV, SIG_DFL);  // a sanitizer has a handler
        (void)DxrTestFailEach(nullptr, nullptr, onwards, DieOfTheSecondAllocation, nullptr, out);
    };
    EXPECT_DEATH(fail(false, stderr), "when step 2 of memory.allocate is to fail: signal 11\n");
    EXPECT_DEATH(fail(true, stderr),
                 "when step 1 of memory.allocate and all after it are to fail: signal 11\n");
    // What is kept in memory would not be seen.
    const auto survive = [] {
        (void)std::signal(SIGSEGV, SIG_DFL);
        (void)SurvivesFailedAllocations([] { DieOfTheSecondAllocation(nullptr); });
    };
    EXPECT_DEATH(survive(), "when step 2 of memory.allocate is to fail: signal 11\n");
}

TEST_F(DeathTest, TheSeedIsToldThatAModuleDiesOf) {
    DxrHostOptions options;
    DxrTestInitOptions(&options);
    options.seed = 40;
    uint32_t runs = 0;
    EXPECT_EXIT((void)DxrTestExplore(&options, 5, AbortAtTheThirdSeed, &runs, stderr),
                testing::KilledBySignal(SIGABRT), "^seed 42: signal 6\n$");
    runs = 0;
    EXPECT_EXIT((void)DxrTestExplore(&options, 5, AbortAtTheThirdSeed, &runs, nullptr),
                testing::KilledBySignal(SIGABRT), "^$");
}

// Where the tests of a program that dies have their directories: the same in its process, which
// begins anew.
class DeathPlace {
  public:
    DeathPlace() {
        if (std::getenv(kVariable) == nullptr) {
            own_.emplace();
            if (const char *const before = std::getenv("TMPDIR")) {
                before_ = before;
            }
            (void)setenv(kVariable, own_->Path().c_str(), 1);
            (void)setenv("TMPDIR", own_->Path().c_str(), 1);
        }
    }
    ~DeathPlace() {
        if (own_) {
            if (before_) {
                (void)setenv("TMPDIR", before_->c_str(), 1);
            } else {
                (void)unsetenv("TMPDIR");
            }
            (void)unsetenv(kVariable);
        }
    }
    DeathPlace(const DeathPlace &) = delete;
    DeathPlace &operator=(const DeathPlace &) = delete;
    DeathPlace(DeathPlace &&) = delete;
    DeathPlace &operator=(DeathPlace &&) = delete;

    // How many there are.
    [[nodiscard]] size_t Directories() const {
        const std::filesystem::directory_iterator entries(std::getenv(kVariable));
        return static_cast<size_t>(std::distance(begin(entries), end(entries)));
    }

  private:
    static constexpr const char *kVariable = "DXR_DEATH_PLACE";
    std::optional<TemporaryDirectory> own_;
    std::optional<std::string> before_;
};

TEST_F(DeathTest, AnEmptyDirectoryOfTheTestGoesWithIt) {
    const DeathPlace place;
    const auto die = [](DxrTestBody body) {
        (void)std::signal(SIGSEGV, SIG_DFL);  // a sanitizer has a handler
        (void)DxrTestExplore(nullptr, 1, body, nullptr, stderr);
    };
    EXPECT_DEATH(die([](void *) { Fault(); }), "seed 1: signal 11\n");
    EXPECT_EQ(place.Directories(), 0U);
    const auto write = [](void *) {
        EXPECT_TRUE(DxrTestWriteFile("left", "text", 4));
        Fault();
    };
    EXPECT_DEATH(die(write), "seed 1: signal 11\n");
    EXPECT_EQ(place.Directories(), 1U);
    const auto go = [] {
        (void)std::signal(SIGSEGV, [](int) { _exit(9); });
        (void)DxrTestExplore(
            nullptr, 1, [](void *) { Fault(); }, nullptr, stderr);
    };
    EXPECT_EXIT(go(), testing::ExitedWithCode(9), "has a handler\n$");
    EXPECT_EQ(place.Directories(), 2U) << "a handler may have saved the run";
}

void OwnHandler(int /*signal*/) {
    _exit(9);
}

// Who has a handler for the signal gets it, also one that somebody sends.
TEST_F(DeathTest, HandlersOfTheProgramFollow) {
    const auto run = [](DxrTestBody body) {
        (void)std::signal(SIGSEGV, OwnHandler);
        (void)std::signal(SIGFPE, OwnHandler);
        (void)DxrTestExplore(nullptr, 1, body, nullptr, stderr);
    };
    EXPECT_EXIT(run([](void *) { Fault(); }), testing::ExitedWithCode(9),
                "^seed 1: signal 11, for which the program has a handler\n$");
    EXPECT_EXIT(run([](void *) { (void)raise(SIGFPE); }), testing::ExitedWithCode(9),
                "^seed 1: signal 8, for which the program has a handler\n$");
    const auto later = [run] {
        run([](void *) {});
        Fault();
    };
    EXPECT_EXIT(later(), testing::ExitedWithCode(9), "^$");
}

sigjmp_buf g_beforeFault;

void GoBack(int /*signal*/) {
    siglongjmp(g_beforeFault, 1);
}

// The module lives on, and nobody says that it died.
TEST_F(DeathTest, WhatDoesNotEndTheProgramIsNotToldAsItsDeath) {
    const auto run = [](int signal, void (*handler)(int), DxrTestBody body) {
        (void)std::signal(signal, handler);
        _exit(DxrTestExplore(nullptr, 2, body, nullptr, stderr) == 2 ? 7 : 1);
    };
    const auto faults = [](void *) {
        if (sigsetjmp(g_beforeFault, 1) == 0) {
            Fault();
        }
    };
    EXPECT_EXIT(run(SIGSEGV, GoBack, faults), testing::ExitedWithCode(7),
                "^seed 1: signal 11, for which the program has a handler\n"
                "seed 2: signal 11, for which the program has a handler\n$");
    EXPECT_EXIT(run(SIGFPE, SIG_IGN, [](void *) { (void)raise(SIGFPE); }),
                testing::ExitedWithCode(7),
                "^seed 1: signal 8, which the program ignores\n"
                "seed 2: signal 8, which the program ignores\n$");
    // A fault is not ignored.
    EXPECT_EXIT(run(SIGSEGV, SIG_IGN, [](void *) { Fault(); }), testing::KilledBySignal(SIGSEGV),
                "^seed 1: signal 11\n$");
}

TEST_F(DeathTest, AHandlerThatTheModuleSetsStays) {
    const auto run = [] {
        (void)DxrTestExplore(
            nullptr, 1, [](void *) { (void)std::signal(SIGBUS, OwnHandler); }, nullptr, stderr);
        (void)raise(SIGBUS);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(9), "^$");
}

// What a module has found in a run, and put back after it, is nobody's any more.
TEST_F(DeathTest, AHandlerOfAnEarlierRunIsNone) {
    const auto run = [] {
        (void)std::signal(SIGSEGV, SIG_DFL);
        struct sigaction found {};
        (void)DxrTestExplore(
            nullptr, 1,
            [](void *kept) {
                (void)sigaction(SIGSEGV, nullptr, static_cast<struct sigaction *>(kept));
            },
            &found, nullptr);
        (void)sigaction(SIGSEGV, &found, nullptr);
        (void)DxrTestExplore(
            nullptr, 1, [](void *) { Fault(); }, nullptr, stderr);
    };
    EXPECT_EXIT(run(), testing::KilledBySignal(SIGSEGV), "^seed 1: signal 11\n$");
}

// A child process of the module's may die without the run.
TEST(TestKit, AChildProcessSaysNothing) {
    FILE *const out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    static int status = 0;
    const auto body = [](void *) {
        const pid_t child = fork();
        if (child == 0) {
            (void)raise(SIGABRT);
            _exit(0);
        }
        EXPECT_EQ(waitpid(child, &status, 0), child);
    };
    EXPECT_EQ(DxrTestExplore(nullptr, 1, body, nullptr, out), 1U);
    uint32_t runs = 0;
    const auto count = [](void *user) { ++*static_cast<uint32_t *>(user); };
    EXPECT_EQ(DxrTestExplore(nullptr, 3, count, &runs, out), 3U);
    EXPECT_EQ(runs, 3U);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(std::fseek(out, 0, SEEK_END), 0);
    EXPECT_EQ(std::ftell(out), 0);
    (void)std::fclose(out);
}

// --- In GoogleTest's manner

TEST_F(KitTest, TheEndOfATestFailsIt) {
    (void)Take(12);
    EXPECT_NONFATAL_FAILURE(End(), "left behind: ");
}

// These fail, and are run on their own, so that it is seen.
class DISABLED_BadModule : public dxr_test::ModuleTest {};

TEST_F(DISABLED_BadModule, LeavesSomethingBehind) {
    (void)Take(12);
}

TEST(DISABLED_BadModule2, FailsAnExpectationWithinARun) {
    uint32_t runs = 0;
    EXPECT_TRUE(HoldsForSeeds(5, [&] { EXPECT_LT(++runs, 2U); }));
}

}  // namespace
