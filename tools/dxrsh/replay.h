// What the replays of messages have in common: counts set beforehand, and the messages themselves,
// on the command line or one a line in a file.
#ifndef DXRSH_REPLAY_H
#define DXRSH_REPLAY_H

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace dxrsh {

struct ReplayOptions {
    std::vector<std::string> settings;
    std::vector<std::string> messages;
    std::string messageFile;
};

// `target` is what a count is set for, `message` what a message is told by, such as "ID" and
// "TYPE".
void AddReplayOptions(CLI::App &command, ReplayOptions &options, const std::string &target,
                      const std::string &message);

// Each "TARGET=COUNT". Throws UsageError for what is not of that form.
void ForEachSetting(const ReplayOptions &options,
                    const std::function<void(const std::string &, uint32_t)> &set);

// Those of the command line, then those of the file. Blanks around a line are no part of the
// message; empty lines are none.
void ForEachMessage(const ReplayOptions &options,
                    const std::function<void(const std::string &)> &visit);

}  // namespace dxrsh

#endif  // DXRSH_REPLAY_H
