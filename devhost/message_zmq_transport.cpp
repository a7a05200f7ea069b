// Messages to boards of other processes, over ZeroMQ. Each board listens at a socket of its own
// (PULL) and has one for each board that it has sent something to (PUSH).
//
// Senders add to the frames that wait for a board; a thread of the transport, which has all sockets
// to itself, sends them when that board takes something: one message or many, whatever is there.
// What cannot leave waits until it is given up.
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
#include "message_frames.h"
#include "message_wire.h"

namespace devhost {
namespace {

constexpr int64_t kLargestFrame = kFrameBytes;

// Smaller frames are copied for ZeroMQ, others lent.
constexpr size_t kLentBytes = 4096;

// Frames that ZeroMQ keeps for a board, on either side. That there is room again it says when half
// of them are gone: with few, the board would have to wait for this thread then; with many, much is
// on its way to a board that dies.
constexpr int kFramesKept = 32;

// How long what was sent last may take at the end.
constexpr int kLingerMs = 200;

constexpr int kReconnectMs = 20;
constexpr int kMostReconnectMs = 200;

// Boards of other machines are asked for a sign of life, and are gone without one.
constexpr int kSignOfLifeMs = 1000;
constexpr int kNoSignOfLifeMs = 5000;

// Acknowledgements that wait for a board.
constexpr size_t kMostAcknowledgements = 65536;

// Empty frames that are kept.
constexpr size_t kSpareFrames = 32;

// What a board that takes nothing is sent is looked at so often.
constexpr uint64_t kLookNs = 10 * kNsPerMs;

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
    // Lent to ZeroMQ, which calls the function when it needs it no more: here, or on a thread of
    // its own. Throws std::bad_alloc.
    Part(void *data, size_t size, void (*function)(void *data, void *user), void *user) {
        if (zmq_msg_init_data(&part_, data, size, function, user) != 0) {
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
    EventFd()
        : fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          error_(fd_ < 0 ? static_cast<uint32_t>(errno) : 0) {}
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
    // Why there is none; 0 when there is one.
    [[nodiscard]] uint32_t Error() const { return error_; }
    void Set() const { (void)eventfd_write(fd_, 1); }
    void Clear() const {
        eventfd_t value = 0;
        (void)eventfd_read(fd_, &value);
    }

  private:
    const int fd_;
    const uint32_t error_;
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
        : receiver_(receiver),
          plan_(plan),
          tookNs_(plan.boards.size()),
          peers_(plan.boards.size()) {
        listed_.reserve(peers_.size());
        turn_.reserve(peers_.size());
    }

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
        if (context_.context == nullptr) {
            return Error();
        }
        if (wake_.Error() != 0) {
            return wake_.Error();
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
        DxrHostMessage message = letter.front().head;
        if (receiver_.HasMailbox(message.to)) {
            return receiver_.Arrive(letter);
        }
        const size_t board = plan_.OwnerOf(message.to);
        if (!IsElsewhere(board)) {
            return ENXIO;
        }
        message.data = letter.front().body.data();
        Frames none;
        uint32_t result = ENOMEM;
        try {
            result = Ship(board, message, none);
        } catch (const std::bad_alloc &) {
            return ENOMEM;
        }
        if (result == 0) {
            letter.clear();
        }
        return result;
    }

    [[nodiscard]] size_t BoardOf(const DxrHostUnit &unit) const override {
        const size_t board = receiver_.HasMailbox(unit) ? kNoBoard : plan_.OwnerOf(unit);
        return IsElsewhere(board) ? board : kNoBoard;
    }

    uint32_t Ship(size_t board, const DxrHostMessage &message, Frames &alone) override {
        const std::lock_guard lock(mutex_);
        if (waiting_ >= DXR_HOST_MOST_OUTGOING_MESSAGES ||
            waitingBytes_ + message.bytes > DXR_HOST_MOST_OUTGOING_BYTES) {
            return ENOBUFS;
        }
        Peer &peer = peers_[board];
        if (alone.empty()) {
            peer.messages.Add(message, spare_);
        } else {
            peer.messages.Add(alone);
        }
        ++waiting_;
        waitingBytes_ += message.bytes;
        // It is late for one who waits briefly until the thread has seen it.
        TellOf(board, PatienceFor(message.flags, message.timeoutMs) < kPatienceNs);
        return 0;
    }

    void TakeSpare(Frames &to) override {
        const std::lock_guard lock(mutex_);
        if (!spare_.empty()) {
            to.splice(to.end(), spare_, spare_.begin());
        }
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
        FrameQueue &answers = peers_[origin].answers;
        if (answers.Count() >= kMostAcknowledgements) {
            return false;
        }
        try {
            answers.Add(Acknowledgement{message.sequence, result}, spare_);
        } catch (const std::bad_alloc &) {
            return false;
        }
        TellOf(origin, false);
        return true;
    }

    void CutOff(bool isCutOff) override {
        const std::lock_guard lock(mutex_);
        isCutOff_ = isCutOff;
        Wake();
    }

    DxrHostChassisCounts Counts() override {
        const std::lock_guard lock(mutex_);
        DxrHostChassisCounts counts = counts_;
        counts.waiting = waiting_;
        return counts;
    }

  private:
    using Counts_ = DxrHostChassisCounts;

    // A board, and what waits to get there.
    struct Peer {
        // The thread's alone.
        Socket socket;
        bool isStuck = false;  // what waits cannot leave

        // Under the mutex.
        FrameQueue messages;
        FrameQueue answers;      // acknowledgements; they go first
        bool isListed = false;   // in `listed_`
        bool takesNone = false;  // the thread waits until it does

        [[nodiscard]] bool IsEmpty() const { return messages.IsEmpty() && answers.IsEmpty(); }
    };

    // --- Of any thread

    [[nodiscard]] bool HasKeys() const { return !plan_.secretKey.empty(); }

    [[nodiscard]] bool IsElsewhere(size_t board) const {
        return board != plan_.self && board < plan_.boards.size();
    }

    // The rest under the mutex.

    void Wake() {
        hasNews_ = true;
        if (!isAwake_) {
            isAwake_ = true;
            wake_.Set();
        }
    }

    // Something waits for the board.
    void TellOf(size_t board, bool isUrgent) {
        Peer &peer = peers_[board];
        if (!peer.isListed) {
            peer.isListed = true;
            listed_.push_back(board);  // there is room for all of them
        }
        if (isUrgent || !peer.takesNone) {
            Wake();
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
        bool isLast = false;
        bool isBusy = false;
        while (!isLast) {
            if (!isBusy) {
                Await();
            }
            isLast = BeginTurn();
            isBusy = false;
            try {
                door_.Answer();
                isBusy = TakeIncoming();
                for (const size_t board : turn_) {
                    Flush(board);
                }
            } catch (const std::bad_alloc &) {
                // What waits goes on waiting; what was to be read is lost.
            }
            isBusy = EndTurn(isBusy);
        }
    }

    void Await() {
        std::vector<zmq_pollitem_t> &items = items_;
        items.clear();
        uint64_t dueNs = dueNs_;
        try {
            items.push_back({nullptr, wake_.Fd(), ZMQ_POLLIN, 0});
            items.push_back({listener_.Get(), 0, ZMQ_POLLIN, 0});
            if (door_.TheSocket()) {
                items.push_back({door_.TheSocket().Get(), 0, ZMQ_POLLIN, 0});
            }
            for (const size_t board : turn_) {
                if (peers_[board].isStuck && peers_[board].socket) {
                    items.push_back({peers_[board].socket.Get(), 0, ZMQ_POLLOUT, 0});
                }
            }
        } catch (const std::bad_alloc &) {
            dueNs = 0;  // without all of them it looks again soon
        }
        const uint64_t nowNs = Clock::MachineNow();
        const uint64_t waitNs = dueNs > nowNs ? dueNs - nowNs : 0;
        const int64_t waitMs = dueNs == kForever ? -1 : static_cast<int64_t>(waitNs / kNsPerMs + 1);
        (void)zmq_poll(items.data(), static_cast<int>(items.size()), static_cast<long>(waitMs));
        const std::lock_guard lock(mutex_);
        if (isAwake_) {
            wake_.Clear();
        }
        isAwake_ = true;
    }

    // Tells whether it is the last one.
    bool BeginTurn() {
        const std::lock_guard lock(mutex_);
        hasNews_ = false;
        isCutOffNow_ = isCutOff_;
        turn_.assign(listed_.begin(), listed_.end());
        return isStopping_;
    }

    // Looks at what has not left. Tells whether the next turn begins at once.
    bool EndTurn(bool isBusy) {
        Frames gone;  // it ends without the lock
        const std::lock_guard lock(mutex_);
        const uint64_t nowNs = listed_.empty() ? 0 : Clock::MachineNow();
        dueNs_ = kForever;
        auto kept = listed_.begin();
        for (const size_t board : listed_) {
            Peer &peer = peers_[board];
            LookAt(board, nowNs, gone);
            if (peer.IsEmpty()) {
                peer.isListed = false;
            } else {
                *kept++ = board;
                isBusy = isBusy || !peer.isStuck;
            }
            peer.takesNone = peer.isStuck && !peer.IsEmpty();
        }
        listed_.erase(kept, listed_.end());
        turn_.assign(listed_.begin(), listed_.end());
        isAwake_ = isBusy || hasNews_;
        return isAwake_;
    }

    // Gives up what has waited for too long; everything when the board sends nothing. Under the
    // mutex.
    void LookAt(size_t board, uint64_t nowNs, Frames &gone) {
        Peer &peer = peers_[board];
        FrameQueue::Given given;
        FrameQueue::Given answers;
        if (isCutOffNow_) {
            Frames all;
            peer.messages.TakeAll(all);
            for (const Frame &frame : all) {
                given.count += frame.count;
                given.dataBytes += frame.dataBytes;
            }
            peer.answers.TakeAll(all);
            gone.splice(gone.end(), all);
        }
        uint64_t dueNs = nowNs + kLookNs;
        try {
            peer.messages.Look(nowNs, tookNs_[board], given, gone);
            peer.answers.Look(nowNs, tookNs_[board], answers, gone);
            dueNs = std::min({dueNs, peer.messages.DueNs(), peer.answers.DueNs()});
        } catch (const std::bad_alloc &) {
            // It looks again.
        }
        if (!peer.IsEmpty()) {
            dueNs_ = std::min(dueNs_, dueNs);
        }
        waiting_ -= given.count;
        waitingBytes_ -= given.dataBytes;
        (isCutOffNow_ ? counts_.cutOff : counts_.unreached) += given.count;
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

    // Sends what waits for a board as far as that takes it. The others do not wait for one that is
    // sent much.
    void Flush(size_t board) {
        Peer &peer = peers_[board];
        Frames leaving;
        for (int i = 0; i < kFramesKept; ++i) {
            peer.isStuck = isCutOffNow_ || !Connect(board) || !peer.socket.Can(ZMQ_POLLOUT);
            bool isAnswer = false;
            {
                const std::lock_guard lock(mutex_);
                if (peer.isStuck || peer.IsEmpty()) {
                    return;
                }
                isAnswer = !peer.answers.IsEmpty();
                (isAnswer ? peer.answers : peer.messages).TakeFirst(leaving);
            }
            const FrameQueue::Given given = {leaving.front().count, leaving.front().dataBytes};
            leaving.front().board = board;
            peer.isStuck = !Send(leaving, peer.socket);
            const uint64_t nowNs = Clock::MachineNow();
            const std::lock_guard lock(mutex_);
            if (peer.isStuck) {
                (isAnswer ? peer.answers : peer.messages).PutBack(leaving);
                return;
            }
            tookNs_[board] = nowNs;
            if (!isAnswer) {
                waiting_ -= given.count;
                waitingBytes_ -= given.dataBytes;
                counts_.sent += given.count;
            }
        }
    }

    // Sends the one frame of the list, which is empty afterwards; false leaves it there.
    bool Send(Frames &frame, const Socket &socket) {
        void *const data = frame.front().data.get();
        const size_t size = frame.front().size;
        try {
            if (size < kLentBytes) {
                Part part(size);
                std::memcpy(part.Data(), data, size);
                const bool isSent = part.Send(socket);
                if (isSent) {
                    Keep(frame);
                }
                return isSent;
            }
            Part part(data, size, TakeBack, this);
            {
                const std::lock_guard lock(mutex_);
                lent_.splice(lent_.end(), frame);
            }
            if (part.Send(socket)) {
                return true;
            }
            FindLent(data, frame);
        } catch (const std::bad_alloc &) {
            // It waits.
        }
        return false;
    }

    void FindLent(const void *data, Frames &to) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(lent_.begin(), lent_.end(), [data](const Frame &frame) {
            return frame.data.get() == data;
        });
        if (found != lent_.end()) {
            to.splice(to.end(), lent_, found);
        }
    }

    static void TakeBack(void *data, void *given) {
        auto *const self = static_cast<ZmqTransport *>(given);
        Frames frame;
        self->FindLent(data, frame);
        if (!frame.empty()) {
            // It was sent: a board that takes what it is sent, however slowly, is there.
            self->HasTaken(frame.front().board);
            self->Keep(frame);
        }
    }

    void HasTaken(size_t board) {
        const uint64_t nowNs = Clock::MachineNow();
        const std::lock_guard lock(mutex_);
        tookNs_[board] = nowNs;
    }

    // Keeps the one frame of the list as a spare one, or ends it.
    void Keep(Frames &frame) {
        Renew(frame.front());
        {
            const std::lock_guard lock(mutex_);
            if (spare_.size() < kSpareFrames) {
                spare_.splice(spare_.begin(), frame);
            }
        }
        frame.clear();
    }

    // --- What comes in

    // Tells whether there may be more.
    bool TakeIncoming() {
        Incoming incoming;
        incoming.spare.swap(spareLetters_);
        int frames = 0;
        // Those that send much do not keep the others waiting.
        for (; frames < kFramesKept; ++frames) {
            Part frame;
            if (!frame.Receive(listener_)) {
                break;
            }
            try {
                ReadFrame(frame.Data(), frame.Size(), plan_, incoming);
            } catch (const std::bad_alloc &) {
                ++incoming.malformed;  // it is lost
            }
        }
        spareLetters_.swap(incoming.spare);
        if (frames == 0) {
            return false;
        }
        {
            const std::lock_guard lock(mutex_);
            counts_.malformed += incoming.malformed;
            if (isCutOffNow_) {
                counts_.cutOff += incoming.messages;
            } else {
                counts_.received += incoming.messages;
                counts_.acknowledged += incoming.acknowledgements.size();
            }
        }
        if (!isCutOffNow_) {
            receiver_.TakeIn(incoming.letters, incoming.acknowledgements, spareLetters_);
        }
        return frames == kFramesKept;
    }

    MessageReceiver &receiver_;
    const ChassisPlan plan_;

    std::mutex mutex_;  // guards what follows; taken after the scheduler's lock, never before it
    std::vector<size_t> listed_;    // boards that something waits for
    Frames spare_;                  // empty frames, for the next ones
    Frames lent_;                   // frames that ZeroMQ has
    std::vector<uint64_t> tookNs_;  // when a board took something last
    uint64_t waiting_ = 0;          // messages
    uint64_t waitingBytes_ = 0;     // of their data
    bool hasNews_ = false;          // since the thread began its turn
    bool isAwake_ = false;          // the thread, or it is being woken
    bool isStopping_ = false;
    bool isCutOff_ = false;
    DxrHostChassisCounts counts_{};

    // The thread's alone, once it runs. Sockets end before their context.
    const EventFd wake_;
    Context context_;
    Doorkeeper door_;
    Socket listener_;
    std::vector<Peer> peers_;
    std::vector<size_t> turn_;  // boards that are listed in this turn
    Letters spareLetters_;
    std::vector<zmq_pollitem_t> items_;
    uint64_t dueNs_ = kForever;  // when the next turn begins at the latest
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

uint32_t GetZmqPublicKey(const char *secretKey, char *publicKey) {
    return zmq_curve_public(publicKey, secretKey) == 0 ? 0 : Error();
}

}  // namespace devhost
