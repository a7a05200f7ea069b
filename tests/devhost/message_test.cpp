// The host's message service, by the sentences of its header: sending, mailboxes, acknowledgements,
// events. What may happen on the way is in message_way_test.cpp.
#include "dxr_devhost/message.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "devhost/message_fixture.h"
#include "dxr_devhost/inspect.h"

namespace {

using namespace dxrtest;  // NOLINT(google-build-using-namespace): the fixture's words
using testing::ElementsAre;
using testing::HasSubstr;

using HostMessages = dxrtest::SteppedHost;
using MessagesInVirtualTime = dxrtest::VirtualHost;
using MessagesInRealTime = dxrtest::RealHost;

// A handler that ends its thread has ended: the mailbox goes on, and can be closed.
TEST_F(MessagesInRealTime, AHandlerMayEndItsThread) {
    static std::atomic<uint32_t> calls;
    calls = 0;
    EXPECT_EQ(Open(kLpu3, 8,
                   [](const DxrHostMessage *message, void *) {
                       ++calls;
                       if (message->kind == 1) {
                           pthread_exit(nullptr);
                       }
                       return 0U;
                   }),
              0U);
    std::thread([] {
        DxrHostMessage message = MessageOf(kLpu3, 1);
        (void)DXR_SendMsg(&message);
    }).join();
    DxrHostMessage message = MessageOf(kLpu3, 2);
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(calls, 2U);
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    EXPECT_EQ(End(), 0U);
}

// What waits behind its message is handled all the same, though nobody sends any more.
TEST_F(MessagesInVirtualTime, AHandlerThatEndsItsThreadLeavesTheRestToTheTimers) {
    static std::vector<uint32_t> handled;
    handled.clear();
    EXPECT_EQ(Open(kLpu3, 8,
                   [](const DxrHostMessage *message, void *) {
                       handled.push_back(message->kind);
                       if (message->kind == 1) {
                           for (const uint32_t kind : {2U, 3U, 4U}) {
                               DxrHostMessage behind = MessageOf(kLpu3, kind);
                               EXPECT_EQ(DXR_SendMsg(&behind), 0U);
                           }
                       }
                       if (message->kind % 2 == 1) {
                           pthread_exit(nullptr);
                       }
                       return 0U;
                   }),
              0U);
    void (*const send)(void *) = [](void *) {
        DxrHostMessage message = MessageOf(kLpu3, 1);
        message.flags = DXR_HOST_MESSAGE_ACK;
        (void)DXR_SendMsg(&message);
    };
    ASSERT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(send), nullptr, 1, nullptr, 0, nullptr),
        0U);
    (void)DXR_DelayTask(10);
    EXPECT_THAT(handled, ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                testing::UnorderedElementsAre(
                    HasSubstr("has ended its thread instead of returning"),
                    "the handler of a mailbox has ended its thread instead of returning"));
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    EXPECT_EQ(End(), 0U);
}

// --- Sending

TEST_F(HostMessages, ArriveInTheirOrderWithWhatTheySay) {
    EXPECT_EQ(Open(kLpu3), 0U);
    DxrHostMessage message = MessageOf(kLpu3, 18, "hello");
    message.code = 77;
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(message.sequence, 1U);
    std::array<char, 8> text = {"second"};
    message.data = text.data();
    message.bytes = 6;
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(message.sequence, 2U);
    text = {"gone"};  // copied when it was sent
    EXPECT_EQ(DxrHostGetWaitingMessages(host, &kLpu3), 2U);
    const Received first = Receive(kLpu3);
    EXPECT_EQ(first.result, 0U);
    EXPECT_EQ(first.text, "hello");
    EXPECT_EQ(first.message.size, sizeof(DxrHostMessage));
    EXPECT_EQ(first.message.kind, 18U);
    EXPECT_EQ(first.message.from.kind, DXR_HOST_UNIT_MPU);
    EXPECT_EQ(first.message.to.kind, DXR_HOST_UNIT_LPU);
    EXPECT_EQ(first.message.to.number, 3U);
    EXPECT_EQ(first.message.sequence, 1U);
    EXPECT_EQ(first.message.code, 77U);
    const Received second = Receive(kLpu3);
    EXPECT_EQ(second.text, "second");
    EXPECT_EQ(second.message.sequence, 2U);
    EXPECT_EQ(Receive(kLpu3).result, kTimedOut);
    EXPECT_EQ(DxrHostGetWaitingMessages(host, &kLpu3), 0U);
    EXPECT_EQ(Counts().sent, 2U);
    EXPECT_EQ(Counts().arrived, 2U);
    EXPECT_EQ(Counts().taken, 2U);
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    EXPECT_EQ(End(), 0U);
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostMessages, ReachTheUnitsThatTheSlotsName) {
    for (const DxrHostUnit &unit : {kMpu, kDevm, kLpu3, kSfu1, kNp}) {
        EXPECT_EQ(Open(unit), 0U);
    }
    DxrHostMessage message = MessageOf({0, 3}, 5);
    EXPECT_EQ(DXR_SendMsgToMpu(&message), 0U);
    EXPECT_EQ(message.to.kind, DXR_HOST_UNIT_MPU);
    EXPECT_EQ(message.to.number, 0U);
    EXPECT_EQ(DXR_SendMsgToDevm(&message), 0U);
    EXPECT_EQ(message.to.kind, DXR_HOST_UNIT_DEVM);
    message.to.number = 3;
    EXPECT_EQ(DXR_SendMsgToLpu(&message), 0U);
    EXPECT_EQ(message.to.kind, DXR_HOST_UNIT_LPU);
    EXPECT_EQ(message.to.number, 3U);
    message.to.number = 1;
    EXPECT_EQ(DXR_SendMsgToSfu(&message), 0U);
    DXR_SendMsgToNp(99);
    for (const DxrHostUnit &unit : {kMpu, kDevm, kLpu3, kSfu1}) {
        EXPECT_THAT(Kinds(unit), ElementsAre(5U)) << unit.kind;
    }
    const Received np = Receive(kNp);
    EXPECT_EQ(np.message.kind, 99U);
    EXPECT_EQ(np.message.bytes, 0U);
    EXPECT_EQ(np.message.from.kind, DXR_HOST_UNIT_MPU);
    EXPECT_EQ(DxrHostCloseMailbox(host, &kNp), 0U);
    DXR_SendMsgToNp(99);
    EXPECT_EQ(Counts().refused, 1U);
}

TEST_F(HostMessages, EopEventsGoToDeviceManagement) {
    EXPECT_EQ(DXR_SendEopEvent(4, nullptr), static_cast<uint32_t>(ENXIO));
    EXPECT_EQ(Open(kDevm), 0U);
    EXPECT_EQ(DXR_SendEopEvent(4, nullptr), 0U);
    DxrHostEopEvent event{sizeof(DxrHostEopEvent), 3, kLpu3, "abc"};
    EXPECT_EQ(DXR_SendEopEvent(5, &event), 0U);
    Received received = Receive(kDevm);
    EXPECT_EQ(received.message.kind, DXR_HOST_MESSAGE_EOP);
    EXPECT_EQ(received.message.code, 4U);
    EXPECT_EQ(received.message.from.kind, 0U);
    EXPECT_EQ(received.text, "");
    received = Receive(kDevm);
    EXPECT_EQ(received.message.code, 5U);
    EXPECT_EQ(received.message.from.number, 3U);
    EXPECT_EQ(received.text, "abc");
    event.size = 0;
    EXPECT_EQ(DXR_SendEopEvent(5, &event), kInvalid);
    event.size = sizeof(event);
    event.data = nullptr;
    EXPECT_EQ(DXR_SendEopEvent(5, &event), kInvalid);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 2U);
}

TEST_F(HostMessages, ThatAreWrongAreNotSent) {
    EXPECT_EQ(Open(kLpu3, 2), 0U);
    EXPECT_EQ(DXR_SendMsg(nullptr), kInvalid);
    std::array<DxrHostMessage, 2> room{};
    EXPECT_EQ(DXR_SendMsgToMpu(reinterpret_cast<char *>(room.data()) + 4), kInvalid);
    EXPECT_EQ(DXR_SendMsgToLpu(room.data()), kInvalid) << "no size";
    DxrHostMessage message = MessageOf({6, 0}, 1);
    EXPECT_EQ(DXR_SendMsg(&message), kInvalid);
    message.to = kLpu3;
    message.from.kind = 77;
    EXPECT_EQ(DXR_SendMsg(&message), kInvalid);
    message.from.kind = 0;
    message.flags = 2;
    EXPECT_EQ(DXR_SendMsg(&message), kInvalid);
    EXPECT_STREQ(reports.back().service, "message");
    message.flags = 0;
    message.data = nullptr;
    message.bytes = 1;
    EXPECT_EQ(DXR_SendMsg(&message), kInvalid);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 7U);
    const std::string large(DXR_HOST_MESSAGE_BYTES + 1, 'x');
    message.data = large.data();
    message.bytes = DXR_HOST_MESSAGE_BYTES + 1;
    EXPECT_EQ(DXR_SendMsg(&message), static_cast<uint32_t>(EMSGSIZE));
    message.bytes = DXR_HOST_MESSAGE_BYTES;
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_EQ(Send(kSfu1, 1), static_cast<uint32_t>(ENXIO));
    EXPECT_EQ(Send(kLpu3, 1), 0U);
    EXPECT_EQ(Send(kLpu3, 1), static_cast<uint32_t>(ENOBUFS)) << "two at most";
    EXPECT_EQ(Counts().sent, 2U);
    EXPECT_EQ(Counts().refused, 2U);
    DxrHostFailNth(host, "message.send", 1, false);
    EXPECT_EQ(Send(kLpu3, 1), static_cast<uint32_t>(ENOMEM));
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 7U);
}

// --- Mailboxes

TEST_F(HostMessages, MailboxesAreOpenedOnce) {
    EXPECT_EQ(Open(kLpu3), 0U);
    EXPECT_EQ(Open(kLpu3), static_cast<uint32_t>(EEXIST));
    EXPECT_EQ(Open({DXR_HOST_UNIT_LPU, 4}), 0U);
    EXPECT_EQ(Open({0, 0}), kInvalid);
    EXPECT_EQ(Open({6, 0}), kInvalid);
    EXPECT_EQ(DxrHostOpenMailbox(host, nullptr), kInvalid);
    const DxrHostMailbox wrong{1, 0, kSfu1, nullptr, nullptr};
    EXPECT_EQ(DxrHostOpenMailbox(host, &wrong), kInvalid);
    DxrHostFailNth(host, "mailbox.open", 1, false);
    EXPECT_EQ(Open(kSfu1), static_cast<uint32_t>(ENOMEM));
    EXPECT_EQ(Send(kSfu1, 1), static_cast<uint32_t>(ENXIO));
    EXPECT_EQ(DxrHostCloseMailbox(host, nullptr), kInvalid);
    EXPECT_EQ(DxrHostCloseMailbox(host, &kSfu1), kNotThere);
    EXPECT_EQ(Send(kLpu3, 1), 0U);
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    EXPECT_EQ(Counts().dropped, 1U);
    EXPECT_EQ(DxrHostGetWaitingMessages(host, &kLpu3), 0U);
    EXPECT_EQ(Receive(kLpu3).result, kNotThere);
    EXPECT_EQ(Open(kLpu3), 0U) << "again";
    EXPECT_EQ(Receive(kLpu3).result, kTimedOut) << "what waited is lost";
}

TEST_F(HostMessages, HoldAThousandUnlessToldOtherwise) {
    EXPECT_EQ(Open(kLpu3), 0U);
    for (int i = 0; i < 1024; ++i) {
        ASSERT_EQ(Send(kLpu3, 1), 0U);
    }
    EXPECT_EQ(Send(kLpu3, 1), static_cast<uint32_t>(ENOBUFS));
    EXPECT_EQ(Receive(kLpu3).result, 0U);
    EXPECT_EQ(Send(kLpu3, 1), 0U);
}

TEST_F(HostMessages, ThatDoNotFitStay) {
    EXPECT_EQ(Open(kLpu3), 0U);
    EXPECT_EQ(Send(kLpu3, 7, "12345"), 0U);
    DxrHostMessage message{};
    std::array<char, 8> buffer = {"-------"};
    EXPECT_EQ(DxrHostReceiveMessage(host, &kLpu3, &message, buffer.data(), 4, 0),
              static_cast<uint32_t>(EMSGSIZE));
    EXPECT_EQ(message.bytes, 5U);
    EXPECT_EQ(message.kind, 7U);
    EXPECT_STREQ(buffer.data(), "-------");
    EXPECT_EQ(DxrHostReceiveMessage(host, &kLpu3, &message, nullptr, 0, 0),
              static_cast<uint32_t>(EMSGSIZE));
    EXPECT_EQ(DxrHostReceiveMessage(host, &kLpu3, &message, buffer.data(), 5, 0), 0U);
    EXPECT_STREQ(buffer.data(), "12345--");
    EXPECT_EQ(message.data, buffer.data());
    EXPECT_EQ(Send(kLpu3, 8), 0U);
    EXPECT_EQ(DxrHostReceiveMessage(host, &kLpu3, &message, nullptr, 0, 0), 0U) << "empty";
    EXPECT_EQ(DxrHostReceiveMessage(host, nullptr, &message, nullptr, 0, 0), kInvalid);
    EXPECT_EQ(DxrHostReceiveMessage(host, &kLpu3, nullptr, nullptr, 0, 0), kInvalid);
    EXPECT_EQ(DxrHostReceiveMessage(host, &kLpu3, &message, nullptr, 1, 0), kInvalid);
}

TEST_F(HostMessages, AreLeftBehindInOpenMailboxes) {
    EXPECT_EQ(Open(kLpu3), 0U);
    EXPECT_EQ(Open(kSfu1), 0U);
    EXPECT_EQ(Send(kLpu3, 1), 0U);
    EXPECT_EQ(Send(kLpu3, 1), 0U);
    DxrHostFailNth(host, "message.delay", 1, false);
    EXPECT_EQ(Send(kSfu1, 1), 0U) << "late, and so lost";
    EXPECT_EQ(End(), 2U);
    EXPECT_THAT(
        Texts(DXR_HOST_REPORT_LEFTOVER),
        ElementsAre(HasSubstr("left behind: mailbox lpu 3 with 2 messages not fetched, made by "
                              "DxrHostOpenMailbox by "),
                    HasSubstr("left behind: mailbox sfu 1, made by ")));
}

// --- Handlers

struct Log {
    std::vector<std::string> lines;
    uint32_t answer = 0;
};

uint32_t Note(const DxrHostMessage *message, void *user) {
    auto *const log = static_cast<Log *>(user);
    log->lines.emplace_back(static_cast<const char *>(message->data), message->bytes);
    return log->answer;
}

TEST_F(HostMessages, AreHandledAtOnce) {
    Log log;
    EXPECT_EQ(Open(kLpu3, 0, Note, &log), 0U);
    EXPECT_EQ(Send(kLpu3, 1, "one"), 0U);
    EXPECT_EQ(Send(kLpu3, 1, "two"), 0U);
    EXPECT_THAT(log.lines, ElementsAre("one", "two"));
    EXPECT_EQ(Counts().taken, 2U);
    EXPECT_EQ(Receive(kLpu3).result, kInvalid) << "it has a handler";
    DxrHostFailNth(host, "message.delay", 1, false);
    EXPECT_EQ(Send(kLpu3, 1, "late"), 0U);
    EXPECT_EQ(log.lines.size(), 2U);
    DxrHostAdvance(host, DXR_HOST_MESSAGE_DELAY_MS);
    EXPECT_THAT(log.lines, ElementsAre("one", "two", "late"));
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    EXPECT_EQ(Send(kLpu3, 1, "three"), static_cast<uint32_t>(ENXIO));
}

// An exception of a handler's ends with its call; the mailbox goes on.
TEST_F(HostMessages, AHandlerMayThrow) {
    uint32_t calls = 0;
    const auto handler = [](const DxrHostMessage *message, void *user) -> uint32_t {
        ++*static_cast<uint32_t *>(user);
        if (message->kind == 1) {
            throw std::runtime_error("too hot");
        }
        if (message->kind == 2) {
            throw 2;  // NOLINT(hicpp-exception-baseclass)
        }
        return 5;
    };
    ASSERT_EQ(Open(kLpu3, 0, handler, &calls), 0U);
    EXPECT_EQ(Send(kLpu3, 1), 0U);
    EXPECT_EQ(Send(kLpu3, 2), 0U);
    EXPECT_EQ(Send(kLpu3, 3), 0U);
    EXPECT_EQ(calls, 3U);
    EXPECT_EQ(Counts().taken, 3U);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre(testing::MatchesRegex(
                    "an exception left the handler of a mailbox, .*message_test.*: too hot")));
    DxrHostReport report{};
    EXPECT_TRUE(DxrHostGetReport(host, 0, &report));
    EXPECT_EQ(report.count, 2U);
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    EXPECT_EQ(End(), 0U);
}

// Sends on until it has counted down; then closes its own mailbox.
uint32_t CountDown(const DxrHostMessage *message, void *user) {
    auto *const log = static_cast<Log *>(user);
    log->lines.push_back("begin " + std::to_string(message->code));
    if (message->code != 0) {
        DxrHostMessage next = MessageOf(kLpu3, 1);
        next.code = message->code - 1;
        EXPECT_EQ(DXR_SendMsg(&next), 0U);
    } else {
        EXPECT_EQ(DxrHostCloseMailbox(nullptr, &kLpu3), 0U);
        EXPECT_EQ(Open(kLpu3), 0U) << "another one";
        EXPECT_EQ(Send(kLpu3, 9), 0U);
    }
    log->lines.push_back("end " + std::to_string(message->code));
    return 0;
}

TEST_F(HostMessages, AreHandledOneAfterTheOther) {
    Log log;
    EXPECT_EQ(Open(kLpu3, 0, CountDown, &log), 0U);
    DxrHostMessage message = MessageOf(kLpu3, 1);
    message.code = 2;
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    EXPECT_THAT(log.lines, ElementsAre("begin 2", "end 2", "begin 1", "end 1", "begin 0", "end 0"));
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(9U));
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostMessages, ListTheOpenMailboxes) {
    EXPECT_EQ(DxrHostGetMailboxes(host, nullptr, 0), 0U);
    EXPECT_EQ(Open(kLpu3), 0U);
    DxrHostMailbox handled{sizeof(handled), 7, kSfu1, nullptr, nullptr};
    handled.handler = [](const DxrHostMessage *, void *) { return 0U; };
    EXPECT_EQ(DxrHostOpenMailbox(host, &handled), 0U);
    DxrHostMessage message = MessageOf(kLpu3, 18, "hello");
    EXPECT_EQ(DXR_SendMsg(&message), 0U);
    std::array<DxrHostMailboxInfo, 3> found{};
    EXPECT_EQ(DxrHostGetMailboxes(host, found.data(), 1), 2U);
    EXPECT_EQ(found[1].unit.kind, 0U) << "no room for it";
    EXPECT_EQ(DxrHostGetMailboxes(host, nullptr, 3), 2U);
    EXPECT_EQ(DxrHostGetMailboxes(host, found.data(), 3), 2U);
    EXPECT_EQ(found[0].unit.kind, kLpu3.kind);
    EXPECT_EQ(found[0].unit.number, kLpu3.number);
    EXPECT_EQ(found[0].most, 1024U);
    EXPECT_EQ(found[0].waiting, 1U);
    EXPECT_EQ(found[0].hasHandler, 0U);
    EXPECT_EQ(found[1].unit.kind, kSfu1.kind);
    EXPECT_EQ(found[1].most, 7U);
    EXPECT_EQ(found[1].hasHandler, 1U);
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    EXPECT_EQ(DxrHostCloseMailbox(host, &kSfu1), 0U);
    EXPECT_EQ(DxrHostGetMailboxes(host, found.data(), 3), 0U);
}

// --- Acknowledgements

uint32_t SendAndWait(DxrHostUnit to, uint32_t ms, uint32_t &result) {
    DxrHostMessage message = MessageOf(to, 1, "please");
    message.flags = DXR_HOST_MESSAGE_ACK;
    message.timeoutMs = ms;
    message.result = 4711;
    const uint32_t status = DXR_SendMsg(&message);
    result = message.result;
    return status;
}

TEST_F(HostMessages, AreAcknowledgedByHandlers) {
    Log log;
    log.answer = 23;
    EXPECT_EQ(Open(kLpu3, 0, Note, &log), 0U);
    uint32_t result = 0;
    EXPECT_EQ(SendAndWait(kLpu3, DXR_HOST_FOREVER, result), 0U);
    EXPECT_EQ(result, 23U);
    EXPECT_EQ(SendAndWait(kLpu3, 0, result), 0U) << "it was there at once";
    log.answer = DXR_HOST_ACK_LATER;
    EXPECT_EQ(SendAndWait(kLpu3, 0, result), kTimedOut);
    EXPECT_EQ(result, 4711U);
    EXPECT_EQ(log.lines.size(), 3U);
    EXPECT_EQ(Counts().timedOut, 1U);
    EXPECT_EQ(Counts().sent, 3U);
}

// A handler that sends on with the record that its own sender used, and waits as that one does.
uint32_t SendOnWithTheSameRecord(const DxrHostMessage *message, void *user) {
    auto *const record = static_cast<DxrHostMessage *>(user);
    if (message->to.kind == DXR_HOST_UNIT_LPU) {
        record->to = kSfu1;
        EXPECT_EQ(DXR_SendMsg(record), 0U);
        EXPECT_EQ(record->result, 8U);
        record->timeoutMs = 0;
        return 7;
    }
    return 8;
}

TEST_F(HostMessages, AreAcknowledgedWhateverBecomesOfTheRecord) {
    DxrHostMessage record = MessageOf(kLpu3, 1);
    record.flags = DXR_HOST_MESSAGE_ACK;
    record.timeoutMs = 100;
    EXPECT_EQ(Open(kLpu3, 0, SendOnWithTheSameRecord, &record), 0U);
    EXPECT_EQ(Open(kSfu1, 0, SendOnWithTheSameRecord, &record), 0U);
    EXPECT_EQ(DXR_SendMsg(&record), 0U);
    EXPECT_EQ(record.result, 7U);
}

TEST_F(MessagesInVirtualTime, AreAcknowledgedByReceivers) {
    EXPECT_EQ(Open(kLpu3), 0U);
    uint32_t server = 0;
    const auto serve = [](void *) {
        for (;;) {
            const Received received = Receive(kLpu3, DXR_HOST_FOREVER);
            DXR_DelayTask(30);
            EXPECT_EQ(received.text, "please");
            (void)DxrHostAcknowledge(nullptr, &received.message, 5);
        }
    };
    EXPECT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(+serve), nullptr, 1, nullptr, 0, &server),
        0U);
    uint32_t result = 0;
    EXPECT_EQ(SendAndWait(kLpu3, 1000, result), 0U);
    EXPECT_EQ(result, 5U);
    EXPECT_EQ(DxrHostGetElapsedNs(host), 30000000U);
    EXPECT_EQ(SendAndWait(kLpu3, 20, result), kTimedOut);
    EXPECT_EQ(DxrHostGetElapsedNs(host), 50000000U);
    EXPECT_EQ(Counts().timedOut, 1U);
    EXPECT_EQ(Counts().taken, 2U) << "it has arrived all the same";
    EXPECT_EQ(SendAndWait(kLpu3, DXR_HOST_FOREVER, result), 0U);
    DXR_RebootOS(0, nullptr);
    EXPECT_EQ(Send(kLpu3, 1), kEnded);
    EXPECT_EQ(Receive(kLpu3, 1000).result, kEnded);
    EXPECT_EQ(Receive(kLpu3, 0).result, kEnded) << "also without waiting";
    EXPECT_EQ(End(), 2U) << "the task and the mailbox";
}

TEST_F(HostMessages, AreAcknowledgedOnce) {
    EXPECT_EQ(Open(kLpu3), 0U);
    EXPECT_EQ(Send(kLpu3, 1), 0U);
    const Received received = Receive(kLpu3);
    EXPECT_EQ(DxrHostAcknowledge(host, &received.message, 1), kNotThere) << "not wanted";
    EXPECT_EQ(DxrHostAcknowledge(host, nullptr, 1), kInvalid);
    static uint32_t second = 0;
    const auto twice = [](const DxrHostMessage *message, void *) -> uint32_t {
        EXPECT_EQ(DxrHostAcknowledge(nullptr, message, 6), 0U);
        second = DxrHostAcknowledge(nullptr, message, 7);
        return 8;
    };
    EXPECT_EQ(Open(kSfu1, 0, twice), 0U);
    uint32_t result = 0;
    EXPECT_EQ(SendAndWait(kSfu1, 0, result), 0U);
    EXPECT_EQ(result, 6U);
    EXPECT_EQ(second, kNotThere);
}

// --- Waiting

TEST_F(MessagesInVirtualTime, AreWaitedForInTheHostsTime) {
    EXPECT_EQ(Open(kLpu3), 0U);
    EXPECT_EQ(Receive(kLpu3, 250).result, kTimedOut);
    EXPECT_EQ(DxrHostGetElapsedNs(host), 250000000U);
    const auto send = [](void *) {
        DXR_DelayTask(100);
        EXPECT_EQ(Send(kLpu3, 1, "now"), 0U);
        DXR_DelayTask(100);
        EXPECT_EQ(DxrHostCloseMailbox(nullptr, &kLpu3), 0U);
    };
    EXPECT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(+send), nullptr, 1, nullptr, 0, nullptr),
        0U);
    EXPECT_EQ(Receive(kLpu3, DXR_HOST_FOREVER).text, "now");
    EXPECT_EQ(DxrHostGetElapsedNs(host), 350000000U);
    EXPECT_EQ(Receive(kLpu3, DXR_HOST_FOREVER).result, kNotThere) << "closed while it waited";
    EXPECT_EQ(DxrHostGetElapsedNs(host), 450000000U);
    EXPECT_EQ(Open(kLpu3), 0U);
    EXPECT_EQ(Receive(kLpu3, DXR_HOST_FOREVER).result, kEnded);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN),
                ElementsAre(HasSubstr("\"main\" waits for a message for lpu 3 "
                                      "(DxrHostReceiveMessage")));
}

uint32_t WaitForEver(const DxrHostMessage * /*message*/, void *user) {
    *static_cast<bool *>(user) = true;
    (void)DXR_DelayTask(DXR_HOST_FOREVER - 1);
    return 0;
}

TEST_F(MessagesInVirtualTime, HandlersThatWaitAreEndedWithTheHost) {
    std::array<bool, 2> isInside{};
    EXPECT_EQ(Open(kLpu3, 0, WaitForEver, &isInside[0]), 0U);
    EXPECT_EQ(Open(kSfu1, 0, WaitForEver, &isInside[1]), 0U);
    const auto send = [](void *) { (void)Send(kLpu3, 1, "in a task"); };
    EXPECT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(+send), nullptr, 1, nullptr, 0, nullptr),
        0U);
    DxrHostFailNth(host, "message.delay", 1, false);
    DxrHostFailNth(host, "message.twice", 2, false);  // the task's: its second one is not lost
    EXPECT_EQ(Send(kSfu1, 1, "on the timer's task"), 0U);
    EXPECT_EQ(DXR_DelayTask(2 * DXR_HOST_MESSAGE_DELAY_MS), 0U);
    EXPECT_TRUE(isInside[0]);
    EXPECT_TRUE(isInside[1]);
    EXPECT_EQ(Counts().twice, 1U);
    EXPECT_EQ(Send(kLpu3, 1, "this one waits"), 0U);
    EXPECT_EQ(End(), 3U) << "the task and the mailboxes";
}

TEST_F(MessagesInRealTime, AreClosedWhenTheirHandlerHasEnded) {
    struct Both {
        std::atomic<bool> isInside{false};
        std::atomic<bool> mayLeave{false};
    } both;
    const auto wait = [](const DxrHostMessage *, void *user) -> uint32_t {
        auto *const with = static_cast<Both *>(user);
        with->isInside = true;
        while (!with->mayLeave) {
            std::this_thread::yield();
        }
        with->isInside = false;
        return 0;
    };
    EXPECT_EQ(Open(kLpu3, 0, wait, &both), 0U);
    std::thread sender([] { EXPECT_EQ(Send(kLpu3, 1), 0U); });
    while (!both.isInside) {
        std::this_thread::yield();
    }
    EXPECT_EQ(Send(kLpu3, 2), 0U) << "it waits for the other thread";
    std::thread closer([&both] {
        EXPECT_EQ(DxrHostCloseMailbox(nullptr, &kLpu3), 0U);
        EXPECT_FALSE(both.isInside);
    });
    while (Send(kLpu3, 3) != static_cast<uint32_t>(ENXIO)) {  // it may be full before
        std::this_thread::yield();
    }
    both.mayLeave = true;
    sender.join();
    closer.join();
    EXPECT_EQ(Counts().taken, 1U);
    EXPECT_GE(Counts().dropped, 1U);
    EXPECT_EQ(End(), 0U);
}

TEST_F(MessagesInRealTime, HandlersOfLateOnesMayOutliveTheHost) {
    static std::atomic<int> step{0};
    step = 0;
    const auto stay = [](const DxrHostMessage *, void *) -> uint32_t {
        step = 1;
        while (step != 2) {
            std::this_thread::yield();
        }
        step = 3;
        return 1;
    };
    EXPECT_EQ(Open(kLpu3, 0, stay), 0U);
    DxrHostFailNth(host, "message.delay", 1, false);
    EXPECT_EQ(Send(kLpu3, 1), 0U);
    while (step != 1) {
        std::this_thread::yield();
    }
    EXPECT_EQ(End(), 1U) << "the mailbox";
    step = 2;
    while (step != 3) {
        std::this_thread::yield();
    }
    // The thread goes on from here; a sanitizer sees where to.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// Threads that send to a handler and to receivers, with and without acknowledgements, and with
// every fault.
TEST_F(MessagesInRealTime, AreAllCountedWithManyThreads) {
    DxrHostSetPrintSink(host, nullptr, nullptr, 0);
    DxrHostSetPrintFile(host, nullptr, 0, nullptr);
    for (const char *const point :
         {"message.lose", "message.twice", "message.delay", "message.reorder"}) {
        DxrHostFailShare(host, point, 100000);
    }
    static std::atomic<uint32_t> handled;
    static std::atomic<uint32_t> inside;
    handled = 0;
    inside = 0;
    const auto handle = [](const DxrHostMessage *, void *) -> uint32_t {
        EXPECT_EQ(++inside, 1U) << "one after the other";
        ++handled;
        --inside;
        return 0;
    };
    EXPECT_EQ(Open(kLpu3, 100000, handle), 0U);
    EXPECT_EQ(Open(kSfu1, 100000), 0U);
    std::atomic<uint32_t> received{0};
    std::vector<std::thread> receivers;
    for (int i = 0; i < 2; ++i) {
        receivers.emplace_back([&received] {
            for (Received next = Receive(kSfu1, DXR_HOST_FOREVER); next.result == 0;
                 next = Receive(kSfu1, DXR_HOST_FOREVER)) {
                ++received;
                (void)DxrHostAcknowledge(nullptr, &next.message, 0);
            }
        });
    }
    std::vector<std::thread> senders;
    for (int i = 0; i < 3; ++i) {
        senders.emplace_back([] {
            for (uint32_t n = 0; n < 300; ++n) {
                EXPECT_EQ(Send(kLpu3, n, "x"), 0U);
                EXPECT_EQ(Send(kSfu1, n, "y"), 0U);
                uint32_t result = 0;
                const uint32_t status = SendAndWait(n % 2 == 0 ? kSfu1 : kLpu3, 2, result);
                EXPECT_TRUE(status == 0 || status == kTimedOut) << status;
            }
        });
    }
    for (std::thread &sender : senders) {
        sender.join();
    }
    const auto areAllThere = [this] {
        const DxrHostMessageCounts counts = Counts();
        return counts.arrived + counts.lost + counts.refused == counts.sent + counts.twice &&
               DxrHostGetWaitingMessages(host, &kSfu1) == 0;
    };
    for (int round = 0; round < 1000 && !areAllThere(); ++round) {
        EXPECT_EQ(DXR_DelayTask(10), 0U);
    }
    EXPECT_EQ(DxrHostCloseMailbox(host, &kSfu1), 0U);
    for (std::thread &receiver : receivers) {
        receiver.join();
    }
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    const DxrHostMessageCounts counts = Counts();
    EXPECT_EQ(counts.sent, 2700U);
    EXPECT_EQ(counts.arrived + counts.lost + counts.refused, counts.sent + counts.twice);
    EXPECT_EQ(counts.arrived, counts.taken + counts.dropped);
    EXPECT_EQ(counts.taken, handled + received);
    EXPECT_GT(counts.lost, 0U);
    EXPECT_GT(counts.twice, 0U);
    EXPECT_GT(counts.late, 0U);
    EXPECT_GT(counts.held, 0U);
}

// --- Events and the mesh

TEST_F(HostMessages, EventsHaveTriggersAndErrors) {
    struct Row {
        uint32_t event;
        uint32_t trigger;
        uint32_t error;
        const char *text;
    };
    constexpr std::array<Row, 8> kRows = {{{1, 1, 1, "interrupt"},
                                           {2, 1, 2, "interrupt"},
                                           {3, 2, 3, "poll"},
                                           {4, 2, 4, "poll"},
                                           {5, 3, 5, "timer"},
                                           {6, 4, 5, "message"},
                                           {7, 5, 0, "command"},
                                           {8, 0, 0, "invalid"}}};
    for (const Row &row : kRows) {
        EXPECT_EQ(DXR_GetTriggerTypeByEvent(row.event), row.trigger) << row.event;
        EXPECT_EQ(DXR_GetErrTypeByEvent(row.event), row.error) << row.event;
        EXPECT_STREQ(DXR_GetTriggerStr(row.trigger), row.text) << row.event;
    }
    const char *const before = DXR_GetTriggerStr(1);
    EXPECT_TRUE(DxrHostSetEvent(host, 8, 9, 10));
    EXPECT_TRUE(DxrHostSetTriggerText(host, 9, "ninth"));
    EXPECT_TRUE(DxrHostSetTriggerText(host, 1, "line"));
    EXPECT_EQ(DXR_GetTriggerTypeByEvent(8), 9U);
    EXPECT_EQ(DXR_GetErrTypeByEvent(8), 10U);
    const char *const ninth = DXR_GetTriggerStr(9);
    EXPECT_TRUE(DxrHostSetTriggerText(host, 9, "another"));
    EXPECT_STREQ(ninth, "ninth") << "it stays";
    EXPECT_STREQ(before, "interrupt");
    EXPECT_STREQ(DXR_GetTriggerStr(1), "line");
    EXPECT_TRUE(DxrHostSetTriggerText(host, 9, nullptr));
    EXPECT_STREQ(DXR_GetTriggerStr(9), "invalid");
}

TEST_F(HostMessages, EventsAndTextsHaveLimits) {
    for (uint32_t i = 0; i < DXR_HOST_MOST_TRIGGER_TEXTS; ++i) {
        ASSERT_TRUE(DxrHostSetTriggerText(host, 1, std::to_string(i).c_str())) << i;
    }
    EXPECT_FALSE(DxrHostSetTriggerText(host, 1, "one more"));
    const char *const last = DXR_GetTriggerStr(1);
    EXPECT_TRUE(DxrHostSetTriggerText(host, 2, last)) << "a text that was there";
    EXPECT_EQ(DXR_GetTriggerStr(2), last);
    for (uint32_t i = 1; i <= DXR_HOST_MOST_EVENTS; ++i) {
        ASSERT_TRUE(DxrHostSetEvent(host, i, 1, 1)) << i;
    }
    EXPECT_FALSE(DxrHostSetEvent(host, 0, 1, 1));
    EXPECT_TRUE(DxrHostSetEvent(host, 7, 8, 9));
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                ElementsAre("more events, triggers or texts than are kept",
                            "more events, triggers or texts than are kept"));
}

TEST_F(HostMessages, TheMeshHasADescriptor) {
    EXPECT_EQ(DxrHostGetMeshFd(host), -1);
    const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    DXR_SetMeshFd(static_cast<uint32_t>(fd));
    EXPECT_EQ(DxrHostGetMeshFd(host), fd);
    DXR_SetMeshFd(100000);
    EXPECT_EQ(DxrHostGetMeshFd(host), fd);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), ElementsAre("a descriptor that is not open"));
    DXR_SetMeshFd(0xFFFFFFFF);
    EXPECT_EQ(DxrHostGetMeshFd(host), -1);
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC) << "it stays the caller's";
    close(fd);
}

TEST(Messages, WithoutAHostAreNotSent) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    DxrHostMessage message = MessageOf(kLpu3, 1);
    EXPECT_EQ(hooks.msg.sendMsg(&message), kEnded);
    EXPECT_EQ(hooks.msg.sendMsgToMpu(&message), kEnded);
    EXPECT_EQ(hooks.msg.sendEopEvent(1, nullptr), kEnded);
    hooks.msg.sendMsgToNp(1);
    hooks.msg.setMeshFd(0);
    EXPECT_EQ(hooks.msg.getTriggerTypeByEvent(1), 0U);
    EXPECT_STREQ(hooks.msg.getTriggerStr(1), "invalid");
    EXPECT_EQ(Open(kLpu3), kEnded);
    EXPECT_EQ(Receive(kLpu3).result, kEnded);
    EXPECT_EQ(DxrHostCloseMailbox(nullptr, &kLpu3), kEnded);
    EXPECT_EQ(DxrHostAcknowledge(nullptr, &message, 1), kEnded);
    EXPECT_EQ(Counts().sent, 0U);
    EXPECT_EQ(DxrHostGetMeshFd(nullptr), -1);
}

}  // namespace
