// The way of a path down a tree, as MessageFilterComponent::Find goes it, without a list and
// without a virtual call for every node that is asked.
//
// It goes only where all nodes that are asked are of the library's own two classes. Their Find does
// nothing but take types off the path, and the walk takes them off a view of its own, so a walk
// that ends at a node of another class has left no trace: the caller asks Find from the start.
#ifndef DXR_MESSAGE_FILTER_WALK_H
#define DXR_MESSAGE_FILTER_WALK_H

#include <cstdint>
#include <span>

#include "dxr/message_filter.h"

namespace Dxr {

class MessageFilterWalk {
  public:
    // `path`, not empty, begins with the message type of the node that the walk starts at.
    explicit MessageFilterWalk(std::span<const uint32_t> path)
        : path_(path.data()), end_(path.data() + path.size()) {}

    // Whether the walk from `root` on came to an end; not if it met a foreign node.
    [[nodiscard]] bool Find(MessageFilterComponent &root);
    // The node that the path leads to, or null.
    [[nodiscard]] MessageFilterComponent *Found() const { return found_; }

    // What MessageFilterComponent::IsFiltered does with what was found, null or not.
    static bool IsFiltered(MessageFilterComponent *node) {
        if (node == nullptr || node->lostCnt == 0) {
            return false;
        }
        --node->lostCnt;
        return true;
    }

  private:
    // What is left of the path when no child answers; null when the search is over: a node was
    // found or is foreign.
    const uint32_t *AskChildren(const MessageFilterComposite &node, const uint32_t *path);

    const uint32_t *path_;
    const uint32_t *end_;
    MessageFilterComponent *found_ = nullptr;
    bool foreign_ = false;
};

}  // namespace Dxr

#endif  // DXR_MESSAGE_FILTER_WALK_H
