/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The board, its devices and how to reach them: role and identity, environment blocks, PCIe,
 * registers, I2C and MDIO, device files and mappings, voltages, resets, interrupts, flash
 * information.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Dev group. Parameters named argN are the host's to
 * define and pass through unread; what the development host makes of them is an example. */
#ifndef DXR_DEVICE_H
#define DXR_DEVICE_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Tells whether this board is the master. Slot 0; 1 without a hook. */
DXR_API uint32_t DXR_BoardIsMaster(void);

/* Gets the value of a device attribute. Slot 1; 0 without a hook. In the development host: device,
 * attribute, value (out, uint32_t). */
DXR_API uint32_t DXR_GetDevAttrValue(uint32_t arg1, uint32_t arg2, void *value);

/* Sets the value of a device attribute. Slot 2; 0 without a hook. In the development host: device,
 * attribute, value. */
DXR_API uint32_t DXR_SetDevAttrValue(uint32_t arg1, uint32_t arg2, uint32_t value);

/* Sets how a device is mapped into memory. Slot 3; 0 without a hook. In the development host:
 * device, type. */
DXR_API uint32_t DXR_SetDevMmapType(uint32_t arg1, uint32_t arg2);

/* Reads a variable of the environment block. Slot 4; 0 without a hook. Pointers: value (out,
 * length: size). */
DXR_API uint32_t DXR_GetEnv(const char *name, void *value, uint32_t size);

/* Sets a variable of the environment block. Slot 5; 0 without a hook. Pointers: value (in, length:
 * size). */
DXR_API uint32_t DXR_SetEnv(const char *name, void *value, uint32_t size);

/* Saves the environment. Slot 6; 0 without a hook. */
DXR_API uint32_t DXR_SaveEnv(void);

/* Saves the environment block. Slot 7; 0 without a hook. */
DXR_API uint32_t DXR_SaveEnvBlock(void);

/* Reads a variable of the environment kept in memory. Slot 8; 0 without a hook. Pointers: value
 * (out, length: size). */
DXR_API uint32_t DXR_GetMemEnv(const char *name, void *value, uint32_t size);

/* Sets a variable of the environment kept in memory. Slot 9; 0 without a hook. Pointers: value (in,
 * length: size). */
DXR_API uint32_t DXR_SetMemEnv(const char *name, void *value, uint32_t size);

/* Saves the environment kept in memory. Slot 10; 0 without a hook. */
DXR_API uint32_t DXR_SaveMemEnv(void);

/* Reads a register of a PCIe configuration space. Slot 11; 0 without a hook. In the development
 * host: device, offset, value (out, uint32_t). */
DXR_API uint32_t DXR_GetPcieConfigRegValue(uint32_t arg1, uint32_t arg2, void *value);

/* Writes a register of a PCIe configuration space. Slot 12; 0 without a hook. In the development
 * host: device, offset, value. */
DXR_API uint32_t DXR_SetPcieConfigRegValue(uint32_t arg1, uint32_t arg2, uint32_t value);

/* Gets the address at which a reserved memory is mapped. Slot 13; 0 without a hook. In the
 * development host: name (in, a text), bytes, address (out, void *). */
DXR_API uint32_t DXR_GetRsvMemMmapAddr(void *arg1, uint32_t arg2, void *address);

/* Gets the reset mode. Slot 14; 0 without a hook. In the development host: mode (out, uint32_t). */
DXR_API uint32_t DXR_GetResetMode(void *mode);

/* Tells whether the board runs in LS. Slot 15; 0 without a hook. */
DXR_API uint32_t DXR_IsRunInLs(void);

/* Looks for devices on PCIe. Slot 16; 0 without a hook. In the development host: bus. */
DXR_API uint32_t DXR_ScanPcie(uint32_t arg1);

/* Gets where a reserved memory lies. Slot 17; 0 without a hook. In the development host: number,
 * address (out, uint64_t), bytes (out, uint64_t). */
DXR_API uint32_t DXR_GetRsvdMem(uint32_t arg1, void *arg2, void *arg3);

/* Gets the type of the product family. Slot 18; 2 without a hook. */
DXR_API uint32_t DXR_GetProductFamilyType(void);

/* Tells whether the board is in central purchase mode. Slot 19; 0 without a hook. */
DXR_API uint32_t DXR_IsCentralPurchaseMode(void);

/* Maps a device into memory. Slot 20; null without a hook. In the development host: device,
 * bytes. */
DXR_API void *DXR_MmapDev(uint32_t arg1, uint32_t arg2);

/* Takes back the mapping of a device. Slot 21; 0 without a hook. */
DXR_API uint32_t DXR_MunmapDev(void *address, uint32_t size);

/* Opens a device; what the result means, say a device number, is the host's to define. Slot 22; 0
 * without a hook. */
DXR_API uint32_t DXR_OpenDev(const char *path);

/* Opens a device in a way that an option chooses; the result as for DXR_OpenDev. Slot 23; 0 without
 * a hook. */
DXR_API uint32_t DXR_OpenDevWithOption(const char *path, uint32_t option);

/* Closes a device. Slot 24; 0 without a hook. */
DXR_API uint32_t DXR_CloseDev(uint32_t device);

/* Hands a request to a device. Slot 25; 0 without a hook. In the development host: request (inout,
 * a record). */
DXR_API uint32_t DXR_ControlDev(void *request);

/* Writes to a device. Slot 26; 0 without a hook. In the development host: device, data (in, length:
 * bytes), bytes, done (out, uint32_t). */
DXR_API uint32_t DXR_WriteDev(uint32_t device, void *arg2, uint32_t arg3, void *arg4);

/* Reads over I2C. Slot 27; 0 without a hook. In the development host: request (inout, a record). */
DXR_API uint32_t DXR_ReadI2c(void *request);

/* Writes over I2C. Slot 28; 0 without a hook. In the development host: request (inout, a
 * record). */
DXR_API uint32_t DXR_WriteI2c(void *request);

/* Reads a 16-bit register. Slot 29; 0 without a hook. In the development host: unit, chip, address,
 * value (out, uint16_t). */
DXR_API uint32_t DXR_ReadReg16(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value);

/* Writes a 16-bit register. Slot 30; 0 without a hook. In the development host: unit, chip,
 * address, value. */
DXR_API uint32_t DXR_WriteReg16(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint16_t value);

/* Reads a register. Slot 31; 0 without a hook. In the development host: unit, chip, address, value
 * (out, uint32_t). */
DXR_API uint32_t DXR_ReadReg(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *value);

/* Writes a register. Slot 32; 0 without a hook. In the development host: unit, chip, address,
 * value. */
DXR_API uint32_t DXR_WriteReg(uint32_t arg1, uint32_t arg2, uint32_t arg3, uint32_t value);

/* Gets the service type. Slot 33; 0 without a hook. */
DXR_API uint32_t DXR_GetServiceType(void);

/* Gets the key under which a voltage is known. Slot 34; 0 without a hook. In the development host:
 * unit, chip, rail, key (out, uint32_t). */
DXR_API uint32_t DXR_GetVoltageKey(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *key);

/* Sets a voltage. Slot 35; 0 without a hook. In the development host: unit, key, millivolts. */
DXR_API uint32_t DXR_SetVoltage(uint32_t arg1, uint32_t arg2, uint32_t voltage);

/* Gets a voltage. Slot 36; 0 without a hook. In the development host: unit, key, millivolts (out,
 * uint32_t). */
DXR_API uint32_t DXR_GetVoltage(uint32_t arg1, uint32_t arg2, void *voltage);

/* Resets a chip by its reset line. Slot 37; 0 without a hook. In the development host: unit, chip,
 * line. */
DXR_API uint32_t DXR_HardResetChip(uint32_t arg1, uint32_t arg2, uint32_t arg3);

/* Looks for one device on PCIe. Slot 38; 0 without a hook. In the development host: bus, device,
 * function. */
DXR_API uint32_t DXR_ProbePcie(uint32_t arg1, uint32_t arg2, uint32_t arg3);

/* Prepares safe input and output. Slot 39; does nothing without a hook. */
DXR_API void DXR_InitSafeIo(void);

/* Gets a BOM identifier. Slot 40; 0 without a hook. In the development host: unit, part, id (out,
 * uint32_t). */
DXR_API uint32_t DXR_GetBomId(uint32_t arg1, uint32_t arg2, void *bomId);

/* Reads over PCIe. Slot 41; 0 without a hook. In the development host: device, address, value (out,
 * uint32_t). */
DXR_API uint32_t DXR_ReadPcie(uint32_t arg1, void *arg2, void *value);

/* Writes over PCIe. Slot 42; 0 without a hook. In the development host: device, address, value. */
DXR_API uint32_t DXR_WritePcie(uint32_t arg1, void *arg2, uint32_t value);

/* Gets a base address register of a PCIe device. Slot 43; 0 without a hook. In the development
 * host: device, bar, address (out, uint64_t), bytes (out, uint64_t). */
DXR_API uint32_t DXR_GetDeviceBar(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4);

/* Resets the board. Slot 44; does nothing without a hook. In the development host: mode. */
DXR_API void DXR_ResetBoard(uint32_t arg1);

/* Gets the version of this board's circuit board. Slot 45; 0 without a hook. */
DXR_API uint32_t DXR_GetLocalPcbVersion(void);

/* Gets a hardware identifier. Slot 46; 0xFFFFFFFF without a hook. In the development host: unit, id
 * (out, uint32_t). */
DXR_API uint32_t DXR_GetHardId(uint32_t arg1, void *hardId);

/* Gets the version of the circuit board. Slot 47; 0 without a hook. */
DXR_API uint32_t DXR_GetPcbVersion(void);

/* Changes the access mode of the file of a reserved memory. Slot 48; 0 without a hook. In the
 * development host: file (in, a text). */
DXR_API uint32_t DXR_ChmodRsvMemFile(void *file, uint32_t mode);

/* Writes the device name of the VSFU. Slot 49; 0 without a hook. Pointers: name (out, a text within
 * size bytes). */
DXR_API uint32_t DXR_GetVsfuDevName(void *name, uint32_t size);

/* Reboots the operating system. Slot 50; 0 without a hook. In the development host: mode, reason
 * (in, a text). */
DXR_API uint32_t DXR_RebootOS(uint32_t arg1, void *arg2);

/* Registers a function to be called before a reset. Slot 51; 0 without a hook. In the development
 * host: function, argument. */
DXR_API uint32_t DXR_RegisterPreResetProcFunc(void *arg1, void *arg2);

/* Creates a worker for input and output. Slot 52; 0 without a hook. The development host leaves it
 * empty. */
DXR_API uint32_t DXR_CreateIOWorker(uint32_t arg1, uint32_t arg2, void *arg3);

/* Gets the mode of the processing before a reset. Slot 53; 0 without a hook. In the development
 * host: mode (out, uint32_t). */
DXR_API uint32_t DXR_GetPreResetMode(void *mode);

/* Sets the mode of the processing before a reset. Slot 54; does nothing without a hook. */
DXR_API void DXR_SetPreResetMode(uint32_t mode);

/* Loads a packet into the VSFU. Slot 55; 0 without a hook. The development host leaves it empty. */
DXR_API uint32_t DXR_VSfuLoadPacket(uint32_t arg1, void *packet, uint32_t arg3, uint32_t arg4,
                                    uint32_t arg5);

/* Gets the soft version of the circuit board. Slot 56; 0 without a hook. */
DXR_API uint32_t DXR_GetSoftPcbVersion(void);

/* Tells whether an in-service upgrade is going on. Slot 57; 0 without a hook. */
DXR_API uint32_t DXR_IsIssuState(void);

/* Writes a register over MDIO. Slot 58; 0 without a hook. In the development host: unit, bus, phy,
 * device, register, value. */
DXR_API uint32_t DXR_WriteMdio(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4,
                               uint16_t arg5, uint16_t value);

/* Reads a register over MDIO. Slot 59; 0 without a hook. In the development host: unit, bus, phy,
 * device, register, value (out, uint16_t). */
DXR_API uint32_t DXR_ReadMdio(uint32_t arg1, uint32_t arg2, uint8_t arg3, uint8_t arg4,
                              uint16_t arg5, void *value);

/* Turns parallel MDIO access on or off. Slot 60; 0 without a hook. In the development host: unit,
 * bus, on. */
DXR_API uint32_t DXR_EnableMdioParallel(uint32_t arg1, uint32_t arg2, uint16_t arg3);

/* Resets a chip's clock and data recovery. Slot 61; 0 without a hook. In the development host:
 * unit, chip, lane. */
DXR_API uint32_t DXR_CdrResetChip(uint32_t arg1, uint32_t arg2, uint32_t arg3);

/* Runs the host's command callback. Slot 62; 0 without a hook. In the development host: record,
 * command. */
DXR_API uint32_t DXR_CmdCallback(void *arg1, uint32_t arg2);

/* Registers for interrupts. Slot 63; 0 without a hook. In the development host: chip, interrupt,
 * function, argument. */
DXR_API uint32_t DXR_IntrSetRegist(uint32_t arg1, uint32_t arg2, void *arg3, void *arg4);

/* Gets the type of the board's driver. Slot 64; 0xFFFFFFFF without a hook. */
DXR_API uint32_t DXR_GetBoardDrvType(void);

/* Gets the woffline state. Slot 65; 1 without a hook. The development host leaves it empty. */
DXR_API uint32_t DXR_GetWofflineState(uint32_t arg1, void *state);

/* Checks whether SMI loss of signal is enabled. Slot 66; 1 without a hook. In the development host:
 * chip, port. */
DXR_API uint32_t DXR_CheckSmiLosEnable(uint32_t arg1, uint32_t arg2);

/* Writes the flash information. Slot 67; 1 without a hook. In the development host: info (in, a
 * record). */
DXR_API uint32_t DXR_WriteFlashInfo(void *info);

DXR_EXTERN_C_END

#endif /* DXR_DEVICE_H */
