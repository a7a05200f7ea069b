/* fan: a module that keeps a chip cool. Each second it reads the chip's temperature, and switches
 * the fan by the mean of the last eight readings. */
#include <dxr_api.h>
#include <dxr_module.h>

#define MODULE 42u        /* which its memory is accounted to */
#define TEMPERATURE 0x10u /* registers of chip 0 */
#define FAN 0x14u
#define HOT 60 /* degrees */
#define READINGS 8u
#define SECONDS 60u

static int32_t *g_readings;

static int32_t Read(void) {
    int32_t degrees;
    return DXR_ReadReg(0, 0, TEMPERATURE, &degrees) == 0 ? degrees : 2 * HOT; /* be careful */
}

int DxrModuleMain(int argc, char **argv) {
    (void)argc, (void)argv;
    g_readings = DXR_Malloc(MODULE, READINGS * sizeof(*g_readings), __FILE__, __LINE__);
    if (g_readings == NULL) {
        return 1;
    }
    for (uint32_t i = 0; i < READINGS; ++i) {
        g_readings[i] = Read();
    }
    bool isOn = false;
    for (uint32_t second = 0; second < SECONDS; ++second) {
        g_readings[second % READINGS] = Read();
        const bool isHot = DXR_Avg(g_readings, READINGS) > HOT;
        if (isHot != isOn) {
            isOn = isHot;
            DXR_WriteReg(0, 0, FAN, isOn ? 1 : 0);
            DXR_DiagLogFilter(isOn ? "fan: on" : "fan: off");
        }
        DXR_DelayTask(1000);
    }
    return 0;
}

void DxrModuleEnd(void) {
    DXR_Free(g_readings, __FILE__, __LINE__);
    g_readings = NULL;
}
