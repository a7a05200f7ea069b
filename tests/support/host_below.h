// The development host below the test host: with DXR_TEST_HOST, the path of libdxr_devhost.so, the
// services of a TestHost are those of a real host, which looks at what is asked of it. The test
// host still records everything and fails what it is told to.
#ifndef DXR_TESTS_SUPPORT_HOST_BELOW_H
#define DXR_TESTS_SUPPORT_HOST_BELOW_H

#include <map>
#include <memory>

#include "dxr_api.h"
#include "dxr_devhost/host.h"

namespace dxrtest {

class HostBelow {
  public:
    // Null without the variable. The program ends when it names no such library.
    static std::unique_ptr<HostBelow> Make();

    // The test fails for everything that the host reports.
    ~HostBelow();
    HostBelow(const HostBelow &) = delete;
    HostBelow &operator=(const HostBelow &) = delete;
    HostBelow(HostBelow &&) = delete;
    HostBelow &operator=(HostBelow &&) = delete;

    [[nodiscard]] const DxrHooks &Slots() const { return slots_; }

    // Mutexes by the handles that the test host gives out. Handles that are none are left alone.
    void InitMutex(const void *handle);
    void DestroyMutex(const void *handle);
    void LockMutex(const void *handle);
    void UnlockMutex(const void *handle);

  private:
    struct Library;

    explicit HostBelow(const Library &library);

    const Library &library_;
    DxrHost *host_ = nullptr;
    DxrHooks slots_ = {};
    std::map<const void *, void *> mutexes_;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_HOST_BELOW_H
