// A development host of a test's own, registered, with its messages and reports caught.
#ifndef DXR_TESTS_DEVHOST_HOST_FIXTURE_H
#define DXR_TESTS_DEVHOST_HOST_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "dxr_devhost.h"

namespace dxrtest {

// A test that hangs does not end well.
class Bounded {
  public:
    Bounded() { (void)alarm(kMostSec); }
    ~Bounded() { (void)alarm(0); }
    Bounded(const Bounded &) = delete;
    Bounded &operator=(const Bounded &) = delete;
    Bounded(Bounded &&) = delete;
    Bounded &operator=(Bounded &&) = delete;

  private:
    static constexpr uint32_t kMostSec = 60;
};

using Message = std::pair<uint32_t, std::string>;

class HostTest : public testing::Test {
  protected:
    // What a derived fixture wants otherwise, it changes in `options` before it calls Begin.
    HostTest() { DxrHostInitOptions(&options); }
    ~HostTest() override { End(); }

    void Begin() {
        host = DxrHostCreate(&options);
        ASSERT_NE(host, nullptr);
        ASSERT_EQ(DxrHostRegister(host), 0U);
        DxrHostSetPrintSink(host, KeepMessage, &messages, 6);
        DxrHostSetReportSink(host, KeepReport, &reports);
    }

    // Ends the host; what is left behind is then in `reports`. Returns how many there were.
    uint32_t End() {
        DxrHost *const ended = std::exchange(host, nullptr);
        return DxrHostDestroy(ended, nullptr);
    }

    // The texts of all reports of a kind.
    [[nodiscard]] std::vector<std::string> Texts(uint32_t kind) const {
        std::vector<std::string> texts;
        for (const DxrHostReport &report : reports) {
            if (report.kind == kind) {
                texts.emplace_back(report.text);
            }
        }
        return texts;
    }

    DxrHostOptions options;
    DxrHost *host = nullptr;
    std::vector<Message> messages;
    std::vector<DxrHostReport> reports;

  private:
    static void KeepMessage(uint32_t level, const char *text, void *user) {
        static_cast<std::vector<Message> *>(user)->emplace_back(level, text);
    }
    static void KeepReport(const DxrHostReport *report, void *user) {
        static_cast<std::vector<DxrHostReport> *>(user)->push_back(*report);
    }
};

// The host as it is by default but for its clock.
template <uint32_t kClock>
class HostWithClock : public HostTest {
  protected:
    HostWithClock() {
        options.clock = kClock;
        Begin();
    }
};

using RealHost = HostWithClock<DXR_HOST_CLOCK_REAL>;
using SteppedHost = HostWithClock<DXR_HOST_CLOCK_STEPPED>;
using VirtualHost = HostWithClock<DXR_HOST_CLOCK_VIRTUAL>;

}  // namespace dxrtest

#endif  // DXR_TESTS_DEVHOST_HOST_FIXTURE_H
