// Sees, counts and fails allocations of the ordinary allocator, the library's included. A test
// program that wants it compiles new_watch.cpp in, which replaces operator new and delete.
#ifndef DXR_TESTS_SUPPORT_NEW_WATCH_H
#define DXR_TESTS_SUPPORT_NEW_WATCH_H

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

namespace dxrtest {

// Counts those of all threads together.
class NewWatch {
  public:
    // Watches from here on with a clean slate; the n-th allocation fails (1: the next one; 0:
    // none), and all after it if wanted.
    static void Begin(size_t failAt, bool fromThenOn = false);
    static void End();

    // Blocks that were allocated between Begin and End and have not been freed since.
    static size_t Live();
    // The first of them; null if there is none.
    static void *Oldest();
    // Whether the allocation that was to fail came up.
    static bool Failed();
};

enum class Outcome { kDone, kBadAlloc, kOtherException };

// Runs `action` with its n-th allocation failing, and all after it if wanted.
template <typename Action>
Outcome RunFailing(size_t n, Action action, bool fromThenOn = false) {
    Outcome outcome = Outcome::kDone;
    NewWatch::Begin(n, fromThenOn);
    try {
        action();
    } catch (const std::bad_alloc &) {
        outcome = Outcome::kBadAlloc;
    } catch (...) {
        outcome = Outcome::kOtherException;
    }
    NewWatch::End();
    return outcome;
}

// Runs `action` with its 1st, 2nd, 3rd ... allocation failing until it runs through; each failure
// must come out as std::bad_alloc, and `check` looks at what it left. Returns the number of
// failures.
template <typename Action, typename Check>
size_t FailEachAllocation(Action action, Check check) {
    for (size_t n = 1;; ++n) {
        const Outcome outcome = RunFailing(n, action);
        if (!NewWatch::Failed()) {
            EXPECT_EQ(outcome, Outcome::kDone);
            return n - 1;
        }
        EXPECT_EQ(outcome, Outcome::kBadAlloc) << "allocation " << n;
        check(n);
        if (testing::Test::HasFailure()) {
            return n;
        }
    }
}

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_NEW_WATCH_H
