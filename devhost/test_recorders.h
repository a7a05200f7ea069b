// The functions that keep the calls of all slots; empty for those that no function of the library
// reads.
#ifndef DXR_DEVHOST_TEST_RECORDERS_H
#define DXR_DEVHOST_TEST_RECORDERS_H

#include "dxr/hooks.h"

namespace devhost {

extern const DxrHooks kRecorders;

}  // namespace devhost

#endif  // DXR_DEVHOST_TEST_RECORDERS_H
