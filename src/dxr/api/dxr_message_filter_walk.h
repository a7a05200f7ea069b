// The way of a path down a tree: what MessageFilterComponent::Find answers for it, and what is done
// with the node that it leads to.
//
// A short path is kept in place, and followed without a list and without a virtual call for every
// node that is asked, as long as all nodes that are asked are of the library's own two classes.
// Their Find does nothing but take types off the path, and the walk only moves on in its own, so
// that one that comes to a node of a host's class has left no trace: the root is asked by Find
// then, from the start.
#ifndef DXR_MESSAGE_FILTER_WALK_H
#define DXR_MESSAGE_FILTER_WALK_H

#include <array>
#include <cstdarg>
#include <cstdint>
#include <vector>

#include "dxr/message_filter.h"
#include "internal/fast_paths.h"

namespace Dxr {

class MessageFilterWalk {
  public:
    static constexpr uint32_t kRootMsgType = 0;
    // Longer paths are as well served by the list that Find takes.
    static constexpr uint32_t kMostInPlace = 15;

    // Makes room for a path of the root and `num` types below it: before variable arguments are
    // opened, since it may allocate.
    explicit MessageFilterWalk(uint32_t num) : num_(num) {
        if (num > kMostInPlace) {
            elsewhere_.resize(size_t{num} + 1);
        }
        types_ = num > kMostInPlace ? elsewhere_.data() : inPlace_.data();
    }

    // Takes the types below the root. In line, since an argument list that is passed on lives in
    // memory.
    [[gnu::always_inline]] void Read(std::va_list types) {
        uint32_t *const path = types_;
        const uint32_t *const end = End();
        *path = kRootMsgType;
        for (uint32_t *type = path + 1; type != end; ++type) {
            *type = va_arg(types, uint32_t);
        }
    }

    // The node that the path leads to, or null. Allocates where a host's class has to be asked.
    [[nodiscard]] MessageFilterComponent *Find(MessageFilterComponent &root) const {
        MessageFilterComponent *node = nullptr;
        if (dxr::kFastPaths && num_ <= kMostInPlace && FindAmongOwn(root, types_, End(), &node)) {
            return node;
        }
        return FindByList(root);
    }

    // The same for the path from `path` up to `end`, of 1 to kMostInPlace + 1 types, in `*node`.
    // False if a host's class would have to be asked: then nothing is known, and nothing has
    // happened.
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

    [[nodiscard]] const uint32_t *End() const { return types_ + num_ + 1; }
    [[nodiscard]] MessageFilterComponent *FindByList(MessageFilterComponent &root) const;

    uint32_t num_;
    std::array<uint32_t, kMostInPlace + 1> inPlace_;
    std::vector<uint32_t> elsewhere_;
    uint32_t *types_;
};

}  // namespace Dxr

#endif  // DXR_MESSAGE_FILTER_WALK_H
