// The log filter's store: its records, the hash, the rings with their growth, ageing and lookup,
// the decision.
#include "dxr/print_log_filter_store.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "support/log_filter_fixture.h"

namespace dxrtest {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

using Calls = std::vector<std::string>;

// What the library's data hold before anything was called.
const struct AtLoad {
    const DxrLogFilterInfo *info = g_dxrLogFilterInfo;
    std::vector<void *> mutexes =
        std::vector<void *>(g_dxrLogFilterMutex, g_dxrLogFilterMutex + kLogTypes);
    uint8_t on = g_dxrLogFilterSwitch;
    uint32_t mid = g_dxrLogFilterMid;
    DxrLogFilterHashFunc hash = g_dxrLogFilterHashFuncList[0];
} kAtLoad;

MATCHER_P2(IsPrinted, level, text, "") {
    return arg.level == static_cast<uint32_t>(level) && arg.text == text;
}

MATCHER(ComesFromThePrintSources, "") {
    return std::string(arg.file).rfind(kPrintSources, 0) == 0 && arg.line > 0;
}

void ExpectUnchangedBut(const DxrLogFilterEntry &before, const DxrLogFilterEntry &after,
                        size_t offset, size_t size) {
    std::string was = Bytes(before);
    std::string is = Bytes(after);
    was.erase(offset, size);
    is.erase(offset, size);
    EXPECT_EQ(was, is);
}

// --- data

class LogFilterStoreData : public LogFilterTest {};
class LogFilterStoreInit : public LogFilterTest {};
class LogFilterStoreDestroy : public LogFilterTest {};
class LogFilterStoreHash : public LogFilterTest {};
class LogFilterStoreCapacity : public LogFilterTest {};
class LogFilterStoreResize : public LogFilterTest {};
class LogFilterStoreAgeing : public LogFilterTest {};
class LogFilterStoreAdd : public LogFilterTest {};
class LogFilterStoreFind : public LogFilterTest {};
class LogFilterStoreUpdate : public LogFilterTest {};
class LogFilterDecision : public LogFilterTest {};

TEST_F(LogFilterStoreData, RecordsHaveTheLayoutOfTheHost) {
    EXPECT_EQ(sizeof(DxrLogFilterInfo), 20U);
    EXPECT_EQ(offsetof(DxrLogFilterInfo, curIndex), 0U);
    EXPECT_EQ(offsetof(DxrLogFilterInfo, curSize), 4U);
    EXPECT_EQ(offsetof(DxrLogFilterInfo, capacity), 8U);
    EXPECT_EQ(offsetof(DxrLogFilterInfo, entries), 12U);
    EXPECT_EQ(sizeof(DxrLogFilterEntry), 64U);
    EXPECT_EQ(offsetof(DxrLogFilterEntry, logHashCode), 0U);
    EXPECT_EQ(offsetof(DxrLogFilterEntry, beginSec), 4U);
    EXPECT_EQ(offsetof(DxrLogFilterEntry, lastSec), 8U);
    EXPECT_EQ(offsetof(DxrLogFilterEntry, logCnt), 12U);
    EXPECT_EQ(offsetof(DxrLogFilterEntry, key1), 16U);
    EXPECT_EQ(offsetof(DxrLogFilterEntry, state), 20U);
    EXPECT_EQ(offsetof(DxrLogFilterEntry, logBeginTime), 21U);
    EXPECT_EQ(sizeof(DxrLogFilterEntry::logBeginTime), 43U);
    EXPECT_EQ(sizeof(DxrLogFilterCfg), 24U);
    EXPECT_EQ(offsetof(DxrLogFilterCfg, logType), 0U);
    EXPECT_EQ(offsetof(DxrLogFilterCfg, key1), 4U);
    EXPECT_EQ(offsetof(DxrLogFilterCfg, key2), 8U);
    EXPECT_EQ(offsetof(DxrLogFilterCfg, key3), 12U);
    EXPECT_EQ(offsetof(DxrLogFilterCfg, key4), 16U);
    EXPECT_EQ(offsetof(DxrLogFilterCfg, interval), 20U);
    EXPECT_EQ(sizeof(DxrLogFilterHashFunc), 24U);
    EXPECT_EQ(offsetof(DxrLogFilterHashFunc, hashFuncId), 0U);
    EXPECT_EQ(offsetof(DxrLogFilterHashFunc, func), 8U);
    EXPECT_EQ(offsetof(DxrLogFilterHashFunc, desc), 16U);
    EXPECT_EQ(offsetof(DxrLogFilterHashInput, text), 0U);
    EXPECT_EQ(offsetof(DxrLogFilterHashInput, length), 8U);
    EXPECT_EQ(std::extent_v<decltype(g_dxrLogFilterMutex)>, kLogTypes);
    EXPECT_EQ(std::extent_v<decltype(g_dxrLogFilterHashFuncList)>, 1U);
}

TEST_F(LogFilterStoreData, AtLoadTheStoreIsAbsentAndTheFilterOn) {
    EXPECT_EQ(kAtLoad.info, nullptr);
    EXPECT_THAT(kAtLoad.mutexes, Each(nullptr));
    EXPECT_EQ(kAtLoad.on, 1);
    EXPECT_EQ(kAtLoad.mid, 9U);
    EXPECT_EQ(kAtLoad.hash.hashFuncId, 0U);
    EXPECT_EQ(kAtLoad.hash.func, &DXR_SimpleHash);
    EXPECT_STREQ(kAtLoad.hash.desc, "simple hash code algorithm by string value");
}

TEST_F(LogFilterStoreData, GetLogFilterGivesTheRecordsOfTwentyNineTypes) {
    InitStore();
    const auto *base = reinterpret_cast<const char *>(g_dxrLogFilterInfo);
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        EXPECT_EQ(reinterpret_cast<const char *>(DXR_GetLogFilter(type)), base + 20 * type);
    }
    EXPECT_EQ(DXR_GetLogFilter(29), nullptr);
    EXPECT_EQ(DXR_GetLogFilter(0x80000000U), nullptr);
    EXPECT_EQ(DXR_GetLogFilter(UINT32_MAX), nullptr);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(LogFilterStoreData, GetLogFilterGivesNothingWithoutAStore) {
    for (uint32_t type = 0; type <= kLogTypes; ++type) {
        EXPECT_EQ(DXR_GetLogFilter(type), nullptr);
    }
}

TEST_F(LogFilterStoreData, SwitchKeepsTheValueItIsGiven) {
    EXPECT_EQ(DXR_IsLogFilterEnable(), 1);
    for (const int value : {0, 1, 7, 128, 255}) {
        DXR_EnableLogFilter(static_cast<uint8_t>(value));
        EXPECT_EQ(DXR_IsLogFilterEnable(), value);
        EXPECT_EQ(g_dxrLogFilterSwitch, value);
    }
    g_dxrLogFilterSwitch = 3;
    EXPECT_EQ(DXR_IsLogFilterEnable(), 3);
    EXPECT_THAT(host.calls, IsEmpty());
}

// --- init

TEST_F(LogFilterStoreInit, AllocatesTheRecordsThenCreatesTheMutexesThenReports) {
    EXPECT_EQ(DXR_InitLogFilter(1234), 0U);

    Calls expected{"allocate mid=1234 size=580"};
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        expected.push_back("initMutex #" + std::to_string(type));
    }
    expected.emplace_back("print 6 log filter init success, module[1234]");
    EXPECT_EQ(host.calls, expected);
    EXPECT_EQ(host.printed.at(0).format, "log filter init success, module[%u]");
    EXPECT_THAT(host.allocations, ElementsAre(ComesFromThePrintSources()));
    EXPECT_EQ(host.allocations.at(0).block, g_dxrLogFilterInfo);
    EXPECT_EQ(g_dxrLogFilterMid, 1234U);
}

TEST_F(LogFilterStoreInit, RecordsAreZero) {
    InitStore();
    const auto *bytes = reinterpret_cast<const char *>(g_dxrLogFilterInfo);
    EXPECT_EQ(std::string(bytes, kStoreSize), std::string(kStoreSize, '\0'));
}

TEST_F(LogFilterStoreInit, EachMutexIsCreatedInItsElementWithoutOption) {
    InitStore();
    ASSERT_THAT(host.mutexAddresses, SizeIs(kLogTypes));
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        EXPECT_EQ(host.mutexAddresses[type], &g_dxrLogFilterMutex[type]) << type;
        EXPECT_EQ(g_dxrLogFilterMutex[type], TestHost::MutexHandle(type)) << type;
    }
    EXPECT_THAT(host.mutexOptions, Each(nullptr));
}

TEST_F(LogFilterStoreInit, SecondInitOnlyReportsTheFirstModule) {
    InitStore(77);
    const DxrLogFilterInfo *store = g_dxrLogFilterInfo;
    const DxrLogFilterCfg site = Site(4);
    EXPECT_EQ(Decide(site, "kept"), 0);
    Forget();

    EXPECT_EQ(DXR_InitLogFilter(88), 0U);
    EXPECT_THAT(host.calls, ElementsAre("print 6 log filter init success, module[77]"));
    EXPECT_EQ(g_dxrLogFilterInfo, store);
    EXPECT_EQ(g_dxrLogFilterMid, 77U);
    EXPECT_EQ(Decide(site, "kept"), 1);
}

TEST_F(LogFilterStoreInit, SecondInitSucceedsWithoutMemory) {
    InitStore(77);
    host.FailAllocationsFrom(1);
    EXPECT_EQ(DXR_InitLogFilter(88), 0U);
    EXPECT_THAT(host.allocations, IsEmpty());
}

TEST_F(LogFilterStoreInit, FailedAllocationLeavesEverythingAsItWas) {
    g_dxrLogFilterMid = 5;
    host.FailAllocation(1);
    EXPECT_EQ(DXR_InitLogFilter(4000000000U), 1U);
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=4000000000 size=580",
                                        "print 1 log filter init failed, module[4000000000]"));
    EXPECT_EQ(host.printed.at(0).format, "log filter init failed, module[%u]");
    EXPECT_EQ(g_dxrLogFilterInfo, nullptr);
    EXPECT_EQ(g_dxrLogFilterMid, 5U);
    EXPECT_THAT(std::vector<void *>(g_dxrLogFilterMutex, g_dxrLogFilterMutex + kLogTypes),
                Each(nullptr));

    EXPECT_EQ(DXR_InitLogFilter(6), 0U);
    EXPECT_NE(g_dxrLogFilterInfo, nullptr);
    EXPECT_EQ(g_dxrLogFilterMid, 6U);
    EXPECT_THAT(host.mutexAddresses, SizeIs(kLogTypes));
}

TEST_F(LogFilterStoreInit, FailsWithoutAllocator) {
    DXR_SetMemoryHooks(nullptr, nullptr);
    EXPECT_EQ(DXR_InitLogFilter(3), 1U);
    EXPECT_THAT(host.calls, ElementsAre("print 1 log filter init failed, module[3]"));
    EXPECT_EQ(g_dxrLogFilterInfo, nullptr);
}

// HOST-13
TEST_F(LogFilterStoreInit, DoesNotLookAtTheMutexResults) {
    host.initMutexResult = 1;
    EXPECT_EQ(DXR_InitLogFilter(3), 0U);
    EXPECT_THAT(host.mutexAddresses, SizeIs(kLogTypes));
    EXPECT_NE(g_dxrLogFilterInfo, nullptr);
}

// HOST-13
TEST_F(LogFilterStoreInit, WorksWithoutPrintAndMutexHooks) {
    g_dxrHooks.print.print = nullptr;
    g_dxrHooks.task = {};
    EXPECT_EQ(DXR_InitLogFilter(3), 0U);
    EXPECT_EQ(Decide(Site(3), "line"), 0);
    EXPECT_EQ(Decide(Site(3), "line"), 1);
    EXPECT_EQ(DXR_InitLogFilter(3), 0U);
    DXR_DestroyLogFilter();
    EXPECT_EQ(g_dxrLogFilterInfo, nullptr);
    EXPECT_EQ(host.LiveBlocks(), 0U);

    host.FailAllocation(1);
    EXPECT_EQ(DXR_InitLogFilter(3), 1U);
}

TEST_F(LogFilterStoreInit, ModuleZeroIsAModule) {
    EXPECT_EQ(DXR_InitLogFilter(0), 0U);
    EXPECT_EQ(g_dxrLogFilterMid, 0U);
    Forget();
    EXPECT_EQ(Decide(Site(0), "x"), 0);
    EXPECT_EQ(host.allocations.at(0).mid, 0U);
}

// --- destroy

TEST_F(LogFilterStoreDestroy, ReleasesEachRingUnderItsLockThenTheRecords) {
    InitStore();                          // block 0
    EXPECT_EQ(Decide(Site(28), "c"), 0);  // block 1
    EXPECT_EQ(Decide(Site(0), "a"), 0);   // block 2
    EXPECT_EQ(Decide(Site(5), "b"), 0);   // block 3
    const auto *storage = LookAt(5).entries;
    Forget();

    DXR_DestroyLogFilter();

    Calls expected;
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        const std::string mutex = " #" + std::to_string(type);
        expected.push_back("lock" + mutex);
        if (type == 0) {
            expected.emplace_back("release #2");
        } else if (type == 5) {
            expected.emplace_back("release #3");
        } else if (type == 28) {
            expected.emplace_back("release #1");
        }
        expected.push_back("unlock" + mutex);
        expected.push_back("destroyMutex" + mutex);
    }
    expected.emplace_back("release #0");
    expected.emplace_back("print 6 log filter destroy success");
    EXPECT_EQ(host.calls, expected);
    EXPECT_EQ(host.releases.at(1).block, storage);
    EXPECT_THAT(host.releases, Each(ComesFromThePrintSources()));
    EXPECT_EQ(host.printed.at(0).format, "log filter destroy success");
    EXPECT_EQ(g_dxrLogFilterInfo, nullptr);
    EXPECT_EQ(host.LiveBlocks(), 0U);
}

std::vector<Ring> g_ringsAtUnlock;

TEST_F(LogFilterStoreDestroy, StorageIsGoneAndCountersKeptWhenTheLockOpens) {
    InitStore();
    EXPECT_EQ(Decide(Site(1), "a"), 0);
    EXPECT_EQ(Decide(Site(1), "b"), 0);
    g_ringsAtUnlock.clear();
    g_dxrHooks.task.unlockMutex = [](void *) -> uint32_t {
        g_ringsAtUnlock.push_back(LookAt(1));
        return 0;
    };
    DXR_DestroyLogFilter();
    ASSERT_THAT(g_ringsAtUnlock, SizeIs(kLogTypes));
    EXPECT_NE(g_ringsAtUnlock[0].entries, nullptr);
    EXPECT_EQ(g_ringsAtUnlock[1].entries, nullptr);
    EXPECT_EQ(g_ringsAtUnlock[1].curSize, 2U);
    EXPECT_EQ(g_ringsAtUnlock[1].capacity, 3U);
}

// HOST-11
TEST_F(LogFilterStoreDestroy, WithoutAStoreMakesAllCallsAndHandsOverNull) {
    DXR_DestroyLogFilter();
    Calls expected;
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        expected.insert(expected.end(), {"lock null", "unlock null", "destroyMutex null"});
    }
    expected.emplace_back("release null");
    expected.emplace_back("print 6 log filter destroy success");
    EXPECT_EQ(host.calls, expected);
    EXPECT_THAT(host.releases, Each(ComesFromThePrintSources()));
}

// HOST-14
TEST_F(LogFilterStoreDestroy, HandlesStayAndASecondDestroyUsesThemAgain) {
    InitStore();
    DXR_DestroyLogFilter();
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        EXPECT_EQ(g_dxrLogFilterMutex[type], TestHost::MutexHandle(type));
    }
    Forget();
    DXR_DestroyLogFilter();
    ASSERT_THAT(host.calls, SizeIs(3 * kLogTypes + 2));
    EXPECT_EQ(host.calls[0], "lock #0");
    EXPECT_EQ(host.calls[1], "unlock #0");
    EXPECT_EQ(host.calls[2], "destroyMutex #0");
    EXPECT_EQ(host.calls[86], "destroyMutex #28");
    EXPECT_EQ(host.calls[87], "release null");
}

TEST_F(LogFilterStoreDestroy, UsesTheHandlesThatAreStoredNow) {
    InitStore();
    g_dxrLogFilterMutex[2] = TestHost::MutexHandle(20);
    Forget();
    DXR_DestroyLogFilter();
    EXPECT_EQ(host.calls[6], "lock #20");
    EXPECT_EQ(host.calls[7], "unlock #20");
    EXPECT_EQ(host.calls[8], "destroyMutex #20");
}

TEST_F(LogFilterStoreDestroy, DoesNotLookAtTheMutexResults) {
    InitStore();
    EXPECT_EQ(Decide(Site(1), "a"), 0);
    host.lockResult = 1;
    host.unlockResult = 1;
    host.destroyMutexResult = 1;
    Forget();
    DXR_DestroyLogFilter();
    EXPECT_THAT(host.calls, SizeIs(3 * kLogTypes + 3));
    EXPECT_EQ(host.LiveBlocks(), 0U);
}

TEST_F(LogFilterStoreDestroy, SwitchAndModuleOutliveTheStore) {
    InitStore(55);
    DXR_EnableLogFilter(3);
    DXR_DestroyLogFilter();
    EXPECT_EQ(g_dxrLogFilterMid, 55U);
    EXPECT_EQ(DXR_IsLogFilterEnable(), 3);

    EXPECT_EQ(DXR_InitLogFilter(56), 0U);
    EXPECT_EQ(g_dxrLogFilterMid, 56U);
    EXPECT_EQ(DXR_IsLogFilterEnable(), 3);
}

TEST_F(LogFilterStoreDestroy, InitAfterwardsStartsAfreshWithNewMutexes) {
    InitStore();
    EXPECT_EQ(Decide(Site(6), "line"), 0);
    EXPECT_EQ(Decide(Site(6), "line"), 1);
    DXR_DestroyLogFilter();
    EXPECT_EQ(Decide(Site(6), "line"), 0);
    EXPECT_EQ(Decide(Site(6), "line"), 0);
    EXPECT_EQ(DXR_InitLogFilter(9), 0U);
    EXPECT_THAT(host.mutexAddresses, SizeIs(2 * kLogTypes));
    EXPECT_EQ(g_dxrLogFilterMutex[0], TestHost::MutexHandle(29));
    EXPECT_EQ(LookAt(6), (Ring{0, 0, 0, nullptr}));
    EXPECT_EQ(Decide(Site(6), "line"), 0);
    EXPECT_EQ(Decide(Site(6), "line"), 1);
}

// HOST-12
TEST_F(LogFilterStoreDestroy, WithoutAReleaseHookForgetsTheStore) {
    InitStore();
    EXPECT_EQ(Decide(Site(6), "line"), 0);
    g_dxrHooks.memory.release = nullptr;
    DXR_DestroyLogFilter();
    EXPECT_EQ(g_dxrLogFilterInfo, nullptr);
    host.KeepLeaks();
}

// --- hash

uint32_t SimpleHash(std::string_view text, uint32_t before = 0xDEADBEEFU) {
    const DxrLogFilterHashInput input{text.data(), static_cast<uint32_t>(text.size())};
    uint32_t hash = before;
    EXPECT_EQ(DXR_SimpleHash(&input, &hash), 0U);
    return hash;
}

TEST_F(LogFilterStoreHash, MultipliesByThirtyOne) {
    EXPECT_EQ(SimpleHash("a"), 97U);
    EXPECT_EQ(SimpleHash("ab"), 3105U);
    EXPECT_EQ(SimpleHash("abc"), 96354U);
    EXPECT_EQ(SimpleHash("hello"), 99162322U);
}

TEST_F(LogFilterStoreHash, BytesAreUnsigned) {
    EXPECT_EQ(SimpleHash("\x7f"), 127U);
    EXPECT_EQ(SimpleHash("\x80"), 128U);
    EXPECT_EQ(SimpleHash("\xff"), 255U);
    EXPECT_EQ(SimpleHash("\x80\x01"), 3969U);
    EXPECT_EQ(SimpleHash("\x01\xff"), 286U);
}

TEST_F(LogFilterStoreHash, WrapsAtThirtyTwoBits) {
    EXPECT_EQ(SimpleHash("polygenelubricants"), 0x80000000U);
    EXPECT_EQ(SimpleHash(std::string(64, '\xff')), HashOf(std::string(64, '\xff')));
    EXPECT_EQ(SimpleHash(std::string(70000, 'z')), HashOf(std::string(70000, 'z')));
}

TEST_F(LogFilterStoreHash, ZeroBytesCountLikeOthers) {
    EXPECT_EQ(SimpleHash(std::string_view("\0", 1)), 0U);
    EXPECT_EQ(SimpleHash(std::string_view("\0\0\0", 3)), 0U);
    EXPECT_EQ(SimpleHash(std::string_view("a\0", 2)), 3007U);
    EXPECT_EQ(SimpleHash(std::string_view("\0a", 2)), 97U);
    EXPECT_EQ(SimpleHash(std::string_view("a\0b", 3)), 97U * 961 + 98);
}

TEST_F(LogFilterStoreHash, AllShortLengthsAgreeWithThePolynomial) {
    std::string text;
    for (uint32_t i = 0; i < 1100; ++i) {
        text.push_back(static_cast<char>(i * 37 + i / 7));
        ASSERT_EQ(SimpleHash(text), HashOf(text)) << "length " << text.size();
    }
}

TEST_F(LogFilterStoreHash, ReadsExactlyTheLengthOfAnUnterminatedText) {
    for (const size_t size : {1U, 2U, 7U, 8U, 15U, 16U, 17U, 31U, 33U, 100U}) {
        // Freshly allocated, so that a sanitizer sees the first byte behind it.
        const std::unique_ptr<char[]> text(new char[size]);
        std::memset(text.get(), 'q', size);
        EXPECT_EQ(SimpleHash({text.get(), size}), HashOf(std::string(size, 'q')));
    }
    EXPECT_EQ(SimpleHash(std::string_view("abc").substr(0, 2)), 3105U);
}

TEST_F(LogFilterStoreHash, BadInputFailsAndLeavesTheOutputAlone) {
    uint32_t hash = 4711;
    const DxrLogFilterHashInput noText{nullptr, 5};
    EXPECT_EQ(DXR_SimpleHash(&noText, &hash), 1U);
    EXPECT_EQ(hash, 4711U);
    const DxrLogFilterHashInput empty{"abc", 0};
    EXPECT_EQ(DXR_SimpleHash(&empty, &hash), 1U);
    EXPECT_EQ(hash, 4711U);
    const DxrLogFilterHashInput nothing{nullptr, 0};
    EXPECT_EQ(DXR_SimpleHash(&nothing, &hash), 1U);
    EXPECT_EQ(hash, 4711U);
    EXPECT_THAT(host.calls, IsEmpty());
}

struct HashProbe {
    static inline DxrLogFilterHashInput input;
    static inline uint32_t before;
    static inline uint32_t calls;
    static inline uint32_t result;
    static inline uint32_t output;
    static inline bool writes;

    static void Use(uint32_t resultToGive, uint32_t outputToWrite, bool write = true) {
        calls = 0;
        result = resultToGive;
        output = outputToWrite;
        writes = write;
        g_dxrLogFilterHashFuncList[0].func = Hash;
    }
    static uint32_t Hash(const DxrLogFilterHashInput *in, uint32_t *out) {
        ++calls;
        input = *in;
        before = *out;
        if (writes) {
            *out = output;
        }
        return result;
    }
};

TEST_F(LogFilterStoreHash, CodeComesFromTheRowsFunction) {
    EXPECT_EQ(DXR_GetHashCode(0, "ab", 2), 3105U);
    static const char kText[] = "text";
    HashProbe::Use(0, 42);
    EXPECT_EQ(DXR_GetHashCode(0, kText, 3), 42U);
    EXPECT_EQ(HashProbe::calls, 1U);
    EXPECT_EQ(HashProbe::input.text, kText);
    EXPECT_EQ(HashProbe::input.length, 3U);
    EXPECT_EQ(HashProbe::before, 0U);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(LogFilterStoreHash, FunctionThatWritesNothingGivesZero) {
    HashProbe::Use(0, 42, false);
    EXPECT_EQ(DXR_GetHashCode(0, "text", 4), 0U);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(LogFilterStoreHash, UnknownFunctionIsReported) {
    HashProbe::Use(0, 42);
    EXPECT_EQ(DXR_GetHashCode(1, "text", 4), 0U);
    EXPECT_EQ(DXR_GetHashCode(UINT32_MAX, "text", 4), 0U);
    EXPECT_EQ(HashProbe::calls, 0U);
    EXPECT_THAT(host.calls,
                ElementsAre("print 1 get hash code funcId error, hashFuncId[1].",
                            "print 1 get hash code funcId error, hashFuncId[4294967295]."));
    EXPECT_EQ(host.printed.at(0).format, "get hash code funcId error, hashFuncId[%u].");
}

TEST_F(LogFilterStoreHash, IdOfTheRowIsTheOnlyOneKnown) {
    g_dxrLogFilterHashFuncList[0].hashFuncId = 5;
    EXPECT_EQ(DXR_GetHashCode(5, "ab", 2), 3105U);
    EXPECT_EQ(DXR_GetHashCode(0, "ab", 2), 0U);
    EXPECT_THAT(host.calls, ElementsAre("print 1 get hash code funcId error, hashFuncId[0]."));
}

TEST_F(LogFilterStoreHash, OutputOfAFailedFunctionDoesNotCount) {
    HashProbe::Use(0x1f, 42);
    EXPECT_EQ(DXR_GetHashCode(0, "text", 3), 0U);
    EXPECT_THAT(host.calls,
                ElementsAre("print 1 get hash code error, hashFuncId[0] strLen[3] ret[0x1f]"));
    EXPECT_EQ(host.printed.at(0).format, "get hash code error, hashFuncId[%u] strLen[%u] ret[%#x]");
    Forget();
    g_dxrLogFilterHashFuncList[0].hashFuncId = 6;
    HashProbe::Use(UINT32_MAX, 43);
    EXPECT_EQ(DXR_GetHashCode(6, "text", UINT32_MAX), 0U);
    EXPECT_THAT(
        host.calls,
        ElementsAre(
            "print 1 get hash code error, hashFuncId[6] strLen[4294967295] ret[0xffffffff]"));
}

TEST_F(LogFilterStoreHash, EmptyTextIsReported) {
    EXPECT_EQ(DXR_GetHashCode(0, "text", 0), 0U);
    EXPECT_EQ(DXR_GetHashCode(0, nullptr, 7), 0U);
    EXPECT_THAT(host.calls,
                ElementsAre("print 1 get hash code error, hashFuncId[0] strLen[0] ret[0x1]",
                            "print 1 get hash code error, hashFuncId[0] strLen[7] ret[0x1]"));
}

TEST_F(LogFilterStoreHash, ErrorsAreDroppedWithoutPrintHook) {
    g_dxrHooks.print.print = nullptr;
    EXPECT_EQ(DXR_GetHashCode(1, "text", 4), 0U);
    EXPECT_EQ(DXR_GetHashCode(0, "text", 0), 0U);
    EXPECT_THAT(host.calls, IsEmpty());
}

// --- capacity

TEST_F(LogFilterStoreCapacity, GrowsWhenOneFreeSlotIsLeft) {
    struct Case {
        uint32_t capacity;
        uint32_t curSize;
        uint32_t grown;
    };
    const Case cases[] = {
        {1, 0, 3},          {1, 1, 3},          {2, 0, 2},          {2, 1, 5},
        {2, 2, 5},          {3, 0, 3},          {3, 1, 3},          {3, 2, 7},
        {3, 3, 7},          {7, 5, 7},          {7, 6, 15},         {7, 7, 15},
        {15, 13, 15},       {15, 14, 31},       {31, 29, 31},       {31, 30, 63},
        {63, 61, 63},       {63, 62, 127},      {127, 125, 127},    {127, 126, 255},
        {255, 253, 255},    {255, 254, 511},    {511, 509, 511},    {511, 510, 1023},
        {1023, 1021, 1023}, {1023, 1022, 2047}, {1023, 1023, 2047}, {1024, 1022, 1024},
        {1024, 1023, 2049}, {1024, 1024, 2049}, {1025, 1024, 1025}, {1025, 1025, 1025},
        {2047, 2046, 2047}, {2047, 2047, 2047},
    };
    for (const Case &it : cases) {
        OwnRecord own;
        Fill(own.Get(), it.capacity, 0, it.curSize, 5);
        Forget();
        DXR_UpdateLogFilterCapacity(own.Get());
        EXPECT_EQ(own.Get()->capacity, it.grown) << it.capacity << " with " << it.curSize;
        EXPECT_EQ(own.Get()->curSize, it.curSize);
        if (it.grown == it.capacity) {
            EXPECT_THAT(host.calls, IsEmpty());
        } else {
            EXPECT_THAT(host.allocations, SizeIs(1));
            EXPECT_EQ(host.allocations.at(0).size, it.grown * 64);
            EXPECT_EQ(Hashes(*own.Get()).at(it.curSize), 0U);
        }
    }
}

TEST_F(LogFilterStoreCapacity, FirstGrowthGivesOneEntry) {
    OwnRecord own;
    DXR_UpdateLogFilterCapacity(own.Get());
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=9 size=64"));
    EXPECT_EQ(own.Get()->capacity, 1U);
    EXPECT_NE(Look(*own.Get()).entries, nullptr);
}

TEST_F(LogFilterStoreCapacity, RunsFromOneToTwoThousandFortySeven) {
    OwnRecord own;
    std::vector<uint32_t> series;
    std::vector<uint32_t> sizesBefore;
    for (uint32_t n = 1; n <= 2100; ++n) {
        const uint32_t before = own.Get()->curSize;
        DXR_AddLogFilterInfo(own.Get(), n, 0);
        if (series.empty() || series.back() != own.Get()->capacity) {
            series.push_back(own.Get()->capacity);
            sizesBefore.push_back(before);
        }
    }
    EXPECT_THAT(series, ElementsAre(1, 3, 7, 15, 31, 63, 127, 255, 511, 1023, 2047));
    EXPECT_THAT(sizesBefore, ElementsAre(0, 1, 2, 6, 14, 30, 62, 126, 254, 510, 1022));
    EXPECT_THAT(host.allocations, SizeIs(11));
    EXPECT_EQ(host.LiveBlocks(), 1U);
}

TEST_F(LogFilterStoreCapacity, SumOfACallersSizeWraps) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 0, 0);
    own.Get()->curSize = UINT32_MAX;
    DXR_UpdateLogFilterCapacity(own.Get());
    EXPECT_EQ(own.Get()->capacity, 3U);
}

// --- resize

TEST_F(LogFilterStoreResize, AllocatesZeroedStorageForTheFiltersModule) {
    g_dxrLogFilterMid = 321;
    OwnRecord own;
    own.Get()->curIndex = 17;
    own.Get()->curSize = 4;
    DXR_ResizeLogFilterInfo(own.Get(), 5);
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=321 size=320"));
    EXPECT_THAT(host.allocations, ElementsAre(ComesFromThePrintSources()));
    EXPECT_EQ(Look(*own.Get()),
              (Ring{17, 4, 5, static_cast<DxrLogFilterEntry *>(host.allocations.at(0).block)}));
    for (uint32_t i = 0; i < 5; ++i) {
        EXPECT_EQ(Bytes(own.Get()->entries[i]), std::string(64, '\0'));
    }
}

TEST_F(LogFilterStoreResize, CopiesSlotForSlotThenReleasesTheOldStorage) {
    OwnRecord own;
    Fill(own.Get(), 3, 2, 3, 100, 11);
    const std::string before(reinterpret_cast<const char *>(own.Get()->entries), 3 * 64);
    const void *old = own.Get()->entries;
    Forget();
    DXR_ResizeLogFilterInfo(own.Get(), 6);
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=9 size=384", "release #0"));
    EXPECT_EQ(host.releases.at(0).block, old);
    EXPECT_THAT(host.releases, ElementsAre(ComesFromThePrintSources()));
    EXPECT_EQ(Look(*own.Get()),
              (Ring{2, 3, 6, static_cast<DxrLogFilterEntry *>(host.allocations.at(0).block)}));
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(own.Get()->entries), 6 * 64),
              before + std::string(3 * 64, '\0'));
}

TEST_F(LogFilterStoreResize, GrowthOfAWrappedRingKeepsPositions) {
    OwnRecord own;
    Fill(own.Get(), 3, 1, 3, 100, 11);  // live from the oldest: 11 at 1, 12 at 2, 13 at 0
    DXR_AddLogFilterInfo(own.Get(), 99, 0);
    EXPECT_EQ(own.Get()->capacity, 7U);
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(13, 11, 12, 0, 99, 0, 0));
    EXPECT_EQ(own.Get()->curIndex, 1U);
    EXPECT_EQ(own.Get()->curSize, 4U);
    // Live now: positions 1 to 4. The entry before the oldest is lost, a zero entry is among them.
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 13), 7U);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 0), 3U);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 99), 4U);
}

TEST_F(LogFilterStoreResize, ZeroEntriesOfAWrappedRingAgeOut) {
    OwnRecord own;
    Fill(own.Get(), 3, 1, 3, 1000000 - 3600, 11);
    DXR_AddLogFilterInfo(own.Get(), 99, 0);
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curIndex, 4U);
    EXPECT_EQ(own.Get()->curSize, 1U);
}

TEST_F(LogFilterStoreResize, SmallerKeepsTheFirstSlotsAndTheCounters) {
    OwnRecord own;
    Fill(own.Get(), 7, 5, 4, 100, 11);  // 11 at 5, 12 at 6, 13 at 0, 14 at 1
    Forget();
    DXR_ResizeLogFilterInfo(own.Get(), 2);
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=9 size=128", "release #0"));
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(13, 14));
    EXPECT_EQ(own.Get()->curIndex, 5U);
    EXPECT_EQ(own.Get()->curSize, 4U);
    // Positions count modulo the new capacity: 5 is position 1.
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 14), 1U);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 13), 0U);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 11), 2U);
}

TEST_F(LogFilterStoreResize, SmallerRingOfTheStoreFindsWhatItKept) {
    InitStore();
    for (const char *line : {"a", "b", "c", "d", "e"}) {
        EXPECT_EQ(Decide(Site(3), line), 0);
    }
    DXR_ResizeLogFilterInfo(DXR_GetLogFilter(3), 2);
    EXPECT_EQ(Decide(Site(3), "a"), 1);
    EXPECT_EQ(Decide(Site(3), "b"), 1);
    EXPECT_EQ(Decide(Site(3), "c"), 0);
}

TEST_F(LogFilterStoreResize, SameCapacityMovesTheStorage) {
    OwnRecord own;
    Fill(own.Get(), 3, 2, 3, 100, 11);
    const void *old = own.Get()->entries;
    DXR_ResizeLogFilterInfo(own.Get(), 3);
    EXPECT_NE(Look(*own.Get()).entries, old);
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(12, 13, 11));
    EXPECT_EQ(host.LiveBlocks(), 1U);
}

TEST_F(LogFilterStoreResize, FailedAllocationLeavesTheRecord) {
    OwnRecord own;
    Fill(own.Get(), 3, 2, 3, 100, 11);
    const Ring before = Look(*own.Get());
    Forget();
    host.FailAllocation(1);
    DXR_ResizeLogFilterInfo(own.Get(), 7);
    EXPECT_THAT(host.calls,
                ElementsAre("allocate mid=9 size=448",
                            "print 1 log filter capacity malloc error, newLogInfoCapacity[7]."));
    EXPECT_EQ(host.printed.at(0).format,
              "log filter capacity malloc error, newLogInfoCapacity[%u].");
    EXPECT_EQ(Look(*own.Get()), before);
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(12, 13, 11));
}

TEST_F(LogFilterStoreResize, ToNothingFails) {
    OwnRecord own;
    Fill(own.Get(), 3, 2, 3, 100, 11);
    const Ring before = Look(*own.Get());
    Forget();
    DXR_ResizeLogFilterInfo(own.Get(), 0);
    EXPECT_THAT(host.calls,
                ElementsAre("print 1 log filter capacity malloc error, newLogInfoCapacity[0]."));
    EXPECT_EQ(Look(*own.Get()), before);
}

TEST_F(LogFilterStoreResize, SizeBeyondThirtyTwoBitsIsAFailedAllocation) {
    OwnRecord own;
    Fill(own.Get(), 3, 2, 3, 100, 11);
    const Ring before = Look(*own.Get());
    for (const uint32_t capacity :
         {0x04000000U, 0x04000001U, 0x08000003U, 0x80000001U, UINT32_MAX}) {
        Forget();
        DXR_ResizeLogFilterInfo(own.Get(), capacity);
        EXPECT_THAT(host.calls,
                    ElementsAre("print 1 log filter capacity malloc error, newLogInfoCapacity[" +
                                std::to_string(capacity) + "]."));
        EXPECT_EQ(Look(*own.Get()), before);
    }
}

TEST_F(LogFilterStoreResize, LargestSizeThatFitsIsAskedFor) {
    OwnRecord own;
    host.FailAllocation(1);
    DXR_ResizeLogFilterInfo(own.Get(), 0x03FFFFFFU);
    EXPECT_THAT(
        host.calls,
        ElementsAre("allocate mid=9 size=4294967232",
                    "print 1 log filter capacity malloc error, newLogInfoCapacity[67108863]."));
}

TEST_F(LogFilterStoreResize, RecordWithoutStorageGetsZeroes) {
    OwnRecord own;
    own.Get()->capacity = 5;  // claimed, with nothing behind it
    DXR_ResizeLogFilterInfo(own.Get(), 2);
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=9 size=128"));
    EXPECT_EQ(own.Get()->capacity, 2U);
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(0, 0));
}

// A block such as the library would have got for that many entries.
DxrLogFilterEntry *HostStorage(uint32_t entries) {
    return static_cast<DxrLogFilterEntry *>(DXR_Malloc(9, entries * 64, __FILE__, __LINE__));
}

TEST_F(LogFilterStoreResize, StorageOfACapacityOfZeroIsReleasedUncopied) {
    OwnRecord own;
    own.Get()->entries = HostStorage(1);
    Forget();
    DXR_ResizeLogFilterInfo(own.Get(), 2);
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=9 size=128", "release #0"));
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(0, 0));
}

alignas(16) unsigned char g_overlapArena[16 * 64];

TEST_F(LogFilterStoreResize, CopyThatFailsIsReportedAsInformation) {
    OwnRecord own;
    // A host that hands out the same memory twice makes the bounded copy refuse.
    g_dxrHooks.memory.allocate = [](uint32_t, uint32_t, const char *, uint32_t) -> void * {
        return g_overlapArena;
    };
    g_dxrHooks.memory.release = [](void *, const char *, uint32_t) {};
    DXR_ResizeLogFilterInfo(own.Get(), 3);
    DXR_ResizeLogFilterInfo(own.Get(), 7);
    EXPECT_THAT(host.calls,
                ElementsAre("print 6 log filter capacity memcpy error, newLogInfoCapacity[7]."));
    EXPECT_EQ(host.printed.at(0).format,
              "log filter capacity memcpy error, newLogInfoCapacity[%u].");
    EXPECT_EQ(own.Get()->capacity, 7U);
    EXPECT_EQ(static_cast<void *>(own.Get()->entries), g_overlapArena);
    g_dxrHooks.print = {};
    DXR_ResizeLogFilterInfo(own.Get(), 15);
    EXPECT_EQ(own.Get()->capacity, 15U);
    own.Get()->entries = nullptr;
}

// --- ageing

TEST_F(LogFilterStoreAgeing, HourAfterItsCreationAnEntryGoes) {
    OwnRecord own;
    Fill(own.Get(), 3, 1, 1, 1000);
    own.Get()->entries[1].lastSec = 999999;  // of no account
    host.nowSec = 4599;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curSize, 1U);
    EXPECT_EQ(own.Get()->entries[1].state, 1);

    const DxrLogFilterEntry before = own.Get()->entries[1];
    host.nowSec = 4600;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curSize, 0U);
    EXPECT_EQ(own.Get()->entries[1].state, 0);
    ExpectUnchangedBut(before, own.Get()->entries[1], 20, 1);
}

TEST_F(LogFilterStoreAgeing, ReadsTheClockOnce) {
    OwnRecord own;
    Fill(own.Get(), 7, 0, 5, 10);
    Forget();
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_THAT(host.calls, ElementsAre("currSec"));
    Forget();
    DXR_RemoveObsoleteLogFilterInfo(own.Get());  // empty now
    EXPECT_THAT(host.calls, ElementsAre("currSec"));
}

TEST_F(LogFilterStoreAgeing, StopsAtTheFirstYoungEntry) {
    OwnRecord own;
    Fill(own.Get(), 7, 5, 5, 0);  // positions 5, 6, 0, 1, 2
    const uint32_t begin[] = {100, 101, 5000, 102, 103};
    for (uint32_t i = 0; i < 5; ++i) {
        own.Get()->entries[(5 + i) % 7].beginSec = begin[i];
    }
    host.nowSec = 5000;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curIndex, 0U);
    EXPECT_EQ(own.Get()->curSize, 3U);
    std::vector<int> states;
    for (uint32_t i = 0; i < 7; ++i) {
        states.push_back(own.Get()->entries[i].state);
    }
    EXPECT_THAT(states, ElementsAre(1, 1, 1, 0, 0, 0, 0));
}

TEST_F(LogFilterStoreAgeing, LeavesTheIndexOnTheLastOneRemovedWhenAllAge) {
    OwnRecord own;
    Fill(own.Get(), 7, 5, 4, 100);  // 5, 6, 0, 1
    host.nowSec = 3700;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curIndex, 1U);
    EXPECT_EQ(own.Get()->curSize, 0U);
    // The next entry goes over that one.
    DXR_AddLogFilterInfo(own.Get(), 77, 0);
    EXPECT_EQ(own.Get()->entries[1].logHashCode, 77U);
    EXPECT_EQ(own.Get()->curIndex, 1U);
    EXPECT_EQ(own.Get()->curSize, 1U);
}

TEST_F(LogFilterStoreAgeing, EmptyRingStartsAtZeroAgain) {
    OwnRecord own;
    Fill(own.Get(), 7, 5, 0, 0);
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curIndex, 0U);
    EXPECT_EQ(own.Get()->curSize, 0U);
    EXPECT_EQ(own.Get()->capacity, 7U);
}

TEST_F(LogFilterStoreAgeing, NoneAgedLeavesTheIndexModuloTheCapacity) {
    OwnRecord own;
    Fill(own.Get(), 7, 5, 3, 1000000);
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curIndex, 5U);
    EXPECT_EQ(own.Get()->curSize, 3U);
    own.Get()->curIndex = 12;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curIndex, 5U);
    EXPECT_EQ(own.Get()->curSize, 3U);
}

TEST_F(LogFilterStoreAgeing, SumOfSecondsWraps) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 1, UINT32_MAX - 99);  // the sum is 3500
    host.nowSec = 3499;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curSize, 1U);
    host.nowSec = UINT32_MAX - 98;  // a second old, but beyond the wrapped sum
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curSize, 0U);
}

TEST_F(LogFilterStoreAgeing, WrappedSumReachedByTheClock) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 1, UINT32_MAX - 99);
    host.nowSec = 3500;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curSize, 0U);
}

TEST_F(LogFilterStoreAgeing, ClockSetBackKeepsEntries) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 2, 100000);
    host.nowSec = 5;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curSize, 2U);
}

// HOST-15
TEST_F(LogFilterStoreAgeing, SecondsOfZeroAgeOnlyFromThreeThousandSixHundredOn) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 1, 0);
    for (const uint32_t now : {0U, 1U, 3599U}) {
        host.nowSec = now;
        DXR_RemoveObsoleteLogFilterInfo(own.Get());
        EXPECT_EQ(own.Get()->curSize, 1U);
    }
    host.nowSec = 3600;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curSize, 0U);
}

TEST_F(LogFilterStoreAgeing, AgesEveryEntryOfAFullRing) {
    OwnRecord own;
    Fill(own.Get(), 2047, 2000, 2047, 100);
    host.nowSec = 3700;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->curSize, 0U);
    EXPECT_EQ(own.Get()->curIndex, 1999U);
    for (uint32_t i = 0; i < 2047; ++i) {
        ASSERT_EQ(own.Get()->entries[i].state, 0);
    }
}

TEST_F(LogFilterStoreAgeing, RecordThatClaimsEntriesWithoutStorageEnds) {
    OwnRecord own;
    own.Get()->curSize = 3;
    own.Get()->curIndex = 2;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(own.Get()->capacity, 0U);
    EXPECT_EQ(Look(*own.Get()).entries, nullptr);
}

TEST_F(LogFilterStoreAgeing, RecordThatClaimsEntriesOfACapacityOfZeroEnds) {
    OwnRecord own;
    own.Get()->entries = HostStorage(1);
    own.Get()->curSize = 3;
    DXR_RemoveObsoleteLogFilterInfo(own.Get());
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 1), 0U);
    EXPECT_EQ(own.Get()->capacity, 0U);
}

// --- adding

TEST_F(LogFilterStoreAdd, FillsTheEntry) {
    OwnRecord own;
    host.nowSec = 123456;
    DXR_AddLogFilterInfo(own.Get(), 0xCAFE0001U, 0xBEEF0002U);
    EXPECT_THAT(host.calls, ElementsAre("allocate mid=9 size=64", "currTime size=39"));
    ASSERT_EQ(own.Get()->capacity, 1U);
    const DxrLogFilterEntry &entry = own.Get()->entries[0];
    EXPECT_EQ(entry.logHashCode, 0xCAFE0001U);
    EXPECT_EQ(entry.beginSec, 123456U);
    EXPECT_EQ(entry.lastSec, 123456U);
    EXPECT_EQ(entry.logCnt, 0U);
    EXPECT_EQ(entry.key1, 0xBEEF0002U);
    EXPECT_EQ(entry.state, 1);
    EXPECT_STREQ(entry.logBeginTime, "T123456");
    EXPECT_EQ(own.Get()->curIndex, 0U);
    EXPECT_EQ(own.Get()->curSize, 1U);
}

TEST_F(LogFilterStoreAdd, SecondsComeFromTheTimeOfTheText) {
    OwnRecord own;
    g_dxrHooks.time.getCurrTime = [](char *text, uint32_t size, uint32_t *sec) {
        std::strncpy(text, "2024-03-15", size);
        *sec = 42;
    };
    host.nowSec = 99;
    DXR_AddLogFilterInfo(own.Get(), 1, 2);
    EXPECT_EQ(own.Get()->entries[0].beginSec, 42U);
    EXPECT_EQ(own.Get()->entries[0].lastSec, 42U);
    EXPECT_STREQ(own.Get()->entries[0].logBeginTime, "2024-03-15");
}

struct TimeProbe {
    static inline std::string text;
    static inline uint32_t size;
    static inline uint32_t before;

    static void GetCurrTime(char *buffer, uint32_t bufferSize, uint32_t *sec) {
        text.assign(buffer, bufferSize);
        size = bufferSize;
        before = *sec;
    }
};

// HOST-7
TEST_F(LogFilterStoreAdd, TimeHookSeesTheOldTextAndZeroSeconds) {
    OwnRecord own;
    Fill(own.Get(), 7, 3, 0, 0);
    std::memset(&own.Get()->entries[3], 'x', sizeof(DxrLogFilterEntry));
    g_dxrHooks.time.getCurrTime = TimeProbe::GetCurrTime;
    DXR_AddLogFilterInfo(own.Get(), 1, 2);
    EXPECT_EQ(TimeProbe::text, std::string(39, 'x'));
    EXPECT_EQ(TimeProbe::size, 39U);
    EXPECT_EQ(TimeProbe::before, 0U);
    // The hook wrote nothing: seconds 0, and the old text stands.
    EXPECT_EQ(own.Get()->entries[3].beginSec, 0U);
    EXPECT_EQ(own.Get()->entries[3].lastSec, 0U);
    EXPECT_EQ(std::string(own.Get()->entries[3].logBeginTime, 43), std::string(43, 'x'));
}

// HOST-15
TEST_F(LogFilterStoreAdd, WithoutTimeHookTheSecondsAreZero) {
    OwnRecord own;
    g_dxrHooks.time = {};
    DXR_AddLogFilterInfo(own.Get(), 5, 6);
    EXPECT_EQ(own.Get()->entries[0].beginSec, 0U);
    EXPECT_EQ(own.Get()->entries[0].lastSec, 0U);
    EXPECT_EQ(own.Get()->entries[0].state, 1);
    EXPECT_STREQ(own.Get()->entries[0].logBeginTime, "");
}

TEST_F(LogFilterStoreAdd, OldTextIsNotClearedBehindTheNewOne) {
    OwnRecord own;
    Fill(own.Get(), 7, 0, 0, 0);
    std::memset(&own.Get()->entries[0], 'x', sizeof(DxrLogFilterEntry));
    host.nowSec = 12;
    DXR_AddLogFilterInfo(own.Get(), 1, 2);
    EXPECT_EQ(std::string(own.Get()->entries[0].logBeginTime, 43),
              std::string("T12\0", 4) + std::string(39, 'x'));
    EXPECT_EQ(own.Get()->entries[0].logCnt, 0U);
    EXPECT_EQ(own.Get()->entries[0].state, 1);
}

TEST_F(LogFilterStoreAdd, PositionFollowsTheNewestModuloTheCapacity) {
    OwnRecord own;
    Fill(own.Get(), 7, 5, 4, 0, 11);  // 5, 6, 0, 1
    DXR_AddLogFilterInfo(own.Get(), 99, 0);
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(13, 14, 99, 0, 0, 11, 12));
    EXPECT_EQ(own.Get()->curIndex, 5U);
    EXPECT_EQ(own.Get()->curSize, 5U);
}

TEST_F(LogFilterStoreAdd, FullLargestRingOverwritesTheOldest) {
    OwnRecord own;
    Fill(own.Get(), 2047, 0, 2047, 0, 1000);
    Forget();
    DXR_AddLogFilterInfo(own.Get(), 1, 0);
    EXPECT_EQ(own.Get()->entries[0].logHashCode, 1U);
    EXPECT_EQ(own.Get()->curIndex, 1U);
    EXPECT_EQ(own.Get()->curSize, 2047U);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 1000), 2047U);
    DXR_AddLogFilterInfo(own.Get(), 2, 0);
    EXPECT_EQ(own.Get()->entries[1].logHashCode, 2U);
    EXPECT_EQ(own.Get()->curIndex, 2U);
    EXPECT_THAT(host.allocations, IsEmpty());

    own.Get()->curIndex = 2046;
    DXR_AddLogFilterInfo(own.Get(), 3, 0);
    EXPECT_EQ(own.Get()->entries[2046].logHashCode, 3U);
    EXPECT_EQ(own.Get()->curIndex, 0U);
    EXPECT_EQ(own.Get()->curSize, 2047U);
}

TEST_F(LogFilterStoreAdd, LargestRingFillsItsLastSlot) {
    OwnRecord own;
    Fill(own.Get(), 2047, 0, 2046, 0, 1000);
    Forget();
    DXR_AddLogFilterInfo(own.Get(), 1, 0);
    EXPECT_EQ(own.Get()->entries[2046].logHashCode, 1U);
    EXPECT_EQ(own.Get()->curIndex, 0U);
    EXPECT_EQ(own.Get()->curSize, 2047U);
    EXPECT_THAT(host.allocations, IsEmpty());
}

TEST_F(LogFilterStoreAdd, FailedGrowthStillWritesTheEntry) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 2, 0, 11);
    host.FailAllocationsFrom(1);
    Forget();
    DXR_AddLogFilterInfo(own.Get(), 13, 0);
    EXPECT_THAT(host.calls,
                ElementsAre("allocate mid=9 size=448",
                            "print 1 log filter capacity malloc error, newLogInfoCapacity[7].",
                            "currTime size=39"));
    EXPECT_EQ(Look(*own.Get()), (Ring{0, 3, 3, own.Get()->entries}));
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(11, 12, 13));

    DXR_AddLogFilterInfo(own.Get(), 14, 0);  // full: over the oldest
    EXPECT_EQ(Look(*own.Get()), (Ring{1, 3, 3, own.Get()->entries}));
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(14, 12, 13));

    host.StopFailingAllocations();
    DXR_AddLogFilterInfo(own.Get(), 15, 0);
    EXPECT_EQ(Look(*own.Get()), (Ring{1, 4, 7, own.Get()->entries}));
    EXPECT_THAT(Hashes(*own.Get()), ElementsAre(14, 12, 13, 0, 15, 0, 0));
}

TEST_F(LogFilterStoreAdd, FailedGrowthOfOneEntryReplacesIt) {
    OwnRecord own;
    DXR_AddLogFilterInfo(own.Get(), 1, 0);
    host.FailAllocationsFrom(1);
    DXR_AddLogFilterInfo(own.Get(), 2, 0);
    EXPECT_EQ(Look(*own.Get()), (Ring{0, 1, 1, own.Get()->entries}));
    EXPECT_EQ(own.Get()->entries[0].logHashCode, 2U);
}

TEST_F(LogFilterStoreAdd, WithoutAnyStorageNothingIsStored) {
    OwnRecord own;
    host.FailAllocationsFrom(1);
    DXR_AddLogFilterInfo(own.Get(), 1, 0);
    DXR_AddLogFilterInfo(own.Get(), 1, 0);
    EXPECT_EQ(Look(*own.Get()), (Ring{0, 0, 0, nullptr}));
    EXPECT_THAT(host.printed,
                Each(IsPrinted(1, "log filter capacity malloc error, newLogInfoCapacity[1].")));
    EXPECT_THAT(host.printed, SizeIs(2));
    host.StopFailingAllocations();
    DXR_AddLogFilterInfo(own.Get(), 1, 0);
    EXPECT_EQ(own.Get()->curSize, 1U);
}

TEST_F(LogFilterStoreAdd, ClearedRingOfOneGrowsToThree) {
    InitStore();
    EXPECT_EQ(Decide(Site(2), "a"), 0);
    EXPECT_EQ(LookAt(2).capacity, 1U);
    EXPECT_EQ(DXR_ClearLogFilterInfo(2), 0U);
    EXPECT_EQ(Decide(Site(2), "b"), 0);
    EXPECT_EQ(LookAt(2).capacity, 3U);
    EXPECT_EQ(LookAt(2).curSize, 1U);
}

// --- lookup

TEST_F(LogFilterStoreFind, FindsTheOldestOfEqualOnes) {
    OwnRecord own;
    Fill(own.Get(), 7, 4, 6, 0, 11);  // 4:11 5:12 6:13 0:14 1:15 2:16
    own.Get()->entries[5].logHashCode = 77;
    own.Get()->entries[0].logHashCode = 77;
    own.Get()->entries[2].logHashCode = 77;
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 77), 5U);
    own.Get()->entries[5].logHashCode = 1;
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 77), 0U);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 11), 4U);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 15), 1U);
}

TEST_F(LogFilterStoreFind, AbsentGivesTheCapacity) {
    OwnRecord own;
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 0), 0U);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 5), 0U);
    Fill(own.Get(), 7, 4, 6, 0, 11);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 17), 7U);
    own.Get()->entries[3].logHashCode = 17;  // the one position that is not live
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 17), 7U);
    own.Get()->curSize = 0;
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 11), 7U);
}

TEST_F(LogFilterStoreFind, DoesNotAskForTheState) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 2, 0, 11);
    own.Get()->entries[1].state = 0;
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 12), 1U);
}

TEST_F(LogFilterStoreFind, SeesEntriesTheHostOverwroteInPlace) {
    InitStore();
    for (const char *line : {"a", "b", "c"}) {
        EXPECT_EQ(Decide(Site(3), line), 0);
    }
    DxrLogFilterInfo *record = DXR_GetLogFilter(3);
    record->entries[1].logHashCode = 4711;
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(record, 4711), 1U);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(record, HashOf("b")), record->capacity);
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(record, HashOf("c")), 2U);
}

TEST_F(LogFilterStoreFind, DecisionSeesWhatTheRecordOperationsDid) {
    InitStore();
    const DxrLogFilterCfg site = Site(3);
    DxrLogFilterInfo *record = DXR_GetLogFilter(3);
    DXR_AddLogFilterInfo(record, HashOf("direct"), 0);
    EXPECT_EQ(Decide(site, "direct"), 1);
    EXPECT_EQ(record->entries[0].logCnt, 1U);
    DXR_AddLogFilterInfo(record, HashOf("direct"), 0);
    EXPECT_EQ(Decide(site, "direct"), 1);
    EXPECT_EQ(record->entries[0].logCnt, 2U);
    EXPECT_EQ(record->entries[1].logCnt, 0U);
    DXR_ResizeLogFilterInfo(record, 40);
    EXPECT_EQ(Decide(site, "direct"), 1);
    EXPECT_EQ(record->entries[0].logCnt, 3U);
    // Ageing by hand takes the older one, the decision then finds the younger.
    record->entries[0].beginSec = host.nowSec - 3600;
    DXR_RemoveObsoleteLogFilterInfo(record);
    EXPECT_EQ(Decide(site, "direct"), 1);
    EXPECT_EQ(record->entries[1].logCnt, 1U);
}

TEST_F(LogFilterStoreFind, EndsOnARecordThatClaimsEntriesWithoutStorage) {
    OwnRecord own;
    own.Get()->curSize = 3;
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 0), 0U);
    // As a destroyed store leaves its records.
    own.Get()->capacity = 7;
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own.Get(), 0), 7U);
}

// --- updates

TEST_F(LogFilterStoreUpdate, CountRisesByOne) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 3, 5);
    Forget();
    const DxrLogFilterEntry before = own.Get()->entries[2];
    DXR_UpdateLogFilterInfo(2, own.Get());
    EXPECT_EQ(own.Get()->entries[2].logCnt, 1U);
    ExpectUnchangedBut(before, own.Get()->entries[2], 12, 4);
    own.Get()->entries[2].logCnt = UINT32_MAX;
    DXR_UpdateLogFilterInfo(2, own.Get());
    EXPECT_EQ(own.Get()->entries[2].logCnt, 0U);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(LogFilterStoreUpdate, TimeIsThatOfTheClock) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 3, 5);
    Forget();
    const DxrLogFilterEntry before = own.Get()->entries[1];
    host.nowSec = 777;
    DXR_UpdateLogFilterTime(1, own.Get());
    EXPECT_EQ(own.Get()->entries[1].lastSec, 777U);
    ExpectUnchangedBut(before, own.Get()->entries[1], 8, 4);
    EXPECT_THAT(host.calls, ElementsAre("currSec"));
}

TEST_F(LogFilterStoreUpdate, EntriesThatAreNotLiveCanBeUpdated) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 0, 5);
    DXR_UpdateLogFilterInfo(2, own.Get());
    DXR_UpdateLogFilterTime(2, own.Get());
    EXPECT_EQ(own.Get()->entries[2].logCnt, 1U);
    EXPECT_EQ(own.Get()->entries[2].lastSec, 1000000U);
}

TEST_F(LogFilterStoreUpdate, PositionBeyondTheCapacityChangesNothing) {
    OwnRecord own;
    Fill(own.Get(), 3, 0, 3, 5);
    Forget();
    const std::string before(reinterpret_cast<const char *>(own.Get()->entries), 3 * 64);
    for (const uint32_t position : {3U, 4U, 0x80000000U, UINT32_MAX}) {
        DXR_UpdateLogFilterInfo(position, own.Get());
        DXR_UpdateLogFilterTime(position, own.Get());
    }
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(own.Get()->entries), 3 * 64), before);
    EXPECT_THAT(host.calls, IsEmpty());

    OwnRecord empty;
    DXR_UpdateLogFilterInfo(0, empty.Get());
    DXR_UpdateLogFilterTime(0, empty.Get());
    EXPECT_EQ(Look(*empty.Get()), (Ring{0, 0, 0, nullptr}));
}

TEST_F(LogFilterStoreUpdate, CapacityWithoutStorageIsNotWrittenTo) {
    OwnRecord own;
    own.Get()->capacity = 7;
    own.Get()->curSize = 3;
    DXR_UpdateLogFilterInfo(2, own.Get());
    DXR_UpdateLogFilterTime(2, own.Get());
    EXPECT_EQ(Look(*own.Get()), (Ring{0, 3, 7, nullptr}));
}

// --- decision

TEST_F(LogFilterDecision, FirstOccurrencePassesTheSecondIsCounted) {
    InitStore(31);
    const DxrLogFilterCfg site{7, 70, 71, 72, 73, 0};
    EXPECT_EQ(Decide(site, "line"), 0);
    EXPECT_THAT(host.calls, ElementsAre("lock #7", "currSec", "allocate mid=31 size=64",
                                        "currTime size=39", "unlock #7"));
    const DxrLogFilterEntry &entry = LookAt(7).entries[0];
    EXPECT_EQ(entry.logHashCode, HashOf("line"));
    EXPECT_EQ(entry.key1, 70U);
    EXPECT_EQ(entry.logCnt, 0U);
    EXPECT_EQ(entry.state, 1);
    Forget();
    EXPECT_EQ(Decide(site, "line"), 1);
    EXPECT_THAT(host.calls, ElementsAre("lock #7", "currSec", "unlock #7"));
    EXPECT_EQ(entry.logCnt, 1U);
    EXPECT_EQ(Decide(site, "line"), 1);
    EXPECT_EQ(entry.logCnt, 2U);
    EXPECT_EQ(entry.lastSec, entry.beginSec);
}

TEST_F(LogFilterDecision, TypesAreKeptApart) {
    InitStore();
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        Forget();
        EXPECT_EQ(Decide(Site(type), "line"), 0);
        EXPECT_EQ(host.calls.front(), "lock #" + std::to_string(type));
        EXPECT_EQ(host.calls.back(), "unlock #" + std::to_string(type));
        EXPECT_EQ(Decide(Site(type), "line"), 1);
        EXPECT_EQ(LookAt(type).curSize, 1U);
    }
}

TEST_F(LogFilterDecision, OnlyTypeAndTextTellSitesApart) {
    InitStore();
    EXPECT_EQ(Decide({7, 1, 2, 3, 4, 0}, "line"), 0);
    EXPECT_EQ(Decide({7, 5, 6, 7, 8, 0}, "line"), 1);
    EXPECT_EQ(LookAt(7).entries[0].key1, 1U);
}

TEST_F(LogFilterDecision, ExactlyTheGivenLengthCounts) {
    InitStore();
    const DxrLogFilterCfg site = Site(1);
    EXPECT_EQ(DXR_IsRepeatedLog(&site, "abXX", 2), 0);
    EXPECT_EQ(DXR_IsRepeatedLog(&site, "abYY", 2), 1);
    EXPECT_EQ(DXR_IsRepeatedLog(&site, "abYY", 3), 0);
    EXPECT_EQ(LookAt(1).entries[0].logHashCode, 3105U);
}

TEST_F(LogFilterDecision, EqualHashesAreOneLine) {
    InitStore();
    EXPECT_EQ(HashOf("Aa"), HashOf("BB"));
    EXPECT_EQ(Decide(Site(1), "Aa"), 0);
    EXPECT_EQ(Decide(Site(1), "BB"), 1);
}

TEST_F(LogFilterDecision, IntervalLetsALineThroughAgain) {
    InitStore();
    const DxrLogFilterCfg site = Site(2, 5);
    host.nowSec = 1000;
    EXPECT_EQ(Decide(site, "line"), 0);
    Forget();
    host.nowSec = 1004;
    EXPECT_EQ(Decide(site, "line"), 1);
    EXPECT_THAT(host.calls, ElementsAre("lock #2", "currSec", "currSec", "unlock #2"));
    const DxrLogFilterEntry &entry = LookAt(2).entries[0];
    EXPECT_EQ(entry.logCnt, 1U);
    EXPECT_EQ(entry.lastSec, 1000U);

    Forget();
    host.nowSec = 1005;
    EXPECT_EQ(Decide(site, "line"), 0);
    EXPECT_THAT(host.calls, ElementsAre("lock #2", "currSec", "currSec", "currSec", "unlock #2"));
    EXPECT_EQ(entry.logCnt, 1U);
    EXPECT_EQ(entry.lastSec, 1005U);
    EXPECT_EQ(entry.beginSec, 1000U);

    host.nowSec = 1009;
    EXPECT_EQ(Decide(site, "line"), 1);
    host.nowSec = 1010;
    EXPECT_EQ(Decide(site, "line"), 0);
    EXPECT_EQ(entry.logCnt, 2U);
    EXPECT_EQ(entry.lastSec, 1010U);
}

TEST_F(LogFilterDecision, EachReadingOfTheClockHasItsPlace) {
    InitStore();
    host.nowSec = 5000;
    EXPECT_EQ(Decide(Site(2, 100), "line"), 0);
    // Young at the first reading, due at the second, stamped with the third.
    SecondsScript::Use({8599, 5100, 7});
    EXPECT_EQ(Decide(Site(2, 100), "line"), 0);
    EXPECT_EQ(SecondsScript::next, 3U);
    EXPECT_EQ(LookAt(2).entries[0].lastSec, 7U);
    EXPECT_EQ(LookAt(2).entries[0].beginSec, 5000U);
}

TEST_F(LogFilterDecision, IntervalSumWraps) {
    InitStore();
    host.nowSec = 1000;
    EXPECT_EQ(Decide(Site(2, UINT32_MAX), "line"), 0);
    host.nowSec = 998;
    EXPECT_EQ(Decide(Site(2, UINT32_MAX), "line"), 1);  // the sum is 999
    host.nowSec = 999;
    EXPECT_EQ(Decide(Site(2, UINT32_MAX), "line"), 0);
    EXPECT_EQ(LookAt(2).entries[0].lastSec, 999U);
}

TEST_F(LogFilterDecision, IntervalOfZeroNeverLetsThroughWithinTheHour) {
    InitStore();
    host.nowSec = 1000;
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    for (const uint32_t now : {1000U, 1001U, 4000U, 4599U}) {
        host.nowSec = now;
        EXPECT_EQ(Decide(Site(2), "line"), 1);
    }
}

TEST_F(LogFilterDecision, HourCountsFromTheFirstOccurrenceAlone) {
    InitStore();
    host.nowSec = 1000;
    EXPECT_EQ(Decide(Site(2, 60), "line"), 0);
    uint32_t passed = 0;
    for (uint32_t now = 1001; now < 4600; ++now) {
        host.nowSec = now;
        passed += Decide(Site(2, 60), "line") == 0 ? 1U : 0U;
    }
    EXPECT_EQ(passed, 59U);
    EXPECT_EQ(LookAt(2).entries[0].lastSec, 4540U);
    EXPECT_EQ(LookAt(2).entries[0].logCnt, 3599U - 59U);
    host.nowSec = 4600;
    EXPECT_EQ(Decide(Site(2, 60), "line"), 0);
    // A fresh entry: not the old one stamped again.
    const DxrLogFilterEntry &entry = LookAt(2).entries[LookAt(2).curIndex];
    EXPECT_EQ(LookAt(2).curSize, 1U);
    EXPECT_EQ(entry.beginSec, 4600U);
    EXPECT_EQ(entry.lastSec, 4600U);
    EXPECT_EQ(entry.logCnt, 0U);
    EXPECT_EQ(Decide(Site(2, 60), "line"), 1);
}

TEST_F(LogFilterDecision, HashOfZeroIsNeverFiltered) {
    InitStore();
    const std::string zeroes(3, '\0');
    EXPECT_EQ(Decide(Site(2), zeroes), 0);
    EXPECT_EQ(Decide(Site(2), zeroes), 0);
    EXPECT_THAT(host.calls, IsEmpty());
    EXPECT_EQ(LookAt(2).curSize, 0U);
}

// MODULE-13
TEST_F(LogFilterDecision, TypeTwentyNineIsNeverFiltered) {
    InitStore();
    for (const uint32_t type : {29U, 30U, 0x80000000U, UINT32_MAX}) {
        EXPECT_EQ(Decide(Site(type), "line"), 0);
        EXPECT_EQ(Decide(Site(type), "line"), 0);
    }
    EXPECT_THAT(host.calls, IsEmpty());
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        EXPECT_EQ(LookAt(type).capacity, 0U);
    }
}

TEST_F(LogFilterDecision, WithoutAStoreEverythingPasses) {
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(LogFilterDecision, EmptyTextIsReportedWhateverItsType) {
    const std::string report = "print 1 get hash code error, hashFuncId[0] strLen[0] ret[0x1]";
    EXPECT_EQ(Decide(Site(2), ""), 0);  // without a store
    EXPECT_THAT(host.calls, ElementsAre(report));
    InitStore();
    for (const uint32_t type : {0U, 28U, 29U, UINT32_MAX}) {
        Forget();
        EXPECT_EQ(Decide(Site(type), ""), 0);
        EXPECT_THAT(host.calls, ElementsAre(report));
    }
    Forget();
    const DxrLogFilterCfg site = Site(1);
    EXPECT_EQ(DXR_IsRepeatedLog(&site, nullptr, 12), 0);
    EXPECT_THAT(host.calls,
                ElementsAre("print 1 get hash code error, hashFuncId[0] strLen[12] ret[0x1]"));
}

TEST_F(LogFilterDecision, SwitchedOffEverythingPassesInSilence) {
    InitStore();
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    Forget();
    DXR_EnableLogFilter(0);
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(Decide(Site(2), ""), 0);
    EXPECT_THAT(host.calls, IsEmpty());
    EXPECT_EQ(LookAt(2).entries[0].logCnt, 0U);
    DXR_EnableLogFilter(200);
    EXPECT_EQ(Decide(Site(2), "line"), 1);
}

TEST_F(LogFilterDecision, NullConfigurationPassesInSilence) {
    InitStore();
    EXPECT_EQ(DXR_IsRepeatedLog(nullptr, "line", 4), 0);
    EXPECT_EQ(DXR_IsRepeatedLog(nullptr, "", 0), 0);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(LogFilterDecision, HashFunctionOfAnotherIdLetsLinesThrough) {
    InitStore();
    g_dxrLogFilterHashFuncList[0].hashFuncId = 1;
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_THAT(host.calls, Each("print 1 get hash code funcId error, hashFuncId[0]."));
    EXPECT_THAT(host.calls, SizeIs(2));
}

TEST_F(LogFilterDecision, HashFunctionOfTheHostDecides) {
    InitStore();
    HashProbe::Use(0, 42);
    EXPECT_EQ(Decide(Site(2), "one"), 0);
    EXPECT_EQ(Decide(Site(2), "other"), 1);
    EXPECT_EQ(LookAt(2).entries[0].logHashCode, 42U);
    EXPECT_EQ(HashProbe::calls, 2U);
    EXPECT_EQ(HashProbe::input.length, 5U);
    HashProbe::Use(9, 42);
    EXPECT_EQ(Decide(Site(2), "one"), 0);
    EXPECT_EQ(LookAt(2).entries[0].logCnt, 1U);
    // An empty text is the function's to judge.
    HashProbe::Use(0, 43);
    EXPECT_EQ(Decide(Site(2), ""), 0);
    EXPECT_EQ(Decide(Site(2), ""), 1);
    EXPECT_EQ(HashProbe::input.length, 0U);
}

TEST_F(LogFilterDecision, LockResultIsIgnored) {
    InitStore();
    host.lockResult = 1;
    host.unlockResult = 1;
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(Decide(Site(2), "line"), 1);
    EXPECT_EQ(host.calls.back(), "unlock #2");
}

TEST_F(LogFilterDecision, LocksWithTheHandleThatIsStoredNow) {
    InitStore();
    g_dxrLogFilterMutex[2] = TestHost::MutexHandle(20);
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(host.calls.front(), "lock #20");
    EXPECT_EQ(host.calls.back(), "unlock #20");
}

TEST_F(LogFilterDecision, FailedFirstAllocationLetsEveryLineThrough) {
    InitStore();
    host.FailAllocationsFrom(1);
    const std::string failure = "print 1 log filter capacity malloc error, newLogInfoCapacity[1].";
    for (int i = 0; i < 3; ++i) {
        Forget();
        EXPECT_EQ(Decide(Site(2, 5), "line"), 0);
        EXPECT_THAT(host.printed, ElementsAre(IsPrinted(1, failure.substr(8))));
        EXPECT_EQ(host.calls.front(), "lock #2");
        EXPECT_EQ(host.calls.back(), "unlock #2");
        EXPECT_EQ(LookAt(2), (Ring{0, 0, 0, nullptr}));
    }
    host.StopFailingAllocations();
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(Decide(Site(2), "line"), 1);
}

TEST_F(LogFilterDecision, FailedGrowthForgetsTheOldestLine) {
    InitStore();
    EXPECT_EQ(Decide(Site(2), "a"), 0);
    host.FailAllocationsFrom(1);
    EXPECT_EQ(Decide(Site(2), "b"), 0);  // over "a"
    EXPECT_EQ(Decide(Site(2), "b"), 1);
    EXPECT_EQ(Decide(Site(2), "a"), 0);  // over "b"
    EXPECT_EQ(Decide(Site(2), "a"), 1);
    EXPECT_EQ(LookAt(2).capacity, 1U);
}

TEST_F(LogFilterDecision, FullRingForgetsTheOldestLines) {
    InitStore();
    const DxrLogFilterCfg site = Site(2);
    for (int i = 0; i < 2047; ++i) {
        ASSERT_EQ(Decide(site, "line " + std::to_string(i)), 0);
    }
    EXPECT_EQ(LookAt(2).curSize, 2047U);
    EXPECT_EQ(LookAt(2).capacity, 2047U);
    for (int i = 0; i < 2047; ++i) {
        ASSERT_EQ(Decide(site, "line " + std::to_string(i)), 1);
    }
    EXPECT_EQ(Decide(site, "one more"), 0);
    EXPECT_EQ(LookAt(2).curIndex, 1U);
    EXPECT_EQ(Decide(site, "line 1"), 1);
    EXPECT_EQ(Decide(site, "line 0"), 0);
    EXPECT_EQ(LookAt(2).curIndex, 2U);
    EXPECT_EQ(Decide(site, "line 1"), 0);
    EXPECT_EQ(Decide(site, "one more"), 1);
}

TEST_F(LogFilterDecision, RingsOfUnusualCapacitiesFilterAlike) {
    // A host may give a ring a capacity outside the series; it then fills, wraps and grows from
    // there.
    InitStore();
    const DxrLogFilterCfg site = Site(2);
    for (const uint32_t capacity : {2U, 5U, 1023U, 1024U, 1025U, 2046U, 2048U, 2049U, 3000U}) {
        DXR_ClearLogFilterInfo(2);
        DXR_ResizeLogFilterInfo(DXR_GetLogFilter(2), capacity);
        ASSERT_EQ(LookAt(2).capacity, capacity);
        host.FailAllocationsFrom(1);
        // Round once and up to the last position but one, with the oldest at the last one.
        for (uint32_t i = 0; i < 2 * capacity - 1; ++i) {
            ASSERT_EQ(Decide(site, "line " + std::to_string(i)), 0);
        }
        EXPECT_EQ(LookAt(2), (Ring{capacity - 1, capacity, capacity, LookAt(2).entries}));
        for (uint32_t i = capacity - 1; i < 2 * capacity - 1; ++i) {
            ASSERT_EQ(Decide(site, "line " + std::to_string(i)), 1);
        }
        host.StopFailingAllocations();
        EXPECT_EQ(Decide(site, "after"), 0);
        EXPECT_EQ(Decide(site, "after"), 1);
        const uint32_t grown = capacity <= 1024 ? 2 * capacity + 1 : capacity;
        EXPECT_EQ(LookAt(2).capacity, grown);
        const uint32_t position = (capacity - 1 + capacity) % grown;
        EXPECT_EQ(LookAt(2).entries[position].logHashCode, HashOf("after"));
        EXPECT_EQ(LookAt(2).entries[position].logCnt, 1U);
        // Growth loses what lay before the oldest; without it the oldest is gone.
        const std::string oldest = "line " + std::to_string(capacity - 1);
        EXPECT_EQ(Decide(site, oldest), grown != capacity ? 1 : 0);
        EXPECT_EQ(Decide(site, "after"), 1);
    }
}

// A host whose ring storage comes from two places by turns, so that old addresses come back.
struct TwoPlaces {
    static constexpr size_t kSize = 3000 * sizeof(DxrLogFilterEntry);
    alignas(16) static inline unsigned char places[2][kSize];
    static inline uint32_t turn = 0;

    static void Use() { DXR_SetMemoryHooks(Allocate, Release); }
    static void *Allocate(uint32_t, uint32_t size, const char *, uint32_t) {
        return size <= kSize ? places[turn++ % 2] : nullptr;
    }
    static void Release(void *, const char *, uint32_t) {}
};

TEST_F(LogFilterDecision, OtherLinesAtAnOldAddressAreTheOnesFiltered) {
    InitStore();
    TwoPlaces::Use();
    const DxrLogFilterCfg site = Site(2);
    DxrLogFilterInfo *record = DXR_GetLogFilter(2);
    DXR_ResizeLogFilterInfo(record, 7);
    const Ring first = LookAt(2);
    for (const char *line : {"a", "b", "c"}) {
        EXPECT_EQ(Decide(site, line), 0);
    }
    DXR_ResizeLogFilterInfo(record, 3000);
    DXR_ClearLogFilterInfo(2);
    for (const char *line : {"x", "y", "z"}) {
        EXPECT_EQ(Decide(site, line), 0);
    }
    DXR_ResizeLogFilterInfo(record, 7);
    EXPECT_EQ(LookAt(2), (Ring{0, 3, 7, first.entries}));
    for (const char *line : {"x", "y", "z"}) {
        EXPECT_EQ(Decide(site, line), 1);
    }
    EXPECT_EQ(Decide(site, "a"), 0);
    record->entries = nullptr;
}

TEST_F(LogFilterDecision, AgedLinesThatAResizeBringsBackAreFiltered) {
    InitStore();
    TwoPlaces::Use();
    const DxrLogFilterCfg site = Site(2);
    DxrLogFilterInfo *record = DXR_GetLogFilter(2);
    const uint32_t begin = host.nowSec;
    DXR_ResizeLogFilterInfo(record, 7);
    for (const char *line : {"a", "b", "c", "d", "e"}) {
        EXPECT_EQ(Decide(site, line), 0);
    }
    host.nowSec = begin + 3600;
    EXPECT_EQ(Decide(site, "f"), 0);  // over "e"
    EXPECT_EQ(Decide(site, "g"), 0);
    DXR_ResizeLogFilterInfo(record, 6);
    EXPECT_EQ(Decide(site, "g"), 1);
    const Ring before = LookAt(2);
    DXR_ResizeLogFilterInfo(record, 5);
    DXR_ResizeLogFilterInfo(record, 3);
    EXPECT_EQ(LookAt(2), (Ring{4, 2, 3, before.entries}));
    // Positions 4 and 5 are now 1 and 2, and the clock was set back: "b" and "c" are young again.
    host.nowSec = begin + 10;
    EXPECT_EQ(Decide(site, "b"), 1);
    EXPECT_EQ(Decide(site, "c"), 1);
    EXPECT_EQ(Decide(site, "g"), 0);
    record->entries = nullptr;
}

TEST_F(LogFilterDecision, LinesLostToASmallerRingAreNewThoughTheAddressComesBack) {
    InitStore();
    TwoPlaces::Use();
    const DxrLogFilterCfg site = Site(2);
    DxrLogFilterInfo *record = DXR_GetLogFilter(2);
    DXR_ResizeLogFilterInfo(record, 7);
    for (const char *line : {"a", "b", "c", "d", "e"}) {
        EXPECT_EQ(Decide(site, line), 0);
    }
    const Ring before = LookAt(2);
    DXR_ResizeLogFilterInfo(record, 3);
    DXR_ResizeLogFilterInfo(record, 7);
    EXPECT_EQ(LookAt(2), before);
    EXPECT_EQ(Decide(site, "c"), 1);
    EXPECT_EQ(Decide(site, "d"), 0);
    EXPECT_EQ(Decide(site, "e"), 0);
    record->entries = nullptr;
}

TEST_F(LogFilterDecision, ZeroEntriesOfAWrappedRingHideNoLine) {
    InitStore();
    for (uint32_t type = 0; type < kLogTypes; ++type) {
        const DxrLogFilterCfg site = Site(type);
        DxrLogFilterInfo *record = DXR_GetLogFilter(type);
        const auto line = [type](int number) {
            return std::to_string(number) + " of type " + std::to_string(type);
        };
        DXR_ResizeLogFilterInfo(record, 1023);
        host.FailAllocationsFrom(1);
        int next = 0;
        while (next < 1023 + 500) {
            ASSERT_EQ(Decide(site, line(next++)), 0);
        }
        host.StopFailingAllocations();
        ASSERT_EQ(Decide(site, line(next++)), 0);
        ASSERT_EQ(Look(*record), (Ring{500, 1024, 2047, Look(*record).entries}));
        ASSERT_EQ(DXR_FindRepeatedLogInfoIndex(record, 0), 1023U);
        DXR_AddLogFilterInfo(record, HashOf("direct"), 0);
        // Round to the last of the 500 zero entries and over it.
        const int last = next + 522 + 500 + 523 + 500;
        while (next < last) {
            ASSERT_EQ(Decide(site, line(next++)), 0);
        }
        for (int number = last - 1500; number < last; ++number) {
            ASSERT_EQ(Decide(site, line(number)), 1) << number;
        }
    }
}

TEST_F(LogFilterDecision, LinesThatAHookPutIntoTheRingAreFiltered) {
    InitStore();
    const DxrLogFilterCfg site = Site(2);
    for (const char *line : {"a", "b", "c"}) {
        EXPECT_EQ(Decide(site, line), 0);
    }
    // While the fourth line is remembered, other lines take the place of the first three.
    DXR_ResizeLogFilterInfo(DXR_GetLogFilter(2), 15);
    EXPECT_EQ(Decide(site, "c"), 1);
    g_dxrHooks.time.getCurrTime = [](char *text, uint32_t size, uint32_t *sec) {
        static bool asked = false;
        if (!asked) {
            asked = true;
            DXR_ClearLogFilterInfo(2);
            for (const char *line : {"x", "y", "z"}) {
                DXR_AddLogFilterInfo(DXR_GetLogFilter(2), HashOf(line), 0);
            }
        }
        std::snprintf(text, size, "now");
        *sec = 1000000;
    };
    EXPECT_EQ(Decide(site, "d"), 0);
    EXPECT_EQ(LookAt(2).curIndex, 0U);
    EXPECT_EQ(LookAt(2).curSize, 4U);
    for (const char *line : {"x", "y", "z", "d"}) {
        EXPECT_EQ(Decide(site, line), 1) << line;
    }
    EXPECT_EQ(Decide(site, "a"), 0);
}

// A host that answers a failed growth by making the ring smaller, in the midst of a decision.
DXR_PRINTF(2, 3) void PrintThatMakesTheRingSmaller(uint32_t, const char *, ...) {
    DXR_ResizeLogFilterInfo(DXR_GetLogFilter(2), 6);
}

TEST_F(LogFilterDecision, LineThatAHooksResizeBringsBackIsFiltered) {
    InitStore();
    const DxrLogFilterCfg site = Site(2);
    DxrLogFilterInfo *record = DXR_GetLogFilter(2);
    const uint32_t begin = host.nowSec;
    DXR_ResizeLogFilterInfo(record, 7);
    EXPECT_EQ(Decide(site, "a"), 0);
    EXPECT_EQ(Decide(site, "b"), 0);
    host.nowSec = begin + 3600;
    for (const char *line : {"c", "d", "e", "f", "g", "h"}) {
        EXPECT_EQ(Decide(site, line), 0);  // from position 1 on: over "b"
    }
    EXPECT_EQ(LookAt(2), (Ring{1, 6, 7, LookAt(2).entries}));
    DXR_ResizeLogFilterInfo(record, 7);
    EXPECT_EQ(Decide(site, "h"), 1);
    host.FailAllocation(1);
    g_dxrHooks.print.print = PrintThatMakesTheRingSmaller;
    EXPECT_EQ(Decide(site, "i"), 0);
    EXPECT_EQ(LookAt(2), (Ring{2, 6, 6, LookAt(2).entries}));
    // "a" at position 0 is live again, and young for a clock that was set back.
    host.nowSec = begin + 10;
    EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(record, HashOf("a")), 0U);
    EXPECT_EQ(Decide(site, "a"), 1);
    EXPECT_EQ(Decide(site, "i"), 1);
}

TEST_F(LogFilterDecision, RecordThatClaimsEntriesWithoutStorageLetsLinesThrough) {
    InitStore();
    DXR_GetLogFilter(2)->curSize = 3;
    host.FailAllocation(1);
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(LookAt(2).entries, nullptr);
    EXPECT_EQ(host.calls.back(), "unlock #2");
}

// HOST-15
TEST_F(LogFilterDecision, WithoutClockLinesAreFilteredForEver) {
    InitStore();
    g_dxrHooks.time = {};
    EXPECT_EQ(Decide(Site(2, 5), "line"), 0);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(Decide(Site(2, 5), "line"), 1);
    }
    host.WithClock();
    host.nowSec = 3600;
    EXPECT_EQ(Decide(Site(2, 5), "line"), 0);
}

DxrLogFilterInfo g_storeAndNeighbours[kLogTypes + 2];

// Memory whose block for the store lies between two records of the caller's own.
struct StoreBetweenNeighbours {
    static inline DxrHooks host;

    static void Use() {
        std::memset(g_storeAndNeighbours, 0, sizeof(g_storeAndNeighbours));
        host = g_dxrHooks;
        g_dxrHooks.memory.allocate = [](uint32_t mid, uint32_t size, const char *file,
                                        uint32_t line) -> void * {
            return size == kStoreSize ? &g_storeAndNeighbours[1]
                                      : host.memory.allocate(mid, size, file, line);
        };
        g_dxrHooks.memory.release = [](void *block, const char *file, uint32_t line) {
            if (block != &g_storeAndNeighbours[1]) {
                host.memory.release(block, file, line);
            }
        };
    }
};

TEST_F(LogFilterDecision, RecordsNextToTheStoreAreNotOfTheStore) {
    StoreBetweenNeighbours::Use();
    InitStore();
    constexpr uint32_t kLast = kLogTypes - 1;
    EXPECT_EQ(Decide(Site(0), "first"), 0);
    EXPECT_EQ(Decide(Site(kLast), "last"), 0);
    for (DxrLogFilterInfo *const own :
         {&g_storeAndNeighbours[0], &g_storeAndNeighbours[kLogTypes + 1]}) {
        DXR_AddLogFilterInfo(own, HashOf("own"), 0);
        DXR_ResizeLogFilterInfo(own, 5);
        EXPECT_EQ(DXR_FindRepeatedLogInfoIndex(own, HashOf("own")), 0U);
        EXPECT_EQ(Look(*own), (Ring{0, 1, 5, own->entries}));
        DXR_Free(own->entries, __FILE__, __LINE__);
    }
    EXPECT_EQ(Decide(Site(0), "first"), 1);
    EXPECT_EQ(Decide(Site(0), "own"), 0);
    EXPECT_EQ(Decide(Site(kLast), "last"), 1);
    EXPECT_EQ(Decide(Site(kLast), "own"), 0);
    DXR_DestroyLogFilter();
}

TEST_F(LogFilterDecision, ModuleOfTheRingsIsTheOneStoredNow) {
    InitStore(7);
    g_dxrLogFilterMid = 8;
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(host.allocations.at(0).mid, 8U);
}

TEST_F(LogFilterDecision, DefaultModuleOfTheLibraryIsOfNoAccount) {
    DXR_SetDefaultMid(555);
    InitStore(7);
    EXPECT_EQ(Decide(Site(2), "line"), 0);
    EXPECT_EQ(host.allocations.at(0).mid, 7U);
}

// HOST-9
TEST_F(LogFilterDecision, HooksMayAskForLinesOfAnotherType) {
    InitStore();
    EXPECT_EQ(Decide(Site(2), "a"), 0);
    g_dxrHooks.time.getCurrTime = [](char *text, uint32_t size, uint32_t *sec) {
        static bool asked = false;
        if (!asked) {
            asked = true;
            EXPECT_EQ(Decide(Site(4), "inner"), 0);
            EXPECT_EQ(Decide(Site(4), "inner"), 1);
        }
        std::snprintf(text, size, "now");
        *sec = 1000000;
    };
    EXPECT_EQ(Decide(Site(2), "b"), 0);
    EXPECT_EQ(Decide(Site(2), "a"), 1);
    EXPECT_EQ(Decide(Site(2), "b"), 1);
    EXPECT_EQ(Decide(Site(4), "inner"), 1);
    EXPECT_EQ(Decide(Site(4), "b"), 0);
    EXPECT_EQ(LookAt(2).curSize, 2U);
    EXPECT_EQ(LookAt(4).curSize, 2U);
}

TEST_F(LogFilterDecision, EveryAllocationCanFailInTurn) {
    // Whatever allocation fails, of the records or of the eleven sizes of the ring, the calls end,
    // the ring stays sound and nothing leaks.
    for (uint64_t failing = 1; failing <= 13; ++failing) {
        for (const bool fromThenOn : {false, true}) {
            if (fromThenOn) {
                host.FailAllocationsFrom(failing);
            } else {
                host.FailAllocation(failing);
            }
            const uint32_t result = DXR_InitLogFilter(9);
            EXPECT_EQ(result, failing == 1 ? 1U : 0U);
            for (int i = 0; i < 1100; ++i) {
                ASSERT_EQ(Decide(Site(2), "line " + std::to_string(i)), 0);
            }
            if (result == 0) {
                const Ring ring = LookAt(2);
                EXPECT_LE(ring.curSize, ring.capacity);
                if (ring.capacity > 0) {
                    EXPECT_EQ(Decide(Site(2), "line 1099"), 1);
                }
            }
            host.StopFailingAllocations();
            DXR_DestroyLogFilter();
            EXPECT_EQ(host.LiveBlocks(), 0U);
        }
    }
}

}  // namespace
}  // namespace dxrtest
