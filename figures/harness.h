// Measures contenders against each other in one run, on a machine whose speed wanders.
//
// A figure has two contenders. They are sampled in turn, round by round, by the CPU time of the
// thread (of the process, for figures with threads of their own; of the children, for whole
// programs); a round keeps the smallest of several samples of each, which is the one least
// disturbed, and gives one ratio; the figure is the median of the ratios.
#ifndef DXR_FIGURES_HARNESS_H
#define DXR_FIGURES_HARNESS_H

#include <cstdint>
#include <functional>
#include <string>

namespace bench {

// Runs the measured operation `count` times. The loop is the contender's, so that a call through
// std::function is paid once a sample.
using Run = std::function<void(uint64_t count)>;

// kChildren: processor time of the processes that a sample has started and waited for.
enum class Clock : uint8_t { kThread, kProcess, kChildren };

struct Figure {
    std::string name;  // what is measured; behind a comma: of how much
    std::string peerName;
    double size;  // for plots of cost against size; 0: none
    Run ours;
    Run peer;
    Clock clock = Clock::kThread;
    std::string floorName = {};  // what no way of doing it can leave out, if that is measured
    Run floor = {};
};

// The same figure beside somebody else.
[[nodiscard]] Figure Beside(Figure figure, std::string peerName, Run peer);
// The same figure with a floor, sampled in turn with it.
[[nodiscard]] Figure Above(Figure figure, std::string floorName, Run floor);

struct Result {
    double oursNs;  // medians over the rounds, per operation
    double peerNs;
    double ratio;
    double floorNs;  // 0: none
};

struct Effort {
    unsigned rounds = 15;
    unsigned samples = 5;
    double sampleNs = 1e6;
};

Result Measure(const Figure &figure, const Effort &effort);

// Throws std::runtime_error when a contender's answer is wrong: what is not right is not timed.
void Require(bool condition, const std::string &what);

// Makes the compiler believe that a value is used, and that memory has changed.
template <typename T>
inline void Keep(const T &value) {
    asm volatile("" : : "r,m"(value) : "memory");
}

}  // namespace bench

#endif  // DXR_FIGURES_HARNESS_H
