#include "dxr/message_filter.h"

#include <cstdarg>
#include <cstring>
#include <memory>

#include "dxr_message_filter_walk.h"
#include "internal/bounds_checked.h"

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
    return MessageFilterWalk::TakeOne(Find(path));
}

uint32_t MessageFilterComponent::SetLostCnt(std::list<uint32_t> &path, uint32_t count) {
    return MessageFilterWalk::SetCount(Find(path), count) ? 0 : 1;
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
    // cppcheck-suppress danglingLifetime; given up by its owner in the next line
    children.push_back(owned.get());
    static_cast<void>(owned.release());
    hasForeignChild_ |= MessageFilterWalk::IsOwn(*child) ? 0U : 1U;
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
    // Not put back when no child answers: the siblings after this node see the shortened path, as
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

std::string NameOf(const DxrMessageFilterInfo &info) {
    return {info.name, strnlen(info.name, sizeof(info.name))};
}

}  // namespace

DxrMessageFilter *DXR_CreateMessageFilter(const DxrMessageFilterInfo *info, uint32_t num) {
    if (info == nullptr) {
        return nullptr;
    }
    // Not owned here on purpose: a failure below leaves what stands of the tree to whoever can
    // reach it.
    auto *const root =
        new Dxr::MessageFilterComposite("root", MessageFilterWalk::kRootMsgType, 0, 0);
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
    MessageFilterWalk walk(num);
    std::va_list types;
    va_start(types, num);
    walk.Read(types);
    va_end(types);
    MessageFilterWalk::SetCount(walk.Find(*filter), lostCnt);
}

uint8_t DXR_IsMessageFiltered(DxrMessageFilter *filter, uint32_t num, ...) {
    if (filter == nullptr) {
        return 0;
    }
    MessageFilterWalk walk(num);
    std::va_list types;
    va_start(types, num);
    walk.Read(types);
    va_end(types);
    return MessageFilterWalk::TakeOne(walk.Find(*filter)) ? 1 : 0;
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
