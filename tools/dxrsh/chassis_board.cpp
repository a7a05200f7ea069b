#include "chassis_board.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "attach_server.h"
#include "chassis_descriptors.h"
#include "chassis_file.h"
#include "chassis_keys.h"
#include "chassis_log.h"
#include "chassis_place.h"
#include "chassis_process.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "filter_tree.h"
#include "message_losses.h"
#include "module.h"
#include "run_trace.h"
#include "say.h"

namespace dxrsh {
namespace {

ChassisBeat BeatOf(DxrHost *host) {
    DxrHostMessageCounts messages{};
    DxrHostChassisCounts chassis{};
    DxrHostCountMessages(host, &messages);
    DxrHostCountChassis(host, &chassis);
    return {messages.sent,     messages.arrived,
            messages.taken,    chassis.acknowledged,
            messages.timedOut, messages.simulated + messages.filtered + messages.lost,
            messages.refused,  chassis.unreached,
            chassis.cutOff,    0};
}

// Says that the board lives, does what it is told, and keeps its log short. Without its starter the
// board ends.
class Control {
  public:
    Control(DxrHost *host, const Chassis &chassis, const std::string &work)
        : host_(host), beatMs_(static_cast<int>(chassis.beatMs)), log_(work, chassis.log) {
        sigset_t all{};
        sigset_t before{};
        (void)sigfillset(&all);
        (void)pthread_sigmask(SIG_SETMASK, &all, &before);
        thread_ = std::thread([this] { Serve(); });
        (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    ~Control() {
        if (thread_.joinable()) {
            End();
        }
    }
    Control(const Control &) = delete;
    Control &operator=(const Control &) = delete;
    Control(Control &&) = delete;
    Control &operator=(Control &&) = delete;

    [[nodiscard]] bool IsStopped() const { return isStopped_; }

    // Before the host's end.
    void End() {
        isOver_ = true;
        (void)shutdown(kControlFd, SHUT_RD);
        thread_.join();
    }

    // After it: what the host said at its end may not have found room in the log.
    void BeatLast() {
        last_.logError = log_.Error();
        Send();
    }

  private:
    void Serve() {
        while (!isOver_) {
            Beat();
            pollfd watched{kControlFd, POLLIN, 0};
            if (poll(&watched, 1, beatMs_) > 0) {
                TakeOrder();
            }
            log_.Look();
        }
        Beat();
    }

    void Beat() {
        last_ = BeatOf(host_);
        last_.logError = log_.Error();
        Send();
    }

    void Send() const {
        (void)send(kControlFd, &last_, sizeof(last_), MSG_DONTWAIT | MSG_NOSIGNAL);
    }

    void TakeOrder() {
        char order = '\0';
        const ssize_t bytes = recv(kControlFd, &order, 1, MSG_DONTWAIT);
        if (bytes == 0 && !isOver_) {
            EndProgram(kExitFailure);
        }
        if (bytes != 1) {
            return;
        }
        switch (static_cast<ChassisOrder>(order)) {
            case ChassisOrder::kCut:
            case ChassisOrder::kJoin:
                (void)DxrHostCutOff(host_, static_cast<ChassisOrder>(order) == ChassisOrder::kCut);
                break;
            case ChassisOrder::kStop:
                isStopped_ = true;
                (void)DxrHostStop(host_);
                break;
        }
    }

    DxrHost *const host_;
    const int beatMs_;
    OwnLog log_;  // of the thread, as the next one, until it has ended
    ChassisBeat last_{};
    std::atomic<bool> isOver_{false};
    std::atomic<bool> isStopped_{false};
    std::thread thread_;
};

// Tells whether the host has ended the run by itself.
bool HasEndedRun(DxrHost *host) {
    DxrHostReport found{};
    for (uint32_t i = 0; DxrHostGetReport(host, i, &found); ++i) {
        if (found.kind == DXR_HOST_REPORT_RUN) {
            return true;
        }
    }
    return false;
}

DxrHost *MakeHost(const std::string &work, const ChassisBoard &board) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.seed = board.seed;
    options.workPath = work.c_str();
    options.board = board.device.empty() ? nullptr : board.device.c_str();
    DxrHost *const host = DxrHostCreate(&options);
    if (host == nullptr || DxrHostRegister(host) != 0) {
        throw RunError("the development host could not be made");
    }
    DxrHostReport wrong{};
    if (options.board != nullptr && DxrHostGetReport(host, 0, &wrong)) {
        throw UsageError(wrong.text);  // nothing else has been looked at yet
    }
    return host;
}

void Join(DxrHost *host, const Chassis &chassis, size_t self, uint32_t incarnation) {
    std::vector<std::string> addresses;
    std::vector<std::string> keys;
    std::vector<DxrHostChassisBoard> boards;
    for (const ChassisBoard &board : chassis.boards) {
        addresses.push_back(board.address.empty() ? LocalAddress(chassis.name, board.name)
                                                  : board.address);
        keys.push_back(chassis.keys.empty() ? std::string()
                                            : ReadPublicKey(chassis.keys, board.name));
    }
    const std::string secret = chassis.keys.empty()
                                   ? std::string()
                                   : ReadSecretKey(chassis.keys, chassis.boards[self].name);
    for (size_t i = 0; i < chassis.boards.size(); ++i) {
        const std::vector<DxrHostUnit> &units = chassis.boards[i].units;
        boards.push_back({addresses[i].c_str(), keys[i].empty() ? nullptr : keys[i].c_str(),
                          units.data(), static_cast<uint32_t>(units.size()), 0});
    }
    const DxrHostChassisPlan plan{sizeof(plan),
                                  static_cast<uint32_t>(boards.size()),
                                  boards.data(),
                                  secret.empty() ? nullptr : secret.c_str(),
                                  static_cast<uint32_t>(self),
                                  incarnation};
    const uint32_t error = DxrHostJoinChassis(host, &plan);
    if (error != 0) {
        throw RunError(addresses[self] + ": " +
                       std::generic_category().message(static_cast<int>(error)));
    }
}

// What is done to the messages of a board, and who tells and changes it.
class Poking {
  public:
    Poking(DxrHost *host, const Chassis &chassis, const ChassisBoard &board)
        : losses_(std::in_place, host) {
        SetLosses(host, board);
        DxrHostSetDiagSink(host, TakeLine, &lines_);
        const uint32_t error = trace_.Start({});
        if (error != 0) {
            throw RunError("calls are not counted: " +
                           std::generic_category().message(static_cast<int>(error)));
        }
        server_.emplace(BoardControl(chassis.name, board.name),
                        PokedHost{host, false, &trace_, &*losses_, &lines_});
    }

    // Before the module's way out.
    void EndLines() { (void)server_->End(); }
    // Before the host's end, and after it: then nothing waits in it any more.
    void End() {
        (void)trace_.Stop();
        losses_.reset();
    }
    void AwaitLines() { (void)server_->End(); }

  private:
    static void TakeLine(const char *line, void *lines) {
        ++*static_cast<std::atomic<uint64_t> *>(lines);
        Say(stdout, "{}\n", Printable(line, SIZE_MAX));
    }

    void SetLosses(DxrHost *host, const ChassisBoard &board) {
        DxrHostFailShare(host, "message.lose", board.lose);
        DxrHostFailShare(host, "message.twice", board.twice);
        DxrHostFailShare(host, "message.delay", board.delay);
        DxrHostFailShare(host, "message.reorder", board.reorder);
        for (const DxrSimulateMsg &each : board.simulated) {
            losses_->Drop(each.msgType, each.lostCnt);
        }
        if (!board.filter.empty()) {
            FilterTree tree(board.filter);
            losses_->Take(tree);
        }
    }

    std::atomic<uint64_t> lines_{0};
    RunTrace trace_;
    std::optional<MessageLosses> losses_;
    std::optional<AttachServer> server_;
};

}  // namespace

void RunBoard(const BoardOptions &options) {
    // The last line before a crash is in the log, and no line is in two files.
    (void)std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    Chassis chassis = ReadChassisFile(options.chassis, options.modules, PathOf(kFileFd));
    (void)close(kFileFd);
    (void)fcntl(kControlFd, F_SETFD, FD_CLOEXEC);  // not for programs that the module starts
    chassis.work = options.work;
    const auto self =
        std::find_if(chassis.boards.begin(), chassis.boards.end(),
                     [&options](const ChassisBoard &each) { return each.name == options.board; });
    if (self == chassis.boards.end()) {
        throw UsageError("the chassis has no board " + options.board);
    }
    AllowOwnDescriptors(DescriptorsOfBoard(chassis.boards.size()));
    Module module(self->module);
    const std::string work = chassis.work + "/" + self->name;
    DxrHost *const host = MakeHost(work, *self);
    Join(host, chassis, static_cast<size_t>(self - chassis.boards.begin()), options.incarnation);
    (void)DxrHostCutOff(host, options.isCutOff);
    Poking poking(host, chassis, *self);
    int status = 0;
    Control control(host, chassis, work);
    const int result = module.Main(self->arguments);
    poking.EndLines();
    module.End();
    if (!control.IsStopped()) {
        status = HasEndedRun(host) ? kExitReset : result == 0 ? 0 : kExitFailure;
    }
    control.End();
    poking.End();
    const bool isClean = DxrHostDestroy(host, stderr) == 0;
    poking.AwaitLines();
    (void)std::fflush(nullptr);
    control.BeatLast();
    // Threads that the module made by itself are left alone.
    EndProgram(status != 0 || isClean ? status : kExitLeftBehind);
}

}  // namespace dxrsh
