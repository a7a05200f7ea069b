#include <array>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "dxr_api.h"
#include "figures.h"

namespace bench {
namespace {

constexpr uint32_t kDepth = 4;
constexpr uint32_t kFanOut = 8;
constexpr uint32_t kPlenty = 0xFFFFFFFF;

using Path = std::array<uint32_t, kDepth>;

// The message type of child `n` on a level: not in order, as numbers of messages are.
uint32_t TypeOf(uint32_t layer, uint32_t n) {
    return (layer * 1000 + n) * 2654435761U;
}

// The host's records for everything below one node. A level's records are the same under every
// node.
std::vector<DxrMessageFilterInfo> Records(uint32_t layer,
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

std::shared_ptr<DxrMessageFilter> MakeFilter() {
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

void FillNode(MapNode &node, uint32_t layer) {
    node.lost = kPlenty;
    for (uint32_t n = 0; layer <= kDepth && n < kFanOut; ++n) {
        FillNode(node.children[TypeOf(layer, n)], layer + 1);
    }
}

[[gnu::noinline]] bool IsFiltered(MapNode &root, const uint32_t *path, uint32_t num) {
    MapNode *node = &root;
    for (uint32_t i = 0; i < num; ++i) {
        const auto child = node->children.find(path[i]);
        if (child == node->children.end()) {
            return false;
        }
        node = &child->second;
    }
    if (node->lost == 0) {
        return false;
    }
    --node->lost;
    return true;
}

std::vector<Path> RandomPaths() {
    std::mt19937 random(1);
    std::vector<Path> paths(4096);
    for (Path &path : paths) {
        for (uint32_t layer = 1; layer <= kDepth; ++layer) {
            path[layer - 1] = TypeOf(layer, static_cast<uint32_t>(random()) % kFanOut);
        }
    }
    return paths;
}

bool Ask(DxrMessageFilter *filter, const Path &path) {
    return DXR_IsMessageFiltered(filter, kDepth, path[0], path[1], path[2], path[3]) != 0;
}

Figure QueryOf(const std::string &which, const std::vector<Path> &paths) {
    const auto filter = MakeFilter();
    const auto map = std::make_shared<MapNode>();
    FillNode(*map, 1);
    for (const Path &path : paths) {
        Require(Ask(filter.get(), path) && IsFiltered(*map, path.data(), kDepth),
                "a message is filtered");
    }
    return {"DXR_IsMessageFiltered, depth 4, " + which, "nested unordered_map", 0,
            [filter, paths](uint64_t count) {
                for (uint64_t i = 0; i < count; ++i) {
                    Keep(Ask(filter.get(), paths[i % paths.size()]));
                }
            },
            [map, paths](uint64_t count) {
                for (uint64_t i = 0; i < count; ++i) {
                    const Path &path = paths[i % paths.size()];
                    Keep(IsFiltered(*map, path.data(), kDepth));
                }
            }};
}

}  // namespace

Figure FilterQueryOfOnePath() {
    return QueryOf("one path", {RandomPaths().front()});
}

Figure FilterQueryOfRandomPaths() {
    return QueryOf("random path", RandomPaths());
}

}  // namespace bench
