// The way of a path down a tree: what MessageFilterComponent::Find answers for it, and what is done
// with the node that it leads to.
//
// A short path is kept in place, and followed without a list and without a virtual call for every
// node that is asked, as long as all nodes that are asked are of the library's own two classes.
// Their Find does nothing but take types off the path, and the walk only moves on in its own, so
// that one that comes to a node of a host's class has left no trace: the root is asked by Find then,
// from the start.
#ifndef DXR_MESSAGE_FILTER_WALK_H
#define DXR_MESSAGE_FILTER_WALK_H

#include <array>
#include <cstdarg>
#include <cstdint>
#include <iterator>
#include <list>

#include "dxr/message_filter.h"
#include "internal/fast_paths.h"

namespace Dxr {

class MessageFilterWalk {
  public:
    static constexpr uint32_t kRootMsgType = 0;
    // Longer paths are as well served by the list that Find takes.
    static constexpr uint32_t kMostInPlace = 15;

    // Makes room for a path of the root and `num` types below it; what is allocated is allocated
    // here, before variable arguments are opened.
    explicit MessageFilterWalk(uint32_t num) : num_(num) {
        if (!IsInPlace()) {
            list_.assign(size_t{num} + 1, kRootMsgType);
        }
    }

    // Takes the types below the root. In line, since an argument list that is passed on lives in
    // memory.
    [[gnu::always_inline]] void Read(std::va_list types) {
        if (!IsInPlace()) {
            for (auto type = std::next(list_.begin()); type != list_.end(); ++type) {
                *type = va_arg(types, uint32_t);
            }
            return;
        }
        types_[0] = kRootMsgType;
        for (uint32_t i = 1; i <= num_; ++i) {
            types_[i] = va_arg(types, uint32_t);
        }
    }

    // The node that the path leads to, or null. May allocate where a host's class is asked. Once.
    [[nodiscard]] MessageFilterComponent *Find(MessageFilterComponent &root) {
        if (IsInPlace()) {
            MessageFilterComponent *node = nullptr;
            if (FindAmongOwn(root, types_.data(), types_.data() + num_ + 1, &node)) {
                return node;
            }
            list_.assign(types_.begin(), types_.begin() + num_ + 1);
        }
        return root.Find(list_);
    }

    // The same for the path from `path` up to `end`, of 1 to kMostInPlace + 1 types, in `*node`. False if a host's class
    // would have to be asked: then nothing is known, and nothing has happened.
    [[nodiscard]] static bool FindAmongOwn(MessageFilterComponent &root, const uint32_t *path,
                                           const uint32_t *end, MessageFilterComponent **node);

    // Whether `node`, which may be null, has messages left to filter: takes one off its count.
    static bool TakeOne(MessageFilterComponent *node) {
        if (node == nullptr || node->lostCnt == 0) {
            return false;
        }
        --node->lostCnt;
        return true;
    }

    // False if `node` is null.
    static bool SetCount(MessageFilterComponent *node, uint32_t count) {
        if (node == nullptr) {
            return false;
        }
        node->lostCnt = count;
        return true;
    }

    // Whether `node` is exactly of one of the library's two classes; one derived from them is not.
    [[nodiscard]] static bool IsOwn(const MessageFilterComponent &node);

  private:
    class Row;

    [[nodiscard]] bool IsInPlace() const { return dxr::kFastPaths && num_ <= kMostInPlace; }

    uint32_t num_;
    std::array<uint32_t, kMostInPlace + 1> types_;
    std::list<uint32_t> list_;
};

}  // namespace Dxr

#endif  // DXR_MESSAGE_FILTER_WALK_H
