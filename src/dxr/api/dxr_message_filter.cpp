#include "dxr/message_filter.h"

#include <array>
#include <cstdarg>
#include <cstring>
#include <iterator>
#include <memory>

#include "dxr_message_filter_walk.h"
#include "internal/bounds_checked.h"
#include "internal/fast_paths.h"

namespace Dxr {
namespace {

constexpr size_t kSpacesPerLayer = 4;

}  // namespace

// NOLINTNEXTLINE(modernize-pass-by-value): the parameter's type is part of the exported name.
MessageFilterComponent::MessageFilterComponent(const std::string &nodeName, uint32_t type,
                                               uint32_t count, uint32_t depth)
    : name(nodeName), msgType(type), lostCnt(count), layer(depth) {
}

MessageFilterComponent::~MessageFilterComponent() = default;

void MessageFilterComponent::Add(MessageFilterComponent * /*child*/) {
}

void MessageFilterComponent::GetFilterStr(std::string &out) const {
    out.append(kSpacesPerLayer * layer, ' ');
    out.append("msgType[").append(std::to_string(msgType));
    out.append("], lostCnt[").append(std::to_string(lostCnt));
    out.append("], name[").append(name).append("]\r\n");
}

bool MessageFilterComponent::IsSameMsgType(uint32_t type) const {
    return msgType == type;
}

uint32_t MessageFilterComponent::GetLayer() const {
    return layer;
}

bool MessageFilterComponent::IsFiltered(std::list<uint32_t> &path) {
    return MessageFilterWalk::IsFiltered(Find(path));
}

uint32_t MessageFilterComponent::SetLostCnt(std::list<uint32_t> &path, uint32_t count) {
    MessageFilterComponent *const node = Find(path);
    if (node == nullptr) {
        return 1;
    }
    node->lostCnt = count;
    return 0;
}

MessageFilterComposite::MessageFilterComposite(const std::string &nodeName, uint32_t type,
                                               uint32_t count, uint32_t depth)
    : MessageFilterComponent(nodeName, type, count, depth) {
}

MessageFilterComposite::~MessageFilterComposite() {
    for (MessageFilterComponent *&child : children) {
        delete child;
        child = nullptr;
    }
}

void MessageFilterComposite::Add(MessageFilterComponent *child) {
    std::unique_ptr<MessageFilterComponent> owned(child);
    children.push_back(child);
    static_cast<void>(owned.release());
}

void MessageFilterComposite::GetFilterStr(std::string &out) const {
    if (!IsFilterRoot()) {
        MessageFilterComponent::GetFilterStr(out);
    }
    for (MessageFilterComponent *const child : children) {
        child->GetFilterStr(out);
    }
}

MessageFilterComponent *MessageFilterComposite::Find(std::list<uint32_t> &path) {
    if (path.empty() || !IsSameMsgType(path.front())) {
        return nullptr;
    }
    // Not put back when no child answers: the siblings behind this node see the shortened path, as
    // intended.
    path.pop_front();
    if (path.empty()) {
        return this;
    }
    for (MessageFilterComponent *const child : children) {
        if (MessageFilterComponent *const found = child->Find(path)) {
            return found;
        }
    }
    return nullptr;
}

bool MessageFilterComposite::IsFilterRoot() const {
    return GetLayer() == 0;
}

MessageFilterLeaf::MessageFilterLeaf(const std::string &nodeName, uint32_t type, uint32_t count,
                                     uint32_t depth)
    : MessageFilterComponent(nodeName, type, count, depth) {
}

MessageFilterLeaf::~MessageFilterLeaf() = default;

// Takes nothing off the path and ignores what lies deeper, as intended.
MessageFilterComponent *MessageFilterLeaf::Find(std::list<uint32_t> &path) {
    return !path.empty() && IsSameMsgType(path.front()) ? this : nullptr;
}

}  // namespace Dxr

namespace {

using Dxr::MessageFilterWalk;

constexpr uint32_t kRootMsgType = 0;

std::string NameOf(const DxrMessageFilterInfo &info) {
    return {info.name, strnlen(info.name, sizeof(info.name))};
}

// A path of the root alone, with room for `num` types below it: the allocations come before the
// variable arguments are opened.
std::list<uint32_t> RootPath(uint32_t num) {
    return std::list<uint32_t>(size_t{num} + 1, kRootMsgType);
}

void FillBelowRoot(std::list<uint32_t> &path, std::va_list args) {
    for (auto type = std::next(path.begin()); type != path.end(); ++type) {
        *type = va_arg(args, uint32_t);
    }
}

// Longer paths are as well served by the list that Find takes.
constexpr uint32_t kMaxWalked = 15;

// Finds the node of a path, or null, without a list. False if that cannot be done. In line, since
// an argument list that is passed on lives in memory.
[[gnu::always_inline]] inline bool WalkBelowRoot(DxrMessageFilter &root, uint32_t num,
                                                 std::va_list args, DxrMessageFilter **node) {
    if (num > kMaxWalked) {
        return false;
    }
    std::array<uint32_t, kMaxWalked + 1> path;
    path[0] = kRootMsgType;
    for (uint32_t i = 1; i <= num; ++i) {
        path[i] = va_arg(args, uint32_t);
    }
    MessageFilterWalk walk({path.data(), num + 1});
    const bool walked = walk.Find(root);
    *node = walk.Found();
    return walked;
}

}  // namespace

DxrMessageFilter *DXR_CreateMessageFilter(const DxrMessageFilterInfo *info, uint32_t num) {
    if (info == nullptr) {
        return nullptr;
    }
    // Not owned here on purpose: a failure below leaves what stands of the tree to whoever can
    // reach it.
    auto *const root = new Dxr::MessageFilterComposite("root", kRootMsgType, 0, 0);
    for (uint32_t i = 0; i < num; ++i) {
        DxrAddMessageFilterToComposite(root, &info[i]);
    }
    return root;
}

void DXR_DestroyMessageFilter(DxrMessageFilter **filter) {
    if (filter == nullptr) {
        return;
    }
    delete *filter;
    *filter = nullptr;
}

void DXR_GetMessageFilterStr(const DxrMessageFilter *filter, char *buffer, uint32_t bufferSize) {
    if (filter == nullptr) {
        return;
    }
    std::string text;
    filter->GetFilterStr(text);
    const int error = dxr::strncpy_s(buffer, bufferSize, text.c_str(), text.size());
    if (error != 0) {
        dxr::snprintf_truncated_s(buffer, bufferSize, "get message filter string failed, ret[0x%x]",
                                  static_cast<unsigned>(error));
    }
}

void DXR_SetMessageFilterCount(DxrMessageFilter *filter, uint32_t lostCnt, uint32_t num, ...) {
    if (filter == nullptr) {
        return;
    }
    std::list<uint32_t> path = RootPath(num);
    std::va_list args;
    va_start(args, num);
    FillBelowRoot(path, args);
    va_end(args);
    filter->SetLostCnt(path, lostCnt);
}

uint8_t DXR_IsMessageFiltered(DxrMessageFilter *filter, uint32_t num, ...) {
    if (filter == nullptr) {
        return 0;
    }
    std::va_list args;
    if constexpr (dxr::kFastPaths) {
        va_start(args, num);
        DxrMessageFilter *node = nullptr;
        const bool walked = WalkBelowRoot(*filter, num, args, &node);
        va_end(args);
        if (walked) {
            return MessageFilterWalk::IsFiltered(node) ? 1 : 0;
        }
    }
    std::list<uint32_t> path = RootPath(num);
    va_start(args, num);
    FillBelowRoot(path, args);
    va_end(args);
    return filter->IsFiltered(path) ? 1 : 0;
}

void DxrAddMessageFilterToComposite(DxrMessageFilter *parent, const DxrMessageFilterInfo *info) {
    const uint32_t layer = parent->GetLayer() + 1;
    if (info->subFilterNum == 0) {
        parent->Add(new Dxr::MessageFilterLeaf(NameOf(*info), info->msgType, info->lostCnt, layer));
        return;
    }
    auto *const composite =
        new Dxr::MessageFilterComposite(NameOf(*info), info->msgType, info->lostCnt, layer);
    parent->Add(composite);
    for (uint32_t i = 0; i < info->subFilterNum; ++i) {
        DxrAddMessageFilterToComposite(composite, &info->subFilters[i]);
    }
}
