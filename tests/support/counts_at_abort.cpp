// Keeps what was counted in a process that ends by abort(), as a tested one may have to. For builds
// that measure the coverage.
extern "C" {
#include <gcov.h>  // says nothing about C++
}

#include <csignal>

namespace {

// After the handler abort() ends the process all the same.
[[gnu::constructor]] void KeepCountsAtAbort() {
    std::signal(SIGABRT, [](int) { __gcov_dump(); });
}

}  // namespace
