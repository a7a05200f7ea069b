// What is said of a log that went through the log filter.
#ifndef DXRSH_FILTER_REPORT_H
#define DXRSH_FILTER_REPORT_H

#include "filter_run.h"

namespace dxrsh {

// For people, on standard error; with `quiet` the histogram alone, if it is asked for.
void SayReport(FilterRun &run, const FilterOptions &options);
// As one JSON object, on standard output, likewise.
void WriteJsonReport(FilterRun &run, const FilterOptions &options);

}  // namespace dxrsh

#endif  // DXRSH_FILTER_REPORT_H
