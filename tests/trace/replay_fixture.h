// A host of the tests' own in the table, recorded; and the replay of that.
#ifndef DXR_TESTS_TRACE_REPLAY_FIXTURE_H
#define DXR_TESTS_TRACE_REPLAY_FIXTURE_H

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "dxr_trace.h"
#include "support/test_host.h"
#include "trace/recording.h"

namespace dxrtest {

// What a replay said and did.
struct Replayed {
    uint32_t started = 0;
    uint32_t stopped = 0;
    DxrReplayCounts counts{};
    std::string text;
    std::string problem;
};

class ReplayTest : public testing::Test {
  protected:
    template <typename Body>
    void Record(const DxrHooks &hooks, const Body &body) {
        ASSERT_EQ(0U, DXR_RegisterHooks(&hooks));
        DxrTraceOptions options = recording_.Options();
        options.pointers = DXR_TRACE_POINTERS_DEVHOST;
        options.callbacks = 1;
        options.dataBytes = dataBytes_;
        ASSERT_EQ(0U, DxrTraceStart(&options));
        body();
        ASSERT_EQ(0U, DxrTraceStop());
        const DxrHooks none = {};
        ASSERT_EQ(0U, DXR_RegisterHooks(&none));
    }

    template <typename Body>
    Replayed Replay(const Body &body, bool isLoose = false) {
        Replayed replayed;
        std::array<char, 256> problem{};
        char *text = nullptr;
        size_t size = 0;
        FILE *const out = open_memstream(&text, &size);
        DxrReplayOptions options;
        DxrReplayInitOptions(&options);
        options.loose = isLoose ? 1 : 0;
        options.patienceMs = 300;
        options.out = out;
        replayed.started =
            DxrReplayStart(recording_.Path().c_str(), &options, problem.data(), problem.size());
        if (replayed.started == 0) {
            body();
            replayed.stopped = DxrReplayStop(&replayed.counts);
        }
        (void)std::fclose(out);
        replayed.text = text;
        replayed.problem = problem.data();
        std::free(text);
        return replayed;
    }

    TestHost host_;
    Recording recording_;
    uint32_t dataBytes_ = 1024;
};

}  // namespace dxrtest

#endif  // DXR_TESTS_TRACE_REPLAY_FIXTURE_H
