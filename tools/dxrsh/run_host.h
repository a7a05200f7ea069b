// The development host that a module runs on, and what is to be told of it.
#ifndef DXRSH_RUN_HOST_H
#define DXRSH_RUN_HOST_H

#include <CLI/CLI.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dxr_devhost.h"
#include "run_report.h"

namespace dxrsh {

struct RunHostOptions {
    std::string board;
    std::string clock = "real";
    uint64_t seed = 1;
    std::string work = ".";
    bool allowOutside = false;

    [[nodiscard]] bool IsVirtual() const { return clock == "virtual"; }
};

// --board, --clock, --seed, --work, --allow-outside. The options stay the caller's.
void AddRunHostOptions(CLI::App &command, RunHostOptions &options);

struct HostCloser {
    void operator()(DxrHost *host) const { (void)DxrHostDestroy(host, nullptr); }
};
using HostOwner = std::unique_ptr<DxrHost, HostCloser>;

// Makes it and registers it. Throws UsageError, also for what is wrong with the board's file.
[[nodiscard]] HostOwner MakeRunHost(const RunHostOptions &options);

[[nodiscard]] std::vector<DxrHostModuleInfo> ModulesOf(DxrHost *host);

// What the library keeps for all modules: records, and lines that its log filter suppressed.
void TakeRecords(RunReport &report);
void TakeSuppressed(RunReport &report);
// What the host knows.
void TakeMemory(DxrHost *host, const std::vector<DxrHostModuleInfo> &modules, RunReport &report);
void TakeAlarms(DxrHost *host, RunReport &report);
void TakeReports(DxrHost *host, RunReport &report);

}  // namespace dxrsh

#endif  // DXRSH_RUN_HOST_H
