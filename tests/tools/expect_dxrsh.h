// What a run of dxrsh is expected to end in.
#ifndef DXR_TESTS_TOOLS_EXPECT_DXRSH_H
#define DXR_TESTS_TOOLS_EXPECT_DXRSH_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/run_dxrsh.h"

namespace dxrtest {

using Words = std::vector<std::string>;

inline bool Holds(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

inline void ExpectPrints(const std::vector<std::string> &arguments, const std::string &expected,
                         const std::string &standardInput = {}) {
    const Outcome outcome = RunDxrsh(arguments, standardInput);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, expected);
    EXPECT_EQ(outcome.err, "");
}

inline void ExpectFails(const std::vector<std::string> &arguments, int status,
                        const std::string &complaint) {
    const Outcome outcome = RunDxrsh(arguments);
    EXPECT_EQ(outcome.status, status) << complaint;
    EXPECT_EQ(outcome.out, "") << complaint;
    EXPECT_EQ(outcome.err, "dxrsh: " + complaint + "\n");
}

}  // namespace dxrtest

#endif  // DXR_TESTS_TOOLS_EXPECT_DXRSH_H
