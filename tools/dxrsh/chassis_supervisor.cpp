#include "chassis_supervisor.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <limits>
#include <list>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "chassis_descriptors.h"
#include "chassis_file.h"
#include "chassis_guard.h"
#include "chassis_keys.h"
#include "chassis_log.h"
#include "chassis_place.h"
#include "chassis_process.h"
#include "chassis_status.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "file_io.h"
#include "filter_tree.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr uint64_t kNever = std::numeric_limits<uint64_t>::max();
constexpr uint64_t kMsPerSec = 1000;
constexpr uint64_t kNsPerMs = 1000000;
constexpr uint64_t kNsPerSec = kMsPerSec * kNsPerMs;

// A board that lived so long begins with the shortest pause again.
constexpr uint64_t kLongLifeMs = 2000;
constexpr uint32_t kMostDoublings = 16;

// Of those who ask: how many at a time, how long, how much.
constexpr size_t kMostClients = 32;
constexpr uint64_t kClientMs = 2000;
constexpr size_t kLongestCommand = 128;

// How long boards that do not begin are waited for.
constexpr uint64_t kBeginningMs = 60000;

// A board that should have ended, or said something, and has used this share of the time is slow,
// as all are on a machine with much to do: it gets the same time again. At most so often, and until
// it has used so many times that time: it is in a loop then.
constexpr uint64_t kShareOfWork = 200;
constexpr uint32_t kMostExtensions = 60;
constexpr uint64_t kMostWork = 4;

constexpr int kExitNoProgram = 127;

// Of a line of a log that is told.
constexpr size_t kLongestWords = 200;

// Why standard output could not be written; 0 when it could. Boards run on all the same.
int g_outputError = 0;

template <typename... Args>
void SayNow(fmt::format_string<Args...> format, Args &&...args) {
    Say(stdout, format, std::forward<Args>(args)...);
    if (std::fflush(stdout) != 0 && g_outputError == 0) {
        g_outputError = errno;
    }
}

uint64_t NowMs() {
    timespec now{};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * kMsPerSec +
           static_cast<uint64_t>(now.tv_nsec) / kNsPerMs;
}

// Processor time of all threads of a process; 0 when there is none.
uint64_t WorkNs(pid_t pid) {
    clockid_t clock{};
    timespec used{};
    const bool isKnown =
        pid != 0 && clock_getcpuclockid(pid, &clock) == 0 && clock_gettime(clock, &used) == 0;
    return isKnown ? static_cast<uint64_t>(used.tv_sec) * kNsPerSec +
                         static_cast<uint64_t>(used.tv_nsec)
                   : 0;
}

enum class State : uint8_t {
    kElsewhere,  // another machine's
    kStarting,   // no beat yet
    kRunning,
    kPaused,
    kWaiting,  // to be started again
    kDone,     // its module had no more to do
    kFailed,   // it cannot be run
    kStopped,
};

const char *NameOf(State state) {
    constexpr std::array<const char *, 8> kNames = {"elsewhere", "starting", "running", "paused",
                                                    "waiting",   "done",     "failed",  "stopped"};
    return kNames[static_cast<size_t>(state)];
}

struct Board {
    const ChassisBoard *given = nullptr;
    BoardProcess process;
    LogPlace start;  // in its log
    State state = State::kElsewhere;
    bool isCutOff = false;
    uint64_t startedMs = 0;
    uint64_t dueMs = kNever;  // when it is started again, or killed because it does not stop
    uint64_t starts = 0;
    uint64_t deaths = 0;
    uint32_t quickDeaths = 0;  // one after the other
    bool hasBeat = false;
    uint64_t beatMs = 0;
    bool hasToldOfLog = false;
    ChassisBeat beat{};
    uint64_t awaitedMs = 0;  // since when it is waited for a beat
    uint64_t workNs = 0;     // what it had used when that began, or the wait for its end
    uint64_t lastWorkNs = 0;
    uint32_t extensions = 0;

    [[nodiscard]] bool Runs() const { return process.pid != 0; }
};

// One who has asked something, until he has his answer.
struct Client {
    Descriptor connection;
    std::string asked;
    std::string answer;
    uint64_t dueMs = kNever;
    bool waitsForEnd = false;
};

// Signals as something to read. The boards get none of them.
class Signals {
  public:
    Signals() {
        sigset_t caught{};
        (void)sigemptyset(&caught);
        for (const int each : {SIGCHLD, SIGINT, SIGTERM, SIGHUP}) {
            // With nohup, and in the background of a script, it goes on.
            struct sigaction found {};
            const bool mayStay = each == SIGINT || each == SIGHUP;
            if (!mayStay || sigaction(each, nullptr, &found) != 0 || found.sa_handler != SIG_IGN) {
                (void)sigaddset(&caught, each);
            }
        }
        (void)std::signal(SIGCHLD, SIG_DFL);  // ignored, it would hide the end of boards
        (void)pthread_sigmask(SIG_BLOCK, &caught, &before_);
        fd_ = Descriptor(signalfd(-1, &caught, SFD_CLOEXEC | SFD_NONBLOCK));
    }
    ~Signals() { (void)pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;
    Signals(Signals &&) = delete;
    Signals &operator=(Signals &&) = delete;

    [[nodiscard]] int Fd() const { return fd_.Get(); }

    // Tells whether one of those came that end the program.
    [[nodiscard]] bool Read() const {
        bool isEnd = false;
        signalfd_siginfo found{};
        while (read(fd_.Get(), &found, sizeof(found)) == sizeof(found)) {
            isEnd = isEnd || found.ssi_signo != SIGCHLD;
        }
        return isEnd;
    }

  private:
    sigset_t before_{};
    Descriptor fd_;
};

class Supervisor {
  public:
    Supervisor(const SupervisorOptions &options, Descriptor file, const Chassis &chassis,
               uint64_t descriptors)
        : options_(options),
          chassis_(chassis),
          descriptors_(descriptors),
          file_(std::move(file)),
          place_(std::in_place, chassis.name),
          beganMs_(NowMs()) {
        // Another one than that of the chassis that ran here before.
        uint16_t random = 0;
        const bool isRandom = getrandom(&random, sizeof(random), GRND_NONBLOCK) == sizeof(random);
        firstLife_ = isRandom ? random : beganMs_;
        for (const ChassisBoard &each : chassis.boards) {
            Board &board = boards_.emplace_back();
            board.given = &each;
            if (each.machine == options.machine) {
                MakeWork(each.name);
                board.state = State::kWaiting;
                board.dueMs = 0;
            }
        }
    }
    // Whatever ends it, no board stays.
    ~Supervisor() {
        for (Board &board : boards_) {
            if (board.Runs()) {
                (void)kill(-board.process.pid, SIGKILL);
                guard_.End(board.process.pid);
                (void)waitpid(board.process.pid, nullptr, 0);
            }
        }
    }
    Supervisor(const Supervisor &) = delete;
    Supervisor &operator=(const Supervisor &) = delete;
    Supervisor(Supervisor &&) = delete;
    Supervisor &operator=(Supervisor &&) = delete;

    int Run() {
        while (!IsOver()) {
            Await();
            if (signals_.Read()) {
                BeginStop();
            }
            Reap();
            for (Board &board : boards_) {
                TakeBeats(board);
                Attend(board);
            }
            if (!hasBegun_ && options_.seconds != 0 &&
                (HaveBegun() || NowMs() - beganMs_ > kBeginningMs)) {
                hasBegun_ = true;
                endMs_ = NowMs() + options_.seconds * kMsPerSec;
            }
            if (NowMs() >= endMs_) {
                endMs_ = kNever;
                TellStatus();
                BeginStop();
            }
            Serve();
        }
        place_.reset();  // who hears that it has stopped may start it again
        for (Client &client : clients_) {
            if (client.waitsForEnd) {
                client.answer = isWell_ ? "ok\n" : "error: a board did not end well\n";
                (void)Send(client);
            }
        }
        return isWell_ ? 0 : kExitFailure;
    }

  private:
    // --- Boards

    void MakeWork(const std::string &name) const {
        std::error_code error;
        const std::string path = chassis_.work + "/" + name;
        std::filesystem::create_directories(path, error);
        if (error) {
            throw RunError(path + ": " + error.message());
        }
    }

    template <typename... Args>
    void Tell(const Board &board, fmt::format_string<Args...> format, Args &&...args) const {
        SayNow("{}: {}\n", board.given->name, fmt::format(format, std::forward<Args>(args)...));
    }

    void Start(Board &board) {
        const std::string &name = board.given->name;
        const uint64_t life = (firstLife_ + board.starts) % (DXR_HOST_MOST_INCARNATION + 1);
        ++board.starts;
        board.startedMs = NowMs();
        board.beatMs = board.startedMs;
        BeginToWait(board, board.startedMs);
        board.hasBeat = false;
        board.beat = {};
        board.dueMs = kNever;
        try {
            const Descriptor log = OpenLog(Work(board), chassis_.log);
            board.start = PlaceIn(log);
            board.process =
                StartBoard({"dxrsh", "chassis-board", ":" + options_.file, ":" + options_.modules,
                            ":" + chassis_.work, ":" + name, ":" + std::to_string(life),
                            board.isCutOff ? ":cut" : ":on"},
                           file_.Get(), log, descriptors_, guard_);
            board.state = State::kStarting;
        } catch (const RunError &error) {
            Tell(board, "not started: {}", error.what());
            PutOff(board);
        }
    }

    static void BeginToWait(Board &board, uint64_t nowMs) {
        board.awaitedMs = nowMs;
        board.workNs = board.lastWorkNs = WorkNs(board.process.pid);
        board.extensions = 0;
    }

    // Tells whether it is waited for once more, since it is at work.
    static bool WaitsOn(Board &board, uint64_t waitedMs) {
        const uint64_t workNs = WorkNs(board.process.pid);
        const bool isAtWork = workNs - board.lastWorkNs >= waitedMs * kNsPerMs / kShareOfWork;
        const bool isInLoop = workNs - board.workNs >= waitedMs * kNsPerMs * kMostWork;
        board.lastWorkNs = workNs;
        return isAtWork && !isInLoop && board.extensions++ < kMostExtensions;
    }

    // Each time that it dies soon it waits twice as long.
    void PutOff(Board &board) {
        const uint64_t nowMs = NowMs();
        board.quickDeaths = nowMs - board.startedMs < kLongLifeMs
                                ? std::min(board.quickDeaths + 1, kMostDoublings)
                                : 1;
        const uint64_t pauseMs = std::min<uint64_t>(
            uint64_t{chassis_.restartMs} << (board.quickDeaths - 1), chassis_.mostRestartMs);
        board.state = State::kWaiting;
        board.dueMs = nowMs + pauseMs;
        Tell(board, "is started again in {} ms", pauseMs);
    }

    // Those that ended, with all that they had started.
    void Reap() {
        for (;;) {
            siginfo_t ended{};
            if (waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid == 0) {
                return;
            }
            const pid_t pid = ended.si_pid;
            (void)kill(-pid, SIGKILL);
            guard_.End(pid);
            int status = 0;
            (void)waitpid(pid, &status, 0);
            const auto board =
                std::find_if(boards_.begin(), boards_.end(),
                             [pid](const Board &each) { return each.process.pid == pid; });
            if (board != boards_.end()) {
                TakeBeats(*board);
                Ended(*board, status);
            }
        }
    }

    void Ended(Board &board, int status) {
        board.process = {};
        board.dueMs = kNever;
        // What most deaths leave.
        (void)unlink(BoardControl(chassis_.name, board.given->name).c_str());
        TidyLog(Work(board));
        const bool hasExited = WIFEXITED(status);
        const int code = hasExited ? WEXITSTATUS(status) : 0;
        if (hasExited && (code == 0 || code == kExitLeftBehind)) {
            board.state = isStopping_ ? State::kStopped : State::kDone;
            isWell_ = isWell_ && code == 0;
            Tell(board, "{}",
                 code == 0 ? "ended" : "ended, and left something behind: " + LogAndWords(board));
            return;
        }
        ++board.deaths;
        if (isStopping_) {
            board.state = State::kStopped;
            isWell_ = false;
        }
        if (!hasExited) {
            Tell(board, "died by signal {}: {}", WTERMSIG(status), LogAndWords(board));
        } else if (code == kExitReset) {
            Tell(board, "was reset: {}", LogAndWords(board));
        } else if (code == kExitUsage || code == kExitNoProgram) {
            board.state = isStopping_ ? State::kStopped : State::kFailed;
            isWell_ = false;
            Tell(board, "cannot be run: {}", LogAndWords(board));
            return;
        } else {
            Tell(board, "ended with {}: {}", code, LogAndWords(board));
        }
        if (!isStopping_) {
            PutOff(board);
        }
    }

    [[nodiscard]] std::string Work(const Board &board) const {
        return chassis_.work + "/" + board.given->name;
    }
    // Its log with its last line, which often says why.
    [[nodiscard]] std::string LogAndWords(const Board &board) const {
        const LastWords last = LastWordsSince(board.start, Work(board));
        return last.path + ": " +
               (last.line.empty() ? "nothing in it since the start"
                                  : Printable(last.line, kLongestWords));
    }

    void TakeBeats(Board &board) const {
        ChassisBeat beat{};
        while (board.Runs() && recv(board.process.control.Get(), &beat, sizeof(beat),
                                    MSG_DONTWAIT) == sizeof(beat)) {
            board.beat = beat;
            board.beatMs = NowMs();
            if (!isStopping_) {
                BeginToWait(board, board.beatMs);
            }
            board.hasBeat = true;
            if (beat.logError != 0 && !board.hasToldOfLog) {
                board.hasToldOfLog = true;
                const std::string why =
                    beat.logError != kNoLongerKnown
                        ? ": " + std::generic_category().message(static_cast<int>(beat.logError))
                        : " for a while";
                Tell(board, "{}/board.log could not be written{}", Work(board), why);
            }
            if (board.state == State::kStarting) {
                board.state = State::kRunning;
            }
        }
    }

    // When a board is dead if it has said nothing.
    [[nodiscard]] uint64_t SilentMs(const Board &board) const {
        const bool isWatched =
            board.Runs() && board.state != State::kPaused && chassis_.silentMs != 0 && !isStopping_;
        return isWatched ? board.awaitedMs + chassis_.silentMs : kNever;
    }

    // What its time has come for.
    void Attend(Board &board) {
        const uint64_t nowMs = NowMs();
        if (board.dueMs <= nowMs && !board.Runs()) {
            Start(board);
        } else if (board.dueMs <= nowMs) {
            if (WaitsOn(board, chassis_.stopMs)) {
                board.dueMs = nowMs + chassis_.stopMs;
                return;
            }
            board.dueMs = kNever;
            Tell(board, "does not stop");
            (void)kill(-board.process.pid, SIGKILL);
        } else if (SilentMs(board) <= nowMs) {
            board.awaitedMs = nowMs;
            if (WaitsOn(board, chassis_.silentMs)) {
                return;
            }
            Tell(board, "gives no sign of life");
            (void)kill(-board.process.pid, SIGKILL);
        }
    }

    static void Order(const Board &board, ChassisOrder order) {
        const auto byte = static_cast<char>(order);
        (void)send(board.process.control.Get(), &byte, 1, MSG_DONTWAIT | MSG_NOSIGNAL);
    }

    void BeginStop() {
        if (isStopping_) {
            return;
        }
        isStopping_ = true;
        for (Board &board : boards_) {
            if (board.Runs()) {
                Order(board, ChassisOrder::kStop);
                (void)kill(-board.process.pid, SIGCONT);
                BeginToWait(board, NowMs());
                board.dueMs = board.awaitedMs + chassis_.stopMs;
            } else if (board.state == State::kWaiting) {
                isWell_ = isWell_ && board.starts == 0;  // it should run, and does not
                board.state = State::kStopped;
                board.dueMs = kNever;
            }
        }
    }

    [[nodiscard]] bool IsOver() const {
        return std::none_of(boards_.begin(), boards_.end(), [](const Board &board) {
            return board.Runs() || board.state == State::kWaiting;
        });
    }

    // --- Commands

    [[nodiscard]] ChassisStatus Status() const {
        const uint64_t nowMs = NowMs();
        ChassisStatus status{chassis_.name, getpid(), nowMs - beganMs_, {}};
        for (const Board &board : boards_) {
            BoardStatus each;
            each.name = board.given->name;
            each.kind = board.given->kind;
            each.state = NameOf(board.state);
            each.pid = board.process.pid;
            each.upMs = board.Runs() ? nowMs - board.startedMs : 0;
            each.starts = board.starts;
            each.deaths = board.deaths;
            each.hasBeat = board.hasBeat && board.Runs();
            each.beatAgoMs = nowMs - board.beatMs;
            each.isCutOff = board.isCutOff;
            each.beat = board.beat;
            status.boards.push_back(std::move(each));
        }
        return status;
    }

    void TellStatus() const {
        if (options_.showsStatus) {
            SayNow("{}", StatusTable(Status()));
        }
    }

    [[nodiscard]] bool HaveBegun() const {
        return std::none_of(boards_.begin(), boards_.end(), [](const Board &board) {
            return board.state == State::kStarting || board.state == State::kWaiting;
        });
    }

    // Whether all boards run; if not, which one does not.
    [[nodiscard]] std::string Ready() const {
        const auto found = std::find_if(boards_.begin(), boards_.end(), [](const Board &board) {
            return board.state != State::kRunning && board.state != State::kElsewhere;
        });
        return found == boards_.end()
                   ? "ok\n"
                   : fmt::format("error: {} is {}\n", found->given->name, NameOf(found->state));
    }

    static std::string Pause(Board &board) {
        if (!board.Runs() || board.state == State::kPaused) {
            return fmt::format("error: {} {}\n", board.given->name,
                               board.Runs() ? "is paused already" : "does not run");
        }
        (void)kill(-board.process.pid, SIGSTOP);
        board.state = State::kPaused;
        return "ok\n";
    }

    static std::string Resume(Board &board) {
        if (board.state != State::kPaused) {
            return "error: " + board.given->name + " is not paused\n";
        }
        (void)kill(-board.process.pid, SIGCONT);
        board.state = State::kRunning;
        board.beatMs = NowMs();
        BeginToWait(board, board.beatMs);
        return "ok\n";
    }

    static std::string Kill(Board &board) {
        if (!board.Runs()) {
            return "error: " + board.given->name + " does not run\n";
        }
        (void)kill(-board.process.pid, SIGKILL);
        board.quickDeaths = 0;
        return "ok\n";
    }

    static std::string Cut(Board &board, bool isCutOff) {
        if (board.isCutOff == isCutOff) {
            return fmt::format("error: {} is {}\n", board.given->name,
                               isCutOff ? "cut off already" : "not cut off");
        }
        board.isCutOff = isCutOff;
        if (board.Runs()) {
            Order(board, isCutOff ? ChassisOrder::kCut : ChassisOrder::kJoin);
        }
        return "ok\n";
    }

    std::string AnswerOf(const std::string &command) {
        if (command == "status" || command == "status json") {
            return command == "status" ? StatusTable(Status()) : StatusJson(Status());
        }
        if (command == "ready") {
            return Ready();
        }
        const size_t blank = std::min(command.find(' '), command.size());
        const std::string verb = command.substr(0, blank);
        const std::string name = command.substr(std::min(blank + 1, command.size()));
        const auto board = std::find_if(boards_.begin(), boards_.end(), [&name](const Board &each) {
            return each.given->name == name;
        });
        if (board == boards_.end() || board->state == State::kElsewhere) {
            return "error: there is no board " + Printable(name, kLongestCommand) + " here\n";
        }
        if (verb == "pause" || verb == "resume") {
            return verb == "pause" ? Pause(*board) : Resume(*board);
        }
        if (verb == "cut" || verb == "join") {
            return Cut(*board, verb == "cut");
        }
        return verb == "kill" ? Kill(*board) : "error: no such command\n";
    }

    // --- Those who ask

    void Accept() {
        while (clients_.size() < kMostClients) {
            Descriptor connection(
                accept4(place_->Listener(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
            if (!connection) {
                return;
            }
            Client &client = clients_.emplace_back();
            client.connection = std::move(connection);
            client.dueMs = NowMs() + kClientMs;
        }
    }

    // Sends what can be sent; false when there is nothing more to send, or nobody to hear it.
    static bool Send(Client &client) {
        const ssize_t bytes = send(client.connection.Get(), client.answer.data(),
                                   client.answer.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (bytes > 0) {
            client.answer.erase(0, static_cast<size_t>(bytes));
        }
        return bytes >= 0 ? !client.answer.empty() : errno == EAGAIN;
    }

    // True while the client stays.
    bool Serve(Client &client) {
        if (!client.answer.empty()) {
            return Send(client);
        }
        std::array<char, kLongestCommand> part{};
        const ssize_t bytes = recv(client.connection.Get(), part.data(), part.size(), MSG_DONTWAIT);
        if (bytes <= 0) {
            return bytes < 0 && errno == EAGAIN;
        }
        client.asked.append(part.data(), static_cast<size_t>(bytes));
        const size_t end = client.asked.find('\n');
        if (client.waitsForEnd ||
            (end == std::string::npos && client.asked.size() < kLongestCommand)) {
            return true;
        }
        // Who was told meanwhile that the chassis does not answer asks for nothing any more.
        pollfd asker{client.connection.Get(), 0, 0};
        if (poll(&asker, 1, 0) > 0 && (asker.revents & POLLHUP) != 0) {
            return false;
        }
        const std::string command = client.asked.substr(0, end);
        if (command == kStopChassis) {
            client.waitsForEnd = true;
            client.dueMs = kNever;
            BeginStop();
            return true;
        }
        client.answer = AnswerOf(command);
        return Send(client);
    }

    void Serve() {
        Accept();
        const uint64_t nowMs = NowMs();
        clients_.remove_if(
            [this, nowMs](Client &client) { return client.dueMs <= nowMs || !Serve(client); });
    }

    // --- The loop

    void Await() {
        std::vector<pollfd> watched = {{signals_.Fd(), POLLIN, 0}};
        if (clients_.size() < kMostClients) {
            watched.push_back({place_->Listener(), POLLIN, 0});
        }
        uint64_t dueMs = endMs_;
        const size_t firstBoard = watched.size();
        for (const Board &board : boards_) {
            dueMs = std::min({dueMs, board.dueMs, SilentMs(board)});
            if (board.Runs()) {
                watched.push_back({board.process.control.Get(), POLLIN, 0});
            }
        }
        for (const Client &client : clients_) {
            dueMs = std::min(dueMs, client.dueMs);
            const short events = client.answer.empty() ? POLLIN : POLLOUT;
            watched.push_back({client.connection.Get(), events, 0});
        }
        const uint64_t nowMs = NowMs();
        constexpr uint64_t kLongestMs = 60000;
        const uint64_t waitMs = dueMs > nowMs ? std::min(dueMs - nowMs, kLongestMs) : 0;
        (void)poll(watched.data(), watched.size(), static_cast<int>(waitMs));
        size_t at = firstBoard;
        for (Board &board : boards_) {
            if (board.Runs() && (watched[at++].revents & POLLHUP) != 0) {
                // It would be looked at again and again until its end is known.
                TakeBeats(board);
                board.process.control = Descriptor();
            }
        }
    }

    const SupervisorOptions &options_;
    const Chassis &chassis_;
    const uint64_t descriptors_;  // that a board may open until it asks for more
    const Guard guard_;           // before all that is opened for the boards
    const Signals signals_;
    const Descriptor file_;
    std::optional<ChassisPlace> place_;  // until it has stopped
    const uint64_t beganMs_;
    bool hasBegun_ = false;  // asked for when it stops by itself
    uint64_t endMs_ = kNever;
    uint64_t firstLife_ = 0;
    std::vector<Board> boards_;
    std::list<Client> clients_;
    bool isStopping_ = false;
    bool isWell_ = true;
};

void CheckFilter(const std::string &file) {
    try {
        const FilterTree tree(file);
    } catch (const RunError &error) {
        throw UsageError(error.what());
    }
}

// What would keep a board from its first word, before anything is started.
void CheckBoards(const Chassis &chassis, const std::string &machine) {
    bool hasBoard = false;
    for (const ChassisBoard &board : chassis.boards) {
        const bool isHere = board.machine == machine;
        hasBoard = hasBoard || isHere;
        for (const std::string &file : {board.module, board.device}) {
            if (isHere && !file.empty() && access(file.c_str(), R_OK) != 0) {
                throw UsageError(file + ": " + std::generic_category().message(errno));
            }
        }
        if (isHere && !board.filter.empty()) {
            CheckFilter(board.filter);
        }
        if (!chassis.keys.empty()) {
            (void)ReadPublicKey(chassis.keys, board.name);
            if (isHere) {
                (void)ReadSecretKey(chassis.keys, board.name);
            }
        }
        if (board.address.empty() &&
            DxrHostGetAddressKind(LocalAddress(chassis.name, board.name).c_str()) ==
                DXR_HOST_ADDRESS_NONE) {
            throw RunError(LocalAddress(chassis.name, board.name) + ": the path is too long");
        }
    }
    if (!hasBoard) {
        throw UsageError(machine.empty() ? "name the machine that this is with --machine"
                                         : "no board is on machine " + machine);
    }
}

// As many as the supervisor needs, or none begins. A board needs all of its own only when it talks
// to all others. What was allowed before.
uint64_t RequireDescriptors(const Chassis &chassis, const std::string &machine) {
    const auto here = static_cast<size_t>(
        std::count_if(chassis.boards.begin(), chassis.boards.end(),
                      [&machine](const ChassisBoard &each) { return each.machine == machine; }));
    const uint64_t own = DescriptorsOfSupervisor(here);
    const DescriptorLimit limit = AllowDescriptors(own);
    if (limit.now < own) {
        throw RunError(
            fmt::format("{} boards need {} descriptors, and there may be {} in a process: raise "
                        "the hard limit (ulimit -Hn)",
                        here, own, limit.now));
    }
    rlimit found{};
    const uint64_t ofBoard = DescriptorsOfBoard(chassis.boards.size());
    if (getrlimit(RLIMIT_NOFILE, &found) == 0 && found.rlim_max < ofBoard) {
        SayNow(
            "a board that talks to all others needs {} descriptors, and may have {}: raise the "
            "hard limit (ulimit -Hn)\n",
            ofBoard, found.rlim_max);
    }
    return limit.before;
}

}  // namespace

int RunChassis(const SupervisorOptions &options) {
    Descriptor file = KeepFile(options.file);
    Chassis chassis = ReadChassisFile(options.file, options.modules, PathOf(file.Get()));
    chassis.work = options.work.empty() ? chassis.work : options.work;
    CheckBoards(chassis, options.machine);
    const uint64_t descriptors = RequireDescriptors(chassis, options.machine);
    const int status = Supervisor(options, std::move(file), chassis, descriptors).Run();
    if (g_outputError != 0) {
        SayOutputFailed(g_outputError);
        return kExitFailure;
    }
    return status;
}

}  // namespace dxrsh
