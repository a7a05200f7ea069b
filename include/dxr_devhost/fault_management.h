/* The host's fault checks: both slots of the Ffm group.
 *
 *   DXR_FfmStartFaultCheck()   starts the checks: each is called when its period has passed, and
 *                              again and again from then on. EALREADY when they are started; EBUSY
 *                              while another thread stops them; ENOMEM (point "ffm.start"), and
 *                              EAGAIN when no thread can be made: none is started then; ECANCELED
 *                              after the run's end
 *   DXR_FfmStopFaultCheck()    stops them: when it returns none runs, unless it is the caller, and
 *                              none will. ENOENT when they are not started, or being stopped
 *
 * Both give 0 or one of these numbers of <errno.h>, ECANCELED without a host. The checks are
 * functions that a program registers with DxrHostAddFaultCheck; at the beginning there are none,
 * and they are not started. They run one after the other, those that are due at one moment in the
 * order in which they were added, on the host's task "timer" or, with the stepped clock, on the
 * thread that moves it; no lock of the host is held.
 *
 * Checks that are still started at the host's end were left behind. Any thread may call any of
 * these functions at any time; checks may, too.
 *
 * Cost: starting and stopping go over all checks that were ever added, and stopping and
 * DxrHostRemoveFaultCheck wait for the check that runs. */
#ifndef DXR_DEVHOST_FAULT_MANAGEMENT_H
#define DXR_DEVHOST_FAULT_MANAGEMENT_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* Looks for a fault. Returns 0 when all is well, else a number that names the fault. */
typedef uint32_t (*DxrHostFaultCheck)(void *user);

/* What is known of a check. Times are milliseconds since 1970, of the host's clock. */
typedef struct DxrHostFaultCheckState {
    char name[32]; /* cut to what fits */
    uint32_t periodMs;
    uint32_t result; /* of the latest call */
    uint64_t calls;
    uint64_t faults;   /* calls that did not return 0 */
    uint64_t latestMs; /* when the latest call ended; 0: it was never called */
} DxrHostFaultCheckState;

DXR_STATIC_ASSERT(sizeof(DxrHostFaultCheckState) == 64, "fixed layout");

/* Adds a check, to be called with `user` each `periodMs` milliseconds while the checks are started;
 * from now on when they are. When its result becomes another one that is a message: of level 2
 * "fault check NAME: fault 7", of level 6 "fault check NAME: all is well". Returns the check's
 * number, from 1; 0 for a null name or function, for a period of 0, without memory, when no thread
 * can be made for it while the checks are started, and, reported, when DXR_HOST_MOST_FAULT_CHECKS
 * were added, those included that were taken out: their numbers are not given again. */
#define DXR_HOST_MOST_FAULT_CHECKS 4096u
DXR_API uint32_t DxrHostAddFaultCheck(DxrHost *host, const char *name, DxrHostFaultCheck function,
                                      void *user, uint32_t periodMs);

/* Takes a check out. When it returns the function does not run, unless it is the caller, and will
 * not. Returns false when there is no such check. */
DXR_API bool DxrHostRemoveFaultCheck(DxrHost *host, uint32_t number);

/* What is known of a check. Returns false when there is no such check, or `state` is null. */
DXR_API bool DxrHostGetFaultCheck(DxrHost *host, uint32_t number, DxrHostFaultCheckState *state);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_FAULT_MANAGEMENT_H */
