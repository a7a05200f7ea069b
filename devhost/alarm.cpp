#include "dxr_devhost/alarm.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <list>
#include <map>
#include <mutex>
#include <new>
#include <tuple>
#include <vector>

#include "host.h"
#include "records.h"

namespace devhost {
namespace {

constexpr const char *kService = "alarm";
constexpr uint32_t kRaisedLevel = 2;
constexpr uint32_t kClearedLevel = 6;

// An alarm, and who raised it.
struct Known {
    DxrHostAlarm alarm{};
    const void *caller = nullptr;
};

// What a module says; a null text leaves the one that is there.
struct Said {
    uint32_t kind;
    uint32_t alarm;
    uint32_t object;
    uint32_t part;
    uint32_t severity;
    uint32_t state;
    uint32_t cause;
    const char *text;
    size_t textSize;  // how many bytes may be read
};

// Kind, alarm, object, part.
using Key = std::tuple<uint32_t, uint32_t, uint32_t, uint32_t>;

Key KeyOf(const Said &said) {
    return {said.kind, said.alarm, said.object, said.part};
}

class AlarmService : public Service {
  public:
    explicit AlarmService(Host &host)
        : Service(host), raiseFails(host.chance.Point("alarm.raise")) {}

    // Under the lock; null when it was never raised.
    Known *Find(const Said &said) {
        const auto found = places.find(KeyOf(said));
        return found != places.end() ? &known[found->second] : nullptr;
    }

    // Under the lock: one that Find did not find.
    Known &Add(const Said &said) {
        const auto place = places.emplace(KeyOf(said), known.size()).first;
        try {
            Known &added = known.emplace_back();
            added.alarm.kind = said.kind;
            added.alarm.alarm = said.alarm;
            added.alarm.object = said.object;
            added.alarm.part = said.part;
            return added;
        } catch (const std::bad_alloc &) {
            places.erase(place);
            throw;
        }
    }

    FaultPoint &raiseFails;

    std::mutex mutex;              // guards what follows
    std::vector<Known> known;      // in the order of their first raising
    std::map<Key, size_t> places;  // in it
    std::list<DxrHostAlarm> news;  // that are not said yet, in the order of what happened
    bool isSaying = false;
};

AlarmService &StateOf(Host &host) {
    return host.Get<AlarmService>(ServiceId::kAlarm);
}

const char *NameOfSeverity(uint32_t severity) {
    constexpr std::array<const char *, 5> kNames = {"", "critical", "major", "minor", "warning"};
    return kNames[severity];
}

void Count(uint32_t &counter) {
    counter += counter != UINT32_MAX ? 1 : 0;
}

void CopyText(const Said &said, DxrHostAlarm &alarm) {
    if (said.text != nullptr) {
        const size_t length = strnlen(said.text, std::min(said.textSize, sizeof(alarm.text) - 1));
        std::memcpy(alarm.text, said.text, length);
        alarm.text[length] = '\0';
    }
}

// The message for an alarm that was raised or cleared.
void SayAlarm(const Call &call, const DxrHostAlarm &alarm) {
    const bool isRaised = alarm.state == DXR_HOST_ALARM_RAISED;
    std::array<char, 24> part{};
    if (alarm.kind == DXR_HOST_ALARM_FM) {
        (void)std::snprintf(part.data(), part.size(), ", part %u,", alarm.part);
    }
    const bool hasText = isRaised && alarm.text[0] != '\0';
    std::array<char, 320> line{};
    (void)std::snprintf(line.data(), line.size(), "%salarm %u of object %u%s is %s%s%s%s",
                        alarm.kind == DXR_HOST_ALARM_FM ? "fault " : "", alarm.alarm, alarm.object,
                        part.data(), isRaised ? "raised, " : "cleared",
                        isRaised ? NameOfSeverity(alarm.severity) : "", hasText ? ": " : "",
                        hasText ? alarm.text : "");
    call->Say(isRaised ? kRaisedLevel : kClearedLevel, line.data());
}

// Says what there is to say, unless another thread does, or this one further up: it goes on with
// what comes meanwhile, so that messages come in the order of what happened. Nothing is owned while
// a sink is called.
void SayNews(const Call &call) {
    AlarmService &state = StateOf(*call);
    std::unique_lock lock(state.mutex);
    while (!state.isSaying && !state.news.empty()) {
        const DxrHostAlarm next = state.news.front();
        state.news.pop_front();
        state.isSaying = true;
        lock.unlock();
        try {
            SayAlarm(call, next);
        } catch (const std::bad_alloc &) {
            // The next one may be said again.
        }
        lock.lock();
        state.isSaying = false;
    }
}

uint32_t Clear(const Call &call, const Said &said) {
    AlarmService &state = StateOf(*call);
    std::list<DxrHostAlarm> news(1);  // while nothing is changed yet
    {
        const std::lock_guard lock(state.mutex);
        Known *const found = state.Find(said);
        if (found == nullptr || found->alarm.state != DXR_HOST_ALARM_RAISED) {
            return ENOENT;
        }
        DxrHostAlarm &alarm = found->alarm;
        alarm.state = DXR_HOST_ALARM_CLEARED;
        alarm.clearedMs = call->scheduler.clock.WallMs();
        Count(alarm.cleared);
        news.front() = alarm;
        state.news.splice(state.news.end(), news);
    }
    SayNews(call);
    return 0;
}

uint32_t Raise(const Call &call, const Said &said) {
    AlarmService &state = StateOf(*call);
    if (state.raiseFails.Fails()) {
        return ENOMEM;
    }
    const void *const caller = ModuleCaller(call.At().address);
    std::list<DxrHostAlarm> news(1);
    bool isFull = false;
    {
        const std::lock_guard lock(state.mutex);
        Known *const found = state.Find(said);
        isFull = found == nullptr && state.known.size() >= DXR_HOST_MOST_ALARMS;
        if (!isFull) {
            const uint64_t nowMs = call->scheduler.clock.WallMs();
            Known &raised = found != nullptr ? *found : state.Add(said);
            DxrHostAlarm &alarm = raised.alarm;
            const bool isNews =
                alarm.state != DXR_HOST_ALARM_RAISED || alarm.severity != said.severity;
            alarm.firstMs = found != nullptr ? alarm.firstMs : nowMs;
            alarm.severity = said.severity;
            alarm.state = DXR_HOST_ALARM_RAISED;
            alarm.cause = said.cause;
            alarm.raisedMs = nowMs;
            Count(alarm.raised);
            CopyText(said, alarm);
            raised.caller = caller;
            if (isNews) {
                news.front() = alarm;
                state.news.splice(state.news.end(), news);
            }
        }
    }
    if (isFull) {
        call.Misuse(kService, "more alarms than are kept");
        return ENOSPC;
    }
    news.clear();
    SayNews(call);
    return 0;
}

uint32_t Take(const Call &call, const Said &said) {
    if (said.severity < DXR_HOST_ALARM_CRITICAL || said.severity > DXR_HOST_ALARM_WARNING ||
        said.state > DXR_HOST_ALARM_RAISED) {
        call.Misuse(kService, "no severity or state of an alarm");
        return EINVAL;
    }
    return said.state == DXR_HOST_ALARM_RAISED ? Raise(call, said) : Clear(call, said);
}

// --- Slots

uint32_t RaiseAlarm(uint32_t alarm, uint32_t object, uint32_t severity, uint32_t state,
                    void *text) {
    const Call call("DXR_Alarm");
    if (!call) {
        return ECANCELED;
    }
    return Take(call, {DXR_HOST_ALARM_PLAIN, alarm, object, 0, severity, state, 0,
                       static_cast<const char *>(text), SIZE_MAX});
}

uint32_t FmAlarm(void *alarm) {
    const Call call("DXR_FmAlarm");
    if (!call) {
        return ECANCELED;
    }
    const auto *const given = RecordAt<DxrHostFmAlarm>(call, kService, alarm);
    if (given == nullptr) {
        return EINVAL;
    }
    return Take(call, {DXR_HOST_ALARM_FM, given->alarm, given->object, given->part, given->severity,
                       given->state, given->cause, given->text, sizeof(given->text)});
}

}  // namespace

std::unique_ptr<Service> MakeAlarm(Host &host) {
    return std::make_unique<AlarmService>(host);
}

void FillAlarm(DxrHooks &hooks) {
    hooks.alarm.alarm = Guarded<RaiseAlarm>;
    hooks.alarm.fmAlarm = Guarded<FmAlarm>;
}

}  // namespace devhost

using devhost::AlarmService;
using devhost::ApiCall;

void DxrHostCountAlarms(DxrHost *host, uint32_t *known, uint32_t *raised) {
    const ApiCall call(host);
    size_t all = 0;
    size_t standing = 0;
    if (call) {
        AlarmService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        all = state.known.size();
        standing = static_cast<size_t>(std::count_if(
            state.known.begin(), state.known.end(),
            [](const auto &each) { return each.alarm.state == DXR_HOST_ALARM_RAISED; }));
    }
    if (known != nullptr) {
        *known = static_cast<uint32_t>(all);
    }
    if (raised != nullptr) {
        *raised = static_cast<uint32_t>(standing);
    }
}

bool DxrHostGetAlarm(DxrHost *host, uint32_t index, DxrHostAlarm *alarm) {
    const ApiCall call(host);
    if (!call || alarm == nullptr) {
        return false;
    }
    const void *caller = nullptr;
    {
        AlarmService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        if (index >= state.known.size()) {
            return false;
        }
        *alarm = state.known[index].alarm;
        caller = state.known[index].caller;
    }
    try {
        (void)std::snprintf(alarm->caller, sizeof(alarm->caller), "%s",
                            devhost::Describe(caller).c_str());
    } catch (const std::bad_alloc &) {
        alarm->caller[0] = '\0';
    }
    return true;
}

void DxrHostForgetAlarms(DxrHost *host) {
    const ApiCall call(host);
    if (call) {
        AlarmService &state = devhost::StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.known.clear();
        state.places.clear();
    }
}
