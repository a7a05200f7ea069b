// The test that has begun: its host, and what is kept of it.
#ifndef DXR_DEVHOST_TEST_SESSION_H
#define DXR_DEVHOST_TEST_SESSION_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "dxr_devhost_test.h"
#include "test_calls.h"

namespace devhost {

struct KeptLine {
    uint32_t kind;  // DXR_TEST_MESSAGES, ...
    std::string text;
};

// A slot that is replaced, and what stood there.
struct KeptFake {
    size_t slot;
    AnyHook table;
    AnyHook behind;
};

struct Session {
    DxrHost *host = nullptr;
    uint64_t number = 0;  // of the test, from 1
    std::string directory;
    bool ownsDirectory = false;
    uint32_t allowed = 0;  // kinds of reports, a bit each

    KeptCalls calls;
    std::vector<KeptLine> lines;
    std::array<uint64_t, 3> linesNotKept{};  // by the bit of their kind
    std::vector<DxrHostReport> reports;
    std::vector<std::string> failures;
    std::vector<KeptFake> fakes;
};

// The session, under its lock; none when no test has begun. Never while the host is called.
class SessionLock {
  public:
    SessionLock();
    explicit operator bool() const;
    Session *operator->() const;
    Session &operator*() const;

  private:
    std::unique_lock<std::mutex> lock_;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_TEST_SESSION_H
