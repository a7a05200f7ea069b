// The kit for tests of modules as plain C uses it.
#ifndef DXR_TESTS_DEVHOST_TEST_KIT_C_CALLER_H
#define DXR_TESTS_DEVHOST_TEST_KIT_C_CALLER_H

#include "dxr_devhost_test.h"

DXR_EXTERN_C_BEGIN

// A test in which all checks hold, and one in which none does. What DxrTestEnd gives; it writes to
// `out`.
uint32_t TestInCThatPasses(FILE *out);
uint32_t TestInCThatFails(FILE *out);

// The line of the first check of the latter.
uint32_t LineOfFirstFailureInC(void);

DXR_EXTERN_C_END

#endif  // DXR_TESTS_DEVHOST_TEST_KIT_C_CALLER_H
