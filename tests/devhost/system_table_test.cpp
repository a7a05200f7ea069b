// The host's table manager, by the sentences of its header.
#include "dxr_devhost/system_table.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "devhost/table_fixture.h"
#include "dxr_devhost/inspect.h"
#include "support/guarded_page.h"
#include "support/test_host.h"

namespace {

using dxrtest::Delete;
using dxrtest::Description;
using dxrtest::EntryRoom;
using dxrtest::Error;
using dxrtest::Get;
using dxrtest::kAnyChip;
using dxrtest::KeysOf;
using dxrtest::PoolCount;
using dxrtest::Rest;
using dxrtest::Seen;
using dxrtest::Set;
using dxrtest::SetMasked;
using dxrtest::WalkAll;
using dxrtest::WalkTable;
using testing::ElementsAre;
using testing::IsEmpty;

using HostTables = dxrtest::TableHost;

TEST_F(HostTables, ReadNoByteBesideAKey) {
    const dxrtest::GuardedPage page;
    ASSERT_EQ(DXR_DynamicCreateTable(7), 0U);
    auto *const begin = static_cast<unsigned char *>(page.Begin());
    auto *const end = static_cast<unsigned char *>(page.End());
    for (uint32_t size = 1; size <= 64; ++size) {
        for (unsigned char *const key : {begin, end - size}) {
            std::memset(key, 'k', size);
            ASSERT_EQ(DXR_AddChipTblmData(1, 7, key, size, &size, sizeof(size)), 0U);
            uint32_t data = 0;
            DxrTblmRequest request{7, key, size, &data, sizeof(data), 1, {}};
            ASSERT_EQ(DXR_GetChipTblmData(1, &request), 0U);
            EXPECT_EQ(data, size);
            EXPECT_EQ(DXR_DeleteChipTblmData(1, 7, key, size), 0U);
        }
    }
}

TEST_F(HostTables, KeepEntries) {
    EXPECT_EQ(DXR_DynamicCreateTable(7), 0U);
    EXPECT_EQ(DXR_DynamicCreateTable(7), uint32_t{EEXIST});
    EXPECT_EQ(DXR_DynamicCreateTable(0xFFFFFFFF), 0U);
    EXPECT_EQ(Get(1, 7, "port"), Error(ENOENT));
    EXPECT_EQ(Set(1, 7, "port", "up"), 0U);
    EXPECT_EQ(Set(1, 0xFFFFFFFF, "port", "other table"), 0U);
    EXPECT_EQ(Set(2, 7, "port", "other chip"), 0U);
    EXPECT_EQ(Set(1, 7, "por", "other key"), 0U);
    EXPECT_EQ(Get(1, 7, "port"), "up");
    EXPECT_EQ(Get(1, 0xFFFFFFFF, "port"), "other table");
    EXPECT_EQ(Get(2, 7, "port"), "other chip");
    EXPECT_EQ(Get(1, 7, "por"), "other key");
    EXPECT_EQ(Set(1, 7, "port", "down"), 0U);
    EXPECT_EQ(Get(1, 7, "port"), "down");
    EXPECT_EQ(Delete(1, 7, "port"), 0U);
    EXPECT_EQ(Delete(1, 7, "port"), uint32_t{ENOENT});
    EXPECT_EQ(Get(1, 7, "port"), Error(ENOENT));
    EXPECT_EQ(Get(2, 7, "port"), "other chip");
    DXR_ReleaseTblm(7, 0);
    DXR_ReleaseTblm(0xFFFFFFFF, 0);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(End(), 0U);
}

// A request may lie anywhere, and so may what it points to: on the quick way and on the others.
TEST_F(HostTables, TakeRequestsAtAnyAddress) {
    EXPECT_EQ(DXR_DynamicCreateTable(7), 0U);
    alignas(16) std::array<unsigned char, sizeof(DxrTblmRequest) + 16> place{};
    alignas(16) std::array<char, 96> key{};
    alignas(16) std::array<char, 320> data{};
    for (const uint32_t keyBytes : {3U, 12U, 80U}) {
        for (const uint32_t bytes : {5U, 32U, 300U}) {
            for (size_t odd = 0; odd < 16; ++odd) {
                const std::string content(bytes, static_cast<char>('a' + odd));
                const auto call = [&](uint32_t (*function)(uint32_t, DxrTblmRequest *)) {
                    const DxrTblmRequest given{
                        7, key.data() + odd, keyBytes, data.data() + odd, bytes, 1, {}};
                    std::memcpy(place.data() + odd, &given, sizeof(given));
                    return function(1, reinterpret_cast<DxrTblmRequest *>(place.data() + odd));
                };
                key.fill('\0');
                std::memset(key.data() + odd, 'k', keyBytes);
                std::memcpy(data.data() + odd, content.data(), bytes);
                ASSERT_EQ(call(DXR_GetTblmHooks()->setChipTblmData), 0U);
                data.fill('#');
                ASSERT_EQ(call(DXR_GetTblmHooks()->getChipTblmData), 0U);
                EXPECT_EQ(std::string(data.data() + odd, bytes), content);
                DxrTblmRequest got;
                std::memcpy(&got, place.data() + odd, sizeof(got));
                EXPECT_EQ(got.dataLen, bytes);
                EXPECT_EQ(Get(1, 7, std::string(keyBytes, 'k'), 320), content);
                EXPECT_EQ(Delete(1, 7, std::string(keyBytes, 'k')), 0U);
            }
        }
    }
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostTables, ServeTheFormsWithoutAChip) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    std::string key = "k";
    std::string data = "data";
    std::array<char, 8> buffer{};
    EXPECT_EQ(DXR_AddTblmData(1, key.data(), 1, data.data(), 4), 0U);
    EXPECT_EQ(DXR_QueryTblmData(1, key.data(), 1, buffer.data(), 8), 0U);
    EXPECT_STREQ(buffer.data(), "data");
    EXPECT_EQ(Get(kAnyChip, 1, "k"), "data");
    DxrTblmRequest request{1, key.data(), 1, buffer.data(), 8, 1, {}};
    EXPECT_EQ(DXR_SetTblmData(&request), 0U);
    EXPECT_EQ(DXR_GetTblmData(&request), 0U);
    EXPECT_EQ(DXR_DeleteTblmData(1, key.data(), 1), 0U);
    EXPECT_EQ(Get(kAnyChip, 1, "k"), Error(ENOENT));
    DXR_ReleaseTblm(1, 0);
}

TEST_F(HostTables, AnEntryOfAnyChipHoldsForEachWithoutOneOfItsOwn) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    EXPECT_EQ(Set(kAnyChip, 1, "key", "all"), 0U);
    EXPECT_EQ(Get(0, 1, "key"), "all");
    EXPECT_EQ(Set(3, 1, "key", "three"), 0U);
    EXPECT_EQ(Get(3, 1, "key"), "three");
    EXPECT_EQ(Get(4, 1, "key"), "all");
    EXPECT_EQ(Get(4, 1, "kez"), Error(ENOENT));
    EXPECT_EQ(Delete(4, 1, "key"), uint32_t{ENOENT}) << "only its own";
    EXPECT_EQ(Delete(3, 1, "key"), 0U);
    EXPECT_EQ(Get(3, 1, "key"), "all");
    EXPECT_THAT(WalkTable(1, 3), IsEmpty());
    EXPECT_EQ(Set(5, 1, "own", "five"), 0U);
    EXPECT_EQ(Get(kAnyChip, 1, "own"), Error(ENOENT)) << "not the other way round";
    DXR_ReleaseTblm(1, 0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostTables, GiveAsMuchAsThereIsRoomFor) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    std::string key = "key";
    EXPECT_EQ(Set(0, 1, key, "0123456789"), 0U);
    EXPECT_EQ(Get(0, 1, key, 10), "0123456789");
    EXPECT_EQ(Get(0, 1, key, 11), "0123456789") << "a zero follows";
    EXPECT_EQ(Get(0, 1, key, 9), Error(ENOSPC));
    std::array<char, 16> buffer{};
    DxrTblmRequest request{1, key.data(), 3, buffer.data(), 9, 1, {}};
    EXPECT_EQ(DXR_GetChipTblmData(0, &request), uint32_t{ENOSPC});
    EXPECT_EQ(uint32_t{request.dataLen}, 10U) << "what is needed";
    EXPECT_EQ(DXR_GetChipTblmData(0, &request), 0U);
    request = {1, key.data(), 3, buffer.data(), 5, 0, {}};
    buffer.fill('#');
    EXPECT_EQ(DXR_GetChipTblmData(0, &request), 0U) << "only whether it is there";
    EXPECT_EQ(uint32_t{request.dataLen}, 10U);
    EXPECT_EQ(buffer[0], '#');
    request = {1, key.data(), 3, buffer.data(), buffer.size(), 0, {}};
    EXPECT_EQ(DXR_GetChipTblmData(0, &request), 0U) << "nor with room for it";
    EXPECT_EQ(buffer[0], '#');
    request = {1, key.data(), 3, nullptr, 0, 1, {}};
    EXPECT_EQ(DXR_GetChipTblmData(0, &request), uint32_t{ENOSPC}) << "no room, and nowhere to";
    EXPECT_EQ(uint32_t{request.dataLen}, 10U) << "what is needed";
    EXPECT_EQ(DXR_QueryChipTblmData(0, 1, key.data(), 3, nullptr, 0), 0U);
    EXPECT_EQ(DXR_QueryChipTblmData(0, 1, buffer.data(), 3, nullptr, 0), uint32_t{ENOENT});

    std::string empty = "empty";
    EXPECT_EQ(Set(0, 1, empty, ""), 0U);
    EXPECT_EQ(Get(0, 1, empty), "");
    request = {1, empty.data(), 5, nullptr, 0, 1, {}};
    EXPECT_EQ(DXR_GetChipTblmData(0, &request), 0U) << "no room is enough";
    EXPECT_EQ(uint32_t{request.dataLen}, 0U);
    request = {1, key.data(), 3, buffer.data(), 5, 0, {}};
    EXPECT_EQ(DXR_SetChipTblmData(0, &request), 0U) << "data that is not valid is not looked at";
    EXPECT_EQ(Get(0, 1, key), "");
    DXR_ReleaseTblm(1, 0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostTables, TakeKeysAndDataOfAllLengths) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    std::mt19937 random(5);
    for (uint32_t bytes = 1; bytes <= 256; ++bytes) {
        std::string key(bytes, '\0');  // zeros count
        ASSERT_EQ(Set(0, 1, key, key), 0U);
        std::generate(key.begin(), key.end(), [&] { return static_cast<char>(random()); });
        ASSERT_EQ(Set(0, 1, key, key), 0U);
        ASSERT_EQ(Get(0, 1, key, 256), key);
    }
    for (uint32_t bytes = 1; bytes <= 256; ++bytes) {
        ASSERT_EQ(Get(0, 1, std::string(bytes, '\0'), 256), std::string(bytes, '\0'));
    }
    for (const uint32_t bytes : {257U, 1000U, 65535U, 65536U, 3U, 65536U, 0U}) {
        const std::string data(bytes, 'x');
        ASSERT_EQ(Set(0, 1, "large", data), 0U);
        ASSERT_EQ(Get(0, 1, "large", 65536), data);
        ASSERT_EQ(Get(0, 1, "large", bytes), data);
    }
    DXR_ReleaseTblm(1, 0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostTables, SetBitsByTheirMask) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    EXPECT_EQ(SetMasked(0, 1, "k", "\x5A\x5A\x5A", "\xFF\x0F\xF0"), 0U);
    EXPECT_EQ(Get(0, 1, "k"), "\x5A\x0A\x50") << "0 where there was nothing";
    EXPECT_THAT(WalkTable(1), ElementsAre(Seen{1, 0, "k", "\x5A\x0A\x50", "\xFF\x0F\xF0"}));
    const std::string nibble("\x00\x00\x0F", 3);
    EXPECT_EQ(SetMasked(0, 1, "k", "\xFF\xFF\xFF", nibble), 0U);
    EXPECT_EQ(Get(0, 1, "k"), "\x5A\x0A\x5F") << "the others stay";
    EXPECT_THAT(WalkTable(1), ElementsAre(Seen{1, 0, "k", "\x5A\x0A\x5F", nibble}));
    EXPECT_EQ(Set(0, 1, "k", "abc"), 0U);
    EXPECT_THAT(WalkTable(1), ElementsAre(Seen{1, 0, "k", "abc", "\xFF\xFF\xFF"})) << "no mask";
    EXPECT_EQ(SetMasked(0, 1, "k", "ZZZZZ", std::string("\0\0\xFF\xFF\0", 5)), 0U);
    EXPECT_EQ(Get(0, 1, "k"), std::string("abZZ\0", 5)) << "longer than it was";
    EXPECT_EQ(SetMasked(0, 1, "k", "Y", "\xFF"), 0U);
    EXPECT_EQ(Get(0, 1, "k"), "Y") << "shorter than it was";
    EXPECT_EQ(SetMasked(0, 1, "k", "", ""), 0U);
    EXPECT_THAT(WalkTable(1), ElementsAre(Seen{1, 0, "k", "", ""}));
    const std::string large(65536, '\x33');
    EXPECT_EQ(SetMasked(0, 1, "k", large, std::string(65536, '\x11')), 0U);
    EXPECT_EQ(Get(0, 1, "k", 65536), std::string(65536, '\x11'));
    DXR_ReleaseTblm(1, 0);
    EXPECT_TRUE(reports.empty());
}

// --- Tables

TEST_F(HostTables, AreAsTheyWereDescribed) {
    DxrHostTable table = Description(5);
    table.keyBytes = 4;
    table.dataBytes = 8;
    table.capacity = 2;
    table.pool = 3;
    EXPECT_EQ(DxrHostDescribeTable(host, &table), 0U);
    DxrHostTable about = Description(0);
    EXPECT_EQ(DXR_GetTblmAttr(5, &about), uint32_t{ENXIO}) << "not yet created";
    EXPECT_TRUE(reports.empty());
    table.capacity = 0;  // was copied
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(DXR_DynamicCreateTable(5), 0U);
        EXPECT_EQ(Set(0, 5, "0001", "datadata"), 0U);
        EXPECT_EQ(Set(0, 5, "0002", ""), 0U) << "no bytes go into every table";
        EXPECT_EQ(Set(0, 5, "0003", "datadata"), uint32_t{ENOSPC});
        EXPECT_EQ(Set(0, 5, "0002", "atadatad"), 0U) << "is there already";
        EXPECT_EQ(Set(1, 5, "0003", "datadata"), 0U) << "another chip";
        EXPECT_EQ(SetMasked(0, 5, "0003", "datadata", "datadata"), uint32_t{ENOSPC});
        EXPECT_EQ(Set(0, 5, "001", "datadata"), uint32_t{EINVAL});
        EXPECT_EQ(Set(0, 5, "0001", "data"), uint32_t{EINVAL});
        EXPECT_EQ(SetMasked(0, 5, "0001", "data", "data"), uint32_t{EINVAL});
        EXPECT_EQ(Get(0, 5, "00001"), Error(EINVAL));
        EXPECT_EQ(Delete(0, 5, "00001"), uint32_t{EINVAL});
        EXPECT_EQ(Get(0, 5, "0001"), "datadata") << "nothing has changed";
        EXPECT_EQ(DXR_GetTblmAttr(5, &about), 0U);
        EXPECT_EQ(about.tableId, 5U);
        EXPECT_EQ(about.keyBytes, 4U);
        EXPECT_EQ(about.dataBytes, 8U);
        EXPECT_EQ(about.capacity, 2U);
        EXPECT_EQ(about.pool, 3U);
        EXPECT_EQ(about.isStatic, 0U);
        EXPECT_EQ(about.entries, 3U);
        EXPECT_EQ(DxrHostDescribeTable(host, &table), uint32_t{EEXIST});
        DXR_ReleaseTblm(5, 0);
    }
    EXPECT_EQ(End(), 0U);
    EXPECT_EQ(reports.size(), 5U) << "by slot, caller and finding";
}

TEST_F(HostTables, MayBeThereFromTheBeginning) {
    DxrHostTable table = Description(9);
    table.isStatic = 1;
    table.entries = 77;
    EXPECT_EQ(DxrHostDescribeTable(nullptr, &table), 0U);
    EXPECT_EQ(DXR_DynamicCreateTable(9), uint32_t{EEXIST});
    EXPECT_EQ(DxrHostDescribeTable(host, &table), uint32_t{EEXIST});
    EXPECT_EQ(Set(0, 9, "k", "d"), 0U);
    DxrHostTable about = Description(0);
    EXPECT_EQ(DXR_GetTblmAttr(9, &about), 0U);
    EXPECT_EQ(about.isStatic, 1U);
    EXPECT_EQ(about.entries, 1U);
    EXPECT_TRUE(reports.empty());
    DXR_ReleaseTblm(9, 0);
    EXPECT_EQ(reports.size(), 1U);
    EXPECT_EQ(Get(0, 9, "k"), "d");
    EXPECT_EQ(End(), 0U) << "is not left behind";
}

TEST_F(HostTables, RefuseWrongDescriptions) {
    const std::array<std::pair<uint32_t DxrHostTable::*, uint32_t>, 5> wrong = {
        {{&DxrHostTable::size, 31},
         {&DxrHostTable::keyBytes, 257},
         {&DxrHostTable::dataBytes, 65537},
         {&DxrHostTable::pool, 65536},
         {&DxrHostTable::isStatic, 2}}};
    for (const auto &[member, value] : wrong) {
        DxrHostTable table = Description(1);
        EXPECT_EQ(DxrHostDescribeTable(host, &table), 0U);
        table.*member = value;
        EXPECT_EQ(DxrHostDescribeTable(host, &table), uint32_t{EINVAL});
    }
    EXPECT_EQ(DxrHostDescribeTable(host, nullptr), uint32_t{EINVAL});
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostTables, TakeTheirEntriesFromPools) {
    constexpr uint32_t kNoLimit = 0xFFFFFFFF;
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_USED), 0U);
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_FREE), kNoLimit);
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_CAPACITY), kNoLimit);
    EXPECT_TRUE(DxrHostSetTablePool(host, 0, 3, 3));
    EXPECT_FALSE(DxrHostSetTablePool(host, 65536, 3, 3));
    for (const uint32_t number : {1U, 2U}) {
        DxrHostTable table = Description(number);
        table.pool = 3;
        EXPECT_EQ(DxrHostDescribeTable(host, &table), 0U);
        EXPECT_EQ(DXR_DynamicCreateTable(number), 0U);
        EXPECT_EQ(Set(0, number, "first", ""), 0U);
    }
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_USED), 2U);
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_FREE), 1U);
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_CAPACITY), 3U);
    EXPECT_EQ(PoolCount(1, 3, DXR_HOST_POOL_USED), 0U) << "another chip";
    EXPECT_EQ(PoolCount(0, 0, DXR_HOST_POOL_USED), 0U) << "another pool";
    EXPECT_EQ(Set(0, 1, "second", ""), 0U);
    EXPECT_EQ(Set(0, 2, "second", ""), uint32_t{ENOSPC}) << "one pool for both";
    EXPECT_EQ(Set(1, 2, "second", ""), 0U);
    EXPECT_TRUE(DxrHostSetTablePool(nullptr, 0, 3, 1)) << "entries stay";
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_USED), 3U);
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_FREE), 0U);
    EXPECT_EQ(Get(0, 1, "second"), "");
    EXPECT_EQ(Delete(0, 2, "first"), 0U);
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_USED), 2U);
    DXR_ReleaseTblm(1, 0);
    EXPECT_EQ(PoolCount(0, 3, DXR_HOST_POOL_USED), 0U);
    EXPECT_EQ(PoolCount(1, 3, DXR_HOST_POOL_USED), 1U);
    DXR_ReleaseTblm(2, 0);
    EXPECT_TRUE(reports.empty());
    uint32_t count = 7;
    EXPECT_EQ(DXR_GetCstPoolCount(65536, 3, DXR_HOST_POOL_USED, &count), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetCstPoolCount(0, 3, 3, &count), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetCstPoolCount(0, 3, DXR_HOST_POOL_USED, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(count, 7U);
    EXPECT_EQ(reports.size(), 3U);
}

// --- Walks

TEST_F(HostTables, AreWalkedInTheOrderOfTheirKeys) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    const std::vector<std::string> keys = {std::string("\0", 1),
                                           std::string("\0\0", 2),
                                           "a",
                                           std::string("a\0", 2),
                                           "aaaaaaa",
                                           "aaaaaaaa",
                                           "aaaaaaaaa",
                                           "aaaaaaab",
                                           "aaaab",
                                           "b",
                                           "b1",
                                           "b10",
                                           "b2",
                                           "\x7F",
                                           "\x80",
                                           "\xFF",
                                           "\xFF\x01"};
    std::vector<std::string> mixed = keys;
    std::shuffle(mixed.begin(), mixed.end(), std::mt19937(dxrtest::Seed()));
    for (const std::string &key : mixed) {
        EXPECT_EQ(Set(2, 1, key, "of " + key), 0U);
    }
    EXPECT_EQ(Set(1, 1, "c", ""), 0U);
    EXPECT_EQ(Set(kAnyChip, 1, "d", ""), 0U);
    EXPECT_EQ(KeysOf(WalkTable(1, 2)), keys);
    EXPECT_EQ(WalkTable(1, 2)[4], (Seen{1, 2, "aaaaaaa", "of aaaaaaa", std::string(10, '\xFF')}));
    EXPECT_THAT(KeysOf(WalkTable(1, 1)), ElementsAre("c"));
    EXPECT_THAT(KeysOf(WalkTable(1, kAnyChip)), ElementsAre("d"));
    std::vector<std::string> all = keys;
    all.insert(all.begin(), "c");
    all.emplace_back("d");
    EXPECT_EQ(KeysOf(WalkTable(1)), all) << "chip after chip";
    EXPECT_THAT(WalkTable(1, 3), IsEmpty());
    DXR_ReleaseTblm(1, 0);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostTables, AreWalkedOneAfterTheOther) {
    for (const uint32_t table : {4U, 2U, 9U, 3U}) {
        EXPECT_EQ(DXR_DynamicCreateTable(table), 0U);
        EXPECT_EQ(Set(0, table, "zero", std::to_string(table)), 0U);
        EXPECT_EQ(Set(1, table, "one", std::to_string(table)), 0U);
    }
    EXPECT_EQ(DXR_DynamicCreateTable(5), 0U);
    const auto tablesOf = [](const std::vector<Seen> &seen) {
        std::string tables;
        for (const Seen &each : seen) {
            tables += each.data;
        }
        return tables;
    };
    EXPECT_EQ(tablesOf(WalkAll()), "22334499");
    EXPECT_EQ(tablesOf(WalkAll(1)), "2349");
    EXPECT_EQ(tablesOf(WalkAll(2)), "");
    std::array<uint32_t, 5> tables = {9, 77, 5, 2, 9};
    EntryRoom room;
    DxrHostTableWalk walk{sizeof(walk), 0, 0, 5, 0, 0};
    const uint32_t first = DXR_GetCrossTblmFirstData(&walk, tables.data(), room.At());
    tables.fill(0);  // was copied
    EXPECT_EQ(tablesOf(Rest(first, walk, room)), "929") << "in the order that was asked for";
    walk.tables = 0;
    EXPECT_EQ(DXR_GetCrossTblmFirstData(&walk, tables.data(), room.At()), uint32_t{ENOENT});
    EXPECT_EQ(walk.walk, 0U);
    for (const uint32_t table : {2U, 3U, 4U, 5U, 9U}) {
        DXR_ReleaseTblm(table, 0);
    }
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostTables, ChangeWhileTheyAreWalked) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    EXPECT_EQ(DXR_DynamicCreateTable(3), 0U);
    for (const char *const key : {"b", "d", "f"}) {
        EXPECT_EQ(Set(0, 1, key, ""), 0U);
    }
    EntryRoom room;
    DxrHostTableWalk walk{sizeof(walk), DXR_HOST_EVERY_CHIP, 0, 0, 0, 0};
    const auto next = [&] {
        const uint32_t result = DXR_GetTblmNextData(walk.walk, room.At());
        return result == 0 ? room.Get().key : Error(result);
    };
    ASSERT_EQ(DXR_GetCrossTblmFirstData(&walk, nullptr, room.At()), 0U);
    EXPECT_EQ(room.Get().key, "b");
    EXPECT_EQ(Delete(0, 1, "b"), 0U);
    EXPECT_EQ(Set(0, 1, "a", ""), 0U);
    EXPECT_EQ(Set(0, 1, "c", ""), 0U);
    EXPECT_EQ(next(), "c") << "the least greater one";
    EXPECT_EQ(Delete(0, 1, "d"), 0U);
    EXPECT_EQ(next(), "f");
    EXPECT_EQ(next(), Error(ENOENT));
    EXPECT_EQ(next(), Error(ENOENT)) << "it stays there";
    EXPECT_EQ(Set(0, 1, "g", ""), 0U);
    EXPECT_EQ(next(), "g") << "and goes on";
    EXPECT_EQ(DXR_DynamicCreateTable(2), 0U);
    EXPECT_EQ(Set(0, 2, "A", ""), 0U);
    EXPECT_EQ(next(), "A") << "a table between";
    DXR_ReleaseTblm(2, 0);
    EXPECT_EQ(Set(0, 3, "B", ""), 0U);
    EXPECT_EQ(next(), "B") << "past a table that has gone";
    DXR_ReleaseTblm(1, 0);
    DXR_ReleaseTblm(3, 0);
    EXPECT_EQ(next(), Error(ENOENT));
    DXR_ReleaseTblm(0, walk.walk);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostTables, StayWhereTheyAreWithoutRoom) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    EXPECT_EQ(Set(0, 1, "long key", "long data"), 0U);
    EXPECT_EQ(Set(0, 1, "longer key", "longer data"), 0U);
    std::array<char, 32> key{};
    std::array<char, 32> data{};
    DxrHostTableEntry entry{sizeof(entry), 7, 9, 55, 55, 0, 0, 0, key.data(), data.data(), nullptr};
    DxrHostTableWalk walk{sizeof(walk), 0, 1, 0, 99, 0};
    EXPECT_EQ(DXR_GetLinearTblmFirstData(&walk, &entry), uint32_t{ENOSPC});
    EXPECT_EQ(walk.walk, 0U) << "has not begun";
    EXPECT_EQ(entry.keyBytes, 8U);
    EXPECT_EQ(entry.dataBytes, 9U);
    EXPECT_EQ(entry.tableId, 55U);
    EXPECT_EQ(key[0], '\0');
    EXPECT_EQ(data[0], '\0');
    entry.keyRoom = 8;
    EXPECT_EQ(DXR_GetLinearTblmFirstData(&walk, &entry), 0U);
    EXPECT_STREQ(key.data(), "long key");
    entry.keyRoom = 32;
    EXPECT_EQ(DXR_GetTblmNextData(walk.walk, &entry), uint32_t{ENOSPC});
    EXPECT_EQ(entry.dataBytes, 11U);
    EXPECT_STREQ(data.data(), "long data");
    entry.data = nullptr;
    entry.mask = data.data();
    EXPECT_EQ(DXR_GetTblmNextData(walk.walk, &entry), uint32_t{ENOSPC}) << "the mask's room, too";
    entry.mask = nullptr;
    entry.key = nullptr;
    entry.keyRoom = entry.dataRoom = 0;
    EXPECT_EQ(DXR_GetTblmNextData(walk.walk, &entry), 0U) << "nothing is wanted";
    EXPECT_EQ(entry.keyBytes, 10U);
    DXR_ReleaseTblm(1, walk.walk);
    DXR_ReleaseTblm(1, 0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostTables, AndTheirWalksAreReportedWhenTheyAreLeft) {
    EXPECT_EQ(DXR_DynamicCreateTable(12), 0U);
    EXPECT_EQ(Set(0, 12, "k", ""), 0U);
    EntryRoom room;
    DxrHostTableWalk walk{sizeof(walk), 0, 12, 0, 0, 0};
    EXPECT_EQ(DXR_GetLinearTblmFirstData(&walk, room.At()), 0U);
    EXPECT_EQ(DXR_GetCrossTblmFirstData(&walk, nullptr, room.At()), 0U);
    EXPECT_EQ(End(), 3U);
    const std::vector<std::string> texts = Texts(DXR_HOST_REPORT_LEFTOVER);
    ASSERT_EQ(texts.size(), 3U);
    const std::array<std::string, 3> beginnings = {
        "left behind: table 12 of 1 entries, made by DXR_DynamicCreateTable by ",
        "left behind: walk 1 through table 12, made by DXR_GetLinearTblmFirstData by ",
        "left behind: walk 2 through tables, made by DXR_GetCrossTblmFirstData by "};
    for (size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(texts[i].rfind(beginnings[i], 0), 0U) << texts[i];
    }
}

// --- What goes wrong

TEST_F(HostTables, ReportWhatCannotBe) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    std::string key(257, 'k');
    std::string data(65537, 'd');
    const std::array<DxrTblmRequest, 4> wrong = {{{1, nullptr, 1, data.data(), 1, 1, {}},
                                                  {1, key.data(), 0, data.data(), 1, 1, {}},
                                                  {1, key.data(), 257, data.data(), 1, 1, {}},
                                                  {1, key.data(), 1, nullptr, 1, 1, {}}}};
    for (DxrTblmRequest request : wrong) {
        EXPECT_EQ(DXR_SetChipTblmData(0, &request), uint32_t{EINVAL});
        EXPECT_EQ(DXR_GetChipTblmData(0, &request), uint32_t{EINVAL});
    }
    EXPECT_EQ(reports.size(), 4U) << "two findings of two slots";
    reports.clear();
    DxrTblmRequest request{1, key.data(), 1, data.data(), 65537, 1, {}};
    EXPECT_EQ(DXR_SetChipTblmData(0, &request), uint32_t{EINVAL});
    request.dataLen = 1;
    EXPECT_EQ(DXR_SetChipTblmData(0x10000, &request), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetChipTblmData(0x10000, &request), uint32_t{EINVAL});
    EXPECT_EQ(DXR_SetChipTblmData(0, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetChipTblmData(0, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_DeleteChipTblmData(0x10000, 1, key.data(), 1), uint32_t{EINVAL});
    EXPECT_EQ(DXR_DeleteChipTblmData(0, 1, nullptr, 1), uint32_t{EINVAL});
    EXPECT_EQ(DXR_DeleteChipTblmData(0, 1, key.data(), 257), uint32_t{EINVAL});
    EXPECT_EQ(reports.size(), 8U);
    DxrHostMaskedData masked{sizeof(masked), 1, 1, 1, key.data(), data.data(), nullptr};
    EXPECT_EQ(DXR_SetChipTblmDataAndMask(0, &masked), uint32_t{EINVAL});
    masked.mask = data.data();
    masked.data = nullptr;
    EXPECT_EQ(DXR_SetChipTblmDataAndMask(0, &masked), uint32_t{EINVAL});
    masked.data = data.data();
    masked.size = 0;
    EXPECT_EQ(DXR_SetChipTblmDataAndMask(0, &masked), uint32_t{EINVAL});
    masked.size = sizeof(masked);
    EXPECT_EQ(DXR_SetChipTblmDataAndMask(0x10000, &masked), uint32_t{EINVAL});
    EXPECT_EQ(DXR_SetChipTblmDataAndMask(0, nullptr), uint32_t{EINVAL});
    EXPECT_THAT(WalkTable(1), IsEmpty());
    DxrHostTable about = Description(0);
    about.size = 1;
    EXPECT_EQ(DXR_GetTblmAttr(1, &about), uint32_t{EINVAL});
    EXPECT_EQ(about.tableId, 0U);
    EXPECT_EQ(DXR_GetTblmAttr(1, nullptr), uint32_t{EINVAL});
    DXR_ReleaseTblm(1, 0);
}

TEST_F(HostTables, ReportTablesAndWalksThatThereAreNot) {
    EXPECT_EQ(Set(0, 8, "k", ""), uint32_t{ENXIO});
    EXPECT_EQ(SetMasked(0, 8, "k", "", ""), uint32_t{ENXIO});
    EXPECT_EQ(Get(0, 8, "k"), Error(ENXIO));
    EXPECT_EQ(Delete(0, 8, "k"), uint32_t{ENXIO});
    DXR_ReleaseTblm(8, 0);
    EntryRoom room;
    DxrHostTableWalk walk{sizeof(walk), 0, 8, 0, 99, 0};
    EXPECT_EQ(DXR_GetLinearTblmFirstData(&walk, room.At()), uint32_t{ENXIO});
    EXPECT_EQ(walk.walk, 0U);
    EXPECT_EQ(DXR_GetTblmNextData(1, room.At()), uint32_t{EBADF});
    DXR_ReleaseTblm(8, 1);
    EXPECT_EQ(reports.size(), 8U);
    reports.clear();
    EXPECT_EQ(DXR_DynamicCreateTable(8), 0U);
    EXPECT_EQ(Set(0, 8, "k", ""), 0U);
    DxrHostTableWalk bad = walk;
    bad.size = 0;
    bad.walk = 99;
    EXPECT_EQ(DXR_GetLinearTblmFirstData(&bad, room.At()), uint32_t{EINVAL});
    EXPECT_EQ(bad.walk, 99U);
    EXPECT_EQ(DXR_GetLinearTblmFirstData(nullptr, room.At()), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetLinearTblmFirstData(&walk, nullptr), uint32_t{EINVAL});
    walk.chip = 0x10000;
    EXPECT_EQ(DXR_GetLinearTblmFirstData(&walk, room.At()), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetCrossTblmFirstData(&walk, nullptr, room.At()), uint32_t{EINVAL});
    walk = {sizeof(walk), 0, 8, 4097, 99, 0};
    std::array<uint32_t, 2> tables = {8, 8};
    EXPECT_EQ(DXR_GetCrossTblmFirstData(&walk, tables.data(), room.At()), uint32_t{EINVAL});
    walk.tables = 1;
    EXPECT_EQ(
        DXR_GetCrossTblmFirstData(&walk, reinterpret_cast<char *>(tables.data()) + 1, room.At()),
        uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetTblmNextData(1, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(reports.size(), 8U);
    DXR_ReleaseTblm(8, 0);
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostTables, FailedStepsChangeNothing) {
    DxrHostFailNth(host, "table.create", 1, false);
    EXPECT_EQ(DXR_DynamicCreateTable(1), uint32_t{ENOMEM});
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    EXPECT_EQ(Set(0, 1, "k", "old"), 0U);
    DxrHostFailNth(host, "table.set", 1, true);
    EXPECT_EQ(Set(0, 1, "k", "new"), uint32_t{ENOMEM});
    EXPECT_EQ(SetMasked(0, 1, "k", "new", "new"), uint32_t{ENOMEM});
    EXPECT_EQ(Set(0, 1, "l", "new"), uint32_t{ENOMEM});
    DxrHostFailNth(host, "table.set", 0, false);
    DxrHostFailNth(host, "table.get", 1, false);
    EXPECT_EQ(Get(0, 1, "k"), Error(EIO));
    EXPECT_EQ(Get(0, 1, "k"), "old");
    EXPECT_EQ(Get(0, 1, "l"), Error(ENOENT));
    EntryRoom room;
    DxrHostTableWalk walk{sizeof(walk), 0, 1, 0, 99, 0};
    DxrHostFailNth(host, "table.walk", 1, false);
    EXPECT_EQ(DXR_GetLinearTblmFirstData(&walk, room.At()), uint32_t{ENOMEM});
    EXPECT_EQ(walk.walk, 0U);
    EXPECT_EQ(DXR_GetLinearTblmFirstData(&walk, room.At()), 0U);
    EXPECT_EQ(Set(0, 1, "m", ""), 0U);
    DxrHostFailNth(host, "table.walk", 1, false);
    EXPECT_EQ(DXR_GetTblmNextData(walk.walk, room.At()), uint32_t{ENOMEM});
    EXPECT_EQ(DXR_GetTblmNextData(walk.walk, room.At()), 0U);
    EXPECT_EQ(room.Get().key, "m") << "it has stayed where it was";
    DXR_ReleaseTblm(1, walk.walk);
    DXR_ReleaseTblm(1, 0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostTables, AnswerWithoutAHost) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    End();
    std::array<uint32_t, 16> room{};
    DxrTblmRequest request{};
    constexpr uint32_t kCancelled = ECANCELED;
    EXPECT_EQ(hooks.tblm.dynamicCreateTable(1), kCancelled);
    EXPECT_EQ(hooks.tblm.getChipTblmData(0, &request), kCancelled);
    EXPECT_EQ(hooks.tblm.setChipTblmData(0, &request), kCancelled);
    EXPECT_EQ(hooks.tblm.deleteChipTblmData(0, 1, &room, 1), kCancelled);
    EXPECT_EQ(hooks.tblm.getCrossTblmFirstData(&room, &room, &room), kCancelled);
    EXPECT_EQ(hooks.tblm.getLinearTblmFirstData(&room, &room), kCancelled);
    EXPECT_EQ(hooks.tblm.getTblmNextData(1, &room), kCancelled);
    hooks.tblm.releaseTblm(1, 0);
    EXPECT_EQ(hooks.tblm.getTblmAttr(1, &room), kCancelled);
    EXPECT_EQ(hooks.tblm.getCstPoolCount(0, 0, 0, &room), kCancelled);
    EXPECT_EQ(hooks.tblm.setChipTblmDataAndMask(0, &room), kCancelled);
    const DxrHostTable table = Description(1);
    EXPECT_EQ(DxrHostDescribeTable(nullptr, &table), kCancelled);
    EXPECT_FALSE(DxrHostSetTablePool(nullptr, 0, 0, 0));
    std::array<char, 64> error{};
    EXPECT_FALSE(DxrHostSaveTables(nullptr, nullptr, error.data(), error.size()));
    EXPECT_STREQ(error.data(), "there is no host");
    EXPECT_FALSE(DxrHostLoadTables(nullptr, nullptr, nullptr, 0));
}

// --- A model

using ModelKey = std::tuple<uint32_t, uint32_t, std::string>;
struct ModelEntry {
    std::string data;
    std::string mask;
};

class Model {
  public:
    std::set<uint32_t> tables;
    std::map<ModelKey, ModelEntry> entries;

    uint32_t Set(uint32_t chip, uint32_t table, const std::string &key, const std::string &data) {
        if (!tables.contains(table)) {
            return ENXIO;
        }
        entries[{table, chip, key}] = {data, std::string(data.size(), '\xFF')};
        return 0;
    }
    uint32_t SetMasked(uint32_t chip, uint32_t table, const std::string &key,
                       const std::string &data, const std::string &mask) {
        if (!tables.contains(table)) {
            return ENXIO;
        }
        ModelEntry &entry = entries[{table, chip, key}];
        entry.data.resize(data.size());
        for (size_t i = 0; i < data.size(); ++i) {
            entry.data[i] = static_cast<char>((entry.data[i] & ~mask[i]) | (data[i] & mask[i]));
        }
        entry.mask = mask;
        return 0;
    }
    [[nodiscard]] std::string Get(uint32_t chip, uint32_t table, const std::string &key) const {
        auto found = entries.find({table, chip, key});
        found = found == entries.end() ? entries.find({table, kAnyChip, key}) : found;
        if (found != entries.end()) {
            return found->second.data;
        }
        return Error(tables.contains(table) ? ENOENT : ENXIO);
    }
    uint32_t Delete(uint32_t chip, uint32_t table, const std::string &key) {
        if (!tables.contains(table)) {
            return ENXIO;
        }
        return entries.erase({table, chip, key}) != 0 ? 0 : ENOENT;
    }
    void Release(uint32_t table) {
        tables.erase(table);
        std::erase_if(entries,
                      [table](const auto &entry) { return std::get<0>(entry.first) == table; });
    }
    [[nodiscard]] std::vector<Seen> Walk(uint32_t table, uint32_t chip) const {
        std::vector<Seen> seen;
        for (const auto &[key, entry] : entries) {
            const auto &[ofTable, ofChip, text] = key;
            if (ofTable == table && (ofChip == chip || chip == DXR_HOST_EVERY_CHIP)) {
                seen.push_back({ofTable, ofChip, text, entry.data, entry.mask});
            }
        }
        return seen;
    }
};

TEST_F(HostTables, AgreeWithAModel) {
    std::mt19937_64 random(dxrtest::Seed());
    const auto below = [&random](uint32_t bound) {
        return static_cast<uint32_t>(random() % bound);
    };
    const auto text = [&](uint32_t atLeast, uint32_t atMost) {
        std::string bytes(atLeast + below(atMost - atLeast + 1), '\0');
        std::generate(bytes.begin(), bytes.end(),
                      [&] { return static_cast<char>(below(3) * 127); });
        return bytes;
    };
    const std::array<uint32_t, 3> chips = {0, 7, kAnyChip};
    Model model;
    std::vector<Seen> saved;
    Model savedModel;
    bool isSaved = false;
    for (int step = 0; step < 20000; ++step) {
        const uint32_t table = below(4);
        const uint32_t chip = chips[below(3)];
        const std::string key = below(2) == 0 ? text(1, 3) : text(1, below(8) == 0 ? 80 : 20);
        const std::string data = below(20) == 0 ? text(0, 600) : text(0, 24);
        switch (below(40)) {
            case 0:
                ASSERT_EQ(DXR_DynamicCreateTable(table),
                          model.tables.insert(table).second ? 0U : uint32_t{EEXIST});
                break;
            case 1:
                if (below(8) == 0) {
                    DXR_ReleaseTblm(table, 0);
                    model.Release(table);
                }
                break;
            case 2:
                ASSERT_EQ(WalkTable(table, chip), model.Walk(table, chip)) << "step " << step;
                ASSERT_EQ(WalkTable(table), model.Walk(table, DXR_HOST_EVERY_CHIP));
                break;
            case 3:
                if (below(8) == 0) {
                    ASSERT_TRUE(DxrHostSaveTables(host, nullptr, nullptr, 0));
                    savedModel = model;
                    isSaved = true;
                } else if (isSaved && below(8) == 0) {
                    ASSERT_TRUE(DxrHostLoadTables(host, nullptr, nullptr, 0));
                    model = savedModel;
                }
                break;
            case 4:
            case 5:
            case 6: {
                std::string mask(data.size(), '\0');
                std::generate(mask.begin(), mask.end(),
                              [&] { return static_cast<char>(random()); });
                ASSERT_EQ(SetMasked(chip, table, key, data, mask),
                          model.SetMasked(chip, table, key, data, mask));
                break;
            }
            case 7:
            case 8:
            case 9:
            case 10:
            case 11:
            case 12:
            case 13:
                ASSERT_EQ(Delete(chip, table, key), model.Delete(chip, table, key));
                break;
            default:
                if (below(2) == 0) {
                    ASSERT_EQ(Set(chip, table, key, data), model.Set(chip, table, key, data));
                }
                ASSERT_EQ(Get(chip, table, key, 600), model.Get(chip, table, key));
        }
    }
    for (const auto &[key, entry] : model.entries) {
        ASSERT_EQ(Get(std::get<1>(key), std::get<0>(key), std::get<2>(key), 600), entry.data);
    }
    for (uint32_t table = 0; table < 4; ++table) {
        DXR_ReleaseTblm(table, 0);
    }
    EXPECT_EQ(PoolCount(0, 0, DXR_HOST_POOL_USED), 0U);
    EXPECT_EQ(PoolCount(kAnyChip, 0, DXR_HOST_POOL_USED), 0U);
    EXPECT_EQ(End(), 0U);
}

// --- Threads

TEST_F(HostTables, AreListedByTheirNumbers) {
    EXPECT_EQ(DxrHostGetTables(host, nullptr, 3), 0U);
    for (const uint32_t table : {9U, 4U}) {
        EXPECT_EQ(DXR_DynamicCreateTable(table), 0U);
    }
    EXPECT_EQ(Set(0, 9, "key", "data"), 0U);
    std::array<DxrHostTable, 3> found{};
    EXPECT_EQ(DxrHostGetTables(host, found.data(), 1), 2U);
    EXPECT_EQ(found[1].size, 0U) << "no room for it";
    EXPECT_EQ(DxrHostGetTables(host, found.data(), 3), 2U);
    EXPECT_EQ(found[0].tableId, 4U);
    EXPECT_EQ(found[1].tableId, 9U);
    EXPECT_EQ(found[1].size, sizeof(DxrHostTable));
    EXPECT_EQ(found[1].entries, 1U);
    DXR_ReleaseTblm(4, 0);
    DXR_ReleaseTblm(9, 0);
}

// A key that begins with its number, of as many bytes as that says: 4 to 80.
struct NumberedKey {
    explicit NumberedKey(uint32_t number) : bytes(4 + number * 19 % 77) {
        text.fill('k');
        std::memcpy(text.data(), &number, sizeof(number));
    }
    std::array<char, 80> text{};
    uint32_t bytes;
};

// Each key's data is its own number over and over, and one that changes: a reader never sees parts
// of two, nor another key's data.
TEST_F(HostTables, AreReadWhileTheyChange) {
    constexpr uint32_t kKeys = 12;
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    std::atomic<bool> isDone{false};
    std::atomic<uint64_t> hits{0};
    std::vector<std::thread> readers;
    for (uint32_t seed = 0; seed < 2; ++seed) {
        readers.emplace_back([&isDone, &hits, seed] {
            std::mt19937 random(seed);
            uint64_t found = 0;
            while (!isDone) {
                const auto number = static_cast<uint32_t>(random() % kKeys);
                NumberedKey key(number);
                std::array<uint32_t, 100> data{};
                DxrTblmRequest request{1, key.text.data(), key.bytes, data.data(), sizeof(data), 1,
                                       {}};
                const uint32_t result = DXR_GetChipTblmData(0, &request);
                if (result == ENOENT) {
                    continue;
                }
                ASSERT_EQ(result, 0U);
                const uint32_t count = request.dataLen / 4;
                ASSERT_GE(count, 2U);
                ASSERT_LE(count, data.size());
                for (uint32_t i = 0; i < count; ++i) {
                    ASSERT_EQ(data[i], i % 2 == 0 ? number : data[1]);
                }
                ++found;
            }
            hits += found;
        });
    }
    std::mt19937 random(77);
    for (uint32_t step = 0; step < 20000; ++step) {
        const auto number = static_cast<uint32_t>(random() % kKeys);
        std::array<uint32_t, 100> data{};
        for (uint32_t i = 0; i < data.size(); ++i) {
            data[i] = i % 2 == 0 ? number : step;
        }
        const auto bytes = static_cast<uint32_t>(8 * (1 + random() % (step % 8 == 0 ? 50 : 15)));
        const uint64_t what = random() % 8;
        NumberedKey key(what == 1 ? number + 1000 + step : number);  // new ones: the index grows
        if (what == 0) {
            (void)DXR_DeleteChipTblmData(0, 1, key.text.data(), key.bytes);
        } else {
            ASSERT_EQ(DXR_AddChipTblmData(0, 1, key.text.data(), key.bytes, data.data(), bytes),
                      0U);
        }
        if (step % 4096 == 4095) {
            ASSERT_TRUE(DxrHostSaveTables(host, nullptr, nullptr, 0));
            ASSERT_TRUE(DxrHostLoadTables(host, nullptr, nullptr, 0));
        }
    }
    isDone = true;
    for (std::thread &reader : readers) {
        reader.join();
    }
    EXPECT_GT(hits, 0U);
    DXR_ReleaseTblm(1, 0);
    EXPECT_TRUE(reports.empty());
}

// At each moment the chip's own entry or the one of all chips is there: a reader finds one of them.
TEST_F(HostTables, AlwaysGiveOneOfTwoEntriesThatTakeTurns) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    EXPECT_EQ(Set(kAnyChip, 1, "key", "all"), 0U);
    std::atomic<bool> isDone{false};
    std::thread writer([&isDone] {
        for (int turn = 0; turn < 20000; ++turn) {
            ASSERT_EQ(Set(3, 1, "key", "three"), 0U);
            ASSERT_EQ(Delete(kAnyChip, 1, "key"), 0U);
            ASSERT_EQ(Set(kAnyChip, 1, "key", "all"), 0U);
            ASSERT_EQ(Delete(3, 1, "key"), 0U);
        }
        isDone = true;
    });
    uint64_t missing = 0;
    while (!isDone) {
        const std::string data = Get(3, 1, "key");
        missing += data != "three" && data != "all" ? 1 : 0;
    }
    writer.join();
    EXPECT_EQ(missing, 0U);
    DXR_ReleaseTblm(1, 0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostTables, AreWalkedAndChangedByManyThreads) {
    EXPECT_EQ(DXR_DynamicCreateTable(1), 0U);
    for (uint32_t key = 0; key < 20; ++key) {
        EXPECT_EQ(Set(0, 1, "stays " + std::to_string(key), ""), 0U);
    }
    const std::vector<std::string> stable = KeysOf(WalkTable(1));
    std::vector<std::thread> threads;
    for (uint32_t number = 0; number < 2; ++number) {
        threads.emplace_back([number] {
            std::mt19937 random(number);
            for (int i = 0; i < 1500; ++i) {
                const std::string key =
                    "stays " + std::to_string(random() % 20) + " " + std::to_string(number);
                EXPECT_EQ(Set(0, 1, key, key), 0U);
                EXPECT_EQ(Get(0, 1, key), key);
                EXPECT_EQ(Delete(0, 1, key), 0U);
                const uint32_t own = 100 + number;
                EXPECT_EQ(DXR_DynamicCreateTable(own), 0U);
                EXPECT_EQ(Set(number, own, key, key), 0U);
                DXR_ReleaseTblm(own, 0);
            }
        });
    }
    threads.emplace_back([&stable] {
        for (int round = 0; round < 50; ++round) {
            std::vector<std::string> keys = KeysOf(WalkTable(1));
            EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
            EXPECT_TRUE(std::includes(keys.begin(), keys.end(), stable.begin(), stable.end()));
        }
    });
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(KeysOf(WalkTable(1)), stable);
    DXR_ReleaseTblm(1, 0);
    EXPECT_EQ(End(), 0U);
    EXPECT_TRUE(reports.empty());
}

}  // namespace
