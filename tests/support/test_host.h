// A host for tests: it records what it is asked and answers what it was told. Nothing sleeps,
// nothing is decided here; time, memory and failures are set by the test.
#ifndef DXR_TESTS_SUPPORT_TEST_HOST_H
#define DXR_TESTS_SUPPORT_TEST_HOST_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "dxr_api.h"
#include "support/host_below.h"

namespace dxrtest {

// The seed of all random tests: DXR_TEST_SEED if it is set, else a fixed number. Printed once.
uint64_t Seed();

struct Allocation {
    uint32_t mid;
    uint32_t size;
    std::string file;
    uint32_t line;
    void *block;  // null: the allocation was made to fail
};

struct Release {
    void *block;
    std::string file;
    uint32_t line;
};

struct PrintedLine {
    uint32_t level;
    std::string format;
    std::string text;
};

// One at a time. Construction empties the hook table, destruction puts back the table that was
// there, and fails the test for blocks that were not released, released twice or written outside
// their size. Services are opt-in: what is not asked for stays an empty slot. With DXR_TEST_HOST
// memory, messages and mutexes are those of the development host below (host_below.h).
class TestHost {
  public:
    TestHost();
    ~TestHost();
    TestHost(const TestHost &) = delete;
    TestHost &operator=(const TestHost &) = delete;

    TestHost &WithMemory();      // Memory slots; blocks come filled with 0xA5, and go with 0xDD
    TestHost &WithPrint();       // Print slot 2
    TestHost &WithDiagLog();     // Print slot 4
    TestHost &WithClock();       // Time slots: system time, seconds, current time, start-up seconds
    TestHost &WithMutexes();     // Task slots: the four of the mutexes
    TestHost &WithEverything();  // all of the above

    // Every hook call in order, as text: "allocate mid=9 size=580", "release #1", "print 6 text",
    // "diag text", "initMutex #0", "lock #0", "unlock #0", "destroyMutex #0", "currSec", "currTime
    // size=39", "sysTime", "startupSec". Blocks and mutex handles are numbered in the order of
    // their creation, a null one is "null", an unknown one "?".
    std::vector<std::string> calls;

    // --- memory
    std::vector<Allocation> allocations;
    std::vector<Release> releases;
    // The n-th allocation from now on fails (1: the next one); once, or it and all after it.
    void FailAllocation(uint64_t n);
    void FailAllocationsFrom(uint64_t n);
    void StopFailingAllocations();
    [[nodiscard]] size_t LiveBlocks() const { return live_.size(); }
    [[nodiscard]] bool IsLive(const void *block) const { return live_.count(block) != 0; }
    // The test keeps blocks on purpose: they are freed without a failure at the end.
    void KeepLeaks() { keepLeaks_ = true; }

    // --- print
    std::vector<PrintedLine> printed;
    std::vector<std::string> diagLines;
    uint32_t diagResult = 0;

    // --- clock. DXR_GetCurrTime writes "T<seconds>" bounded by the size it is given.
    uint32_t nowSec = 0;
    uint32_t startupSec = 0;
    DxrSysTime sysTime = {};

    // --- mutexes. The handle stored by the n-th creation is MutexHandle(n).
    static void *MutexHandle(size_t n);
    std::vector<void **> mutexAddresses;
    std::vector<void *> mutexOptions;
    uint32_t initMutexResult = 0;
    uint32_t lockResult = 0;
    uint32_t unlockResult = 0;
    uint32_t destroyMutexResult = 0;

  private:
    friend struct Hooks;

    struct Live {
        uint32_t size;
        size_t number;
    };
    DxrHooks savedHooks_;
    uint32_t savedMid_;
    std::unique_ptr<HostBelow> below_;
    std::map<const void *, Live> live_;
    size_t blockCount_ = 0;
    uint64_t allocationCalls_ = 0;
    uint64_t failFrom_ = 0;
    uint64_t failTo_ = 0;
    bool keepLeaks_ = false;
};

// A caller's buffer between guard bytes, filled with a byte that no listing writes.
class GuardedBuffer {
  public:
    static constexpr unsigned char kFill = 0xCD;

    explicit GuardedBuffer(size_t size);
    [[nodiscard]] char *Data() { return bytes_.data() + kGuard; }
    [[nodiscard]] const char *Data() const { return bytes_.data() + kGuard; }
    [[nodiscard]] size_t Size() const { return size_; }
    // No byte outside the buffer was written.
    [[nodiscard]] bool Intact() const;
    // No byte of the buffer was written either.
    [[nodiscard]] bool Untouched() const;
    [[nodiscard]] bool Terminated() const;
    // The text up to the terminator, or the whole buffer without one.
    [[nodiscard]] std::string Text() const;

  private:
    static constexpr size_t kGuard = 64;
    size_t size_;
    std::vector<char> bytes_;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_TEST_HOST_H
