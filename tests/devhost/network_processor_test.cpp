// The host's network processors, by the sentences of their header.
#include "dxr_devhost/network_processor.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

#include "devhost/host_fixture.h"
#include "support/test_host.h"

namespace {

using NetworkProcessor = dxrtest::SteppedHost;

DxrHostMcPortMap MapOf(const std::vector<uint32_t> &ports) {
    DxrHostMcPortMap map{};
    map.size = sizeof(map);
    for (const uint32_t port : ports) {
        map.ports[port / 64] |= uint64_t{1} << port % 64;
    }
    return map;
}

uint32_t Set(uint32_t group, const std::vector<uint32_t> &ports) {
    DxrHostMcPortMap map = MapOf(ports);
    return DXR_SetMcPortMap(group, &map);
}

bool Has(DxrHost *host, uint32_t group, const std::vector<uint32_t> &ports) {
    const DxrHostMcPortMap wanted = MapOf(ports);
    DxrHostMcPortMap map{};
    std::memset(&map, 0x5A, sizeof(map));
    return DxrHostGetMcPortMap(host, group, &map) && std::memcmp(&map, &wanted, sizeof(map)) == 0;
}

TEST_F(NetworkProcessor, KeepsThePortsOfGroups) {
    EXPECT_EQ(Set(7, {0, 63, 64, 1023}), 0U);
    EXPECT_EQ(Set(0xFFFFFFFF, {5}), 0U);
    EXPECT_TRUE(Has(host, 7, {0, 63, 64, 1023}));
    EXPECT_TRUE(Has(nullptr, 0xFFFFFFFF, {5})) << "null stands for the registered host";
    EXPECT_EQ(Set(7, {1}), 0U);
    EXPECT_TRUE(Has(host, 7, {1})) << "in place of the old ones";
    EXPECT_EQ(Set(7, {}), 0U);
    EXPECT_EQ(Set(8, {}), 0U);
    DxrHostMcPortMap map = MapOf({9});
    EXPECT_FALSE(DxrHostGetMcPortMap(host, 7, &map)) << "taken away";
    EXPECT_EQ(map.ports[0], uint64_t{1} << 9) << "nothing is written";
    map.reserved = 77;
    EXPECT_EQ(DXR_SetMcPortMap(3, &map), 0U);
    EXPECT_TRUE(Has(host, 3, {9})) << "`reserved` is 0";
    EXPECT_TRUE(reports.empty());
}

TEST_F(NetworkProcessor, KnowsWhichPortsThereAre) {
    EXPECT_EQ(Set(1, {1023}), 0U);
    DxrHostSetMcPorts(host, 48);
    EXPECT_TRUE(Has(host, 1, {1023})) << "stays as it is";
    EXPECT_EQ(Set(1, {48}), uint32_t{ERANGE});
    EXPECT_TRUE(Has(host, 1, {1023}));
    EXPECT_EQ(Set(1, {0, 47}), 0U);
    DxrHostSetMcPorts(nullptr, 64);
    EXPECT_EQ(Set(1, {63}), 0U);
    EXPECT_EQ(Set(1, {64}), uint32_t{ERANGE});
    DxrHostSetMcPorts(host, 0);
    EXPECT_EQ(Set(1, {0}), uint32_t{ERANGE});
    DxrHostSetMcPorts(host, 0xFFFFFFFF);
    EXPECT_EQ(Set(1, {1023}), 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(NetworkProcessor, HasRoomForSoManyGroups) {
    for (uint32_t group = 0; group < 4096; ++group) {
        ASSERT_EQ(Set(group, {1}), 0U);
    }
    EXPECT_EQ(Set(4096, {1}), uint32_t{ENOSPC});
    EXPECT_EQ(Set(4095, {2}), 0U) << "it is there";
    EXPECT_EQ(Set(0, {}), 0U);
    EXPECT_EQ(Set(4096, {1}), 0U);
}

struct Drops {
    uint64_t packets = 0;
    uint64_t bytes = 0;
    bool operator==(const Drops &) const = default;
};

Drops Read(uint32_t unit, uint32_t port, uint32_t queue, uint8_t mode) {
    DxrHostQueueDrops drops{sizeof(drops), 0, 99, 99};
    EXPECT_EQ(DXR_GetQueueDropStat(unit, port, queue, mode, &drops), 0U);
    return {drops.packets, drops.bytes};
}

TEST_F(NetworkProcessor, CountsWhatQueuesDrop) {
    EXPECT_EQ(Read(1, 2, 3, DXR_HOST_DROPS_READ), Drops());
    EXPECT_EQ(Read(1, 2, 3, DXR_HOST_DROPS_CLEAR), Drops());
    EXPECT_TRUE(DxrHostAddQueueDrops(host, 1, 2, 3, 10, 640));
    EXPECT_TRUE(DxrHostAddQueueDrops(nullptr, 1, 2, 3, 1, 64));
    EXPECT_EQ(Read(1, 2, 3, DXR_HOST_DROPS_READ), (Drops{11, 704}));
    EXPECT_EQ(Read(3, 2, 1, DXR_HOST_DROPS_READ), Drops()) << "another queue";
    EXPECT_EQ(Read(1, 2, 3, DXR_HOST_DROPS_CLEAR), (Drops{11, 704}));
    EXPECT_EQ(Read(1, 2, 3, DXR_HOST_DROPS_READ), Drops());
    constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();
    EXPECT_TRUE(DxrHostAddQueueDrops(host, 1, 2, 3, kMost - 1, 5));
    EXPECT_TRUE(DxrHostAddQueueDrops(host, 1, 2, 3, 2, kMost));
    EXPECT_EQ(Read(1, 2, 3, DXR_HOST_DROPS_READ), (Drops{kMost, kMost})) << "no wrap";
}

TEST_F(NetworkProcessor, AgreesWithAModelOfItsQueues) {
    std::mt19937_64 random(dxrtest::Seed());
    std::map<std::tuple<uint32_t, uint32_t, uint32_t>, Drops> model;
    for (int step = 0; step < 5000; ++step) {
        const auto unit = static_cast<uint32_t>(random() % 3);
        const auto port = static_cast<uint32_t>(random() % 3);
        const auto queue = static_cast<uint32_t>(random() % 3);
        Drops &drops = model[{unit, port, queue}];
        if (random() % 2 == 0) {
            const Drops more{random() % 100, random() % 10000};
            ASSERT_TRUE(DxrHostAddQueueDrops(host, unit, port, queue, more.packets, more.bytes));
            drops = {drops.packets + more.packets, drops.bytes + more.bytes};
            continue;
        }
        const auto mode = static_cast<uint8_t>(random() % 2);
        ASSERT_EQ(Read(unit, port, queue, mode), drops);
        drops = mode == DXR_HOST_DROPS_CLEAR ? Drops{} : drops;
    }
}

TEST_F(NetworkProcessor, TellsPriorities) {
    for (uint32_t priority = 0; priority < 8; ++priority) {
        uint32_t sp = 99;
        EXPECT_EQ(DXR_GetAbsPfcLogicSp(1, 2, priority, &sp), 0U);
        EXPECT_EQ(sp, priority) << "its own number";
    }
    EXPECT_TRUE(DxrHostSetAbsPfcLogicSp(host, 1, 2, 7, 300));
    EXPECT_TRUE(DxrHostSetAbsPfcLogicSp(nullptr, 1, 2, 0, 1));
    EXPECT_FALSE(DxrHostSetAbsPfcLogicSp(host, 1, 2, 8, 1));
    uint32_t sp = 0;
    EXPECT_EQ(DXR_GetAbsPfcLogicSp(1, 2, 7, &sp), 0U);
    EXPECT_EQ(sp, 300U);
    EXPECT_EQ(DXR_GetAbsPfcLogicSp(1, 2, 0, &sp), 0U);
    EXPECT_EQ(sp, 1U);
    EXPECT_EQ(DXR_GetAbsPfcLogicSp(2, 1, 7, &sp), 0U);
    EXPECT_EQ(sp, 7U) << "another port";
    EXPECT_TRUE(reports.empty());
}

TEST_F(NetworkProcessor, PointsFail) {
    uint32_t sp = 99;
    DxrHostQueueDrops drops{sizeof(drops), 0, 99, 99};
    EXPECT_EQ(Set(1, {1}), 0U);
    DxrHostAddQueueDrops(host, 0, 0, 0, 4, 5);
    DxrHostFailNth(host, "np.map", 1, false);
    DxrHostFailNth(host, "np.drop", 1, false);
    DxrHostFailNth(host, "np.pfc", 1, false);
    EXPECT_EQ(Set(1, {2}), uint32_t{EIO});
    EXPECT_TRUE(Has(host, 1, {1}));
    EXPECT_EQ(DXR_GetQueueDropStat(0, 0, 0, DXR_HOST_DROPS_CLEAR, &drops), uint32_t{EIO});
    EXPECT_EQ(DXR_GetAbsPfcLogicSp(0, 0, 0, &sp), uint32_t{EIO});
    EXPECT_EQ(drops.packets, 99U);
    EXPECT_EQ(sp, 99U);
    EXPECT_EQ(Set(1, {2}), 0U);
    EXPECT_EQ(Read(0, 0, 0, DXR_HOST_DROPS_READ), (Drops{4, 5})) << "the counts have stayed";
    EXPECT_EQ(DXR_GetAbsPfcLogicSp(0, 0, 0, &sp), 0U);
}

TEST_F(NetworkProcessor, ReportsWhatCannotBe) {
    alignas(8) std::array<char, 256> bytes{};
    DxrHostQueueDrops drops{sizeof(drops) - 1, 0, 99, 99};
    uint32_t sp = 99;
    EXPECT_EQ(DXR_SetMcPortMap(1, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_SetMcPortMap(1, bytes.data() + 4), uint32_t{EINVAL}) << "misaligned";
    EXPECT_EQ(DXR_SetMcPortMap(1, bytes.data()), uint32_t{EINVAL}) << "its size is 0";
    EXPECT_EQ(DXR_GetQueueDropStat(1, 1, 1, 0, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetQueueDropStat(1, 1, 1, 0, &drops), uint32_t{EINVAL});
    drops.size = sizeof(drops);
    EXPECT_EQ(DXR_GetQueueDropStat(1, 1, 1, 2, &drops), uint32_t{EINVAL});
    EXPECT_EQ(drops.packets, 99U);
    EXPECT_EQ(DXR_GetAbsPfcLogicSp(1, 1, 1, nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetAbsPfcLogicSp(1, 1, 1, bytes.data() + 1), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetAbsPfcLogicSp(1, 1, 8, &sp), uint32_t{EINVAL});
    EXPECT_EQ(sp, 99U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 9U);
}

TEST_F(NetworkProcessor, AnswersWithoutAHost) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    End();
    DxrHostMcPortMap map = MapOf({1});
    DxrHostQueueDrops drops{sizeof(drops), 0, 0, 0};
    uint32_t sp = 0;
    EXPECT_EQ(hooks.np.setMcPortMap(1, &map), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.np.getQueueDropStat(1, 1, 1, 0, &drops), uint32_t{ECANCELED});
    EXPECT_EQ(hooks.np.getAbsPfcLogicSp(1, 1, 1, &sp), uint32_t{ECANCELED});
    EXPECT_FALSE(DxrHostGetMcPortMap(nullptr, 1, &map));
    EXPECT_FALSE(DxrHostAddQueueDrops(nullptr, 1, 1, 1, 1, 1));
    EXPECT_FALSE(DxrHostSetAbsPfcLogicSp(nullptr, 1, 1, 1, 1));
    DxrHostSetMcPorts(nullptr, 1);
}

using NetworkProcessorThreads = dxrtest::RealHost;

TEST_F(NetworkProcessorThreads, OneReaderGetsADrop) {
    constexpr uint64_t kPackets = 20000;
    std::array<uint64_t, 2> seen{};
    std::vector<std::thread> threads;
    threads.reserve(3);
    threads.emplace_back([this] {
        for (uint64_t i = 0; i < kPackets; ++i) {
            EXPECT_TRUE(DxrHostAddQueueDrops(host, 0, 0, 0, 1, 100));
            EXPECT_EQ(Set(1, {static_cast<uint32_t>(i % 1024)}), 0U);
        }
    });
    for (uint64_t &packets : seen) {
        threads.emplace_back([&packets] {
            for (int i = 0; i < 2000; ++i) {
                const Drops drops = Read(0, 0, 0, DXR_HOST_DROPS_CLEAR);
                EXPECT_EQ(drops.bytes, drops.packets * 100);
                packets += drops.packets;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(seen[0] + seen[1] + Read(0, 0, 0, DXR_HOST_DROPS_READ).packets, kPackets);
}

}  // namespace
