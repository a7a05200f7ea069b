#include "message_chassis.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <new>
#include <string_view>

#include "message.h"

namespace devhost {
namespace {

constexpr uint32_t kIncarnationShift = 40;
constexpr uint32_t kBoardShift = 54;

static_assert(DXR_HOST_MOST_INCARNATION < 1U << (kBoardShift - kIncarnationShift));
static_assert(DXR_HOST_MOST_BOARDS < 1U << (64 - kBoardShift));

constexpr size_t kKeyLength = DXR_HOST_KEY_BYTES - 1;

bool IsPort(std::string_view text) {
    uint32_t port = 0;
    const char *const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, port);
    return error == std::errc() && stopped == end && port >= 1 && port <= UINT16_MAX;
}

uint32_t KindOfTcp(std::string_view rest) {
    const size_t colon = rest.rfind(':');
    if (colon == std::string_view::npos || !IsPort(rest.substr(colon + 1))) {
        return DXR_HOST_ADDRESS_NONE;
    }
    const bool isBracketed = colon > 2 && rest.front() == '[' && rest[colon - 1] == ']';
    const std::string_view number = isBracketed ? rest.substr(1, colon - 2) : rest.substr(0, colon);
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (number.size() >= text.size()) {
        return DXR_HOST_ADDRESS_NONE;
    }
    (void)number.copy(text.data(), number.size());
    const auto kind = [](bool isAny, bool isLoopback) {
        return isAny        ? DXR_HOST_ADDRESS_NONE
               : isLoopback ? DXR_HOST_ADDRESS_HERE
                            : DXR_HOST_ADDRESS_THERE;
    };
    in_addr four{};
    if (!isBracketed && inet_pton(AF_INET, text.data(), &four) == 1) {
        const uint32_t value = ntohl(four.s_addr);
        return kind(value == INADDR_ANY, value >> 24 == IN_LOOPBACKNET);
    }
    in6_addr six{};
    if (isBracketed && inet_pton(AF_INET6, text.data(), &six) == 1) {
        return kind(IN6_IS_ADDR_UNSPECIFIED(&six), IN6_IS_ADDR_LOOPBACK(&six));
    }
    return DXR_HOST_ADDRESS_NONE;
}

uint32_t AddressKind(std::string_view address) {
    constexpr std::string_view kIpc = "ipc://";
    constexpr std::string_view kTcp = "tcp://";
    if (address.substr(0, kTcp.size()) == kTcp) {
        return KindOfTcp(address.substr(kTcp.size()));
    }
    if (address.substr(0, kIpc.size()) != kIpc) {
        return DXR_HOST_ADDRESS_NONE;
    }
    // Neither any path, nor a name that no directory guards.
    const std::string_view path = address.substr(kIpc.size());
    const bool isPath = !path.empty() && path.size() < sizeof(sockaddr_un::sun_path) &&
                        path.front() != '*' && path.front() != '@';
    return isPath ? DXR_HOST_ADDRESS_HERE : DXR_HOST_ADDRESS_NONE;
}

// The text of a key; empty without one.
std::string KeyOf(const char *given) {
    return given != nullptr ? std::string(given) : std::string();
}

uint32_t TakeBoard(const DxrHostChassisBoard &given, ChassisPlan &plan) {
    if (given.address == nullptr || (given.unitCount != 0 && given.units == nullptr) ||
        AddressKind(given.address) == DXR_HOST_ADDRESS_NONE) {
        return EINVAL;
    }
    const auto board = static_cast<uint32_t>(plan.boards.size());
    if (std::any_of(
            plan.boards.begin(), plan.boards.end(),
            [&given](const ChassisPlan::Board &each) { return each.address == given.address; })) {
        return EINVAL;
    }
    plan.boards.push_back({given.address, KeyOf(given.publicKey)});
    for (uint32_t i = 0; i < given.unitCount; ++i) {
        const DxrHostUnit &unit = given.units[i];
        if (!IsUnit(unit) || !plan.owners.try_emplace({unit.kind, unit.number}, board).second) {
            return EINVAL;
        }
    }
    return 0;
}

// All boards have keys, or none.
uint32_t CheckKeys(const ChassisPlan &plan) {
    const size_t length = plan.secretKey.empty() ? 0 : kKeyLength;
    const bool areAlike =
        plan.secretKey.size() == length &&
        std::all_of(plan.boards.begin(), plan.boards.end(),
                    [length](const auto &board) { return board.publicKey.size() == length; });
    if (!areAlike) {
        return EINVAL;
    }
    const bool isHere = std::all_of(plan.boards.begin(), plan.boards.end(), [](const auto &board) {
        return AddressKind(board.address) == DXR_HOST_ADDRESS_HERE;
    });
    return isHere || length != 0 ? 0 : EACCES;
}

uint32_t PlanOf(const DxrHostChassisPlan &given, ChassisPlan &plan) {
    if (given.size != sizeof(DxrHostChassisPlan) || given.boards == nullptr ||
        given.boardCount > DXR_HOST_MOST_BOARDS || given.self >= given.boardCount ||
        given.incarnation > DXR_HOST_MOST_INCARNATION) {
        return EINVAL;
    }
    plan.self = given.self;
    plan.incarnation = given.incarnation;
    plan.secretKey = KeyOf(given.secretKey);
    for (uint32_t i = 0; i < given.boardCount; ++i) {
        const uint32_t result = TakeBoard(given.boards[i], plan);
        if (result != 0) {
            return result;
        }
    }
    return CheckKeys(plan);
}

}  // namespace

size_t ChassisPlan::OwnerOf(const DxrHostUnit &unit) const {
    const auto found = owners.find({unit.kind, unit.number});
    return found != owners.end() ? found->second : boards.size();
}

size_t ChassisPlan::OriginOf(uint64_t sequence) const {
    const uint64_t board = sequence >> kBoardShift;
    return board == 0 || board > boards.size() || board == self + 1 ? boards.size() : board - 1;
}

uint64_t ChassisPlan::SequenceBase() const {
    const uint64_t board = uint64_t{self} + 1;
    const uint64_t life = incarnation;
    return board << kBoardShift | life << kIncarnationShift;
}

uint32_t MessageService::Join(const ChassisPlan &plan) {
    Scheduler &scheduler = TheHost().scheduler;
    {
        const SchedulerLock lock = scheduler.Lock();
        if (chassis != nullptr) {
            return EEXIST;
        }
    }
    std::unique_ptr<ChassisTransport> made;
    const uint32_t result = MakeZmqTransport(*this, plan, made);
    if (result != 0) {
        return result;
    }
    std::unique_ptr<MessageTransport> other;  // ends without the lock
    const SchedulerLock lock = scheduler.Lock();
    if (chassis != nullptr) {
        other = std::move(made);
        return EEXIST;
    }
    other = std::move(made);
    transport.swap(other);
    lastSequence_ = plan.SequenceBase();
    chassis = static_cast<ChassisTransport *>(transport.get());
    return 0;
}

#ifndef DXR_DEVHOST_ZMQ
uint32_t MakeZmqTransport(MessageReceiver & /*receiver*/, const ChassisPlan & /*plan*/,
                          std::unique_ptr<ChassisTransport> & /*made*/) {
    return ENOTSUP;
}

uint32_t MakeZmqKeys(char * /*publicKey*/, char * /*secretKey*/) {
    return ENOTSUP;
}

uint32_t GetZmqPublicKey(const char * /*secretKey*/, char * /*publicKey*/) {
    return ENOTSUP;
}
#endif

}  // namespace devhost

using devhost::ApiCall;

uint32_t DxrHostJoinChassis(DxrHost *host, const DxrHostChassisPlan *chassis) {
    const ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    if (chassis == nullptr || !call->scheduler.clock.IsReal()) {
        return EINVAL;
    }
    try {
        devhost::ChassisPlan plan;
        const uint32_t result = devhost::PlanOf(*chassis, plan);
        return result != 0 ? result : devhost::MessageOf(*call).Join(plan);
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

uint32_t DxrHostCutOff(DxrHost *host, bool isCutOff) {
    const ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    const devhost::SchedulerLock lock = call->scheduler.Lock();
    devhost::ChassisTransport *const chassis = devhost::MessageOf(*call).chassis;
    if (chassis == nullptr) {
        return ENOENT;
    }
    chassis->CutOff(isCutOff);
    return 0;
}

void DxrHostCountChassis(DxrHost *host, DxrHostChassisCounts *counts) {
    const ApiCall call(host);
    *counts = {};
    if (call) {
        const devhost::SchedulerLock lock = call->scheduler.Lock();
        devhost::ChassisTransport *const chassis = devhost::MessageOf(*call).chassis;
        *counts = chassis != nullptr ? chassis->Counts() : DxrHostChassisCounts{};
    }
}

uint32_t DxrHostStop(DxrHost *host) {
    const ApiCall call(host);
    if (!call) {
        return ECANCELED;
    }
    if (!call->scheduler.clock.IsReal()) {
        return EINVAL;
    }
    call->scheduler.Stop("stopped");
    return 0;
}

uint32_t DxrHostGetAddressKind(const char *address) {
    return address != nullptr ? devhost::AddressKind(address) : DXR_HOST_ADDRESS_NONE;
}

uint32_t DxrHostMakeKeys(char *publicKey, char *secretKey) {
    if (publicKey == nullptr || secretKey == nullptr) {
        return EINVAL;
    }
    return devhost::MakeZmqKeys(publicKey, secretKey);
}

uint32_t DxrHostGetPublicKey(const char *secretKey, char *publicKey) {
    // A longer text would be decoded beyond the end of a key.
    if (secretKey == nullptr || publicKey == nullptr ||
        strnlen(secretKey, DXR_HOST_KEY_BYTES) != DXR_HOST_KEY_BYTES - 1) {
        return EINVAL;
    }
    return devhost::GetZmqPublicKey(secretKey, publicKey);
}
