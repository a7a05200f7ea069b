// How messages get from senders to mailboxes. A bus asks its transport and never looks for
// mailboxes itself, so that another transport can reach those of other processes.
//
// All of these functions are called under the scheduler's lock: they do not wait, and call nothing
// of a module.
#ifndef DXR_DEVHOST_MESSAGE_TRANSPORT_H
#define DXR_DEVHOST_MESSAGE_TRANSPORT_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "dxr_devhost/message.h"

namespace devhost {

// A message with its bytes, from its sending until it was taken; or several for one mailbox, as
// they came from another board, of which the head is the first.
struct Letter {
    DxrHostMessage head{};        // its data is in the body
    std::vector<std::byte> body;  // its bytes; of several, their records (message_wire.h)
    size_t next = 0;              // of several: where in the body the one after the head begins
    uint32_t more = 0;            // that come after the head
    uint64_t dueNs = 0;           // when it arrives, for one that is late or held
    bool isHeld = false;          // it arrives after the next one for its mailbox
};

// Letters go from list to list; that never fails.
using Letters = std::list<Letter>;

// Letters with so much room are kept for others as large, at most so many.
constexpr size_t kLargeLetterBytes = 16384;
constexpr size_t kSpareLetters = 16;

// That a message was taken, and the result that its receiver gave.
struct Acknowledgement {
    uint64_t sequence;
    uint32_t result;
};

// The end that has mailboxes and senders: the message service.
class MessageReceiver {
  public:
    MessageReceiver() = default;
    MessageReceiver(const MessageReceiver &) = delete;
    MessageReceiver &operator=(const MessageReceiver &) = delete;
    MessageReceiver(MessageReceiver &&) = delete;
    MessageReceiver &operator=(MessageReceiver &&) = delete;

    [[nodiscard]] virtual bool HasMailbox(const DxrHostUnit &unit) const = 0;

    // Puts the one letter of the list into its mailbox. 0; ENXIO or ENOBUFS, then it stays where it
    // is. Of several messages those for which there is no room are refused. Afterwards, without the
    // lock, the mailbox's handler is to be run.
    virtual uint32_t Arrive(Letters &letter) = 0;

    // A message of this end was acknowledged. False when nobody waits for that.
    virtual bool Acknowledged(uint64_t sequence, uint32_t result) = 0;

    // What came from another process, on a thread of the transport, without the lock. The list is
    // empty afterwards; large letters that are not needed any more are added to the spare ones.
    virtual void TakeIn(Letters &letters, const std::vector<Acknowledgement> &acknowledgements,
                        Letters &spare) = 0;

  protected:
    ~MessageReceiver() = default;
};

class MessageTransport {
  public:
    MessageTransport() = default;
    virtual ~MessageTransport() = default;
    MessageTransport(const MessageTransport &) = delete;
    MessageTransport &operator=(const MessageTransport &) = delete;
    MessageTransport(MessageTransport &&) = delete;
    MessageTransport &operator=(MessageTransport &&) = delete;

    // Tells whether the unit has a mailbox, here or elsewhere.
    [[nodiscard]] virtual bool Reaches(const DxrHostUnit &unit) const = 0;

    // Takes the one letter of the list to where its mailbox is. 0, or a number of <errno.h>: then
    // it stays where it is.
    virtual uint32_t Carry(Letters &letter) = 0;

    // Tells the sender of a message that it was acknowledged. False when nobody waits for that.
    virtual bool Acknowledge(const DxrHostMessage &message, uint32_t result) = 0;
};

// Senders and mailboxes of one process: both ends are the same.
std::unique_ptr<MessageTransport> MakeInProcessTransport(MessageReceiver &receiver);

}  // namespace devhost

#endif  // DXR_DEVHOST_MESSAGE_TRANSPORT_H
