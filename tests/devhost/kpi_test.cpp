// The host's KPI service, by the sentences of its header.
#include "dxr_devhost/kpi.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "devhost/host_fixture.h"
#include "support/test_host.h"

namespace {

using HostKpi = dxrtest::SteppedHost;

constexpr uint64_t kStartMs = 946684800000;

DxrHostKpiAttribute Attribute(uint32_t indicator, uint32_t object = 0, uint32_t attribute = 0) {
    return {sizeof(DxrHostKpiAttribute), indicator, object, attribute};
}

uint32_t Update(DxrHostKpiAttribute attribute, uint32_t value) {
    return DXR_UpdateKpiAttrVal(&attribute, value);
}

TEST_F(HostKpi, ValuesAreKeptAndCounted) {
    const DxrHostKpiAttribute loss = Attribute(1, 2, 3);
    DxrHostKpi kpi{};
    EXPECT_FALSE(DxrHostFindKpi(host, &loss, &kpi)) << "no value yet";
    EXPECT_EQ(Update(loss, 50), 0U);
    DxrHostAdvance(host, 10);
    EXPECT_EQ(Update(loss, 0xFFFFFFFF), 0U);
    DxrHostAdvance(host, 10);
    EXPECT_EQ(Update(loss, 40), 0U);
    ASSERT_TRUE(DxrHostFindKpi(host, &loss, &kpi));
    EXPECT_EQ(kpi.attribute.indicator, 1U);
    EXPECT_EQ(kpi.attribute.object, 2U);
    EXPECT_EQ(kpi.attribute.attribute, 3U);
    EXPECT_EQ(kpi.value, 40U);
    EXPECT_EQ(kpi.least, 40U);
    EXPECT_EQ(kpi.most, 0xFFFFFFFFU);
    EXPECT_EQ(kpi.updates, 3U);
    EXPECT_EQ(kpi.sum, 90ULL + 0xFFFFFFFF);
    EXPECT_EQ(kpi.firstMs, kStartMs);
    EXPECT_EQ(kpi.latestMs, kStartMs + 20);
    EXPECT_FALSE(DxrHostFindKpi(host, nullptr, &kpi));
    EXPECT_FALSE(DxrHostFindKpi(host, &loss, nullptr));
}

TEST_F(HostKpi, AttributesAreListedInTheirOrder) {
    for (const auto &attribute : {Attribute(2, 1, 1), Attribute(1, 2, 1), Attribute(1, 1, 2),
                                  Attribute(1, 1, 1), Attribute(1, 2, 1)}) {
        EXPECT_EQ(Update(attribute, 1), 0U);
    }
    ASSERT_EQ(DxrHostGetKpiCount(host), 4U);
    const std::array<DxrHostKpiAttribute, 4> wanted = {Attribute(1, 1, 1), Attribute(1, 1, 2),
                                                       Attribute(1, 2, 1), Attribute(2, 1, 1)};
    DxrHostKpi kpi{};
    for (uint32_t i = 0; i < wanted.size(); ++i) {
        ASSERT_TRUE(DxrHostGetKpi(host, i, &kpi));
        EXPECT_EQ(kpi.attribute.indicator, wanted[i].indicator) << i;
        EXPECT_EQ(kpi.attribute.object, wanted[i].object) << i;
        EXPECT_EQ(kpi.attribute.attribute, wanted[i].attribute) << i;
    }
    EXPECT_FALSE(DxrHostGetKpi(host, 4, &kpi));
    EXPECT_FALSE(DxrHostGetKpi(host, 0, nullptr));
    DxrHostForgetKpis(host);
    EXPECT_EQ(DxrHostGetKpiCount(host), 0U);
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostKpi, AgreesWithAModel) {
    std::mt19937_64 random(dxrtest::Seed());
    std::map<uint32_t, std::vector<uint32_t>> model;
    for (int step = 0; step < 3000; ++step) {
        const auto indicator = static_cast<uint32_t>(random() % 20);
        const auto value = static_cast<uint32_t>(random());
        model[indicator].push_back(value);
        ASSERT_EQ(Update(Attribute(indicator), value), 0U);
    }
    for (const auto &[indicator, values] : model) {
        const DxrHostKpiAttribute attribute = Attribute(indicator);
        DxrHostKpi kpi{};
        ASSERT_TRUE(DxrHostFindKpi(host, &attribute, &kpi));
        EXPECT_EQ(kpi.value, values.back());
        EXPECT_EQ(kpi.least, *std::min_element(values.begin(), values.end()));
        EXPECT_EQ(kpi.most, *std::max_element(values.begin(), values.end()));
        EXPECT_EQ(kpi.updates, values.size());
        uint64_t sum = 0;
        for (const uint32_t value : values) {
            sum += value;
        }
        EXPECT_EQ(kpi.sum, sum);
    }
}

TEST_F(HostKpi, WrongAttributesAreReported) {
    EXPECT_EQ(DXR_UpdateKpiAttrVal(nullptr, 1), static_cast<uint32_t>(EINVAL));
    std::array<DxrHostKpiAttribute, 2> attributes = {Attribute(1), Attribute(1)};
    EXPECT_EQ(DXR_UpdateKpiAttrVal(reinterpret_cast<char *>(attributes.data()) + 2, 1),
              static_cast<uint32_t>(EINVAL));
    ++attributes[0].size;
    EXPECT_EQ(DXR_UpdateKpiAttrVal(attributes.data(), 1), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 3U);
    EXPECT_EQ(DxrHostGetKpiCount(host), 0U);
}

TEST_F(HostKpi, AFailedUpdateChangesNothing) {
    DxrHostFailNth(host, "kpi.update", 2, false);
    EXPECT_EQ(Update(Attribute(1), 5), 0U);
    EXPECT_EQ(Update(Attribute(1), 6), static_cast<uint32_t>(ENOMEM));
    DxrHostKpi kpi{};
    ASSERT_TRUE(DxrHostGetKpi(host, 0, &kpi));
    EXPECT_EQ(kpi.value, 5U);
    EXPECT_EQ(kpi.updates, 1U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostKpi, ValuesOfManyThreadsAreAllCounted) {
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([thread] {
            for (uint32_t i = 0; i < 1000; ++i) {
                EXPECT_EQ(Update(Attribute(1), i), 0U);
                EXPECT_EQ(Update(Attribute(2, thread), i), 0U);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(DxrHostGetKpiCount(host), 5U);
    DxrHostKpi kpi{};
    ASSERT_TRUE(DxrHostGetKpi(host, 0, &kpi));
    EXPECT_EQ(kpi.updates, 4000U);
    EXPECT_EQ(kpi.sum, 4ULL * 999 * 1000 / 2);
}

TEST_F(HostKpi, AttributesHaveALimit) {
    for (uint32_t i = 0; i < DXR_HOST_MOST_KPIS; ++i) {
        ASSERT_EQ(Update(Attribute(1, i), i), 0U);
    }
    EXPECT_EQ(Update(Attribute(2), 1), static_cast<uint32_t>(ENOSPC));
    EXPECT_EQ(Update(Attribute(2), 1), static_cast<uint32_t>(ENOSPC));
    EXPECT_EQ(Update(Attribute(1), 5), 0U) << "one that has a value";
    EXPECT_EQ(DxrHostGetKpiCount(host), DXR_HOST_MOST_KPIS);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                testing::ElementsAre("more attributes than are kept"));
    DxrHostForgetKpis(host);
    EXPECT_EQ(Update(Attribute(2), 1), 0U);
}

TEST(Kpis, WithoutAHostAreNotTaken) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    DxrHostKpiAttribute attribute = Attribute(1);
    EXPECT_EQ(hooks.kpi.updateKpiAttrVal(&attribute, 1), static_cast<uint32_t>(ECANCELED));
    EXPECT_EQ(DxrHostGetKpiCount(nullptr), 0U);
}

}  // namespace
