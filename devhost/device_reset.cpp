// Resets, interrupts and commands.
#include <array>
#include <cerrno>
#include <cstdio>
#include <new>

#include "device.h"
#include "module_call.h"

namespace devhost {
namespace {

uint32_t RegisterPreResetProcFunc(void *function, void *argument) {
    const Call call("DXR_RegisterPreResetProcFunc");
    if (!call) {
        return ECANCELED;
    }
    if (!IsUsable<char>(call, function)) {
        return EINVAL;
    }
    const PreReset given{reinterpret_cast<DxrHostPreReset>(function), argument};
    DeviceService &state = DeviceOf(*call);
    try {
        const std::lock_guard lock(state.mutex);
        bool isKnown = false;
        for (const PreReset &each : state.resets.functions) {
            isKnown =
                isKnown || (each.function == given.function && each.argument == given.argument);
        }
        if (!isKnown) {
            state.resets.functions.push_back(given);
            return 0;
        }
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
    call.Misuse(kDevice, "a function that is registered already");
    return EEXIST;
}

void SetPreResetMode(uint32_t mode) {
    const Call call("DXR_SetPreResetMode");
    if (!call) {
        return;
    }
    if (mode > DXR_HOST_PRE_RESET_SKIP) {
        call.Misuse(kDevice, "no mode of the processing before a reset");
        return;
    }
    DeviceService &state = DeviceOf(*call);
    const std::lock_guard lock(state.mutex);
    state.resets.preResetMode = mode;
}

uint32_t GetPreResetMode(void *mode) {
    const Call call("DXR_GetPreResetMode");
    return Tell<uint32_t, 1>(call, {mode}, [](const DeviceService &state, auto &to) {
        to = {state.resets.preResetMode};
        return 0U;
    });
}

uint32_t GetResetMode(void *mode) {
    const Call call("DXR_GetResetMode");
    return Tell<uint32_t, 1>(call, {mode}, [](const DeviceService &state, auto &to) {
        to = {state.board.values.find("resetMode")->second};
        return 0U;
    });
}

// The n-th function to be called; none when they are over, or are not to be called.
PreReset FunctionAt(DeviceService &state, size_t index) {
    const std::lock_guard lock(state.mutex);
    const bool isOver = state.resets.preResetMode == DXR_HOST_PRE_RESET_SKIP ||
                        index >= state.resets.functions.size();
    return isOver ? PreReset{} : state.resets.functions[index];
}

// One that ends the thread ends the reset as well, and another one may begin.
void CallFunctions(const Call &call, DeviceService &state, uint32_t mode) {
    bool isDone = false;
    const AlsoAtThreadsEnd giveUp([&] {
        if (!isDone) {
            const std::lock_guard lock(state.mutex);
            state.resets.isResetting = false;
        }
    });
    PreReset next = FunctionAt(state, 0);
    for (size_t i = 0; next.function != nullptr; next = FunctionAt(state, ++i)) {
        CallModuleVoid(*call, kDevice, "a pre-reset function", next.function, mode, next.argument);
    }
    isDone = true;
}

// Plain frames: a task does not come back from the end of the run, or perhaps from a function.
uint32_t Reset(const Call &call, const char *what, uint32_t mode, const char *reason) {
    if (!call) {
        return ECANCELED;
    }
    DeviceService &state = DeviceOf(*call);
    bool isOnce = false;
    {
        const std::lock_guard lock(state.mutex);
        isOnce = !state.resets.isResetting && !call->scheduler.HasEnded();
        state.resets.isResetting = true;
    }
    if (!isOnce) {
        call.Misuse(kDevice, "a reset while one is going on, or after the run's end");
        return EALREADY;
    }
    CallFunctions(call, state, mode);
    {
        const std::lock_guard lock(state.mutex);
        state.board.values.find("resetMode")->second = mode;
    }
    std::array<char, 400> text{};
    (void)std::snprintf(text.data(), text.size(), "%s, mode %u%s%s", what, mode,
                        reason != nullptr ? ": " : "", reason != nullptr ? reason : "");
    call->scheduler.End(call.Thread(), kDevice, call.At(), what, text.data());
    return 0;
}

void ResetBoard(uint32_t mode) {
    const Call call("DXR_ResetBoard");
    (void)Reset(call, "the board is reset", mode, nullptr);
}

uint32_t RebootOS(uint32_t mode, void *reason) {
    const Call call("DXR_RebootOS");
    return Reset(call, "the system is rebooted", mode, static_cast<const char *>(reason));
}

uint32_t HardResetChip(uint32_t unit, uint32_t chip, uint32_t line) {
    const Call call("DXR_HardResetChip");
    if (!call) {
        return ECANCELED;
    }
    if (line > DXR_HOST_RESET_RELEASE) {
        call.Misuse(kDevice, "nothing that a reset line does");
        return EINVAL;
    }
    DeviceService &state = DeviceOf(*call);
    try {
        const std::lock_guard lock(state.mutex);
        Spaces &spaces = state.board.spaces;
        const bool wasHeld = spaces.held.contains({unit, chip});
        if (line == DXR_HOST_RESET_HOLD) {
            spaces.held.insert({unit, chip});
        } else if (line == DXR_HOST_RESET_PULSE || wasHeld) {
            ++state.resets.chips[{unit, chip}].hard;
            spaces.held.erase({unit, chip});
            spaces.ResetChip(unit, chip);
        }
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
    call->scheduler.Point(call.Thread());
    return 0;
}

uint32_t CdrResetChip(uint32_t unit, uint32_t chip, uint32_t /*lane*/) {
    const Call call("DXR_CdrResetChip");
    if (!call) {
        return ECANCELED;
    }
    DeviceService &state = DeviceOf(*call);
    try {
        const std::lock_guard lock(state.mutex);
        ++state.resets.chips[{unit, chip}].cdr;
        return 0;
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

uint32_t IntrSetRegist(uint32_t chip, uint32_t interrupt, void *function, void *argument) {
    const Call call("DXR_IntrSetRegist");
    if (!call) {
        return ECANCELED;
    }
    DeviceService &state = DeviceOf(*call);
    try {
        const std::lock_guard lock(state.mutex);
        if (function == nullptr) {
            state.resets.interrupts.erase({chip, interrupt});
            return 0;
        }
        const Interrupt given{reinterpret_cast<DxrHostInterrupt>(function), argument};
        return state.resets.interrupts.emplace(std::pair(chip, interrupt), given).second ? 0
                                                                                         : EBUSY;
    } catch (const std::bad_alloc &) {
        return ENOMEM;
    }
}

uint32_t CmdCallback(void *record, uint32_t command) {
    const Call call("DXR_CmdCallback");
    if (!call) {
        return ECANCELED;
    }
    DxrHostCommand function = nullptr;
    void *user = nullptr;
    {
        DeviceService &state = DeviceOf(*call);
        const std::lock_guard lock(state.mutex);
        function = state.resets.command;
        user = state.resets.commandUser;
    }
    return function != nullptr ? CallModule(*call, kDevice, "the command function", kThrown,
                                            function, record, command, user)
                               : ENOSYS;
}

}  // namespace

void FillDeviceReset(DxrDevHooks &hooks) {
    hooks.registerPreResetProcFunc = Guarded<RegisterPreResetProcFunc>;
    hooks.setPreResetMode = Guarded<SetPreResetMode>;
    hooks.getPreResetMode = Guarded<GetPreResetMode>;
    hooks.getResetMode = Guarded<GetResetMode>;
    hooks.resetBoard = Guarded<ResetBoard>;
    hooks.rebootOS = Guarded<RebootOS>;
    hooks.hardResetChip = Guarded<HardResetChip>;
    hooks.cdrResetChip = Guarded<CdrResetChip>;
    hooks.intrSetRegist = Guarded<IntrSetRegist>;
    hooks.cmdCallback = Guarded<CmdCallback>;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::DeviceService;

void DxrHostSetCommand(DxrHost *host, DxrHostCommand command, void *user) {
    const ApiCall call(host);
    if (call) {
        DeviceService &state = devhost::DeviceOf(*call);
        const std::lock_guard lock(state.mutex);
        state.resets.command = command;
        state.resets.commandUser = user;
    }
}

bool DxrHostRaiseInterrupt(DxrHost *host, uint32_t chip, uint32_t interrupt) {
    const ApiCall call(host);
    if (!call) {
        return false;
    }
    devhost::Interrupt found{};
    {
        DeviceService &state = devhost::DeviceOf(*call);
        const std::lock_guard lock(state.mutex);
        const auto at = state.resets.interrupts.find({chip, interrupt});
        found = at != state.resets.interrupts.end() ? at->second : found;
    }
    if (found.function == nullptr) {
        return false;
    }
    devhost::CallModuleVoid(*call, devhost::kDevice, "an interrupt's function", found.function,
                            chip, interrupt, found.argument);
    return true;
}

uint32_t DxrHostGetResets(DxrHost *host, uint32_t unit, uint32_t chip, uint32_t *cdr) {
    const ApiCall call(host);
    devhost::ChipResets resets;
    if (call) {
        DeviceService &state = devhost::DeviceOf(*call);
        const std::lock_guard lock(state.mutex);
        const auto found = state.resets.chips.find({unit, chip});
        resets = found != state.resets.chips.end() ? found->second : resets;
    }
    if (cdr != nullptr) {
        *cdr = resets.cdr;
    }
    return resets.hard;
}
