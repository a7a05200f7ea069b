/* The host's network processors: all three slots of the Np group. A result is 0 or a number of
 * <errno.h>; ECANCELED without a host. A null pointer, one that is not aligned for its type and a
 * record with a wrong size are reported and give EINVAL; nothing is written then, nor after any
 * other failure.
 *
 *   DXR_SetMcPortMap(group, map)           a DxrHostMcPortMap: the ports that packets of a
 *                                          multicast group go to. One without a port takes the
 *                                          group away. ERANGE when it names a port that there is
 *                                          not, ENOSPC above 4096 groups, ENOMEM; EIO by point
 *                                          "np.map". After a failure the group has the ports that
 *                                          it had
 *   DXR_GetQueueDropStat(unit, port, queue, mode, stat)   a DxrHostQueueDrops gets what a queue has
 *                                          dropped: all 0 at first. Mode DXR_HOST_DROPS_...: the
 *                                          counts stay or begin again, others are reported and give
 *                                          EINVAL; EIO by point "np.drop", the counts stay then
 *   DXR_GetAbsPfcLogicSp(unit, port, priority, sp)   a uint32_t gets the absolute logic priority of
 *                                          one of the priorities 0 to 7 of priority flow control:
 *                                          its own number at first. EINVAL, reported, above 7; EIO
 *                                          by point "np.pfc"
 *
 * All units, ports and queues exist. All may be called from any thread at any time; of two readers
 * that let counts begin again, one gets a drop.
 *
 * Cost: the logarithm of how many groups, queues or priorities were set. */
#ifndef DXR_DEVHOST_NETWORK_PROCESSOR_H
#define DXR_DEVHOST_NETWORK_PROCESSOR_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* ---- Records of the slots --------------------------------------------------------------- */

/* Ports of a multicast group at most. */
#define DXR_HOST_MC_PORTS 1024u

/* The ports of a multicast group. */
typedef struct DxrHostMcPortMap {
    uint32_t size;                          /* sizeof(DxrHostMcPortMap) */
    uint32_t reserved;                      /* not looked at; 0 when the host writes it */
    uint64_t ports[DXR_HOST_MC_PORTS / 64]; /* port p is bit p % 64 of ports[p / 64] */
} DxrHostMcPortMap;

/* What a queue has dropped. Counts stay at their greatest value when they reach it. */
typedef struct DxrHostQueueDrops {
    uint32_t size; /* sizeof(DxrHostQueueDrops) */
    uint32_t reserved;
    uint64_t packets;
    uint64_t bytes;
} DxrHostQueueDrops;

/* The fourth argument of DXR_GetQueueDropStat. */
#define DXR_HOST_DROPS_READ 0u
#define DXR_HOST_DROPS_CLEAR 1u

DXR_STATIC_ASSERT(sizeof(DxrHostMcPortMap) == 136, "DxrHostMcPortMap is 136 bytes");
DXR_STATIC_ASSERT(offsetof(DxrHostMcPortMap, ports) == 8, "ports");
DXR_STATIC_ASSERT(sizeof(DxrHostQueueDrops) == 24, "DxrHostQueueDrops is 24 bytes");
DXR_STATIC_ASSERT(offsetof(DxrHostQueueDrops, packets) == 8, "packets");
DXR_STATIC_ASSERT(offsetof(DxrHostQueueDrops, bytes) == 16, "bytes");

/* ---- The device's side ------------------------------------------------------------------ */

/* How many ports there are for multicast groups, from 0 on; 1024 at first, more are not known.
 * Groups that there are stay as they are. */
DXR_API void DxrHostSetMcPorts(DxrHost *host, uint32_t ports);

/* Copies the ports of a group. Returns false, and nothing is written, when it has none. `map` must
 * not be null; its size is written. */
DXR_API bool DxrHostGetMcPortMap(DxrHost *host, uint32_t group, DxrHostMcPortMap *map);

/* Lets a queue drop packets. Returns false without memory. */
DXR_API bool DxrHostAddQueueDrops(DxrHost *host, uint32_t unit, uint32_t port, uint32_t queue,
                                  uint64_t packets, uint64_t bytes);

/* Sets what DXR_GetAbsPfcLogicSp gives. Returns false for a priority above 7 and without memory. */
DXR_API bool DxrHostSetAbsPfcLogicSp(DxrHost *host, uint32_t unit, uint32_t port, uint32_t priority,
                                     uint32_t sp);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_NETWORK_PROCESSOR_H */
