#include "dxr/utils_crc8.h"

#include <array>
#include <cstddef>

#include "dxr_utils_crc8_build.h"
#include "kernels/crc8.h"

constinit uint8_t g_dxrCrc8Table[256] = {};
constinit uint8_t g_dxrCrc8TableInit = 0;
constinit std::atomic<bool> dxr::g_crc8IsBeingBuilt = false;

namespace {

constexpr std::array<uint8_t, 256> kTable = [] {
    std::array<uint8_t, 256> table = {};
    for (size_t i = 0; i < table.size(); ++i) {
        table[i] = dxr::Crc8Entry(static_cast<uint8_t>(i));
    }
    return table;
}();

}  // namespace

bool dxr::BuildCrc8Table() noexcept {
    if (g_crc8IsBeingBuilt.exchange(true, std::memory_order_acquire)) {
        return false;
    }
    const std::atomic_ref isBuilt(g_dxrCrc8TableInit);
    if (isBuilt.load(std::memory_order_acquire) == 0) {
        DXR_InitCrc8Table();
        isBuilt.store(1, std::memory_order_release);
    }
    g_crc8IsBeingBuilt.store(false, std::memory_order_release);
    return true;
}

void DXR_InitCrc8Table() {
    for (size_t i = 0; i < kTable.size(); ++i) {
        g_dxrCrc8Table[i] = kTable[i];
    }
}

namespace {

// Apart, so that the calculations after the first need no stack.
[[gnu::cold, gnu::noinline]] uint32_t FirstCrc8(const uint8_t *data, uint64_t len) {
    return dxr::Crc8ByBytes(dxr::BuildCrc8Table() ? g_dxrCrc8Table : kTable.data(), data, len);
}

}  // namespace

// From the beginning of a cache line: elsewhere a call for few bytes costs up to twice as much.
[[gnu::aligned(64)]] uint32_t DXR_CalculateCrc8(const uint8_t *data, uint64_t len) {
    const std::atomic_ref isBuilt(g_dxrCrc8TableInit);
    if (isBuilt.load(std::memory_order_acquire) == 0) [[unlikely]] {
        return FirstCrc8(data, len);
    }
    return dxr::Crc8(g_dxrCrc8Table, data, len);
}
