#include "run_host.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <system_error>
#include <vector>

#include "errors.h"
#include "help.h"
#include "number_option.h"

namespace dxrsh {

void AddRunHostOptions(CLI::App &command, RunHostOptions &options) {
    command.add_option("--board", options.board, "JSON file that describes the board")
        ->type_name("FILE");
    const std::vector<std::string> clocks{"real", "virtual"};
    Offer(*command
               .add_option("--clock", options.clock,
                           "real (default), or virtual: nothing waits, and the same seed gives the "
                           "same run")
               ->check(OneOf(clocks))
               ->type_name("CLOCK"),
          clocks);
    command
        .add_option("--seed", options.seed,
                    "Of the order of tasks and of what chance does (default 1)")
        ->transform(AsWholeNumber(0, std::numeric_limits<uint64_t>::max()))
        ->type_name("N");
    command.add_option("--work", options.work, "The work path")->type_name("DIRECTORY");
    command.add_flag("--allow-outside", options.allowOutside,
                     "Let files outside the work path be opened");
}

HostOwner MakeRunHost(const RunHostOptions &options) {
    if (!options.board.empty() && access(options.board.c_str(), R_OK) != 0) {
        throw UsageError(options.board + ": " + std::generic_category().message(errno));
    }
    // A slash after it: nothing but a folder will do.
    if (access((options.work + "/").c_str(), X_OK) != 0) {
        throw UsageError(options.work + ": " + std::generic_category().message(errno));
    }
    DxrHostOptions given;
    DxrHostInitOptions(&given);
    given.clock = options.IsVirtual() ? DXR_HOST_CLOCK_VIRTUAL : DXR_HOST_CLOCK_REAL;
    given.seed = options.seed;
    given.workPath = options.work.c_str();
    given.board = options.board.empty() ? nullptr : options.board.c_str();
    given.allowOutside = options.allowOutside ? 1 : 0;
    const uint32_t level = given.printLevel;
    given.printLevel = 0;  // what is wrong with the board is said below
    HostOwner host(DxrHostCreate(&given));
    if (host == nullptr || DxrHostRegister(host.get()) != 0) {
        throw UsageError("the development host could not be made");
    }
    DxrHostReport wrong{};
    if (!options.board.empty() && DxrHostGetReport(host.get(), 0, &wrong)) {
        throw UsageError(wrong.text);  // nothing else has been looked at yet
    }
    (void)DXR_SetDbgLevel(level);
    return host;
}

std::vector<DxrHostModuleInfo> ModulesOf(DxrHost *host) {
    std::vector<DxrHostModuleInfo> modules(DxrHostGetModules(host, nullptr, 0));
    const uint32_t count =
        DxrHostGetModules(host, modules.data(), static_cast<uint32_t>(modules.size()));
    modules.resize(std::min<size_t>(modules.size(), count));
    return modules;
}

void TakeRecords(RunReport &report) {
    for (const DxrRecord *const record : g_dxrRecord.records) {
        if (record != nullptr) {
            report.records.push_back(
                {std::string(record->text, strnlen(record->text, sizeof(record->text))),
                 record->count});
        }
    }
}

void TakeSuppressed(RunReport &report) {
    // The end of the store leaves the handles of its mutexes.
    report.hasFilterEnded = g_dxrLogFilterInfo == nullptr && g_dxrLogFilterMutex[0] != nullptr;
    for (uint32_t type = 0; type < DXR_LOG_FILTER_TYPE_NUM; ++type) {
        const DxrLogFilterInfo *const ring = DXR_GetLogFilter(type);
        if (ring == nullptr || ring->entries == nullptr) {
            continue;
        }
        for (uint32_t i = 0; i < std::min(ring->curSize, ring->capacity); ++i) {
            const uint32_t at = (ring->curIndex + i) % ring->capacity;
            report.linesSuppressed += ring->entries[at].logCnt;
        }
    }
}

void TakeMemory(DxrHost *host, const std::vector<DxrHostModuleInfo> &modules, RunReport &report) {
    std::vector<DxrHostMemoryAccount> accounts(DxrHostGetMemoryAccounts(host, nullptr, 0));
    const uint32_t count =
        DxrHostGetMemoryAccounts(host, accounts.data(), static_cast<uint32_t>(accounts.size()));
    accounts.resize(std::min<size_t>(accounts.size(), count));
    for (const DxrHostMemoryAccount &account : accounts) {
        const auto named = std::find_if(
            modules.begin(), modules.end(),
            [&account](const DxrHostModuleInfo &info) { return info.mid == account.mid; });
        report.memory.push_back(
            {account, named != modules.end() ? std::string(named->name) : std::string()});
    }
}

void TakeAlarms(DxrHost *host, RunReport &report) {
    DxrHostAlarm alarm{};
    for (uint32_t i = 0; DxrHostGetAlarm(host, i, &alarm); ++i) {
        report.alarms.push_back(alarm);
    }
}

void TakeReports(DxrHost *host, RunReport &report) {
    for (uint32_t i = 0; i < DxrHostGetReportCount(host); ++i) {
        DxrHostReport found{};
        if (DxrHostGetReport(host, i, &found)) {
            report.reports.push_back(found);
        }
    }
}

}  // namespace dxrsh
