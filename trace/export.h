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

// Parts of it: the function and its arguments; an argument, a piece, the result alone.
[[nodiscard]] std::string CallText(const TracedCall &call);
[[nodiscard]] std::string ShownWord(const TracedCall &call, size_t argument);
[[nodiscard]] std::string ShownPiece(const TracedPiece &piece);
[[nodiscard]] std::string ShownResult(const TracedCall &call);
[[nodiscard]] std::string CallName(const TracedCall &call);
[[nodiscard]] std::string ArgumentName(const TracedCall &call, size_t argument);
[[nodiscard]] Width WidthOf(const TracedCall &call, size_t argument);
[[nodiscard]] Width ResultWidth(const TracedCall &call);

// What is not in the calls because this release has no such functions; empty when all is.
[[nodiscard]] std::string ForeignText(const TraceFile &file);

// Returns 0 or a number of <errno.h>.
[[nodiscard]] int ReadWholeFile(const char *path, std::string &bytes);

// The slots that were called, how often and for how long: as a table, or as JSON lines.
[[nodiscard]] std::string CountsTable(const TraceFile &file);
[[nodiscard]] std::string CountsLines(const TraceFile &file);

// A quoted JSON text; bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::string JsonText(std::string_view text);

}  // namespace dxr_trace

#endif  // DXR_TRACE_EXPORT_H
