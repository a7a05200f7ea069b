#include "message_losses.h"

#include <fmt/format.h>

#include <array>
#include <list>

#include "dxr_devhost/inspect.h"
#include "errors.h"
#include "say.h"
#include "shell_places.h"

namespace dxrsh {
namespace {

constexpr size_t kMostSimulated = 1024;
constexpr size_t kListingBytes = 262144;
constexpr uint32_t kLayers = 3;  // unit kind, unit number, kind

}  // namespace

MessageLosses::MessageLosses(DxrHost *host) : host_(host) {
    simulated_.reserve(kMostSimulated);  // the library keeps its address
}

MessageLosses::~MessageLosses() {
    if (DXR_GetSimulateMsgMap() == simulated_.data()) {
        DXR_RegisterSimulateMsgMap(nullptr, 0);
    }
    if (filter_ != nullptr && DxrHostGetMessageFilter(host_) == filter_) {
        DxrHostSetMessageFilter(host_, nullptr);
    }
    DXR_DestroyMessageFilter(&filter_);
}

void MessageLosses::Take(FilterTree &tree) {
    filter_ = tree.Release();
    DxrHostSetMessageFilter(host_, filter_);
}

void MessageLosses::Drop(uint32_t kind, uint32_t count) {
    DxrSimulateMsg *entry = DXR_GetSimulateMsgByMsgType(kind);
    if (entry == nullptr) {
        const DxrSimulateMsg *const registered = DXR_GetSimulateMsgMap();
        if (registered != nullptr && registered != simulated_.data()) {
            throw RunError(
                fmt::format("the module's table of simulated messages has no kind {}", kind));
        }
        if (simulated_.size() == kMostSimulated) {
            throw RunError(fmt::format("at most {} kinds can be dropped", kMostSimulated));
        }
        const std::string &name = names_.emplace(kind, fmt::format("kind {}", kind)).first->second;
        const auto number = static_cast<uint32_t>(simulated_.size() + 1);
        simulated_.push_back({number, kind, 0, name.c_str()});
        DXR_RegisterSimulateMsgMap(simulated_.data(), number);
        entry = &simulated_.back();
    }
    DXR_SetSimulateMsgLost(entry->simulateId, count, nullptr, 0);
}

void MessageLosses::Drop(const DxrHostUnit &unit, uint32_t kind, uint32_t count) {
    const DxrMessageFilter *const set = DxrHostGetMessageFilter(host_);
    if (set != nullptr && set != filter_) {
        throw RunError("the module has set a filter tree of its own");
    }
    const auto info = [](uint32_t type, const std::string &name,
                         const DxrMessageFilterInfo *child) {
        DxrMessageFilterInfo made{};
        made.msgType = type;
        (void)name.copy(made.name, sizeof(made.name) - 1);
        made.subFilters = child;
        made.subFilterNum = child != nullptr ? 1 : 0;
        return made;
    };
    const DxrMessageFilterInfo leaf = info(kind, fmt::format("kind {}", kind), nullptr);
    const DxrMessageFilterInfo number = info(unit.number, UnitText(unit), &leaf);
    const DxrMessageFilterInfo whole = info(unit.kind, UnitKind(unit.kind), &number);
    // Nobody asks the tree while it grows.
    DxrHostSetMessageFilter(host_, nullptr);
    if (filter_ == nullptr) {
        filter_ = DXR_CreateMessageFilter(&whole, 0);
    }
    const auto find = [this](std::list<uint32_t> path) { return filter_->Find(path); };
    if (DxrMessageFilter *const units = find({0, unit.kind}); units == nullptr) {
        DxrAddMessageFilterToComposite(filter_, &whole);
    } else if (DxrMessageFilter *const one = find({0, unit.kind, unit.number}); one == nullptr) {
        DxrAddMessageFilterToComposite(units, &number);
    } else if (find({0, unit.kind, unit.number, kind}) == nullptr) {
        DxrAddMessageFilterToComposite(one, &leaf);
    }
    const DxrMessageFilter *const found = find({0, unit.kind, unit.number, kind});
    DxrHostSetMessageFilter(host_, filter_);
    if (found == nullptr || found->GetLayer() != kLayers) {
        throw RunError(fmt::format("the filter tree has a leaf in the way of {}/{}/{}", unit.kind,
                                   unit.number, kind));
    }
    const std::array<uint32_t, 3> path = {unit.kind, unit.number, kind};
    DxrHostSetMessageFilterCount(host_, count, path.size(), path.data());
}

std::string MessageLosses::Listing() const {
    std::vector<char> text(kListingBytes);
    // Without a list the library says only that there is none.
    if (DXR_GetSimulateMsgMap() != nullptr) {
        DXR_DisplaySimulateMsgLost(text.data(), static_cast<uint32_t>(text.size()));
    }
    std::string listing = PlainLines(text.data());
    text.front() = '\0';
    DxrHostGetMessageFilterText(host_, text.data(), static_cast<uint32_t>(text.size()));
    listing += PlainLines(text.data());
    if (listing.empty()) {
        return "no messages are dropped\n";
    }
    return listing + (listing.back() == '\n' ? "" : "\n");
}

}  // namespace dxrsh
