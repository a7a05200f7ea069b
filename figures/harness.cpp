#include "harness.h"

#include <sys/resource.h>

#include <algorithm>
#include <ctime>
#include <stdexcept>
#include <utility>
#include <vector>

namespace bench {
namespace {

double Ns(const timeval &time) {
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_usec) * 1e3;
}

double NowNs(Clock clock) {
    if (clock == Clock::kChildren) {
        rusage usage = {};
        getrusage(RUSAGE_CHILDREN, &usage);
        return Ns(usage.ru_utime) + Ns(usage.ru_stime);
    }
    std::timespec now = {};
    clock_gettime(clock == Clock::kThread ? CLOCK_THREAD_CPUTIME_ID : CLOCK_PROCESS_CPUTIME_ID,
                  &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double Time(const Run &run, uint64_t count, Clock clock) {
    const double begin = NowNs(clock);
    run(count);
    return NowNs(clock) - begin;
}

uint64_t Calibrate(const Run &run, Clock clock, double sampleNs) {
    run(1);  // makes ready what it has to
    if (clock == Clock::kChildren) {
        return 1;
    }
    uint64_t count = 1;
    for (;;) {
        const double ns = Time(run, count, clock);
        if (ns >= sampleNs / 4) {
            const double scaled = static_cast<double>(count) * sampleNs / ns;
            return std::max<uint64_t>(1, static_cast<uint64_t>(scaled));
        }
        count *= 4;
    }
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

Figure Beside(Figure figure, std::string peerName, Run peer) {
    figure.peerName = std::move(peerName);
    figure.peer = std::move(peer);
    return figure;
}

Figure Above(Figure figure, std::string floorName, Run floor) {
    figure.floorName = std::move(floorName);
    figure.floor = std::move(floor);
    return figure;
}

Result Measure(const Figure &figure, const Effort &effort) {
    // Threads are started in every sample: long samples make that disappear.
    const double sampleNs = effort.sampleNs * (figure.clock == Clock::kProcess ? 30 : 1);
    const uint64_t oursCount = Calibrate(figure.ours, figure.clock, sampleNs);
    const uint64_t peerCount = Calibrate(figure.peer, figure.clock, sampleNs);
    const uint64_t floorCount = figure.floor ? Calibrate(figure.floor, figure.clock, sampleNs) : 0;
    std::vector<double> ours;
    std::vector<double> peer;
    std::vector<double> floor;
    std::vector<double> ratios;
    // A program is long enough to be measured by few samples.
    constexpr unsigned kProgramRounds = 5;
    const bool isProgram = figure.clock == Clock::kChildren;
    const unsigned rounds = isProgram ? std::min(effort.rounds, kProgramRounds) : effort.rounds;
    const unsigned samples = isProgram ? 1 : effort.samples;
    for (unsigned round = 0; round < rounds; ++round) {
        double oursBest = 1e300;
        double peerBest = 1e300;
        double floorBest = 1e300;
        for (unsigned sample = 0; sample < samples; ++sample) {
            oursBest = std::min(oursBest, Time(figure.ours, oursCount, figure.clock));
            peerBest = std::min(peerBest, Time(figure.peer, peerCount, figure.clock));
            if (figure.floor) {
                floorBest = std::min(floorBest, Time(figure.floor, floorCount, figure.clock));
            }
        }
        ours.push_back(oursBest / static_cast<double>(oursCount));
        peer.push_back(peerBest / static_cast<double>(peerCount));
        ratios.push_back(ours.back() / peer.back());
        if (figure.floor) {
            floor.push_back(floorBest / static_cast<double>(floorCount));
        }
    }
    return {Median(ours), Median(peer), Median(ratios), figure.floor ? Median(floor) : 0};
}

void Require(bool condition, const std::string &what) {
    if (!condition) {
        throw std::runtime_error("wrong answer: " + what);
    }
}

}  // namespace bench
