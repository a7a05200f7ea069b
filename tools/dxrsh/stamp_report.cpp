#include "stamp_report.h"

#include <cstdint>
#include <optional>
#include <string>

#include "say.h"

namespace dxrsh {

void WarnOfStamps(const StampedLog &log) {
    if (log.Lines() == 0 || log.Clock().Stamps().Count() != 0 || !log.LooksForStamps()) {
        return;
    }
    const char *const clock = log.IsLive() ? "was that of the machine" : "stood still";
    if (const std::optional<std::string> &form = log.StampForm(); form) {
        Say(stderr, "dxrsh: no time stamp of the form '{}' was found: the clock {}\n",
            Printable(*form, SIZE_MAX), clock);
        return;
    }
    Say(stderr, "dxrsh: no time stamp was recognised: the clock {}; --stamp FORMAT tells a form\n",
        clock);
}

void SayStamps(const StampedLog &log, bool saysForm) {
    const LogStamps &stamps = log.Clock().Stamps();
    if (stamps.Count() == 0) {
        WarnOfStamps(log);
    } else if (saysForm) {
        Say(stderr, "stamped {} of {} lines: {}\n", stamps.Count(), log.Lines(),
            stamps.Recognised());
    }
}

}  // namespace dxrsh
