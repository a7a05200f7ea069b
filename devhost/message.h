// The state of the message service, and what its files share: message.cpp sends and waits for
// acknowledgements; message_way.cpp has what may happen on the way; message_mailbox.cpp mailboxes,
// handlers and receivers; message_event.cpp events and the mesh; message_transport.cpp brings
// messages to mailboxes, message_chassis.cpp and message_zmq_transport.cpp to those of other
// boards.
#ifndef DXR_DEVHOST_MESSAGE_INTERNAL_H
#define DXR_DEVHOST_MESSAGE_INTERNAL_H

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <tuple>

#include "dxr_devhost/inspect.h"
#include "host.h"
#include "message_chassis.h"
#include "message_transport.h"

namespace devhost {

constexpr const char *kMessage = "message";

struct Mailbox {
    DxrHostMailbox given{};
    Place made;
    Letters letters;         // that wait
    Letters current;         // the one whose head its handler has; what follows that waits, too
    uint32_t waiting = 0;    // messages
    WaitList arrived;        // receivers
    WaitList idle;           // for the end of its handler
    ThreadRecord *runner{};  // who is in its handler
    uint32_t users = 0;      // calls that are in it
    uint64_t closed = 0;     // 0 while it is open
};

// Where a receiver wants the data of a message.
struct Room {
    void *buffer;
    uint32_t bytes;
};

// An acknowledgement that a sender waits for.
struct Pending {
    WaitList done;
    bool isDone = false;
    uint32_t result = 0;
};

struct Event {
    uint32_t trigger;
    uint32_t error;
};

class MessageService final : public Service, public MessageReceiver {
  public:
    using Counts = DxrHostMessageCounts;

    explicit MessageService(Host &host);
    ~MessageService() override;
    void ReportLeftovers() override;
    std::string UseOf(const CodeRange &code) override;

    // message.cpp

    // Sends what has been found to be a message; writes its sequence and its result. The frames of
    // those who wait for an acknowledgement own nothing.
    uint32_t Send(const Call &call, DxrHostMessage &message);

    // message_way.cpp. Without the lock.

    // Sends a message to another board; its data is still the sender's.
    uint32_t Ship(size_t board, const DxrHostMessage &message);
    [[nodiscard]] static bool IsLarge(const DxrHostMessage &message);
    // Tells whether any message may arrive twice, late or in another order, or this one not at all.
    [[nodiscard]] bool MayStray() const;
    [[nodiscard]] bool MayBeLost(const DxrHostMessage &head) const;
    // Under the lock: one that is not large and cannot be lost; counts it.
    uint32_t ShipSimple(ChassisTransport &away, size_t board, const DxrHostMessage &message);

    // Sends a letter on its way; the list is empty afterwards unless that fails.
    uint32_t Post(Letters &letter);
    void SetFilter(DxrMessageFilter *given);
    DxrMessageFilter *Filter();
    void SetFilterCount(uint32_t lostCnt, uint32_t num, const uint32_t *path);
    void GetFilterText(char *buffer, uint32_t bufferSize);
    void Count(uint64_t Counts::*which);

    // message_mailbox.cpp

    uint32_t Open(const DxrHostMailbox &given, const Place &place);
    uint32_t Close(const DxrHostUnit &unit, const Place &place);
    // Takes a message; with EMSGSIZE only its head. When the letter was taken, too, the caller
    // copies the data, without the lock.
    uint32_t Receive(const DxrHostUnit &unit, uint32_t ms, const Room &room, const Place &place,
                     DxrHostMessage &head, Letters &taken);

    // Calls the handler of a unit's mailbox for what waits in it, unless somebody does.
    void Handle(const DxrHostUnit &unit);

    // Under the lock; null when it is not open.
    Mailbox *Find(const DxrHostUnit &unit);
    // Under the lock. Those that are open, at most `room` of them; how many there are.
    uint32_t List(DxrHostMailboxInfo *mailboxes, uint32_t room) const;

    [[nodiscard]] bool HasMailbox(const DxrHostUnit &unit) const override;
    uint32_t Arrive(Letters &letter) override;
    bool Acknowledged(uint64_t sequence, uint32_t result) override;
    void TakeIn(Letters &letters, const std::vector<Acknowledgement> &acknowledgements,
                Letters &spare) override;
    // A letter that was taken, or none; without the lock.
    void End(Letters &letter);

    // message_chassis.cpp. 0, or a number of <errno.h>.
    uint32_t Join(const ChassisPlan &plan);

    // Under the scheduler's lock. The chassis, once there is one, is the transport, and stays it.
    std::unique_ptr<MessageTransport> transport;
    std::atomic<ChassisTransport *> chassis{nullptr};
    Counts counts{};

    // message_event.cpp

    std::mutex eventMutex;  // guards what follows
    std::map<uint32_t, Event> events;
    std::map<uint32_t, const char *> triggerTexts;
    std::set<std::string, std::less<>> allTexts;  // none goes: modules have their addresses
    std::atomic<int> meshFd{-1};

  private:
    // Unit kind, unit number, and which of those that were closed.
    using Key = std::tuple<uint32_t, uint32_t, uint64_t>;
    static Key KeyOf(const Mailbox &box) {
        return {box.given.unit.kind, box.given.unit.number, box.closed};
    }

    // What a sender waits for: a handler may have changed its record since.
    struct Wanted {
        uint64_t sequence;  // 0 until it is among the pending ones
        uint32_t timeoutMs;
        uint64_t deadline;
    };

    uint32_t Post(const DxrHostMessage &message, Letters &letter);
    uint32_t AwaitAcknowledgement(const Call &call, Task &task, const Wanted &wanted,
                                  DxrHostMessage &message);
    void SetUpEvents();
    void Say(const DxrHostMessage &head, const char *what) const;
    bool IsFiltered(const DxrHostMessage &head);
    bool IsLost(const DxrHostMessage &head);
    bool IsLate(Letter &letter);
    uint32_t PutLate(Letters &later);
    uint32_t StartLate();
    void StartLateGuarded();
    static void DeliverLate(void *service);
    uint32_t Deliver(Letters &letter);
    uint32_t DeliverFirst(Letters &first, Letters &second);
    void CarryHeld(const DxrHostUnit &unit);
    Mailbox *FindUnhandled();
    void EndLocked(Letters &letter);
    uint32_t TakeFirst(Mailbox &box, const Room &room, DxrHostMessage &head, Letters &taken);
    void StartHandling();
    static void HandleWaiting(void *service);
    void EraseUnused(Mailbox &box);
    void HandlerHasRun(Mailbox &box);  // under the lock

    FaultPoint &sendFails_;
    FaultPoint &loses_;
    FaultPoint &doubles_;
    FaultPoint &delays_;
    FaultPoint &holds_;
    FaultPoint &openFails_;

    // Under the scheduler's lock.
    std::map<Key, Mailbox> boxes_;
    uint64_t lastClosed_ = 0;
    std::map<uint64_t, Pending> pending_;
    uint64_t lastSequence_ = 0;
    Letters late_;
    Letters seconds_;
    Letters spare_;  // large ones
    Stream delayMs_;

    std::mutex lateMutex_;  // one starts the job at a time
    const std::shared_ptr<Job> lateJob_;

    // Runs handlers for what no sender's thread does.
    const std::shared_ptr<Job> handlingJob_;
    bool isHandling_ = false;  // it is started; under the scheduler's lock

    std::mutex filterMutex_;  // who uses or changes the filter has it
    std::atomic<DxrMessageFilter *> filter_{nullptr};
};

MessageService &MessageOf(Host &host);

bool IsUnit(const DxrHostUnit &unit);

// "lpu 3"
std::string NameOf(const DxrHostUnit &unit);

void FillMessageEvents(DxrMsgHooks &hooks);

}  // namespace devhost

#endif  // DXR_DEVHOST_MESSAGE_INTERNAL_H
