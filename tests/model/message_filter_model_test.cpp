// Random trees, paths and counts against a model that walks a flat table of nodes with the path's
// position beside it. Some trees hold nodes of a host's class, which changes them in place between
// two queries.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "dxr/message_filter.h"
#include "support/message_filter_records.h"
#include "support/test_host.h"

namespace {

using dxrtest::FilterNode;
using dxrtest::FilterRecords;
using dxrtest::GuardedBuffer;

constexpr int kTrees = 1500;
constexpr int kTreesWithAHost = 1500;
constexpr int kOperationsPerTree = 20;
constexpr uint32_t kMax = 0xFFFFFFFF;

using Dxr::MessageFilterComponent;
using Dxr::MessageFilterComposite;
using Dxr::MessageFilterLeaf;
using Path = std::vector<uint32_t>;

// What a node of a host's class lets be changed in place.
class Editor {
  public:
    using Row = std::vector<MessageFilterComponent *>;

    Editor() = default;
    virtual ~Editor() = default;
    Editor(const Editor &) = delete;
    Editor &operator=(const Editor &) = delete;

    virtual void Retype(uint32_t type) = 0;
    virtual void Recount(uint32_t count) = 0;
    virtual Row *Children() = 0;  // null: a leaf
};

template <typename Base>
class HostNode : public Base, public Editor {
  public:
    using Base::Base;
    void Retype(uint32_t type) override { this->msgType = type; }
    void Recount(uint32_t count) override { this->lostCnt = count; }
    Row *Children() override {
        if constexpr (std::is_same_v<Base, MessageFilterComposite>) {
            return &this->children;
        }
        return nullptr;
    }
};

// The nodes in pre-order; the root is node 0. A subtree is a node and all behind it, `size` nodes.
class Model {
  public:
    explicit Model(const std::vector<FilterNode> &forest) {
        nodes_.push_back({"root", 0, 0, 0, true, 0});
        for (const FilterNode &node : forest) {
            Flatten(node, 1);
        }
        nodes_[0].size = nodes_.size();
    }

    // The node that the path leads to. `consumed` counts what has been taken off the front; it is
    // never put back.
    std::optional<size_t> Find(const Path &path, size_t *consumed) const {
        return FindFrom(0, path, consumed);
    }

    uint32_t &Count(size_t node) { return nodes_[node].lost; }
    uint32_t &Type(size_t node) { return nodes_[node].type; }
    uint32_t Layer(size_t node) const { return nodes_[node].layer; }
    size_t Size() const { return nodes_.size(); }
    // Of a node of a host's class; null for one of the library's.
    Editor *&EditorOf(size_t node) { return nodes_[node].editor; }

    bool HasChildren(size_t node) const { return nodes_[node].size > 1; }
    // Lets the first child be the last one.
    void RotateChildren(size_t node) {
        const size_t first = node + 1;
        std::rotate(At(first), At(first + nodes_[first].size), At(node + nodes_[node].size));
    }
    void DropLastChild(size_t node) {
        const size_t end = node + nodes_[node].size;
        size_t last = node + 1;
        while (last + nodes_[last].size != end) {
            last += nodes_[last].size;
        }
        const size_t size = nodes_[last].size;
        nodes_.erase(At(last), At(end));
        Resize(node, 0 - size);
    }
    void AppendLeaf(size_t node, const FilterNode &leaf) {
        const Node added = {leaf.name, leaf.msgType, leaf.lostCnt, nodes_[node].layer + 1, false,
                            1};
        nodes_.insert(At(node + nodes_[node].size), added);
        Resize(node, 1);
    }

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
        size_t size;
        Editor *editor = nullptr;
    };

    std::vector<Node>::iterator At(size_t node) {
        return nodes_.begin() + static_cast<ptrdiff_t>(node);
    }

    // Of a node and those above it.
    void Resize(size_t node, size_t difference) {
        for (size_t i = 0; i <= node; ++i) {
            if (node < i + nodes_[i].size) {
                nodes_[i].size += difference;
            }
        }
    }

    void Flatten(const FilterNode &node, uint32_t layer) {
        const size_t at = nodes_.size();
        nodes_.push_back({node.name.substr(0, 32), node.msgType, node.lostCnt, layer,
                          !node.children.empty(), 0});
        for (const FilterNode &child : node.children) {
            Flatten(child, layer + 1);
        }
        nodes_[at].size = nodes_.size() - at;
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
        for (size_t child = at + 1; child < at + node.size; child += nodes_[child].size) {
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
        const uint32_t most = Below(4) == 0 ? 30 : 5;  // long rows are searched in another way
        for (uint32_t n = Below(most); n > 0 && *budget > 0; --n) {
            --*budget;
            nodes.push_back(Node());
            if (depth > 1 && Below(3) != 0) {
                nodes.back().children = Forest(depth - 1, budget);
            }
        }
        return nodes;
    }

    FilterNode Node() {
        return {std::string(Below(37), static_cast<char>('a' + Below(26))), Type(), Count()};
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
    int changedInPlace = 0;
    int rowsChanged = 0;
};

class TreeRun {
  public:
    // Of `percent` nodes in a hundred the class is a host's. Without any the tree is built from
    // records.
    TreeRun(Random *random, Statistics *statistics, uint32_t percent)
        : random_(random), statistics_(statistics), forest_(MakeForest(random)), model_(forest_) {
        if (percent == 0) {
            const FilterRecords records(forest_);
            filter_ = DXR_CreateMessageFilter(records.Data(), records.Size());
            return;
        }
        filter_ = new MessageFilterComposite("root", 0, 0, 0);
        size_t at = 1;
        Plant(filter_, forest_, percent, &at);
    }
    ~TreeRun() { DXR_DestroyMessageFilter(&filter_); }
    TreeRun(const TreeRun &) = delete;
    TreeRun &operator=(const TreeRun &) = delete;

    void Step() {
        ChangeInPlace();
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

    // The nodes of the model from `*at` on, under `parent`.
    void Plant(DxrMessageFilter *parent, const std::vector<FilterNode> &nodes, uint32_t percent,
               size_t *at) {
        for (const FilterNode &node : nodes) {
            const size_t self = (*at)++;
            if (node.children.empty()) {
                AddNode<MessageFilterLeaf>(parent, node, percent, self);
            } else {
                Plant(AddNode<MessageFilterComposite>(parent, node, percent, self), node.children,
                      percent, at);
            }
        }
    }

    template <typename Base>
    DxrMessageFilter *AddNode(DxrMessageFilter *parent, const FilterNode &node, uint32_t percent,
                              size_t self) {
        const std::string name = node.name.substr(0, 32);
        const uint32_t layer = model_.Layer(self);
        Base *added = nullptr;
        if (random_->Below(100) < percent) {
            auto *const host = new HostNode<Base>(name, node.msgType, node.lostCnt, layer);
            model_.EditorOf(self) = host;
            added = host;
        } else {
            added = new Base(name, node.msgType, node.lostCnt, layer);
        }
        parent->Add(added);
        return added;
    }

    // Changes a node of a host's class, if the one that is drawn is one.
    void ChangeInPlace() {
        const size_t at = random_->Below(static_cast<uint32_t>(model_.Size()));
        Editor *const editor = model_.EditorOf(at);
        if (editor == nullptr) {
            return;
        }
        ++statistics_->changedInPlace;
        editor->Retype(model_.Type(at) = random_->Type());
        if (random_->Below(2) == 0) {
            editor->Recount(model_.Count(at) = random_->Count());
        }
        if (editor->Children() != nullptr) {
            ChangeRow(at, editor->Children());
        }
    }

    void ChangeRow(size_t at, Editor::Row *row) {
        ++statistics_->rowsChanged;
        const uint32_t change = random_->Below(4);
        if (change == 0) {
            FilterNode leaf = random_->Node();
            leaf.name.resize(std::min<size_t>(leaf.name.size(), 32));
            row->push_back(
                new MessageFilterLeaf(leaf.name, leaf.msgType, leaf.lostCnt, model_.Layer(at) + 1));
            model_.AppendLeaf(at, leaf);
        } else if (change == 1 && model_.HasChildren(at)) {
            delete row->back();
            row->pop_back();
            model_.DropLastChild(at);
        } else if (change == 2 && model_.HasChildren(at)) {
            std::rotate(row->begin(), row->begin() + 1, row->end());
            model_.RotateChildren(at);
        }
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

void RunTrees(int trees, uint32_t percent, Statistics *statistics) {
    Random random(dxrtest::Seed());
    for (int tree = 0; tree < trees; ++tree) {
        TreeRun run(&random, statistics, percent);
        for (int i = 0; i < kOperationsPerTree; ++i) {
            run.Step();
            ASSERT_FALSE(testing::Test::HasFatalFailure()) << "tree " << tree << ", step " << i;
        }
    }
    EXPECT_GT(statistics->found, 1000);
    EXPECT_GT(statistics->filtered, 1000);
    EXPECT_GT(statistics->foundBesideTheWay, 1000);
    EXPECT_GT(statistics->missedWithTypesTaken, 1000);
}

TEST(MessageFilterModel, RandomTreesAndPathsAgree) {
    Statistics statistics;
    RunTrees(kTrees, 0, &statistics);
}

// Changed nodes of the host's, and the library's own below and beside them.
TEST(MessageFilterModel, ChangesInPlaceBetweenQueriesAgree) {
    for (const uint32_t percent : {5U, 40U}) {
        Statistics statistics;
        RunTrees(kTreesWithAHost, percent, &statistics);
        EXPECT_GT(statistics.changedInPlace, 500);
        EXPECT_GT(statistics.rowsChanged, 100);
    }
}

}  // namespace
