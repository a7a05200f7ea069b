// How many lines of a log there were over its time.
#ifndef DXRSH_HISTOGRAM_H
#define DXRSH_HISTOGRAM_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace dxrsh {

class Histogram {
  public:
    struct Bar {
        uint32_t begin;  // seconds since 1970
        uint64_t lines;
        uint64_t passed;
    };

    void Add(uint32_t sec, bool passed) {
        if (current_ == nullptr || sec != currentSec_) {
            current_ = &seconds_[sec];
            currentSec_ = sec;
        }
        ++current_->lines;
        current_->passed += passed ? 1 : 0;
    }

    // The time from the first line to the last in at most `most` bars of a round width, which
    // begin at multiples of it; none when there was no line.
    [[nodiscard]] std::vector<Bar> Bars(size_t most) const;

  private:
    struct Counts {
        uint64_t lines = 0;
        uint64_t passed = 0;
    };

    std::map<uint32_t, Counts> seconds_;
    Counts *current_ = nullptr;
    uint32_t currentSec_ = 0;
};

}  // namespace dxrsh

#endif  // DXRSH_HISTOGRAM_H
