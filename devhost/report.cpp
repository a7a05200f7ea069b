#include "report.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

#include "host.h"

namespace devhost {
namespace {

constexpr size_t kMostReports = DXR_HOST_MOST_REPORTS;
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
    {
        const std::lock_guard lock(mutex_);
        const bool fits = reports_.size() < kMostReports;
        // Each leftover is one of its own.
        if (kind != DXR_HOST_REPORT_LEFTOVER) {
            const Key key{kind, place.slot, caller, what};
            const auto found = known_.find(key);
            if (found != known_.end()) {
                ++reports_[found->second].count;
                return;
            }
            if (fits) {
                if (reports_.size() == reports_.capacity()) {
                    reports_.reserve(2 * reports_.size() + 8);  // while no key is known yet
                }
                known_.emplace(key, reports_.size());
            }
        }
        if (fits) {
            reports_.push_back(report);
        } else {
            more_ += more_ != UINT32_MAX ? 1 : 0;
            if (more_ > 1) {
                return;
            }
            report = {};
            report.kind = DXR_HOST_REPORT_RISK;
            report.count = 1;
            Copy(report.service, "host");
            Copy(report.text, "no more reports are kept; further ones are counted until the end");
        }
    }
    Hand(report);
}

void Reports::TellMore() {
    DxrHostReport report{};
    {
        const std::lock_guard lock(mutex_);
        report.count = more_;
    }
    if (report.count != 0) {
        report.kind = DXR_HOST_REPORT_RISK;
        Copy(report.service, "host");
        Copy(report.text, "reports that were not kept");
        Hand(report);
    }
}

void Reports::Hand(const DxrHostReport &report) {
    DxrHostReportSink sink = nullptr;
    void *user = nullptr;
    {
        const std::lock_guard lock(mutex_);
        sink = sink_;
        user = user_;
    }
    if (sink != nullptr) {
        const CallerBehind nobody(nullptr);
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

bool Reports::HasSinkIn(const CodeRange &code) {
    const std::lock_guard lock(mutex_);
    return code.Holds(reinterpret_cast<const void *>(sink_));
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
    if (more_ != 0) {
        (void)std::fprintf(out, "host: %u reports were not kept\n", more_);
    }
}

}  // namespace devhost
