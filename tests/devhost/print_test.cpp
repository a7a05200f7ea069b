// The host's print service, by the sentences of its header.
#include "dxr_devhost/print.h"

#include <sys/resource.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "devhost/file_calls.h"
#include "devhost/host_fixture.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::FileCalls;
using dxrtest::Message;
using dxrtest::TemporaryDirectory;

class HostPrint : public dxrtest::RealHost {
  protected:
    static void Print(uint32_t level, const char *text) {
        DXR_GetPrintHooks()->print(level, "%s", text);
    }
};

TEST_F(HostPrint, MessagesAboveTheLevelAreDropped) {
    for (uint32_t level = 0; level <= 8; ++level) {
        Print(level, "x");
    }
    EXPECT_EQ(messages.size(), 7U) << "levels 0 to 6";
    messages.clear();
    EXPECT_EQ(DXR_GetDbgLevel(), 6U);
    EXPECT_EQ(DXR_SetDbgLevel(1), 0U);
    EXPECT_EQ(DXR_GetDbgLevel(), 1U);
    Print(1, "failure");
    Print(2, "open");
    EXPECT_EQ(messages, (std::vector<Message>{{1, "failure"}}));
}

TEST_F(HostPrint, MessagesAreFormatted) {
    DXR_GetPrintHooks()->print(6, "chip[%u] %s 100%%", 3U, "up");
    EXPECT_EQ(messages, (std::vector<Message>{{6, "chip[3] up 100%"}}));
}

TEST_F(HostPrint, LongMessagesAreCut) {
    const std::string longText(10000, 'x');
    Print(1, longText.c_str());
    EXPECT_EQ(messages, (std::vector<Message>{{1, longText.substr(0, 4095)}}));
}

TEST_F(HostPrint, MessagesToAFileCarryPrefixAndLevel) {
    const TemporaryDirectory directory;
    std::FILE *const file = std::fopen(directory.Path("log").c_str(), "w");
    ASSERT_NE(file, nullptr);
    DxrHostSetPrintFile(host, file, 2, "host: ");
    Print(1, "one");
    Print(6, "six");
    DxrHostSetPrintFile(host, file, 6, nullptr);
    Print(6, "bare");
    DxrHostSetPrintFile(host, nullptr, 6, "host: ");
    Print(1, "nowhere");
    std::fclose(file);
    EXPECT_EQ(directory.Read("log"), "host: [1] one\n[6] bare\n");
}

TEST_F(HostPrint, ANullSinkDropsMessages) {
    DxrHostSetPrintSink(host, nullptr, nullptr, 6);
    Print(1, "nowhere");
    EXPECT_TRUE(messages.empty());
}

TEST_F(HostPrint, ASinkMayUseTheHost) {
    struct Nested {
        int calls = 0;
    } nested;
    DxrHostSetPrintSink(
        host,
        [](uint32_t, const char *, void *user) {
            auto *const inner = static_cast<Nested *>(user);
            if (++inner->calls == 1) {
                Print(1, "again");
                DXR_Free(DXR_Malloc(9, 8, "", 0), "", 0);
                DxrHostSetPrintSink(nullptr, nullptr, nullptr, 6);
            }
        },
        &nested, 6);
    Print(1, "first");
    Print(1, "third");
    EXPECT_EQ(nested.calls, 2);
}

TEST_F(HostPrint, DiagnosticLinesGoToTheSinkOrTheFile) {
    std::vector<std::string> lines;
    DxrHostSetDiagSink(
        host,
        [](const char *line, void *user) {
            static_cast<std::vector<std::string> *>(user)->emplace_back(line);
        },
        &lines);
    EXPECT_EQ(DXR_DiagLogFilter("to the sink"), 0U);
    EXPECT_EQ(lines, std::vector<std::string>{"to the sink"});

    const TemporaryDirectory directory;
    std::FILE *const file = std::fopen(directory.Path("log").c_str(), "w");
    ASSERT_NE(file, nullptr);
    DxrHostSetDiagFile(host, file);
    DXR_DiagLogFilter("100% to the file");
    DxrHostSetDiagFile(host, nullptr);
    DXR_DiagLogFilter("nowhere");
    std::fclose(file);
    EXPECT_EQ(directory.Read("log"), "100% to the file\n");
    EXPECT_EQ(lines.size(), 1U);
}

TEST_F(HostPrint, AFileThatIsReplacedIsNotWrittenToAnyMore) {
    struct Slow {
        std::atomic<bool> isWriting{false};
        std::atomic<bool> isOver{false};
    };
    const auto slow = [](Slow &state) {
        const auto write = [](void *cookie, const char *, size_t size) -> ssize_t {
            auto *const to = static_cast<Slow *>(cookie);
            to->isWriting = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            to->isOver = true;
            return static_cast<ssize_t>(size);
        };
        std::FILE *const file = fopencookie(&state, "w", {nullptr, write, nullptr, nullptr});
        std::setvbuf(file, nullptr, _IOLBF, 256);
        return file;
    };
    Slow ofMessages;
    Slow ofLines;
    std::FILE *const messageFile = slow(ofMessages);
    std::FILE *const lineFile = slow(ofLines);
    DxrHostSetPrintFile(host, messageFile, 6, "");
    DxrHostSetDiagFile(host, lineFile);
    std::thread printer([] { Print(1, "a message"); });
    std::thread teller([] { DXR_DiagLogFilter("a line"); });
    while (!ofMessages.isWriting && !ofLines.isWriting) {
        std::this_thread::yield();
    }
    DxrHostSetPrintFile(host, nullptr, 6, "");
    DxrHostSetDiagFile(host, nullptr);
    EXPECT_EQ(ofMessages.isOver, ofMessages.isWriting);
    EXPECT_EQ(ofLines.isOver, ofLines.isWriting);
    printer.join();
    teller.join();
    std::fclose(messageFile);
    std::fclose(lineFile);
}

TEST_F(HostPrint, NullPointersAreReported) {
    DxrHostLogFilter filter{sizeof(DxrHostLogFilter), 4, 10, 0, "a.log", nullptr};
    ASSERT_EQ(DXR_LOGFILTER_Register(&filter), 0U);
    const DxrPrintHooks &slots = *DXR_GetPrintHooks();  // the library looks at some of the texts
    EXPECT_EQ(slots.diagLogFilter(nullptr), 1U);
    EXPECT_EQ(slots.logFilterFilterSameLog(filter.handle, nullptr), 1U);
    EXPECT_EQ(slots.logFilterFilterDiffKeyLog(filter.handle, nullptr), 1U);
    EXPECT_EQ(DXR_LOGFILTER_FilterLargeDiffKeyLog(filter.handle, nullptr, 4), 1U);
    EXPECT_EQ(DXR_LOGFILTER_ShowCurInfo(1, filter.handle, nullptr, 100), 1U);
    EXPECT_EQ(DXR_RecordWarmRebootMileStone(nullptr), 1U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                testing::AllOf(testing::SizeIs(6), testing::Each("a null pointer")));
    EXPECT_EQ(DXR_LOGFILTER_Destroy(filter.handle), 0U);
}

// --- Private logs

class HostPrintPrivateLog : public HostPrint {
  protected:
    HostPrintPrivateLog() { DxrHostSetLogDirectory(host, (directory.Path() + "/").c_str()); }

    static uint32_t Write(const char *text) {
        return DXR_GetPrintHooks()->writePrivateLog("tm.log", "%s", text);
    }

    TemporaryDirectory directory;
};

TEST_F(HostPrintPrivateLog, CreatesAndAppends) {
    EXPECT_EQ(Write(""), 0U);
    EXPECT_EQ(directory.Read("tm.log"), "");
    EXPECT_EQ(Write("one\n"), 0U);
    EXPECT_EQ(Write("two\n"), 0U);
    EXPECT_EQ(directory.Read("tm.log"), "one\ntwo\n");
}

TEST_F(HostPrintPrivateLog, WritesAtMost1000Characters) {
    Write(std::string(1000, 'a').c_str());
    EXPECT_EQ(directory.Read("tm.log").size(), 1000U);
    Write(std::string(1001, 'b').c_str());
    EXPECT_EQ(directory.Read("tm.log"), std::string(1000, 'a') + std::string(1000, 'b'));
}

TEST_F(HostPrintPrivateLog, FormatsAnyFormat) {
    const std::string longText(2000, 'x');
    DXR_GetPrintHooks()->writePrivateLog("tm.log", "%u:%s", 7U, longText.c_str());
    EXPECT_EQ(directory.Read("tm.log"), "7:" + longText.substr(0, 998));
}

TEST_F(HostPrintPrivateLog, AFailedWriteIsSaid) {
    DxrHostSetLogDirectory(host, "/nonexistent/");
    EXPECT_NE(Write("x"), 0U);
    EXPECT_EQ(messages,
              (std::vector<Message>{{1, "private log /nonexistent/tm.log cannot be written"}}));
}

TEST_F(HostPrintPrivateLog, AStepMayBeMadeToFail) {
    DxrHostFailNth(host, "file.write", 2, false);
    EXPECT_EQ(Write("one\n"), 0U);
    EXPECT_EQ(Write("two\n"), 1U);
    EXPECT_EQ(Write("three\n"), 0U);
    EXPECT_EQ(directory.Read("tm.log"), "one\nthree\n");
}

TEST_F(HostPrintPrivateLog, ANameStaysInTheDirectory) {
    const auto write = [](const std::string &name) {
        return DXR_GetPrintHooks()->writePrivateLog(name.c_str(), "%s", "text");
    };
    const TemporaryDirectory elsewhere;
    const std::string other = elsewhere.Write("other.log", "");
    const std::string climbing =
        "../" + std::filesystem::path(elsewhere.Path()).filename().string() + "/other.log";
    std::filesystem::create_symlink(other, directory.Path("link.log"));
    std::filesystem::create_directory(directory.Path("below"));
    EXPECT_EQ(write("below/../below/tm.log"), 0U);
    EXPECT_EQ(directory.Read("below/tm.log"), "text");
    EXPECT_EQ(write(other), 1U) << "below the directory, where there is none";
    EXPECT_TRUE(reports.empty());
    for (const std::string &name : {climbing, std::string("link.log"), std::string("..")}) {
        EXPECT_EQ(write(name), 1U) << name;
    }
    EXPECT_EQ(elsewhere.Read("other.log"), "");
    ASSERT_EQ(reports.size(), 1U) << "one caller, one report";
    EXPECT_STREQ(reports[0].slot, "DXR_WritePrivateLog");
    EXPECT_THAT(reports[0].caller, testing::HasSubstr("devhost_print_test"));
    EXPECT_EQ(reports[0].text, "outside: " + directory.Path(climbing));
    End();
    options.allowOutside = 1;
    Begin();
    DxrHostSetLogDirectory(host, (directory.Path() + "/").c_str());
    EXPECT_EQ(write(climbing), 0U);
    EXPECT_EQ(write("link.log"), 0U);
    EXPECT_EQ(elsewhere.Read("other.log"), "texttext");
}

TEST_F(HostPrintPrivateLog, ANameThatCannotBeLookedUpIsSaid) {
    std::filesystem::create_symlink("tm.log", directory.Path("tm.log"));
    EXPECT_EQ(Write("x"), 1U);
    EXPECT_EQ(messages,
              (std::vector<Message>{{1, "DXR_WritePrivateLog: " + directory.Path("tm.log") +
                                            " cannot be looked up: " + std::strerror(ELOOP)}}));
    EXPECT_TRUE(reports.empty());
}

// --- The log file

TEST_F(HostPrint, MessagesAlsoGoToTheLogFileWhichIsRenamedWhenFull) {
    const TemporaryDirectory directory;
    const std::string path = directory.Path("host.log");
    End();
    options.logFile = path.c_str();
    options.logFileBytes = 40;
    options.logFileCount = 2;
    Begin();
    for (const char *text : {"first message", "second message", "third message", "fourth message",
                             "fifth message", "sixth message", "seventh message"}) {
        Print(1, text);
    }
    DxrHostSetPrintSink(host, nullptr, nullptr, 1);
    Print(6, "above the level");
    EXPECT_EQ(messages.size(), 7U);
    EXPECT_EQ(directory.Read("host.log"), "[1] seventh message\n");
    EXPECT_EQ(directory.Read("host.log.1"), "[1] fifth message\n[1] sixth message\n");
    EXPECT_EQ(directory.Read("host.log.2"), "[1] third message\n[1] fourth message\n");
    EXPECT_FALSE(std::filesystem::exists(directory.Path("host.log.3")));
}

TEST_F(HostPrint, EachKindOfOutputMayBeTurnedOff) {
    std::vector<std::string> lines;
    DxrHostSetDiagSink(
        host,
        [](const char *line, void *user) {
            static_cast<std::vector<std::string> *>(user)->emplace_back(line);
        },
        &lines);
    DxrHostEvent event{sizeof(DxrHostEvent), 1, 2, 0, "text"};
    for (const uint32_t on : {0U, 7U}) {
        for (uint32_t kind = 0; kind < 4; ++kind) {
            EXPECT_EQ(DXR_EnableLogOutput(kind, on), 0U);
        }
        Print(1, "message");
        DXR_DiagLogFilter("line");
        EXPECT_EQ(DXR_WriteEventLog(&event), 0U);
        EXPECT_EQ(messages.size(), on == 0 ? 0U : 2U);
        EXPECT_EQ(lines.size(), on == 0 ? 0U : 1U);
    }
    EXPECT_EQ(DXR_EnableLogOutput(4, 1), 1U);
}

// --- Events, assertions, milestones

TEST_F(HostPrint, EventsGoToTheSinkOrAreMessages) {
    DxrHostEvent event{sizeof(DxrHostEvent), 17, 4, 0, "link down"};
    EXPECT_EQ(DXR_WriteEventLog(&event), 0U);
    EXPECT_EQ(messages, (std::vector<Message>{{3, "event 17 level 4: link down"}}));
    std::vector<uint32_t> ids;
    DxrHostSetEventSink(
        host,
        [](const DxrHostEvent *each, void *user) {
            static_cast<std::vector<uint32_t> *>(user)->push_back(each->id);
        },
        &ids);
    EXPECT_EQ(DXR_WriteEventLog(&event), 0U);
    EXPECT_EQ(ids, std::vector<uint32_t>{17});
    EXPECT_EQ(messages.size(), 1U);
    event.size = 3;
    EXPECT_EQ(DXR_WriteEventLog(&event), 1U);
    EXPECT_EQ(DXR_WriteEventLog(nullptr), 1U);
}

TEST_F(HostPrint, AssertionsAreReportedWithABackTrace) {
    EXPECT_EQ(DXR_Assert(reinterpret_cast<void *>(0x1234), 99), 0U);
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_THAT(reports[0].text, testing::HasSubstr("assertion of 0x1234 at 99; called by "));
    EXPECT_THAT(reports[0].text, testing::HasSubstr("devhost_print_test+0x"));
    EXPECT_STREQ(reports[0].slot, "DXR_Assert");
}

// With the virtual clock a run repeats byte for byte; addresses do not.
TEST_F(HostPrint, AssertionsOfVirtualRunsNameNoAddress) {
    End();
    options.clock = DXR_HOST_CLOCK_VIRTUAL;
    Begin();
    EXPECT_EQ(DXR_Assert(reinterpret_cast<void *>(65536), 98), 0U);
    EXPECT_THAT(reports[0].text, testing::StartsWith("assertion at 98; called by "));
    EXPECT_EQ(DXR_Assert(reinterpret_cast<void *>(65535), 99), 0U);
    EXPECT_THAT(reports[1].text, testing::StartsWith("assertion of 0xffff at 99; called by "));
}

TEST_F(HostPrint, MilestonesAreKeptWithTheirTime) {
    for (int i = 0; i < 300; ++i) {
        std::string text = "step " + std::to_string(i) + std::string(i == 299 ? 200 : 0, 'x');
        EXPECT_EQ(DXR_RecordWarmRebootMileStone(text.data()), 0U);
    }
    EXPECT_EQ(DXR_RecordWarmRebootMileStone(nullptr), 1U);
    EXPECT_EQ(DxrHostGetMilestoneCount(host), 256U);
    DxrHostMilestone first{};
    DxrHostMilestone last{};
    EXPECT_TRUE(DxrHostGetMilestone(host, 0, &first));
    EXPECT_STREQ(first.text, "step 44");
    EXPECT_TRUE(DxrHostGetMilestone(host, 255, &last));
    EXPECT_EQ(std::string(last.text), "step 299" + std::string(119, 'x'));
    EXPECT_LE(first.ns, last.ns);
    EXPECT_FALSE(DxrHostGetMilestone(host, 256, &last));
}

// --- The host's log filters

TEST_F(HostPrint, OneOfEqualLinesOfManyThreadsIsWritten) {
    static std::atomic<uint32_t> written;
    written = 0;
    DxrHostSetDiagSink(
        host, [](const char *, void *) { ++written; }, nullptr);
    DxrHostLogFilter filter{sizeof(DxrHostLogFilter), 65536, 3600, 0, "a.log", nullptr};
    ASSERT_EQ(DXR_LOGFILTER_Register(&filter), 0U);
    constexpr uint32_t kLines = 20000;
    const auto tell = [&filter, slots = DXR_GetPrintHooks()] {
        for (uint32_t i = 0; i < kLines; ++i) {
            slots->logFilterFilterSameLog(filter.handle, std::to_string(i).c_str());
        }
    };
    // They soon wait for each other, and tell each line at the same time.
    std::array<std::thread, 4> threads;
    for (std::thread &thread : threads) {
        thread = std::thread(tell);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(written, kLines);
    EXPECT_EQ(DXR_LOGFILTER_Destroy(filter.handle), 0U);
}

class HostLogFilter : public dxrtest::SteppedHost {
  protected:
    HostLogFilter() {
        DxrHostSetDiagSink(
            host,
            [](const char *line, void *user) {
                static_cast<std::vector<std::string> *>(user)->emplace_back(line);
            },
            &lines);
        EXPECT_EQ(DXR_LOGFILTER_Register(&filter), 0U);
    }

    std::vector<std::string> lines;
    DxrHostLogFilter filter{sizeof(DxrHostLogFilter), 3, 10, 0, "tm.log", nullptr};
};

TEST_F(HostLogFilter, SuppressesEqualLinesForAWhile) {
    for (int sec = 0; sec < 12; ++sec) {
        EXPECT_EQ(DXR_LOGFILTER_FilterSameLog(filter.handle, "link %u down", 3U), 0U);
        DXR_LOGFILTER_FilterSameLog(filter.handle, "link %u down", 4U + (sec == 11 ? 1U : 0U));
        DxrHostAdvance(host, 1000);
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"link 3 down", "link 4 down", "link 3 down",
                                               "link 4 down", "link 5 down"}));
    std::array<char, 200> listing{};
    EXPECT_EQ(DXR_LOGFILTER_ShowCurInfo(0, filter.handle, listing.data(), listing.size()), 0U);
    EXPECT_STREQ(listing.data(), "link 3 down: 10 suppressed\nlink 4 down: 9 suppressed\n");
    EXPECT_EQ(DXR_LOGFILTER_ShowCurInfo(1, filter.handle, listing.data(), 8), 0U);
    EXPECT_STREQ(listing.data(), "link 3 ");
    EXPECT_EQ(DXR_LOGFILTER_ShowHisInfo(filter.handle), 0U);
    EXPECT_EQ(messages.back(), (Message{6, "log filter tm.log: 5 lines passed, 19 suppressed"}));
    EXPECT_STREQ(DXR_LOGFILTER_GetFileName(filter.handle), "tm.log");
    EXPECT_EQ(DXR_LOGFILTER_Destroy(filter.handle), 0U);
}

TEST_F(HostLogFilter, SuppressesByKeysAndForgetsTheOldest) {
    void *handle = nullptr;
    EXPECT_EQ(DXR_LOGFILTER_RegisterDiffLogForFramework(5, nullptr, &filter, &handle), 0U);
    EXPECT_STREQ(DXR_LOGFILTER_GetFileName(handle), "framework 5");
    for (const char *line : {"a: 1", "a: 2", "b: 1", "c: 1", "a: 3", "d: 1", "a: 4"}) {
        DXR_LOGFILTER_FilterDiffKeyLog(handle, "%s", line);
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"a: 1", "b: 1", "c: 1", "d: 1", "a: 4"}))
        << "three are known";
    lines.clear();
    std::array<char, 8> text = {"abcdef"};
    EXPECT_EQ(DXR_LOGFILTER_FilterLargeDiffKeyLog(handle, text.data(), 3), 0U);
    text[5] = 'x';
    EXPECT_EQ(DXR_LOGFILTER_FilterLargeDiffKeyLog(handle, text.data(), 3), 0U);
    text[1] = 'x';
    EXPECT_EQ(DXR_LOGFILTER_FilterLargeDiffKeyLog(handle, text.data(), 3), 0U);
    EXPECT_EQ(lines, (std::vector<std::string>{"abcdef", "axcdex"}));
    EXPECT_EQ(End(), 2U) << "both filters";
}

TEST_F(HostLogFilter, BadOnesAreReported) {
    DxrHostLogFilter wrong = filter;
    wrong.entries = 0;
    EXPECT_EQ(DXR_LOGFILTER_Register(&wrong), 1U);
    EXPECT_EQ(DXR_LOGFILTER_Register(nullptr), 1U);
    EXPECT_EQ(DXR_LOGFILTER_Destroy(filter.handle), 0U);
    EXPECT_EQ(DXR_LOGFILTER_Destroy(filter.handle), 1U);
    EXPECT_EQ(DXR_LOGFILTER_GetFileName(filter.handle), nullptr);
    EXPECT_EQ(DXR_GetPrintHooks()->logFilterFilterSameLog(filter.handle, "x"), 1U);
    EXPECT_EQ(DXR_LOGFILTER_ShowHisInfo(nullptr), 1U);
    DxrHostFailNth(host, "filter.register", 1, false);
    EXPECT_EQ(DXR_LOGFILTER_Register(&filter), 1U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 6U);
}

class HostPrintLogFile : public dxrtest::HostTest {
  protected:
    // Writes messages to the file in a host of their own.
    void Write(uint32_t bytes, uint32_t count, const std::vector<const char *> &texts) {
        options.logFile = path.c_str();
        options.logFileBytes = bytes;
        options.logFileCount = count;
        Begin();
        for (const char *const text : texts) {
            DXR_GetPrintHooks()->print(1, "%s", text);
        }
        End();
    }

    TemporaryDirectory directory;
    const std::string path = directory.Path("host.log");
};

TEST_F(HostPrintLogFile, OneThatIsFullAlreadyIsRenamedFirst) {
    (void)directory.Write("host.log", "[1] of an earlier run\n");
    Write(30, 2, {"first", "second"});
    EXPECT_EQ(directory.Read("host.log"), "[1] first\n[1] second\n");
    EXPECT_EQ(directory.Read("host.log.1"), "[1] of an earlier run\n");
    Write(30, 2, {"x"});
    EXPECT_EQ(directory.Read("host.log"), "[1] first\n[1] second\n[1] x\n") << "there is room";
}

TEST_F(HostPrintLogFile, AsManyAsThereAreMayBeKept) {
    Write(10, 0xFFFFFFFF, {"first", "second", "third", "fourth"});
    EXPECT_EQ(directory.Read("host.log"), "[1] fourth\n");
    EXPECT_EQ(directory.Read("host.log.1"), "[1] third\n");
    EXPECT_EQ(directory.Read("host.log.3"), "[1] first\n");
    EXPECT_FALSE(std::filesystem::exists(directory.Path("host.log.4")));
    Write(10, 0, {"fifth", "sixth"});
    EXPECT_EQ(directory.Read("host.log"), "[1] sixth\n") << "none is kept";
    EXPECT_EQ(directory.Read("host.log.1"), "[1] third\n");
    Write(10, 1, {"seventh"});
    EXPECT_EQ(directory.Read("host.log.1"), "[1] sixth\n");
}

TEST_F(HostPrintLogFile, ADirectoryIsNone) {
    std::filesystem::create_directory(path);
    Write(10, 1, {"first", "second"});
    EXPECT_EQ(messages.size(), 2U);
    EXPECT_TRUE(std::filesystem::is_directory(path));
}

// The reports of a host without sinks, by their texts; what it says itself is left out.
std::vector<std::string> TextsOf(DxrHost *host) {
    std::vector<std::string> texts;
    DxrHostReport report;
    for (uint32_t i = 0; DxrHostGetReport(host, i, &report); ++i) {
        texts.emplace_back(report.text);
    }
    return texts;
}

TEST_F(HostPrintLogFile, OneThatCannotBeOpenedIsToldWhenTheHostIsMade) {
    const std::string below = directory.Write("file", "") + "/host.log";
    options.logFile = below.c_str();
    testing::internal::CaptureStderr();
    Begin();
    const std::string expected =
        "the log file " + below + " could not be opened: " + std::strerror(ENOTDIR);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "dxr [1] print: " + expected + "\n");
    DXR_GetPrintHooks()->print(1, "%s", "first");
    DXR_GetPrintHooks()->print(1, "%s", "second");
    EXPECT_EQ(messages.size(), 2U);
    EXPECT_EQ(TextsOf(host), std::vector<std::string>{expected}) << "once";
}

TEST_F(HostPrintLogFile, OneThatIsFullLacksWholeLines) {
    options.logFile = path.c_str();
    Begin();
    const auto print = [](const char *text) { DXR_GetPrintHooks()->print(1, "%s", text); };
    print("first");
    print("second");
    void (*const handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{25, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    print("third");
    print("fourth");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    (void)std::signal(SIGXFSZ, handler);
    print("fifth");
    EXPECT_EQ(directory.Read("host.log"), "[1] first\n[1] second\n[1] fifth\n");
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE),
              std::vector<std::string>{"the log file " + path +
                                       " could not be written: " + std::strerror(EFBIG)});
    EXPECT_EQ(messages.size(), 5U);
}

TEST_F(HostPrintLogFile, OneThatCannotBeRenamedGrowsOn) {
    std::filesystem::create_directory(directory.Path("host.log.1"));
    Write(12, 1, {"first", "second"});
    EXPECT_EQ(directory.Read("host.log"), "[1] first\n[1] second\n");
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE),
              std::vector<std::string>{"the log file " + path +
                                       " could not be renamed: " + std::strerror(EISDIR)});
}

// Without a sink the report is a message, which meets the same failure.
TEST_F(HostPrintLogFile, AFailureIsToldOnceAlsoByTheHostItself) {
    options.logFile = "/dev/full";
    Begin();
    DxrHostSetReportSink(host, nullptr, nullptr);
    DXR_GetPrintHooks()->print(1, "%s", "first");
    DXR_GetPrintHooks()->print(1, "%s", "second");
    const std::string text =
        std::string("the log file /dev/full could not be written: ") + std::strerror(ENOSPC);
    const std::vector<Message> expected = {{1, "first"}, {1, "print: " + text}, {1, "second"}};
    EXPECT_EQ(messages, expected);
    EXPECT_EQ(TextsOf(host), std::vector<std::string>{text});
}

TEST_F(HostPrintPrivateLog, ANullTextIsNone) {
    const char *volatile none = nullptr;
    EXPECT_EQ(DXR_GetPrintHooks()->writePrivateLog("tm.log", "%s", none), 1U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE), std::vector<std::string>{"a null text"});
    EXPECT_FALSE(std::filesystem::exists(directory.Path("tm.log")));
}

// A private log and the log file, each of whose calls fails: what cannot be written is told, and
// nothing stays open.
TEST_F(HostPrintPrivateLog, TellsWhatFails) {
    options.logFile = nullptr;
    const std::string path = directory.Path("host.log");
    End();
    options.logFile = path.c_str();
    options.logFileBytes = 30;
    options.logFileCount = 2;
    for (const FileCalls::How how : {FileCalls::How::kOnce, FileCalls::How::kFromThenOn}) {
        bool hasFailed = true;
        for (uint64_t n = 1; hasFailed; ++n) {
            ASSERT_LT(n, 100U);
            (void)std::filesystem::remove(directory.Path("tm.log"));
            const size_t descriptors = dxrtest::Descriptors();
            Begin();
            DxrHostSetLogDirectory(host, (directory.Path() + "/").c_str());
            FileCalls::Begin(n, how);
            const uint32_t result = Write("line\n");
            for (const char *const text : {"first", "second", "third", "fourth"}) {
                Print(1, text);
            }
            hasFailed = FileCalls::End();
            EXPECT_TRUE(result == 0 || result == 1);
            EXPECT_EQ(messages.size(), 4U + result) << "a message says so";
            EXPECT_TRUE(result != 0 || directory.Read("tm.log") == "line\n");
            End();
            messages.clear();
            EXPECT_EQ(dxrtest::Descriptors(), descriptors);
        }
    }
    Begin();
}

}  // namespace
