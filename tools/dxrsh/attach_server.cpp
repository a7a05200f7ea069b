#include "attach_server.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <exception>
#include <list>
#include <mutex>
#include <new>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "attach_wire.h"
#include "errors.h"
#include "local_socket.h"
#include "run_report.h"
#include "say.h"
#include "shell_commands.h"
#include "shell_words.h"

namespace dxrsh {
namespace {

constexpr size_t kMostAttached = 8;
constexpr int kWaiting = 16;
constexpr size_t kMostReports = 100;  // that an answer tells of
constexpr int kRestMs = 100;          // after a connection that could not be taken
constexpr auto kPatience = std::chrono::seconds(1);

// Does lines on the host, and says how that went.
class Answerer {
  public:
    explicit Answerer(const PokedHost &poked)
        : host_(poked.host), session_(poked, [this](const std::string &text) { Print(text); }) {}

    std::string AnswerTo(std::string_view line) {
        answer_.clear();
        const uint32_t reports = DxrHostGetReportCount(host_);
        std::string last(wire::kDone);
        const auto fail = [&last](const char *why) {
            last = std::string(wire::kError) + Printable(why, std::string::npos);
        };
        try {
            const std::vector<std::string> words = WordsOf(line);
            if (!words.empty()) {
                Do(RequireShellCommand(words[0], HostOf::kOther), session_, words);
            }
        } catch (const std::bad_alloc &) {
            fail("not enough memory");
        } catch (const std::exception &error) {
            fail(error.what());
        }
        TellReports(reports);
        return std::move(answer_) + last + "\n";
    }

  private:
    void Print(const std::string &text) {
        if (answer_.size() + text.size() > wire::kLongestAnswer) {
            throw RunError(fmt::format("it prints more than {} bytes", wire::kLongestAnswer));
        }
        answer_ += wire::Marked(wire::kPrinted, text);
    }

    // What has been found since there were so many.
    void TellReports(uint32_t before) {
        const uint32_t count = DxrHostGetReportCount(host_);
        for (uint32_t i = before; i < count && i - before < kMostReports; ++i) {
            DxrHostReport found{};
            if (DxrHostGetReport(host_, i, &found)) {
                answer_ += wire::Marked(wire::kSaid, "host: " + ReportLine(found));
            }
        }
    }

    DxrHost *host_;
    std::string answer_;
    Session session_;
};

// One who is attached.
struct Client {
    Descriptor connection;
    std::string asked;
    std::string answer;   // what he has not been sent of it
    bool isEof = false;   // he asks nothing more
    bool isOver = false;  // the connection ends with the answer

    [[nodiscard]] bool HasLine() const { return asked.find('\n') != std::string::npos; }

    // Sends what can be sent. False when he is gone.
    bool Send() {
        const ssize_t bytes =
            send(connection.Get(), answer.data(), answer.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (bytes > 0) {
            answer.erase(0, static_cast<size_t>(bytes));
        }
        return bytes >= 0 || errno == EAGAIN || errno == EINTR;
    }

    // Receives what is there. False when he is gone.
    bool Receive() {
        std::array<char, 4096> part{};
        const ssize_t bytes = recv(connection.Get(), part.data(), part.size(), MSG_DONTWAIT);
        if (bytes > 0) {
            asked.append(part.data(), static_cast<size_t>(bytes));
        }
        isEof = bytes == 0;
        return bytes >= 0 || errno == EAGAIN || errno == EINTR;
    }
};

}  // namespace

// Lives as long as its thread, which may outlive the server when a line does not come back.
class AttachServer::Thread {
  public:
    Thread(const std::string &path, const PokedHost &poked)
        : listener_(path, kWaiting), wake_(eventfd(0, EFD_CLOEXEC)), answerer_(poked) {
        if (!wake_) {
            throw RunError(path + ": " + std::generic_category().message(errno));
        }
    }

    // Of a thread of its own, which keeps the object.
    static void Run(const std::shared_ptr<Thread> &self) {
        try {
            self->Serve();
        } catch (const std::exception &) {
            self->clients_.clear();  // without memory nobody is attached, and the host goes on
        }
        const std::lock_guard lock(self->mutex_);
        self->isDone_ = true;
        self->done_.notify_all();
    }

    bool End() {
        if (process_ != getpid()) {
            return true;  // its thread, whose lock and whose wake-up these are, is the parent's
        }
        listener_.Remove();
        std::unique_lock lock(mutex_);
        isOver_ = true;
        const uint64_t one = 1;
        const ssize_t written = write(wake_.Get(), &one, sizeof(one));
        (void)written;  // it has been woken already
        return done_.wait_for(lock, kPatience, [this] { return isDone_; });
    }

    void RemoveAtEnd() const { listener_.RemoveAtEnd(); }

  private:
    [[nodiscard]] bool IsOver() {
        const std::lock_guard lock(mutex_);
        return isOver_;
    }

    void Serve() {
        while (!IsOver()) {
            Await();
            if (IsOver()) {
                break;
            }
            clients_.remove_if([this](Client &client) { return !Stays(client); });
            Accept();
        }
        for (Client &client : clients_) {
            client.answer += fmt::format("{}{}\n", wire::kEnd, wire::kHostEnded);
            (void)client.Send();
        }
        clients_.clear();
    }

    void Await() {
        std::vector<pollfd> watched = {{wake_.Get(), POLLIN, 0}};
        if (!isResting_) {
            watched.push_back({listener_.Fd(), POLLIN, 0});
        }
        int ms = isResting_ ? kRestMs : -1;
        for (const Client &client : clients_) {
            const bool isFull = !client.answer.empty();
            ms = !isFull && (client.HasLine() || client.isEof) ? 0 : ms;
            const short events = isFull ? POLLOUT : POLLIN;
            watched.push_back({client.connection.Get(), events, 0});
        }
        (void)poll(watched.data(), watched.size(), ms);
        isResting_ = false;
    }

    // Does what can be done for one of them: one line at most, so that each gets his turn.
    bool Stays(Client &client) {
        if (!client.answer.empty()) {
            return client.Send() && !(client.isOver && client.answer.empty());
        }
        if (!client.HasLine() && !client.isEof && !client.Receive()) {
            return false;
        }
        const size_t end = client.asked.find('\n');
        if (std::min(end, client.asked.size()) >= wire::kLongestLine) {
            client.answer =
                fmt::format("{}a line has less than {} bytes\n", wire::kEnd, wire::kLongestLine);
            client.isOver = true;
        } else if (end != std::string::npos) {
            client.answer = answerer_.AnswerTo(std::string_view(client.asked).substr(0, end));
            client.asked.erase(0, end + 1);
        } else {
            return !client.isEof;
        }
        return client.Send() && !(client.isOver && client.answer.empty());
    }

    void Accept() {
        for (;;) {
            Descriptor connection(
                accept4(listener_.Fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
            if (!connection) {
                // Too many descriptors, say: others may go.
                isResting_ = errno != EAGAIN && errno != EINTR && errno != ECONNABORTED;
                return;
            }
            Client client;
            client.connection = std::move(connection);
            client.answer = std::string(wire::kGreeting) + "\n";
            if (clients_.size() == kMostAttached) {
                client.answer +=
                    fmt::format("{}{} are attached already\n", wire::kEnd, kMostAttached);
                (void)client.Send();
            } else if (client.Send()) {
                clients_.push_back(std::move(client));
            }
        }
    }

    const pid_t process_ = getpid();
    const LocalListener listener_;
    const Descriptor wake_;
    Answerer answerer_;
    std::list<Client> clients_;
    bool isResting_ = false;

    std::mutex mutex_;  // guards what follows
    std::condition_variable done_;
    bool isOver_ = false;
    bool isDone_ = false;
};

AttachServer::AttachServer(const std::string &path, const PokedHost &poked)
    : thread_(std::make_shared<Thread>(path, poked)) {
    // Signals are for the module's threads.
    sigset_t all{};
    sigset_t before{};
    (void)sigfillset(&all);
    (void)pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread([thread = thread_] { Thread::Run(thread); }).detach();
    } catch (const std::system_error &error) {
        (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw RunError(path + ": " + error.what());
    }
    (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

AttachServer::~AttachServer() {
    (void)End();
}

void AttachServer::RemoveAtEnd() {
    thread_->RemoveAtEnd();
}

bool AttachServer::End() {
    return thread_->End();
}

}  // namespace dxrsh
