// All targets: the name that scripts and corpora use, and the function. A target takes its
// operations from the input, gives them to the library and to a model, and compares.
#ifndef DXR_TESTS_FUZZ_TARGETS_H
#define DXR_TESTS_FUZZ_TARGETS_H

#include "fuzz/input.h"

#define DXR_FUZZ_TARGETS(X)          \
    X(bin_file, BinFile)             \
    X(bitmap, Bitmap)                \
    X(crc8, Crc8)                    \
    X(fault, Fault)                  \
    X(info_recorder, InfoRecorder)   \
    X(link_bitmap, LinkBitmap)       \
    X(listing, Listing)              \
    X(log_filter, LogFilter)         \
    X(message_filter, MessageFilter) \
    X(numeric, Numeric)              \
    X(plain_format, PlainFormat)     \
    X(private_log, PrivateLog)       \
    X(simulate_message, SimulateMessage)

// Of dxrsh, which not every build has.
#define DXR_FUZZ_TOOL_TARGETS(X) \
    X(json_input, JsonInput)     \
    X(line_key, LineKey)         \
    X(time_stamp, TimeStamp)

// Of the tracing of hook calls, the same.
#define DXR_FUZZ_TRACE_TARGETS(X) X(trace_file, TraceFile)

namespace dxrfuzz {

#define DXR_FUZZ_DECLARE(name, function) void function(Input &input);
DXR_FUZZ_TARGETS(DXR_FUZZ_DECLARE)
DXR_FUZZ_TOOL_TARGETS(DXR_FUZZ_DECLARE)
DXR_FUZZ_TRACE_TARGETS(DXR_FUZZ_DECLARE)
#undef DXR_FUZZ_DECLARE

}  // namespace dxrfuzz

#endif  // DXR_TESTS_FUZZ_TARGETS_H
