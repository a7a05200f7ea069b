// Ends: of hosts while threads wait in them or run their code, of runs, of threads that a host
// knows.
#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

#include "devhost/host_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto kCanceled = static_cast<uint32_t>(ECANCELED);

class RealEnd : public dxrtest::RealHost {};
class VirtualEnd : public dxrtest::VirtualHost {};

uint32_t Spawn(void (*entry)(void *), void *argument) {
    uint32_t id = 0;
    EXPECT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(entry), argument, 10, nullptr, 0, &id),
        0U);
    return id;
}

void Pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// --- Threads that the host knows, but did not make

TEST_F(RealEnd, AThreadThatHasEndedIsNoTask) {
    uint32_t id = 0;
    std::thread([&] { id = DxrHostGetTaskId(host); }).join();
    EXPECT_NE(id, 0U);
    EXPECT_EQ(DXR_WriteEvent(id, 1), static_cast<uint32_t>(ESRCH));
    EXPECT_EQ(DxrHostJoinTask(host, id, 0), 0U);
}

TEST_F(RealEnd, TheEndOfAThreadEndsAJoin) {
    std::atomic<uint32_t> id{0};
    std::atomic<bool> mayEnd{false};
    std::thread thread([&] {
        id = DxrHostGetTaskId(host);
        while (!mayEnd) {
            std::this_thread::yield();
        }
    });
    while (id == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DxrHostJoinTask(host, id, 0), static_cast<uint32_t>(ETIMEDOUT));
    mayEnd = true;
    EXPECT_EQ(DxrHostJoinTask(host, id, 60000), 0U);
    thread.join();
}

TEST_F(VirtualEnd, AThreadThatHasEndedHidesNoDeadlock) {
    std::thread([&] { (void)DxrHostGetTaskId(host); }).join();
    EXPECT_EQ(DXR_DelayTask(DXR_HOST_FOREVER), kCanceled);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), ElementsAre(HasSubstr("deadlock: all tasks wait")));
}

TEST_F(VirtualEnd, AThreadThatEndsWhileAllWaitLeavesADeadlock) {
    std::atomic<bool> isKnown{false};
    std::thread thread([&] {
        (void)DxrHostGetTaskId(host);
        isKnown = true;
        Pause();
    });
    while (!isKnown) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DXR_DelayTask(DXR_HOST_FOREVER), kCanceled);
    thread.join();
    EXPECT_THAT(Texts(DXR_HOST_REPORT_RUN), ElementsAre(HasSubstr("deadlock: all tasks wait")));
}

// --- The end of a host

TEST_F(VirtualEnd, AnotherThreadEndsTheHostWhileTheFirstTaskWaits) {
    std::atomic<bool> isKnown{false};
    std::thread ender([&] {
        (void)DxrHostGetTaskId(host);  // who may wake the first task: its wait is no deadlock
        isKnown = true;
        Pause();
        EXPECT_EQ(End(), 0U);
    });
    while (!isKnown) {
        std::this_thread::yield();
    }
    EXPECT_EQ(DXR_DelayTask(DXR_HOST_FOREVER), kCanceled);
    ender.join();
}

TEST_F(RealEnd, ATimersFunctionMayOutliveTheHost) {
    static std::atomic<int> step{0};
    step = 0;
    DxrHostTimer timer{sizeof(DxrHostTimer),
                       0,
                       0,
                       0,
                       [](void *) {
                           step = 1;
                           while (step != 2) {
                               std::this_thread::yield();
                           }
                           step = 3;
                       },
                       nullptr,
                       nullptr};
    EXPECT_EQ(DXR_StartTimer(&timer), 0U);
    while (step != 1) {
        std::this_thread::yield();
    }
    EXPECT_EQ(End(), 1U) << "the timer; its task is left alone";
    step = 2;
    while (step != 3) {
        std::this_thread::yield();
    }
    Pause();  // the thread goes on from here; a sanitizer sees where to
}

// --- The end of a run

TEST_F(VirtualEnd, AThreadThatResetsTheBoardStopsAllTasks) {
    static std::atomic<bool> hasBegun{false};
    hasBegun = false;
    Spawn(
        [](void *) {
            hasBegun = true;
            for (;;) {
                (void)DXR_DelayTask(1);
            }
        },
        nullptr);
    std::thread resetter([] {
        while (!hasBegun) {
            std::this_thread::yield();
        }
        Pause();
        DXR_ResetBoard(0);
    });
    EXPECT_EQ(DXR_DelayTask(DXR_HOST_FOREVER), kCanceled);
    resetter.join();
    EXPECT_EQ(DXR_DelayTask(1), kCanceled);
    EXPECT_EQ(End(), 1U) << "the task";
}

TEST_F(RealEnd, NothingBeginsAfterTheRunsEnd) {
    DXR_ResetBoard(0);
    uint32_t events = 7;
    EXPECT_EQ(DXR_ReadEvent(1, 0, 0, &events), kCanceled);
    EXPECT_EQ(events, 0U);
    EXPECT_EQ(DXR_DelayTask(0), kCanceled);
    EXPECT_EQ(DXR_CreateTask(nullptr, reinterpret_cast<void *>(+[](void *) {}), nullptr, 10,
                             nullptr, 0, nullptr),
              kCanceled);
    EXPECT_EQ(End(), 0U);
}

}  // namespace
