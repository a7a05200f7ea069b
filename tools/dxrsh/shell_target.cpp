#include "shell_target.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <system_error>

#include "errors.h"
#include "run_report.h"
#include "say.h"

namespace dxrsh {
namespace {

void SayReport(const DxrHostReport *report, void * /*user*/) {
    Say(stderr, "host: {}\n", ReportLine(*report));
}

}  // namespace

void Put(const std::string &text) {
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (std::fflush(stdout) != 0 || !isWritten) {
        if (errno == EPIPE) {
            throw BrokenPipe();
        }
        throw RunError("standard output: " + std::generic_category().message(errno));
    }
}

std::vector<std::string> NamesOf(const Values &values) {
    std::vector<std::string> names;
    for (const auto &[name, value] : values.All()) {
        names.push_back(name);
    }
    return names;
}

OwnHostTarget::OwnHostTarget(const RunHostOptions &options)
    : host_(MakeRunHost(options)),
      losses_(host_.get()),
      session_({host_.get(), options.IsVirtual(), &trace_, &losses_, &linesLetThrough_}, Put) {
    DxrHostSetReportSink(host_.get(), SayReport, nullptr);
    DxrHostSetDiagSink(host_.get(), TakeLine, this);
    const uint32_t error = trace_.Start({});
    if (error != 0) {
        throw RunError("calls are not counted: " +
                       std::generic_category().message(static_cast<int>(error)));
    }
}

OwnHostTarget::~OwnHostTarget() {
    session_.EndModules();
    (void)trace_.Stop();
    (void)std::fflush(stdout);
    host_.reset();  // before what it may have addresses of
}

void OwnHostTarget::TakeLine(const char *line, void *target) {
    ++static_cast<OwnHostTarget *>(target)->linesLetThrough_;
    Say(stdout, "{}\n", Printable(line, SIZE_MAX));
    (void)std::fflush(stdout);
}

void OwnHostTarget::Do(const std::vector<std::string> &words) {
    dxrsh::Do(RequireShellCommand(words[0], Whose()), session_, words);
}

std::vector<std::string> OwnHostTarget::Names() {
    return NamesOf(session_.Kept());
}

}  // namespace dxrsh
