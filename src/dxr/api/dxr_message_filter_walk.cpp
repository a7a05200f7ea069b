#include "dxr_message_filter_walk.h"

#include <algorithm>
#include <cstddef>
#include <list>
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

// Which child matches cannot be foreseen, and a wrong guess of the processor's costs as much as a
// dozen comparisons: children are compared in groups, without a branch on what was compared.
constexpr ptrdiff_t kGroup = 8;

// Lets `*found` be `node` if the types are equal, by a conditional move: of the plain form
// compilers make a branch. So below.
[[gnu::always_inline]] inline void TakeIfEqual(uint32_t type, const uint32_t &nodeType,
                                               MessageFilterComponent *node,
                                               MessageFilterComponent **found) {
#if defined(__x86_64__)
    asm("cmpl %[type], %[nodeType]\n\tcmoveq %[node], %[found]"
        : [found] "+r"(*found)
        : [type] "r"(type), [nodeType] "m"(nodeType), [node] "r"(node)
        : "cc");
#else
    *found = nodeType == type ? node : *found;
#endif
}

// Lets `*found` be `node` if it is null.
[[gnu::always_inline]] inline void TakeIfNull(MessageFilterComponent *node,
                                              MessageFilterComponent **found) {
#if defined(__x86_64__)
    asm("testq %[found], %[found]\n\tcmoveq %[node], %[found]"
        : [found] "+r"(*found)
        : [node] "r"(node)
        : "cc");
#else
    *found = *found == nullptr ? node : *found;
#endif
}

// The nodes that the thread's last walk came to, by depth below the root. They are compared with
// and no more, and may be gone.
[[gnu::tls_model(
    "initial-exec")]] constinit thread_local std::array<uintptr_t, MessageFilterWalk::kMostInPlace>
    t_last{};

// `found`, not null, itself. Messages come in bursts: if it is the node of the last walk, the
// processor foresees that, and goes on with the address from there, without waiting for the
// children's types; so the steps of a walk overlap.
[[gnu::always_inline]] inline MessageFilterComponent *AsLastTime(MessageFilterComponent *found,
                                                                 uintptr_t *last) {
    const uintptr_t node = *last;
    // A copy that the compiler does not know to be one: of two that it knows to be equal it may
    // take the one that is waited for.
    uintptr_t copy = node;
    asm("" : "+r"(copy));
    if (node == reinterpret_cast<uintptr_t>(found)) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): that is the point.
        return reinterpret_cast<MessageFilterComponent *>(copy);
    }
    *last = reinterpret_cast<uintptr_t>(found);
    return found;
}

}  // namespace

// The children of a composite that are still to be asked.
class MessageFilterWalk::Row {
  public:
    explicit Row(const MessageFilterComposite &parent)
        : hasForeign_(parent.hasForeignChild_ != 0),
          next_(parent.children.data()),
          end_(next_ + parent.children.size()) {}

    // The first one that has this type or is foreign, or null.
    [[nodiscard]] MessageFilterComponent *Ask(uint32_t type) const {
        MessageFilterComponent *const *child = next_;
        for (; !hasForeign_ && end_ - child >= kGroup; child += kGroup) {
            MessageFilterComponent *const found = AskGroup(child, type);
            if (found != nullptr) {
                return found;
            }
        }
        for (; child != end_; ++child) {
            if ((*child)->msgType == type || (hasForeign_ && !IsOwn(**child))) {
                return *child;
            }
        }
        return nullptr;
    }

    void GoOnBehind(const MessageFilterComponent *child) {
        next_ = std::find(next_, end_, child) + 1;
    }

  private:
    // In two halves, so that the moves wait for each other half as long.
    static MessageFilterComponent *AskGroup(MessageFilterComponent *const *group, uint32_t type) {
        constexpr ptrdiff_t kHalf = kGroup / 2;
        MessageFilterComponent *first = nullptr;
        MessageFilterComponent *second = nullptr;
        for (ptrdiff_t i = kHalf; i-- > 0;) {
            TakeIfEqual(type, group[i]->msgType, group[i], &first);
            TakeIfEqual(type, group[kHalf + i]->msgType, group[kHalf + i], &second);
        }
        TakeIfNull(second, &first);
        return first;
    }

    bool hasForeign_;
    MessageFilterComponent *const *next_;
    MessageFilterComponent *const *end_;
};

MessageFilterComponent *MessageFilterWalk::FindByList(MessageFilterComponent &root) const {
    const uint32_t *const begin = types_;
    std::list<uint32_t> path(begin, End());
    return root.Find(path);
}

bool MessageFilterWalk::IsOwn(const MessageFilterComponent &node) {
    return KindOf(node) != Kind::kForeign;
}

bool MessageFilterWalk::FindAmongOwn(MessageFilterComponent &root, const uint32_t *path,
                                     const uint32_t *end, MessageFilterComponent **node) {
    *node = nullptr;
    if (root.msgType != *path && IsOwn(root)) {
        return true;
    }
    // The composites above the one that is asked, the root first.
    std::array<const MessageFilterComposite *, kMostInPlace> above;
    size_t depth = 0;
    MessageFilterComponent *found = &root;
    for (;;) {
        // `found` matches the front of the path, unless it is foreign.
        const Kind kind = KindOf(*found);
        if (kind == Kind::kForeign) {
            return false;
        }
        if (kind == Kind::kLeaf || ++path == end) {
            *node = found;
            return true;
        }
        const auto *asked = static_cast<const MessageFilterComposite *>(found);
        Row row(*asked);
        while ((found = row.Ask(*path)) == nullptr) {
            // What a composite took off the path is missing for its siblings, as in Find.
            if (depth == 0) {
                return true;
            }
            row = Row(*above[--depth]);
            row.GoOnBehind(asked);
            asked = above[depth];
        }
        found = AsLastTime(found, &t_last[depth]);
        above[depth++] = asked;
    }
}

}  // namespace Dxr
