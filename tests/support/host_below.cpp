#include "support/host_below.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "dxr_devhost/print.h"

namespace dxrtest {

struct HostBelow::Library {
    decltype(&DxrHostInitOptions) initOptions;
    decltype(&DxrHostCreate) create;
    decltype(&DxrHostRegister) registerHost;
    decltype(&DxrHostFillHooks) fillHooks;
    decltype(&DxrHostDestroy) destroy;
    decltype(&DxrHostGetReport) getReport;
    decltype(&DxrHostSetPrintFile) setPrintFile;
    decltype(&DxrHostSetDiagFile) setDiagFile;

    explicit Library(const char *path) {
        void *const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        Find(library, "DxrHostInitOptions", initOptions);
        Find(library, "DxrHostCreate", create);
        Find(library, "DxrHostRegister", registerHost);
        Find(library, "DxrHostFillHooks", fillHooks);
        Find(library, "DxrHostDestroy", destroy);
        Find(library, "DxrHostGetReport", getReport);
        Find(library, "DxrHostSetPrintFile", setPrintFile);
        Find(library, "DxrHostSetDiagFile", setDiagFile);
    }

  private:
    template <typename Function>
    static void Find(void *library, const char *name, Function &function) {
        void *const found = library != nullptr ? dlsym(library, name) : nullptr;
        if (found == nullptr) {
            std::fprintf(stderr, "DXR_TEST_HOST: %s\n", dlerror());
            std::abort();
        }
        function = reinterpret_cast<Function>(found);
    }
};

std::unique_ptr<HostBelow> HostBelow::Make() {
    const char *const path = std::getenv("DXR_TEST_HOST");
    if (path == nullptr) {
        return nullptr;
    }
    static const Library library(path);
    return std::unique_ptr<HostBelow>(new HostBelow(library));
}

HostBelow::HostBelow(const Library &library) : library_(library) {
    DxrHostOptions options;
    library_.initOptions(&options);
    options.clock = DXR_HOST_CLOCK_STEPPED;
    host_ = library_.create(&options);
    EXPECT_NE(host_, nullptr);
    EXPECT_EQ(library_.registerHost(host_), 0U);
    // Messages and lines are the test host's affair.
    library_.setPrintFile(host_, nullptr, 6, nullptr);
    library_.setDiagFile(host_, nullptr);
    library_.fillHooks(&slots_);
}

HostBelow::~HostBelow() {
    while (!mutexes_.empty()) {
        DestroyMutex(mutexes_.begin()->first);
    }
    DxrHostReport report{};
    for (uint32_t i = 0; library_.getReport(host_, i, &report); ++i) {
        ADD_FAILURE() << report.service << ": " << report.slot << " by " << report.caller << ": "
                      << report.text;
    }
    EXPECT_EQ(library_.destroy(host_, stderr), 0U) << "left behind";
}

void HostBelow::InitMutex(const void *handle) {
    void *mutex = nullptr;
    EXPECT_EQ(slots_.task.initMutex(&mutex, nullptr), 0U);
    mutexes_[handle] = mutex;
}

void HostBelow::DestroyMutex(const void *handle) {
    const auto found = mutexes_.find(handle);
    if (found != mutexes_.end()) {
        EXPECT_EQ(slots_.task.destroyMutex(found->second), 0U);
        mutexes_.erase(found);
    }
}

void HostBelow::LockMutex(const void *handle) {
    const auto found = mutexes_.find(handle);
    if (found != mutexes_.end()) {
        EXPECT_EQ(slots_.task.lockMutex(found->second), 0U);
    }
}

void HostBelow::UnlockMutex(const void *handle) {
    const auto found = mutexes_.find(handle);
    if (found != mutexes_.end()) {
        EXPECT_EQ(slots_.task.unlockMutex(found->second), 0U);
    }
}

}  // namespace dxrtest
