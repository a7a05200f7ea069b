// Mailboxes, their handlers, and those who receive.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "message.h"
#include "message_wire.h"
#include "module_call.h"

namespace devhost {
namespace {

constexpr uint32_t kUsualMost = 1024;

}  // namespace

Mailbox *MessageService::Find(const DxrHostUnit &unit) {
    const auto found = boxes_.find({unit.kind, unit.number, 0});
    return found != boxes_.end() ? &found->second : nullptr;
}

uint32_t MessageService::List(DxrHostMailboxInfo *mailboxes, uint32_t room) const {
    uint32_t count = 0;
    for (const auto &[key, box] : boxes_) {
        if (box.closed != 0) {
            continue;
        }
        if (count < room) {
            mailboxes[count] = {box.given.unit, box.given.most, box.waiting,
                                box.given.handler != nullptr ? 1U : 0U, 0};
        }
        ++count;
    }
    return count;
}

bool MessageService::HasMailbox(const DxrHostUnit &unit) const {
    return boxes_.contains({unit.kind, unit.number, 0});
}

uint32_t MessageService::Open(const DxrHostMailbox &given, const Place &place) {
    if (!IsUnit(given.unit)) {
        return EINVAL;
    }
    if (openFails_.Fails()) {
        return ENOMEM;
    }
    const SchedulerLock lock = TheHost().scheduler.Lock();
    const auto [entry, isNew] = boxes_.try_emplace({given.unit.kind, given.unit.number, 0});
    if (!isNew) {
        return EEXIST;
    }
    Mailbox &box = entry->second;
    box.given = given;
    box.given.most = given.most != 0 ? given.most : kUsualMost;
    box.made = place;
    return 0;
}

// Under the lock, by the last one who is in a closed mailbox.
void MessageService::EraseUnused(Mailbox &box) {
    if (box.closed != 0 && box.users == 0) {
        boxes_.erase(KeyOf(box));
    }
}

// A frame that waits owns nothing.
uint32_t MessageService::Close(const DxrHostUnit &unit, const Place &place) {
    Scheduler &scheduler = TheHost().scheduler;
    ThreadRecord &thread = ThisThread();
    Task &task = scheduler.Current(thread, place);
    const WaitReason reason(place, "the end of a mailbox's handler");
    SchedulerLock lock = scheduler.Lock();
    Mailbox *const box = Find(unit);
    if (box == nullptr) {
        return ENOENT;
    }
    // It makes room for another one of the unit.
    auto node = boxes_.extract(KeyOf(*box));
    box->closed = ++lastClosed_;
    node.key() = KeyOf(*box);
    (void)boxes_.insert(std::move(node));
    counts.dropped += box->waiting;
    box->waiting = 0;
    box->letters.clear();
    if (!box->current.empty()) {
        box->current.front().more = 0;
    }
    scheduler.WakeAll(box->arrived);
    ++box->users;
    while (box->runner != nullptr && box->runner != &thread &&
           scheduler.Wait(lock, task, box->idle, kForever, reason) == Woken::kYes) {
    }
    --box->users;
    EraseUnused(*box);
    return 0;
}

uint32_t MessageService::Arrive(Letters &letter) {
    Letter &arriving = letter.front();
    Mailbox *const box = Find(arriving.head.to);
    if (box == nullptr) {
        return ENXIO;
    }
    if (box->waiting >= box->given.most) {
        return ENOBUFS;
    }
    if (arriving.next == 0) {
        arriving.head.data = arriving.body.empty() ? nullptr : arriving.body.data();
    }
    const uint32_t taken = std::min(arriving.more + 1, box->given.most - box->waiting);
    counts.refused += arriving.more + 1 - taken;
    arriving.more = taken - 1;
    box->letters.splice(box->letters.end(), letter);
    box->waiting += taken;
    counts.arrived += taken;
    TheHost().scheduler.WakeOne(box->arrived);
    return 0;
}

void MessageService::Handle(const DxrHostUnit &unit) {
    Scheduler &scheduler = TheHost().scheduler;
    SchedulerLock lock = scheduler.Lock();
    Mailbox *const box = Find(unit);
    if (box == nullptr || box->given.handler == nullptr || box->runner != nullptr) {
        return;
    }
    box->runner = &ThisThread();
    ++box->users;
    const AlsoAtThreadsEnd end([&] {
        const bool hasEndedThread = !lock.owns_lock();
        if (hasEndedThread) {
            lock.lock();
        }
        HandlerHasRun(*box);
        if (hasEndedThread) {
            lock.unlock();
            StartHandling();
        }
    });
    while (box->waiting != 0) {
        if (box->current.empty() || !ReadNext(box->current.front())) {
            EndLocked(box->current);
            box->current.splice(box->current.end(), box->letters, box->letters.begin());
        }
        --box->waiting;
        ++counts.taken;
        const DxrHostMessage &message = box->current.front().head;
        lock.unlock();
        const uint32_t result = CallModule(TheHost(), "message", "the handler of a mailbox",
                                           kThrown, box->given.handler, &message, box->given.user);
        // One that did not end with its host: the mailbox is not there any more.
        Scheduler::EndStopped(ThisThread());
        lock.lock();
        if ((message.flags & DXR_HOST_MESSAGE_ACK) != 0 && result != DXR_HOST_ACK_LATER) {
            // Without the memory for it the sender waits in vain.
            Guard([&] { (void)transport->Acknowledge(message, result); });
        }
    }
}

void MessageService::HandlerHasRun(Mailbox &box) {
    // What follows the head still waits.
    if (!box.current.empty() && box.current.front().more == 0) {
        EndLocked(box.current);
    }
    box.runner = nullptr;
    --box.users;
    TheHost().scheduler.WakeAll(box.idle);
    EraseUnused(box);
}

// The end of a letter, or of none. Under the lock.
void MessageService::EndLocked(Letters &letter) {
    if (!letter.empty() && letter.front().body.capacity() >= kLargeLetterBytes &&
        spare_.size() < kSpareLetters) {
        spare_.splice(spare_.end(), letter);
    }
    letter.clear();
}

void MessageService::End(Letters &letter) {
    if (!letter.empty() && letter.front().body.capacity() >= kLargeLetterBytes) {
        const SchedulerLock lock = TheHost().scheduler.Lock();
        EndLocked(letter);
    }
}

// --- On the timer's thread: what came from elsewhere, or waits behind a handler's ended thread

// Under the lock.
Mailbox *MessageService::FindUnhandled() {
    for (auto &[key, box] : boxes_) {
        if (box.closed == 0 && box.given.handler != nullptr && box.runner == nullptr &&
            box.waiting != 0) {
            return &box;
        }
    }
    return nullptr;
}

void MessageService::TakeIn(Letters &letters, const std::vector<Acknowledgement> &acknowledgements,
                            Letters &spare) {
    Scheduler &scheduler = TheHost().scheduler;
    {
        const SchedulerLock lock = scheduler.Lock();
        for (const Acknowledgement &each : acknowledgements) {
            (void)Acknowledged(each.sequence, each.result);
        }
        Letters one;
        while (!letters.empty()) {
            one.splice(one.end(), letters, letters.begin());
            counts.refused += Arrive(one) != 0 ? one.front().more + 1 : 0;
            one.clear();
        }
        while (!spare_.empty() && spare.size() < kSpareLetters) {
            spare.splice(spare.end(), spare_, spare_.begin());
        }
    }
    StartHandling();
}

// Starts the job unless it is, or nothing is for it.
void MessageService::StartHandling() {
    Scheduler &scheduler = TheHost().scheduler;
    {
        const SchedulerLock lock = scheduler.Lock();
        if (isHandling_ || FindUnhandled() == nullptr) {
            return;
        }
        isHandling_ = true;
    }
    uint32_t result = ENOMEM;
    try {
        result = scheduler.Start(handlingJob_, scheduler.clock.NowNs(), 0);
    } catch (const std::bad_alloc &) {
        result = ENOMEM;
    }
    if (result != 0) {
        const SchedulerLock lock = scheduler.Lock();
        isHandling_ = false;  // what arrives next tries again
    }
}

// The job. Nothing is owned here while a handler runs: it may be cut off.
void MessageService::HandleWaiting(void *service) {
    auto &self = *static_cast<MessageService *>(service);
    bool isDone = false;
    const AlsoAtThreadsEnd goOn([&] {
        if (!isDone) {
            {
                const SchedulerLock lock = self.TheHost().scheduler.Lock();
                self.isHandling_ = false;
            }
            self.StartHandling();
        }
    });
    for (;;) {
        DxrHostUnit unit{};
        {
            const SchedulerLock lock = self.TheHost().scheduler.Lock();
            const Mailbox *const box = self.FindUnhandled();
            if (box == nullptr) {
                self.isHandling_ = false;
                isDone = true;
                return;
            }
            unit = box->given.unit;
        }
        self.Handle(unit);
    }
}

// --- Receivers

// A frame that waits owns nothing: `taken` is empty until then.
uint32_t MessageService::Receive(const DxrHostUnit &unit, uint32_t ms, const Room &room,
                                 const Place &place, DxrHostMessage &head, Letters &taken) {
    Scheduler &scheduler = TheHost().scheduler;
    ThreadRecord &thread = ThisThread();
    scheduler.Point(thread);
    Task &task = scheduler.Current(thread, place);
    SchedulerLock lock = scheduler.Lock();
    Mailbox *const box = Find(unit);
    if (box == nullptr || box->given.handler != nullptr) {
        return box == nullptr ? ENOENT : EINVAL;
    }
    Woken woken = scheduler.HasEnded() ? Woken::kEnded : ms == 0 ? Woken::kTimeout : Woken::kYes;
    uint32_t result = 0;
    if (box->waiting == 0 && woken == Woken::kYes) {
        const uint64_t deadline = scheduler.After(ms);
        const WaitReason reason(place, "a message for %s", NameOf(unit).c_str());
        ++box->users;
        try {
            while (box->waiting == 0 && box->closed == 0 && woken == Woken::kYes) {
                woken = scheduler.Wait(lock, task, box->arrived, deadline, reason);
            }
        } catch (const std::bad_alloc &) {
            result = ENOMEM;
        }
        --box->users;
    }
    if (box->closed != 0) {
        result = ENOENT;
    } else if (result == 0 && box->waiting == 0) {
        result = woken == Woken::kTimeout ? ETIMEDOUT : ECANCELED;
    } else if (result == 0) {
        result = TakeFirst(*box, room, head, taken);
    }
    if (box->waiting != 0) {
        // Another one who waits may have been passed over.
        scheduler.WakeOne(box->arrived);
    }
    EraseUnused(*box);
    return result;
}

// Under the lock.
uint32_t MessageService::TakeFirst(Mailbox &box, const Room &room, DxrHostMessage &head,
                                   Letters &taken) {
    Letter &first = box.letters.front();
    head = first.head;
    if (head.bytes > room.bytes) {
        return EMSGSIZE;
    }
    ++counts.taken;
    --box.waiting;
    if (first.more == 0) {
        taken.splice(taken.end(), box.letters, box.letters.begin());
        return 0;
    }
    if (room.buffer != nullptr && head.bytes != 0) {
        std::memcpy(room.buffer, head.data, head.bytes);
    }
    (void)ReadNext(first);
    return 0;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::Letters;
using devhost::Place;
using devhost::SchedulerLock;

uint32_t DxrHostOpenMailbox(DxrHost *host, const DxrHostMailbox *mailbox) {
    const ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    if (mailbox == nullptr || mailbox->size != sizeof(DxrHostMailbox)) {
        return EINVAL;
    }
    try {
        const Place place{"DxrHostOpenMailbox", __builtin_return_address(0)};
        return devhost::MessageOf(*call).Open(*mailbox, place);
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

uint32_t DxrHostCloseMailbox(DxrHost *host, const DxrHostUnit *unit) {
    const ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    if (unit == nullptr) {
        return EINVAL;
    }
    const Place place{"DxrHostCloseMailbox", __builtin_return_address(0)};
    try {
        return devhost::MessageOf(*call).Close(*unit, place);
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

uint32_t DxrHostReceiveMessage(DxrHost *host, const DxrHostUnit *unit, DxrHostMessage *message,
                               void *buffer, uint32_t size, uint32_t ms) {
    const ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    if (unit == nullptr || message == nullptr || (buffer == nullptr && size != 0)) {
        return EINVAL;
    }
    const Place place{"DxrHostReceiveMessage", __builtin_return_address(0)};
    DxrHostMessage head{};
    Letters taken;
    uint32_t result = 0;
    try {
        result = devhost::MessageOf(*call).Receive(*unit, ms, {buffer, size}, place, head, taken);
    } catch (const std::bad_alloc &) {
        result = ENOMEM;
    }
    if (!taken.empty() && buffer != nullptr && head.bytes != 0) {
        std::memcpy(buffer, head.data, head.bytes);
    }
    if (result == 0 || result == EMSGSIZE) {
        head.data = buffer;
        *message = head;
    }
    devhost::MessageOf(*call).End(taken);
    return result;
}

uint32_t DxrHostAcknowledge(DxrHost *host, const DxrHostMessage *message, uint32_t result) {
    const ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    if (message == nullptr) {
        return EINVAL;
    }
    bool isWanted = false;
    {
        const SchedulerLock lock = call->scheduler.Lock();
        isWanted = devhost::MessageOf(*call).transport->Acknowledge(*message, result);
    }
    call->scheduler.Point(devhost::ThisThread());
    return isWanted ? 0 : ENOENT;
}

uint32_t DxrHostGetWaitingMessages(DxrHost *host, const DxrHostUnit *unit) {
    const ApiCall call(host);
    if (!call || unit == nullptr) {
        return 0;
    }
    const SchedulerLock lock = call->scheduler.Lock();
    const devhost::Mailbox *const box = devhost::MessageOf(*call).Find(*unit);
    return box != nullptr ? box->waiting : 0;
}

uint32_t DxrHostGetMailboxes(DxrHost *host, DxrHostMailboxInfo *mailboxes, uint32_t room) {
    const ApiCall call(host);
    if (!call) {
        return 0;
    }
    const SchedulerLock lock = call->scheduler.Lock();
    return devhost::MessageOf(*call).List(mailboxes, mailboxes != nullptr ? room : 0);
}

void DxrHostSetMessageFilter(DxrHost *host, DxrMessageFilter *filter) {
    const ApiCall call(host);
    if (call) {
        devhost::MessageOf(*call).SetFilter(filter);
    }
}

DxrMessageFilter *DxrHostGetMessageFilter(DxrHost *host) {
    const ApiCall call(host);
    return call ? devhost::MessageOf(*call).Filter() : nullptr;
}

void DxrHostSetMessageFilterCount(DxrHost *host, uint32_t lostCnt, uint32_t num,
                                  const uint32_t *path) {
    constexpr uint32_t kLongest = 3;
    const ApiCall call(host);
    if (call && num <= kLongest && (num == 0 || path != nullptr)) {
        devhost::MessageOf(*call).SetFilterCount(lostCnt, num, path);
    }
}

void DxrHostGetMessageFilterText(DxrHost *host, char *buffer, uint32_t bufferSize) {
    const ApiCall call(host);
    if (call) {
        devhost::MessageOf(*call).GetFilterText(buffer, bufferSize);
    }
}

void DxrHostCountMessages(DxrHost *host, DxrHostMessageCounts *counts) {
    const ApiCall call(host);
    if (!call) {
        *counts = {};
        return;
    }
    const SchedulerLock lock = call->scheduler.Lock();
    *counts = devhost::MessageOf(*call).counts;
}
