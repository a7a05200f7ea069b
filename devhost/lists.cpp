#include <new>

#include "dxr_devhost.h"
#include "services.h"

namespace devhost {
namespace {

struct Node {
    Node *next;
    void *data;
};

struct List {
    Node *head = nullptr;
    Node **end = &head;  // where the next node at the tail is linked in
    uint32_t count = 0;
};

void LinkAtHead(List &list, Node *node) {
    node->next = list.head;
    list.head = node;
    if (node->next == nullptr) {
        list.end = &node->next;
    }
    ++list.count;
}

void LinkAtTail(List &list, Node *node) {
    node->next = nullptr;
    *list.end = node;
    list.end = &node->next;
    ++list.count;
}

// The link that leads to the first node with the data; one that holds null when there is none.
Node **FindLink(List &list, const void *data) {
    Node **link = &list.head;
    while (*link != nullptr && (*link)->data != data) {
        link = &(*link)->next;
    }
    return link;
}

Node *Unlink(List &list, Node **link) {
    Node *const node = *link;
    *link = node->next;
    if (list.end == &node->next) {
        list.end = link;
    }
    --list.count;
    return node;
}

}  // namespace

void *CreateSll() {
    return new (std::nothrow) List;
}

void AddSll(void *list, void *data, uint32_t position) {
    auto *const to = static_cast<List *>(list);
    auto *const node = to != nullptr ? new (std::nothrow) Node{nullptr, data} : nullptr;
    if (node == nullptr) {
        return;
    }
    if (position == DXR_HOST_LIST_HEAD) {
        LinkAtHead(*to, node);
    } else {
        LinkAtTail(*to, node);
    }
}

void RemoveSll(void *list, void *data) {
    SllProcSingleNode(list, data, DXR_HOST_LIST_REMOVE);
}

void DestroySll(void *list) {
    auto *const from = static_cast<List *>(list);
    if (from == nullptr) {
        return;
    }
    while (from->head != nullptr) {
        delete Unlink(*from, &from->head);
    }
    delete from;
}

uint32_t SllGetCount(void *list) {
    return list != nullptr ? static_cast<const List *>(list)->count : 0;
}

void *SllGetNextNode(void *list, void *node) {
    if (node != nullptr) {
        return static_cast<Node *>(node)->next;
    }
    return list != nullptr ? static_cast<List *>(list)->head : nullptr;
}

void *SllGetNodeData(void *node) {
    return node != nullptr ? static_cast<Node *>(node)->data : nullptr;
}

uint32_t SllProcSingleNode(void *list, void *data, uint32_t action) {
    constexpr uint32_t kFound = 0;
    constexpr uint32_t kNotDone = 1;
    auto *const in = static_cast<List *>(list);
    if (in == nullptr) {
        return kNotDone;
    }
    Node **const link = FindLink(*in, data);
    if (*link == nullptr) {
        return kNotDone;
    }
    switch (action) {
        case DXR_HOST_LIST_FIND:
            return kFound;
        case DXR_HOST_LIST_REMOVE:
            delete Unlink(*in, link);
            return kFound;
        case DXR_HOST_LIST_MOVE_TO_HEAD:
            LinkAtHead(*in, Unlink(*in, link));
            return kFound;
        default:
            return kNotDone;
    }
}

}  // namespace devhost
