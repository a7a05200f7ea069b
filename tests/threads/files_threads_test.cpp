// Private logs of each thread's own, cuts in turn, and binary files that all threads load, on the
// development host.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

#include "dxr_devhost.h"
#include "support/test_host.h"
#include "threads/together.h"
#include "tools/temporary_directory.h"

namespace dxrtest {
namespace {

class FilesThreads : public testing::Test {
  protected:
    FilesThreads() {
        std::filesystem::create_directories(directory_.Path("lomk2/var/log"));
        std::filesystem::create_directories(directory_.Path("work/bin"));
        setenv("DXR_TEST_OPT", directory_.Path().c_str(), 1);
        host_ = DxrHostCreate(nullptr);
        EXPECT_EQ(DxrHostRegister(host_), 0U);
        DxrHostSetPrintFile(host_, nullptr, 0, nullptr);
        DxrHostSetWorkPath(host_, directory_.Path("work").c_str());
    }
    ~FilesThreads() override {
        EXPECT_EQ(DxrHostGetReportCount(host_), 0U);
        EXPECT_EQ(DxrHostDestroy(host_, nullptr), 0U);
        unsetenv("DXR_TEST_OPT");
    }

    static size_t Descriptors() {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return static_cast<size_t>(std::distance(begin(all), end(all)));
    }

    TemporaryDirectory directory_;

  private:
    TestHost table_;  // puts the table back
    DxrHost *host_;
};

TEST_F(FilesThreads, EachLogHoldsWhatItsThreadHasWritten) {
    constexpr uint32_t kRounds = 25;
    constexpr uint32_t kKept = 1500;
    const size_t descriptors = Descriptors();
    std::mutex cutting;
    Together([&](uint32_t thread) {
        const std::string name = "module" + std::to_string(thread) + ".log";
        std::string model;
        std::vector<char> read(100000);
        for (uint32_t round = 0; round < kRounds; ++round) {
            const std::string text =
                std::string(1 + round * 97 % 2300, static_cast<char>('a' + (thread + round) % 26)) +
                "\n";
            ASSERT_EQ(
                DXR_WritePrivateLog(name.c_str(), static_cast<uint32_t>(text.size()), text.c_str()),
                0U);
            model += text;
            ASSERT_EQ(DXR_GetPrivateLogLen(name.c_str()), model.size());
            ASSERT_EQ(
                DXR_GetPrivateLog(name.c_str(), read.data(), static_cast<uint32_t>(read.size())),
                0U);
            ASSERT_EQ(model, read.data());
            if (round % 5 == 4) {
                const std::lock_guard lock(cutting);
                ASSERT_EQ(DXR_FixPrivateLogLen(name.c_str(), kKept), 0U);
                model.erase(0, model.size() - std::min<size_t>(kKept, model.size()));
            }
        }
        ASSERT_EQ(directory_.Read("lomk2/var/log/" + name), model);
    });
    EXPECT_EQ(Descriptors(), descriptors);
}

TEST_F(FilesThreads, AFileIsReadByAllThreads) {
    const std::string text(5000, 'x');
    static_cast<void>(directory_.Write("lomk2/var/log/shared.log", text));
    std::string bytes(3000, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 7);
    }
    static_cast<void>(directory_.Write("work/bin/data_01.bin", "older"));
    static_cast<void>(directory_.Write("work/bin/data_02.bin", bytes));
    Together([&](uint32_t) {
        for (uint32_t round = 0; round < 20; ++round) {
            std::vector<char> read(8000);
            ASSERT_EQ(
                DXR_GetPrivateLog("shared.log", read.data(), static_cast<uint32_t>(read.size())),
                0U);
            ASSERT_EQ(text, read.data());
            std::array<char, 64> latest;
            ASSERT_EQ(DXR_GetLatestFile(".bin", "bin", latest.data(), latest.size()), 0U);
            ASSERT_STREQ(latest.data(), "data_02.bin");
            uint8_t *data = nullptr;
            uint32_t length = 0;
            ASSERT_EQ(DXR_GetBinFileData("bin", latest.data(), &data, &length), 0U);
            ASSERT_EQ(std::string(reinterpret_cast<char *>(data), length), bytes);
            DXR_Free(data, __FILE__, __LINE__);
        }
    });
}

}  // namespace
}  // namespace dxrtest
