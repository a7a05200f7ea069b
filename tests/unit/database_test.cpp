#include "dxr/database.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "dxr/memory.h"
#include "support/test_host.h"

namespace {

using Calls = std::vector<std::string>;

constexpr uint32_t kUntouched = 0xC0C0C0C0;

class Database;
Database *g_database = nullptr;

// The host's side of the selection.
class Database : public testing::Test {
  protected:
    Database() {
        g_database = this;
        host_.WithMemory().WithPrint();
        g_dxrHooks.db.selectDbRecordCount = Count;
        g_dxrHooks.db.selectDbRecordLimit = Limit;
        SetRecordSize(12);
    }
    ~Database() override { g_database = nullptr; }

    // Two fields and no byte more, so that a sanitizer sees a read behind them.
    void SetRecordSize(uint32_t size) {
        query_ = std::make_unique<uint32_t[]>(2);
        query_[0] = 0xFFFFFFFF;
        query_[1] = size;
    }

    static uint32_t Count(void *query, uint32_t *count) {
        Database &self = *g_database;
        EXPECT_EQ(self.query_.get(), query);
        EXPECT_NE(&self.count_, count) << "the caller's count is written at the end only";
        EXPECT_EQ(0U, *count);
        self.host_.calls.emplace_back("count");
        *count = self.countAnswer_;
        return self.countResult_;
    }

    static uint32_t Limit(void *query, uint32_t limit, void *records) {
        Database &self = *g_database;
        EXPECT_EQ(self.query_.get(), query);
        EXPECT_EQ(kUntouched, self.count_);
        self.host_.calls.push_back("limit " + std::to_string(limit));
        self.records_ = records;
        const auto *bytes = static_cast<const unsigned char *>(records);
        const uint32_t size = self.host_.allocations.back().size;
        EXPECT_TRUE(std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; }));
        std::memset(records, 0x77, std::min(size, self.written_));
        return self.limitResult_;
    }

    void *Select() { return DXR_SelectDbRecord(query_.get(), &count_); }

    void ExpectNothing() {
        EXPECT_EQ(nullptr, Select());
        EXPECT_EQ(kUntouched, count_);
        EXPECT_EQ(0U, host_.LiveBlocks());
        EXPECT_TRUE(host_.printed.empty());
    }

    dxrtest::TestHost host_;
    std::unique_ptr<uint32_t[]> query_;
    uint32_t count_ = kUntouched;
    uint32_t countAnswer_ = 3;
    uint32_t countResult_ = 0;
    uint32_t limitResult_ = 0;
    uint32_t written_ = 0;
    void *records_ = nullptr;
};

// MODULE-5
TEST_F(Database, SelectGivesTheRecordsInAnOwnedBlock) {
    DXR_SetDefaultMid(77);
    written_ = 20;
    void *block = Select();
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(records_, block);
    EXPECT_EQ(3U, count_);
    EXPECT_EQ((Calls{"count", "allocate mid=77 size=36", "limit 3"}), host_.calls);
    const auto *bytes = static_cast<const unsigned char *>(block);
    EXPECT_EQ(20, std::count(bytes, bytes + 36, 0x77));
    EXPECT_EQ(16, std::count(bytes, bytes + 36, 0));
    EXPECT_TRUE(host_.IsLive(block));
    DXR_Free(block, "test", 1);
    EXPECT_EQ(0U, host_.LiveBlocks());
    EXPECT_TRUE(host_.printed.empty());
}

TEST_F(Database, SelectNamesItsSourceFile) {
    void *block = Select();
    const dxrtest::Allocation &allocation = host_.allocations.at(0);
    EXPECT_EQ(0U, allocation.file.find("src/dxr/api/dxr_database")) << allocation.file;
    EXPECT_NE(0U, allocation.line);
    DXR_Free(block, "test", 1);
}

TEST_F(Database, DefaultMidIsReadAtEachSelection) {
    for (const uint32_t mid : {9U, 0U, 0xFFFFFFFFU}) {
        DXR_SetDefaultMid(mid);
        count_ = kUntouched;
        void *block = Select();
        EXPECT_EQ(mid, host_.allocations.back().mid);
        DXR_Free(block, "test", 1);
    }
}

TEST_F(Database, FailedCountEndsTheSelection) {
    for (const uint32_t result : {1U, 0x80000000U, 0xFFFFFFFFU}) {
        host_.calls.clear();
        countResult_ = result;
        ExpectNothing();
        EXPECT_EQ(Calls{"count"}, host_.calls);
    }
}

TEST_F(Database, NoRecordsMeansNoBlock) {
    countAnswer_ = 0;
    ExpectNothing();
    EXPECT_EQ(Calls{"count"}, host_.calls);
}

TEST_F(Database, WithoutTheCountHookThereAreNoRecords) {
    g_dxrHooks.db.selectDbRecordCount = nullptr;
    ExpectNothing();
    EXPECT_EQ(Calls{}, host_.calls);
}

TEST_F(Database, FailedAllocationEndsTheSelection) {
    host_.FailAllocation(1);
    ExpectNothing();
    EXPECT_EQ((Calls{"count", "allocate mid=9 size=36"}), host_.calls);
}

TEST_F(Database, WithoutAnAllocatorNothingIsSelected) {
    DXR_SetMemoryHooks(nullptr, nullptr);
    ExpectNothing();
    EXPECT_EQ(Calls{"count"}, host_.calls);
}

TEST_F(Database, RecordsOfNoSizeAreNotAllocated) {
    SetRecordSize(0);
    ExpectNothing();
    EXPECT_EQ(Calls{"count"}, host_.calls);
}

TEST_F(Database, FailedSelectionReleasesTheBlock) {
    for (const uint32_t result : {1U, 0xFFFFFFFFU}) {
        host_.calls.clear();
        host_.releases.clear();
        limitResult_ = result;
        written_ = 36;
        ExpectNothing();
        EXPECT_EQ("limit 3", host_.calls.at(2));
        ASSERT_EQ(1U, host_.releases.size());
        EXPECT_EQ(records_, host_.releases[0].block);
        EXPECT_EQ(0U, host_.releases[0].file.find("src/dxr/api/dxr_database"));
        EXPECT_NE(0U, host_.releases[0].line);
        EXPECT_EQ(4U, host_.calls.size());
    }
}

TEST_F(Database, WithoutTheLimitHookTheRecordsAreZero) {
    g_dxrHooks.db.selectDbRecordLimit = nullptr;
    void *block = Select();
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(3U, count_);
    const auto *bytes = static_cast<const unsigned char *>(block);
    EXPECT_EQ(36, std::count(bytes, bytes + 36, 0));
    DXR_Free(block, "test", 1);
}

// The size of the block is a 32-bit product.
// MODULE-7
TEST_F(Database, ProductOfSizeAndCountWraps) {
    SetRecordSize(0x10000);
    countAnswer_ = 0x10001;
    void *block = Select();
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(0x10001U, count_);
    EXPECT_EQ((Calls{"count", "allocate mid=9 size=65536", "limit 65537"}), host_.calls);
    DXR_Free(block, "test", 1);
}

TEST_F(Database, ProductThatWrapsToZeroIsNotAllocated) {
    SetRecordSize(0x10000);
    countAnswer_ = 0x10000;
    ExpectNothing();
    EXPECT_EQ(Calls{"count"}, host_.calls);
}

TEST_F(Database, OneRecordIsEnough) {
    countAnswer_ = 1;
    void *block = Select();
    EXPECT_NE(nullptr, block);
    EXPECT_EQ(1U, count_);
    DXR_Free(block, "test", 1);
}

TEST_F(Database, QueryIsNotWritten) {
    void *block = Select();
    EXPECT_EQ(0xFFFFFFFFU, query_[0]);
    EXPECT_EQ(12U, query_[1]);
    DXR_Free(block, "test", 1);
}

TEST_F(Database, EveryStepCanFailInTurn) {
    for (int step = 0; step < 4; ++step) {
        SCOPED_TRACE(step);
        countResult_ = step == 0 ? 1 : 0;
        countAnswer_ = step == 1 ? 0 : 3;
        if (step == 2) {
            host_.FailAllocation(1);
        }
        limitResult_ = step == 3 ? 1 : 0;
        ExpectNothing();
    }
    EXPECT_EQ(1U, host_.releases.size());
}

// --- the node group of a fabric element

struct NodeGroup {
    std::array<uint32_t, 4> record;
    uint32_t result;
    std::array<uint32_t, 3> arguments;
    int calls;
};

NodeGroup g_nodeGroup;

uint32_t GetNgTmCfg(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *config) {
    ++g_nodeGroup.calls;
    g_nodeGroup.arguments = {arg1, arg2, arg3};
    std::array<uint32_t, 4> before = {1, 1, 1, 1};
    std::memcpy(before.data(), config, sizeof(before));
    EXPECT_EQ((std::array<uint32_t, 4>{}), before);
    std::memcpy(config, g_nodeGroup.record.data(), sizeof(g_nodeGroup.record));
    return g_nodeGroup.result;
}

class FeNodeGrpId : public testing::Test {
  protected:
    FeNodeGrpId() { g_nodeGroup = {{11, 22, 33, 0x80000044}, 0, {}, 0}; }
    dxrtest::TestHost host_;
};

TEST_F(FeNodeGrpId, IsTheFourthFieldOfTheConfiguration) {
    g_dxrHooks.db.getNgTmCfgFromDb = GetNgTmCfg;
    EXPECT_EQ(0x80000044U, DXR_GetFeNodeGrpId(0xAABBCCDD, 0xFFFFFFFE));
    EXPECT_EQ(1, g_nodeGroup.calls);
    EXPECT_EQ((std::array<uint32_t, 3>{0xAABBCCDD, 0xFFFFFFFE, 0}), g_nodeGroup.arguments);
}

TEST_F(FeNodeGrpId, IsZeroWhenTheLookUpFailsAfterWriting) {
    g_dxrHooks.db.getNgTmCfgFromDb = GetNgTmCfg;
    for (const uint32_t result : {1U, 0x80000000U, 0xFFFFFFFFU}) {
        g_nodeGroup.result = result;
        EXPECT_EQ(0U, DXR_GetFeNodeGrpId(1, 2));
    }
    EXPECT_EQ(3, g_nodeGroup.calls);
}

TEST_F(FeNodeGrpId, EachLookUpBeginsWithAZeroedRecord) {
    g_dxrHooks.db.getNgTmCfgFromDb = GetNgTmCfg;
    EXPECT_EQ(0x80000044U, DXR_GetFeNodeGrpId(1, 2));
    g_nodeGroup.record = {};
    EXPECT_EQ(0U, DXR_GetFeNodeGrpId(1, 2));
}

TEST_F(FeNodeGrpId, IsZeroWithoutAHook) {
    EXPECT_EQ(0U, DXR_GetFeNodeGrpId(1, 2));
}

// --- the port that is looked at through its neighbour's slot

int g_portCalls = 0;
int g_byTmPortCalls = 0;

class PortInfoByTmPort : public testing::Test {
  protected:
    PortInfoByTmPort() {
        g_portCalls = 0;
        g_byTmPortCalls = 0;
    }
    static uint32_t Port(uint32_t, uint32_t, uint32_t, void *) {
        ++g_portCalls;
        return 10;
    }
    static uint32_t ByTmPort(uint32_t, uint32_t, uint32_t, void *) {
        ++g_byTmPortCalls;
        return 11;
    }
    dxrtest::TestHost host_;
};

// HOST-5
TEST_F(PortInfoByTmPort, IsJudgedByTheSlotBeforeItsOwn) {
    g_dxrHooks.db.getNgTmPortInfoByTmPortFromDb = ByTmPort;
    EXPECT_EQ(0U, DXR_GetNgTmPortInfoByTmPortFromDb(1, 2, 3, nullptr));
    EXPECT_EQ(0, g_byTmPortCalls);
    g_dxrHooks.db.getNgTmPortInfoFromDb = Port;
    EXPECT_EQ(11U, DXR_GetNgTmPortInfoByTmPortFromDb(1, 2, 3, nullptr));
    EXPECT_EQ(1, g_byTmPortCalls);
    EXPECT_EQ(0, g_portCalls);
}

// HOST-5
TEST_F(PortInfoByTmPort, WithTheNeighbourAloneANullPointerIsCalled) {
    g_dxrHooks.db.getNgTmPortInfoFromDb = Port;
    EXPECT_DEATH(DXR_GetNgTmPortInfoByTmPortFromDb(1, 2, 3, nullptr), "");
}

}  // namespace
