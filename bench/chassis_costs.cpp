// How many messages a second go from one board to another, beside bare ZeroMQ between the same two
// processes with the same sizes: both copy each message in and out. The two take turns, so that
// both see the same machine; of each the middle round counts. A round in which the receiver got no
// processor for so long that its board was given up has lost messages, and is repeated.
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zmq.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "dxr_devhost.h"

namespace {

constexpr size_t kRounds = 7;
constexpr uint32_t kMostMessages = 300000;
constexpr uint32_t kMostBytes = 64 * 1024 * 1024;
constexpr std::array<uint32_t, 6> kSizes = {16, 64, 256, 1024, 8192, 65536};
constexpr DxrHostUnit kFrom = {DXR_HOST_UNIT_MPU, 0};
constexpr DxrHostUnit kTo = {DXR_HOST_UNIT_LPU, 1};
constexpr useconds_t kPauseUs = 100;
constexpr uint32_t kMostTries = 20;
constexpr uint32_t kLookMs = 100;
constexpr uint32_t kMostLooks = 600;  // of a receiver to which nothing comes any more

// What the receiver is asked to take; size 0: nothing more.
struct Job {
    uint32_t isBare;
    uint32_t size;
    uint32_t count;
};

[[noreturn]] void Fail(const char *what) {
    (void)std::fprintf(stderr, "chassis_costs: %s\n", what);
    std::exit(1);  // NOLINT(concurrency-mt-unsafe): the process's one way out
}

void Check(bool isWell, const char *what) {
    if (!isWell) {
        Fail(what);
    }
}

double NowNs() {
    timespec now{};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

struct Place {
    std::string directory;
    std::array<std::string, 2> boards;
    std::string bare;
};

DxrHost *MakeBoard(const Place &place, uint32_t self) {
    const std::array<DxrHostChassisBoard, 2> boards = {
        {{place.boards[0].c_str(), nullptr, &kFrom, 1, 0},
         {place.boards[1].c_str(), nullptr, &kTo, 1, 0}}};
    const DxrHostChassisPlan plan{sizeof(plan), 2, boards.data(), nullptr, self, 0};
    DxrHost *const host = DxrHostCreate(nullptr);
    Check(host != nullptr && DxrHostRegister(host) == 0 && DxrHostJoinChassis(host, &plan) == 0,
          "no board");
    return host;
}

// --- The receiver

// Takes what is on its way; when all has left, the sender says how much of it was lost.
void TakeByHost(DxrHost *host, int control, const Job &job, std::vector<char> &buffer) {
    uint32_t lost = 0;
    bool isTold = false;
    uint32_t taken = 0;
    uint32_t next = 0;
    for (uint32_t looks = 0; !isTold || taken + lost < job.count;) {
        DxrHostMessage message{};
        const uint32_t result = taken < job.count
                                    ? DxrHostReceiveMessage(host, &kTo, &message, buffer.data(),
                                                            DXR_HOST_MESSAGE_BYTES, kLookMs)
                                    : ETIMEDOUT;
        if (result == 0) {
            Check(message.bytes == job.size && message.kind >= next, "another message");
            next = message.kind + 1;
            ++taken;
            looks = 0;
            continue;
        }
        Check(result == ETIMEDOUT && looks < kMostLooks, "a message is missing");
        looks += isTold ? 1 : 0;
        const int flags = taken < job.count ? MSG_DONTWAIT : 0;
        isTold = isTold || recv(control, &lost, sizeof(lost), flags) == sizeof(lost);
    }
    Check(taken + lost == job.count, "a message came twice");
}

void Receive(const Place &place, int control) {
    DxrHost *const host = MakeBoard(place, 1);
    const DxrHostMailbox mailbox{sizeof(mailbox), kMostMessages, kTo, nullptr, nullptr};
    Check(DxrHostOpenMailbox(host, &mailbox) == 0, "no mailbox");
    void *const context = zmq_ctx_new();
    void *const socket = zmq_socket(context, ZMQ_PULL);
    Check(zmq_bind(socket, place.bare.c_str()) == 0, "no socket");
    Check(write(control, "r", 1) == 1, "nobody listens");
    std::vector<char> buffer(DXR_HOST_MESSAGE_BYTES);
    Job job{};
    while (read(control, &job, sizeof(job)) == sizeof(job) && job.size != 0) {
        if (job.isBare == 0) {
            TakeByHost(host, control, job, buffer);
        }
        for (uint32_t i = 0; job.isBare != 0 && i < job.count; ++i) {
            Check(zmq_recv(socket, buffer.data(), buffer.size(), 0) == static_cast<int>(job.size),
                  "a message of another size");
        }
        Check(write(control, "d", 1) == 1, "nobody listens");
    }
    (void)DxrHostCloseMailbox(host, &kTo);
    (void)DxrHostDestroy(host, nullptr);
    (void)zmq_close(socket);
    (void)zmq_ctx_term(context);
}

// --- The sender

DxrHostChassisCounts Counts() {
    DxrHostChassisCounts counts{};
    DxrHostCountChassis(nullptr, &counts);
    return counts;
}

// Returns how many were lost.
uint32_t SendByHost(int control, const Job &job, const std::vector<char> &data) {
    const uint64_t lostBefore = Counts().unreached;
    for (uint32_t i = 0; i < job.count; ++i) {
        DxrHostMessage message{};
        message.size = sizeof(message);
        message.kind = i;
        message.from = kFrom;
        message.to = kTo;
        message.data = data.data();
        message.bytes = job.size;
        uint32_t result = DXR_SendMsg(&message);
        while (result == ENOBUFS) {
            (void)usleep(kPauseUs);
            result = DXR_SendMsg(&message);
        }
        Check(result == 0, "not sent");
    }
    while (Counts().waiting != 0) {
        (void)usleep(kPauseUs);
    }
    const auto lost = static_cast<uint32_t>(Counts().unreached - lostBefore);
    Check(write(control, &lost, sizeof(lost)) == sizeof(lost), "no receiver");
    return lost;
}

void SendBare(void *socket, const Job &job, const std::vector<char> &data) {
    for (uint32_t i = 0; i < job.count; ++i) {
        Check(zmq_send(socket, data.data(), job.size, 0) == static_cast<int>(job.size), "not sent");
    }
}

// Messages a second, from the first that is sent to the last that was taken; 0 when some were lost.
double TryToMeasure(void *socket, int control, const Job &job, const std::vector<char> &data) {
    char done = '\0';
    Check(write(control, &job, sizeof(job)) == sizeof(job), "no receiver");
    const double began = NowNs();
    uint32_t lost = 0;
    if (job.isBare != 0) {
        SendBare(socket, job, data);
    } else {
        lost = SendByHost(control, job, data);
    }
    Check(read(control, &done, 1) == 1, "the receiver ended");
    return lost == 0 ? job.count / (NowNs() - began) * 1e9 : 0;
}

double Measure(void *socket, int control, const Job &job, const std::vector<char> &data) {
    double rate = 0;
    for (uint32_t tries = 0; rate == 0; ++tries) {
        Check(tries < kMostTries, "the receiver gets no processor");
        rate = TryToMeasure(socket, control, job, data);
    }
    return rate;
}

double Middle(std::array<double, kRounds> values) {
    std::sort(values.begin(), values.end());
    return values[kRounds / 2];
}

void SendAll(const Place &place, int control) {
    char ready = '\0';
    Check(read(control, &ready, 1) == 1, "the receiver did not begin");
    DxrHost *const host = MakeBoard(place, 0);
    void *const context = zmq_ctx_new();
    void *const socket = zmq_socket(context, ZMQ_PUSH);
    Check(zmq_connect(socket, place.bare.c_str()) == 0, "no socket");
    const std::vector<char> data(DXR_HOST_MESSAGE_BYTES, 'x');
    std::printf("%8s %16s %16s %8s\n", "bytes", "ZeroMQ / s", "boards / s", "ratio");
    double least = 1e18;
    for (const uint32_t size : kSizes) {
        const uint32_t count = std::min(kMostMessages, kMostBytes / size);
        std::array<double, kRounds> bare{};
        std::array<double, kRounds> boards{};
        for (size_t i = 0; i < kRounds; ++i) {
            bare[i] = Measure(socket, control, {1, size, count}, data);
            boards[i] = Measure(socket, control, {0, size, count}, data);
        }
        const double ratio = Middle(boards) / Middle(bare);
        least = std::min(least, ratio);
        std::printf("%8u %16.0f %16.0f %8.2f\n", size, Middle(bare), Middle(boards), ratio);
    }
    std::printf("least ratio %.2f\n", least);
    const Job over{};
    Check(write(control, &over, sizeof(over)) == sizeof(over), "no receiver");
    (void)DxrHostDestroy(host, nullptr);
    (void)zmq_close(socket);
    (void)zmq_ctx_term(context);
}

}  // namespace

int main() {
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::array<char, 40> pattern = {"/tmp/dxr_chassis_costs_XXXXXX"};
    Check(mkdtemp(pattern.data()) != nullptr, "no directory");
    Place place;
    place.directory = pattern.data();
    place.boards = {"ipc://" + place.directory + "/0", "ipc://" + place.directory + "/1"};
    place.bare = "ipc://" + place.directory + "/bare";
    std::array<int, 2> ends{};
    Check(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0, "no sockets");
    const pid_t receiver = fork();
    Check(receiver >= 0, "no process");
    if (receiver == 0) {
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        (void)close(ends[0]);
        Receive(place, ends[1]);
        _exit(0);
    }
    (void)close(ends[1]);
    SendAll(place, ends[0]);
    int status = 0;
    Check(waitpid(receiver, &status, 0) == receiver && status == 0, "the receiver failed");
    for (const char *const name : {"/0", "/1", "/bare"}) {
        (void)unlink((place.directory + name).c_str());
    }
    Check(rmdir(place.directory.c_str()) == 0, "something was left in the directory");
    return 0;
}
