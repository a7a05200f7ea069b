// The host's list service, by the sentences of its header.
#include "dxr_devhost/list.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "devhost/host_fixture.h"
#include "support/test_host.h"

namespace {

using HostList = dxrtest::RealHost;

std::vector<int> Walk(void *list) {
    std::vector<int> values;
    DxrSllIterator iterator = DXR_InitSllIterator(list);
    while (DXR_SllIteratorHasNext(&iterator) != 0) {
        values.push_back(*static_cast<int *>(DXR_SllIteratorGetNextData(&iterator)));
    }
    return values;
}

TEST_F(HostList, ListsKeepTheirOrder) {
    std::array<int, 4> data = {0, 1, 2, 3};
    void *const list = DXR_CreateSll();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(Walk(list), std::vector<int>());
    DXR_AddSll(list, &data[1], DXR_HOST_LIST_TAIL);
    DXR_AddSll(list, &data[2], DXR_HOST_LIST_TAIL);
    DXR_AddSll(list, &data[0], DXR_HOST_LIST_HEAD);
    DXR_AddSll(list, &data[3], 77);
    EXPECT_EQ(Walk(list), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(DXR_SslGetCount(list), 4U);
    DXR_RemoveSll(list, &data[3]);
    DXR_RemoveSll(list, &data[3]);
    DXR_AddSll(list, &data[0], DXR_HOST_LIST_TAIL);
    EXPECT_EQ(Walk(list), (std::vector<int>{0, 1, 2, 0}));
    DXR_RemoveSll(list, &data[0]);
    EXPECT_EQ(Walk(list), (std::vector<int>{1, 2, 0})) << "only the first";
    DXR_DestroySll(list);
}

TEST_F(HostList, ListsProcessASingleNode) {
    std::array<int, 3> data = {0, 1, 2};
    void *const list = DXR_CreateSll();
    for (int &value : data) {
        DXR_AddSll(list, &value, DXR_HOST_LIST_TAIL);
    }
    int other = 0;
    EXPECT_EQ(DXR_SslProcSingleNode(list, &data[1], DXR_HOST_LIST_FIND), 0U);
    EXPECT_EQ(DXR_SslProcSingleNode(list, &other, DXR_HOST_LIST_FIND), 1U);
    EXPECT_EQ(DXR_SslProcSingleNode(list, &data[1], 3), 1U) << "no such action";
    EXPECT_EQ(DXR_SslProcSingleNode(list, &data[2], DXR_HOST_LIST_MOVE_TO_HEAD), 0U);
    EXPECT_EQ(Walk(list), (std::vector<int>{2, 0, 1}));
    EXPECT_EQ(DXR_SslProcSingleNode(list, &data[1], DXR_HOST_LIST_REMOVE), 0U);
    EXPECT_EQ(Walk(list), (std::vector<int>{2, 0}));
    DXR_DestroySll(list);
}

TEST_F(HostList, ANullListIsEmpty) {
    int value = 0;
    DXR_AddSll(nullptr, &value, 0);
    DXR_RemoveSll(nullptr, &value);
    DXR_DestroySll(nullptr);
    EXPECT_EQ(DXR_SslGetCount(nullptr), 0U);
    EXPECT_EQ(DXR_SslGetNextNode(nullptr, nullptr), nullptr);
    EXPECT_EQ(DXR_SslGetNodeData(nullptr), nullptr);
    EXPECT_EQ(DXR_SslProcSingleNode(nullptr, &value, DXR_HOST_LIST_FIND), 1U);
}

TEST_F(HostList, ListsAgreeWithAModel) {
    std::mt19937_64 random(dxrtest::Seed());
    std::array<int, 8> data = {0, 1, 2, 3, 4, 5, 6, 7};
    void *const list = DXR_CreateSll();
    std::vector<int> model;
    for (int step = 0; step < 5000; ++step) {
        const int value = static_cast<int>(random() % data.size());
        const auto found = std::find(model.begin(), model.end(), value);
        switch (random() % 5) {
            case 0:
                DXR_AddSll(list, &data[static_cast<size_t>(value)], DXR_HOST_LIST_TAIL);
                model.push_back(value);
                break;
            case 1:
                DXR_AddSll(list, &data[static_cast<size_t>(value)], DXR_HOST_LIST_HEAD);
                model.insert(model.begin(), value);
                break;
            case 2:
                DXR_SslProcSingleNode(list, &data[static_cast<size_t>(value)],
                                      DXR_HOST_LIST_MOVE_TO_HEAD);
                if (found != model.end()) {
                    std::rotate(model.begin(), found, found + 1);
                }
                break;
            default:
                DXR_RemoveSll(list, &data[static_cast<size_t>(value)]);
                if (found != model.end()) {
                    model.erase(found);
                }
        }
        ASSERT_EQ(DXR_SslGetCount(list), model.size());
        ASSERT_EQ(Walk(list), model);
    }
    DXR_DestroySll(list);
}

TEST_F(HostList, AWalkSurvivesTheRemovalOfItsNode) {
    std::array<int, 6> data = {0, 1, 2, 3, 4, 5};
    void *const list = DXR_CreateSll();
    for (int &value : data) {
        DXR_AddSll(list, &value, DXR_HOST_LIST_TAIL);
    }
    std::vector<int> seen;
    for (void *node = DXR_SslGetNextNode(list, nullptr); node != nullptr;
         node = DXR_SslGetNextNode(list, node)) {
        auto *const value = static_cast<int *>(DXR_SslGetNodeData(node));
        seen.push_back(*value);
        DXR_RemoveSll(list, value);
        if (*value == 1) {
            DXR_RemoveSll(list, &data[2]);  // also what would have followed
        }
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 3, 4, 5}));
    EXPECT_EQ(DXR_SslGetCount(list), 0U);
    DXR_DestroySll(list);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostList, SixtyFourRemovalsAreRemembered) {
    std::array<int, 70> data{};
    void *const list = DXR_CreateSll();
    for (int &value : data) {
        DXR_AddSll(list, &value, DXR_HOST_LIST_TAIL);
    }
    std::array<void *, 65> nodes{};
    void *node = nullptr;
    for (void *&each : nodes) {
        each = node = DXR_SslGetNextNode(list, node);
    }
    void *const next = DXR_SslGetNextNode(list, node);
    for (size_t i = 0; i < nodes.size(); ++i) {
        DXR_RemoveSll(list, &data[i]);
    }
    for (size_t i = 1; i < nodes.size(); ++i) {
        ASSERT_EQ(DXR_SslGetNextNode(list, nodes[i]), next) << i;
    }
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_SslGetNextNode(list, nodes[0]), nullptr) << "forgotten";
    EXPECT_EQ(reports.size(), 1U);
    EXPECT_EQ(DXR_SslGetNodeData(nodes[64]), nullptr);
    DXR_DestroySll(list);
}

TEST_F(HostList, BadHandlesAreReportedAndHarmless) {
    int value = 0;
    void *const list = DXR_CreateSll();
    void *const other = DXR_CreateSll();
    DXR_AddSll(other, &value, 0);
    void *const node = DXR_SslGetNextNode(other, nullptr);
    EXPECT_EQ(DXR_SslGetNextNode(list, node), nullptr);
    EXPECT_EQ(DXR_SslGetNextNode(list, list), nullptr);
    EXPECT_EQ(DXR_SslGetNodeData(list), nullptr);
    EXPECT_EQ(DXR_SslGetNodeData(&value), nullptr);
    DXR_DestroySll(other);
    EXPECT_EQ(DXR_SslGetNodeData(node), nullptr) << "it went with its list";
    DXR_AddSll(other, &value, 0);
    DXR_RemoveSll(other, &value);
    EXPECT_EQ(DXR_SslGetCount(other), 0U);
    EXPECT_EQ(DXR_SslProcSingleNode(other, &value, DXR_HOST_LIST_FIND), 1U);
    DXR_DestroySll(other);
    DXR_DestroySll(list);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), reports.size());
    EXPECT_EQ(reports[0].text, std::string("the node belongs to another list"));
    EXPECT_GE(reports.size(), 8U);
}

// Asks for the node after one that is of another list, and tells who called.
[[gnu::noinline]] const void *AskForAStranger(void *list, void *node) {
    EXPECT_EQ(DXR_GetListHooks()->sslGetNextNode(list, node), nullptr);
    return __builtin_return_address(0);
}

TEST_F(HostList, ReportsNameTheFunctionThatCalled) {
    int value = 0;
    void *const list = DXR_CreateSll();
    void *const other = DXR_CreateSll();
    DXR_AddSll(other, &value, 0);
    const void *const behind = AskForAStranger(list, DXR_SslGetNextNode(other, nullptr));
    ASSERT_EQ(reports.size(), 1U);
    Dl_info info{};
    ASSERT_NE(dladdr(behind, &info), 0);
    std::array<char, 32> offset{};
    (void)std::snprintf(offset.data(), offset.size(), "+0x%zx",
                        static_cast<size_t>(static_cast<const char *>(behind) -
                                            static_cast<const char *>(info.dli_fbase)));
    const std::string caller = reports[0].caller;
    EXPECT_EQ(caller.find("devhost_list_test"), 0U) << caller;
    EXPECT_EQ(caller.find(offset.data()), std::string::npos) << "not the one before it";
    DXR_DestroySll(other);
    DXR_DestroySll(list);
}

TEST_F(HostList, FailedStepsAddNothing) {
    int value = 0;
    DxrHostFailNth(host, "list.create", 1, false);
    EXPECT_EQ(DXR_CreateSll(), nullptr);
    void *const list = DXR_CreateSll();
    DxrHostFailNth(host, "list.add", 2, false);
    DXR_AddSll(list, &value, 0);
    DXR_AddSll(list, &value, 0);
    DXR_AddSll(list, &value, 0);
    EXPECT_EQ(DXR_SslGetCount(list), 2U);
    EXPECT_EQ(reports.size(), 1U);
    DXR_DestroySll(list);
}

}  // namespace
