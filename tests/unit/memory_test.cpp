#include "dxr/memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "support/test_host.h"

namespace {

// Before anything could set it.
const uint32_t kMidAtLoad = g_dxrMemoryMid;

struct AllocateCall {
    uint32_t mid;
    uint32_t size;
    const char *file;
    uint32_t line;
};

struct ReleaseCall {
    void *block;
    const char *file;
    uint32_t line;
};

std::vector<AllocateCall> g_allocations;
std::vector<ReleaseCall> g_releases;
void *g_block = nullptr;

void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    g_allocations.push_back({mid, size, file, line});
    return g_block;
}

void Release(void *block, const char *file, uint32_t line) {
    g_releases.push_back({block, file, line});
}

class Memory : public testing::Test {
  protected:
    Memory() {
        g_allocations.clear();
        g_releases.clear();
        g_block = &memory_;
    }
    dxrtest::TestHost host_;
    uint64_t memory_ = 0;
};

TEST_F(Memory, MallocForwardsAndReturnsTheHooksBlock) {
    DXR_SetMemoryHooks(Allocate, nullptr);
    const char *file = "somewhere";
    for (const uint32_t size : {1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        for (const uint32_t mid : {0U, 9U, 0xFFFFFFFFU}) {
            g_allocations.clear();
            EXPECT_EQ(&memory_, DXR_Malloc(mid, size, file, size - 1));
            ASSERT_EQ(1U, g_allocations.size());
            EXPECT_EQ(mid, g_allocations[0].mid);
            EXPECT_EQ(size, g_allocations[0].size);
            EXPECT_EQ(file, g_allocations[0].file);
            EXPECT_EQ(size - 1, g_allocations[0].line);
        }
    }
}

TEST_F(Memory, MallocReturnsTheHooksFailure) {
    DXR_SetMemoryHooks(Allocate, Release);
    g_block = nullptr;
    EXPECT_EQ(nullptr, DXR_Malloc(9, 16, "file", 1));
    EXPECT_EQ(1U, g_allocations.size());
    EXPECT_TRUE(g_releases.empty());
}

TEST_F(Memory, MallocOfNothingDoesNotAskTheHost) {
    DXR_SetMemoryHooks(Allocate, Release);
    EXPECT_EQ(nullptr, DXR_Malloc(9, 0, "file", 1));
    EXPECT_EQ(nullptr, DXR_Malloc(0, 0, nullptr, 0));
    EXPECT_TRUE(g_allocations.empty());
}

// HOST-6
TEST_F(Memory, NoAllocatorMeansNoMemory) {
    DXR_SetMemoryHooks(nullptr, Release);
    for (const uint32_t size : {0U, 1U, 16U, 0xFFFFFFFFU}) {
        EXPECT_EQ(nullptr, DXR_Malloc(9, size, "file", 1));
    }
    EXPECT_TRUE(g_releases.empty());
}

// HOST-11
TEST_F(Memory, FreeForwardsEveryBlockEvenNull) {
    DXR_SetMemoryHooks(nullptr, Release);
    const char *file = "elsewhere";
    DXR_Free(&memory_, file, 0xFFFFFFFF);
    DXR_Free(nullptr, nullptr, 0);
    ASSERT_EQ(2U, g_releases.size());
    EXPECT_EQ(&memory_, g_releases[0].block);
    EXPECT_EQ(file, g_releases[0].file);
    EXPECT_EQ(0xFFFFFFFF, g_releases[0].line);
    EXPECT_EQ(nullptr, g_releases[1].block);
    EXPECT_EQ(nullptr, g_releases[1].file);
    EXPECT_EQ(0U, g_releases[1].line);
}

TEST_F(Memory, FreeWithoutAHookDoesNothing) {
    DXR_SetMemoryHooks(Allocate, nullptr);
    memory_ = 0x1122334455667788;
    DXR_Free(&memory_, "file", 1);
    EXPECT_EQ(0x1122334455667788U, memory_);
    EXPECT_TRUE(g_allocations.empty());
}

// The order of the arguments is the reverse of the slots'.
TEST_F(Memory, SetMemoryHooksPutsTheAllocatorIntoTheSecondSlot) {
    DXR_SetMemoryHooks(Allocate, Release);
    const auto *slots = reinterpret_cast<void *const *>(DXR_GetMemoryHooks());
    EXPECT_EQ(reinterpret_cast<void *>(Release), slots[0]);
    EXPECT_EQ(reinterpret_cast<void *>(Allocate), slots[1]);
    EXPECT_EQ(&memory_, DXR_Malloc(1, 2, "file", 3));
    EXPECT_EQ(1U, g_allocations.size());
    DXR_Free(&memory_, "file", 4);
    EXPECT_EQ(1U, g_releases.size());
}

TEST_F(Memory, SetMemoryHooksEmptiesASlotForNull) {
    DXR_SetMemoryHooks(Allocate, Release);
    DXR_SetMemoryHooks(Allocate, nullptr);
    EXPECT_EQ(nullptr, g_dxrHooks.memory.release);
    EXPECT_EQ(&Allocate, g_dxrHooks.memory.allocate);
    DXR_SetMemoryHooks(nullptr, Release);
    EXPECT_EQ(&Release, g_dxrHooks.memory.release);
    EXPECT_EQ(nullptr, g_dxrHooks.memory.allocate);
    DXR_SetMemoryHooks(nullptr, nullptr);
    EXPECT_EQ(nullptr, g_dxrHooks.memory.release);
    EXPECT_EQ(nullptr, g_dxrHooks.memory.allocate);
}

TEST_F(Memory, DefaultMidIsNineAtLoad) {
    EXPECT_EQ(9U, kMidAtLoad);
}

TEST_F(Memory, DefaultMidTakesAnyValue) {
    for (const uint32_t mid : {0U, 1U, 9U, 0x80000000U, 0xFFFFFFFFU}) {
        DXR_SetDefaultMid(mid);
        EXPECT_EQ(mid, DXR_GetDefaultMid());
        EXPECT_EQ(mid, g_dxrMemoryMid);
    }
}

// MODULE-12
TEST_F(Memory, DefaultMidIsTheExportedVariable) {
    g_dxrMemoryMid = 31;
    EXPECT_EQ(31U, DXR_GetDefaultMid());
}

TEST_F(Memory, MallocUsesTheMidItIsGiven) {
    DXR_SetMemoryHooks(Allocate, Release);
    DXR_SetDefaultMid(77);
    static_cast<void>(DXR_Malloc(5, 8, "file", 1));
    EXPECT_EQ(5U, g_allocations.at(0).mid);
}

}  // namespace
