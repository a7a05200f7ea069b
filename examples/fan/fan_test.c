#include <dxr_devhost_test.h>
#include <dxr_module.h>
#include <stdio.h>

/* What happens meanwhile: the chip gets hot after ten seconds, for twenty. */
static void Heat(void *unused) {
    (void)unused;
    DXR_DelayTask(10500);
    DXR_WriteReg(0, 0, 0x10, 90);
    DXR_DelayTask(20000);
    DXR_WriteReg(0, 0, 0x10, 20);
}

static void CoolsAHotChip(void) {
    DxrTestStartTask(Heat, NULL);
    DXR_TEST_CHECK(DxrModuleMain(0, NULL) == 0);
    DXR_TEST_ASKED_TIMES("DXR_WriteReg(0, 0, 0x14, 1) = 0", 1, 1);
    DXR_TEST_ASKED_TIMES("DXR_WriteReg(0, 0, 0x14, 0) = 0", 1, 1);
    DXR_TEST_LOGGED("fan: on");
    DxrModuleEnd();
}

static uint32_t Broken(uint32_t unit, uint32_t chip, uint32_t address, void *value) {
    (void)unit, (void)chip, (void)address, (void)value;
    return 5;
}

static void CoolsAChipThatSaysNothing(void) {
    DXR_TEST_FAKE(g_dxrHooks.dev.readReg, Broken);
    DXR_TEST_CHECK(DxrModuleMain(0, NULL) == 0);
    DXR_TEST_LOGGED("fan: on");
    DXR_TEST_NOT_LOGGED("fan: off");
    DxrModuleEnd();
}

static void RunIt(void *unused) {
    (void)unused;
    DxrModuleMain(0, NULL);
    DxrModuleEnd();
}

int main(void) {
    uint32_t failures = 0;
    DxrTestBegin(NULL);
    CoolsAHotChip();
    failures += DxrTestEnd(stdout);

    DxrTestBegin(NULL);
    CoolsAChipThatSaysNothing();
    failures += DxrTestEnd(stdout);

    failures +=
        DxrTestFailEach(NULL, DXR_TEST_ALLOCATIONS, false, RunIt, NULL, stdout) != 0 ? 0 : 1;
    printf("%u failures\n", failures);
    return failures == 0 ? 0 : 1;
}
