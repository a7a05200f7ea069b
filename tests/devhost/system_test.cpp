// The host's system service, by the sentences of its header.
#include "dxr_devhost/system.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include "devhost/host_fixture.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::TemporaryDirectory;

class HostFiles : public dxrtest::HostTest {
  protected:
    HostFiles() {
        options.allowOutside = 1;
        Begin();
    }
};

TEST_F(HostFiles, ReadsReportBytes) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "0123456789");
    void *const file = DXR_FOpen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::array<char, 16> buffer{};
    EXPECT_EQ(DXR_FRead(buffer.data(), 4, 1, file), 4U);
    EXPECT_EQ(std::string(buffer.data()), "0123");
    EXPECT_EQ(DXR_FRead(buffer.data(), 2, 2, file), 4U);
    EXPECT_EQ(DXR_FRead(buffer.data(), 16, 1, file), 2U) << "what is left";
    EXPECT_EQ(DXR_FRead(buffer.data(), 16, 1, file), 0U);
    EXPECT_EQ(DXR_FClose(file), 0U);
}

TEST_F(HostFiles, SeeksFromAllOrigins) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "0123456789");
    void *const file = DXR_FOpen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    const auto next = [file] {
        char byte = 0;
        return DXR_FRead(&byte, 1, 1, file) == 1 ? byte : '!';
    };
    EXPECT_EQ(DXR_FSeek(file, 7, SEEK_SET), 0U);
    EXPECT_EQ(next(), '7');
    EXPECT_EQ(DXR_FSeek(file, static_cast<uint32_t>(-3), SEEK_CUR), 0U);
    EXPECT_EQ(next(), '5');
    EXPECT_EQ(DXR_FSeek(file, static_cast<uint32_t>(-1), SEEK_END), 0U);
    EXPECT_EQ(next(), '9');
    EXPECT_EQ(DXR_FSeek(file, 0, 3), 1U) << "no such origin";
    EXPECT_EQ(DXR_FSeek(file, 0, 0xFFFFFFFF), 1U);
    EXPECT_EQ(DXR_FSeek(file, static_cast<uint32_t>(-30), SEEK_CUR), 1U);
    EXPECT_EQ(DXR_FClose(file), 0U);
}

TEST_F(HostFiles, MissingFilesAreFailures) {
    EXPECT_EQ(DXR_FOpen("/nonexistent/file", "rb"), nullptr);
    EXPECT_EQ(DXR_FileLength("/nonexistent/file"), 0xFFFFFFFFU);
    EXPECT_EQ(DXR_FileLength(nullptr), 0xFFFFFFFFU);
    char byte = 0;
    EXPECT_EQ(DXR_FRead(&byte, 1, 1, nullptr), 0U);
    EXPECT_EQ(DXR_FSeek(nullptr, 0, SEEK_SET), 1U);
    EXPECT_EQ(DXR_FClose(nullptr), 1U);
}

TEST_F(HostFiles, LengthsBeyond32BitsAreFailures) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "abc");
    EXPECT_EQ(DXR_FileLength(path.c_str()), 3U);
    std::filesystem::resize_file(path, 0xFFFFFFFEULL);
    EXPECT_EQ(DXR_FileLength(path.c_str()), 0xFFFFFFFEU);
    std::filesystem::resize_file(path, 0x100000000ULL);
    EXPECT_EQ(DXR_FileLength(path.c_str()), 0xFFFFFFFFU);
}

TEST_F(HostFiles, NamesOfWorkPathAndFolder) {
    std::array<char, 8> buffer{};
    EXPECT_EQ(DXR_GetSysWorkPath(buffer.data(), 8), 0U);
    EXPECT_STREQ(buffer.data(), ".");
    EXPECT_STREQ(DXR_GetBinFolderName(), "bin");
    DxrHostSetWorkPath(host, "/opt/wk");
    DxrHostSetBinFolderName(host, "data");
    EXPECT_EQ(DXR_GetSysWorkPath(buffer.data(), 8), 0U);
    EXPECT_STREQ(buffer.data(), "/opt/wk");
    EXPECT_STREQ(DXR_GetBinFolderName(), "data");
    buffer.fill('#');
    EXPECT_EQ(DXR_GetSysWorkPath(buffer.data(), 7), 1U) << "no room for the terminator";
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(DXR_GetSysWorkPath(nullptr, 8), 1U);
}

}  // namespace
