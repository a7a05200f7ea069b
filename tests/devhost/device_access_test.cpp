// Registers, I2C, MDIO and PCIe, by the sentences of the device service's header.
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "devhost/device_fixture.h"
#include "dxr_devhost/device.h"
#include "dxr_devhost/system_task.h"
#include "dxr_devhost/system_time.h"

namespace {

using dxrtest::AddressOf;
using dxrtest::SteppedDevice;
using dxrtest::VirtualDevice;

constexpr DxrHostCell RegisterCell(uint64_t address) {
    return {DXR_HOST_REGISTERS, 0, 1, 0, address};
}

class DeviceRegisters : public SteppedDevice {};
class DeviceI2c : public SteppedDevice {};
class DeviceMdio : public SteppedDevice {};
class DevicePcie : public SteppedDevice {};
class DeviceFaults : public SteppedDevice {};
class DeviceDelays : public VirtualDevice {};

TEST_F(DeviceRegisters, HoldWhatWasWritten) {
    uint32_t value = 1;
    EXPECT_EQ(DXR_ReadReg(3, 4, 0x100, &value), 0U);
    EXPECT_EQ(value, 0U) << "never written";
    EXPECT_EQ(DXR_WriteReg(3, 4, 0x100, 0xA1B2C3D4), 0U);
    EXPECT_EQ(DXR_ReadReg(3, 4, 0x100, &value), 0U);
    EXPECT_EQ(value, 0xA1B2C3D4);
    EXPECT_EQ(DXR_ReadReg(3, 5, 0x100, &value), 0U);
    EXPECT_EQ(value, 0U) << "another chip";
    EXPECT_EQ(DXR_ReadReg(4, 4, 0x100, &value), 0U);
    EXPECT_EQ(value, 0U) << "another unit";
    EXPECT_EQ(DXR_WriteReg(3, 4, 0xFFFFFFFC, 7), 0U) << "the last one";
    EXPECT_EQ(DXR_ReadReg(3, 4, 0xFFFFFFFC, &value), 0U);
    EXPECT_EQ(value, 7U);
}

TEST_F(DeviceRegisters, ConsistOfTwoHalves) {
    ASSERT_EQ(DXR_WriteReg(0, 1, 8, 0xA1B2C3D4), 0U);
    std::array<uint16_t, 3> values{7, 7, 7};
    EXPECT_EQ(DXR_ReadReg16(0, 1, 8, &values[1]), 0U);
    EXPECT_EQ(values[1], 0xC3D4);
    EXPECT_EQ(DXR_ReadReg16(0, 1, 10, &values[1]), 0U);
    EXPECT_EQ(values, (std::array<uint16_t, 3>{7, 0xA1B2, 7})) << "16 bits are written";
    EXPECT_EQ(DXR_WriteReg16(0, 1, 10, 0x1234), 0U);
    uint32_t value = 0;
    EXPECT_EQ(DXR_ReadReg(0, 1, 8, &value), 0U);
    EXPECT_EQ(value, 0x1234C3D4U);
}

TEST_F(DeviceRegisters, RefuseWhatIsMisaligned) {
    std::array<uint32_t, 2> room{};
    auto *const odd = reinterpret_cast<char *>(room.data()) + 1;
    EXPECT_EQ(DXR_ReadReg(0, 1, 2, room.data()), uint32_t{EINVAL});
    EXPECT_EQ(DXR_WriteReg(0, 1, 3, 1), uint32_t{EINVAL});
    EXPECT_EQ(DXR_ReadReg16(0, 1, 1, room.data()), uint32_t{EINVAL});
    EXPECT_EQ(DXR_WriteReg16(0, 1, 3, 1), uint32_t{EINVAL});
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, odd), uint32_t{EINVAL});
    EXPECT_EQ(DXR_ReadReg16(0, 1, 0, odd), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 7U);
    EXPECT_EQ(room, (std::array<uint32_t, 2>{}));
    EXPECT_STREQ(static_cast<const char *>(reports[0].slot), "DXR_ReadReg");
}

TEST_F(DeviceRegisters, AreReadOnlyOrClearedByMask) {
    const DxrHostCell cell = RegisterCell(0);
    ASSERT_TRUE(DxrHostPokeCell(host, &cell, 0xFF00FF00));
    ASSERT_TRUE(DxrHostShapeCell(host, &cell, 0xFF000000, 0x0000FF01));
    EXPECT_EQ(DXR_WriteReg(0, 1, 0, 0x00120F00), 0U);
    uint32_t value = 0;
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), 0U);
    EXPECT_EQ(value, 0xFF12F000U) << "read-only stay, ones clear, the rest is written";
    EXPECT_EQ(DXR_WriteReg(0, 1, 0, 0x00000000), 0U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), 0U);
    EXPECT_EQ(value, 0xFF00F000U) << "zeros clear nothing";
    ASSERT_TRUE(DxrHostShapeCell(host, &cell, 0xFFFFFFFF, 0xFFFFFFFF));
    EXPECT_EQ(DXR_WriteReg(0, 1, 0, 0xFFFFFFFF), 0U);
    ASSERT_TRUE(DxrHostPeekCell(host, &cell, &value));
    EXPECT_EQ(value, 0xFF00F000U) << "a bit in both is read-only";
    EXPECT_EQ(DXR_WriteReg16(0, 1, 4, 0xFFFF), 0U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 4, &value), 0U);
    EXPECT_EQ(value, 0xFFFFU);
}

TEST_F(DeviceRegisters, ComeFromTheDescription) {
    Load(R"({"registers": [
        {"unit": 0, "chip": 1, "address": "0x10", "value": "0xAB", "readOnly": "0x0F",
         "clearOnWrite": 32},
        {"unit": 0, "chip": 1, "address": 20, "value": 9}]})");
    uint32_t value = 0;
    EXPECT_EQ(DXR_ReadReg(0, 1, 16, &value), 0U);
    EXPECT_EQ(value, 0xABU);
    EXPECT_EQ(DXR_WriteReg(0, 1, 16, 0x60), 0U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 16, &value), 0U);
    EXPECT_EQ(value, 0x4BU);
    EXPECT_EQ(DXR_ReadReg(0, 1, 20, &value), 0U);
    EXPECT_EQ(value, 9U);
}

// Beside a model that keeps halves.
TEST_F(DeviceRegisters, AgreeWithAModel) {
    std::mt19937 random(12);
    std::map<uint32_t, uint16_t> model;
    for (int i = 0; i < 20000; ++i) {
        const auto address = static_cast<uint32_t>(random() % 32 * 2);
        const auto value = static_cast<uint32_t>(random());
        uint32_t read = 0;
        uint16_t half = 0;
        switch (random() % 4) {
            case 0:
                ASSERT_EQ(DXR_WriteReg(0, 1, address & ~2U, value), 0U);
                model[address & ~2U] = static_cast<uint16_t>(value);
                model[address | 2U] = static_cast<uint16_t>(value >> 16);
                break;
            case 1:
                ASSERT_EQ(DXR_WriteReg16(0, 1, address, static_cast<uint16_t>(value)), 0U);
                model[address] = static_cast<uint16_t>(value);
                break;
            case 2:
                ASSERT_EQ(DXR_ReadReg(0, 1, address & ~2U, &read), 0U);
                ASSERT_EQ(read, model[address & ~2U] | uint32_t{model[address | 2U]} << 16);
                break;
            default:
                ASSERT_EQ(DXR_ReadReg16(0, 1, address, &half), 0U);
                ASSERT_EQ(half, model[address]);
        }
    }
}

TEST_F(DeviceRegisters, CountTheirAccesses) {
    const DxrHostCell cell = RegisterCell(8);
    uint32_t value = 0;
    (void)DXR_WriteReg(0, 1, 8, 1);
    (void)DXR_ReadReg(0, 1, 8, &value);
    (void)DXR_ReadReg(0, 1, 8, &value);
    (void)DXR_ReadReg(0, 1, 12, &value);
    DxrHostFailNth(host, "device.register.fail", 1, false);
    EXPECT_EQ(DXR_ReadReg(0, 1, 8, &value), uint32_t{EIO});
    (void)DxrHostPeekCell(host, &cell, &value);
    uint64_t reads = 9;
    uint64_t writes = 9;
    EXPECT_TRUE(DxrHostGetCellCounts(host, &cell, &reads, &writes));
    EXPECT_EQ(reads, 2U) << "those with success, of slots";
    EXPECT_EQ(writes, 1U);
    const DxrHostCell other = RegisterCell(1024);
    EXPECT_TRUE(DxrHostGetCellCounts(host, &other, &reads, &writes));
    EXPECT_EQ(reads + writes, 0U);
}

TEST_F(DeviceRegisters, AreWatched) {
    struct Seen {
        std::vector<DxrHostAccess> accesses;
        DxrHost *host;
    } seen{{}, host};
    const auto keep = [](const DxrHostAccess *access, void *user) {
        auto *const to = static_cast<Seen *>(user);
        to->accesses.push_back(*access);
        // What the device would do: the bit clears itself.
        (void)DxrHostPokeCell(to->host, &access->first, access->value & ~1U);
    };
    const DxrHostCell first = RegisterCell(8);
    const uint32_t number = DxrHostWatchCells(host, &first, 8, keep, &seen);
    ASSERT_NE(number, 0U);
    uint32_t value = 0;
    (void)DXR_WriteReg(0, 1, 4, 3);
    (void)DXR_WriteReg(0, 1, 8, 3);
    (void)DXR_ReadReg(0, 1, 8, &value);
    EXPECT_EQ(value, 2U);
    (void)DXR_WriteReg(0, 1, 16, 3);
    (void)DXR_WriteReg(0, 2, 8, 3);
    DxrHostFailNth(host, "device.register.fail", 1, false);
    (void)DXR_ReadReg(0, 1, 12, &value);
    ASSERT_EQ(seen.accesses.size(), 3U);
    EXPECT_EQ(seen.accesses[0].isWrite, 1U);
    EXPECT_EQ(seen.accesses[0].value, 3U);
    EXPECT_EQ(seen.accesses[0].first.address, 8U);
    EXPECT_EQ(seen.accesses[0].cells, 1U);
    EXPECT_EQ(seen.accesses[1].isWrite, 0U);
    EXPECT_EQ(seen.accesses[1].value, 2U);
    EXPECT_EQ(seen.accesses[2].result, uint32_t{EIO});
    EXPECT_EQ(seen.accesses[2].value, 0U);
    EXPECT_TRUE(DxrHostEndRule(host, number));
    EXPECT_FALSE(DxrHostEndRule(host, number));
    (void)DXR_WriteReg(0, 1, 8, 3);
    EXPECT_EQ(seen.accesses.size(), 3U);
    for (int i = 0; i < 16; ++i) {
        EXPECT_NE(DxrHostWatchCells(host, &first, 8, keep, &seen), 0U);
    }
    EXPECT_EQ(DxrHostWatchCells(host, &first, 8, keep, &seen), 0U) << "there are 16";
    EXPECT_EQ(DxrHostWatchCells(host, &first, 8, nullptr, &seen), 0U);
}

TEST_F(DeviceI2c, TransfersBytes) {
    Load(R"({"i2c": [{"bus": 2, "device": "0x50", "offset": 4, "bytes": [1, "0x02", 3],
                      "readOnly": "0xF0"}]})");
    std::array<uint8_t, 6> data{};
    DxrHostI2cRequest request{sizeof(request), 2, 0x50, 3, 5, 99, &data[0]};
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    EXPECT_EQ(request.done, 5U);
    EXPECT_EQ(data, (std::array<uint8_t, 6>{0, 1, 2, 3, 0, 0}));
    data = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    request.bytes = 2;
    EXPECT_EQ(DXR_WriteI2c(&request), 0U);
    EXPECT_EQ(request.done, 2U);
    request.bytes = 3;
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    EXPECT_EQ(data, (std::array<uint8_t, 6>{0xFF, 0x0F, 2, 0xFF, 0xFF, 0xFF}))
        << "the mask is each byte's; no more is written than asked for";
}

TEST_F(DeviceI2c, TellsWhoDoesNotAnswer) {
    std::array<uint8_t, 2> data{7, 7};
    DxrHostI2cRequest request{sizeof(request), 0, 0x51, 0, 1, 9, data.data()};
    EXPECT_EQ(DXR_ReadI2c(&request), uint32_t{ENXIO});
    EXPECT_EQ(request.done, 0U);
    EXPECT_EQ(DXR_WriteI2c(&request), uint32_t{ENXIO});
    const DxrHostCell cell{DXR_HOST_I2C, 0, 0x51, 0, 65535};
    ASSERT_TRUE(DxrHostPokeCell(host, &cell, 0x1A5)) << "makes the device";
    request = {sizeof(request), 0, 0x51, 0, 0, 9, nullptr};
    EXPECT_EQ(DXR_ReadI2c(&request), 0U) << "it is there";
    request = {sizeof(request), 0, 0x51, 65535, 1, 9, data.data()};
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    EXPECT_EQ(data[0], 0xA5);
    request.bytes = 2;
    EXPECT_EQ(DXR_ReadI2c(&request), uint32_t{ERANGE});
    request.offset = 0xFFFFFFFF;
    EXPECT_EQ(DXR_ReadI2c(&request), uint32_t{ERANGE});
    EXPECT_EQ(data[1], 7);
    EXPECT_TRUE(Texts(DXR_HOST_REPORT_MISUSE).empty());
    request = {sizeof(request), 0, 0x51, 0, 1, 9, nullptr};
    EXPECT_EQ(DXR_WriteI2c(&request), uint32_t{EINVAL});
    request.size = 1;
    EXPECT_EQ(DXR_WriteI2c(&request), uint32_t{EINVAL});
    EXPECT_EQ(DXR_ReadI2c(nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_ReadI2c(reinterpret_cast<char *>(&request) + 1), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 4U);
}

TEST_F(DeviceI2c, IsWatchedByTransfer) {
    std::vector<DxrHostAccess> seen;
    const auto keep = [](const DxrHostAccess *access, void *user) {
        static_cast<std::vector<DxrHostAccess> *>(user)->push_back(*access);
    };
    const DxrHostCell cell{DXR_HOST_I2C, 0, 1, 0, 2};
    ASSERT_TRUE(DxrHostPokeCell(host, &cell, 5));
    ASSERT_NE(DxrHostWatchCells(host, &cell, 1, keep, &seen), 0U);
    std::array<uint8_t, 4> data{};
    DxrHostI2cRequest request{sizeof(request), 0, 1, 0, 4, 0, data.data()};
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_EQ(seen[0].first.address, 0U);
    EXPECT_EQ(seen[0].cells, 4U);
    request.bytes = 2;
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    EXPECT_EQ(seen.size(), 1U) << "it ends before that offset";
    request.bytes = 3;
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    EXPECT_EQ(seen.size(), 2U) << "it ends with that offset";
    request.offset = 2;
    request.bytes = 1;
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    EXPECT_EQ(seen.size(), 3U) << "it is that offset";
}

TEST_F(DeviceMdio, ReadsAndWrites) {
    Load(R"({"mdio": [{"unit": 1, "bus": 2, "phy": 3, "device": 4, "register": "0xFFFF",
                       "value": 8, "readOnly": 15}]})");
    std::array<uint16_t, 2> value{0, 7};
    EXPECT_EQ(DXR_ReadMdio(1, 2, 3, 4, 0xFFFF, value.data()), 0U);
    EXPECT_EQ(value[0], 8);
    EXPECT_EQ(DXR_WriteMdio(1, 2, 3, 4, 0xFFFF, 0x1234), 0U);
    EXPECT_EQ(DXR_ReadMdio(1, 2, 3, 4, 0xFFFF, value.data()), 0U);
    EXPECT_EQ(value, (std::array<uint16_t, 2>{0x1238, 7}));
    EXPECT_EQ(DXR_ReadMdio(1, 2, 3, 5, 0xFFFF, value.data()), 0U);
    EXPECT_EQ(value[0], 0) << "another device of that PHY";
    for (const auto &[unit, bus, phy] : {std::array{0, 2, 3}, {1, 0, 3}, {1, 2, 4}}) {
        EXPECT_EQ(DXR_ReadMdio(static_cast<uint32_t>(unit), static_cast<uint32_t>(bus),
                               static_cast<uint8_t>(phy), 4, 0xFFFF, value.data()),
                  uint32_t{ENODEV});
        EXPECT_EQ(value[0], 0xFFFF);
    }
    EXPECT_EQ(DXR_WriteMdio(1, 2, 4, 4, 0, 1), uint32_t{ENODEV});
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_WriteMdio(1, 2, 32, 4, 0, 1), uint32_t{EINVAL});
    EXPECT_EQ(DXR_ReadMdio(1, 2, 3, 32, 0, value.data()), uint32_t{EINVAL});
    EXPECT_EQ(DXR_ReadMdio(1, 2, 3, 4, 0, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_EnableMdioParallel(1, 2, 2), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 4U);
}

constexpr uint32_t kCard = DXR_HOST_PCIE(1, 2, 3);

constexpr const char *kCards = R"({"pcie": [
    {"bus": 1, "device": 2, "function": 3, "vendor": "0x19E5", "id": "0x1711",
     "bars": [{"number": 0, "address": "0xE0000000", "bytes": 4096},
              {"number": 5, "address": "0xF0000000", "bytes": 16}],
     "config": [{"offset": 64, "value": 7, "clearOnWrite": 1}],
     "memory": [{"bar": 5, "offset": 12, "value": 99}]},
    {"bus": 2, "vendor": 1, "id": 2, "present": 0}]})";

TEST_F(DevicePcie, HasConfigurationSpaces) {
    Load(kCards);
    uint32_t value = 0;
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kCard, 0, &value), 0U);
    EXPECT_EQ(value, 0x171119E5U);
    EXPECT_EQ(DXR_SetPcieConfigRegValue(kCard, 0, 0), 0U);
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kCard, 0, &value), 0U);
    EXPECT_EQ(value, 0x171119E5U) << "who it is stays";
    EXPECT_EQ(DXR_SetPcieConfigRegValue(kCard, 64, 1), 0U);
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kCard, 64, &value), 0U);
    EXPECT_EQ(value, 0U) << "0 is written, 1 clears";
    EXPECT_EQ(DXR_SetPcieConfigRegValue(kCard, 4092, 5), 0U);
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kCard, 4092, &value), 0U);
    EXPECT_EQ(value, 5U);
    EXPECT_EQ(DXR_GetPcieConfigRegValue(DXR_HOST_PCIE(2, 0, 0), 0, &value), uint32_t{ENODEV});
    EXPECT_EQ(value, 0xFFFFFFFF);
    EXPECT_EQ(DXR_SetPcieConfigRegValue(0, 0, 0), uint32_t{ENODEV});
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kCard, 4096, &value), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kCard, 2, &value), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kCard, 0, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_SetPcieConfigRegValue(kCard, 1, 1), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 4U);
}

TEST_F(DevicePcie, HasMemoriesWhereTheirRegistersSay) {
    Load(kCards);
    uint64_t address = 0;
    uint64_t bytes = 0;
    uint32_t value = 0;
    EXPECT_EQ(DXR_GetDeviceBar(kCard, 5, &address, &bytes), 0U);
    EXPECT_EQ(address, 0xF0000000U);
    EXPECT_EQ(bytes, 16U);
    EXPECT_EQ(DXR_GetDeviceBar(kCard, 1, &address, &bytes), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetDeviceBar(kCard, 6, &address, &bytes), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetDeviceBar(7, 0, &address, &bytes), uint32_t{ENOENT});
    EXPECT_EQ(DXR_ReadPcie(kCard, AddressOf(0xF000000C), &value), 0U);
    EXPECT_EQ(value, 99U);
    EXPECT_EQ(DXR_WritePcie(kCard, AddressOf(0xE0000FFC), 5), 0U);
    // Its size is asked for in the way of the bus, then it moves.
    EXPECT_EQ(DXR_SetPcieConfigRegValue(kCard, 0x10, 0xFFFFFFFF), 0U);
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kCard, 0x10, &value), 0U);
    EXPECT_EQ(value, 0xFFFFF000U);
    EXPECT_EQ(DXR_SetPcieConfigRegValue(kCard, 0x10, 0xD0000000), 0U);
    EXPECT_EQ(DXR_GetDeviceBar(kCard, 0, &address, &bytes), 0U);
    EXPECT_EQ(address, 0xD0000000U);
    EXPECT_EQ(DXR_ReadPcie(kCard, AddressOf(0xD0000FFC), &value), 0U);
    EXPECT_EQ(value, 5U);
    EXPECT_EQ(DXR_SetPcieConfigRegValue(kCard, 0x14, 0xFFFFFFFF), 0U);
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kCard, 0x14, &value), 0U);
    EXPECT_EQ(value, 0U) << "no memory, no address";
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_ReadPcie(kCard, AddressOf(0xE0000FFC), &value), uint32_t{EFAULT});
    EXPECT_EQ(DXR_ReadPcie(kCard, AddressOf(0xD0000002), &value), uint32_t{EFAULT});
    EXPECT_EQ(DXR_WritePcie(kCard, nullptr, 1), uint32_t{EFAULT});
    EXPECT_EQ(DXR_ReadPcie(kCard, AddressOf(0xD0000000), nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetDeviceBar(kCard, 0, nullptr, &bytes), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetDeviceBar(kCard, 0, &address, nullptr), uint32_t{EINVAL});
    EXPECT_GE(Texts(DXR_HOST_REPORT_MISUSE).size(), 5U);
}

TEST_F(DevicePcie, IsFoundByLooking) {
    Load(kCards);
    constexpr uint32_t kAbsent = DXR_HOST_PCIE(2, 0, 0);
    uint32_t value = 0;
    EXPECT_EQ(DXR_ScanPcie(1), 0U);
    EXPECT_EQ(DXR_ScanPcie(2), uint32_t{ENODEV});
    EXPECT_EQ(DXR_ScanPcie(3), uint32_t{ENODEV});
    EXPECT_EQ(DXR_ProbePcie(1, 2, 3), 0U);
    EXPECT_EQ(DXR_ProbePcie(1, 2, 4), uint32_t{ENODEV});
    EXPECT_EQ(DXR_ProbePcie(2, 0, 0), uint32_t{ENODEV});
    EXPECT_FALSE(DxrHostSetPciePresent(host, 99, true)) << "it is not described";
    ASSERT_TRUE(DxrHostSetPciePresent(host, kAbsent, true));
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kAbsent, 0, &value), uint32_t{ENODEV}) << "not found yet";
    EXPECT_EQ(DXR_ScanPcie(2), 0U);
    EXPECT_EQ(DXR_GetPcieConfigRegValue(kAbsent, 0, &value), 0U);
    ASSERT_TRUE(DxrHostSetPciePresent(host, kCard, false));
    EXPECT_EQ(DXR_ReadPcie(kCard, AddressOf(0xE0000000), &value), uint32_t{ENODEV});
    EXPECT_EQ(value, 0xFFFFFFFF);
    ASSERT_TRUE(DxrHostSetPciePresent(host, kCard, true));
    EXPECT_EQ(DXR_ReadPcie(kCard, AddressOf(0xE0000000), &value), uint32_t{ENODEV});
    EXPECT_EQ(DXR_ProbePcie(1, 2, 3), 0U);
    EXPECT_EQ(DXR_ReadPcie(kCard, AddressOf(0xE0000000), &value), 0U);
    EXPECT_EQ(value, 0U);
}

// --- Cells

TEST_F(DeviceRegisters, HaveCellsWhereTheyCanBe) {
    Load(kCards);
    uint32_t value = 7;
    for (const DxrHostCell &bad :
         {DxrHostCell{5, 0, 0, 0, 0}, DxrHostCell{DXR_HOST_REGISTERS, 0, 0, 0, 2},
          DxrHostCell{DXR_HOST_REGISTERS, 0, 0, 1, 0},
          DxrHostCell{DXR_HOST_REGISTERS, 0, 0, 0, 0x100000000},
          DxrHostCell{DXR_HOST_I2C, 0, 128, 0, 0}, DxrHostCell{DXR_HOST_I2C, 0, 0, 0, 65536},
          DxrHostCell{DXR_HOST_MDIO, 0, 0, 32, 0}, DxrHostCell{DXR_HOST_MDIO, 0, 0, 0, 32 << 16},
          DxrHostCell{DXR_HOST_PCIE_CONFIG, 0, 7, 0, 0},
          DxrHostCell{DXR_HOST_PCIE_CONFIG, 0, kCard, 0, 4096},
          DxrHostCell{DXR_HOST_PCIE_MEMORY, 0, kCard, 0, 4096},
          DxrHostCell{DXR_HOST_PCIE_MEMORY, 0, kCard, 6, 0}}) {
        EXPECT_FALSE(DxrHostPokeCell(host, &bad, 1)) << bad.space << ' ' << bad.address;
        EXPECT_FALSE(DxrHostPeekCell(host, &bad, &value));
        EXPECT_FALSE(DxrHostShapeCell(host, &bad, 1, 1));
    }
    EXPECT_FALSE(DxrHostPokeCell(host, nullptr, 1));
    const DxrHostCell absent{DXR_HOST_MDIO, 0, 0, 1, 0};
    EXPECT_FALSE(DxrHostPeekCell(host, &absent, &value)) << "no such PHY";
    EXPECT_EQ(value, 7U);
    const DxrHostCell there{DXR_HOST_PCIE_MEMORY, 0, kCard, 5, 12};
    EXPECT_TRUE(DxrHostPeekCell(host, &there, &value));
    EXPECT_EQ(value, 99U);
    EXPECT_FALSE(DxrHostPeekCell(host, &there, nullptr));
}

// --- Faults

TEST_F(DeviceFaults, ComeFromPoints) {
    Load(R"({"registers": [{"chip": 1, "address": 0, "value": 6}],
             "i2c": [{"bus": 0, "device": 1, "bytes": [1, 2]}],
             "mdio": [{"phy": 1, "register": 0, "value": 4}],
             "pcie": [{"bus": 0, "vendor": 1, "id": 1}]})");
    uint32_t value = 77;
    uint16_t half = 77;
    std::array<uint8_t, 2> bytes{77, 77};
    DxrHostI2cRequest request{sizeof(request), 0, 1, 0, 2, 9, bytes.data()};
    for (const char *const point :
         {"device.register.fail", "device.i2c.fail", "device.mdio.fail", "device.pcie.fail"}) {
        DxrHostFailNth(host, point, 1, false);
    }
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), uint32_t{EIO});
    EXPECT_EQ(DXR_ReadI2c(&request), uint32_t{EIO});
    EXPECT_EQ(request.done, 0U);
    EXPECT_EQ(DXR_ReadMdio(0, 0, 1, 0, 0, &half), uint32_t{EIO});
    EXPECT_EQ(DXR_GetPcieConfigRegValue(0, 0, &value), uint32_t{EIO});
    EXPECT_EQ(value, 77U) << "a read that fails writes nothing";
    EXPECT_EQ(half, 77);
    EXPECT_EQ(bytes[0], 77);
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), 0U);
    EXPECT_EQ(value, 6U);

    DxrHostFailNth(host, "device.register.fail", 1, false);
    EXPECT_EQ(DXR_WriteReg(0, 1, 0, 9), uint32_t{EIO});
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), 0U);
    EXPECT_EQ(value, 6U) << "nor does a write";

    DxrHostFailNth(host, "device.register.flip", 1, false);
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), 0U);
    EXPECT_EQ(__builtin_popcount(value ^ 6U), 1);
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), 0U);
    EXPECT_EQ(value, 6U) << "what was read was wrong, not the register";
    DxrHostFailNth(host, "device.mdio.flip", 1, false);
    EXPECT_EQ(DXR_WriteMdio(0, 0, 1, 0, 0, 0), 0U);
    EXPECT_EQ(DXR_ReadMdio(0, 0, 1, 0, 0, &half), 0U);
    EXPECT_EQ(__builtin_popcount(half), 1) << "what was written was wrong";
    DxrHostFailNth(host, "device.i2c.flip", 1, false);
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    EXPECT_EQ(__builtin_popcount(bytes[0] ^ 1U) + __builtin_popcount(bytes[1] ^ 2U), 1);
}

TEST_F(DeviceFaults, ComeForSomeAddresses) {
    const DxrHostCell first = RegisterCell(8);
    uint32_t value = 0;
    DxrHostCellFault fault{
        sizeof(fault), DXR_HOST_FAULT_FAIL, DXR_HOST_FAULT_READS, ETIMEDOUT, 2, 0, 0};
    const uint32_t number = DxrHostFaultCells(host, &first, 8, &fault);
    ASSERT_NE(number, 0U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 16, &value), 0U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 8, &value), 0U) << "the first";
    EXPECT_EQ(DXR_WriteReg(0, 1, 8, 5), 0U) << "no read";
    EXPECT_EQ(DXR_ReadReg(0, 1, 12, &value), uint32_t{ETIMEDOUT}) << "the second";
    EXPECT_EQ(DXR_ReadReg(0, 1, 8, &value), 0U);
    EXPECT_TRUE(DxrHostEndRule(host, number));

    fault.nth = 2;
    fault.onwards = 1;
    fault.amount = 0;
    const uint32_t onwards = DxrHostFaultCells(host, &first, 8, &fault);
    EXPECT_EQ(DXR_ReadReg(0, 1, 8, &value), 0U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 8, &value), uint32_t{EIO});
    EXPECT_EQ(DXR_ReadReg(0, 1, 8, &value), uint32_t{EIO});
    EXPECT_TRUE(DxrHostEndRule(host, onwards));

    fault = {sizeof(fault), DXR_HOST_FAULT_FLIP, DXR_HOST_FAULT_WRITES, 0x30, 1, 1, 0};
    const uint32_t flips = DxrHostFaultCells(host, &first, 4, &fault);
    EXPECT_EQ(DXR_WriteReg(0, 1, 8, 0x11), 0U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 8, &value), 0U);
    EXPECT_EQ(value, 0x21U);
    EXPECT_TRUE(DxrHostEndRule(host, flips));

    fault = {
        sizeof(fault), DXR_HOST_FAULT_FAIL, DXR_HOST_FAULT_READS | DXR_HOST_FAULT_WRITES, 0, 0, 0,
        250000};
    const uint32_t share = DxrHostFaultCells(host, &first, 4, &fault);
    int failed = 0;
    for (int i = 0; i < 1000; ++i) {
        failed += DXR_ReadReg(0, 1, 8, &value) != 0 ? 1 : 0;
    }
    EXPECT_GT(failed, 150);
    EXPECT_LT(failed, 350);
    EXPECT_TRUE(DxrHostEndRule(host, share));

    fault.effect = 3;
    EXPECT_EQ(DxrHostFaultCells(host, &first, 4, &fault), 0U);
    fault.effect = 0;
    fault.accesses = 0;
    EXPECT_EQ(DxrHostFaultCells(host, &first, 4, &fault), 0U);
    fault.accesses = 4;
    EXPECT_EQ(DxrHostFaultCells(host, &first, 4, &fault), 0U);
    fault.accesses = 1;
    fault.size = 0;
    EXPECT_EQ(DxrHostFaultCells(host, &first, 4, &fault), 0U);
    fault.size = sizeof(fault);
    EXPECT_EQ(DxrHostFaultCells(host, nullptr, 4, &fault), 0U);
    EXPECT_NE(DxrHostFaultCells(host, &first, 4, &fault), 0U) << "nothing else was wrong with it";
    EXPECT_EQ(DxrHostFaultCells(host, &first, 4, nullptr), 0U);
}

TEST_F(DeviceFaults, FlipTheByteTheyAreFor) {
    Load(R"({"i2c": [{"bus": 0, "device": 1, "bytes": [0, 0, 0, 0]}]})");
    std::array<uint8_t, 4> bytes{};
    DxrHostI2cRequest request{sizeof(request), 0, 1, 0, 4, 9, bytes.data()};
    const DxrHostCell third{DXR_HOST_I2C, 0, 1, 0, 2};
    const DxrHostCellFault fault{
        sizeof(fault), DXR_HOST_FAULT_FLIP, DXR_HOST_FAULT_READS, 0x81, 1, 0, 0};
    ASSERT_NE(DxrHostFaultCells(host, &third, 1, &fault), 0U);
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    EXPECT_EQ(bytes, (std::array<uint8_t, 4>{0, 0, 0x81, 0}));
    // Another one for some of these bits flips them back.
    const DxrHostCellFault other{
        sizeof(other), DXR_HOST_FAULT_FLIP, DXR_HOST_FAULT_READS, 0x03, 1, 1, 0};
    ASSERT_NE(DxrHostFaultCells(host, &third, 1, &other), 0U);
    const DxrHostCellFault again{
        sizeof(again), DXR_HOST_FAULT_FLIP, DXR_HOST_FAULT_READS, 0x41, 1, 1, 0};
    ASSERT_NE(DxrHostFaultCells(host, &third, 1, &again), 0U);
    EXPECT_EQ(DXR_ReadI2c(&request), 0U);
    EXPECT_EQ(bytes, (std::array<uint8_t, 4>{0, 0, 0x42, 0}));
}

TEST_F(DeviceDelays, LastForTheHostsClock) {
    uint32_t value = 0;
    DxrHostFailNth(host, "device.register.delay", 1, false);
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), 0U);
    EXPECT_EQ(DxrHostGetElapsedNs(host), uint64_t{DXR_HOST_DELAY_MS} * 1000000);
    const DxrHostCell first = RegisterCell(0);
    const DxrHostCellFault fault{
        sizeof(fault), DXR_HOST_FAULT_DELAY, DXR_HOST_FAULT_WRITES, 500, 1, 0, 0};
    ASSERT_NE(DxrHostFaultCells(host, &first, 4, &fault), 0U);
    EXPECT_EQ(DXR_WriteReg(0, 1, 0, 1), 0U);
    EXPECT_EQ(DxrHostGetElapsedNs(host), 510000000U);
}

struct Bus {
    std::array<uint64_t, 2> ends{};
    size_t count = 0;
};

void ReadSlowPhy(void *user) {
    auto *const bus = static_cast<Bus *>(user);
    uint16_t value = 0;
    EXPECT_EQ(DXR_ReadMdio(0, 0, 1, 0, 0, &value), 0U);
    bus->ends[bus->count++] = DxrHostGetElapsedNs(nullptr) / 1000000;
}

// Two reads of one bus that take 10 ms each.
std::array<uint64_t, 2> ReadTwice(DxrHost *host) {
    const DxrHostCell phy{DXR_HOST_MDIO, 0, 0, 1, 0};
    EXPECT_TRUE(DxrHostPokeCell(host, &phy, 1));
    DxrHostFailNth(host, "device.mdio.delay", 1, true);
    Bus bus;
    std::array<uint32_t, 2> tasks{};
    for (uint32_t &task : tasks) {
        EXPECT_EQ(DXR_CreateTask(const_cast<char *>("reader"),
                                 reinterpret_cast<void *>(ReadSlowPhy), &bus, 1, nullptr, 0, &task),
                  0U);
    }
    for (const uint32_t task : tasks) {
        EXPECT_EQ(DxrHostJoinTask(host, task, DXR_HOST_FOREVER), 0U);
    }
    return bus.ends;
}

TEST_F(DeviceDelays, BlockAnMdioBus) {
    EXPECT_EQ(ReadTwice(host), (std::array<uint64_t, 2>{10, 20}));
}

TEST_F(DeviceDelays, DoNotBlockAParallelMdioBus) {
    EXPECT_EQ(DXR_EnableMdioParallel(0, 0, 1), 0U);
    EXPECT_EQ(ReadTwice(host), (std::array<uint64_t, 2>{10, 10}));
    EXPECT_EQ(DXR_EnableMdioParallel(0, 0, 0), 0U);
    EXPECT_EQ(ReadTwice(host), (std::array<uint64_t, 2>{20, 30}));
}

// Who writes a register and then goes on may be overtaken by one who reads it.
uint32_t WriteAndGoOn(DxrHost *host, void * /*user*/) {
    struct Shared {
        bool goesOn = false;
        bool isOvertaken = false;
    } shared;
    const auto read = [](void *user) {
        auto *const to = static_cast<Shared *>(user);
        uint32_t value = 0;
        (void)DXR_ReadReg(0, 1, 0, &value);
        to->isOvertaken = value == 5 && !to->goesOn;
    };
    uint32_t reader = 0;
    EXPECT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(+read), &shared, 1, nullptr, 0, &reader),
        0U);
    (void)DXR_WriteReg(0, 1, 0, 5);
    shared.goesOn = true;
    (void)DxrHostJoinTask(host, reader, DXR_HOST_FOREVER);
    return shared.isOvertaken ? 1 : 0;
}

TEST(DeviceAccess, LetsOthersRunBeforeItReturns) {
    DxrHostExploration found{};
    testing::internal::CaptureStderr();
    EXPECT_EQ(DxrHostExplore(nullptr, 200, WriteAndGoOn, nullptr, &found), 1U);
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(found.result, 1U) << found.text;
}

TEST_F(DeviceRegisters, BearManyThreads) {
    std::vector<std::thread> threads;
    for (uint32_t chip = 0; chip < 4; ++chip) {
        threads.emplace_back([chip] {
            for (uint32_t i = 0; i < 2000; ++i) {
                uint32_t value = 0;
                EXPECT_EQ(DXR_WriteReg(0, chip, i % 64 * 4, i), 0U);
                EXPECT_EQ(DXR_ReadReg(0, chip, i % 64 * 4, &value), 0U);
                EXPECT_EQ(value, i);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

TEST_F(DeviceI2c, ARefusedTransferLeavesItsRecord) {
    DxrHostI2cRequest request{sizeof(request), 0, 0x50, 0, 4, 99, nullptr};
    EXPECT_EQ(DXR_ReadI2c(&request), uint32_t{EINVAL});
    EXPECT_EQ(request.done, 99U);
}

// The bits of a fault are those of the register, whichever half is read.
TEST_F(DeviceFaults, AFaultTurnsBitsOfTheRegisterOver) {
    const DxrHostCell cell{DXR_HOST_REGISTERS, 0, 1, 0, 0x100};
    EXPECT_TRUE(DxrHostPokeCell(host, &cell, 0x44332211));
    const DxrHostCellFault fault{
        sizeof(fault), DXR_HOST_FAULT_FLIP, DXR_HOST_FAULT_READS, 0x00010080, 1, 1, 0};
    EXPECT_NE(DxrHostFaultCells(host, &cell, 4, &fault), 0U);
    uint32_t whole = 0;
    uint16_t half = 0;
    EXPECT_EQ(DXR_ReadReg(0, 1, 0x100, &whole), 0U);
    EXPECT_EQ(whole, 0x44332211U ^ 0x00010080U);
    EXPECT_EQ(DXR_ReadReg16(0, 1, 0x100, &half), 0U);
    EXPECT_EQ(half, 0x2211U ^ 0x0080U);
    EXPECT_EQ(DXR_ReadReg16(0, 1, 0x102, &half), 0U);
    EXPECT_EQ(half, 0x4433U ^ 0x0001U);
}

}  // namespace
