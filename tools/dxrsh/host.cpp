#include "host.h"

#include <fmt/format.h>

#include <cerrno>
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
    DxrHostSetPrintFile(nullptr, stderr, kLevelFailure, "dxrsh: ");
}

}  // namespace

Host::Host() {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_STEPPED;
    options.startSec = 0;
    options.allowOutside = 1;
    host_ = DxrHostCreate(&options);
    if (host_ == nullptr || DxrHostRegister(host_) != 0) {
        DxrHostDestroy(host_, nullptr);
        throw RunError("the development host could not be made");
    }
    DxrHostSetDiagFile(host_, nullptr);
    SayFailures();
}

Host::~Host() {
    DxrHostDestroy(host_, nullptr);
}

MessageCatcher::MessageCatcher() {
    const auto keep = [](uint32_t, const char *text, void *user) {
        const int error = errno;
        auto *const catcher = static_cast<MessageCatcher *>(user);
        catcher->firstError_ = catcher->last_.empty() ? error : catcher->firstError_;
        catcher->last_ = text;
    };
    DxrHostSetPrintSink(nullptr, keep, this, kLevelAll);
}

MessageCatcher::~MessageCatcher() {
    SayFailures();
}

std::string MemoryReport() {
    std::vector<DxrHostMemoryAccount> accounts(DxrHostGetMemoryAccounts(nullptr, nullptr, 0));
    DxrHostGetMemoryAccounts(nullptr, accounts.data(), static_cast<uint32_t>(accounts.size()));
    std::string report;
    for (const DxrHostMemoryAccount &account : accounts) {
        report +=
            fmt::format("  module {}: {} blocks, {} bytes live; at most {} bytes\n", account.mid,
                        account.blocksLive, account.bytesLive, account.bytesPeak);
    }
    return report.empty() ? "  none\n" : report;
}

}  // namespace dxrsh
