#include "test_kit_c_caller.h"

static uint32_t g_line;

static uint32_t Noon(void) {
    return 43200;
}

uint32_t TestInCThatPasses(FILE *out) {
    DxrTestBegin(NULL);
    DXR_TEST_FAKE(g_dxrHooks.time.getCurrSec, Noon);
    DXR_TEST_CHECK(DXR_GetCurrSec() == 43200);
    DXR_TEST_RESTORE(g_dxrHooks.time.getCurrSec);
    DXR_TEST_CHECK(DXR_GetCurrSec() != 43200);
    DXR_TEST_FAKE(g_dxrHooks.time.getCurrSec, NULL);
    DXR_TEST_CHECK(DXR_GetCurrSec() == 0);

    DXR_DiagLogFilter("link 3 is down");
    DXR_TEST_LOGGED("link * is down");
    DXR_TEST_NOT_LOGGED("link * is up");
    DXR_TEST_ASKED("DXR_DiagLogFilter(\"link 3*\") = 0");
    DXR_TEST_ASKED_TIMES("DXR_GetCurrSec", 2, 2);
    DXR_TEST_NOT_ASKED("DXR_Malloc");
    return DxrTestEnd(out);
}

uint32_t TestInCThatFails(FILE *out) {
    DxrTestBegin(NULL);
    g_line = __LINE__ + 1;
    DXR_TEST_CHECK(DXR_GetCurrSec() == 43200);
    DXR_TEST_LOGGED("link * is down");
    DXR_TEST_ASKED("DXR_GetCurrSec = 43200");
    DXR_TEST_NOT_ASKED("DXR_GetCurrSec");
    return DxrTestEnd(out);
}

uint32_t LineOfFirstFailureInC(void) {
    return g_line;
}
