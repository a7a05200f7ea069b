#include "dxr/system_table.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "support/test_host.h"

namespace {

constexpr size_t kRequestSize = 48;

struct TableCall {
    std::string slot;
    uint32_t chip;
    DxrTblmRequest *request;
    std::array<unsigned char, kRequestSize> bytes;
};

std::vector<TableCall> g_calls;
uint32_t g_result = 0;
bool g_readsTheRequest = true;

uint32_t Record(const char *slot, uint32_t chip, DxrTblmRequest *request) {
    TableCall call = {slot, chip, request, {}};
    if (g_readsTheRequest) {
        std::memcpy(call.bytes.data(), request, kRequestSize);
        // The record is the library's own; what a host writes into it reaches nobody.
        std::memset(request, 0xEE, kRequestSize);
    }
    g_calls.push_back(call);
    return g_result;
}

uint32_t GetData(uint32_t chip, DxrTblmRequest *request) {
    return Record("get", chip, request);
}

uint32_t SetData(uint32_t chip, DxrTblmRequest *request) {
    return Record("set", chip, request);
}

// The record with a mask is the host's own.
struct MaskedRecord {
    uint64_t data;
    uint64_t mask;
};

uint32_t SetDataAndMask(uint32_t chip, void *record) {
    auto *const masked = static_cast<MaskedRecord *>(record);
    masked->data &= masked->mask;
    return chip;
}

struct DeleteCall {
    uint32_t chip;
    uint32_t tableId;
    void *key;
    uint32_t keyLen;
};

std::vector<DeleteCall> g_deletes;

uint32_t DeleteData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen) {
    g_deletes.push_back({chip, tableId, key, keyLen});
    return g_result;
}

void Put(std::array<unsigned char, kRequestSize> &bytes, size_t offset, uint64_t value,
         size_t width) {
    for (size_t i = 0; i < width; ++i) {
        const size_t place = std::endian::native == std::endian::little ? i : width - 1 - i;
        bytes[offset + place] = static_cast<unsigned char>(value >> (8 * i));
    }
}

// The record as the host reads it, byte by byte: numbers in the order of the processor.
std::array<unsigned char, kRequestSize> Request(uint32_t tableId, const void *key, uint32_t keyLen,
                                                const void *data, uint32_t dataLen) {
    std::array<unsigned char, kRequestSize> bytes = {};
    Put(bytes, 0, tableId, 4);
    Put(bytes, 4, reinterpret_cast<uintptr_t>(key), 8);
    Put(bytes, 12, keyLen, 4);
    Put(bytes, 16, reinterpret_cast<uintptr_t>(data), 8);
    Put(bytes, 24, dataLen, 4);
    Put(bytes, 28, data != nullptr ? 1 : 0, 4);
    return bytes;
}

class SystemTable : public testing::Test {
  protected:
    SystemTable() {
        g_calls.clear();
        g_deletes.clear();
        g_result = 0;
        g_readsTheRequest = true;
    }

    static void FillGroup() {
        g_dxrHooks.tblm.getChipTblmData = GetData;
        g_dxrHooks.tblm.setChipTblmData = SetData;
        g_dxrHooks.tblm.deleteChipTblmData = DeleteData;
        g_dxrHooks.tblm.setChipTblmDataAndMask = SetDataAndMask;
    }

    static void ExpectOneCall(const std::string &slot, uint32_t chip,
                              const std::array<unsigned char, kRequestSize> &bytes) {
        ASSERT_EQ(1U, g_calls.size());
        EXPECT_EQ(slot, g_calls[0].slot);
        EXPECT_EQ(chip, g_calls[0].chip);
        EXPECT_EQ(bytes, g_calls[0].bytes);
        EXPECT_TRUE(g_deletes.empty());
        g_calls.clear();
    }

    static void *Address(uintptr_t address) { return reinterpret_cast<void *>(address); }

    dxrtest::TestHost host_;
    // Nothing is read or written behind them.
    void *key_ = Address(0x1122334455667788);
    void *data_ = Address(0x99AABBCCDDEEFF01);
};

TEST_F(SystemTable, AnyChipIsFfff) {
    EXPECT_EQ(0xFFFFU, DXR_TBLM_CHIPID_NOTCARE);
    EXPECT_EQ(4U, sizeof(DXR_TBLM_CHIPID_NOTCARE));
}

TEST_F(SystemTable, RequestRecordIsPacked) {
    EXPECT_EQ(kRequestSize, sizeof(DxrTblmRequest));
    EXPECT_EQ(0U, offsetof(DxrTblmRequest, tableId));
    EXPECT_EQ(4U, offsetof(DxrTblmRequest, key));
    EXPECT_EQ(12U, offsetof(DxrTblmRequest, keyLen));
    EXPECT_EQ(16U, offsetof(DxrTblmRequest, data));
    EXPECT_EQ(24U, offsetof(DxrTblmRequest, dataLen));
    EXPECT_EQ(28U, offsetof(DxrTblmRequest, dataValid));
}

TEST_F(SystemTable, AddIsASetOfTheBuiltRecord) {
    FillGroup();
    for (const uint32_t result : {0U, 1U, 0xFFFFFFFFU}) {
        g_result = result;
        EXPECT_EQ(result,
                  DXR_AddChipTblmData(0xA1A2A3A4, 0xB1B2B3B4, key_, 0xC1C2C3C4, data_, 0xD1D2D3D4));
        ExpectOneCall("set", 0xA1A2A3A4, Request(0xB1B2B3B4, key_, 0xC1C2C3C4, data_, 0xD1D2D3D4));
    }
}

TEST_F(SystemTable, QueryIsAGetOfTheSameRecord) {
    FillGroup();
    for (const uint32_t result : {0U, 1U, 0xFFFFFFFFU}) {
        g_result = result;
        EXPECT_EQ(result, DXR_QueryChipTblmData(0xA1A2A3A4, 0xB1B2B3B4, key_, 0xC1C2C3C4, data_,
                                                0xD1D2D3D4));
        ExpectOneCall("get", 0xA1A2A3A4, Request(0xB1B2B3B4, key_, 0xC1C2C3C4, data_, 0xD1D2D3D4));
    }
}

TEST_F(SystemTable, FormsForAnyChip) {
    FillGroup();
    g_result = 0x80000003;
    EXPECT_EQ(0x80000003U, DXR_AddTblmData(7, key_, 8, data_, 9));
    ExpectOneCall("set", 0xFFFF, Request(7, key_, 8, data_, 9));
    EXPECT_EQ(0x80000003U, DXR_QueryTblmData(7, key_, 8, data_, 9));
    ExpectOneCall("get", 0xFFFF, Request(7, key_, 8, data_, 9));
}

TEST_F(SystemTable, NullDataIsMarkedAsNotValid) {
    FillGroup();
    EXPECT_EQ(0U, DXR_AddTblmData(7, key_, 8, nullptr, 0));
    ExpectOneCall("set", 0xFFFF, Request(7, key_, 8, nullptr, 0));
    // The length is handed on as it is.
    EXPECT_EQ(0U, DXR_AddChipTblmData(1, 7, key_, 8, nullptr, 0xFFFFFFFF));
    ExpectOneCall("set", 1, Request(7, key_, 8, nullptr, 0xFFFFFFFF));
    EXPECT_EQ(0U, DXR_QueryChipTblmData(1, 7, nullptr, 0, nullptr, 5));
    ExpectOneCall("get", 1, Request(7, nullptr, 0, nullptr, 5));
    EXPECT_EQ(0U, DXR_QueryTblmData(7, nullptr, 0, data_, 0));
    ExpectOneCall("get", 0xFFFF, Request(7, nullptr, 0, data_, 0));
}

TEST_F(SystemTable, EveryCallBuildsItsRecordAnew) {
    FillGroup();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0U, DXR_AddTblmData(7, key_, 8, data_, 9));
        ExpectOneCall("set", 0xFFFF, Request(7, key_, 8, data_, 9));
    }
}

TEST_F(SystemTable, CallersRecordIsHandedOnForAnyChip) {
    FillGroup();
    g_readsTheRequest = false;
    auto *request = static_cast<DxrTblmRequest *>(Address(0x4444));
    g_result = 0xFFFFFFFE;
    EXPECT_EQ(0xFFFFFFFEU, DXR_GetTblmData(request));
    EXPECT_EQ(0xFFFFFFFEU, DXR_SetTblmData(request));
    EXPECT_EQ(0xFFFFFFFEU, DXR_GetTblmData(nullptr));
    ASSERT_EQ(3U, g_calls.size());
    EXPECT_EQ("get", g_calls[0].slot);
    EXPECT_EQ(0xFFFFU, g_calls[0].chip);
    EXPECT_EQ(request, g_calls[0].request);
    EXPECT_EQ("set", g_calls[1].slot);
    EXPECT_EQ(0xFFFFU, g_calls[1].chip);
    EXPECT_EQ(request, g_calls[1].request);
    EXPECT_EQ(nullptr, g_calls[2].request);
}

TEST_F(SystemTable, DeleteForAnyChipKeepsTheOrder) {
    FillGroup();
    g_result = 0x80000009;
    EXPECT_EQ(0x80000009U, DXR_DeleteTblmData(0xB1B2B3B4, key_, 0xC1C2C3C4));
    ASSERT_EQ(1U, g_deletes.size());
    EXPECT_EQ(0xFFFFU, g_deletes[0].chip);
    EXPECT_EQ(0xB1B2B3B4U, g_deletes[0].tableId);
    EXPECT_EQ(key_, g_deletes[0].key);
    EXPECT_EQ(0xC1C2C3C4U, g_deletes[0].keyLen);
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(SystemTable, RecordWithAMaskIsTheHosts) {
    FillGroup();
    MaskedRecord record = {0xFFFF, 0x0FF0};
    EXPECT_EQ(7U, DXR_SetChipTblmDataAndMask(7, &record));
    EXPECT_EQ(0x0FF0U, record.data);
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(SystemTable, FormsWithoutHooks) {
    EXPECT_EQ(0U, DXR_GetTblmData(nullptr));
    EXPECT_EQ(0U, DXR_SetTblmData(nullptr));
    EXPECT_EQ(0U, DXR_DeleteTblmData(1, key_, 2));
    EXPECT_EQ(0U, DXR_AddChipTblmData(1, 2, key_, 3, data_, 4));
    EXPECT_EQ(0U, DXR_QueryChipTblmData(1, 2, key_, 3, data_, 4));
    EXPECT_EQ(0U, DXR_AddTblmData(2, key_, 3, data_, 4));
    EXPECT_EQ(0U, DXR_QueryTblmData(2, key_, 3, data_, 4));
}

}  // namespace
