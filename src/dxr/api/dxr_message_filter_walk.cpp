#include "dxr_message_filter_walk.h"

#include <typeinfo>

namespace Dxr {
namespace {

enum class Kind { kLeaf, kComposite, kForeign };

// Compared by address: a class that only looks the same is a foreign one.
Kind KindOf(const MessageFilterComponent &node) {
    const std::type_info *const type = &typeid(node);
    if (type == &typeid(MessageFilterComposite)) {
        return Kind::kComposite;
    }
    return type == &typeid(MessageFilterLeaf) ? Kind::kLeaf : Kind::kForeign;
}

}  // namespace

bool MessageFilterWalk::Find(MessageFilterComponent &root) {
    const Kind kind = KindOf(root);
    if (kind == Kind::kForeign) {
        return false;
    }
    if (root.msgType != *path_) {
        return true;
    }
    if (kind == Kind::kLeaf || path_ + 1 == end_) {
        found_ = &root;
        return true;
    }
    AskChildren(static_cast<const MessageFilterComposite &>(root), path_ + 1);
    return !foreign_;
}

const uint32_t *MessageFilterWalk::AskChildren(const MessageFilterComposite &node,
                                               const uint32_t *path) {
    for (MessageFilterComponent *const child : node.children) {
        const Kind kind = KindOf(*child);
        if (kind == Kind::kForeign) {
            foreign_ = true;
            return nullptr;
        }
        if (child->msgType != *path) {
            continue;
        }
        if (kind == Kind::kLeaf || ++path == end_) {
            found_ = child;
            return nullptr;
        }
        // What it takes off is missing for the siblings, as in Find.
        path = AskChildren(static_cast<const MessageFilterComposite &>(*child), path);
        if (path == nullptr) {
            return nullptr;
        }
    }
    return path;
}

}  // namespace Dxr
