/* The host's table manager, addressed by chip, and forms of its functions that fill in the chip or
 * build the request. A request record lives only during the call: the host copies what it keeps.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Tblm group. Parameters named argN are the host's to
 * define and pass through unread. */
#ifndef DXR_SYSTEM_TABLE_H
#define DXR_SYSTEM_TABLE_H

#include "dxr/base.h"
#include "dxr/types.h"

DXR_EXTERN_C_BEGIN

/* generated: begin (by hooks/generate.py from hooks/slots.yaml) */

/* Creates a table at run time. Slot 0; 0 without a hook. */
DXR_API uint32_t DXR_DynamicCreateTable(uint32_t arg1);

/* Gets the data of an entry. Slot 1; 0 without a hook. */
DXR_API uint32_t DXR_GetChipTblmData(uint32_t chip, DxrTblmRequest *request);

/* Sets the data of an entry. Slot 2; 0 without a hook. */
DXR_API uint32_t DXR_SetChipTblmData(uint32_t chip, DxrTblmRequest *request);

/* Deletes an entry. Slot 3; 0 without a hook. */
DXR_API uint32_t DXR_DeleteChipTblmData(uint32_t chip, uint32_t tableId, void *key,
                                        uint32_t keyLen);

/* Gets the first entry across tables. Slot 4; 1 without a hook. */
DXR_API uint32_t DXR_GetCrossTblmFirstData(void *arg1, void *arg2, void *arg3);

/* Gets the first entry of a linear table. Slot 5; 1 without a hook. */
DXR_API uint32_t DXR_GetLinearTblmFirstData(void *arg1, void *arg2);

/* Gets the next entry. Slot 6; 1 without a hook. */
DXR_API uint32_t DXR_GetTblmNextData(uint32_t arg1, void *arg2);

/* Releases a table. Slot 7; does nothing without a hook. */
DXR_API void DXR_ReleaseTblm(uint32_t arg1, uint32_t arg2);

/* Gets the attributes of a table. Slot 8; 1 without a hook. */
DXR_API uint32_t DXR_GetTblmAttr(uint32_t arg1, void *attr);

/* Gets the count of a CST pool. Slot 9; 0 without a hook. */
DXR_API uint32_t DXR_GetCstPoolCount(uint32_t arg1, uint16_t arg2, uint32_t arg3, void *count);

/* Sets the data and the mask of an entry. Slot 10; 0 without a hook. */
DXR_API uint32_t DXR_SetChipTblmDataAndMask(uint32_t chip, DxrTblmRequest *request);

/* generated: end */

/* The chip identifier that means any chip: 0xFFFF. */
extern DXR_API const uint32_t DXR_TBLM_CHIPID_NOTCARE;

/* The functions below return what the function they are built on returns. */

/* DXR_GetChipTblmData for any chip. */
DXR_API uint32_t DXR_GetTblmData(DxrTblmRequest *request);

/* DXR_SetChipTblmData for any chip. */
DXR_API uint32_t DXR_SetTblmData(DxrTblmRequest *request);

/* DXR_DeleteChipTblmData for any chip. */
DXR_API uint32_t DXR_DeleteTblmData(uint32_t tableId, void *key, uint32_t keyLen);

/* Adds an entry: DXR_SetChipTblmData with a request made of the arguments. Lengths are in bytes; a
 * null `data` is marked as not valid in the request. */
DXR_API uint32_t DXR_AddChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen,
                                     void *data, uint32_t dataLen);

/* Queries an entry: DXR_GetChipTblmData with the same request. */
DXR_API uint32_t DXR_QueryChipTblmData(uint32_t chip, uint32_t tableId, void *key, uint32_t keyLen,
                                       void *data, uint32_t dataLen);

/* DXR_AddChipTblmData for any chip. */
DXR_API uint32_t DXR_AddTblmData(uint32_t tableId, void *key, uint32_t keyLen, void *data,
                                 uint32_t dataLen);

/* DXR_QueryChipTblmData for any chip. */
DXR_API uint32_t DXR_QueryTblmData(uint32_t tableId, void *key, uint32_t keyLen, void *data,
                                   uint32_t dataLen);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_TABLE_H */
