// The host of another program, to which lines of the shell are sent.
#ifndef DXRSH_ATTACH_CLIENT_H
#define DXRSH_ATTACH_CLIENT_H

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

#include "local_socket.h"
#include "shell_target.h"

namespace dxrsh {

class AttachedTarget : public ShellTarget {
  public:
    // Throws UsageError when no host listens at the path, or takes nobody more.
    explicit AttachedTarget(const std::string &path);

    void Do(const std::vector<std::string> &words) override;
    [[nodiscard]] std::vector<std::string> Names() override;
    [[nodiscard]] HostOf Whose() const override { return HostOf::kOther; }
    [[nodiscard]] int EndFd() const override { return connection_.Get(); }
    [[nodiscard]] std::optional<std::string> WhyEnded() override;

  private:
    void Send(const std::string &line);
    [[nodiscard]] std::string Receive();
    [[noreturn]] void End(const std::string &why);
    [[nodiscard]] bool TakesLine(std::string &line);
    [[nodiscard]] std::string Ask(const std::string &asked, bool isPrinted);

    Descriptor connection_;
    std::string came_;
    std::optional<std::string> whyEnded_;
};

// Does lines, as RunShell, on the host that listens at the path. The exit status.
[[nodiscard]] int RunAttached(const std::string &path, const std::optional<std::string> &file,
                              const CLI::App &program);

}  // namespace dxrsh

#endif  // DXRSH_ATTACH_CLIENT_H
