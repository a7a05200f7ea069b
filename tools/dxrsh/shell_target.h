// What lines of the shell are done on: a host of this process, or of another one.
#ifndef DXRSH_SHELL_TARGET_H
#define DXRSH_SHELL_TARGET_H

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "message_losses.h"
#include "run_host.h"
#include "run_trace.h"
#include "shell_commands.h"

namespace dxrsh {

class ShellTarget {
  public:
    ShellTarget() = default;
    virtual ~ShellTarget() = default;
    ShellTarget(const ShellTarget &) = delete;
    ShellTarget &operator=(const ShellTarget &) = delete;
    ShellTarget(ShellTarget &&) = delete;
    ShellTarget &operator=(ShellTarget &&) = delete;

    // Does a line, whose first word is the name of one of the commands. Throws UsageError and
    // RunError for what is wrong with the line alone.
    virtual void Do(const std::vector<std::string> &words) = 0;

    // Of what was kept.
    [[nodiscard]] virtual std::vector<std::string> Names() = 0;

    // Whose host it is.
    [[nodiscard]] virtual HostOf Whose() const = 0;

    // Can be read when no more lines can be done; -1: that does not happen.
    [[nodiscard]] virtual int EndFd() const { return -1; }
    // Why no more lines can be done; nothing while they can.
    [[nodiscard]] virtual std::optional<std::string> WhyEnded() { return std::nullopt; }
};

// A host for as long as the object lives.
class OwnHostTarget : public ShellTarget {
  public:
    // Throws UsageError.
    explicit OwnHostTarget(const RunHostOptions &options);
    ~OwnHostTarget() override;
    OwnHostTarget(const OwnHostTarget &) = delete;
    OwnHostTarget &operator=(const OwnHostTarget &) = delete;
    OwnHostTarget(OwnHostTarget &&) = delete;
    OwnHostTarget &operator=(OwnHostTarget &&) = delete;

    void Do(const std::vector<std::string> &words) override;
    [[nodiscard]] std::vector<std::string> Names() override;
    [[nodiscard]] HostOf Whose() const override { return HostOf::kShell; }

  private:
    static void TakeLine(const char *line, void *target);

    HostOwner host_;
    RunTrace trace_;
    MessageLosses losses_;
    std::atomic<uint64_t> linesLetThrough_{0};
    Session session_;
};

// Writes what a line prints. Throws BrokenPipe when nobody reads it any more.
void Put(const std::string &text);

// The names of all that is kept.
[[nodiscard]] std::vector<std::string> NamesOf(const Values &values);

}  // namespace dxrsh

#endif  // DXRSH_SHELL_TARGET_H
