/* The host's memory service: both slots of the Memory group.
 *
 * DXR_Malloc gives `size` bytes, aligned to 16, or null: no memory, the limit, or an injected
 * failure (point "memory.allocate"). The block counts in the account of its module identifier and
 * of its site: identifier, file and line. The texts of files are copied.
 *
 * DXR_Free takes a block back; null is allowed and does nothing. The bytes before and after the
 * block must be as they were: a change is reported with both sites. What is no live block is
 * reported and otherwise ignored: released twice (with all three sites), an address inside a block,
 * one that never was the host's, and a block of another live host (with where it was allocated,
 * and released if it was). A released block is given out again only after others were.
 *
 * Both may be called from any thread. What accounts say is exact for one moment, at which no thread
 * allocates or releases.
 *
 * Cost: allocating and releasing take the same time whatever there is, but for large blocks, which
 * take the logarithm of how many of these live, and with a limit, when each allocation adds up all
 * accounts. The functions that copy accounts or sites and DxrHostReportLeaks go over all rooms for
 * blocks that were ever in use, for one account as for all; nobody allocates or releases meanwhile.
 */
#ifndef DXR_DEVHOST_MEMORY_H
#define DXR_DEVHOST_MEMORY_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* What one module identifier holds and has held. "Live" is allocated and not yet released, "peak"
 * the highest value that live has had, "total" everything ever allocated. Bytes are those asked
 * for. */
typedef struct DxrHostMemoryAccount {
    uint32_t mid;
    uint64_t blocksLive;
    uint64_t bytesLive;
    uint64_t blocksPeak;
    uint64_t bytesPeak;
    uint64_t blocksTotal;
    uint64_t bytesTotal;
} DxrHostMemoryAccount;

/* Copies the accounts of all module identifiers that ever allocated, ascending, at most `room` of
 * them. Returns how many there are; `accounts` may be null when `room` is 0. */
DXR_API uint32_t DxrHostGetMemoryAccounts(DxrHost *host, DxrHostMemoryAccount *accounts,
                                          uint32_t room);

/* The account of one module identifier; all zeros (but for `mid`) when it never allocated. */
DXR_API DxrHostMemoryAccount DxrHostGetMemoryAccount(DxrHost *host, uint32_t mid);

/* What one site holds and has asked for. */
typedef struct DxrHostMemorySite {
    uint32_t mid;
    uint32_t line;
    const char *file; /* the host's, until its end */
    uint64_t blocksLive;
    uint64_t bytesLive;
    uint64_t blocksTotal;
    uint64_t bytesTotal;
} DxrHostMemorySite;

/* Copies what is known of sites, in the order of their first allocation, at most `room` of them.
 * Returns how many there are; `sites` may be null when `room` is 0. */
DXR_API uint32_t DxrHostGetMemorySites(DxrHost *host, DxrHostMemorySite *sites, uint32_t room);

/* Writes one line for each live block to `out`, in the order of allocation by each thread: module
 * identifier, bytes, and the source file and line that asked for it. Returns the number of live
 * blocks. `out` null only counts. */
DXR_API uint32_t DxrHostReportLeaks(DxrHost *host, FILE *out);

/* Releases of an address that is no live block of the host. */
DXR_API uint64_t DxrHostGetBadReleases(DxrHost *host);

/* Bytes that modules may hold together; 0: no limit. */
DXR_API void DxrHostSetMemoryLimit(DxrHost *host, uint64_t bytes);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_MEMORY_H */
