// What the board is, by the sentences of the device service's header.
#include "dxr_devhost/device.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "devhost/device_fixture.h"

namespace {

class DeviceBoard : public dxrtest::SteppedDevice {};

TEST_F(DeviceBoard, IsPlainWithoutADescription) {
    std::array<char, 8> name{};
    uint32_t value = 7;
    EXPECT_EQ(DXR_BoardIsMaster(), 1U);
    EXPECT_EQ(DXR_IsRunInLs(), 0U);
    EXPECT_EQ(DXR_IsCentralPurchaseMode(), 0U);
    EXPECT_EQ(DXR_IsIssuState(), 0U);
    EXPECT_EQ(DXR_GetProductFamilyType(), 2U);
    EXPECT_EQ(DXR_GetServiceType(), 0U);
    EXPECT_EQ(DXR_GetPcbVersion(), 0U);
    EXPECT_EQ(DXR_GetLocalPcbVersion(), 0U);
    EXPECT_EQ(DXR_GetSoftPcbVersion(), 0U);
    EXPECT_EQ(DXR_GetBoardDrvType(), 0xFFFFFFFF);
    EXPECT_EQ(DXR_GetVsfuDevName(name.data(), name.size()), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetHardId(0, &value), 0xFFFFFFFF);
    EXPECT_EQ(DXR_GetBomId(0, 0, &value), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetDevAttrValue(0, 0, &value), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetVoltageKey(0, 0, 0, &value), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetVoltage(0, 0, &value), uint32_t{ENOENT});
    EXPECT_EQ(DXR_SetVoltage(0, 0, 1), uint32_t{ENOENT});
    EXPECT_EQ(DXR_CheckSmiLosEnable(0, 0), 0U);
    EXPECT_EQ(DXR_GetResetMode(&value), 0U);
    EXPECT_EQ(value, 0U);
    EXPECT_TRUE(reports.empty());
}

constexpr const char *kBoard = R"({
    "board": {"master": 0, "runsInLs": 1, "centralPurchase": 1, "issu": 2, "productFamily": 3,
              "serviceType": 4, "pcbVersion": 5, "localPcbVersion": 6, "softPcbVersion": 7,
              "driverType": "0x08", "resetMode": 9},
    "vsfuDevice": "vsfu0",
    "hardIds": [{"unit": 1, "id": "0xABCD"}],
    "boms": [{"unit": 1, "part": 2, "id": 33}],
    "attributes": [{"device": 1, "attribute": 2, "value": 44, "readOnly": 1},
                   {"device": 1, "attribute": 3, "value": 45}],
    "voltages": [{"unit": 0, "chip": 1, "rail": 2, "key": 9, "millivolts": 900, "least": 850,
                  "most": 950}],
    "smiLos": [{"chip": 1, "port": 2}]})";

TEST_F(DeviceBoard, IsWhatItsDescriptionSays) {
    Load(kBoard);
    uint32_t value = 0;
    EXPECT_EQ(DXR_BoardIsMaster(), 0U);
    EXPECT_EQ(DXR_IsRunInLs(), 1U);
    EXPECT_EQ(DXR_IsCentralPurchaseMode(), 1U);
    EXPECT_EQ(DXR_IsIssuState(), 1U) << "0 or 1";
    EXPECT_EQ(DXR_GetProductFamilyType(), 3U);
    EXPECT_EQ(DXR_GetServiceType(), 4U);
    EXPECT_EQ(DXR_GetPcbVersion(), 5U);
    EXPECT_EQ(DXR_GetLocalPcbVersion(), 6U);
    EXPECT_EQ(DXR_GetSoftPcbVersion(), 7U);
    EXPECT_EQ(DXR_GetBoardDrvType(), 8U);
    EXPECT_EQ(DXR_GetResetMode(&value), 0U);
    EXPECT_EQ(value, 9U);
    EXPECT_EQ(DXR_GetHardId(1, &value), 0U);
    EXPECT_EQ(value, 0xABCDU);
    EXPECT_EQ(DXR_GetBomId(1, 2, &value), 0U);
    EXPECT_EQ(value, 33U);
    EXPECT_EQ(DXR_GetBomId(2, 2, &value), uint32_t{ENOENT});
    EXPECT_EQ(DXR_CheckSmiLosEnable(1, 2), 1U);
    EXPECT_EQ(DXR_CheckSmiLosEnable(2, 1), 0U);
    std::array<char, 8> name{'#', '#', '#', '#', '#', '#', '#', '#'};
    EXPECT_EQ(DXR_GetVsfuDevName(name.data(), 5), uint32_t{ENOSPC});
    EXPECT_EQ(name[0], '#');
    EXPECT_EQ(DXR_GetVsfuDevName(name.data(), 6), 0U);
    EXPECT_STREQ(name.data(), "vsfu0");
    EXPECT_EQ(name[6], '#');
    EXPECT_TRUE(DxrHostSetBoardValue(host, "master", 1));
    EXPECT_EQ(DXR_BoardIsMaster(), 1U);
    EXPECT_FALSE(DxrHostSetBoardValue(host, "colour", 1));
    EXPECT_FALSE(DxrHostSetBoardValue(host, nullptr, 1));
}

TEST_F(DeviceBoard, HasAttributes) {
    Load(kBoard);
    uint32_t value = 0;
    EXPECT_EQ(DXR_GetDevAttrValue(1, 2, &value), 0U);
    EXPECT_EQ(value, 44U);
    EXPECT_EQ(DXR_SetDevAttrValue(1, 2, 1), uint32_t{EACCES});
    EXPECT_EQ(DXR_SetDevAttrValue(1, 3, 5), 0U);
    EXPECT_EQ(DXR_GetDevAttrValue(1, 3, &value), 0U);
    EXPECT_EQ(value, 5U);
    EXPECT_EQ(DXR_SetDevAttrValue(7, 7, 6), 0U) << "one that is not there is made";
    EXPECT_EQ(DXR_GetDevAttrValue(7, 7, &value), 0U);
    EXPECT_EQ(value, 6U);
}

TEST_F(DeviceBoard, HasVoltages) {
    Load(kBoard);
    uint32_t key = 0;
    uint32_t value = 0;
    EXPECT_EQ(DXR_GetVoltageKey(0, 1, 2, &key), 0U);
    EXPECT_EQ(key, 9U);
    EXPECT_EQ(DXR_GetVoltageKey(0, 2, 1, &key), uint32_t{ENOENT});
    EXPECT_EQ(DXR_GetVoltage(0, 9, &value), 0U);
    EXPECT_EQ(value, 900U);
    EXPECT_EQ(DXR_SetVoltage(0, 9, 850), 0U);
    EXPECT_EQ(DXR_SetVoltage(0, 9, 849), uint32_t{ERANGE});
    EXPECT_EQ(DXR_SetVoltage(0, 9, 951), uint32_t{ERANGE});
    EXPECT_EQ(DXR_GetVoltage(0, 9, &value), 0U);
    EXPECT_EQ(value, 850U);
    EXPECT_EQ(DXR_SetVoltage(1, 9, 900), uint32_t{ENOENT});
}

TEST_F(DeviceBoard, ReportsPointersThatAreNone) {
    Load(kBoard);
    std::array<uint32_t, 2> room{};
    void *const odd = reinterpret_cast<char *>(room.data()) + 1;
    for (void *const bad : {static_cast<void *>(nullptr), odd}) {
        EXPECT_EQ(DXR_GetHardId(1, bad), 0xFFFFFFFF);
        EXPECT_EQ(DXR_GetBomId(1, 2, bad), uint32_t{EINVAL});
        EXPECT_EQ(DXR_GetDevAttrValue(1, 2, bad), uint32_t{EINVAL});
        EXPECT_EQ(DXR_GetVoltageKey(0, 1, 2, bad), uint32_t{EINVAL});
        EXPECT_EQ(DXR_GetVoltage(0, 9, bad), uint32_t{EINVAL});
    }
    EXPECT_EQ(DXR_GetVsfuDevName(nullptr, 9), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 11U);
    EXPECT_EQ(room, (std::array<uint32_t, 2>{}));
}

TEST_F(DeviceBoard, IsReadWhenTheHostIsMade) {
    const std::string path = directory.Write("own.json", R"({"board": {"pcbVersion": 12}})");
    options.board = path.c_str();
    Restart();
    EXPECT_EQ(DXR_GetPcbVersion(), 12U);
    EXPECT_EQ(DXR_GetProductFamilyType(), 2U) << "what is not said";
    EXPECT_EQ(DxrHostGetReportCount(host), 0U);
}

TEST_F(DeviceBoard, ReportsAFileThatIsWrong) {
    const std::string path = directory.Write("own.json", "{\n  \"board\": }");
    options.board = path.c_str();
    Restart();
    ASSERT_EQ(DxrHostGetReportCount(host), 1U);
    DxrHostReport report;
    ASSERT_TRUE(DxrHostGetReport(host, 0, &report));
    EXPECT_EQ(report.kind, DXR_HOST_REPORT_MISUSE);
    EXPECT_EQ(std::string(static_cast<const char *>(report.text)).rfind(path + ":2:", 0), 0U)
        << static_cast<const char *>(report.text);
    EXPECT_EQ(DXR_BoardIsMaster(), 1U);
}

TEST_F(DeviceBoard, NamesTheMemberThatIsWrong) {
    Load(kBoard);
    const std::vector<std::pair<const char *, const char *>> wrong = {
        {"[]", "the file must be an object"},
        {R"({"colour": 1})", "/colour: is not known"},
        {R"({"board": 1})", "/board: must be an object"},
        {R"({"board": {"colour": 1}})", "/board/colour: is not known"},
        {R"({"board": {"master": -1}})", "/board/master: must be a whole number within its range"},
        {R"({"board": {"master": "0x"}})",
         "/board/master: must be a whole number within its range"},
        {R"({"board": {"master": "12z"}})",
         "/board/master: must be a whole number within its range"},
        {R"({"board": {"master": 4294967296}})",
         "/board/master: must be a whole number within its range"},
        {R"({"vsfuDevice": 1})", "/vsfuDevice: must be a text"},
        {R"({"hardIds": {}})", "/hardIds: must be a list"},
        {R"({"hardIds": [{"unit": 1, "id": 1}, {"unit": 2}]})", "/hardIds/1/id: is missing"},
        {R"({"hardIds": [7]})", "/hardIds/0: must be an object"},
        {R"({"hardIds": [{"unit": 1, "id": 1, "x": 1}]})", "/hardIds/0/x: is not known"},
        {R"({"registers": [{"address": 2, "value": 0}]})",
         "/registers/0/address: is no address of that space"},
        {R"({"mdio": [{"phy": 32, "register": 2, "value": 0}]})",
         "/mdio/0/phy: must be a whole number within its range"},
        {R"({"mdio": [{"phy": 1, "register": 2, "value": 65536}]})",
         "/mdio/0/value: must be a whole number within its range"},
        {R"({"i2c": [{"bus": 0, "device": 128, "bytes": []}]})",
         "/i2c/0/device: must be a whole number within its range"},
        {R"({"i2c": [{"bus": 0, "device": 1, "offset": 65536, "bytes": []}]})",
         "/i2c/0/offset: must be a whole number within its range"},
        {R"({"i2c": [{"bus": 0, "device": 1, "bytes": 7}]})",
         "/i2c/0/bytes: must be a list of bytes"},
        {R"({"i2c": [{"bus": 0, "device": 1, "bytes": [256]}]})",
         "/i2c/0/bytes: must be numbers up to 255"},
        {R"({"i2c": [{"bus": 0, "device": 1, "offset": 65535, "bytes": [1, 1]}]})",
         "/i2c/0/bytes: must end at offset 65535"},
        {R"({"pcie": [{"bus": 256, "vendor": 1, "id": 1}]})",
         "/pcie/0/bus: must be a whole number within its range"},
        {R"({"pcie": [{"bus": 0, "vendor": 1, "id": 1,
                       "bars": [{"number": 0, "address": 0, "bytes": 24}]}]})",
         "/pcie/0/bars/0/bytes: must be a power of two from 16"},
        {R"({"pcie": [{"bus": 0, "vendor": 1, "id": 1,
                       "bars": [{"number": 0, "address": 16, "bytes": 32}]}]})",
         "/pcie/0/bars/0/address: must be a multiple of the size"},
        {R"({"pcie": [{"bus": 0, "vendor": 1, "id": 1,
                       "memory": [{"bar": 0, "offset": 0, "value": 1}]}]})",
         "/pcie/0/memory/0/offset: is not in that BAR"},
        {R"({"voltages": [{"key": 1, "millivolts": 5, "most": 4}]})",
         "/voltages/0/millivolts: must be within what the rail allows"},
        {R"({"devices": [{"path": "/tmp/x", "bytes": 4}]})",
         "/devices/0/path: must begin with /dev/"},
        {R"({"devices": [{"path": "/dev/x", "bytes": 4, "text": "12345"}]})",
         "/devices/0/text: is longer than the device"},
        {R"({"devices": [{"path": "/dev/x", "bytes": 4294967297}]})",
         "/devices/0/bytes: must be a whole number within its range"},
        {R"({"reserved": [{"number": 0, "name": "x", "bytes": 4294967297}]})",
         "/reserved/0/bytes: must be a whole number within its range"},
        {R"({"reserved": [{"number": 0, "name": "x", "bytes": 0}]})",
         "/reserved/0/bytes: must not be 0"},
        {R"({"voltages": [{"rail": 1, "key": 1, "millivolts": 5},
                           {"rail": 2, "key": 1, "millivolts": 5},
                           {"rail": 3, "key": 1, "millivolts": 6}]})",
         "/voltages/2/key: is that of another voltage"},
        {R"({"vsfuDevice": "a\u0000b"})", "/vsfuDevice: must not hold a byte of 0"},
        {R"({"pcie": [{"bus": 0, "vendor": 1, "id": 1,
                       "bars": [{"number": 0, "address": 8192, "bytes": 8192},
                                {"number": 1, "address": 12288, "bytes": 16}]}]})",
         "/pcie/0/bars/1/address: lies in another BAR"},
        {R"({"pcie": [{"bus": 0, "vendor": 1, "id": 1,
                       "bars": [{"number": 1, "address": 12288, "bytes": 16},
                                {"number": 0, "address": 8192, "bytes": 8192}]}]})",
         "/pcie/0/bars/1/address: lies in another BAR"},
        {R"({"devices": [{"path": "/dev/../etc", "bytes": 4}]})",
         "/devices/0/path: must have no empty part and no dots for one"},
        {R"({"devices": [{"path": "/dev/a//b", "bytes": 4}]})",
         "/devices/0/path: must have no empty part and no dots for one"},
        {R"({"devices": [{"path": "/dev/a/", "bytes": 4}]})",
         "/devices/0/path: must have no empty part and no dots for one"},
        {R"({"reserved": [{"number": 0, "name": "x", "address": "0xFFFFFFFFFFFFFFF1",
                           "bytes": 16}]})",
         "/reserved/0/address: must leave room for the bytes below 2^64"},
    };
    for (const auto &[board, why] : wrong) {
        const std::string text = WhyNot(board);
        EXPECT_EQ(text.substr(text.find(": ") + 2), why);
    }
    EXPECT_EQ(WhyNot("{"), "1:2: this is no JSON");
    EXPECT_EQ(DXR_GetPcbVersion(), 5U) << "nothing has changed";
    std::array<char, 6> error{};
    EXPECT_FALSE(DxrHostLoadBoard(host, nullptr, error.data(), error.size()));
    EXPECT_STREQ(error.data(), "no fi");
    EXPECT_FALSE(DxrHostLoadBoard(host, "/nowhere/at/all", nullptr, 0));
}

TEST_F(DeviceBoard, HasNothingTwice) {
    const std::vector<std::array<const char *, 3>> lists = {
        {"hardIds", R"({"unit": 1, "id": 1})", R"({"unit": 2, "id": 1})"},
        {"boms", R"({"unit": 1, "part": 1, "id": 1})", R"({"unit": 1, "part": 2, "id": 1})"},
        {"attributes", R"({"device": 1, "attribute": 1, "value": 1})",
         R"({"device": 1, "attribute": 2, "value": 1})"},
        {"voltages", R"({"rail": 1, "key": 1, "millivolts": 5})",
         R"({"rail": 2, "key": 2, "millivolts": 5})"},
        {"smiLos", R"({"chip": 1, "port": 1})", R"({"chip": 1, "port": 2})"},
        {"registers", R"({"address": 4, "value": 7})", R"({"address": 8, "value": 7})"},
        {"i2c", R"({"bus": 0, "device": 1, "offset": 2, "bytes": [1, 2]})",
         R"({"bus": 0, "device": 1, "offset": 4, "bytes": [1, 2]})"},
        {"mdio", R"({"phy": 1, "register": 2, "value": 7})",
         R"({"phy": 1, "register": 3, "value": 7})"},
        {"pcie", R"({"bus": 1, "vendor": 1, "id": 1})", R"({"bus": 2, "vendor": 1, "id": 1})"},
        {"devices", R"({"path": "/dev/a", "bytes": 4})", R"({"path": "/dev/b", "bytes": 4})"},
        {"reserved", R"({"number": 1, "name": "a", "bytes": 4096})",
         R"({"number": 2, "name": "b", "bytes": 4096})"},
    };
    const auto board = [](const std::string &list, const std::string &a, const std::string &b) {
        return R"({")" + list + R"(": [)" + a + ",\n" + b + "]}";
    };
    for (const auto &[list, one, other] : lists) {
        Load(board(list, one, other));
        EXPECT_EQ(WhyNot(board(list, one, one)),
                  "2:1: /" + std::string(list) + "/1: is described twice");
    }
    const std::vector<std::array<const char *, 3>> ofPcie = {
        {"bars", R"({"number": 2, "address": 0, "bytes": 16})",
         R"({"number": 1, "address": 0, "bytes": 32})"},
        {"config", R"({"offset": 64, "value": 1})", R"({"offset": 68, "value": 1})"},
        {"memory", R"({"bar": 0, "offset": 0, "value": 1})",
         R"({"bar": 0, "offset": 4, "value": 1})"},
    };
    for (const auto &[list, one, other] : ofPcie) {
        const std::string before =
            R"({"pcie": [{"bus": 1, "vendor": 1, "id": 1, )" +
            std::string(list == std::string("memory")
                            ? R"("bars": [{"number": 0, "address": 0, "bytes": 16}], )"
                            : "") +
            "\"";
        const auto within = [&before, list = list, one = one](const char *second) {
            return before + list + "\": [" + one + ",\n" + second + "]}]}";
        };
        Load(within(other));
        EXPECT_EQ(WhyNot(within(one)),
                  "2:1: /pcie/0/" + std::string(list) + "/1: is described twice");
    }
    EXPECT_EQ(WhyNot(board("reserved", R"({"number": 1, "name": "a", "bytes": 16})",
                           R"({"number": 2, "name": "a", "bytes": 16})")),
              "2:1: /reserved/1: is described twice")
        << "one name";
    EXPECT_EQ(WhyNot(board("i2c", R"({"bus": 0, "device": 1, "offset": 2, "bytes": [1, 2]})",
                           R"({"bus": 0, "device": 1, "offset": 1, "bytes": [1, 2]})")),
              "2:1: /i2c/1: is described twice")
        << "one byte";
}

// What the slots answer when their host has ended, to somebody who kept the table.
TEST_F(DeviceBoard, FailsAfterTheHostsEnd) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    End();
    uint32_t value = 7;
    EXPECT_EQ(hooks.dev.boardIsMaster(), 1U);
    EXPECT_EQ(hooks.dev.getProductFamilyType(), 2U);
    EXPECT_EQ(hooks.dev.getBoardDrvType(), 0xFFFFFFFF);
    EXPECT_EQ(hooks.dev.getHardId(0, &value), 0xFFFFFFFF);
    EXPECT_EQ(hooks.dev.checkSmiLosEnable(0, 0), 1U);
    EXPECT_EQ(hooks.dev.isRunInLs(), 0U);
    EXPECT_EQ(hooks.dev.openDev("/dev/x"), 0U);
    EXPECT_EQ(hooks.dev.mmapDev(1, 1), nullptr);
    EXPECT_EQ(hooks.dev.writeFlashInfo(nullptr), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.readReg(0, 0, 0, &value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.writeReg16(0, 0, 0, 1), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.readI2c(nullptr), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.readMdio(0, 0, 0, 0, 0, &value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.enableMdioParallel(0, 0, 1), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.scanPcie(0), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getPcieConfigRegValue(0, 0, &value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getDeviceBar(0, 0, &value, &value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.readPcie(0, nullptr, &value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.closeDev(1), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.writeDev(1, nullptr, 0, nullptr), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.controlDev(nullptr), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.setDevMmapType(1, 0), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.munmapDev(nullptr, 1), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getRsvdMem(0, nullptr, nullptr), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getRsvMemMmapAddr(nullptr, 0, nullptr), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.chmodRsvMemFile(nullptr, 0), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getEnv("x", &value, 4), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.setEnv("x", &value, 4), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.saveEnv(), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.saveEnvBlock(), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getVsfuDevName(&value, 4), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getBomId(0, 0, &value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getDevAttrValue(0, 0, &value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.setDevAttrValue(0, 0, 0), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getVoltage(0, 0, &value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.setVoltage(0, 0, 0), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.registerPreResetProcFunc(&value, nullptr), uint32_t{ECANCELED});
    hooks.dev.setPreResetMode(0);
    hooks.dev.resetBoard(0);
    EXPECT_EQ(hooks.dev.getPreResetMode(&value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.getResetMode(&value), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.rebootOS(0, nullptr), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.hardResetChip(0, 0, 0), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.cdrResetChip(0, 0, 0), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.intrSetRegist(0, 0, nullptr, nullptr), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.dev.cmdCallback(nullptr, 0), uint32_t{ECANCELED});
    EXPECT_EQ(value, 7U);
    EXPECT_FALSE(DxrHostLoadBoard(nullptr, "x", nullptr, 0));
    EXPECT_FALSE(DxrHostSetBoardValue(nullptr, "master", 1));
    EXPECT_FALSE(DxrHostRaiseInterrupt(nullptr, 0, 0));
    EXPECT_EQ(DxrHostGetResets(nullptr, 0, 0, nullptr), 0U);
    EXPECT_EQ(DxrHostGetFlashInfo(nullptr, 0, nullptr, 0), 0U);
}

TEST_F(DeviceBoard, LeavesFourSlotsEmpty) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    std::array<void *, sizeof(hooks.dev) / sizeof(void *)> slots{};
    std::memcpy(slots.data(), &hooks.dev, sizeof(hooks.dev));
    EXPECT_EQ(slots.size(), 68U);
    EXPECT_EQ(std::count(slots.begin(), slots.end(), nullptr), 4);
    EXPECT_EQ(hooks.dev.initSafeIo, nullptr);
    EXPECT_EQ(hooks.dev.createIOWorker, nullptr);
    EXPECT_EQ(hooks.dev.vSfuLoadPacket, nullptr);
    EXPECT_EQ(hooks.dev.getWofflineState, nullptr);
}

// --- Where a description is wrong

TEST_F(DeviceBoard, IsBlamedWhereItIsWrong) {
    EXPECT_EQ(WhyNot("{\"board\": {\"issu\": 1},\n \"board\": {\"issu\": -1}}"),
              "2:20: /board/issu: must be a whole number within its range")
        << "of two members of a name the last one counts";
    EXPECT_EQ(WhyNot("{\"a\": {\"b\": 1},\n \"a/b\": 2}"), "1:7: /a: is not known");
    EXPECT_EQ(WhyNot("{\"board\": {},\n \"x/y~z\": 2}"), "2:11: /x~1y~0z: is not known");
    EXPECT_EQ(WhyNot("{\"\": 2}"), "1:6: /: is not known");
    EXPECT_EQ(WhyNot("{\"a\\u0000b\": 2}"), std::string("1:14: /a"));
    EXPECT_EQ(WhyNot("[[]]"), "1:1: the file must be an object");
}

TEST_F(DeviceBoard, MayBeDeeperAndLargerThanAnybodyWrites) {
    const std::string deep(99, '[');
    EXPECT_EQ(WhyNot(deep + std::string(99, ']')), "1:1: the file must be an object");
    EXPECT_EQ(WhyNot("{\"x\": " + deep + std::string(99, ']') + "}"), "1:7: /x: is not known");
    EXPECT_EQ(WhyNot("{\"x\": " + deep + "[[]]"), "1:106: this is nested deeper than 100");
    EXPECT_EQ(WhyNot("{\"hardIds\": [{\"unit\": 1e999, \"id\": 1}]}"), "1:27: this is no JSON");
    EXPECT_EQ(WhyNot("{\"hardIds\": [{\"unit\": 18446744073709551616, \"id\": 1}]}"),
              "1:23: /hardIds/0/unit: must be a whole number within its range");
    std::string many = "{\"hardIds\": [";
    for (uint32_t i = 0; i < 20000; ++i) {
        many += R"({"unit": )" + std::to_string(i) + R"(, "id": 7},)";
    }
    Load(many + R"({"unit": 20000, "id": 8}]})");
    uint32_t id = 0;
    EXPECT_EQ(DXR_GetHardId(20000, &id), 0U);
    EXPECT_EQ(id, 8U);
}

TEST_F(DeviceBoard, IsNoDirectory) {
    std::array<char, 256> error{};
    EXPECT_FALSE(DxrHostLoadBoard(host, workPath.c_str(), error.data(), error.size()));
    EXPECT_EQ(error.data(), workPath + ": cannot be read: Is a directory");
    EXPECT_FALSE(DxrHostLoadBoard(host, nullptr, error.data(), error.size()));
    EXPECT_STREQ(error.data(), "no file was given");
}

}  // namespace
