/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the Cfg group that only hand a call to its slot. Included by
 * dxr/database_config.h, which says what they are and holds the others. */
#ifndef DXR_DATABASE_CONFIG_SLOTS_H
#define DXR_DATABASE_CONFIG_SLOTS_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Reads the board data. Slot 0; does nothing without a hook. In the development host: name (in, a
 * text), id1, id2. */
DXR_API void DXR_CFG_ReadBoardData(void *arg1, uint32_t arg2, uint32_t arg3);

/* Displays the board data. Slot 1; 0 without a hook. In the development host: text (out, a text
 * within size bytes), size. */
DXR_API uint32_t DXR_CFG_DisplayBoardData(void *arg1, uint32_t arg2);

/* Clears the board data. Slot 2; does nothing without a hook. */
DXR_API void DXR_CFG_ClearBoardData(void);

/* Gets an item of the board data. Slot 3; 0 without a hook. In the development host: item. */
DXR_API uint32_t DXR_CFG_GetBoardData(uint32_t arg1);

/* Tells whether an item comes from the board's own data. Slot 4; 0 without a hook. In the
 * development host: item. */
DXR_API uint32_t DXR_CFG_IsFromBoardData(uint32_t arg1);

/* Gets a memory parameter; the memory belongs to the host. Slot 5; null without a hook. In the
 * development host: number. */
DXR_API void *DXR_CFG_GetMemParam(uint32_t arg1);

/* Tells whether a memory parameter comes from the board. Slot 6; 0 without a hook. In the
 * development host: number. */
DXR_API uint32_t DXR_CFG_IsFromMemParam(uint32_t arg1);

/* Gets an advanced specification; the memory belongs to the host. Slot 7; null without a hook. In
 * the development host: spec, chip. */
DXR_API void *DXR_CFG_GetAdvancedSpec(uint32_t arg1, uint32_t arg2);

/* Tells whether an advanced specification comes from the board. Slot 8; 0 without a hook. In the
 * development host: spec. */
DXR_API uint32_t DXR_CFG_IsFromBoardAdvancedSpec(uint32_t arg1);

/* Gets an item of information on the physical board. Slot 9; 0 without a hook. In the development
 * host: item. */
DXR_API uint32_t DXR_CFG_GetPhyBoardInfo(uint32_t arg1);

/* Tells whether an item of physical information comes from the board. Slot 10; 0 without a hook. In
 * the development host: item. */
DXR_API uint32_t DXR_CFG_IsFromPhyBoardInfo(uint32_t arg1);

DXR_EXTERN_C_END

#endif /* DXR_DATABASE_CONFIG_SLOTS_H */
