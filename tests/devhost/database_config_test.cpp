// The development host's configuration service, by the sentences of its header.
#include "dxr_devhost/database_config.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "devhost/host_fixture.h"
#include "tools/temporary_directory.h"

namespace {

constexpr const char *kDefaults = R"({
  "boardData": [{"item": 1, "value": 10}, {"item": 2, "value": 20}],
  "memParams": [{"number": 3, "values": [1600, "0x1F"]}, {"number": 4, "values": []}],
  "advancedSpecs": [{"spec": 2, "values": [5]}, {"spec": 2, "chip": 1, "values": [6]}],
  "phyBoardInfo": [{"item": 0, "value": 4294967295}]
})";

constexpr const char *kBoard = R"({
  "boardData": [{"item": 2, "value": "0x15"}, {"item": "3", "value": 31}],
  "memParams": [{"number": 4, "values": [7, 8, 9]}],
  "advancedSpecs": [{"spec": 2, "chip": 1, "values": [60, 61]}, {"spec": 9, "values": [0]}],
  "phyBoardInfo": [{"item": 5, "value": 0}]
})";

using Values = std::vector<uint32_t>;

class DatabaseConfig : public dxrtest::HostTest {
  protected:
    DatabaseConfig() : workPath(directory.Path()) {
        std::filesystem::create_directory(directory.Path("conf"));
        (void)directory.Write("conf/defaults.json", kDefaults);
        (void)directory.Write("conf/tm_0x0000001A_0x00000003.json", kBoard);
        options.clock = DXR_HOST_CLOCK_STEPPED;
        options.workPath = workPath.c_str();
        Begin();
    }
    ~DatabaseConfig() override { End(); }

    void Restart() {
        End();
        reports.clear();
        Begin();
    }

    static void Read(const char *name, uint32_t id1 = 0x1A, uint32_t id2 = 3) {
        std::string text = name;
        DXR_CFG_ReadBoardData(text.data(), id1, id2);
    }

    // Reads this as the board's file; what is reported about it, without its path.
    std::string WhyNot(const std::string &content) {
        const std::string path = directory.Write("conf/x_0x00000000_0x00000000.json", content);
        Restart();
        Read("tm");
        Read("x", 0, 0);
        EXPECT_EQ(DXR_CFG_GetBoardData(3), 0U) << "nothing is left of what was read before";
        EXPECT_EQ(DXR_CFG_GetBoardData(2), 20U) << "the defaults stay";
        const std::vector<std::string> texts = Texts(DXR_HOST_REPORT_MISUSE);
        if (texts.size() != 1 || texts[0].rfind(path + ":", 0) != 0) {
            ADD_FAILURE() << content << ": " << (texts.empty() ? "no report" : texts[0]);
            return "";
        }
        return texts[0].substr(path.size() + 1);
    }

    static Values ValuesOf(const void *address) {
        if (address == nullptr) {
            return {0xFFFFFFFF};
        }
        const auto *const block = static_cast<const DxrHostConfigBlock *>(address);
        for (uint32_t i = block->count; i < DXR_HOST_CONFIG_VALUES; ++i) {
            EXPECT_EQ(block->values[i], 0U) << i;
        }
        return {block->values, block->values + block->count};
    }

    static std::string Listing(uint32_t size) {
        std::string text(size + 1, '#');
        const uint32_t length = DXR_CFG_DisplayBoardData(text.data(), size);
        EXPECT_EQ(text[size], '#') << "nothing is written beyond the size";
        EXPECT_TRUE(size == 0 || text[length] == '\0');
        text.resize(length);
        return text;
    }

    const dxrtest::TemporaryDirectory directory;
    const std::string workPath;
};

const Values kNone = {0xFFFFFFFF};

TEST_F(DatabaseConfig, TellsTheDefaults) {
    EXPECT_EQ(DXR_CFG_GetBoardData(1), 10U);
    EXPECT_EQ(DXR_CFG_GetBoardData(3), 0U);
    EXPECT_EQ(DXR_CFG_GetPhyBoardInfo(0), 0xFFFFFFFFU);
    EXPECT_EQ(DXR_CFG_GetPhyBoardInfo(1), 0U);
    EXPECT_EQ(ValuesOf(DXR_CFG_GetMemParam(3)), (Values{1600, 31}));
    EXPECT_EQ(ValuesOf(DXR_CFG_GetMemParam(4)), Values{});
    EXPECT_EQ(ValuesOf(DXR_CFG_GetMemParam(5)), kNone);
    EXPECT_EQ(ValuesOf(DXR_CFG_GetAdvancedSpec(2, 0)), Values{5});
    EXPECT_EQ(ValuesOf(DXR_CFG_GetAdvancedSpec(2, 1)), Values{6});
    EXPECT_EQ(ValuesOf(DXR_CFG_GetAdvancedSpec(2, 2)), kNone);
    EXPECT_EQ(ValuesOf(DXR_CFG_GetAdvancedSpec(0, 2)), kNone);
    for (uint32_t number = 0; number < 10; ++number) {
        EXPECT_EQ(DXR_CFG_IsFromBoardData(number), 0U);
        EXPECT_EQ(DXR_CFG_IsFromMemParam(number), 0U);
        EXPECT_EQ(DXR_CFG_IsFromBoardAdvancedSpec(number), 0U);
        EXPECT_EQ(DXR_CFG_IsFromPhyBoardInfo(number), 0U);
    }
    EXPECT_TRUE(reports.empty());
}

TEST_F(DatabaseConfig, PutsTheBoardsOwnBeforeThem) {
    Read("tm");
    EXPECT_EQ(DXR_CFG_GetBoardData(1), 10U);
    EXPECT_EQ(DXR_CFG_GetBoardData(2), 21U);
    EXPECT_EQ(DXR_CFG_GetBoardData(3), 31U);
    EXPECT_EQ(DXR_CFG_GetPhyBoardInfo(0), 0xFFFFFFFFU);
    EXPECT_EQ(ValuesOf(DXR_CFG_GetMemParam(3)), (Values{1600, 31}));
    EXPECT_EQ(ValuesOf(DXR_CFG_GetMemParam(4)), (Values{7, 8, 9}));
    EXPECT_EQ(ValuesOf(DXR_CFG_GetAdvancedSpec(2, 0)), Values{5});
    EXPECT_EQ(ValuesOf(DXR_CFG_GetAdvancedSpec(2, 1)), (Values{60, 61}));
    EXPECT_EQ(ValuesOf(DXR_CFG_GetAdvancedSpec(9, 0)), Values{0});
    EXPECT_EQ(static_cast<DxrHostConfigBlock *>(DXR_CFG_GetAdvancedSpec(9, 0))->number, 9U);
    EXPECT_EQ(static_cast<DxrHostConfigBlock *>(DXR_CFG_GetMemParam(4))->number, 4U);
    std::array<Values, 4> own;
    for (uint32_t number = 0; number < 12; ++number) {
        const std::array<uint32_t, 4> isFrom = {
            DXR_CFG_IsFromBoardData(number), DXR_CFG_IsFromMemParam(number),
            DXR_CFG_IsFromBoardAdvancedSpec(number), DXR_CFG_IsFromPhyBoardInfo(number)};
        for (size_t i = 0; i < isFrom.size(); ++i) {
            EXPECT_LE(isFrom[i], 1U);
            if (isFrom[i] != 0) {
                own[i].push_back(number);
            }
        }
    }
    EXPECT_EQ(own, (std::array<Values, 4>{Values{2, 3}, Values{4}, Values{2, 9}, Values{5}}));
    DXR_CFG_ClearBoardData();
    EXPECT_EQ(DXR_CFG_GetBoardData(2), 20U);
    EXPECT_EQ(DXR_CFG_GetBoardData(3), 0U);
    EXPECT_EQ(DXR_CFG_IsFromBoardData(2), 0U);
    EXPECT_EQ(DXR_CFG_IsFromBoardAdvancedSpec(9), 0U);
    EXPECT_EQ(ValuesOf(DXR_CFG_GetMemParam(4)), Values{});
    EXPECT_TRUE(reports.empty());
}

TEST_F(DatabaseConfig, ForgetsTheBoardBefore) {
    Read("tm");
    (void)directory.Write("conf/tm_0xFFFFFFFF_0x00000000.json",
                          R"({"boardData": [{"item": 7, "value": 70}]})");
    Read("tm", 0xFFFFFFFF, 0);
    EXPECT_EQ(DXR_CFG_GetBoardData(7), 70U);
    EXPECT_EQ(DXR_CFG_GetBoardData(3), 0U);
    EXPECT_EQ(DXR_CFG_IsFromMemParam(4), 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(DatabaseConfig, KeepsBlocksThatItHandedOut) {
    Read("tm");
    const void *const block = DXR_CFG_GetMemParam(4);
    const void *const spec = DXR_CFG_GetAdvancedSpec(9, 0);
    DXR_CFG_ClearBoardData();
    EXPECT_EQ(ValuesOf(block), (Values{7, 8, 9}));
    EXPECT_NE(DXR_CFG_GetMemParam(4), block) << "the default";
    Read("no such");
    EXPECT_EQ(ValuesOf(block), (Values{7, 8, 9}));
    EXPECT_EQ(ValuesOf(spec), Values{0});
    for (int i = 0; i < 100; ++i) {
        Read("tm");
        EXPECT_EQ(DXR_CFG_GetMemParam(4), block) << "what is alike is one";
    }
}

TEST_F(DatabaseConfig, SaysWhereAFileIsWrong) {
    const std::vector<std::pair<std::string, std::string>> wrong = {
        {"{\n  \"boardData\": [{]}", "2:18: this is no JSON"},
        {"", "1:1: this is no JSON"},
        {"[]", "1:1: the file must be an object"},
        {"{\"x\": 1}", "1:7: /x: is not known"},
        {"{\n\"boardData\":\n {}}", "3:2: /boardData: must be a list"},
        {"{\"boardData\": [7]}", "1:16: /boardData/0: must be an object"},
        {"{\"boardData\": [{\"item\": 1, \"value\": 2},\n{\"item\": 3}]}",
         "2:1: /boardData/1/value: is missing"},
        {"{\"memParams\": [], \"boardData\": [{\"item\": 1, \"value\": -2}]}",
         "1:54: /boardData/0/value: must be a whole number within its range"},
        {"{\"phyBoardInfo\": [{\"value\": 1,\n\"item\":\t4294967296}]}",
         "2:9: /phyBoardInfo/0/item: must be a whole number within its range"},
        {"{\"phyBoardInfo\": [{\"value\": \"0xG\", \"item\": 0}]}",
         "1:29: /phyBoardInfo/0/value: must be a whole number within its range"},
        {"{\"boardData\": [{\"item\": 1, \"value\": 2}, {\"value\": 3, \"item\": 1}]}",
         "1:62: /boardData/1/item: is there already"},
        {"{\"boardData\": [{\"item\": 1, \"value\": 2, \"\\\"}\": [{}, \"]\"], \"y\": {}}]}",
         "1:47: /boardData/0/\"}: is not known"},
        {"{\"memParams\": [{\"number\": 1}]}",
         "1:16: /memParams/0/values: must be a list of at most 30 numbers"},
        {"{\"memParams\": [{\"values\": {}, \"number\": 1}]}",
         "1:27: /memParams/0/values: must be a list of at most 30 numbers"},
        {"{\"memParams\": [{\"values\": [1, true], \"number\": 1}]}",
         "1:27: /memParams/0/values: must be whole numbers within their range"},
        {"{\"advancedSpecs\": [{\"spec\": 1, \"values\": []}, {\"spec\": 1, \"chip\": 0, "
         "\"values\": []}]}",
         "1:56: /advancedSpecs/1/spec: is there already"},
    };
    for (const auto &[content, why] : wrong) {
        EXPECT_EQ(WhyNot(content), why) << content;
    }
    std::string thirty = "1";
    for (int i = 1; i < 30; ++i) {
        thirty += ", 1";
    }
    const auto blockOf = [](const std::string &values) {
        return "{\"memParams\": [{\"number\": 4, \"values\": [" + values + "]}]}";
    };
    EXPECT_NE(WhyNot(blockOf(thirty + ", 1")), "");
    (void)directory.Write("conf/x_0x00000000_0x00000000.json", blockOf(thirty));
    Read("x", 0, 0);
    EXPECT_EQ(ValuesOf(DXR_CFG_GetMemParam(4)), Values(30, 1));
}

TEST_F(DatabaseConfig, SaysWhyAFileIsNotRead) {
    Read("tm");
    Read("none", 1, 2);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).back(),
              directory.Path("conf/none_0x00000001_0x00000002.json") +
                  ": cannot be read: No such file or directory");
    EXPECT_EQ(DXR_CFG_GetBoardData(3), 0U);
    Read("tm");
    DxrHostFailNth(host, "config.read", 1, false);
    reports.clear();
    Restart();
    Read("tm");
    DxrHostFailNth(host, "config.read", 1, false);
    Read("tm");
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE),
              std::vector<std::string>{directory.Path("conf/tm_0x0000001A_0x00000003.json") +
                                       ": cannot be read"});
    EXPECT_EQ(DXR_CFG_GetBoardData(3), 0U);
}

TEST_F(DatabaseConfig, RefusesNamesThatAreNone) {
    Read("tm");
    for (const char *const name : {"", "../conf/tm", "/tm", "tm/"}) {
        Read(name);
    }
    DXR_CFG_ReadBoardData(nullptr, 0, 0);
    EXPECT_EQ(DXR_CFG_GetBoardData(3), 31U) << "nothing has changed";
    for (const std::string &text : Texts(DXR_HOST_REPORT_MISUSE)) {
        EXPECT_EQ(text, "no name of a configuration file");
    }
    EXPECT_FALSE(reports.empty());
    const std::string longName(200, 'n');
    (void)directory.Write("conf/" + longName + "_0x00000001_0x00000002.json",
                          R"({"boardData": [{"item": 3, "value": 1}]})");
    Read(longName.c_str(), 1, 2);
    EXPECT_EQ(DXR_CFG_GetBoardData(3), 1U);
}

TEST_F(DatabaseConfig, FindsItsDirectory) {
    std::filesystem::rename(directory.Path("conf"), directory.Path("other"));
    Restart();
    EXPECT_EQ(DXR_CFG_GetBoardData(1), 0U);
    EXPECT_TRUE(reports.empty()) << "the defaults need not be there";
    End();
    const std::string other = directory.Path("other");
    options.configPath = other.c_str();
    Begin();
    EXPECT_EQ(DXR_CFG_GetBoardData(1), 10U);
    Read("tm");
    EXPECT_EQ(DXR_CFG_GetBoardData(3), 31U);
}

TEST_F(DatabaseConfig, ReportsDefaultsThatAreWrong) {
    (void)directory.Write("conf/defaults.json", "{\"boardData\": [\n{\"item\": 1}]}");
    Restart();
    DxrHostReport report;
    ASSERT_TRUE(DxrHostGetReport(host, 0, &report));
    EXPECT_EQ(report.kind, DXR_HOST_REPORT_MISUSE);
    EXPECT_STREQ(report.service, "config");
    EXPECT_EQ(report.text,
              directory.Path("conf/defaults.json") + ":2:1: /boardData/0/value: is missing");
    EXPECT_EQ(DXR_CFG_GetBoardData(1), 0U);
}

TEST_F(DatabaseConfig, ListsWhatItTells) {
    Read("tm");
    const std::vector<std::string> lines = {
        "boardData 1 = 10 (default)\n",
        "boardData 2 = 21 (board)\n",
        "boardData 3 = 31 (board)\n",
        "memParams 3 = 1600 31 (default)\n",
        "memParams 4 = 7 8 9 (board)\n",
        "advancedSpecs 2 chip 0 = 5 (default)\n",
        "advancedSpecs 2 chip 1 = 60 61 (board)\n",
        "advancedSpecs 9 chip 0 = 0 (board)\n",
        "phyBoardInfo 0 = 4294967295 (default)\n",
        "phyBoardInfo 5 = 0 (board)\n",
    };
    std::string whole;
    for (const std::string &line : lines) {
        whole += line;
    }
    EXPECT_EQ(Listing(4096), whole);
    for (uint32_t size = 0; size <= whole.size() + 2; ++size) {
        std::string expected;
        for (const std::string &line : lines) {
            if (expected.size() + line.size() >= size) {
                break;
            }
            expected += line;
        }
        ASSERT_EQ(Listing(size), expected) << size;
    }
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_CFG_DisplayBoardData(nullptr, 10), 0U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 1U);
}

TEST_F(DatabaseConfig, AnswersFailuresWithoutAHost) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    End();
    std::string name = "tm";
    hooks.cfg.cfgReadBoardData(name.data(), 0x1A, 3);
    hooks.cfg.cfgClearBoardData();
    EXPECT_EQ(hooks.cfg.cfgDisplayBoardData(name.data(), 2), 0U);
    EXPECT_EQ(name, "tm");
    EXPECT_EQ(hooks.cfg.cfgGetBoardData(1), 0U);
    EXPECT_EQ(hooks.cfg.cfgIsFromBoardData(2), 0U);
    EXPECT_EQ(hooks.cfg.cfgGetMemParam(3), nullptr);
    EXPECT_EQ(hooks.cfg.cfgIsFromMemParam(4), 0U);
    EXPECT_EQ(hooks.cfg.cfgGetAdvancedSpec(2, 0), nullptr);
    EXPECT_EQ(hooks.cfg.cfgIsFromBoardAdvancedSpec(2), 0U);
    EXPECT_EQ(hooks.cfg.cfgGetPhyBoardInfo(0), 0U);
    EXPECT_EQ(hooks.cfg.cfgIsFromPhyBoardInfo(5), 0U);
}

// One thread reads one file and the other in turn; the others see either as a whole.
TEST_F(DatabaseConfig, AnswersManyThreads) {
    (void)directory.Write("conf/tm_0x00000000_0x00000000.json",
                          R"({"memParams": [{"number": 3, "values": [1, 1, 1]}]})");
    (void)directory.Write("conf/tm_0x00000000_0x00000001.json",
                          R"({"memParams": [{"number": 3, "values": [2, 2]}]})");
    std::atomic<bool> isOver{false};
    std::atomic<uint32_t> wrong{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) {
        threads.emplace_back([&] {
            while (!isOver.load()) {
                const Values values = ValuesOf(DXR_CFG_GetMemParam(3));
                wrong += values != Values{1600, 31} && values != Values{1, 1, 1} &&
                         values != Values{2, 2};
                (void)Listing(500);
                std::this_thread::yield();
            }
        });
    }
    for (uint32_t i = 0; i < 200; ++i) {
        Read("tm", 0, i % 2);
    }
    isOver = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong.load(), 0U);
    EXPECT_TRUE(reports.empty());
}

}  // namespace
