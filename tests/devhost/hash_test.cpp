// The host's hash tables, by the sentences of their header.
#include "dxr_devhost/hash.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "devhost/host_fixture.h"
#include "support/test_host.h"

namespace {

using HostHash = dxrtest::RealHost;

DxrHostHashOptions Options(uint32_t keyBytes = sizeof(uint32_t)) {
    return {sizeof(DxrHostHashOptions), keyBytes, 0, 0, nullptr, nullptr, nullptr};
}

void *Create(DxrHostHashOptions options = Options()) {
    return DXR_HashCreate(&options);
}

uint32_t Insert(void *table, uint32_t key, uint32_t data, uint32_t mode = DXR_HOST_HASH_ADD) {
    return DXR_HashInsert(table, &key, &data, sizeof(data), mode);
}

void *Find(void *table, uint32_t key) {
    return DXR_HashFindKey(table, &key);
}

uint32_t Remove(void *table, uint32_t key) {
    return DXR_HashRemove(table, &key);
}

uint32_t NumberAt(void *entry, uint32_t what) {
    const void *const at = DXR_HashGetFromEntry(entry, what, 0);
    uint32_t number = 0xBAD;
    if (at != nullptr) {
        std::memcpy(&number, at, sizeof(number));
    }
    return number;
}

using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

Pairs Walk(void *table) {
    Pairs pairs;
    for (void *entry = DXR_HashGetFirst(table); entry != nullptr;
         entry = DXR_HashGetNext(table, entry)) {
        pairs.emplace_back(NumberAt(entry, DXR_HOST_HASH_KEY), NumberAt(entry, DXR_HOST_HASH_DATA));
    }
    return pairs;
}

TEST_F(HostHash, KeepsEntriesInTheOrderOfTheirAdding) {
    void *const table = Create();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(DXR_HashGetFirst(table), nullptr);
    EXPECT_EQ(Insert(table, 30, 3), 0U);
    EXPECT_EQ(Insert(table, 10, 1), 0U);
    EXPECT_EQ(Insert(table, 20, 2), 0U);
    EXPECT_EQ(DXR_HashCount(table), 3U);
    EXPECT_EQ(Walk(table), (Pairs{{30, 3}, {10, 1}, {20, 2}}));
    EXPECT_EQ(NumberAt(Find(table, 10), DXR_HOST_HASH_DATA), 1U);
    EXPECT_EQ(Find(table, 40), nullptr);
    EXPECT_EQ(Remove(table, 30), 0U);
    EXPECT_EQ(Remove(table, 30), uint32_t{ENOENT});
    EXPECT_EQ(Insert(table, 30, 4), 0U);
    EXPECT_EQ(Walk(table), (Pairs{{10, 1}, {20, 2}, {30, 4}}));
    EXPECT_EQ(DXR_HashFree(table), 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostHash, AddsOrReplaces) {
    void *const table = Create();
    EXPECT_EQ(Insert(table, 1, 11), 0U);
    EXPECT_EQ(Insert(table, 2, 22), 0U);
    void *const entry = Find(table, 1);
    EXPECT_EQ(Insert(table, 1, 99), uint32_t{EEXIST});
    EXPECT_EQ(NumberAt(entry, DXR_HOST_HASH_DATA), 11U);
    EXPECT_EQ(Insert(table, 1, 99, DXR_HOST_HASH_REPLACE), 0U);
    EXPECT_EQ(Find(table, 1), entry) << "keeps entry and place";
    EXPECT_EQ(Walk(table), (Pairs{{1, 99}, {2, 22}}));
    EXPECT_EQ(Insert(table, 3, 33, DXR_HOST_HASH_REPLACE), 0U) << "adds what is not there";
    EXPECT_EQ(DXR_HashCount(table), 3U);
    EXPECT_EQ(DXR_HashFree(table), 0U);
}

TEST_F(HostHash, HoldsCopiesOrPointers) {
    void *const table = Create(Options(8));
    std::array<char, 8> key = {'k', 'e', 'y'};
    std::string data = "some data";
    EXPECT_EQ(DXR_HashInsert(table, key.data(), data.data(), 10, DXR_HOST_HASH_ADD), 0U);
    void *entry = DXR_HashFindKey(table, key.data());
    key[0] = 'X';
    data[0] = 'X';
    const auto *const copy =
        static_cast<char *>(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_DATA, 0));
    EXPECT_STREQ(copy, "some data");
    EXPECT_EQ(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_DATA, 9), copy + 9);
    EXPECT_EQ(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_DATA, 10), nullptr) << "its end";
    const auto *const kept = static_cast<char *>(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_KEY, 0));
    EXPECT_STREQ(kept, "key");
    EXPECT_EQ(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_KEY, 7), kept + 7);
    EXPECT_EQ(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_KEY, 8), nullptr);
    for (const char *const each : {copy, kept}) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(each) % alignof(std::max_align_t), 0U);
    }

    void *const nowhere = reinterpret_cast<void *>(16);  // never followed
    EXPECT_EQ(DXR_HashInsert(table, key.data(), nowhere, 0, DXR_HOST_HASH_ADD), 0U);
    entry = DXR_HashFindKey(table, key.data());
    EXPECT_EQ(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_DATA, 0), nowhere);
    EXPECT_EQ(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_DATA, 1), nullptr);
    EXPECT_EQ(DXR_HashInsert(table, key.data(), nullptr, 0, DXR_HOST_HASH_REPLACE), 0U);
    EXPECT_EQ(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_DATA, 0), nullptr);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_HashFree(table), 0U);
}

TEST_F(HostHash, KeysMayBeTexts) {
    void *const table = Create(Options(0));
    std::string first = "interface eth0";
    std::string second = "interface eth1";
    EXPECT_EQ(DXR_HashInsert(table, first.data(), nullptr, 0, DXR_HOST_HASH_ADD), 0U);
    EXPECT_EQ(DXR_HashInsert(table, second.data(), nullptr, 0, DXR_HOST_HASH_ADD), 0U);
    std::string same = first;
    void *const entry = DXR_HashFindKey(table, same.data());
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(static_cast<char *>(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_KEY, 0)),
                 "interface eth0");
    EXPECT_NE(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_KEY, 14), nullptr) << "the null byte";
    EXPECT_EQ(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_KEY, 15), nullptr);
    std::string empty;
    EXPECT_EQ(DXR_HashFindKey(table, empty.data()), nullptr);
    EXPECT_EQ(DXR_HashInsert(table, empty.data(), nullptr, 0, DXR_HOST_HASH_ADD), 0U);
    std::string longest(4095, 'x');
    EXPECT_EQ(DXR_HashInsert(table, longest.data(), nullptr, 0, DXR_HOST_HASH_ADD), 0U);
    EXPECT_EQ(DXR_HashCount(table), 4U);
    EXPECT_TRUE(reports.empty());
    longest += 'x';
    EXPECT_EQ(DXR_HashInsert(table, longest.data(), nullptr, 0, DXR_HOST_HASH_ADD),
              uint32_t{EINVAL});
    EXPECT_EQ(DXR_HashFindKey(table, longest.data()), nullptr);
    EXPECT_EQ(reports.size(), 2U);
    EXPECT_EQ(DXR_HashFree(table), 0U);
}

TEST_F(HostHash, HasItsBucketsAndItsLimit) {
    const std::array<std::pair<uint32_t, uint32_t>, 5> buckets = {
        {{0, 64}, {1, 1}, {5, 8}, {1024, 1024}, {1048576, 1048576}}};
    for (const auto &[asked, given] : buckets) {
        DxrHostHashOptions wanted = Options();
        wanted.buckets = asked;
        wanted.maxItems = 2;
        void *const table = Create(wanted);
        wanted = {};  // it was copied
        EXPECT_EQ(DXR_HashGetBucketNum(table), given);
        EXPECT_EQ(DXR_HashGetMaxItem(table), 2U);
        EXPECT_EQ(Insert(table, 1, 1), 0U);
        EXPECT_EQ(Insert(table, 2, 2), 0U);
        EXPECT_EQ(Insert(table, 3, 3), uint32_t{ENOSPC});
        EXPECT_EQ(Insert(table, 2, 4, DXR_HOST_HASH_REPLACE), 0U);
        EXPECT_EQ(Insert(table, 1, 1), uint32_t{EEXIST});
        EXPECT_EQ(Remove(table, 1), 0U);
        EXPECT_EQ(Insert(table, 3, 3), 0U);
        EXPECT_EQ(Walk(table), (Pairs{{2, 4}, {3, 3}}));
        EXPECT_EQ(DXR_HashFree(table), 0U);
    }
    void *const table = Create();
    EXPECT_EQ(DXR_HashGetMaxItem(table), 0U);
    EXPECT_EQ(DXR_HashFree(table), 0U);
}

TEST_F(HostHash, RefusesWhatIsTooLarge) {
    DxrHostHashOptions wanted = Options(4097);
    EXPECT_EQ(DXR_HashCreate(&wanted), nullptr);
    wanted = Options();
    wanted.buckets = 1048577;
    EXPECT_EQ(DXR_HashCreate(&wanted), nullptr);
    wanted = Options();
    wanted.size = 0;
    EXPECT_EQ(DXR_HashCreate(&wanted), nullptr);
    EXPECT_EQ(DXR_HashCreate(nullptr), nullptr);
    EXPECT_EQ(reports.size(), 4U);
    void *const table = Create(Options(4096));
    std::vector<char> large((size_t{16} << 20) + 1);
    const auto bytes = static_cast<uint32_t>(large.size());
    EXPECT_EQ(DXR_HashInsert(table, large.data(), large.data(), bytes, 0), uint32_t{EINVAL});
    EXPECT_EQ(DXR_HashInsert(table, large.data(), large.data(), bytes - 1, 0), 0U);
    EXPECT_EQ(DXR_HashInsert(table, large.data(), nullptr, 1, 0), uint32_t{EINVAL});
    EXPECT_EQ(DXR_HashInsert(table, large.data(), large.data(), 1, 2), uint32_t{EINVAL});
    EXPECT_EQ(DXR_HashInsert(table, nullptr, large.data(), 1, 0), uint32_t{EINVAL});
    EXPECT_EQ(DXR_HashFindKey(table, nullptr), nullptr);
    EXPECT_EQ(DXR_HashRemove(table, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_HashGetFromEntry(DXR_HashGetFirst(table), 2, 0), nullptr);
    EXPECT_EQ(DXR_HashCount(table), 1U);
    EXPECT_EQ(DXR_HashFree(table), 0U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 11U);
}

// --- Functions of the table's own

struct Functions {
    uint32_t hashed = 0;
    uint32_t compared = 0;
    void *table = nullptr;
    bool callsSlots = false;
    std::optional<uint32_t> removes;
};

uint32_t HashLastDigit(const void *key, void *user) {
    auto *const functions = static_cast<Functions *>(user);
    ++functions->hashed;
    return *static_cast<const uint32_t *>(key) % 10;
}

// Numbers are equal when they are so but for their hundreds.
int CompareBelow100(const void *key, const void *other, void *user) {
    auto *const functions = static_cast<Functions *>(user);
    ++functions->compared;
    if (functions->callsSlots) {
        EXPECT_GT(DXR_HashCount(functions->table), 0U) << "no lock is held";
    }
    const uint32_t first = *static_cast<const uint32_t *>(key) % 100;
    const uint32_t second = *static_cast<const uint32_t *>(other) % 100;
    if (functions->removes) {
        const uint32_t removed = *std::exchange(functions->removes, {});
        EXPECT_EQ(Remove(functions->table, removed), 0U);
        EXPECT_EQ(*static_cast<const uint32_t *>(other) % 100, second) << "stays while compared";
    }
    return first < second ? -1 : static_cast<int>(first > second);
}

void *CreateWithFunctions(Functions &functions) {
    DxrHostHashOptions wanted = Options();
    wanted.buckets = 2;
    wanted.hash = HashLastDigit;
    wanted.compare = CompareBelow100;
    wanted.user = &functions;
    functions.table = DXR_HashCreate(&wanted);
    return functions.table;
}

TEST_F(HostHash, ATableHasFunctionsOfItsOwn) {
    Functions functions;
    void *const table = CreateWithFunctions(functions);
    EXPECT_EQ(Insert(table, 15, 1), 0U);
    EXPECT_EQ(Insert(table, 25, 2), 0U);
    EXPECT_EQ(Insert(table, 16, 3), 0U);
    functions.callsSlots = true;
    EXPECT_EQ(Insert(table, 115, 4), uint32_t{EEXIST});
    EXPECT_EQ(NumberAt(Find(table, 925), DXR_HOST_HASH_DATA), 2U);
    EXPECT_EQ(functions.hashed, 5U);
    EXPECT_GE(functions.compared, 3U);
    functions.compared = 0;
    EXPECT_EQ(Find(table, 14), nullptr);
    EXPECT_EQ(functions.compared, 0U) << "other numbers are not compared";
    EXPECT_EQ(Remove(table, 315), 0U);
    EXPECT_EQ(Walk(table), (Pairs{{25, 2}, {16, 3}}));
    EXPECT_EQ(DXR_HashFree(table), 0U);
}

TEST_F(HostHash, AFunctionMayRemoveWhatItCompares) {
    Functions functions;
    void *const table = CreateWithFunctions(functions);
    EXPECT_EQ(Insert(table, 15, 1), 0U);
    functions.removes = 15;
    EXPECT_EQ(Find(table, 15), nullptr) << "the call has started over";
    EXPECT_EQ(Insert(table, 25, 1), 0U);
    EXPECT_EQ(Insert(table, 35, 1), 0U);
    functions.removes = 25;
    EXPECT_EQ(NumberAt(Find(table, 35), DXR_HOST_HASH_KEY), 35U);
    functions.removes = 35;
    EXPECT_EQ(Remove(table, 35), uint32_t{ENOENT});
    EXPECT_EQ(DXR_HashCount(table), 0U);
    EXPECT_EQ(DXR_HashFree(table), 0U);
    EXPECT_TRUE(reports.empty());
}

int FreeTheTable(const void * /*key*/, const void *other, void *user) {
    auto *const functions = static_cast<Functions *>(user);
    if (++functions->compared == 1) {
        EXPECT_EQ(DXR_HashFree(functions->table), 0U);
    }
    EXPECT_EQ(*static_cast<const uint32_t *>(other), 1U) << "stays while compared";
    return 0;
}

TEST_F(HostHash, AFunctionMayReleaseTheTable) {
    Functions functions;
    DxrHostHashOptions wanted = Options();
    wanted.compare = FreeTheTable;
    wanted.user = &functions;
    for (int round = 0; round < 3; ++round) {
        functions = {};
        void *const table = functions.table = DXR_HashCreate(&wanted);
        EXPECT_EQ(Insert(table, 1, 1), 0U);
        switch (round) {
            case 0:
                EXPECT_EQ(Find(table, 1), nullptr);
                break;
            case 1:
                EXPECT_EQ(Remove(table, 1), uint32_t{EBADF});
                break;
            default:
                EXPECT_EQ(Insert(table, 1, 2), uint32_t{EBADF});
        }
        EXPECT_EQ(functions.compared, 1U);
    }
    EXPECT_EQ(reports.size(), 3U);
    EXPECT_EQ(End(), 0U) << "nothing is left";
}

// --- Walks

TEST_F(HostHash, AWalkSurvivesTheRemovalOfItsEntry) {
    void *const table = Create();
    for (uint32_t key = 0; key < 8; ++key) {
        EXPECT_EQ(Insert(table, key, key), 0U);
    }
    std::vector<uint32_t> seen;
    for (void *entry = DXR_HashGetFirst(table); entry != nullptr;
         entry = DXR_HashGetNext(table, entry)) {
        const uint32_t key = NumberAt(entry, DXR_HOST_HASH_KEY);
        seen.push_back(key);
        EXPECT_EQ(Remove(table, key), 0U);
        if (key == 1) {
            EXPECT_EQ(Remove(table, 2), 0U) << "what would have followed";
            EXPECT_EQ(Insert(table, 9, 9), 0U);
        }
    }
    EXPECT_EQ(seen, (std::vector<uint32_t>{0, 1, 3, 4, 5, 6, 7, 9}));
    EXPECT_EQ(DXR_HashCount(table), 0U);
    EXPECT_EQ(DXR_HashFree(table), 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostHash, SixtyFourRemovalsAreRemembered) {
    void *const table = Create();
    std::array<void *, 65> entries{};
    for (uint32_t key = 0; key < 70; ++key) {
        EXPECT_EQ(Insert(table, key, key), 0U);
        if (key < entries.size()) {
            entries[key] = Find(table, key);
        }
    }
    void *const next = Find(table, 65);
    for (uint32_t key = 0; key < entries.size(); ++key) {
        EXPECT_EQ(Remove(table, key), 0U);
    }
    for (size_t i = 1; i < entries.size(); ++i) {
        ASSERT_EQ(DXR_HashGetNext(table, entries[i]), next) << i;
    }
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_HashGetNext(table, entries[0]), nullptr) << "forgotten";
    EXPECT_EQ(reports.size(), 1U);
    EXPECT_EQ(DXR_HashGetFromEntry(entries[64], DXR_HOST_HASH_KEY, 0), nullptr);
    EXPECT_EQ(reports.size(), 2U);
    EXPECT_EQ(DXR_HashFree(table), 0U);
}

TEST_F(HostHash, AgreesWithAModel) {
    std::mt19937_64 random(dxrtest::Seed());
    DxrHostHashOptions wanted = Options();
    wanted.buckets = 4;
    wanted.maxItems = 24;
    void *const table = Create(wanted);
    Pairs model;
    for (int step = 0; step < 5000; ++step) {
        const auto key = static_cast<uint32_t>(random() % 32);
        const auto data = static_cast<uint32_t>(random());
        const auto found = std::find_if(model.begin(), model.end(),
                                        [key](const auto &each) { return each.first == key; });
        const bool isThere = found != model.end();
        const auto mode = static_cast<uint32_t>(random() % 3);
        if (mode <= DXR_HOST_HASH_REPLACE) {
            uint32_t expected = 0;
            if (isThere && mode == DXR_HOST_HASH_ADD) {
                expected = EEXIST;
            } else if (isThere) {
                found->second = data;
            } else if (model.size() == 24) {
                expected = ENOSPC;
            } else {
                model.emplace_back(key, data);
            }
            ASSERT_EQ(Insert(table, key, data, mode), expected);
        } else {
            if (isThere) {
                model.erase(found);
            }
            ASSERT_EQ(Remove(table, key), isThere ? 0U : uint32_t{ENOENT});
        }
        ASSERT_EQ(DXR_HashCount(table), model.size());
        ASSERT_EQ(Walk(table), model);
        for (const auto &[each, value] : model) {
            ASSERT_EQ(NumberAt(Find(table, each), DXR_HOST_HASH_DATA), value);
        }
    }
    EXPECT_EQ(DXR_HashFree(table), 0U);
    EXPECT_TRUE(reports.empty());
}

// --- What goes wrong

TEST_F(HostHash, BadHandlesAreReportedAndHarmless) {
    int value = 0;
    uint32_t key = 1;
    void *const table = Create();
    void *const other = Create();
    EXPECT_EQ(Insert(other, 1, 1), 0U);
    void *const entry = Find(other, 1);
    EXPECT_EQ(DXR_HashGetNext(table, entry), nullptr);
    EXPECT_EQ(reports.back().text, std::string("the entry belongs to another table"));
    EXPECT_EQ(DXR_HashGetNext(table, table), nullptr);
    EXPECT_EQ(DXR_HashGetNext(table, nullptr), nullptr);
    EXPECT_EQ(DXR_HashGetFromEntry(nullptr, DXR_HOST_HASH_KEY, 0), nullptr);
    EXPECT_EQ(DXR_HashGetFromEntry(table, DXR_HOST_HASH_KEY, 0), nullptr);
    EXPECT_EQ(DXR_HashFree(other), 0U);
    EXPECT_EQ(DXR_HashGetFromEntry(entry, DXR_HOST_HASH_KEY, 0), nullptr) << "went with its table";
    EXPECT_EQ(reports.size(), 6U);
    for (void *const bad : {other, static_cast<void *>(&value), static_cast<void *>(nullptr)}) {
        const size_t before = Texts(DXR_HOST_REPORT_MISUSE).size();
        EXPECT_EQ(DXR_HashFree(bad), uint32_t{EBADF});
        EXPECT_EQ(DXR_HashInsert(bad, &key, &value, 4, 0), uint32_t{EBADF});
        EXPECT_EQ(DXR_HashRemove(bad, &key), uint32_t{EBADF});
        EXPECT_EQ(DXR_HashFindKey(bad, &key), nullptr);
        EXPECT_EQ(DXR_HashCount(bad), 0U);
        EXPECT_EQ(DXR_HashGetBucketNum(bad), 0U);
        EXPECT_EQ(DXR_HashGetMaxItem(bad), 0U);
        EXPECT_EQ(DXR_HashGetFirst(bad), nullptr);
        EXPECT_EQ(DXR_HashGetNext(bad, entry), nullptr);
        EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), before + (bad == other ? 9 : 0))
            << "one report for the same caller";
    }
    EXPECT_EQ(DXR_HashFree(table), 0U);
}

TEST_F(HostHash, FailedStepsChangeNothing) {
    DxrHostFailNth(host, "hash.create", 1, false);
    EXPECT_EQ(Create(), nullptr);
    void *const table = Create();
    EXPECT_EQ(Insert(table, 1, 1), 0U);
    DxrHostFailNth(host, "hash.insert", 1, true);
    EXPECT_EQ(Insert(table, 2, 2), uint32_t{ENOMEM});
    EXPECT_EQ(Insert(table, 1, 2, DXR_HOST_HASH_REPLACE), uint32_t{ENOMEM});
    EXPECT_EQ(Walk(table), (Pairs{{1, 1}}));
    DxrHostFailNth(host, "hash.insert", 0, false);
    EXPECT_EQ(Insert(table, 2, 2), 0U);
    EXPECT_EQ(DXR_HashFree(table), 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostHash, TablesThatAreLeftAreReported) {
    void *const table = Create();
    EXPECT_EQ(Insert(table, 1, 1), 0U);
    EXPECT_EQ(Insert(table, 2, 1), 0U);
    EXPECT_NE(Create(), nullptr);
    EXPECT_EQ(End(), 2U);
    const std::vector<std::string> texts = Texts(DXR_HOST_REPORT_LEFTOVER);
    ASSERT_EQ(texts.size(), 2U);
    for (const std::string &text : texts) {
        EXPECT_EQ(text.rfind("left behind: hash table of ", 0), 0U) << text;
        EXPECT_NE(text.find("made by DXR_HashCreate by "), std::string::npos) << text;
    }
    EXPECT_NE(texts[0].find("of 2 entries") == std::string::npos,
              texts[1].find("of 2 entries") == std::string::npos);
}

TEST_F(HostHash, AnswersWithoutAHost) {
    void *const table = Create();
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    EXPECT_EQ(End(), 1U);
    uint32_t key = 1;
    DxrHostHashOptions wanted = Options();
    EXPECT_EQ(hooks.hash.hashCreate(&wanted), nullptr);
    EXPECT_EQ(hooks.hash.hashCount(table), 0U);
    EXPECT_EQ(hooks.hash.hashFindKey(table, &key), nullptr);
    EXPECT_EQ(hooks.hash.hashFree(table), uint32_t{EBADF});
    EXPECT_EQ(hooks.hash.hashGetBucketNum(table), 0U);
    EXPECT_EQ(hooks.hash.hashGetFirst(table), nullptr);
    EXPECT_EQ(hooks.hash.hashGetNext(table, table), nullptr);
    EXPECT_EQ(hooks.hash.hashGetMaxItem(table), 0U);
    EXPECT_EQ(hooks.hash.hashInsert(table, &key, &key, 4, 0), uint32_t{EBADF});
    EXPECT_EQ(hooks.hash.hashRemove(table, &key), uint32_t{EBADF});
    EXPECT_EQ(hooks.hash.hashGetFromEntry(table, 0, 0), nullptr);
}

// --- Threads

int CompareSlowly(const void *key, const void *other, void * /*user*/) {
    if (*static_cast<const uint32_t *>(key) % 8 == 0) {
        std::this_thread::yield();
    }
    return std::memcmp(key, other, sizeof(uint32_t));
}

// A value is its key times 3, whoever has written it.
TEST_F(HostHash, ThreadsShareATable) {
    const std::array<DxrHostHashCompare, 2> compares = {nullptr, CompareSlowly};
    for (const DxrHostHashCompare compare : compares) {
        DxrHostHashOptions wanted = Options();
        wanted.buckets = 2;
        wanted.compare = compare;
        void *const table = DXR_HashCreate(&wanted);
        std::vector<std::thread> threads;
        for (uint32_t number = 0; number < 3; ++number) {
            threads.emplace_back([table, number] {
                std::mt19937 random(number);
                for (int i = 0; i < 400; ++i) {
                    const auto key = static_cast<uint32_t>(random() % 16);
                    const uint32_t result = Insert(table, key, key * 3, random() % 2);
                    EXPECT_TRUE(result == 0 || result == EEXIST);
                    EXPECT_LE(DXR_HashCount(table), 16U);
                    (void)Find(table, static_cast<uint32_t>(random() % 16));
                    const uint32_t removed = Remove(table, static_cast<uint32_t>(random() % 16));
                    EXPECT_TRUE(removed == 0 || removed == ENOENT);
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        const Pairs pairs = Walk(table);
        EXPECT_EQ(pairs.size(), DXR_HashCount(table));
        for (const auto &[key, data] : pairs) {
            EXPECT_EQ(data, key * 3);
        }
        EXPECT_EQ(DXR_HashFree(table), 0U);
    }
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostHash, WalksByOneThreadSeeChangesByAnother) {
    void *const table = Create();
    std::array<void *, 16> stable{};
    for (uint32_t key = 0; key < 32; ++key) {
        EXPECT_EQ(Insert(table, key, key), 0U);
        if (key < stable.size()) {
            stable[key] = Find(table, key);
        }
    }
    std::atomic<bool> isDone{false};
    std::thread changer([table, &isDone] {
        for (uint32_t i = 0; !isDone; i = (i + 1) % 16) {
            EXPECT_EQ(Remove(table, 16 + i), 0U);
            EXPECT_EQ(Insert(table, 16 + i, i), 0U);
        }
    });
    for (int round = 0; round < 200; ++round) {
        void *entry = DXR_HashGetFirst(table);
        for (void *const each : stable) {
            ASSERT_EQ(entry, each);
            entry = DXR_HashGetNext(table, entry);
        }
        // What follows is added again and again: the walk may be endless, and is broken off.
        for (int step = 0; entry != nullptr && step < 64; ++step) {
            entry = DXR_HashGetNext(table, entry);
        }
    }
    isDone = true;
    changer.join();
    EXPECT_EQ(DXR_HashCount(table), 32U);
    EXPECT_EQ(DXR_HashFree(table), 0U);
}

}  // namespace
