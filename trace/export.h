// A recording as text.
#ifndef DXR_TRACE_EXPORT_H
#define DXR_TRACE_EXPORT_H

#include <string>
#include <string_view>

#include "trace_file.h"

namespace dxr_trace {

// One object on one line, with the line's end.
[[nodiscard]] std::string JsonLine(const TracedCall &call);

// The text of a whole file is ChromeBegin, ChromeEvent of each call, ChromeEnd.
[[nodiscard]] std::string ChromeBegin(const TraceFile &file);
[[nodiscard]] std::string ChromeEvent(const TraceFile &file, const TracedCall &call);
[[nodiscard]] std::string ChromeEnd();

// One call on one line for people.
[[nodiscard]] std::string TextLine(const TracedCall &call);

// A table of the slots that were called: how often and for how long.
[[nodiscard]] std::string CountsTable(const TraceFile &file);

// A quoted JSON text; bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::string JsonText(std::string_view text);

}  // namespace dxr_trace

#endif  // DXR_TRACE_EXPORT_H
