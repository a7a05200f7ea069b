/* The system database: record selection, and look-ups of fabric interface chips (FIC), traffic
 * managers (TM), node groups (NG), ports and VSQs.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Db group. Parameters named argN are the host's to
 * define and pass through unread. */
#ifndef DXR_DATABASE_H
#define DXR_DATABASE_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* generated: begin (by hooks/generate.py from hooks/slots.yaml) */

/* Counts the records a query selects. Slot 0; 0 without a hook. */
DXR_API uint32_t DXR_SelectDbRecordCount(void *query, uint32_t *count);

/* Writes at most the given number of the records a query selects. Slot 1; 0 without a hook. */
DXR_API uint32_t DXR_SelectDbRecordLimit(void *query, uint32_t limit, void *records);

/* Writes the first record a query selects. Slot 2; 0 without a hook. */
DXR_API uint32_t DXR_SelectFirstDbRecord(void *query, void *record);

/* Gets the local number of a fabric interface chip. Slot 3; 0 without a hook. */
DXR_API uint32_t DXR_GetLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *ficId);

/* Gets the traffic-manager type behind a global fabric interface chip number. Slot 4; 0 without
 * a hook. */
DXR_API uint32_t DXR_GetTmTypeByGlobalFicIdFromDb(uint32_t ficId, void *type);

/* Gets the traffic-manager type behind a local fabric interface chip number. Slot 5; 0 without a
 * hook. */
DXR_API uint32_t DXR_GetTmTypeByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *type);

/* Gets the position of the chip with a global fabric interface chip number. Slot 6; 0 without a
 * hook. */
DXR_API uint32_t DXR_GetChipPosByGlobalFicIdFromDb(uint32_t ficId, void *position);

/* Gets the position of the chip with a local fabric interface chip number. Slot 7; 0 without a
 * hook. */
DXR_API uint32_t DXR_GetChipPosByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *position);

/* Gets the fabric interface chip numbers of a node group. Slot 8; 0 without a hook. */
DXR_API uint32_t DXR_GetFicIdByNodeGroupIdFromDb(uint32_t arg1, void *arg2, void *arg3,
                                                 uint32_t arg4);

/* Gets the traffic-manager configuration of a node group. Slot 9; 0 without a hook. */
DXR_API uint32_t DXR_GetNgTmCfgFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *config);

/* Gets the information on a traffic-manager port of a node group. Slot 10; 0 without a hook. */
DXR_API uint32_t DXR_GetNgTmPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *info);

/* Gets the information on a port of a node group by its VSQ. Slot 12; 0 without a hook. */
DXR_API uint32_t DXR_GetNgTmPortInfoByVsqIdFromDb(uint32_t arg1, uint32_t arg2, void *info);

/* Gets the information on a service port of a node group. Slot 13; 0 without a hook. */
DXR_API uint32_t DXR_GetNgTmSrvPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3,
                                              uint32_t arg4, void *info);

/* Gets the service port that a VSQ belongs to. Slot 14; 0 without a hook. */
DXR_API uint32_t DXR_GetNgTmSrvPortByVsqFromDb(uint32_t vsq, void *port);

/* Tells whether the traffic manager replicates multicast. Slot 15; 1 without a hook. */
DXR_API uint32_t DXR_IsMcRepByTm(void);

/* Gets the destination port at a fabric interface chip. Slot 16; null without a hook. */
DXR_API void *DXR_GetDestFicPort(void *arg1, void *arg2);

/* Gets the service ports behind a fabric interface chip. Slot 17; 0 without a hook. */
DXR_API uint32_t DXR_GetNgTmSrvPortByFicIdFromDb(uint32_t arg1, uint32_t arg2, void *arg3,
                                                 uint32_t arg4, void *arg5);

/* Gets the device number of a line processing unit. Slot 18; 0xFFFFFFFF without a hook. */
DXR_API uint32_t DXR_GetLpuDevId(uint32_t arg1);

/* generated: end */

/* As the other look-ups of a port (slot 11), but with a rule of its own: whether a hook is there is
 * judged by slot 10, DXR_GetNgTmPortInfoFromDb. The host fills both slots or neither; 0 without a
 * hook in slot 10. */
DXR_API uint32_t DXR_GetNgTmPortInfoByTmPortFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3,
                                                   void *info);

/* Selects all records of a query into one zeroed block of the host's memory, under the default
 * module identifier, and stores their number in `count`.
 *
 * `query` is the host's query record, whose second 32-bit field is the size of one result record in
 * bytes; neither pointer may be null. The block belongs to the caller, who releases it with
 * DXR_Free. Returns null, with `count` unchanged and nothing kept, when counting fails or gives 0,
 * when there is no memory, or when the selection fails. */
DXR_API void *DXR_SelectDbRecord(void *query, uint32_t *count);

/* The fourth 32-bit field of the node group's traffic-manager configuration,
 * DXR_GetNgTmCfgFromDb(arg1, arg2, 0, ...); 0 when that fails. */
DXR_API uint32_t DXR_GetFeNodeGrpId(uint32_t arg1, uint32_t arg2);

DXR_EXTERN_C_END

#endif /* DXR_DATABASE_H */
