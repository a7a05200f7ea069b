// The sub-commands: each function adds one to the program, with its options, its help and what it
// does.
#ifndef DXRSH_COMMANDS_H
#define DXRSH_COMMANDS_H

#include <CLI/CLI.hpp>

namespace dxrsh {

void AddAttachCommand(CLI::App &program);
void AddBenchCommand(CLI::App &program);
void AddBinCommand(CLI::App &program);
void AddChassisCommand(CLI::App &program);
void AddCrcCommand(CLI::App &program);
void AddDbCommand(CLI::App &program);
void AddDiffCommand(CLI::App &program);
void AddFaultCommand(CLI::App &program);
void AddFilterCommand(CLI::App &program);
void AddLatestCommand(CLI::App &program);
void AddLinksCommand(CLI::App &program);
void AddMsgFilterCommand(CLI::App &program);
void AddPrivateLogCommand(CLI::App &program);
void AddRecordCommand(CLI::App &program);
void AddReplayCommand(CLI::App &program);
void AddRunCommand(CLI::App &program);
void AddShellCommand(CLI::App &program);
void AddSimulateCommand(CLI::App &program);
void AddSlotsCommand(CLI::App &program);
void AddTraceCommand(CLI::App &program);

}  // namespace dxrsh

#endif  // DXRSH_COMMANDS_H
