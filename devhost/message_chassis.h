// A board's place in its chassis: which boards there are, what is on them, how they are reached.
#ifndef DXR_DEVHOST_MESSAGE_CHASSIS_H
#define DXR_DEVHOST_MESSAGE_CHASSIS_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "dxr_devhost/chassis.h"
#include "message_transport.h"

namespace devhost {

struct ChassisPlan {
    struct Board {
        std::string address;
        std::string publicKey;  // empty: no keys
    };

    std::vector<Board> boards;
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> owners;  // kind, number: the unit's board
    std::string secretKey;
    uint32_t self = 0;
    uint32_t incarnation = 0;

    // boards.size() when the unit is on none.
    [[nodiscard]] size_t OwnerOf(const DxrHostUnit &unit) const;
    // Where the message with that sequence began; boards.size() when it was nowhere else.
    [[nodiscard]] size_t OriginOf(uint64_t sequence) const;
    // All sequences of this board come after it.
    [[nodiscard]] uint64_t SequenceBase() const;
};

struct Frame;

constexpr size_t kNoBoard = SIZE_MAX;

// Mailboxes of this process, and boards elsewhere.
class ChassisTransport : public MessageTransport {
  public:
    // The board that a message for the unit is shipped to; kNoBoard when it does not leave.
    [[nodiscard]] virtual size_t BoardOf(const DxrHostUnit &unit) const = 0;

    // Ships a message whose data is still the sender's; with a frame (message_frames.h) that, which
    // has it alone. 0 or ENOBUFS; throws std::bad_alloc.
    virtual uint32_t Ship(size_t board, const DxrHostMessage &message, std::list<Frame> &alone) = 0;

    // Adds an empty frame, if there is one. Also without the scheduler's lock.
    virtual void TakeSpare(std::list<Frame> &to) = 0;

    // Also without the scheduler's lock.
    virtual void CutOff(bool isCutOff) = 0;
    virtual DxrHostChassisCounts Counts() = 0;
};

// Over ZeroMQ. 0, or a number of <errno.h>; throws std::bad_alloc.
uint32_t MakeZmqTransport(MessageReceiver &receiver, const ChassisPlan &plan,
                          std::unique_ptr<ChassisTransport> &made);

// As DxrHostMakeKeys and DxrHostGetPublicKey; what is given is as long as a key.
uint32_t MakeZmqKeys(char *publicKey, char *secretKey);
uint32_t GetZmqPublicKey(const char *secretKey, char *publicKey);

}  // namespace devhost

#endif  // DXR_DEVHOST_MESSAGE_CHASSIS_H
