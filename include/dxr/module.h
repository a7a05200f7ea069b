/* Registration of modules with the host.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Init group.
 *
 * The Velder flag is one process-wide byte without a lock, meant to be set during start-up: modules
 * register on one thread at a time, and not while another one asks for the flag. */
#ifndef DXR_MODULE_H
#define DXR_MODULE_H

#include "dxr/base.h"
#include "dxr/module_slots.h"

DXR_EXTERN_C_BEGIN

/* Registers a module: hands its record to the host (slot 0), then the record's Velder flag, the
 * byte at offset 12, to DXR_RegisterVelderFuncs, whether or not there is a hook and whatever it
 * did. The flag is read after the hook has returned. The rest of the record is the host's. Does
 * nothing for a null record. */
DXR_API void DXR_Register(void *record);

/* Hands the record to the host (slot 0) and leaves the Velder flag alone. Does nothing for a null
 * record or without a hook. */
DXR_API void DXR_RegisterWithoutVelderFuncs(void *record);

/* Keeps the flag for DXR_IsUseVelder as it is given, then hands it to the host (slot 3). The flag
 * is kept without a hook as well. */
DXR_API void DXR_RegisterVelderFuncs(uint8_t flag);

/* The flag last given: non-zero when the Velder function set is in use, 0 at first. Nothing resets
 * it. */
DXR_API uint8_t DXR_IsUseVelder(void);

/* Attaches a module's own data to its registration (slot 2). Does nothing for null or without a
 * hook. */
DXR_API void DXR_SetUdf(void *udf);

DXR_EXTERN_C_END

#endif /* DXR_MODULE_H */
