#include "shell_commands.h"

#include <fmt/format.h>

#include <algorithm>

#include "errors.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr ShellCommand kCommands[] = {
    {"call", "call SLOT [ARGUMENTS]",
     "calls a slot by its function, as modules do; 'help SLOT' tells its arguments.\n"
     "A number is decimal or hexadecimal after 0x. Memory is @BYTES (zeros, shown after\n"
     "the call), or pieces with commas between them: hex:00ff text:abc u8:1 u16:2 u32:3\n"
     "u64:4 zero:8 ptr(PIECES). null is no memory, $NAME what was kept, _ a number that\n"
     "counts memory given beside it. Memory that is only written may be left out.\n"
     "Results are kept as $result, and by their names",
     LineEnd::kSlot, &Session::Call},
    {"hook", "hook SLOT [ARGUMENTS]", "calls a slot's hook itself, without the library's function",
     LineEnd::kSlot, &Session::CallHook},
    {"buffer", "buffer NAME MEMORY", "makes memory that stays, as $NAME", LineEnd::kNothing,
     &Session::Buffer},
    {"keep", "keep NAME [WHAT]", "keeps $result, or $WHAT, as $NAME", LineEnd::kName,
     &Session::Keep},
    {"expect", "expect NAME VALUE", "fails unless $NAME has that value", LineEnd::kName,
     &Session::Expect},
    {"values", "values [NAME]", "shows what is kept", LineEnd::kName, &Session::ShowValues},
    {"get", "get REGISTER",
     "shows a register past faults and counts. REGISTER is UNIT:CHIP:ADDRESS,\n"
     "i2c:BUS:DEVICE:OFFSET, mdio:UNIT:BUS:PHY:DEVICE:REGISTER, pcie:DEVICE:OFFSET or\n"
     "bar:DEVICE:BAR:OFFSET",
     LineEnd::kNothing, &Session::Get},
    {"set", "set REGISTER VALUE", "sets one in the same way, read-only bits too", LineEnd::kNothing,
     &Session::Set},
    {"registers", "registers REGISTER [COUNT]",
     "shows several, and how often slots have read and written them", LineEnd::kNothing,
     &Session::Registers},
    {"tables", "tables [TABLE]", "shows the tables of the table manager, or one's entries",
     LineEnd::kNothing, &Session::Tables},
    {"entry", "entry CHIP TABLE KEY DATA", "sets an entry of a table; KEY and DATA are memory",
     LineEnd::kNothing, &Session::Entry},
    {"memory", "memory", "shows who holds memory", LineEnd::kNothing, &Session::Memory},
    {"send", "send UNIT KIND [MEMORY] [from=UNIT] [code=N] [ack=MILLISECONDS]",
     "sends a message to a unit, such as mpu:0, lpu:3, sfu:1, devm:0, np:2", LineEnd::kNothing,
     &Session::Send},
    {"mailbox", "mailbox UNIT [close]", "opens a unit's mailbox, or closes it", LineEnd::kNothing,
     &Session::OpenMailbox},
    {"receive", "receive UNIT [MILLISECONDS]", "takes a message from a mailbox", LineEnd::kNothing,
     &Session::Receive},
    {"mailboxes", "mailboxes", "shows the open mailboxes and what became of messages",
     LineEnd::kNothing, &Session::Mailboxes},
    {"drop", "drop [[UNIT] KIND COUNT]",
     "drops the next messages of a kind, or of a kind to a unit; alone: shows what will be",
     LineEnd::kNothing, &Session::Drop},
    {"fail", "fail POINT [N]",
     "lets the N-th step from now on fail, such as memory.allocate or file.open; 0: none",
     LineEnd::kPoint, &Session::Fail},
    {"wait", "wait MILLISECONDS", "lets time pass on the host's clock", LineEnd::kNothing,
     &Session::Wait},
    {"load", "load MODULE [ARGUMENTS]",
     "runs a module's main function on this host; it is at work then", LineEnd::kFile,
     &Session::Load, HostOf::kShell},
    {"unload", "unload [MODULE]", "runs its way out", LineEnd::kNothing, &Session::Unload,
     HostOf::kShell},
    {"trace", "trace on FILE, trace off", "records the calls from here on", LineEnd::kFile,
     &Session::Trace},
    {"report", "report", "shows slots used, memory, lines, records, faults and reports so far",
     LineEnd::kNothing, &Session::Report},
};

constexpr size_t kShownWidth = 60;

}  // namespace

std::span<const ShellCommand> ShellCommands() {
    return kCommands;
}

const ShellCommand *ShellCommandNamed(std::string_view name) {
    const auto *const found =
        std::find_if(std::begin(kCommands), std::end(kCommands),
                     [name](const ShellCommand &one) { return name == one.name; });
    return found != std::end(kCommands) ? found : nullptr;
}

const ShellCommand &RequireShellCommand(std::string_view name, HostOf whose) {
    const ShellCommand *const command = ShellCommandNamed(name);
    if (command == nullptr) {
        throw UsageError(fmt::format("there is no command '{}'; 'help' lists them",
                                     Printable(name, kShownWidth)));
    }
    if (command->host != HostOf::kAny && command->host != whose) {
        throw UsageError(fmt::format("{}: only in 'dxrsh shell'; this host has its module", name));
    }
    return *command;
}

void Do(const ShellCommand &command, Session &session, const std::vector<std::string> &words) {
    (session.*command.run)({words.begin() + 1, words.end()});
}

}  // namespace dxrsh
