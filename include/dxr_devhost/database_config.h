/* The host's configuration service: all eleven slots of the Cfg group.
 *
 * What modules are told stands in two JSON files in the configuration directory,
 * DxrHostOptions::configPath. "defaults.json" has what holds for every board; it is read when the
 * host is made, and need not be there. The other one is the board's own: DXR_CFG_ReadBoardData
 * reads it, and its values stand before the defaults.
 *
 *   DXR_CFG_ReadBoardData(name, id1, id2)   reads the board's own file: the one that
 *                                           DXR_CFG_FmtCfgFile gives for that name (a text) and
 *                                           numbers, in the configuration directory instead of
 *                                           "../conf". What the board had before is forgotten. When
 *                                           the file cannot be read (also by point "config.read")
 *                                           or is not as below, a report says where, and the board
 *                                           has nothing of its own. A null or an empty name, and
 *                                           one with a slash, is reported and changes nothing
 *   DXR_CFG_ClearBoardData()                the board has nothing of its own any more
 *   DXR_CFG_DisplayBoardData(text, size)    lists all that modules are told, a line each, in the
 *                                           order of the lists below and by numbers, into `size`
 *                                           bytes at `text`: terminated, without the lines that
 *                                           there is no more room for. Gives the number of
 *                                           characters; 0 for a null text (reported) and a size of
 *                                           0
 *   DXR_CFG_GetBoardData(item)              a value; 0 when there is none
 *   DXR_CFG_GetPhyBoardInfo(item)           the same, of the physical board
 *   DXR_CFG_GetMemParam(number)             a DxrHostConfigBlock; null when there is none
 *   DXR_CFG_GetAdvancedSpec(spec, chip)     the same, of one chip
 *   DXR_CFG_IsFromBoardData(item)           1 when the board's own file has it, 0 when not, also
 *   DXR_CFG_IsFromPhyBoardInfo(item)        without a host; DXR_CFG_IsFromBoardAdvancedSpec for
 *   DXR_CFG_IsFromMemParam(number)          any chip
 *   DXR_CFG_IsFromBoardAdvancedSpec(spec)
 *
 * Without a host, or without memory, the answers are 0 and null. Any thread may call any of them at
 * any time, and sees a file as a whole or not at all.
 *
 * A file is an object with lists of objects, each of which may be absent:
 *
 *   {"boardData": [{"item": 1, "value": 7}],
 *    "memParams": [{"number": 3, "values": [1600, "0x1F"]}],
 *    "advancedSpecs": [{"spec": 2, "chip": 0, "values": [5]}],
 *    "phyBoardInfo": [{"item": 1, "value": 2}]}
 *
 * Numbers go from 0 to 4294967295 and may be texts, decimal or hexadecimal after "0x". A block has
 * at most DXR_HOST_CONFIG_VALUES values; "chip" is 0 when it is absent. Other members, and a second
 * object with the same numbers, are refused.
 *
 * Cost: a value takes the logarithm of how many there are, a block also that of the blocks handed
 * out. DXR_CFG_ReadBoardData reads a file, DXR_CFG_DisplayBoardData makes a line of each value,
 * also of those that there is no room for. */
#ifndef DXR_DEVHOST_DATABASE_CONFIG_H
#define DXR_DEVHOST_DATABASE_CONFIG_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* Values of a block at most. */
#define DXR_HOST_CONFIG_VALUES 30u

/* A memory parameter or an advanced specification. It belongs to the host, stays as it is until the
 * host's end, also when the board's data are read anew or cleared, and is not to be written to. */
typedef struct DxrHostConfigBlock {
    uint32_t number;                         /* of the memory parameter or the specification */
    uint32_t count;                          /* how many values there are */
    uint32_t values[DXR_HOST_CONFIG_VALUES]; /* zeros after them */
} DxrHostConfigBlock;

DXR_STATIC_ASSERT(sizeof(DxrHostConfigBlock) == 128, "fixed layout");

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_DATABASE_CONFIG_H */
