// Devices, mappings and reserved memory, by the sentences of the device service's header.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "devhost/device_fixture.h"
#include "devhost/file_calls.h"
#include "dxr_devhost/device.h"

namespace {

using dxrtest::FileCalls;

class DeviceFiles : public dxrtest::SteppedDevice {
  protected:
    DeviceFiles() {
        std::filesystem::create_directory(directory.Path("dev"));
        Load(R"({"devices": [{"path": "/dev/fpga0", "bytes": 8192, "text": "hello"}]})");
    }

    // A command; its record afterwards.
    static DxrHostDevRequest Control(uint32_t device, uint32_t command, uint64_t offset = 0,
                                     void *data = nullptr, uint32_t bytes = 0) {
        DxrHostDevRequest request{sizeof(request), device, command, bytes, offset, data, 99, 0};
        result = DXR_ControlDev(&request);
        return request;
    }
    static uint32_t result;
};

uint32_t DeviceFiles::result = 0;

TEST_F(DeviceFiles, AreOpenedByTheirPaths) {
    (void)directory.Write("dev/disk", "12345");
    const uint32_t fpga = DXR_OpenDev("/dev/fpga0");
    const uint32_t disk = DXR_OpenDev("/dev/disk");
    EXPECT_NE(fpga, 0U);
    EXPECT_NE(disk, 0U);
    EXPECT_NE(fpga, disk);
    EXPECT_EQ(Control(fpga, DXR_HOST_DEV_LENGTH).offset, 8192U);
    EXPECT_EQ(Control(disk, DXR_HOST_DEV_LENGTH).offset, 5U);
    EXPECT_EQ(DXR_OpenDev("/dev/absent"), 0U);
    DxrHostFailNth(host, "device.open", 1, false);
    EXPECT_EQ(DXR_OpenDev("/dev/fpga0"), 0U);
    std::filesystem::create_directory(directory.Path("dev/folder"));
    EXPECT_EQ(DXR_OpenDevWithOption("/dev/folder", DXR_HOST_DEV_READ_ONLY), 0U) << "no file";
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_CloseDev(fpga), 0U);
    EXPECT_EQ(DXR_CloseDev(disk), 0U);
    EXPECT_EQ(DXR_CloseDev(disk), uint32_t{EBADF});
    EXPECT_EQ(DXR_CloseDev(0), uint32_t{EBADF});
    EXPECT_FALSE(Texts(DXR_HOST_REPORT_MISUSE).empty());
}

TEST_F(DeviceFiles, AreBelowTheirDirectory) {
    (void)directory.Write("secret", "x");
    std::filesystem::create_symlink(directory.Path("secret"), directory.Path("dev/link"));
    for (const char *const path :
         {"/dev/../secret", "/dev/link", "/etc/passwd", "disk", "", "/dev/", "/dev/x/"}) {
        EXPECT_EQ(DXR_OpenDev(path), 0U) << path;
    }
    EXPECT_EQ(DXR_OpenDev(nullptr), 0U);
    const std::vector<std::string> expected = {"outside the devices' directory: /dev/../secret",
                                               "no path of a device: /etc/passwd",
                                               "a null pointer"};
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE), expected);
    EXPECT_EQ(DxrHostGetReportCount(host), 3U);
    const dxrtest::TemporaryDirectory other;
    (void)other.Write("disk", "x");
    DxrHostSetDeviceDirectory(host, other.Path().c_str());
    const uint32_t disk = DXR_OpenDev("/dev/disk");
    EXPECT_NE(disk, 0U);
    EXPECT_EQ(DXR_CloseDev(disk), 0U);
}

TEST_F(DeviceFiles, AreOpenedAsOptionsSay) {
    EXPECT_EQ(DXR_OpenDev("/dev/new"), 0U);
    const uint32_t made = DXR_OpenDevWithOption("/dev/new", DXR_HOST_DEV_CREATE);
    EXPECT_NE(made, 0U);
    EXPECT_EQ(DXR_OpenDevWithOption("/dev/new", DXR_HOST_DEV_EXCLUSIVE), 0U) << "it is open";
    EXPECT_EQ(DXR_CloseDev(made), 0U);
    const uint32_t alone = DXR_OpenDevWithOption("/dev/new", DXR_HOST_DEV_EXCLUSIVE);
    EXPECT_NE(alone, 0U);
    EXPECT_EQ(DXR_OpenDev("/dev/new"), 0U);
    const uint32_t described = DXR_OpenDevWithOption("/dev/fpga0", DXR_HOST_DEV_EXCLUSIVE);
    EXPECT_NE(described, 0U) << "another one";
    EXPECT_EQ(DXR_OpenDev("/dev/fpga0"), 0U);
    EXPECT_EQ(DXR_CloseDev(described), 0U);
    EXPECT_EQ(DXR_CloseDev(alone), 0U);
    const uint32_t reader = DXR_OpenDevWithOption("/dev/new", DXR_HOST_DEV_READ_ONLY);
    char data = 'x';
    uint32_t done = 7;
    EXPECT_EQ(DXR_WriteDev(reader, &data, 1, &done), uint32_t{EACCES});
    EXPECT_EQ(DXR_CloseDev(reader), 0U);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_OpenDevWithOption("/dev/new", 8), 0U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 1U);
}

TEST_F(DeviceFiles, AreWrittenAtTheirPosition) {
    std::string data = "abcd";
    std::array<char, 16> read{};
    uint32_t done = 0;
    const uint32_t disk = DXR_OpenDevWithOption("/dev/disk", DXR_HOST_DEV_CREATE);
    EXPECT_EQ(DXR_WriteDev(disk, data.data(), 4, &done), 0U);
    EXPECT_EQ(done, 4U);
    EXPECT_EQ(DXR_WriteDev(disk, data.data(), 2, nullptr), 0U);
    EXPECT_EQ(DXR_WriteDev(disk, nullptr, 0, &done), 0U);
    EXPECT_EQ(done, 0U);
    EXPECT_EQ(Control(disk, DXR_HOST_DEV_SYNC).done, 99U);
    EXPECT_EQ(result, 0U);
    EXPECT_EQ(directory.Read("dev/disk"), "abcdab");
    (void)Control(disk, DXR_HOST_DEV_SEEK, 3);
    EXPECT_EQ(Control(disk, DXR_HOST_DEV_READ, 0, read.data(), 2).done, 2U);
    EXPECT_EQ(Control(disk, DXR_HOST_DEV_READ, 0, read.data() + 2, 14).done, 1U);
    EXPECT_STREQ(read.data(), "dab");
    errno = EIO;  // of somebody's call before
    EXPECT_EQ(Control(disk, DXR_HOST_DEV_READ, 0, read.data(), 1).done, 0U) << "the end";
    EXPECT_EQ(result, 0U);
    (void)Control(disk, DXR_HOST_DEV_SEEK, UINT64_MAX);
    EXPECT_EQ(DXR_WriteDev(disk, data.data(), 1, &done), uint32_t{EFBIG});
    EXPECT_EQ(Control(disk, DXR_HOST_DEV_READ, 0, read.data(), 1).done, 0U);
}

TEST_F(DeviceFiles, HaveTheirSizeInMemory) {
    std::string data(8192, 'z');
    uint32_t done = 0;
    const uint32_t fpga = DXR_OpenDev("/dev/fpga0");
    std::array<char, 6> read{};
    EXPECT_EQ(Control(fpga, DXR_HOST_DEV_READ, 0, read.data(), 5).done, 5U);
    EXPECT_STREQ(read.data(), "hello");
    EXPECT_EQ(DXR_WriteDev(fpga, data.data(), 8192, &done), uint32_t{ENOSPC});
    EXPECT_EQ(done, 8187U) << "what there is room for";
    EXPECT_EQ(DXR_WriteDev(fpga, data.data(), 1, &done), uint32_t{ENOSPC});
    EXPECT_EQ(done, 0U);
    (void)Control(fpga, DXR_HOST_DEV_SEEK, 0);
    DxrHostFailNth(host, "device.write", 1, false);
    EXPECT_EQ(DXR_WriteDev(fpga, data.data(), 1, &done), uint32_t{EIO});
    EXPECT_EQ(done, 0U);
    const uint32_t again = DXR_OpenDev("/dev/fpga0");
    EXPECT_EQ(Control(again, DXR_HOST_DEV_READ, 0, read.data(), 5).done, 5U);
    EXPECT_STREQ(read.data(), "hello") << "the same device, a position of its own";
    EXPECT_EQ(DXR_CloseDev(fpga), 0U);
    EXPECT_EQ(DXR_CloseDev(again), 0U);
}

TEST_F(DeviceFiles, ServeCommandsOfOthers) {
    const auto serve = [](DxrHostDevRequest *request, void *user) {
        ++*static_cast<int *>(user);
        request->offset = 5;
        return request->command;
    };
    int calls = 0;
    const uint32_t fpga = DXR_OpenDev("/dev/fpga0");
    (void)Control(fpga, 100);
    EXPECT_EQ(result, uint32_t{ENOTTY});
    DxrHostSetDeviceControl(host, "/dev/fpga0", serve, &calls);
    EXPECT_EQ(Control(fpga, 100).offset, 5U);
    EXPECT_EQ(result, 100U);
    (void)Control(fpga, DXR_HOST_DEV_LENGTH);
    EXPECT_EQ(calls, 1) << "the host's own commands stay its own";
    DxrHostSetDeviceControl(host, "/dev/fpga0", nullptr, nullptr);
    (void)Control(fpga, 100);
    EXPECT_EQ(result, uint32_t{ENOTTY});
    EXPECT_TRUE(reports.empty());
    const auto throws = [](DxrHostDevRequest *, void *) -> uint32_t {
        throw std::runtime_error("no such gate");
    };
    DxrHostSetDeviceControl(host, "/dev/fpga0", throws, nullptr);
    (void)Control(fpga, 100);
    EXPECT_EQ(result, uint32_t{ECANCELED});
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                testing::ElementsAre(testing::HasSubstr(": no such gate")));
    DxrHostSetDeviceControl(host, "/dev/fpga0", nullptr, nullptr);
    (void)Control(0, 100);
    EXPECT_EQ(result, uint32_t{EBADF});
    (void)Control(fpga, DXR_HOST_DEV_READ, 0, nullptr, 1);
    EXPECT_EQ(result, uint32_t{EINVAL});
    EXPECT_EQ(DXR_ControlDev(nullptr), uint32_t{EINVAL});
    DxrHostDevRequest wrong{};
    EXPECT_EQ(DXR_ControlDev(&wrong), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 5U);
    EXPECT_EQ(DXR_CloseDev(fpga), 0U);
}

TEST_F(DeviceFiles, AreMapped) {
    const uint32_t fpga = DXR_OpenDev("/dev/fpga0");
    std::array<char, 6> read{};
    auto *const shared = static_cast<char *>(DXR_MmapDev(fpga, 8192));
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(std::string(shared), "hello");
    shared[0] = 'j';
    EXPECT_EQ(Control(fpga, DXR_HOST_DEV_READ, 0, read.data(), 5).done, 5U);
    EXPECT_STREQ(read.data(), "jello") << "what is written reaches the device";
    EXPECT_EQ(DXR_SetDevMmapType(fpga, DXR_HOST_MAP_PRIVATE), 0U);
    auto *const own = static_cast<char *>(DXR_MmapDev(fpga, 100));
    ASSERT_NE(own, nullptr);
    own[0] = 'c';
    EXPECT_EQ(shared[0], 'j') << "what is written stays in the mapping";
    EXPECT_EQ(DXR_SetDevMmapType(fpga, DXR_HOST_MAP_READ_ONLY), 0U);
    auto *const reader = static_cast<const char *>(DXR_MmapDev(fpga, 100));
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader[0], 'j');
    EXPECT_EQ(DXR_CloseDev(fpga), 0U);
    EXPECT_EQ(shared[1], 'e') << "mappings stay";
    EXPECT_EQ(DXR_MunmapDev(shared, 8192), 0U);
    EXPECT_EQ(DXR_MunmapDev(own, 100), 0U);
    EXPECT_EQ(DXR_MunmapDev(const_cast<char *>(reader), 100), 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(DeviceFiles, RefuseMappingsThatAreNone) {
    const uint32_t fpga = DXR_OpenDev("/dev/fpga0");
    EXPECT_EQ(DXR_MmapDev(fpga, 8193), nullptr) << "more than it has";
    DxrHostFailNth(host, "device.map", 1, false);
    EXPECT_EQ(DXR_MmapDev(fpga, 10), nullptr);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_MmapDev(fpga, 0), nullptr);
    EXPECT_EQ(DXR_MmapDev(fpga + 1, 10), nullptr);
    EXPECT_EQ(DXR_SetDevMmapType(fpga, 3), uint32_t{EINVAL});
    EXPECT_EQ(DXR_SetDevMmapType(fpga + 1, 0), uint32_t{EBADF});
    void *const address = DXR_MmapDev(fpga, 10);
    EXPECT_EQ(DXR_MunmapDev(address, 11), uint32_t{EINVAL});
    EXPECT_EQ(DXR_MunmapDev(static_cast<char *>(address) + 1, 10), uint32_t{EINVAL});
    EXPECT_EQ(DXR_MunmapDev(nullptr, 10), uint32_t{EINVAL});
    EXPECT_EQ(DXR_MunmapDev(address, 10), 0U);
    EXPECT_EQ(DXR_MunmapDev(address, 10), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 8U);
    char data = 0;
    std::array<uint32_t, 2> room{};
    EXPECT_EQ(DXR_WriteDev(fpga, nullptr, 1, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_WriteDev(fpga, &data, 1, reinterpret_cast<char *>(room.data()) + 1),
              uint32_t{EINVAL});
    EXPECT_EQ(DXR_WriteDev(fpga + 1, &data, 1, nullptr), uint32_t{EBADF});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 11U);
    EXPECT_EQ(DXR_CloseDev(fpga), 0U);
}

TEST_F(DeviceFiles, AreReportedWhenTheyAreLeftBehind) {
    const uint32_t fpga = DXR_OpenDev("/dev/fpga0");
    ASSERT_NE(DXR_MmapDev(fpga, 100), nullptr);
    EXPECT_EQ(End(), 2U);
    const std::vector<std::string> left = Texts(DXR_HOST_REPORT_LEFTOVER);
    ASSERT_EQ(left.size(), 2U);
    EXPECT_EQ(left[0].rfind("left behind: device /dev/fpga0, made by DXR_OpenDev by ", 0), 0U)
        << left[0];
    EXPECT_EQ(left[1].rfind(
                  "left behind: mapping of 100 bytes of /dev/fpga0, made by DXR_MmapDev by ", 0),
              0U)
        << left[1];
}

TEST_F(DeviceFiles, StayWhenTheBoardIsDescribedAnew) {
    const uint32_t fpga = DXR_OpenDev("/dev/fpga0");
    Load("{}");
    EXPECT_EQ(Control(fpga, DXR_HOST_DEV_LENGTH).offset, 8192U);
    EXPECT_EQ(DXR_OpenDev("/dev/fpga0"), 0U);
    EXPECT_EQ(DXR_CloseDev(fpga), 0U);
}

// --- Reserved memory

class DeviceReserved : public dxrtest::SteppedDevice {
  protected:
    DeviceReserved() {
        Load(R"({"reserved": [
            {"number": 3, "name": "log", "address": "0x180000000", "bytes": 10000},
            {"number": 4, "name": "core", "bytes": 4096}]})");
    }

    static uint32_t Map(const char *name, uint32_t bytes, void *&address) {
        return DXR_GetRsvMemMmapAddr(const_cast<char *>(name), bytes, &address);
    }
};

TEST_F(DeviceReserved, LiesWhereItIsDescribed) {
    uint64_t address = 0;
    uint64_t bytes = 0;
    EXPECT_EQ(DXR_GetRsvdMem(3, &address, &bytes), 0U);
    EXPECT_EQ(address, 0x180000000U);
    EXPECT_EQ(bytes, 10000U);
    EXPECT_EQ(DXR_GetRsvdMem(5, &address, &bytes), uint32_t{ENOENT});
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_GetRsvdMem(3, nullptr, &bytes), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetRsvdMem(3, &address, reinterpret_cast<char *>(&bytes) + 4), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 2U);
}

TEST_F(DeviceReserved, IsMappedOnceForAll) {
    void *first = nullptr;
    void *second = nullptr;
    void *other = nullptr;
    DxrHostFailNth(host, "device.map", 1, false);
    EXPECT_EQ(Map("log", 10000, first), uint32_t{ENOMEM});
    EXPECT_EQ(Map("log", 10000, first), 0U);
    EXPECT_EQ(Map("log", 1, second), 0U);
    EXPECT_EQ(first, second);
    EXPECT_EQ(Map("core", 4096, other), 0U);
    EXPECT_NE(other, first);
    std::memset(first, 1, 10000);
    EXPECT_EQ(static_cast<char *>(other)[0], 0);
    EXPECT_EQ(Map("core", 4097, other), uint32_t{ERANGE});
    EXPECT_EQ(Map("heap", 1, other), uint32_t{ENOENT});
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_GetRsvMemMmapAddr(nullptr, 1, &other), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetRsvMemMmapAddr(const_cast<char *>("log"), 1, nullptr), uint32_t{EINVAL});
    Load("{}");
    static_cast<char *>(first)[9999] = 2;
    EXPECT_EQ(Map("log", 1, second), uint32_t{ENOENT}) << "but what is mapped stays";
    EXPECT_EQ(End(), 0U) << "nobody has to give it back";
}

TEST_F(DeviceReserved, IsMappedAsItsModeSays) {
    void *writable = nullptr;
    void *readable = nullptr;
    auto *const name = const_cast<char *>("log");
    ASSERT_EQ(Map("log", 1, writable), 0U);
    EXPECT_EQ(DXR_ChmodRsvMemFile(name, 0444), 0U);
    ASSERT_EQ(Map("log", 1, readable), 0U);
    EXPECT_NE(readable, writable);
    static_cast<char *>(writable)[5] = 'x';
    EXPECT_EQ(static_cast<char *>(readable)[5], 'x') << "one memory";
    EXPECT_DEATH(static_cast<volatile char *>(readable)[5] = 'y', "");
    EXPECT_EQ(DXR_ChmodRsvMemFile(name, 0377), 0U);
    EXPECT_EQ(Map("log", 1, readable), uint32_t{EACCES});
    EXPECT_EQ(DXR_ChmodRsvMemFile(name, 0777), 0U);
    ASSERT_EQ(Map("log", 1, readable), 0U);
    EXPECT_EQ(readable, writable);
    EXPECT_EQ(DXR_ChmodRsvMemFile(const_cast<char *>("heap"), 0600), uint32_t{ENOENT});
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_ChmodRsvMemFile(name, 01000), uint32_t{EINVAL});
    EXPECT_EQ(DXR_ChmodRsvMemFile(nullptr, 0600), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 2U);
}

TEST_F(DeviceFiles, AreOneDeviceHoweverTheirPathIsWritten) {
    std::filesystem::create_directory(directory.Path("dev/below"));
    (void)directory.Write("dev/disk", "x");
    const uint32_t alone = DXR_OpenDevWithOption("/dev/disk", DXR_HOST_DEV_EXCLUSIVE);
    ASSERT_NE(alone, 0U);
    for (const char *const path : {"/dev/./disk", "/dev//disk", "/dev/below/../disk"}) {
        EXPECT_EQ(DXR_OpenDev(path), 0U) << path;
    }
    EXPECT_EQ(DXR_CloseDev(alone), 0U);
    const uint32_t disk = DXR_OpenDev("/dev/below/../disk");
    EXPECT_NE(disk, 0U);
    EXPECT_EQ(DXR_OpenDevWithOption("/dev/disk", DXR_HOST_DEV_EXCLUSIVE), 0U);
    EXPECT_EQ(DXR_CloseDev(disk), 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(DeviceFiles, TheirDirectoryMayEndInASlash) {
    (void)directory.Write("dev/disk", "x");
    DxrHostSetDeviceDirectory(host, (directory.Path("dev") + "/").c_str());
    const uint32_t disk = DXR_OpenDev("/dev/disk");
    EXPECT_NE(disk, 0U);
    EXPECT_EQ(DXR_CloseDev(disk), 0U);
    EXPECT_EQ(DXR_OpenDev("/dev/../dev"), 0U) << "the directory itself";
    EXPECT_EQ(DXR_OpenDev("/dev/../devil"), 0U) << "begins like it";
    DxrHostSetDeviceDirectory(host, (directory.Path("absent") + "/").c_str());
    reports.clear();
    EXPECT_EQ(DXR_OpenDevWithOption("/dev/disk", DXR_HOST_DEV_CREATE), 0U);
    EXPECT_TRUE(reports.empty()) << "it is within, but cannot be made";
    DxrHostSetDeviceDirectory(host, "/");
    EXPECT_EQ(DXR_OpenDev("/dev/there is no such file"), 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(DeviceFiles, ToBeReadAreNotWrittenThroughAMapping) {
    (void)directory.Write("dev/disk", "12345");
    for (const char *const path : {"/dev/fpga0", "/dev/disk"}) {
        const uint32_t device = DXR_OpenDevWithOption(path, DXR_HOST_DEV_READ_ONLY);
        ASSERT_NE(device, 0U);
        EXPECT_EQ(DXR_MmapDev(device, 5), nullptr) << path << ": it would be written";
        EXPECT_EQ(DXR_SetDevMmapType(device, DXR_HOST_MAP_PRIVATE), 0U);
        auto *const own = static_cast<char *>(DXR_MmapDev(device, 5));
        ASSERT_NE(own, nullptr);
        own[0] = 'X';
        EXPECT_EQ(DXR_SetDevMmapType(device, DXR_HOST_MAP_READ_ONLY), 0U);
        auto *const shared = static_cast<char *>(DXR_MmapDev(device, 5));
        ASSERT_NE(shared, nullptr);
        EXPECT_NE(shared[0], 'X');
        EXPECT_EQ(DXR_MunmapDev(own, 5), 0U);
        EXPECT_EQ(DXR_MunmapDev(shared, 5), 0U);
        EXPECT_EQ(DXR_CloseDev(device), 0U);
    }
}

TEST_F(DeviceFiles, AreFullBeyondTheirEnd) {
    const uint32_t device = DXR_OpenDev("/dev/fpga0");
    char byte = 'x';
    uint32_t done = 77;
    for (const uint64_t at : {uint64_t{8192}, uint64_t{1} << 63, ~uint64_t{0}}) {
        (void)Control(device, DXR_HOST_DEV_SEEK, at);
        EXPECT_EQ(DXR_WriteDev(device, &byte, 1, &done), uint32_t{ENOSPC}) << at;
        EXPECT_EQ(done, 0U);
        EXPECT_EQ(Control(device, DXR_HOST_DEV_READ, 0, &byte, 1).done, 0U);
        EXPECT_EQ(result, 0U);
    }
    (void)Control(device, DXR_HOST_DEV_SEEK, 8191);
    std::array<char, 2> two{'a', 'b'};
    EXPECT_EQ(DXR_WriteDev(device, two.data(), 2, &done), uint32_t{ENOSPC});
    EXPECT_EQ(done, 1U) << "what there is room for";
    EXPECT_EQ(DXR_CloseDev(device), 0U);
}

// Each call that the board needs in turn.
TEST_F(DeviceFiles, ABoardIsTakenWholeOrNotAtAll) {
    const std::string path = directory.Write(
        "more.json",
        R"({"devices": [{"path": "/dev/a", "bytes": 1}, {"path": "/dev/b", "bytes": 1}],
                         "reserved": [{"number": 0, "name": "log", "bytes": 5}]})");
    uint32_t refusals = 0;
    for (uint64_t n = 1;; ++n) {
        std::array<char, 256> error{};
        FileCalls::Begin(n, FileCalls::How::kOnce);
        const bool isTaken = DxrHostLoadBoard(host, path.c_str(), error.data(), error.size());
        const bool hasFailed = FileCalls::End();
        const uint32_t device = DXR_OpenDev("/dev/b");
        const uint32_t former = DXR_OpenDev("/dev/fpga0");
        EXPECT_EQ(device != 0, isTaken) << n;
        EXPECT_EQ(former != 0, !isTaken) << n;
        EXPECT_EQ(isTaken, error[0] == '\0');
        EXPECT_EQ(DXR_CloseDev(device != 0 ? device : former), 0U);
        if (!hasFailed) {
            EXPECT_TRUE(isTaken);
            break;
        }
        refusals += isTaken ? 0 : 1;
        ASSERT_TRUE(DxrHostLoadBoard(host, directory.Path("board.json").c_str(), nullptr, 0));
    }
    EXPECT_GE(refusals, 6U) << "three memories, made and sized";
    EXPECT_EQ(DxrHostGetReportCount(host), 0U);
}

// A process without a standard input has 0 for the next file.
TEST_F(DeviceFiles, ABoardsFileIsClosedWhateverItsNumber) {
    const std::string board = directory.Write("empty.json", "{}");  // which keeps no memory open
    const int input = dup(STDIN_FILENO);
    (void)close(STDIN_FILENO);
    EXPECT_TRUE(DxrHostLoadBoard(host, board.c_str(), nullptr, 0));
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
    if (input >= 0) {
        (void)dup2(input, STDIN_FILENO);
        (void)close(input);
    }
}

// --- Calls that fail

// Everything that devices and reserved memory do with files, at which nothing may be left open or
// mapped, and nothing is told that was not done.
TEST_F(DeviceFiles, TellWhatFails) {
    (void)directory.Write("dev/disk", "12345678");
    const std::string board = directory.Write(
        "more.json", R"({"devices": [{"path": "/dev/fpga0", "bytes": 8192, "text": "hello"}],
                         "reserved": [{"number": 0, "name": "log", "bytes": 5}]})");
    ASSERT_TRUE(DxrHostLoadBoard(host, board.c_str(), nullptr, 0));
    const size_t descriptors = dxrtest::Descriptors();
    size_t rounds = 1;
    for (const FileCalls::How how : FileCalls::kAll) {
        bool hasFailed = true;
        for (uint64_t n = 1; hasFailed; ++n, ++rounds) {
            ASSERT_LT(n, 200U);
            const bool isPart = FileCalls::IsPart(how);
            FileCalls::Begin(n, how);
            EXPECT_TRUE(DxrHostLoadBoard(host, board.c_str(), nullptr, 0) || !isPart);
            for (const char *const path : {"/dev/disk", "/dev/fpga0"}) {
                const uint32_t device = DXR_OpenDev(path);
                EXPECT_TRUE(device != 0 || !isPart);
                if (device == 0) {
                    continue;
                }
                std::array<char, 8> text{'8', '7', '6', '5', '4', '3', '2', '1'};
                uint32_t done = 77;
                uint32_t failure = DXR_WriteDev(device, text.data(), text.size(), &done);
                EXPECT_EQ(failure == 0, done == text.size());
                EXPECT_TRUE(failure == 0 || !isPart);
                (void)Control(device, DXR_HOST_DEV_SEEK, 0);
                const DxrHostDevRequest read =
                    Control(device, DXR_HOST_DEV_READ, 0, text.data(), text.size());
                EXPECT_TRUE(result == 0 ? read.done == text.size() : !isPart);
                (void)Control(device, DXR_HOST_DEV_SYNC);
                EXPECT_TRUE(result == 0 || (result == EIO && !isPart));
                void *const mapping = DXR_MmapDev(device, 8);
                EXPECT_TRUE(mapping != nullptr || !isPart);
                if (mapping != nullptr) {
                    EXPECT_EQ(DXR_MunmapDev(mapping, 8), 0U);
                }
                EXPECT_EQ(DXR_CloseDev(device), 0U);
            }
            std::array<char, 4> name = {"log"};
            void *address = nullptr;
            const uint32_t mapped = DXR_GetRsvMemMmapAddr(name.data(), 5, &address);
            EXPECT_EQ(mapped == 0, address != nullptr);
            const uint32_t changed = DXR_ChmodRsvMemFile(name.data(), 0600);
            EXPECT_TRUE(changed == 0 || (changed == EIO && !isPart));
            hasFailed = FileCalls::End();
            EXPECT_FALSE(FileCalls::HasLeaked());
            EXPECT_LE(dxrtest::Descriptors(), descriptors + rounds)
                << "but for areas that are mapped, which stay";
            EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 0U);
            ASSERT_FALSE(HasFailure()) << "call " << n << ", way " << static_cast<int>(how);
        }
    }
}

}  // namespace
