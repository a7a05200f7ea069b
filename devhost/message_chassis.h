// A board's place in its chassis: which boards there are, what is on them, how they are reached.
#ifndef DXR_DEVHOST_MESSAGE_CHASSIS_H
#define DXR_DEVHOST_MESSAGE_CHASSIS_H

#include <cstdint>
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

// Mailboxes of this process, and boards elsewhere.
class ChassisTransport : public MessageTransport {
  public:
    // Also without the scheduler's lock.
    virtual void CutOff(bool isCutOff) = 0;
    virtual DxrHostChassisCounts Counts() = 0;
};

// Over ZeroMQ. 0, or a number of <errno.h>; throws std::bad_alloc.
uint32_t MakeZmqTransport(MessageReceiver &receiver, const ChassisPlan &plan,
                          std::unique_ptr<ChassisTransport> &made);

// As DxrHostMakeKeys.
uint32_t MakeZmqKeys(char *publicKey, char *secretKey);

}  // namespace devhost

#endif  // DXR_DEVHOST_MESSAGE_CHASSIS_H
