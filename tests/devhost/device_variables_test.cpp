// Environment and flash information, by the sentences of the device service's header.
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>

#include "devhost/device_fixture.h"
#include "devhost/file_calls.h"
#include "devhost/killed.h"
#include "dxr_devhost/device.h"

namespace {

using dxrtest::FileCalls;

// The functions of one of the two sets.
struct Set {
    uint32_t (*get)(const char *, void *, uint32_t);
    uint32_t (*set)(const char *, void *, uint32_t);
    uint32_t (*save)();
    const char *file;
};

class DeviceEnvironment : public dxrtest::SteppedDevice, public testing::WithParamInterface<Set> {
  protected:
    static uint32_t Put(const std::string &name, std::string value) {
        return GetParam().set(name.c_str(), value.data(), static_cast<uint32_t>(value.size()));
    }
    // Null bytes at the end are left out.
    static std::string Take(const std::string &name) {
        std::array<char, 64> value{};
        const uint32_t result = GetParam().get(name.c_str(), value.data(), value.size() - 1);
        return result == 0 ? value.data() : "error " + std::to_string(result);
    }
};

INSTANTIATE_TEST_SUITE_P(Sets, DeviceEnvironment,
                         testing::Values(Set{DXR_GetEnv, DXR_SetEnv, DXR_SaveEnvBlock, "env.bin"},
                                         Set{DXR_GetMemEnv, DXR_SetMemEnv, DXR_SaveMemEnv,
                                             "memenv.bin"}),
                         [](const auto &set) { return set.index == 0 ? "Block" : "Memory"; });

TEST_P(DeviceEnvironment, HoldsVariables) {
    const std::string absent = "error " + std::to_string(ENOENT);
    EXPECT_EQ(Take("boot"), absent);
    EXPECT_EQ(Put("boot", "disk"), 0U);
    EXPECT_EQ(Take("boot"), "disk");
    EXPECT_EQ(Put("boot", "net"), 0U);
    EXPECT_EQ(Take("boot"), "net") << "zeros follow";
    std::array<char, 6> exact{'#', '#', '#', '#', '#', '#'};
    EXPECT_EQ(GetParam().get("boot", exact.data(), 2), uint32_t{ENOSPC});
    EXPECT_EQ(exact[0], '#');
    EXPECT_EQ(GetParam().get("boot", exact.data(), 3), 0U);
    EXPECT_EQ(std::string(exact.data(), 4), "net#");
    EXPECT_EQ(GetParam().get("boot", exact.data(), 5), 0U);
    EXPECT_EQ(std::memcmp(exact.data(), "net\0\0#", 6), 0);
    EXPECT_EQ(GetParam().set("boot", nullptr, 0), 0U) << "takes it away";
    EXPECT_EQ(Take("boot"), absent);
    EXPECT_EQ(GetParam().set("boot", nullptr, 0), 0U);
}

TEST_P(DeviceEnvironment, HasLimits) {
    EXPECT_EQ(Put(std::string(63, 'n'), "1"), 0U);
    EXPECT_EQ(Take(std::string(63, 'n')), "1");
    EXPECT_EQ(Put(std::string(64, 'n'), "1"), uint32_t{ENAMETOOLONG});
    EXPECT_EQ(GetParam().get(std::string(64, 'n').c_str(), nullptr, 0), uint32_t{ENAMETOOLONG});
    EXPECT_EQ(Put("large", std::string(60000, 'x')), 0U);
    EXPECT_EQ(Put("more", std::string(6000, 'x')), uint32_t{ENOSPC});
    EXPECT_EQ(Put("large", std::string(59000, 'y')), 0U) << "in place of the old one";
    EXPECT_EQ(Put("more", std::string(6000, 'x')), 0U);
    EXPECT_EQ(Put("large", std::string(65000, 'x')), uint32_t{ENOSPC});
    EXPECT_TRUE(reports.empty());
    std::array<char, 4> value{};
    EXPECT_EQ(GetParam().get("", value.data(), 4), uint32_t{EINVAL});
    EXPECT_EQ(GetParam().get(nullptr, value.data(), 4), uint32_t{EINVAL});
    EXPECT_EQ(GetParam().get("more", nullptr, 4), uint32_t{EINVAL});
    EXPECT_EQ(GetParam().set("", value.data(), 4), uint32_t{EINVAL});
    EXPECT_EQ(GetParam().set("more", nullptr, 4), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 5U);
}

TEST_P(DeviceEnvironment, IsReadBackWhenItWasSaved) {
    EXPECT_EQ(Put("saved", std::string("a\0b", 3)), 0U);
    EXPECT_EQ(GetParam().save(), 0U);
    EXPECT_EQ(Put("saved", "c"), 0U);
    EXPECT_EQ(Put("unsaved", "c"), 0U);
    Restart();
    std::array<char, 3> value{};
    EXPECT_EQ(GetParam().get("saved", value.data(), 3), 0U);
    EXPECT_EQ(std::memcmp(value.data(), "a\0b", 3), 0);
    EXPECT_EQ(Take("unsaved"), "error " + std::to_string(ENOENT));
    EXPECT_FALSE(std::filesystem::exists(directory.Path(GetParam().file) + std::string(".new")));
}

TEST_P(DeviceEnvironment, KeepsTheOldFileWhenAStepFails) {
    EXPECT_EQ(Put("state", "old"), 0U);
    EXPECT_EQ(GetParam().save(), 0U);
    EXPECT_EQ(Put("state", "new"), 0U);
    const std::string before = directory.Read(GetParam().file);
    for (const char *const point : {"env.open", "env.write", "env.sync", "env.rename"}) {
        DxrHostFailNth(host, point, 1, false);
        EXPECT_EQ(GetParam().save(), uint32_t{EIO}) << point;
        EXPECT_EQ(directory.Read(GetParam().file), before) << point;
        EXPECT_FALSE(
            std::filesystem::exists(directory.Path(GetParam().file) + std::string(".new")));
        EXPECT_EQ(Take("state"), "new") << "only saving has failed";
    }
    EXPECT_EQ(GetParam().save(), 0U);
    Restart();
    EXPECT_EQ(Take("state"), "new");
}

TEST_P(DeviceEnvironment, BeginsEmptyWhenItsFileIsTorn) {
    EXPECT_EQ(Put("first", "1"), 0U);
    EXPECT_EQ(Put("second", "22"), 0U);
    EXPECT_EQ(GetParam().save(), 0U);
    const std::string whole = directory.Read(GetParam().file);
    for (size_t length = 0; length < whole.size(); ++length) {
        (void)directory.Write(GetParam().file, whole.substr(0, length));
        Restart();
        EXPECT_EQ(Take("first"), "error " + std::to_string(ENOENT)) << length;
        EXPECT_EQ(DxrHostGetReportCount(host), 1U) << length;
    }
    for (size_t at = 0; at < whole.size(); ++at) {
        std::string changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ 4);
        (void)directory.Write(GetParam().file, changed);
        Restart();
        EXPECT_EQ(Take("first"), "error " + std::to_string(ENOENT)) << at;
        EXPECT_EQ(DxrHostGetReportCount(host), 1U) << at;
    }
    (void)directory.Write(GetParam().file, whole);
    Restart();
    EXPECT_EQ(Take("second"), "22");
    EXPECT_EQ(DxrHostGetReportCount(host), 0U);
}

class DeviceFlash : public dxrtest::SteppedDevice {};

TEST_F(DeviceFlash, SavesBothSetsOfTheEnvironment) {
    char value = '1';
    ASSERT_EQ(DXR_SetEnv("a", &value, 1), 0U);
    ASSERT_EQ(DXR_SetMemEnv("b", &value, 1), 0U);
    value = '0';
    DxrHostFailNth(host, "env.write", 1, false);
    EXPECT_EQ(DXR_SaveEnv(), uint32_t{EIO}) << "the first of them";
    DxrHostFailNth(host, "env.write", 2, false);
    EXPECT_EQ(DXR_SaveEnv(), uint32_t{EIO}) << "the second of them";
    EXPECT_EQ(DXR_SaveEnv(), 0U);
    Restart();
    EXPECT_EQ(DXR_GetEnv("a", &value, 1), 0U);
    EXPECT_EQ(value, '1');
    EXPECT_EQ(DXR_GetMemEnv("b", &value, 1), 0U);
    EXPECT_EQ(DXR_GetEnv("b", &value, 1), uint32_t{ENOENT}) << "two sets";
}

TEST_F(DeviceFlash, KeepsItems) {
    const std::string text = "serial 42";
    DxrHostFlashInfo info{sizeof(info), 0xFFFFFFFF, static_cast<uint32_t>(text.size()), 0,
                          text.data()};
    EXPECT_EQ(DXR_WriteFlashInfo(&info), 0U);
    Restart();
    std::array<char, 16> buffer{};
    EXPECT_EQ(DxrHostGetFlashInfo(host, 0xFFFFFFFF, buffer.data(), 6), 9U);
    EXPECT_STREQ(buffer.data(), "serial");
    EXPECT_EQ(DxrHostGetFlashInfo(host, 0xFFFFFFFF, nullptr, 0), 9U);
    EXPECT_EQ(DxrHostGetFlashInfo(host, 1, buffer.data(), 6), 0U);
    DxrHostFailNth(host, "env.rename", 1, false);
    info.bytes = 6;
    EXPECT_EQ(DXR_WriteFlashInfo(&info), uint32_t{EIO});
    EXPECT_EQ(messages.back().second,
              workPath + "/flash.bin: could not be renamed: Input/output error");
    EXPECT_EQ(DxrHostGetFlashInfo(host, 0xFFFFFFFF, nullptr, 0), 9U) << "the one before";
    EXPECT_EQ(DXR_WriteFlashInfo(&info), 0U);
    EXPECT_EQ(DxrHostGetFlashInfo(host, 0xFFFFFFFF, nullptr, 0), 6U);
    info.bytes = 0;
    info.data = nullptr;
    EXPECT_EQ(DXR_WriteFlashInfo(&info), 0U);
    EXPECT_EQ(DxrHostGetFlashInfo(host, 0xFFFFFFFF, nullptr, 0), 0U);
    EXPECT_TRUE(reports.empty());
    const std::string large(70000, 'x');
    info.bytes = 70000;
    EXPECT_EQ(DXR_WriteFlashInfo(&info), uint32_t{EINVAL}) << "a null pointer";
    info.data = large.data();
    EXPECT_EQ(DXR_WriteFlashInfo(&info), uint32_t{ENOSPC});
    info.size = 0;
    EXPECT_EQ(DXR_WriteFlashInfo(&info), uint32_t{EINVAL});
    EXPECT_EQ(DXR_WriteFlashInfo(nullptr), uint32_t{EINVAL});
}

TEST_F(DeviceFlash, SaysWhyItCouldNotBeSaved) {
    DxrHostFailNth(host, "env.write", 2, true);
    EXPECT_EQ(DXR_SaveEnv(), uint32_t{EIO});
    DxrHostFailNth(host, "env.write", 0, false);
    std::filesystem::remove(directory.Path("env.bin"));
    std::filesystem::create_directory(directory.Path("env.bin"));
    EXPECT_EQ(DXR_SaveEnv(), uint32_t{EIO});
    const std::vector<dxrtest::Message> expected = {
        {1, workPath + "/memenv.bin: could not be written: Input/output error"},
        {1, workPath + "/env.bin: could not be renamed: Is a directory"}};
    EXPECT_EQ(messages, expected);
}

// --- Calls that fail

TEST_F(DeviceFlash, FilesAreTheOldOrTheNewOnesWhateverFails) {
    const auto set = [](uint32_t number) {
        EXPECT_EQ(DXR_SetEnv("n", &number, sizeof(number)), 0U);
        EXPECT_EQ(DXR_SetMemEnv("n", &number, sizeof(number)), 0U);
    };
    const auto saved = [](auto get) {
        uint32_t number = 0;
        EXPECT_EQ(get("n", &number, sizeof(number)), 0U);
        return number;
    };
    set(1);
    ASSERT_EQ(DXR_SaveEnv(), 0U);
    const size_t descriptors = dxrtest::Descriptors();
    for (const FileCalls::How how : FileCalls::kAll) {
        bool hasFailed = true;
        for (uint64_t n = 1; hasFailed; ++n) {
            ASSERT_LT(n, 100U);
            const uint32_t block = saved(DXR_GetEnv);
            set(block + 1);
            FileCalls::Begin(n, how);
            const uint32_t result = DXR_SaveEnv();
            hasFailed = FileCalls::End();
            EXPECT_TRUE(result == 0 || (result == EIO && !FileCalls::IsPart(how))) << n;
            EXPECT_EQ(dxrtest::Descriptors(), descriptors);
            EXPECT_FALSE(std::filesystem::exists(directory.Path("env.bin.new")));
            Restart();
            EXPECT_TRUE(reports.empty()) << "torn";
            const uint32_t now = saved(DXR_GetEnv);
            EXPECT_TRUE(now == block + 1 || (result != 0 && now == block)) << n;
            EXPECT_TRUE(result != 0 || saved(DXR_GetMemEnv) == now) << n;
            set(now);
            ASSERT_EQ(DXR_SaveEnv(), 0U) << "what failed once can be done again";
        }
    }
}

// --- Killed at any moment

constexpr uint32_t kVariables = 32;

using SetVariable = uint32_t (*)(const char *, void *, uint32_t);
using GetVariable = uint32_t (*)(const char *, void *, uint32_t);

bool SetAll(SetVariable set, uint32_t number) {
    std::array<uint32_t, 256> value{};
    value.fill(number);
    bool isWell = true;
    for (uint32_t i = 0; i < kVariables; ++i) {
        const std::string name = "variable" + std::to_string(i);
        isWell = isWell && set(name.c_str(), value.data(), sizeof(value)) == 0;
    }
    return isWell;
}

// The one number that they all have.
uint32_t NumberOfAll(GetVariable get) {
    uint32_t number = 0;
    for (uint32_t i = 0; i < kVariables; ++i) {
        const std::string name = "variable" + std::to_string(i);
        std::array<uint32_t, 256> value{};
        EXPECT_EQ(get(name.c_str(), value.data(), sizeof(value)), 0U);
        number = i == 0 ? value[0] : number;
        for (const uint32_t each : value) {
            EXPECT_EQ(each, number);
        }
    }
    return number;
}

// Both sets and an item of flash information, one after the other.
TEST(DeviceEnvironmentKilled, IsTheOldOrTheNewOne) {
    const dxrtest::TemporaryDirectory directory;
    const std::string workPath = directory.Path();
    const auto begin = [&] {
        (void)dxrtest::HostAt(workPath.c_str());
        return [](uint32_t number) {
            std::array<uint32_t, 1024> item{};
            item.fill(number);
            DxrHostFlashInfo info{sizeof(info), 4, sizeof(item), 0, item.data()};
            return SetAll(DXR_SetEnv, number) && SetAll(DXR_SetMemEnv, number) &&
                   DXR_SaveEnv() == 0 && DXR_WriteFlashInfo(&info) == 0;
        };
    };
    uint32_t flashed = 0;
    dxrtest::KillAtAnyMoment(begin, [&] {
        DxrHost *const host = dxrtest::HostAt(workPath.c_str());
        EXPECT_EQ(DxrHostGetReportCount(host), 0U) << "torn";
        const uint32_t block = NumberOfAll(DXR_GetEnv);
        const uint32_t memory = NumberOfAll(DXR_GetMemEnv);
        EXPECT_TRUE(memory == block || memory + 1 == block) << memory << ", " << block;
        std::array<uint32_t, 1024> item{};
        EXPECT_EQ(DxrHostGetFlashInfo(host, 4, item.data(), sizeof(item)), sizeof(item));
        for (const uint32_t each : item) {
            EXPECT_EQ(each, item[0]);
        }
        EXPECT_TRUE(item[0] == memory || item[0] + 1 == memory) << item[0] << ", " << memory;
        EXPECT_GE(item[0], flashed);
        flashed = item[0];
        EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
        return block;
    });
}

// --- Files that cannot be read

TEST_F(DeviceFlash, FilesThatCannotBeReadAreReported) {
    for (const char *const name : {"env.bin", "memenv.bin", "flash.bin"}) {
        std::filesystem::create_directory(directory.Path(name));
    }
    Restart();
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(DxrHostGetReportCount(host), 3U);
    DxrHostReport report{};
    ASSERT_TRUE(DxrHostGetReport(host, 0, &report));
    EXPECT_EQ(report.text, directory.Path("env.bin") +
                               ": cannot be read: Is a directory; its variables are lost");
    char value = 'x';
    EXPECT_EQ(DXR_SetEnv("boot", &value, 1), 0U) << "the set begins empty";
    EXPECT_EQ(DXR_SaveEnvBlock(), uint32_t{EIO});
    EXPECT_TRUE(std::filesystem::is_directory(directory.Path("env.bin")));
    EXPECT_FALSE(std::filesystem::exists(directory.Path("env.bin.new")));
}

}  // namespace
