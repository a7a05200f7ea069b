// What the tests of the message service share.
#ifndef DXR_TESTS_DEVHOST_MESSAGE_FIXTURE_H
#define DXR_TESTS_DEVHOST_MESSAGE_FIXTURE_H

#include <array>
#include <cerrno>
#include <string>
#include <vector>

#include "devhost/host_fixture.h"
#include "dxr_devhost/message.h"

namespace dxrtest {

constexpr DxrHostUnit kMpu = {DXR_HOST_UNIT_MPU, 0};
constexpr DxrHostUnit kDevm = {DXR_HOST_UNIT_DEVM, 0};
constexpr DxrHostUnit kLpu3 = {DXR_HOST_UNIT_LPU, 3};
constexpr DxrHostUnit kSfu1 = {DXR_HOST_UNIT_SFU, 1};
constexpr DxrHostUnit kNp = {DXR_HOST_UNIT_NP, 0};

constexpr auto kTimedOut = static_cast<uint32_t>(ETIMEDOUT);
constexpr auto kInvalid = static_cast<uint32_t>(EINVAL);
constexpr auto kNotThere = static_cast<uint32_t>(ENOENT);
constexpr auto kEnded = static_cast<uint32_t>(ECANCELED);

inline DxrHostMessage MessageOf(DxrHostUnit to, uint32_t kind, const char *text = "") {
    DxrHostMessage message{};
    message.size = sizeof(message);
    message.kind = kind;
    message.from = kMpu;
    message.to = to;
    message.data = text;
    message.bytes = static_cast<uint32_t>(std::string(text).size());
    return message;
}

inline uint32_t Send(DxrHostUnit to, uint32_t kind, const char *text = "") {
    DxrHostMessage message = MessageOf(to, kind, text);
    return DXR_SendMsg(&message);
}

inline uint32_t Open(DxrHostUnit unit, uint32_t most = 0, DxrHostMessageHandler handler = nullptr,
                     void *user = nullptr) {
    const DxrHostMailbox mailbox{sizeof(DxrHostMailbox), most, unit, handler, user};
    return DxrHostOpenMailbox(nullptr, &mailbox);
}

// What a mailbox gives: its next message, and the bytes as a text.
struct Received {
    uint32_t result;
    DxrHostMessage message;
    std::string text;
};

inline Received Receive(DxrHostUnit unit, uint32_t ms = 0) {
    Received received{};
    std::array<char, 256> buffer{};
    received.result =
        DxrHostReceiveMessage(nullptr, &unit, &received.message, buffer.data(), buffer.size(), ms);
    if (received.result == 0) {
        received.text.assign(buffer.data(), received.message.bytes);
    }
    return received;
}

// The kinds of all messages that wait in a mailbox, which is empty afterwards.
inline std::vector<uint32_t> Kinds(DxrHostUnit unit) {
    std::vector<uint32_t> kinds;
    for (Received next = Receive(unit); next.result == 0; next = Receive(unit)) {
        kinds.push_back(next.message.kind);
    }
    return kinds;
}

inline DxrHostMessageCounts Counts() {
    DxrHostMessageCounts counts{};
    DxrHostCountMessages(nullptr, &counts);
    return counts;
}

}  // namespace dxrtest

#endif  // DXR_TESTS_DEVHOST_MESSAGE_FIXTURE_H
