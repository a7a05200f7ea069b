// Which time stamps of a log were recognised, for people.
#ifndef DXRSH_STAMP_REPORT_H
#define DXRSH_STAMP_REPORT_H

#include "stamped_log.h"

namespace dxrsh {

// Warns on standard error when a log with lines had no stamp, unless none was to be looked for.
void WarnOfStamps(const StampedLog &log);

// Says on standard error how many lines had one, and of which form, if `saysForm`; warns of none.
void SayStamps(const StampedLog &log, bool saysForm);

}  // namespace dxrsh

#endif  // DXRSH_STAMP_REPORT_H
