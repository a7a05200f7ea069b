// Every allocation of the message filter is made to fail in turn.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

#include "dxr/message_filter.h"
#include "internal/fast_paths.h"
#include "support/message_filter_records.h"
#include "support/new_watch.h"

namespace {

using Dxr::MessageFilterComponent;
using Dxr::MessageFilterComposite;
using Dxr::MessageFilterLeaf;
using dxrtest::FailEachAllocation;
using dxrtest::FilterNode;
using dxrtest::FilterRecords;
using dxrtest::NewWatch;
using dxrtest::Outcome;
using dxrtest::RunFailing;

// Names longer than a string holds without a block of its own, and rows of children that make
// vectors grow.
std::vector<FilterNode> Forest() {
    const std::string longName(31, 'n');
    return {{longName,
             1,
             0,
             {{"a", 2, 1},
              {longName, 3, 0, {{longName, 4, 1}, {"b", 5, 1}, {"c", 6, 1}}},
              {longName, 7, 1},
              {"d", 8, 1},
              {longName, 9, 1}}},
            {"e", 10, 1},
            {longName, 11, 0, {{"f", 12, 1}}}};
}

std::string Listing(const MessageFilterComponent &node) {
    std::string text;
    node.GetFilterStr(text);
    return text;
}

// Whether `part` is a listing that stopped before the end of `whole`, between two lines.
bool IsBeginning(const std::string &part, const std::string &whole) {
    return part.size() < whole.size() && whole.compare(0, part.size(), part) == 0 &&
           (part.empty() || part.back() == '\n');
}

// HOST-26
TEST(MessageFilterAllocation, AFailureWhileBuildingLeavesTheTreeSoFarAndNothingElse) {
    const FilterRecords records(Forest());
    DxrMessageFilter *filter = DXR_CreateMessageFilter(records.Data(), records.Size());
    const std::string whole = Listing(*filter);
    DXR_DestroyMessageFilter(&filter);

    std::set<std::string> partialTrees;
    const size_t failures = FailEachAllocation(
        [&] { filter = DXR_CreateMessageFilter(records.Data(), records.Size()); },
        [&](size_t n) {
            EXPECT_EQ(filter, nullptr);
            if (n == 1) {
                EXPECT_EQ(NewWatch::Live(), 0u) << "the root itself";
                return;
            }
            // The root is the first block of the call; nobody holds it any more.
            auto *lost = static_cast<MessageFilterComposite *>(NewWatch::Oldest());
            ASSERT_NE(lost, nullptr);
            ASSERT_EQ(typeid(*lost), typeid(MessageFilterComposite));
            const std::string part = Listing(*lost);
            EXPECT_TRUE(IsBeginning(part, whole)) << part;
            partialTrees.insert(part);
            delete lost;
            EXPECT_EQ(NewWatch::Live(), 0u) << "allocation " << n;
        });
    // The tree stopped in front of each of its 12 nodes; most took more than one allocation.
    EXPECT_EQ(partialTrees.size(), 12u);
    EXPECT_GT(failures, 2u * 12u);

    ASSERT_NE(filter, nullptr);
    EXPECT_EQ(Listing(*filter), whole);
    EXPECT_GT(NewWatch::Live(), 0u);
    DXR_DestroyMessageFilter(&filter);
    EXPECT_EQ(NewWatch::Live(), 0u);
}

TEST(MessageFilterAllocation, AFailureBelowAParentLeavesTheParentWhole) {
    const FilterRecords records(Forest());
    std::unique_ptr<MessageFilterComposite> parent;
    for (size_t n = 1;; ++n) {
        parent = std::make_unique<MessageFilterComposite>("parent", 0, 0, 3);
        const Outcome outcome = RunFailing(
            n, [&] { DxrAddMessageFilterToComposite(parent.get(), &records.Data()[0]); });
        const bool failed = NewWatch::Failed();
        EXPECT_EQ(outcome, failed ? Outcome::kBadAlloc : Outcome::kDone);
        EXPECT_EQ(Listing(*parent).find("            msgType[0], lostCnt[0], name[parent]\r\n"),
                  0u);
        parent.reset();
        ASSERT_EQ(NewWatch::Live(), 0u) << "allocation " << n;
        if (!failed) {
            EXPECT_GT(n, 18u);
            return;
        }
    }
}

TEST(MessageFilterAllocation, AChildThatCannotBeAddedIsFreed) {
    struct Child : MessageFilterLeaf {
        explicit Child(bool *freed) : MessageFilterLeaf("child", 0, 0, 0), freed_(freed) {}
        ~Child() override { *freed_ = true; }
        Child(const Child &) = delete;
        Child &operator=(const Child &) = delete;
        bool *freed_;
    };
    MessageFilterComposite node("node", 0, 0, 0);
    bool freed = false;
    auto *const child = new Child(&freed);
    EXPECT_EQ(RunFailing(1, [&] { node.Add(child); }), Outcome::kBadAlloc);
    EXPECT_TRUE(freed);
    EXPECT_EQ(Listing(node), "");
}

TEST(MessageFilterAllocation, AChildThatCannotBeAddedLeavesItsSiblings) {
    MessageFilterComposite node("node", 0, 0, 0);
    size_t refused = 0;
    std::string expected;
    for (uint32_t type = 0; type < 40; ++type) {
        auto *const child = new MessageFilterLeaf("leaf", type, 0, 0);
        if (RunFailing(1, [&] { node.Add(child); }) == Outcome::kBadAlloc) {
            ++refused;
            EXPECT_EQ(RunFailing(0, [&] { node.Add(new MessageFilterLeaf("again", type, 0, 0)); }),
                      Outcome::kDone);
            expected += "msgType[" + std::to_string(type) + "], lostCnt[0], name[again]\r\n";
        } else {
            expected += "msgType[" + std::to_string(type) + "], lostCnt[0], name[leaf]\r\n";
        }
        EXPECT_EQ(Listing(node), expected);
    }
    EXPECT_GT(refused, 3u);
    EXPECT_LT(refused, 40u);
}

TEST(MessageFilterAllocation, NodesHandedToALeafAreNeitherKeptNorFreed) {
    MessageFilterLeaf leaf("leaf", 0, 0, 0);
    const FilterRecords records(Forest());
    EXPECT_EQ(RunFailing(0, [&] { DxrAddMessageFilterToComposite(&leaf, &records.Data()[1]); }),
              Outcome::kDone);
    ASSERT_EQ(NewWatch::Live(), 1u);
    auto *const lost = static_cast<MessageFilterLeaf *>(NewWatch::Oldest());
    EXPECT_EQ(Listing(*lost), "    msgType[10], lostCnt[1], name[e]\r\n");
    delete lost;
    EXPECT_EQ(NewWatch::Live(), 0u);
}

// A class of the host's own: it is asked with a list, whatever other nodes are asked with.
class HostLeaf : public MessageFilterLeaf {
  public:
    using MessageFilterLeaf::MessageFilterLeaf;
};

// It comes first, so that every query asks it.
DxrMessageFilter *ForestWithHostLeaf() {
    const FilterRecords records(Forest());
    auto *const root = new MessageFilterComposite("root", 0, 0, 0);
    root->Add(new HostLeaf("host", 99, 1, 1));
    for (uint32_t i = 0; i < records.Size(); ++i) {
        DxrAddMessageFilterToComposite(root, records.Data() + i);
    }
    return root;
}

// A list is made where a host's class is asked, and only there: who allocates nothing has been
// answered without one.
TEST(MessageFilterAllocation, QueriesOfTheLibrarysOwnNodesMakeNoList) {
    const FilterRecords records(Forest());
    DxrMessageFilter *filter = DXR_CreateMessageFilter(records.Data(), records.Size());
    const auto isAnsweredWithoutList = [&] {
        uint8_t answer = 0;
        const Outcome outcome = RunFailing(1, [&] {
            DXR_SetMessageFilterCount(filter, 1, 3, 1u, 3u, 4u);
            answer = DXR_IsMessageFiltered(filter, 3, 1u, 3u, 4u);
        });
        EXPECT_EQ(outcome, NewWatch::Failed() ? Outcome::kBadAlloc : Outcome::kDone);
        EXPECT_EQ(answer, NewWatch::Failed() ? 0 : 1);
        return !NewWatch::Failed();
    };
    EXPECT_EQ(isAnsweredWithoutList(), dxr::kFastPaths);
    // Behind all that the path asks.
    filter->Add(new HostLeaf("last", 98, 1, 1));
    EXPECT_EQ(isAnsweredWithoutList(), dxr::kFastPaths);
    DXR_DestroyMessageFilter(&filter);

    filter = ForestWithHostLeaf();
    EXPECT_FALSE(isAnsweredWithoutList());
    DXR_DestroyMessageFilter(&filter);
}

// Also where the path leads nowhere.
TEST(MessageFilterAllocation, PathsUpToTheLongestThatIsWalkedMakeNoList) {
    constexpr uint32_t kLongest = 15;
    auto *const root = new MessageFilterComposite("root", 0, 0, 0);
    MessageFilterComposite *parent = root;
    for (uint32_t type = 1; type <= kLongest + 1; ++type) {
        auto *const node = new MessageFilterComposite("node", type, 1, type);
        parent->Add(node);
        parent = node;
    }
    DxrMessageFilter *filter = root;
    const auto isAskedWithoutList = [&](uint32_t num, uint32_t first, uint8_t expected) {
        uint8_t answer = 0xFF;
        RunFailing(1, [&] {
            answer = DXR_IsMessageFiltered(filter, num, first, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U,
                                           11U, 12U, 13U, 14U, 15U, 16U);
        });
        EXPECT_EQ(answer, NewWatch::Failed() ? 0xFF : expected);
        return !NewWatch::Failed();
    };
    EXPECT_EQ(isAskedWithoutList(1, 1, 1), dxr::kFastPaths);
    EXPECT_EQ(isAskedWithoutList(1, 77, 0), dxr::kFastPaths);
    EXPECT_EQ(isAskedWithoutList(kLongest, 1, 1), dxr::kFastPaths);
    EXPECT_EQ(isAskedWithoutList(kLongest, 77, 0), dxr::kFastPaths);
    EXPECT_FALSE(isAskedWithoutList(kLongest + 1, 1, 1));
    DXR_DestroyMessageFilter(&filter);
}

TEST(MessageFilterAllocation, AFailedQueryCountsNothing) {
    DxrMessageFilter *filter = ForestWithHostLeaf();
    const std::string before = Listing(*filter);
    uint8_t answer = 0;
    const size_t failures =
        FailEachAllocation([&] { answer = DXR_IsMessageFiltered(filter, 3, 1u, 3u, 4u); },
                           [&](size_t) {
                               EXPECT_EQ(NewWatch::Live(), 0u);
                               EXPECT_EQ(Listing(*filter), before);
                           });
    EXPECT_GE(failures, 1u);
    EXPECT_EQ(answer, 1);
    EXPECT_EQ(NewWatch::Live(), 0u);
    DXR_DestroyMessageFilter(&filter);
}

TEST(MessageFilterAllocation, AFailedSettingSetsNothing) {
    DxrMessageFilter *filter = ForestWithHostLeaf();
    const std::string before = Listing(*filter);
    const size_t failures =
        FailEachAllocation([&] { DXR_SetMessageFilterCount(filter, 77, 2, 1u, 7u); },
                           [&](size_t) {
                               EXPECT_EQ(NewWatch::Live(), 0u);
                               EXPECT_EQ(Listing(*filter), before);
                           });
    EXPECT_GE(failures, 1u);
    EXPECT_EQ(NewWatch::Live(), 0u);
    EXPECT_NE(Listing(*filter).find("msgType[7], lostCnt[77]"), std::string::npos);
    DXR_DestroyMessageFilter(&filter);
}

TEST(MessageFilterAllocation, AFailedListingWritesNothing) {
    const FilterRecords records(Forest());
    DxrMessageFilter *filter = DXR_CreateMessageFilter(records.Data(), records.Size());
    const std::string whole = Listing(*filter);
    std::vector<char> buffer(whole.size() + 1, '#');
    const std::string untouched(buffer.begin(), buffer.end());
    const size_t failures = FailEachAllocation(
        [&] {
            DXR_GetMessageFilterStr(filter, buffer.data(), static_cast<uint32_t>(buffer.size()));
        },
        [&](size_t) {
            EXPECT_EQ(NewWatch::Live(), 0u);
            EXPECT_EQ(std::string(buffer.begin(), buffer.end()), untouched);
        });
    EXPECT_GE(failures, 1u);
    EXPECT_EQ(NewWatch::Live(), 0u);
    EXPECT_EQ(std::string(buffer.data()), whole);
    DXR_DestroyMessageFilter(&filter);
}

}  // namespace
