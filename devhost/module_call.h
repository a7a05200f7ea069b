// Calls of modules' functions, which may be C++: an exception that leaves one ends there.
#ifndef DXR_DEVHOST_MODULE_CALL_H
#define DXR_DEVHOST_MODULE_CALL_H

#include <cxxabi.h>

#include <cerrno>
#include <cstdint>

#include "guarded.h"
#include "host.h"

namespace devhost {

// What a function of a module counts as having given that an exception left.
constexpr uint32_t kThrown = ECANCELED;

// For the handler of an exception: reports it. `what` says what function it left.
void ReportException(Host &host, const char *service, const char *what, const void *function);

// A thread's end is thrown without an object, which the undefined-behaviour sanitizer takes for a
// null reference where it is caught.
#define DXR_ENDS_OF_THREADS_PASS __attribute__((no_sanitize("null")))

// Calls a function of a module; `thrown` when an exception left it. Without a frame that owns
// anything that outlasts the thread: a task may be ended in there. The end of a thread passes.
template <typename Result, typename Function, typename... Args>
DXR_ENDS_OF_THREADS_PASS Result CallModule(Host &host, const char *service, const char *what,
                                           Result thrown, Function function, Args... args) {
    const CallerBehind nobody(nullptr);
    try {
        return function(args...);
    } catch (const abi::__forced_unwind &) {
        throw;
    } catch (...) {
        Guard([&] {
            ReportException(host, service, what, reinterpret_cast<const void *>(function));
        });
        return thrown;
    }
}

// The same for one that gives nothing.
template <typename Function, typename... Args>
DXR_ENDS_OF_THREADS_PASS void CallModuleVoid(Host &host, const char *service, const char *what,
                                             Function function, Args... args) {
    const CallerBehind nobody(nullptr);
    try {
        function(args...);
    } catch (const abi::__forced_unwind &) {
        throw;
    } catch (...) {
        Guard([&] {
            ReportException(host, service, what, reinterpret_cast<const void *>(function));
        });
    }
}

// Runs its body at the end of a scope that calls a module's function: also for one that ends the
// thread, but not for one that did not end with its host, of which nothing is there any more.
template <typename Body>
class AlsoAtThreadsEnd {
  public:
    explicit AlsoAtThreadsEnd(Body body) : body_(body) {}
    ~AlsoAtThreadsEnd() {
        if (!Scheduler::IsStopped(ThisThread())) {
            body_();
        }
    }
    AlsoAtThreadsEnd(const AlsoAtThreadsEnd &) = delete;
    AlsoAtThreadsEnd &operator=(const AlsoAtThreadsEnd &) = delete;
    AlsoAtThreadsEnd(AlsoAtThreadsEnd &&) = delete;
    AlsoAtThreadsEnd &operator=(AlsoAtThreadsEnd &&) = delete;

  private:
    const Body body_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_MODULE_CALL_H
