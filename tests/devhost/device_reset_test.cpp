// Resets, interrupts and commands, by the sentences of the device service's header.
#include <pthread.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "devhost/device_fixture.h"
#include "dxr_devhost/device.h"
#include "dxr_devhost/system.h"
#include "dxr_devhost/system_task.h"
#include "dxr_devhost/system_time.h"

namespace {

void *Address(DxrHostPreReset function) {
    return reinterpret_cast<void *>(function);
}

struct Called {
    std::vector<uint32_t> modes;
    uint32_t result = 99;
};

void Note(uint32_t mode, void *argument) {
    static_cast<Called *>(argument)->modes.push_back(mode);
}

class DeviceReset : public dxrtest::SteppedDevice {};
class DeviceResetVirtual : public dxrtest::VirtualDevice {};

class DeviceResetReal : public dxrtest::RealHost {};

TEST_F(DeviceReset, TakesFunctionsOnce) {
    std::string order;
    Called called;
    const auto first = [](uint32_t, void *to) { *static_cast<std::string *>(to) += "1"; };
    const auto second = [](uint32_t, void *to) { *static_cast<std::string *>(to) += "2"; };
    EXPECT_EQ(DXR_RegisterPreResetProcFunc(Address(second), &order), 0U);
    EXPECT_EQ(DXR_RegisterPreResetProcFunc(Address(first), &order), 0U);
    EXPECT_EQ(DXR_RegisterPreResetProcFunc(Address(Note), &called), 0U);
    EXPECT_EQ(DXR_RegisterPreResetProcFunc(Address(Note), &order), 0U) << "another argument";
    EXPECT_EQ(DXR_RegisterPreResetProcFunc(Address(Note), &called), uint32_t{EEXIST});
    EXPECT_EQ(DXR_RegisterPreResetProcFunc(nullptr, &called), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 2U);
}

TEST_F(DeviceReset, EndsTheRunWithAReport) {
    std::string order;
    Called called;
    const auto first = [](uint32_t, void *to) { *static_cast<std::string *>(to) += "1"; };
    const auto second = [](uint32_t, void *to) { *static_cast<std::string *>(to) += "2"; };
    ASSERT_EQ(DXR_RegisterPreResetProcFunc(Address(second), &order), 0U);
    ASSERT_EQ(DXR_RegisterPreResetProcFunc(Address(first), &order), 0U);
    ASSERT_EQ(DXR_RegisterPreResetProcFunc(Address(Note), &called), 0U);
    DXR_ResetBoard(5);
    EXPECT_EQ(order, "21");
    EXPECT_EQ(called.modes, std::vector<uint32_t>{5});
    ASSERT_EQ(Texts(DXR_HOST_REPORT_RUN), std::vector<std::string>{"the board is reset, mode 5"});
    EXPECT_STREQ(static_cast<const char *>(reports[0].slot), "DXR_ResetBoard");
    EXPECT_STREQ(static_cast<const char *>(reports[0].service), "device");
    uint32_t mode = 0;
    EXPECT_EQ(DXR_GetResetMode(&mode), 0U);
    EXPECT_EQ(mode, 5U);
    EXPECT_EQ(DXR_DelayTask(1), uint32_t{ECANCELED}) << "every wait ends";
    EXPECT_EQ(DXR_RebootOS(1, nullptr), uint32_t{EALREADY});
    EXPECT_EQ(called.modes.size(), 1U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 1U);
}

TEST_F(DeviceReset, SaysWhyTheSystemIsRebooted) {
    EXPECT_EQ(DXR_RebootOS(2, const_cast<char *>("out of memory")), 0U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_RUN),
              std::vector<std::string>{"the system is rebooted, mode 2: out of memory"});
    EXPECT_STREQ(static_cast<const char *>(reports[0].slot), "DXR_RebootOS");
}

TEST_F(DeviceReset, CutsALongReason) {
    const std::string reason(10000, 'x');
    EXPECT_EQ(DXR_RebootOS(2, const_cast<char *>(reason.c_str())), 0U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_RUN).at(0).size(), 399U);
}

TEST_F(DeviceReset, RefusesAnotherOneWithin) {
    Called called;
    const auto again = [](uint32_t mode, void *to) {
        static_cast<Called *>(to)->result = DXR_RebootOS(mode, nullptr);
    };
    ASSERT_EQ(DXR_RegisterPreResetProcFunc(Address(again), &called), 0U);
    DXR_ResetBoard(1);
    EXPECT_EQ(called.result, uint32_t{EALREADY});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_RUN).size(), 1U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 1U);
}

// The next one happens.
TEST_F(DeviceReset, EndsWithTheThreadThatAFunctionEnds) {
    Called called;
    const auto endOnce = [](uint32_t mode, void *to) {
        Note(mode, to);
        if (mode == 1) {
            pthread_exit(nullptr);
        }
    };
    ASSERT_EQ(DXR_RegisterPreResetProcFunc(Address(endOnce), &called), 0U);
    std::thread([] { DXR_ResetBoard(1); }).join();
    EXPECT_TRUE(Texts(DXR_HOST_REPORT_RUN).empty());
    DXR_ResetBoard(2);
    EXPECT_EQ(called.modes, (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(Texts(DXR_HOST_REPORT_RUN), std::vector<std::string>{"the board is reset, mode 2"});
    EXPECT_TRUE(Texts(DXR_HOST_REPORT_MISUSE).empty());
}

TEST_F(DeviceReset, SkipsTheFunctionsWhenToldSo) {
    Called called;
    uint32_t mode = 7;
    ASSERT_EQ(DXR_RegisterPreResetProcFunc(Address(Note), &called), 0U);
    EXPECT_EQ(DXR_GetPreResetMode(&mode), 0U);
    EXPECT_EQ(mode, DXR_HOST_PRE_RESET_CALL);
    DXR_SetPreResetMode(DXR_HOST_PRE_RESET_SKIP);
    EXPECT_EQ(DXR_GetPreResetMode(&mode), 0U);
    EXPECT_EQ(mode, DXR_HOST_PRE_RESET_SKIP);
    EXPECT_TRUE(reports.empty());
    DXR_SetPreResetMode(2);
    EXPECT_EQ(DXR_GetPreResetMode(&mode), 0U);
    EXPECT_EQ(mode, DXR_HOST_PRE_RESET_SKIP) << "nothing has changed";
    EXPECT_EQ(DXR_GetPreResetMode(nullptr), uint32_t{EINVAL});
    EXPECT_EQ(DXR_GetResetMode(nullptr), uint32_t{EINVAL});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 3U);
    DXR_ResetBoard(1);
    EXPECT_TRUE(called.modes.empty());
    EXPECT_EQ(Texts(DXR_HOST_REPORT_RUN).size(), 1U);
}

TEST_F(DeviceReset, StopsTimers) {
    int fired = 0;
    const auto count = [](void *to) { ++*static_cast<int *>(to); };
    DxrHostTimer timer{sizeof(timer), 10, 1, 0, count, &fired, nullptr};
    ASSERT_EQ(DXR_StartTimer(&timer), 0U);
    ASSERT_TRUE(DxrHostAdvance(host, 25));
    EXPECT_EQ(fired, 2);
    DXR_ResetBoard(0);
    (void)DxrHostAdvance(host, 100);
    EXPECT_EQ(fired, 2);
    EXPECT_EQ(DXR_StartTimer(&timer), uint32_t{ECANCELED});
}

TEST_F(DeviceReset, StopsTimersFromWithinOne) {
    int fired = 0;
    const auto reset = [](void *to) {
        ++*static_cast<int *>(to);
        DXR_ResetBoard(0);
    };
    DxrHostTimer timer{sizeof(timer), 10, 1, 0, reset, &fired, nullptr};
    ASSERT_EQ(DXR_StartTimer(&timer), 0U);
    EXPECT_TRUE(DxrHostAdvance(host, 100));
    EXPECT_EQ(fired, 1);
}

// A task that resets the board, and one that waits; what they tell afterwards is at `user`.
struct Tasks {
    bool came = false;
    uint32_t waited = 99;
};

void ResetInTask(void *user) {
    (void)DXR_DelayTask(5);
    DXR_ResetBoard(3);
    static_cast<Tasks *>(user)->came = true;
}

void RunTask(DxrHost *host, Tasks &tasks) {
    uint32_t task = 0;
    ASSERT_EQ(DXR_CreateTask(const_cast<char *>("resetter"), reinterpret_cast<void *>(ResetInTask),
                             &tasks, 1, nullptr, 0, &task),
              0U);
    tasks.waited = DxrHostJoinTask(host, task, DXR_HOST_FOREVER);
}

TEST_F(DeviceResetVirtual, DoesNotComeBackInATask) {
    Tasks tasks;
    RunTask(host, tasks);
    EXPECT_EQ(tasks.waited, uint32_t{ECANCELED});
    EXPECT_EQ(DxrHostGetElapsedNs(host), 5000000U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_RUN), std::vector<std::string>{"the board is reset, mode 3"});
    EXPECT_EQ(End(), 1U) << "the task";
    EXPECT_FALSE(tasks.came);
}

TEST_F(DeviceResetReal, DoesNotComeBackInATask) {
    Tasks tasks;
    RunTask(host, tasks);
    EXPECT_EQ(tasks.waited, uint32_t{ECANCELED});
    EXPECT_EQ(End(), 1U) << "the task";
    EXPECT_FALSE(tasks.came);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_RUN), std::vector<std::string>{"the board is reset, mode 3"});
}

uint32_t ResetInBody(DxrHost * /*host*/, void * /*user*/) {
    (void)DXR_RebootOS(4, const_cast<char *>("watchdog"));
    return 0;
}

TEST(DeviceResetExplored, FailsTheRun) {
    DxrHostExploration found;
    EXPECT_EQ(DxrHostExplore(nullptr, 3, ResetInBody, nullptr, &found), 1U);
    EXPECT_EQ(found.runs, 1U);
    EXPECT_NE(std::string(static_cast<const char *>(found.text))
                  .find("the system is rebooted, mode 4: watchdog"),
              std::string::npos)
        << static_cast<const char *>(found.text);
}

// --- Chips, interrupts, commands

TEST_F(DeviceReset, OfAChipRestoresItsRegisters) {
    Load(R"({"registers": [{"unit": 0, "chip": 1, "address": 0, "value": 5}]})");
    uint32_t value = 0;
    uint32_t cdr = 9;
    (void)DXR_WriteReg(0, 1, 0, 6);
    (void)DXR_WriteReg(0, 1, 4, 6);
    (void)DXR_WriteReg(0, 2, 0, 6);
    EXPECT_EQ(DXR_HardResetChip(0, 1, DXR_HOST_RESET_PULSE), 0U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), 0U);
    EXPECT_EQ(value, 5U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 4, &value), 0U);
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(DXR_ReadReg(0, 2, 0, &value), 0U);
    EXPECT_EQ(value, 6U) << "another chip";
    EXPECT_EQ(DXR_HardResetChip(0, 1, DXR_HOST_RESET_HOLD), 0U);
    value = 77;
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), uint32_t{EBUSY});
    EXPECT_EQ(DXR_WriteReg16(0, 1, 0, 1), uint32_t{EBUSY});
    EXPECT_EQ(value, 77U);
    EXPECT_EQ(DxrHostGetResets(host, 0, 1, &cdr), 1U);
    EXPECT_EQ(DXR_HardResetChip(0, 1, DXR_HOST_RESET_RELEASE), 0U);
    EXPECT_EQ(DXR_ReadReg(0, 1, 0, &value), 0U);
    EXPECT_EQ(DXR_HardResetChip(0, 1, DXR_HOST_RESET_RELEASE), 0U) << "it was not held";
    EXPECT_EQ(DXR_CdrResetChip(0, 1, 3), 0U);
    EXPECT_EQ(DxrHostGetResets(host, 0, 1, &cdr), 2U);
    EXPECT_EQ(cdr, 1U);
    EXPECT_EQ(DxrHostGetResets(host, 1, 1, nullptr), 0U);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(DXR_HardResetChip(0, 1, 3), uint32_t{EINVAL});
    ASSERT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 1U);
    EXPECT_NE(Texts(DXR_HOST_REPORT_MISUSE)[0].find("nothing that a reset line does"),
              std::string::npos);
    EXPECT_STREQ(reports.back().service, "device");
}

// Who resets a chip and then goes on may be overtaken by one who counts the resets.
uint32_t ResetAndGoOn(DxrHost *host, void * /*user*/) {
    struct Shared {
        DxrHost *host;
        bool goesOn = false;
        bool isOvertaken = false;
    } shared{host};
    const auto look = [](void *user) {
        auto *const to = static_cast<Shared *>(user);
        (void)DXR_DelayTask(0);
        to->isOvertaken = DxrHostGetResets(to->host, 0, 1, nullptr) != 0 && !to->goesOn;
    };
    uint32_t other = 0;
    EXPECT_EQ(
        DXR_CreateTask(nullptr, reinterpret_cast<void *>(+look), &shared, 1, nullptr, 0, &other),
        0U);
    EXPECT_EQ(DXR_HardResetChip(0, 1, DXR_HOST_RESET_PULSE), 0U);
    shared.goesOn = true;
    (void)DxrHostJoinTask(host, other, DXR_HOST_FOREVER);
    return shared.isOvertaken ? 1 : 0;
}

TEST(DeviceChips, LetOthersRunWhileTheyAreReset) {
    DxrHostExploration found{};
    testing::internal::CaptureStderr();
    EXPECT_EQ(DxrHostExplore(nullptr, 200, ResetAndGoOn, nullptr, &found), 1U);
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(found.result, 1U) << found.text;
}

TEST_F(DeviceReset, LeavesInterruptsToTheirFunctions) {
    std::vector<uint32_t> seen;
    const DxrHostInterrupt note = [](uint32_t chip, uint32_t interrupt, void *to) {
        static_cast<std::vector<uint32_t> *>(to)->push_back(chip * 100 + interrupt);
    };
    EXPECT_FALSE(DxrHostRaiseInterrupt(host, 1, 2));
    EXPECT_EQ(DXR_IntrSetRegist(1, 2, reinterpret_cast<void *>(note), &seen), 0U);
    EXPECT_EQ(DXR_IntrSetRegist(1, 2, reinterpret_cast<void *>(note), nullptr), uint32_t{EBUSY});
    EXPECT_TRUE(DxrHostRaiseInterrupt(host, 1, 2));
    EXPECT_FALSE(DxrHostRaiseInterrupt(host, 2, 1));
    EXPECT_EQ(seen, std::vector<uint32_t>{102});
    EXPECT_EQ(DXR_IntrSetRegist(1, 2, nullptr, nullptr), 0U);
    EXPECT_FALSE(DxrHostRaiseInterrupt(host, 1, 2));
    EXPECT_TRUE(reports.empty());
}

TEST_F(DeviceReset, LeavesCommandsToTheirFunction) {
    const auto run = [](void *record, uint32_t command, void *user) {
        *static_cast<uint32_t *>(record) = command;
        return *static_cast<uint32_t *>(user);
    };
    uint32_t record = 0;
    uint32_t user = 8;
    EXPECT_EQ(DXR_CmdCallback(&record, 5), uint32_t{ENOSYS});
    DxrHostSetCommand(host, run, &user);
    EXPECT_EQ(DXR_CmdCallback(&record, 5), 8U);
    EXPECT_EQ(record, 5U);
    DxrHostSetCommand(host, nullptr, nullptr);
    EXPECT_EQ(DXR_CmdCallback(&record, 6), uint32_t{ENOSYS});
    EXPECT_EQ(record, 5U);
}

// What a function throws ends with its call; what it was called for goes on.
TEST_F(DeviceReset, FunctionsMayThrow) {
    Called called;
    const auto throws = [](uint32_t, void *) { throw std::runtime_error("torn"); };
    const auto interrupt = [](uint32_t, uint32_t, void *) { throw std::runtime_error("noise"); };
    const auto command = [](void *, uint32_t, void *) -> uint32_t {
        throw std::runtime_error("unheard");
    };
    ASSERT_EQ(DXR_RegisterPreResetProcFunc(Address(throws), nullptr), 0U);
    ASSERT_EQ(DXR_RegisterPreResetProcFunc(Address(Note), &called), 0U);
    void (*const note)(uint32_t, uint32_t, void *) = interrupt;
    ASSERT_EQ(DXR_IntrSetRegist(1, 2, reinterpret_cast<void *>(note), nullptr), 0U);
    EXPECT_TRUE(DxrHostRaiseInterrupt(host, 1, 2));
    DxrHostSetCommand(host, command, nullptr);
    uint32_t record = 0;
    EXPECT_EQ(DXR_CmdCallback(&record, 5), uint32_t{ECANCELED});
    DXR_ResetBoard(5);
    EXPECT_EQ(called.modes, std::vector<uint32_t>{5});
    EXPECT_EQ(Texts(DXR_HOST_REPORT_RUN), std::vector<std::string>{"the board is reset, mode 5"});
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE),
                testing::ElementsAre(testing::HasSubstr(": noise"), testing::HasSubstr(": unheard"),
                                     testing::HasSubstr(": torn")));
}

}  // namespace
