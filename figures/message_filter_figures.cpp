#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "figures.h"
#include "filter_tree.h"

namespace bench {
namespace {

using Path = std::array<uint32_t, kDepth>;

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
