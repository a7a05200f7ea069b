/* The host's temperature service: the one slot of the Temperature group.
 *
 *   DXR_RegisterQueryTempFunc(sensor, function)   a DxrHostTemperatureQuery, which is asked for the
 *                                                 temperature of a sensor, any number, in place of
 *                                                 an earlier one; null takes it back. Without
 *                                                 memory (point "temperature.register") nothing
 *                                                 has changed, and a report says so
 *
 * Temperatures are signed thousandths of a degree Celsius: 45 degrees are 45000.
 *
 * Functions that are registered at the host's end are nothing that was left behind. Any thread may
 * call any of these functions at any time; one that is asked just then may still run when it was
 * taken back.
 *
 * Cost: the logarithm of how many sensors were set; reading a thermal zone opens a file. */
#ifndef DXR_DEVHOST_TEMPERATURE_H
#define DXR_DEVHOST_TEMPERATURE_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* Writes the temperature of a sensor to `milliCelsius`, which is not null. Returns 0, or a number
 * that says why there is none. Called on the thread that asks; no lock of the host is held. */
typedef uint32_t (*DxrHostTemperatureQuery)(uint32_t sensor, int32_t *milliCelsius);

/* Asks for the temperature of a sensor. What DxrHostSetTemperature gave comes first, then the
 * function that is registered, then, with the real clock alone, the machine's own thermal zone of
 * that number (/sys/class/thermal). Returns 0; what the function returned, ENOENT when there is
 * nothing to ask, EIO when the zone cannot be read and by point "temperature.read", EINVAL for a
 * null `milliCelsius`, ENOMEM, ECANCELED without a host: then nothing is written. */
DXR_API uint32_t DxrHostGetTemperature(DxrHost *host, uint32_t sensor, int32_t *milliCelsius);

/* Sets a sensor to a temperature, whatever else is there. Returns false without memory. */
DXR_API bool DxrHostSetTemperature(DxrHost *host, uint32_t sensor, int32_t milliCelsius);

/* Ends that. */
DXR_API void DxrHostUnsetTemperature(DxrHost *host, uint32_t sensor);

/* Where the machine's thermal zones are: the temperature of sensor 3 is read from
 * "thermal_zone3/temp" there. Default "/sys/class/thermal"; null: back to that. Another directory
 * is also read with a stepped and a virtual clock. Without memory nothing changes. */
DXR_API void DxrHostSetThermalDirectory(DxrHost *host, const char *path);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_TEMPERATURE_H */
