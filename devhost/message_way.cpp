// What may happen to messages on the way: lost, twice, late, held back.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <new>

#include "message.h"
#include "message_frames.h"
#include "module_call.h"

namespace devhost {
namespace {

constexpr uint32_t kInformation = 6;

}  // namespace

void MessageService::Count(uint64_t Counts::*which) {
    const SchedulerLock lock = TheHost().scheduler.Lock();
    ++(counts.*which);
}

void MessageService::Say(const DxrHostMessage &head, const char *what) const {
    std::array<char, 128> line{};
    (void)std::snprintf(line.data(), line.size(), "message %llu of kind %u to %s: %s",
                        static_cast<unsigned long long>(head.sequence), head.kind,
                        NameOf(head.to).c_str(), what);
    TheHost().Say(kInformation, line.data());
}

// --- Lost

bool MessageService::IsFiltered(const DxrHostMessage &head) {
    if (filter_.load() == nullptr) {
        return false;
    }
    const std::lock_guard lock(filterMutex_);
    DxrMessageFilter *const filter = filter_;
    return filter != nullptr &&
           DXR_IsMessageFiltered(filter, 3, head.to.kind, head.to.number, head.kind) != 0;
}

bool MessageService::MayBeLost(const DxrHostMessage &head) const {
    return DXR_GetSimulateMsgByMsgType(head.kind) != nullptr || filter_.load() != nullptr ||
           loses_.IsSet();
}

bool MessageService::IsLost(const DxrHostMessage &head) {
    // The library says so itself.
    if (DXR_IsSimulateMsgLost(head.kind) != 0) {
        Count(&Counts::simulated);
        return true;
    }
    if (IsFiltered(head)) {
        Count(&Counts::filtered);
        Say(head, "filtered");
        return true;
    }
    if (loses_.Fails()) {
        Count(&Counts::lost);
        Say(head, "lost");
        return true;
    }
    return false;
}

void MessageService::SetFilter(DxrMessageFilter *given) {
    const std::lock_guard lock(filterMutex_);
    filter_ = given;
}

DxrMessageFilter *MessageService::Filter() {
    const std::lock_guard lock(filterMutex_);
    return filter_;
}

void MessageService::SetFilterCount(uint32_t lostCnt, uint32_t num, const uint32_t *path) {
    const std::lock_guard lock(filterMutex_);
    switch (num) {
        case 0:
            DXR_SetMessageFilterCount(filter_, lostCnt, 0);
            break;
        case 1:
            DXR_SetMessageFilterCount(filter_, lostCnt, 1, path[0]);
            break;
        case 2:
            DXR_SetMessageFilterCount(filter_, lostCnt, 2, path[0], path[1]);
            break;
        default:
            DXR_SetMessageFilterCount(filter_, lostCnt, 3, path[0], path[1], path[2]);
    }
}

void MessageService::GetFilterText(char *buffer, uint32_t bufferSize) {
    const std::lock_guard lock(filterMutex_);
    DXR_GetMessageFilterStr(filter_, buffer, bufferSize);
}

// --- Late

// Tells whether the letter does not arrive at once, and then when it does.
bool MessageService::IsLate(Letter &letter) {
    Scheduler &scheduler = TheHost().scheduler;
    if (delays_.Fails()) {
        const uint64_t nowNs = scheduler.clock.NowNs();
        uint64_t ms = 0;
        {
            const SchedulerLock lock = scheduler.Lock();
            ms = 1 + delayMs_.Below(DXR_HOST_MESSAGE_DELAY_MS);
            ++counts.late;
        }
        letter.dueNs = nowNs + ms * kNsPerMs;
        std::array<char, 40> text{};
        (void)std::snprintf(text.data(), text.size(), "late by %u ms", static_cast<uint32_t>(ms));
        Say(letter.head, text.data());
        return true;
    }
    if (holds_.Fails()) {
        Count(&Counts::held);
        letter.isHeld = true;
        letter.dueNs = scheduler.clock.NowNs() + DXR_HOST_MESSAGE_DELAY_MS * kNsPerMs;
        Say(letter.head, "held back");
        return true;
    }
    return false;
}

// Starts the job for what is due first. As Scheduler::Start.
uint32_t MessageService::StartLate() {
    Scheduler &scheduler = TheHost().scheduler;
    const std::lock_guard serial(lateMutex_);
    uint64_t dueNs = kForever;
    {
        const SchedulerLock lock = scheduler.Lock();
        for (const Letter &letter : late_) {
            dueNs = std::min(dueNs, letter.dueNs);
        }
    }
    return dueNs == kForever ? 0 : scheduler.Start(lateJob_, dueNs, 0);
}

// What cannot be started waits until something else is late.
void MessageService::StartLateGuarded() {
    Guard([this] { (void)StartLate(); });
}

uint32_t MessageService::PutLate(Letters &later) {
    const uint64_t sequence = later.front().head.sequence;
    Scheduler &scheduler = TheHost().scheduler;
    {
        const SchedulerLock lock = scheduler.Lock();
        if (late_.size() + later.size() > DXR_HOST_MOST_LATE_MESSAGES) {
            for (const Letter &letter : later) {
                --(letter.isHeld ? counts.held : counts.late);
            }
            return ENOBUFS;
        }
        late_.splice(late_.end(), later);
    }
    uint32_t result = ENOMEM;
    try {
        result = StartLate();
    } catch (const std::bad_alloc &) {
        result = ENOMEM;
    }
    if (result == 0) {
        return 0;
    }
    const SchedulerLock lock = scheduler.Lock();
    late_.remove_if([sequence](const Letter &letter) { return letter.head.sequence == sequence; });
    return result;
}

// The job. Nothing is owned here while a handler runs: it may be cut off.
void MessageService::DeliverLate(void *service) {
    auto &self = *static_cast<MessageService *>(service);
    Scheduler &scheduler = self.TheHost().scheduler;
    const AlsoAtThreadsEnd startNext([&self] { self.StartLateGuarded(); });
    for (;;) {
        Letters due;
        {
            const SchedulerLock lock = scheduler.Lock();
            const auto first = std::min_element(
                self.late_.begin(), self.late_.end(),
                [](const Letter &a, const Letter &b) { return a.dueNs < b.dueNs; });
            if (first == self.late_.end() || first->dueNs > scheduler.clock.NowNs()) {
                return;
            }
            due.splice(due.end(), self.late_, first);
        }
        if (self.Deliver(due) != 0) {
            self.Count(&Counts::refused);
        }
    }
}

// --- All of it

// Delivers a letter. The service keeps the second of two meanwhile: the first one's handler may be
// cut off. One that ends its thread leaves it to the timer's.
uint32_t MessageService::DeliverFirst(Letters &first, Letters &second) {
    if (second.empty()) {
        return Deliver(first);
    }
    const auto kept = second.begin();
    {
        const SchedulerLock lock = TheHost().scheduler.Lock();
        seconds_.splice(seconds_.end(), second);
    }
    bool hasReturned = false;
    const AlsoAtThreadsEnd takeBack([&] {
        {
            const SchedulerLock lock = TheHost().scheduler.Lock();
            kept->dueNs = TheHost().scheduler.clock.NowNs();
            Letters &to = hasReturned ? second : late_;
            to.splice(to.end(), seconds_, kept);
        }
        if (!hasReturned) {
            StartLateGuarded();
        }
    });
    const uint32_t result = Guard(uint32_t{ENOMEM}, [&] { return Deliver(first); });
    hasReturned = true;
    return result;
}

uint32_t MessageService::Post(Letters &letter) {
    if (IsLost(letter.front().head)) {
        letter.clear();
        return 0;
    }
    if (doubles_.Fails()) {
        letter.push_back(letter.front());
        Count(&Counts::twice);
        Say(letter.front().head, "twice");
    }
    Letters later;
    for (auto each = letter.begin(); each != letter.end();) {
        const auto next = std::next(each);
        if (IsLate(*each)) {
            later.splice(later.end(), letter, each);
        }
        each = next;
    }
    bool isUnderWay = !later.empty();
    uint32_t result = isUnderWay ? PutLate(later) : 0;
    while (result == 0 && !letter.empty()) {
        Letters one;
        one.splice(one.end(), letter, letter.begin());
        const uint32_t each = DeliverFirst(one, letter);
        if (each != 0 && isUnderWay) {
            Count(&Counts::refused);
        }
        result = isUnderWay ? 0 : each;
        isUnderWay = isUnderWay || each == 0;
    }
    return result;
}

// Those that waited for another one to arrive. Under the lock.
void MessageService::CarryHeld(const DxrHostUnit &unit) {
    for (auto each = late_.begin(); each != late_.end();) {
        const auto next = std::next(each);
        if (each->isHeld && each->head.to.kind == unit.kind &&
            each->head.to.number == unit.number) {
            Letters one;
            one.splice(one.end(), late_, each);
            counts.refused += transport->Carry(one) != 0 ? 1 : 0;
        }
        each = next;
    }
}

bool MessageService::MayStray() const {
    return doubles_.IsSet() || delays_.IsSet() || holds_.IsSet();
}

bool MessageService::IsLarge(const DxrHostMessage &message) {
    return message.bytes >= kAloneBytes;
}

uint32_t MessageService::Ship(size_t board, const DxrHostMessage &message) {
    if (IsLost(message)) {
        return 0;
    }
    Frames alone;
    if (IsLarge(message)) {
        chassis.load()->TakeSpare(alone);
        FillAlone(message, alone);
    }
    const SchedulerLock lock = TheHost().scheduler.Lock();
    const uint32_t result = chassis.load()->Ship(board, message, alone);
    if (result == 0) {
        CarryHeld(message.to);
    }
    return result;
}

uint32_t MessageService::ShipSimple(ChassisTransport &away, size_t board,
                                    const DxrHostMessage &message) {
    Frames none;
    const uint32_t result = away.Ship(board, message, none);
    if (result == 0) {
        ++counts.sent;
        CarryHeld(message.to);
    }
    return result;
}

uint32_t MessageService::Deliver(Letters &letter) {
    const DxrHostUnit unit = letter.front().head.to;
    uint32_t result = 0;
    {
        const SchedulerLock lock = TheHost().scheduler.Lock();
        result = transport->Carry(letter);
        if (result == 0) {
            CarryHeld(unit);
        }
    }
    letter.clear();
    Handle(unit);
    return result;
}

}  // namespace devhost
