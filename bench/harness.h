// Measures contenders against each other in one run, on a machine whose speed wanders.
//
// A figure has two contenders. They are sampled in turn, round by round, by the CPU time of the
// thread (or of the process, for figures with threads of their own); a round keeps the smallest of
// several samples of each, which is the one least disturbed, and gives one ratio; the figure is the
// median of the ratios.
#ifndef DXR_BENCH_HARNESS_H
#define DXR_BENCH_HARNESS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

// Runs the measured operation `count` times. The loop is the contender's, so that a call through
// std::function is paid once a sample.
using Run = std::function<void(std::uint64_t count)>;

enum class Clock : std::uint8_t { kThread, kProcess };

struct Figure {
    std::string group;  // one row of the table of targets
    std::string name;   // this measurement of it
    std::string peerName;
    double must;  // largest ratio that counts as done
    double goal;  // what a first-class design reaches
    double size;  // for plots of cost against size; 0: none
    Run ours;
    Run peer;
    Clock clock = Clock::kThread;
};

struct Result {
    double oursNs;  // medians over the rounds, per operation
    double peerNs;
    double ratio;
};

struct Effort {
    unsigned rounds = 15;
    unsigned samples = 5;
    double sampleNs = 1e6;
};

Result Measure(const Figure &figure, const Effort &effort);

class Suite {
  public:
    void Add(Figure figure) { figures_.push_back(std::move(figure)); }
    [[nodiscard]] const std::vector<Figure> &Figures() const { return figures_; }

  private:
    std::vector<Figure> figures_;
};

// Ends the program when a contender's answer is wrong: what is not right is not timed.
void Require(bool condition, const char *what);

// Makes the compiler believe that a value is used, and that memory has changed.
template <typename T>
inline void Keep(const T &value) {
    asm volatile("" : : "r,m"(value) : "memory");
}

// One file of figures each; they put their own hooks into the table while they run.
void AddDispatch(Suite &suite);
void AddLogFilter(Suite &suite);
void AddHash(Suite &suite);
void AddCrc8(Suite &suite);
void AddBitmap(Suite &suite);
void AddSort(Suite &suite);
void AddLoad(Suite &suite);
void AddRecorder(Suite &suite);
void AddMessageFilter(Suite &suite);
void AddFault(Suite &suite);

}  // namespace bench

#endif  // DXR_BENCH_HARNESS_H
