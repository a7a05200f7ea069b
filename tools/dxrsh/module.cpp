#include "module.h"

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "errors.h"

namespace dxrsh {

namespace {

// The calls of the module that have not come back.
constinit std::atomic<uint32_t> g_calls = 0;

class Call {
  public:
    Call() { ++g_calls; }
    ~Call() { --g_calls; }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;
    Call(Call &&) = delete;
    Call &operator=(Call &&) = delete;
};

void AtExit() {
    if (g_calls != 0) {
        (void)std::fputs("the module has ended the program\n", stdout);
        (void)std::fflush(stdout);
        std::_Exit(kExitFailure);
    }
}

}  // namespace

Module::Module(const std::string &path) : path_(path) {
    // First, so that those of the module, and of a trace that begins later, come before it.
    (void)std::atexit(AtExit);
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
    const Call call;
    return main_(static_cast<int>(arguments_.size()), argv_.data());
}

void Module::End() const {
    if (end_ != nullptr) {
        const Call call;
        end_();
    }
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
