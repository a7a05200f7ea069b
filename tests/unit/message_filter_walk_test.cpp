// The walk against the virtual Find, in trees with and without classes of the test's own.
#include "dxr_message_filter_walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/test_host.h"

namespace {

using Dxr::MessageFilterComponent;
using Dxr::MessageFilterComposite;
using Dxr::MessageFilterLeaf;
using Dxr::MessageFilterWalk;

using Path = std::vector<uint32_t>;

// How often a class of the test's own was asked.
int g_asked = 0;

// Takes a number of types off the path, or puts one in front, and answers or not.
class Meddler : public MessageFilterComponent {
  public:
    Meddler(uint32_t type, uint32_t takes, uint32_t puts, bool answers)
        : MessageFilterComponent("meddler", type, 3, 1),
          takes_(takes),
          puts_(puts),
          answers_(answers) {}

    MessageFilterComponent *Find(std::list<uint32_t> &path) override {
        ++g_asked;
        for (uint32_t i = 0; i < takes_ && path.size() > 1; ++i) {
            path.pop_front();
        }
        if (puts_ != 0) {
            path.push_front(puts_);
        }
        return answers_ ? this : nullptr;
    }

  private:
    uint32_t takes_;
    uint32_t puts_;
    bool answers_;
};

// Leaves and composites that only another Find tells from the library's own.
class AskedLeaf : public MessageFilterLeaf {
  public:
    using MessageFilterLeaf::MessageFilterLeaf;
    MessageFilterComponent *Find(std::list<uint32_t> &path) override {
        ++g_asked;
        return MessageFilterLeaf::Find(path);
    }
};
class AskedComposite : public MessageFilterComposite {
  public:
    using MessageFilterComposite::MessageFilterComposite;
    MessageFilterComponent *Find(std::list<uint32_t> &path) override {
        ++g_asked;
        return MessageFilterComposite::Find(path);
    }
};

class Random {
  public:
    explicit Random(uint64_t seed) : engine_(seed) {}
    uint32_t Below(uint32_t bound) {
        return std::uniform_int_distribution<uint32_t>(0, bound - 1)(engine_);
    }
    // Few different types, so that equal ones stand beside and below each other.
    uint32_t Type() { return 1 + Below(4); }

    Path QueryPath() {
        Path path(1 + Below(6));
        for (uint32_t &type : path) {
            type = Type();
        }
        path[0] = Below(20) == 0 ? 1 : 0;
        return path;
    }

  private:
    std::mt19937_64 engine_;
};

// Of `percent` nodes in a hundred the class is the test's own.
std::unique_ptr<MessageFilterComponent> Node(Random &random, uint32_t layer, uint32_t percent,
                                             bool canBeComposite) {
    const uint32_t type = random.Type();
    const uint32_t count = random.Below(3);
    const bool own = random.Below(100) >= percent;
    if (!own && random.Below(2) == 0) {
        const uint32_t takes = random.Below(3);
        const uint32_t puts = random.Below(2) * random.Type();
        return std::make_unique<Meddler>(type, takes, puts, random.Below(4) == 0);
    }
    if (canBeComposite && random.Below(3) != 0) {
        if (own) {
            return std::make_unique<MessageFilterComposite>("c", type, count, layer);
        }
        return std::make_unique<AskedComposite>("c", type, count, layer);
    }
    if (own) {
        return std::make_unique<MessageFilterLeaf>("l", type, count, layer);
    }
    return std::make_unique<AskedLeaf>("l", type, count, layer);
}

void AddChildren(Random &random, MessageFilterComponent &parent, uint32_t percent) {
    const uint32_t layer = parent.GetLayer() + 1;
    // Long rows are compared in groups.
    const uint32_t most = layer < 3 && random.Below(4) == 0 ? 20 : 6;
    for (uint32_t n = random.Below(most); n > 0; --n) {
        std::unique_ptr<MessageFilterComponent> child = Node(random, layer, percent, layer < 5);
        if (dynamic_cast<MessageFilterComposite *>(child.get()) != nullptr) {
            AddChildren(random, *child, percent);
        }
        parent.Add(child.release());
    }
}

std::unique_ptr<MessageFilterComposite> Tree(uint64_t seed, uint32_t percent) {
    Random random(seed);
    auto root = std::make_unique<MessageFilterComposite>("root", 0U, 2U, 0U);
    AddChildren(random, *root, percent);
    return root;
}

uint8_t IsFiltered(DxrMessageFilter &filter, const Path &path) {
    std::array<uint32_t, 5> t = {};
    std::copy(path.begin() + 1, path.end(), t.begin());
    return DXR_IsMessageFiltered(&filter, static_cast<uint32_t>(path.size() - 1), t[0], t[1], t[2],
                                 t[3], t[4]);
}

std::string Listing(const MessageFilterComponent &node) {
    std::string text;
    node.GetFilterStr(text);
    return text;
}

bool Walk(MessageFilterComponent &root, const Path &path, MessageFilterComponent **node) {
    return MessageFilterWalk::FindAmongOwn(root, path.data(), path.data() + path.size(), node);
}

class MessageFilterWalkModel : public testing::TestWithParam<uint32_t> {};

TEST_P(MessageFilterWalkModel, ItFindsWhatFindFindsOrStopsAtAForeignNode) {
    const uint64_t seed = dxrtest::Seed();
    Random random(seed);
    int found = 0;
    int missed = 0;
    int stopped = 0;
    for (uint64_t tree = 0; tree < 2000; ++tree) {
        const auto root = Tree(seed + tree, GetParam());
        for (int i = 0; i < 20; ++i) {
            const Path path = random.QueryPath();
            std::list<uint32_t> list(path.begin(), path.end());
            g_asked = 0;
            MessageFilterComponent *walkedTo = nullptr;
            const bool walked = Walk(*root, path, &walkedTo);
            ASSERT_EQ(g_asked, 0);
            MessageFilterComponent *const node = root->Find(list);
            ASSERT_EQ(walked, g_asked == 0) << "tree " << tree << ", path " << i;
            if (walked) {
                ASSERT_EQ(walkedTo, node) << "tree " << tree << ", path " << i;
                ++(node != nullptr ? found : missed);
            } else {
                ++stopped;
            }
        }
    }
    EXPECT_GT(found, 1000);
    EXPECT_GT(missed, 1000);
    EXPECT_EQ(stopped > 1000, GetParam() != 0);
}

// One tree is asked by the C function, a twin by the member with the list.
TEST_P(MessageFilterWalkModel, TheCFunctionAnswersAndCountsLikeTheMember) {
    const uint64_t seed = dxrtest::Seed();
    Random random(seed);
    int filtered = 0;
    for (uint64_t tree = 0; tree < 2000; ++tree) {
        const auto root = Tree(seed + tree, GetParam());
        const auto twin = Tree(seed + tree, GetParam());
        for (int i = 0; i < 20; ++i) {
            Path path = random.QueryPath();
            path[0] = 0;
            std::list<uint32_t> list(path.begin(), path.end());
            g_asked = 0;
            const uint8_t answer = IsFiltered(*root, path);
            const int asked = std::exchange(g_asked, 0);
            ASSERT_EQ(answer, twin->IsFiltered(list) ? 1 : 0) << "tree " << tree << ", path " << i;
            ASSERT_EQ(asked, g_asked) << "tree " << tree << ", path " << i;
            filtered += answer;
        }
        ASSERT_EQ(Listing(*root), Listing(*twin)) << "tree " << tree;
    }
    EXPECT_GT(filtered, 1000);
}

INSTANTIATE_TEST_SUITE_P(PercentOfForeignNodes, MessageFilterWalkModel,
                         testing::Values(0U, 3U, 30U));

TEST(MessageFilterWalk, RootsOfAnyClassAreAsked) {
    const Path root = {0};
    MessageFilterLeaf leaf("leaf", 0, 1, 0);
    MessageFilterComponent *found = nullptr;
    EXPECT_TRUE(Walk(leaf, root, &found));
    EXPECT_EQ(found, &leaf);
    EXPECT_EQ(DXR_IsMessageFiltered(&leaf, 2, 7U, 8U), 1);
    EXPECT_EQ(DXR_IsMessageFiltered(&leaf, 2, 7U, 8U), 0);

    MessageFilterLeaf other("leaf", 5, 1, 0);
    EXPECT_TRUE(Walk(other, root, &found));
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(DXR_IsMessageFiltered(&other, 0), 0);

    g_asked = 0;
    Meddler meddler(9, 0, 0, true);
    EXPECT_FALSE(Walk(meddler, root, &found));
    EXPECT_EQ(g_asked, 0);
    EXPECT_EQ(DXR_IsMessageFiltered(&meddler, 1, 4U), 1);
    EXPECT_EQ(g_asked, 1);
}

TEST(MessageFilterWalk, AForeignNodeBehindTheFoundOneIsNotAsked) {
    MessageFilterComposite root("root", 0, 0, 0);
    root.Add(new MessageFilterLeaf("leaf", 1, 5, 1));
    root.Add(new Meddler(1, 0, 0, true));
    g_asked = 0;
    const Path path = {0, 1};
    MessageFilterComponent *found = nullptr;
    EXPECT_TRUE(Walk(root, path, &found));
    EXPECT_TRUE(found != nullptr && found->IsSameMsgType(1));
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 1, 1U), 1);
    EXPECT_EQ(g_asked, 0);
    EXPECT_EQ(DXR_IsMessageFiltered(&root, 1, 2U), 1);
    EXPECT_EQ(g_asked, 1);
}

// Around the longest path that is walked.
TEST(MessageFilterWalk, PathsOfEveryLengthArriveWhole) {
    constexpr uint32_t kDeepest = 20;
    MessageFilterComposite root("root", 0, 0, 0);
    MessageFilterComponent *parent = &root;
    for (uint32_t layer = 1; layer <= kDeepest; ++layer) {
        auto *const node = new MessageFilterComposite("node", 100 + layer, layer, layer);
        parent->Add(node);
        parent = node;
    }
    for (uint32_t num = 1; num <= kDeepest; ++num) {
        for (uint32_t count = 0; count <= num; ++count) {
            EXPECT_EQ(DXR_IsMessageFiltered(&root, num, 101U, 102U, 103U, 104U, 105U, 106U, 107U,
                                            108U, 109U, 110U, 111U, 112U, 113U, 114U, 115U, 116U,
                                            117U, 118U, 119U, 120U),
                      count < num ? 1 : 0)
                << "path of " << num << ", query " << count;
        }
    }
}

// The nodes of the walk before are expected, but not relied upon: trees come and go at one address,
// and ways part and meet.
TEST(MessageFilterWalk, WhereTheLastWalkWentDoesNotMatter) {
    constexpr uint32_t kFanOut = 9;
    const auto typeOf = [](uint32_t child, uint32_t tree) { return 1 + (child + tree) % kFanOut; };
    for (uint32_t tree = 0; tree < 2 * kFanOut; ++tree) {
        MessageFilterComposite root("root", 0, 0, 0);
        for (uint32_t i = 0; i < kFanOut; ++i) {
            auto *const parent = new MessageFilterComposite("node", typeOf(i, tree), 0, 1);
            root.Add(parent);
            for (uint32_t j = 0; j < kFanOut; ++j) {
                parent->Add(new MessageFilterLeaf("leaf", typeOf(j, tree), i * kFanOut + j, 2));
            }
        }
        // Every leaf twice, in an order that leaps: 20 has no divisor in common with their number.
        for (uint32_t step = 0; step < 2 * kFanOut * kFanOut; ++step) {
            const uint32_t leaf = step / 2 * 20 % (kFanOut * kFanOut);
            const uint32_t i = leaf / kFanOut;
            const uint32_t j = leaf % kFanOut;
            ASSERT_EQ(DXR_IsMessageFiltered(&root, 2, typeOf(i, tree), typeOf(j, tree)),
                      leaf > step % 2 ? 1 : 0)
                << "tree " << tree << ", leaf " << leaf;
            ASSERT_EQ(DXR_IsMessageFiltered(&root, 2, typeOf(i, tree), kFanOut + 1), 0);
        }
    }
}

}  // namespace
