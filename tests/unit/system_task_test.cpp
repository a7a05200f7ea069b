#include "dxr/system_task.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <array>
#include <cstdint>

#include "dxr/hooks.h"
#include "support/test_host.h"

namespace {

int g_yieldCalls = 0;
int g_yieldResult = 0;

}  // namespace

// Stands before the C library's function, for the shared library as well.
extern "C" int sched_yield() noexcept {
    ++g_yieldCalls;
    return g_yieldResult;
}

namespace {

int g_calls = 0;
std::array<uint32_t, 3> g_numbers = {};
std::array<void *, 5> g_pointers = {};
uint32_t g_result = 0;

uint32_t ReadEvent(uint32_t arg1, uint32_t mode, uint32_t arg3, void *events) {
    ++g_calls;
    g_numbers = {arg1, mode, arg3};
    g_pointers = {events};
    return g_result;
}

uint32_t CreateTask(void *arg1, void *arg2, void *arg3, uint32_t arg4, void *arg5, uint32_t flag,
                    void *arg7) {
    ++g_calls;
    g_numbers = {arg4, flag, 0};
    g_pointers = {arg1, arg2, arg3, arg5, arg7};
    return g_result;
}

class SystemTask : public testing::Test {
  protected:
    SystemTask() {
        g_calls = 0;
        g_numbers = {};
        g_pointers = {};
        g_result = 0;
        g_yieldCalls = 0;
    }
    static void *Address(uintptr_t address) { return reinterpret_cast<void *>(address); }
    dxrtest::TestHost host_;
};

TEST_F(SystemTask, ReadEventForwardsModeZero) {
    g_dxrHooks.task.readEvent = ReadEvent;
    for (const uint32_t result : {0U, 1U, 0xFFFFFFFFU}) {
        g_result = result;
        EXPECT_EQ(result, DXR_ReadEvent(0xAAAAAAAA, 0, 0xBBBBBBBB, Address(0x1234)));
    }
    EXPECT_EQ(3, g_calls);
    EXPECT_EQ((std::array<uint32_t, 3>{0xAAAAAAAA, 0, 0xBBBBBBBB}), g_numbers);
    EXPECT_EQ(Address(0x1234), g_pointers[0]);
}

// MODULE-17
TEST_F(SystemTask, ReadEventRefusesOtherModesBeforeTheSlotIsRead) {
    uint32_t events = 0x55555555;
    for (const uint32_t mode : {1U, 2U, 0x100U, 0x80000000U, 0xFFFFFFFFU}) {
        g_dxrHooks.task.readEvent = ReadEvent;
        EXPECT_EQ(1U, DXR_ReadEvent(1, mode, 2, &events));
        g_dxrHooks.task.readEvent = nullptr;
        EXPECT_EQ(1U, DXR_ReadEvent(1, mode, 2, &events));
    }
    EXPECT_EQ(0, g_calls);
    EXPECT_EQ(0x55555555U, events);
}

TEST_F(SystemTask, ReadEventWithoutAHook) {
    uint32_t events = 0x55555555;
    EXPECT_EQ(0U, DXR_ReadEvent(1, 0, 2, &events));
    EXPECT_EQ(0x55555555U, events);
}

TEST_F(SystemTask, CreateTaskForwardsFlagsZeroAndOne) {
    g_dxrHooks.task.createTask = CreateTask;
    for (const uint32_t flag : {0U, 1U}) {
        for (const uint32_t result : {0U, 1U, 0xFFFFFFFFU}) {
            g_result = result;
            g_calls = 0;
            EXPECT_EQ(result, DXR_CreateTask(Address(0x10), Address(0x20), Address(0x30),
                                             0xCCCCCCCC, Address(0x50), flag, Address(0x70)));
            EXPECT_EQ(1, g_calls);
            EXPECT_EQ((std::array<uint32_t, 3>{0xCCCCCCCC, flag, 0}), g_numbers);
            EXPECT_EQ((std::array<void *, 5>{Address(0x10), Address(0x20), Address(0x30),
                                             Address(0x50), Address(0x70)}),
                      g_pointers);
        }
    }
}

// MODULE-17
TEST_F(SystemTask, CreateTaskRefusesOtherFlagsBeforeTheSlotIsRead) {
    for (const uint32_t flag : {2U, 3U, 0x101U, 0x80000000U, 0x80000001U, 0xFFFFFFFFU}) {
        g_dxrHooks.task.createTask = CreateTask;
        EXPECT_EQ(1U, DXR_CreateTask(nullptr, nullptr, nullptr, 0, nullptr, flag, nullptr));
        g_dxrHooks.task.createTask = nullptr;
        EXPECT_EQ(1U, DXR_CreateTask(nullptr, nullptr, nullptr, 0, nullptr, flag, nullptr));
    }
    EXPECT_EQ(0, g_calls);
}

TEST_F(SystemTask, CreateTaskWithoutAHook) {
    EXPECT_EQ(0U, DXR_CreateTask(nullptr, nullptr, nullptr, 0, nullptr, 0, nullptr));
    EXPECT_EQ(0U, DXR_CreateTask(nullptr, nullptr, nullptr, 0, nullptr, 1, nullptr));
}

TEST_F(SystemTask, MutexesWithoutHooksDoNothing) {
    void *mutex = Address(0x77);
    EXPECT_EQ(0U, DXR_InitMutex(&mutex, nullptr));
    EXPECT_EQ(0U, DXR_LockMutex(mutex));
    EXPECT_EQ(0U, DXR_UnlockMutex(mutex));
    EXPECT_EQ(0U, DXR_DestroyMutex(mutex));
    EXPECT_EQ(Address(0x77), mutex);
}

TEST_F(SystemTask, SchedYieldGivesTheSystemsResult) {
    g_yieldResult = 0;
    EXPECT_EQ(0U, DXR_SchedYield());
    EXPECT_EQ(1, g_yieldCalls);
    g_yieldResult = -1;
    EXPECT_EQ(0xFFFFFFFFU, DXR_SchedYield());
    EXPECT_EQ(2, g_yieldCalls);
}

}  // namespace
