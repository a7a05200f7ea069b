// Messages to boards of other processes, over ZeroMQ. Each board listens at a socket of its own
// (PULL) and has one for each board that it has sent something to (PUSH).
//
// Senders put letters into a list; a thread of the transport takes them from there, joins many into
// a frame, and has all sockets to itself. What cannot leave waits there until it is given up.
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <zmq.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <limits>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "clock.h"
#include "message_chassis.h"
#include "message_wire.h"

namespace devhost {
namespace {

// Frames are closed when they have grown so far; one message more may be in them.
constexpr size_t kFrameBytes = 32768;
constexpr int64_t kLargestFrame = kFrameBytes + kLargestFrameOfOne;

// Frames that ZeroMQ keeps for a board, on either side. That there is room again it says when half
// of them are gone: with many, a slow board would look like one that takes nothing.
constexpr int kFramesKept = 16;

// How long what was sent last may take at the end.
constexpr int kLingerMs = 200;

constexpr int kReconnectMs = 20;
constexpr int kMostReconnectMs = 200;

// Boards of other machines are asked for a sign of life, and are gone without one.
constexpr int kSignOfLifeMs = 1000;
constexpr int kNoSignOfLifeMs = 5000;

// Acknowledgements that wait, for all boards or for one.
constexpr size_t kMostAcknowledgements = 65536;

constexpr const char *kAuthentication = "inproc://zeromq.zap.01";
constexpr size_t kBinaryKeyBytes = 32;
using BinaryKey = std::array<uint8_t, kBinaryKeyBytes>;

class Socket {
  public:
    Socket() = default;
    Socket(void *context, int type) : socket_(zmq_socket(context, type)) {}
    ~Socket() {
        if (socket_ != nullptr) {
            (void)zmq_close(socket_);
        }
    }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;
    Socket(Socket &&other) noexcept : socket_(std::exchange(other.socket_, nullptr)) {}
    Socket &operator=(Socket &&other) noexcept {
        std::swap(socket_, other.socket_);
        return *this;
    }

    explicit operator bool() const { return socket_ != nullptr; }
    [[nodiscard]] void *Get() const { return socket_; }

    void Set(int option, int value) const {
        (void)zmq_setsockopt(socket_, option, &value, sizeof(value));
    }
    [[nodiscard]] bool SetKey(int option, const std::string &key) const {
        return zmq_setsockopt(socket_, option, key.c_str(), key.size() + 1) == 0;
    }
    [[nodiscard]] bool Can(int event) const {
        int events = 0;
        size_t size = sizeof(events);
        return zmq_getsockopt(socket_, ZMQ_EVENTS, &events, &size) == 0 && (events & event) != 0;
    }

  private:
    void *socket_ = nullptr;
};

// A part of a message of ZeroMQ.
class Part {
  public:
    Part() { (void)zmq_msg_init(&part_); }
    // To be written. Throws std::bad_alloc.
    explicit Part(size_t size) {
        if (zmq_msg_init_size(&part_, size) != 0) {
            throw std::bad_alloc();
        }
    }
    ~Part() { (void)zmq_msg_close(&part_); }
    Part(const Part &) = delete;
    Part &operator=(const Part &) = delete;
    Part(Part &&) = delete;
    Part &operator=(Part &&) = delete;

    bool Receive(const Socket &socket) {
        return zmq_msg_recv(&part_, socket.Get(), ZMQ_DONTWAIT) >= 0;
    }
    bool Send(const Socket &socket) {
        return zmq_msg_send(&part_, socket.Get(), ZMQ_DONTWAIT) >= 0;
    }
    [[nodiscard]] void *Data() { return zmq_msg_data(&part_); }
    [[nodiscard]] size_t Size() const { return zmq_msg_size(&part_); }
    [[nodiscard]] bool HasMore() const { return zmq_msg_more(&part_) != 0; }

  private:
    zmq_msg_t part_{};
};

struct Context {
    Context() : context(zmq_ctx_new()) {}
    ~Context() {
        while (context != nullptr && zmq_ctx_term(context) != 0 && errno == EINTR) {
        }
    }
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;
    Context(Context &&) = delete;
    Context &operator=(Context &&) = delete;

    void *const context;
};

class EventFd {
  public:
    EventFd() : fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~EventFd() {
        if (fd_ >= 0) {
            (void)close(fd_);
        }
    }
    EventFd(const EventFd &) = delete;
    EventFd &operator=(const EventFd &) = delete;
    EventFd(EventFd &&) = delete;
    EventFd &operator=(EventFd &&) = delete;

    [[nodiscard]] int Fd() const { return fd_; }
    void Set() const { (void)eventfd_write(fd_, 1); }
    void Clear() const {
        eventfd_t value = 0;
        (void)eventfd_read(fd_, &value);
    }

  private:
    const int fd_;
};

uint32_t Error() {
    return static_cast<uint32_t>(errno != 0 ? errno : EIO);
}

// Tells whether somebody listens at an "ipc" address: ZeroMQ would take it from him.
bool IsListenedAt(const std::string &address) {
    constexpr std::string_view kIpc = "ipc://";
    if (address.compare(0, kIpc.size(), kIpc) != 0) {
        return false;
    }
    sockaddr_un there{};
    there.sun_family = AF_UNIX;
    (void)address.copy(static_cast<char *>(there.sun_path), sizeof(there.sun_path) - 1,
                       kIpc.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool isThere =
        fd >= 0 && (connect(fd, reinterpret_cast<const sockaddr *>(&there), sizeof(there)) == 0 ||
                    errno == EAGAIN);  // many wait there already
    if (fd >= 0) {
        (void)close(fd);
    }
    return isThere;
}

// Who may connect: those with a key of the list. ZeroMQ asks by a socket.
class Doorkeeper {
  public:
    bool Begin(void *context, const ChassisPlan &plan) {
        for (const ChassisPlan::Board &board : plan.boards) {
            BinaryKey key{};
            if (zmq_z85_decode(key.data(), board.publicKey.c_str()) == nullptr) {
                return false;
            }
            keys_.insert(key);
        }
        socket_ = Socket(context, ZMQ_REP);
        return socket_ && zmq_bind(socket_.Get(), kAuthentication) == 0;
    }

    [[nodiscard]] const Socket &TheSocket() const { return socket_; }

    // Answers all that is asked: version, number, domain, address, identity, mechanism, key.
    void Answer() {
        while (socket_ && socket_.Can(ZMQ_POLLIN)) {
            std::string number;
            bool isKnown = false;
            bool hasMore = true;
            for (size_t i = 0; hasMore; ++i) {
                Part part;
                if (!part.Receive(socket_)) {
                    return;
                }
                if (i == 1) {
                    number.assign(static_cast<const char *>(part.Data()), part.Size());
                }
                BinaryKey key{};
                if (i == 6 && part.Size() == key.size()) {
                    std::memcpy(key.data(), part.Data(), key.size());
                    isKnown = keys_.contains(key);
                }
                hasMore = part.HasMore();
            }
            const std::array<std::string, 6> answer = {
                "1.0", number, isKnown ? "200" : "400", isKnown ? "OK" : "unknown key", "", ""};
            for (size_t i = 0; i < answer.size(); ++i) {
                const int more = i + 1 < answer.size() ? ZMQ_SNDMORE : 0;
                (void)zmq_send(socket_.Get(), answer[i].data(), answer[i].size(),
                               more | ZMQ_DONTWAIT);
            }
        }
    }

  private:
    Socket socket_;
    std::set<BinaryKey> keys_;
};

class ZmqTransport final : public ChassisTransport {
  public:
    ZmqTransport(MessageReceiver &receiver, const ChassisPlan &plan)
        : receiver_(receiver), plan_(plan), peers_(plan.boards.size()) {}

    ~ZmqTransport() override {
        if (thread_.joinable()) {
            {
                const std::lock_guard lock(mutex_);
                isStopping_ = true;
            }
            wake_.Set();
            thread_.join();
        }
    }
    ZmqTransport(const ZmqTransport &) = delete;
    ZmqTransport &operator=(const ZmqTransport &) = delete;
    ZmqTransport(ZmqTransport &&) = delete;
    ZmqTransport &operator=(ZmqTransport &&) = delete;

    // Once, before all others. 0, or a number of <errno.h>.
    uint32_t Begin() {
        if (context_.context == nullptr || wake_.Fd() < 0) {
            return Error();
        }
        (void)zmq_ctx_set(context_.context, ZMQ_MAX_SOCKETS, static_cast<int>(peers_.size() + 16));
        if (HasKeys() && !door_.Begin(context_.context, plan_)) {
            return EINVAL;
        }
        const uint32_t result = Listen();
        return result != 0 ? result : BeginThread();
    }

    // --- Under the scheduler's lock

    [[nodiscard]] bool Reaches(const DxrHostUnit &unit) const override {
        return receiver_.HasMailbox(unit) || IsElsewhere(plan_.OwnerOf(unit));
    }

    uint32_t Carry(Letters &letter) override {
        const DxrHostMessage &head = letter.front().head;
        if (receiver_.HasMailbox(head.to)) {
            return receiver_.Arrive(letter);
        }
        if (!IsElsewhere(plan_.OwnerOf(head.to))) {
            return ENXIO;
        }
        const std::lock_guard lock(mutex_);
        if (waiting_ >= DXR_HOST_MOST_OUTGOING_MESSAGES ||
            waitingBytes_ + head.bytes > DXR_HOST_MOST_OUTGOING_BYTES) {
            return ENOBUFS;
        }
        ++waiting_;
        waitingBytes_ += head.bytes;
        WakeUnlessAwake();
        outgoing_.splice(outgoing_.end(), letter);
        return 0;
    }

    bool Acknowledge(const DxrHostMessage &message, uint32_t result) override {
        const size_t origin = plan_.OriginOf(message.sequence);
        if (origin == plan_.boards.size()) {
            return receiver_.Acknowledged(message.sequence, result);
        }
        if ((message.flags & DXR_HOST_MESSAGE_ACK) == 0) {
            return false;
        }
        const std::lock_guard lock(mutex_);
        if (acknowledgements_.size() >= kMostAcknowledgements) {
            return false;
        }
        try {
            acknowledgements_.push_back({message.sequence, result});
        } catch (const std::bad_alloc &) {
            return false;
        }
        WakeUnlessAwake();
        return true;
    }

    void CutOff(bool isCutOff) override {
        const std::lock_guard lock(mutex_);
        isCutOff_ = isCutOff;
        WakeUnlessAwake();
    }

    DxrHostChassisCounts Counts() override {
        const std::lock_guard lock(mutex_);
        DxrHostChassisCounts counts = counts_;
        counts.waiting = waiting_;
        return counts;
    }

  private:
    using Counts_ = DxrHostChassisCounts;

    struct WaitingAcknowledgement {
        Acknowledgement what;
        uint64_t dueNs;
    };

    // A board, and what waits to get there. A letter is given up when it is due.
    struct Peer {
        Socket socket;
        Letters letters;
        std::deque<WaitingAcknowledgement> acknowledgements;
        uint64_t dueNs = kForever;  // of the earliest letter, or before that
        uint64_t tookNs = 0;        // when it took something last

        [[nodiscard]] bool IsEmpty() const { return letters.empty() && acknowledgements.empty(); }
    };

    // --- Of any thread

    [[nodiscard]] bool HasKeys() const { return !plan_.secretKey.empty(); }

    [[nodiscard]] bool IsElsewhere(size_t board) const {
        return board != plan_.self && board < plan_.boards.size();
    }

    // Under the mutex, before what it is woken for is there.
    void WakeUnlessAwake() {
        if (!isAwake_) {
            isAwake_ = true;
            wake_.Set();
        }
    }

    // --- The beginning

    uint32_t Listen() {
        listener_ = Socket(context_.context, ZMQ_PULL);
        if (!listener_) {
            return Error();
        }
        listener_.Set(ZMQ_LINGER, 0);
        listener_.Set(ZMQ_RCVHWM, kFramesKept);
        (void)zmq_setsockopt(listener_.Get(), ZMQ_MAXMSGSIZE, &kLargestFrame,
                             sizeof(kLargestFrame));
        const ChassisPlan::Board &self = plan_.boards[plan_.self];
        if (HasKeys()) {
            listener_.Set(ZMQ_CURVE_SERVER, 1);
            if (!listener_.SetKey(ZMQ_CURVE_SECRETKEY, plan_.secretKey)) {
                return EINVAL;
            }
        }
        SetAddress(listener_, self.address);
        if (IsListenedAt(self.address)) {
            return EADDRINUSE;
        }
        return zmq_bind(listener_.Get(), self.address.c_str()) == 0 ? 0 : Error();
    }

    static void SetAddress(const Socket &socket, const std::string &address) {
        socket.Set(ZMQ_IPV6, address.find('[') != std::string::npos ? 1 : 0);
        if (DxrHostGetAddressKind(address.c_str()) == DXR_HOST_ADDRESS_THERE) {
            socket.Set(ZMQ_HEARTBEAT_IVL, kSignOfLifeMs);
            socket.Set(ZMQ_HEARTBEAT_TIMEOUT, kNoSignOfLifeMs);
        }
    }

    // Signals are for the program's own threads.
    uint32_t BeginThread() {
        sigset_t all{};
        sigset_t before{};
        (void)sigfillset(&all);
        (void)pthread_sigmask(SIG_SETMASK, &all, &before);
        uint32_t result = 0;
        try {
            thread_ = std::thread([this] { Run(); });
        } catch (const std::system_error &) {
            result = EAGAIN;
        }
        (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return result;
    }

    // --- The thread

    void Run() {
        while (!isEnding_) {
            Await();
            try {
                TakeOutgoing();
                door_.Answer();
                TakeIncoming();
                for (size_t i = 0; i < peers_.size(); ++i) {
                    if (!peers_[i].IsEmpty()) {
                        GiveUp(peers_[i]);
                        Flush(i);
                    }
                }
            } catch (const std::bad_alloc &) {
                // What waits goes on waiting; what was to be read is lost.
            }
        }
    }

    void Await() {
        std::vector<zmq_pollitem_t> &items = items_;
        items.clear();
        uint64_t dueNs = kForever;
        try {
            items.push_back({nullptr, wake_.Fd(), ZMQ_POLLIN, 0});
            items.push_back({listener_.Get(), 0, ZMQ_POLLIN, 0});
            if (door_.TheSocket()) {
                items.push_back({door_.TheSocket().Get(), 0, ZMQ_POLLIN, 0});
            }
            for (const Peer &peer : peers_) {
                if (!peer.IsEmpty() && peer.socket) {
                    items.push_back({peer.socket.Get(), 0, ZMQ_POLLOUT, 0});
                }
                dueNs = std::min(dueNs, peer.dueNs);
                if (!peer.acknowledgements.empty()) {
                    dueNs = std::min(dueNs, Due(peer, peer.acknowledgements.front().dueNs));
                }
            }
        } catch (const std::bad_alloc &) {
            dueNs = 0;  // without all of them it looks again soon
        }
        const uint64_t nowNs = Clock::MachineNow();
        const uint64_t waitNs = dueNs > nowNs ? dueNs - nowNs : 0;
        const int64_t waitMs = dueNs == kForever ? -1 : static_cast<int64_t>(waitNs / kNsPerMs + 1);
        (void)zmq_poll(items.data(), static_cast<int>(items.size()), static_cast<long>(waitMs));
    }

    void TakeOutgoing() {
        Letters taken;
        std::vector<Acknowledgement> acknowledged;
        {
            const std::lock_guard lock(mutex_);
            if (isAwake_ || isStopping_) {
                wake_.Clear();
            }
            isAwake_ = false;
            isEnding_ = isStopping_;
            isCutOffNow_ = isCutOff_;
            taken.swap(outgoing_);
            acknowledged.swap(acknowledgements_);
        }
        if (isCutOffNow_) {
            DropAll(taken);
            return;
        }
        const uint64_t nowNs = Clock::MachineNow();
        while (!taken.empty()) {
            Letter &letter = taken.front();
            Peer &peer = peers_[plan_.OwnerOf(letter.head.to)];
            letter.dueNs = nowNs + PatienceFor(letter.head);
            peer.dueNs = std::min(peer.dueNs, letter.dueNs);
            peer.letters.splice(peer.letters.end(), taken, taken.begin());
        }
        for (const Acknowledgement &each : acknowledged) {
            Peer &peer = peers_[plan_.OriginOf(each.sequence)];
            if (peer.acknowledgements.size() < kMostAcknowledgements) {
                peer.acknowledgements.push_back(
                    {each, nowNs + uint64_t{DXR_HOST_PATIENCE_MS} * kNsPerMs});
            }
        }
    }

    // For as long as its sender waits for an answer a message waits, too.
    static bool IsBrief(const DxrHostMessage &head) {
        return (head.flags & DXR_HOST_MESSAGE_ACK) != 0 && head.timeoutMs != 0 &&
               head.timeoutMs < DXR_HOST_PATIENCE_MS;
    }

    static uint64_t PatienceFor(const DxrHostMessage &head) {
        return uint64_t{IsBrief(head) ? head.timeoutMs : DXR_HOST_PATIENCE_MS} * kNsPerMs;
    }

    // A board that takes what it is sent, however slowly, is there.
    static uint64_t Due(const Peer &peer, uint64_t dueNs) {
        return std::max(dueNs, peer.tookNs + uint64_t{DXR_HOST_PATIENCE_MS} * kNsPerMs);
    }

    // A board that is cut off sends nothing.
    void DropAll(Letters &taken) {
        for (Peer &peer : peers_) {
            taken.splice(taken.end(), peer.letters);
            peer.acknowledgements.clear();
            peer.dueNs = kForever;
        }
        Leave(taken, &Counts_::cutOff);
    }

    // These wait no more.
    void Leave(Letters &letters, uint64_t Counts_::*as) {
        if (letters.empty()) {
            return;
        }
        uint64_t bytes = 0;
        for (const Letter &letter : letters) {
            bytes += letter.body.size();
        }
        {
            const std::lock_guard lock(mutex_);
            waiting_ -= letters.size();
            waitingBytes_ -= bytes;
            counts_.*as += letters.size();
        }
        letters.clear();
    }

    void GiveUp(Peer &peer) {
        const uint64_t nowNs = Clock::MachineNow();
        while (!peer.acknowledgements.empty() &&
               Due(peer, peer.acknowledgements.front().dueNs) <= nowNs) {
            peer.acknowledgements.pop_front();
        }
        if (peer.dueNs > nowNs) {
            return;
        }
        Letters given;
        peer.dueNs = kForever;
        for (auto each = peer.letters.begin(); each != peer.letters.end();) {
            const auto next = std::next(each);
            const uint64_t dueNs = IsBrief(each->head) ? each->dueNs : Due(peer, each->dueNs);
            if (dueNs <= nowNs) {
                given.splice(given.end(), peer.letters, each);
            } else {
                peer.dueNs = std::min(peer.dueNs, dueNs);
            }
            each = next;
        }
        Leave(given, &Counts_::unreached);
    }

    bool Connect(size_t board) {
        Socket &socket = peers_[board].socket;
        if (socket) {
            return true;
        }
        Socket made(context_.context, ZMQ_PUSH);
        if (!made) {
            return false;
        }
        made.Set(ZMQ_LINGER, kLingerMs);
        made.Set(ZMQ_SNDHWM, kFramesKept);
        made.Set(ZMQ_IMMEDIATE, 1);  // nothing is kept for a board that is not there
        made.Set(ZMQ_RECONNECT_IVL, kReconnectMs);
        made.Set(ZMQ_RECONNECT_IVL_MAX, kMostReconnectMs);
        const ChassisPlan::Board &there = plan_.boards[board];
        if (HasKeys() && !(made.SetKey(ZMQ_CURVE_SERVERKEY, there.publicKey) &&
                           made.SetKey(ZMQ_CURVE_PUBLICKEY, plan_.boards[plan_.self].publicKey) &&
                           made.SetKey(ZMQ_CURVE_SECRETKEY, plan_.secretKey))) {
            return false;
        }
        SetAddress(made, there.address);
        if (zmq_connect(made.Get(), there.address.c_str()) != 0) {
            return false;
        }
        socket = std::move(made);
        return true;
    }

    void Flush(size_t board) {
        Peer &peer = peers_[board];
        while (!peer.IsEmpty() && Connect(board) && peer.socket.Can(ZMQ_POLLOUT)) {
            size_t size = kEmptyFrame;
            auto lastAnswer = peer.acknowledgements.begin();
            while (lastAnswer != peer.acknowledgements.end() && size < kFrameBytes) {
                size += FrameBytesOf(lastAnswer->what);
                ++lastAnswer;
            }
            auto end = peer.letters.begin();
            while (end != peer.letters.end() && size < kFrameBytes) {
                size += FrameBytesOf(*end);
                ++end;
            }
            Part frame(size);
            FrameWriter writer(frame.Data());
            for (auto each = peer.acknowledgements.begin(); each != lastAnswer; ++each) {
                writer.Add(each->what);
            }
            for (auto each = peer.letters.begin(); each != end; ++each) {
                writer.Add(*each);
            }
            if (!frame.Send(peer.socket)) {
                return;
            }
            peer.tookNs = Clock::MachineNow();
            peer.acknowledgements.erase(peer.acknowledgements.begin(), lastAnswer);
            Letters sent;
            sent.splice(sent.end(), peer.letters, peer.letters.begin(), end);
            if (peer.letters.empty()) {
                peer.dueNs = kForever;
            }
            Leave(sent, &Counts_::sent);
        }
    }

    // --- What comes in

    void TakeIncoming() {
        Letters letters;
        std::vector<Acknowledgement> acknowledgements;
        uint64_t malformed = 0;
        // Those that send much do not keep the others waiting.
        for (int i = 0; i < kFramesKept; ++i) {
            Part frame;
            if (!frame.Receive(listener_)) {
                break;
            }
            try {
                malformed +=
                    ReadFrame(frame.Data(), frame.Size(), letters, acknowledgements) ? 0 : 1;
            } catch (const std::bad_alloc &) {
                ++malformed;  // it is lost
            }
        }
        for (auto each = letters.begin(); each != letters.end();) {
            const bool isOurs = plan_.OwnerOf(each->head.to) == plan_.self &&
                                IsElsewhere(plan_.OriginOf(each->head.sequence));
            malformed += isOurs ? 0 : 1;
            each = isOurs ? std::next(each) : letters.erase(each);
        }
        if (letters.empty() && acknowledgements.empty() && malformed == 0) {
            return;
        }
        {
            const std::lock_guard lock(mutex_);
            counts_.malformed += malformed;
            if (isCutOffNow_) {
                counts_.cutOff += letters.size();
            } else {
                counts_.received += letters.size();
                counts_.acknowledged += acknowledgements.size();
            }
        }
        if (!isCutOffNow_) {
            receiver_.TakeIn(letters, acknowledgements);
        }
    }

    MessageReceiver &receiver_;
    const ChassisPlan plan_;

    std::mutex mutex_;  // guards what follows; taken after the scheduler's lock, never before it
    Letters outgoing_;
    std::vector<Acknowledgement> acknowledgements_;
    uint64_t waiting_ = 0;  // letters, here and with the peers
    uint64_t waitingBytes_ = 0;
    bool isAwake_ = false;
    bool isStopping_ = false;
    bool isCutOff_ = false;
    DxrHostChassisCounts counts_{};

    // The thread's alone, once it runs. Sockets end before their context.
    const EventFd wake_;
    Context context_;
    Doorkeeper door_;
    Socket listener_;
    std::vector<Peer> peers_;
    std::vector<zmq_pollitem_t> items_;
    bool isEnding_ = false;
    bool isCutOffNow_ = false;

    std::thread thread_;
};

}  // namespace

uint32_t MakeZmqTransport(MessageReceiver &receiver, const ChassisPlan &plan,
                          std::unique_ptr<ChassisTransport> &made) {
    auto transport = std::make_unique<ZmqTransport>(receiver, plan);
    const uint32_t result = transport->Begin();
    if (result == 0) {
        made = std::move(transport);
    }
    return result;
}

uint32_t MakeZmqKeys(char *publicKey, char *secretKey) {
    return zmq_curve_keypair(publicKey, secretKey) == 0 ? 0 : Error();
}

}  // namespace devhost
