/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the Tblm group that only hand a call to its slot. Included by
 * dxr/system_table.h, which says what they are and holds the others. */
#ifndef DXR_SYSTEM_TABLE_SLOTS_H
#define DXR_SYSTEM_TABLE_SLOTS_H

#include "dxr/base.h"
#include "dxr/types.h"

DXR_EXTERN_C_BEGIN

/* Creates a table at run time. Slot 0; 0 without a hook. In the development host: table. */
DXR_API uint32_t DXR_DynamicCreateTable(uint32_t arg1);

/* Gets the data of an entry. Slot 1; 0 without a hook. */
DXR_API uint32_t DXR_GetChipTblmData(uint32_t chip, DxrTblmRequest *request);

/* Sets the data of an entry. Slot 2; 0 without a hook. */
DXR_API uint32_t DXR_SetChipTblmData(uint32_t chip, DxrTblmRequest *request);

/* Deletes an entry. Slot 3; 0 without a hook. Pointers: key (in, length: keyLen). */
DXR_API uint32_t DXR_DeleteChipTblmData(uint32_t chip, uint32_t tableId, void *key,
                                        uint32_t keyLen);

/* Gets the first entry across tables. Slot 4; 1 without a hook. In the development host: walk
 * (inout, a record), tables (in), entry (inout, a record). */
DXR_API uint32_t DXR_GetCrossTblmFirstData(void *arg1, void *arg2, void *arg3);

/* Gets the first entry of a linear table. Slot 5; 1 without a hook. In the development host: walk
 * (inout, a record), entry (inout, a record). */
DXR_API uint32_t DXR_GetLinearTblmFirstData(void *arg1, void *arg2);

/* Gets the next entry. Slot 6; 1 without a hook. In the development host: walk, entry (inout, a
 * record). */
DXR_API uint32_t DXR_GetTblmNextData(uint32_t arg1, void *arg2);

/* Releases a table. Slot 7; does nothing without a hook. In the development host: table, walk. */
DXR_API void DXR_ReleaseTblm(uint32_t arg1, uint32_t arg2);

/* Gets the attributes of a table. Slot 8; 1 without a hook. In the development host: table, record
 * (inout, a record). */
DXR_API uint32_t DXR_GetTblmAttr(uint32_t arg1, void *attr);

/* Gets the count of a CST pool. Slot 9; 0 without a hook. In the development host: chip, pool,
 * what, count (out, uint32_t). */
DXR_API uint32_t DXR_GetCstPoolCount(uint32_t arg1, uint16_t arg2, uint32_t arg3, void *count);

/* Sets the data and the mask of an entry; the record that holds both is the host's to define. Slot
 * 10; 0 without a hook. In the development host: record (in, a record). */
DXR_API uint32_t DXR_SetChipTblmDataAndMask(uint32_t chip, void *record);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_TABLE_SLOTS_H */
