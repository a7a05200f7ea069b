// Environment and flash information, by the sentences of the device service's header.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>

#include "devhost/device_fixture.h"
#include "dxr_devhost/device.h"

namespace {

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
    EXPECT_EQ(DXR_WriteFlashInfo(&info), uint32_t{EIO});
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

// --- Killed at any moment

constexpr uint32_t kVariables = 32;

std::string NameOf(uint32_t index) {
    return "variable" + std::to_string(index);
}

// Sets all variables to one number after the other and saves them; tells what was saved.
[[noreturn]] void SaveForEver(const char *workPath, volatile uint32_t *saved) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.workPath = workPath;
    DxrHost *const host = DxrHostCreate(&options);
    if (host == nullptr || DxrHostRegister(host) != 0) {
        _exit(1);
    }
    uint32_t first = 0;
    (void)DXR_GetEnv(NameOf(0).c_str(), &first, sizeof(first));
    for (uint32_t number = first + 1;; ++number) {
        for (uint32_t i = 0; i < kVariables; ++i) {
            std::array<uint32_t, 256> value{};
            value.fill(number);
            if (DXR_SetEnv(NameOf(i).c_str(), value.data(), sizeof(value)) != 0) {
                _exit(1);
            }
        }
        if (DXR_SaveEnvBlock() != 0) {
            _exit(1);
        }
        *saved = number;
    }
}

// DXR_TEST_KILLS sets how many times; 50 without it.
TEST(DeviceEnvironmentKilled, IsTheOldOrTheNewOne) {
    const dxrtest::TemporaryDirectory directory;
    const std::string workPath = directory.Path();
    const char *const wanted = std::getenv("DXR_TEST_KILLS");
    const int kills = wanted != nullptr ? std::atoi(wanted) : 50;
    void *const shared =
        mmap(nullptr, sizeof(uint32_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto *const saved = static_cast<volatile uint32_t *>(shared);
    std::mt19937 random(7);
    for (int kill = 0; kill < kills; ++kill) {
        const uint32_t before = *saved;
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            SaveForEver(workPath.c_str(), saved);
        }
        while (*saved == before && waitpid(child, nullptr, WNOHANG) == 0) {
            (void)usleep(100);
        }
        ASSERT_NE(*saved, before) << "the writer has failed";
        (void)usleep(static_cast<useconds_t>(random() % 3000));
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);

        DxrHostOptions options;
        DxrHostInitOptions(&options);
        options.workPath = workPath.c_str();
        DxrHost *const host = DxrHostCreate(&options);
        ASSERT_NE(host, nullptr);
        ASSERT_EQ(DxrHostRegister(host), 0U);
        EXPECT_EQ(DxrHostGetReportCount(host), 0U) << "torn";
        uint32_t number = 0;
        for (uint32_t i = 0; i < kVariables; ++i) {
            std::array<uint32_t, 256> value{};
            ASSERT_EQ(DXR_GetEnv(NameOf(i).c_str(), value.data(), sizeof(value)), 0U);
            number = i == 0 ? value[0] : number;
            for (const uint32_t each : value) {
                ASSERT_EQ(each, number) << "kill " << kill;
            }
        }
        EXPECT_GE(number, *saved) << "what was saved is there";
        EXPECT_LE(number, *saved + 1);
        *saved = number;
        EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
    }
    (void)munmap(shared, sizeof(uint32_t));
}

}  // namespace
