#include "dxr/hooks.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>

#include "dxr/device.h"
#include "dxr/memory.h"
#include "support/test_host.h"

namespace {

using Addresses = std::array<uintptr_t, 226>;
static_assert(sizeof(Addresses) == sizeof(DxrHooks));

Addresses TableNow() {
    return std::bit_cast<Addresses>(g_dxrHooks);
}

// Before anything could register.
const Addresses kTableAtLoad = TableNow();

// Never called, only compared.
DxrHooks TableOf(uintptr_t first) {
    Addresses addresses = {};
    for (size_t i = 0; i < addresses.size(); ++i) {
        addresses[i] = first + 16 * i;
    }
    return std::bit_cast<DxrHooks>(addresses);
}

void *Allocate(uint32_t, uint32_t, const char *, uint32_t) {
    return nullptr;
}

void Release(void *, const char *, uint32_t) {
}

class Hooks : public testing::Test {
  protected:
    dxrtest::TestHost host_;
};

TEST_F(Hooks, TableIsEmptyAtLoad) {
    EXPECT_EQ(Addresses{}, kTableAtLoad);
}

TEST_F(Hooks, RegisterCopiesTheWholeTable) {
    // On the heap, so that a sanitizer sees a read behind it.
    auto table = std::make_unique<DxrHooks>(TableOf(0x1000));
    EXPECT_EQ(0U, DXR_RegisterHooks(table.get()));
    EXPECT_EQ(std::bit_cast<Addresses>(TableOf(0x1000)), TableNow());
    EXPECT_EQ(std::bit_cast<Addresses>(TableOf(0x1000)), std::bit_cast<Addresses>(*table));
    table.reset();
    EXPECT_EQ(std::bit_cast<Addresses>(TableOf(0x1000)), TableNow());
}

TEST_F(Hooks, LaterTableReplacesEverySlot) {
    const DxrHooks first = TableOf(0x1000);
    EXPECT_EQ(0U, DXR_RegisterHooks(&first));
    DxrHooks second = TableOf(0x200000);
    second.dev.readReg = nullptr;
    EXPECT_EQ(0U, DXR_RegisterHooks(&second));
    EXPECT_EQ(std::bit_cast<Addresses>(second), TableNow());
    const DxrHooks empty = {};
    EXPECT_EQ(0U, DXR_RegisterHooks(&empty));
    EXPECT_EQ(Addresses{}, TableNow());
}

// HOST-2
TEST_F(Hooks, NullTableFailsAndEmptiesEverySlot) {
    const DxrHooks table = TableOf(0x1000);
    EXPECT_EQ(0U, DXR_RegisterHooks(&table));
    EXPECT_EQ(uint32_t{EINVAL}, DXR_RegisterHooks(nullptr));
    EXPECT_EQ(22, EINVAL);
    EXPECT_EQ(Addresses{}, TableNow());
    EXPECT_EQ(22U, DXR_RegisterHooks(nullptr));
    EXPECT_EQ(0U, DXR_RegisterHooks(&table));
    EXPECT_EQ(std::bit_cast<Addresses>(table), TableNow());
}

// HOST-2
TEST_F(Hooks, OwnTableOverlapsFailsAndEmptiesEverySlot) {
    const DxrHooks table = TableOf(0x1000);
    EXPECT_EQ(0U, DXR_RegisterHooks(&table));
    EXPECT_EQ(22U, DXR_RegisterHooks(DXR_GetHooks()));
    EXPECT_EQ(Addresses{}, TableNow());
}

// HOST-2
TEST_F(Hooks, TableInsideTheOwnOneOverlapsToo) {
    for (const size_t shift : {sizeof(void *), 225 * sizeof(void *)}) {
        const DxrHooks table = TableOf(0x1000);
        EXPECT_EQ(0U, DXR_RegisterHooks(&table));
        // Found out before anything is read.
        const char *inside = reinterpret_cast<const char *>(&g_dxrHooks) + shift;
        EXPECT_EQ(22U, DXR_RegisterHooks(reinterpret_cast<const DxrHooks *>(inside)));
        EXPECT_EQ(Addresses{}, TableNow());
    }
}

// HOST-6
TEST_F(Hooks, RegisterOverwritesTheMemoryHooks) {
    DXR_SetMemoryHooks(Allocate, Release);
    const DxrHooks table = TableOf(0x1000);
    EXPECT_EQ(0U, DXR_RegisterHooks(&table));
    EXPECT_EQ(std::bit_cast<Addresses>(table), TableNow());
    DXR_SetMemoryHooks(Allocate, Release);
    const DxrHooks empty = {};
    EXPECT_EQ(0U, DXR_RegisterHooks(&empty));
    EXPECT_EQ(nullptr, DXR_GetMemoryHooks()->allocate);
    EXPECT_EQ(nullptr, DXR_GetMemoryHooks()->release);
}

TEST_F(Hooks, MemoryHooksOverwriteOnlyTheirSlots) {
    const DxrHooks table = TableOf(0x1000);
    EXPECT_EQ(0U, DXR_RegisterHooks(&table));
    DXR_SetMemoryHooks(Allocate, Release);
    DxrHooks expected = table;
    expected.memory.allocate = Allocate;
    expected.memory.release = Release;
    EXPECT_EQ(std::bit_cast<Addresses>(expected), TableNow());
}

TEST_F(Hooks, FirstAndLastGetter) {
    const auto *table = reinterpret_cast<const char *>(DXR_GetHooks());
    EXPECT_EQ(reinterpret_cast<const char *>(&g_dxrHooks), table);
    EXPECT_EQ(table, reinterpret_cast<const char *>(DXR_GetAlarmHooks()));
    EXPECT_EQ(table + 225 * sizeof(void *),
              reinterpret_cast<const char *>(DXR_GetTemperatureHooks()));
}

// The table is one object for program and library: what a host writes into it directly counts.
TEST_F(Hooks, ProgramAndLibrarySeeOneTable) {
    g_dxrHooks.dev.boardIsMaster = [] { return uint32_t{42}; };
    EXPECT_EQ(42U, DXR_BoardIsMaster());
    DXR_GetDevHooks()->boardIsMaster = nullptr;
    EXPECT_EQ(1U, DXR_BoardIsMaster());
    EXPECT_EQ(nullptr, g_dxrHooks.dev.boardIsMaster);
}

TEST_F(Hooks, HookMayReplaceTheTableItStandsIn) {
    DxrHooks table = {};
    table.dev.boardIsMaster = [] {
        static_cast<void>(DXR_RegisterHooks(nullptr));
        return uint32_t{7};
    };
    EXPECT_EQ(0U, DXR_RegisterHooks(&table));
    EXPECT_EQ(7U, DXR_BoardIsMaster());
    EXPECT_EQ(1U, DXR_BoardIsMaster());
}

}  // namespace
