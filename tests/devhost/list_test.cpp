// The host's list service, by the sentences of its header.
#include "dxr_devhost/list.h"

#include <algorithm>
#include <array>
#include <random>
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

}  // namespace
