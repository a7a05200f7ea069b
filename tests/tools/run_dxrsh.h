// Runs dxrsh as a user does.
#ifndef DXR_TESTS_TOOLS_RUN_DXRSH_H
#define DXR_TESTS_TOOLS_RUN_DXRSH_H

#include <string>
#include <vector>

namespace dxrtest {

struct Outcome {
    int status;  // exit code; 128 + the number of the signal that ended it
    std::string out;
    std::string err;
};

[[nodiscard]] Outcome RunDxrsh(const std::vector<std::string> &arguments,
                               const std::string &standardInput = {});

// The same with standard output going to a file descriptor; `out` stays empty.
[[nodiscard]] Outcome RunDxrshInto(int outputFd, const std::vector<std::string> &arguments,
                                   const std::string &standardInput = {});

// The same with a directory in the place of /opt, for the program alone.
[[nodiscard]] Outcome RunDxrshWithOpt(const std::string &opt,
                                      const std::vector<std::string> &arguments,
                                      const std::string &standardInput = {});

// In a process that was just forked: becomes dxrsh, or another program that takes its place.
// Returns when it cannot.
void ExecuteDxrsh(const std::vector<std::string> &arguments, const char *program = nullptr);

// The lines of a text without their line breaks.
[[nodiscard]] std::vector<std::string> SplitLines(const std::string &text);

}  // namespace dxrtest

#endif  // DXR_TESTS_TOOLS_RUN_DXRSH_H
