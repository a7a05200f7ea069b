/* The kit for the tests of modules (dxr_devhost_test.h) in GoogleTest's manner; C++17 alone.
 *
 *   class MeterTest : public dxr_test::ModuleTest {};
 *
 *   TEST_F(MeterTest, RaisesAnAlarm) {
 *       const dxr_test::Fake full(g_dxrHooks.alarm.alarm, [](auto...) { return 0U; });
 *       RunTheModule();
 *       EXPECT_TRUE(dxr_test::Asked("DXR_Alarm(7, 3, *, 1, *)"));
 *       EXPECT_TRUE(dxr_test::Logged("port 3: *"));
 *   }
 *
 * What the kit finds at the end of a test, as something left behind, fails that test.
 *
 * Cost: that of the functions of the kit which these call; dxr_test::Calls asks for each call by
 * its index, and so goes over the calls that are kept once for each that matches. */
#ifndef DXR_DEVHOST_GTEST_H
#define DXR_DEVHOST_GTEST_H

#include "dxr_devhost_test.h"

#ifdef __cplusplus
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace dxr_test {

/* A FILE in memory, for functions that write their findings. */
class Text {
  public:
    Text() : file_(open_memstream(&text_, &size_)) {}
    ~Text() {
        (void)fclose(file_);
        free(text_);
    }
    Text(const Text &) = delete;
    Text &operator=(const Text &) = delete;
    Text(Text &&) = delete;
    Text &operator=(Text &&) = delete;

    /* To write to; the object's own. */
    [[nodiscard]] FILE *File() { return file_; }

    /* What was written so far. */
    [[nodiscard]] std::string Get() {
        (void)fflush(file_);
        return {text_, size_};
    }

  private:
    char *text_ = nullptr;
    size_t size_ = 0;
    FILE *file_;
};

/* A test of a module. Who wants other options changes them before SetUp of this class. */
class ModuleTest : public testing::Test {
  protected:
    ModuleTest() { DxrTestInitOptions(&options); }

    void SetUp() override { ASSERT_TRUE(DxrTestBegin(&options)) << "no host could be made"; }

    void TearDown() override { End(); }

    /* Ends the host now; what is found fails the test. */
    static void End() {
        Text text;
        if (DxrTestEnd(text.File()) != 0) {
            ADD_FAILURE() << text.Get();
        }
    }

    DxrHostOptions options;
};

/* The assertions of DxrTestAsked and DxrTestLogged. */
inline testing::AssertionResult Asked(const std::string &pattern, uint32_t least = 1,
                                      uint32_t most = UINT32_MAX) {
    std::vector<char> why(DXR_TEST_TEXT_SIZE);
    if (DxrTestAsked(pattern.c_str(), least, most, why.data(), DXR_TEST_TEXT_SIZE)) {
        return testing::AssertionSuccess() << pattern;
    }
    return testing::AssertionFailure() << why.data();
}

/* The same for lines of these kinds. */
inline testing::AssertionResult Logged(const std::string &pattern, uint32_t least = 1,
                                       uint32_t most = UINT32_MAX,
                                       uint32_t kinds = DXR_TEST_LINES) {
    std::vector<char> why(DXR_TEST_TEXT_SIZE);
    if (DxrTestLogged(kinds, pattern.c_str(), least, most, why.data(), DXR_TEST_TEXT_SIZE)) {
        return testing::AssertionSuccess() << pattern;
    }
    return testing::AssertionFailure() << why.data();
}

/* The calls that match; see DxrTestGetCall. */
inline std::vector<DxrTestCall> Calls(const std::string &pattern) {
    std::vector<DxrTestCall> calls;
    DxrTestCall call;
    while (DxrTestGetCall(pattern.c_str(), static_cast<uint32_t>(calls.size()), &call)) {
        calls.push_back(call);
    }
    return calls;
}

/* The record that an argument of a call led to; null when it is not known or shorter. */
template <typename Record>
const Record *RecordOf(const DxrTestCall &call, uint32_t argument) {
    return argument < call.arguments && call.bytes[argument] >= sizeof(Record)
               ? static_cast<const Record *>(call.data[argument])
               : nullptr;
}

/* What stands behind a slot: the host's function. */
template <typename Function>
Function Real(Function &slot) {
    return reinterpret_cast<Function>(DxrTestGetReal(&slot));
}

/* A function of the test's own in a slot, any that can be called with the slot's arguments, until
 * the end of its scope. Two slots of one type need two types of functions, as two lambdas are. One
 * that ends before a later one of its slot fails the test, and takes that one along. */
template <typename Slot, typename Callable>
class Fake;

template <typename Result, typename... Args, typename Callable>
class Fake<Result (*)(Args...), Callable> {
  public:
    Fake(Result (*&slot)(Args...), Callable callable) : test_(DxrTestGetNumber()) {
        ForgetEnded();
        if (g_latest != nullptr && g_latest->slot != &slot) {
            DxrTestNoteFailure(nullptr, 0, "one type of function stands in two slots: use lambdas");
        }
        state_ = new State{&slot, std::move(callable), test_, g_latest};
        g_latest = state_;
        DXR_TEST_FAKE(slot, &Call);
    }
    ~Fake() {
        if (test_ == DxrTestGetNumber()) {
            Restore();
        }
        State **link = &g_latest;
        while (*link != nullptr && (*link != state_ || state_->test != test_)) {
            link = &(*link)->before;
        }
        if (*link != nullptr) {
            *link = state_->before;
            delete state_;
        }
    }
    Fake(const Fake &) = delete;
    Fake &operator=(const Fake &) = delete;
    Fake(Fake &&) = delete;
    Fake &operator=(Fake &&) = delete;

  private:
    /** @cond */
    /* Outlives the object when the host cuts off the run that has it on its stack. */
    struct State {
        Result (**slot)(Args...);
        Callable callable;
        uint64_t test;
        State *before;
    };
    /** @endcond */

    static Result Call(Args... args) {
        if constexpr (std::is_void_v<Result>) {
            g_latest->callable(args...);
        } else {
            return static_cast<Result>(g_latest->callable(args...));
        }
    }

    void Restore() const {
        const auto own = reinterpret_cast<DxrTestFunction>(&Call);
        bool isInOrder = g_latest == state_;
        /* Later ones of the slot would lead back here: they go as well. */
        DxrTestFunction there = DxrTestGetReal(state_->slot);
        while (there != own) {
            DXR_TEST_RESTORE(*state_->slot);
            const DxrTestFunction before = DxrTestGetReal(state_->slot);
            if (before == there) { /* it is not there any more */
                break;
            }
            isInOrder = false;
            there = before;
        }
        if (there == own) {
            DXR_TEST_RESTORE(*state_->slot);
        }
        if (!isInOrder) {
            DxrTestNoteFailure(nullptr, 0, "a fake ends before a later one of its slot");
        }
    }

    /* The slots of tests that have ended are the host's again. */
    void ForgetEnded() const {
        while (g_latest != nullptr && g_latest->test != test_) {
            delete std::exchange(g_latest, g_latest->before);
        }
    }

    /* A function of C has no place for an object. */
    static inline State *g_latest = nullptr;

    uint64_t test_;
    State *state_ = nullptr;
};

template <typename Result, typename... Args, typename Callable>
Fake(Result (*&)(Args...), Callable) -> Fake<Result (*)(Args...), Callable>;

/* ---- Many runs: not within a ModuleTest, which has begun a test already ------------------ */

/* What is run. */
using Body = std::function<void()>;

/* For the functions below: runs a body, and notes a failure when an expectation in it fails. */
inline void RunBody(void *user) {
    const auto failures = [] {
        int count = 0;
        const testing::TestInfo *const test = testing::UnitTest::GetInstance()->current_test_info();
        for (int i = 0; test != nullptr && i < test->result()->total_part_count(); ++i) {
            count += test->result()->GetTestPartResult(i).failed() ? 1 : 0;
        }
        return count;
    };
    const int before = failures();
    (*static_cast<Body *>(user))();
    if (failures() != before) {
        DxrTestNoteFailure(nullptr, 0, "an expectation failed, see above");
    }
}

/* DxrTestFailEach; `runs` gets how many runs there were. */
inline testing::AssertionResult SurvivesEach(const std::string &point, Body body,
                                             bool onwards = false, uint32_t *runs = nullptr,
                                             const DxrHostOptions *options = nullptr) {
    Text text;
    const uint32_t count =
        DxrTestFailEach(options, point.c_str(), onwards, RunBody, &body, text.File());
    if (runs != nullptr) {
        *runs = count;
    }
    return count != 0 ? testing::AssertionSuccess() << count << " runs"
                      : testing::AssertionFailure() << text.Get();
}

/* That with each allocation. */
inline testing::AssertionResult SurvivesFailedAllocations(Body body, bool onwards = false) {
    return SurvivesEach(DXR_TEST_ALLOCATIONS, std::move(body), onwards);
}

/* DxrTestExplore. */
inline testing::AssertionResult HoldsForSeeds(uint32_t seeds, Body body,
                                              const DxrHostOptions *options = nullptr) {
    Text text;
    return DxrTestExplore(options, seeds, RunBody, &body, text.File()) != 0
               ? testing::AssertionSuccess() << seeds << " seeds"
               : testing::AssertionFailure() << text.Get();
}

}  // namespace dxr_test
#endif /* __cplusplus */

#endif /* DXR_DEVHOST_GTEST_H */
