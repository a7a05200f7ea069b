// The wrappers of all slots; empty for those that no function of the library reads.
#ifndef DXR_TRACE_WRAPPERS_H
#define DXR_TRACE_WRAPPERS_H

#include "dxr/hooks.h"

namespace dxr_trace {

extern const DxrHooks kWrappers;

}  // namespace dxr_trace

#endif  // DXR_TRACE_WRAPPERS_H
