// The message filter tree beside a naive one of nested lists.
#include <algorithm>
#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "dxr/message_filter.h"
#include "fuzz/model_text.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr uint32_t kMostNodes = 48;
constexpr size_t kMostTypes = 6;
constexpr size_t kMostChildren = 20;  // more than are compared at once

ModelText g_text;

struct Node {
    uint32_t type = 0;
    uint32_t lost = 0;
    uint32_t layer = 0;
    bool leaf = false;
    std::string_view name;
    std::vector<Node *> children;
};

// Nodes and records of a run, made anew by each.
struct Pool {
    std::array<Node, kMostNodes + 1> nodes;
    std::array<DxrMessageFilterInfo, 8 * kMostNodes> records;
    uint32_t usedNodes = 0;
    uint32_t usedRecords = 0;
} g_pool;

Node *NewNode(uint32_t type, uint32_t lost, uint32_t layer, bool leaf, std::string_view name) {
    Node *const node = &g_pool.nodes[g_pool.usedNodes++];
    node->type = type;
    node->lost = lost;
    node->layer = layer;
    node->leaf = leaf;
    node->name = name;
    node->children.clear();
    return node;
}

Node *Find(Node *node, std::list<uint32_t> *path) {
    if (path->empty() || path->front() != node->type) {
        return nullptr;
    }
    if (node->leaf) {
        return node;
    }
    path->pop_front();
    if (path->empty()) {
        return node;
    }
    for (Node *const child : node->children) {
        if (Node *const found = Find(child, path)) {
            return found;
        }
    }
    return nullptr;
}

void List(const Node &node) {
    if (node.layer != 0) {
        g_text.Blanks(size_t{4} * node.layer).Add("msgType[").Number(node.type).Add("], lostCnt[");
        g_text.Number(node.lost).Add("], name[").Add(node.name).Add("]\r\n");
    }
    for (const Node *const child : node.children) {
        List(*child);
    }
}

// A host's own node, which takes part in a tree by Find alone.
class Foreign : public Dxr::MessageFilterLeaf {
  public:
    using Dxr::MessageFilterLeaf::MessageFilterLeaf;
    Dxr::MessageFilterComponent *Find(std::list<uint32_t> &path) override {
        return Dxr::MessageFilterLeaf::Find(path);
    }
};

class Run {
  public:
    explicit Run(Input &input) : input_(input) {
        g_pool.usedNodes = 0;
        g_pool.usedRecords = 0;
        root_ = NewNode(0, 0, 0, false, "root");
        const uint32_t count = 1 + input_.Below(kMostChildren);
        DxrMessageFilterInfo *const info = Records(count, 0, root_);
        real_ = DXR_CreateMessageFilter(info, made_);
        if (input_.Rarely()) {
            AddForeign();
        }
    }
    ~Run() {
        DXR_DestroyMessageFilter(&real_);
        DXR_FUZZ_SAME(real_ == nullptr);
        DXR_DestroyMessageFilter(&real_);
    }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    void Operation() {
        switch (input_.Below(6)) {
            case 0:
                Show();
                break;
            case 1:
                Set();
                break;
            default:
                Ask();
                break;
        }
    }

  private:
    uint32_t Type() { return input_.Rarely() ? input_.Number() : input_.Below(4); }

    // The records of the children of `parent`, and the model's nodes; fewer when the pool is used
    // up. `made_` is their number.
    DxrMessageFilterInfo *Records(uint32_t wanted, uint32_t depth, Node *parent) {
        const uint32_t count = std::min(wanted, kMostNodes - (g_pool.usedNodes - 1));
        DxrMessageFilterInfo *const first = &g_pool.records[g_pool.usedRecords];
        g_pool.usedRecords += count;
        std::array<Node *, kMostChildren> nodes = {};
        std::array<uint32_t, kMostChildren> children = {};
        for (uint32_t i = 0; i < count; ++i) {
            DxrMessageFilterInfo &info = first[i];
            std::memset(info.name, 0, sizeof(info.name));
            const std::string_view name = input_.Text(sizeof(info.name));
            std::memcpy(info.name, name.data(), name.size());
            info.msgType = Type();
            info.lostCnt = input_.Rarely() ? input_.Number() : input_.Below(3);
            children[i] = Children(depth);
            nodes[i] = NewNode(info.msgType, info.lostCnt, depth + 1, true,
                               {info.name, strnlen(info.name, sizeof(info.name))});
            parent->children.push_back(nodes[i]);
        }
        for (uint32_t i = 0; i < count; ++i) {
            DxrMessageFilterInfo *const below =
                children[i] != 0 ? Records(children[i], depth + 1, nodes[i]) : nullptr;
            first[i].subFilters = below;
            first[i].subFilterNum = children[i] != 0 ? made_ : 0;
            nodes[i]->leaf = first[i].subFilterNum == 0;
        }
        made_ = count;
        return first;
    }

    uint32_t Children(uint32_t depth) {
        const uint8_t byte = input_.Byte();
        if (depth == 5 || byte % 3 == 0) {
            return 0;
        }
        return byte < 0xE0 ? byte / 3 % 4 : byte % kMostChildren;
    }

    void AddForeign() {
        if (g_pool.usedNodes == kMostNodes) {
            return;
        }
        const uint32_t type = Type();
        const uint32_t lost = input_.Below(3);
        if (input_.Flag()) {
            real_->Add(new Foreign("foreign", type, lost, 1));
            root_->children.push_back(NewNode(type, lost, 1, true, "foreign"));
        } else {
            DxrMessageFilterInfo info = {type, lost, "added", nullptr, 0};
            DxrAddMessageFilterToComposite(real_, &info);
            root_->children.push_back(NewNode(type, lost, 1, true, "added"));
        }
    }

    // Message types below the root; mostly those of a way that exists.
    uint32_t Path(std::array<uint32_t, kMostTypes> *types) {
        const uint8_t how = input_.Byte();
        uint32_t count = 0;
        const Node *node = root_;
        while (count < kMostTypes && count < (how & 7)) {
            if ((how & 8) == 0 && !node->children.empty()) {
                node = node->children[input_.Byte() % node->children.size()];
                (*types)[count++] = node->type;
            } else {
                (*types)[count++] = Type();
            }
        }
        return count;
    }

    static std::list<uint32_t> Whole(const std::array<uint32_t, kMostTypes> &types,
                                     uint32_t count) {
        std::list<uint32_t> path(types.begin(), types.begin() + count);
        path.push_front(0);
        return path;
    }

    void Ask() {
        std::array<uint32_t, kMostTypes> types = {};
        const uint32_t count = Path(&types);
        std::list<uint32_t> path = Whole(types, count);
        std::list<uint32_t> realPath = path;
        Node *const node = Find(root_, &path);
        const bool filtered = node != nullptr && node->lost != 0;
        if (filtered) {
            --node->lost;
        }
        if (input_.Rarely()) {
            DXR_FUZZ_SAME(real_->IsFiltered(realPath) == filtered);
            DXR_FUZZ_SAME(realPath == path);
            return;
        }
        DXR_FUZZ_SAME(DXR_IsMessageFiltered(real_, count, types[0], types[1], types[2], types[3],
                                            types[4], types[5]) == (filtered ? 1 : 0));
    }

    void Set() {
        std::array<uint32_t, kMostTypes> types = {};
        const uint32_t count = Path(&types);
        const uint32_t lost = input_.Number();
        std::list<uint32_t> path = Whole(types, count);
        std::list<uint32_t> realPath = path;
        Node *const node = Find(root_, &path);
        if (node != nullptr) {
            node->lost = lost;
        }
        if (input_.Rarely()) {
            DXR_FUZZ_SAME(real_->SetLostCnt(realPath, lost) == (node != nullptr ? 0 : 1));
            DXR_FUZZ_SAME(realPath == path);
            return;
        }
        DXR_SetMessageFilterCount(real_, lost, count, types[0], types[1], types[2], types[3],
                                  types[4], types[5]);
    }

    void Show() {
        g_text.Clear();
        List(*root_);
        const std::string_view whole = g_text.View();
        const size_t room = input_.Flag() ? whole.size() + input_.Below(3) : input_.Byte();
        const ExactBuffer buffer(room);
        DXR_GetMessageFilterStr(real_, buffer.Data(), buffer.Size());
        if (room > whole.size()) {
            DXR_FUZZ_SAME(buffer.HoldsCut(whole));
        } else {
            DXR_FUZZ_SAME(buffer.HoldsCut("get message filter string failed, ret[0x22]"));
        }
    }

    Input &input_;
    Node *root_;
    uint32_t made_ = 0;
    DxrMessageFilter *real_ = nullptr;
};

}  // namespace

void MessageFilter(Input &input) {
    Run run(input);
    for (int i = 0; i < 40 && !input.Empty(); ++i) {
        run.Operation();
    }
}

}  // namespace dxrfuzz
