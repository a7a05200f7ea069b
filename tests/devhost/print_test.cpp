// The host's print service, by the sentences of its header.
#include "dxr_devhost/print.h"

#include <string>
#include <vector>

#include "devhost/host_fixture.h"
#include "tools/temporary_directory.h"

namespace {

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

}  // namespace
