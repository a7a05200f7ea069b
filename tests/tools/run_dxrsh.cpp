#include "tools/run_dxrsh.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <sstream>
#include <stdexcept>

#include "tools/temporary_directory.h"

extern char **environ;

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

// Standard output goes to `outputFd`, or to the file `out` of the directory when that is negative.
int Spawn(const TemporaryDirectory &directory, int outputFd,
          const std::vector<std::string> &arguments) {
    constexpr int kNewFile = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, directory.Path("in").c_str(), O_RDONLY, 0);
    if (outputFd >= 0) {
        posix_spawn_file_actions_adddup2(&actions, outputFd, 1);
    } else {
        posix_spawn_file_actions_addopen(&actions, 1, directory.Path("out").c_str(), kNewFile,
                                         0600);
    }
    posix_spawn_file_actions_addopen(&actions, 2, directory.Path("err").c_str(), kNewFile, 0600);

    std::vector<std::string> words = arguments;
    words.insert(words.begin(), "dxrsh");
    std::vector<char *> argv;
    for (std::string &word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    pid_t child = 0;
    const int error = posix_spawn(&child, DXRSH_PROGRAM, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot run " DXRSH_PROGRAM);
    }
    return Wait(child);
}

}  // namespace

Outcome RunDxrshInto(int outputFd, const std::vector<std::string> &arguments,
                     const std::string &standardInput) {
    const TemporaryDirectory directory;
    directory.Write("in", standardInput);
    const int status = Spawn(directory, outputFd, arguments);
    return {status, directory.Read("out"), directory.Read("err")};
}

Outcome RunDxrsh(const std::vector<std::string> &arguments, const std::string &standardInput) {
    return RunDxrshInto(-1, arguments, standardInput);
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
