/* The system database: record selection, and look-ups of fabric interface chips (FIC), traffic
 * managers (TM), node groups (NG), ports and VSQs.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Db group. Parameters named argN are the host's to
 * define and pass through unread. Cost of a selection: two queries, and zeroing the block between
 * them. */
#ifndef DXR_DATABASE_H
#define DXR_DATABASE_H

#include "dxr/base.h"
#include "dxr/database_slots.h"

DXR_EXTERN_C_BEGIN

/* As the other look-ups of a port (slot 11), but with a rule of its own: whether a hook is there is
 * judged by slot 10, DXR_GetNgTmPortInfoFromDb. The host fills both slots or neither (HOST-5); 0
 * without a hook in slot 10. In the development host: nodeGroup, tm, tmPort, info (out). */
DXR_API uint32_t DXR_GetNgTmPortInfoByTmPortFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3,
                                                   void *info);

/* Selects all records of a query into one zeroed block of the host's memory, under the default
 * module identifier, and stores their number in `count`.
 *
 * `query` is the host's query record, whose second 32-bit field is the size of one result record in
 * bytes; neither pointer may be null. The block belongs to the caller, who releases it with
 * DXR_Free. Returns null, with `count` unchanged and nothing kept, when counting fails or gives 0,
 * when there is no memory, or when the selection fails.
 *
 * The size of the block is the record size times the number of records, as a 32-bit product that
 * wraps; the limit given to the selection is the whole number of records all the same. Who calls
 * this for a query whose records may reach 4 GiB bounds their number first. A record size of 0, or
 * a product that wraps to 0, gives null. */
DXR_API void *DXR_SelectDbRecord(void *query, uint32_t *count);

/* The fourth 32-bit field of the node group's traffic-manager configuration,
 * DXR_GetNgTmCfgFromDb(arg1, arg2, 0, ...); 0 when that fails. In the development host: nodeGroup,
 * tm. */
DXR_API uint32_t DXR_GetFeNodeGrpId(uint32_t arg1, uint32_t arg2);

DXR_EXTERN_C_END

#endif /* DXR_DATABASE_H */
