#include "meter.h"

#include <dxr_api.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>

namespace port_meter {
namespace {

// Events of the tasks.
constexpr uint32_t kTimeToMeasure = 1;
constexpr uint32_t kTimeToEnd = 2;

constexpr uint32_t kAnyOf = 0;  // the mode of DXR_ReadEvent
constexpr uint32_t kPriority = 100;
constexpr DxrHostUnit kMailbox = {DXR_HOST_UNIT_LPU, kUnit};

// Holds a mutex of the host for its scope.
class Lock {
  public:
    explicit Lock(void *mutex) : mutex_(mutex) { DXR_LockMutex(mutex_); }
    ~Lock() { DXR_UnlockMutex(mutex_); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;
    Lock(Lock &&) = delete;
    Lock &operator=(Lock &&) = delete;

  private:
    void *mutex_;
};

bool ReadCounter(uint32_t port, uint32_t &counter) {
    return DXR_ReadReg(0, 0, CounterOf(port), &counter) == 0;
}

}  // namespace

// --- Beginning and end

bool Meter::Begin(uint32_t ports) {
    count_ = ports;
    mainTask_ = DxrHostGetTaskId(nullptr);
    if (!Register() || DXR_InitMutex(&mutex_, nullptr) != 0) {
        return false;
    }
    const auto bytes = static_cast<uint32_t>(count_ * sizeof(Port));
    ports_ = static_cast<Port *>(DXR_Malloc(kModule, bytes, __FILE__, __LINE__));
    if (ports_ == nullptr) {
        return false;
    }
    for (uint32_t i = 0; i < count_; ++i) {
        // cppcheck-suppress legacyUninitvar ; new makes it
        auto *const port = new (&ports_[i]) Port{};
        (void)ReadCounter(i, port->counter);  // without it, the first rate is a wrong one
    }
    return StartTask() && StartTimer() && OpenMailbox();
}

// In the reverse order: who may still be called goes first.
void Meter::End() {
    if (hasMailbox_) {
        DxrHostCloseMailbox(nullptr, &kMailbox);
    }
    if (timer_.handle != nullptr) {
        DXR_StopTimer(&timer_);
    }
    if (task_ != 0) {
        DXR_WriteEvent(task_, kTimeToEnd);
        DxrHostJoinTask(nullptr, task_, DXR_HOST_FOREVER);
    }
    DXR_Free(ports_, __FILE__, __LINE__);
    if (mutex_ != nullptr) {
        DXR_DestroyMutex(mutex_);
    }
    if (isRegistered_) {
        DXR_UnRegister();
    }
    *this = Meter();
}

bool Meter::Register() {
    DxrHostModule record = {};
    record.size = sizeof(record);
    record.mid = kModule;
    record.version = 1;
    record.name = "port_meter";
    record.instance = this;
    DXR_Register(&record);
    isRegistered_ = DXR_GetThis() == this;
    return isRegistered_;
}

bool Meter::StartTask() {
    std::string name = "port_meter";
    return DXR_CreateTask(name.data(), reinterpret_cast<void *>(RunTask), this, kPriority, nullptr,
                          0, &task_) == 0;
}

bool Meter::StartTimer() {
    timer_.size = sizeof(timer_);
    timer_.ms = kPeriodMs;
    timer_.repeats = 1;
    timer_.function = OnTimer;
    timer_.argument = this;
    return DXR_StartTimer(&timer_) == 0;
}

bool Meter::OpenMailbox() {
    DxrHostMailbox mailbox = {};
    mailbox.size = sizeof(mailbox);
    mailbox.unit = kMailbox;
    mailbox.handler = OnMessage;
    mailbox.user = this;
    hasMailbox_ = DxrHostOpenMailbox(nullptr, &mailbox) == 0;
    return hasMailbox_;
}

// --- At work

void Meter::Run(uint32_t seconds) {
    constexpr uint32_t kMsPerSecond = 1000;
    uint32_t events = 0;
    // Its end by time or by the host is as good as one by a message.
    (void)DXR_ReadEvent(kTimeToEnd, kAnyOf,
                        seconds != 0 ? seconds * kMsPerSecond : DXR_HOST_FOREVER, &events);
}

// The timer's task serves others too: it gets no more work than this.
void Meter::OnTimer(void *meter) {
    DXR_WriteEvent(static_cast<Meter *>(meter)->task_, kTimeToMeasure);
}

void Meter::RunTask(void *meter) {
    uint32_t events = 0;
    while (DXR_ReadEvent(kTimeToMeasure | kTimeToEnd, kAnyOf, DXR_HOST_FOREVER, &events) == 0 &&
           (events & kTimeToEnd) == 0) {
        static_cast<Meter *>(meter)->Measure();
    }
}

void Meter::Measure() {
    const uint32_t limit = Limit();
    for (uint32_t i = 0; i < count_; ++i) {
        Port &port = ports_[i];
        uint32_t counter = 0;
        if (ReadCounter(i, counter)) {
            const uint32_t rate = counter - port.counter;  // right beyond the wrap, too
            port.counter = counter;
            TakeRate(i, port, rate, limit);
        }
    }
}

void Meter::TakeRate(uint32_t number, Port &port, uint32_t rate, uint32_t limit) {
    DxrHostKpiAttribute attribute = {sizeof(attribute), kIndicator, number, kRate};
    DXR_UpdateKpiAttrVal(&attribute, rate);
    switch (port.overload.Take(rate, limit)) {
        case Overload::Change::kBegins: {
            std::string text = "port " + std::to_string(number) + ": " + std::to_string(rate) +
                               " kB/s, the limit is " + std::to_string(limit);
            DXR_Alarm(kAlarm, number, DXR_HOST_ALARM_MINOR, DXR_HOST_ALARM_RAISED, text.data());
            break;
        }
        case Overload::Change::kEnds:
            DXR_Alarm(kAlarm, number, DXR_HOST_ALARM_MINOR, DXR_HOST_ALARM_CLEARED, nullptr);
            break;
        case Overload::Change::kNone:
            break;
    }
}

// --- Messages

uint32_t Meter::OnMessage(const DxrHostMessage *message, void *meter) {
    auto *const self = static_cast<Meter *>(meter);
    switch (message->kind) {
        case kSetLimit:
            self->SetLimit(message->code);
            return 0;
        case kStop:
            DXR_WriteEvent(self->mainTask_, kTimeToEnd);
            return 0;
        default:
            return EINVAL;
    }
}

uint32_t Meter::Limit() {
    const Lock lock(mutex_);
    return limit_;
}

void Meter::SetLimit(uint32_t limit) {
    const Lock lock(mutex_);
    limit_ = limit;
}

}  // namespace port_meter
