// Random trees, paths and counts against a model that walks a flat table of nodes with the path's
// position beside it.
#include <gtest/gtest.h>

#include <cstdint>
#include <list>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "dxr/message_filter.h"
#include "support/message_filter_records.h"
#include "support/test_host.h"

namespace {

using dxrtest::FilterNode;
using dxrtest::FilterRecords;
using dxrtest::GuardedBuffer;

constexpr int kTrees = 3000;
constexpr int kOperationsPerTree = 20;
constexpr uint32_t kMax = 0xFFFFFFFF;

using Path = std::vector<uint32_t>;

// The nodes in pre-order; the root is node 0. A subtree is a node and all behind it up to its
// `end`.
class Model {
  public:
    explicit Model(const std::vector<FilterNode> &forest) {
        nodes_.push_back({"root", 0, 0, 0, true, 0});
        for (const FilterNode &node : forest) {
            Flatten(node, 1);
        }
        nodes_[0].end = nodes_.size();
    }

    // The node that the path leads to. `consumed` counts what has been taken off the front; it is
    // never put back.
    std::optional<size_t> Find(const Path &path, size_t *consumed) const {
        return FindFrom(0, path, consumed);
    }

    uint32_t &Count(size_t node) { return nodes_[node].lost; }
    // For statistics: whether the path spells the way from the root down to the node.
    bool IsPlainWay(size_t node, const Path &path) const {
        return node < nodes_.size() && path.size() == size_t{nodes_[node].layer} + 1;
    }

    std::string Listing() const {
        std::ostringstream text;
        for (size_t i = 1; i < nodes_.size(); ++i) {
            for (uint32_t l = 0; l < nodes_[i].layer; ++l) {
                text << "    ";
            }
            text << "msgType[" << nodes_[i].type << "], lostCnt[" << nodes_[i].lost << "], name["
                 << nodes_[i].name << "]\r\n";
        }
        return text.str();
    }

  private:
    struct Node {
        std::string name;
        uint32_t type;
        uint32_t lost;
        uint32_t layer;
        bool composite;
        size_t end;
    };

    void Flatten(const FilterNode &node, uint32_t layer) {
        const size_t at = nodes_.size();
        nodes_.push_back({node.name.substr(0, 32), node.msgType, node.lostCnt, layer,
                          !node.children.empty(), 0});
        for (const FilterNode &child : node.children) {
            Flatten(child, layer + 1);
        }
        nodes_[at].end = nodes_.size();
    }

    std::optional<size_t> FindFrom(size_t at, const Path &path, size_t *consumed) const {
        const Node &node = nodes_[at];
        if (path.at(*consumed) != node.type) {
            return std::nullopt;
        }
        if (!node.composite) {
            return at;
        }
        *consumed += 1;
        if (*consumed == path.size()) {
            return at;
        }
        for (size_t child = at + 1; child < node.end; child = nodes_[child].end) {
            if (const auto found = FindFrom(child, path, consumed)) {
                return found;
            }
        }
        return std::nullopt;
    }

    std::vector<Node> nodes_;
};

class Random {
  public:
    explicit Random(uint64_t seed) : engine_(seed) {}
    uint32_t Below(uint32_t bound) {
        return std::uniform_int_distribution<uint32_t>(0, bound - 1)(engine_);
    }
    // Few different types, so that equal ones stand beside and below each other.
    uint32_t Type() { return Below(40) == 0 ? kMax - Below(2) : Below(4); }
    uint32_t Count() { return Below(30) == 0 ? kMax - Below(3) : Below(3); }

    std::vector<FilterNode> Forest(uint32_t depth, uint32_t *budget) {
        std::vector<FilterNode> nodes;
        for (uint32_t n = Below(5); n > 0 && *budget > 0; --n) {
            --*budget;
            nodes.push_back(
                {std::string(Below(37), static_cast<char>('a' + Below(26))), Type(), Count()});
            if (depth > 1 && Below(3) != 0) {
                nodes.back().children = Forest(depth - 1, budget);
            }
        }
        return nodes;
    }

    Path BelowRoot() {
        Path path(Below(6));
        for (uint32_t &type : path) {
            type = Type();
        }
        return path;
    }

  private:
    std::mt19937_64 engine_;
};

uint8_t IsFiltered(DxrMessageFilter *filter, Path p) {
    const auto num = static_cast<uint32_t>(p.size());
    p.resize(5);
    return DXR_IsMessageFiltered(filter, num, p[0], p[1], p[2], p[3], p[4]);
}

void SetCount(DxrMessageFilter *filter, uint32_t count, Path p) {
    const auto num = static_cast<uint32_t>(p.size());
    p.resize(5);
    DXR_SetMessageFilterCount(filter, count, num, p[0], p[1], p[2], p[3], p[4]);
}

void CheckListing(const DxrMessageFilter *filter, const std::string &expected, size_t room) {
    GuardedBuffer buffer(room);
    DXR_GetMessageFilterStr(filter, buffer.Data(), static_cast<uint32_t>(room));
    ASSERT_TRUE(buffer.Intact());
    if (room > expected.size()) {
        ASSERT_EQ(buffer.Text(), expected);
    } else if (room > 0) {
        const std::string failure = "get message filter string failed, ret[0x22]";
        ASSERT_EQ(buffer.Text(), failure.substr(0, room - 1));
    }
}

// How often the interesting cases came up: a test of nothing but misses would be worth little.
struct Statistics {
    int found = 0;
    int filtered = 0;
    int foundBesideTheWay = 0;  // through an ignored rest or a shortened path
    int missedWithTypesTaken = 0;
};

class TreeRun {
  public:
    TreeRun(Random *random, Statistics *statistics)
        : random_(random), statistics_(statistics), forest_(MakeForest(random)), model_(forest_) {
        const FilterRecords records(forest_);
        filter_ = DXR_CreateMessageFilter(records.Data(), records.Size());
    }
    ~TreeRun() { DXR_DestroyMessageFilter(&filter_); }
    TreeRun(const TreeRun &) = delete;
    TreeRun &operator=(const TreeRun &) = delete;

    void Step() {
        const Path below = random_->BelowRoot();
        Path path = {0};
        path.insert(path.end(), below.begin(), below.end());
        size_t consumed = 0;
        const auto node = model_.Find(path, &consumed);
        Count(node, path, consumed);
        switch (random_->Below(4)) {
            case 0: {
                const uint32_t count = random_->Count();
                SetCount(filter_, count, below);
                if (node) {
                    model_.Count(*node) = count;
                }
                break;
            }
            case 1:
                CheckConsumption(path, node.has_value(), consumed);
                break;
            default: {
                const bool filtered = node && model_.Count(*node) > 0;
                if (filtered) {
                    --model_.Count(*node);
                    ++statistics_->filtered;
                }
                ASSERT_EQ(IsFiltered(filter_, below), filtered ? 1 : 0);
            }
        }
        const std::string expected = model_.Listing();
        CheckListing(filter_, expected, expected.size() + 1);
        CheckListing(filter_, expected,
                     random_->Below(static_cast<uint32_t>(expected.size()) + 60));
    }

  private:
    static std::vector<FilterNode> MakeForest(Random *random) {
        uint32_t budget = 60;
        return random->Forest(5, &budget);
    }

    void CheckConsumption(const Path &path, bool found, size_t consumed) {
        std::list<uint32_t> list(path.begin(), path.end());
        ASSERT_EQ(filter_->Find(list) != nullptr, found);
        ASSERT_EQ(Path(list.begin(), list.end()),
                  Path(path.begin() + static_cast<ptrdiff_t>(consumed), path.end()));
    }

    void Count(const std::optional<size_t> &node, const Path &path, size_t consumed) {
        if (node) {
            ++statistics_->found;
            if (!model_.IsPlainWay(*node, path)) {
                ++statistics_->foundBesideTheWay;
            }
        } else if (consumed > 1) {
            ++statistics_->missedWithTypesTaken;
        }
    }

    Random *random_;
    Statistics *statistics_;
    std::vector<FilterNode> forest_;
    Model model_;
    DxrMessageFilter *filter_ = nullptr;
};

TEST(MessageFilterModel, RandomTreesAndPathsAgree) {
    Random random(dxrtest::Seed());
    Statistics statistics;
    for (int tree = 0; tree < kTrees; ++tree) {
        TreeRun run(&random, &statistics);
        for (int i = 0; i < kOperationsPerTree; ++i) {
            run.Step();
            ASSERT_FALSE(HasFatalFailure()) << "tree " << tree << ", step " << i;
        }
    }
    EXPECT_GT(statistics.found, 1000);
    EXPECT_GT(statistics.filtered, 1000);
    EXPECT_GT(statistics.foundBesideTheWay, 1000);
    EXPECT_GT(statistics.missedWithTypesTaken, 1000);
}

}  // namespace
