// Sending, and waiting for acknowledgements.
#include "message.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "module_call.h"
#include "records.h"

namespace devhost {
namespace {

// A letter with a copy of the message's bytes.
Letter LetterOf(const DxrHostMessage &message) {
    Letter letter;
    letter.head = message;
    letter.head.result = 0;
    const auto *const data = static_cast<const std::byte *>(message.data);
    letter.body.assign(data, data + message.bytes);
    return letter;
}

// 0 for a message that can be sent; a number of <errno.h>, and a report.
uint32_t Check(const Call &call, const DxrHostMessage &message) {
    if (!IsUnit(message.to) || (message.from.kind != 0 && !IsUnit(message.from))) {
        call.Misuse(kMessage, "no unit");
        return EINVAL;
    }
    if ((message.flags & ~DXR_HOST_MESSAGE_ACK) != 0) {
        call.Misuse(kMessage, "unknown flags");
        return EINVAL;
    }
    if (message.bytes != 0 && message.data == nullptr) {
        call.Misuse(kMessage, "bytes without data");
        return EINVAL;
    }
    return message.bytes > DXR_HOST_MESSAGE_BYTES ? EMSGSIZE : 0;
}

uint32_t CheckAndSend(const Call &call, DxrHostMessage &message) {
    const uint32_t result = Check(call, message);
    return result != 0 ? result : MessageOf(*call).Send(call, message);
}

enum class To : uint8_t { kAsItSays, kFirst, kNumbered };

// The message at an address to the unit that it names, to the first of a kind, or to the one of a
// kind with the number that it names.
uint32_t SendAt(const Call &call, void *address, To to, uint32_t kind) {
    if (!call) {
        return ECANCELED;
    }
    auto *const message = RecordAt<DxrHostMessage>(call, kMessage, address);
    if (message == nullptr) {
        return EINVAL;
    }
    if (to != To::kAsItSays) {
        message->to = {kind, to == To::kFirst ? 0 : message->to.number};
    }
    return CheckAndSend(call, *message);
}

// --- Slots

uint32_t SendMsg(void *message) {
    const Call call("DXR_SendMsg");
    return SendAt(call, message, To::kAsItSays, 0);
}

uint32_t SendMsgToMpu(void *message) {
    const Call call("DXR_SendMsgToMpu");
    return SendAt(call, message, To::kFirst, DXR_HOST_UNIT_MPU);
}

uint32_t SendMsgToDevm(void *message) {
    const Call call("DXR_SendMsgToDevm");
    return SendAt(call, message, To::kFirst, DXR_HOST_UNIT_DEVM);
}

uint32_t SendMsgToLpu(void *message) {
    const Call call("DXR_SendMsgToLpu");
    return SendAt(call, message, To::kNumbered, DXR_HOST_UNIT_LPU);
}

uint32_t SendMsgToSfu(void *message) {
    const Call call("DXR_SendMsgToSfu");
    return SendAt(call, message, To::kNumbered, DXR_HOST_UNIT_SFU);
}

DxrHostMessage MessageTo(uint32_t unitKind, uint32_t kind) {
    DxrHostMessage message{};
    message.size = sizeof(message);
    message.kind = kind;
    message.to = {unitKind, 0};
    return message;
}

void SendMsgToNp(uint32_t kind) {
    const Call call("DXR_SendMsgToNp");
    if (call) {
        DxrHostMessage message = MessageTo(DXR_HOST_UNIT_NP, kind);
        message.from = {DXR_HOST_UNIT_MPU, 0};
        (void)MessageOf(*call).Send(call, message);
    }
}

uint32_t SendEopEvent(uint32_t event, void *data) {
    const Call call("DXR_SendEopEvent");
    if (!call) {
        return ECANCELED;
    }
    DxrHostMessage message = MessageTo(DXR_HOST_UNIT_DEVM, DXR_HOST_MESSAGE_EOP);
    message.code = event;
    if (data != nullptr) {
        const auto *const given = RecordAt<DxrHostEopEvent>(call, kMessage, data);
        if (given == nullptr) {
            return EINVAL;
        }
        message.from = given->from;
        message.bytes = given->bytes;
        message.data = given->data;
    }
    return CheckAndSend(call, message);
}

}  // namespace

// --- The service

MessageService::MessageService(Host &host)
    : Service(host),
      transport(MakeInProcessTransport(*this)),
      sendFails_(host.chance.Point("message.send")),
      loses_(host.chance.Point("message.lose")),
      doubles_(host.chance.Point("message.twice")),
      delays_(host.chance.Point("message.delay")),
      holds_(host.chance.Point("message.reorder")),
      openFails_(host.chance.Point("mailbox.open")),
      delayMs_(host.chance.StreamOf("message.delay.ms")),
      lateJob_(std::make_shared<Job>("the handler of a mailbox", DeliverLate, this)),
      handlingJob_(std::make_shared<Job>("the handler of a mailbox", HandleWaiting, this)) {
    SetUpEvents();
}

MessageService::~MessageService() {
    transport.reset();  // nothing comes in any more
    for (const std::shared_ptr<Job> &job : {lateJob_, handlingJob_}) {
        (void)TheHost().scheduler.Stop(*job, nullptr, {});
        // Also when a handler was cut off in it.
        job->self.reset();
    }
}

void MessageService::ReportLeftovers() {
    for (const auto &[key, box] : boxes_) {
        if (box.closed == 0) {
            std::string what = "mailbox " + NameOf(box.given.unit);
            if (box.waiting != 0) {
                what += " with " + std::to_string(box.waiting) + " messages not fetched";
            }
            TheHost().ReportLeftover(kMessage, box.made, what);
        }
    }
}

std::string MessageService::UseOf(const CodeRange &code) {
    const SchedulerLock lock = TheHost().scheduler.Lock();
    for (const auto &[key, box] : boxes_) {
        if (code.Holds(reinterpret_cast<const void *>(box.given.handler))) {
            return "mailbox " + NameOf(box.given.unit);
        }
    }
    return {};
}

uint32_t MessageService::Send(const Call &call, DxrHostMessage &message) {
    Scheduler &scheduler = call->scheduler;
    if (sendFails_.Fails()) {
        return ENOMEM;
    }
    const bool wantsAck = (message.flags & DXR_HOST_MESSAGE_ACK) != 0;
    Task *const task = wantsAck ? &scheduler.Current(call.Thread(), call.At()) : nullptr;
    Wanted wanted{0, message.timeoutMs, wantsAck ? scheduler.After(message.timeoutMs) : 0};
    const AlsoAtThreadsEnd forget([&] {
        if (wanted.sequence != 0) {
            const SchedulerLock lock = scheduler.Lock();
            pending_.erase(wanted.sequence);
        }
    });
    uint32_t result = 0;
    bool isSent = false;  // and counted
    try {
        // What goes straight to another board is copied into what leaves: at once, when nothing can
        // happen on the way there.
        ChassisTransport *const away = MayStray() ? nullptr : chassis.load();
        const bool isSimple = away != nullptr && !IsLarge(message) && !MayBeLost(message);
        Letters letter;
        if (away == nullptr) {
            letter.push_back(LetterOf(message));
        }
        size_t board = kNoBoard;
        {
            const SchedulerLock lock = scheduler.Lock();
            board = away != nullptr ? away->BoardOf(message.to) : kNoBoard;
            const bool isReached = board != kNoBoard || transport->Reaches(message.to);
            result = scheduler.HasEnded() ? ECANCELED : isReached ? 0 : ENXIO;
            if (result == 0) {
                const uint64_t sequence = lastSequence_ + 1;
                if (wantsAck) {
                    pending_.try_emplace(sequence);
                    wanted.sequence = sequence;
                }
                lastSequence_ = sequence;
                message.sequence = sequence;
                isSent = isSimple && board != kNoBoard;
                result = isSent ? ShipSimple(*away, board, message) : 0;
            }
        }
        if (result == 0 && !isSent) {
            result = board != kNoBoard ? Ship(board, message) : Post(message, letter);
        }
    } catch (const std::bad_alloc &) {
        result = ENOMEM;
    }
    if (result == 0) {
        if (!isSent) {
            Count(&Counts::sent);
        }
        scheduler.Point(call.Thread());
        return wantsAck ? AwaitAcknowledgement(call, *task, wanted, message) : 0;
    }
    const SchedulerLock lock = scheduler.Lock();
    counts.refused += result == ENXIO || result == ENOBUFS ? 1 : 0;
    return result;
}

// The letter is the message's, or there is none yet.
uint32_t MessageService::Post(const DxrHostMessage &message, Letters &letter) {
    if (letter.empty()) {
        letter.push_back(LetterOf(message));
    }
    letter.front().head.sequence = message.sequence;
    return Post(letter);
}

uint32_t MessageService::AwaitAcknowledgement(const Call &call, Task &task, const Wanted &wanted,
                                              DxrHostMessage &message) {
    Scheduler &scheduler = call->scheduler;
    const uint64_t sequence = wanted.sequence;
    const WaitReason reason(call.At(), "the acknowledgement of message %llu",
                            static_cast<unsigned long long>(sequence));
    SchedulerLock lock = scheduler.Lock();
    Pending &pending = pending_.find(sequence)->second;
    Woken woken = wanted.timeoutMs == 0 ? Woken::kTimeout : Woken::kYes;
    uint32_t failure = 0;
    try {
        while (!pending.isDone && woken == Woken::kYes) {
            woken = scheduler.Wait(lock, task, pending.done, wanted.deadline, reason);
        }
    } catch (const std::bad_alloc &) {
        failure = ENOMEM;
    }
    const bool isDone = pending.isDone;
    if (isDone) {
        message.result = pending.result;
    }
    pending_.erase(sequence);  // nobody acknowledges it from here on
    if (isDone || failure != 0) {
        return isDone ? 0 : failure;
    }
    counts.timedOut += woken == Woken::kTimeout ? 1 : 0;
    return woken == Woken::kTimeout ? ETIMEDOUT : ECANCELED;
}

bool MessageService::Acknowledged(uint64_t sequence, uint32_t result) {
    const auto found = pending_.find(sequence);
    if (found == pending_.end() || found->second.isDone) {
        return false;
    }
    found->second.isDone = true;
    found->second.result = result;
    TheHost().scheduler.WakeAll(found->second.done);
    return true;
}

MessageService &MessageOf(Host &host) {
    return host.Get<MessageService>(ServiceId::kMessage);
}

bool IsUnit(const DxrHostUnit &unit) {
    return unit.kind >= DXR_HOST_UNIT_MPU && unit.kind <= DXR_HOST_UNIT_NP;
}

std::string NameOf(const DxrHostUnit &unit) {
    constexpr std::array<const char *, 6> kNames = {"", "mpu ", "lpu ", "sfu ", "devm ", "np "};
    return kNames[IsUnit(unit) ? unit.kind : 0] + std::to_string(unit.number);
}

std::unique_ptr<Service> MakeMessage(Host &host) {
    return std::make_unique<MessageService>(host);
}

void FillMessage(DxrHooks &hooks) {
    hooks.msg.sendMsg = Guarded<SendMsg>;
    hooks.msg.sendMsgToMpu = Guarded<SendMsgToMpu>;
    hooks.msg.sendMsgToDevm = Guarded<SendMsgToDevm>;
    hooks.msg.sendMsgToLpu = Guarded<SendMsgToLpu>;
    hooks.msg.sendMsgToSfu = Guarded<SendMsgToSfu>;
    hooks.msg.sendMsgToNp = Guarded<SendMsgToNp>;
    hooks.msg.sendEopEvent = Guarded<SendEopEvent>;
    FillMessageEvents(hooks.msg);
}

}  // namespace devhost
