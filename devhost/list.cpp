#include "dxr_devhost/list.h"

#include <array>
#include <mutex>
#include <new>
#include <set>

#include "host.h"

namespace devhost {
namespace {

constexpr const char *kService = "list";

struct List;

struct Node {
    Node *before = nullptr;
    Node *after = nullptr;
    List *list = nullptr;
    void *data = nullptr;
    void *handle = nullptr;
};

// A removed node that somebody may still stand on, and what followed it.
struct Removed {
    const void *handle = nullptr;
    Node *after = nullptr;
};

struct List {
    Node *first = nullptr;
    Node *last = nullptr;
    uint32_t count = 0;
    void *handle = nullptr;
    std::array<Removed, 64> removed{};
    size_t nextRemoved = 0;
};

void Link(List &list, Node &node, bool atHead) {
    node.before = atHead ? nullptr : list.last;
    node.after = atHead ? list.first : nullptr;
    (node.before != nullptr ? node.before->after : list.first) = &node;
    (node.after != nullptr ? node.after->before : list.last) = &node;
    ++list.count;
}

void Unlink(List &list, Node &node) {
    (node.before != nullptr ? node.before->after : list.first) = node.after;
    (node.after != nullptr ? node.after->before : list.last) = node.before;
    --list.count;
}

// Walks that stand on the node go on with what follows it.
void Remember(List &list, const Node &node) {
    for (Removed &each : list.removed) {
        if (each.after == &node) {
            each.after = node.after;
        }
    }
    list.removed[list.nextRemoved] = {node.handle, node.after};
    list.nextRemoved = (list.nextRemoved + 1) % list.removed.size();
}

Node *FindData(const List &list, const void *data) {
    Node *node = list.first;
    while (node != nullptr && node->data != data) {
        node = node->after;
    }
    return node;
}

class ListService : public Service {
  public:
    explicit ListService(Host &host)
        : Service(host),
          createFails(host.chance.Point("list.create")),
          addFails(host.chance.Point("list.add")) {}

    ~ListService() override {
        for (List *const list : lists) {
            Release(*list);
        }
    }

    void ReportLeftovers() override {
        for (const List *const list : lists) {
            TheHost().ReportLeftover(kService, TheHost().handles.MadeAt(list->handle),
                                     "list of " + std::to_string(list->count) + " nodes");
        }
    }

    // Under the lock. The handle of a list that is no longer used is ended already.
    void Release(List &list) {
        for (Node *node = list.first; node != nullptr;) {
            Node *const next = node->after;
            (void)TheHost().handles.End(node->handle, HandleType::kListNode, {});
            delete node;
            node = next;
        }
        delete &list;
    }

    void RemoveNode(const Call &call, List &list, Node &node) {
        Remember(list, node);
        Unlink(list, node);
        (void)TheHost().handles.End(node.handle, HandleType::kListNode, call.At());
        delete &node;
    }

    std::mutex mutex;  // guards lists and nodes
    std::set<List *> lists;
    FaultPoint &createFails;
    FaultPoint &addFails;
};

ListService &StateOf(Host &host) {
    return host.Get<ListService>(ServiceId::kList);
}

// A call that has the lock and the list of a handle; a null list is nobody's fault.
class ListCall : public Call {
  public:
    ListCall(const char *slot, const void *handle) : Call(slot) {
        if (*this && handle != nullptr) {
            lock_ = std::unique_lock(StateOf(**this).mutex);
            list_ = static_cast<List *>((*this)->handles.Find(handle, HandleType::kList));
            if (list_ == nullptr) {
                lock_.unlock();
                (void)Find<List>(kService, handle, HandleType::kList);
            }
        }
    }

    [[nodiscard]] List *TheList() const { return list_; }
    [[nodiscard]] ListService &State() const { return StateOf(**this); }
    void Unlock() { lock_.unlock(); }

  private:
    std::unique_lock<std::mutex> lock_;
    List *list_ = nullptr;
};

// --- Slots

void *CreateSll() {
    const Call call("DXR_CreateSll");
    if (!call) {
        return nullptr;
    }
    ListService &state = StateOf(*call);
    if (state.createFails.Fails()) {
        return nullptr;
    }
    try {
        auto list = std::make_unique<List>();
        const std::lock_guard lock(state.mutex);
        const auto entry = state.lists.insert(list.get()).first;
        list->handle = call->handles.Make(HandleType::kList, list.get(), call.At());
        if (list->handle == nullptr) {
            state.lists.erase(entry);
            return nullptr;
        }
        return list.release()->handle;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void AddSll(void *list, void *data, uint32_t position) {
    ListCall call("DXR_AddSll", list);
    if (call.TheList() == nullptr) {
        return;
    }
    auto *const node = call.State().addFails.Fails() ? nullptr : new (std::nothrow) Node;
    void *const handle =
        node != nullptr ? call->handles.Make(HandleType::kListNode, node, call.At()) : nullptr;
    if (handle == nullptr) {
        delete node;
        call.Unlock();
        call.Misuse(kService, "no memory for a node: nothing is added");
        return;
    }
    node->list = call.TheList();
    node->data = data;
    node->handle = handle;
    Link(*call.TheList(), *node, position == DXR_HOST_LIST_HEAD);
}

void RemoveSll(void *list, void *data) {
    const ListCall call("DXR_RemoveSll", list);
    Node *const node = call.TheList() != nullptr ? FindData(*call.TheList(), data) : nullptr;
    if (node != nullptr) {
        call.State().RemoveNode(call, *call.TheList(), *node);
    }
}

void DestroySll(void *list) {
    const ListCall call("DXR_DestroySll", list);
    if (call.TheList() != nullptr) {
        (void)call->handles.End(list, HandleType::kList, call.At());
        call.State().lists.erase(call.TheList());
        call.State().Release(*call.TheList());
    }
}

uint32_t SllGetCount(void *list) {
    const ListCall call("DXR_SslGetCount", list);
    return call.TheList() != nullptr ? call.TheList()->count : 0;
}

void *SllGetNextNode(void *list, void *node) {
    ListCall call("DXR_SslGetNextNode", list);
    const List *const in = call.TheList();
    if (in == nullptr) {
        return nullptr;
    }
    const Node *next = in->first;
    if (node != nullptr) {
        const auto *const at = static_cast<Node *>(call->handles.Find(node, HandleType::kListNode));
        if (at != nullptr && at->list == in) {
            next = at->after;
        } else {
            // The latest removal with that handle; a number can have come back since.
            const Removed *found = nullptr;
            for (const Removed &each : in->removed) {
                found = each.handle == node ? &each : found;
            }
            if (found == nullptr) {
                call.Unlock();
                if (at != nullptr) {
                    call.Misuse(kService, "the node belongs to another list");
                } else {
                    (void)call.Find<Node>(kService, node, HandleType::kListNode);
                }
                return nullptr;
            }
            next = found->after;
        }
    }
    return next != nullptr ? next->handle : nullptr;
}

void *SllGetNodeData(void *node) {
    const Call call("DXR_SslGetNodeData");
    if (!call || node == nullptr) {
        return nullptr;
    }
    {
        const std::lock_guard lock(StateOf(*call).mutex);
        const auto *const found =
            static_cast<Node *>(call->handles.Find(node, HandleType::kListNode));
        if (found != nullptr) {
            return found->data;
        }
    }
    (void)call.Find<Node>(kService, node, HandleType::kListNode);
    return nullptr;
}

uint32_t SllProcSingleNode(void *list, void *data, uint32_t action) {
    constexpr uint32_t kFound = 0;
    constexpr uint32_t kNotDone = 1;
    const ListCall call("DXR_SslProcSingleNode", list);
    List *const in = call.TheList();
    Node *const node = in != nullptr ? FindData(*in, data) : nullptr;
    if (node == nullptr) {
        return kNotDone;
    }
    switch (action) {
        case DXR_HOST_LIST_FIND:
            return kFound;
        case DXR_HOST_LIST_REMOVE:
            call.State().RemoveNode(call, *in, *node);
            return kFound;
        case DXR_HOST_LIST_MOVE_TO_HEAD:
            Unlink(*in, *node);
            Link(*in, *node, true);
            return kFound;
        default:
            return kNotDone;
    }
}

}  // namespace

std::unique_ptr<Service> MakeList(Host &host) {
    return std::make_unique<ListService>(host);
}

void FillList(DxrHooks &hooks) {
    hooks.list.createSll = Guarded<CreateSll>;
    hooks.list.addSll = Guarded<AddSll>;
    hooks.list.removeSll = Guarded<RemoveSll>;
    hooks.list.destroySll = Guarded<DestroySll>;
    hooks.list.sslGetCount = Guarded<SllGetCount, 0>;
    hooks.list.sslGetNextNode = Guarded<SllGetNextNode>;
    hooks.list.sslGetNodeData = Guarded<SllGetNodeData>;
    hooks.list.sslProcSingleNode = Guarded<SllProcSingleNode, 1>;
}

}  // namespace devhost
