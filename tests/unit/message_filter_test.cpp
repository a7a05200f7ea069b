#include "dxr/message_filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "support/class_layout.h"
#include "support/message_filter_records.h"
#include "support/test_host.h"
#include "unit/message_filter_c_caller.h"

namespace {

using Dxr::MessageFilterComponent;
using Dxr::MessageFilterComposite;
using Dxr::MessageFilterLeaf;
using dxrtest::ExportedSymbol;
using dxrtest::FieldAt;
using dxrtest::FilterNode;
using dxrtest::FilterRecords;
using dxrtest::GuardedBuffer;
using dxrtest::VirtualSlot;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint32_t kMax = 0xFFFFFFFF;
using Path = std::list<uint32_t>;

struct Destroy {
    void operator()(DxrMessageFilter *filter) const { DXR_DestroyMessageFilter(&filter); }
};
using Filter = std::unique_ptr<DxrMessageFilter, Destroy>;

Filter Create(const std::vector<FilterNode> &nodes) {
    const FilterRecords records(nodes);
    return Filter(DXR_CreateMessageFilter(records.Data(), records.Size()));
}

std::string Listing(const DxrMessageFilter &filter) {
    std::string text;
    filter.GetFilterStr(text);
    return text;
}
std::string Listing(const Filter &filter) {
    return Listing(*filter);
}

// A component of the test's own: says what it is asked, answers what it was told.
class Probe : public MessageFilterComponent {
  public:
    explicit Probe(std::vector<std::string> *log, const std::string &nodeName = "probe",
                   uint32_t depth = 0)
        : MessageFilterComponent(nodeName, 0, 0, depth), log_(log) {}
    ~Probe() override { log_->push_back("~" + name); }
    Probe(const Probe &) = delete;
    Probe &operator=(const Probe &) = delete;

    void Add(MessageFilterComponent *child) override { added.emplace_back(child); }
    void GetFilterStr(std::string &out) const override { out += "<" + name + ">"; }
    MessageFilterComponent *Find(Path &path) override {
        asked.emplace_back(path.begin(), path.end());
        return answer;
    }

    std::vector<std::unique_ptr<MessageFilterComponent>> added;
    std::vector<std::vector<uint32_t>> asked;
    MessageFilterComponent *answer = nullptr;

  private:
    std::vector<std::string> *log_;
};

// --- building

TEST(MessageFilterBuilding, ANullArrayGivesNoTree) {
    EXPECT_EQ(DXR_CreateMessageFilter(nullptr, 0), nullptr);
    EXPECT_EQ(DXR_CreateMessageFilter(nullptr, 3), nullptr);
}

TEST(MessageFilterBuilding, TheRootIsACompositeOfLayerTypeAndCountZero) {
    const Filter filter = Create({});
    ASSERT_NE(filter, nullptr);
    const auto *const root = dynamic_cast<const MessageFilterComposite *>(filter.get());
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(typeid(*root), typeid(MessageFilterComposite));
    EXPECT_TRUE(root->IsFilterRoot());
    EXPECT_EQ(root->GetLayer(), 0u);
    EXPECT_TRUE(root->IsSameMsgType(0));
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 0), 0);
    std::string own;
    root->MessageFilterComponent::GetFilterStr(own);
    EXPECT_EQ(own, "msgType[0], lostCnt[0], name[root]\r\n");
}

TEST(MessageFilterBuilding, OnlyTheGivenNumberOfRecordsIsRead) {
    const FilterRecords records({{"a", 1, 1}, {"b", 2, 2}, {"c", 3, 3}});
    const Filter filter(DXR_CreateMessageFilter(records.Data(), 2));
    EXPECT_EQ(Listing(filter),
              "    msgType[1], lostCnt[1], name[a]\r\n"
              "    msgType[2], lostCnt[2], name[b]\r\n");
}

TEST(MessageFilterBuilding, TheTreeMirrorsTheRecordsInOrder) {
    const Filter filter =
        Create({{"a", 1, 10, {{"aa", 11, 110}, {"ab", 12, 120, {{"aba", 13, 130}}}}},
                {"b", 2, 20},
                {"c", 3, 30, {{"ca", 31, 310}}}});
    EXPECT_EQ(Listing(filter),
              "    msgType[1], lostCnt[10], name[a]\r\n"
              "        msgType[11], lostCnt[110], name[aa]\r\n"
              "        msgType[12], lostCnt[120], name[ab]\r\n"
              "            msgType[13], lostCnt[130], name[aba]\r\n"
              "    msgType[2], lostCnt[20], name[b]\r\n"
              "    msgType[3], lostCnt[30], name[c]\r\n"
              "        msgType[31], lostCnt[310], name[ca]\r\n");
}

TEST(MessageFilterBuilding, TheRecordsMayGoAfterwards) {
    std::array<DxrMessageFilterInfo, 1> inner = {{{2, 5, "inner", nullptr, 0}}};
    std::array<DxrMessageFilterInfo, 1> outer = {{{1, 4, "outer", inner.data(), 1}}};
    const Filter filter(DXR_CreateMessageFilter(outer.data(), 1));
    std::memset(inner.data(), 0xEE, sizeof(inner));
    std::memset(outer.data(), 0xEE, sizeof(outer));
    EXPECT_EQ(Listing(filter),
              "    msgType[1], lostCnt[4], name[outer]\r\n"
              "        msgType[2], lostCnt[5], name[inner]\r\n");
}

TEST(MessageFilterBuilding, TheRecordsStayAsTheyAre) {
    std::array<DxrMessageFilterInfo, 1> inner = {{{2, 5, "inner", nullptr, 0}}};
    std::array<DxrMessageFilterInfo, 1> outer = {{{1, 4, "outer", inner.data(), 1}}};
    std::array<unsigned char, sizeof(outer)> before = {};
    std::memcpy(before.data(), outer.data(), before.size());
    const Filter filter(DXR_CreateMessageFilter(outer.data(), 1));
    DXR_IsMessageFiltered(filter.get(), 1, 1u);
    EXPECT_EQ(std::memcmp(before.data(), outer.data(), before.size()), 0);
}

// A host built elsewhere knows nothing but the offsets.
TEST(MessageFilterBuilding, RecordsLieFiftyTwoBytesApart) {
    constexpr size_t kStride = 52;
    using Raw = std::array<unsigned char, 2 * kStride>;
    const auto write = [](Raw &raw, uint32_t i, uint32_t type, uint32_t lostCnt, const char *name,
                          const void *subFilters, uint32_t subFilterNum) {
        unsigned char *const record = &raw[i * kStride];
        std::memcpy(record, &type, 4);
        std::memcpy(record + 4, &lostCnt, 4);
        std::memcpy(record + 8, name, std::strlen(name) + 1);
        std::memcpy(record + 40, &subFilters, 8);
        std::memcpy(record + 48, &subFilterNum, 4);
    };
    alignas(4) Raw inner = {};
    write(inner, 0, 11, 1, "first", nullptr, 0);
    write(inner, 1, 12, 2, "second", nullptr, 0);
    alignas(4) Raw outer = {};
    write(outer, 0, 1, 3, "third", inner.data(), 2);
    write(outer, 1, 0x01020304, 4, "fourth", nullptr, 0);

    const Filter filter(
        DXR_CreateMessageFilter(reinterpret_cast<const DxrMessageFilterInfo *>(outer.data()), 2));
    EXPECT_EQ(Listing(filter),
              "    msgType[1], lostCnt[3], name[third]\r\n"
              "        msgType[11], lostCnt[1], name[first]\r\n"
              "        msgType[12], lostCnt[2], name[second]\r\n"
              "    msgType[16909060], lostCnt[4], name[fourth]\r\n");
}

TEST(MessageFilterBuilding, ANameEndsAtItsSizeAtTheLatest) {
    const std::string longest(31, 'x');
    const std::string unterminated(32, 'y');
    const Filter filter = Create({{longest, kMax, kMax}, {unterminated, kMax, kMax}, {"", 3, 0}});
    EXPECT_EQ(Listing(filter), "    msgType[4294967295], lostCnt[4294967295], name[" + longest +
                                   "]\r\n"
                                   "    msgType[4294967295], lostCnt[4294967295], name[" +
                                   unterminated +
                                   "]\r\n"
                                   "    msgType[3], lostCnt[0], name[]\r\n");
}

TEST(MessageFilterBuilding, ARecordGoesToItsParentsAddOneLayerDeeper) {
    std::vector<std::string> log;
    Probe parent(&log, "parent", 6);
    const FilterRecords records({{"leaf", 1, 2}, {"node", 3, 4, {{"below", 5, 6}}}});
    DxrAddMessageFilterToComposite(&parent, &records.Data()[0]);
    DxrAddMessageFilterToComposite(&parent, &records.Data()[1]);

    ASSERT_EQ(parent.added.size(), 2u);
    const MessageFilterComponent &leaf = *parent.added[0];
    EXPECT_EQ(typeid(leaf), typeid(MessageFilterLeaf));
    EXPECT_EQ(leaf.GetLayer(), 7u);
    EXPECT_EQ(Listing(leaf), std::string(28, ' ') + "msgType[1], lostCnt[2], name[leaf]\r\n");
    const MessageFilterComponent &node = *parent.added[1];
    EXPECT_EQ(typeid(node), typeid(MessageFilterComposite));
    EXPECT_EQ(Listing(node), std::string(28, ' ') + "msgType[3], lostCnt[4], name[node]\r\n" +
                                 std::string(32, ' ') + "msgType[5], lostCnt[6], name[below]\r\n");
}

// The composite is handed over before its own children are made.
TEST(MessageFilterBuilding, AParentIsAddedBeforeItsChildren) {
    struct Watcher : Probe {
        using Probe::Probe;
        void Add(MessageFilterComponent *child) override {
            texts.push_back(Listing(*child));
            Probe::Add(child);
        }
        std::vector<std::string> texts;
    };
    std::vector<std::string> log;
    Watcher parent(&log);
    const FilterRecords records({{"node", 3, 4, {{"below", 5, 6}}}});
    DxrAddMessageFilterToComposite(&parent, records.Data());
    EXPECT_THAT(parent.texts, ElementsAre("    msgType[3], lostCnt[4], name[node]\r\n"));
}

TEST(MessageFilterBuilding, TreesAreIndependent) {
    const Filter one = Create({{"a", 1, 1}});
    const Filter two = Create({{"a", 1, 1}});
    EXPECT_EQ(DXR_IsMessageFiltered(one.get(), 1, 1u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(one.get(), 1, 1u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(two.get(), 1, 1u), 1);
}

// --- queries

TEST(MessageFilterQuery, EachPositiveAnswerUsesUpOneCount) {
    const Filter filter = Create({{"a", 5, 2}});
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 5u), 1);
    EXPECT_EQ(Listing(filter), "    msgType[5], lostCnt[1], name[a]\r\n");
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 5u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 5u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 5u), 0);
    EXPECT_EQ(Listing(filter), "    msgType[5], lostCnt[0], name[a]\r\n");
}

TEST(MessageFilterQuery, NoTypesMeanTheRoot) {
    const Filter filter = Create({{"a", 0, 9}});
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 0), 0);
    DXR_SetMessageFilterCount(filter.get(), 3, 0);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 0), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 0), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 0), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 0), 0);
    EXPECT_EQ(Listing(filter), "    msgType[0], lostCnt[9], name[a]\r\n");
}

TEST(MessageFilterQuery, ThePathGoesDownOneTypeALevel) {
    const Filter filter = Create({{"a", 5, 1, {{"b", 9, 1}}}});
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 5u, 9u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 5u, 9u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 5u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 5u), 0);
}

TEST(MessageFilterQuery, UnknownPathsAreNotFilteredAndChangeNothing) {
    const Filter filter = Create({{"a", 5, 1, {{"b", 9, 1}}}, {"c", 7, 1}});
    const std::string before = Listing(filter);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 6u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 9u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 5u, 8u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 0u, 5u), 0);
    DXR_SetMessageFilterCount(filter.get(), 100, 1, 6u);
    DXR_SetMessageFilterCount(filter.get(), 100, 2, 5u, 8u);
    EXPECT_EQ(Listing(filter), before);
}

TEST(MessageFilterQuery, ANodeWithoutCountDoesNotSendTheSearchOn) {
    const Filter filter = Create({{"first", 5, 0}, {"second", 5, 4}});
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 5u), 0);
    DXR_SetMessageFilterCount(filter.get(), 1, 1, 5u);
    EXPECT_EQ(Listing(filter),
              "    msgType[5], lostCnt[1], name[first]\r\n"
              "    msgType[5], lostCnt[4], name[second]\r\n");
}

TEST(MessageFilterQuery, ALeafIgnoresDeeperTypes) {
    const Filter filter = Create({{"leaf", 7, 3}});
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 7u, 99u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 4, 7u, 1u, 2u, 3u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 7u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 7u), 0);
}

TEST(MessageFilterQuery, WhatACompositeTookIsMissingForItsSiblings) {
    const Filter filter = Create({{"A", 1, 1, {{"a", 2, 1}}}, {"B", 1, 1, {{"b", 3, 1}}}});
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 1u, 3u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 1u, 2u), 1);
    // What is left after A has failed leads into B all the same if it begins with B's type.
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 3, 1u, 1u, 3u), 1);
}

TEST(MessageFilterQuery, WhatACompositeTookCanMakeASiblingMatch) {
    const Filter filter = Create({{"A", 1, 0, {{"a", 2, 0}}}, {"L", 3, 1}});
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 1u, 3u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 1u, 3u), 0);
    DXR_SetMessageFilterCount(filter.get(), 8, 2, 1u, 3u);
    EXPECT_EQ(Listing(filter),
              "    msgType[1], lostCnt[0], name[A]\r\n"
              "        msgType[2], lostCnt[0], name[a]\r\n"
              "    msgType[3], lostCnt[8], name[L]\r\n");
}

TEST(MessageFilterQuery, ALeafAheadOfACompositeAnswersFirst) {
    const Filter filter = Create({{"leaf", 1, 1}, {"A", 1, 1, {{"a", 2, 1}}}});
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 1u, 2u), 1);
    EXPECT_EQ(Listing(filter).find("    msgType[1], lostCnt[0], name[leaf]"), 0u);
}

TEST(MessageFilterQuery, TypesUseAllBits) {
    const Filter filter = Create({{"a", kMax, 1, {{"b", 0x80000000, 1}}}});
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, kMax, 0u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, 0xFFFFu, 0x80000000u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 2, kMax, 0x80000000u), 1);
}

// MODULE-4
TEST(MessageFilterQuery, LongPathsArriveWhole) {
    std::vector<FilterNode> nodes = {{"12", 12, 1}};
    for (uint32_t type = 11; type > 0; --type) {
        nodes = {{std::to_string(type), type, 0, std::move(nodes)}};
    }
    const Filter filter = Create(nodes);
    EXPECT_EQ(
        DXR_IsMessageFiltered(filter.get(), 12, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u),
        1);
    DXR_SetMessageFilterCount(filter.get(), 2, 12, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u,
                              12u);
    DXR_SetMessageFilterCount(filter.get(), 3, 11, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u);
    const std::string text = Listing(filter);
    EXPECT_NE(text.find("msgType[12], lostCnt[2], name[12]"), std::string::npos);
    EXPECT_NE(text.find("msgType[11], lostCnt[3], name[11]"), std::string::npos);
}

TEST(MessageFilterQuery, SettingReplacesTheCount) {
    const Filter filter = Create({{"a", 5, 7}});
    DXR_SetMessageFilterCount(filter.get(), 2, 1, 5u);
    EXPECT_EQ(Listing(filter), "    msgType[5], lostCnt[2], name[a]\r\n");
    DXR_SetMessageFilterCount(filter.get(), 0, 1, 5u);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 5u), 0);
    DXR_SetMessageFilterCount(filter.get(), kMax, 1, 5u);
    EXPECT_EQ(DXR_IsMessageFiltered(filter.get(), 1, 5u), 1);
    EXPECT_EQ(Listing(filter), "    msgType[5], lostCnt[4294967294], name[a]\r\n");
}

TEST(MessageFilterQuery, ThePathGivenToTheHandleStartsWithTheRootsType) {
    std::vector<std::string> log;
    Probe handle(&log);
    EXPECT_EQ(DXR_IsMessageFiltered(&handle, 3, 7u, 8u, 9u), 0);
    DXR_SetMessageFilterCount(&handle, 5, 2, 4u, kMax);
    DXR_SetMessageFilterCount(&handle, 5, 0);
    EXPECT_THAT(handle.asked, ElementsAre(ElementsAre(0u, 7u, 8u, 9u), ElementsAre(0u, 4u, kMax),
                                          ElementsAre(0u)));
}

TEST(MessageFilterQuery, ANullHandleAnswersZero) {
    EXPECT_EQ(DXR_IsMessageFiltered(nullptr, 0), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(nullptr, 2, 1u, 2u), 0);
    DXR_SetMessageFilterCount(nullptr, 1, 0);
    DXR_SetMessageFilterCount(nullptr, 1, 2, 1u, 2u);
}

// --- the members

TEST(MessageFilterMembers, ACompositeConsumesThePathOnItsWay) {
    MessageFilterComposite node("node", 4, 0, 1);
    node.Add(new MessageFilterLeaf("leaf", 5, 0, 2));

    Path other = {5, 4};
    EXPECT_EQ(node.Find(other), nullptr);
    EXPECT_THAT(other, ElementsAre(5u, 4u));

    Path itself = {4};
    EXPECT_EQ(node.Find(itself), &node);
    EXPECT_THAT(itself, IsEmpty());

    Path below = {4, 5, 6};
    const MessageFilterComponent *const leaf = node.Find(below);
    ASSERT_NE(leaf, nullptr);
    EXPECT_EQ(typeid(*leaf), typeid(MessageFilterLeaf));
    EXPECT_THAT(below, ElementsAre(5u, 6u));

    Path unknown = {4, 6};
    EXPECT_EQ(node.Find(unknown), nullptr);
    EXPECT_THAT(unknown, ElementsAre(6u));
}

TEST(MessageFilterMembers, ALeafTakesNothingOffThePath) {
    MessageFilterLeaf leaf("leaf", 5, 0, 1);
    Path path = {5, 6};
    EXPECT_EQ(leaf.Find(path), &leaf);
    EXPECT_THAT(path, ElementsAre(5u, 6u));
    Path other = {6, 5};
    EXPECT_EQ(leaf.Find(other), nullptr);
    EXPECT_THAT(other, ElementsAre(6u, 5u));
}

TEST(MessageFilterMembers, AnEmptyPathFindsNothing) {
    MessageFilterLeaf leaf("leaf", 0, 5, 1);
    MessageFilterComposite node("node", 0, 5, 0);
    Path path;
    EXPECT_EQ(leaf.Find(path), nullptr);
    EXPECT_EQ(node.Find(path), nullptr);
    EXPECT_FALSE(leaf.IsFiltered(path));
    EXPECT_FALSE(node.IsFiltered(path));
    EXPECT_EQ(node.SetLostCnt(path, 1), 1u);
}

TEST(MessageFilterMembers, ChildrenAreAskedInOrderUntilOneAnswers) {
    std::vector<std::string> log;
    MessageFilterLeaf answer("answer", 0, 0, 0);
    MessageFilterComposite node("node", 4, 0, 1);
    std::array<Probe *, 3> probes = {};
    for (Probe *&probe : probes) {
        probe = new Probe(&log);
        node.Add(probe);
    }
    probes[1]->answer = &answer;
    Path path = {4, 8, 9};
    EXPECT_EQ(node.Find(path), &answer);
    EXPECT_THAT(probes[0]->asked, ElementsAre(ElementsAre(8u, 9u)));
    EXPECT_THAT(probes[1]->asked, ElementsAre(ElementsAre(8u, 9u)));
    EXPECT_THAT(probes[2]->asked, IsEmpty());
}

TEST(MessageFilterMembers, FilteringCountsTheNodeThatWasFound) {
    MessageFilterComposite node("node", 4, 1, 1);
    Path path = {4};
    EXPECT_TRUE(node.IsFiltered(path));
    path = {4};
    EXPECT_FALSE(node.IsFiltered(path));
    path = {5};
    EXPECT_FALSE(node.IsFiltered(path));
    path = {4};
    EXPECT_EQ(node.SetLostCnt(path, 6), 0u);
    EXPECT_EQ(Listing(node), "    msgType[4], lostCnt[6], name[node]\r\n");
    path = {5};
    EXPECT_EQ(node.SetLostCnt(path, 7), 1u);
    EXPECT_EQ(Listing(node), "    msgType[4], lostCnt[6], name[node]\r\n");
}

TEST(MessageFilterMembers, FilteringAndSettingUseTheOverriddenFind) {
    std::vector<std::string> log;
    Probe probe(&log);
    MessageFilterLeaf found("found", 1, 1, 0);
    probe.answer = &found;
    Path path = {77};
    EXPECT_TRUE(probe.IsFiltered(path));
    EXPECT_FALSE(probe.IsFiltered(path));
    EXPECT_EQ(probe.SetLostCnt(path, 4), 0u);
    EXPECT_EQ(Listing(found), "msgType[1], lostCnt[4], name[found]\r\n");
}

TEST(MessageFilterMembers, TypeAndLayerAreTheConstructors) {
    const MessageFilterLeaf leaf("leaf", 3, 4, 5);
    EXPECT_TRUE(leaf.IsSameMsgType(3));
    EXPECT_FALSE(leaf.IsSameMsgType(4));
    EXPECT_EQ(leaf.GetLayer(), 5u);
    const MessageFilterComposite node("node", 0x80000003, 4, kMax);
    EXPECT_TRUE(node.IsSameMsgType(0x80000003));
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        EXPECT_FALSE(node.IsSameMsgType(0x80000003 ^ bit)) << bit;
    }
    EXPECT_EQ(node.GetLayer(), kMax);
    EXPECT_FALSE(node.IsFilterRoot());
    EXPECT_TRUE(MessageFilterComposite("root", 1, 2, 0).IsFilterRoot());
}

TEST(MessageFilterMembers, ALeafNeitherKeepsNorFreesAChild) {
    std::vector<std::string> log;
    Probe child(&log);
    {
        MessageFilterLeaf leaf("leaf", 3, 0, 1);
        leaf.Add(&child);
        Path path = {3, 0};
        EXPECT_EQ(leaf.Find(path), &leaf);
        EXPECT_EQ(Listing(leaf), "    msgType[3], lostCnt[0], name[leaf]\r\n");
    }
    EXPECT_THAT(child.asked, IsEmpty());
    EXPECT_THAT(log, IsEmpty());
}

TEST(MessageFilterMembers, TheBaseNeitherKeepsNorFreesAChild) {
    std::vector<std::string> log;
    Probe child(&log);
    {
        Probe base(&log, "base");
        base.MessageFilterComponent::Add(&child);
    }
    EXPECT_THAT(log, ElementsAre("~base"));
}

TEST(MessageFilterMembers, ACompositeDeletesItsChildrenInOrderDepthFirst) {
    std::vector<std::string> log;
    {
        MessageFilterComposite root("root", 0, 0, 0);
        root.Add(new Probe(&log, "1"));
        auto *const inner = new MessageFilterComposite("inner", 1, 0, 1);
        root.Add(inner);
        inner->Add(new Probe(&log, "2.1"));
        inner->Add(new Probe(&log, "2.2"));
        root.Add(new Probe(&log, "3"));
        EXPECT_THAT(log, IsEmpty());
    }
    EXPECT_THAT(log, ElementsAre("~1", "~2.1", "~2.2", "~3"));
}

TEST(MessageFilterMembers, DeletingThroughTheBaseDestroysTheRightClass) {
    std::vector<std::string> log;
    std::unique_ptr<MessageFilterComponent> node =
        std::make_unique<MessageFilterComposite>("node", 0, 0, 0);
    node->Add(new Probe(&log, "child"));
    node.reset();
    EXPECT_THAT(log, ElementsAre("~child"));
}

// --- listing

TEST(MessageFilterListing, ItIsPreOrderIndentedAndWithoutTheRoot) {
    const Filter filter = Create({{"a", 1, 0, {{"b", 2, 5}}}});
    GuardedBuffer buffer(300);
    DXR_GetMessageFilterStr(filter.get(), buffer.Data(), 300);
    EXPECT_TRUE(buffer.Intact());
    EXPECT_EQ(buffer.Text(),
              "    msgType[1], lostCnt[0], name[a]\r\n"
              "        msgType[2], lostCnt[5], name[b]\r\n");
}

TEST(MessageFilterListing, EveryCompositeOfLayerZeroHasNoLine) {
    MessageFilterComposite outer("outer", 1, 2, 0);
    outer.Add(new MessageFilterComposite("inner", 3, 4, 0));
    outer.Add(new MessageFilterLeaf("leaf", 5, 6, 0));
    EXPECT_EQ(Listing(outer), "msgType[5], lostCnt[6], name[leaf]\r\n");
}

TEST(MessageFilterListing, MembersAppend) {
    const Filter filter = Create({{"a", 1, 0}});
    std::string text = "before:";
    filter->GetFilterStr(text);
    EXPECT_EQ(text, "before:    msgType[1], lostCnt[0], name[a]\r\n");
}

TEST(MessageFilterListing, ChildrenListThemselvesThroughTheirOwnClass) {
    std::vector<std::string> log;
    MessageFilterComposite node("node", 1, 2, 1);
    node.Add(new Probe(&log, "x"));
    node.Add(new Probe(&log, "y"));
    EXPECT_EQ(Listing(node), "    msgType[1], lostCnt[2], name[node]\r\n<x><y>");
}

TEST(MessageFilterListing, ItIsWholeOrReplaced) {
    const Filter filter = Create({{"first", 1, 0, {{"second", 2, 5}}}});
    const std::string whole = Listing(filter);
    const std::string failure = "get message filter string failed, ret[0x22]";
    ASSERT_GT(whole.size(), failure.size());
    for (uint32_t size = 0; size <= whole.size() + 3; ++size) {
        GuardedBuffer buffer(size);
        DXR_GetMessageFilterStr(filter.get(), buffer.Data(), size);
        EXPECT_TRUE(buffer.Intact()) << size;
        if (size > whole.size()) {
            EXPECT_EQ(buffer.Text(), whole) << size;
        } else if (size > 0) {
            EXPECT_TRUE(buffer.Terminated()) << size;
            EXPECT_EQ(buffer.Text(), failure.substr(0, size - 1)) << size;
        }
    }
}

TEST(MessageFilterListing, AShortListingIsReplacedByWhatFitsOfALongerText) {
    std::vector<std::string> log;
    const Probe handle(&log, "ten.chars");  // "<ten.chars>"
    GuardedBuffer exact(11);
    DXR_GetMessageFilterStr(&handle, exact.Data(), 11);
    EXPECT_TRUE(exact.Intact());
    EXPECT_EQ(exact.Text(), "get messag");
    GuardedBuffer terminated(12);
    DXR_GetMessageFilterStr(&handle, terminated.Data(), 12);
    EXPECT_EQ(terminated.Text(), "<ten.chars>");
}

TEST(MessageFilterListing, AnEmptyListingIsTheTerminator) {
    const Filter filter = Create({});
    for (const uint32_t size : {1u, 2u, 50u}) {
        GuardedBuffer buffer(size);
        DXR_GetMessageFilterStr(filter.get(), buffer.Data(), size);
        EXPECT_TRUE(buffer.Intact());
        EXPECT_TRUE(buffer.Terminated());
        EXPECT_EQ(buffer.Text(), "");
    }
    GuardedBuffer none(0);
    DXR_GetMessageFilterStr(filter.get(), none.Data(), 0);
    EXPECT_TRUE(none.Intact());
}

TEST(MessageFilterListing, WithoutHandleOrBufferNothingIsWritten) {
    GuardedBuffer buffer(50);
    DXR_GetMessageFilterStr(nullptr, buffer.Data(), 50);
    EXPECT_TRUE(buffer.Untouched());
    const Filter filter = Create({{"a", 1, 0}});
    DXR_GetMessageFilterStr(filter.get(), nullptr, 50);
    DXR_GetMessageFilterStr(filter.get(), nullptr, 0);
    DXR_GetMessageFilterStr(nullptr, nullptr, 0);
}

TEST(MessageFilterListing, ItChangesNothing) {
    const Filter filter = Create({{"a", 1, 3}});
    Listing(filter);
    EXPECT_EQ(Listing(filter), "    msgType[1], lostCnt[3], name[a]\r\n");
}

// --- destruction

// MODULE-6
TEST(MessageFilterDestruction, TheHandleBecomesNull) {
    const FilterRecords records({{"a", 1, 0, {{"b", 2, 5}}}});
    DxrMessageFilter *filter = DXR_CreateMessageFilter(records.Data(), records.Size());
    ASSERT_NE(filter, nullptr);
    DXR_DestroyMessageFilter(&filter);
    EXPECT_EQ(filter, nullptr);
    DXR_DestroyMessageFilter(&filter);
    EXPECT_EQ(filter, nullptr);
}

TEST(MessageFilterDestruction, ANullPointerToTheHandleIsIgnored) {
    DXR_DestroyMessageFilter(nullptr);
}

TEST(MessageFilterDestruction, ItGoesThroughTheVirtualDestructor) {
    std::vector<std::string> log;
    DxrMessageFilter *filter = new Probe(&log);
    DXR_DestroyMessageFilter(&filter);
    EXPECT_EQ(filter, nullptr);
    EXPECT_THAT(log, ElementsAre("~probe"));
}

// --- classes that a host derives

// A node has one owner and one place.
static_assert(!std::is_copy_constructible_v<MessageFilterLeaf> &&
              !std::is_copy_assignable_v<MessageFilterLeaf> &&
              !std::is_move_constructible_v<MessageFilterLeaf> &&
              !std::is_move_assignable_v<MessageFilterLeaf>);
static_assert(!std::is_copy_constructible_v<MessageFilterComposite> &&
              !std::is_copy_assignable_v<MessageFilterComposite> &&
              !std::is_move_constructible_v<MessageFilterComposite> &&
              !std::is_move_assignable_v<MessageFilterComposite>);

// Says of itself what the library keeps of a node, and counts in its own way.
class HostLeaf : public MessageFilterLeaf {
  public:
    using MessageFilterLeaf::MessageFilterLeaf;
    std::string Summary() const {
        return name + ":" + std::to_string(msgType) + ":" + std::to_string(lostCnt) + ":" +
               std::to_string(layer);
    }
    void Rename(const std::string &newName) { name = newName; }
    void Retype(uint32_t type) { msgType = type; }
    void CountTwice() { lostCnt *= 2; }
};

class HostComposite : public MessageFilterComposite {
  public:
    using MessageFilterComposite::MessageFilterComposite;
    size_t Size() const { return children.size(); }
    MessageFilterComponent *Last() const { return children.back(); }
    void DeleteLast() {
        delete children.back();
        children.pop_back();
    }
    void Reverse() { std::reverse(children.begin(), children.end()); }
};

TEST(MessageFilterHostClass, ReadsTheFieldsOfItsNode) {
    HostLeaf leaf("leaf", 7, 2, 1);
    EXPECT_EQ(leaf.Summary(), "leaf:7:2:1");
    Path path = {7};
    EXPECT_TRUE(leaf.IsFiltered(path));
    EXPECT_EQ(leaf.Summary(), "leaf:7:1:1");
    EXPECT_EQ(leaf.SetLostCnt(path, 40), 0u);
    EXPECT_EQ(leaf.Summary(), "leaf:7:40:1");
}

TEST(MessageFilterHostClass, WhatItChangesIsAnswered) {
    MessageFilterComposite root("root", 0, 0, 0);
    auto *const leaf = new HostLeaf("leaf", 7, 1, 1);
    root.Add(leaf);
    leaf->Retype(8);
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 1, 7u), 0);
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 1, 8u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 1, 8u), 0);
    DXR_SetMessageFilterCount(&root, 1, 1, 8u);
    leaf->CountTwice();
    leaf->Rename("other");
    EXPECT_EQ(Listing(root), "    msgType[8], lostCnt[2], name[other]\r\n");
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 1, 8u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 1, 8u), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 1, 8u), 0);
}

TEST(MessageFilterHostClass, MayChangeItsRowOfChildren) {
    std::vector<std::string> log;
    MessageFilterComposite root("root", 0, 0, 0);
    auto *const row = new HostComposite("row", 1, 0, 1);
    root.Add(row);
    for (uint32_t type = 5; type < 8; ++type) {
        row->Add(new MessageFilterLeaf(std::to_string(type), type, 9, 2));
    }
    row->Add(new Probe(&log, "last"));
    ASSERT_EQ(row->Size(), 4u);
    row->DeleteLast();
    EXPECT_THAT(log, ElementsAre("~last"));
    EXPECT_TRUE(row->Last()->IsSameMsgType(7));
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 2, 1u, 7u), 1);
    row->DeleteLast();
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 2, 1u, 7u), 0);
    row->Add(new MessageFilterLeaf("5 again", 5, 9, 2));
    row->Reverse();
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 2, 1u, 5u), 1);
    EXPECT_EQ(Listing(*row),
              "    msgType[1], lostCnt[0], name[row]\r\n"
              "        msgType[5], lostCnt[8], name[5 again]\r\n"
              "        msgType[6], lostCnt[9], name[6]\r\n"
              "        msgType[5], lostCnt[9], name[5]\r\n");
}

// --- the binary interface of the classes

TEST(MessageFilterLayout, FieldsLieInTheirOrder) {
    MessageFilterComposite node("the name", 0x11111111, 0x22222222, 0x33333333);
    EXPECT_EQ(sizeof(MessageFilterComponent), 8 + sizeof(std::string) + 16);
    EXPECT_EQ(sizeof(MessageFilterLeaf), sizeof(MessageFilterComponent));
    EXPECT_EQ(sizeof(MessageFilterComposite), sizeof(MessageFilterComponent) + 24);

    const char *const name = FieldAt<const char *>(&node, 8);
    EXPECT_STREQ(name, "the name");
    constexpr size_t kBehindName = 8 + sizeof(std::string);
    EXPECT_EQ(FieldAt<uint32_t>(&node, kBehindName), 0x11111111u);
    EXPECT_EQ(FieldAt<uint32_t>(&node, kBehindName + 4), 0x22222222u);
    EXPECT_EQ(FieldAt<uint32_t>(&node, kBehindName + 8), 0x33333333u);

    auto *const child = new MessageFilterLeaf("leaf", 1, 2, 3);
    node.Add(child);
    const auto *const first =
        FieldAt<MessageFilterComponent *const *>(&node, sizeof(MessageFilterComponent));
    const auto *const last =
        FieldAt<MessageFilterComponent *const *>(&node, sizeof(MessageFilterComponent) + 8);
    ASSERT_EQ(last - first, 1);
    EXPECT_EQ(*first, child);
}

// Slots: the two destructors, Add, GetFilterStr, Find. Each is an exported function.
TEST(MessageFilterLayout, VirtualOperationsHaveTheirSlots) {
    const MessageFilterComposite node("node", 0, 0, 0);
    EXPECT_EQ(VirtualSlot(&node, 0), ExportedSymbol("_ZN3Dxr22MessageFilterCompositeD1Ev"));
    EXPECT_EQ(VirtualSlot(&node, 1), ExportedSymbol("_ZN3Dxr22MessageFilterCompositeD0Ev"));
    EXPECT_EQ(VirtualSlot(&node, 2),
              ExportedSymbol("_ZN3Dxr22MessageFilterComposite3AddEPNS_22MessageFilterComponentE"));
    EXPECT_EQ(VirtualSlot(&node, 3),
              ExportedSymbol("_ZNK3Dxr22MessageFilterComposite12GetFilterStrERNSt7__cxx1112basic_"
                             "stringIcSt11char_traitsIcESaIcEEE"));
    EXPECT_EQ(VirtualSlot(&node, 4),
              ExportedSymbol("_ZN3Dxr22MessageFilterComposite4FindERNSt7__cxx114listIjSaIjEEE"));

    const MessageFilterLeaf leaf("leaf", 0, 0, 0);
    EXPECT_EQ(VirtualSlot(&leaf, 0), ExportedSymbol("_ZN3Dxr17MessageFilterLeafD1Ev"));
    EXPECT_EQ(VirtualSlot(&leaf, 1), ExportedSymbol("_ZN3Dxr17MessageFilterLeafD0Ev"));
    EXPECT_EQ(VirtualSlot(&leaf, 2), ExportedSymbol("_ZN3Dxr22MessageFilterComponent3AddEPS0_"));
    EXPECT_EQ(VirtualSlot(&leaf, 3),
              ExportedSymbol("_ZNK3Dxr22MessageFilterComponent12GetFilterStrERNSt7__cxx1112basic_"
                             "stringIcSt11char_traitsIcESaIcEEE"));
    EXPECT_EQ(VirtualSlot(&leaf, 4),
              ExportedSymbol("_ZN3Dxr17MessageFilterLeaf4FindERNSt7__cxx114listIjSaIjEEE"));
}

TEST(MessageFilterLayout, EveryMemberIsExported) {
    for (const char *const name :
         {"_ZN3Dxr22MessageFilterComponentC2ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
          "jjj",
          "_ZN3Dxr22MessageFilterComponentD0Ev",
          "_ZN3Dxr22MessageFilterComponentD1Ev",
          "_ZN3Dxr22MessageFilterComponentD2Ev",
          "_ZNK3Dxr22MessageFilterComponent13IsSameMsgTypeEj",
          "_ZNK3Dxr22MessageFilterComponent8GetLayerEv",
          "_ZN3Dxr22MessageFilterComponent10IsFilteredERNSt7__cxx114listIjSaIjEEE",
          "_ZN3Dxr22MessageFilterComponent10SetLostCntERNSt7__cxx114listIjSaIjEEEj",
          "_ZN3Dxr22MessageFilterCompositeC1ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
          "jjj",
          "_ZN3Dxr22MessageFilterCompositeC2ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
          "jjj",
          "_ZN3Dxr22MessageFilterCompositeD2Ev",
          "_ZNK3Dxr22MessageFilterComposite12IsFilterRootEv",
          "_ZN3Dxr17MessageFilterLeafC1ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEjjj",
          "_ZN3Dxr17MessageFilterLeafC2ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEjjj",
          "_ZN3Dxr17MessageFilterLeafD2Ev",
          "_ZTVN3Dxr22MessageFilterComponentE",
          "_ZTVN3Dxr22MessageFilterCompositeE",
          "_ZTVN3Dxr17MessageFilterLeafE",
          "_ZTIN3Dxr22MessageFilterComponentE",
          "_ZTIN3Dxr22MessageFilterCompositeE",
          "_ZTIN3Dxr17MessageFilterLeafE",
          "_ZTSN3Dxr22MessageFilterComponentE",
          "_ZTSN3Dxr22MessageFilterCompositeE",
          "_ZTSN3Dxr17MessageFilterLeafE"}) {
        EXPECT_NE(ExportedSymbol(name), nullptr) << name;
    }
}

// --- from C

TEST(MessageFilterFromC, EveryFunctionServesCallersInC) {
    EXPECT_EQ(MessageFilterCallsFromC(), 0) << "number of the first step that failed";
}

}  // namespace
