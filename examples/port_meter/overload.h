// Tells when a rate has been over its limit for long enough, and when it is no longer.
#ifndef PORT_METER_OVERLOAD_H
#define PORT_METER_OVERLOAD_H

#include <cstdint>

#include "port_meter.h"

namespace port_meter {

class Overload {
  public:
    enum class Change { kNone, kBegins, kEnds };

    Change Take(uint32_t rate, uint32_t limit) {
        if (rate <= limit) {
            const bool ends = over_ >= kPatience;
            over_ = 0;
            return ends ? Change::kEnds : Change::kNone;
        }
        if (over_ >= kPatience) {
            return Change::kNone;
        }
        return ++over_ == kPatience ? Change::kBegins : Change::kNone;
    }

  private:
    uint32_t over_ = 0;  // how many times in a row, up to kPatience
};

}  // namespace port_meter

#endif  // PORT_METER_OVERLOAD_H
