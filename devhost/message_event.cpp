// What events mean, and the descriptor of the mesh.
#include <fcntl.h>

#include <array>
#include <cerrno>
#include <new>
#include <utility>

#include "message.h"

namespace devhost {
namespace {

constexpr uint32_t kNoFd = 0xFFFFFFFF;

constexpr std::array<std::pair<uint32_t, Event>, 7> kEvents = {{
    {DXR_HOST_EVENT_LINK, {DXR_HOST_TRIGGER_IRQ, DXR_HOST_ERROR_LINK}},
    {DXR_HOST_EVENT_MEMORY, {DXR_HOST_TRIGGER_IRQ, DXR_HOST_ERROR_MEMORY}},
    {DXR_HOST_EVENT_QUEUE, {DXR_HOST_TRIGGER_POLL, DXR_HOST_ERROR_QUEUE}},
    {DXR_HOST_EVENT_ENVIRONMENT, {DXR_HOST_TRIGGER_POLL, DXR_HOST_ERROR_BOARD}},
    {DXR_HOST_EVENT_HEART_BEAT, {DXR_HOST_TRIGGER_TIMER, DXR_HOST_ERROR_PEER}},
    {DXR_HOST_EVENT_MESSAGE, {DXR_HOST_TRIGGER_PEER, DXR_HOST_ERROR_PEER}},
    {DXR_HOST_EVENT_COMMAND, {DXR_HOST_TRIGGER_USER, DXR_HOST_ERROR_NONE}},
}};

constexpr std::array<std::pair<uint32_t, const char *>, 5> kTriggers = {{
    {DXR_HOST_TRIGGER_IRQ, "interrupt"},
    {DXR_HOST_TRIGGER_POLL, "poll"},
    {DXR_HOST_TRIGGER_TIMER, "timer"},
    {DXR_HOST_TRIGGER_PEER, "message"},
    {DXR_HOST_TRIGGER_USER, "command"},
}};

// {0, 0} for one that is not there, and without a host.
Event EventOf(const Call &call, uint32_t event) {
    if (!call) {
        return {};
    }
    MessageService &state = MessageOf(*call);
    const std::lock_guard lock(state.eventMutex);
    const auto found = state.events.find(event);
    return found != state.events.end() ? found->second : Event{};
}

// --- Slots

uint32_t GetTriggerTypeByEvent(uint32_t event) {
    const Call call("DXR_GetTriggerTypeByEvent");
    return EventOf(call, event).trigger;
}

uint32_t GetErrTypeByEvent(uint32_t event) {
    const Call call("DXR_GetErrTypeByEvent");
    return EventOf(call, event).error;
}

const char *GetTriggerStr(uint32_t trigger) {
    const Call call("DXR_GetTriggerStr");
    const char *text = "invalid";
    if (call) {
        MessageService &state = MessageOf(*call);
        const std::lock_guard lock(state.eventMutex);
        const auto found = state.triggerTexts.find(trigger);
        text = found != state.triggerTexts.end() ? found->second : text;
    }
    return text;
}

void SetMeshFd(uint32_t fd) {
    const Call call("DXR_SetMeshFd");
    if (!call) {
        return;
    }
    const int given = fd == kNoFd ? -1 : static_cast<int>(fd);
    if (given != -1 && fcntl(given, F_GETFD) == -1) {
        call.Misuse(kMessage, "a descriptor that is not open");
        return;
    }
    MessageOf(*call).meshFd = given;
}

}  // namespace

void MessageService::SetUpEvents() {
    events.insert(kEvents.begin(), kEvents.end());
    triggerTexts.insert(kTriggers.begin(), kTriggers.end());
}

void FillMessageEvents(DxrMsgHooks &hooks) {
    hooks.getTriggerTypeByEvent = Guarded<GetTriggerTypeByEvent, 0>;
    hooks.getErrTypeByEvent = Guarded<GetErrTypeByEvent, 0>;
    hooks.getTriggerStr = Guarded<GetTriggerStr>;
    hooks.setMeshFd = Guarded<SetMeshFd>;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::MessageService;

namespace {

void ReportFull(devhost::Host &host, const devhost::Place &place) {
    host.reports.Add(DXR_HOST_REPORT_MISUSE, devhost::kMessage, place, "full",
                     "more events, triggers or texts than are kept");
}

}  // namespace

bool DxrHostSetEvent(DxrHost *host, uint32_t event, uint32_t trigger, uint32_t error) {
    const ApiCall call(host);
    if (!call) {
        return false;
    }
    try {
        MessageService &state = devhost::MessageOf(*call);
        {
            const std::lock_guard lock(state.eventMutex);
            if (state.events.size() < DXR_HOST_MOST_EVENTS || state.events.contains(event)) {
                state.events[event] = {trigger, error};
                return true;
            }
        }
        ReportFull(*call, {"DxrHostSetEvent", __builtin_return_address(0)});
        return false;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

bool DxrHostSetTriggerText(DxrHost *host, uint32_t trigger, const char *text) {
    const ApiCall call(host);
    if (!call) {
        return false;
    }
    MessageService &state = devhost::MessageOf(*call);
    try {
        {
            const std::lock_guard lock(state.eventMutex);
            if (text == nullptr) {
                state.triggerTexts.erase(trigger);
                return true;
            }
            auto kept = state.allTexts.find(text);
            const bool isNew = kept == state.allTexts.end();
            const bool fits = (!isNew || state.allTexts.size() < DXR_HOST_MOST_TRIGGER_TEXTS) &&
                              (state.triggerTexts.size() < DXR_HOST_MOST_EVENTS ||
                               state.triggerTexts.contains(trigger));
            if (fits) {
                kept = isNew ? state.allTexts.emplace(text).first : kept;
                state.triggerTexts[trigger] = kept->c_str();
                return true;
            }
        }
        ReportFull(*call, {"DxrHostSetTriggerText", __builtin_return_address(0)});
        return false;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

int DxrHostGetMeshFd(DxrHost *host) {
    const ApiCall call(host);
    return call ? devhost::MessageOf(*call).meshFd.load() : -1;
}
