/* The host's device service: 64 of the 68 slots of the Dev group. A result is 0 or a number of
 * <errno.h> where nothing else is said. Without a host ECANCELED, or what the library answers for
 * an empty slot where the result is a value.
 *
 * Numbers that are written go to a uint32_t where nothing else is said. A null pointer where one is
 * needed, one that is not aligned for its type, and a record with a wrong size are reported and
 * give EINVAL; nothing is written then. All may be called from any thread at any time.
 *
 * Registers
 *   DXR_ReadReg(unit, chip, address, value)  32 bits; the address counts bytes and is a
 *   DXR_WriteReg(unit, chip, address, value)     multiple of 4
 *   DXR_ReadReg16(unit, chip, address, value)    16 bits, a uint16_t: the low half of the register
 *   DXR_WriteReg16(unit, chip, address, value)   at a multiple of 4, the high half 2 bytes later
 *     All chips of all units exist; what was never written is 0. EINVAL, reported, for an address
 *     that is no multiple; EBUSY while the chip's reset line is held.
 *   DXR_ReadI2c(request)                     a DxrHostI2cRequest: so many bytes from an offset
 *   DXR_WriteI2c(request)                    on. Its `done` gets how many went over the bus.
 *                                            ENXIO: nobody answers; ERANGE: beyond offset 65535
 *   DXR_ReadMdio(unit, bus, phy, device, register, value)    16 bits, a uint16_t
 *   DXR_WriteMdio(unit, bus, phy, device, register, value)   EINVAL, reported, for a phy or a
 *                                            device above 31; ENODEV without such a PHY, a read
 *                                            then gives all ones
 *   DXR_EnableMdioParallel(unit, bus, on)    1: accesses on that bus no longer wait for one
 *                                            that is delayed; 0, as at the beginning: they do
 *
 * PCIe. A device is DXR_HOST_PCIE(bus, device, function).
 *   DXR_ScanPcie(bus)                        finds what is present on a bus, and forgets what no
 *                                            longer is; ENODEV when that is nothing
 *   DXR_ProbePcie(bus, device, function)     the same for one; ENODEV. What the board describes
 *                                            as present has been found at the beginning
 *   DXR_GetPcieConfigRegValue(device, offset, value)   32 bits; a multiple of 4 below 4096, else
 *   DXR_SetPcieConfigRegValue(device, offset, value)   EINVAL, reported. ENODEV when it was not
 *                                            found or is no longer present; a read then gives all
 *                                            ones. A base address register takes addresses that
 *                                            are a multiple of its size
 *   DXR_GetDeviceBar(device, bar, address, bytes)   where a memory of the device lies now, and its
 *                                            size, two uint64_t; ENOENT without such a BAR
 *   DXR_ReadPcie(device, address, value)     32 bits of a memory of the device; the address is
 *   DXR_WritePcie(device, address, value)    one of the bus, a number, in a BAR and a multiple of
 *                                            4; EFAULT, reported, otherwise
 *
 * Device files. A path "/dev/x" is a device of the board's description, kept in memory, or else the
 * file "x" in the host's device directory: "dev" below the work path, or what
 * DxrHostSetDeviceDirectory gave.
 *   DXR_OpenDev(path)                        a device number from 1; 0 on failure (no such file,
 *                                            point "device.open"). A path that is not below
 *                                            "/dev/", or leaves it, also by a link, is reported
 *   DXR_OpenDevWithOption(path, option)      option: DXR_HOST_DEV_... bits, others are reported. A
 *                                            file is one device, however its path is written
 *   DXR_CloseDev(device)                     EBADF, reported, for a number that is none.
 *                                            Mappings stay
 *   DXR_WriteDev(device, data, bytes, done)  writes at the device's position and moves it;
 *                                            `done`, which may be null, gets how many bytes were
 *                                            written. ENOSPC when a described device is full, or
 *                                            what the file system says; EIO by point
 *                                            "device.write"; EACCES when it is open to be read
 *   DXR_ControlDev(request)                  a DxrHostDevRequest: see there
 *   DXR_SetDevMmapType(device, type)         DXR_HOST_MAP_...: how the next mappings are made;
 *                                            EINVAL, reported, for others
 *   DXR_MmapDev(device, bytes)               the device's first bytes, at an address; null on
 *                                            failure: more than it has, or none (reported), shared
 *                                            when it is open to be read alone, point "device.map"
 *   DXR_MunmapDev(address, bytes)            ends that; EINVAL, reported, unless both are those of
 *                                            a mapping
 *
 * Reserved memory, by the board's description, in memory of the host's. It lasts as long as the
 * host.
 *   DXR_GetRsvdMem(number, address, bytes)   where an area lies and its size, as described, two
 *                                            uint64_t; ENOENT without such an area
 *   DXR_GetRsvMemMmapAddr(name, bytes, address)  the address (void *) at which an area is mapped:
 *                                            all callers get the same. ENOENT; ERANGE when it has
 *                                            fewer bytes; EACCES by its mode; ENOMEM by point
 *                                            "device.map"
 *   DXR_ChmodRsvMemFile(name, mode)          as chmod; mode at most 0777. The owner's bits decide
 *                                            what DXR_GetRsvMemMmapAddr gives from now on: a
 *                                            mapping to read and write (at first), another one to
 *                                            read alone, none
 *
 * Environment. Two sets of variables, each in a file: the block ("env.bin" below the work path) and
 * the one kept in memory ("memenv.bin"), which are read when the host is made. A file that is torn
 * or cannot be read is reported, and the set begins empty. Saving replaces a file at once: after a
 * crash it is the old or the new one.
 *   DXR_GetEnv(name, value, size)            a variable's bytes, and zeros up to `size` bytes;
 *   DXR_GetMemEnv(name, value, size)         ENOENT; ENOSPC when there are more bytes than `size`
 *   DXR_SetEnv(name, value, size)            sets it; size 0 takes it away. ENAMETOOLONG for
 *   DXR_SetMemEnv(name, value, size)         names above 63 bytes, EINVAL, reported, for empty
 *                                            ones, ENOSPC when the set would exceed 64 KiB
 *   DXR_SaveEnvBlock()                       saves the block. EIO when a step fails, by itself or
 *   DXR_SaveMemEnv()                         by one of the points "env.open", "env.write",
 *   DXR_SaveEnv()                            "env.sync", "env.rename": the file is the old one
 *                                            then, and a message of level 1 says which step and
 *                                            why. DXR_SaveEnv saves both sets, the block first
 *
 * The board, by its description; in brackets the name there
 *   DXR_BoardIsMaster() [master]             1 or 0
 *   DXR_IsRunInLs() [runsInLs], DXR_IsCentralPurchaseMode() [centralPurchase], DXR_IsIssuState()
 *   [issu]                                       0 or 1
 *   DXR_GetProductFamilyType() [productFamily], DXR_GetServiceType() [serviceType],
 *   DXR_GetPcbVersion() [pcbVersion], DXR_GetLocalPcbVersion() [localPcbVersion],
 *   DXR_GetSoftPcbVersion() [softPcbVersion], DXR_GetBoardDrvType() [driverType]
 *                                            numbers; 2, 0, 0, 0, 0 and 0xFFFFFFFF by default
 *   DXR_GetVsfuDevName(name, size) [vsfuDevice]  text; ENOENT without one, ENOSPC when there is no
 *                                            room for it and its terminator
 *   DXR_GetHardId(unit, id) [hardIds]        0, or 0xFFFFFFFF for every failure
 *   DXR_GetBomId(unit, part, id) [boms]      ENOENT
 *   DXR_GetDevAttrValue(device, attribute, value) [attributes]   ENOENT
 *   DXR_SetDevAttrValue(device, attribute, value)   EACCES for those that are read-only; one that
 *                                            is not there is made
 *   DXR_GetVoltageKey(unit, chip, rail, key) [voltages]   ENOENT
 *   DXR_GetVoltage(unit, key, millivolts), DXR_SetVoltage(unit, key, millivolts)
 *                                            ENOENT; ERANGE beyond what the rail allows
 *   DXR_CheckSmiLosEnable(chip, port) [smiLos]   1 or 0; 1 without a host
 *   DXR_WriteFlashInfo(info)                 a DxrHostFlashInfo: an item of flash information,
 *                                            kept in "flash.bin" below the work path as saving the
 *                                            environment does, and with its points. ENOSPC above
 *                                            64 KiB together. After a failure the item is the one
 *                                            before, in the file and by DxrHostGetFlashInfo
 *
 * Resets
 *   DXR_RegisterPreResetProcFunc(function, argument)   a DxrHostPreReset, to be called before every
 *                                            reset; EEXIST, reported, for the same pair once more
 *   DXR_SetPreResetMode(mode)                DXR_HOST_PRE_RESET_...; others are reported and
 *   DXR_GetPreResetMode(mode)                change nothing
 *   DXR_ResetBoard(mode)                     calls the registered functions in their order, on
 *   DXR_RebootOS(mode, reason)               this thread, then ends the run: a report of the kind
 *                                            DXR_HOST_REPORT_RUN with mode and reason (text, may
 *                                            be null), every wait in the host ends with ECANCELED,
 *                                            no timer fires any more. A task of the host does not
 *                                            come back; on other threads the function returns, 0.
 *                                            From within one of those functions, and once the run
 *                                            has ended: reported, EALREADY. A function that ends
 *                                            its thread ends the reset
 *   DXR_GetResetMode(mode)                   the mode of that reset; before it the one that the
 *                                            board came from [resetMode], default 0
 *   DXR_HardResetChip(unit, chip, line)      DXR_HOST_RESET_...: a chip whose line is held does not
 *                                            answer; when it is let go the chip's registers have
 *                                            their described values again. EINVAL, reported
 *   DXR_CdrResetChip(unit, chip, lane)       counted, see DxrHostGetResets; changes no register
 *
 * The rest
 *   DXR_IntrSetRegist(chip, interrupt, function, argument)   a DxrHostInterrupt, or null to take it
 *                                            back; EBUSY when there is another one. See
 *                                            DxrHostRaiseInterrupt
 *   DXR_CmdCallback(record, command)         what DxrHostSetCommand gave, its result; ENOSYS
 *                                            without one
 *
 * Left empty: DXR_InitSafeIo, DXR_CreateIOWorker, DXR_VSfuLoadPacket, DXR_GetWofflineState.
 *
 * Each access to a register, over I2C, MDIO or PCIe asks three points first, whose names begin with
 * "device.register", "device.i2c", "device.mdio" or "device.pcie": ".delay" lets it wait for
 * DXR_HOST_DELAY_MS of the host's clock, ".fail" lets it fail with EIO (a read then writes
 * nothing), ".flip" turns over one bit, that chance chooses, of what is read or written. An I2C
 * transfer is one access. DxrHostFaultCells does so for some addresses alone.
 *
 * Cost: an access takes the logarithm of the cells that were described or written, and looks at
 * each watch and each fault of DxrHostFaultCells; one over I2C goes byte by byte. DXR_ScanPcie and
 * DXR_ProbePcie look at all described devices, DXR_HardResetChip at all registers of the chip, the
 * reserved memory's slots at all areas. Saving a set of variables writes the whole of it and waits
 * until the disk has it, and so does each DXR_WriteFlashInfo with all items. DXR_ResetBoard calls
 * each registered function, DxrHostLoadBoard reads its file and makes all devices and areas anew.
 */
#ifndef DXR_DEVHOST_DEVICE_H
#define DXR_DEVHOST_DEVICE_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* ---- Records of the slots --------------------------------------------------------------- */

/* A transfer over I2C. */
typedef struct DxrHostI2cRequest {
    uint32_t size; /* sizeof(DxrHostI2cRequest) */
    uint32_t bus;
    uint32_t device; /* its address on the bus, 7 bits */
    uint32_t offset; /* in the device, 0 to 65535 */
    uint32_t bytes;  /* 0 only asks whether the device is there */
    uint32_t done;   /* gets how many bytes were transferred */
    void *data;      /* may be null with 0 bytes */
} DxrHostI2cRequest;

/* A PCIe device. */
#define DXR_HOST_PCIE(bus, device, function) ((bus) << 8 | (device) << 3 | (function))

/* How a device is opened. Without the first it can be written, too. */
#define DXR_HOST_DEV_READ_ONLY 1u
#define DXR_HOST_DEV_CREATE 2u    /* a file that is not there is made */
#define DXR_HOST_DEV_EXCLUSIVE 4u /* nobody else has it open, or will */

/* How a device is mapped. */
#define DXR_HOST_MAP_SHARED 0u  /* what is written reaches the device */
#define DXR_HOST_MAP_PRIVATE 1u /* what is written stays in the mapping */
#define DXR_HOST_MAP_READ_ONLY 2u

/* What DXR_ControlDev can ask for; other commands are those of DxrHostSetDeviceControl, ENOTTY
 * without one. */
#define DXR_HOST_DEV_SEEK 1u   /* the position becomes `offset` */
#define DXR_HOST_DEV_READ 2u   /* up to `bytes` bytes at the position to `data`; moves it */
#define DXR_HOST_DEV_LENGTH 3u /* `offset` gets the device's bytes */
#define DXR_HOST_DEV_SYNC 4u   /* what was written is on the disk */

/* What DXR_ControlDev is given. */
typedef struct DxrHostDevRequest {
    uint32_t size; /* sizeof(DxrHostDevRequest) */
    uint32_t device;
    uint32_t command;
    uint32_t bytes;
    uint64_t offset;
    void *data;
    uint32_t done; /* gets the bytes read */
    uint32_t reserved;
} DxrHostDevRequest;

/* An item of flash information. No bytes take the item away. */
typedef struct DxrHostFlashInfo {
    uint32_t size; /* sizeof(DxrHostFlashInfo) */
    uint32_t item; /* any number */
    uint32_t bytes;
    uint32_t reserved;
    const void *data; /* may be null with 0 bytes */
} DxrHostFlashInfo;

/* Called before a reset, on its thread; no lock of the host is held. */
typedef void (*DxrHostPreReset)(uint32_t mode, void *argument);
#define DXR_HOST_PRE_RESET_CALL 0u /* as at the beginning */
#define DXR_HOST_PRE_RESET_SKIP 1u /* a reset calls nobody */

/* What a chip's reset line does. */
#define DXR_HOST_RESET_PULSE 0u /* it is held and let go */
#define DXR_HOST_RESET_HOLD 1u
#define DXR_HOST_RESET_RELEASE 2u

/* Called for an interrupt that DXR_IntrSetRegist registered it for. */
typedef void (*DxrHostInterrupt)(uint32_t chip, uint32_t interrupt, void *argument);

/* ---- The board ------------------------------------------------------------------------- */

/* DxrHostOptions::board names a JSON file: one object, whose members may all be absent. Numbers may
 * also be texts, "0x1F".
 *
 *   "board"      {"master": 1, "productFamily": 2, ...}, the names in brackets above
 *   "vsfuDevice" text
 *   "hardIds"    [{"unit": 0, "id": 7}]
 *   "boms"       [{"unit": 0, "part": 1, "id": 7}]
 *   "attributes" [{"device": 0, "attribute": 1, "value": 7, "readOnly": 1}]
 *   "voltages"   [{"unit": 0, "chip": 1, "rail": 0, "key": 9, "millivolts": 900, "least": 850,
 *                "most": 950}]
 *   "smiLos"     [{"chip": 0, "port": 3}], where it is enabled
 *   "registers"  [{"unit": 0, "chip": 1, "address": "0x100", "value": 7, "readOnly": "0xFF",
 *                "clearOnWrite": 1}], the last two being masks of bits, 0 by default: those that
 *                writes do not change, and those that a write of 1 clears
 *   "i2c"        [{"bus": 0, "device": "0x50", "offset": 0, "bytes": [1, 2, 3], "readOnly": 0}],
 *                the mask for each byte
 *   "mdio"       [{"unit": 0, "bus": 0, "phy": 1, "device": 3, "register": 2, "value": 7, ...}] and
 *                the two masks
 *   "pcie"       [{"bus": 1, "device": 0, "function": 0, "vendor": 7, "id": 8, "present": 1,
 *                "bars": [{"number": 0, "address": "0xE0000000", "bytes": 4096}],
 *                "config": [{"offset": 64, "value": 7, ...}],
 *                "memory": [{"bar": 0, "offset": 0, "value": 7, ...}]}]
 *                the size of a BAR is a power of two from 16, and its address a multiple of it
 *   "devices"    [{"path": "/dev/fpga0", "bytes": 4096, "text": "its first bytes"}]
 *   "reserved"   [{"number": 0, "name": "log", "address": "0x80000000", "bytes": 65536}]
 *
 * Nothing may be described twice: a register, a device, an area by its number or its name. BARs of
 * one device share no address but 0, and an area ends below 2^64.
 *
 * A file that is wrong is reported, with its line and column or the member to blame, and the board
 * is the one without a description. */

/* Reads such a file; registers and the rest become as it describes, what is open or mapped stays.
 * On failure, also when no memory can be made for a device or an area, returns false, nothing has
 * changed, and a line that says why is at `error` (at most
 * `errorSize` bytes, terminated; null: nowhere). */
DXR_API bool DxrHostLoadBoard(DxrHost *host, const char *path, char *error, uint32_t errorSize);

/* Sets a number of "board" by its name. Returns false when there is none of that name. */
DXR_API bool DxrHostSetBoardValue(DxrHost *host, const char *name, uint32_t value);

/* Plugs a described PCIe device in, or takes it out; modules find it by DXR_ScanPcie or
 * DXR_ProbePcie. Returns false when none is described. */
DXR_API bool DxrHostSetPciePresent(DxrHost *host, uint32_t device, bool isPresent);

/* Where the files of devices are. Not for those that are open. */
DXR_API void DxrHostSetDeviceDirectory(DxrHost *host, const char *path);

/* Called by DXR_ControlDev for commands of the device at `path` that are not the host's own,
 * without a lock; its result is the slot's. Null: none any more. */
typedef uint32_t (*DxrHostDevControl)(DxrHostDevRequest *request, void *user);
DXR_API void DxrHostSetDeviceControl(DxrHost *host, const char *path, DxrHostDevControl control,
                                     void *user);

/* Called by DXR_CmdCallback, without a lock. Null: none any more. */
typedef uint32_t (*DxrHostCommand)(void *record, uint32_t command, void *user);
DXR_API void DxrHostSetCommand(DxrHost *host, DxrHostCommand command, void *user);

/* Calls what is registered for an interrupt, on this thread, without a lock. Returns false when
 * nothing is. */
DXR_API bool DxrHostRaiseInterrupt(DxrHost *host, uint32_t chip, uint32_t interrupt);

/* How often a chip was reset by its line, and how often its clock and data recovery, all lanes
 * together. */
DXR_API uint32_t DxrHostGetResets(DxrHost *host, uint32_t unit, uint32_t chip, uint32_t *cdr);

/* Copies an item of flash information as it was written, at most `size` bytes. Returns how many it
 * has; 0 when there is none. */
DXR_API uint32_t DxrHostGetFlashInfo(DxrHost *host, uint32_t item, void *buffer, uint32_t size);

/* ---- Cells: what registers, I2C devices and so on consist of ----------------------------- */

/*                                  unit  chip    part  address                            bits */
#define DXR_HOST_REGISTERS 0u   /* unit  chip    0     in bytes, a multiple of 4          32 */
#define DXR_HOST_I2C 1u         /* bus   device  0     the offset                         8  */
#define DXR_HOST_MDIO 2u        /* unit  bus     PHY   device * 65536 + register          16 */
#define DXR_HOST_PCIE_CONFIG 3u /* 0     device  0     the offset, a multiple of 4        32 */
#define DXR_HOST_PCIE_MEMORY 4u /* 0     device  BAR   in the BAR, a multiple of 4        32 */

/* One cell of a space. */
typedef struct DxrHostCell {
    uint32_t space; /* DXR_HOST_REGISTERS ... */
    uint32_t unit;
    uint32_t chip;
    uint32_t part;
    uint64_t address;
} DxrHostCell;

/* Reads and sets a cell past masks, faults, watches and counts. Setting makes an I2C device or a
 * PHY that is not there; PCIe devices come from the board's description alone. Return false when
 * there is no such cell. */
DXR_API bool DxrHostPeekCell(DxrHost *host, const DxrHostCell *cell, uint32_t *value);
DXR_API bool DxrHostPokeCell(DxrHost *host, const DxrHostCell *cell, uint32_t value);

/* Sets a cell's masks: bits that writes do not change, and bits that a write of 1 clears (and a
 * write of 0 leaves). A bit in both is read-only. */
DXR_API bool DxrHostShapeCell(DxrHost *host, const DxrHostCell *cell, uint32_t readOnly,
                              uint32_t clearOnWrite);

/* How often slots have read and written a cell, with success. */
DXR_API bool DxrHostGetCellCounts(DxrHost *host, const DxrHostCell *cell, uint64_t *reads,
                                  uint64_t *writes);

/* An access of a slot. */
typedef struct DxrHostAccess {
    DxrHostCell first;
    uint32_t cells; /* how many from there; 1 but for I2C */
    uint32_t isWrite;
    uint32_t value;  /* read from or written to the first of them; 0 after a failure */
    uint32_t result; /* that the slot gives */
} DxrHostAccess;

/* Called after an access, on its thread, without a lock: it may poke what the device would do. */
typedef void (*DxrHostWatch)(const DxrHostAccess *access, void *user);

/* Watches `count` addresses from a cell on. Returns a number for DxrHostEndRule, 0 when there are
 * 16 watches already. */
DXR_API uint32_t DxrHostWatchCells(DxrHost *host, const DxrHostCell *first, uint64_t count,
                                   DxrHostWatch watch, void *user);

/* What happens to accesses. Bits that an access does not have are not turned over. */
#define DXR_HOST_FAULT_FAIL 0u  /* they fail with error `amount`; 0: EIO */
#define DXR_HOST_FAULT_DELAY 1u /* they wait for `amount` milliseconds */
#define DXR_HOST_FAULT_FLIP 2u  /* bits `amount` of the cell turn; 0: one that chance chooses */

/* Which accesses a fault is for. */
#define DXR_HOST_FAULT_READS 1u
#define DXR_HOST_FAULT_WRITES 2u

/* A fault of a cell. */
typedef struct DxrHostCellFault {
    uint32_t size;     /* sizeof(DxrHostCellFault) */
    uint32_t effect;   /* DXR_HOST_FAULT_FAIL ... */
    uint32_t accesses; /* DXR_HOST_FAULT_READS, DXR_HOST_FAULT_WRITES or both */
    uint32_t amount;
    uint64_t nth;        /* which access from now on, 1 is the next one; 0: by `millionths` */
    uint32_t onwards;    /* 1: all after it as well */
    uint32_t millionths; /* each with this probability / 1000000 */
} DxrHostCellFault;

/* Injects a fault into accesses to `count` addresses from a cell on. Returns a number for
 * DxrHostEndRule, 0 when the fault is none. */
DXR_API uint32_t DxrHostFaultCells(DxrHost *host, const DxrHostCell *first, uint64_t count,
                                   const DxrHostCellFault *fault);

/* Ends a watch or a fault. Returns false when there is none of that number. A watch that is called
 * just then may still run. */
DXR_API bool DxrHostEndRule(DxrHost *host, uint32_t number);

/* How long points delay an access. */
#define DXR_HOST_DELAY_MS 10u

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_DEVICE_H */
