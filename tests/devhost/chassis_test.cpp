// Boards of a chassis, by the sentences of their header: two hosts of this process are two boards.
#include "dxr_devhost/chassis.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <zmq.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <thread>

#include "devhost/message_fixture.h"
#include "dxr_devhost/inspect.h"
#include "support/sanitizers.h"

#if DXRTEST_THREADS_ARE_WATCHED
// libzmq is not built with the sanitizer, which sees what its threads write and not what orders
// that before the reading of a frame. Templates of the C++ library it may find in the program.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name
extern "C" [[gnu::visibility("default")]] const char *__tsan_default_suppressions() {
    return "called_from_lib:libzmq.so\nrace:libzmq.so\nrace:^devhost::ReadFrame\n";
}
#endif

namespace {

// What fails once, the next time that it is asked for.
enum class Fails : uint8_t { kNothing, kThread, kEvent };
std::atomic<Fails> g_fails{Fails::kNothing};

bool IsToFail(Fails what) {
    return g_fails.compare_exchange_strong(what, Fails::kNothing);
}

}  // namespace

// In the place of those of the C library.
extern "C" [[gnu::visibility("default")]] int pthread_create(pthread_t *thread,
                                                             const pthread_attr_t *attributes,
                                                             void *(*run)(void *),
                                                             void *argument) noexcept {
    if (IsToFail(Fails::kThread)) {
        return EAGAIN;
    }
    return reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"))(
        thread, attributes, run, argument);
}

extern "C" [[gnu::visibility("default")]] int eventfd(unsigned int value, int flags) noexcept {
    if (IsToFail(Fails::kEvent)) {
        errno = EMFILE;
        return -1;
    }
    return static_cast<int>(syscall(SYS_eventfd2, value, flags));
}

namespace {

using namespace dxrtest;  // NOLINT(google-build-using-namespace): the fixture's words
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint32_t kLong = 20000;  // milliseconds, for what is sure to come
constexpr DxrHostUnit kLpu1 = {DXR_HOST_UNIT_LPU, 1};
constexpr DxrHostUnit kLpu2 = {DXR_HOST_UNIT_LPU, 2};

struct Keys {
    std::array<char, DXR_HOST_KEY_BYTES> open{};
    std::array<char, DXR_HOST_KEY_BYTES> secret{};
    Keys() { EXPECT_EQ(DxrHostMakeKeys(open.data(), secret.data()), 0U); }
};

DxrHost *MakeHost(uint32_t clock = DXR_HOST_CLOCK_REAL) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = clock;
    options.printLevel = 0;
    return DxrHostCreate(&options);
}

// A message that a host's mailbox gets in time.
Received Take(DxrHost *host, DxrHostUnit unit, uint32_t ms = kLong) {
    Received received{};
    std::vector<char> buffer(DXR_HOST_MESSAGE_BYTES);
    received.result = DxrHostReceiveMessage(host, &unit, &received.message, buffer.data(),
                                            DXR_HOST_MESSAGE_BYTES, ms);
    if (received.result == 0) {
        received.text.assign(buffer.data(), received.message.bytes);
    }
    return received;
}

uint32_t OpenAt(DxrHost *host, DxrHostUnit unit, uint32_t most = 0,
                DxrHostMessageHandler handler = nullptr, void *user = nullptr) {
    const DxrHostMailbox mailbox{sizeof(DxrHostMailbox), most, unit, handler, user};
    return DxrHostOpenMailbox(host, &mailbox);
}

DxrHostMessage WithAck(DxrHostMessage message, uint32_t ms = kLong) {
    message.flags = DXR_HOST_MESSAGE_ACK;
    message.timeoutMs = ms;
    return message;
}

DxrHostMessageCounts CountsOf(DxrHost *host) {
    DxrHostMessageCounts counts{};
    DxrHostCountMessages(host, &counts);
    return counts;
}

DxrHostChassisCounts ChassisCountsOf(DxrHost *host) {
    DxrHostChassisCounts counts{};
    DxrHostCountChassis(host, &counts);
    return counts;
}

// Waits for what is sure to come, without looking at a clock.
template <typename Condition>
bool Await(Condition condition) {
    for (int i = 0; i < 4000 && !condition(); ++i) {
        (void)usleep(5000);
    }
    return condition();
}

// Board 0 has mpu 0 and devm 0, board 1 lpu 1 and lpu 2, board 2, which does not run, lpu 3.
class Chassis : public testing::Test {
  protected:
    Chassis() {
        std::array<char, 32> pattern = {"/tmp/dxr_chassis_XXXXXX"};
        directory_ = mkdtemp(pattern.data());
        for (size_t i = 0; i < addresses_.size(); ++i) {
            addresses_[i] = "ipc://" + directory_ + "/" + std::to_string(i);
            boards_[i].address = addresses_[i].c_str();
        }
        boards_[0].units = kMainUnits.data();
        boards_[0].unitCount = kMainUnits.size();
        boards_[1].units = kLineUnits.data();
        boards_[1].unitCount = kLineUnits.size();
        boards_[2].units = &kLpu3;
        boards_[2].unitCount = 1;
    }
    ~Chassis() override {
        (void)DxrHostDestroy(main_, nullptr);
        (void)DxrHostDestroy(line_, nullptr);
        std::filesystem::remove_all(directory_);
    }

    [[nodiscard]] DxrHostChassisPlan PlanOf(uint32_t self, uint32_t incarnation = 0) const {
        DxrHostChassisPlan plan{};
        plan.size = sizeof(plan);
        plan.boardCount = static_cast<uint32_t>(boards_.size());
        plan.boards = boards_.data();
        plan.self = self;
        plan.incarnation = incarnation;
        return plan;
    }

    // The main board is the registered one: slots are its.
    void BeginMain(uint32_t incarnation = 0, const char *secret = nullptr) {
        main_ = MakeHost();
        DxrHostChassisPlan plan = PlanOf(0, incarnation);
        plan.secretKey = secret;
        ASSERT_EQ(DxrHostJoinChassis(main_, &plan), 0U);
        ASSERT_EQ(DxrHostRegister(main_), 0U);
    }
    void BeginLine(uint32_t incarnation = 0, const char *secret = nullptr) {
        line_ = MakeHost();
        DxrHostChassisPlan plan = PlanOf(1, incarnation);
        plan.secretKey = secret;
        ASSERT_EQ(DxrHostJoinChassis(line_, &plan), 0U);
    }
    void BeginBoth() {
        BeginMain();
        BeginLine();
    }
    void EndLine() { (void)DxrHostDestroy(std::exchange(line_, nullptr), nullptr); }
    void EndMain() { (void)DxrHostDestroy(std::exchange(main_, nullptr), nullptr); }

    // Boards have found each other: what follows is not about the beginning. What is on its way to
    // a board that has just ended is lost, and sent again.
    void Meet() {
        DxrHostMessage message = WithAck(MessageOf(kLpu2, 1), 2000);
        ASSERT_EQ(OpenAt(line_, kLpu2, 0, [](const DxrHostMessage *, void *) { return 0U; }), 0U);
        ASSERT_TRUE(Await([&message] { return DXR_SendMsg(&message) == 0; }));
    }

    static constexpr std::array<DxrHostUnit, 2> kMainUnits = {kMpu, kDevm};
    static constexpr std::array<DxrHostUnit, 2> kLineUnits = {kLpu1, kLpu2};
    std::string directory_;
    std::array<std::string, 3> addresses_;
    std::array<DxrHostChassisBoard, 3> boards_{};
    DxrHost *main_ = nullptr;
    DxrHost *line_ = nullptr;
};

// --- Ways

TEST_F(Chassis, AMessageArrivesAtAnotherBoardWithWhatItSays) {
    BeginBoth();
    ASSERT_EQ(OpenAt(line_, kLpu1), 0U);
    DxrHostMessage message = MessageOf(kLpu1, 18, "hello");
    message.code = 77;
    ASSERT_EQ(DXR_SendMsgToLpu(&message), 0U);
    const Received got = Take(line_, kLpu1);
    ASSERT_EQ(got.result, 0U);
    EXPECT_EQ(got.text, "hello");
    EXPECT_EQ(got.message.size, sizeof(DxrHostMessage));
    EXPECT_EQ(got.message.kind, 18U);
    EXPECT_EQ(got.message.code, 77U);
    EXPECT_EQ(got.message.from.kind, DXR_HOST_UNIT_MPU);
    EXPECT_EQ(got.message.to.kind, DXR_HOST_UNIT_LPU);
    EXPECT_EQ(got.message.to.number, 1U);
    EXPECT_EQ(got.message.sequence, message.sequence);
    EXPECT_EQ(CountsOf(main_).sent, 1U);
    EXPECT_EQ(CountsOf(line_).arrived, 1U);
    EXPECT_EQ(CountsOf(line_).taken, 1U);
    // It may be there before the board counts that it has left.
    EXPECT_TRUE(Await([this] { return ChassisCountsOf(main_).waiting == 0; }));
    EXPECT_EQ(ChassisCountsOf(main_).sent, 1U);
    EXPECT_EQ(ChassisCountsOf(line_).received, 1U);
}

TEST_F(Chassis, SequencesBeginWithTheBoardAndItsIncarnation) {
    BeginMain(5);
    ASSERT_EQ(OpenAt(main_, kDevm), 0U);
    DxrHostMessage message = MessageOf(kDevm, 1);
    ASSERT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(message.sequence, uint64_t{1} << 54 | uint64_t{5} << 40 | 1);
    ASSERT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(message.sequence, uint64_t{1} << 54 | uint64_t{5} << 40 | 2);
}

TEST_F(Chassis, UnitsOfThisBoardAreReachedAsWithoutOne) {
    BeginBoth();
    EXPECT_EQ(Send(kDevm, 1), static_cast<uint32_t>(ENXIO));
    ASSERT_EQ(OpenAt(main_, kDevm, 1), 0U);
    EXPECT_EQ(Send(kDevm, 2), 0U);
    EXPECT_EQ(Send(kDevm, 3), static_cast<uint32_t>(ENOBUFS));
    EXPECT_EQ(Take(main_, kDevm, 0).message.kind, 2U);
    EXPECT_EQ(Send(kSfu1, 1), static_cast<uint32_t>(ENXIO)) << "on no board";
    // A mailbox that is here goes before the board that has the unit.
    ASSERT_EQ(OpenAt(main_, kLpu1), 0U);
    EXPECT_EQ(Send(kLpu1, 4), 0U);
    EXPECT_EQ(Take(main_, kLpu1, 0).message.kind, 4U);
    EXPECT_EQ(ChassisCountsOf(main_).sent, 0U);
}

TEST_F(Chassis, MessagesOfAllSizesArriveInTheirOrder) {
    constexpr uint32_t kMessages = 3000;
    BeginBoth();
    ASSERT_EQ(OpenAt(line_, kLpu1, kMessages), 0U);
    std::string text(DXR_HOST_MESSAGE_BYTES, '\0');
    for (size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>(i * 7);
    }
    const auto sizeOf = [](uint32_t i) {
        return i % 500 == 0 ? DXR_HOST_MESSAGE_BYTES - i / 500 : i * i % 300;
    };
    for (uint32_t i = 0; i < kMessages; ++i) {
        DxrHostMessage message = MessageOf(kLpu1, i);
        message.data = text.data();
        message.bytes = sizeOf(i);
        ASSERT_EQ(DXR_SendMsg(&message), 0U) << i;
    }
    for (uint32_t i = 0; i < kMessages; ++i) {
        const Received got = Take(line_, kLpu1);
        ASSERT_EQ(got.result, 0U);
        ASSERT_EQ(got.message.kind, i);
        ASSERT_EQ(got.text, text.substr(0, sizeOf(i))) << i;
    }
}

// What a handler took, whose board may be the faster one.
struct Handled {
    std::string text;  // what all messages begin as
    std::atomic<uint32_t> count{0};
    std::atomic<uint32_t> wrong{0};
    uint32_t last = 0;  // kind
};

uint32_t HandleInOrder(const DxrHostMessage *message, void *user) {
    auto &handled = *static_cast<Handled *>(user);
    const bool isWhole =
        message->bytes == 0 || std::memcmp(message->data, handled.text.data(), message->bytes) == 0;
    const bool isAligned =
        reinterpret_cast<uintptr_t>(message->data) % alignof(std::max_align_t) == 0;
    const bool isLater = message->kind > handled.last;
    handled.wrong += isWhole && isAligned && isLater ? 0 : 1;
    handled.last = message->kind;
    ++handled.count;
    return 0;
}

TEST_F(Chassis, UnitsOfABoardGetWhatIsSentToThem) {
    constexpr uint32_t kMessages = 3000;
    constexpr std::array<uint32_t, 12> kSizes = {0,  1,    15,   16,    17,    31,
                                                 32, 1000, 9000, 16383, 16384, 65521};
    BeginBoth();
    Handled handled;
    for (size_t i = 0; i < DXR_HOST_MESSAGE_BYTES; ++i) {
        handled.text += static_cast<char>(i * 7);
    }
    ASSERT_EQ(OpenAt(line_, kLpu1, kMessages), 0U);
    ASSERT_EQ(OpenAt(line_, kLpu2, kMessages, HandleInOrder, &handled), 0U);
    std::mt19937 random(1);  // NOLINT(bugprone-random-generator-seed): runs repeat
    std::vector<DxrHostMessage> forReceiver;
    for (uint32_t i = 1; i <= kMessages; ++i) {
        DxrHostMessage message = MessageOf(random() % 3 == 0 ? kLpu2 : kLpu1, i);
        message.data = handled.text.data();
        message.bytes = kSizes[random() % (random() % 16 == 0 ? kSizes.size() : kSizes.size() - 5)];
        message.code = static_cast<uint32_t>(random());
        ASSERT_EQ(DXR_SendMsg(&message), 0U) << i;
        if (message.to.number == kLpu1.number) {
            forReceiver.push_back(message);
        }
    }
    for (const DxrHostMessage &sent : forReceiver) {
        const Received got = Take(line_, kLpu1);
        ASSERT_EQ(got.result, 0U);
        ASSERT_EQ(got.message.kind, sent.kind);
        ASSERT_EQ(got.message.code, sent.code);
        ASSERT_EQ(got.message.sequence, sent.sequence);
        ASSERT_EQ(got.message.from.kind, sent.from.kind);
        ASSERT_EQ(got.text, handled.text.substr(0, sent.bytes)) << sent.kind;
    }
    const auto forHandler = static_cast<uint32_t>(kMessages - forReceiver.size());
    EXPECT_TRUE(Await([&] { return handled.count == forHandler; }));
    EXPECT_EQ(handled.wrong, 0U);
    EXPECT_EQ(ChassisCountsOf(line_).received, kMessages);
    EXPECT_EQ(CountsOf(line_).arrived, kMessages);
    EXPECT_EQ(CountsOf(line_).taken, kMessages);
    ASSERT_EQ(DxrHostCloseMailbox(line_, &kLpu2), 0U);
}

TEST_F(Chassis, AMailboxMayCloseWhileItsMessagesComeIn) {
    constexpr uint32_t kMessages = 500;
    BeginBoth();
    Meet();
    // Its handler closes it at some message; what waits then is dropped, what comes later refused.
    const auto closing = [](const DxrHostMessage *message, void *user) {
        if (message->kind == 10) {
            EXPECT_EQ(DxrHostCloseMailbox(static_cast<DxrHost *>(user), &kLpu1), 0U);
        }
        return 0U;
    };
    ASSERT_EQ(OpenAt(line_, kLpu1, kMessages, closing, line_), 0U);
    const DxrHostMessageCounts before = CountsOf(line_);
    for (uint32_t i = 1; i <= kMessages; ++i) {
        ASSERT_EQ(Send(kLpu1, i, "text"), 0U);
    }
    EXPECT_TRUE(Await([&] {
        const DxrHostMessageCounts now = CountsOf(line_);
        return now.taken - before.taken == 10 &&
               now.arrived - before.arrived + now.refused == kMessages;
    }));
    EXPECT_EQ(CountsOf(line_).dropped, CountsOf(line_).arrived - before.arrived - 10);
}

// The machine has no thread for the handler: what arrives next tries again.
TEST_F(Chassis, AHandlerThatCouldNotBeginDoesSoWithTheNextMessage) {
    BeginBoth();
    std::atomic<uint32_t> handled{0};
    const auto count = [](const DxrHostMessage *, void *user) {
        ++*static_cast<std::atomic<uint32_t> *>(user);
        return 0U;
    };
    ASSERT_EQ(OpenAt(line_, kLpu1, 0, count, &handled), 0U);
    g_fails = Fails::kThread;
    ASSERT_EQ(Send(kLpu1, 1), 0U);
    ASSERT_TRUE(Await([] { return g_fails == Fails::kNothing; }));
    ASSERT_EQ(Send(kLpu1, 2), 0U);
    EXPECT_TRUE(Await([&handled] { return handled == 2; }));
    ASSERT_EQ(DxrHostCloseMailbox(line_, &kLpu1), 0U);
}

// The timers' thread ends with it: another one handles what waits behind, and what comes later.
TEST_F(Chassis, AHandlerThatEndsItsThreadLeavesTheOthersTheirs) {
    BeginBoth();
    std::atomic<uint32_t> handled{0};
    const auto endOnOdd = [](const DxrHostMessage *message, void *user) {
        ++*static_cast<std::atomic<uint32_t> *>(user);
        if (message->kind % 2 == 1) {
            pthread_exit(nullptr);
        }
        return 0U;
    };
    ASSERT_EQ(OpenAt(line_, kLpu1, 0, endOnOdd, &handled), 0U);
    for (uint32_t kind = 1; kind <= 8; ++kind) {
        ASSERT_EQ(Send(kLpu1, kind), 0U);
    }
    EXPECT_TRUE(Await([&handled] { return handled == 8; }));
    ASSERT_EQ(Send(kLpu1, 10), 0U);
    EXPECT_TRUE(Await([&handled] { return handled == 9; }));
    ASSERT_EQ(DxrHostCloseMailbox(line_, &kLpu1), 0U);
}

TEST_F(Chassis, ABoardThatCannotBeWokenDoesNotJoin) {
    main_ = MakeHost();
    const DxrHostChassisPlan plan = PlanOf(0);
    g_fails = Fails::kEvent;
    EXPECT_EQ(DxrHostJoinChassis(main_, &plan), uint32_t{EMFILE});
    EXPECT_EQ(g_fails, Fails::kNothing);
    EXPECT_EQ(DxrHostJoinChassis(main_, &plan), 0U);
}

TEST_F(Chassis, WhatWaitsInAMailboxIsCounted) {
    constexpr uint32_t kMessages = 100;
    constexpr uint32_t kMost = 40;
    BeginBoth();
    ASSERT_EQ(OpenAt(line_, kLpu1, kMost), 0U);
    for (uint32_t i = 0; i < kMessages; ++i) {
        ASSERT_EQ(Send(kLpu1, i, "a text of some length"), 0U);
    }
    EXPECT_TRUE(Await([this] { return CountsOf(line_).refused == kMessages - kMost; }));
    for (uint32_t i = 0; i < kMost / 2; ++i) {
        EXPECT_EQ(DxrHostGetWaitingMessages(line_, &kLpu1), kMost - i);
        // One without room for it stays.
        DxrHostMessage message{};
        EXPECT_EQ(DxrHostReceiveMessage(line_, &kLpu1, &message, nullptr, 0, 0),
                  static_cast<uint32_t>(EMSGSIZE));
        EXPECT_EQ(message.kind, i);
        EXPECT_EQ(Take(line_, kLpu1, 0).message.kind, i);
    }
    DxrHostMailboxInfo mailbox{};
    EXPECT_EQ(DxrHostGetMailboxes(line_, &mailbox, 1), 1U);
    EXPECT_EQ(mailbox.waiting, kMost / 2);
    ASSERT_EQ(DxrHostCloseMailbox(line_, &kLpu1), 0U);
    EXPECT_EQ(CountsOf(line_).dropped, kMost / 2);
}

TEST_F(Chassis, WhatDoesNotFitIntoTheMailboxIsRefusedThere) {
    BeginBoth();
    Meet();
    EXPECT_EQ(Send(kLpu1, 1), 0U) << "nobody has opened it";
    EXPECT_TRUE(Await([this] { return CountsOf(line_).refused == 1; }));
    ASSERT_EQ(OpenAt(line_, kLpu1, 2), 0U);
    for (uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(Send(kLpu1, 10 + i), 0U);
    }
    EXPECT_TRUE(Await([this] { return CountsOf(line_).refused == 2; }));
    EXPECT_EQ(Take(line_, kLpu1, 0).message.kind, 10U);
    EXPECT_EQ(Take(line_, kLpu1, 0).message.kind, 11U);
    EXPECT_EQ(Take(line_, kLpu1, 0).result, kTimedOut);
}

// --- Acknowledgements

TEST_F(Chassis, AHandlerAcknowledgesWithItsResult) {
    BeginBoth();
    const auto handler = [](const DxrHostMessage *message, void *user) {
        static_cast<std::atomic<uint32_t> *>(user)->store(message->kind);
        return 1234U;
    };
    std::atomic<uint32_t> kind{0};
    ASSERT_EQ(OpenAt(line_, kLpu1, 0, handler, &kind), 0U);
    DxrHostMessage message = WithAck(MessageOf(kLpu1, 9));
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(message.result, 1234U);
    EXPECT_EQ(kind.load(), 9U) << "it was taken before";
    EXPECT_EQ(ChassisCountsOf(main_).acknowledged, 1U);
    ASSERT_EQ(DxrHostCloseMailbox(line_, &kLpu1), 0U);
}

TEST_F(Chassis, TheFirstBoardAcknowledgesToTheSecond) {
    BeginBoth();
    ASSERT_EQ(OpenAt(main_, kDevm, 0, [](const DxrHostMessage *, void *) { return 77U; }), 0U);
    ASSERT_EQ(DxrHostRegister(line_), 0U);
    DxrHostMessage message = WithAck(MessageOf(kDevm, 9));
    message.from = kLpu1;
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(message.result, 77U);
    EXPECT_EQ(ChassisCountsOf(line_).acknowledged, 1U);
}

TEST_F(Chassis, AReceiverAcknowledgesWhenItHasTakenTheMessage) {
    BeginBoth();
    ASSERT_EQ(OpenAt(line_, kLpu1), 0U);
    uint32_t early = 0;
    std::thread receiver([this, &early] {
        const Received got = Take(line_, kLpu1);
        early = DxrHostAcknowledge(line_, &got.message, 5);
    });
    DxrHostMessage message = WithAck(MessageOf(kLpu1, 9));
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(message.result, 5U);
    receiver.join();
    EXPECT_EQ(early, 0U);
    // One that nobody wants; and one that comes too late.
    ASSERT_EQ(Send(kLpu1, 10), 0U);
    const Received unwanted = Take(line_, kLpu1);
    EXPECT_EQ(DxrHostAcknowledge(line_, &unwanted.message, 0), kNotThere);
    message = WithAck(MessageOf(kLpu1, 11), 1);
    EXPECT_EQ(DXR_SendMsg(&message), kTimedOut);
    EXPECT_EQ(CountsOf(main_).timedOut, 1U);
}

TEST_F(Chassis, AHandlerMaySendAndWaitItself) {
    BeginBoth();
    // The one who asks is asked back before he is answered.
    const auto asked = [](const DxrHostMessage *, void *) { return 40U; };
    ASSERT_EQ(OpenAt(main_, kDevm, 0, asked), 0U);
    const auto asking = [](const DxrHostMessage *, void *user) {
        DxrHostMessage back = WithAck(MessageOf(kDevm, 2));
        back.from = kLpu1;
        // Slots are the main board's: it asks itself, in the handler of the other one.
        const uint32_t result = DXR_SendMsg(&back);
        *static_cast<std::atomic<uint32_t> *>(user) = result;
        return back.result + 2;
    };
    std::atomic<uint32_t> result{99};
    ASSERT_EQ(OpenAt(line_, kLpu1, 0, asking, &result), 0U);
    DxrHostMessage message = WithAck(MessageOf(kLpu1, 1));
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(result.load(), 0U);
    EXPECT_EQ(message.result, 42U);
}

TEST_F(Chassis, AnAcknowledgementOfAFormerLifeReachesNobody) {
    BeginBoth();
    Meet();
    ASSERT_EQ(OpenAt(line_, kLpu1), 0U);
    DxrHostMessage message = WithAck(MessageOf(kLpu1, 1), 300);
    ASSERT_EQ(DXR_SendMsg(&message), kTimedOut);
    const Received former = Take(line_, kLpu1);
    ASSERT_EQ(former.result, 0U);
    EndMain();
    BeginMain(1);
    // Both are as far from the first of their sender.
    ASSERT_EQ(OpenAt(main_, kDevm), 0U);
    for (uint64_t i = 1; i < (former.message.sequence & 0xFFFFFFFFFF); ++i) {
        ASSERT_EQ(Send(kDevm, 1), 0U);
    }
    std::thread receiver([this, &former] {
        const Received got = Take(line_, kLpu1);
        EXPECT_EQ(DxrHostAcknowledge(line_, &former.message, 111), 0U);
        EXPECT_EQ(DxrHostAcknowledge(line_, &got.message, 222), 0U);
    });
    message = WithAck(MessageOf(kLpu1, 2));
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(message.sequence - former.message.sequence, uint64_t{1} << 40);
    EXPECT_EQ(message.result, 222U);
    receiver.join();
    EXPECT_EQ(ChassisCountsOf(main_).acknowledged, 2U);
}

// --- Boards that are not there

TEST_F(Chassis, MessagesToADeadBoardTimeOut) {
    BeginBoth();
    Meet();
    EndLine();
    const uint64_t before = ChassisCountsOf(main_).sent;
    DxrHostMessage message = WithAck(MessageOf(kLpu1, 1), 20);
    EXPECT_EQ(DXR_SendMsg(&message), kTimedOut);
    EXPECT_EQ(Send(kLpu3, 2), 0U) << "on its way";
    // One may have left before it showed that the board is gone.
    const auto waiting = [&] {
        const DxrHostChassisCounts counts = ChassisCountsOf(main_);
        EXPECT_EQ(counts.waiting + counts.unreached + (counts.sent - before), 2U);
        return counts.waiting;
    };
    EXPECT_TRUE(Await([&] { return waiting() == 0; }));
}

TEST_F(Chassis, WhatIsGivenUpLeavesTheOthersWaiting) {
    constexpr uint32_t kPairs = 40;
    BeginMain();
    for (uint32_t i = 0; i < kPairs; ++i) {
        ASSERT_EQ(Send(kLpu3, 2 * i, "it waits"), 0U);
        DxrHostMessage brief = WithAck(MessageOf(kLpu3, 2 * i + 1, "it does not wait for long"), 1);
        ASSERT_EQ(DXR_SendMsg(&brief), kTimedOut);
    }
    // Their board begins: what waits for it then arrives as it was sent.
    DxrHost *const third = MakeHost();
    const DxrHostChassisPlan plan = PlanOf(2);
    ASSERT_EQ(DxrHostJoinChassis(third, &plan), 0U);
    ASSERT_EQ(OpenAt(third, kLpu3), 0U);
    EXPECT_TRUE(Await([this] { return ChassisCountsOf(main_).waiting == 0; }));
    const DxrHostChassisCounts counts = ChassisCountsOf(main_);
    EXPECT_EQ(counts.sent + counts.unreached, 2 * kPairs);
    EXPECT_GE(counts.unreached, kPairs / 2);
    EXPECT_TRUE(Await([&] { return ChassisCountsOf(third).received == counts.sent; }));
    int64_t last = -1;
    for (uint64_t i = 0; i < counts.sent; ++i) {
        const Received got = Take(third, kLpu3);
        ASSERT_EQ(got.result, 0U);
        EXPECT_GT(int64_t{got.message.kind}, last);
        last = got.message.kind;
        EXPECT_EQ(got.text, last % 2 == 0 ? "it waits" : "it does not wait for long");
    }
    (void)DxrHostDestroy(third, nullptr);
}

TEST_F(Chassis, ABoardThatIsStartedAgainIsReached) {
    BeginBoth();
    for (uint32_t life = 1; life < 4; ++life) {
        Meet();
        EndLine();
        BeginLine(life);
    }
    Meet();
}

TEST_F(Chassis, OnlySoMuchWaitsToLeave) {
    BeginMain();
    constexpr uint32_t kFewLarge = DXR_HOST_MOST_OUTGOING_BYTES / DXR_HOST_MESSAGE_BYTES;
    const std::string text(DXR_HOST_MESSAGE_BYTES, 'x');
    for (const auto &[bytes, most] : {std::pair{DXR_HOST_MESSAGE_BYTES, kFewLarge},
                                      std::pair{1U, DXR_HOST_MOST_OUTGOING_MESSAGES}}) {
        SCOPED_TRACE(most);
        const uint64_t unreached = ChassisCountsOf(main_).unreached;
        uint32_t sent = 0;
        uint32_t result = 0;
        while (result == 0 && sent <= 2 * most) {
            DxrHostMessage message = MessageOf(kLpu3, 1);
            message.data = text.data();
            message.bytes = bytes;
            result = DXR_SendMsg(&message);
            sent += result == 0 ? 1 : 0;
        }
        const DxrHostChassisCounts counts = ChassisCountsOf(main_);
        EXPECT_LE(counts.waiting, most);
        // On a slow machine the first ones are given up before the last ones are sent.
        EXPECT_TRUE(result == static_cast<uint32_t>(ENOBUFS) || counts.unreached > unreached);
        EXPECT_TRUE(sent == most || counts.unreached > unreached);
        EXPECT_TRUE(Await([this] { return ChassisCountsOf(main_).waiting == 0; }));
        EXPECT_EQ(ChassisCountsOf(main_).unreached - unreached, sent);
    }
    EXPECT_EQ(Send(kLpu3, 1), 0U) << "there is room again";
}

TEST_F(Chassis, ABoardThatIsSlowGetsEverything) {
    BeginMain();
    void *const context = zmq_ctx_new();
    void *const socket = zmq_socket(context, ZMQ_PULL);
    const int one = 1;
    ASSERT_EQ(zmq_setsockopt(socket, ZMQ_RCVHWM, &one, sizeof(one)), 0);
    ASSERT_EQ(zmq_bind(socket, addresses_[2].c_str()), 0);
    constexpr uint32_t kMessages = 60;
    const std::string text(DXR_HOST_MESSAGE_BYTES, 'x');
    for (uint32_t i = 0; i < kMessages; ++i) {
        DxrHostMessage message = MessageOf(kLpu3, i);
        message.data = text.data();
        message.bytes = DXR_HOST_MESSAGE_BYTES;
        ASSERT_EQ(DXR_SendMsg(&message), 0U);
    }
    // The last ones wait for longer than for a board that takes nothing.
    std::vector<char> frame(2 * DXR_HOST_MESSAGE_BYTES);
    EXPECT_TRUE(Await([&] {
        (void)usleep(35000);
        (void)zmq_recv(socket, frame.data(), frame.size(), ZMQ_DONTWAIT);
        return ChassisCountsOf(main_).waiting == 0;
    }));
    EXPECT_EQ(ChassisCountsOf(main_).unreached, 0U);
    EXPECT_EQ(ChassisCountsOf(main_).sent, kMessages);
    (void)zmq_close(socket);
    (void)zmq_ctx_term(context);
}

TEST_F(Chassis, ABoardThatIsCutOffSendsAndHearsNothing) {
    BeginBoth();
    Meet();
    ASSERT_EQ(OpenAt(line_, kLpu1), 0U);
    for (DxrHost *const cut : {main_, line_}) {
        ASSERT_EQ(DxrHostCutOff(cut, true), 0U);
        const uint64_t before = ChassisCountsOf(cut).cutOff;
        DxrHostMessage message = WithAck(MessageOf(kLpu1, 1), 300);
        EXPECT_EQ(DXR_SendMsg(&message), kTimedOut);
        EXPECT_TRUE(Await([cut, before] { return ChassisCountsOf(cut).cutOff == before + 1; }));
        EXPECT_EQ(Take(line_, kLpu1, 0).result, kTimedOut);
        ASSERT_EQ(DxrHostCutOff(cut, false), 0U);
        EXPECT_EQ(Send(kLpu1, 2), 0U);
        EXPECT_EQ(Take(line_, kLpu1).message.kind, 2U);
    }
}

// --- What may happen on the way

TEST_F(Chassis, LossesHappenAtTheSender) {
    BeginBoth();
    Meet();
    ASSERT_EQ(OpenAt(line_, kLpu1), 0U);
    DxrHostFailNth(main_, "message.lose", 1, false);
    EXPECT_EQ(Send(kLpu1, 1), 0U);
    DxrHostFailNth(main_, "message.twice", 1, false);
    EXPECT_EQ(Send(kLpu1, 2), 0U);
    DxrHostFailNth(main_, "message.reorder", 1, false);
    EXPECT_EQ(Send(kLpu1, 3), 0U);
    EXPECT_EQ(Send(kLpu1, 4), 0U);
    DxrHostFailNth(main_, "message.delay", 1, false);
    EXPECT_EQ(Send(kLpu1, 5), 0U);
    std::vector<uint32_t> kinds;
    for (int i = 0; i < 5; ++i) {
        kinds.push_back(Take(line_, kLpu1).message.kind);
    }
    EXPECT_THAT(kinds, ElementsAre(2, 2, 4, 3, 5));
    EXPECT_EQ(CountsOf(main_).lost, 1U);
    EXPECT_EQ(CountsOf(main_).twice, 1U);
    EXPECT_EQ(CountsOf(main_).held, 1U);
    EXPECT_EQ(CountsOf(main_).late, 1U);
}

TEST_F(Chassis, WhatIsNoMessageIsCounted) {
    BeginBoth();
    Meet();
    ASSERT_EQ(OpenAt(line_, kLpu1), 0U);
    void *const context = zmq_ctx_new();
    void *const socket = zmq_socket(context, ZMQ_PUSH);
    ASSERT_EQ(zmq_connect(socket, addresses_[1].c_str()), 0);
    // A frame as it is sent, from the board that does not run, and each with one byte changed or
    // cut off somewhere.
    const auto byte = [](int value) { return static_cast<char>(value); };
    std::string frame = "DXRM";
    for (const int number : {2, 1, 7, 1, 0, 2, 1, 0, 0}) {
        frame += byte(number) + std::string(3, '\0');
    }
    frame += std::string(6, '\0') + byte(0xC0) + std::string(5, '\0');
    frame += byte(3) + std::string(3, '\0') + "abc" + std::string(13, '\0');
    std::mt19937 random(1);  // NOLINT(bugprone-random-generator-seed): runs repeat
    constexpr uint64_t kFrames = 3000;
    for (uint64_t i = 0; i < kFrames; ++i) {
        std::string bad = frame;
        bad[random() % bad.size()] = static_cast<char>(random());
        bad.resize(random() % 4 == 0 ? random() % bad.size() : bad.size());
        ASSERT_EQ(zmq_send(socket, bad.data(), bad.size(), 0), static_cast<int>(bad.size()));
    }
    ASSERT_EQ(zmq_send(socket, frame.data(), frame.size(), 0), static_cast<int>(frame.size()));
    ASSERT_EQ(zmq_send(socket, "", 0, 0), 0);
    // Each frame counts as one message or as none.
    EXPECT_TRUE(Await([this] {
        const DxrHostChassisCounts counts = ChassisCountsOf(line_);
        return counts.malformed + counts.received >= kFrames + 2;
    }));
    EXPECT_GT(ChassisCountsOf(line_).malformed, kFrames / 4);
    EXPECT_GT(ChassisCountsOf(line_).received, kFrames / 10);
    (void)zmq_close(socket);
    (void)zmq_ctx_term(context);
    while (Take(line_, kLpu1, 0).result == 0) {
    }
    EXPECT_EQ(Send(kLpu1, 5), 0U);
    EXPECT_EQ(Take(line_, kLpu1).message.kind, 5U);
}

// --- Keys

TEST_F(Chassis, BoardsWithKeysOfTheListTalk) {
    const std::array<Keys, 3> keys;
    for (size_t i = 0; i < keys.size(); ++i) {
        boards_[i].publicKey = keys[i].open.data();
    }
    BeginMain(0, keys[0].secret.data());
    BeginLine(0, keys[1].secret.data());
    Meet();
    EndLine();
    // One with a key that is not in the main board's list hears nothing of it, and is not heard.
    const Keys stranger;
    boards_[1].publicKey = stranger.open.data();
    BeginLine(1, stranger.secret.data());
    ASSERT_EQ(OpenAt(line_, kLpu1), 0U);
    ASSERT_EQ(OpenAt(main_, kDevm), 0U);
    DxrHostMessage message = WithAck(MessageOf(kLpu1, 1), 150);
    EXPECT_EQ(DXR_SendMsg(&message), kTimedOut);
    ASSERT_EQ(DxrHostRegister(line_), 0U);
    message = WithAck(MessageOf(kDevm, 1), 150);
    EXPECT_EQ(DXR_SendMsg(&message), kTimedOut);
    EXPECT_EQ(ChassisCountsOf(main_).received, 0U);
    EXPECT_EQ(ChassisCountsOf(line_).received, 0U);
}

// --- Joining

TEST_F(Chassis, WhatIsNoPlanIsRefused) {
    main_ = MakeHost();
    const auto join = [this](auto change) {
        const std::array<DxrHostChassisBoard, 3> before = boards_;
        DxrHostChassisPlan plan = PlanOf(0);
        change(plan);
        const uint32_t result = DxrHostJoinChassis(main_, &plan);
        boards_ = before;
        return result;
    };
    const Keys keys;
    const DxrHostUnit wrong = {6, 0};
    EXPECT_EQ(DxrHostJoinChassis(main_, nullptr), kInvalid);
    EXPECT_EQ(join([](auto &plan) { plan.size = 1; }), kInvalid);
    EXPECT_EQ(join([](auto &plan) { plan.boards = nullptr; }), kInvalid);
    EXPECT_EQ(join([](auto &plan) { plan.self = 3; }), kInvalid);
    EXPECT_EQ(join([](auto &plan) { plan.boardCount = DXR_HOST_MOST_BOARDS + 1; }), kInvalid);
    EXPECT_EQ(join([](auto &plan) { plan.incarnation = 16384; }), kInvalid);
    EXPECT_EQ(join([this](auto &) { boards_[2].address = nullptr; }), kInvalid);
    EXPECT_EQ(join([this](auto &) { boards_[2].address = "udp://127.0.0.1:1"; }), kInvalid);
    EXPECT_EQ(join([this](auto &) { boards_[2].units = nullptr; }), kInvalid);
    EXPECT_EQ(join([this, &wrong](auto &) { boards_[2].units = &wrong; }), kInvalid);
    EXPECT_EQ(join([this](auto &) { boards_[2].units = &kLpu2; }), kInvalid) << "on two boards";
    EXPECT_EQ(join([this](auto &) { boards_[2].address = addresses_[1].c_str(); }), kInvalid);
    EXPECT_EQ(join([&keys](auto &plan) { plan.secretKey = keys.secret.data(); }), kInvalid);
    EXPECT_EQ(join([this, &keys](auto &) { boards_[0].publicKey = keys.open.data(); }), kInvalid);
    EXPECT_EQ(join([this](auto &plan) {
                  const char *const none = "0123456789012345678901234567890123456 \"'";
                  for (DxrHostChassisBoard &board : boards_) {
                      board.publicKey = none;
                  }
                  plan.secretKey = none;
              }),
              kInvalid);
    EXPECT_EQ(join([this](auto &) { boards_[2].address = "tcp://192.0.2.1:5600"; }),
              static_cast<uint32_t>(EACCES));
    EXPECT_EQ(join([this](auto &) { boards_[0].address = "ipc:///tmp/no_such_directory/a"; }),
              kNotThere);
    EXPECT_EQ(DxrHostCutOff(main_, true), kNotThere);
    EXPECT_EQ(ChassisCountsOf(main_).sent, 0U);
    EXPECT_EQ(join([](auto &) {}), 0U);
    EXPECT_EQ(join([](auto &) {}), static_cast<uint32_t>(EEXIST));
    EXPECT_EQ(DxrHostCutOff(main_, true), 0U);
}

TEST_F(Chassis, AnAddressIsListenedAtByOneBoard) {
    BeginMain();
    line_ = MakeHost();
    boards_[1].address = "tcp://127.0.0.1:1";  // a port that a program may not have
    DxrHostChassisPlan plan = PlanOf(1);
    if (geteuid() != 0) {
        EXPECT_EQ(DxrHostJoinChassis(line_, &plan), static_cast<uint32_t>(EACCES));
    }
    // Each looks for a port that is free.
    uint32_t port = 20000 + static_cast<uint32_t>(getpid()) % 20000;
    uint32_t result = EADDRINUSE;
    for (int i = 0; i < 100 && result == EADDRINUSE; ++i, ++port) {
        addresses_[1] = "tcp://[::1]:" + std::to_string(port);
        boards_[1].address = addresses_[1].c_str();
        plan = PlanOf(1);
        result = DxrHostJoinChassis(line_, &plan);
    }
    if (result != 0) {
        GTEST_SKIP() << "no address of the kind here";
    }
    DxrHost *const other = MakeHost();
    EXPECT_EQ(DxrHostJoinChassis(other, &plan), static_cast<uint32_t>(EADDRINUSE));
    (void)DxrHostDestroy(other, nullptr);
}

TEST_F(Chassis, APathIsNotTakenFromTheBoardThatListensThere) {
    BeginBoth();
    Meet();
    DxrHost *const other = MakeHost();
    const DxrHostChassisPlan plan = PlanOf(1, 1);
    EXPECT_EQ(DxrHostJoinChassis(other, &plan), static_cast<uint32_t>(EADDRINUSE));
    (void)DxrHostDestroy(other, nullptr);
    // A board that looks for it only now finds the one that was there.
    EndMain();
    BeginMain(1);
    DxrHostMessage message = WithAck(MessageOf(kLpu2, 1));
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
}

TEST(ChassisClock, IsTheMachines) {
    const DxrHostChassisBoard board{"ipc:///tmp/nobody", nullptr, nullptr, 0, 0};
    const DxrHostChassisPlan plan{sizeof(plan), 1, &board, nullptr, 0, 0};
    for (const uint32_t clock : {DXR_HOST_CLOCK_STEPPED, DXR_HOST_CLOCK_VIRTUAL}) {
        DxrHost *const host = MakeHost(clock);
        EXPECT_EQ(DxrHostJoinChassis(host, &plan), kInvalid);
        EXPECT_EQ(DxrHostStop(host), kInvalid);
        (void)DxrHostDestroy(host, nullptr);
    }
    EXPECT_EQ(DxrHostJoinChassis(nullptr, &plan), kEnded);
    EXPECT_EQ(DxrHostCutOff(nullptr, true), kEnded);
    EXPECT_EQ(DxrHostStop(nullptr), kEnded);
    EXPECT_EQ(ChassisCountsOf(nullptr).sent, 0U);
}

TEST(ChassisAddresses, SayWhereTheyAre) {
    const auto here = DXR_HOST_ADDRESS_HERE;
    const auto there = DXR_HOST_ADDRESS_THERE;
    for (const auto &[address, kind] : std::initializer_list<std::pair<const char *, uint32_t>>{
             {"ipc:///tmp/a", here},
             {"ipc://a", here},
             {"tcp://127.0.0.1:5600", here},
             {"tcp://127.1.2.3:65535", here},
             {"tcp://[::1]:1", here},
             {"tcp://192.0.2.1:5600", there},
             {"tcp://[2001:db8::1]:5600", there},
             {"tcp://128.0.0.1:1", there},
         }) {
        EXPECT_EQ(DxrHostGetAddressKind(address), kind) << address;
    }
    const std::string longest = "ipc:///" + std::string(120, 'a');
    for (const char *const none : {"",
                                   "ipc://",
                                   "ipc://*",
                                   "ipc://*a",
                                   "ipc://@a",
                                   longest.c_str(),
                                   "tcp://",
                                   "tcp://127.0.0.1",
                                   "tcp://127.0.0.1:",
                                   "tcp://127.0.0.1:0",
                                   "tcp://127.0.0.1:65536",
                                   "tcp://127.0.0.1:1x",
                                   "tcp://0.0.0.0:1",
                                   "tcp://[::]:1",
                                   "tcp://*:1",
                                   "tcp://localhost:1",
                                   "tcp://::1:1",
                                   "tcp://[127.0.0.1]:1",
                                   "tcp://[]:1",
                                   "udp://127.0.0.1:1",
                                   "inproc://a"}) {
        EXPECT_EQ(DxrHostGetAddressKind(none), DXR_HOST_ADDRESS_NONE) << none;
    }
    EXPECT_EQ(DxrHostGetAddressKind(nullptr), DXR_HOST_ADDRESS_NONE);
    EXPECT_EQ(DxrHostMakeKeys(nullptr, nullptr), kInvalid);
}

TEST(ChassisKeys, SecretOnesHaveTheirPublicOnes) {
    const Keys keys;
    std::array<char, DXR_HOST_KEY_BYTES> open{};
    EXPECT_EQ(DxrHostGetPublicKey(keys.secret.data(), open.data()), 0U);
    EXPECT_EQ(open, keys.open);
    // A text that is no key is not decoded.
    open.fill('#');
    const std::string secret = keys.secret.data();
    for (const std::string &none :
         {std::string(), secret.substr(1), secret + secret, secret.substr(1) + "\x7f"}) {
        EXPECT_EQ(DxrHostGetPublicKey(none.c_str(), open.data()), kInvalid) << none;
        EXPECT_EQ(open[0], '#');
    }
    EXPECT_EQ(DxrHostGetPublicKey(nullptr, open.data()), kInvalid);
    EXPECT_EQ(DxrHostGetPublicKey(secret.c_str(), nullptr), kInvalid);
}

// --- The end of a run

using StoppedHost = dxrtest::RealHost;

TEST_F(StoppedHost, LetsEveryWaitEnd) {
    ASSERT_EQ(Open(kLpu3), 0U);
    uint32_t result = 0;
    std::thread waiting([&result] { result = Receive(kLpu3, DXR_HOST_FOREVER).result; });
    (void)usleep(20000);  // it waits by now, or finds the end later
    EXPECT_EQ(DxrHostStop(host), 0U);
    waiting.join();
    EXPECT_EQ(result, kEnded);
    EXPECT_EQ(DxrHostStop(host), 0U);
    EXPECT_EQ(Send(kLpu3, 1), kEnded);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), IsEmpty());
}

}  // namespace
