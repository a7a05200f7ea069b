/* The host's table manager, addressed by chip, and forms of its functions that fill in the chip or
 * build the request. A request record lives only during the call: the host copies what it keeps.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Tblm group. Parameters named argN are the host's to
 * define and pass through unread. */
#ifndef DXR_SYSTEM_TABLE_H
#define DXR_SYSTEM_TABLE_H

#include "dxr/base.h"
#include "dxr/system_table_slots.h"
#include "dxr/types.h"

DXR_EXTERN_C_BEGIN

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
