#include "module.h"

#include <dlfcn.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "errors.h"
#include "local_socket.h"

namespace dxrsh {

namespace {

// The calls of the module that have not come back.
constinit std::atomic<uint32_t> g_calls = 0;
// The process that they are made in: one that a module forks ends as it likes.
constinit std::atomic<pid_t> g_process = 0;

// Tells whether the end of this process, now, is the module's doing.
bool IsInModule() {
    return g_calls != 0 && g_process == getpid();
}

// Also within a signal handler.
[[noreturn]] void EndByModule() {
    constexpr std::string_view kWords = "the module has ended the program\n";
    const ssize_t written = write(STDOUT_FILENO, kWords.data(), kWords.size());
    (void)written;  // there may be nobody to hear it
    EndProgram(kExitFailure);
}

class Call {
  public:
    Call() { ++g_calls; }
    // Not by a return or an exception: by the end of the thread. What the program has to undo is
    // not for a process that the module has forked.
    ~Call() {
        if (!isBack_ && std::uncaught_exceptions() == 0) {
            (void)std::fflush(stdout);
            if (IsInModule()) {
                EndByModule();
            }
            EndProgram(EXIT_SUCCESS);
        }
        --g_calls;
    }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;
    Call(Call &&) = delete;
    Call &operator=(Call &&) = delete;

    // A process that the module has forked has nothing more to do, and a status of its own.
    void Return(int status) {
        isBack_ = true;
        if (g_process != getpid()) {
            (void)std::fflush(nullptr);
            EndProgram(status);
        }
    }

  private:
    bool isBack_ = false;
};

void AtExit() {
    if (IsInModule()) {
        (void)std::fflush(stdout);
        EndByModule();
    }
}

}  // namespace

void EndProgram(int status) {
    RemoveListenerOfProgram();
    for (;;) {
        (void)syscall(SYS_exit_group, status);
    }
}

Module::Module(const std::string &path) : path_(path) {
    // First, so that those of the module, and of a trace that begins later, come before it.
    g_process = getpid();
    (void)std::atexit(AtExit);
    (void)at_quick_exit(AtExit);
    // Without a slash the system would look in the directories of libraries.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    void *const object = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (object == nullptr) {
        throw UsageError(dlerror());  // NOLINT(concurrency-mt-unsafe): a text of the thread
    }
    main_ = reinterpret_cast<int (*)(int, char **)>(dlsym(object, "DxrModuleMain"));
    end_ = reinterpret_cast<void (*)()>(dlsym(object, "DxrModuleEnd"));
    if (main_ == nullptr) {
        throw UsageError(path + ": defines no DxrModuleMain");
    }
}

int Module::Main(const std::vector<std::string> &arguments) {
    arguments_ = {path_};
    arguments_.insert(arguments_.end(), arguments.begin(), arguments.end());
    argv_.clear();
    for (std::string &argument : arguments_) {
        argv_.push_back(argument.data());
    }
    argv_.push_back(nullptr);
    Call call;
    try {
        const int result = main_(static_cast<int>(arguments_.size()), argv_.data());
        call.Return(result);
        return result;
    } catch (const std::exception &error) {
        Left(error);
    }
}

void Module::End() const {
    if (end_ != nullptr) {
        Call call;
        try {
            end_();
            call.Return(EXIT_SUCCESS);
        } catch (const std::exception &error) {
            Left(error);
        }
    }
}

// A module may be C++. What it throws is not what this program has to say.
void Module::Left(const std::exception &error) const {
    throw RunError(Name() + ": an exception has left the module: " + error.what());
}

std::string Module::Name() const {
    return path_.substr(path_.find_last_of('/') + 1);
}

std::FILE *OutputBesideModule(bool json) {
    if (!json) {
        return stdout;
    }
    const int kept = dup(STDOUT_FILENO);
    std::FILE *const output = kept < 0 ? nullptr : fdopen(kept, "w");
    if (output == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        throw RunError("standard output cannot be kept apart from the module's");
    }
    return output;
}

}  // namespace dxrsh

// The program's own, which modules find before the system's: no way out passes by unseen.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" __attribute__((visibility("default"))) void _exit(int status) {
    if (dxrsh::IsInModule()) {
        dxrsh::EndByModule();
    }
    dxrsh::EndProgram(status);
}

extern "C" __attribute__((visibility("default"))) void _Exit(int status) noexcept {
    _exit(status);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
