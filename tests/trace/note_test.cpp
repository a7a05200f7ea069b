// What is noted of calls at the end of a recording.
#include "note.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <thread>

#include "state.h"
#include "threads.h"
#include "ticks.h"

namespace {

using dxr_trace::CallNote;
using dxr_trace::g_state;

constexpr size_t kRing = 4096;
constexpr uint32_t kRounds = 20;

// So many have room when nobody reads.
constexpr size_t kRoom = kRing / (sizeof(uint64_t) + sizeof(dxr_trace::RawHead));

// Notes calls without arguments until the recording has ended.
void NoteCalls(uint32_t session, std::atomic<size_t> &noted) {
    EXPECT_NE(dxr_trace::MakeRecord(), nullptr);
    while (g_state.session == session) {
        const CallNote note(0, {}, nullptr);
        ++noted;
    }
}

// The one that waits for room then is none that the recording lacks.
TEST(TraceNote, WhatOutlastsTheRecordingIsNotDropped) {
    dxr_trace::ChooseTicks();
    g_state.ringBytes = kRing;
    g_state.waitsForRoom = true;
    for (uint32_t session = 1; session <= kRounds; ++session) {
        g_state.session = session;
        std::atomic<size_t> noted = 0;
        std::thread caller([session, &noted] { NoteCalls(session, noted); });
        while (noted < kRoom) {
            std::this_thread::yield();
        }
        g_state.session = 0;
        caller.join();
        EXPECT_LE(noted, kRoom + 1);
    }
    EXPECT_EQ(dxr_trace::DroppedRecords(), 0U);
    EXPECT_EQ(dxr_trace::UnnotedCalls(), 0U);
}

TEST(TraceNote, WhatFindsNoRoomMeanwhileIsDropped) {
    g_state.ringBytes = kRing;
    g_state.waitsForRoom = false;
    g_state.session = kRounds + 1;
    std::atomic<size_t> noted = 0;
    std::thread caller([&noted] { NoteCalls(kRounds + 1, noted); });
    while (noted < 2 * kRoom) {
        std::this_thread::yield();
    }
    g_state.session = 0;
    caller.join();
    // The last one may have come too late.
    EXPECT_GE(dxr_trace::DroppedRecords() + kRoom + 1, noted);
    EXPECT_LE(dxr_trace::DroppedRecords() + kRoom, noted);
    dxr_trace::ClearCounts();
}

}  // namespace
