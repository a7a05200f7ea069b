#include "dxr/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "support/test_host.h"

namespace {

using Calls = std::vector<std::string>;

// A host's list: the node of element i is the address of its data.
struct HostList {
    std::vector<int *> data;
    uint32_t count = 0;          // what the host claims
    bool hasNoNextNode = false;  // whatever it claims
    void *lastNode = nullptr;    // the node whose successor was asked for
    void *addedData = nullptr;
    uint32_t addedArgument = 0;
    Calls calls;
};

HostList *ListOf(void *list) {
    return static_cast<HostList *>(list);
}

HostList *g_nodeOwner = nullptr;

uint32_t GetCount(void *list) {
    ListOf(list)->calls.emplace_back("count");
    return ListOf(list)->count;
}

void *GetNextNode(void *list, void *node) {
    HostList &host = *ListOf(list);
    host.calls.emplace_back("next");
    host.lastNode = node;
    if (host.hasNoNextNode) {
        return nullptr;
    }
    if (node == nullptr) {
        return host.data.empty() ? nullptr : &host.data.front();
    }
    int **next = static_cast<int **>(node) + 1;
    return next < host.data.data() + host.data.size() ? next : nullptr;
}

void *GetNodeData(void *node) {
    g_nodeOwner->calls.emplace_back("data");
    return *static_cast<int **>(node);
}

void Add(void *list, void *data, uint32_t argument) {
    HostList &host = *ListOf(list);
    host.calls.emplace_back("add");
    host.addedData = data;
    host.addedArgument = argument;
}

class SllIterator : public testing::Test {
  protected:
    SllIterator() {
        g_nodeOwner = &list_;
        list_.data = {&a_, &b_, &c_};
        list_.count = 3;
    }

    static void FillGroup() {
        g_dxrHooks.list.addSll = Add;
        g_dxrHooks.list.sslGetCount = GetCount;
        g_dxrHooks.list.sslGetNextNode = GetNextNode;
        g_dxrHooks.list.sslGetNodeData = GetNodeData;
    }

    void *Node(size_t i) { return &list_.data[i]; }

    dxrtest::TestHost host_;
    int a_ = 0;
    int b_ = 0;
    int c_ = 0;
    HostList list_;
};

template <typename T>
T At(const DxrSllIterator &it, size_t offset) {
    T value;
    std::memcpy(&value, reinterpret_cast<const char *>(&it) + offset, sizeof(value));
    return value;
}

// Members of the packed record by value: references to them would not be aligned.
void ExpectPosition(const DxrSllIterator &it, const void *node, uint32_t index) {
    EXPECT_EQ(node, At<void *>(it, 8));
    EXPECT_EQ(index, At<uint32_t>(it, 16));
}

TEST_F(SllIterator, RecordIsPackedInTheOrderOfItsFields) {
    EXPECT_EQ(60U, sizeof(DxrSllIterator));
    const DxrSllIterator it = DXR_InitSllIterator(&list_);
    EXPECT_EQ(static_cast<void *>(&list_), At<void *>(it, 0));
    EXPECT_EQ(nullptr, At<void *>(it, 8));
    EXPECT_EQ(0U, At<uint32_t>(it, 16));
    EXPECT_EQ(&DXR_SllIteratorAddData, At<decltype(&DXR_SllIteratorAddData)>(it, 20));
    EXPECT_EQ(&DXR_SllIteratorHasNext, At<decltype(&DXR_SllIteratorHasNext)>(it, 28));
    EXPECT_EQ(&DXR_SllIteratorGetNextData, At<decltype(&DXR_SllIteratorGetNextData)>(it, 36));
    EXPECT_EQ(&DXR_SllIteratorGetCount, At<decltype(&DXR_SllIteratorGetCount)>(it, 44));
    EXPECT_EQ(&DXR_SllIteratorMoveToHead, At<decltype(&DXR_SllIteratorMoveToHead)>(it, 52));
}

TEST_F(SllIterator, MembersStandWhereTheRecordHasThem) {
    EXPECT_EQ(0U, offsetof(DxrSllIterator, list));
    EXPECT_EQ(8U, offsetof(DxrSllIterator, node));
    EXPECT_EQ(16U, offsetof(DxrSllIterator, index));
    EXPECT_EQ(20U, offsetof(DxrSllIterator, addData));
    EXPECT_EQ(28U, offsetof(DxrSllIterator, hasNext));
    EXPECT_EQ(36U, offsetof(DxrSllIterator, getNextData));
    EXPECT_EQ(44U, offsetof(DxrSllIterator, getCount));
    EXPECT_EQ(52U, offsetof(DxrSllIterator, moveToHead));
}

TEST_F(SllIterator, InitCallsNoHookAndTakesAnyList) {
    FillGroup();
    const DxrSllIterator first = DXR_InitSllIterator(&list_);
    EXPECT_EQ(Calls{}, list_.calls);
    const DxrSllIterator null = DXR_InitSllIterator(nullptr);
    EXPECT_EQ(nullptr, At<void *>(null, 0));
    const auto nowhere = reinterpret_cast<void *>(uintptr_t{1});
    EXPECT_EQ(nowhere, At<void *>(DXR_InitSllIterator(nowhere), 0));
    // Records are values: one does not show in another.
    EXPECT_EQ(static_cast<void *>(&list_), At<void *>(first, 0));
}

TEST_F(SllIterator, WalksTheListOnce) {
    FillGroup();
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    EXPECT_EQ(1U, DXR_SllIteratorHasNext(&it));
    EXPECT_EQ(&a_, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, Node(0), 1);
    EXPECT_EQ(nullptr, list_.lastNode);
    EXPECT_EQ(&b_, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, Node(1), 2);
    EXPECT_EQ(Node(0), list_.lastNode);
    EXPECT_EQ(1U, DXR_SllIteratorHasNext(&it));
    EXPECT_EQ(&c_, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, Node(2), 3);
    EXPECT_EQ(0U, DXR_SllIteratorHasNext(&it));
    list_.calls.clear();
    EXPECT_EQ(nullptr, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, Node(2), 3);
    EXPECT_EQ(Calls{"count"}, list_.calls);
}

TEST_F(SllIterator, WalksThroughItsOwnMembers) {
    FillGroup();
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    std::vector<void *> seen;
    while (it.hasNext(&it) != 0) {
        seen.push_back(it.getNextData(&it));
    }
    EXPECT_EQ((std::vector<void *>{&a_, &b_, &c_}), seen);
    EXPECT_EQ(3U, it.getCount(&it));
    it.moveToHead(&it);
    EXPECT_EQ(1U, it.hasNext(&it));
    it.addData(&it, &b_, 4);
    EXPECT_EQ(&b_, list_.addedData);
}

TEST_F(SllIterator, StepAsksForCountThenNodeThenData) {
    FillGroup();
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    static_cast<void>(DXR_SllIteratorGetNextData(&it));
    EXPECT_EQ((Calls{"count", "next", "data"}), list_.calls);
}

TEST_F(SllIterator, CountIsAskedForEachTime) {
    FillGroup();
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    list_.count = 0;
    EXPECT_EQ(0U, DXR_SllIteratorHasNext(&it));
    EXPECT_EQ(nullptr, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, nullptr, 0);
    list_.count = 1;
    EXPECT_EQ(1U, DXR_SllIteratorHasNext(&it));
    EXPECT_EQ(&a_, DXR_SllIteratorGetNextData(&it));
    EXPECT_EQ(0U, DXR_SllIteratorHasNext(&it));
    list_.count = 2;
    EXPECT_EQ(1U, DXR_SllIteratorHasNext(&it));
    EXPECT_EQ(2U, DXR_SllIteratorGetCount(&it));
    EXPECT_EQ(
        (Calls{"count", "count", "count", "count", "next", "data", "count", "count", "count"}),
        list_.calls);
}

TEST_F(SllIterator, CountIsComparedUnsigned) {
    FillGroup();
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    const struct {
        uint32_t index;
        uint32_t count;
        uint32_t hasNext;
    } cases[] = {{0x7FFFFFFF, 0x80000000, 1}, {0x80000000, 0x7FFFFFFF, 0}, {0, 0xFFFFFFFF, 1},
                 {0xFFFFFFFE, 0xFFFFFFFF, 1}, {0xFFFFFFFF, 0xFFFFFFFF, 0}, {0xFFFFFFFF, 0, 0}};
    for (const auto &each : cases) {
        it.index = each.index;
        list_.count = each.count;
        EXPECT_EQ(each.hasNext, DXR_SllIteratorHasNext(&it)) << each.index << " " << each.count;
        list_.calls.clear();
        static_cast<void>(DXR_SllIteratorGetNextData(&it));
        EXPECT_EQ(each.hasNext == 1 ? 3U : 1U, list_.calls.size());
        it.node = nullptr;
    }
}

TEST_F(SllIterator, MissingNodeIsStoredAndTheIndexStays) {
    FillGroup();
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    static_cast<void>(DXR_SllIteratorGetNextData(&it));
    list_.hasNoNextNode = true;
    list_.calls.clear();
    EXPECT_EQ(nullptr, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, nullptr, 1);
    EXPECT_EQ((Calls{"count", "next"}), list_.calls);
    // The walk begins anew after it, as the node says.
    list_.hasNoNextNode = false;
    EXPECT_EQ(&a_, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, Node(0), 2);
}

TEST_F(SllIterator, NodeWithoutDataIsAStep) {
    FillGroup();
    list_.data[0] = nullptr;
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    EXPECT_EQ(nullptr, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, Node(0), 1);
}

TEST_F(SllIterator, RewindKeepsTheNode) {
    FillGroup();
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    static_cast<void>(DXR_SllIteratorGetNextData(&it));
    static_cast<void>(DXR_SllIteratorGetNextData(&it));
    list_.calls.clear();
    DXR_SllIteratorMoveToHead(&it);
    EXPECT_EQ(Calls{}, list_.calls);
    ExpectPosition(it, Node(1), 0);
    EXPECT_EQ(static_cast<void *>(&list_), At<void *>(it, 0));
    EXPECT_EQ(1U, DXR_SllIteratorHasNext(&it));
    EXPECT_EQ(&c_, DXR_SllIteratorGetNextData(&it));
    EXPECT_EQ(Node(1), list_.lastNode);
    ExpectPosition(it, Node(2), 1);
    EXPECT_EQ(nullptr, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, nullptr, 1);
}

TEST_F(SllIterator, AddDataForwardsAndKeepsThePosition) {
    FillGroup();
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    static_cast<void>(DXR_SllIteratorGetNextData(&it));
    list_.calls.clear();
    DXR_SllIteratorAddData(&it, &c_, 0xFFFFFFFE);
    EXPECT_EQ(Calls{"add"}, list_.calls);
    EXPECT_EQ(&c_, list_.addedData);
    EXPECT_EQ(0xFFFFFFFEU, list_.addedArgument);
    ExpectPosition(it, Node(0), 1);
}

TEST_F(SllIterator, GetCountIsTheHosts) {
    FillGroup();
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    for (const uint32_t count : {0U, 3U, 0xFFFFFFFFU}) {
        list_.count = count;
        EXPECT_EQ(count, DXR_SllIteratorGetCount(&it));
    }
}

TEST_F(SllIterator, EmptyGroupHasNothingToWalk) {
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    EXPECT_EQ(0U, DXR_SllIteratorHasNext(&it));
    EXPECT_EQ(nullptr, DXR_SllIteratorGetNextData(&it));
    EXPECT_EQ(0U, DXR_SllIteratorGetCount(&it));
    DXR_SllIteratorAddData(&it, &a_, 1);
    DXR_SllIteratorMoveToHead(&it);
    ExpectPosition(it, nullptr, 0);
    EXPECT_EQ(Calls{}, list_.calls);
}

TEST_F(SllIterator, WithoutTheNodeHookTheStepFails) {
    g_dxrHooks.list.sslGetCount = GetCount;
    DxrSllIterator it = DXR_InitSllIterator(&list_);
    it.node = Node(1);
    EXPECT_EQ(nullptr, DXR_SllIteratorGetNextData(&it));
    ExpectPosition(it, nullptr, 0);
}

}  // namespace
