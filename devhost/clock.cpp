#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>

#include "dxr_devhost.h"
#include "services.h"

namespace devhost {
namespace {

using std::chrono::steady_clock;
using std::chrono::system_clock;

const steady_clock::time_point kLoadTime = steady_clock::now();

// A clock that has been set: both counts in one word, so that a reader never sees halves of two
// settings.
struct SetClock {
    uint32_t sec;
    uint32_t startupSec;
};

std::atomic<SetClock> g_setClock{};
std::atomic<bool> g_isSet{false};

uint64_t NowMs() {
    if (g_isSet) {
        return uint64_t{1000} * g_setClock.load().sec;
    }
    const auto sinceEpoch = system_clock::now().time_since_epoch();
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count());
}

void PutDigits(char *&to, uint32_t value, uint32_t digits) {
    for (char *at = to + digits; at != to; value /= 10) {
        --at;
        *at = static_cast<char>('0' + value % 10);
    }
    to += digits;
}

DxrSysTime TimeOf(uint32_t sec) {
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

constexpr size_t kTimeTextSize = sizeof("YYYY-MM-DD HH:MM:SS");

std::array<char, kTimeTextSize> TimeText(uint32_t sec) {
    const DxrSysTime time = TimeOf(sec);
    std::array<char, kTimeTextSize> text{};
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

}  // namespace

void GetSysTime(DxrSysTime *time) {
    *time = TimeOf(GetCurrSec());
}

void SysTimeSecToTime(uint32_t sec, void *time) {
    *static_cast<DxrSysTime *>(time) = TimeOf(sec);
}

uint64_t GetCurrMs() {
    return NowMs();
}

uint32_t GetCurrSec() {
    return static_cast<uint32_t>(NowMs() / 1000);
}

void GetCurrTime(char *text, uint32_t size, uint32_t *sec) {
    const uint32_t now = GetCurrSec();
    if (sec != nullptr) {
        *sec = now;
    }
    if (text != nullptr && size > 0) {
        const auto full = TimeText(now);
        const size_t kept = std::min<size_t>(size, full.size()) - 1;
        std::memcpy(text, full.data(), kept);
        text[kept] = '\0';
    }
}

uint32_t GetStartupTimeSec() {
    if (g_isSet) {
        return g_setClock.load().startupSec;
    }
    const auto up = steady_clock::now() - kLoadTime;
    return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::seconds>(up).count());
}

void ResetClock() {
    g_isSet = false;
}

}  // namespace devhost

void DxrHostSetClock(uint32_t sec, uint32_t startupSec) {
    devhost::g_setClock = {sec, startupSec};
    devhost::g_isSet = true;
}

void DxrHostUseSystemClock(void) {
    devhost::ResetClock();
}
