#include "report.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

#include "host.h"

namespace devhost {
namespace {

constexpr size_t kMostReports = 1000;
constexpr uint32_t kFailureLevel = 1;

template <size_t kRoom>
void Copy(char (&to)[kRoom], std::string_view text) {
    const size_t length = std::min(text.size(), kRoom - 1);
    std::memcpy(to, text.data(), length);
    to[length] = '\0';
}

}  // namespace

std::string LineOf(const DxrHostReport &report) {
    std::string line = std::string(report.service) + ": ";
    if (report.slot[0] != '\0') {
        line += std::string(report.slot) + " by " + report.caller + ": ";
    }
    line += report.text;
    if (report.count > 1) {
        line += " (" + std::to_string(report.count) + " times)";
    }
    return line;
}

void Reports::Add(uint32_t kind, const char *service, const Place &place, const char *what,
                  const std::string &text) {
    const bool hasSlot = place.slot[0] != '\0';
    const void *const caller = hasSlot ? ModuleCaller(place.address) : nullptr;
    DxrHostReport report{};
    report.kind = kind;
    report.count = 1;
    Copy(report.service, service);
    Copy(report.slot, place.slot);
    Copy(report.caller, hasSlot ? Describe(caller) : std::string());
    Copy(report.text, text);
    DxrHostReportSink sink = nullptr;
    void *user = nullptr;
    {
        const std::lock_guard lock(mutex_);
        // Each leftover is one of its own.
        if (kind != DXR_HOST_REPORT_LEFTOVER) {
            const Key key{kind, place.slot, caller, what};
            const auto found = known_.find(key);
            if (found != known_.end()) {
                ++reports_[found->second].count;
                return;
            }
            if (reports_.size() < kMostReports) {
                known_.emplace(key, reports_.size());
            }
        }
        if (reports_.size() >= kMostReports) {
            return;
        }
        reports_.push_back(report);
        sink = sink_;
        user = user_;
    }
    if (sink != nullptr) {
        sink(&report, user);
    } else {
        host_.Say(kFailureLevel, LineOf(report).c_str());
    }
}

void Reports::SetSink(DxrHostReportSink sink, void *user) {
    const std::lock_guard lock(mutex_);
    sink_ = sink;
    user_ = user;
}

uint32_t Reports::Count() {
    const std::lock_guard lock(mutex_);
    return static_cast<uint32_t>(reports_.size());
}

bool Reports::Get(uint32_t index, DxrHostReport &report) {
    const std::lock_guard lock(mutex_);
    if (index >= reports_.size()) {
        return false;
    }
    report = reports_[index];
    return true;
}

void Reports::WriteAll(std::FILE *out) {
    const std::lock_guard lock(mutex_);
    for (const DxrHostReport &report : reports_) {
        try {
            (void)std::fprintf(out, "%s\n", LineOf(report).c_str());
        } catch (const std::bad_alloc &) {
            (void)std::fprintf(out, "%s: %s\n", report.service, report.text);
        }
    }
}

}  // namespace devhost
