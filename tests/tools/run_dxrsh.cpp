#include "tools/run_dxrsh.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "tools/temporary_directory.h"

namespace dxrtest {
namespace {

int Wait(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            throw std::runtime_error("waitpid failed");
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

struct Setting {
    int outputFd = -1;  // negative: a file
    std::string opt;    // empty: the machine's own
};

// In the child: gives what is wrong, or does not return.
const char *Execute(const TemporaryDirectory &directory, const Setting &setting,
                    const std::vector<std::string> &arguments) {
    constexpr int kNewFile = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    const int in = open(directory.Path("in").c_str(), O_RDONLY | O_CLOEXEC);
    const int out = setting.outputFd >= 0 ? setting.outputFd
                                          : open(directory.Path("out").c_str(), kNewFile, 0600);
    const int err = open(directory.Path("err").c_str(), kNewFile, 0600);
    if (dup2(in, 0) != 0 || dup2(out, 1) != 1 || dup2(err, 2) != 2) {
        return "cannot redirect";
    }
    if (!setting.opt.empty()) {
        setenv("DXR_TEST_OPT", setting.opt.c_str(), 1);
    }
    ExecuteDxrsh(arguments, setting.opt.empty() ? nullptr : DXRSH_ELSEWHERE_PROGRAM);
    return "cannot run dxrsh";
}

Outcome Run(const Setting &setting, const std::vector<std::string> &arguments,
            const std::string &standardInput) {
    constexpr int kNotStarted = 99;
    const TemporaryDirectory directory;
    directory.Write("in", standardInput);
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("fork failed");
    }
    if (child == 0) {
        const std::string complaint = Execute(directory, setting, arguments);
        (void)!write(2, complaint.data(), complaint.size());
        _exit(kNotStarted);
    }
    const int status = Wait(child);
    return {status, directory.Read("out"), directory.Read("err")};
}

}  // namespace

Outcome RunDxrsh(const std::vector<std::string> &arguments, const std::string &standardInput) {
    return Run({}, arguments, standardInput);
}

Outcome RunDxrshInto(int outputFd, const std::vector<std::string> &arguments,
                     const std::string &standardInput) {
    return Run({outputFd, {}}, arguments, standardInput);
}

Outcome RunDxrshWithOpt(const std::string &opt, const std::vector<std::string> &arguments,
                        const std::string &standardInput) {
    return Run({-1, opt}, arguments, standardInput);
}

void ExecuteDxrsh(const std::vector<std::string> &arguments, const char *program) {
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), "dxrsh");
    std::vector<char *> argv;
    for (std::string &word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    execv(program != nullptr ? program : DXRSH_PROGRAM, argv.data());
}

std::vector<std::string> SplitLines(const std::string &text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace dxrtest
