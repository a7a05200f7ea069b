// What may happen to messages on the way, by the sentences of the message service's header: losses,
// doubles, delays, order; and that runs repeat.
#include <pthread.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "devhost/message_fixture.h"
#include "dxr_devhost.h"
#include "dxr_devhost/inspect.h"
#include "support/test_host.h"

namespace {

using namespace dxrtest;  // NOLINT(google-build-using-namespace): the fixture's words
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A host in stepped time with a mailbox of unit lpu 3.
class OnTheWay : public dxrtest::SteppedHost {
  protected:
    OnTheWay() { EXPECT_EQ(Open(kLpu3), 0U); }
    ~OnTheWay() override { DXR_RegisterSimulateMsgMap(nullptr, 0); }

    void Fail(const char *point, uint64_t n = 1) const { DxrHostFailNth(host, point, n, false); }
};

// --- Lost

TEST_F(OnTheWay, TheTableOfSimulatedMessagesLosesThem) {
    std::array<DxrSimulateMsg, 2> table = {{{1, 18, 2, "hello"}, {2, 19, 0, "other"}}};
    DXR_RegisterSimulateMsgMap(table.data(), table.size());
    for (const uint32_t kind : {18U, 19U, 18U, 18U, 20U}) {
        EXPECT_EQ(Send(kLpu3, kind), 0U) << "senders do not see it";
    }
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(19, 18, 20));
    EXPECT_EQ(Counts().simulated, 2U);
    EXPECT_EQ(Counts().sent, 5U);
    EXPECT_THAT(messages, ElementsAre(Message(6, "simulate msg[18][hello]lost, remain [1] times"),
                                      Message(6, "simulate msg[18][hello]lost, remain [0] times")));
    std::array<char, 128> text{};
    DXR_SetSimulateMsgLost(2, 1, text.data(), text.size());
    EXPECT_EQ(Send(kLpu3, 19), 0U);
    EXPECT_THAT(Kinds(kLpu3), IsEmpty());
}

TEST_F(OnTheWay, TheFilterTreeLosesThem) {
    std::array<DxrMessageFilterInfo, 2> kinds = {
        {{18, 1, "hello", nullptr, 0}, {19, 0, "other", nullptr, 0}}};
    std::array<DxrMessageFilterInfo, 2> slots = {
        {{3, 0, "slot 3", kinds.data(), kinds.size()}, {4, 1, "slot 4", nullptr, 0}}};
    const DxrMessageFilterInfo units = {DXR_HOST_UNIT_LPU, 0, "lpu", slots.data(), slots.size()};
    DxrMessageFilter *tree = DXR_CreateMessageFilter(&units, 1);
    EXPECT_EQ(DxrHostGetMessageFilter(host), nullptr);
    DxrHostSetMessageFilter(host, tree);
    EXPECT_EQ(DxrHostGetMessageFilter(host), tree);
    EXPECT_EQ(Open({DXR_HOST_UNIT_LPU, 4}), 0U);
    for (const uint32_t kind : {18U, 19U, 18U}) {
        EXPECT_EQ(Send(kLpu3, kind), 0U);
        EXPECT_EQ(Send({DXR_HOST_UNIT_LPU, 4}, kind), 0U);
    }
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(19, 18));
    EXPECT_THAT(Kinds({DXR_HOST_UNIT_LPU, 4}), ElementsAre(19, 18)) << "a leaf for all kinds";
    EXPECT_EQ(Counts().filtered, 2U);
    EXPECT_THAT(messages, ElementsAre(Message(6, "message 1 of kind 18 to lpu 3: filtered"),
                                      Message(6, "message 2 of kind 18 to lpu 4: filtered")));
    const std::array<uint32_t, 3> path = {DXR_HOST_UNIT_LPU, 3, 19};
    DxrHostSetMessageFilterCount(host, 1, 3, path.data());
    std::array<char, 512> text{};
    DxrHostGetMessageFilterText(host, text.data(), text.size());
    EXPECT_THAT(text.data(), HasSubstr("msgType[19], lostCnt[1], name[other]"));
    EXPECT_EQ(Send(kLpu3, 19), 0U);
    EXPECT_THAT(Kinds(kLpu3), IsEmpty());
    DxrHostSetMessageFilterCount(host, 5, 2, path.data());
    DxrHostSetMessageFilterCount(host, 6, 1, path.data());
    DxrHostSetMessageFilterCount(host, 7, 0, nullptr);
    DxrHostSetMessageFilterCount(host, 8, 4, path.data());  // too long
    DxrHostGetMessageFilterText(host, text.data(), text.size());
    EXPECT_THAT(text.data(), HasSubstr("msgType[3], lostCnt[5]"));
    EXPECT_THAT(text.data(), HasSubstr("msgType[2], lostCnt[6]"));
    EXPECT_THAT(text.data(), Not(HasSubstr("lostCnt[8]")));
    EXPECT_EQ(DXR_IsMessageFiltered(tree, 0), 1U) << "the root's seven";
    DxrHostSetMessageFilter(host, nullptr);
    DXR_DestroyMessageFilter(&tree);
    EXPECT_EQ(Send(kLpu3, 18), 0U);
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(18));
}

TEST_F(OnTheWay, AreAskedForInTheirOrder) {
    std::array<DxrSimulateMsg, 1> table = {{{1, 18, 1, "hello"}}};
    DXR_RegisterSimulateMsgMap(table.data(), table.size());
    const DxrMessageFilterInfo units = {DXR_HOST_UNIT_LPU, 1, "lpu", nullptr, 0};
    DxrMessageFilter *tree = DXR_CreateMessageFilter(&units, 1);
    DxrHostSetMessageFilter(host, tree);
    Fail("message.lose");
    Fail("message.twice");
    for (uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(Send(kLpu3, 18), 0U);
    }
    const DxrHostMessageCounts counts = Counts();
    EXPECT_EQ(counts.simulated, 1U);
    EXPECT_EQ(counts.filtered, 1U);
    EXPECT_EQ(counts.lost, 1U);
    EXPECT_EQ(counts.twice, 1U);
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(18, 18));
    DxrHostSetMessageFilter(host, nullptr);
    DXR_DestroyMessageFilter(&tree);
}

TEST_F(OnTheWay, APointLosesThem) {
    Fail("message.lose", 2);
    for (const uint32_t kind : {1U, 2U, 3U}) {
        EXPECT_EQ(Send(kLpu3, kind), 0U);
    }
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(1, 3));
    EXPECT_EQ(Counts().lost, 1U);
    EXPECT_THAT(messages, ElementsAre(Message(6, "message 2 of kind 2 to lpu 3: lost")));
    Fail("message.lose");
    DxrHostMessage message = MessageOf(kLpu3, 4);
    message.flags = DXR_HOST_MESSAGE_ACK;
    EXPECT_EQ(DXR_SendMsg(&message), kTimedOut) << "nobody can acknowledge it";
}

// --- Twice, late, held

TEST_F(OnTheWay, AMessageArrivesTwice) {
    Fail("message.twice");
    EXPECT_EQ(Send(kLpu3, 1, "text"), 0U);
    EXPECT_EQ(Send(kLpu3, 2), 0U);
    const Received first = Receive(kLpu3);
    const Received again = Receive(kLpu3);
    EXPECT_EQ(first.message.sequence, again.message.sequence);
    EXPECT_EQ(again.text, "text");
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(2));
    EXPECT_EQ(Counts().twice, 1U);
    EXPECT_THAT(messages, ElementsAre(Message(6, "message 1 of kind 1 to lpu 3: twice")));
}

TEST_F(OnTheWay, TheSecondOfTwoMayFindTheMailboxFull) {
    EXPECT_EQ(Open(kSfu1, 1), 0U);
    Fail("message.twice");
    EXPECT_EQ(Send(kSfu1, 1), 0U);
    EXPECT_EQ(Counts().refused, 1U);
    EXPECT_EQ(Counts().arrived, 1U);
    EXPECT_EQ(Send(kSfu1, 1), static_cast<uint32_t>(ENOBUFS));
}

TEST_F(OnTheWay, AMessageIsLate) {
    Fail("message.delay");
    EXPECT_EQ(Send(kLpu3, 1, "late"), 0U);
    EXPECT_EQ(Send(kLpu3, 2), 0U);
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(2));
    EXPECT_EQ(Counts().late, 1U);
    ASSERT_EQ(messages.size(), 1U);
    uint32_t ms = 0;
    ASSERT_EQ(
        std::sscanf(messages[0].second.c_str(), "message 1 of kind 1 to lpu 3: late by %u ms", &ms),
        1);
    EXPECT_GE(ms, 1U);
    EXPECT_LE(ms, DXR_HOST_MESSAGE_DELAY_MS);
    DxrHostAdvance(host, ms - 1);
    EXPECT_EQ(DxrHostGetWaitingMessages(host, &kLpu3), 0U);
    DxrHostAdvance(host, 1);
    EXPECT_EQ(Receive(kLpu3).text, "late");
}

TEST_F(OnTheWay, AMessageIsHeldUntilTheNextOneArrives) {
    EXPECT_EQ(Open(kSfu1), 0U);
    DxrHostFailNth(host, "message.reorder", 1, false);
    EXPECT_EQ(Send(kLpu3, 1), 0U);
    EXPECT_EQ(Send(kSfu1, 2), 0U) << "another mailbox";
    EXPECT_EQ(DxrHostGetWaitingMessages(host, &kLpu3), 0U);
    EXPECT_EQ(Send(kLpu3, 3), 0U);
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(3, 1));
    EXPECT_EQ(Counts().held, 1U);
    EXPECT_THAT(messages, ElementsAre(Message(6, "message 1 of kind 1 to lpu 3: held back")));
    Fail("message.reorder");
    EXPECT_EQ(Send(kLpu3, 4), 0U);
    DxrHostAdvance(host, DXR_HOST_MESSAGE_DELAY_MS - 1);
    EXPECT_EQ(DxrHostGetWaitingMessages(host, &kLpu3), 0U);
    DxrHostAdvance(host, 1);
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(4)) << "there was no next one";
}

TEST_F(OnTheWay, EachOfTwoMayBeLateOrHeld) {
    Fail("message.twice");
    Fail("message.reorder");
    EXPECT_EQ(Send(kLpu3, 1), 0U);
    EXPECT_EQ(DxrHostGetWaitingMessages(host, &kLpu3), 2U) << "the second lets the first go";
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(1, 1));
    Fail("message.twice");
    DxrHostFailNth(host, "message.delay", 1, true);
    EXPECT_EQ(Send(kLpu3, 2), 0U);
    EXPECT_EQ(DxrHostGetWaitingMessages(host, &kLpu3), 0U);
    DxrHostAdvance(host, DXR_HOST_MESSAGE_DELAY_MS);
    EXPECT_THAT(Kinds(kLpu3), ElementsAre(2, 2));
}

// A mailbox whose handler ends the thread of its first call.
class EndsAThread {
  public:
    EndsAThread() {
        const DxrHostMessageHandler handler = [](const DxrHostMessage * /*message*/, void *user) {
            if (++*static_cast<uint32_t *>(user) == 1) {
                pthread_exit(nullptr);
            }
            return 0U;
        };
        EXPECT_EQ(Open(kSfu1, 0, handler, &calls_), 0U);
    }
    [[nodiscard]] uint32_t Calls() const { return calls_; }

  private:
    uint32_t calls_ = 0;
};

TEST_F(OnTheWay, WhatIsLateComesAlsoAfterAHandlerThatEndsItsThread) {
    const EndsAThread handler;
    DxrHostFailNth(host, "message.delay", 1, true);
    EXPECT_EQ(Send(kSfu1, 1), 0U);
    EXPECT_EQ(Send(kSfu1, 2), 0U);
    std::thread([this] { DxrHostAdvance(host, DXR_HOST_MESSAGE_DELAY_MS); }).join();
    EXPECT_EQ(handler.Calls(), 1U);
    EXPECT_TRUE(DxrHostAdvance(host, DXR_HOST_MESSAGE_DELAY_MS));
    EXPECT_EQ(handler.Calls(), 2U);
}

TEST_F(OnTheWay, TheSecondOfTwoComesAlsoAfterAHandlerThatEndsItsThread) {
    const EndsAThread handler;
    Fail("message.twice");
    std::thread([] { EXPECT_EQ(Send(kSfu1, 1), 0U); }).join();
    EXPECT_EQ(handler.Calls(), 1U);
    EXPECT_TRUE(DxrHostAdvance(host, 1));
    EXPECT_EQ(handler.Calls(), 2U);
}

TEST_F(OnTheWay, LateOnesFindMailboxesFullOrClosed) {
    EXPECT_EQ(Open(kSfu1, 1), 0U);
    DxrHostFailNth(host, "message.delay", 1, true);
    EXPECT_EQ(Send(kSfu1, 1), 0U);
    EXPECT_EQ(Send(kSfu1, 2), 0U);
    EXPECT_EQ(Send(kLpu3, 3), 0U);
    EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
    DxrHostAdvance(host, DXR_HOST_MESSAGE_DELAY_MS);
    EXPECT_EQ(Kinds(kSfu1).size(), 1U);
    EXPECT_EQ(Counts().refused, 2U);
    EXPECT_EQ(Counts().arrived, 1U);
}

TEST_F(OnTheWay, LateOnesHaveALimit) {
    EXPECT_EQ(Open(kSfu1, 2 * DXR_HOST_MOST_LATE_MESSAGES), 0U);
    DxrHostFailNth(host, "message.delay", 1, true);
    for (uint32_t i = 0; i < DXR_HOST_MOST_LATE_MESSAGES; ++i) {
        ASSERT_EQ(Send(kSfu1, i), 0U);
    }
    EXPECT_EQ(Send(kSfu1, 7), static_cast<uint32_t>(ENOBUFS));
    EXPECT_EQ(Counts().late, DXR_HOST_MOST_LATE_MESSAGES);
    EXPECT_EQ(Counts().refused, 1U);
    DxrHostAdvance(host, DXR_HOST_MESSAGE_DELAY_MS);
    EXPECT_EQ(Counts().arrived, DXR_HOST_MOST_LATE_MESSAGES);
    EXPECT_EQ(Send(kSfu1, 8), 0U);
}

// --- Runs

// What a run of clients, a server and late messages looks like: who got what, when, in which order.
class Runs : public testing::Test {
  protected:
    static std::string Run(uint64_t seed) {
        DxrHostOptions options;
        DxrHostInitOptions(&options);
        options.clock = DXR_HOST_CLOCK_VIRTUAL;
        options.seed = seed;
        DxrHost *const host = DxrHostCreate(&options);
        EXPECT_EQ(DxrHostRegister(host), 0U);
        for (const char *const point :
             {"message.lose", "message.twice", "message.delay", "message.reorder"}) {
            DxrHostFailShare(host, point, 200000);
        }
        static std::string log;
        log.clear();
        EXPECT_EQ(Open(kLpu3), 0U);
        const auto note = [](const DxrHostMessage *message, void *) -> uint32_t {
            Add(log, "handler", *message);
            return message->kind;
        };
        EXPECT_EQ(Open(kSfu1, 0, note), 0U);
        const auto client = [](void *which) {
            for (uint32_t i = 0; i < 10; ++i) {
                const auto kind = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(which) + i);
                EXPECT_EQ(Send(kLpu3, kind, "text"), 0U);
                DxrHostMessage message = MessageOf(kSfu1, kind);
                message.flags = DXR_HOST_MESSAGE_ACK;
                message.timeoutMs = 20;
                const uint32_t result = DXR_SendMsg(&message);
                EXPECT_TRUE(result == kTimedOut || message.result == kind);
            }
        };
        std::array<uint32_t, 3> ids{};
        for (size_t i = 0; i < ids.size(); ++i) {
            EXPECT_EQ(DXR_CreateTask(nullptr, reinterpret_cast<void *>(+client),
                                     reinterpret_cast<void *>(100 * i), 1, nullptr, 0, &ids[i]),
                      0U);
        }
        for (Received next = Receive(kLpu3, 1000); next.result == 0; next = Receive(kLpu3, 1000)) {
            EXPECT_EQ(next.text, "text");
            Add(log, "receiver", next.message);
        }
        for (const uint32_t id : ids) {
            EXPECT_EQ(DxrHostJoinTask(host, id, DXR_HOST_FOREVER), 0U);
        }
        const DxrHostMessageCounts counts = Counts();
        EXPECT_EQ(counts.arrived + counts.lost, counts.sent + counts.twice);
        EXPECT_EQ(counts.taken, counts.arrived);
        EXPECT_EQ(DxrHostCloseMailbox(host, &kLpu3), 0U);
        EXPECT_EQ(DxrHostCloseMailbox(host, &kSfu1), 0U);
        EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
        return log;
    }

  private:
    static void Add(std::string &log, const char *who, const DxrHostMessage &message) {
        log += std::string(who) + " " + std::to_string(message.sequence) + " " +
               std::to_string(message.kind) + " " + std::to_string(DxrHostGetElapsedNs(nullptr)) +
               "\n";
    }
};

TEST_F(Runs, TheSameSeedGivesTheSameOrderByteForByte) {
    std::vector<std::string> logs;
    for (uint64_t seed = 1; seed <= 20; ++seed) {
        logs.push_back(Run(seed));
        ASSERT_FALSE(logs.back().empty());
        ASSERT_EQ(Run(seed), logs.back()) << seed;
    }
    std::sort(logs.begin(), logs.end());
    EXPECT_EQ(std::unique(logs.begin(), logs.end()), logs.end()) << "seeds differ";
}

// --- A planted race

struct Account {
    uint32_t balance;
};

constexpr uint32_t kGet = 1;
constexpr uint32_t kSet = 2;

uint32_t Serve(const DxrHostMessage *message, void *user) {
    auto *const account = static_cast<Account *>(user);
    if (message->kind == kSet) {
        account->balance = message->code;
    }
    return account->balance;
}

uint32_t Ask(uint32_t kind, uint32_t code) {
    DxrHostMessage message = MessageOf(kDevm, kind);
    message.code = code;
    message.flags = DXR_HOST_MESSAGE_ACK;
    message.timeoutMs = 1000;
    return DXR_SendMsg(&message) == 0 ? message.result : 0;
}

// Two tasks add to a balance by messages: one asks, one sets, nothing keeps them together.
uint32_t PlantedRace(DxrHost *host, void * /*user*/) {
    static Account account;
    account.balance = 0;
    (void)Open(kDevm, 0, Serve, &account);
    const auto add = [](void *) {
        for (int i = 0; i < 3; ++i) {
            (void)Ask(kSet, Ask(kGet, 0) + 1);
            DXR_DelayTask(1);
        }
    };
    std::array<uint32_t, 2> ids{};
    for (uint32_t &id : ids) {
        (void)DXR_CreateTask(nullptr, reinterpret_cast<void *>(+add), nullptr, 1, nullptr, 0, &id);
    }
    for (const uint32_t id : ids) {
        DxrHostJoinTask(host, id, DXR_HOST_FOREVER);
    }
    return account.balance == 6 ? 0 : 1;
}

// Waits for an answer without a time-out: a lost message is the end.
uint32_t PlantedTrust(DxrHost *host, void * /*user*/) {
    DxrHostFailShare(host, "message.lose", 5000);
    (void)Open(kLpu3);
    for (uint32_t i = 0; i < 5; ++i) {
        (void)Send(kLpu3, 1);
        (void)Receive(kLpu3, DXR_HOST_FOREVER);
    }
    return 0;
}

DxrHostExploration Find(DxrHostBody body) {
    DxrHostExploration found{};
    testing::internal::CaptureStderr();
    EXPECT_EQ(DxrHostExplore(nullptr, 1000, body, nullptr, &found), 1U);
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.seed = found.seed;
    DxrHostExploration again{};
    EXPECT_EQ(DxrHostExplore(&options, 1, body, nullptr, &again), 1U);
    EXPECT_EQ(again.result, found.result);
    EXPECT_STREQ(again.text, found.text);
    (void)testing::internal::GetCapturedStderr();
    return found;
}

TEST(Explore, FindsARaceOverMessages) {
    const DxrHostExploration found = Find(PlantedRace);
    EXPECT_EQ(found.result, 1U);
    std::printf("race over messages: found at seed %u\n", found.runs);
}

TEST(Explore, FindsTrustInMessages) {
    const DxrHostExploration found = Find(PlantedTrust);
    EXPECT_THAT(found.text, HasSubstr("waits for a message for lpu 3"));
    std::printf("trust in messages: found at seed %u\n", found.runs);
}

// --- A model

// Without faults each mailbox gives what was sent to it, in the order of sending, up to what it
// holds.
TEST_F(OnTheWay, MailboxesAgreeWithAModel) {
    std::mt19937_64 random(dxrtest::Seed());
    std::array<std::vector<uint32_t>, 4> model;
    for (uint32_t number = 0; number < model.size(); ++number) {
        EXPECT_EQ(Open({DXR_HOST_UNIT_NP, number}, 5), 0U);
    }
    for (uint32_t step = 0; step < 5000; ++step) {
        const auto number = static_cast<uint32_t>(random() % model.size());
        std::vector<uint32_t> &waiting = model[number];
        if (random() % 2 == 0) {
            const uint32_t wanted = waiting.size() < 5 ? 0 : ENOBUFS;
            ASSERT_EQ(Send({DXR_HOST_UNIT_NP, number}, step), wanted);
            if (wanted == 0) {
                waiting.push_back(step);
            }
        } else {
            const Received received = Receive({DXR_HOST_UNIT_NP, number});
            ASSERT_EQ(received.result, waiting.empty() ? kTimedOut : 0U);
            if (!waiting.empty()) {
                ASSERT_EQ(received.message.kind, waiting.front());
                waiting.erase(waiting.begin());
            }
        }
    }
}

}  // namespace
