// A message filter tree, and its peer.
#ifndef DXR_FIGURES_FILTER_TREE_H
#define DXR_FIGURES_FILTER_TREE_H

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "dxr_api.h"

namespace bench {

constexpr uint32_t kDepth = 4;
constexpr uint32_t kFanOut = 8;
constexpr uint32_t kPlenty = 0xFFFFFFFF;

// The message type of child `n` on a level: not in order, as numbers of messages are.
inline uint32_t TypeOf(uint32_t layer, uint32_t n) {
    return (layer * 1000 + n) * 2654435761U;
}

// The host's records for everything below one node. A level's records are the same under every
// node.
inline std::vector<DxrMessageFilterInfo> Records(uint32_t layer,
                                                 const std::vector<DxrMessageFilterInfo> &below) {
    std::vector<DxrMessageFilterInfo> records(kFanOut);
    for (uint32_t n = 0; n < kFanOut; ++n) {
        records[n] = {TypeOf(layer, n), kPlenty, "node", below.data(),
                      static_cast<uint32_t>(below.size())};
    }
    return records;
}

struct Destroy {
    void operator()(DxrMessageFilter *filter) const { DXR_DestroyMessageFilter(&filter); }
};

inline std::shared_ptr<DxrMessageFilter> MakeFilter() {
    std::vector<std::vector<DxrMessageFilterInfo>> levels(kDepth + 1);
    for (uint32_t layer = kDepth; layer > 0; --layer) {
        levels[layer - 1] = Records(layer, levels[layer]);
    }
    return {DXR_CreateMessageFilter(levels[0].data(), kFanOut), Destroy()};
}

// What a module would write for itself: a table of children in every node.
struct MapNode {
    uint32_t lost = 0;
    std::unordered_map<uint32_t, MapNode> children;
};

inline void FillNode(MapNode &node, uint32_t layer) {
    node.lost = kPlenty;
    for (uint32_t n = 0; layer <= kDepth && n < kFanOut; ++n) {
        FillNode(node.children[TypeOf(layer, n)], layer + 1);
    }
}

}  // namespace bench

#endif  // DXR_FIGURES_FILTER_TREE_H
