#include "host.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include "dxr_devhost.h"
#include "errors.h"

namespace dxrsh {
namespace {

// Levels of the library's messages.
constexpr uint32_t kLevelFailure = 1;
constexpr uint32_t kLevelAll = 6;

void SayFailures() {
    DxrHostSetPrintFile(stderr, kLevelFailure, "dxrsh: ");
}

}  // namespace

Host::Host() {
    if (DxrHostInstall() != 0) {
        throw RunError("the development host could not be installed");
    }
    DxrHostSetClock(0, 0);
    DxrHostSetDiagFile(nullptr);
    SayFailures();
}

Host::~Host() {
    DXR_RegisterHooks(nullptr);
    DxrHostReset();
}

MessageCatcher::MessageCatcher() {
    const auto keep = [](uint32_t, const char *text, void *user) {
        static_cast<MessageCatcher *>(user)->last_ = text;
    };
    DxrHostSetPrintSink(keep, this, kLevelAll);
}

MessageCatcher::~MessageCatcher() {
    SayFailures();
}

std::string MemoryReport() {
    std::vector<DxrHostMemoryAccount> accounts(DxrHostGetMemoryAccounts(nullptr, 0));
    DxrHostGetMemoryAccounts(accounts.data(), static_cast<uint32_t>(accounts.size()));
    std::string report;
    for (const DxrHostMemoryAccount &account : accounts) {
        report +=
            fmt::format("  module {}: {} blocks, {} bytes live; at most {} bytes\n", account.mid,
                        account.blocksLive, account.bytesLive, account.bytesPeak);
    }
    return report.empty() ? "  none\n" : report;
}

}  // namespace dxrsh
