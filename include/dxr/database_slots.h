/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* The functions of the Db group that only hand a call to its slot. Included by dxr/database.h,
 * which says what they are and holds the others. */
#ifndef DXR_DATABASE_SLOTS_H
#define DXR_DATABASE_SLOTS_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Counts the records a query selects. Slot 0; 0 without a hook. In the development host: query (in,
 * uint32_t[11]). */
DXR_API uint32_t DXR_SelectDbRecordCount(void *query, uint32_t *count);

/* Writes at most `limit` of the records a query selects, one after the other. Slot 1; 0 without a
 * hook. In the development host: query (in, uint32_t[11]). */
DXR_API uint32_t DXR_SelectDbRecordLimit(void *query, uint32_t limit, void *records);

/* Writes the first record a query selects. Slot 2; 0 without a hook. In the development host: query
 * (in, uint32_t[11]), record (out, as many bytes as query says). */
DXR_API uint32_t DXR_SelectFirstDbRecord(void *query, void *record);

/* Gets the local number of a fabric interface chip. Slot 3; 0 without a hook. In the development
 * host: nodeGroup, tm, core, localFic (out, uint32_t). */
DXR_API uint32_t DXR_GetLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *ficId);

/* Gets the traffic-manager type behind a global fabric interface chip number. Slot 4; 0 without a
 * hook. In the development host: type (out, uint32_t). */
DXR_API uint32_t DXR_GetTmTypeByGlobalFicIdFromDb(uint32_t ficId, void *type);

/* Gets the traffic-manager type behind a local fabric interface chip number. Slot 5; 0 without a
 * hook. In the development host: slot, localFic, type (out, uint32_t). */
DXR_API uint32_t DXR_GetTmTypeByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *type);

/* Gets the position of the chip with a global fabric interface chip number. Slot 6; 0 without a
 * hook. In the development host: position (out, uint32_t). */
DXR_API uint32_t DXR_GetChipPosByGlobalFicIdFromDb(uint32_t ficId, void *position);

/* Gets the position of the chip with a local fabric interface chip number. Slot 7; 0 without a
 * hook. In the development host: slot, localFic, position (out, uint32_t). */
DXR_API uint32_t DXR_GetChipPosByLocalFicIdFromDb(uint32_t arg1, uint32_t arg2, void *position);

/* Gets the fabric interface chip numbers of a node group. Slot 8; 0 without a hook. In the
 * development host: nodeGroup, globalFics (out), count (out, uint32_t), room. */
DXR_API uint32_t DXR_GetFicIdByNodeGroupIdFromDb(uint32_t arg1, void *arg2, void *arg3,
                                                 uint32_t arg4);

/* Gets the traffic-manager configuration of a node group. Slot 9; 0 without a hook. In the
 * development host: nodeGroup, tm, core, config (out, uint32_t[4]). */
DXR_API uint32_t DXR_GetNgTmCfgFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *config);

/* Gets the information on a traffic-manager port of a node group. Slot 10; 0 without a hook. In the
 * development host: nodeGroup, tm, port, info (out, uint32_t[7]). */
DXR_API uint32_t DXR_GetNgTmPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3, void *info);

/* Gets the information on a port of a node group by its VSQ. Slot 12; 0 without a hook. In the
 * development host: nodeGroup, vsq, info (out, uint32_t[7]). */
DXR_API uint32_t DXR_GetNgTmPortInfoByVsqIdFromDb(uint32_t arg1, uint32_t arg2, void *info);

/* Gets the information on a service port of a node group. Slot 13; 0 without a hook. In the
 * development host: nodeGroup, tm, port, servicePort, info (out, uint32_t[6]). */
DXR_API uint32_t DXR_GetNgTmSrvPortInfoFromDb(uint32_t arg1, uint32_t arg2, uint32_t arg3,
                                              uint32_t arg4, void *info);

/* Gets the service port that a VSQ belongs to. Slot 14; 0 without a hook. In the development host:
 * port (out, uint32_t[6]). */
DXR_API uint32_t DXR_GetNgTmSrvPortByVsqFromDb(uint32_t vsq, void *port);

/* Tells whether the traffic manager replicates multicast. Slot 15; 1 without a hook. */
DXR_API uint32_t DXR_IsMcRepByTm(void);

/* Gets the destination port at a fabric interface chip. Slot 16; null without a hook. In the
 * development host: destination (in, uint32_t[3]), ficPort (out, uint32_t[4]). */
DXR_API void *DXR_GetDestFicPort(void *arg1, void *arg2);

/* Gets the service ports behind a fabric interface chip. Slot 17; 0 without a hook. In the
 * development host: slot, localFic, infos (out), room, count (out, uint32_t). */
DXR_API uint32_t DXR_GetNgTmSrvPortByFicIdFromDb(uint32_t arg1, uint32_t arg2, void *arg3,
                                                 uint32_t arg4, void *arg5);

/* Gets the device number of a line processing unit; what it means is the host's to define. Slot 18;
 * 0xFFFFFFFF without a hook. In the development host: slot. */
DXR_API uint32_t DXR_GetLpuDevId(uint32_t arg1);

DXR_EXTERN_C_END

#endif /* DXR_DATABASE_SLOTS_H */
