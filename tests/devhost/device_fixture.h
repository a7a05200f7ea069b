// A development host with a directory of its own and a board that a test describes.
#ifndef DXR_TESTS_DEVHOST_DEVICE_FIXTURE_H
#define DXR_TESTS_DEVHOST_DEVICE_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "devhost/host_fixture.h"
#include "dxr_devhost/device.h"
#include "tools/temporary_directory.h"

namespace dxrtest {

inline void *AddressOf(uint64_t number) {
    return reinterpret_cast<void *>(number);
}

template <uint32_t kClock>
class DeviceHost : public HostTest {
  protected:
    DeviceHost() : workPath(directory.Path()) {
        options.clock = kClock;
        options.workPath = workPath.c_str();
        Begin();
    }
    ~DeviceHost() override { End(); }

    // A host anew, which finds the files that the one before left.
    void Restart() {
        End();
        reports.clear();
        Begin();
    }

    void Load(const std::string &board) {
        std::array<char, 256> error{};
        EXPECT_TRUE(DxrHostLoadBoard(host, directory.Write("board.json", board).c_str(),
                                     error.data(), error.size()))
            << error.data();
    }

    // Why a description is refused.
    std::string WhyNot(const std::string &board) {
        std::array<char, 256> error{};
        const std::string path = directory.Write("board.json", board);
        EXPECT_FALSE(DxrHostLoadBoard(host, path.c_str(), error.data(), error.size())) << board;
        const std::string text(error.data());
        EXPECT_EQ(text.rfind(path + ":", 0), 0U) << text;
        return text.substr(std::min(text.size(), path.size() + 1));
    }

    const TemporaryDirectory directory{TemporaryDirectory::InMemory()};
    const std::string workPath;
};

using SteppedDevice = DeviceHost<DXR_HOST_CLOCK_STEPPED>;
using VirtualDevice = DeviceHost<DXR_HOST_CLOCK_VIRTUAL>;

}  // namespace dxrtest

#endif  // DXR_TESTS_DEVHOST_DEVICE_FIXTURE_H
