// Calls that may end the process by abort(), and go on here instead.
#ifndef DXR_TESTS_FUZZ_ABORT_CATCHER_H
#define DXR_TESTS_FUZZ_ABORT_CATCHER_H

#include <csetjmp>
#include <csignal>

namespace dxrfuzz {

class AbortCatcher {
  public:
    // True when `call` ended in abort(). Nothing in it may need a destructor.
    template <typename Call>
    static bool Aborts(Call call) {
        static const bool installed = Install();
        static_cast<void>(installed);
        if (sigsetjmp(back_, 0) != 0) {
            armed_ = 0;
            return true;
        }
        armed_ = 1;
        call();
        armed_ = 0;
        return false;
    }

  private:
    static bool Install() {
        struct sigaction action = {};
        action.sa_handler = OnAbort;
        action.sa_flags = SA_NODEFER;
        return sigaction(SIGABRT, &action, &before_) == 0;
    }

    static void OnAbort(int signal) {
        if (armed_ != 0) {
            siglongjmp(back_, 1);
        }
        // Nobody's: as if this handler were not there.
        sigaction(SIGABRT, &before_, nullptr);
        static_cast<void>(raise(signal));
    }

    static inline sigjmp_buf back_;
    static inline struct sigaction before_ = {};
    static inline volatile sig_atomic_t armed_ = 0;
};

}  // namespace dxrfuzz

#endif  // DXR_TESTS_FUZZ_ABORT_CATCHER_H
