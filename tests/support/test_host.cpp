#include "support/test_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace dxrtest {
namespace {

TestHost *g_host = nullptr;

constexpr size_t kBlockGuard = 32;
constexpr unsigned char kBlockFill = 0xA5;
constexpr unsigned char kBlockGuardFill = 0xEE;
constexpr unsigned char kReleasedFill = 0xDD;

std::string FormatText(const char *format, std::va_list args) {
    std::va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) {
        return "<unformattable>";
    }
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, args);
    text.pop_back();
    return text;
}

}  // namespace

uint64_t Seed() {
    static const uint64_t seed = [] {
        const char *given = std::getenv("DXR_TEST_SEED");
        const uint64_t value = given != nullptr ? std::strtoull(given, nullptr, 0) : 20240315U;
        std::printf("DXR_TEST_SEED=%llu\n", static_cast<unsigned long long>(value));
        return value;
    }();
    return seed;
}

// The functions that go into the table; they find their host through the one current pointer.
struct Hooks {
    static std::string BlockName(const void *block) {
        if (block == nullptr) {
            return "null";
        }
        const auto found = g_host->live_.find(block);
        return found != g_host->live_.end() ? "#" + std::to_string(found->second.number) : "?";
    }

    static std::string MutexName(const void *handle) {
        if (handle == nullptr) {
            return "null";
        }
        for (size_t n = 0; n < g_host->mutexAddresses.size(); ++n) {
            if (TestHost::MutexHandle(n) == handle) {
                return "#" + std::to_string(n);
            }
        }
        return "?";
    }

    static void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
        TestHost &host = *g_host;
        host.calls.push_back("allocate mid=" + std::to_string(mid) +
                             " size=" + std::to_string(size));
        const uint64_t call = ++host.allocationCalls_;
        void *block = nullptr;
        if (call < host.failFrom_ || call > host.failTo_) {
            block = host.below_ != nullptr
                        ? host.below_->Slots().memory.allocate(mid, size, file, line)
                        : Guarded(size);
            std::memset(block, kBlockFill, size);
            host.live_[block] = {size, host.blockCount_++};
        }
        host.allocations.push_back({mid, size, file, line, block});
        return block;
    }

    static void *Guarded(uint32_t size) {
        auto *bytes = static_cast<unsigned char *>(std::malloc(size_t{size} + 2 * kBlockGuard));
        std::memset(bytes, kBlockGuardFill, size_t{size} + 2 * kBlockGuard);
        return bytes + kBlockGuard;
    }

    static void CheckAndFree(const void *block, uint32_t size, const char *file, uint32_t line) {
        if (g_host->below_ != nullptr) {
            std::memset(const_cast<void *>(block), kReleasedFill, size);
            g_host->below_->Slots().memory.release(const_cast<void *>(block), file, line);
            return;
        }
        const unsigned char *bytes = static_cast<const unsigned char *>(block) - kBlockGuard;
        for (size_t i = 0; i < kBlockGuard; ++i) {
            if (bytes[i] != kBlockGuardFill || bytes[kBlockGuard + size + i] != kBlockGuardFill) {
                ADD_FAILURE() << "a block of " << size << " bytes was written outside";
                break;
            }
        }
        // What is read of it from now on is no address and no size.
        std::memset(const_cast<unsigned char *>(bytes) + kBlockGuard, kReleasedFill, size);
        std::free(const_cast<unsigned char *>(bytes));
    }

    static void Free(void *block, const char *file, uint32_t line) {
        TestHost &host = *g_host;
        host.calls.push_back("release " + BlockName(block));
        host.releases.push_back({block, file, line});
        if (block == nullptr) {
            return;
        }
        const auto found = host.live_.find(block);
        if (found == host.live_.end()) {
            ADD_FAILURE() << "released a block that is not live";
            return;
        }
        CheckAndFree(block, found->second.size, file, line);
        host.live_.erase(found);
    }

    DXR_PRINTF(2, 3) static void Print(uint32_t level, const char *format, ...) {
        std::va_list args;
        va_start(args, format);
        const std::string text = FormatText(format, args);
        va_end(args);
        g_host->calls.push_back("print " + std::to_string(level) + " " + text);
        g_host->printed.push_back({level, format, text});
        if (g_host->below_ != nullptr) {
            g_host->below_->Slots().print.print(level, "%s", text.c_str());
        }
    }

    static uint32_t DiagLog(const char *text) {
        g_host->calls.push_back(std::string("diag ") + text);
        g_host->diagLines.emplace_back(text);
        if (g_host->below_ != nullptr) {
            EXPECT_EQ(g_host->below_->Slots().print.diagLogFilter(text), 0U);
        }
        return g_host->diagResult;
    }

    static void GetSysTime(DxrSysTime *time) {
        g_host->calls.emplace_back("sysTime");
        *time = g_host->sysTime;
    }

    static uint32_t GetCurrSec() {
        g_host->calls.emplace_back("currSec");
        return g_host->nowSec;
    }

    static void GetCurrTime(char *text, uint32_t size, uint32_t *sec) {
        g_host->calls.push_back("currTime size=" + std::to_string(size));
        std::snprintf(text, size, "T%u", g_host->nowSec);
        *sec = g_host->nowSec;
    }

    static uint32_t GetStartupTimeSec() {
        g_host->calls.emplace_back("startupSec");
        return g_host->startupSec;
    }

    static uint32_t InitMutex(void **mutex, void *option) {
        TestHost &host = *g_host;
        host.calls.push_back("initMutex #" + std::to_string(host.mutexAddresses.size()));
        *mutex = TestHost::MutexHandle(host.mutexAddresses.size());
        if (host.below_ != nullptr) {
            host.below_->InitMutex(*mutex);
        }
        host.mutexAddresses.push_back(mutex);
        host.mutexOptions.push_back(option);
        return host.initMutexResult;
    }

    static uint32_t DestroyMutex(void *mutex) {
        g_host->calls.push_back("destroyMutex " + MutexName(mutex));
        if (g_host->below_ != nullptr) {
            g_host->below_->DestroyMutex(mutex);
        }
        return g_host->destroyMutexResult;
    }

    static uint32_t LockMutex(void *mutex) {
        g_host->calls.push_back("lock " + MutexName(mutex));
        if (g_host->below_ != nullptr) {
            g_host->below_->LockMutex(mutex);
        }
        return g_host->lockResult;
    }

    static uint32_t UnlockMutex(void *mutex) {
        g_host->calls.push_back("unlock " + MutexName(mutex));
        if (g_host->below_ != nullptr) {
            g_host->below_->UnlockMutex(mutex);
        }
        return g_host->unlockResult;
    }
};

TestHost::TestHost()
    : savedHooks_(g_dxrHooks), savedMid_(g_dxrMemoryMid), below_(HostBelow::Make()) {
    if (g_host != nullptr) {
        std::fprintf(stderr, "two test hosts at a time\n");
        std::abort();
    }
    g_host = this;
    g_dxrHooks = DxrHooks{};
}

TestHost::~TestHost() {
    if (!live_.empty() && !keepLeaks_) {
        ADD_FAILURE() << live_.size() << " blocks were not released";
    }
    for (const auto &[block, live] : live_) {
        Hooks::CheckAndFree(block, live.size, "test_host.cpp", 0);
    }
    below_.reset();
    g_dxrHooks = savedHooks_;
    g_dxrMemoryMid = savedMid_;
    g_host = nullptr;
}

TestHost &TestHost::WithMemory() {
    DXR_SetMemoryHooks(Hooks::Allocate, Hooks::Free);
    return *this;
}

TestHost &TestHost::WithPrint() {
    g_dxrHooks.print.print = Hooks::Print;
    return *this;
}

TestHost &TestHost::WithDiagLog() {
    g_dxrHooks.print.diagLogFilter = Hooks::DiagLog;
    return *this;
}

TestHost &TestHost::WithClock() {
    g_dxrHooks.time.getSysTime = Hooks::GetSysTime;
    g_dxrHooks.time.getCurrSec = Hooks::GetCurrSec;
    g_dxrHooks.time.getCurrTime = Hooks::GetCurrTime;
    g_dxrHooks.time.getStartupTimeSec = Hooks::GetStartupTimeSec;
    return *this;
}

TestHost &TestHost::WithMutexes() {
    g_dxrHooks.task.initMutex = Hooks::InitMutex;
    g_dxrHooks.task.destroyMutex = Hooks::DestroyMutex;
    g_dxrHooks.task.lockMutex = Hooks::LockMutex;
    g_dxrHooks.task.unlockMutex = Hooks::UnlockMutex;
    return *this;
}

TestHost &TestHost::WithEverything() {
    return WithMemory().WithPrint().WithDiagLog().WithClock().WithMutexes();
}

void TestHost::FailAllocation(uint64_t n) {
    failFrom_ = allocationCalls_ + n;
    failTo_ = failFrom_;
}

void TestHost::FailAllocationsFrom(uint64_t n) {
    failFrom_ = allocationCalls_ + n;
    failTo_ = UINT64_MAX;
}

void TestHost::StopFailingAllocations() {
    failFrom_ = 0;
    failTo_ = 0;
}

void *TestHost::MutexHandle(size_t n) {
    // A distinct address for each, never dereferenced.
    static char handles[4096];
    return &handles[n % sizeof(handles)];
}

GuardedBuffer::GuardedBuffer(size_t size)
    : size_(size), bytes_(size + 2 * kGuard, static_cast<char>(kFill)) {
}

bool GuardedBuffer::Intact() const {
    const auto filled = [](char byte) { return static_cast<unsigned char>(byte) == kFill; };
    return std::all_of(bytes_.begin(), bytes_.begin() + kGuard, filled) &&
           std::all_of(bytes_.end() - kGuard, bytes_.end(), filled);
}

bool GuardedBuffer::Untouched() const {
    return std::all_of(bytes_.begin(), bytes_.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) == kFill; });
}

bool GuardedBuffer::Terminated() const {
    return size_ > 0 && std::memchr(Data(), '\0', size_) != nullptr;
}

std::string GuardedBuffer::Text() const {
    return {Data(), strnlen(Data(), size_)};
}

}  // namespace dxrtest
