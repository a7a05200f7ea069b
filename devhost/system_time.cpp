#include "dxr_devhost/system_time.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>

#include "host.h"

namespace devhost {
namespace {

constexpr const char *kService = "time";

class TimeService : public Service {
  public:
    using Service::Service;

    std::atomic<int32_t> zoneSec{0};
};

const Clock &ClockOf(const Call &call) {
    call->scheduler.AskedForTime(call.Thread());
    return call->scheduler.clock;
}

uint32_t NowSec(const Call &call) {
    return static_cast<uint32_t>(ClockOf(call).WallMs() / 1000);
}

DxrSysTime TimeOf(int64_t sec) {
    using std::chrono::days;
    const std::chrono::sys_seconds at{std::chrono::seconds{sec}};
    const auto day = std::chrono::floor<days>(at);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss clock{at - day};
    DxrSysTime time{};
    time.year = static_cast<uint16_t>(static_cast<int>(date.year()));
    time.month = static_cast<uint8_t>(static_cast<unsigned>(date.month()));
    time.day = static_cast<uint8_t>(static_cast<unsigned>(date.day()));
    time.hour = static_cast<uint8_t>(clock.hours().count());
    time.minute = static_cast<uint8_t>(clock.minutes().count());
    time.second = static_cast<uint8_t>(clock.seconds().count());
    return time;
}

// Seconds since 1970; nothing for a time that no calendar has.
std::optional<int64_t> SecondsOf(const DxrSysTime &time) {
    using std::chrono::day;
    using std::chrono::month;
    using std::chrono::year;
    const std::chrono::year_month_day date{year{time.year}, month{time.month}, day{time.day}};
    if (!date.ok() || time.hour > 23 || time.minute > 59 || time.second > 59) {
        return std::nullopt;
    }
    const auto days = std::chrono::sys_days{date}.time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(days).count() +
           int64_t{time.hour} * 3600 + int64_t{time.minute} * 60 + time.second;
}

void PutDigits(char *&to, uint32_t value, uint32_t digits) {
    for (char *at = to + digits; at != to; value /= 10) {
        --at;
        *at = static_cast<char>('0' + value % 10);
    }
    to += digits;
}

constexpr size_t kTimeTextSize = sizeof("YYYY-MM-DD HH:MM:SS");
using TimeText = std::array<char, kTimeTextSize>;

TimeText TextOf(const DxrSysTime &time) {
    TimeText text{};
    char *at = text.data();
    PutDigits(at, time.year, 4);
    *at++ = '-';
    PutDigits(at, time.month, 2);
    *at++ = '-';
    PutDigits(at, time.day, 2);
    *at++ = ' ';
    PutDigits(at, time.hour, 2);
    *at++ = ':';
    PutDigits(at, time.minute, 2);
    *at++ = ':';
    PutDigits(at, time.second, 2);
    return text;
}

void CopyText(const TimeText &from, char *to, uint32_t size) {
    const size_t kept = std::min<size_t>(size, from.size()) - 1;
    std::memcpy(to, from.data(), kept);
    to[kept] = '\0';
}

// False, and a report, for a null pointer.
bool IsThere(const Call &call, const void *pointer) {
    if (pointer == nullptr) {
        call.Misuse(kService, "a null pointer");
    }
    return pointer != nullptr;
}

// At any address.
template <typename Value>
void Store(void *to, Value value) {
    std::memcpy(to, &value, sizeof(value));
}

// --- Slots

void GetSysTime(DxrSysTime *time) {
    const Call call("DXR_GetSysTime");
    if (call && IsThere(call, time)) {
        Store(time, TimeOf(NowSec(call)));
    }
}

uint32_t SysTime2Str(void *time, uint32_t size, void *text) {
    const Call call("DXR_SysTime2Str");
    if (!call || !IsThere(call, time) || !IsThere(call, text) || size == 0) {
        return EINVAL;
    }
    DxrSysTime from;
    std::memcpy(&from, time, sizeof(from));
    if (!SecondsOf(from)) {
        return EINVAL;
    }
    CopyText(TextOf(from), static_cast<char *>(text), size);
    return 0;
}

void SysTimeSec2Time(uint32_t sec, void *time) {
    const Call call("DXR_SysTimeSec2Time");
    if (call && IsThere(call, time)) {
        Store(time, TimeOf(sec));
    }
}

void Tick2Ms(void *count) {
    const Call call("DXR_Tick2Ms");
    if (call && IsThere(call, count)) {
        uint64_t ticks = 0;
        std::memcpy(&ticks, count, sizeof(ticks));
        Store(count, std::min(ticks, UINT64_MAX / DXR_HOST_TICK_MS) * DXR_HOST_TICK_MS);
    }
}

uint64_t GetCurrMs() {
    const Call call("DXR_GetCurrMs");
    return call ? ClockOf(call).WallMs() : 0;
}

uint32_t GetCurrSec() {
    const Call call("DXR_GetCurrSec");
    return call ? NowSec(call) : 0;
}

void GetCurrentTick(void *tick) {
    const Call call("DXR_GetCurrentTick");
    if (call && IsThere(call, tick)) {
        Store(tick, ClockOf(call).NowNs() / (DXR_HOST_TICK_MS * kNsPerMs));
    }
}

void GetCpuTick(void *high, void *low) {
    const Call call("DXR_GetCpuTick");
    if (call && IsThere(call, high) && IsThere(call, low)) {
        const uint64_t now = ClockOf(call).NowNs();
        Store(high, static_cast<uint32_t>(now >> 32));
        Store(low, static_cast<uint32_t>(now));
    }
}

// Lines of a log come many to a second: the text of the latest second is kept.
void GetCurrTime(char *text, uint32_t size, uint32_t *sec) {
    struct Latest {
        uint32_t sec;
        TimeText text;
    };
    static constinit thread_local Latest latest{0, {"1970-01-01 00:00:00"}};
    const Call call("DXR_GetCurrTime");
    if (!call) {
        return;
    }
    const uint32_t now = NowSec(call);
    if (sec != nullptr) {
        Store(sec, now);
    }
    if (text != nullptr && size > 0) {
        if (latest.sec != now) {
            latest = {now, TextOf(TimeOf(now))};
        }
        CopyText(latest.text, text, size);
    }
}

uint32_t CalSystimeRelSec(void *from, void *to, void *sec) {
    const Call call("DXR_CalSystimeRelSec");
    if (!call || !IsThere(call, from) || !IsThere(call, to) || !IsThere(call, sec)) {
        return EINVAL;
    }
    DxrSysTime first;
    DxrSysTime second;
    std::memcpy(&first, from, sizeof(first));
    std::memcpy(&second, to, sizeof(second));
    const auto firstSec = SecondsOf(first);
    const auto secondSec = SecondsOf(second);
    if (!firstSec || !secondSec) {
        return EINVAL;
    }
    Store(sec, *secondSec - *firstSec);
    return 0;
}

void GetStartupTimeStamp(void *stamp) {
    const Call call("DXR_GetStartupTimeStamp");
    if (call && IsThere(call, stamp)) {
        Store(stamp, TimeOf(ClockOf(call).StartedAtSec()));
    }
}

void AddStartupTime(void *time) {
    const Call call("DXR_AddStartupTime");
    if (call && IsThere(call, time)) {
        DxrSysTime given;
        std::memcpy(&given, time, sizeof(given));
        const auto sec = SecondsOf(given);
        if (!sec) {
            call.Misuse(kService, "a time that is none");
            return;
        }
        Store(time, TimeOf(*sec + ClockOf(call).StartedAtSec()));
    }
}

uint32_t GetGMT(void *time) {
    const Call call("DXR_GetGMT");
    if (!call || !IsThere(call, time)) {
        return EINVAL;
    }
    Store(time, TimeOf(NowSec(call)));
    return 0;
}

uint32_t GetLocalTime(void *time, void *zone) {
    const Call call("DXR_GetLocalTime");
    if (!call || !IsThere(call, time)) {
        return EINVAL;
    }
    const int32_t zoneSec = call->Get<TimeService>(ServiceId::kSystemTime).zoneSec;
    Store(time, TimeOf(int64_t{NowSec(call)} + zoneSec));
    if (zone != nullptr) {
        Store(zone, zoneSec);
    }
    return 0;
}

uint32_t GetStartupTimeSec() {
    const Call call("DXR_GetStartupTimeSec");
    return call ? ClockOf(call).StartupSec() : 0;
}

}  // namespace

std::unique_ptr<Service> MakeSystemTime(Host &host) {
    return std::make_unique<TimeService>(host);
}

void FillSystemTime(DxrHooks &hooks) {
    hooks.time.getSysTime = Guarded<GetSysTime>;
    hooks.time.sysTime2Str = Guarded<SysTime2Str>;
    hooks.time.sysTimeSec2Time = Guarded<SysTimeSec2Time>;
    hooks.time.tick2Ms = Guarded<Tick2Ms>;
    hooks.time.getCurrMs = Guarded<GetCurrMs, 0>;
    hooks.time.getCurrSec = Guarded<GetCurrSec, 0>;
    hooks.time.getCurrentTick = Guarded<GetCurrentTick>;
    hooks.time.getCpuTick = Guarded<GetCpuTick>;
    hooks.time.getCurrTime = Guarded<GetCurrTime>;
    hooks.time.calSystimeRelSec = Guarded<CalSystimeRelSec>;
    hooks.time.getStartupTimeStamp = Guarded<GetStartupTimeStamp>;
    hooks.time.addStartupTime = Guarded<AddStartupTime>;
    hooks.time.getGMT = Guarded<GetGMT>;
    hooks.time.getLocalTime = Guarded<GetLocalTime>;
    hooks.time.getStartupTimeSec = Guarded<GetStartupTimeSec, 0>;
}

}  // namespace devhost

using devhost::ApiCall;

bool DxrHostSetClock(DxrHost *host, uint32_t sec, uint32_t startupSec) {
    const ApiCall call(host);
    if (!call || !call->scheduler.clock.IsStepped()) {
        return false;
    }
    call->scheduler.clock.SetWall(sec, startupSec);
    return true;
}

bool DxrHostAdvance(DxrHost *host, uint64_t ms) {
    const ApiCall call(host);
    return call && call->scheduler.clock.IsStepped() && call->scheduler.Advance(ms);
}

uint64_t DxrHostGetElapsedNs(DxrHost *host) {
    const ApiCall call(host);
    return call ? call->scheduler.clock.NowNs() : 0;
}

void DxrHostSetZone(DxrHost *host, int32_t seconds) {
    const ApiCall call(host);
    if (call) {
        call->Get<devhost::TimeService>(devhost::ServiceId::kSystemTime).zoneSec = seconds;
    }
}
